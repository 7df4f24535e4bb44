#include "zum_rehearse/html.h"

#include <string_view>

#include "zum_rehearse/html_parts.h"
#include "zum_rehearse/printable.h"

namespace zum_rehearse {
namespace {

constexpr std::size_t kLongValue = 200;  // characters of UTF-8 from which a value is folded away

// Text whose control characters are escaped by now.
std::string Escaped(std::string_view printable) {
  std::string escaped;
  for (const char character : printable) {
    switch (character) {
      case '&':
        escaped += "&amp;";
        break;
      case '<':
        escaped += "&lt;";
        break;
      case '>':
        escaped += "&gt;";
        break;
      case '"':
        escaped += "&quot;";
        break;
      case '\'':
        escaped += "&#39;";
        break;
      default:
        escaped += character;
    }
  }
  return escaped;
}

std::string Isolated(std::string_view printable) {
  return Concat({"<bdi>", Escaped(printable), "</bdi>"});
}

const char* ClassOf(Tone tone) {
  switch (tone) {
    case Tone::kBad:
      return "bad";
    case Tone::kGood:
      return "good";
    case Tone::kDoubtful:
      return "some";
    default:
      return "";
  }
}

std::string ValueText(const std::optional<Value>& value) {
  if (!value) return "<em>(no such value)</em>";
  const std::string text = Printable(*value);
  if (text.size() <= kLongValue) return Isolated(text);
  return Concat({"<details><summary>", Isolated(Cut(text, /*columns=*/60)), "</summary><pre>",
                 Isolated(text), "</pre></details>"});
}

std::string Values(const Product& product) {
  std::string list = "<dl>";
  for (std::size_t i = 0; i < kSlotCount; ++i) {
    const Slot& slot = product.slots[i];
    if (!slot.before && !slot.after) continue;
    list += Concat({"<dt>", kSlotNames[i], "</dt><dd>", ValueText(slot.before)});
    if (slot.before != slot.after) list += Concat({"<br>\u2192 ", ValueText(slot.after)});
    list += "</dd>";
  }
  return list + "</dl>";
}

std::string Verdicts(const Product& product) {
  std::string list = "<ul>";
  for (const Verdict verdict : product.verdicts) {
    list += Concat({"<li class=\"", ClassOf(VerdictTone(verdict)), "\">",
                    Escaped(VerdictLine(product, verdict))});
    if (!VerdictAdvice(verdict).empty()) {
      list += Concat({"<br><small>", Escaped(VerdictAdvice(verdict)), "</small>"});
    }
    list += "</li>";
  }
  return list + "</ul>";
}

std::string Row(const Report& report, std::string_view kind,
                std::initializer_list<std::string_view> cells) {
  std::string row =
      Concat({"<tr class=\"", kind, "\" data-status=\"", std::to_string(StatusOf(report)), "\">"});
  row += Concat({"<td>", Isolated(Printable(std::string_view(report.machine))), "</td><td>",
                 std::to_string(StatusOf(report)), "</td>"});
  for (const std::string_view cell : cells) row += Concat({"<td>", cell, "</td>"});
  return row + "</tr>\n";
}

// What there is to tell of a machine beside its products.
std::string MachineRow(const Report& report) {
  std::string text;
  if (!report.error.empty()) {
    text = Concat({"<span class=\"bad\">not rehearsed: ",
                   Isolated(Printable(std::string_view(report.error))), "</span>"});
  } else if (!report.outcomeIsKnown) {
    text = Concat({"<span class=\"bad\">with this run's rights /unblock would print ",
                   Isolated(report.outcome.line),
                   "; with the rights that it needs: not known</span>"});
  } else {
    text = Concat({"/unblock would print ", Isolated(report.outcome.line), "; ",
                   std::to_string(report.ChangedProducts()), " of ",
                   std::to_string(report.products.size()), " products would change"});
  }
  if (report.asRun && report.outcomeIsKnown) {
    text += Concat({"<br><span class=\"bad\">with this run's rights it would print ",
                    Isolated(report.asRun->line), " and pass over what it may not write</span>"});
  }
  for (const std::string& note : report.notes) {
    text += Concat({"<br>note: ", Isolated(Printable(std::string_view(note)))});
  }
  return Row(report, "machine", {"", "", "", text, ""});
}

}  // namespace

// Long texts go over several lines. NOLINTBEGIN(bugprone-suspicious-missing-comma)
std::string HtmlHead(const std::string& time) {
  return Concat(
      {"<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
       "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; style-src "
       "'sha256-",
       kStyleHash, "'; script-src 'sha256-", kScriptHash,
       "'; base-uri 'none'; form-action 'none'\">\n"
       "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
       "<title>Rehearsal of /unblock</title>\n<style>",
       kStyle, "</style>\n</head>\n<body>\n<h1>Rehearsal of /unblock</h1>\n<p>As of ",
       Escaped(time),
       ". Status: 0 nothing would change, 1 something would, 2 not rehearsed, 3 it would fail, 4 a "
       "package is missing all the same, 5 this run's rights don't suffice.</p>\n"
       "<div class=\"controls\" id=\"controls\" hidden>\n"
       "<label>Filter <input id=\"filter\" type=\"search\"></label>\n"
       "<label>Status <select id=\"status\"><option value=\"\">all</option><option>0</option>"
       "<option>1</option><option>2</option><option>3</option><option>4</option><option>5</option>"
       "</select></label>\n<span id=\"shown\" role=\"status\"></span>\n</div>\n"
       "<table id=\"products\">\n<thead><tr><th>Machine</th><th>Status</th><th>Product</th>"
       "<th>Name</th><th>Version</th><th>Verdict</th><th>Values</th></tr></thead>\n"});
}
// NOLINTEND(bugprone-suspicious-missing-comma)

std::string HtmlRows(const Report& report, bool all) {
  std::string rows = "<tbody>\n" + MachineRow(report);
  for (const Product& product : report.products) {
    if (!all && product.verdicts.front() == Verdict::kOrdinary) continue;
    const std::string code = product.code.empty() ? Printable(product.key) : product.code;
    rows += Row(report, "product",
                {Concat({"<code>", Isolated(code), "</code>"}), Isolated(Printable(product.name)),
                 Isolated(Printable(product.version)), Verdicts(product), Values(product)});
  }
  return rows + "</tbody>\n";
}

std::string HtmlTail(std::size_t machines, int status) {
  return Concat({"</table>\n<p>", std::to_string(machines),
                 machines == 1 ? " machine" : " machines",
                 "; status of the whole: ", std::to_string(status), "</p>\n<script>", kScript,
                 "</script>\n</body>\n</html>\n"});
}

}  // namespace zum_rehearse
