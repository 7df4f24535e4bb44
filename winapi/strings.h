// Comparison of text by the system's rules.
#ifndef WINAPI_STRINGS_H_
#define WINAPI_STRINGS_H_

namespace winapi {

// Negative, 0 or positive, without regard to case, up to the first zero. The real systems compare
// by weights and pass over characters without one, such as U+00AD; the host folds ASCII letters and
// compares unit by unit.
[[nodiscard]] int lstrcmpiW(const char16_t* a, const char16_t* b) noexcept;

}  // namespace winapi

#endif  // WINAPI_STRINGS_H_
