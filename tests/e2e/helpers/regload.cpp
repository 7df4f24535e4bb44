// Sets up registry branches below HKEY_LOCAL_MACHINE, in the 64-bit view, from lines on the
// standard input:
//
//   D path               removes the key and all below it; a missing one is fine
//   K path               makes the key and those above it; the values that follow go there
//   V name type bytes    sets a value of that key, exactly these bytes
//   X name               removes a value of that key
//   R path               makes the key read-only for everybody, until the registry's server ends
//   W path               takes that back
//
// Names, paths and bytes are hexadecimal digits ("-" for none), texts in UTF-16; types are decimal.

#include "tests/e2e/helpers/common.h"

#include <sddl.h>  // needs <windows.h> before it

namespace {

HKEY Create(const std::wstring& path, REGSAM rights) {
  HKEY key = nullptr;
  const LONG error = RegCreateKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), 0, nullptr, 0,
                                     rights | KEY_WOW64_64KEY, nullptr, &key, nullptr);
  if (error != ERROR_SUCCESS) helpers::Die("RegCreateKeyExW", static_cast<DWORD>(error));
  return key;
}

void Remove(const std::wstring& path) {
  HKEY parent = nullptr;
  const std::size_t cut = path.rfind(L'\\');
  if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, path.substr(0, cut).c_str(), 0,
                    KEY_ALL_ACCESS | KEY_WOW64_64KEY, &parent) != ERROR_SUCCESS) {
    return;
  }
  const LONG error = RegDeleteTreeW(parent, path.substr(cut + 1).c_str());
  RegCloseKey(parent);
  if (error != ERROR_SUCCESS && error != ERROR_FILE_NOT_FOUND) {
    helpers::Die("RegDeleteTreeW", static_cast<DWORD>(error));
  }
}

void SetValue(HKEY key, const std::vector<std::string>& words) {
  std::vector<unsigned char> data = helpers::BytesOf(words.at(3));
  const auto count = static_cast<DWORD>(data.size());
  // What stands behind the bytes mustn't be a zero: the system would store it as a terminator.
  data.insert(data.end(), 4, 0xFF);
  const LONG error =
      RegSetValueExW(key, helpers::TextOf(words.at(1)).c_str(), 0,
                     static_cast<DWORD>(std::stoul(words.at(2))), data.data(), count);
  if (error != ERROR_SUCCESS) helpers::Die("RegSetValueExW", static_cast<DWORD>(error));
}

void RemoveValue(HKEY key, const std::wstring& name) {
  const LONG error = RegDeleteValueW(key, name.c_str());
  if (error != ERROR_SUCCESS) helpers::Die("RegDeleteValueW", static_cast<DWORD>(error));
}

void SetAccess(const std::wstring& path, const wchar_t* text) {
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  if (!ConvertStringSecurityDescriptorToSecurityDescriptorW(text, SDDL_REVISION_1, &descriptor,
                                                            nullptr)) {
    helpers::Die("ConvertStringSecurityDescriptorToSecurityDescriptorW", GetLastError());
  }
  HKEY key = nullptr;
  LONG error = RegOpenKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), 0,
                             WRITE_DAC | READ_CONTROL | KEY_WOW64_64KEY, &key);
  if (error != ERROR_SUCCESS) helpers::Die("RegOpenKeyExW", static_cast<DWORD>(error));
  error = RegSetKeySecurity(key, DACL_SECURITY_INFORMATION, descriptor);
  if (error != ERROR_SUCCESS) helpers::Die("RegSetKeySecurity", static_cast<DWORD>(error));
  RegCloseKey(key);
  LocalFree(descriptor);
}

}  // namespace

int main() {
  HKEY key = nullptr;
  std::string line;
  while (helpers::ReadLine(line)) {
    const std::vector<std::string> words = helpers::WordsOf(line);
    const std::string& kind = words[0];
    if (kind == "V") {
      SetValue(key, words);
      continue;
    }
    if (kind.empty()) continue;
    if (kind == "X") {
      RemoveValue(key, helpers::TextOf(words.at(1)));
      continue;
    }
    const std::wstring path = helpers::TextOf(words.at(1));
    if (kind == "D") Remove(path);
    if (kind == "R") SetAccess(path, L"D:P(A;;KR;;;WD)");
    if (kind == "W") SetAccess(path, L"D:P(A;;KA;;;WD)");
    if (kind == "K") {
      if (key != nullptr) RegCloseKey(key);
      key = Create(path, KEY_ALL_ACCESS);
    }
  }
}
