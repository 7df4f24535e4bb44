// What the program under test must not be: it imports functions of wintrust, crypt32 and ktmw32
// statically and starts "msiexec.exe" by its bare name, so that what is planted beside it runs.
// With an argument it looks for the name in the search path alone, and starts what it finds there.

#include "tests/e2e/helpers/common.h"

#include <ktmw32.h>  // these need <windows.h> before them
#include <wincrypt.h>
#include <wintrust.h>

namespace {

std::wstring FindInSearchPath(const wchar_t* name) {
  std::wstring path(32'767, L'\0');
  path.resize(GetEnvironmentVariableW(L"PATH", path.data(), static_cast<DWORD>(path.size())));
  wchar_t found[MAX_PATH] = {};
  if (SearchPathW(path.c_str(), name, nullptr, MAX_PATH, found, nullptr) == 0) {
    helpers::Die("SearchPathW", GetLastError());
  }
  return found;
}

}  // namespace

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
  const std::wstring program = count > 1 ? FindInSearchPath(L"msiexec.exe") : std::wstring();
  if (!CreateProcessW(program.empty() ? nullptr : program.c_str(), commandLine, nullptr, nullptr,
                      FALSE, CREATE_NO_WINDOW, nullptr, nullptr, &startup, &process)) {
    helpers::Die("CreateProcessW", GetLastError());
  }
  WaitForSingleObject(process.hProcess, 60'000);
}
