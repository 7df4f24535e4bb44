#include "tests/support/program.h"

#include <windows.h>

#include <algorithm>
#include <stdexcept>
#include <system_error>

namespace tests {
namespace {

[[noreturn]] void Fail(const char* what) {
  throw std::system_error(static_cast<int>(::GetLastError()), std::system_category(), what);
}

std::wstring WindowsPathOf(const std::string& file) {
  std::wstring path(file.begin(), file.end());
  std::replace(path.begin(), path.end(), L'/', L'\\');
  // A path of the build machine: Z: is the root of its file system.
  return file.starts_with("/") ? L"Z:" + path : path;
}

std::string ReadToEnd(HANDLE pipe) {
  std::string bytes;
  char buffer[4096];
  DWORD count = 0;
  while (::ReadFile(pipe, buffer, sizeof buffer, &count, nullptr) && count != 0) {
    bytes.append(buffer, count);
  }
  return bytes;
}

}  // namespace

std::filesystem::path BuiltProgram(const std::string& file) {
  std::wstring running(32768, L'\0');
  running.resize(::GetModuleFileNameW(nullptr, running.data(), static_cast<DWORD>(running.size())));
  return std::filesystem::path(running).replace_filename(file);
}

ProgramOutcome RunProgram(const std::string& file, const std::u16string& commandLine) {
  SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
  HANDLE readEnd = nullptr;
  HANDLE writeEnd = nullptr;
  if (!::CreatePipe(&readEnd, &writeEnd, &inherited, 0)) Fail("CreatePipe");
  ::SetHandleInformation(readEnd, HANDLE_FLAG_INHERIT, 0);

  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = ::GetStdHandle(STD_INPUT_HANDLE);
  startup.hStdOutput = writeEnd;
  startup.hStdError = ::GetStdHandle(STD_ERROR_HANDLE);
  PROCESS_INFORMATION process{};
  std::wstring text(commandLine.begin(), commandLine.end());
  if (!::CreateProcessW(WindowsPathOf(file).c_str(), text.data(), nullptr, nullptr,
                        /*bInheritHandles=*/TRUE, 0, nullptr, nullptr, &startup, &process)) {
    Fail("CreateProcessW");
  }
  ::CloseHandle(writeEnd);

  ProgramOutcome outcome;
  outcome.output = ReadToEnd(readEnd);
  ::WaitForSingleObject(process.hProcess, INFINITE);
  DWORD status = 0;
  if (!::GetExitCodeProcess(process.hProcess, &status)) Fail("GetExitCodeProcess");
  outcome.status = status;
  ::CloseHandle(readEnd);
  ::CloseHandle(process.hThread);
  ::CloseHandle(process.hProcess);
  return outcome;
}

std::uint32_t StatusOf(std::uint32_t code) { return code; }

}  // namespace tests
