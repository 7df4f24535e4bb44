// The installer's records of a small machine, and what the correction does to them, as a rule of
// its own.
#ifndef FUZZ_INSTALLER_RULE_H_
#define FUZZ_INSTALLER_RULE_H_

#include <fuzzer/FuzzedDataProvider.h>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace fuzz {

inline constexpr std::u16string_view kUserData =
    u"HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Installer\\UserData\\S-1-5-"
    u"18\\Products";
inline constexpr std::u16string_view kClasses =
    u"HKEY_LOCAL_MACHINE\\SOFTWARE\\Classes\\Installer\\Products";

struct StoredValue {
  std::u16string name;
  std::uint32_t type = 0;
  std::vector<std::uint8_t> data;
  bool operator==(const StoredValue&) const = default;
};

struct Key {
  std::u16string path;                        // as it is spelled
  std::map<std::string, StoredValue> values;  // by folded name
  std::uint32_t denied = 0;                   // rights that an open doesn't get
};

// By folded path, which is the order of enumeration among the keys of one key.
using Branch = std::map<std::string, Key>;

// Names are made of ASCII and of letters that have no case, so this is all.
[[nodiscard]] std::u16string Upper(std::u16string_view text);
// The bytes of that, the higher ones first: they compare as the units do, and in no time.
[[nodiscard]] std::string Folded(std::u16string_view text);
// Null when there is none.
[[nodiscard]] const Key* FindKey(const Branch& branch, std::u16string_view path);
[[nodiscard]] const StoredValue* FindValue(const Key& key, std::u16string_view name);
// In the order of enumeration, as they are spelled.
[[nodiscard]] std::vector<std::u16string> SubKeys(const Branch& branch, std::u16string_view path);

// A machine of a few products of every kind.
[[nodiscard]] Branch TakeBranch(FuzzedDataProvider& input);

// Makes the host's store this machine, and reads it from there, without the denied rights.
void PutIntoStore(const Branch& branch);
[[nodiscard]] Branch ReadStore();
// The same keys and values in the same spelling.
[[nodiscard]] bool AreSame(const Branch& left, const Branch& right);

// Which call of a kind fails; 0: none. Opens aren't counted here.
struct Faults {
  std::size_t enumeration = 0;
  std::size_t write = 0;
  std::size_t removal = 0;
};
[[nodiscard]] Faults TakeFaults(FuzzedDataProvider& input);

enum class Rights {
  kAsTheyAre,
  kReadingSuffices,  // a key that may be read counts as one that may be written to
};

struct Rewritten {
  Branch branch;
  std::vector<std::u16string> updates;  // "update ... for key = ...", in their order
  std::vector<std::pair<std::u16string, std::u16string>>
      writes;  // product and value, of those that were made
  bool failed = false;
  std::optional<std::u16string> failedAt;  // the product, where it is one
  std::size_t listEnd = 0;                 // how many products were seen
  bool listBroke = false;
};
[[nodiscard]] Rewritten Rewrite(const Branch& branch, const Faults& faults, Rights rights);

}  // namespace fuzz

#endif  // FUZZ_INSTALLER_RULE_H_
