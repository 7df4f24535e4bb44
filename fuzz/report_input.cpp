#include "fuzz/report_input.h"

#include <cstdint>
#include <iterator>
#include <map>
#include <string>
#include <utility>

#include "fuzz/texts.h"
#include "zum_rehearse/product_code.h"

namespace fuzz {
namespace {

using zum_rehearse::Product;
using zum_rehearse::Report;
using zum_rehearse::Value;

constexpr std::size_t kLongText = 300;

std::string TakeBytes(FuzzedDataProvider& input) {
  std::string bytes = input.ConsumeRandomLengthString(40);
  if (input.ConsumeIntegralInRange(0, 15) == 15)
    bytes.append(kLongText, bytes.empty() ? 'x' : bytes.back());
  return bytes;
}

std::u16string TakeWide(FuzzedDataProvider& input) { return WideText(TakeBytes(input)); }

std::optional<Value> TakeValue(FuzzedDataProvider& input) {
  static constexpr std::uint32_t kTypes[] = {1, 1, 1, 1, 2, 0, 3, 4, 7, 11, 12, 77, 0xFFFFFFFF};
  if (input.ConsumeIntegralInRange(0, 3) == 0) return std::nullopt;
  Value value{input.PickValueInArray(kTypes), {}};
  value.data = Utf16Bytes(TakeWide(input));
  if (input.ConsumeBool()) value.data.insert(value.data.end(), {0, 0});
  if (input.ConsumeIntegralInRange(0, 7) == 7) value.data.push_back(7);
  return value;
}

Product TakeProduct(FuzzedDataProvider& input) {
  Product product;
  product.key = input.ConsumeBool() ? u"26F1C3B745A9D0E4C812D5E6F708192A" : TakeWide(input);
  product.code = zum_rehearse::ReadableProductCode(product.key);
  product.name = TakeWide(input);
  product.version = TakeWide(input);
  for (auto& slot : product.slots) {
    slot.before = TakeValue(input);
    slot.after = input.ConsumeBool() ? slot.before : TakeValue(input);
  }
  product.changes = input.ConsumeBool();
  product.refused = input.ConsumeBool();
  product.package = static_cast<zum_rehearse::PackageState>(input.ConsumeIntegralInRange(0, 4));
  if (product.package == zum_rehearse::PackageState::kUnreadable) product.packageError = 5;
  product.packagePath = TakeWide(input);
  const auto chosen = input.ConsumeIntegral<std::uint32_t>();
  for (std::size_t i = 0; i < std::size(zum_rehearse::kAllVerdicts); ++i) {
    if ((chosen >> i & 1) != 0) product.verdicts.push_back(zum_rehearse::kAllVerdicts[i]);
  }
  if (product.verdicts.empty()) product.verdicts.push_back(zum_rehearse::Verdict::kOrdinary);
  return product;
}

// A key has no backslash in its own name and no zero, and its name isn't another one's in another
// case.
std::u16string KeyOf(const Product& product, std::size_t number, bool isSourceList) {
  std::u16string path = u"HKEY_LOCAL_MACHINE\\SOFTWARE\\x\\";
  path += static_cast<char16_t>(u'0' + number);
  for (const char16_t unit : product.key) path += unit == u'\\' || unit == u'\0' ? u'_' : unit;
  return path + (isSourceList ? u"\\SourceList" : u"\\InstallProperties");
}

void TakeChanges(FuzzedDataProvider& input, Report& report) {
  std::map<std::pair<std::u16string, std::size_t>, std::optional<Value>> now;
  for (int count = input.ConsumeIntegralInRange(0, 6); count > 0 && !report.products.empty();
       --count) {
    const auto product = input.ConsumeIntegralInRange<std::size_t>(0, report.products.size() - 1);
    const auto slot = input.ConsumeIntegralInRange<std::size_t>(0, zum_rehearse::kSlotCount - 1);
    const std::u16string key =
        KeyOf(report.products[product], product, slot >= zum_rehearse::kPackageName);
    const std::string_view name = zum_rehearse::kSlotNames[slot];
    auto [known, isNew] = now.try_emplace({key, slot});
    if (isNew) known->second = TakeValue(input);
    const std::optional<Value> after = TakeValue(input);
    report.changes.push_back({key, std::u16string(name.begin(), name.end()), known->second, after});
    known->second = after;
  }
}

}  // namespace

Report TakeReport(FuzzedDataProvider& input) {
  Report report;
  report.machine = TakeBytes(input);
  for (int count = input.ConsumeIntegralInRange(0, 2); count > 0; --count)
    report.sources.push_back(TakeBytes(input));
  for (int count = input.ConsumeIntegralInRange(0, 2); count > 0; --count)
    report.notes.push_back(TakeBytes(input));
  if (input.ConsumeIntegralInRange(0, 7) == 7) report.error = TakeBytes(input);
  if (input.ConsumeIntegralInRange(0, 3) == 3) {
    report.outcome = {0xA1780003,
                      "Failed: 0xa1780003 (Problem in disable protective upgrade registry)"};
  } else {
    report.outcome = {0, "Completed"};
  }
  if (input.ConsumeBool()) report.asRun = {0, "Completed"};
  if (!report.error.empty()) return report;
  for (int count = input.ConsumeIntegralInRange(0, 3); count > 0; --count) {
    report.products.push_back(TakeProduct(input));
  }
  TakeChanges(input, report);
  return report;
}

}  // namespace fuzz
