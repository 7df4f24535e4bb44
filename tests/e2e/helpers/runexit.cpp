// Runs one program with an exact command line and prints what came out of it.
//
// Standard input: a line with the program's path and a line with the command line, both as the
// hexadecimal digits of their UTF-16 bytes. Standard output: "exit=" with the 32-bit exit status as
// eight digits, then a line "output=" with the digits of the child's standard output. A second
// argument "no-output" runs the child without a standard output; "watch DIR" is described at Watch.

#include "tests/e2e/helpers/common.h"

namespace {

struct Child {
  PROCESS_INFORMATION process{};
  HANDLE output = nullptr;
};

Child Start(const std::wstring& program, std::wstring commandLine, bool withOutput, DWORD flags) {
  Child child;
  SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
  HANDLE writeEnd = nullptr;
  if (withOutput && !CreatePipe(&child.output, &writeEnd, &inherited, 0)) {
    helpers::Die("CreatePipe", GetLastError());
  }
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdOutput = writeEnd;
  startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);
  if (child.output != nullptr) SetHandleInformation(child.output, HANDLE_FLAG_INHERIT, 0);
  if (!CreateProcessW(program.c_str(), commandLine.data(), nullptr, nullptr,
                      /*bInheritHandles=*/TRUE, flags, nullptr, nullptr, &startup,
                      &child.process)) {
    helpers::Die("CreateProcessW", GetLastError());
  }
  if (writeEnd != nullptr) CloseHandle(writeEnd);
  return child;
}

std::string ReadToEnd(HANDLE pipe) {
  std::string bytes;
  char buffer[4096];
  DWORD count = 0;
  while (pipe != nullptr && ReadFile(pipe, buffer, sizeof buffer, &count, nullptr) && count != 0) {
    bytes.append(buffer, count);
  }
  return bytes;
}

void PrintEnd(const Child& child) {
  const std::string output = ReadToEnd(child.output);
  WaitForSingleObject(child.process.hProcess, INFINITE);
  DWORD status = 0;
  if (!GetExitCodeProcess(child.process.hProcess, &status)) {
    helpers::Die("GetExitCodeProcess", GetLastError());
  }
  std::printf("exit=%08lx\noutput=%s\n", status,
              helpers::DigitsOf(output.data(), output.size()).c_str());
}

DWORD OpenError(const std::wstring& path, DWORD access, DWORD share) {
  HANDLE file = CreateFileW(path.c_str(), access, share, nullptr, OPEN_EXISTING, 0, nullptr);
  if (file == INVALID_HANDLE_VALUE) return GetLastError();
  CloseHandle(file);
  return 0;
}

// The first log file in a folder, or nothing.
std::wstring FindLog(const std::wstring& folder) {
  WIN32_FIND_DATAW found{};
  HANDLE search = FindFirstFileW((folder + L"\\*.log").c_str(), &found);
  if (search == INVALID_HANDLE_VALUE) return L"";
  FindClose(search);
  return folder + L"\\" + found.cFileName;
}

// Holds the child still as soon as its trace file is there, and tells how the file opens for
// another process at that moment: lines "alive=" (1 while the child hasn't ended) and "read=",
// "write=", "exclusive=" with the errors of opening it for reading, for writing (both sharing all),
// and for reading without sharing.
void Watch(const Child& child, const std::wstring& folder) {
  std::wstring log;
  while (log.empty() && WaitForSingleObject(child.process.hProcess, 0) == WAIT_TIMEOUT) {
    log = FindLog(folder);
  }
  SuspendThread(child.process.hThread);
  const bool alive = WaitForSingleObject(child.process.hProcess, 0) == WAIT_TIMEOUT;
  const DWORD all = FILE_SHARE_READ | FILE_SHARE_WRITE;
  std::printf("alive=%d\nread=%lu\nwrite=%lu\nexclusive=%lu\n", alive ? 1 : 0,
              OpenError(log, GENERIC_READ, all), OpenError(log, GENERIC_WRITE, all),
              OpenError(log, GENERIC_READ, 0));
  ResumeThread(child.process.hThread);
}

}  // namespace

int main(int count, char** arguments) {
  const std::string mode = count > 1 ? arguments[1] : "";
  std::string program;
  std::string commandLine;
  if (!helpers::ReadLine(program) || !helpers::ReadLine(commandLine)) helpers::Die("no input", 0);
  const Child child =
      Start(helpers::TextOf(helpers::WordsOf(program)[0]),
            helpers::TextOf(helpers::WordsOf(commandLine)[0]), mode != "no-output", 0);
  if (mode == "watch" && count > 2) Watch(child, helpers::TextOf(arguments[2]));
  PrintEnd(child);
}
