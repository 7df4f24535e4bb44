#include "zum_rehearse/table.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "zum_rehearse/printable.h"

namespace {

using zum_rehearse::Report;
using zum_rehearse::Table;
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

}  // namespace
