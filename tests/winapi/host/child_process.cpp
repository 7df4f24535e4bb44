#include "tests/winapi/host/child_process.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <stdexcept>

namespace tests {
namespace {

struct Pipe {
  Pipe() {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("pipe2 failed");
    readEnd = ends[0];
    writeEnd = ends[1];
  }
  int readEnd = -1;
  int writeEnd = -1;
};

std::vector<char*> Pointers(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

void CloseEnd(int& end) {
  if (end >= 0) ::close(end);
  end = -1;
}

void ReadToEnd(int end, std::string& text) {
  char buffer[4096];
  for (;;) {
    const ssize_t count = ::read(end, buffer, sizeof buffer);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return;
    text.append(buffer, static_cast<std::size_t>(count));
  }
}

}  // namespace

ChildProcess::ChildProcess(const Variables& variables, const std::vector<std::string>& arguments) {
  std::vector<std::string> texts = {HOST_CHILD};
  texts.insert(texts.end(), arguments.begin(), arguments.end());
  std::vector<std::string> environment;
  for (const auto& [name, value] : variables) environment.push_back(name + "=" + value);
  const Pipe input;
  const Pipe output;
  const Pipe errors;
  posix_spawn_file_actions_t actions;
  ::posix_spawn_file_actions_init(&actions);
  ::posix_spawn_file_actions_adddup2(&actions, input.readEnd, STDIN_FILENO);
  ::posix_spawn_file_actions_adddup2(&actions, output.writeEnd, STDOUT_FILENO);
  ::posix_spawn_file_actions_adddup2(&actions, errors.writeEnd, STDERR_FILENO);
  const int error = ::posix_spawn(&m_process, HOST_CHILD, &actions, nullptr, Pointers(texts).data(),
                                  Pointers(environment).data());
  ::posix_spawn_file_actions_destroy(&actions);
  ::close(input.readEnd);
  ::close(output.writeEnd);
  ::close(errors.writeEnd);
  m_inputEnd = input.writeEnd;
  m_outputEnd = output.readEnd;
  m_errorEnd = errors.readEnd;
  if (error != 0) {
    m_process = -1;
    throw std::runtime_error("host_child can't be started");
  }
}

ChildProcess::~ChildProcess() {
  if (m_process > 0) {
    Kill();
    (void)Finish();
  }
  CloseEnd(m_inputEnd);
  CloseEnd(m_outputEnd);
  CloseEnd(m_errorEnd);
}

std::string ChildProcess::ReadLine() {
  std::string line;
  char unit = 0;
  while (::read(m_outputEnd, &unit, 1) == 1 && unit != '\n') line += unit;
  return line;
}

bool ChildProcess::HasOutputWithin(int milliseconds) const {
  pollfd waited = {m_outputEnd, POLLIN, 0};
  return ::poll(&waited, 1, milliseconds) > 0;
}

void ChildProcess::CloseInput() { CloseEnd(m_inputEnd); }

void ChildProcess::Kill() { (void)::kill(m_process, SIGKILL); }

int ChildProcess::Finish() {
  CloseInput();
  ReadToEnd(m_outputEnd, m_output);
  ReadToEnd(m_errorEnd, m_errors);
  int status = 0;
  (void)::waitpid(m_process, &status, 0);
  m_process = -1;
  return WIFSIGNALED(status) ? 0x100 + WTERMSIG(status) : WEXITSTATUS(status);
}

}  // namespace tests
