#include "zum_rehearse/judge.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <optional>
#include <string_view>
#include <unordered_map>

#include "winapi/registry.h"
#include "zum_rehearse/product_code.h"

namespace zum_rehearse {
namespace {

constexpr std::u16string_view kWrittenPackageName = u"zum_win.msi";
constexpr std::size_t kNowhere = static_cast<std::size_t>(-1);

// The product's part of a key's full path; empty for a path of another form.
std::u16string_view ProductIn(std::u16string_view path, std::u16string_view products,
                              std::u16string_view subKey) {
  const std::size_t head = kHive.size() + 1 + products.size() + 1;
  const std::size_t tail = 1 + subKey.size();
  if (path.size() <= head + tail || !path.ends_with(subKey)) return {};
  if (path.substr(kHive.size() + 1, products.size()) != products) return {};
  return path.substr(head, path.size() - head - tail);
}

std::u16string_view ProductOf(std::u16string_view path) {
  const std::u16string_view product = ProductIn(path, kUserDataProducts, kInstallProperties);
  return product.empty() ? ProductIn(path, kClassesProducts, kSourceList) : product;
}

std::optional<SlotIndex> SlotOf(std::u16string_view name) {
  for (std::size_t i = 0; i < kSlotCount; ++i) {
    const std::string_view known = kSlotNames[i];
    if (std::equal(name.begin(), name.end(), known.begin(), known.end())) {
      return static_cast<SlotIndex>(i);
    }
  }
  return std::nullopt;
}

char16_t Lower(char16_t unit) {
  return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + 32) : unit;
}

bool IsWrittenPackageName(const Value& value) {
  const std::u16string text = TextOf(value);
  return std::equal(text.begin(), text.end(), kWrittenPackageName.begin(),
                    kWrittenPackageName.end(),
                    [](char16_t a, char16_t b) { return Lower(a) == b; });
}

// Works one machine off.
class Judgement {
 public:
  Judgement(const Findings& findings, const PackageLookup& lookup)
      : m_findings(findings), m_lookup(lookup) {}

  std::vector<Product> Run() {
    for (const ProductRecord& record : m_findings.records) Add(record);
    ApplyChanges();
    NoteRefusals();
    FindEnds();
    for (std::size_t i = 0; i < m_products.size(); ++i) {
      LookUpPackage(m_products[i]);
      GiveVerdicts(i);
    }
    return std::move(m_products);
  }

 private:
  void Add(const ProductRecord& record) {
    Product product;
    product.key = record.key;
    product.code = ReadableProductCode(record.key);
    product.name = record.name;
    product.version = record.version;
    for (std::size_t i = 0; i < kSlotCount; ++i) {
      product.slots[i] = {record.values[i], record.values[i]};
    }
    m_index.emplace(product.key, m_products.size());
    m_products.push_back(std::move(product));
  }

  Product* Find(std::u16string_view path) {
    const auto found = m_index.find(std::u16string(ProductOf(path)));
    return found == m_index.end() ? nullptr : &m_products[found->second];
  }

  void ApplyChanges() {
    for (const Change& change : m_findings.correction.changes) {
      Product* const product = Find(change.key);
      const auto slot = SlotOf(change.name);
      if (product == nullptr || !slot) continue;
      product->slots[*slot].after = change.after;
      product->changes = true;
    }
  }

  void NoteRefusals() {
    for (const auto& refusal : m_findings.correction.refusals) {
      if (Product* const product = Find(refusal.key)) product->refused = true;
    }
  }

  // Where the correction failed, and where its list of products ended.
  void FindEnds() {
    const auto& correction = m_findings.correction;
    if (m_findings.failed && !correction.failedChanges.empty()) {
      const Product* const product = Find(correction.failedChanges.back().key);
      if (product != nullptr) m_failsAt = static_cast<std::size_t>(product - m_products.data());
    }
    if (!correction.brokenLists.empty()) m_listEnd = correction.brokenLists.front().index;
  }

  void LookUpPackage(Product& product) const {
    const auto& path = product.slots[kLocalPackage].after;
    if (!product.changes || !path || path->type != winapi::kRegSz) return;
    product.packagePath = TextOf(*path);
    if (!m_lookup) {
      product.package = PackageState::kNotKnownHere;
      return;
    }
    const PackageAnswer answer =
        product.packagePath.empty() ? PackageAnswer() : m_lookup(product.packagePath);
    product.package = answer.state;
    product.packageError = answer.error;
  }

  void GiveVerdicts(std::size_t index) {
    Product& product = m_products[index];
    const auto give = [&product](Verdict verdict, bool applies) {
      if (applies) product.verdicts.push_back(verdict);
    };
    const ProductRecord& record = m_findings.records[index];
    const bool marked =
        IsMarked(product, kLocalPackageMarked) || IsMarked(product, kPackageNameMarked);
    const bool unreadable =
        record.installProperties == KeyState::kRefused || record.sourceList == KeyState::kRefused;
    const bool reached = record.listed && index < m_listEnd && index <= m_failsAt &&
                         (!m_findings.failed || m_failsAt != kNowhere || product.changes);
    give(Verdict::kFailsHere, index == m_failsAt);
    // Without a place for the failure, whatever is marked and didn't change is behind it.
    const bool behindFailure =
        m_failsAt != kNowhere ? index > m_failsAt : m_findings.failed && !product.changes;
    give(Verdict::kNotReached, record.listed && marked && behindFailure);
    // Of the one at which the list breaks off nothing may be readable.
    give(Verdict::kNotListed,
         record.listed && index >= m_listEnd && (marked || index == m_listEnd));
    give(Verdict::kUnreadable, unreadable);
    give(Verdict::kPassedOver, product.changes && product.refused);
    give(Verdict::kPackageMissing, product.package == PackageState::kMissing);
    give(Verdict::kWouldBeRepaired,
         product.changes && index != m_failsAt && product.package != PackageState::kMissing);
    give(Verdict::kNoInstallProperties,
         reached && marked && record.installProperties == KeyState::kMissing);
    give(Verdict::kSourceListOnly, !record.listed && marked);
    give(Verdict::kNotAString, reached && HasMarkOfOtherType(product));
    GiveValueVerdicts(product);
    give(Verdict::kSecondValueUnknown, !m_findings.knowsSourceLists && product.changes);
    give(Verdict::kPackageNotKnownHere, product.package == PackageState::kNotKnownHere);
    give(Verdict::kPackageUnreadable, product.package == PackageState::kUnreadable);
    give(Verdict::kOrdinary, product.verdicts.empty());
  }

  // What is to be known of the values that would change.
  void GiveValueVerdicts(Product& product) const {
    if (!product.changes) return;
    const Slot& path = product.slots[kLocalPackage];
    const Slot& name = product.slots[kPackageName];
    const auto give = [&product](Verdict verdict, bool applies) {
      if (applies) product.verdicts.push_back(verdict);
    };
    const bool changesPath = Changes(product, kLocalPackage, kLocalPackageMarked);
    const bool changesName = Changes(product, kPackageName, kPackageNameMarked);
    give(Verdict::kHalfMarked,
         m_findings.knowsSourceLists && changesPath != changesName &&
             IsMarked(product, kLocalPackageMarked) != IsMarked(product, kPackageNameMarked));
    give(Verdict::kOverwritesOrdinaryValue,
         (changesPath && path.before.has_value()) || (changesName && name.before.has_value()));
    give(Verdict::kPackageNameLost,
         changesName && !IsWrittenPackageName(*product.slots[kPackageNameMarked].before));
    give(Verdict::kEmptyPath, changesPath && path.after && TextOf(*path.after).empty());
  }

  static bool IsMarked(const Product& product, SlotIndex slot) {
    return product.slots[slot].before.has_value();
  }

  // True where the mark goes, or the value in its place is written at least.
  static bool Changes(const Product& product, SlotIndex ordinary, SlotIndex mark) {
    const Slot& slot = product.slots[mark];
    return (slot.before && !slot.after) ||
           product.slots[ordinary].before != product.slots[ordinary].after;
  }

  static bool HasMarkOfOtherType(const Product& product) {
    return std::any_of(std::begin(kMarks), std::end(kMarks), [&product](SlotIndex slot) {
      const auto& mark = product.slots[slot].before;
      return mark && mark->type != winapi::kRegSz;
    });
  }

  static constexpr SlotIndex kMarks[] = {kLocalPackageMarked, kPackageNameMarked};

  const Findings& m_findings;
  const PackageLookup& m_lookup;
  std::vector<Product> m_products;
  std::unordered_map<std::u16string, std::size_t> m_index;
  std::size_t m_failsAt = kNowhere;
  std::size_t m_listEnd = kNowhere;
};

}  // namespace

std::vector<Product> Judge(const Findings& findings, const PackageLookup& lookup) {
  return Judgement(findings, lookup).Run();
}

}  // namespace zum_rehearse
