// Reads the text form of a registry, "Windows Registry Editor Version 5.00", and the older form,
// "REGEDIT4".
//
// Taken: the encodings of reg_file_text.h. All value forms: "text", dword:, hex:, hex(n):, -
// (delete); @ for the default value; [-key]; data going on behind a backslash at a line's end, also
// past blank and comment lines; comments after ; or #; the escapes \\ \" \r \n \0 in quotes, and
// bare line breaks in them and in keys, which Windows writes. In the older form hex(2): and hex(7):
// hold texts of the code page. Hives go by their full names; the keys of others are left out, with
// a warning.
//
// Anything else is damage, so that a torn file is found out: no value is guessed. A torn file ends
// without a line end, or in a continued value, or has a byte of one digit; one that is torn between
// two lines reads like a whole one.
#ifndef WINAPI_HOST_REG_FILE_READER_H_
#define WINAPI_HOST_REG_FILE_READER_H_

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "winapi/host/registry_tree.h"

namespace winapi::host {

// Why a file can't be read, or what is to be known of one that can.
struct RegFileError {
  std::size_t line = 0;  // from 1; where the bad thing starts
  std::string reason;    // English, one line, without a full stop
};

// Replaces `tree` by what the file says; later lines win over earlier ones. On failure gives false
// with `error` filled, and `tree` is as before. The time grows with the size of `bytes` (times the
// logarithm of the names in a key), whatever they are. They are let go of before the tree is made,
// so that who hands them over has less in memory.
//
// `warnings` gets what was read otherwise than it may have been meant: one for each unknown hive,
// and one for a file of the older form that isn't ASCII. Null where nobody wants them.
//
// Where `branches` names keys, only these and what stands below them is kept. The rest is read with
// the same care and costs no memory.
[[nodiscard]] bool ParseRegFile(std::string bytes, RegistryTree& tree, RegFileError& error,
                                std::vector<RegFileError>* warnings = nullptr,
                                const std::vector<std::u16string>& branches = {});

}  // namespace winapi::host

#endif  // WINAPI_HOST_REG_FILE_READER_H_
