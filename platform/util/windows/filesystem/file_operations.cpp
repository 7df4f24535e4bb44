#include "platform/util/windows/filesystem/file_operations.h"

#include "oru/rtl/check.h"
#include "oru/rtl/error_mapping.h"
#include "oru/rtl/exception_guard.h"
#include "platform/util/windows/filesystem/directory_walker.h"
#include "platform/util/windows/filesystem/find_context.h"
#include "platform/util/windows/filesystem/path.h"
#include "winapi/files.h"

namespace product_platform::filesystem {
namespace {

oru::ResultCode ResultOf(winapi::Bool succeeded) noexcept {
  return succeeded != 0 ? oru::sOk : oru::LastFailure();
}

oru::ResultCode RemoveLink(const std::u16string& path, winapi::Dword attributes) noexcept {
  return (attributes & winapi::kFileAttributeDirectory) != 0 ? RemoveEmptyDirectory(path)
                                                             : RemoveFile(path);
}

// Plain directories go when the walker leaves them.
void RemoveEntry(const std::u16string& path, winapi::Dword attributes) noexcept {
  switch (ClassifyEntry(attributes)) {
    case EntryClass::kFile:
      (void)RemoveFile(path);  // shows when its directory can't be removed
      break;
    case EntryClass::kLink:
      (void)RemoveLink(path, attributes);  // likewise
      break;
    case EntryClass::kDirectory:
      break;
  }
}

// A search that breaks off ends the walk as its end does; the root's removal then fails.
void RemoveEntries(DirectoryWalker<RemovalPolicy>& finder) {
  do {
    ORU_CHECK(finder.IsValid());
    const FindContext* const current = finder.Current();
    if (current != nullptr) RemoveEntry(finder.CurrentPath(), current->Data().dwFileAttributes);
  } while (finder.Next() == oru::sOk);
}

oru::ResultCode RemoveTree(const std::u16string& path) {
  winapi::Dword attributes = 0;
  // A path that can't be asked about is left to the walk, whose failure says why.
  if (QueryFileAttributes(path, attributes) == oru::sOk &&
      ClassifyEntry(attributes) == EntryClass::kLink) {
    return RemoveLink(path, attributes);
  }
  {  // a search that is still open after a failed step would hold the directory
    DirectoryWalker<RemovalPolicy> finder;
    if (const oru::ResultCode rc = finder.Open(path); ORU_FAILED(rc)) return rc;
    RemoveEntries(finder);
  }
  return RemoveEmptyDirectory(path);
}

}  // namespace

oru::ResultCode QueryFileAttributes(const std::u16string& path,
                                    winapi::Dword& attributes) noexcept {
  const winapi::Dword found = winapi::GetFileAttributesW(path.c_str());
  if (found == winapi::kInvalidFileAttributes) return oru::LastFailure();
  attributes = found;
  return oru::sOk;
}

oru::ResultCode TestDirectory(const std::u16string& path) noexcept {
  winapi::Dword attributes = 0;
  if (const oru::ResultCode rc = QueryFileAttributes(path, attributes); ORU_FAILED(rc)) return rc;
  return ClassifyEntry(attributes) == EntryClass::kDirectory ? oru::sOk : oru::sFalse;
}

oru::ResultCode RemoveFile(const std::u16string& path) noexcept {
  return ResultOf(winapi::DeleteFileW(path.c_str()));
}

oru::ResultCode RemoveEmptyDirectory(const std::u16string& path) noexcept {
  return ResultOf(winapi::RemoveDirectoryW(path.c_str()));
}

// In the form without a limit for the length, since a tree may be deeper than its root's path lets
// one think.
oru::ResultCode RemoveDirectoryRecursive(const std::u16string& path) noexcept {
  if (path.empty()) return oru::errInvalidArgument;
  try {
    return RemoveTree(MakeLongPath(path));
  } catch (...) {
    return oru::ExceptionGuard();
  }
}

}  // namespace product_platform::filesystem
