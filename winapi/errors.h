// The last error of the calling thread and the system's texts for error numbers.
#ifndef WINAPI_ERRORS_H_
#define WINAPI_ERRORS_H_

#include <cstddef>

#include "winapi/types.h"

namespace winapi {

inline constexpr Error kErrorSuccess = 0;               // ERROR_SUCCESS
inline constexpr Error kErrorFileNotFound = 2;          // ERROR_FILE_NOT_FOUND
inline constexpr Error kErrorPathNotFound = 3;          // ERROR_PATH_NOT_FOUND
inline constexpr Error kErrorTooManyOpenFiles = 4;      // ERROR_TOO_MANY_OPEN_FILES
inline constexpr Error kErrorAccessDenied = 5;          // ERROR_ACCESS_DENIED
inline constexpr Error kErrorInvalidHandle = 6;         // ERROR_INVALID_HANDLE
inline constexpr Error kErrorNotEnoughMemory = 8;       // ERROR_NOT_ENOUGH_MEMORY
inline constexpr Error kErrorNoMoreFiles = 18;          // ERROR_NO_MORE_FILES
inline constexpr Error kErrorWriteProtect = 19;         // ERROR_WRITE_PROTECT
inline constexpr Error kErrorGenFailure = 31;           // ERROR_GEN_FAILURE
inline constexpr Error kErrorSharingViolation = 32;     // ERROR_SHARING_VIOLATION
inline constexpr Error kErrorFileExists = 80;           // ERROR_FILE_EXISTS
inline constexpr Error kErrorInvalidParameter = 87;     // ERROR_INVALID_PARAMETER
inline constexpr Error kErrorDiskFull = 112;            // ERROR_DISK_FULL
inline constexpr Error kErrorInsufficientBuffer = 122;  // ERROR_INSUFFICIENT_BUFFER
inline constexpr Error kErrorInvalidName = 123;         // ERROR_INVALID_NAME
inline constexpr Error kErrorModuleNotFound = 126;      // ERROR_MOD_NOT_FOUND
inline constexpr Error kErrorProcedureNotFound = 127;   // ERROR_PROC_NOT_FOUND
inline constexpr Error kErrorDirectoryNotEmpty = 145;   // ERROR_DIR_NOT_EMPTY
inline constexpr Error kErrorBadPathname = 161;         // ERROR_BAD_PATHNAME
inline constexpr Error kErrorAlreadyExists = 183;       // ERROR_ALREADY_EXISTS
inline constexpr Error kErrorFilenameTooLong = 206;     // ERROR_FILENAME_EXCED_RANGE
inline constexpr Error kErrorMoreData = 234;            // ERROR_MORE_DATA
inline constexpr Error kErrorNoMoreItems = 259;         // ERROR_NO_MORE_ITEMS
inline constexpr Error kErrorNotADirectory = 267;       // ERROR_DIRECTORY
inline constexpr Error kErrorMessageIdNotFound = 317;   // ERROR_MR_MID_NOT_FOUND
inline constexpr Error kErrorNoAccess = 998;            // ERROR_NOACCESS
inline constexpr Error kErrorBadDatabase = 1009;        // ERROR_BADDB
inline constexpr Error kErrorKeyDeleted = 1018;         // ERROR_KEY_DELETED
inline constexpr Error kErrorOldWinVersion = 1150;      // ERROR_OLD_WIN_VERSION
inline constexpr Error kErrorUnknownRevision = 1305;    // ERROR_UNKNOWN_REVISION
inline constexpr Error kErrorRevisionMismatch = 1306;   // ERROR_REVISION_MISMATCH
inline constexpr Error kErrorInvalidAcl = 1336;         // ERROR_INVALID_ACL
inline constexpr Error kErrorInvalidSid = 1337;         // ERROR_INVALID_SID
inline constexpr Error kErrorInvalidDescriptor = 1338;  // ERROR_INVALID_SECURITY_DESCR
inline constexpr Error kErrorNoSpaceInAcl = 1344;       // ERROR_ALLOTTED_SPACE_EXCEEDED
inline constexpr Error kErrorDatatypeMismatch = 1629;   // ERROR_DATATYPE_MISMATCH
inline constexpr Error kErrorCantResolveName = 1921;    // ERROR_CANT_RESOLVE_FILENAME

// The calling thread's last error. Each thread has its own; a new thread starts with 0.
[[nodiscard]] Error GetLastError() noexcept;
void SetLastError(Error error) noexcept;

inline constexpr Dword kFormatMessageAllocateBuffer = 0x0100;  // FORMAT_MESSAGE_ALLOCATE_BUFFER
inline constexpr Dword kFormatMessageIgnoreInserts = 0x0200;   // FORMAT_MESSAGE_IGNORE_INSERTS
inline constexpr Dword kFormatMessageFromSystem = 0x1000;      // FORMAT_MESSAGE_FROM_SYSTEM

// The system's text for `messageId`, in a buffer that FormatMessageW makes and LocalFree releases;
// the address of the buffer goes to `*buffer`. Only the use with the three flags above, a null
// source, size 0 and no arguments is part of the contract. Gives the number of characters without
// the terminator, or 0 with the last error set (317 for a number without a text); `*buffer` is then
// null or untouched. The host knows Windows' English texts of the errors that the tool can meet,
// under the languages 0, 9, 1024 and 1033; another language gives 1815.
[[nodiscard]] Dword FormatMessageW(Dword flags, const void* source, Dword messageId,
                                   Dword languageId, char16_t** buffer, Dword size,
                                   void* arguments) noexcept;

inline constexpr Dword kLmemFixed = 0;  // LMEM_FIXED

// A block of `bytes` bytes, aligned to 8 on the 32-bit target, whose content isn't settled. Null
// with last error 8 on failure. Only kLmemFixed is part of the contract.
[[nodiscard]] void* LocalAlloc(Dword flags, std::size_t bytes) noexcept;

// Releases a block of LocalAlloc or FormatMessageW. Gives null on success, else `memory` with the
// last error set. Null is accepted and gives null.
void* LocalFree(void* memory) noexcept;

}  // namespace winapi

#endif  // WINAPI_ERRORS_H_
