#include <gtest/gtest.h>

#include <cstring>

#include "tests/support/seam_error.h"
#include "winapi/errors.h"
#include "winapi/handles.h"
#include "winapi/host/control.h"
#include "winapi/memory.h"

namespace {

using tests::kUntouchedError;

TEST(HostHandles, AreCountedUntilTheyAreClosed) {
  const winapi::Handle first = winapi::host::MakeWaitable(true);
  const winapi::Handle second = winapi::host::MakeWaitable(false);
  EXPECT_NE(first, second);
  EXPECT_EQ(2u, winapi::host::Live().handles);
  EXPECT_NE(0, winapi::CloseHandle(first));
  EXPECT_EQ(1u, winapi::host::Live().handles);
  EXPECT_EQ(0, winapi::CloseHandle(first));
  EXPECT_EQ(1u, winapi::host::Live().handles);
  EXPECT_NE(0, winapi::CloseHandle(second));
  EXPECT_EQ(0u, winapi::host::Live().handles);
}

TEST(HostHandles, ClosedOneIsNeverGivenAgain) {
  const winapi::Handle first = winapi::host::MakeWaitable(true);
  ASSERT_NE(0, winapi::CloseHandle(first));
  const winapi::Handle second = winapi::host::MakeWaitable(true);
  EXPECT_NE(first, second);
  EXPECT_NE(0, winapi::CloseHandle(second));
}

TEST(HostHandles, AreLetGoThoughClosingFailsWhenToldTo) {
  const winapi::Handle handle = winapi::host::MakeWaitable(true);
  winapi::host::FailCall("CloseHandle", 1, 5);
  EXPECT_EQ(0, winapi::CloseHandle(handle));
  EXPECT_EQ(5u, winapi::GetLastError());
  EXPECT_EQ(0u, winapi::host::Live().handles);
}

TEST(HostWait, GivesTheResultAndTheErrorOfTheObject) {
  struct Case {
    const char* name;
    winapi::Dword result;
    winapi::Error error;
    winapi::Error lastError;
  };
  constexpr Case kCases[] = {
      {"abandoned", winapi::kWaitAbandoned, 0, kUntouchedError},
      {"failed", winapi::kWaitFailed, 5, 5},
      {"success with a misleading last error", winapi::kWaitObject0, 87, 87},
      {"a number that isn't documented", 192, 0, kUntouchedError},
  };
  for (const Case& one : kCases) {
    SCOPED_TRACE(one.name);
    const winapi::Handle handle = winapi::host::MakeWaitableWithResult(one.result, one.error);
    winapi::SetLastError(kUntouchedError);
    EXPECT_EQ(one.result, winapi::WaitForSingleObjectEx(handle, winapi::kInfinite, 0));
    EXPECT_EQ(one.lastError, winapi::GetLastError());
    EXPECT_NE(0, winapi::CloseHandle(handle));
  }
}

TEST(HostWait, FailsWhenToldTo) {
  const winapi::Handle handle = winapi::host::MakeWaitable(true);
  winapi::host::FailCall("WaitForSingleObjectEx", 1, 1450);
  EXPECT_EQ(winapi::kWaitFailed, winapi::WaitForSingleObjectEx(handle, 0, 0));
  EXPECT_EQ(1450u, winapi::GetLastError());
  EXPECT_NE(0, winapi::CloseHandle(handle));
}

TEST(HostWaitDeathTest, WithoutEndIsTold) {
  const winapi::Handle handle = winapi::host::MakeWaitable(false);
  EXPECT_DEATH((void)winapi::WaitForSingleObjectEx(handle, winapi::kInfinite, 0),
               "a wait without end");
  EXPECT_NE(0, winapi::CloseHandle(handle));
}

TEST(HostHeap, CountsItsBlocks) {
  const winapi::Heap heap = winapi::GetProcessHeap();
  const std::size_t before = winapi::host::Live().heapBlocks;
  void* block = winapi::HeapAlloc(heap, 0, 10);
  EXPECT_EQ(before + 1, winapi::host::Live().heapBlocks);
  EXPECT_NE(0, winapi::HeapFree(heap, 0, block));
  EXPECT_EQ(before, winapi::host::Live().heapBlocks);
  EXPECT_EQ(0, winapi::HeapFree(heap, 0, block));
  EXPECT_EQ(winapi::kErrorInvalidParameter, winapi::GetLastError());
}

TEST(HostHeap, GivesZerosOnlyWhenAsked) {
  const winapi::Heap heap = winapi::GetProcessHeap();
  const char zeros[64] = {};
  void* zeroed = winapi::HeapAlloc(heap, 8, sizeof zeros);
  void* plain = winapi::HeapAlloc(heap, 0, sizeof zeros);
  EXPECT_EQ(0, std::memcmp(zeroed, zeros, sizeof zeros));
  EXPECT_NE(0, std::memcmp(plain, zeros, sizeof zeros));
  EXPECT_NE(0, winapi::HeapFree(heap, 0, zeroed));
  EXPECT_NE(0, winapi::HeapFree(heap, 0, plain));
}

TEST(HostHeap, RefusesAnotherHeap) {
  int other = 0;
  EXPECT_EQ(nullptr, winapi::HeapAlloc(&other, 0, 1));
  EXPECT_EQ(nullptr, winapi::HeapAlloc(nullptr, 0, 1));
  EXPECT_EQ(0, winapi::HeapFree(&other, 0, nullptr));
  EXPECT_EQ(winapi::kErrorInvalidHandle, winapi::GetLastError());
}

TEST(HostHeap, FailsWhenToldTo) {
  const winapi::Heap heap = winapi::GetProcessHeap();
  winapi::host::FailCall("HeapAlloc", 2, 8);
  void* block = winapi::HeapAlloc(heap, 0, 1);
  EXPECT_NE(nullptr, block);
  winapi::SetLastError(kUntouchedError);
  EXPECT_EQ(nullptr, winapi::HeapAlloc(heap, 0, 1));
  EXPECT_EQ(kUntouchedError, winapi::GetLastError());
  const std::size_t live = winapi::host::Live().heapBlocks;
  winapi::host::FailCall("HeapFree", 1, 14);
  EXPECT_EQ(0, winapi::HeapFree(heap, 0, block));
  EXPECT_EQ(14u, winapi::GetLastError());
  EXPECT_EQ(live - 1, winapi::host::Live().heapBlocks);
  winapi::host::FailCall("GetProcessHeap", 1, 6);
  EXPECT_EQ(nullptr, winapi::GetProcessHeap());
  EXPECT_EQ(6u, winapi::GetLastError());
}

}  // namespace
