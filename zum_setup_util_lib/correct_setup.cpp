#include "zum_setup_util_lib/correct_setup.h"

#include <memory>

#include "oru/rtl/trace.h"
#include "zum_setup_util_lib/commands_msi.h"
#include "zum_setup_util_lib/drop_files_stage.h"
#include "zum_setup_util_lib/installer_launch.h"
#include "zum_setup_util_lib/pending_operations.h"
#include "zum_setup_util_lib/registry_rewrite.h"
#include "zum_setup_util_lib/self_defense.h"
#include "zum_setup_util_lib/signature_check.h"

namespace correct_setup {

// Nothing looks at the arguments before the self-defence is known to be off, and nothing touches
// the registry before the signer of the very file that the installer will read has been verified.
std::uint32_t ExecuteCorrectSetup(std::vector<std::u16string> args) {
  oru::TraceScope scope;
  ORU_TRACE_SCOPE(scope, oru::kTraceLevelInfo, u"setup\t[correct_setup::ExecuteCorrectSetup] ");

  detail::CheckSelfDefense();
  const std::unique_ptr<ICommandMsi> command = CreateCommandMsi(args.begin(), args.end());
  // Goes last, behind the installer and the correction: the copy must stay for as long as the
  // installer may read it.
  const ScopedRemoveDirectory dropDirectory = detail::DropFiles(command);
  detail::CheckVerisignSignature(command->GetFullPathToPackage());
  detail::DisableProtectiveMeasuresUpgrade();
  const std::uint32_t exitCode = detail::LaunchMsiPackage(command->GetMsiCommandLine());
  // Exactly 0: codes that ask for a restart count as a failure too.
  if (exitCode != 0) {
    ORU_TRACE(oru::kTraceLevelInfo, "setup\t[correct_setup::ExecuteCorrectSetup] "
                                        << "msi package exit with failed code, skip pending");
    return exitCode;
  }
  detail::TryCorrectPendingOperations();
  return 0;
}

}  // namespace correct_setup
