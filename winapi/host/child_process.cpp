#include "winapi/child_process.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "winapi/errors.h"
#include "winapi/handles.h"
#include "winapi/host/call.h"
#include "winapi/host/control.h"
#include "winapi/host/handle_table.h"
#include "winapi/host/last_error.h"
#include "winapi/host/locate.h"
#include "winapi/host/plain_file.h"
#include "winapi/host/text.h"

namespace winapi {
namespace {

using host::WaitOutcome;

// What GetExitCodeProcess tells of a crash is a status of the kernel.
// The code of a program that ended by a signal: what its like ends with on Windows.
Dword CodeOfSignal(int signal) {
  switch (signal) {
    case SIGSEGV:
    case SIGBUS:
      return 0xC0000005;  // STATUS_ACCESS_VIOLATION
    case SIGILL:
      return 0xC000001D;  // STATUS_ILLEGAL_INSTRUCTION
    case SIGFPE:
      return 0xC0000094;  // STATUS_INTEGER_DIVIDE_BY_ZERO
    case SIGABRT:
      return 3;
    default:
      return 1;  // ended by another's hand
  }
}

// What a test has set in the place of what really happens.
struct Settings {
  std::optional<Dword> exitCode;
  std::optional<Dword> waitResult;
};

Settings& TheSettings() {
  static Settings& settings = *new Settings;
  return settings;
}

// A program that was started. Both its handles stand for it.
class Process final : public host::KernelObject {
 public:
  explicit Process(pid_t id) : m_id(id) {}

  WaitOutcome Wait(Dword milliseconds) override {
    if (TheSettings().waitResult) return {.result = *TheSettings().waitResult};
    if (milliseconds == kInfinite) return Outcome(HasEnded(/*waits=*/true));
    // Programs run in real time, whatever the host's clock shows.
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    while (!HasEnded(/*waits=*/false)) {
      if (std::chrono::steady_clock::now() >= end) return Outcome(false);
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return Outcome(true);
  }

  bool HasEnded(bool waits) {
    if (m_code) return true;
    siginfo_t info = {};
    int result = 0;
    do {
      result = ::waitid(P_PID, static_cast<id_t>(m_id), &info, WEXITED | (waits ? 0 : WNOHANG));
    } while (result != 0 && errno == EINTR);
    if (result != 0) {
      m_code = 1;  // the process lets the system reap its children, so nothing is known
    } else if (info.si_pid != 0) {
      const auto status = static_cast<Dword>(info.si_status);
      m_code = info.si_code == CLD_EXITED ? status : CodeOfSignal(info.si_status);
    }
    return m_code.has_value();
  }
  [[nodiscard]] Dword Code() const { return *m_code; }

 private:
  static WaitOutcome Outcome(bool ended) { return {ended ? kWaitObject0 : kWaitTimeout, 0}; }

  pid_t m_id;
  std::optional<Dword> m_code;  // set when it has ended
};

// Those that may still run.
std::vector<std::shared_ptr<Process>>& StartedPrograms() {
  static auto& programs = *new std::vector<std::shared_ptr<Process>>;
  return programs;
}

// posix_spawn looks at the file itself: a text without an interpreter's line is no program.
Error ErrorOfSpawn(int error) {
  switch (error) {
    case ENOMEM:
    case EAGAIN:
      return kErrorNotEnoughMemory;
    case E2BIG:
      return kErrorFilenameTooLong;
    default:
      return kErrorBadExeFormat;  // no program of this system, or not marked as one
  }
}

// What a started program has of this one: environment and current folder, and no open file.
class SpawnActions {
 public:
  SpawnActions() {
    (void)::posix_spawn_file_actions_init(&m_actions);
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
      (void)::posix_spawn_file_actions_addopen(&m_actions, stream, "/dev/null", O_RDWR, 0);
    }
    (void)::posix_spawn_file_actions_addclosefrom_np(&m_actions, STDERR_FILENO + 1);
  }
  SpawnActions(const SpawnActions&) = delete;
  SpawnActions& operator=(const SpawnActions&) = delete;
  ~SpawnActions() { (void)::posix_spawn_file_actions_destroy(&m_actions); }
  [[nodiscard]] const posix_spawn_file_actions_t* Get() const { return &m_actions; }

 private:
  posix_spawn_file_actions_t m_actions;
};

Error Start(const char16_t* application, const char16_t* commandLine, pid_t& id) {
  host::PlainFile file;
  if (const Error error = host::OpenPlainFile(application, file); error != 0) return error;
  std::string program = host::HostPath(file.location);
  std::string line = commandLine == nullptr ? std::string() : host::ToUtf8(commandLine);
  char* const arguments[] = {program.data(), commandLine == nullptr ? nullptr : line.data(),
                             nullptr};
  const SpawnActions actions;
  const int error =
      ::posix_spawn(&id, program.c_str(), actions.Get(), nullptr, arguments, ::environ);
  return error == 0 ? kErrorSuccess : ErrorOfSpawn(error);
}

// The product must hand over zeros: what isn't used may mean something to a later Windows.
bool IsZeroButForTheSize(const StartupInfo& info) {
  const void* const pointers[] = {info.lpReserved, info.lpDesktop,  info.lpTitle,  info.lpReserved2,
                                  info.hStdInput,  info.hStdOutput, info.hStdError};
  const Dword numbers[] = {
      info.dwX,           info.dwY,           info.dwXSize,         info.dwYSize,
      info.dwXCountChars, info.dwYCountChars, info.dwFillAttribute, info.dwFlags,
      info.wShowWindow,   info.cbReserved2};
  return std::all_of(std::begin(pointers), std::end(pointers),
                     [](const void* pointer) { return pointer == nullptr; }) &&
         std::all_of(std::begin(numbers), std::end(numbers),
                     [](Dword number) { return number == 0; });
}

bool IsZero(const ProcessInformation& info) {
  return info.hProcess == nullptr && info.hThread == nullptr && info.dwProcessId == 0 &&
         info.dwThreadId == 0;
}

void LogStructures(host::Call& call, const StartupInfo* startup,
                   const ProcessInformation* information) {
  if (startup != nullptr) {
    call.Argument("startup.cb", startup->cb);
    call.Argument("startup", IsZeroButForTheSize(*startup) ? "zero" : "set");
  }
  if (information != nullptr) call.Argument("information", IsZero(*information) ? "zero" : "set");
}

// Only for RunningPrograms; those that have ended are let go here, so that the list stays short.
void Remember(const std::shared_ptr<Process>& process) {
  std::erase_if(StartedPrograms(),
                [](const auto& earlier) { return earlier->HasEnded(/*waits=*/false); });
  StartedPrograms().push_back(process);
}

}  // namespace

Bool CreateProcessW(const char16_t* application, char16_t* commandLine,
                    const SecurityAttributes* processAttributes,
                    const SecurityAttributes* threadAttributes, Bool inheritHandles,
                    Dword creationFlags, void* environment, const char16_t* currentDirectory,
                    StartupInfo* startup, ProcessInformation* information) noexcept {
  host::Call call("CreateProcessW");
  call.Argument("application", application);
  call.Argument("commandLine", static_cast<const char16_t*>(commandLine));
  call.Argument("processAttributes", processAttributes);
  call.Argument("threadAttributes", threadAttributes);
  call.Argument("inheritHandles", static_cast<Dword>(inheritHandles));
  call.Mask("creationFlags", creationFlags).Argument("environment", environment);
  call.Argument("currentDirectory", currentDirectory);
  LogStructures(call, startup, information);
  if (const auto fault = call.Fault()) return host::FailWith(*fault, Bool{0});
  const bool isKnown = application != nullptr && processAttributes == nullptr &&
                       threadAttributes == nullptr && inheritHandles == 0 &&
                       (creationFlags & ~kCreateNoWindow) == 0 && environment == nullptr &&
                       currentDirectory == nullptr && startup != nullptr &&
                       startup->cb == kStartupInfoSize && information != nullptr;
  if (!isKnown) return host::FailWith(kErrorInvalidParameter, Bool{0});
  pid_t id = 0;
  const Error error = Start(application, commandLine, id);
  // The system may write into the line, and this one does.
  if (commandLine != nullptr) {
    std::fill_n(commandLine, std::char_traits<char16_t>::length(commandLine), u'#');
  }
  if (error != 0) return host::FailWith(error, Bool{0});
  const auto process = std::make_shared<Process>(id);
  Remember(process);
  *information = {host::OpenHandle(process), host::OpenHandle(process), static_cast<Dword>(id),
                  static_cast<Dword>(id)};
  call.Argument("*hProcess", information->hProcess).Argument("*hThread", information->hThread);
  return 1;
}

Bool GetExitCodeProcess(Handle process, Dword* exitCode) noexcept {
  host::Call call("GetExitCodeProcess");
  call.Argument("process", process);
  if (const auto fault = call.Fault()) return host::FailWith(*fault, Bool{0});
  const auto object = host::ObjectOf<Process>(process);
  if (object == nullptr) return host::FailWith(kErrorInvalidHandle, Bool{0});
  if (exitCode == nullptr) return host::FailWith(kErrorNoAccess, Bool{0});
  *exitCode = kStillActive;
  if (object->HasEnded(/*waits=*/false))
    *exitCode = TheSettings().exitCode.value_or(object->Code());
  return 1;
}

void host::SetExitCode(std::optional<Dword> code) {
  const SeamMark mark;
  TheSettings().exitCode = code;
}

void host::SetProgramWait(std::optional<Dword> result) {
  const SeamMark mark;
  TheSettings().waitResult = result;
}

std::size_t host::RunningPrograms() {
  const SeamMark mark;
  auto& started = StartedPrograms();
  return static_cast<std::size_t>(
      std::count_if(started.begin(), started.end(),
                    [](const auto& process) { return !process->HasEnded(/*waits=*/false); }));
}

}  // namespace winapi
