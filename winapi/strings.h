// Comparison of text by the system's rules.
#ifndef WINAPI_STRINGS_H_
#define WINAPI_STRINGS_H_

namespace winapi {

// Negative, 0 or positive, without regard to case, up to the first zero. The host folds ASCII
// letters.
[[nodiscard]] int lstrcmpiW(const char16_t* a, const char16_t* b) noexcept;

}  // namespace winapi

#endif  // WINAPI_STRINGS_H_
