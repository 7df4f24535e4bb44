#include "winapi/process.h"

#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <deque>
#include <fstream>
#include <iterator>
#include <string>

#include "winapi/host/call.h"
#include "winapi/host/control.h"
#include "winapi/host/text.h"

namespace winapi {
namespace {

struct ProcessState {
  // The last one counts. Earlier ones are kept: the text of GetCommandLineW lives as long as the
  // process.
  std::deque<std::u16string> commandLines;
  Dword processId = 0;
  Dword threadId = 0;
};

ProcessState& TheProcessState() {
  static ProcessState& state = *new ProcessState;
  return state;
}

// The shell has taken the caller's quotes away; these stand where most likely some stood.
bool NeedsQuotes(std::string_view argument) {
  return argument.empty() || argument.find_first_of(" \t\"") != std::string_view::npos;
}

// The kernel gives the arguments with a zero behind each.
std::string JoinArguments(std::string_view arguments) {
  std::string line;
  while (!arguments.empty()) {
    const std::size_t end = arguments.find('\0');
    const std::string_view argument = arguments.substr(0, end);
    const std::string_view quote = NeedsQuotes(argument) ? "\"" : "";
    if (!line.empty()) line += ' ';
    line.append(quote).append(argument).append(quote);
    arguments.remove_prefix(end == std::string_view::npos ? arguments.size() : end + 1);
  }
  return line;
}

// The kernel is asked for both numbers once: each line of the trace wants both, and asking takes
// longer than the whole rest of the line. A child of fork has numbers of its own.
constinit std::atomic<Dword> ownProcess{0};
constinit thread_local Dword ownThread = 0;

void ForgetNumbers() noexcept {
  ownProcess = 0;
  ownThread = 0;
}
[[maybe_unused]] const int childrenForget =
    ::pthread_atfork(/*prepare=*/nullptr, /*parent=*/nullptr, ForgetNumbers);

// Not by argv: the product's entry doesn't pass it on, and this one is there before it.
std::u16string OwnCommandLine() {
  std::ifstream stream("/proc/self/cmdline", std::ios::binary);
  const std::string arguments(std::istreambuf_iterator<char>(stream), {});
  return host::ToUtf16(JoinArguments(arguments));
}

}  // namespace

const char16_t* GetCommandLineW() noexcept {
  const host::Call call("GetCommandLineW");
  auto& lines = TheProcessState().commandLines;
  if (lines.empty()) lines.push_back(OwnCommandLine());
  return lines.back().c_str();
}

Dword GetCurrentProcessId() noexcept {
  const host::Call call("GetCurrentProcessId");
  const Dword set = TheProcessState().processId;
  if (set != 0) return set;
  if (ownProcess == 0) ownProcess = static_cast<Dword>(::getpid());
  return ownProcess;
}

// The number of the kernel's task, which is the process's for the first thread, as a debugger shows
// it.
Dword GetCurrentThreadId() noexcept {
  const host::Call call("GetCurrentThreadId");
  const Dword set = TheProcessState().threadId;
  if (set != 0) return set;
  if (ownThread == 0) ownThread = static_cast<Dword>(::syscall(SYS_gettid));
  return ownThread;
}

int ProcessExitStatus(std::int32_t code) noexcept {
  const int low = code & 0xFF;
  return low == 0 && code != 0 ? 1 : low;
}

void host::SetCommandLine(std::optional<std::u16string> commandLine) {
  const SeamMark mark;
  TheProcessState().commandLines.push_back(commandLine ? std::move(*commandLine)
                                                       : OwnCommandLine());
}

void host::SetIdentity(Dword processId, Dword threadId) {
  const SeamMark mark;
  TheProcessState().processId = processId;
  TheProcessState().threadId = threadId;
}

}  // namespace winapi
