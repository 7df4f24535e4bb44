// System functions that are looked up by name before the program's entry. Nothing calls through
// these tables; a function that the system lacks is null.
#ifndef PLATFORM_UTIL_WINDOWS_ENTRY_TABLES_H_
#define PLATFORM_UTIL_WINDOWS_ENTRY_TABLES_H_

#include "winapi/types.h"

namespace windows_helpers {

// Of "ntdll.dll".
struct NtdllFunctions {
  winapi::Procedure NtSuspendProcess;
  winapi::Procedure NtResumeProcess;
  winapi::Procedure NtQueryInformationProcess;
  winapi::Procedure NtSetInformationProcess;
  winapi::Procedure NtQueryInformationThread;
  winapi::Procedure NtSetInformationThread;
  winapi::Procedure RtlNtStatusToDosError;
};

// Of "kernel32.dll".
struct Kernel32Functions {
  winapi::Procedure GetThreadDescription;
  winapi::Procedure SetThreadDescription;
  winapi::Procedure InitializeProcThreadAttributeList;
  winapi::Procedure UpdateProcThreadAttribute;
};

extern const NtdllFunctions kNtdllFunctions;
extern const Kernel32Functions kKernel32Functions;

}  // namespace windows_helpers

#endif  // PLATFORM_UTIL_WINDOWS_ENTRY_TABLES_H_
