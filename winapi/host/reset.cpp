#include "winapi/host/reset.h"

#include "winapi/host/call.h"
#include "winapi/host/control.h"
#include "winapi/host/last_error.h"

namespace winapi::host {
namespace {

void ResetProcess() {
  SetCommandLine(std::nullopt);
  SetIdentity(/*processId=*/0, /*threadId=*/0);
  SetModuleFileName(std::nullopt);
  ShowAll();
  ResetToken();
  SetExitCode(std::nullopt);
  SetProgramWait(std::nullopt);
  SetThreadError(0);
}

void ResetTime() {
  SetClock(std::nullopt);
  ForgetSleeps();
  SetTimeZone({});
  SetTimeZoneId(std::nullopt);
  SetLocalClockLag(std::nullopt);
  ResetSystemVersion();
}

// Answers that a test has put in the place of the host's own.
void ResetScripts() {
  SetQueryScript({});
  for (const char* operation :
       {"GetTempPathW", "GetCurrentDirectoryW", "GetFullPathNameW", "GetSystemDirectoryW"}) {
    SetPathScript(operation, {});
  }
  SetGuidSource({});
  SetTrustVerdict({});
}

}  // namespace

void ResetMachine() {
  const SeamMark mark;
  StopCallLog();
  ClearCallLog();
  ClearFaults();
  ResetProcess();
  ResetTime();
  ResetScripts();
  ForgetFileRules();
  ForgetDescriptors();
  SetRegistrySync(true);
  ReloadRegistry();
}

}  // namespace winapi::host
