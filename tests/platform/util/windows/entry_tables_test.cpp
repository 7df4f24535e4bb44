#include "platform/util/windows/entry_tables.h"

#include <gtest/gtest.h>

#include "winapi/modules.h"

using windows_helpers::kKernel32Functions;
using windows_helpers::kNtdllFunctions;

namespace {

winapi::Procedure Find(const char16_t* module, const char* name) {
  return winapi::GetProcAddress(winapi::GetModuleHandleW(module), name);
}

// The system may lack some of them; then both sides are null.
TEST(EntryTables, NtdllFunctionsAreThoseOfTheModule) {
  EXPECT_EQ(kNtdllFunctions.NtSuspendProcess, Find(u"ntdll.dll", "NtSuspendProcess"));
  EXPECT_EQ(kNtdllFunctions.NtResumeProcess, Find(u"ntdll.dll", "NtResumeProcess"));
  EXPECT_EQ(kNtdllFunctions.NtQueryInformationProcess,
            Find(u"ntdll.dll", "NtQueryInformationProcess"));
  EXPECT_EQ(kNtdllFunctions.NtSetInformationProcess, Find(u"ntdll.dll", "NtSetInformationProcess"));
  EXPECT_EQ(kNtdllFunctions.NtQueryInformationThread,
            Find(u"ntdll.dll", "NtQueryInformationThread"));
  EXPECT_EQ(kNtdllFunctions.NtSetInformationThread, Find(u"ntdll.dll", "NtSetInformationThread"));
  EXPECT_EQ(kNtdllFunctions.RtlNtStatusToDosError, Find(u"ntdll.dll", "RtlNtStatusToDosError"));
  EXPECT_NE(kNtdllFunctions.RtlNtStatusToDosError, nullptr);
}

TEST(EntryTables, Kernel32FunctionsAreThoseOfTheModule) {
  EXPECT_EQ(kKernel32Functions.GetThreadDescription, Find(u"kernel32.dll", "GetThreadDescription"));
  EXPECT_EQ(kKernel32Functions.SetThreadDescription, Find(u"kernel32.dll", "SetThreadDescription"));
  EXPECT_EQ(kKernel32Functions.InitializeProcThreadAttributeList,
            Find(u"kernel32.dll", "InitializeProcThreadAttributeList"));
  EXPECT_EQ(kKernel32Functions.UpdateProcThreadAttribute,
            Find(u"kernel32.dll", "UpdateProcThreadAttribute"));
  EXPECT_NE(kKernel32Functions.UpdateProcThreadAttribute, nullptr);
}

}  // namespace
