#include <algorithm>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "fuzz/input.h"
#include "fuzz/report_checks.h"
#include "fuzz/texts.h"
#include "winapi/host/reg_file_reader.h"
#include "winapi/host/registry_tree.h"
#include "zum_rehearse/reg_text.h"

namespace fuzz {
namespace {

using winapi::host::RegFileError;
using winapi::host::RegistryTree;
using zum_rehearse::Report;
using zum_rehearse::Value;
using State = std::map<std::pair<std::u16string, std::u16string>, std::optional<Value>>;

constexpr char kTime[] = "2026-11-22 00:12:33 UTC";

bool IsCarried(std::u16string_view key) {
  return key.find_first_of(u"\r\n") == std::u16string_view::npos;
}

std::string Bytes(std::u16string_view text) {
  const std::vector<std::uint8_t> bytes = Utf16Bytes(text);
  return {bytes.begin(), bytes.end()};
}

// A file of the values that are there.
std::string FileOf(const State& state) {
  std::u16string text = u"Windows Registry Editor Version 5.00\r\n";
  for (const auto& [place, value] : state) {
    text += u"[" + place.first + u"]\r\n";
    if (!value) continue;
    char type[24];
    (void)std::snprintf(type, sizeof type, "=hex(%x):", value->type);
    text +=
        u"\"" + place.second + u"\"" + std::u16string(type, type + std::string_view(type).size());
    for (const std::uint8_t byte : value->data) {
      text += u"0123456789abcdef"[byte / 16];
      text += u"0123456789abcdef"[byte % 16];
      text += u',';
    }
    if (!value->data.empty()) text.pop_back();
    text += u"\r\n";
  }
  return "\xFF\xFE" + Bytes(text);
}

// What stands behind the header of a file.
std::string BodyOf(const std::string& file) {
  const std::string head = "\xFF\xFE" + Bytes(u"Windows Registry Editor Version 5.00\r\n");
  Require(file.starts_with(head), "the file has its mark and its header");
  return file.substr(head.size());
}

void RequireState(const std::string& file, const State& state) {
  RegistryTree tree;
  RegFileError error;
  std::vector<RegFileError> warnings;
  Require(winapi::host::ParseRegFile(file, tree, error, &warnings) && warnings.empty(),
          "the file can be read");
  for (const auto& [place, value] : state) {
    const auto key = tree.Find(place.first);
    Require(key != nullptr, "the key is there");
    const auto* const found = key->Value(place.second);
    Require((found != nullptr) == value.has_value(), "a value is there that is to be there");
    Require(!value || (found->type == value->type && found->data == value->data),
            "type and bytes are the value's");
  }
}

}  // namespace

void CheckRegFiles(const Report& report) {
  State before;
  State after;
  std::vector<std::u16string> left;
  for (const auto& change : report.changes) {
    if (!IsCarried(change.key)) {
      if (std::find(left.begin(), left.end(), change.key) == left.end()) left.push_back(change.key);
      continue;
    }
    before.try_emplace({change.key, change.name}, change.before);
    after[{change.key, change.name}] = change.after;
  }
  Require(zum_rehearse::KeysThatNoFileCarries(report) == left, "what is left out is told");
  const std::string changed = FileOf(before) + BodyOf(zum_rehearse::ChangesFile(report, kTime));
  RequireState(changed, after);
  RequireState(changed + BodyOf(zum_rehearse::UndoFile(report, kTime)), before);
}

}  // namespace fuzz
