#include "tests/windows_check/child.h"

#include <windows.h>

namespace windows_check {
namespace {

HANDLE OpenInherited(const std::wstring& file, DWORD access, DWORD disposition) {
  SECURITY_ATTRIBUTES inherited{sizeof(inherited), nullptr, TRUE};
  return ::CreateFileW(file.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                       &inherited, disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
}

std::string WithoutReturns(const std::string& bytes) {
  std::string text;
  for (const char byte : bytes) {
    if (byte != '\r') text += byte;
  }
  return text;
}

void WaitForEnd(HANDLE process, std::uint32_t seconds, ChildOutcome& outcome) {
  outcome.ended = ::WaitForSingleObject(process, seconds * 1000) == WAIT_OBJECT_0;
  if (!outcome.ended) {
    ::TerminateProcess(process, 97);
    ::WaitForSingleObject(process, INFINITE);
  }
  DWORD status = 0;
  ::GetExitCodeProcess(process, &status);
  outcome.status = status;
}

}  // namespace

ChildOutcome RunChild(const std::wstring& program, const std::wstring& arguments,
                      const std::wstring& folder, std::uint32_t seconds,
                      const std::wstring& current) {
  // A new name each time: what lives on may hold the file before.
  static int number = 0;
  const std::wstring file = folder + L"\\output" + std::to_wstring(++number) + L".txt";
  STARTUPINFOW startup{};
  startup.cb = sizeof(startup);
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = OpenInherited(L"NUL", GENERIC_READ, OPEN_EXISTING);
  startup.hStdOutput = OpenInherited(file, GENERIC_WRITE, CREATE_ALWAYS);
  startup.hStdError = startup.hStdOutput;
  std::wstring line = L"\"" + program + L"\"" + (arguments.empty() ? L"" : L" ") + arguments;
  PROCESS_INFORMATION process{};
  ChildOutcome outcome;
  outcome.started = ::CreateProcessW(program.c_str(), line.data(), nullptr, nullptr,
                                     /*bInheritHandles=*/TRUE, CREATE_NO_WINDOW, nullptr,
                                     current.c_str(), &startup, &process) != 0;
  if (outcome.started) {
    WaitForEnd(process.hProcess, seconds, outcome);
    ::CloseHandle(process.hThread);
    ::CloseHandle(process.hProcess);
  } else {
    outcome.status = ::GetLastError();
  }
  ::CloseHandle(startup.hStdInput);
  ::CloseHandle(startup.hStdOutput);
  outcome.output = WithoutReturns(ReadWhole(file));
  ::DeleteFileW(file.c_str());
  return outcome;
}

std::string ReadWhole(const std::wstring& file) {
  const HANDLE handle =
      ::CreateFileW(file.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                    OPEN_EXISTING, 0, nullptr);
  if (handle == INVALID_HANDLE_VALUE) return {};
  std::string bytes;
  char buffer[65536];
  DWORD count = 0;
  while (::ReadFile(handle, buffer, sizeof(buffer), &count, nullptr) && count != 0) {
    bytes.append(buffer, count);
  }
  ::CloseHandle(handle);
  return bytes;
}

bool WriteWhole(const std::wstring& file, const std::string& bytes) {
  const HANDLE handle = ::CreateFileW(file.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                      FILE_ATTRIBUTE_NORMAL, nullptr);
  if (handle == INVALID_HANDLE_VALUE) return false;
  DWORD count = 0;
  const bool written =
      ::WriteFile(handle, bytes.data(), static_cast<DWORD>(bytes.size()), &count, nullptr) != 0 &&
      count == bytes.size();
  return ::CloseHandle(handle) != 0 && written;
}

}  // namespace windows_check
