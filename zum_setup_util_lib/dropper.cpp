#include "zum_setup_util_lib/dropper.h"

#include <algorithm>
#include <cstdint>
#include <exception>
#include <memory>
#include <utility>

#include "oru/rtl/exception.h"
#include "oru/rtl/trace.h"
#include "platform/util/windows/filesystem/file_operations.h"
#include "platform/util/windows/filesystem/path_mask.h"
#include "zum_setup_util_lib/caught_exception.h"
#include "zum_setup_util_lib/filesystem_actions.h"
#include "zum_setup_util_lib/filesystem_iterator.h"
#include "zum_setup_util_lib/repeat_execution.h"
#include "zum_setup_util_lib/secure_directory.h"
#include "zum_setup_util_lib/trace_list.h"

namespace correct_setup {
namespace {

namespace filesystem = product_platform::filesystem;

constexpr char kSourceFile[] = "zum_setup_util_lib/dropper";

// The last process that reads a copy may hold it for a moment longer.
constexpr std::uint16_t kRepeatCount = 10;
constexpr helpers::Milliseconds kDelay{100};

// Masks and not names: a package's name with "*" in it would take more than the package.
bool IsWanted(const FilesystemObject& object, const std::vector<FilesystemObject>& wanted) {
  return std::any_of(wanted.begin(), wanted.end(), [&](const FilesystemObject& entry) {
    return entry.m_type == object.m_type && filesystem::MatchPathMask(object.m_name, entry.m_name);
  });
}

void RemoveDirectoryOrThrow(const std::u16string& path) {
  const oru::ResultCode rc = filesystem::RemoveDirectoryRecursive(path);
  if (ORU_FAILED(rc)) throw oru::CheckResultFailedException(kSourceFile, __LINE__, rc);
}

}  // namespace

ScopedRemoveDirectory::~ScopedRemoveDirectory() {
  if (m_path.empty()) return;
  try {
    helpers::TryExecuteWithRepeat([this] { RemoveDirectoryOrThrow(m_path); }, kRepeatCount, kDelay);
  } catch (const std::exception&) {
    // A destructor must not throw; the directory stays, and the run ends as it would have.
    (void)helpers::TraceCaughtException(
        "setup\t[correct_setup::ScopedRemoveDirectory::~ScopedRemoveDirectory] ");
  }
}

void CopyFilesystemObjects(const std::u16string& from, const std::u16string& to,
                           const std::vector<FilesystemObject>& objects) {
  ORU_TRACE(oru::kTraceLevelInfo, "setup\t[correct_setup::CopyFilesystemObjects] "
                                      << "objects = " << TraceList{objects});
  const std::shared_ptr<IFilesystemIterator> found = CreateFilesystemIterator(from);
  // Driven by what is there and not by the list: an entry that matches nothing isn't missed.
  while (found->MoveNext()) {
    const FilesystemObject object = found->GetCurrentObject();
    if (IsWanted(object, objects)) FileSystemActions::CopyObjectT(object, from, to);
  }
}

ScopedRemoveDirectory DropFilesystemObjects(const std::u16string& from, const std::u16string& to,
                                            const std::vector<FilesystemObject>& objects) {
  oru::TraceScope scope;
  ORU_TRACE_SCOPE(scope, oru::kTraceLevelInfo, u"setup\t[correct_setup::DropFilesystemObjects] ");
  ORU_TRACE(oru::kTraceLevelInfo,
            "setup\t[correct_setup::DropFilesystemObjects] " << from << " -> " << to);
  // Copied first: behind the directory's making a lack of memory would leave it without an owner.
  std::u16string owned = to;
  FileSystemActions::CreateSecureDirectory(to);
  ScopedRemoveDirectory directory(std::move(owned));
  ORU_TRACE(oru::kTraceLevelInfo, "setup\t[correct_setup::DropFilesystemObjects] "
                                      << "copy input objects");
  CopyFilesystemObjects(from, to, objects);
  return directory;
}

}  // namespace correct_setup
