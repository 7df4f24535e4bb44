// The rehearsal of small machines: what it says of each product, against the list of verdicts and
// the rule of the correction.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/host_machine.h"
#include "fuzz/input.h"
#include "fuzz/installer_rule.h"
#include "fuzz/report_rules.h"
#include "oru/rtl/check.h"
#include "winapi/exceptions.h"
#include "winapi/host/control.h"
#include "zum_rehearse/rehearse.h"

namespace {

namespace host = winapi::host;
using fuzz::Branch;
using fuzz::Rewritten;
using zum_rehearse::PackageState;
using zum_rehearse::Product;
using zum_rehearse::Report;
using zum_rehearse::Verdict;

constexpr std::uint32_t kReadRights = 0x20019;
constexpr std::uint32_t kChangeRights = 0x2001F;
constexpr std::size_t kOpenedName = 256;

enum class Lookup { kNone, kSome };

zum_rehearse::PackageAnswer Look(const std::u16string& path) {
  if (path.size() % 3 == 2) return {PackageState::kUnreadable, 5};
  return {path.size() % 3 == 0 ? PackageState::kPresent : PackageState::kMissing};
}

// One product as the machine has it.
struct Listed {
  std::u16string name;
  bool isListed = false;
  const fuzz::Key* properties = nullptr;
  const fuzz::Key* sources = nullptr;
};

const fuzz::Key* KeyOf(const Branch& branch, std::u16string_view above, const std::u16string& name,
                       std::u16string_view below) {
  if (name.size() > kOpenedName) return nullptr;
  return fuzz::FindKey(branch,
                       std::u16string(above) + u"\\" + name + u"\\" + std::u16string(below));
}

std::vector<Listed> ProductsOf(const Branch& branch) {
  std::vector<Listed> products;
  std::set<std::string> seen;
  const fuzz::Key* const list = fuzz::FindKey(branch, fuzz::kUserData);
  const bool isReadable = list != nullptr && (list->denied & kReadRights) == 0;
  for (const std::u16string_view above : {fuzz::kUserData, fuzz::kClasses}) {
    const bool isList = above == fuzz::kUserData;
    for (const std::u16string& name : fuzz::SubKeys(branch, above)) {
      // What may not be listed may be found by its name all the same.
      if (isList && !isReadable && name.size() > kOpenedName) continue;
      if (!seen.insert(fuzz::Folded(name)).second || (isList && !isReadable)) continue;
      products.push_back({name, isList, KeyOf(branch, fuzz::kUserData, name, u"InstallProperties"),
                          KeyOf(branch, fuzz::kClasses, name, u"SourceList")});
    }
  }
  return products;
}

bool IsReadable(const fuzz::Key* key) { return key != nullptr && (key->denied & kReadRights) == 0; }

bool IsRefused(const fuzz::Key* key) {
  return key != nullptr && (key->denied & kChangeRights) != 0;
}

std::u16string TextBeforeZero(const zum_rehearse::Value& value) {
  std::u16string text;
  for (std::size_t i = 0; i + 1 < value.data.size(); i += 2) {
    text += static_cast<char16_t>(value.data[i] | value.data[i + 1] << 8);
  }
  return text.substr(0, text.find(u'\0'));
}

std::optional<zum_rehearse::Value> ValueOf(const fuzz::Key* key, std::u16string_view name) {
  const fuzz::StoredValue* const value = IsReadable(key) ? fuzz::FindValue(*key, name) : nullptr;
  if (value == nullptr) return std::nullopt;
  return zum_rehearse::Value{value->type, value->data};
}

// What must be said of one product.
class Judged {
 public:
  Judged(const Listed& product, std::size_t index, std::optional<std::size_t> failsAt,
         const Rewritten& rewritten, Lookup lookup)
      : m_product(product),
        m_index(index),
        m_failsAt(failsAt),
        m_rewritten(rewritten),
        m_lookup(lookup) {
    const fuzz::Key* const properties =
        KeyOf(rewritten.branch, fuzz::kUserData, product.name, u"InstallProperties");
    const fuzz::Key* const sources =
        KeyOf(rewritten.branch, fuzz::kClasses, product.name, u"SourceList");
    for (std::size_t i = 0; i < zum_rehearse::kSlotCount; ++i) {
      const std::string_view narrow = zum_rehearse::kSlotNames[i];
      const std::u16string name(narrow.begin(), narrow.end());
      const bool isPath = i < zum_rehearse::kPackageName;
      slots[i].before = ValueOf(isPath ? product.properties : product.sources, name);
      slots[i].after = ValueOf(isPath ? properties : sources, name);
    }
    m_path = Writes(u"LocalPackage");
    m_name = Writes(u"PackageName");
    changes = m_path || m_name;
    LookUp();
  }

  // By the list's order and words.
  std::vector<std::string_view> Verdicts() const {
    std::vector<std::string_view> verdicts;
    for (const Verdict verdict : zum_rehearse::kAllVerdicts) {
      if (verdict != Verdict::kOrdinary && Applies(verdict))
        verdicts.push_back(fuzz::NameOf(verdict));
    }
    if (verdicts.empty()) verdicts.emplace_back("ordinary");
    return verdicts;
  }

  // Opened, and one of its keys may not be written to; the second is opened only behind the first.
  [[nodiscard]] bool Refused() const {
    const bool isSecondSeen = IsReadable(m_product.properties);
    return IsVisited() && (IsRefused(m_product.properties) ||
                           (isSecondSeen && !FailsAtFirst() && IsRefused(m_product.sources)));
  }

  zum_rehearse::Slot slots[zum_rehearse::kSlotCount];
  bool changes = false;
  PackageState package = PackageState::kNotAsked;

 private:
  [[nodiscard]] bool Writes(std::u16string_view value) const {
    return std::any_of(
        m_rewritten.writes.begin(), m_rewritten.writes.end(), [&](const auto& write) {
          return m_product.isListed && write.first == m_product.name && write.second == value;
        });
  }

  // The failure is the first value's, so that the second key isn't looked at.
  [[nodiscard]] bool FailsAtFirst() const {
    if (m_index != m_failsAt) return false;
    return m_rewritten.updates.back().starts_with(u"update LocalPackage");
  }

  [[nodiscard]] bool IsBehindTheList() const {
    return m_rewritten.listBroke && m_index >= m_rewritten.listEnd;
  }
  [[nodiscard]] bool IsBehindTheFailure() const { return m_failsAt && m_index > *m_failsAt; }
  [[nodiscard]] bool IsVisited() const {
    return m_product.isListed && !IsBehindTheList() && !IsBehindTheFailure();
  }
  [[nodiscard]] bool IsMarked(std::size_t slot) const { return slots[slot].before.has_value(); }
  [[nodiscard]] bool IsMarked() const {
    return IsMarked(zum_rehearse::kLocalPackageMarked) ||
           IsMarked(zum_rehearse::kPackageNameMarked);
  }

  void LookUp() {
    const auto& path = slots[zum_rehearse::kLocalPackage].after;
    if (!changes || !path || path->type != 1) return;
    const std::u16string text = TextBeforeZero(*path);
    package = m_lookup == Lookup::kNone ? PackageState::kNotKnownHere
              : text.empty()            ? PackageState::kMissing
                                        : Look(text).state;
  }

  [[nodiscard]] bool HasOtherType() const {
    return std::any_of(std::begin(slots), std::end(slots), [this](const auto& slot) {
      const auto index = static_cast<std::size_t>(&slot - slots);
      const bool isMark =
          index == zum_rehearse::kLocalPackageMarked || index == zum_rehearse::kPackageNameMarked;
      return isMark && slot.before && slot.before->type != 1;
    });
  }

  [[nodiscard]] bool LosesName() const {
    if (!m_name) return false;
    std::u16string text = TextBeforeZero(*slots[zum_rehearse::kPackageNameMarked].before);
    for (char16_t& unit : text)
      unit = unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + 32) : unit;
    return text != u"zum_win.msi";
  }

  [[nodiscard]] bool Applies(Verdict verdict) const {
    const auto& path = slots[zum_rehearse::kLocalPackage];
    const auto& name = slots[zum_rehearse::kPackageName];
    switch (verdict) {
      case Verdict::kFailsHere:
        return m_index == m_failsAt;
      case Verdict::kNotReached:
        return m_product.isListed && IsMarked() && IsBehindTheFailure();
      case Verdict::kNotListed:
        return m_product.isListed && IsBehindTheList() &&
               (IsMarked() || m_index == m_rewritten.listEnd);
      case Verdict::kUnreadable:
        return (m_product.properties != nullptr && !IsReadable(m_product.properties)) ||
               (m_product.sources != nullptr && !IsReadable(m_product.sources));
      case Verdict::kPassedOver:
        return changes && Refused();
      case Verdict::kPackageMissing:
        return package == PackageState::kMissing;
      case Verdict::kWouldBeRepaired:
        return changes && m_index != m_failsAt && package != PackageState::kMissing;
      case Verdict::kNoInstallProperties:
        return IsVisited() && IsMarked() && m_product.properties == nullptr;
      case Verdict::kSourceListOnly:
        return !m_product.isListed && IsMarked();
      case Verdict::kNotAString:
        return IsVisited() && HasOtherType();
      case Verdict::kHalfMarked:
        return changes && IsMarked(zum_rehearse::kLocalPackageMarked) !=
                              IsMarked(zum_rehearse::kPackageNameMarked);
      case Verdict::kOverwritesOrdinaryValue:
        return (m_path && path.before) || (m_name && name.before);
      case Verdict::kPackageNameLost:
        return LosesName();
      case Verdict::kEmptyPath:
        return m_path && TextBeforeZero(*path.after).empty();
      case Verdict::kPackageNotKnownHere:
        return package == PackageState::kNotKnownHere;
      case Verdict::kPackageUnreadable:
        return package == PackageState::kUnreadable;
      default:
        return false;
    }
  }

  const Listed& m_product;
  std::size_t m_index;
  std::optional<std::size_t> m_failsAt;
  const Rewritten& m_rewritten;
  Lookup m_lookup;
  bool m_path = false;
  bool m_name = false;
};

void RequireVerdicts(const Product& product, const std::vector<std::string_view>& expected) {
  std::vector<std::string_view> found;
  for (const Verdict verdict : product.verdicts) found.push_back(zum_rehearse::VerdictId(verdict));
  if (found != expected) {
    for (const auto id : expected) std::fprintf(stderr, "expected %s\n", std::string(id).c_str());
    for (const auto id : found) std::fprintf(stderr, "found    %s\n", std::string(id).c_str());
  }
  fuzz::Require(found == expected, "the verdicts are those of the list");
}

void CheckProducts(const Report& report, const Branch& before, const Rewritten& rewritten,
                   Lookup lookup) {
  const std::vector<Listed> products = ProductsOf(before);
  fuzz::Require(report.products.size() == products.size(), "each product is told of once");
  std::optional<std::size_t> failsAt;
  for (std::size_t i = 0; i < products.size(); ++i) {
    if (products[i].isListed && products[i].name == rewritten.failedAt) failsAt = i;
  }
  for (std::size_t i = 0; i < products.size(); ++i) {
    const Judged expected(products[i], i, failsAt, rewritten, lookup);
    const Product& found = report.products[i];
    fuzz::Require(found.key == products[i].name, "the products are in their order");
    fuzz::Require(found.changes == expected.changes, "what changes is what the correction writes");
    fuzz::Require(found.refused == expected.Refused(),
                  "what is refused is what may not be written to");
    fuzz::Require(found.package == expected.package, "the package is looked up where there is one");
    fuzz::Require(
        std::equal(std::begin(found.slots), std::end(found.slots), std::begin(expected.slots)),
        "the values are the rule's");
    RequireVerdicts(found, expected.Verdicts());
  }
}

// The products that may be written to change in this run as the report tells.
void CheckAsRun(const Report& report, const Branch& before, const fuzz::Faults& faults) {
  if (faults.write != 0 || faults.removal != 0) return;
  const Rewritten asRun = fuzz::Rewrite(before, faults, fuzz::Rights::kAsTheyAre);
  for (const Product& product : report.products) {
    if (product.refused) continue;
    const bool changes =
        std::any_of(asRun.writes.begin(), asRun.writes.end(),
                    [&product](const auto& write) { return write.first == product.key; });
    fuzz::Require(changes == product.changes,
                  "what would be repaired is what the correction changes");
  }
  if (report.asRun)
    fuzz::Require((report.asRun->code != 0) == asRun.failed, "the run's own outcome is told");
}

void Plan(const Branch& before, const fuzz::Faults& faults) {
  host::SetRegistrySync(false);
  // The products are listed once before, in both branches.
  std::size_t listed = 0;
  for (const std::u16string_view above : {fuzz::kUserData, fuzz::kClasses}) {
    const fuzz::Key* const list = fuzz::FindKey(before, above);
    if (list != nullptr && (list->denied & kReadRights) == 0)
      listed += fuzz::SubKeys(before, above).size() + 1;
  }
  if (faults.enumeration != 0) host::FailCall("RegEnumKeyW", listed + faults.enumeration, 5);
  if (faults.write != 0) host::FailCall("RegSetValueExW", faults.write, 5);
  if (faults.removal != 0) host::FailCall("RegDeleteValueW", faults.removal, 5);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const fuzz::HostMachine machine;
  FuzzedDataProvider input(data, size);
  const Lookup lookup = input.ConsumeBool() ? Lookup::kSome : Lookup::kNone;
  const fuzz::Faults faults = fuzz::TakeFaults(input);
  const Branch before = fuzz::TakeBranch(input);
  const Rewritten rewritten = fuzz::Rewrite(before, faults, fuzz::Rights::kReadingSuffices);
  // Values of an odd size make the reading report checks, which the program takes and goes on.
  static const bool isNew =
      (host::ResetMachine(),
       winapi::AddVectoredExceptionHandler(/*first=*/1, oru::AssertionHandler) != nullptr);
  fuzz::Require(isNew, "reported checks are taken");
  fuzz::PutIntoStore(before);
  Plan(before, faults);

  zum_rehearse::LoadedMachine loaded;
  loaded.machine = winapi::rehearsal::Machine::ThisOne();
  const zum_rehearse::PackageLookup finds = Look;
  const Report report = zum_rehearse::Rehearse(
      loaded, lookup == Lookup::kSome ? finds : zum_rehearse::PackageLookup(), {});
  fuzz::Require(report.outcome.code == (rewritten.failed ? 0xA1780003 : 0),
                "the outcome is the rule's");
  const fuzz::Key* const list = fuzz::FindKey(before, fuzz::kUserData);
  const bool isRefused = list != nullptr && !IsReadable(list);
  fuzz::Require(report.outcomeIsKnown != isRefused, "a list that can't be read tells nothing");
  fuzz::Require(zum_rehearse::StatusOf(report) == fuzz::Status(report),
                "the status is the documents'");
  CheckProducts(report, before, rewritten, lookup);
  CheckAsRun(report, before, faults);
  fuzz::Require(fuzz::AreSame(fuzz::ReadStore(), before), "nothing of the machine is changed");
  host::ResetMachine();  // here, so that what is left shows as a leak
  return 0;
}
