#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>

#include "winapi/errors.h"
#include "winapi/exceptions.h"
#include "winapi/host/control.h"

namespace {

std::int32_t WINAPI_STDCALL Passes(winapi::ExceptionPointers*) {
  return winapi::kExceptionContinueSearch;
}

bool insideSeam = true;

std::int32_t WINAPI_STDCALL NotesTheSeam(winapi::ExceptionPointers*) {
  insideSeam = winapi::host::InsideSeam();
  return winapi::kExceptionContinueExecution;
}

// What stands on the standard error stream and the exit status of a process that raises `code`.
struct Ending {
  std::string text;
  int status;
};

Ending Raise(winapi::Dword code) {
  int ends[2];
  EXPECT_EQ(0, ::pipe(ends));
  const pid_t child = ::fork();
  if (child == 0) {
    ::dup2(ends[1], STDERR_FILENO);
    (void)winapi::AddVectoredExceptionHandler(1, Passes);
    winapi::RaiseException(code, 0, 0, nullptr);
    ::_exit(99);  // not reached
  }
  ::close(ends[1]);
  Ending ending;
  char buffer[256];
  for (ssize_t count; (count = ::read(ends[0], buffer, sizeof buffer)) > 0;) {
    ending.text.append(buffer, static_cast<std::size_t>(count));
  }
  ::close(ends[0]);
  int status = 0;
  EXPECT_EQ(child, ::waitpid(child, &status, 0));
  EXPECT_TRUE(WIFEXITED(status));
  ending.status = WEXITSTATUS(status);
  return ending;
}

TEST(HostExceptions, EndTheProcessWithOneLineWhenNobodyTakesThem) {
  const Ending plain = Raise(0xE0001234);
  EXPECT_EQ("host: unhandled exception 0xe0001234\n", plain.text);
  EXPECT_EQ(0x34, plain.status);
  const Ending zeroLowByte = Raise(0xE0000100);
  EXPECT_EQ("host: unhandled exception 0xe0000100\n", zeroLowByte.text);
  EXPECT_EQ(1, zeroLowByte.status);
}

TEST(HostExceptions, HandlersRunOutsideTheSeam) {
  void* handle = winapi::AddVectoredExceptionHandler(1, NotesTheSeam);
  winapi::RaiseException(1, 0, 0, nullptr);
  EXPECT_FALSE(insideSeam);
  EXPECT_EQ(1u, winapi::RemoveVectoredExceptionHandler(handle));
}

TEST(HostExceptions, AddingFailsWhenToldTo) {
  winapi::host::FailCall("AddVectoredExceptionHandler", 1, 8);
  EXPECT_EQ(nullptr, winapi::AddVectoredExceptionHandler(1, Passes));
  EXPECT_EQ(8u, winapi::GetLastError());
}

TEST(HostExceptions, RemovingLetsTheHandlerGoThoughItFailsWhenToldTo) {
  void* handle = winapi::AddVectoredExceptionHandler(1, NotesTheSeam);
  winapi::host::FailCall("RemoveVectoredExceptionHandler", 1, 6);
  EXPECT_EQ(0u, winapi::RemoveVectoredExceptionHandler(handle));
  EXPECT_EQ(6u, winapi::GetLastError());
  EXPECT_EQ(0u, winapi::RemoveVectoredExceptionHandler(handle));
}

TEST(HostExceptions, RaisingStandsInTheLog) {
  void* handle = winapi::AddVectoredExceptionHandler(1, NotesTheSeam);
  winapi::host::StartCallLog();
  winapi::host::ClearCallLog();
  const std::uintptr_t parameter = 1;
  winapi::RaiseException(0x42849FD0, 0, 1, &parameter);
  const auto calls = winapi::host::CallsOf("RaiseException");
  ASSERT_EQ(1u, calls.size());
  EXPECT_EQ("0x42849fd0", calls[0].Argument("code"));
  EXPECT_EQ("0x0", calls[0].Argument("flags"));
  EXPECT_EQ("1", calls[0].Argument("count"));
  EXPECT_EQ(1u, winapi::RemoveVectoredExceptionHandler(handle));
}

}  // namespace
