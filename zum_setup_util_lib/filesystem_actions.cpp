#include "zum_setup_util_lib/filesystem_actions.h"

#include <cstdint>
#include <memory>

#include "oru/rtl/error_mapping.h"
#include "oru/rtl/exception.h"
#include "oru/rtl/trace.h"
#include "platform/util/windows/filesystem/file_operations.h"
#include "platform/util/windows/filesystem/path.h"
#include "winapi/files.h"
#include "zum_setup_util_lib/filesystem_iterator.h"

namespace correct_setup::FileSystemActions {
namespace {

using product_platform::filesystem::JoinPath;
using product_platform::filesystem::QueryFileAttributes;

constexpr char kSourceFile[] = "zum_setup_util_lib/filesystem_actions";

[[noreturn]] void ThrowResult(std::uint32_t line, oru::ResultCode rc) {
  throw oru::CheckResultFailedException(kSourceFile, line, rc);
}

}  // namespace

void CopyFileT(const std::u16string& from, const std::u16string& to) {
  ORU_TRACE(oru::kTraceLevelInfo,
            "setup\t[correct_setup::FileSystemActions::CopyFileT] " << from << " -> " << to);
  if (winapi::CopyFileW(from.c_str(), to.c_str(), /*failIfExists=*/0) == 0) {
    ThrowResult(__LINE__, oru::LastFailure());
  }
}

void CreateDirectoryT(const std::u16string& directory) {
  ORU_TRACE(oru::kTraceLevelInfo, "setup\t[correct_setup::FileSystemActions::CreateDirectoryT] "
                                      << "dir = " << directory);
  if (winapi::CreateDirectoryW(directory.c_str(), /*security=*/nullptr) == 0) {
    ThrowResult(__LINE__, oru::LastFailure());
  }
}

// "Not there" has two codes: of the last component, and of a directory on the way to it.
bool ExistsT(const std::u16string& path) {
  winapi::Dword attributes = 0;
  const oru::ResultCode rc = QueryFileAttributes(path, attributes);
  if (rc == oru::errFileNotFound || rc == oru::errPathNotFound) return false;
  if (ORU_FAILED(rc)) ThrowResult(__LINE__, rc);
  return true;
}

bool IsDirectoryT(const std::u16string& path) {
  const oru::ResultCode rc = product_platform::filesystem::TestDirectory(path);
  if (ORU_FAILED(rc)) ThrowResult(__LINE__, rc);
  return rc == oru::sOk;
}

// Goes down the tree together with CopyDirectoryT; a search stays open at each level.
void CopyObjectT(const FilesystemObject& object, const std::u16string& from,
                 const std::u16string& to) {
  const std::u16string source = JoinPath(from, object.m_name);
  const std::u16string target = JoinPath(to, object.m_name);
  if (object.m_type == FilesystemObjectType::File) {
    CopyFileT(source, target);
  } else {
    CopyDirectoryT(source, target);
  }
}

void CopyDirectoryT(const std::u16string& from, const std::u16string& to) {
  // Before anything is made: a refused source leaves no empty directory behind.
  if (!ExistsT(from) || !IsDirectoryT(from)) {
    throw oru::CheckResultFailedException(kSourceFile, __LINE__, oru::errInvalidArgument)
        << u"arg 'from' not directory";
  }
  // With the rights that its parent hands down, and the drop directory hands none down.
  CreateDirectoryT(to);
  const std::shared_ptr<IFilesystemIterator> objects = CreateFilesystemIterator(from);
  while (objects->MoveNext()) CopyObjectT(objects->GetCurrentObject(), from, to);
}

}  // namespace correct_setup::FileSystemActions
