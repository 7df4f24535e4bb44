#include "oru/system/datetime/windows/year_function.h"

#include <atomic>
#include <cstdint>

#include "oru/rtl/check.h"
#include "winapi/modules.h"
#include "winapi/time.h"

namespace oru::datetime::detail {
namespace {

using Function = winapi::GetTimeZoneInformationForYearFunction;

// Null until the first use, then the function or NoFunction(), and so to the end. Threads that race
// at the first use store the same value.
std::atomic<Function> g_fnGetTimeZoneInformationForYear{nullptr};

// Marks that the system hasn't got the function: all bits set.
Function NoFunction() noexcept { return reinterpret_cast<Function>(std::intptr_t{-1}); }

// The function came with version 6.0, service pack 1.
bool IsFunctionExpected() noexcept {
  winapi::OsVersionInfo least{};
  least.dwOSVersionInfoSize = sizeof(least);
  least.dwMajorVersion = 6;
  least.dwMinorVersion = 0;
  least.wServicePackMajor = 1;
  std::uint64_t mask = 0;
  mask = winapi::VerSetConditionMask(mask, winapi::kVerMajorVersion, winapi::kVerGreaterEqual);
  mask = winapi::VerSetConditionMask(mask, winapi::kVerMinorVersion, winapi::kVerGreaterEqual);
  mask = winapi::VerSetConditionMask(mask, winapi::kVerServicePackMajor, winapi::kVerGreaterEqual);
  return winapi::VerifyVersionInfoW(
             &least,
             winapi::kVerMajorVersion | winapi::kVerMinorVersion | winapi::kVerServicePackMajor,
             mask) != 0;
}

Function FindFunction() noexcept {
  if (!IsFunctionExpected()) return NoFunction();
  winapi::Module kernel = nullptr;
  if (winapi::GetModuleHandleExW(winapi::kGetModuleHandleExUnchangedRefcount, u"kernel32.dll",
                                 &kernel) == 0) {
    return NoFunction();
  }
  // Without a reference: kernel32.dll stays loaded for as long as the process lives.
  const winapi::Procedure found = winapi::GetProcAddress(kernel, "GetTimeZoneInformationForYear");
  return found == nullptr ? NoFunction() : reinterpret_cast<Function>(found);
}

}  // namespace

Function YearFunction() noexcept {
  Function function = g_fnGetTimeZoneInformationForYear;
  if (function == nullptr) {
    function = FindFunction();
    g_fnGetTimeZoneInformationForYear = function;
  }
  ORU_CHECK_TEXT(nullptr != function, "nullptr != g_fnGetTimeZoneInformationForYear");
  return function != NoFunction() ? function : nullptr;
}

}  // namespace oru::datetime::detail
