// Prints registry branches below HKEY_LOCAL_MACHINE, as the 64-bit view has them, byte for byte.
//
// Arguments: paths, as the hexadecimal digits of their UTF-16 bytes. For each key that is there a
// line "K path", and for each of its values a line "V name type count bytes", names, paths and
// bytes in such digits ("-" for none), type and count in decimal; keys in enumeration order, a
// key's values behind it.

#include "tests/e2e/helpers/common.h"

namespace {

void PrintValues(HKEY key) {
  std::vector<wchar_t> name(16'384);
  for (DWORD index = 0;; ++index) {
    auto nameLength = static_cast<DWORD>(name.size());
    DWORD type = 0;
    DWORD count = 0;
    LONG error =
        RegEnumValueW(key, index, name.data(), &nameLength, nullptr, &type, nullptr, &count);
    if (error == ERROR_NO_MORE_ITEMS) return;
    if (error != ERROR_SUCCESS) helpers::Die("RegEnumValueW", static_cast<DWORD>(error));
    // Room to spare: what is read may be completed with zeros behind its end.
    std::vector<unsigned char> data(count + 16);
    auto size = static_cast<DWORD>(data.size());
    nameLength = static_cast<DWORD>(name.size());
    error = RegEnumValueW(key, index, name.data(), &nameLength, nullptr, &type, data.data(), &size);
    if (error != ERROR_SUCCESS) helpers::Die("RegEnumValueW", static_cast<DWORD>(error));
    std::printf("V %s %lu %lu %s\n", helpers::DigitsOf({name.data(), nameLength}).c_str(), type,
                size, helpers::DigitsOf(data.data(), size).c_str());
  }
}

void PrintKey(const std::wstring& path) {
  HKEY key = nullptr;
  const LONG opened =
      RegOpenKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), 0, KEY_READ | KEY_WOW64_64KEY, &key);
  if (opened == ERROR_FILE_NOT_FOUND) return;
  if (opened != ERROR_SUCCESS) helpers::Die("RegOpenKeyExW", static_cast<DWORD>(opened));
  std::printf("K %s\n", helpers::DigitsOf(path).c_str());
  PrintValues(key);
  std::vector<wchar_t> name(512);
  for (DWORD index = 0;; ++index) {
    auto length = static_cast<DWORD>(name.size());
    const LONG error =
        RegEnumKeyExW(key, index, name.data(), &length, nullptr, nullptr, nullptr, nullptr);
    if (error == ERROR_NO_MORE_ITEMS) break;
    if (error != ERROR_SUCCESS) helpers::Die("RegEnumKeyExW", static_cast<DWORD>(error));
    PrintKey(path + L"\\" + std::wstring(name.data(), length));
  }
  RegCloseKey(key);
}

}  // namespace

int main(int count, char** arguments) {
  for (int i = 1; i < count; ++i) PrintKey(helpers::TextOf(arguments[i]));
}
