#include "oru/rtl/allocator.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>

#include "oru/rtl/alloc_std.h"
#include "oru/rtl/objclient.h"
#include "oru/rtl/service_locator.h"
#include "tests/support/checks.h"
#include "tests/support/object_stub.h"
#include "tests/support/vtable_slot.h"

namespace {

using oru::MakeResultCode;
using oru::ObjectPtr;
using tests::CountReported;
using tests::ReportedChecks;

// An allocator on the stack that notes what it is asked for.
class NotingAllocator final : public tests::ObjectStub<oru::IAllocator> {
 public:
  void* Alloc(std::size_t size) noexcept override {
    allocated = size;
    return answer;
  }
  void* Realloc(void*, std::size_t) noexcept override { return nullptr; }
  void Free(void* pointer) noexcept override { freed = pointer; }

  std::size_t allocated = 0;
  void* answer = nullptr;
  void* freed = nullptr;
};

TEST(AllocatorSlots, ContinueBehindTheRoot) {
  EXPECT_EQ(tests::VtableSlot(&oru::IAllocator::Alloc), 3);
  EXPECT_EQ(tests::VtableSlot(&oru::IAllocator::Realloc), 4);
  EXPECT_EQ(tests::VtableSlot(&oru::IAllocator::Free), 5);
}

TEST(AllocatorLayout, HandleIsOnePointer) {
  static_assert(sizeof(oru::abi_v2_allocator) == sizeof(void*));
  static_assert(sizeof(oru::AllocatorProvider) == sizeof(void*));
  static_assert(sizeof(oru::AllocStdObject) == 2 * sizeof(void*));  // natively with padding
#if defined(_WIN32) && !defined(_WIN64)
  static_assert(sizeof(oru::abi_v2_allocator) == 4);
  static_assert(sizeof(oru::AllocStdObject) == 8);
#endif
}

// --- The handle.

TEST(AllocatorHandle, IsNullAtFirst) {
  const oru::abi_v2_allocator handle;
  EXPECT_EQ(handle.get(), nullptr);
  EXPECT_EQ(oru::abi_v2_allocator(nullptr).get(), nullptr);
}

TEST(AllocatorHandle, HoldsAReference) {
  NotingAllocator allocator;
  {
    const oru::abi_v2_allocator handle(&allocator);
    EXPECT_EQ(handle.get(), &allocator);
    EXPECT_EQ(allocator.references, 1u);
    const oru::abi_v2_allocator copy = handle;
    EXPECT_EQ(allocator.references, 2u);
  }
  EXPECT_EQ(allocator.references, 0u);
}

TEST(AllocatorHandle, NullIsTheProcessHeap) {
  oru::abi_v2_allocator handle;
  void* const block = handle.allocate(100, 8);
  ASSERT_NE(block, nullptr);
  std::memset(block, 0x33, 100);
  handle.deallocate(block, 100, 8);
  EXPECT_TRUE(ReportedChecks().empty());
}

TEST(AllocatorHandleOwnProcess, NullHasTheChecksOfTheProcessHeap) {
  oru::abi_v2_allocator handle;
  handle.deallocate(handle.allocate(0, 8), 0, 8);
  EXPECT_EQ(CountReported("bytes != 0"), 2u);  // of the two operations
  handle.deallocate(nullptr, 8, 8);
  EXPECT_EQ(CountReported("ptr != nullptr"), 1u);
}

TEST(AllocatorHandle, AsksItsAllocator) {
  NotingAllocator allocator;
  alignas(8) char place[16];
  allocator.answer = place;
  oru::abi_v2_allocator handle(&allocator);
  EXPECT_EQ(handle.allocate(13, 4), place);
  EXPECT_EQ(allocator.allocated, 13u);
  handle.deallocate(place, 13, 4);
  EXPECT_EQ(allocator.freed, place);
  EXPECT_TRUE(ReportedChecks().empty());
}

TEST(AllocatorHandle, PassesANullBlockOn) {
  NotingAllocator allocator;
  oru::abi_v2_allocator handle(&allocator);
  EXPECT_EQ(handle.allocate(13, 4), nullptr);
  EXPECT_TRUE(ReportedChecks().empty());
}

TEST(AllocatorHandleOwnProcess, AlignmentAboveEightIsReportedAndGoesOn) {
  NotingAllocator allocator;
  alignas(16) char place[16];
  allocator.answer = place;
  oru::abi_v2_allocator handle(&allocator);
  EXPECT_EQ(handle.allocate(16, 16), place);
  EXPECT_EQ(CountReported("alignment <= alignof(oru_std::max_align_t)"), 1u);
  EXPECT_EQ(ReportedChecks().size(), 1u);
}

TEST(AllocatorHandleOwnProcess, AlignmentAboveEightOnTheProcessHeapHasBothReports) {
  oru::abi_v2_allocator handle;
  void* const block = handle.allocate(16, 16);
  EXPECT_NE(block, nullptr);
  EXPECT_EQ(CountReported("alignment <= alignof(oru_std::max_align_t)"), 1u);
  EXPECT_EQ(CountReported("expressionResult"), 1u);
  handle.deallocate(block, 16, 8);
}

TEST(AllocatorHandle, AlignmentOfEightIsNotReported) {
  NotingAllocator allocator;
  alignas(8) char place[16];
  allocator.answer = place;
  oru::abi_v2_allocator handle(&allocator);
  EXPECT_EQ(handle.allocate(16, 8), place);
  EXPECT_TRUE(ReportedChecks().empty());
}

TEST(AllocatorHandleOwnProcess, BlockOfAWrongAlignmentIsReportedAndPassedOn) {
  NotingAllocator allocator;
  alignas(8) char place[16];
  allocator.answer = place + 4;
  oru::abi_v2_allocator handle(&allocator);
  EXPECT_EQ(handle.allocate(8, 8), place + 4);
  EXPECT_EQ(CountReported("math::is_aligned(ptr, alignment)"), 1u);
  EXPECT_EQ(ReportedChecks().size(), 1u);
}

// --- The base that holds one.

class Provider : public oru::AllocatorProvider {
 public:
  explicit Provider(oru::IAllocator* allocator) : AllocatorProvider(allocator) {}
  [[nodiscard]] oru::IAllocator* Held() const { return m_alloc.get(); }
};

TEST(AllocatorProvider, HoldsAReference) {
  NotingAllocator allocator;
  {
    const Provider provider(&allocator);
    EXPECT_EQ(provider.Held(), &allocator);
    EXPECT_EQ(allocator.references, 1u);
  }
  EXPECT_EQ(allocator.references, 0u);
  EXPECT_TRUE(ReportedChecks().empty());
}

TEST(AllocatorProviderOwnProcess, NullIsReportedAndGoesOn) {
  const Provider provider(nullptr);
  EXPECT_EQ(CountReported("m_alloc"), 1u);
  EXPECT_EQ(provider.Held(), nullptr);
}

// --- The allocator object.

TEST(ProcessAllocator, EachCallMakesANewObject) {
  const ObjectPtr<oru::IAllocator> first = oru::GetProcessAllocator();
  const ObjectPtr<oru::IAllocator> second = oru::GetProcessAllocator();
  ASSERT_TRUE(first);
  ASSERT_TRUE(second);
  EXPECT_NE(first.Get(), second.Get());
}

TEST(ProcessAllocator, CallerHoldsTheOnlyReference) {
  ObjectPtr<oru::IAllocator> allocator = oru::GetProcessAllocator();
  EXPECT_EQ(allocator->AddRef(), 2u);
  EXPECT_EQ(allocator->Release(), 1u);
  EXPECT_EQ(allocator.Detach()->Release(), 0u);
  EXPECT_TRUE(ReportedChecks().empty());
}

TEST(ProcessAllocator, IsCountedWhileItLives) {
  const std::int32_t all = oru::detail::LiveObjectCounter().load();
  {
    const ObjectPtr<oru::IAllocator> allocator = oru::GetProcessAllocator();
    EXPECT_EQ(oru::AllocStd::LiveCount(), 1);
    EXPECT_EQ(oru::detail::LiveObjectCounter().load(), all + 1);
  }
  EXPECT_EQ(oru::AllocStd::LiveCount(), 0);
  EXPECT_EQ(oru::detail::LiveObjectCounter().load(), all);
}

TEST(AllocStd, AnswersItsTwoNumbers) {
  const ObjectPtr<oru::IAllocator> allocator = oru::GetProcessAllocator();
  for (const oru::InterfaceNumber iid : {0u, 0x9CCA5603u}) {
    void* out = nullptr;
    EXPECT_EQ(allocator->QueryInterface(iid, &out), oru::sOk) << iid;
    EXPECT_EQ(out, allocator.Get()) << iid;
    EXPECT_EQ(static_cast<oru::IAllocator*>(out)->Release(), 1u) << iid;
  }
}

TEST(AllocStd, UnknownNumberStoresNullAndAddsNoReference) {
  const ObjectPtr<oru::IAllocator> allocator = oru::GetProcessAllocator();
  for (const oru::InterfaceNumber iid : {1u, 0x6EF3329Bu, 0x9CCA5602u, 0xFFFFFFFFu}) {
    void* out = this;
    EXPECT_EQ(allocator->QueryInterface(iid, &out), MakeResultCode(0x80000001)) << iid;
    EXPECT_EQ(out, nullptr) << iid;
    EXPECT_EQ(allocator->AddRef(), 2u) << iid;
    EXPECT_EQ(allocator->Release(), 1u) << iid;
  }
}

// An allocator object that stays alive at a count of 0.
struct KeepingFactory {
  template <typename Object>
  static void Destroy(Object*) noexcept {}
};

TEST(AllocStdOwnProcess, AddRefAtZeroIsReportedAndGoesOn) {
  oru::Object<oru::AllocStd, KeepingFactory> allocator;
  EXPECT_EQ(allocator.Release(), 0u);
  EXPECT_TRUE(ReportedChecks().empty());
  EXPECT_EQ(allocator.AddRef(), 1u);
  EXPECT_EQ(CountReported("m_ref > 0"), 1u);
  EXPECT_EQ(allocator.Release(), 0u);
}

TEST(AllocStdOwnProcess, ReleaseAtZeroIsReportedAndGoesOn) {
  oru::Object<oru::AllocStd, KeepingFactory> allocator;
  EXPECT_EQ(allocator.Release(), 0u);
  EXPECT_EQ(allocator.Release(), 0xFFFFFFFFu);
  EXPECT_EQ(CountReported("m_ref > 0"), 1u);
  EXPECT_EQ(allocator.AddRef(), 0u);
}

TEST(AllocStd, GivesBlocks) {
  const ObjectPtr<oru::IAllocator> allocator = oru::GetProcessAllocator();
  void* const block = allocator->Alloc(64);
  ASSERT_NE(block, nullptr);
  std::memset(block, 0x44, 64);
  allocator->Free(block);
  allocator->Free(nullptr);
}

TEST(AllocStd, ReallocKeepsTheContent) {
  const ObjectPtr<oru::IAllocator> allocator = oru::GetProcessAllocator();
  auto* const block = static_cast<char*>(allocator->Alloc(4));
  ASSERT_NE(block, nullptr);
  std::copy_n("abcd", 4, block);
  auto* const grown = static_cast<char*>(allocator->Realloc(block, 100000));
  ASSERT_NE(grown, nullptr);
  EXPECT_EQ(std::memcmp(grown, "abcd", 4), 0);
  grown[99999] = 'z';
  auto* const shrunk = static_cast<char*>(allocator->Realloc(grown, 2));
  ASSERT_NE(shrunk, nullptr);
  EXPECT_EQ(std::memcmp(shrunk, "ab", 2), 0);
  allocator->Free(shrunk);
}

TEST(AllocStd, ReallocOfNullGivesANewBlock) {
  const ObjectPtr<oru::IAllocator> allocator = oru::GetProcessAllocator();
  void* const block = allocator->Realloc(nullptr, 16);
  EXPECT_NE(block, nullptr);
  allocator->Free(block);
}

TEST(AllocStd, ReallocToNoBytesStillGivesABlock) {
  const ObjectPtr<oru::IAllocator> allocator = oru::GetProcessAllocator();
  void* const block = allocator->Realloc(allocator->Alloc(16), 0);
  EXPECT_NE(block, nullptr);
  allocator->Free(block);
}

// --- The service locator.

class Locator final : public tests::ObjectStub<oru::IServiceLocator> {
 public:
  oru::ResultCode GetInterface(oru::InterfaceNumber number, std::uint32_t classNumber,
                               void** out) noexcept override {
    ++calls;
    iid = number;
    classId = classNumber;
    *out = this;
    return result;
  }

  int calls = 0;
  oru::InterfaceNumber iid = 0;
  std::uint32_t classId = 99;
  oru::ResultCode result = oru::sOk;
};

TEST(ServiceLocatorSlots, FirstOneLiesBehindTheRoot) {
  EXPECT_EQ(tests::VtableSlot(&oru::IServiceLocator::GetInterface), 3);
}

TEST(GetService, AsksTheLocator) {
  Locator locator;
  void* out = nullptr;
  EXPECT_EQ(oru::GetService(&locator, 0x6EF3329B, 0, &out), oru::sOk);
  EXPECT_EQ(out, &locator);
  EXPECT_EQ(locator.iid, 0x6EF3329Bu);
  EXPECT_EQ(locator.classId, 0u);
  EXPECT_TRUE(ReportedChecks().empty());
}

TEST(GetService, GivesTheLocatorsResult) {
  Locator locator;
  locator.result = MakeResultCode(0x80000001);
  void* out = nullptr;
  EXPECT_EQ(oru::GetService(&locator, 1, 2, &out), MakeResultCode(0x80000001));
  EXPECT_EQ(locator.classId, 2u);
}

TEST(GetServiceOwnProcess, NullLocatorIsReported) {
  void* out = this;
  EXPECT_EQ(oru::GetService(nullptr, 0x6EF3329B, 0, &out), MakeResultCode(0x80000046));
  EXPECT_EQ(CountReported("sl && iface"), 1u);
  EXPECT_EQ(out, this);
}

TEST(GetServiceOwnProcess, NullTargetIsReported) {
  Locator locator;
  EXPECT_EQ(oru::GetService(&locator, 0x6EF3329B, 0, nullptr), MakeResultCode(0x80000046));
  EXPECT_EQ(CountReported("sl && iface"), 1u);
  EXPECT_EQ(locator.calls, 0);
}

}  // namespace
