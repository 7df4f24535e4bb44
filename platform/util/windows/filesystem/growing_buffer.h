// Calls of Windows that take a buffer and tell the size that they need.
#ifndef PLATFORM_UTIL_WINDOWS_FILESYSTEM_GROWING_BUFFER_H_
#define PLATFORM_UTIL_WINDOWS_FILESYSTEM_GROWING_BUFFER_H_

#include <exception>
#include <string>
#include <utility>

#include "oru/rtl/error_mapping.h"
#include "oru/rtl/result_code.h"
#include "winapi/files.h"
#include "winapi/types.h"

namespace product_platform::filesystem {

// Calls `function(size, buffer)`, sizes in characters, with kMaxPath and then with what it asked
// for, five times at the most. A return of 0 gives the last error's failure, one that isn't above
// the size is the text's length. A function that asks for more each time ends in a success with an
// empty `result`. Running out of memory gives errOutOfMemory. `result` is empty on failure.
template <typename Function>
[[nodiscard]] oru::ResultCode CallWithGrowingBuffer(std::u16string& result, Function&& function) {
  result.clear();
  winapi::Dword size = winapi::kMaxPath;
  for (int attempt = 0; attempt < 5; ++attempt) {
    std::u16string buffer;
    try {
      buffer.resize(size);
    } catch (const std::exception&) {  // no memory, or no string is so long
      return oru::errOutOfMemory;
    }
    const winapi::Dword length = function(size, buffer.data());
    if (length == 0) return oru::LastFailure();
    if (length <= size) {
      buffer.resize(length);
      result = std::move(buffer);
      return oru::sOk;
    }
    size = length;
  }
  return oru::sOk;
}

}  // namespace product_platform::filesystem

#endif  // PLATFORM_UTIL_WINDOWS_FILESYSTEM_GROWING_BUFFER_H_
