// The process's arguments in UTF-8. No operation of Windows' own: the standard entry has them in
// the code page there, which hasn't all of a file name's characters.
#ifndef WINAPI_ARGUMENTS_H_
#define WINAPI_ARGUMENTS_H_

#include <string>
#include <vector>

namespace winapi {

// Without the program's name. On Windows the C runtime's split of GetCommandLineW, a lone surrogate
// as U+FFFD, and `argc` and `argv` aren't looked at; the host gives those as they are. Throws
// std::bad_alloc.
[[nodiscard]] std::vector<std::string> Utf8Arguments(int argc, char** argv);

}  // namespace winapi

#endif  // WINAPI_ARGUMENTS_H_
