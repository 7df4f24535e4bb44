#include "zum_rehearse/rehearse.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/installer_keys.h"
#include "tests/support/test_registry.h"
#include "winapi/errors.h"
#include "winapi/host/control.h"
#include "winapi/registry.h"
#include "zum_rehearse/html.h"
#include "zum_rehearse/json.h"
#include "zum_rehearse/printable.h"
#include "zum_rehearse/reg_text.h"
#include "zum_rehearse/table.h"

namespace {

namespace host = winapi::host;
using namespace zum_rehearse;
using tests::InstallProperties;
using tests::SourceList;

// Three products with both marks.
class RehearseHost : public ::testing::Test {
 protected:
  RehearseHost() : m_userData(tests::kUserData), m_classes(tests::kClasses) {
    for (const char16_t* product : {u"A", u"B", u"C"}) {
      tests::CreateKey(InstallProperties(product));
      tests::CreateKey(SourceList(product));
      tests::SetValue(InstallProperties(product),
                      {u"LocalPackageNotExist", winapi::kRegSz, tests::Utf16Bytes(u"C:\\a.msi")});
      tests::SetValue(SourceList(product),
                      {u"PackageNameNotExist", winapi::kRegSz, tests::Utf16Bytes(u"zum_win.msi")});
    }
  }
  ~RehearseHost() override { host::ClearFaults(); }

  static Report Run() {
    LoadedMachine loaded;
    loaded.name = "here";
    loaded.machine = winapi::rehearsal::Machine::ThisOne();
    return Rehearse(loaded, nullptr, {});
  }
  static void Deny(const std::u16string& path, winapi::Dword rights) {
    host::DenyRegistryRights(u"HKEY_LOCAL_MACHINE\\" + path, rights);
  }
  static std::string TableOf(const Report& report) { return Table(report, {200, false, false}); }

 private:
  tests::ScopedTree m_userData;
  tests::ScopedTree m_classes;
};

TEST_F(RehearseHost, WithAllRightsAllAreRepaired) {
  const Report report = Run();
  EXPECT_EQ(report.ChangedProducts(), 3U);
  EXPECT_EQ(report.outcome.line, "Completed");
  EXPECT_EQ(report.products[0].verdicts,
            (std::vector{Verdict::kWouldBeRepaired, Verdict::kPackageNotKnownHere}));
  EXPECT_FALSE(report.asRun);
  EXPECT_EQ(StatusOf(report), 1);
  EXPECT_EQ(report.changes.size(), 12U);
}

TEST_F(RehearseHost, AProductThatTheBranchesSpellInTwoWaysIsOne) {
  tests::CreateKey(InstallProperties(u"d"));
  tests::CreateKey(SourceList(u"D"));
  tests::SetValue(SourceList(u"D"),
                  {u"PackageNameNotExist", winapi::kRegSz, tests::Utf16Bytes(u"zum_win.msi")});
  const Report report = Run();
  ASSERT_EQ(report.products.size(), 4U);
  EXPECT_EQ(report.products[3].key, u"d");
  EXPECT_TRUE(report.products[3].changes);
}

TEST_F(RehearseHost, WithoutTheRightToWriteItSaysWhoIsPassedOver) {
  Deny(InstallProperties(u"A"), winapi::kKeySetValue);
  Deny(SourceList(u"B"), winapi::kKeySetValue);
  const Report report = Run();
  EXPECT_EQ(StatusOf(report), 5);
  EXPECT_EQ(report.ChangedProducts(), 3U);
  ASSERT_TRUE(report.asRun);
  EXPECT_EQ(report.asRun->code, 0U);
  EXPECT_EQ(report.asRun->line, "Completed");
  EXPECT_EQ(report.products[0].verdicts.front(), Verdict::kPassedOver);
  EXPECT_EQ(report.products[1].verdicts.front(), Verdict::kPassedOver);
  EXPECT_EQ(report.products[2].verdicts.front(), Verdict::kWouldBeRepaired);
  const std::string table = TableOf(report);
  EXPECT_NE(
      table.find("  with this run's rights /unblock would print \"Completed\" and end with 0, "
                 "and leave unrepaired:\n    A\n    B\n"),
      std::string::npos)
      << table;
  const std::string rows = HtmlRows(report, /*all=*/false);
  EXPECT_NE(rows.find("with this run's rights it would print <bdi>Completed</bdi> and pass over "
                      "what it may not write"),
            std::string::npos)
      << rows;
}

TEST_F(RehearseHost, AFailureAtAProductThatIsPassedOverIsNoneWithoutTheRight) {
  Deny(InstallProperties(u"B"), winapi::kKeySetValue);
  host::FailCall("RegDeleteValueW", 3, winapi::kErrorDiskFull);
  const Report report = Run();
  EXPECT_EQ(report.outcome.code, 0xA1780003U);
  EXPECT_EQ(report.products[1].verdicts.front(), Verdict::kFailsHere);
  ASSERT_TRUE(report.asRun);
  EXPECT_EQ(report.asRun->line, "Completed");
}

TEST_F(RehearseHost, AFailureAtAnotherProductStays) {
  Deny(InstallProperties(u"A"), winapi::kKeySetValue);
  host::FailCall("RegDeleteValueW", 3, winapi::kErrorDiskFull);
  const Report report = Run();
  EXPECT_EQ(report.products[1].verdicts.front(), Verdict::kFailsHere);
  ASSERT_TRUE(report.asRun);
  EXPECT_EQ(report.asRun->code, 0xA1780003U);
}

TEST_F(RehearseHost, RecordsThatMayNotBeReadAreSaidToBeSo) {
  Deny(InstallProperties(u"B"), winapi::kKeyQueryValue);
  const Report report = Run();
  EXPECT_EQ(report.products[1].verdicts, std::vector{Verdict::kUnreadable});
  EXPECT_EQ(report.ChangedProducts(), 2U);
  EXPECT_EQ(StatusOf(report), 1);
}

TEST_F(RehearseHost, AListThatMayNotBeReadIsAFailure) {
  Deny(tests::kUserData, winapi::kKeyEnumerateSubKeys);
  const Report report = Run();
  EXPECT_EQ(StatusOf(report), 3);
  EXPECT_EQ(report.outcome.code, 0xA1780003U);
  EXPECT_EQ(report.outcome.line,
            "Failed: 0xa1780003 (Problem in disable protective upgrade registry)");
  ASSERT_EQ(report.notes.size(), 1U);
  EXPECT_EQ(report.notes[0], "the list of products can't be read with these rights: run elevated");
}

TEST_F(RehearseHost, WhatTheRightsWouldGiveIsNotSaidWhereTheListMayNotBeRead) {
  Deny(tests::kUserData, winapi::kKeyEnumerateSubKeys);
  const Report report = Run();
  EXPECT_FALSE(report.outcomeIsKnown);
  ASSERT_TRUE(report.asRun);
  EXPECT_EQ(report.asRun->code, 0xA1780003U);
  const std::string json = JsonLine(report, /*all=*/false);
  EXPECT_NE(json.find("\"status\":3,\"error\":null,"), std::string::npos) << json;
  EXPECT_NE(json.find("\"outcome\":null,\"as_run\":{\"code\":\"0xa1780003\","), std::string::npos)
      << json;
  const std::string table = TableOf(report);
  EXPECT_NE(
      table.find("  with this run's rights /unblock would print \"Failed: 0xa1780003 (Problem "
                 "in disable protective upgrade registry)\" and end with 0xa1780003\n"
                 "  what it would do with the rights it needs isn't known\n"),
      std::string::npos)
      << table;
  EXPECT_EQ(table.find("products would change"), std::string::npos) << table;
  const std::string rows = HtmlRows(report, /*all=*/false);
  EXPECT_NE(
      rows.find("with this run's rights /unblock would print <bdi>Failed: 0xa1780003 (Problem "
                "in disable protective upgrade registry)</bdi>; with the rights that it "
                "needs: not known</span><br>note: "),
      std::string::npos)
      << rows;
}

TEST_F(RehearseHost, AListThatIsMissingIsNamed) {
  tests::DeleteTree(tests::kUserData);
  const Report report = Run();
  EXPECT_EQ(StatusOf(report), 3);
  EXPECT_TRUE(report.outcomeIsKnown);
  EXPECT_FALSE(report.asRun);
  ASSERT_EQ(report.notes.size(), 1U);
  EXPECT_EQ(report.notes[0],
            "the list of products, HKLM\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Installer\\"
            "UserData\\S-1-5-18\\Products, is missing: /unblock fails without it");
}

TEST_F(RehearseHost, AFailureHalfwayShowsWhatWouldBeDoneByThen) {
  // The second product's mark can't be deleted: two deletions are done by then.
  host::FailCall("RegDeleteValueW", 3, winapi::kErrorDiskFull);
  const Report report = Run();
  EXPECT_EQ(StatusOf(report), 3);
  EXPECT_EQ(report.outcome.code, 0xA1780003U);
  EXPECT_EQ(report.changes.size(), 5U);
  EXPECT_EQ(report.products[0].verdicts.front(), Verdict::kWouldBeRepaired);
  EXPECT_EQ(report.products[1].verdicts.front(), Verdict::kFailsHere);
  EXPECT_EQ(report.products[2].verdicts, std::vector{Verdict::kNotReached});
  EXPECT_TRUE(report.products[1].slots[kLocalPackageMarked].after);
  EXPECT_NE(TableOf(report).find("end with 0xa1780003\n"), std::string::npos);
}

// The lines of a file for import that name a value, in order; each with the product of its key.
std::vector<std::string> Entries(const std::string& file) {
  std::u16string text;
  for (std::size_t i = 2; i + 1 < file.size(); i += 2) {
    text += static_cast<char16_t>(static_cast<unsigned char>(file[i]) |
                                  (static_cast<unsigned char>(file[i + 1]) << 8));
  }
  std::istringstream lines(Utf8(text));
  std::vector<std::string> entries;
  std::string product;
  for (std::string line; std::getline(lines, line);) {
    if (line.front() == '[') product = line.substr(line.find("Products\\") + 9, 1);
    if (line.front() == '"') entries.push_back(product + line.substr(0, line.find('=') + 2));
  }
  return entries;
}

TEST_F(RehearseHost, FilesCoverWhatIsDoneBeforeAFailure) {
  // The second product's first mark can't be deleted.
  host::FailCall("RegDeleteValueW", 3, winapi::kErrorDiskFull);
  const Report report = Run();
  EXPECT_EQ(Entries(ChangesFile(report, "now")),
            (std::vector<std::string>{"A\"LocalPackage\"=h", "A\"LocalPackageNotExist\"=-",
                                      "A\"PackageName\"=h", "A\"PackageNameNotExist\"=-",
                                      "B\"LocalPackage\"=h"}));
  EXPECT_EQ(Entries(UndoFile(report, "now")),
            (std::vector<std::string>{"A\"LocalPackage\"=-", "A\"LocalPackageNotExist\"=h",
                                      "A\"PackageName\"=-", "A\"PackageNameNotExist\"=h",
                                      "B\"LocalPackage\"=-"}));
}

TEST_F(RehearseHost, AKeyThatNoFileCanCarryIsLeftOutAndNamed) {
  Report report;
  report.changes.push_back({u"HKEY_LOCAL_MACHINE\\a\nb", u"LocalPackage", {}, {}});
  report.changes.push_back({u"HKEY_LOCAL_MACHINE\\Products\\C", u"LocalPackage", {}, {}});
  EXPECT_EQ(Entries(ChangesFile(report, "now")), std::vector<std::string>{"C\"LocalPackage\"=-"});
  // Each once, however many of its values change.
  report.changes.push_back({u"HKEY_LOCAL_MACHINE\\a\nb", u"PackageName", {}, {}});
  report.changes.push_back({u"HKEY_LOCAL_MACHINE\\c\nd", u"LocalPackage", {}, {}});
  EXPECT_EQ(
      KeysThatNoFileCarries(report),
      (std::vector<std::u16string>{u"HKEY_LOCAL_MACHINE\\a\nb", u"HKEY_LOCAL_MACHINE\\c\nd"}));
}

TEST_F(RehearseHost, FilesEndWithAnEmptyLine) {
  const Report report = Run();
  const std::string end("\r\0\n\0\r\0\n\0", 8);
  EXPECT_TRUE(ChangesFile(report, "now").ends_with(end));
  EXPECT_TRUE(UndoFile(report, "now").ends_with(end));
}

TEST_F(RehearseHost, AListThatBreaksOffIsNoted) {
  tests::CreateKey(tests::kUserData + u"\\" + std::u16string(300, u'B'));
  const Report report = Run();
  ASSERT_EQ(report.notes.size(), 1U);
  EXPECT_EQ(
      report.notes[0],
      "the list of products ends early, with error 234 behind product 2: /unblock doesn't see "
      "those behind it");
  EXPECT_EQ(report.products[3].verdicts, std::vector{Verdict::kNotListed});
  EXPECT_EQ(report.ChangedProducts(), 2U);
}

TEST_F(RehearseHost, NothingIsLeftOpenAndNothingIsWritten) {
  host::StartCallLog();
  (void)Run();
  EXPECT_EQ(host::Live().keys, 0U);
  EXPECT_EQ(tests::Values(InstallProperties(u"A")).size(), 1U);
  EXPECT_EQ(tests::Values(InstallProperties(u"A"))[0].name, u"LocalPackageNotExist");
}

TEST(Rehearse, AMachineThatWasNotLoadedIsReportedAsSuch) {
  LoadedMachine loaded;
  loaded.name = "torn";
  loaded.error = "x.reg:3: torn";
  const Report report = Rehearse(loaded, nullptr, {});
  EXPECT_EQ(StatusOf(report), 2);
  EXPECT_NE(Table(report, {80, false, false}).find("  not rehearsed: x.reg:3: torn\n"),
            std::string::npos);
  EXPECT_NE(JsonLine(report, false).find("\"outcome\":null"), std::string::npos);
}

}  // namespace
