#include "oru/rtl/error_mapping.h"

#include <algorithm>
#include <iterator>

#include "winapi/errors.h"

namespace oru {
namespace {

struct Mapping {
  std::uint32_t error;
  std::uint32_t result;
};

// Windows error numbers, in rising order.
constexpr Mapping kWin32Errors[] = {
    {0, 0x00000000},      // ERROR_SUCCESS
    {1, 0x80000042},      // ERROR_INVALID_FUNCTION
    {2, 0x80010102},      // ERROR_FILE_NOT_FOUND
    {3, 0x80010103},      // ERROR_PATH_NOT_FOUND
    {5, 0x80000045},      // ERROR_ACCESS_DENIED
    {6, 0x80010101},      // ERROR_INVALID_HANDLE
    {8, 0x80000041},      // ERROR_NOT_ENOUGH_MEMORY
    {21, 0x80000063},     // ERROR_NOT_READY
    {24, 0x8000005C},     // ERROR_BAD_LENGTH
    {31, 0x8000004B},     // ERROR_GEN_FAILURE
    {32, 0x80010104},     // ERROR_SHARING_VIOLATION
    {33, 0x80010104},     // ERROR_LOCK_VIOLATION
    {50, 0x80000042},     // ERROR_NOT_SUPPORTED
    {53, 0x80010103},     // ERROR_BAD_NETPATH
    {80, 0x80010105},     // ERROR_FILE_EXISTS
    {87, 0x80000046},     // ERROR_INVALID_PARAMETER
    {111, 0x80000044},    // ERROR_BUFFER_OVERFLOW
    {112, 0x80000062},    // ERROR_DISK_FULL
    {122, 0x80000044},    // ERROR_INSUFFICIENT_BUFFER
    {123, 0x80010109},    // ERROR_INVALID_NAME
    {126, 0x80010112},    // ERROR_MOD_NOT_FOUND
    {127, 0x80010107},    // ERROR_PROC_NOT_FOUND
    {160, 0x80000046},    // ERROR_BAD_ARGUMENTS
    {183, 0x80010105},    // ERROR_ALREADY_EXISTS
    {234, 0x80000044},    // ERROR_MORE_DATA
    {267, 0x80010103},    // ERROR_DIRECTORY
    {393, 0x80010114},    // ERROR_CLOUD_FILE_REQUEST_ABORTED
    {637, 0x80010113},    // ERROR_SYSTEM_IMAGE_BAD_SIGNATURE
    {995, 0x80000051},    // ERROR_OPERATION_ABORTED
    {1168, 0x8000004C},   // ERROR_NOT_FOUND
    {1347, 0x80010110},   // ERROR_CANT_OPEN_ANONYMOUS
    {1413, 0x8000005E},   // ERROR_INVALID_INDEX
    {1450, 0x8000006C},   // ERROR_NO_SYSTEM_RESOURCES
    {1460, 0x80000221},   // ERROR_TIMEOUT
    {1630, 0x8000005D},   // ERROR_UNSUPPORTED_TYPE
    {14001, 0x80010108},  // ERROR_SXS_CANT_GEN_ACTCTX
};

// Windows error numbers that mean something else as a status, HRESULTs and NTSTATUS values, in
// rising order.
constexpr Mapping kStatuses[] = {
    {0, 0x00000000},           // ERROR_SUCCESS
    {258, 0x80000221},         // WAIT_TIMEOUT
    {1115, 0x8000006A},        // ERROR_SHUTDOWN_IN_PROGRESS
    {1503, 0xA0160001},        // ERROR_EVENTLOG_FILE_CHANGED
    {0x80000005, 0x80000044},  // STATUS_BUFFER_OVERFLOW
    {0x8000000A, 0x80000063},  // E_PENDING
    {0x80310000, 0x8000004F},  // FVE_E_LOCKED_VOLUME
    {0x80310068, 0x8000005C},  // of the volume encryption, as the next two
    {0x80310080, 0x8000005C}, {0x803100B5, 0x80000001},
    {0xC0000008, 0x80010101},                            // STATUS_INVALID_HANDLE
    {0xC000000D, 0x80000046},                            // STATUS_INVALID_PARAMETER
    {0xC0000017, 0x80000041},                            // STATUS_NO_MEMORY
    {0xC0000022, 0x80000045},                            // STATUS_ACCESS_DENIED
    {0xC0000023, 0x80000044},                            // STATUS_BUFFER_TOO_SMALL
    {0xC0000043, 0x80010104},                            // STATUS_SHARING_VIOLATION
    {0xC0000055, 0x80010104},                            // STATUS_LOCK_NOT_GRANTED
    {0xC000007F, 0x80000062},                            // STATUS_DISK_FULL
    {0xC00000A6, 0x80010110},                            // STATUS_CANT_OPEN_ANONYMOUS
    {0xC00000BB, 0x80000042},                            // STATUS_NOT_SUPPORTED
    {0xC00002D1, 0x80010113},                            // STATUS_SYSTEM_IMAGE_BAD_SIGNATURE
    {0xC000090B, 0x80000046}, {0xC0150002, 0x80010108},  // STATUS_SXS_CANT_GEN_ACTCTX
};

static_assert(std::ranges::is_sorted(kWin32Errors, {}, &Mapping::error));
static_assert(std::ranges::is_sorted(kStatuses, {}, &Mapping::error));

const Mapping* Find(const Mapping* first, const Mapping* last, std::uint32_t error) noexcept {
  const Mapping* const found = std::ranges::lower_bound(first, last, error, {}, &Mapping::error);
  return found != last && found->error == error ? found : nullptr;
}

// An error number in the form of an HRESULT: facility 7 in the 12 bits above the number.
bool IsWrappedWin32Error(std::uint32_t error) noexcept {
  return ((error >> 16) & 0xFFF) == result_facility::facWin32;
}

}  // namespace

ResultCode Win32ErrorToResult(std::uint32_t error) noexcept {
  if (const Mapping* found = Find(std::begin(kWin32Errors), std::end(kWin32Errors), error)) {
    return MakeResultCode(found->result);
  }
  // So an error that the table doesn't know still shows its number.
  if (error < 0x10000) return MakeResultCode(error | 0x80070000);
  // Settled so: what is neither an error number nor a failure counts as a success.
  if (!ORU_FAILED(MakeResultCode(error))) return sOk;
  return IsWrappedWin32Error(error) ? Win32ErrorToResult(error & 0xFFFF) : errPlatformUnspecified;
}

ResultCode SystemErrorToResult(std::uint32_t status) noexcept {
  const Mapping* const found = Find(std::begin(kStatuses), std::end(kStatuses), status);
  return found != nullptr ? MakeResultCode(found->result) : Win32ErrorToResult(status);
}

ResultCode FailureOf(std::uint32_t error) noexcept {
  const ResultCode rc = Win32ErrorToResult(error);
  return ORU_FAILED(rc) ? rc : errUnspecified;
}

ResultCode LastFailure() noexcept { return FailureOf(winapi::GetLastError()); }

}  // namespace oru
