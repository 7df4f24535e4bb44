// The silent switch, comparison by comparison.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "tests/zum_setup_util_lib/command_line_forms.h"
#include "winapi/host/control.h"

namespace host = winapi::host;

namespace {

using tests::MakeCommand;
using tests::Words;

// An argument and the switch that it is compared with.
using Comparisons = std::vector<std::pair<std::string, std::string>>;

// Those that the gate makes for the arguments behind the package.
Comparisons ComparisonsFor(const Words& arguments) {
  Words words = {u"/installmsi", u"p"};
  words.insert(words.end(), arguments.begin(), arguments.end());
  host::StartCallLog();
  host::ClearCallLog();
  (void)MakeCommand(words);
  Comparisons comparisons;
  for (const host::CallRecord& call : host::CallsOf("lstrcmpiW")) {
    comparisons.emplace_back(call.Argument("a"), call.Argument("b"));
  }
  return comparisons;
}

TEST(CheckSilentArgumentsOnHost, SwitchesAreComparedInTheirOrderUpToTheFirstThatFits) {
  EXPECT_EQ(ComparisonsFor({u"/QN"}), (Comparisons{{"/QN", "/qn"}}));
  EXPECT_EQ(ComparisonsFor({u"/q"}), (Comparisons{{"/q", "/qn"}, {"/q", "/q"}}));
  EXPECT_EQ(ComparisonsFor({u"/Quiet"}),
            (Comparisons{{"/Quiet", "/qn"}, {"/Quiet", "/q"}, {"/Quiet", "/quiet"}}));
}

TEST(CheckSilentArgumentsOnHost, ArgumentsAreWalkedInTheirOrderUpToTheFirstSilentOne) {
  EXPECT_EQ(
      ComparisonsFor({u"EULA=1", u"/q", u"/qn", u"QVC=1"}),
      (Comparisons{
          {"EULA=1", "/qn"}, {"EULA=1", "/q"}, {"EULA=1", "/quiet"}, {"/q", "/qn"}, {"/q", "/q"}}));
}

TEST(CheckSilentArgumentsOnHost, EachArgumentIsComparedWithEachSwitchWhereNoneFits) {
  EXPECT_EQ(ComparisonsFor({u"/qb", u"FOO"}), (Comparisons{{"/qb", "/qn"},
                                                           {"/qb", "/q"},
                                                           {"/qb", "/quiet"},
                                                           {"FOO", "/qn"},
                                                           {"FOO", "/q"},
                                                           {"FOO", "/quiet"}}));
  EXPECT_EQ(ComparisonsFor({}), Comparisons());
}

}  // namespace
