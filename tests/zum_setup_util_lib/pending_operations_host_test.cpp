// The stage over the host's registry and its transactions.
#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "oru/rtl/exception.h"
#include "tests/support/expected_failure.h"
#include "tests/zum_setup_util_lib/installed_tracer.h"
#include "tests/zum_setup_util_lib/pending_on_host.h"
#include "tests/zum_setup_util_lib/system_pending_list.h"
#include "winapi/handles.h"
#include "winapi/host/control.h"
#include "winapi/host/transacted_registry.h"
#include "winapi/host/transactions.h"
#include "zum_setup_util_lib/pending_operations.h"

namespace host = winapi::host;
using correct_setup::detail::CorrectPendingOperations;
using correct_setup::detail::TryCorrectPendingOperations;
using tests::InstalledTracer;
using tests::ListBytes;
using tests::PendingOnHost;
using tests::TraceRecords;

namespace {

using Bytes = std::vector<std::uint8_t>;

const std::string& kTry = tests::kPendingStage;
const std::string& kOne = tests::kPendingAttempt;
const std::string kSource = "zum_setup_util_lib/correct_setup";
const std::string kRepeat = "setup\t[correct_setup::helpers::TryExecuteWithRepeat] ";

TEST_F(PendingOnHost, ListIsRewrittenInOneTransaction) {
  SetList({u"\\A", u"\\B"});
  TryCorrectPendingOperations();
  EXPECT_EQ(Raw(), ListBytes({u"\\B", u"", u"\\A", u"\\B"}));
  EXPECT_EQ(TracedByOneAttempt(),
            (TraceRecords{{700, kOne + "update value PendingFileRenameOperations"},
                          {700, kOne + " from [ \\A,\\B ]"},
                          {700, kOne + " to   [ \\B,,\\A,\\B ]"}}));
  EXPECT_EQ(Sleeps().size(), 0u);
}

TEST_F(PendingOnHost, CallsOfOneAttempt) {
  SetList({u"\\A", u"\\B"});
  host::ClearCallLog();
  TryCorrectPendingOperations();
  std::vector<std::string> calls;
  for (const host::CallRecord& call : host::CallLog()) {
    if (call.operation.ends_with("Transaction") || call.operation.starts_with("Reg") ||
        call.operation == "CloseHandle") {
      calls.push_back(call.operation);
    }
  }
  EXPECT_EQ(calls, (std::vector<std::string>{"CreateTransaction", "RegOpenKeyTransactedW",
                                             "RegQueryValueExW", "RegSetValueExW",
                                             "CommitTransaction", "RegCloseKey", "CloseHandle"}));
  const host::CallRecord create = host::CallsOf("CreateTransaction").at(0);
  const std::string transaction = create.Argument("*result");
  EXPECT_EQ(create.Argument("description"), "CorrectPendingOperations");
  EXPECT_EQ(create.Argument("timeout"), "4294967295");
  const host::CallRecord open = host::CallsOf("RegOpenKeyTransactedW").at(0);
  EXPECT_EQ(open.Argument("key"), "0xffffffff80000002");
  EXPECT_EQ(open.Argument("subKey"), "SYSTEM\\ControlSet001\\Control\\Session Manager");
  EXPECT_EQ(open.Argument("rights"), "0x2011f");
  EXPECT_EQ(open.Argument("transaction"), transaction);
  const host::CallRecord set = host::CallsOf("RegSetValueExW").at(0);
  EXPECT_EQ(set.Argument("name"), "PendingFileRenameOperations");
  EXPECT_EQ(set.Argument("type"), "7");
  EXPECT_EQ(host::CallsOf("CommitTransaction").at(0).Argument("transaction"), transaction);
  EXPECT_EQ(host::CallsOf("CloseHandle").at(0).Argument("handle"), transaction);
}

TEST_F(PendingOnHost, UnchangedListIsNotWritten) {
  SetList({u"\\A", u"", u"\\C", u"\\A"});
  const std::optional<Bytes> before = Raw();
  TryCorrectPendingOperations();
  EXPECT_EQ(Raw(), before);
  EXPECT_EQ(TracedByOneAttempt(),
            (TraceRecords{{700, kOne + "conrainer not changed, skip update"}}));
  EXPECT_EQ(Count("RegSetValueExW"), 0u);
  EXPECT_EQ(Count("CommitTransaction"), 0u);
}

TEST_F(PendingOnHost, EmptyListsAreNotWritten) {
  for (const Bytes& data : {Bytes(), Bytes{0, 0, 0, 0}}) {
    SetRaw(7, data);
    const InstalledTracer tracer;
    CorrectPendingOperations();
    ASSERT_EQ(tracer.Records().size(), 3u);
    EXPECT_EQ(tracer.Records()[1], Record(700, kOne + "conrainer not changed, skip update"));
    EXPECT_EQ(Raw(), data);
  }
  EXPECT_EQ(Count("RegSetValueExW"), 0u);
}

TEST_F(PendingOnHost, SecondRunSkipsTheUpdate) {
  SetList({u"X", u"\\A", u"\\B", u"\\C", u"\\D", u"\\E"});
  CorrectPendingOperations();
  const std::optional<Bytes> once = Raw();
  EXPECT_EQ(once,
            ListBytes({u"X", u"\\B", u"", u"\\A", u"\\B", u"\\D", u"", u"\\C", u"\\D", u"\\E"}));
  EXPECT_EQ(Count("CommitTransaction"), 1u);
  TryCorrectPendingOperations();
  EXPECT_EQ(Raw(), once);
  EXPECT_EQ(Count("CommitTransaction"), 1u);
}

TEST_F(PendingOnHost, LastEmptyStringOfAWrittenListIsLost) {
  SetList({u"\\A", u"\\B", u"\\C", u""});
  TryCorrectPendingOperations();
  EXPECT_EQ(Raw(), ListBytes({u"\\B", u"", u"\\A", u"\\B", u"\\C"}));
}

TEST_F(PendingOnHost, LastEmptyStringOfAListThatStaysIsKept) {
  SetList({u"\\A", u"!\\B", u"\\C", u""});
  TryCorrectPendingOperations();
  EXPECT_EQ(Raw(), ListBytes({u"\\A", u"!\\B", u"\\C", u""}));
}

TEST_F(PendingOnHost, MissingKeySkips) {
  ASSERT_TRUE(host::DeleteRegistryTree(tests::kPendingKey));
  ExpectSilentSkip();
}

TEST_F(PendingOnHost, KeyOfTheCurrentControlSetIsNotTouched) {
  const std::u16string current =
      u"HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Control\\Session Manager";
  ASSERT_TRUE(host::DeleteRegistryTree(tests::kPendingKey));
  ASSERT_TRUE(host::CreateRegistryKey(current));
  ASSERT_TRUE(
      host::SetRegistryValue(current, {tests::kPendingValue, 7, ListBytes({u"\\A", u"\\B"})}));
  ExpectSilentSkip();
  EXPECT_EQ(host::RegistryValues(current)->front().data, ListBytes({u"\\A", u"\\B"}));
  EXPECT_TRUE(host::DeleteRegistryTree(u"HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet"));
}

TEST_F(PendingOnHost, RefusedKeySkips) {
  SetList({u"\\A", u"\\B"});
  host::DenyRegistryRights(tests::kPendingKey, 2);
  ExpectSilentSkip();
}

using PendingOnHostOwnProcess = PendingOnHost;

TEST_F(PendingOnHostOwnProcess, MissingTransactionsSkip) {
  SetList({u"\\A", u"\\B"});
  host::HideModule("ktmw32.dll");
  TryCorrectPendingOperations();
  EXPECT_EQ(TracedByOneAttempt(), TraceRecords());
  EXPECT_EQ(Raw(), ListBytes({u"\\A", u"\\B"}));
}

TEST_F(PendingOnHost, MissingTransactedOpenSkips) {
  SetList({u"\\A", u"\\B"});
  host::HideProcedure("RegOpenKeyTransactedW");
  ExpectSilentSkip();
}

TEST_F(PendingOnHost, FailedCreationShowsAtTheOpenAndSkips) {
  SetList({u"\\A", u"\\B"});
  host::FailCall("CreateTransaction", 1, 5);
  ExpectSilentSkip();
  EXPECT_EQ(host::CallsOf("RegOpenKeyTransactedW").at(0).Argument("transaction"),
            "0xffffffffffffffff");
}

TEST_F(PendingOnHost, MissingValueSkips) { ExpectSilentSkip(); }

TEST_F(PendingOnHost, OtherTypesSkip) {
  for (const winapi::Dword type : {0u, 1u, 2u, 3u}) {
    SCOPED_TRACE(type);
    SetRaw(type, ListBytes({u"\\A", u"\\B"}));
    const InstalledTracer tracer;
    CorrectPendingOperations();
    EXPECT_EQ(tracer.Records().size(), 2u);
    EXPECT_EQ(Raw(), ListBytes({u"\\A", u"\\B"}));
  }
}

TEST_F(PendingOnHost, FailedReadSkips) {
  SetList({u"\\A", u"\\B"});
  host::FailCall("RegQueryValueExW", 1, 1018);
  ExpectSilentSkip();
}

TEST_F(PendingOnHost, FailedWriteIsRepeatedInANewTransaction) {
  SetList({u"\\A", u"\\B"});
  host::FailCall("RegSetValueExW", 1, 5);
  host::FailCall("RegSetValueExW", 2, 5);
  TryCorrectPendingOperations();
  EXPECT_EQ(Raw(), ListBytes({u"\\B", u"", u"\\A", u"\\B"}));
  EXPECT_EQ(Count("CreateTransaction"), 3u);
  EXPECT_EQ(Count("RegQueryValueExW"), 3u) << "a fresh read each";
  EXPECT_EQ(Count("CommitTransaction"), 1u);
  EXPECT_EQ(Sleeps(), (std::vector<winapi::Dword>{100, 100}));
  ASSERT_EQ(ErrorRecords().size(), 2u);
  const std::string start =
      kRepeat +
      "CheckResultFailedException - system result code: "
      "5[correct_setup::detail::CorrectPendingOperations] value = PendingFileRenameOperations: "
      "0x80000045 (Access denied). At zum_setup_util_lib/correct_setup(";
  EXPECT_TRUE(ErrorRecords()[0].starts_with(start)) << ErrorRecords()[0];
  EXPECT_TRUE(tests::EndsAtALineOf(ErrorRecords()[0], kSource)) << ErrorRecords()[0];
  EXPECT_EQ(ErrorRecords()[0], ErrorRecords()[1]);
}

// Behind the failed attempt somebody else writes another list.
TEST_F(PendingOnHost, EachAttemptReadsTheListAfresh) {
  SetList({u"\\A", u"\\B"});
  host::FailCall("RegSetValueExW", 1, 5);
  InstalledTracer tracer;
  const auto commit = tests::RecordingTracer::Call::kCommit;
  tracer->Script(
      commit, [](char**) { return oru::sOk; }, 6);
  tracer->Script(commit, [](char**) {
    SetList({u"\\C", u"\\D", u"\\E", u""});
    return oru::sOk;
  });
  TryCorrectPendingOperations();
  ASSERT_EQ(tracer.Records().size(), 14u);
  EXPECT_EQ(tracer.Records()[3].second, kOne + " from [ \\A,\\B ]");
  EXPECT_EQ(tracer.Records()[6].first, 300u) << "the list was changed behind the attempt";
  EXPECT_EQ(tracer.Records()[10].second, kOne + " from [ \\C,\\D,\\E ]");
  EXPECT_EQ(Raw(), ListBytes({u"\\D", u"", u"\\C", u"\\D", u"\\E"}));
}

TEST_F(PendingOnHost, RecordsOfARepeat) {
  SetList({u"\\A", u"\\B"});
  host::FailCall("RegSetValueExW", 1, 5);
  TryCorrectPendingOperations();
  TraceRecords records = Records();
  ASSERT_EQ(records.size(), 14u);
  EXPECT_EQ(records[4].second, kOne + " to   [ \\B,,\\A,\\B ]");
  EXPECT_EQ(records[5].second, kOne + " end");
  EXPECT_EQ(records[6].first, 300u);
  EXPECT_EQ(records[7], Record(700, kRepeat + "try repeat execution: count 1:300"));
  EXPECT_EQ(records[8].second, kOne + " begin");
  EXPECT_EQ(records[12].second, kOne + " end");
  EXPECT_EQ(records[13].second, kTry + " end");
}

TEST_F(PendingOnHost, FailedCommitIsRolledBackAndRepeated) {
  SetList({u"\\A", u"\\B"});
  host::FailCall("CommitTransaction", 1, 6701);
  TryCorrectPendingOperations();
  EXPECT_EQ(Raw(), ListBytes({u"\\B", u"", u"\\A", u"\\B"}));
  EXPECT_EQ(Count("CreateTransaction"), 2u);
  EXPECT_EQ(Count("RegSetValueExW"), 2u) << "the first write was gone with its transaction";
  ASSERT_EQ(ErrorRecords().size(), 1u);
  const std::string text = ErrorRecords()[0];
  EXPECT_TRUE(text.starts_with(kRepeat + "ResultCodeException - System error: 0x00001a2d. "))
      << text;
  EXPECT_NE(text.find(". Expression: '::CommitTransaction(m_transaction)': 0x"), std::string::npos)
      << text;
  EXPECT_TRUE(tests::EndsAtALineOf(text, kSource)) << text;
}

TEST_F(PendingOnHost, FailureBetweenWriteAndCommitLeavesTheOldList) {
  SetList({u"\\A", u"\\B"});
  host::FailCall("CommitTransaction", 1, 6701);
  EXPECT_THROW(CorrectPendingOperations(), oru::ResultCodeException);
  EXPECT_EQ(Raw(), ListBytes({u"\\A", u"\\B"}));
}

TEST_F(PendingOnHost, PermanentFailureIs301RunsAnd300Delays) {
  SetList({u"\\A", u"\\B"});
  host::FailCall("RegSetValueExW", 1, 1450, host::Repeat::kForever);
  const auto failure = RunFailing();
  ASSERT_TRUE(failure.has_value());
  EXPECT_EQ(failure->Code(), oru::MakeResultCode(0xA1780006));
  EXPECT_STREQ(failure->File(), kSource.c_str());
  EXPECT_GT(failure->Line(), 0u);
  EXPECT_TRUE(failure->Message().empty());
  EXPECT_EQ(Raw(), ListBytes({u"\\A", u"\\B"}));
  EXPECT_EQ(Count("CreateTransaction"), 301u);
  EXPECT_EQ(Count("CommitTransaction"), 0u);
  EXPECT_EQ(Sleeps(), std::vector<winapi::Dword>(300, 100));
  // Each run's failure, and the stage's own record of the last one.
  const std::vector<std::string> errors = ErrorRecords();
  ASSERT_EQ(errors.size(), 302u);
  EXPECT_TRUE(errors[300].starts_with(kRepeat)) << errors[300];
  EXPECT_TRUE(tests::EndsAtALineOf(errors[300], kSource)) << errors[300];
  EXPECT_EQ(errors[301], kTry + errors[300].substr(kRepeat.size()));
  EXPECT_EQ(Records().back(), Record(700, kTry + " end"));
}

TEST_F(PendingOnHostOwnProcess, PermanentlyFailingCommitIs301RunsToo) {
  SetList({u"\\A", u"\\B"});
  host::HideProcedure("CommitTransaction");
  const auto failure = RunFailing();
  ASSERT_TRUE(failure.has_value());
  EXPECT_EQ(failure->Code(), oru::MakeResultCode(0xA1780006));
  EXPECT_EQ(Count("CreateTransaction"), 301u);
  EXPECT_EQ(Raw(), ListBytes({u"\\A", u"\\B"}));
  EXPECT_NE(ErrorRecords().back().find("System error: 0x0000007f"), std::string::npos);
  EXPECT_TRUE(tests::EndsAtALineOf(ErrorRecords().back(), kSource)) << ErrorRecords().back();
}

// Another transaction has written to the key and goes on living.
TEST_F(PendingOnHost, ForeignWriterIsAConflict) {
  SetList({u"\\A", u"\\B"});
  const winapi::Handle other =
      host::CreateTransaction(nullptr, nullptr, 0, 0, 0, winapi::kInfinite, nullptr);
  winapi::Key key = nullptr;
  ASSERT_EQ(host::RegOpenKeyTransactedW(winapi::HkeyLocalMachine(),
                                        u"SYSTEM\\ControlSet001\\Control\\Session Manager", 0,
                                        0x2011F, &key, other, nullptr),
            0u);
  const std::uint8_t byte = 1;
  ASSERT_EQ(winapi::RegSetValueExW(key, u"other", 0, 3, &byte, 1), 0u);
  const auto failure = RunFailing();
  ASSERT_TRUE(failure.has_value());
  EXPECT_EQ(failure->Code(), oru::MakeResultCode(0xA1780006));
  EXPECT_NE(ErrorRecords().back().find("system result code: 6800"), std::string::npos);
  EXPECT_TRUE(tests::EndsAtALineOf(ErrorRecords().back(), kSource)) << ErrorRecords().back();
  EXPECT_EQ(winapi::RegCloseKey(key), 0u);
  EXPECT_NE(winapi::CloseHandle(other), 0);
  TryCorrectPendingOperations();
  EXPECT_EQ(Raw(), ListBytes({u"\\B", u"", u"\\A", u"\\B"}));
}

TEST_F(PendingOnHost, ListOfTheSystemIsRewritten) {
  SetRaw(7, tests::PendingBytesOfTheSystem());
  TryCorrectPendingOperations();
  const std::u16string folder = u"\\??\\C:\\zum pending\\";
  EXPECT_EQ(Raw(), ListBytes({folder + u"a", u"", folder + u"b", u"", folder + u"a", folder + u"b",
                              folder + u"c", u"!" + folder + u"b", folder + u"d", folder + u"b",
                              folder + u"e"}));
}

TEST_F(PendingOnHost, LongListIsRewritten) {
  std::vector<std::u16string> list;
  std::vector<std::u16string> expected;
  for (int i = 0; i < 5000; ++i) {
    const std::string number = std::to_string(i);
    const std::u16string to = u"\\to" + std::u16string(number.begin(), number.end());
    list.insert(list.end(), {u"\\from", to});
    expected.insert(expected.end(), {to, u"", u"\\from", to});
  }
  SetList(list);
  TryCorrectPendingOperations();
  EXPECT_EQ(Raw(), ListBytes(expected));
}

TEST_F(PendingOnHost, WithoutATracerTheWorkIsTheSame) {
  const InstalledTracer silent(0);
  SetList({u"\\A", u"\\B"});
  TryCorrectPendingOperations();
  EXPECT_EQ(Raw(), ListBytes({u"\\B", u"", u"\\A", u"\\B"}));
  EXPECT_TRUE(silent.Records().empty());
}

}  // namespace
