#include "platform/winapi/winapi/files.h"

#include "platform/winapi/win32/wide.h"

namespace winapi {

// The C runtime below the stream opens with sharing for reading and writing.
void OpenOutputStream(std::ofstream& stream, const char16_t* path) {
  stream.open(win32::Wide(path), std::ios::out | std::ios::binary | std::ios::trunc);
}

}  // namespace winapi
