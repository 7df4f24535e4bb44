// The rewrite call by call, and each failure that the system can answer with.
#include <gtest/gtest.h>

#include <optional>
#include <set>
#include <string>
#include <vector>

#include "tests/support/allocation_faults.h"
#include "tests/support/checks.h"
#include "tests/support/expected_failure.h"
#include "tests/zum_setup_util_lib/installer_records.h"
#include "winapi/host/control.h"
#include "winapi/registry.h"

namespace host = winapi::host;
using tests::InstallProperties;
using tests::Value;

namespace {

using Values = std::vector<Value>;

class RewriteOnHost : public tests::InstallerRecords {
 protected:
  ~RewriteOnHost() override { host::ClearFaults(); }

  static Value LocalMark(const std::u16string& product) {
    return Text(u"LocalPackageNotExist", u"C:\\windows\\Installer\\" + product + u".msi");
  }
  static Value LocalRestored(const std::u16string& product) {
    return Text(u"LocalPackage", u"C:\\windows\\Installer\\" + product + u".msi");
  }
  static Value SourceMark() { return Text(u"PackageNameNotExist", u"marked.msi"); }

  static void ExpectMarked(const std::u16string& product) {
    EXPECT_EQ(LocalValues(product), Values{LocalMark(product)});
    EXPECT_EQ(SourceValues(product), Values{SourceMark()});
  }
  static void ExpectRestored(const std::u16string& product) {
    EXPECT_EQ(LocalValues(product), Values{LocalRestored(product)});
    EXPECT_EQ(SourceValues(product), Values{FixedName()});
  }

  // The record that the guard writes, without the line that the cause was thrown at.
  void ExpectCauseTraced(const std::string& text) const {
    const Records traced = Traced();
    ASSERT_FALSE(traced.empty());
    EXPECT_EQ(traced.back().first, 300u);
    const std::string start =
        tests::kRewritePrefix + text + ". At zum_setup_util_lib/correct_setup(";
    EXPECT_TRUE(traced.back().second.starts_with(start)) << traced.back().second;
    EXPECT_TRUE(tests::EndsAtALineOf(traced.back().second, "zum_setup_util_lib/correct_setup"))
        << traced.back().second;
  }

  static void ExpectStageFailure(const std::optional<oru::CheckResultFailedException>& failure) {
    ASSERT_TRUE(failure.has_value());
    EXPECT_EQ(failure->Code(), oru::MakeResultCode(0xA1780003));
    EXPECT_STREQ(failure->File(), "zum_setup_util_lib/correct_setup");
    EXPECT_GT(failure->Line(), 0u);
    EXPECT_TRUE(failure->Message().empty());
  }
};

// "RegOpenKeyExW ...\A\SourceList 0x2011f" and the like: what the order of the calls is about.
std::string Summary(const host::CallRecord& call) {
  std::string text = call.operation;
  if (call.operation == "RegOpenKeyExW") {
    const std::string path = call.Argument("subKey");
    const std::size_t products = path.find("\\Products");
    text += " " + (products == std::string::npos ? path : path.substr(products + 1)) + " " +
            call.Argument("rights");
  } else if (call.operation == "RegEnumKeyW") {
    text += " " + call.Argument("index") + " " + call.Argument("size");
  } else if (call.operation != "RegCloseKey") {
    text += " " + call.Argument("name");
  }
  return text;
}

std::vector<std::string> RegistryCalls() {
  std::vector<std::string> calls;
  for (const host::CallRecord& call : host::CallLog()) {
    if (call.operation.starts_with("Reg")) calls.push_back(Summary(call));
  }
  return calls;
}

TEST_F(RewriteOnHost, CallsOfOneProductInTheirOrder) {
  MarkProduct(u"A");
  host::StartCallLog();
  host::ClearCallLog();
  Run();
  EXPECT_EQ(
      RegistryCalls(),
      (std::vector<std::string>{
          "RegOpenKeyExW Products 0x20119", "RegEnumKeyW 0 260", "RegEnumKeyW 1 260", "RegCloseKey",
          "RegOpenKeyExW Products\\A\\InstallProperties 0x2011f",
          "RegQueryValueExW LocalPackageNotExist", "RegSetValueExW LocalPackage",
          "RegDeleteValueW LocalPackageNotExist", "RegOpenKeyExW Products\\A\\SourceList 0x2011f",
          "RegQueryValueExW PackageNameNotExist", "RegSetValueExW PackageName",
          "RegDeleteValueW PackageNameNotExist", "RegCloseKey", "RegCloseKey"}));
}

// Untraced: a refused record asks for the last error once and gives it back once; the holders of
// keys do neither, since no call of the registry touches it.
TEST_F(RewriteOnHost, LastErrorIsMovedTwiceForTwoRecordsThatAreRefused) {
  standalone::trace::TracerHolder::Instance().Install(standalone::trace::CreateEmptyTracer());
  const auto callsOfARun = [](const std::string& operation) {
    host::StartCallLog();
    host::ClearCallLog();
    Run();
    return host::CallsOf(operation).size();
  };
  const std::size_t asked = callsOfARun("GetLastError");
  const std::size_t given = callsOfARun("SetLastError");
  SetLocal(u"A", FixedName());
  SetSource(u"A", FixedName());
  EXPECT_EQ(callsOfARun("GetLastError"), asked) << "a product without marks has no record";
  EXPECT_EQ(callsOfARun("SetLastError"), given) << "a product without marks has no record";
  MarkProduct(u"B");
  EXPECT_EQ(callsOfARun("GetLastError"), asked + 2);
  MarkProduct(u"B");
  EXPECT_EQ(callsOfARun("SetLastError"), given + 2);
}

TEST_F(RewriteOnHost, PathsAreThoseOfTheTwoBranches) {
  MarkProduct(u"A");
  host::StartCallLog();
  host::ClearCallLog();
  Run();
  const auto opens = host::CallsOf("RegOpenKeyExW");
  ASSERT_EQ(opens.size(), 3u);
  EXPECT_EQ(
      opens[0].Argument("subKey"),
      "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Installer\\UserData\\S-1-5-18\\Products");
  EXPECT_EQ(
      opens[1].Argument("subKey"),
      "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Installer\\UserData\\S-1-5-18\\Products\\"
      "A\\InstallProperties");
  EXPECT_EQ(opens[2].Argument("subKey"), "SOFTWARE\\Classes\\Installer\\Products\\A\\SourceList");
}

TEST_F(RewriteOnHost, SourceListIsClosedBeforeInstallProperties) {
  MarkProduct(u"A");
  host::StartCallLog();
  host::ClearCallLog();
  Run();
  const auto queries = host::CallsOf("RegQueryValueExW");
  const auto closes = host::CallsOf("RegCloseKey");
  ASSERT_EQ(queries.size(), 2u);
  ASSERT_EQ(closes.size(), 3u);
  EXPECT_EQ(closes[1].Argument("key"), queries[1].Argument("key"));  // SourceList
  EXPECT_EQ(closes[2].Argument("key"), queries[0].Argument("key"));  // InstallProperties
}

TEST_F(RewriteOnHost, LocalPackageIsWrittenWithoutItsTerminator) {
  SetLocal(u"A", Text(u"LocalPackageNotExist", u"ab"));
  host::StartCallLog();
  host::ClearCallLog();
  Run();
  const auto writes = host::CallsOf("RegSetValueExW");
  ASSERT_EQ(writes.size(), 1u);
  EXPECT_EQ(writes[0].Argument("type"), "1");
  EXPECT_EQ(writes[0].Argument("data"), "61006200");
  EXPECT_EQ(writes[0].Argument("size"), "4");
}

TEST_F(RewriteOnHost, PackageNameIsWrittenWithItsTerminator) {
  MarkProduct(u"A");
  host::StartCallLog();
  host::ClearCallLog();
  Run();
  const auto writes = host::CallsOf("RegSetValueExW");
  ASSERT_EQ(writes.size(), 2u);
  EXPECT_EQ(writes[1].Argument("type"), "1");
  EXPECT_EQ(writes[1].Argument("data"),
            "7a0075006d005f00770069006e002e006d007300690000"
            "00");
  EXPECT_EQ(writes[1].Argument("size"), "24");
}

TEST_F(RewriteOnHost, OrdinaryValuesAreNotRead) {
  MarkProduct(u"A");
  SetLocal(u"A", Text(u"LocalPackage", u"C:\\old.msi"));
  host::StartCallLog();
  host::ClearCallLog();
  Run();
  for (const host::CallRecord& call : host::CallsOf("RegQueryValueExW")) {
    EXPECT_TRUE(call.Argument("name").ends_with("NotExist")) << call.Argument("name");
  }
}

TEST_F(RewriteOnHost, EnumerationIsFinishedBeforeTheFirstChange) {
  MarkProduct(u"A");
  MarkProduct(u"B");
  host::StartCallLog();
  host::ClearCallLog();
  Run();
  const std::vector<std::string> calls = RegistryCalls();
  const std::vector<std::string> start(calls.begin(), calls.begin() + 5);
  EXPECT_EQ(start,
            (std::vector<std::string>{"RegOpenKeyExW Products 0x20119", "RegEnumKeyW 0 260",
                                      "RegEnumKeyW 1 260", "RegEnumKeyW 2 260", "RegCloseKey"}));
}

// The rows of failures that end the stage. Product B comes second and fails; A is done by then, C
// isn't visited any more.

struct FailureCase {
  const char* name;
  const char* operation;
  std::size_t nth;  // the calls of product A come first
  const char* valueName;
  Values local;  // of product B afterwards, sorted by name
  Values source;
  tests::TraceRecords updates;  // of product B, each told before it is tried
};

void PrintTo(const FailureCase& failureCase, std::ostream* out) { *out << failureCase.name; }

class FailureTable : public RewriteOnHost, public ::testing::WithParamInterface<FailureCase> {
 public:
  static std::vector<FailureCase> Cases() {
    return {{"WritingLocalPackage",
             "RegSetValueExW",
             3,
             "LocalPackage",
             {LocalMark(u"B")},
             {SourceMark()},
             {LocalUpdate("B")}},
            {"DeletingLocalPackageNotExist",
             "RegDeleteValueW",
             3,
             "LocalPackageNotExist",
             {LocalRestored(u"B"), LocalMark(u"B")},
             {SourceMark()},
             {LocalUpdate("B")}},
            {"WritingPackageName",
             "RegSetValueExW",
             4,
             "PackageName",
             {LocalRestored(u"B")},
             {SourceMark()},
             {LocalUpdate("B"), SourceUpdate("B")}},
            {"DeletingPackageNameNotExist",
             "RegDeleteValueW",
             4,
             "PackageNameNotExist",
             {LocalRestored(u"B")},
             {FixedName(), SourceMark()},
             {LocalUpdate("B"), SourceUpdate("B")}}};
  }
};

TEST_P(FailureTable, EndsTheStageThere) {
  MarkProduct(u"A");
  MarkProduct(u"B");
  MarkProduct(u"C");
  const std::size_t keys = host::Live().keys;
  host::FailCall(GetParam().operation, GetParam().nth, 1018);
  ExpectStageFailure(RunFailing());
  ExpectRestored(u"A");
  EXPECT_EQ(LocalValues(u"B"), GetParam().local);
  EXPECT_EQ(SourceValues(u"B"), GetParam().source);
  ExpectMarked(u"C");
  ExpectCauseTraced(
      "CheckResultFailedException - system result code: "
      "1018[correct_setup::detail::DisableProtectiveMeasuresUpgrade] value = " +
      std::string(GetParam().valueName) + ": 0x800703fa (Unknown result code)");
  Records updates = {LocalUpdate("A"), SourceUpdate("A")};
  updates.insert(updates.end(), GetParam().updates.begin(), GetParam().updates.end());
  Records traced = Traced();
  ASSERT_FALSE(traced.empty());
  traced.pop_back();  // the cause
  EXPECT_EQ(traced, updates);
  EXPECT_EQ(host::Live().keys, keys);
}

// Run once more without the fault, the rest is done too.
TEST_P(FailureTable, NextRunFinishesTheWork) {
  for (const char16_t* product : {u"A", u"B", u"C"}) MarkProduct(product);
  host::FailCall(GetParam().operation, GetParam().nth, 5);
  ExpectStageFailure(RunFailing());
  host::ClearFaults();
  EXPECT_FALSE(RunFailing().has_value());
  for (const char16_t* product : {u"A", u"B", u"C"}) ExpectRestored(product);
}

INSTANTIATE_TEST_SUITE_P(Rows, FailureTable, ::testing::ValuesIn(FailureTable::Cases()),
                         [](const auto& test) { return test.param.name; });

TEST_F(RewriteOnHost, ProductsKeyThatCannotBeOpenedFails) {
  MarkProduct(u"A");
  host::FailCall("RegOpenKeyExW", 1, 5);
  ExpectStageFailure(RunFailing());
  ExpectMarked(u"A");
  ExpectCauseTraced(
      "CheckResultFailedException - system result code: 5: 0x80000045 (Access denied)");
}

TEST_F(RewriteOnHost, AnyErrorOfTheEnumerationEndsItInSilence) {
  for (const winapi::Error error : {5u, 234u, 259u, 1018u}) {
    for (const char16_t* product : {u"A", u"B", u"C"}) MarkProduct(product);
    host::FailCall("RegEnumKeyW", 3, error);
    EXPECT_FALSE(RunFailing().has_value()) << error;
    host::ClearFaults();
    ExpectRestored(u"A");
    ExpectRestored(u"B");
    ExpectMarked(u"C");
  }
  EXPECT_EQ(tests::ReportedChecks(), std::vector<std::string>());
}

// What a name beyond the 260 characters gives.
TEST_F(RewriteOnHost, SubkeyNameThatIsTooLongEndsTheEnumeration) {
  MarkProduct(u"A");
  MarkProduct(u"B");
  host::FailCall("RegEnumKeyW", 2, 234);
  Run();
  ExpectRestored(u"A");
  ExpectMarked(u"B");
  EXPECT_EQ(Traced(), (Records{LocalUpdate("A"), SourceUpdate("A")}));
}

TEST_F(RewriteOnHost, InstallPropertiesThatCannotBeOpenedSkipTheProduct) {
  MarkProduct(u"A");
  MarkProduct(u"B");
  host::FailCall("RegOpenKeyExW", 2, 5);
  Run();
  ExpectMarked(u"A");
  ExpectRestored(u"B");
  EXPECT_EQ(Traced(), (Records{LocalUpdate("B"), SourceUpdate("B")}));
}

TEST_F(RewriteOnHost, SourceListThatCannotBeOpenedIsSkipped) {
  MarkProduct(u"A");
  MarkProduct(u"B");
  host::FailCall("RegOpenKeyExW", 3, 5);
  Run();
  EXPECT_EQ(LocalValues(u"A"), Values{LocalRestored(u"A")});
  EXPECT_EQ(SourceValues(u"A"), Values{SourceMark()});
  ExpectRestored(u"B");
  EXPECT_EQ(Traced(), (Records{LocalUpdate("A"), LocalUpdate("B"), SourceUpdate("B")}));
}

TEST_F(RewriteOnHost, KeyThatMayNotBeWrittenIsSkipped) {
  MarkProduct(u"A");
  host::DenyRegistryRights(u"HKEY_LOCAL_MACHINE\\" + InstallProperties(u"A"), winapi::kKeySetValue);
  Run();
  ExpectMarked(u"A");
  EXPECT_EQ(Traced(), Records());
}

TEST_F(RewriteOnHost, LocalMarkThatCannotBeReadIsSkipped) {
  MarkProduct(u"A");
  host::FailCall("RegQueryValueExW", 1, 5);
  Run();
  EXPECT_EQ(LocalValues(u"A"), Values{LocalMark(u"A")});
  EXPECT_EQ(SourceValues(u"A"), Values{FixedName()});
  EXPECT_EQ(Traced(), Records{SourceUpdate("A")});
}

TEST_F(RewriteOnHost, SourceMarkThatCannotBeReadIsSkipped) {
  MarkProduct(u"A");
  host::FailCall("RegQueryValueExW", 2, 5);
  Run();
  EXPECT_EQ(LocalValues(u"A"), Values{LocalRestored(u"A")});
  EXPECT_EQ(SourceValues(u"A"), Values{SourceMark()});
  EXPECT_EQ(Traced(), Records{LocalUpdate("A")});
}

}  // namespace
