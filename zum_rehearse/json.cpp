#include "zum_rehearse/json.h"

#include <cstdio>
#include <nlohmann/json.hpp>
#include <optional>

#include "winapi/registry.h"
#include "zum_rehearse/installer_records.h"
#include "zum_rehearse/printable.h"

namespace zum_rehearse {
namespace {

using Json = nlohmann::ordered_json;

std::string CodeText(std::uint32_t code) {
  char text[16];
  const int length = std::snprintf(text, sizeof text, "0x%08x", static_cast<unsigned>(code));
  return std::string(text, static_cast<std::size_t>(length));
}

Json TextOrNull(std::u16string_view text) {
  return text.empty() ? Json(nullptr) : Json(Utf8(text));
}

// `text` is what a reader takes a string for; `bytes` are exact.
Json ValueJson(const std::optional<Value>& value) {
  if (!value) return nullptr;
  const bool isText = value->type == winapi::kRegSz || value->type == winapi::kRegExpandSz;
  return Json{{"type", value->type},
              {"type_name", TypeName(value->type)},
              {"text", isText ? Json(Utf8(TextOf(*value))) : Json(nullptr)},
              {"bytes", HexDigits(value->data)}};
}

Json PackageJson(const Product& product) {
  if (product.package == PackageState::kNotAsked) return nullptr;
  return Json{{"path", Utf8(product.packagePath)},
              {"state", PackageStateName(product.package)},
              {"error", product.packageError == 0 ? Json(nullptr) : Json(product.packageError)}};
}

Json ProductJson(const Product& product) {
  Json verdicts = Json::array();
  for (const Verdict verdict : product.verdicts) verdicts.push_back(VerdictId(verdict));
  Json values = Json::object();
  for (std::size_t i = 0; i < kSlotCount; ++i) {
    values[kSlotNames[i]] = Json{{"before", ValueJson(product.slots[i].before)},
                                 {"after", ValueJson(product.slots[i].after)}};
  }
  return Json{{"key", Utf8(product.key)},
              {"code", product.code.empty() ? Json(nullptr) : Json(product.code)},
              {"name", TextOrNull(product.name)},
              {"version", TextOrNull(product.version)},
              {"verdicts", std::move(verdicts)},
              {"changes", product.changes},
              {"package", PackageJson(product)},
              {"values", std::move(values)}};
}

Json OutcomeJson(const Outcome& outcome) {
  return Json{{"code", CodeText(outcome.code)}, {"line", outcome.line}};
}

bool IsOrdinary(const Product& product) { return product.verdicts.front() == Verdict::kOrdinary; }

}  // namespace

std::string JsonLine(const Report& report, bool all) {
  const bool rehearsed = report.error.empty();
  Json products = Json::array();
  for (const Product& product : report.products) {
    if (all || !IsOrdinary(product)) products.push_back(ProductJson(product));
  }
  Json json{
      {"machine", report.machine},
      {"sources", report.sources},
      {"status", StatusOf(report)},
      {"error", rehearsed ? Json(nullptr) : Json(report.error)},
      {"notes", report.notes},
      {"outcome", rehearsed && report.outcomeIsKnown ? OutcomeJson(report.outcome) : Json(nullptr)},
      {"as_run", report.asRun ? OutcomeJson(*report.asRun) : Json(nullptr)},
      {"summary", Json{{"products", report.products.size()},
                       {"changed", report.ChangedProducts()},
                       {"packages_missing", report.MissingPackages()}}},
      {"products", std::move(products)}};
  // Names of files needn't be UTF-8.
  return json.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace zum_rehearse
