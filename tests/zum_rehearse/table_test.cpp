#include "zum_rehearse/table.h"

#include <gtest/gtest.h>

#include <string>

#include "zum_rehearse/report.h"

namespace zum_rehearse {
namespace {

// A machine whose rehearsal failed, with a note.
std::string TableOf(const std::string& note) {
  Report report;
  report.machine = "m";
  report.notes = {note};
  report.error = "torn";
  return Table(report, {.columns = 60});
}

TEST(TableTest, ATextIsBrokenAtBlanksBeforeTheWidth) {
  EXPECT_EQ(TableOf("abcdefghi abcdefghi abcdefghi abcdefghi abcdefghi abcdefghi"),
            "Machine m\n"
            "  note: abcdefghi abcdefghi abcdefghi abcdefghi abcdefghi\n"
            "        abcdefghi\n"
            "  not rehearsed: torn\n");
}

TEST(TableTest, ATextMayFillTheWidth) {
  const std::string first(25, 'x');
  const std::string second(26, 'y');
  EXPECT_EQ(TableOf(first + " " + second),
            "Machine m\n  note: " + first + " " + second + "\n  not rehearsed: torn\n");
  EXPECT_EQ(TableOf(first + " y" + second),
            "Machine m\n  note: " + first + "\n        y" + second + "\n  not rehearsed: torn\n");
}

}  // namespace
}  // namespace zum_rehearse
