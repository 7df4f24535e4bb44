#include "winapi/strings.h"

#include "winapi/win32/wide.h"

namespace winapi {

int lstrcmpiW(const char16_t* a, const char16_t* b) noexcept {
  return ::lstrcmpiW(win32::Wide(a), win32::Wide(b));
}

}  // namespace winapi
