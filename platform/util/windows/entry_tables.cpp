#include "platform/util/windows/entry_tables.h"

#include "oru/rtl/check.h"
#include "winapi/modules.h"

namespace windows_helpers {
namespace {

winapi::Module FindModule(const char16_t* name) noexcept {
  const winapi::Module module = winapi::GetModuleHandleW(name);
  // Before the program's entry, so nobody has armed a handler yet; the two modules are in every
  // process of the system.
  ORU_CHECK_RESULT(module != nullptr);
  return module;
}

// The look-ups are made in the order of the members: initialisers of a list are evaluated left to
// right.
NtdllFunctions FindNtdllFunctions() noexcept {
  const winapi::Module ntdll = FindModule(u"ntdll.dll");
  return {winapi::GetProcAddress(ntdll, "NtSuspendProcess"),
          winapi::GetProcAddress(ntdll, "NtResumeProcess"),
          winapi::GetProcAddress(ntdll, "NtQueryInformationProcess"),
          winapi::GetProcAddress(ntdll, "NtSetInformationProcess"),
          winapi::GetProcAddress(ntdll, "NtQueryInformationThread"),
          winapi::GetProcAddress(ntdll, "NtSetInformationThread"),
          winapi::GetProcAddress(ntdll, "RtlNtStatusToDosError")};
}

Kernel32Functions FindKernel32Functions() noexcept {
  const winapi::Module kernel32 = FindModule(u"kernel32.dll");
  return {winapi::GetProcAddress(kernel32, "GetThreadDescription"),
          winapi::GetProcAddress(kernel32, "SetThreadDescription"),
          winapi::GetProcAddress(kernel32, "InitializeProcThreadAttributeList"),
          winapi::GetProcAddress(kernel32, "UpdateProcThreadAttribute")};
}

}  // namespace

const NtdllFunctions kNtdllFunctions = FindNtdllFunctions();
const Kernel32Functions kKernel32Functions = FindKernel32Functions();

}  // namespace windows_helpers
