#include "platform/util/windows/filesystem/find_context.h"

#include <cstddef>
#include <string>
#include <utility>

#include "oru/rtl/check.h"
#include "oru/rtl/error_mapping.h"
#include "oru/rtl/last_error_keeper.h"
#include "platform/util/windows/filesystem/path.h"
#include "winapi/errors.h"

namespace product_platform::filesystem {
namespace {

// A drive-absolute path below this length is searched as it is: with "\*" and a name of the old 8.3
// form it stays within the limit of paths without the prefix.
constexpr std::size_t kLongPathFrom = 247;

// The absolute form of a path, with the long-path prefix unless it is rooted by itself.
oru::ResultCode GetAbsolutePath(std::u16string_view path, std::u16string& absolute) {
  const std::u16string source(path);
  const winapi::Dword size = winapi::GetFullPathNameW(source.c_str(), /*size=*/0,
                                                      /*buffer=*/nullptr, /*filePart=*/nullptr);
  if (size == 0) return oru::LastFailure();
  std::u16string text(size, u'\0');
  const winapi::Dword length =
      winapi::GetFullPathNameW(source.c_str(), size, text.data(), /*filePart=*/nullptr);
  // The current directory may change between the two calls.
  if (length == 0 || length >= size) return oru::errUnspecified;
  text.resize(length);
  // A server's path keeps its form: the prefix needs another spelling for those.
  absolute = IsRootedPath(text) ? std::move(text) : u"\\\\?\\" + text;
  return oru::sOk;
}

}  // namespace

// A link to a directory has both bits; as a directory it would be walked into, and its target
// emptied.
EntryClass ClassifyEntry(winapi::Dword attributes) noexcept {
  if ((attributes & winapi::kFileAttributeReparsePoint) != 0) return EntryClass::kLink;
  return (attributes & winapi::kFileAttributeDirectory) != 0 ? EntryClass::kDirectory
                                                             : EntryClass::kFile;
}

bool IsDotName(std::u16string_view name) noexcept { return name == u"." || name == u".."; }

bool FindHandleTraits::IsValid(winapi::Handle h) noexcept {
  return h != winapi::InvalidHandleValue();
}

oru::ResultCode FindHandleTraits::Close(winapi::Handle h) noexcept {
  ORU_CHECK(IsValid(h));
  return winapi::FindClose(h) != 0 ? oru::sOk : oru::LastFailure();
}

FindContext::~FindContext() {
  if (!IsValid()) return;
  const oru::LastErrorKeeper keeper;
  ORU_CHECK_TEXT(oru::sOk == FindHandleTraits::Close(m_handle),
                 "oru::sOk == Traits::Close(m_handle)");
}

const winapi::FindData& FindContext::Data() const noexcept {
  ORU_CHECK(IsValid());
  return m_data;
}

oru::ResultCode FindContext::Close() noexcept {
  if (!IsValid()) return oru::sOk;
  // A closed search has no entry, so that none is taken for the current one.
  m_data = {};
  return FindHandleTraits::Close(std::exchange(m_handle, winapi::InvalidHandleValue()));
}

oru::ResultCode FindContext::SearchDirectly(std::u16string_view directory) {
  std::u16string pattern(directory);
  pattern += pattern.ends_with(u'\\') ? u"*" : u"\\*";
  winapi::FindData data{};
  // The new search is made before the old one is closed, and its error taken before the close sets
  // another.
  const winapi::Handle handle =
      winapi::FindFirstFileExW(pattern.c_str(), winapi::kFindExInfoStandard, &data,
                               winapi::kFindExSearchNameMatch, /*filter=*/nullptr, /*flags=*/0);
  const winapi::Error error = winapi::GetLastError();
  ORU_CHECK(oru::sOk == Close());
  if (!FindHandleTraits::IsValid(handle)) return oru::FailureOf(error);
  m_handle = handle;
  m_data = data;
  return oru::sOk;
}

oru::ResultCode FindContext::OpenFind(std::u16string_view directory) {
  if (IsRootedPath(directory) ||
      (IsDriveAbsolutePath(directory) && directory.size() < kLongPathFrom)) {
    return SearchDirectly(directory);
  }
  std::u16string absolute;
  if (const oru::ResultCode rc = GetAbsolutePath(directory, absolute); ORU_FAILED(rc)) return rc;
  return SearchDirectly(absolute);
}

oru::ResultCode FindContext::FindNext() noexcept {
  if (winapi::FindNextFileW(m_handle, &m_data) != 0) return oru::sOk;
  const winapi::Error error = winapi::GetLastError();
  return error == winapi::kErrorNoMoreFiles ? oru::sFalse : oru::FailureOf(error);
}

}  // namespace product_platform::filesystem
