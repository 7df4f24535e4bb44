// The one branch of the registry that the checks use without asking. Whoever finds it there may
// delete it: what it holds is of no use when no check runs.
#ifndef TESTS_WINDOWS_CHECK_SCRATCH_KEY_H_
#define TESTS_WINDOWS_CHECK_SCRATCH_KEY_H_

namespace windows_check {

// Below HKEY_CURRENT_USER.
inline constexpr wchar_t kScratchKey[] = L"Software\\ZumWindowsCheck";
// What a confined program has in the place of HKEY_LOCAL_MACHINE.
inline constexpr wchar_t kConfinedKey[] = L"Software\\ZumWindowsCheck\\Machine";

}  // namespace windows_check

#endif  // TESTS_WINDOWS_CHECK_SCRATCH_KEY_H_
