// What stands in the registry after a write. The system completes a string with the zero that
// stands behind the given range in memory, so the ranges here are chosen by what follows them.
#include <gtest/gtest.h>

#include "platform/util/windows/registry.h"
#include "tests/platform/util/windows/registry_fixture.h"
#include "tests/support/checks.h"

using tests::GetValue;
using tests::ReportedChecks;
using tests::Utf16Bytes;
using tests::Value;
using windows_helpers::ReadMultiStringValue;
using windows_helpers::RegKey;
using windows_helpers::WriteMultiStringValue;
using windows_helpers::WriteStringValue;

namespace {

using Strings = std::vector<std::u16string>;

class WriteTest : public tests::RegistryTest {};

TEST_F(WriteTest, WritesTheRangeAndNothingBehindIt) {
  RegKey key;
  Open(key);
  const char16_t text[] = u"abcdef";
  EXPECT_EQ(WriteStringValue(key, u"v", text + 1, text + 4), 0u);
  EXPECT_EQ(GetValue(Path(), u"v"), (Value{u"v", 1, Utf16Bytes(u"bcd", 0)}));
  EXPECT_EQ(ReportedChecks(), std::vector<std::string>());
}

TEST_F(WriteTest, EndOfAnArrayTakesTheZeroIn) {
  RegKey key;
  Open(key);
  const char16_t text[] = u"zum_win.msi";
  EXPECT_EQ(WriteStringValue(key, u"v", std::begin(text), std::end(text)), 0u);
  const auto value = GetValue(Path(), u"v");
  ASSERT_TRUE(value.has_value());
  EXPECT_EQ(value->data.size(), 24u);
  EXPECT_EQ(*value, (Value{u"v", 1, Utf16Bytes(u"zum_win.msi", 1)}));
}

TEST_F(WriteTest, EmptyRangeWritesZeroBytes) {
  RegKey key;
  Open(key);
  const char16_t text[] = u"x";
  EXPECT_EQ(WriteStringValue(key, u"v", text, text), 0u);
  EXPECT_EQ(GetValue(Path(), u"v"), (Value{u"v", 1, {}}));
}

TEST_F(WriteTest, OverwritesAValueOfAnyType) {
  Set(u"v", 4, {1, 2, 3, 4});
  RegKey key;
  Open(key);
  const char16_t text[] = u"ab|";
  EXPECT_EQ(WriteStringValue(key, u"v", text, text + 2), 0u);
  EXPECT_EQ(GetValue(Path(), u"v"), (Value{u"v", 1, Utf16Bytes(u"ab", 0)}));
}

TEST_F(WriteTest, LongTextIsWrittenWhole) {
  RegKey key;
  Open(key);
  const std::u16string text(100'000, u'x');
  EXPECT_EQ(WriteStringValue(key, u"v", text.data(), text.data() + 99'999), 0u);
  const auto value = GetValue(Path(), u"v");
  ASSERT_TRUE(value.has_value());
  EXPECT_EQ(value->data, Utf16Bytes(std::u16string(99'999, u'x'), 0));
}

struct WrittenListCase {
  const char* name;
  Strings strings;
  std::vector<std::uint8_t> expected;
};

void PrintTo(const WrittenListCase& listCase, std::ostream* out) { *out << listCase.name; }

class WriteListTable : public tests::RegistryTest,
                       public ::testing::WithParamInterface<WrittenListCase> {};

TEST_P(WriteListTable, StoresTheWholeFormat) {
  RegKey key;
  Open(key);
  EXPECT_EQ(WriteMultiStringValue(key, u"v", GetParam().strings), 0u);
  EXPECT_EQ(GetValue(Path(), u"v"), (Value{u"v", 7, GetParam().expected}));
  EXPECT_EQ(ReportedChecks(), std::vector<std::string>());
}

INSTANTIATE_TEST_SUITE_P(
    WriteMultiStringValue, WriteListTable,
    ::testing::Values(
        WrittenListCase{"EmptyList", {}, {0, 0, 0, 0}},
        WrittenListCase{"OneEmptyString", {u""}, {0, 0, 0, 0}},
        WrittenListCase{"TwoStrings", {u"a", u"b"}, {0x61, 0, 0, 0, 0x62, 0, 0, 0, 0, 0}},
        WrittenListCase{
            "InnerEmptyString", {u"a", u"", u"b"}, {0x61, 0, 0, 0, 0, 0, 0x62, 0, 0, 0, 0, 0}}),
    [](const auto& test) { return test.param.name; });

TEST_F(WriteTest, ListComesBackAsItWasWritten) {
  RegKey key;
  Open(key);
  const Strings strings = {u"\\??\\C:\\a", u"", std::u16string(300, u'ü'), u"!\\??\\C:\\b"};
  EXPECT_EQ(WriteMultiStringValue(key, u"v", strings), 0u);
  Strings read;
  EXPECT_EQ(ReadMultiStringValue(key, u"v", read), 0u);
  EXPECT_EQ(read, strings);
}

}  // namespace
