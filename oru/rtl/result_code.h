// Result codes: what they are made of, and those that the framework itself gives.
//
// A result code is a signed 32-bit value. Bit 31 is the severity (1: failure), bits 30 to 16 the
// facility, bits 15 to 0 the number within the facility. 0 and every other value without bit 31 is
// a success.
#ifndef ORU_RTL_RESULT_CODE_H_
#define ORU_RTL_RESULT_CODE_H_

#include <cstdint>

namespace oru {

using ResultCode = std::int32_t;

namespace result_facility {
// The framework's own codes, 0x8000xxxx.
inline constexpr std::uint32_t facRtl = 0;
// What the platform reports, 0x8001xxxx.
inline constexpr std::uint32_t facSystem = 1;
// Windows errors without a code of their own, 0x8007xxxx.
inline constexpr std::uint32_t facWin32 = 7;
}  // namespace result_facility

// A result code from its pattern of 32 bits, which is how the codes are written down.
[[nodiscard]] constexpr ResultCode MakeResultCode(std::uint32_t pattern) noexcept {
  return static_cast<ResultCode>(pattern);
}

inline constexpr ResultCode sOk = 0;     // "No error"
inline constexpr ResultCode sFalse = 1;  // "False"
inline constexpr ResultCode errNotSupportedInterface = MakeResultCode(0x80000001);
inline constexpr ResultCode errUnexpected = MakeResultCode(0x80000040);
inline constexpr ResultCode errOutOfMemory = MakeResultCode(0x80000041);
inline constexpr ResultCode errNotImplemented = MakeResultCode(0x80000043);
inline constexpr ResultCode errBufferTooSmall = MakeResultCode(0x80000044);
inline constexpr ResultCode errInvalidArgument = MakeResultCode(0x80000046);
inline constexpr ResultCode errNotMatched = MakeResultCode(0x8000004A);
inline constexpr ResultCode errUnspecified = MakeResultCode(0x8000004B);
inline constexpr ResultCode errInvalidSignature = MakeResultCode(0x8000005A);
inline constexpr ResultCode errInvalidType = MakeResultCode(0x8000005D);
inline constexpr ResultCode errInvalidState = MakeResultCode(0x8000006A);
inline constexpr ResultCode errUnknownException = MakeResultCode(0x80000072);
inline constexpr ResultCode errTraceLevelOk = MakeResultCode(0x80000079);
inline constexpr ResultCode errTraceLevelProhibited = MakeResultCode(0x8000007A);
inline constexpr ResultCode errPlatformUnspecified = MakeResultCode(0x80010100);
inline constexpr ResultCode errFileNotFound = MakeResultCode(0x80010102);
inline constexpr ResultCode errPathNotFound = MakeResultCode(0x80010103);
inline constexpr ResultCode errInvalidPathName = MakeResultCode(0x80010109);
inline constexpr ResultCode errWaitAbandoned = MakeResultCode(0x80010106);

}  // namespace oru

// True exactly for failures.
#define ORU_FAILED(rc) ((rc) < 0)
// The facility as an unsigned number.
#define ORU_GET_RESULT_FACILITY(rc) ((static_cast<std::uint32_t>(rc) & 0x7FFF0000u) >> 16)

#endif  // ORU_RTL_RESULT_CODE_H_
