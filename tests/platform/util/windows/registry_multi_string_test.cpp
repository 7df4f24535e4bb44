#include "platform/util/windows/registry_multi_string.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using windows_helpers::BuildMultiString;
using windows_helpers::ParseMultiString;

namespace {

using Strings = std::vector<std::u16string>;

// A literal with its zeros, without the one that the compiler adds.
template <std::size_t N>
std::u16string Data(const char16_t (&literal)[N]) {
  return std::u16string(literal, N - 1);
}

struct ParseCase {
  const char* name;
  std::u16string data;
  Strings expected;
};

void PrintTo(const ParseCase& parseCase, std::ostream* out) { *out << parseCase.name; }

class ParseTable : public ::testing::TestWithParam<ParseCase> {};

TEST_P(ParseTable, GivesTheStrings) {
  const std::u16string& data = GetParam().data;
  EXPECT_EQ(ParseMultiString(data.data(), data.data() + data.size()), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    ParseMultiString, ParseTable,
    ::testing::Values(ParseCase{"TwoStringsAndTheEndMark", Data(u"a\0b\0\0"), {u"a", u"b"}},
                      ParseCase{"ThreeZerosLoseTheLastEmptyString", Data(u"a\0\0\0"), {u"a"}},
                      ParseCase{"OneZeroIsOneEmptyString", Data(u"\0"), {u""}},
                      ParseCase{"NothingIsAnEmptyList", u"", {}},
                      ParseCase{"TwoZerosAreAnEmptyList", Data(u"\0\0"), {}},
                      ParseCase{"ThreeZerosAreOneEmptyString", Data(u"\0\0\0"), {u""}},
                      ParseCase{"FourZerosAreTwoEmptyStrings", Data(u"\0\0\0\0"), {u"", u""}},
                      ParseCase{"NoTerminatorAtAll", u"abc", {u"abc"}},
                      ParseCase{"OneCharacter", u"a", {u"a"}},
                      ParseCase{"OneTerminatorWithoutAnEndMark", Data(u"ab\0"), {u"ab"}},
                      ParseCase{"LastStringWithoutATerminator", Data(u"a\0b"), {u"a", u"b"}},
                      ParseCase{"InnerEmptyStringsAreKept",
                                Data(u"a\0\0b\0\0\0c\0\0"),
                                {u"a", u"", u"b", u"", u"", u"c"}},
                      ParseCase{"LeadingEmptyStringIsKept", Data(u"\0a\0\0"), {u"", u"a"}},
                      ParseCase{"DeletionPairAtTheEndLosesItsEmptyString",
                                Data(u"\\??\\C:\\a\0\0\\??\\C:\\b\0\0\0"),
                                {u"\\??\\C:\\a", u"", u"\\??\\C:\\b"}}),
    [](const auto& test) { return test.param.name; });

TEST(ParseMultiString, TakesANullRange) {
  EXPECT_EQ(ParseMultiString(nullptr, nullptr), Strings());
}

TEST(ParseMultiString, LooksAtNothingOutsideTheRange) {
  // The zeros behind the range are no end mark of it.
  const std::u16string data = Data(u"ab\0\0\0");
  EXPECT_EQ(ParseMultiString(data.data(), data.data() + 2), Strings{u"ab"});
  EXPECT_EQ(ParseMultiString(data.data() + 1, data.data() + 3), Strings{u"b"});
}

struct BuildCase {
  const char* name;
  Strings strings;
  std::u16string expected;
};

void PrintTo(const BuildCase& buildCase, std::ostream* out) { *out << buildCase.name; }

class BuildTable : public ::testing::TestWithParam<BuildCase> {};

TEST_P(BuildTable, GivesTheData) {
  EXPECT_EQ(BuildMultiString(GetParam().strings), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    BuildMultiString, BuildTable,
    ::testing::Values(BuildCase{"EmptyListIsTwoZeros", {}, Data(u"\0\0")},
                      BuildCase{"OneEmptyStringIsTwoZeros", {u""}, Data(u"\0\0")},
                      BuildCase{"OneString", {u"a"}, Data(u"a\0\0")},
                      BuildCase{"TwoStrings", {u"a", u"bc"}, Data(u"a\0bc\0\0")},
                      BuildCase{"InnerEmptyString", {u"a", u"", u"b"}, Data(u"a\0\0b\0\0")},
                      BuildCase{"LastEmptyString", {u"a", u""}, Data(u"a\0\0\0")}),
    [](const auto& test) { return test.param.name; });

TEST(MultiString, ListOfOneEmptyStringComesBackEmpty) {
  const std::u16string data = BuildMultiString({u""});
  EXPECT_EQ(data, Data(u"\0\0"));
  EXPECT_EQ(ParseMultiString(data.data(), data.data() + data.size()), Strings());
}

TEST(MultiString, OtherListsComeBack) {
  const Strings lists[] = {{}, {u"a"}, {u"a", u"b"}, {u"", u"a"}, {u"a", u"", u"b"}};
  for (const Strings& list : lists) {
    const std::u16string data = BuildMultiString(list);
    EXPECT_EQ(ParseMultiString(data.data(), data.data() + data.size()), list);
  }
}

}  // namespace
