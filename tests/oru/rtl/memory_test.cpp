#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>

#include "oru/rtl/alignment.h"
#include "oru/rtl/allocator.h"
#include "oru/rtl/memory_resource.h"
#include "tests/support/checks.h"
#include "tests/support/vtable_slot.h"

namespace {

using oru::memory::windows::default_heap_resource;
using tests::CountReported;
using tests::ReportedChecks;

// --- Alignment arithmetic.

TEST(Alignment, IsAlignedMeansADivisionWithoutARest) {
  struct Case {
    std::uint32_t x;
    std::uint32_t alignment;
    bool aligned;
  };
  constexpr Case kCases[] = {{0, 1, true},   {7, 1, true},          {0, 8, true},
                             {8, 8, true},   {9, 8, false},         {15, 8, false},
                             {16, 8, true},  {12, 6, true},         {13, 6, false},
                             {30, 10, true}, {0xFFFFFFFF, 3, true}, {0xFFFFFFFE, 3, false}};
  for (const Case& each : kCases) {
    EXPECT_EQ(oru::math::is_aligned(each.x, each.alignment), each.aligned)
        << each.x << " to " << each.alignment;
  }
  EXPECT_TRUE(ReportedChecks().empty());
}

TEST(Alignment, AlignDownGivesTheMultipleBelow) {
  struct Case {
    std::uint32_t x;
    std::uint32_t alignment;
    std::uint32_t down;
  };
  constexpr Case kCases[] = {{0, 8, 0},   {7, 8, 0},   {8, 8, 8},
                             {15, 8, 8},  {17, 8, 16}, {13, 6, 12},
                             {29, 7, 28}, {99, 1, 99}, {0xFFFFFFFF, 10, 0xFFFFFFFA}};
  for (const Case& each : kCases) {
    EXPECT_EQ(oru::math::align_down(each.x, each.alignment), each.down)
        << each.x << " to " << each.alignment;
  }
  EXPECT_TRUE(ReportedChecks().empty());
}

TEST(AlignmentOwnProcess, OfZeroIsReportedAndCountsAsOne) {
  EXPECT_TRUE(oru::math::is_aligned(std::uint32_t{5}, std::uint32_t{0}));
  EXPECT_EQ(CountReported("0 < alignment"), 1u);
  EXPECT_EQ(CountReported("alignment < alignment * 2"), 1u);
  EXPECT_EQ(oru::math::align_down(std::uint32_t{5}, std::uint32_t{0}), 5u);
  EXPECT_EQ(ReportedChecks().size(), 2u);
}

TEST(AlignmentOwnProcess, ThatCantBeDoubledIsReportedAndUsed) {
  EXPECT_FALSE(oru::math::is_aligned(std::uint32_t{1}, std::uint32_t{0x80000000}));
  EXPECT_EQ(CountReported("alignment < alignment * 2"), 1u);
  EXPECT_EQ(CountReported("0 < alignment"), 0u);
  EXPECT_EQ(oru::math::align_down(std::uint32_t{0x80000001}, std::uint32_t{0x80000000}),
            0x80000000u);
}

TEST(Alignment, GreatestThatCanBeDoubledIsNotReported) {
  EXPECT_TRUE(oru::math::is_aligned(std::uint32_t{0x7FFFFFFF}, std::uint32_t{0x7FFFFFFF}));
  EXPECT_TRUE(ReportedChecks().empty());
}

TEST(AlignmentOwnProcess, DoublesInTheTypeItself) {
  EXPECT_TRUE(oru::math::is_aligned(std::uint16_t{0x8000}, std::uint16_t{0x8000}));
  EXPECT_EQ(CountReported("alignment < alignment * 2"), 1u);
}

TEST(Alignment, OfAnAddress) {
  alignas(16) const char bytes[32] = {};
  EXPECT_TRUE(oru::math::is_aligned(&bytes[0], 16));
  EXPECT_TRUE(oru::math::is_aligned(&bytes[8], 8));
  EXPECT_FALSE(oru::math::is_aligned(&bytes[4], 8));
  EXPECT_TRUE(oru::math::is_aligned(nullptr, 8));
}

TEST(Alignment, OfTheHeapIsEight) {
  static_assert(alignof(oru_std::max_align_t) == 8);
  alignas(8) char bytes[8] = {};
  EXPECT_TRUE(oru::math::is_aligned(bytes, alignof(oru_std::max_align_t)));
}

// --- The process heap.

// Blocks of one allocator: aligned to 8, apart from each other, and writable to their last byte.
template <typename Allocate, typename Deallocate>
void ExpectUsableBlocks(Allocate allocate, Deallocate deallocate) {
  for (const std::size_t bytes : {std::size_t{1}, std::size_t{7}, std::size_t{8}, std::size_t{9},
                                  std::size_t{512}, std::size_t{100000}}) {
    void* const first = allocate(bytes);
    void* const second = allocate(bytes);
    ASSERT_NE(first, nullptr) << bytes;
    ASSERT_NE(second, nullptr) << bytes;
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(first) % 8, 0u) << bytes;
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(second) % 8, 0u) << bytes;
    std::memset(first, 0x11, bytes);
    std::memset(second, 0x22, bytes);
    EXPECT_EQ(static_cast<unsigned char*>(first)[bytes - 1], 0x11) << bytes;
    deallocate(first, bytes);
    EXPECT_EQ(static_cast<unsigned char*>(second)[0], 0x22) << bytes;
    deallocate(second, bytes);
  }
  EXPECT_TRUE(ReportedChecks().empty());
}

TEST(DefaultHeapResource, GivesAndTakesBlocks) {
  ExpectUsableBlocks([](std::size_t n) { return default_heap_resource::allocate(n, 8); },
                     [](void* p, std::size_t n) { default_heap_resource::deallocate(p, n, 8); });
}

TEST(DefaultHeapResourceOwnProcess, AllocationOfNoBytesIsReported) {
  void* const block = default_heap_resource::allocate(0, 1);
  EXPECT_EQ(CountReported("bytes != 0"), 1u);
  EXPECT_EQ(ReportedChecks().size(), 1u);
  default_heap_resource::deallocate(block, 1, 1);
}

TEST(DefaultHeapResourceOwnProcess, AllocationWithAlignmentZeroIsReportedAndGivesABlock) {
  void* const block = default_heap_resource::allocate(8, 0);
  EXPECT_NE(block, nullptr);
  EXPECT_EQ(CountReported("alignment != 0"), 1u);
  // The check behind the allocation has the checks of its arithmetic, and holds for every address.
  EXPECT_EQ(CountReported("0 < alignment"), 1u);
  EXPECT_EQ(CountReported("math::is_aligned(ptr, alignment)"), 0u);
  default_heap_resource::deallocate(block, 8, 8);
}

TEST(DefaultHeapResourceOwnProcess, AlignmentAboveEightIsReportedAsExpressionResult) {
  void* const block = default_heap_resource::allocate(8, 16);
  EXPECT_NE(block, nullptr);
  EXPECT_EQ(CountReported("expressionResult"), 1u);
  default_heap_resource::deallocate(block, 8, 16);
  EXPECT_EQ(CountReported("expressionResult"), 1u);
}

TEST(DefaultHeapResourceOwnProcess, AlignmentThatTheBlockDoesNotHaveIsReportedBehind) {
  // No block lies at a multiple of this.
  constexpr std::size_t kUnreachable = std::numeric_limits<std::size_t>::max() / 2;
  void* const block = default_heap_resource::allocate(8, kUnreachable);
  EXPECT_NE(block, nullptr);
  EXPECT_EQ(CountReported("math::is_aligned(ptr, alignment)"), 1u);
  default_heap_resource::deallocate(block, 8, 8);
}

TEST(DefaultHeapResourceOwnProcess, DeallocationOfNullIsReportedAndHarmless) {
  default_heap_resource::deallocate(nullptr, 8, 8);
  EXPECT_EQ(CountReported("ptr != nullptr"), 1u);
  EXPECT_EQ(ReportedChecks().size(), 1u);
}

TEST(DefaultHeapResourceOwnProcess, DeallocationOfNoBytesIsReportedAndDone) {
  default_heap_resource::deallocate(default_heap_resource::allocate(8, 8), 0, 8);
  EXPECT_EQ(CountReported("bytes != 0"), 1u);
  EXPECT_EQ(ReportedChecks().size(), 1u);
}

TEST(DefaultHeapResourceOwnProcess, DeallocationWithAlignmentZeroIsReportedAndDone) {
  default_heap_resource::deallocate(default_heap_resource::allocate(8, 8), 8, 0);
  EXPECT_EQ(CountReported("alignment != 0"), 1u);
  EXPECT_EQ(ReportedChecks().size(), 1u);
}

TEST(DefaultHeapResource, GivesNullWhenTheSystemHasNoMemory) {
  void* const block =
      default_heap_resource::allocate(std::numeric_limits<std::size_t>::max() / 2, 8);
  EXPECT_EQ(block, nullptr);
  EXPECT_TRUE(ReportedChecks().empty());
}

TEST(StatelessAllocatorOwnProcess, HasNoDataAndCallsItsResource) {
  using Allocator = oru::memory::stateless_allocator<default_heap_resource>;
  static_assert(std::is_empty_v<Allocator>);
  const Allocator allocator;
  ExpectUsableBlocks([&](std::size_t n) { return allocator.allocate(n, 8); },
                     [&](void* p, std::size_t n) { allocator.deallocate(p, n, 8); });
  allocator.deallocate(nullptr, 1, 1);
  EXPECT_EQ(CountReported("ptr != nullptr"), 1u);
}

// --- The resource that crosses between modules.

using ProcessHeapResource =
    oru::memory::type_erased_memory_resource<oru::abi_v2_allocator, 0x91D3C6E2>;

TEST(TypeErasedMemoryResource, BearsItsTypeMark) {
  EXPECT_EQ(ProcessHeapResource::instance.type_mark(), 0x91D3C6E2u);
}

TEST(TypeErasedMemoryResourceOwnProcess, GoesToTheProcessHeap) {
  const oru::memory::polymorphic_memory_resource& resource = ProcessHeapResource::instance;
  ExpectUsableBlocks([&](std::size_t n) { return resource.allocate(n, 8); },
                     [&](void* p, std::size_t n) { resource.deallocate(p, n, 8); });
  default_heap_resource::deallocate(resource.allocate(16, 8), 16, 8);
  EXPECT_TRUE(ReportedChecks().empty());
  resource.deallocate(nullptr, 1, 1);
  EXPECT_EQ(CountReported("ptr != nullptr"), 1u);
}

class OtherResource final : public oru::memory::polymorphic_memory_resource {
 public:
  [[nodiscard]] void* allocate(std::size_t, std::size_t) const noexcept override { return nullptr; }
  void deallocate(void*, std::size_t, std::size_t) const noexcept override {}
  [[nodiscard]] bool is_equal(const polymorphic_memory_resource&) const noexcept override {
    return false;
  }
};

TEST(TypeErasedMemoryResource, IsEqualToAll) {
  const OtherResource other;
  EXPECT_TRUE(ProcessHeapResource::instance.is_equal(ProcessHeapResource::instance));
  EXPECT_TRUE(ProcessHeapResource::instance.is_equal(other));
}

TEST(MemoryResourceSlots, FollowTheDeclaration) {
  using oru::memory::polymorphic_memory_resource;
  EXPECT_EQ(tests::VtableSlot(&polymorphic_memory_resource::allocate), 0);
  EXPECT_EQ(tests::VtableSlot(&polymorphic_memory_resource::deallocate), 1);
  EXPECT_EQ(tests::VtableSlot(&polymorphic_memory_resource::is_equal), 2);
}

TEST(MemoryResourceLayout, IsATablePointerAndTheMark) {
  static_assert(sizeof(ProcessHeapResource) == 2 * sizeof(void*));  // natively with padding
#if defined(_WIN32) && !defined(_WIN64)
  static_assert(sizeof(ProcessHeapResource) == 8);
#endif
}

// --- Counts of elements.

// Notes what it is asked for.
struct NotingAllocator {
  void* allocate(std::size_t bytes, std::size_t alignment) {
    lastBytes = bytes;
    lastAlignment = alignment;
    return &place;
  }
  void deallocate(void* pointer, std::size_t bytes, std::size_t alignment) {
    lastPointer = pointer;
    lastBytes = bytes;
    lastAlignment = alignment;
  }
  std::size_t lastBytes = 99;
  std::size_t lastAlignment = 99;
  void* lastPointer = nullptr;
  std::uint64_t place = 0;
};

TEST(AllocateElements, CountsTheirBytes) {
  NotingAllocator allocator;
  auto* const first = oru::memory::allocate_elements<std::uint32_t>(allocator, 5);
  EXPECT_EQ(static_cast<void*>(first), &allocator.place);
  EXPECT_EQ(allocator.lastBytes, 20u);
  EXPECT_EQ(allocator.lastAlignment, alignof(std::uint32_t));
  oru::memory::deallocate_elements(allocator, first, 6);
  EXPECT_EQ(allocator.lastPointer, &allocator.place);
  EXPECT_EQ(allocator.lastBytes, 24u);
  EXPECT_TRUE(ReportedChecks().empty());
}

TEST(AllocateElementsOwnProcess, CountOfZeroIsReportedAndGoesOn) {
  NotingAllocator allocator;
  EXPECT_NE(oru::memory::allocate_elements<char>(allocator, 0), nullptr);
  EXPECT_EQ(CountReported("n != 0"), 1u);
  EXPECT_EQ(allocator.lastBytes, 0u);
}

TEST(DeallocateElementsOwnProcess, CountOfZeroIsReportedAndGoesOn) {
  NotingAllocator allocator;
  char place = 0;
  oru::memory::deallocate_elements(allocator, &place, 0);
  EXPECT_EQ(CountReported("n != 0"), 1u);
  EXPECT_EQ(allocator.lastPointer, &place);
}

TEST(AllocateElements, CountWhoseBytesCantBeCountedGivesNull) {
  NotingAllocator allocator;
  constexpr std::size_t kMost = std::numeric_limits<std::size_t>::max() / 4;
  EXPECT_EQ(oru::memory::allocate_elements<std::uint32_t>(allocator, kMost + 1), nullptr);
  EXPECT_EQ(allocator.lastBytes, 99u);
  EXPECT_NE(oru::memory::allocate_elements<std::uint32_t>(allocator, kMost), nullptr);
  EXPECT_EQ(allocator.lastBytes, kMost * 4);
}

}  // namespace
