// Runs one program with an exact command line and prints what came out of it.
//
// Standard input: a line with the program's path and a line with the command line, both as the
// hexadecimal digits of their UTF-16 bytes. Standard output: "exit=" with the 32-bit exit status as
// eight digits, then a line "output=" with the digits of the child's standard output. A second
// argument "no-output" runs the child without a standard output; "watch DIR" is described at Watch,
// "swap DIR FILE OTHER" at Swap.

#include "tests/e2e/helpers/common.h"

#include <tlhelp32.h>  // needs <windows.h> before it

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

unsigned long long SizeOf(const std::wstring& path) {
  WIN32_FILE_ATTRIBUTE_DATA data{};
  if (!GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data)) return 0;
  return (static_cast<unsigned long long>(data.nFileSizeHigh) << 32U) | data.nFileSizeLow;
}

// The path of the file of that name in a folder "{...}" below `parent`, or nothing.
std::wstring FindPrivateCopy(const std::wstring& parent, const std::wstring& name) {
  WIN32_FIND_DATAW found{};
  HANDLE search = FindFirstFileW((parent + L"\\{*").c_str(), &found);
  if (search == INVALID_HANDLE_VALUE) return L"";
  std::wstring copy;
  do {
    const std::wstring path = parent + L"\\" + found.cFileName + L"\\" + name;
    if (GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES) copy = path;
  } while (copy.empty() && FindNextFileW(search, &found));
  FindClose(search);
  return copy;
}

// How many processes the child has started that are still there.
int CountChildren(DWORD parent) {
  HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
  if (snapshot == INVALID_HANDLE_VALUE) helpers::Die("CreateToolhelp32Snapshot", GetLastError());
  PROCESSENTRY32W entry{};
  entry.dwSize = sizeof entry;
  int count = 0;
  for (BOOL more = Process32FirstW(snapshot, &entry); more;
       more = Process32NextW(snapshot, &entry)) {
    if (entry.th32ParentProcessID == parent) ++count;
  }
  CloseHandle(snapshot);
  return count;
}

// Holds the child still as soon as a whole copy of `file` lies in a folder "{...}" below `parent`,
// and puts `other` in the file's place: lines "copy=" with the path of that copy (nothing when
// there was none before the child ended) and "children=" with the number of processes that the
// child had started by then.
void Swap(const Child& child, const std::wstring& parent, const std::wstring& file,
          const std::wstring& other) {
  const std::wstring name = file.substr(file.rfind(L'\\') + 1);
  const unsigned long long size = SizeOf(file);
  std::wstring copy;
  while (WaitForSingleObject(child.process.hProcess, 0) == WAIT_TIMEOUT) {
    copy = FindPrivateCopy(parent, name);
    if (!copy.empty() && SizeOf(copy) == size) break;
  }
  SuspendThread(child.process.hThread);
  std::printf("copy=%s\nchildren=%d\n", helpers::DigitsOf(copy).c_str(),
              CountChildren(child.process.dwProcessId));
  if (!CopyFileW(other.c_str(), file.c_str(), FALSE)) helpers::Die("CopyFileW", GetLastError());
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
  if (mode == "swap" && count > 4) {
    Swap(child, helpers::TextOf(arguments[2]), helpers::TextOf(arguments[3]),
         helpers::TextOf(arguments[4]));
  }
  PrintEnd(child);
}
