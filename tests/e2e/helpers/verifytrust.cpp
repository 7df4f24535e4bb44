// Asks the system whether a file's signature is to be trusted, and prints the answer as eight
// hexadecimal digits: 00000000 for a trusted one.
//
// Argument: the file's path, as the hexadecimal digits of its UTF-16 bytes.

#include "tests/e2e/helpers/common.h"

#include <wincrypt.h>  // these need <windows.h> before them
#include <wintrust.h>

#include <softpub.h>

int main(int count, char** arguments) {
  if (count != 2) helpers::Die("one argument is wanted", 0);
  const std::wstring path = helpers::TextOf(arguments[1]);
  WINTRUST_FILE_INFO file{};
  file.cbStruct = sizeof file;
  file.pcwszFilePath = path.c_str();
  WINTRUST_DATA data{};
  data.cbStruct = sizeof data;
  data.dwUIChoice = WTD_UI_NONE;
  data.fdwRevocationChecks = WTD_REVOKE_NONE;
  data.dwUnionChoice = WTD_CHOICE_FILE;
  data.pFile = &file;
  data.dwStateAction = WTD_STATEACTION_VERIFY;
  GUID action = WINTRUST_ACTION_GENERIC_VERIFY_V2;
  const LONG answer = WinVerifyTrust(nullptr, &action, &data);
  data.dwStateAction = WTD_STATEACTION_CLOSE;
  WinVerifyTrust(nullptr, &action, &data);
  std::printf("%08lx\n", static_cast<unsigned long>(answer));
}
