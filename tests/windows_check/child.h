// Running a program and keeping what it prints.
#ifndef TESTS_WINDOWS_CHECK_CHILD_H_
#define TESTS_WINDOWS_CHECK_CHILD_H_

#include <cstdint>
#include <string>

#include "tests/windows_check/this_machine.h"

namespace windows_check {

struct ChildOutcome {
  bool started = false;
  bool ended = false;        // by itself, within the limit
  std::uint32_t status = 0;  // or the error of the start
  std::string output;        // of both streams, line ends as in C
};

// Runs `program` (a full path) with `arguments` behind its name. Its streams are files in `folder`,
// since what it starts may live on and would hold a pipe open; so it gets another folder to be in,
// the system's where none is named, and that one isn't held. What hasn't ended after that many
// seconds is ended.
[[nodiscard]] ChildOutcome RunChild(const std::wstring& program, const std::wstring& arguments,
                                    const std::wstring& folder, std::uint32_t seconds,
                                    const std::wstring& current = SystemFolder());

// The bytes of a file; empty for one that can't be read.
[[nodiscard]] std::string ReadWhole(const std::wstring& file);
[[nodiscard]] bool WriteWhole(const std::wstring& file, const std::string& bytes);

}  // namespace windows_check

#endif  // TESTS_WINDOWS_CHECK_CHILD_H_
