#include "zum_setup_util_lib/drop_files_stage.h"

#include <exception>
#include <string>
#include <vector>

#include "platform/util/windows/filesystem/path.h"
#include "zum_setup_util_lib/guid_text.h"
#include "zum_setup_util_lib/stage.h"
#include "zum_setup_util_lib/temporary_directory.h"
#include "zum_setup_util_lib/tool_result_codes.h"

namespace correct_setup::detail {
namespace {

namespace filesystem = product_platform::filesystem;

ScopedRemoveDirectory DropPackage(ICommandMsi& command) {
  const std::u16string package = command.GetFullPathToPackage();
  const std::u16string fileName = filesystem::GetFileNamePart(package);
  const std::u16string source = filesystem::GetParentPath(package);
  const std::u16string temporary = helpers::GetTempDirectory();
  const std::u16string target = filesystem::JoinPath(temporary, helpers::CreateGuidString());
  // The name serves as a mask; files beside the package that it doesn't match aren't copied.
  const std::vector<FilesystemObject> objects = {{fileName, FilesystemObjectType::File}};
  ScopedRemoveDirectory directory = DropFilesystemObjects(source, target, objects);
  // Last: a failure before it leaves the command with its old path.
  command.SetFullPathToPackage(filesystem::JoinPath(target, fileName));
  return directory;
}

}  // namespace

ScopedRemoveDirectory DropFiles(const std::unique_ptr<ICommandMsi>& command) {
  try {
    return DropPackage(*command);
  } catch (const std::exception&) {
    // The directory is gone by now: its owner went with the stage's block.
    FailStage("setup\t[correct_setup::detail::DropFiles] ", __LINE__, rcDropFilesFailed);
  }
}

}  // namespace correct_setup::detail
