#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>

#include "fuzz/input.h"
#include "fuzz/report_checks.h"
#include "fuzz/report_rules.h"
#include "fuzz/shown_text.h"
#include "fuzz/texts.h"
#include "zum_rehearse/json.h"

namespace fuzz {
namespace {

using nlohmann::json;
using zum_rehearse::Product;
using zum_rehearse::Report;
using zum_rehearse::Value;

// The library puts one U+FFFD in place of each run of bytes that begins like a character and isn't
// one, so only well-formed texts are compared in full.
void RequireText(const json& found, const std::string& bytes) {
  for (const char32_t point : CodePointsOfUtf8(bytes)) {
    if (point >= kMalformed) return Require(found.is_string(), "a text is a string");
  }
  Require(found == bytes, "a text is the report's");
}

std::string CodeText(std::uint32_t code) { return code == 0 ? "0x00000000" : "0xa1780003"; }

void RequireOutcome(const json& found, const zum_rehearse::Outcome& outcome) {
  Require(found.at("code") == CodeText(outcome.code) && found.at("line") == outcome.line,
          "the outcome is the report's");
}

std::vector<std::uint8_t> BytesOf(const std::string& digits) {
  std::vector<std::uint8_t> bytes;
  Require(digits.size() % 2 == 0, "bytes have two digits each");
  for (std::size_t i = 0; i < digits.size(); i += 2) {
    bytes.push_back(static_cast<std::uint8_t>(std::stoul(digits.substr(i, 2), nullptr, 16)));
  }
  return bytes;
}

void RequireValue(const json& found, const std::optional<Value>& value) {
  if (!value) return Require(found.is_null(), "no value is null");
  Require(found.at("type") == value->type, "the type is the value's");
  Require(BytesOf(found.at("bytes")) == value->data, "the bytes are the value's");
  if (value->type != 1 && value->type != 2)
    return Require(found.at("text").is_null(), "only strings have a text");
  std::u16string text;
  for (std::size_t i = 0; i + 1 < value->data.size(); i += 2) {
    const auto unit = static_cast<char16_t>(value->data[i] | value->data[i + 1] << 8);
    if (unit == 0) break;
    text += unit;
  }
  Require(found.at("text") == Utf8WithReplacements(text), "the text is the value's");
}

void RequireOptional(const json& found, const std::string& text) {
  Require(text.empty() ? found.is_null() : found == text, "a text that may lack is the product's");
}

void RequireProduct(const json& found, const Product& product) {
  Require(found.at("key") == Utf8WithReplacements(product.key), "the key is the product's");
  RequireOptional(found.at("code"), product.code);
  RequireOptional(found.at("name"), Utf8WithReplacements(product.name));
  RequireOptional(found.at("version"), Utf8WithReplacements(product.version));
  json verdicts = json::array();
  for (const auto verdict : product.verdicts) verdicts.push_back(NameOf(verdict));
  Require(found.at("verdicts") == verdicts && found.at("changes") == product.changes,
          "the verdicts are the product's");
  const std::string state = StateName(product.package);
  json package;
  if (!state.empty()) {
    package = {{"path", Utf8WithReplacements(product.packagePath)}, {"state", state}};
    package["error"] = state == "unreadable" ? json(product.packageError) : json();
  }
  Require(found.at("package") == package, "the package is the product's");
  for (std::size_t i = 0; i < zum_rehearse::kSlotCount; ++i) {
    const json& slot = found.at("values").at(zum_rehearse::kSlotNames[i]);
    RequireValue(slot.at("before"), product.slots[i].before);
    RequireValue(slot.at("after"), product.slots[i].after);
  }
  Require(found.size() == 8 && found.at("values").size() == zum_rehearse::kSlotCount,
          "a product has nothing else");
}

void RequireList(const json& found, const std::vector<std::string>& texts) {
  Require(found.size() == texts.size(), "a list is as long as the report's");
  for (std::size_t i = 0; i < texts.size(); ++i) RequireText(found[i], texts[i]);
}

}  // namespace

void CheckJson(const Report& report, bool all) {
  const std::string line = zum_rehearse::JsonLine(report, all);
  Require(line.find('\n') == line.size() - 1, "a machine is one line");
  const json found = json::parse(line, nullptr, /*allow_exceptions=*/false);
  Require(found.is_object() && found.size() == 9, "the line is one object");
  RequireText(found.at("machine"), report.machine);
  RequireList(found.at("sources"), report.sources);
  RequireList(found.at("notes"), report.notes);
  Require(found.at("status") == Status(report), "the status is the report's");
  if (report.error.empty()) {
    Require(found.at("error").is_null(), "no error is null");
    RequireOutcome(found.at("outcome"), report.outcome);
  } else {
    RequireText(found.at("error"), report.error);
    Require(found.at("outcome").is_null(), "there is no outcome without a rehearsal");
  }
  if (report.asRun) RequireOutcome(found.at("as_run"), *report.asRun);
  Require(report.asRun || found.at("as_run").is_null(), "as_run is where it is asked for");
  const json summary = {{"products", report.products.size()},
                        {"changed", Changed(report)},
                        {"packages_missing", Missing(report)}};
  Require(found.at("summary") == summary, "the counts are the report's");
  std::size_t count = 0;
  for (const Product& product : report.products) {
    if (IsShown(product, all)) RequireProduct(found.at("products").at(count++), product);
  }
  Require(found.at("products").size() == count, "no other product is there");
}

}  // namespace fuzz
