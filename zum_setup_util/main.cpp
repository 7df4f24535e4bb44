#include "winapi/process.h"
#include "zum_setup_util/run.h"

// The run reads the command line itself: the arguments that the runtime split are not looked at.
int main(int /*argc*/, char** /*argv*/, char** /*envp*/) {
  return winapi::ProcessExitStatus(zum_setup_util::RunSetupUtil());
}
