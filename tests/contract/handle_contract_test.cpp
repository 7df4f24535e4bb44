#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

#include "tests/support/seam_error.h"
#include "winapi/errors.h"
#include "winapi/handles.h"
#include "winapi/memory.h"
#include "winapi/modules.h"

#ifndef _WIN32
#include "winapi/host/control.h"
#endif

namespace {

using tests::kUntouchedError;
const auto kNoHandle = reinterpret_cast<winapi::Handle>(std::uintptr_t{0xDEAD0});
const auto kOwnThread = reinterpret_cast<winapi::Handle>(std::intptr_t{-2});

// The seam has no operation that makes a waitable object.
winapi::Handle MakeEvent(bool signalled) {
#ifdef _WIN32
  using CreateEvent = winapi::Handle(WINAPI_STDCALL*)(void* security, winapi::Bool manualReset,
                                                      winapi::Bool signalled, const char16_t* name);
  const auto create = reinterpret_cast<CreateEvent>(
      winapi::GetProcAddress(winapi::GetModuleHandleW(u"kernel32.dll"), "CreateEventW"));
  return create(nullptr, 1, signalled ? 1 : 0, nullptr);
#else
  return winapi::host::MakeWaitable(signalled);
#endif
}

TEST(WaitForSingleObjectContract, SignalledObject) {
  const winapi::Handle event = MakeEvent(true);
  EXPECT_EQ(winapi::kWaitObject0, winapi::WaitForSingleObjectEx(event, 0, 0));
  EXPECT_EQ(winapi::kWaitObject0, winapi::WaitForSingleObjectEx(event, winapi::kInfinite, 0));
  EXPECT_NE(0, winapi::CloseHandle(event));
}

TEST(WaitForSingleObjectContract, TimeOut) {
  const winapi::Handle event = MakeEvent(false);
  EXPECT_EQ(winapi::kWaitTimeout, winapi::WaitForSingleObjectEx(event, 0, 0));
  EXPECT_EQ(winapi::kWaitTimeout, winapi::WaitForSingleObjectEx(event, 5, 0));
  EXPECT_NE(0, winapi::CloseHandle(event));
}

TEST(WaitForSingleObjectContract, ProcessAndThreadThemselvesAreNotSignalled) {
  EXPECT_EQ(winapi::kWaitTimeout,
            winapi::WaitForSingleObjectEx(winapi::InvalidHandleValue(), 0, 0));
  EXPECT_EQ(winapi::kWaitTimeout, winapi::WaitForSingleObjectEx(kOwnThread, 0, 0));
}

TEST(WaitForSingleObjectContract, RefusesWhatIsNotOpen) {
  const winapi::Handle closed = MakeEvent(true);
  ASSERT_NE(0, winapi::CloseHandle(closed));
  for (const winapi::Handle handle : {winapi::Handle{nullptr}, kNoHandle, closed}) {
    winapi::SetLastError(kUntouchedError);
    EXPECT_EQ(winapi::kWaitFailed, winapi::WaitForSingleObjectEx(handle, 0, 0));
    EXPECT_EQ(winapi::kErrorInvalidHandle, winapi::GetLastError());
  }
}

TEST(CloseHandleContract, ClosesOnce) {
  const winapi::Handle event = MakeEvent(true);
  winapi::SetLastError(kUntouchedError);
  EXPECT_NE(0, winapi::CloseHandle(event));
  EXPECT_EQ(kUntouchedError, winapi::GetLastError());
  EXPECT_EQ(0, winapi::CloseHandle(event));
  EXPECT_EQ(winapi::kErrorInvalidHandle, winapi::GetLastError());
}

TEST(CloseHandleContract, RefusesWhatIsNoHandle) {
  for (const winapi::Handle handle : {winapi::Handle{nullptr}, kNoHandle}) {
    winapi::SetLastError(kUntouchedError);
    EXPECT_EQ(0, winapi::CloseHandle(handle));
    EXPECT_EQ(winapi::kErrorInvalidHandle, winapi::GetLastError());
  }
}

TEST(CloseHandleContract, TakesTheHandlesThatAreAlwaysOpen) {
  EXPECT_NE(0, winapi::CloseHandle(winapi::InvalidHandleValue()));
  EXPECT_NE(0, winapi::CloseHandle(kOwnThread));
}

TEST(HeapContract, GivesAlignedBlocksThatCanBeWritten) {
  const winapi::Heap heap = winapi::GetProcessHeap();
  ASSERT_NE(nullptr, heap);
  EXPECT_EQ(heap, winapi::GetProcessHeap());
  for (const std::size_t size : {0u, 1u, 7u, 513u, 1000000u}) {
    void* block = winapi::HeapAlloc(heap, 0, size);
    ASSERT_NE(nullptr, block);
    EXPECT_EQ(0u, reinterpret_cast<std::uintptr_t>(block) % 8);
    std::memset(block, 0x5A, size);
    EXPECT_NE(0, winapi::HeapFree(heap, 0, block));
  }
}

TEST(HeapContract, FreesNull) {
  EXPECT_NE(0, winapi::HeapFree(winapi::GetProcessHeap(), 0, nullptr));
}

TEST(HeapContract, GivesNullForMoreThanThereIs) {
  EXPECT_EQ(nullptr, winapi::HeapAlloc(winapi::GetProcessHeap(), 0, SIZE_MAX / 2));
}

}  // namespace
