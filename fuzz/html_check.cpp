#include <algorithm>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "fuzz/input.h"
#include "fuzz/report_checks.h"
#include "fuzz/report_rules.h"
#include "fuzz/shown_text.h"
#include "zum_rehearse/html.h"
#include "zum_rehearse/product_code.h"

namespace fuzz {
namespace {

using zum_rehearse::Product;
using zum_rehearse::Report;
using zum_rehearse::Value;

constexpr std::size_t kFolded = 200;  // bytes of a value's text from which it is folded away
constexpr std::size_t kSummary = 60;  // columns of what stands for it

// A page taken apart: all but what stands isolated, and that by itself.
struct Page {
  std::string skeleton;
  std::vector<std::string> texts;
};

std::string Unescaped(std::string_view text) {
  static constexpr std::pair<std::string_view, char> kEntities[] = {
      {"&amp;", '&'}, {"&lt;", '<'}, {"&gt;", '>'}, {"&quot;", '"'}, {"&#39;", '\''}};
  std::string plain;
  while (!text.empty()) {
    const char first = text.front();
    if (first != '&') {
      Require(first != '<' && first != '>' && first != '"' && first != '\'',
              "what is special is escaped");
      plain += first;
      text.remove_prefix(1);
      continue;
    }
    const auto* const entity =
        std::find_if(std::begin(kEntities), std::end(kEntities),
                     [text](const auto& each) { return text.starts_with(each.first); });
    Require(entity != std::end(kEntities), "an ampersand begins an entity");
    plain += entity->second;
    text.remove_prefix(entity->first.size());
  }
  return plain;
}

Page TakeApart(std::string_view html) {
  static constexpr std::string_view kOpen = "<bdi>";
  static constexpr std::string_view kClose = "</bdi>";
  Page page;
  while (true) {
    const std::size_t open = html.find(kOpen);
    page.skeleton += html.substr(0, open);
    if (open == std::string_view::npos) return page;
    html.remove_prefix(open + kOpen.size());
    // Up to the next tag, whichever it is: a text with one in it shows here.
    const std::size_t end = html.find('<');
    Require(end != std::string_view::npos && html.substr(end).starts_with(kClose),
            "a text ends with its isolation");
    page.texts.push_back(Unescaped(html.substr(0, end)));
    page.skeleton += "<bdi></bdi>";
    html.remove_prefix(end + kClose.size());
  }
}

bool IsFolded(const Value& value) { return Shown(value).size() > kFolded; }

// A value without anything special, of the same length as far as that matters.
std::optional<Value> HarmlessValue(const std::optional<Value>& value, std::uint8_t letter) {
  if (!value) return std::nullopt;
  Value harmless{1, {}};
  for (std::size_t i = 0; i < (IsFolded(*value) ? 300U : 3U); ++i) {
    harmless.data.insert(harmless.data.end(), {letter, 0});
  }
  return harmless;
}

Report Harmless(Report report) {
  report.machine = "pc";
  for (std::string& note : report.notes) note = "note";
  if (!report.error.empty()) report.error = "error";
  for (Product& product : report.products) {
    product.key = u"key";
    product.code.clear();
    product.name = product.version = u"text";
    for (auto& slot : product.slots) {
      const bool changes = slot.before != slot.after;
      slot.before = HarmlessValue(slot.before, 'a');
      slot.after = HarmlessValue(slot.after, changes ? 'b' : 'a');
    }
  }
  return report;
}

class Texts {
 public:
  explicit Texts(const Report& report) : m_report(report) {}

  void Machine() {
    Add(ShownUtf8(m_report.machine));
    Add(m_report.error.empty() ? m_report.outcome.line : ShownUtf8(m_report.error));
    if (m_report.asRun) Add(m_report.asRun->line);
    for (const std::string& note : m_report.notes) Add(ShownUtf8(note));
  }

  void One(const Product& product) {
    Add(ShownUtf8(m_report.machine));
    Add(product.code.empty() ? Shown(product.key) : product.code);
    Add(Shown(product.name));
    Add(Shown(product.version));
    for (const auto& slot : product.slots) {
      if (slot.before) AddValue(*slot.before);
      if (slot.after && slot.before != slot.after) AddValue(*slot.after);
    }
  }

  // Empty stands for a summary, which is some beginning of the text behind it.
  std::vector<std::string> texts;

 private:
  void Add(std::string text) { texts.push_back(std::move(text)); }
  void AddValue(const Value& value) {
    if (IsFolded(value)) Add("");
    Add(Shown(value));
  }
  const Report& m_report;
};

void RequireSummary(std::string_view summary, std::string_view whole) {
  static constexpr std::string_view kEllipsis = "\u2026";
  // A long text of marks that take no column fits as it is.
  if (summary == whole) return Require(Columns(whole) <= kSummary, "a summary is short");
  Require(summary.ends_with(kEllipsis) && Columns(summary) <= kSummary,
          "a summary is short, and says that it is one");
  summary.remove_suffix(kEllipsis.size());
  Require(whole.starts_with(summary), "a summary is the beginning of its text");
}

}  // namespace

void CheckHtml(const Report& report, bool all) {
  const Page page = TakeApart(zum_rehearse::HtmlRows(report, all));
  Require(page.skeleton == TakeApart(zum_rehearse::HtmlRows(Harmless(report), all)).skeleton,
          "no markup comes from a value");
  Texts expected(report);
  expected.Machine();
  for (const Product& product : report.products) {
    if (IsShown(product, all)) expected.One(product);
  }
  Require(page.texts.size() == expected.texts.size(), "each text is isolated");
  for (std::size_t i = 0; i < page.texts.size(); ++i) {
    const bool isSummary = expected.texts[i].empty() && !page.texts[i].empty();
    if (isSummary) {
      RequireSummary(page.texts[i], page.texts[i + 1]);
    } else {
      Require(page.texts[i] == expected.texts[i], "a text is the report's");
    }
  }
}

}  // namespace fuzz
