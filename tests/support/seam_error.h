// The errors of the seam's operations that give a Boolean or a handle.
#ifndef TESTS_SUPPORT_SEAM_ERROR_H_
#define TESTS_SUPPORT_SEAM_ERROR_H_

#include <gtest/gtest.h>

#include <string>

#include "winapi/errors.h"
#include "winapi/files.h"
#include "winapi/handles.h"

namespace tests {

// A last error that no operation gives.
inline constexpr winapi::Error kUntouchedError = 0xABCD;

// The last error behind an operation that gives a Boolean, 0 where it succeeded.
template <class Operation>
winapi::Error ErrorOf(Operation operation) {
  winapi::SetLastError(kUntouchedError);
  return operation() != 0 ? 0 : winapi::GetLastError();
}

// Makes an empty file and closes it. Gives its error, 80 for a file that is there already.
inline winapi::Error CreateNew(const char16_t* path) {
  winapi::SetLastError(kUntouchedError);
  const winapi::Handle file = winapi::CreateFileW(path, /*access=*/0, /*share=*/0, nullptr,
                                                  winapi::kCreateNew, /*flags=*/0, nullptr);
  if (file == winapi::InvalidHandleValue()) return winapi::GetLastError();
  EXPECT_NE(0, winapi::CloseHandle(file));
  return 0;
}
inline winapi::Error CreateNew(const std::u16string& path) { return CreateNew(path.c_str()); }

// What else is done to files and directories; each gives its error.
inline winapi::Error Copy(const std::u16string& from, const std::u16string& to,
                          bool failIfExists = false) {
  return ErrorOf([&] { return winapi::CopyFileW(from.c_str(), to.c_str(), failIfExists); });
}
inline winapi::Error Delete(const std::u16string& path) {
  return ErrorOf([&] { return winapi::DeleteFileW(path.c_str()); });
}
inline winapi::Error MakeFolder(const std::u16string& path) {
  return ErrorOf([&] { return winapi::CreateDirectoryW(path.c_str(), nullptr); });
}
inline winapi::Error RemoveFolder(const std::u16string& path) {
  return ErrorOf([&] { return winapi::RemoveDirectoryW(path.c_str()); });
}
// `attributes` gets the answer, that of a failure too.
inline winapi::Error Attributes(const std::u16string& path, winapi::Dword& attributes) {
  return ErrorOf([&] {
    attributes = winapi::GetFileAttributesW(path.c_str());
    return attributes != winapi::kInvalidFileAttributes;
  });
}

}  // namespace tests

#endif  // TESTS_SUPPORT_SEAM_ERROR_H_
