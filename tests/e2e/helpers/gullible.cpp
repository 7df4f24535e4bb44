// What the program under test must not be: it imports functions of wintrust, crypt32 and ktmw32
// statically and starts "msiexec.exe" by its bare name, so that what is planted beside it runs.

#include "tests/e2e/helpers/common.h"

#include <ktmw32.h>  // these need <windows.h> before them
#include <wincrypt.h>
#include <wintrust.h>

int main(int count, char**) {
  // Refers to the functions, which is all that it takes; no run has so many arguments.
  if (count > 100) {
    WinVerifyTrust(nullptr, nullptr, nullptr);
    CertGetNameStringW(nullptr, 0, 0, nullptr, nullptr, 0);
    CommitTransaction(nullptr);
  }
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION process{};
  wchar_t commandLine[] = L"msiexec.exe /?";
  if (!CreateProcessW(nullptr, commandLine, nullptr, nullptr, FALSE, CREATE_NO_WINDOW, nullptr,
                      nullptr, &startup, &process)) {
    helpers::Die("CreateProcessW", GetLastError());
  }
  WaitForSingleObject(process.hProcess, 60'000);
}
