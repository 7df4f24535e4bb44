// Files, directories and directory searches. Functions that report by a Boolean, a handle or a
// length give 0, InvalidHandleValue() or 0 with the last error set on failure; what the last
// error is after a success isn't settled.
//
// Errors that all operations on paths share: 2 for a missing file, 3 for a missing directory on the
// way to it, an empty path, a missing drive, or a path of 260 characters and more (the terminator
// isn't counted: 259 pass) without the prefix "\\?\", 123 for a name with a character that none may
// have or of more than 255, 5 where access is denied, 32 for a file that somebody holds open and
// doesn't share so. A file that was deleted while a handle of it was open keeps its name until the
// last one is closed, and nothing can be done with the name then (5); its directory isn't empty.
// (Windows 10 takes the name away at once.)
//
// Full stops and blanks at the very end of a path fall away. Inside a path they belong to the
// names, but for one full stop that stands alone at a name's end.
//
// The host leaves out shares, devices, streams, short names and the access lists of files, and it
// knows of files that other processes hold open only what a test says.
#ifndef WINAPI_FILES_H_
#define WINAPI_FILES_H_

#include <fstream>

#include "winapi/security.h"
#include "winapi/time.h"
#include "winapi/types.h"

namespace winapi {

inline constexpr Dword kMaxPath = 260;                       // MAX_PATH, with the terminator
inline constexpr Dword kFileAttributeReadOnly = 0x1;         // FILE_ATTRIBUTE_READONLY
inline constexpr Dword kFileAttributeDirectory = 0x10;       // FILE_ATTRIBUTE_DIRECTORY
inline constexpr Dword kFileAttributeArchive = 0x20;         // FILE_ATTRIBUTE_ARCHIVE
inline constexpr Dword kFileAttributeReparsePoint = 0x400;   // FILE_ATTRIBUTE_REPARSE_POINT
inline constexpr Dword kInvalidFileAttributes = 0xFFFFFFFF;  // INVALID_FILE_ATTRIBUTES
inline constexpr Dword kCreateNew = 1;                       // CREATE_NEW
inline constexpr int kFindExInfoStandard = 0;                // FindExInfoStandard
inline constexpr int kFindExSearchNameMatch = 0;             // FindExSearchNameMatch

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
  char16_t cFileName[kMaxPath];
  char16_t cAlternateFileName[14];
};

// Opens `stream` for output, binary, truncating, on a 16-bit path, so that other processes may open
// the file for reading and writing at the same time (not for deleting, which the host allows: it
// doesn't learn when a stream is closed). An operation beyond Windows' own: the standard library
// has a wide overload on Windows only. On failure `stream` isn't open.
void OpenOutputStream(std::ofstream& stream, const char16_t* path);

// Only the form that the product uses is part of the contract: access 0, share mode 0, no security,
// kCreateNew, flags 0, no template: an empty file where there was none. 80 where the name exists, a
// directory's included, 123 for a path that ends in a separator. CloseHandle closes it; the handle
// keeps nobody from copying or deleting the file.
[[nodiscard]] Handle CreateFileW(const char16_t* path, Dword access, Dword share,
                                 const SecurityAttributes* security, Dword disposition, Dword flags,
                                 Handle templateFile) noexcept;
// Content, time of the last write and the read-only attribute; an older file at `to` is replaced
// unless `failIfExists` (80). 5 where one of the two is a directory or `to` is read-only, 32 for a
// copy onto itself.
[[nodiscard]] Bool CopyFileW(const char16_t* from, const char16_t* to, Bool failIfExists) noexcept;
// 5 for a directory and for a read-only file, 123 for a path that ends in a separator. Of a link
// only the link goes.
[[nodiscard]] Bool DeleteFileW(const char16_t* path) noexcept;
// One directory. 183 where the name exists, 206 for a path of 248 characters and more without the
// prefix (the terminator isn't counted: 247 pass), 1305 and the like for a damaged descriptor. The
// host keeps the descriptor for a test to read back, in its absolute form only, and gives the
// directory mode 0700 then; it refuses attributes of another size than kSecurityAttributesSize
// (87), at which Windows doesn't look.
[[nodiscard]] Bool CreateDirectoryW(const char16_t* path,
                                    const SecurityAttributes* security) noexcept;
// An empty directory, or a link to one, of which only the link goes. 145 for one that isn't empty,
// 267 for a file, 32 for the current directory and for one with an open search, one for a single
// name and one at its end included (Wine lets go of these two).
[[nodiscard]] Bool RemoveDirectoryW(const char16_t* path) noexcept;
// kInvalidFileAttributes on failure. A symbolic link of the host shows as a reparse point, with the
// directory bit where it leads to a directory; a file without the write bit of its owner is
// read-only.
[[nodiscard]] Dword GetFileAttributesW(const char16_t* path) noexcept;

// A search in one directory: `pattern` is a path whose last component may have wildcards. "." and
// ".." come first, but for a drive's root, which has none; the order of the others isn't settled,
// and whether files that come or go meanwhile are given isn't either. Only level, search and flags
// of the constants above and a null filter. 2 where nothing matches, 267 where a file stands in the
// directory's place. The host gives the time of the last write as that of the creation too.
[[nodiscard]] Handle FindFirstFileExW(const char16_t* pattern, int level, FindData* data,
                                      int search, void* filter, Dword flags) noexcept;
// 0 with last error 18 behind the last entry.
[[nodiscard]] Bool FindNextFileW(Handle search, FindData* data) noexcept;
// Ends a search, which CloseHandle doesn't. 6 for a handle of none, one that was closed included.
[[nodiscard]] Bool FindClose(Handle search) noexcept;

// The following give a length in characters without the terminator, or, where the buffer of `size`
// characters is too small, the size needed with it.

// `filePart` may be null. An empty path and one of blanks give 0 with 123 (Wine leaves the last
// error as it was).
[[nodiscard]] Dword GetFullPathNameW(const char16_t* path, Dword size, char16_t* buffer,
                                     char16_t** filePart) noexcept;
// Without a trailing separator but for a root.
[[nodiscard]] Dword GetCurrentDirectoryW(Dword size, char16_t* buffer) noexcept;
// With a trailing separator. On success the rest of the buffer becomes zero. The directory that TMP
// names, else TEMP, else the user's own; nothing is made, so it may be missing. The host takes only
// variables that lie on C:.
[[nodiscard]] Dword GetTempPathW(Dword size, char16_t* buffer) noexcept;
// Without a trailing separator.
[[nodiscard]] Dword GetSystemDirectoryW(char16_t* buffer, Dword size) noexcept;

}  // namespace winapi

#endif  // WINAPI_FILES_H_
