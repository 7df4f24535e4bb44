#include <string>
#include <string_view>
#include <vector>

#include "fuzz/input.h"
#include "fuzz/report_checks.h"
#include "fuzz/report_rules.h"
#include "fuzz/shown_text.h"
#include "zum_rehearse/csv.h"

namespace fuzz {
namespace {

using zum_rehearse::Product;
using zum_rehearse::Report;
using Fields = std::vector<std::string>;

constexpr std::size_t kColumns = 19;

// One field, in quotes or bare, as RFC 4180 has it; `text` begins behind it afterwards.
std::string TakeField(std::string_view& text) {
  std::string field;
  if (!text.starts_with('"')) {
    const std::size_t end = text.find_first_of(",\r\n\"");
    Require(end != std::string_view::npos && text[end] != '"', "no quote stands in a bare field");
    field = text.substr(0, end);
    text.remove_prefix(end);
    return field;
  }
  text.remove_prefix(1);
  while (true) {
    const std::size_t quote = text.find('"');
    Require(quote != std::string_view::npos, "each quote is closed");
    field += text.substr(0, quote);
    text.remove_prefix(quote + 1);
    if (!text.starts_with('"')) return field;
    field += '"';
    text.remove_prefix(1);
  }
}

std::vector<Fields> Parse(std::string_view text) {
  std::vector<Fields> lines;
  while (!text.empty()) {
    Fields fields = {TakeField(text)};
    while (text.starts_with(',')) {
      text.remove_prefix(1);
      fields.push_back(TakeField(text));
    }
    Require(text.starts_with("\r\n"), "a line ends in CR LF");
    text.remove_prefix(2);
    lines.push_back(std::move(fields));
  }
  return lines;
}

// A spreadsheet takes these for the beginning of a formula.
std::string Harmless(std::string shown) {
  if (!shown.empty() && std::string_view("=+-@").find(shown.front()) != std::string_view::npos)
    shown.insert(0, "'");
  return shown;
}

Fields MachineFields(const Report& report) {
  return {Harmless(ShownUtf8(report.machine)), std::to_string(Status(report)),
          Harmless(report.outcome.line), Harmless(ShownUtf8(report.error))};
}

Fields ProductFields(const Report& report, const Product& product) {
  Fields fields = MachineFields(report);
  std::string verdicts;
  for (const auto verdict : product.verdicts)
    (verdicts += verdicts.empty() ? "" : " ") += NameOf(verdict);
  for (const std::string& text :
       {Shown(product.key), product.code, Shown(product.name), Shown(product.version)}) {
    fields.push_back(Harmless(text));
  }
  fields.insert(fields.end(),
                {verdicts, product.changes ? "yes" : "no", StateName(product.package)});
  for (const auto& slot : product.slots) {
    fields.push_back(slot.before ? Harmless(Shown(*slot.before)) : "");
    fields.push_back(slot.after ? Harmless(Shown(*slot.after)) : "");
  }
  return fields;
}

}  // namespace

void CheckCsv(const Report& report, bool all) {
  std::vector<Fields> expected;
  for (const Product& product : report.products) {
    if (IsShown(product, all)) expected.push_back(ProductFields(report, product));
  }
  if (expected.empty()) {
    expected.push_back(MachineFields(report));
    expected.back().resize(kColumns);
  }
  Require(Parse(zum_rehearse::CsvLines(report, all)) == expected, "the lines are the report's");
  const auto heading = Parse(zum_rehearse::CsvHeading());
  Require(heading.size() == 1 && heading[0].size() == kColumns, "the heading names each column");
}

}  // namespace fuzz
