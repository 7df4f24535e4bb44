#include "winapi/strings.h"

#include "winapi/host/call.h"

namespace winapi {
namespace {

char16_t Fold(char16_t unit) {
  return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit - u'A' + u'a') : unit;
}

int Order(bool less) { return less ? -1 : 1; }

int Compare(const char16_t* a, const char16_t* b) {
  for (; Fold(*a) == Fold(*b); ++a, ++b) {
    if (*a == u'\0') return 0;
  }
  return Order(Fold(*a) < Fold(*b));
}

}  // namespace

int lstrcmpiW(const char16_t* a, const char16_t* b) noexcept {
  host::Call call("lstrcmpiW");
  call.Argument("a", a).Argument("b", b);
  // Null stands before all text, as on Windows.
  if (a == nullptr || b == nullptr) return a == b ? 0 : Order(a == nullptr);
  return Compare(a, b);
}

}  // namespace winapi
