#include "zum_rehearse/options.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "zum_rehearse/inputs.h"

namespace {

using zum_rehearse::ParsedOptions;
using zum_rehearse::ParseOptions;

// With an input where one is needed.
ParsedOptions Parse(std::vector<std::string> arguments) {
  if (zum_rehearse::TakesFiles()) arguments.insert(arguments.begin(), "machine");
  return ParseOptions(arguments);
}

TEST(ParseOptions, StartsWithNone) {
  const ParsedOptions parsed = Parse({});
  ASSERT_TRUE(parsed.options);
  EXPECT_FALSE(parsed.options->all);
  EXPECT_FALSE(parsed.options->json);
  EXPECT_EQ(parsed.options->traceFolder, "");
}

TEST(ParseOptions, TakesFormsAndFolders) {
  const ParsedOptions parsed = Parse({"--all", "--json", "--trace-output=C:\\a b \u20AC"});
  ASSERT_TRUE(parsed.options);
  EXPECT_TRUE(parsed.options->all);
  EXPECT_TRUE(parsed.options->json);
  EXPECT_EQ(parsed.options->traceFolder, "C:\\a b \u20AC");
}

TEST(ParseOptions, MapsWhatIsWrongTo2) {
  for (const char* argument : {"--nonsense", "--json=maybe", "--trace-output", "-x"}) {
    const ParsedOptions parsed = Parse({argument});
    EXPECT_FALSE(parsed.options) << argument;
    EXPECT_EQ(parsed.status, 2) << argument;
    EXPECT_NE(parsed.text, "") << argument;
  }
}

// Such as the variable of a script that isn't set.
TEST(ParseOptions, MapsEmptyValuesTo2) {
  std::vector<std::string> options = {"--html", "--changes", "--undo", "--trace-output"};
  if (zum_rehearse::TakesFiles()) options.emplace_back("--folders-from");
  for (const std::string& option : options) {
    const ParsedOptions parsed = Parse({option, ""});
    EXPECT_FALSE(parsed.options) << option;
    EXPECT_EQ(parsed.status, 2) << option;
    EXPECT_EQ(parsed.text, "zum_rehearse: " + option + ": the value is empty\n");
    EXPECT_EQ(Parse({option + "="}).status, 2) << option;
  }
  EXPECT_EQ(Parse({""}).status, 2);
}

TEST(ParseOptions, MapsAFlagWithAWrongValueTo2AlsoWhereItComesAgain) {
  for (const char* flag : {"--all", "--json", "--csv"}) {
    const ParsedOptions parsed = Parse({std::string(flag) + "=maybe", flag});
    EXPECT_FALSE(parsed.options) << flag;
    EXPECT_EQ(parsed.status, 2) << flag;
    EXPECT_NE(parsed.text, "") << flag;
  }
}

// A terminal would act on some of them.
TEST(ParseOptions, TellsWhatIsWrongEscaped) {
  for (const char* argument : {"--\033[31mred\a", "-\033", "--trace\n\033[2J"}) {
    const std::string text = Parse({argument}).text;
    EXPECT_NE(text.find("\\u{1b}"), std::string::npos) << text;
    EXPECT_EQ(text.find('\033'), std::string::npos) << text;
    EXPECT_TRUE(text.ends_with("\nRun with --help for more information.\n")) << text;
  }
}

TEST(ParseOptions, TellsAListThatCanNotBeReadEscaped) {
  if (!zum_rehearse::TakesFiles()) GTEST_SKIP() << "this machine is the only input on Windows";
  const ParsedOptions parsed = ParseOptions({"--folders-from", "absent\033[31m"});
  EXPECT_EQ(parsed.status, 2);
  EXPECT_EQ(parsed.text, "zum_rehearse: absent\\u{1b}[31m: No such file or directory\n");
}

TEST(ParseOptions, AnswersQuestionsWith0) {
  const ParsedOptions help = ParseOptions({"--help"});
  EXPECT_FALSE(help.options);
  EXPECT_EQ(help.status, 0);
  EXPECT_NE(help.text.find("--json"), std::string::npos);
  EXPECT_NE(help.text.find("Exit status"), std::string::npos);
}

TEST(ParseOptions, InputsAreForTheHostOnly) {
  const ParsedOptions parsed = ParseOptions({"some.reg", "folder"});
  if (zum_rehearse::TakesFiles()) {
    ASSERT_TRUE(parsed.options);
    EXPECT_EQ(parsed.options->inputs, (std::vector<std::string>{"some.reg", "folder"}));
    EXPECT_EQ(ParseOptions({}).status, 2);
  } else {
    EXPECT_FALSE(parsed.options);
    EXPECT_EQ(parsed.status, 2);
    EXPECT_TRUE(ParseOptions({}).options);
  }
}

}  // namespace
