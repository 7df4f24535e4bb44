#include "zum_rehearse/table.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "winapi/registry.h"
#include "zum_rehearse/printable.h"

namespace {

using zum_rehearse::Report;
using zum_rehearse::Table;
using zum_rehearse::TableForm;
using zum_rehearse::Width;

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

Report NotRehearsed(const std::string& reason) {
  Report report;
  report.machine = "pc";
  report.error = reason;
  return report;
}

TEST(Table, BreaksAWordThatIsLongerThanALine) {
  const std::string word(100, 'w');
  const auto lines = Lines(Table(NotRehearsed(word + " is long"), {60, false, false}));
  ASSERT_EQ(lines.size(), 4U);
  EXPECT_EQ(lines[1], "  not rehearsed: " + std::string(43, 'w'));
  EXPECT_EQ(lines[2], std::string(17, ' ') + std::string(43, 'w'));
  EXPECT_EQ(lines[3], std::string(17, ' ') + std::string(14, 'w') + " is long");
}

TEST(Table, BreaksWideWordsBetweenTheirCharacters) {
  std::string word;
  for (int i = 0; i < 50; ++i) word += "\u4EA7";
  std::string joined;
  for (const std::string& line : Lines(Table(NotRehearsed(word), {60, false, false}))) {
    EXPECT_LE(Width(line), 60U) << line;
    if (line.find("\u4EA7") != std::string::npos) joined += line.substr(17);
  }
  EXPECT_EQ(joined, word);
}

TEST(Table, BreaksAtBlanksWhereItCan) {
  const auto lines = Lines(
      Table(NotRehearsed(std::string(40, 'a') + " " + std::string(40, 'b')), {60, false, false}));
  ASSERT_EQ(lines.size(), 3U);
  EXPECT_EQ(lines[1], "  not rehearsed: " + std::string(40, 'a'));
  EXPECT_EQ(lines[2], std::string(17, ' ') + std::string(40, 'b'));
}

TEST(Table, FitsIntoTheLeastWidth) {
  Report report;
  report.machine = "pc";
  report.products.resize(1);
  report.products[0].key = u"k";
  report.products[0].name = u"A product";
  report.products[0].verdicts = {zum_rehearse::Verdict::kOrdinary};
  const auto narrow = Lines(Table(report, {60, false, /*all=*/true}));
  for (const std::string& line : narrow) EXPECT_LE(Width(line), 60U) << line;
  EXPECT_EQ(narrow[3].substr(0, 9), "  k      ");
  EXPECT_EQ(narrow[4], "      A product");
  EXPECT_TRUE(Lines(Table(report, {69, false, true}))[3].ends_with("  A product"));
  EXPECT_TRUE(Lines(Table(report, {69, false, true}))[2].ends_with("  NAME"));
}

// A product of everything that a table shows, in its widest form.
Report Wide() {
  Report report;
  report.machine = std::string(50, 'm');
  report.sources = {std::string(90, 's')};
  report.notes = {std::string(90, 'n')};
  report.products.resize(1);
  auto& product = report.products[0];
  product.code = "{7B3C1F62-9A54-4E0D-8C21-5D6E7F8091A2}";
  product.name = std::u16string(70, u'\u4EA7');
  product.version = u"1.2.3.45678901234567890";
  product.changes = product.refused = true;
  for (auto& slot : product.slots) {
    slot.before = {winapi::kRegBinary, std::vector<std::uint8_t>(60, 0xAB)};
  }
  product.verdicts.assign(std::begin(zum_rehearse::kAllVerdicts),
                          std::end(zum_rehearse::kAllVerdicts));
  report.asRun = report.outcome = {0xA1780003,
                                   "Failed: 0xa1780003 (Problem in disable "
                                   "protective upgrade registry)"};
  return report;
}

TEST(Table, FitsIntoEachWidthFrom40On) {
  for (std::size_t columns = 40; columns <= 130; ++columns) {
    for (const std::string& line : Lines(Table(Wide(), {columns, false, /*all=*/true}))) {
      EXPECT_LE(Width(line), columns) << line;
    }
  }
}

// 58 columns hold the code, the version and what is between them.
TEST(Table, VersionsStandBesideTheCodesWhereTheyJustFit) {
  EXPECT_NE(Table(Wide(), {58, false, true}).find("  VERSION"), std::string::npos);
  EXPECT_EQ(Table(Wide(), {57, false, true}).find("  VERSION"), std::string::npos);
}

TEST(Table, HasTheWidthOfAPrinterWhereNobodyTellsAnother) { EXPECT_EQ(TableForm().columns, 80U); }

TEST(Table, BelowTheLeastWidthItIsTheLeastOne) {
  EXPECT_EQ(Table(Wide(), {10, false, true}), Table(Wide(), {40, false, true}));
}

TEST(Table, InNarrowTerminalsVersionAndValuesHaveLinesOfTheirOwn) {
  Report report;
  report.machine = "pc";
  report.products.resize(1);
  auto& product = report.products[0];
  product.code = "{7B3C1F62-9A54-4E0D-8C21-5D6E7F8091A2}";
  product.name = u"A product";
  product.version = u"1.2";
  product.slots[0].after = {winapi::kRegSz, {'a', 0}};
  product.slots[1].before = {winapi::kRegSz, {'b', 0}};
  product.slots[1].after = product.slots[1].before;
  product.verdicts = {zum_rehearse::Verdict::kWouldBeRepaired};
  EXPECT_EQ(Table(report, {57, false, false}),
            "Machine pc\n"
            "\n"
            "  PRODUCT                               \n"
            "  {7B3C1F62-9A54-4E0D-8C21-5D6E7F8091A2}\n"
            "      1.2  A product\n"
            "      would be repaired\n"
            "      LocalPackage\n"
            "           (no such value)\n"
            "      ->   \"a\"\n"
            "      LocalPackageNotExist\n"
            "           \"b\"\n"
            "\n"
            "  /unblock would print \"\" and end with 0\n"
            "  0 of 1 products would change\n");
  EXPECT_NE(Table(report, {58, false, false}).find("  1.2"), std::string::npos);
}

TEST(Table, BreaksTheKeyOfAProductThatIsPassedOver) {
  Report report;
  report.machine = "pc";
  report.products.resize(1);
  report.products[0].key = std::u16string(90, u'k');
  report.products[0].verdicts = {zum_rehearse::Verdict::kPassedOver};
  report.products[0].changes = true;
  report.products[0].refused = true;
  report.asRun = report.outcome;
  const std::string table = Table(report, {60, false, false});
  for (const std::string& line : Lines(table)) EXPECT_LE(Width(line), 60U) << line;
  EXPECT_NE(table.find("\n    " + std::string(56, 'k') + "\n    " + std::string(34, 'k') + "\n"),
            std::string::npos)
      << table;
}

// A machine whose rehearsal failed, with a note.
std::string TableWithNote(const std::string& note) {
  Report report = NotRehearsed("torn");
  report.notes = {note};
  return Table(report, {.columns = 60});
}

TEST(Table, ANoteIsBrokenBeforeTheWidth) {
  EXPECT_EQ(TableWithNote("abcdefghi abcdefghi abcdefghi abcdefghi abcdefghi abcdefghi"),
            "Machine pc\n"
            "  note: abcdefghi abcdefghi abcdefghi abcdefghi abcdefghi\n"
            "        abcdefghi\n"
            "  not rehearsed: torn\n");
}

TEST(Table, ANoteMayFillTheWidth) {
  const std::string first(25, 'x');
  const std::string second(26, 'y');
  EXPECT_EQ(TableWithNote(first + " " + second),
            "Machine pc\n  note: " + first + " " + second + "\n  not rehearsed: torn\n");
  EXPECT_EQ(TableWithNote(first + " y" + second),
            "Machine pc\n  note: " + first + "\n        y" + second + "\n  not rehearsed: torn\n");
}

TEST(Table, CountsTheProductsWithoutTheirPackage) {
  Report report;
  report.products.resize(2);
  for (auto& product : report.products) {
    product.changes = true;
    product.verdicts = {zum_rehearse::Verdict::kWouldBeRepaired};
    product.package = zum_rehearse::PackageState::kPresent;
  }
  const auto last = [&report] { return Lines(Table(report, {100, false, false})).back(); };
  EXPECT_EQ(last(), "  2 of 2 products would change");
  report.products[1].package = zum_rehearse::PackageState::kMissing;
  EXPECT_EQ(last(), "  2 of 2 products would change; 1 of them without their package");
}

}  // namespace
