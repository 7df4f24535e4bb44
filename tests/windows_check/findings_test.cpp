#include "tests/windows_check/findings.h"

#include <gtest/gtest.h>

namespace {

using windows_check::Accepted;
using windows_check::Findings;
using windows_check::OnBoth;

const Accepted kTwoAnswers{{"right", "right too"}, {"Wine's"}};

TEST(Findings, OnWindowsOnlyItsAnswersCount) {
  Findings findings(/*underWine=*/false);
  findings.Judge("a", "right too", kTwoAnswers);
  findings.Judge("b", "Wine's", kTwoAnswers);
  EXPECT_EQ(findings.Text(),
            "ok       a: right too   [Windows: right or right too]\n"
            "DIFFERS  b: Wine's   [Windows: right or right too]\n");
  EXPECT_EQ(findings.Differing(), 1);
}

TEST(Findings, UnderWineOnlyItsAnswersCount) {
  Findings findings(/*underWine=*/true);
  findings.Judge("a", "right", kTwoAnswers);
  findings.Judge("b", "Wine's", kTwoAnswers);
  EXPECT_EQ(findings.Text(),
            "DIFFERS  a: right   [Wine: Wine's; Windows: right or right too]\n"
            "ok       b: Wine's   [Wine: Wine's; Windows: right or right too]\n");
  EXPECT_EQ(findings.Differing(), 1);
}

TEST(Findings, AnAnswerOfBoth) {
  for (const bool underWine : {false, true}) {
    Findings findings(underWine);
    findings.Judge("a", "x", OnBoth("x"));
    findings.Judge("b", "y", OnBoth("x"));
    EXPECT_EQ(findings.Differing(), 1) << underWine;
  }
}

TEST(Findings, WithoutAListedAnswerNoneIsRight) {
  Findings findings(/*underWine=*/true);
  findings.Judge("a", "x", {{"x"}, {}});
  EXPECT_EQ(findings.Differing(), 1);
}

TEST(Findings, CountsEachKindOfLine) {
  Findings findings(/*underWine=*/false);
  findings.Section("Things");
  findings.Judge("a", "x", OnBoth("x"));
  findings.Note("b", "y");
  findings.Skip("c", "no rights");
  findings.Skip("d", "no rights");
  findings.Fail("e", "no such file");
  findings.Append("printed", "text");
  EXPECT_EQ(findings.Summary(), "1 ok, 1 differ, 1 noted, 2 skipped");
  EXPECT_EQ(findings.Text(),
            "\n== Things\n"
            "ok       a: x   [Windows: x]\n"
            "noted    b: y\n"
            "skipped  c: no rights\n"
            "skipped  d: no rights\n"
            "DIFFERS  e: no such file\n"
            "\n---- printed\ntext\n");
}

}  // namespace
