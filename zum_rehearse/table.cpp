#include "zum_rehearse/table.h"

#include <algorithm>
#include <string_view>

#include "zum_rehearse/printable.h"

namespace zum_rehearse {
namespace {

constexpr std::size_t kLeastColumns = 40;  // a product code and its indent
constexpr std::size_t kCodeColumns = 38;
constexpr std::size_t kVersionColumns = 14;
constexpr std::size_t kColumnsBeforeName = 2 + kCodeColumns + 2 + kVersionColumns + 2;
constexpr std::size_t kNameOfValueColumns = 20;  // "LocalPackageNotExist"

constexpr std::string_view kBold = "\033[1m";
constexpr std::string_view kGreen = "\033[32m";
constexpr std::string_view kRed = "\033[31m";
constexpr std::string_view kYellow = "\033[33m";
constexpr std::string_view kPlain = "\033[0m";

std::string_view ColourOf(Tone tone) {
  switch (tone) {
    case Tone::kBad:
      return kRed;
    case Tone::kGood:
      return kGreen;
    case Tone::kDoubtful:
      return kYellow;
    default:
      return {};
  }
}

class TableWriter {
 public:
  TableWriter(const Report& report, const TableForm& form)
      : m_report(report), m_form(form), m_columns(std::max(form.columns, kLeastColumns)) {}

  std::string Write() {
    Line(Coloured(kBold, Cut(Concat({"Machine ", Printable(std::string_view(m_report.machine))}),
                             m_columns)));
    for (const std::string& source : m_report.sources) {
      Line(Cut(Concat({"  read from ", Printable(std::string_view(source))}), m_columns));
    }
    for (const std::string& note : m_report.notes) {
      Wrapped("  note: ", Printable(std::string_view(note)), kYellow);
    }
    if (!m_report.error.empty()) {
      Wrapped("  not rehearsed: ", Printable(std::string_view(m_report.error)), kRed);
      return std::move(m_text);
    }
    Products();
    Summary();
    return std::move(m_text);
  }

 private:
  [[nodiscard]] std::string Coloured(std::string_view colour, std::string_view text) const {
    if (!m_form.colour || colour.empty()) return std::string(text);
    return std::string(colour).append(text).append(kPlain);
  }

  void Line(std::string_view text) { m_text.append(text).append("\n"); }

  // Over as many lines as it takes, broken at blanks; a word that is longer than a line wherever it
  // has to be.
  void Wrapped(std::string_view head, std::string_view text, std::string_view colour) {
    std::string indent(head);
    const std::size_t room = m_columns - head.size();
    while (!text.empty()) {
      std::size_t length = text.size();
      if (Width(text) > room) {
        length = text.rfind(' ', room);
        if (length == std::string_view::npos || length == 0) length = FittingBytes(text, room);
      }
      Line(Concat({indent, Coloured(colour, text.substr(0, length))}));
      text.remove_prefix(length);
      if (text.starts_with(' ')) text.remove_prefix(1);
      indent.assign(head.size(), ' ');
    }
  }

  void Products() {
    bool first = true;
    for (const Product& product : m_report.products) {
      if (!m_form.all && product.verdicts.front() == Verdict::kOrdinary) continue;
      if (first) Heading();
      first = false;
      ProductLines(product);
    }
    if (!first) Line("");
  }

  // Else each has a line of its own.
  [[nodiscard]] bool NamesHaveRoom() const { return m_columns > kColumnsBeforeName + 10; }
  // Else they stand before the names, and each value below its own.
  [[nodiscard]] bool VersionsHaveRoom() const { return m_columns >= kColumnsBeforeName; }

  void Heading() {
    Line("");
    const std::string versions = Concat({"  ", Fit("VERSION", kVersionColumns)});
    Line(Coloured(kBold, Concat({"  ", Fit("PRODUCT", kCodeColumns),
                                 VersionsHaveRoom() ? std::string_view(versions) : "",
                                 NamesHaveRoom() ? "  NAME" : ""})));
  }

  void ProductLines(const Product& product) {
    const std::string code = product.code.empty() ? Printable(product.key) : product.code;
    std::string name = Printable(product.name);
    const std::string version = Printable(product.version);
    const std::string line =
        Concat({"  ", Fit(code, kCodeColumns), "  ", Fit(version, kVersionColumns), "  "});
    if (NamesHaveRoom()) {
      Line(Concat({line, Cut(name, m_columns - kColumnsBeforeName)}));
    } else {
      Line(VersionsHaveRoom() ? line : Concat({"  ", Cut(code, kCodeColumns)}));
      if (!VersionsHaveRoom() && !version.empty()) name = Concat({version, "  ", name});
      if (!name.empty()) Line(Concat({"      ", Cut(name, m_columns - 6)}));
    }
    for (const Verdict verdict : product.verdicts) {
      Wrapped("      ", VerdictLine(product, verdict), ColourOf(VerdictTone(verdict)));
      if (!VerdictAdvice(verdict).empty()) Wrapped("        -> ", VerdictAdvice(verdict), {});
    }
    Values(product);
  }

  void Values(const Product& product) {
    for (std::size_t i = 0; i < kSlotCount; ++i) {
      const Slot& slot = product.slots[i];
      if (!slot.before && !slot.after) continue;
      std::string head = Concat({"      ", Fit(kSlotNames[i], kNameOfValueColumns), "  "});
      if (!VersionsHaveRoom()) {
        Line(Concat({"      ", kSlotNames[i]}));
        head.assign(11, ' ');
      }
      const std::size_t room = m_columns - head.size();
      Line(Concat({head, Cut(Shown(slot.before), room)}));
      if (slot.before == slot.after) continue;
      const std::string arrow(head.size() - 5, ' ');
      Line(Concat({arrow, "->   ", Cut(Shown(slot.after), room)}));
    }
  }

  static std::string Shown(const std::optional<Value>& value) {
    return value ? Printable(*value) : "(no such value)";
  }

  void Summary() {
    const std::size_t changed = m_report.ChangedProducts();
    const bool fails = m_report.outcome.code != 0;
    if (!m_report.outcomeIsKnown) return UnknownOutcome();
    if (m_report.asRun) {
      Wrapped("  ",
              Concat({"with this run's rights /unblock would print \"", m_report.asRun->line,
                      "\" and end with ", Number(m_report.asRun->code), ", and leave unrepaired:"}),
              kRed);
      for (const Product& product : m_report.products) {
        if (product.changes && product.refused) {
          Wrapped("    ", product.code.empty() ? Printable(product.key) : product.code, {});
        }
      }
    }
    Wrapped("  ",
            Concat({m_report.asRun ? "with the rights it needs " : "", "/unblock would print \"",
                    m_report.outcome.line, "\" and end with ", Number(m_report.outcome.code)}),
            fails ? kRed : kGreen);
    std::string counts =
        Concat({std::to_string(changed), " of ", std::to_string(m_report.products.size()),
                " products would change"});
    if (m_report.MissingPackages() != 0) {
      counts +=
          "; " + std::to_string(m_report.MissingPackages()) + " of them without their package";
    }
    Wrapped("  ", counts, {});
  }

  // Not even the list can be read.
  void UnknownOutcome() {
    Wrapped("  ",
            Concat({"with this run's rights /unblock would print \"", m_report.outcome.line,
                    "\" and end with ", Number(m_report.outcome.code)}),
            kRed);
    Wrapped("  ", "what it would do with the rights it needs isn't known", {});
  }

  static std::string Number(std::uint32_t code) {
    if (code == 0) return "0";
    std::string digits = "0x";
    for (int shift = 28; shift >= 0; shift -= 4)
      digits += "0123456789abcdef"[(code >> shift) & 0xF];
    return digits;
  }

  const Report& m_report;
  const TableForm& m_form;
  std::size_t m_columns;
  std::string m_text;
};

}  // namespace

std::string Table(const Report& report, const TableForm& form) {
  return TableWriter(report, form).Write();
}

}  // namespace zum_rehearse
