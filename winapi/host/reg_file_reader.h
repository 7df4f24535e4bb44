// Reads the text form of a registry, "Windows Registry Editor Version 5.00".
//
// Taken: UTF-16, low byte first, with its byte-order mark; UTF-8 with or without one. All value
// forms: "text", dword:, hex:, hex(n):, - (delete); @ for the default value; [-key]; data going on
// behind a backslash at a line's end, also past blank and comment lines; comments after ; or #; the
// escapes \\ \" \r \n \0 in quotes, and bare line breaks in them, which Windows writes. Hives go by
// their full names.
//
// Anything else is damage, so that a torn file is found out: no value is guessed.
#ifndef WINAPI_HOST_REG_FILE_READER_H_
#define WINAPI_HOST_REG_FILE_READER_H_

#include <cstddef>
#include <string>
#include <string_view>

#include "winapi/host/registry_tree.h"

namespace winapi::host {

// Why a file can't be read.
struct RegFileError {
  std::size_t line = 0;  // from 1; where the bad thing starts
  std::string reason;    // English, one line, without a full stop
};

// Replaces `tree` by what the file says; later lines win over earlier ones. On failure gives false
// with `error` filled, and `tree` is as before. The time grows with the size of `bytes` (times the
// logarithm of the names in a key), whatever they are.
[[nodiscard]] bool ParseRegFile(std::string_view bytes, RegistryTree& tree, RegFileError& error);

}  // namespace winapi::host

#endif  // WINAPI_HOST_REG_FILE_READER_H_
