// Files, directories and directory searches. Functions that report by a Boolean, a handle or a
// length give 0, InvalidHandleValue() or 0 with the last error set on failure.
#ifndef PLATFORM_WINAPI_WINAPI_FILES_H_
#define PLATFORM_WINAPI_WINAPI_FILES_H_

#include <cstdint>
#include <fstream>

#include "platform/winapi/winapi/security.h"
#include "platform/winapi/winapi/time.h"
#include "platform/winapi/winapi/types.h"

namespace winapi {

inline constexpr Dword kFileAttributeReadOnly = 0x1;         // FILE_ATTRIBUTE_READONLY
inline constexpr Dword kFileAttributeDirectory = 0x10;       // FILE_ATTRIBUTE_DIRECTORY
inline constexpr Dword kFileAttributeArchive = 0x20;         // FILE_ATTRIBUTE_ARCHIVE
inline constexpr Dword kFileAttributeReparsePoint = 0x400;   // FILE_ATTRIBUTE_REPARSE_POINT
inline constexpr Dword kInvalidFileAttributes = 0xFFFFFFFF;  // INVALID_FILE_ATTRIBUTES
inline constexpr Dword kCreateNew = 1;                       // CREATE_NEW
inline constexpr int kFindExInfoStandard = 0;                // FindExInfoStandard
inline constexpr int kFindExSearchNameMatch = 0;             // FindExSearchNameMatch
inline constexpr Error kErrorNoMoreFiles = 18;               // ERROR_NO_MORE_FILES

// WIN32_FIND_DATAW.
struct FindData {
  Dword dwFileAttributes;
  FileTime ftCreationTime;
  FileTime ftLastAccessTime;
  FileTime ftLastWriteTime;
  Dword nFileSizeHigh;
  Dword nFileSizeLow;
  Dword dwReserved0;
  Dword dwReserved1;
  char16_t cFileName[260];
  char16_t cAlternateFileName[14];
};

// Opens `stream` for output, binary, truncating, on a 16-bit path, so that other processes may open
// the file for reading and writing at the same time (not for deleting). An operation beyond
// Windows' own: the standard library has a wide overload on Windows only. On failure `stream` isn't
// open.
void OpenOutputStream(std::ofstream& stream, const char16_t* path);

// Only the form that the product uses is part of the contract: access 0, share mode 0, no security,
// kCreateNew, flags 0, no template: an empty file where there was none. 80 where the name exists, 3
// for a missing directory, 5 for a directory that refuses. CloseHandle closes it.
[[nodiscard]] Handle CreateFileW(const char16_t* path, Dword access, Dword share,
                                 const SecurityAttributes* security, Dword disposition, Dword flags,
                                 Handle templateFile) noexcept;
[[nodiscard]] Bool CopyFileW(const char16_t* from, const char16_t* to, Bool failIfExists) noexcept;
[[nodiscard]] Bool DeleteFileW(const char16_t* path) noexcept;
// One directory. The host keeps the descriptor for a test to read back, and gives the directory
// mode 0700.
[[nodiscard]] Bool CreateDirectoryW(const char16_t* path,
                                    const SecurityAttributes* security) noexcept;
[[nodiscard]] Bool RemoveDirectoryW(const char16_t* path) noexcept;
// kInvalidFileAttributes on failure. A symbolic link of the host shows as a reparse point, with the
// directory bit where it leads to a directory.
[[nodiscard]] Dword GetFileAttributesW(const char16_t* path) noexcept;

// A search in one directory: `pattern` is a path whose last component may have wildcards. "." and
// ".." are among the entries. Only level, search and flags of the constants above and a null
// filter.
[[nodiscard]] Handle FindFirstFileExW(const char16_t* pattern, int level, FindData* data,
                                      int search, void* filter, Dword flags) noexcept;
// 0 with last error 18 behind the last entry.
[[nodiscard]] Bool FindNextFileW(Handle search, FindData* data) noexcept;
[[nodiscard]] Bool FindClose(Handle search) noexcept;

// The following give a length in characters without the terminator, or, where the buffer of `size`
// characters is too small, the size needed with it.

// `filePart` may be null. An empty path gives 0 and sets no last error.
[[nodiscard]] Dword GetFullPathNameW(const char16_t* path, Dword size, char16_t* buffer,
                                     char16_t** filePart) noexcept;
// Without a trailing separator but for a root.
[[nodiscard]] Dword GetCurrentDirectoryW(Dword size, char16_t* buffer) noexcept;
// With a trailing separator.
[[nodiscard]] Dword GetTempPathW(Dword size, char16_t* buffer) noexcept;
// Without a trailing separator.
[[nodiscard]] Dword GetSystemDirectoryW(char16_t* buffer, Dword size) noexcept;

}  // namespace winapi

#endif  // PLATFORM_WINAPI_WINAPI_FILES_H_
