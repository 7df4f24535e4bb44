// The pipeline's step that moves the command onto a private copy of its package. This is the stage;
// dropper.h has the operations of which it is made.
#ifndef ZUM_SETUP_UTIL_LIB_DROP_FILES_STAGE_H_
#define ZUM_SETUP_UTIL_LIB_DROP_FILES_STAGE_H_

#include <memory>

#include "zum_setup_util_lib/dropper.h"
#include "zum_setup_util_lib/icommand_msi.h"

namespace correct_setup::detail {

// Copies the package into a new secure directory below the temporary one, makes the copy the
// command's package, and gives the directory's owner. A package that doesn't exist leaves the
// directory empty: the stage that opens the copy next is the one that fails. Throws
// oru::CheckResultFailedException with rcDropFilesFailed. By then the directory is gone, unless it
// couldn't be removed, and the command has its old path, unless it has refused the new one.
[[nodiscard]] ScopedRemoveDirectory DropFiles(const std::unique_ptr<ICommandMsi>& command);

}  // namespace correct_setup::detail

#endif  // ZUM_SETUP_UTIL_LIB_DROP_FILES_STAGE_H_
