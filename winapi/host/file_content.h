// Reading and writing whole files, over calls that are interrupted or do a part only.
#ifndef WINAPI_HOST_FILE_CONTENT_H_
#define WINAPI_HOST_FILE_CONTENT_H_

#include <string>
#include <string_view>

#include "winapi/host/file_descriptor.h"

namespace winapi::host {

// Both go on from where the descriptor stands. False with errno set on a failure; what was read or
// written before it stays in `bytes` and in the file.
[[nodiscard]] bool ReadAll(const FileDescriptor& file, std::string& bytes);
[[nodiscard]] bool WriteAll(const FileDescriptor& file, std::string_view bytes);

}  // namespace winapi::host

#endif  // WINAPI_HOST_FILE_CONTENT_H_
