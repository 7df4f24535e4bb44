// What a rehearsal finds out about one machine.
#ifndef ZUM_REHEARSE_REPORT_H_
#define ZUM_REHEARSE_REPORT_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "winapi/rehearsal.h"
#include "zum_rehearse/verdicts.h"

namespace zum_rehearse {

using winapi::rehearsal::Change;
using winapi::rehearsal::Value;

// A value as it is and as it would be; nullopt: there is none.
struct Slot {
  std::optional<Value> before = {};
  std::optional<Value> after = {};
  bool operator==(const Slot&) const = default;
};

// The four values that the correction is about.
inline constexpr std::size_t kSlotCount = 4;
enum SlotIndex : std::size_t {
  kLocalPackage,
  kLocalPackageMarked,
  kPackageName,
  kPackageNameMarked
};
inline constexpr const char* kSlotNames[kSlotCount] = {"LocalPackage", "LocalPackageNotExist",
                                                       "PackageName", "PackageNameNotExist"};

enum class PackageState { kNotAsked, kNotKnownHere, kPresent, kMissing, kUnreadable };

// As it stands in JSON and CSV; empty where nobody asked.
[[nodiscard]] std::string_view PackageStateName(PackageState state);

struct Product {
  std::u16string key;  // the subkey's name: the packed product code
  std::string code;    // readable: "{7B3C1F62-...}"; empty where the key is no packed code
  std::u16string name;
  std::u16string version;
  Slot slots[kSlotCount];
  bool changes = false;  // something of it would be changed
  bool refused = false;  // this run may not write one of its keys
  PackageState package = PackageState::kNotAsked;
  std::u16string packagePath;
  winapi::Error packageError = 0;  // why the path can't be looked at: with kUnreadable only
  std::vector<Verdict> verdicts;   // the weightiest first; never empty
};

// A verdict of the product for readers, one line without a full stop.
[[nodiscard]] std::string VerdictLine(const Product& product, Verdict verdict);

// What /unblock would print and end with.
struct Outcome {
  std::uint32_t code = 0;
  std::string line;
};

struct Report {
  std::string machine;               // its name, UTF-8
  std::vector<std::string> sources;  // the files that it was read from
  std::string error;                 // why there is no rehearsal: "file:line: reason"; else empty
  std::vector<std::string> notes;    // what the reader must know beforehand

  Outcome outcome;               // with all the rights that it needs
  bool outcomeIsKnown = true;    // false: with this run's, which can't even read the list
  std::optional<Outcome> asRun;  // with the rights of this run, where they don't suffice
  std::vector<Product> products;
  std::vector<Change> changes;  // all, in order

  [[nodiscard]] std::size_t ChangedProducts() const;
  [[nodiscard]] std::size_t MissingPackages() const;
  [[nodiscard]] bool LacksRights() const;
};

// The exit status: 2 no rehearsal, 3 the correction would fail, 5 something is to be changed and
// the rights don't suffice, 4 something would change and a package is missing, 1 something would
// change, 0 nothing would.
[[nodiscard]] int StatusOf(const Report& report);

// The one that is told for several machines: the first of 2, 3, 5, 4, 1, 0 that is among them.
[[nodiscard]] int WeightierStatus(int left, int right);

}  // namespace zum_rehearse

#endif  // ZUM_REHEARSE_REPORT_H_
