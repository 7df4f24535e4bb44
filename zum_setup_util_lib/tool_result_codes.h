// The tool's own result codes, and the lookup of texts that knows them.
#ifndef ZUM_SETUP_UTIL_LIB_TOOL_RESULT_CODES_H_
#define ZUM_SETUP_UTIL_LIB_TOOL_RESULT_CODES_H_

#include <cstdint>

#include "oru/rtl/result_code.h"
#include "oru/rtl/string.h"

namespace correct_setup {

// The facility of the tool's codes, 0xA178xxxx.
inline constexpr std::uint32_t ToolResultFacility = 0x2178;

// Each is thrown from one place, which is named beside it. The number 2 is unassigned.
inline constexpr oru::ResultCode rcInvalidSelfDefense =
    oru::MakeResultCode(0xA1780001);  // CheckSelfDefense
inline constexpr oru::ResultCode rcDisableUpgradeFailed =
    oru::MakeResultCode(0xA1780003);  // DisableProtectiveMeasuresUpgrade
inline constexpr oru::ResultCode rcSilentArgumentMissing =
    oru::MakeResultCode(0xA1780004);  // CheckSilentArguments
inline constexpr oru::ResultCode rcLaunchPackageFailed =
    oru::MakeResultCode(0xA1780005);  // LaunchMsiPackage
inline constexpr oru::ResultCode rcPendingCorrectionFailed =
    oru::MakeResultCode(0xA1780006);  // TryCorrectPendingOperations
inline constexpr oru::ResultCode rcSignatureCheckFailed =
    oru::MakeResultCode(0xA1780007);  // CheckVerisignSignature
inline constexpr oru::ResultCode rcDropFilesFailed = oru::MakeResultCode(0xA1780008);  // DropFiles
inline constexpr oru::ResultCode rcArgumentNotAllowed =
    oru::MakeResultCode(0xA1780009);  // CheckAllowList
inline constexpr oru::ResultCode rcOperationInvalid =
    oru::MakeResultCode(0xA178000A);  // CreateCommandMsi
inline constexpr oru::ResultCode rcGuidSyntaxInvalid =
    oru::MakeResultCode(0xA178000B);  // CheckGuidSyntax

// The text that a user reads for `rc`: of the tool's facility by the exact 32-bit value, of all
// others as oru::GetFrameworkResultText has it; never empty. Throws std::bad_alloc when memory runs
// out, std::bad_cast when the conversion fails otherwise.
[[nodiscard]] oru::String16 GetResultText(oru::ResultCode rc);

}  // namespace correct_setup

#endif  // ZUM_SETUP_UTIL_LIB_TOOL_RESULT_CODES_H_
