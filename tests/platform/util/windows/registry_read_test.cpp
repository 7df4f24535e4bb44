// Reading values as they stand in the registry: sizes around the local buffer, terminators, types.
#include <gtest/gtest.h>

#include "platform/util/windows/registry.h"
#include "platform/util/windows/registry_query.h"
#include "tests/platform/util/windows/registry_fixture.h"
#include "tests/support/checks.h"

using tests::ReportedChecks;
using tests::Utf16Bytes;
using windows_helpers::ReadMultiStringValue;
using windows_helpers::ReadStringValue;
using windows_helpers::RegKey;

namespace {

using Strings = std::vector<std::u16string>;

// `n` characters that aren't all alike.
std::u16string Text(std::size_t n) {
  std::u16string text;
  for (std::size_t i = 0; i < n; ++i) text.push_back(static_cast<char16_t>(u'a' + i % 26));
  return text;
}

struct StringCase {
  const char* name;
  std::vector<std::uint8_t> data;
  std::u16string expected;
};

void PrintTo(const StringCase& stringCase, std::ostream* out) { *out << stringCase.name; }

class ReadStringTable : public tests::RegistryTest,
                        public ::testing::WithParamInterface<StringCase> {};

TEST_P(ReadStringTable, GivesTheText) {
  Set(u"v", 1, GetParam().data);
  RegKey key;
  Open(key);
  oru::String16 value(u"what was there before");
  EXPECT_EQ(ReadStringValue(key, u"v", value), 0u);
  EXPECT_EQ(value.view(), GetParam().expected);
  EXPECT_EQ(value.c_str()[value.size()], u'\0');
  EXPECT_EQ(ReportedChecks(), std::vector<std::string>());
}

TEST_P(ReadStringTable, GivesTheTextInItsOwnStorage) {
  Set(u"v", 1, GetParam().data);
  RegKey key;
  Open(key);
  oru::String16 value(u"what was there before");
  value.reserve(2000);
  const char16_t* const storage = value.data();
  EXPECT_EQ(ReadStringValue(key, u"v", value), 0u);
  EXPECT_EQ(value.view(), GetParam().expected);
  EXPECT_EQ(value.c_str()[value.size()], u'\0');
  EXPECT_EQ(value.data(), storage);
  EXPECT_EQ(ReportedChecks(), std::vector<std::string>());
}

INSTANTIATE_TEST_SUITE_P(
    ReadStringValue, ReadStringTable,
    ::testing::Values(
        StringCase{"ZeroBytes", {}, u""}, StringCase{"OnlyATerminator", Utf16Bytes(u"", 1), u""},
        StringCase{"TwoTerminatorsOnly", Utf16Bytes(u"", 2), std::u16string(1, u'\0')},
        StringCase{"OneTerminator", Utf16Bytes(u"abc", 1), u"abc"},
        StringCase{"TwoTerminatorsLeaveOneZero", Utf16Bytes(u"abc", 2),
                   std::u16string(u"abc\0", 4)},
        StringCase{"NoTerminatorComesBackWhole", Utf16Bytes(u"abcd", 0), u"abcd"},
        StringCase{"EmbeddedZero", Utf16Bytes(std::u16string(u"ab\0cd", 5), 1),
                   std::u16string(u"ab\0cd", 5)},
        StringCase{"OddByteLost", {0x61, 0x00, 0x62, 0x00, 0x63}, u"ab"},
        StringCase{"OneByte", {0x61}, u""},
        StringCase{"LoneSurrogate", {0x00, 0xD8, 0x00, 0x00}, std::u16string(1, char16_t{0xD800})},
        StringCase{"Length62", Utf16Bytes(Text(62), 1), Text(62)},
        StringCase{"Length63FillsTheLocalBuffer", Utf16Bytes(Text(63), 1), Text(63)},
        StringCase{"Length64WithoutATerminator", Utf16Bytes(Text(64), 0), Text(64)},
        StringCase{"Length64", Utf16Bytes(Text(64), 1), Text(64)},
        StringCase{"Length65", Utf16Bytes(Text(65), 1), Text(65)},
        StringCase{"Length65WithoutATerminator", Utf16Bytes(Text(65), 0), Text(65)},
        StringCase{"Length1000", Utf16Bytes(Text(1000), 1), Text(1000)}),
    [](const auto& test) { return test.param.name; });

struct TypeCase {
  const char* name;
  std::uint32_t type;
};

void PrintTo(const TypeCase& typeCase, std::ostream* out) { *out << typeCase.name; }

class OtherTypeTable : public tests::RegistryTest,
                       public ::testing::WithParamInterface<TypeCase> {};

TEST_P(OtherTypeTable, IsAMismatchForAString) {
  Set(u"v", GetParam().type, Utf16Bytes(u"text", 1));
  RegKey key;
  Open(key);
  oru::String16 value(u"old");
  EXPECT_EQ(ReadStringValue(key, u"v", value), GetParam().type == 1 ? 0u : 1629u);
  EXPECT_EQ(value.view(), GetParam().type == 1 ? u"text" : u"");
}

TEST_P(OtherTypeTable, LeavesAnEmptyTerminatedStringInItsOwnStorage) {
  Set(u"v", GetParam().type, Utf16Bytes(u"text", 1));
  RegKey key;
  Open(key);
  oru::String16 value;
  value.reserve(100);
  EXPECT_EQ(ReadStringValue(key, u"v", value), GetParam().type == 1 ? 0u : 1629u);
  EXPECT_EQ(std::u16string(value.c_str()), GetParam().type == 1 ? u"text" : u"");
  EXPECT_EQ(value.size(), GetParam().type == 1 ? 4u : 0u);
}

TEST_P(OtherTypeTable, IsAMismatchForAListWhichStays) {
  Set(u"v", GetParam().type, Utf16Bytes(u"text", 2));
  RegKey key;
  Open(key);
  Strings values = {u"old"};
  EXPECT_EQ(ReadMultiStringValue(key, u"v", values), GetParam().type == 7 ? 0u : 1629u);
  EXPECT_EQ(values, (GetParam().type == 7 ? Strings{u"text"} : Strings{u"old"}));
}

INSTANTIATE_TEST_SUITE_P(Types, OtherTypeTable,
                         ::testing::Values(TypeCase{"None", 0}, TypeCase{"String", 1},
                                           TypeCase{"ExpandString", 2}, TypeCase{"Binary", 3},
                                           TypeCase{"Dword", 4}, TypeCase{"MultiString", 7},
                                           TypeCase{"Qword", 11}, TypeCase{"Unknown77", 77}),
                         [](const auto& test) { return test.param.name; });

class ReadTest : public tests::RegistryTest {};
using ReadTestOwnProcess = ReadTest;

TEST_F(ReadTest, MissingStringGivesTwoAndAnEmptyTarget) {
  RegKey key;
  Open(key);
  oru::String16 value(u"old");
  EXPECT_EQ(ReadStringValue(key, u"none", value), 2u);
  EXPECT_TRUE(value.empty());
}

TEST_F(ReadTest, MissingListGivesTwoAndStays) {
  RegKey key;
  Open(key);
  Strings values = {u"old"};
  EXPECT_EQ(ReadMultiStringValue(key, u"none", values), 2u);
  EXPECT_EQ(values, Strings{u"old"});
}

TEST_F(ReadTest, ExpandStringLosesOneTerminatorInTheLoop) {
  Set(u"v", 2, Utf16Bytes(u"%a%", 1));
  RegKey key;
  Open(key);
  oru::String16 value;
  EXPECT_EQ(windows_helpers::QueryValueInto(key, u"v", 2, value), 0u);
  EXPECT_EQ(value.view(), u"%a%");
}

TEST_F(ReadTest, BinaryLosesNothingInTheLoop) {
  Set(u"v", 3, Utf16Bytes(u"ab", 1));
  RegKey key;
  Open(key);
  oru::String16 value;
  EXPECT_EQ(windows_helpers::QueryValueInto(key, u"v", 3, value), 0u);
  EXPECT_EQ(value.view(), std::u16string_view(u"ab\0", 3));
}

// 131 bytes count as 65 characters, for which the loop asks in vain until it doubles the capacity.
TEST_F(ReadTestOwnProcess, OddByteCountBeyondTheLocalBufferIsReadByDoubling) {
  std::vector<std::uint8_t> data = Utf16Bytes(Text(66), 0);
  data.pop_back();
  Set(u"v", 1, data);
  RegKey key;
  Open(key);
  oru::String16 value;
  EXPECT_EQ(ReadStringValue(key, u"v", value), 0u);
  EXPECT_EQ(value.view(), Text(65));
  EXPECT_EQ(ReportedChecks(), std::vector<std::string>{"newCapacity > capacity"});
}

struct ReadListCase {
  const char* name;
  std::vector<std::uint8_t> data;
  Strings expected;
};

void PrintTo(const ReadListCase& listCase, std::ostream* out) { *out << listCase.name; }

class ReadListTable : public tests::RegistryTest,
                      public ::testing::WithParamInterface<ReadListCase> {};

TEST_P(ReadListTable, ReplacesTheList) {
  Set(u"v", 7, GetParam().data);
  RegKey key;
  Open(key);
  Strings values = {u"old", u"older"};
  EXPECT_EQ(ReadMultiStringValue(key, u"v", values), 0u);
  EXPECT_EQ(values, GetParam().expected);
  EXPECT_EQ(ReportedChecks(), std::vector<std::string>());
}

INSTANTIATE_TEST_SUITE_P(
    ReadMultiStringValue, ReadListTable,
    ::testing::Values(
        ReadListCase{"ZeroBytes", {}, {}}, ReadListCase{"TwoZeros", Utf16Bytes(u"", 2), {}},
        ReadListCase{"OneZero", Utf16Bytes(u"", 1), {u""}},
        ReadListCase{"TwoStrings", Utf16Bytes(std::u16string(u"a\0b", 3), 2), {u"a", u"b"}},
        ReadListCase{"NoEndMark", Utf16Bytes(std::u16string(u"a\0b", 3), 1), {u"a", u"b"}},
        ReadListCase{"NoTerminator", Utf16Bytes(u"ab", 0), {u"ab"}},
        ReadListCase{"OddByteLost", {0x61, 0x00, 0x00, 0x00, 0x62}, {u"a"}},
        ReadListCase{"FillsTheLocalBuffer", Utf16Bytes(Text(62), 2), {Text(62)}},
        ReadListCase{"OneAboveTheLocalBuffer", Utf16Bytes(Text(63), 2), {Text(63)}},
        ReadListCase{"Long", Utf16Bytes(Text(5000), 2), {Text(5000)}}),
    [](const auto& test) { return test.param.name; });

}  // namespace
