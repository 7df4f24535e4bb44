#include "zum_rehearse/html.h"

#include <gtest/gtest.h>

#include <string>

#include "zum_rehearse/report.h"

namespace {

using zum_rehearse::HtmlRows;
using zum_rehearse::HtmlTail;
using zum_rehearse::Report;
using zum_rehearse::Verdict;

TEST(HtmlRowsTest, EachVerdictHasTheClassOfItsTone) {
  struct Case {
    Verdict verdict;
    const char* item;
  };
  const Case cases[] = {
      {Verdict::kNotReached,
       "<li class=\"bad\">untouched, since the correction fails at a product before it</li>"},
      {Verdict::kWouldBeRepaired, "<li class=\"good\">would be repaired</li>"},
      {Verdict::kEmptyPath, "<li class=\"some\">the marked path is empty</li>"},
      {Verdict::kOrdinary, "<li class=\"\">ordinary</li>"},
  };
  for (const Case& each : cases) {
    Report report;
    report.products.resize(1);
    report.products[0].verdicts = {each.verdict};
    const std::string rows = HtmlRows(report, /*all=*/true);
    EXPECT_NE(rows.find(each.item), std::string::npos) << rows;
  }
}

TEST(HtmlTailTest, CountsTheMachines) {
  EXPECT_NE(HtmlTail(1, 0).find("<p>1 machine; status of the whole: 0</p>"), std::string::npos);
  EXPECT_NE(HtmlTail(2, 5).find("<p>2 machines; status of the whole: 5</p>"), std::string::npos);
}

}  // namespace
