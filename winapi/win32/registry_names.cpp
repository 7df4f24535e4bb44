#include <windows.h>

#include "winapi/registry_world.h"
#include "winapi/win32/wide.h"

namespace winapi::world {

// Of the invariant locale, so that the user's language has no say.
std::u16string FoldedName(std::u16string_view name) {
  std::u16string folded(name);
  if (!folded.empty()) {
    const auto size = static_cast<int>(folded.size());
    (void)::LCMapStringW(LOCALE_INVARIANT, LCMAP_UPPERCASE, win32::Wide(name.data()), size,
                         win32::Wide(folded.data()), size);
  }
  return folded;
}

Error ChangeFault(ChangeKind /*kind*/) noexcept { return 0; }

}  // namespace winapi::world
