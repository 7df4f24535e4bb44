#include "tests/support/program.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <system_error>
#include <vector>

namespace tests {
namespace {

std::vector<std::string> PartsOf(const std::u16string& commandLine) {
  const std::string text = std::filesystem::path(commandLine).string();
  std::vector<std::string> parts;
  for (std::size_t first = 0; first <= text.size();) {
    const std::size_t last = std::min(text.find(' ', first), text.size());
    parts.push_back(text.substr(first, last - first));
    first = last + 1;
  }
  return parts;
}

pid_t Start(const std::string& file, const std::u16string& commandLine, int output) {
  std::vector<std::string> parts = PartsOf(commandLine);
  std::vector<char*> arguments;
  for (std::string& part : parts) arguments.push_back(part.data());
  arguments.push_back(nullptr);

  posix_spawn_file_actions_t actions;
  ::posix_spawn_file_actions_init(&actions);
  ::posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
  pid_t process = 0;
  const int error =
      ::posix_spawn(&process, file.c_str(), &actions, nullptr, arguments.data(), ::environ);
  ::posix_spawn_file_actions_destroy(&actions);
  if (error != 0) throw std::system_error(error, std::generic_category(), file);
  return process;
}

std::string ReadToEnd(int descriptor) {
  std::string bytes;
  char buffer[4096];
  for (;;) {
    const ssize_t count = ::read(descriptor, buffer, sizeof buffer);
    if (count <= 0) return bytes;
    bytes.append(buffer, static_cast<std::size_t>(count));
  }
}

}  // namespace

std::filesystem::path BuiltProgram(const std::string& file) { return file; }

ProgramOutcome RunProgram(const std::string& file, const std::u16string& commandLine) {
  int ends[2];
  if (::pipe2(ends, O_CLOEXEC) != 0) {
    throw std::system_error(errno, std::generic_category(), "pipe2");
  }
  const pid_t process = Start(file, commandLine, ends[1]);
  ::close(ends[1]);

  ProgramOutcome outcome;
  outcome.output = ReadToEnd(ends[0]);
  ::close(ends[0]);
  int status = 0;
  ::waitpid(process, &status, 0);
  outcome.status = static_cast<std::uint32_t>(WIFSIGNALED(status) ? 0x100 + WTERMSIG(status)
                                                                  : WEXITSTATUS(status));
  return outcome;
}

// Typed from the rule, not taken from the seam: the low 8 bits, and 1 for a failure where they are
// 0.
std::uint32_t StatusOf(std::uint32_t code) {
  const std::uint32_t low = code & 0xFF;
  return low == 0 && code != 0 ? 1 : low;
}

}  // namespace tests
