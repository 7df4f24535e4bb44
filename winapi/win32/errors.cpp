#include "winapi/errors.h"

#include <windows.h>

#include "winapi/win32/wide.h"

namespace winapi {

static_assert(kErrorSuccess == ERROR_SUCCESS);
static_assert(kErrorFileNotFound == ERROR_FILE_NOT_FOUND);
static_assert(kErrorPathNotFound == ERROR_PATH_NOT_FOUND);
static_assert(kErrorTooManyOpenFiles == ERROR_TOO_MANY_OPEN_FILES);
static_assert(kErrorAccessDenied == ERROR_ACCESS_DENIED);
static_assert(kErrorInvalidHandle == ERROR_INVALID_HANDLE);
static_assert(kErrorNotEnoughMemory == ERROR_NOT_ENOUGH_MEMORY);
static_assert(kErrorNoMoreFiles == ERROR_NO_MORE_FILES);
static_assert(kErrorWriteProtect == ERROR_WRITE_PROTECT);
static_assert(kErrorGenFailure == ERROR_GEN_FAILURE);
static_assert(kErrorSharingViolation == ERROR_SHARING_VIOLATION);
static_assert(kErrorFileExists == ERROR_FILE_EXISTS);
static_assert(kErrorInvalidParameter == ERROR_INVALID_PARAMETER);
static_assert(kErrorDiskFull == ERROR_DISK_FULL);
static_assert(kErrorInsufficientBuffer == ERROR_INSUFFICIENT_BUFFER);
static_assert(kErrorInvalidName == ERROR_INVALID_NAME);
static_assert(kErrorModuleNotFound == ERROR_MOD_NOT_FOUND);
static_assert(kErrorProcedureNotFound == ERROR_PROC_NOT_FOUND);
static_assert(kErrorDirectoryNotEmpty == ERROR_DIR_NOT_EMPTY);
static_assert(kErrorBadPathname == ERROR_BAD_PATHNAME);
static_assert(kErrorAlreadyExists == ERROR_ALREADY_EXISTS);
static_assert(kErrorFilenameTooLong == ERROR_FILENAME_EXCED_RANGE);
static_assert(kErrorMoreData == ERROR_MORE_DATA);
static_assert(kErrorNoMoreItems == ERROR_NO_MORE_ITEMS);
static_assert(kErrorNotADirectory == ERROR_DIRECTORY);
static_assert(kErrorMessageIdNotFound == ERROR_MR_MID_NOT_FOUND);
static_assert(kErrorNoAccess == ERROR_NOACCESS);
static_assert(kErrorBadDatabase == ERROR_BADDB);
static_assert(kErrorKeyDeleted == ERROR_KEY_DELETED);
static_assert(kErrorOldWinVersion == ERROR_OLD_WIN_VERSION);
static_assert(kErrorUnknownRevision == ERROR_UNKNOWN_REVISION);
static_assert(kErrorRevisionMismatch == ERROR_REVISION_MISMATCH);
static_assert(kErrorInvalidAcl == ERROR_INVALID_ACL);
static_assert(kErrorInvalidSid == ERROR_INVALID_SID);
static_assert(kErrorInvalidDescriptor == ERROR_INVALID_SECURITY_DESCR);
static_assert(kErrorNoSpaceInAcl == ERROR_ALLOTTED_SPACE_EXCEEDED);
static_assert(kErrorDatatypeMismatch == ERROR_DATATYPE_MISMATCH);
static_assert(kErrorCantResolveName == ERROR_CANT_RESOLVE_FILENAME);

static_assert(kFormatMessageAllocateBuffer == FORMAT_MESSAGE_ALLOCATE_BUFFER);
static_assert(kFormatMessageIgnoreInserts == FORMAT_MESSAGE_IGNORE_INSERTS);
static_assert(kFormatMessageFromSystem == FORMAT_MESSAGE_FROM_SYSTEM);
static_assert(kLmemFixed == LMEM_FIXED);

Error GetLastError() noexcept { return ::GetLastError(); }

void SetLastError(Error error) noexcept { ::SetLastError(error); }

Dword FormatMessageW(Dword flags, const void* source, Dword messageId, Dword languageId,
                     char16_t** buffer, Dword size, void* arguments) noexcept {
  // With the flag for an allocated buffer the parameter is the address of a pointer, whatever its
  // type says.
  return ::FormatMessageW(flags, source, messageId, languageId, reinterpret_cast<wchar_t*>(buffer),
                          size, static_cast<va_list*>(arguments));
}

void* LocalAlloc(Dword flags, std::size_t bytes) noexcept { return ::LocalAlloc(flags, bytes); }

void* LocalFree(void* memory) noexcept { return ::LocalFree(memory); }

}  // namespace winapi
