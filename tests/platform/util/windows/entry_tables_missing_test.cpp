// The entry tables on a system that lacks a module and a function. Both are hidden before the
// tables fill themselves, so this is a program of its own.
#include <gtest/gtest.h>

#include "platform/util/windows/entry_tables.h"
#include "tests/support/checks.h"
#include "winapi/host/control.h"

namespace {

using windows_helpers::kKernel32Functions;
using windows_helpers::kNtdllFunctions;

struct LackingSystem {
  LackingSystem() {
    tests::ArmCheckRecorder();
    winapi::host::HideModule("ntdll.dll");
    winapi::host::HideProcedure("SetThreadDescription");
  }
};
// In front of the tables' initialisers, which have no priority.
LackingSystem lackingSystem __attribute__((init_priority(150)));

TEST(EntryTablesOnALackingSystemOwnProcess, MissingModuleIsReportedOnceAndGivesNulls) {
  EXPECT_EQ(tests::ReportedChecks(), std::vector<std::string>{"expressionResult"});
  EXPECT_EQ(kNtdllFunctions.NtSuspendProcess, nullptr);
  EXPECT_EQ(kNtdllFunctions.NtResumeProcess, nullptr);
  EXPECT_EQ(kNtdllFunctions.NtQueryInformationProcess, nullptr);
  EXPECT_EQ(kNtdllFunctions.NtSetInformationProcess, nullptr);
  EXPECT_EQ(kNtdllFunctions.NtQueryInformationThread, nullptr);
  EXPECT_EQ(kNtdllFunctions.NtSetInformationThread, nullptr);
  EXPECT_EQ(kNtdllFunctions.RtlNtStatusToDosError, nullptr);
}

TEST(EntryTablesOnALackingSystemOwnProcess, MissingFunctionIsNullAloneAndNotReported) {
  EXPECT_NE(kKernel32Functions.GetThreadDescription, nullptr);
  EXPECT_EQ(kKernel32Functions.SetThreadDescription, nullptr);
  EXPECT_NE(kKernel32Functions.InitializeProcThreadAttributeList, nullptr);
  EXPECT_NE(kKernel32Functions.UpdateProcThreadAttribute, nullptr);
  EXPECT_EQ(tests::ReportedChecks().size(), 1u) << "that of the module";
}

}  // namespace
