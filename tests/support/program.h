// Starts a program of this build and sees what comes out of it, in both worlds.
#ifndef TESTS_SUPPORT_PROGRAM_H_
#define TESTS_SUPPORT_PROGRAM_H_

#include <cstdint>
#include <filesystem>
#include <string>

namespace tests {

// The program in `file`: under Windows a name without a folder is one beside the running program.
[[nodiscard]] std::filesystem::path BuiltProgram(const std::string& file);

struct ProgramOutcome {
  // Under Windows the 32-bit exit status; natively its low 8 bits, or 0x100 and the signal's
  // number.
  std::uint32_t status = 0;
  std::string output;  // the bytes of the standard output
};

// Runs the program in `file` (a path as CMake writes it) and waits for its end. `commandLine` is
// what the program sees as its whole command line: exactly so under Windows; natively its parts
// between single blanks become the arguments, which the host layer joins again, so parts with
// quotes don't get through. Throws std::runtime_error when the program can't be started.
[[nodiscard]] ProgramOutcome RunProgram(const std::string& file, const std::u16string& commandLine);

// What `RunProgram` gives as the status of a program whose entry ends with this code.
[[nodiscard]] std::uint32_t StatusOf(std::uint32_t code);

}  // namespace tests

#endif  // TESTS_SUPPORT_PROGRAM_H_
