// The table for terminals, on reports of any content: nothing reaches the terminal but text that is
// seen, in lines that fit.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <string>
#include <string_view>

#include "fuzz/input.h"
#include "fuzz/report_input.h"
#include "fuzz/shown_text.h"
#include "zum_rehearse/table.h"

namespace {

constexpr std::string_view kPlain = "\033[0m";
constexpr std::string_view kColours[] = {"\033[1m", "\033[31m", "\033[32m", "\033[33m"};

// The line without its colours, of which each ends in the same line.
std::string WithoutColours(std::string_view line) {
  std::string text;
  bool isColoured = false;
  while (!line.empty()) {
    std::size_t length = 0;
    for (const std::string_view colour : kColours) {
      if (line.starts_with(colour)) length = colour.size();
    }
    fuzz::Require(length == 0 || !isColoured, "one colour ends before the next");
    if (length != 0) isColoured = true;
    if (length == 0 && line.starts_with(kPlain)) {
      fuzz::Require(isColoured, "what ends is a colour");
      isColoured = false;
      length = kPlain.size();
    }
    if (length == 0) {
      text += line.front();
      length = 1;
    }
    line.remove_prefix(length);
  }
  fuzz::Require(!isColoured, "a colour ends with its line");
  return text;
}

void CheckLine(const std::string& line, std::size_t columns) {
  fuzz::RequireSeen(line);
  if (fuzz::Columns(line) > columns)
    std::fprintf(stderr, "%zu columns: %s\n", columns, line.c_str());
  fuzz::Require(fuzz::Columns(line) <= columns, "a line fits");
}

// The texts that one looks for are there, on however many lines.
void CheckContent(const zum_rehearse::Report& report, const std::string& text, bool all) {
  if (!report.error.empty()) return;
  fuzz::Require(text.find("/unblock would print \"") != std::string::npos, "the outcome is told");
  for (const auto& product : report.products) {
    const bool isShown = all || product.verdicts.front() != zum_rehearse::Verdict::kOrdinary;
    if (!isShown || product.code.empty()) continue;
    fuzz::Require(text.find(product.code) != std::string::npos, "a product is told");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  zum_rehearse::TableForm form;
  form.columns = input.ConsumeIntegralInRange<std::size_t>(0, 140);
  form.colour = input.ConsumeBool();
  form.all = input.ConsumeBool();
  const zum_rehearse::Report report = fuzz::TakeReport(input);
  const std::string table = zum_rehearse::Table(report, form);
  fuzz::Require(table.ends_with('\n'), "the last line has its end");
  std::string text;
  for (std::size_t begin = 0, end = 0; (end = table.find('\n', begin)) != std::string::npos;
       begin = end + 1) {
    std::string line = table.substr(begin, end - begin);
    if (form.colour) line = WithoutColours(line);
    CheckLine(line, std::max<std::size_t>(form.columns, 40));
    text += " " + line.substr(std::min(line.size(), line.find_first_not_of(' ')));
  }
  CheckContent(report, text, form.all);
  return 0;
}
