#include "platform/util/windows/filesystem/system_directory.h"

#include <algorithm>
#include <cstdint>

#include "oru/rtl/error_mapping.h"
#include "oru/rtl/exception.h"
#include "winapi/files.h"

namespace product_platform::windows::detail {
namespace {

constexpr char kSourceFile[] = "platform/util/windows/filesystem/system_directory";

// `line` tells which of the two calls failed.
winapi::Dword AskSystemDirectory(char16_t* buffer, winapi::Dword size, std::uint32_t line) {
  const winapi::Dword result = winapi::GetSystemDirectoryW(buffer, size);
  if (result != 0) return result;
  throw oru::CheckResultFailedException(kSourceFile, line, oru::LastFailure())
      << u"product_platform::windows::detail::GetSystemFilesDirectory" << u" failed ";
}

}  // namespace

std::u16string GetSystemFilesDirectory() {
  const winapi::Dword size = AskSystemDirectory(/*buffer=*/nullptr, /*size=*/0, __LINE__);
  std::u16string directory(size, u'\0');
  const winapi::Dword length = AskSystemDirectory(directory.data(), size, __LINE__);
  // A longer answer than the first is the size that it would take, with nothing written: what is
  // left then is the buffer of zeros, a path at which nothing can be found.
  directory.resize(std::min(length, size));
  return directory;
}

}  // namespace product_platform::windows::detail
