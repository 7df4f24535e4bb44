// What system this is, and what rights the checks have on it.
#ifndef TESTS_WINDOWS_CHECK_THIS_MACHINE_H_
#define TESTS_WINDOWS_CHECK_THIS_MACHINE_H_

#include <string>

namespace windows_check {

[[nodiscard]] bool UnderWine();
// "Windows 10.0.19045, 64-bit" or "Wine 8.0, as Windows 6.1.7601, 64-bit".
[[nodiscard]] std::string SystemName();
// Whether the process is elevated.
[[nodiscard]] bool IsAdministrator();
// Such as S-1-5-21-...-1001 and S-1-16-8192 (medium); empty where the token doesn't tell.
[[nodiscard]] std::wstring UserSid();
[[nodiscard]] std::wstring IntegritySid();
// The folder of this program, without a separator at the end.
[[nodiscard]] std::wstring ProgramFolder();
[[nodiscard]] std::wstring SystemFolder();

}  // namespace windows_check

#endif  // TESTS_WINDOWS_CHECK_THIS_MACHINE_H_
