#include "zum_rehearse/verdicts.h"

#include <gtest/gtest.h>

#include <iterator>
#include <set>

namespace {

using zum_rehearse::kAllVerdicts;
using zum_rehearse::Verdict;

TEST(Verdicts, EachHasAnIdAndATextOfItsOwn) {
  std::set<std::string_view> ids;
  std::set<std::string_view> texts;
  for (const Verdict verdict : kAllVerdicts) {
    ids.insert(zum_rehearse::VerdictId(verdict));
    texts.insert(zum_rehearse::VerdictText(verdict));
  }
  EXPECT_EQ(ids.size(), std::size(kAllVerdicts));
  EXPECT_EQ(texts.size(), std::size(kAllVerdicts));
  EXPECT_EQ(ids.count(""), 0U);
  EXPECT_EQ(texts.count(""), 0U);
}

TEST(Verdicts, TellTheirIds) {
  EXPECT_EQ(zum_rehearse::VerdictId(Verdict::kFailsHere), "fails-here");
  EXPECT_EQ(zum_rehearse::VerdictId(Verdict::kOrdinary), "ordinary");
}

TEST(Verdicts, AMissingPackageComesWithWhatToDo) {
  EXPECT_NE(zum_rehearse::VerdictAdvice(Verdict::kPackageMissing).find("1612"),
            std::string_view::npos);
  EXPECT_EQ(zum_rehearse::VerdictAdvice(Verdict::kOrdinary), "");
}

}  // namespace
