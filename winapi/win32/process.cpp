#include "winapi/process.h"

#include <windows.h>

namespace winapi {

const char16_t* GetCommandLineW() noexcept {
  return reinterpret_cast<const char16_t*>(::GetCommandLineW());
}

Dword GetCurrentProcessId() noexcept { return ::GetCurrentProcessId(); }

Dword GetCurrentThreadId() noexcept { return ::GetCurrentThreadId(); }

int ProcessExitStatus(std::int32_t code) noexcept { return code; }

}  // namespace winapi
