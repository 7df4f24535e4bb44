// What objects and allocators do when there is no memory, and what they leave behind.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <new>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "oru/rtl/alloc_std.h"
#include "oru/rtl/exception.h"
#include "oru/rtl/memory_resource.h"
#include "oru/rtl/objclient.h"
#include "oru/rtl/object_impl.h"
#include "oru/rtl/result_text.h"
#include "tests/support/allocation_faults.h"
#include "tests/support/checks.h"
#include "winapi/host/control.h"

namespace {

namespace host = winapi::host;
using oru::memory::windows::default_heap_resource;
using tests::CountReported;
using tests::ReportedChecks;
using tests::ScopedAllocationFault;

class IThing : public oru::IObject {
 public:
  static constexpr oru::InterfaceNumber kInterfaceNumber = 0x01020304;
  virtual void Nothing() = 0;

 protected:
  ~IThing() = default;
};

class Thing : public oru::inherit_ifaces<IThing>,
              public oru::ObjectModuleAutoLockTyped<Thing>,
              private oru::NonCopyable {
 public:
  explicit Thing(bool fail = false) {
    if (fail) throw std::runtime_error("constructor");
  }
  void Nothing() override { m_filler[0] = 1; }

 protected:
  ~Thing() = default;

 private:
  char m_filler[40] = {};
};

using ThingObject = oru::detail::ObjectImpl<Thing, oru::abi_v2_allocator>;

// --- Objects on the process heap.

TEST(ObjectCreation, IsOneBlockOfTheProcessHeap) {
  host::StartCallLog();
  host::ClearCallLog();
  oru::ObjectPtr<Thing> thing = oru::CreateObject<Thing>();
  EXPECT_EQ(host::Live().heapBlocks, 1u);
  const std::vector<host::CallRecord> calls = host::CallsOf("HeapAlloc");
  ASSERT_EQ(calls.size(), 1u);
  EXPECT_EQ(calls[0].Argument("bytes"), std::to_string(sizeof(ThingObject)));
  EXPECT_EQ(calls[0].Argument("flags"), "0x0");
  EXPECT_TRUE(host::CallsOf("HeapFree").empty());
  EXPECT_EQ(thing.Detach()->Release(), 0u);
  EXPECT_EQ(host::CallsOf("HeapFree").size(), 1u);
  EXPECT_EQ(host::Live().heapBlocks, 0u);
}

TEST(ObjectCreation, WithoutMemoryThrowsBadAlloc) {
  host::FailCall("HeapAlloc", 1, 0);
  EXPECT_THROW((void)oru::CreateObject<Thing>(), std::bad_alloc);
  EXPECT_EQ(Thing::LiveCount(), 0);
  EXPECT_EQ(oru::detail::LiveObjectCounter().load(), 0);
  EXPECT_EQ(host::Live().heapBlocks, 0u);
  EXPECT_TRUE(ReportedChecks().empty());
}

TEST(ObjectCreation, ConstructorThatThrowsLeavesNoBlockBehind) {
  EXPECT_THROW((void)oru::CreateObject<Thing>(/*fail=*/true), std::runtime_error);
  EXPECT_EQ(Thing::LiveCount(), 0);
  EXPECT_EQ(oru::detail::LiveObjectCounter().load(), 0);
  EXPECT_EQ(host::Live().heapBlocks, 0u);
  EXPECT_TRUE(ReportedChecks().empty());
}

// --- The process heap.

TEST(DefaultHeapResource, AllocatesOnTheProcessHeap) {
  host::StartCallLog();
  host::ClearCallLog();
  void* const block = default_heap_resource::allocate(24, 4);
  default_heap_resource::deallocate(block, 24, 4);
  ASSERT_EQ(host::CallLog().size(), 4u);
  EXPECT_EQ(host::CallLog()[0].operation, "GetProcessHeap");
  EXPECT_EQ(host::CallLog()[1].operation, "HeapAlloc");
  EXPECT_EQ(host::CallLog()[1].Argument("flags"), "0x0");
  EXPECT_EQ(host::CallLog()[1].Argument("bytes"), "24");
  EXPECT_EQ(host::CallLog()[2].operation, "GetProcessHeap");
  EXPECT_EQ(host::CallLog()[3].operation, "HeapFree");
  EXPECT_EQ(host::CallLog()[3].Argument("flags"), "0x0");
  EXPECT_EQ(host::CallLog()[3].Argument("heap"), host::CallLog()[1].Argument("heap"));
}

TEST(DefaultHeapResourceOwnProcess, AllocationWithoutAHeapIsReportedAndGivesNull) {
  host::FailCall("GetProcessHeap", 1, 6);
  EXPECT_EQ(default_heap_resource::allocate(8, 8), nullptr);
  EXPECT_EQ(CountReported("expressionResult"), 1u);
  EXPECT_EQ(ReportedChecks().size(), 1u);
}

TEST(DefaultHeapResourceOwnProcess, DeallocationWithoutAHeapIsReportedAndLosesTheBlock) {
  void* const block = default_heap_resource::allocate(8, 8);
  host::FailCall("GetProcessHeap", 1, 6);
  default_heap_resource::deallocate(block, 8, 8);
  EXPECT_EQ(CountReported("expressionResult"), 1u);
  EXPECT_EQ(host::Live().heapBlocks, 1u);
  host::ClearFaults();
  default_heap_resource::deallocate(block, 8, 8);
  EXPECT_EQ(host::Live().heapBlocks, 0u);
}

TEST(DefaultHeapResource, FailureOfTheHeapGivesNull) {
  host::FailCall("HeapAlloc", 1, 0);
  EXPECT_EQ(default_heap_resource::allocate(8, 8), nullptr);
  EXPECT_TRUE(ReportedChecks().empty());
}

TEST(AllocatorHandle, NullHandlePassesAFailureOfTheHeapOn) {
  oru::abi_v2_allocator handle;
  host::FailCall("HeapAlloc", 1, 0);
  EXPECT_EQ(handle.allocate(8, 8), nullptr);
  EXPECT_TRUE(ReportedChecks().empty());
}

// --- The allocator object.

TEST(AllocStd, IsNoBlockOfTheProcessHeap) {
  const oru::ObjectPtr<oru::IAllocator> allocator = oru::GetProcessAllocator();
  EXPECT_EQ(host::Live().heapBlocks, 0u);
  void* const block = allocator->Alloc(16);
  EXPECT_EQ(host::Live().heapBlocks, 0u);
  allocator->Free(block);
}

TEST(AllocStd, AllocWithoutMemoryGivesNull) {
  const oru::ObjectPtr<oru::IAllocator> allocator = oru::GetProcessAllocator();
  const ScopedAllocationFault fault(1);
  EXPECT_EQ(allocator->Alloc(16), nullptr);
}

TEST(AllocStd, ReallocWithoutMemoryLeavesTheOldBlockAlone) {
  const oru::ObjectPtr<oru::IAllocator> allocator = oru::GetProcessAllocator();
  auto* const block = static_cast<char*>(allocator->Alloc(4));
  ASSERT_NE(block, nullptr);
  block[0] = 'a';
  {
    const ScopedAllocationFault fault(1);
    EXPECT_EQ(allocator->Realloc(block, 1000), nullptr);
  }
  EXPECT_EQ(block[0], 'a');
  allocator->Free(block);
}

TEST(ProcessAllocator, WithoutMemoryThrowsItsException) {
  bool caught = false;
  try {
    const ScopedAllocationFault fault(1);
    (void)oru::GetProcessAllocator();
  } catch (const oru::CreateInstanceException& exception) {
    caught = true;
    EXPECT_EQ(exception.ClassId(), 0u);
    EXPECT_STREQ(exception.File(), "oru/rtl/objclient");
    EXPECT_EQ(exception.Line(), 185u);
    EXPECT_EQ(exception.Code(), oru::MakeResultCode(0x80000041));
    EXPECT_TRUE(exception.Message().empty());
    EXPECT_EQ(exception.GetDescription().view(), u"0x80000041 (Out of memory): iid:00000000");
  }
  EXPECT_TRUE(caught);
  EXPECT_EQ(oru::AllocStd::LiveCount(), 0);
  EXPECT_EQ(oru::detail::LiveObjectCounter().load(), 0);
  EXPECT_TRUE(ReportedChecks().empty());
}

TEST(ProcessAllocator, NeedsOneAllocation) {
  std::size_t failures = 0;
  const std::size_t faults = tests::SweepAllocations([&failures](std::size_t) {
    try {
      (void)oru::GetProcessAllocator();
    } catch (const oru::CreateInstanceException&) {
      ++failures;
    }
  });
  EXPECT_EQ(faults, 1u);
  EXPECT_EQ(failures, 1u);
}

// --- Texts.

TEST(ResultTexts, AreFoundWithoutAnAllocation) {
  const ScopedAllocationFault fault(1);
  const std::string_view known = oru::LookupResultText(oru::MakeResultCode(0x80010110));
  const std::string_view unknown = oru::LookupResultText(oru::MakeResultCode(0x80070005));
  const std::size_t allocations = host::AllocationCount();
  EXPECT_EQ(allocations, 0u);
  EXPECT_EQ(known, "Cannot open an anonymous level security token");
  EXPECT_EQ(unknown, "Unknown result code");
  EXPECT_EQ(host::Live().heapBlocks, 0u);
}

TEST(ResultTexts, FrameworkTextWithoutMemoryThrowsBadAlloc) {
  host::FailCall("HeapAlloc", 1, 0, host::Repeat::kForever);
  EXPECT_THROW((void)oru::GetFrameworkResultText(oru::MakeResultCode(0x80010110)), std::bad_alloc);
  EXPECT_EQ(host::Live().heapBlocks, 0u);
}

// --- The fault-injecting allocation itself.

template <typename Make>
bool MakesOneFallibleAllocation(Make make) {
  bool failed = false;
  try {
    const ScopedAllocationFault fault(1);
    failed = make() == nullptr;
  } catch (const std::bad_alloc&) {
    failed = true;
  }
  return failed;
}

TEST(AllocationFaults, ReachEachFormOfNew) {
  // Calls and no expressions, which the optimiser may leave out together with their deletion.
  constexpr std::align_val_t kWide{64};
  EXPECT_TRUE(MakesOneFallibleAllocation([] { return ::operator new(1); }));
  EXPECT_TRUE(MakesOneFallibleAllocation([] { return ::operator new[](1); }));
  EXPECT_TRUE(MakesOneFallibleAllocation([] { return ::operator new(1, std::nothrow); }));
  EXPECT_TRUE(MakesOneFallibleAllocation([] { return ::operator new[](1, std::nothrow); }));
  EXPECT_TRUE(MakesOneFallibleAllocation([] { return ::operator new(1, kWide); }));
  EXPECT_TRUE(MakesOneFallibleAllocation([] { return ::operator new[](1, kWide); }));
  EXPECT_TRUE(MakesOneFallibleAllocation([] { return ::operator new(1, kWide, std::nothrow); }));
  EXPECT_TRUE(MakesOneFallibleAllocation([] { return ::operator new[](1, kWide, std::nothrow); }));
}

TEST(AllocationFaults, ReachTheStandardLibrary) {
  std::string text;
  const ScopedAllocationFault fault(1);
  EXPECT_THROW(text.reserve(1000), std::bad_alloc);
}

TEST(AllocationFaults, HitTheNthOnceOrForEver) {
  const auto failures = [](std::size_t nth, host::Repeat repeat) {
    const ScopedAllocationFault fault(nth, repeat);
    std::string result;
    for (int i = 0; i < 4; ++i) {
      void* const block = ::operator new(1, std::nothrow);
      result += block == nullptr ? 'x' : '.';
      ::operator delete(block, std::nothrow);
    }
    return result;
  };
  EXPECT_EQ(failures(1, host::Repeat::kOnce), "x...");
  EXPECT_EQ(failures(3, host::Repeat::kOnce), "..x.");
  EXPECT_EQ(failures(3, host::Repeat::kForever), "..xx");
  EXPECT_EQ(failures(5, host::Repeat::kForever), "....");
}

TEST(AllocationFaults, SparesTheSeam) {
  const ScopedAllocationFault fault(1, host::Repeat::kForever);
  void* const block = default_heap_resource::allocate(8, 8);
  const std::size_t allocations = host::AllocationCount();
  EXPECT_NE(block, nullptr);
  EXPECT_EQ(allocations, 0u);
  default_heap_resource::deallocate(block, 8, 8);
}

TEST(AllocationFaults, SweepEndsWithARunWithoutAFault) {
  std::vector<std::size_t> seen;
  seen.reserve(10);
  const std::size_t faults = tests::SweepAllocations([&seen](std::size_t nth) {
    seen.push_back(nth);
    for (int i = 0; i < 3; ++i) {
      void* const block = ::operator new(1, std::nothrow);
      ::operator delete(block, std::nothrow);
    }
  });
  EXPECT_EQ(faults, 3u);
  EXPECT_EQ(seen, (std::vector<std::size_t>{1, 2, 3, 4}));
}

}  // namespace
