#include "zum_rehearse/verdicts.h"

#include <gtest/gtest.h>

#include <iterator>
#include <map>
#include <set>
#include <string_view>
#include <vector>

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

// As the schema of the JSON form lists them.
TEST(Verdicts, TellTheirIds) {
  std::vector<std::string_view> ids;
  for (const Verdict verdict : kAllVerdicts) ids.push_back(zum_rehearse::VerdictId(verdict));
  EXPECT_EQ(ids, (std::vector<std::string_view>{
                     "fails-here", "not-reached", "not-listed", "unreadable", "passed-over",
                     "package-missing", "would-be-repaired", "left-alone-no-install-properties",
                     "left-alone-source-list-only", "left-alone-not-a-string", "half-marked",
                     "overwrites-ordinary-value", "package-name-lost", "empty-path",
                     "second-value-unknown", "package-not-known-here", "package-unreadable",
                     "ordinary"}));
}

TEST(Verdicts, ComeWithWhatToDo) {
  const std::map<Verdict, std::string_view> advices = {
      {Verdict::kFailsHere, "look into the trace; the products before it are changed all the same"},
      {Verdict::kUnreadable, "run elevated"},
      {Verdict::kPassedOver, "run /unblock elevated"},
      {Verdict::kPackageMissing,
       "the installer goes on with 1612: put the package of this very product and version at that "
       "path, or start the installer with it"},
      {Verdict::kPackageUnreadable,
       "look there as a user who may: without the package the installer goes on with 1612"},
  };
  for (const Verdict verdict : kAllVerdicts) {
    const auto advice = advices.find(verdict);
    EXPECT_EQ(zum_rehearse::VerdictAdvice(verdict),
              advice == advices.end() ? std::string_view() : advice->second)
        << zum_rehearse::VerdictId(verdict);
  }
}

TEST(Verdicts, HaveATone) {
  using zum_rehearse::Tone;
  const std::map<Verdict, Tone> tones = {
      {Verdict::kFailsHere, Tone::kBad},      {Verdict::kNotReached, Tone::kBad},
      {Verdict::kPackageMissing, Tone::kBad}, {Verdict::kWouldBeRepaired, Tone::kGood},
      {Verdict::kOrdinary, Tone::kPlain},
  };
  for (const Verdict verdict : kAllVerdicts) {
    const auto tone = tones.find(verdict);
    EXPECT_EQ(zum_rehearse::VerdictTone(verdict),
              tone == tones.end() ? Tone::kDoubtful : tone->second)
        << zum_rehearse::VerdictId(verdict);
  }
}

}  // namespace
