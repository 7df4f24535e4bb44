#include "platform/util/windows/system_library.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

#include "platform/util/windows/modules.h"
#include "winapi/errors.h"
#include "winapi/files.h"
#include "winapi/modules.h"

namespace windows_helpers {
namespace {

// The system directory is never longer, and neither is a path that LoadLibraryW takes.
constexpr winapi::Dword kPathCapacity = winapi::kMaxPath;

// Writes the full path of `fileName` in the system directory.
winapi::Error ComposePath(std::u16string_view fileName, char16_t (&path)[kPathCapacity]) noexcept {
  const winapi::Dword length = winapi::GetSystemDirectoryW(path, kPathCapacity);
  if (length == 0) return LastErrorOr(winapi::kErrorModuleNotFound);
  // Separator and terminator take a place each; what doesn't fit can't be loaded.
  if (std::size_t{length} + fileName.size() + 2 > kPathCapacity) {
    return winapi::kErrorModuleNotFound;
  }
  char16_t* end = path + length;
  *end++ = u'\\';
  *std::copy(fileName.begin(), fileName.end(), end) = u'\0';
  return winapi::kErrorSuccess;
}

}  // namespace

winapi::Error SystemLibrary::Load() noexcept {
  if (m_module.load() != nullptr) return winapi::kErrorSuccess;
  char16_t path[kPathCapacity];
  if (const winapi::Error error = ComposePath(m_fileName, path)) return error;
  const winapi::Module loaded = winapi::LoadLibraryW(path);
  if (loaded == nullptr) return LastErrorOr(winapi::kErrorModuleNotFound);
  // Two threads that come here at once take a reference each, which does no harm.
  m_module.store(loaded);
  return winapi::kErrorSuccess;
}

// Looked up at each call: callers are few, and each asks once in a run.
winapi::Error SystemLibrary::FindAny(const char* name, winapi::Procedure& procedure) noexcept {
  if (const winapi::Error error = Load()) return error;
  return FindProcedure(m_module.load(), name, procedure);
}

}  // namespace windows_helpers
