#include "zum_setup_util/dll_search.h"

#include <algorithm>

#include "oru/rtl/error_mapping.h"
#include "oru/rtl/exception.h"
#include "winapi/files.h"
#include "winapi/modules.h"

namespace zum_setup_util {
namespace {

constexpr char kSourceFile[] = "zum_setup_util/dll_search";

// Enough for a path without the long-path prefix; with four doublings it comes to 4160.
constexpr std::uint32_t kFirstPathCapacity = winapi::kMaxPath;
constexpr int kPathCalls = 5;

// A reference of LoadLibraryW, or none.
class LoadedModule {
 public:
  explicit LoadedModule(const char16_t* name) noexcept : m_module(winapi::LoadLibraryW(name)) {}
  LoadedModule(const LoadedModule&) = delete;
  LoadedModule& operator=(const LoadedModule&) = delete;
  ~LoadedModule() {
    // A reference that stays keeps loaded what is loaded for the process's life anyway.
    if (m_module != nullptr) (void)winapi::FreeLibrary(m_module);
  }

  [[nodiscard]] winapi::Module Get() const noexcept { return m_module; }

 private:
  winapi::Module m_module;
};

}  // namespace

oru::ResultCode EnableSystemDllSearch(std::uint32_t flags) noexcept {
  // Without a path: the module is loaded already, so nothing is searched for.
  const LoadedModule kernel32(u"kernel32.dll");
  if (kernel32.Get() == nullptr) return oru::LastFailure();

  const auto setDirectories = reinterpret_cast<winapi::SetDefaultDllDirectoriesFunction>(
      winapi::GetProcAddress(kernel32.Get(), "SetDefaultDllDirectories"));
  // Systems that were never updated lack it; the libraries that matter are loaded by full path.
  if (setDirectories == nullptr) return oru::sOk;
  return setDirectories(flags) != 0 ? oru::sOk : oru::LastFailure();
}

std::u16string GetExecutablePath() {
  std::u16string path(kFirstPathCapacity, u'\0');
  for (int call = 0; call < kPathCalls; ++call) {
    const auto capacity = static_cast<std::uint32_t>(path.size());
    const std::uint32_t length =
        winapi::GetModuleFileNameW(/*module=*/nullptr, path.data(), capacity);
    if (length == 0) {
      throw oru::CheckResultFailedException(kSourceFile, __LINE__, oru::LastFailure());
    }
    // Older systems cut the path, fill the buffer and say nothing: an exact fill counts as cut.
    if (length < capacity) {
      path.resize(length);
      return path;
    }
    path.assign(std::max(2 * capacity, kFirstPathCapacity), u'\0');
  }
  throw oru::CheckResultFailedException(kSourceFile, __LINE__, oru::errUnspecified);
}

}  // namespace zum_setup_util
