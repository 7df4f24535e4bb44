// The installer's records of a machine: where a product's values lie below HKEY_LOCAL_MACHINE, and
// in what state they are.
#ifndef TESTS_SUPPORT_INSTALLER_KEYS_H_
#define TESTS_SUPPORT_INSTALLER_KEYS_H_

#include <string>

#include "tests/support/test_registry.h"

namespace tests {

inline const std::u16string kUserData =
    u"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Installer\\UserData\\S-1-5-18\\Products";
inline const std::u16string kClasses = u"SOFTWARE\\Classes\\Installer\\Products";

[[nodiscard]] inline std::u16string InstallProperties(const std::u16string& product) {
  return kUserData + u"\\" + product + u"\\InstallProperties";
}
[[nodiscard]] inline std::u16string SourceList(const std::u16string& product) {
  return kClasses + u"\\" + product + u"\\SourceList";
}

// Of the value with this ordinary name: "marked", "restored", "half" for both names at once, which
// a delete that failed leaves, and "lost" for neither, which nothing may leave.
[[nodiscard]] inline std::string StateOf(const std::u16string& key,
                                         const std::u16string& ordinary) {
  const bool marked = GetValue(key, ordinary + u"NotExist").has_value();
  const bool restored = GetValue(key, ordinary).has_value();
  return marked && restored ? "half" : marked ? "marked" : restored ? "restored" : "lost";
}

}  // namespace tests

#endif  // TESTS_SUPPORT_INSTALLER_KEYS_H_
