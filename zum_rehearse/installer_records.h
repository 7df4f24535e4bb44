// The installer's records of a machine as a rehearsal reads them, before anything is changed.
#ifndef ZUM_REHEARSE_INSTALLER_RECORDS_H_
#define ZUM_REHEARSE_INSTALLER_RECORDS_H_

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "winapi/rehearsal.h"

namespace zum_rehearse {

// Below HKEY_LOCAL_MACHINE, in the 64-bit view.
inline constexpr std::u16string_view kHive = u"HKEY_LOCAL_MACHINE";
inline constexpr std::u16string_view kUserDataBranch =
    u"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Installer";
inline constexpr std::u16string_view kUserDataProducts =
    u"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Installer\\UserData\\S-1-5-18\\Products";
inline constexpr std::u16string_view kClassesBranch = u"SOFTWARE\\Classes\\Installer";
inline constexpr std::u16string_view kClassesProducts = u"SOFTWARE\\Classes\\Installer\\Products";
inline constexpr std::u16string_view kInstallProperties = u"InstallProperties";
inline constexpr std::u16string_view kSourceList = u"SourceList";

enum class KeyState { kReadable, kMissing, kRefused };

struct ProductRecord {
  std::u16string key;
  bool listed = false;  // it is a subkey of kUserDataProducts
  KeyState installProperties = KeyState::kMissing;
  KeyState sourceList = KeyState::kMissing;
  std::optional<winapi::rehearsal::Value> values[4];  // by SlotIndex
  std::u16string name;
  std::u16string version;
};

// Of kUserDataProducts, without which the correction fails. To be called under a Rehearsal.
[[nodiscard]] KeyState StateOfTheList();

// All products of the two branches: the listed ones in the order of their enumeration, behind them
// those that have nothing but a SourceList. What can't be read is left out. To be called under a
// Rehearsal.
[[nodiscard]] std::vector<ProductRecord> ReadProducts();

// The characters of a string value up to its first zero; an odd last byte is dropped.
[[nodiscard]] std::u16string TextOf(const winapi::rehearsal::Value& value);

}  // namespace zum_rehearse

#endif  // ZUM_REHEARSE_INSTALLER_RECORDS_H_
