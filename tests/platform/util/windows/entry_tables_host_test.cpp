// The look-ups of the entry tables, as the host's log has them from before the entry.
#include <gtest/gtest.h>

#include "platform/util/windows/entry_tables.h"
#include "winapi/host/control.h"

namespace host = winapi::host;

namespace {

using Names = std::vector<std::string>;

// "GetModuleHandleW ntdll.dll" and so on, of the calls before the entry.
Names LookUps() {
  Names names;
  for (const host::CallRecord& call : host::CallLog()) {
    if (call.operation == "GetModuleHandleW" || call.operation == "GetProcAddress") {
      names.push_back(call.operation + " " + call.Argument("name"));
    }
  }
  return names;
}

TEST(EntryTablesOnHostOwnProcess, ElevenLookUpsAreMadeInOrderBeforeTheEntry) {
  EXPECT_EQ(host::CallsOf("GetProcAddress").size(), 11u);
  EXPECT_EQ(
      LookUps(),
      (Names{"GetModuleHandleW ntdll.dll", "GetProcAddress NtSuspendProcess",
             "GetProcAddress NtResumeProcess", "GetProcAddress NtQueryInformationProcess",
             "GetProcAddress NtSetInformationProcess", "GetProcAddress NtQueryInformationThread",
             "GetProcAddress NtSetInformationThread", "GetProcAddress RtlNtStatusToDosError",
             "GetModuleHandleW kernel32.dll", "GetProcAddress GetThreadDescription",
             "GetProcAddress SetThreadDescription",
             "GetProcAddress InitializeProcThreadAttributeList",
             "GetProcAddress UpdateProcThreadAttribute"}));
}

TEST(EntryTablesOnHost, NoTwoEntriesAreTheSame) {
  using windows_helpers::kKernel32Functions;
  using windows_helpers::kNtdllFunctions;
  std::vector<winapi::Procedure> entries = {kNtdllFunctions.NtSuspendProcess,
                                            kNtdllFunctions.NtResumeProcess,
                                            kNtdllFunctions.NtQueryInformationProcess,
                                            kNtdllFunctions.NtSetInformationProcess,
                                            kNtdllFunctions.NtQueryInformationThread,
                                            kNtdllFunctions.NtSetInformationThread,
                                            kNtdllFunctions.RtlNtStatusToDosError,
                                            kKernel32Functions.GetThreadDescription,
                                            kKernel32Functions.SetThreadDescription,
                                            kKernel32Functions.InitializeProcThreadAttributeList,
                                            kKernel32Functions.UpdateProcThreadAttribute};
  std::sort(entries.begin(), entries.end());
  EXPECT_EQ(std::adjacent_find(entries.begin(), entries.end()), entries.end());
  EXPECT_NE(entries.front(), nullptr);
}

}  // namespace
