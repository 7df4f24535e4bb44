// Opening keys, deleting values, and the checks of an empty key holder.
#include <gtest/gtest.h>

#include "platform/util/windows/registry.h"
#include "platform/util/windows/registry_transacted.h"
#include "tests/platform/util/windows/registry_fixture.h"
#include "tests/support/checks.h"
#include "winapi/modules.h"

using tests::CountReported;
using tests::ReportedChecks;
using windows_helpers::KernelHandle;
using windows_helpers::OpenKey;
using windows_helpers::OpenKeyTransacted;
using windows_helpers::RegKey;

namespace {

using Reports = std::vector<std::string>;

class OpenKeyTest : public tests::RegistryTest {};
using OpenKeyTestOwnProcess = OpenKeyTest;

TEST_F(OpenKeyTest, FillsTheTarget) {
  RegKey key;
  EXPECT_EQ(OpenKey(key, winapi::HkeyLocalMachine(), Path().c_str(), tests::kAllAccess), 0u);
  EXPECT_TRUE(key.IsValid());
  EXPECT_EQ(windows_helpers::WriteStringValue(key, u"v", nullptr, nullptr), 0u);
  EXPECT_EQ(ReportedChecks(), Reports());
}

TEST_F(OpenKeyTest, MissingKeyLeavesTheTargetEmpty) {
  RegKey key;
  EXPECT_EQ(
      OpenKey(key, winapi::HkeyLocalMachine(), (Path() + u"\\none").c_str(), tests::kReadAccess),
      2u);
  EXPECT_FALSE(key.IsValid());
  EXPECT_EQ(ReportedChecks(), Reports());
}

TEST_F(OpenKeyTest, NullHiveIsAnInvalidHandle) {
  RegKey key;
  EXPECT_EQ(OpenKey(key, nullptr, Path().c_str(), tests::kReadAccess), 6u);
  EXPECT_FALSE(key.IsValid());
}

TEST_F(OpenKeyTest, PassesTheMaskOn) {
  RegKey key;
  ASSERT_EQ(OpenKey(key, winapi::HkeyLocalMachine(), Path().c_str(), tests::kReadAccess), 0u);
  EXPECT_EQ(windows_helpers::WriteStringValue(key, u"v", nullptr, nullptr), 5u);
}

TEST_F(OpenKeyTestOwnProcess, FullTargetIsReportedBeforeAndAtTheAssignment) {
  RegKey key;
  Open(key);
  const winapi::Key first = key.GetValue();
  EXPECT_EQ(OpenKey(key, winapi::HkeyLocalMachine(), Path().c_str(), tests::kReadAccess), 0u);
  EXPECT_EQ(ReportedChecks(), (Reports{"!newKey.IsValid()", "!IsValid()"}));
  EXPECT_NE(key.GetValue(), first);
  EXPECT_EQ(winapi::RegCloseKey(first), 0u);  // nobody closed it
}

TEST_F(OpenKeyTestOwnProcess, FullTargetKeepsItsKeyOnFailure) {
  RegKey key;
  Open(key);
  const winapi::Key first = key.GetValue();
  EXPECT_EQ(
      OpenKey(key, winapi::HkeyLocalMachine(), (Path() + u"\\none").c_str(), tests::kReadAccess),
      2u);
  EXPECT_EQ(key.GetValue(), first);
  EXPECT_EQ(ReportedChecks(), Reports{"!newKey.IsValid()"});
}

// Wine has no RegOpenKeyTransactedW, the host and Windows do.
bool HasTransactedOpen() {
  const winapi::Module advapi32 = winapi::GetModuleHandleW(u"advapi32.dll");
  return advapi32 != nullptr &&
         winapi::GetProcAddress(advapi32, "RegOpenKeyTransactedW") != nullptr;
}

// It isn't an open without a transaction then.
TEST_F(OpenKeyTest, TransactedOpenOutsideATransactionFails) {
  RegKey key;
  const KernelHandle none;
  EXPECT_EQ(
      OpenKeyTransacted(key, none, winapi::HkeyLocalMachine(), Path().c_str(), tests::kReadAccess),
      HasTransactedOpen() ? 6u : 127u);
  EXPECT_FALSE(key.IsValid());
  EXPECT_EQ(ReportedChecks(), Reports());
}

TEST_F(OpenKeyTest, DeleteValueRemovesTheValue) {
  Set(u"v", 1, tests::Utf16Bytes(u"text"));
  RegKey key;
  Open(key);
  EXPECT_EQ(windows_helpers::DeleteValue(key, u"v"), 0u);
  EXPECT_EQ(tests::GetValue(Path(), u"v"), std::nullopt);
  EXPECT_EQ(windows_helpers::DeleteValue(key, u"v"), 2u);
  EXPECT_EQ(ReportedChecks(), Reports());
}

TEST_F(OpenKeyTest, EachOperationTakesTheValueThatItIsGiven) {
  Set(u"v", 1, tests::Utf16Bytes(u"another"));
  RegKey key;
  Open(key);
  const char16_t text[] = u"text";
  EXPECT_EQ(windows_helpers::WriteStringValue(key, u"Its Name", text, text + 4), 0u);
  EXPECT_EQ(windows_helpers::WriteMultiStringValue(key, u"Their Name", {u"a", u"b"}), 0u);
  oru::String16 value;
  EXPECT_EQ(windows_helpers::ReadStringValue(key, u"Its Name", value), 0u);
  EXPECT_EQ(value.view(), u"text");
  std::vector<std::u16string> values;
  EXPECT_EQ(windows_helpers::ReadMultiStringValue(key, u"Their Name", values), 0u);
  EXPECT_EQ(values, (std::vector<std::u16string>{u"a", u"b"}));
  EXPECT_EQ(windows_helpers::DeleteValue(key, u"Their Name"), 0u);
  EXPECT_EQ(tests::Values(Path()),
            (std::vector<tests::Value>{{u"Its Name", 1, tests::Utf16Bytes(u"text")},
                                       {u"v", 1, tests::Utf16Bytes(u"another")}}));
}

// The call is made all the same, with the null key, which the system refuses.

TEST(EmptyKeyHolderOwnProcess, ReadStringValueReportsTwice) {
  // The wrapper and the loop below it have a check each.
  oru::String16 value(u"old");
  EXPECT_EQ(windows_helpers::ReadStringValue(RegKey(), u"v", value), 6u);
  EXPECT_EQ(ReportedChecks(), (Reports{"key.IsValid()", "key.IsValid()"}));
}

TEST(EmptyKeyHolderOwnProcess, ReadMultiStringValueReportsTwice) {
  std::vector<std::u16string> values = {u"old"};
  EXPECT_EQ(windows_helpers::ReadMultiStringValue(RegKey(), u"v", values), 6u);
  EXPECT_EQ(values, std::vector<std::u16string>{u"old"});
  EXPECT_EQ(ReportedChecks(), (Reports{"key.IsValid()", "key.IsValid()"}));
}

TEST(EmptyKeyHolderOwnProcess, WriteStringValueReports) {
  const char16_t text[] = u"text";
  EXPECT_EQ(windows_helpers::WriteStringValue(RegKey(), u"v", text, text + 4), 6u);
  EXPECT_EQ(ReportedChecks(), Reports{"key.IsValid()"});
}

TEST(EmptyKeyHolderOwnProcess, WriteMultiStringValueReports) {
  EXPECT_EQ(windows_helpers::WriteMultiStringValue(RegKey(), u"v", {u"a"}), 6u);
  EXPECT_EQ(ReportedChecks(), Reports{"key.IsValid()"});
}

TEST(EmptyKeyHolderOwnProcess, DeleteValueReports) {
  EXPECT_EQ(windows_helpers::DeleteValue(RegKey(), u"v"), 6u);
  EXPECT_EQ(ReportedChecks(), Reports{"key.IsValid()"});
}

// The check is for the one key with that number.
TEST(PerformanceDataOwnProcess, IsTheKeyOfTheNumber80000004) {
  constexpr char kCheck[] = "key.GetValue() != (( HKEY ) (ULONG_PTR)((LONG)0x80000004) )";
  struct Case {
    std::intptr_t number;  // of a predefined key: 32 bits with their sign
    std::size_t reports;
  };
  for (const Case& row :
       {Case{-0x7FFFFFFD, 0}, Case{-0x7FFFFFFB, 0}, Case{-0x7FFFFFB0, 0}, Case{-0x7FFFFFFC, 1}}) {
    RegKey key;
    key.Attach(reinterpret_cast<winapi::Key>(row.number));
    oru::String16 value;
    EXPECT_NE(windows_helpers::ReadStringValue(key, u"zum no such value", value), 0u);
    EXPECT_EQ(CountReported(kCheck), row.reports) << row.number;
  }
}

TEST(PerformanceDataOwnProcess, IsReportedAndReadAllTheSame) {
  RegKey key;
  key.Attach(winapi::HkeyPerformanceData());
  oru::String16 value;
  EXPECT_NE(windows_helpers::ReadStringValue(key, u"zum no such counter", value), 0u);
  EXPECT_EQ(CountReported("key.GetValue() != (( HKEY ) (ULONG_PTR)((LONG)0x80000004) )"), 1u);
}

}  // namespace
