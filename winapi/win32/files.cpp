#include "winapi/files.h"

#include <windows.h>

#include <cstddef>

#include "winapi/win32/wide.h"

namespace winapi {

static_assert(kMaxPath == MAX_PATH);
static_assert(kFileAttributeReadOnly == FILE_ATTRIBUTE_READONLY);
static_assert(kFileAttributeDirectory == FILE_ATTRIBUTE_DIRECTORY);
static_assert(kFileAttributeArchive == FILE_ATTRIBUTE_ARCHIVE);
static_assert(kFileAttributeReparsePoint == FILE_ATTRIBUTE_REPARSE_POINT);
static_assert(kInvalidFileAttributes == INVALID_FILE_ATTRIBUTES);
static_assert(kCreateNew == CREATE_NEW);
static_assert(kFindExInfoStandard == FindExInfoStandard);
static_assert(kFindExSearchNameMatch == FindExSearchNameMatch);

static_assert(sizeof(FindData) == sizeof(WIN32_FIND_DATAW));
static_assert(offsetof(FindData, dwFileAttributes) == offsetof(WIN32_FIND_DATAW, dwFileAttributes));
static_assert(offsetof(FindData, ftCreationTime) == offsetof(WIN32_FIND_DATAW, ftCreationTime));
static_assert(offsetof(FindData, ftLastAccessTime) == offsetof(WIN32_FIND_DATAW, ftLastAccessTime));
static_assert(offsetof(FindData, ftLastWriteTime) == offsetof(WIN32_FIND_DATAW, ftLastWriteTime));
static_assert(offsetof(FindData, nFileSizeHigh) == offsetof(WIN32_FIND_DATAW, nFileSizeHigh));
static_assert(offsetof(FindData, nFileSizeLow) == offsetof(WIN32_FIND_DATAW, nFileSizeLow));
static_assert(offsetof(FindData, dwReserved0) == offsetof(WIN32_FIND_DATAW, dwReserved0));
static_assert(offsetof(FindData, dwReserved1) == offsetof(WIN32_FIND_DATAW, dwReserved1));
static_assert(offsetof(FindData, cFileName) == offsetof(WIN32_FIND_DATAW, cFileName));
static_assert(offsetof(FindData, cAlternateFileName) ==
              offsetof(WIN32_FIND_DATAW, cAlternateFileName));

static_assert(sizeof(SecurityAttributes) == sizeof(SECURITY_ATTRIBUTES));
static_assert(offsetof(SecurityAttributes, nLength) == offsetof(SECURITY_ATTRIBUTES, nLength));
static_assert(offsetof(SecurityAttributes, lpSecurityDescriptor) ==
              offsetof(SECURITY_ATTRIBUTES, lpSecurityDescriptor));
static_assert(offsetof(SecurityAttributes, bInheritHandle) ==
              offsetof(SECURITY_ATTRIBUTES, bInheritHandle));

// The C runtime below the stream opens with sharing for reading and writing.
void OpenOutputStream(std::ofstream& stream, const char16_t* path) {
  stream.open(win32::Wide(path), std::ios::out | std::ios::binary | std::ios::trunc);
}

Handle CreateFileW(const char16_t* path, Dword access, Dword share,
                   const SecurityAttributes* security, Dword disposition, Dword flags,
                   Handle templateFile) noexcept {
  return ::CreateFileW(win32::Wide(path), access, share, win32::Wide(security), disposition, flags,
                       templateFile);
}

Bool CopyFileW(const char16_t* from, const char16_t* to, Bool failIfExists) noexcept {
  return ::CopyFileW(win32::Wide(from), win32::Wide(to), failIfExists);
}

Bool DeleteFileW(const char16_t* path) noexcept { return ::DeleteFileW(win32::Wide(path)); }

Bool CreateDirectoryW(const char16_t* path, const SecurityAttributes* security) noexcept {
  return ::CreateDirectoryW(win32::Wide(path), win32::Wide(security));
}

Bool RemoveDirectoryW(const char16_t* path) noexcept {
  return ::RemoveDirectoryW(win32::Wide(path));
}

Dword GetFileAttributesW(const char16_t* path) noexcept {
  return ::GetFileAttributesW(win32::Wide(path));
}

Handle FindFirstFileExW(const char16_t* pattern, int level, FindData* data, int search,
                        void* filter, Dword flags) noexcept {
  return ::FindFirstFileExW(win32::Wide(pattern), static_cast<FINDEX_INFO_LEVELS>(level), data,
                            static_cast<FINDEX_SEARCH_OPS>(search), filter, flags);
}

Bool FindNextFileW(Handle search, FindData* data) noexcept {
  return ::FindNextFileW(search, reinterpret_cast<WIN32_FIND_DATAW*>(data));
}

Bool FindClose(Handle search) noexcept { return ::FindClose(search); }

Dword GetFullPathNameW(const char16_t* path, Dword size, char16_t* buffer,
                       char16_t** filePart) noexcept {
  return ::GetFullPathNameW(win32::Wide(path), size, win32::Wide(buffer),
                            reinterpret_cast<wchar_t**>(filePart));
}

Dword GetCurrentDirectoryW(Dword size, char16_t* buffer) noexcept {
  return ::GetCurrentDirectoryW(size, win32::Wide(buffer));
}

Dword GetTempPathW(Dword size, char16_t* buffer) noexcept {
  return ::GetTempPathW(size, win32::Wide(buffer));
}

Dword GetSystemDirectoryW(char16_t* buffer, Dword size) noexcept {
  return ::GetSystemDirectoryW(win32::Wide(buffer), size);
}

}  // namespace winapi
