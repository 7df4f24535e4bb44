#include "oru/rtl/vector.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "oru/rtl/string.h"
#include "tests/oru/rtl/test_allocator.h"
#include "tests/support/checks.h"

namespace {

struct ThirtyTwoBytes {
  char bytes[32];
};

template <typename T>
using HeapVector =
    oru::vector<T, oru::memory::stateless_allocator<oru::memory::windows::default_heap_resource>>;

// Notes what happens to elements, and throws when told to.
struct Element {
  static inline std::vector<std::string> events;
  static inline int live = 0;
  static inline int copiesUntilThrow = -1;

  explicit Element(int number) : value(number) { ++live; }
  Element(const Element& other) : value(other.value) {
    if (copiesUntilThrow == 0) throw std::runtime_error("copy");
    if (copiesUntilThrow > 0) --copiesUntilThrow;
    ++live;
    events.push_back("copy " + std::to_string(value));
  }
  Element(Element&& other) noexcept : value(other.value) {
    ++live;
    events.push_back("move " + std::to_string(value));
  }
  Element& operator=(const Element&) = delete;
  ~Element() {
    --live;
    events.push_back("destroy " + std::to_string(value));
  }
  int value;
};

template <typename Vector>
std::vector<int> Values(const Vector& vector) {
  std::vector<int> values;
  for (const auto& element : vector) values.push_back(element.value);
  return values;
}

class VectorTest : public ::testing::Test {
 protected:
  ~VectorTest() override {
    EXPECT_TRUE(m_memory.live.empty());
    EXPECT_EQ(m_memory.strangeFrees, 0u);
    EXPECT_EQ(m_memory.references, 1u);
    EXPECT_EQ(Element::live, 0);
  }
  [[nodiscard]] oru::abi_v2_allocator Memory() { return oru::abi_v2_allocator(&m_memory); }
  tests::TestAllocator m_memory;
};

TEST(VectorLimits, LargestCountIsThatWhoseBytesFit32Bits) {
  EXPECT_EQ(oru::vector<ThirtyTwoBytes>::max_size(), 0x7FFFFFFu);
  EXPECT_EQ(oru::vector<char16_t>::max_size(), 0x7FFFFFFFu);
  EXPECT_EQ(oru::vector<char>::max_size(), 0xFFFFFFFFu);
  EXPECT_EQ(oru::vector<std::uint32_t>::max_size(), 0x3FFFFFFFu);
}

TEST_F(VectorTest, StartsEmptyWithoutMemory) {
  const oru::vector<int> vector(Memory());
  EXPECT_TRUE(vector.empty());
  EXPECT_EQ(vector.size(), 0u);
  EXPECT_EQ(vector.capacity(), 0u);
  EXPECT_TRUE(m_memory.requests.empty());
}

TEST_F(VectorTest, FirstGrowthGivesFourPlaces) {
  oru::vector<int> vector(Memory());
  vector.append(1, 7);
  EXPECT_EQ(vector.capacity(), 4u);
  EXPECT_EQ(vector.size(), 1u);
  EXPECT_EQ(m_memory.requests, (std::vector<std::size_t>{4 * sizeof(int)}));
}

TEST_F(VectorTest, GrowthFollowsSizeAndCount) {
  struct Case {
    std::uint32_t size, n, capacity;
  };
  for (const Case& c : {Case{0, 1, 4},
                        {0, 4, 4},
                        {0, 5, 5},
                        {0, 100, 100},
                        {4, 1, 8},
                        {4, 4, 8},
                        {4, 5, 9},
                        {5, 1, 10},
                        {9, 9, 18},
                        {9, 10, 19},
                        {20, 1, 40}}) {
    SCOPED_TRACE(::testing::Message() << c.n << " more at size " << c.size);
    oru::vector<int> vector(Memory());
    vector.append(c.size, 3);  // fills its capacity, from 4 elements on
    vector.append(c.n, 5);
    EXPECT_EQ(vector.size(), c.size + c.n);
    EXPECT_EQ(vector.capacity(), c.capacity);
  }
  EXPECT_TRUE(tests::ReportedChecks().empty());
}

TEST_F(VectorTest, ReserveGrowsByTheSameRule) {
  oru::vector<int> vector(Memory());
  vector.reserve(0);
  EXPECT_EQ(vector.capacity(), 0u);
  vector.reserve(3);
  EXPECT_EQ(vector.capacity(), 4u);
  vector.append(4, 1);
  vector.reserve(4);
  EXPECT_EQ(vector.capacity(), 4u);
  vector.reserve(5);
  EXPECT_EQ(vector.capacity(), 8u);
  vector.reserve(30);
  EXPECT_EQ(vector.capacity(), 30u);
  EXPECT_EQ(vector.size(), 4u);
  EXPECT_TRUE(tests::ReportedChecks().empty());
}

TEST_F(VectorTest, AppendRefusesBeyondTheLargestCount) {
  m_memory.refuse = true;
  oru::vector<ThirtyTwoBytes> vector(Memory());
  try {
    vector.append(0x8000000, ThirtyTwoBytes{});
    ADD_FAILURE();
  } catch (const std::length_error& exception) {
    EXPECT_STREQ(exception.what(), "vector::append");
  }
  EXPECT_TRUE(m_memory.requests.empty());
  EXPECT_THROW(vector.append(0x7FFFFFF, ThirtyTwoBytes{}), std::bad_alloc);
  EXPECT_EQ(m_memory.requests, (std::vector<std::size_t>{0xFFFFFFE0}));
}

TEST_F(VectorTest, AppendCountsWhatIsThere) {
  oru::vector<ThirtyTwoBytes> vector(Memory());
  vector.append(3, ThirtyTwoBytes{});
  m_memory.refuse = true;
  m_memory.requests.clear();
  EXPECT_THROW(vector.append(0x7FFFFFD, ThirtyTwoBytes{}), std::length_error);
  EXPECT_TRUE(m_memory.requests.empty());
  EXPECT_THROW(vector.append(0x7FFFFFC, ThirtyTwoBytes{}), std::bad_alloc);
  EXPECT_EQ(m_memory.requests, (std::vector<std::size_t>{0xFFFFFFE0}));
  EXPECT_EQ(vector.size(), 3u);
  EXPECT_TRUE(tests::ReportedChecks().empty());
}

TEST_F(VectorTest, ReserveRefusesBeyondTheLargestCount) {
  m_memory.refuse = true;
  oru::vector<char16_t> vector(Memory());
  try {
    vector.reserve(0x80000000);
    ADD_FAILURE();
  } catch (const std::length_error& exception) {
    EXPECT_STREQ(exception.what(), "vector::reserve");
  }
  EXPECT_TRUE(m_memory.requests.empty());
  EXPECT_THROW(vector.reserve(0x7FFFFFFF), std::bad_alloc);
  EXPECT_EQ(m_memory.requests, (std::vector<std::size_t>{0xFFFFFFFE}));
  EXPECT_TRUE(tests::ReportedChecks().empty());
}

TEST(VectorLimits, DoublingStopsAtTheLargestCount) {
  constexpr std::uint32_t kMax = 0x7FFFFFF;
  EXPECT_EQ(oru::detail::GrownVectorCapacity(0x3FFFFFF, 1, kMax), 0x7FFFFFEu);
  EXPECT_EQ(oru::detail::GrownVectorCapacity(0x4000000, 1, kMax), 0x7FFFFFFu);
  EXPECT_EQ(oru::detail::GrownVectorCapacity(0x7FFFFFE, 1, kMax), 0x7FFFFFFu);
  EXPECT_EQ(oru::detail::GrownVectorCapacity(0x2000000, 0x5FFFFFF, kMax), 0x7FFFFFFu);
  EXPECT_EQ(oru::detail::GrownVectorCapacity(1, 1, kMax), 4u);
}

TEST_F(VectorTest, NewElementsAreMadeBeforeOldOnesMove) {
  oru::vector<Element> vector(Memory());
  for (int i = 1; i <= 4; ++i) vector.emplace_back(i);
  {
    const Element value(9);
    Element::events.clear();
    vector.append(2, value);
    EXPECT_EQ(Element::events,
              (std::vector<std::string>{"copy 9", "copy 9", "move 1", "move 2", "move 3", "move 4",
                                        "destroy 1", "destroy 2", "destroy 3", "destroy 4"}));
  }
  EXPECT_EQ(Values(vector), (std::vector<int>{1, 2, 3, 4, 9, 9}));
}

TEST_F(VectorTest, AppendsAnElementOfItsOwn) {
  oru::vector<oru::String16> vector(Memory());
  for (const char16_t* text : {u"a", u"b", u"a text that needs a block of its own", u"d"}) {
    vector.push_back(text);
  }
  vector.append(3, vector[2]);  // grows
  vector.push_back(vector[0]);  // has place
  vector.push_back(vector[1]);  // grows
  ASSERT_EQ(vector.size(), 9u);
  EXPECT_EQ(vector[6].view(), u"a text that needs a block of its own");
  EXPECT_EQ(vector[7].view(), u"a");
  EXPECT_EQ(vector.back().view(), u"b");
}

TEST_F(VectorTest, HoldsWhatOnlyMoves) {
  oru::vector<std::unique_ptr<int>> vector(Memory());
  for (int i = 0; i < 50; ++i) vector.push_back(std::make_unique<int>(i));
  for (std::uint32_t i = 0; i < 50; ++i) EXPECT_EQ(*vector[i], static_cast<int>(i));
}

TEST_F(VectorTest, CopyAndMoveKeepTheElements) {
  oru::vector<Element> vector(Memory());
  for (int i = 1; i <= 5; ++i) vector.emplace_back(i);
  oru::vector<Element> copy(vector);
  EXPECT_EQ(copy.get_allocator().get(), &m_memory);
  EXPECT_EQ(Values(copy), (std::vector<int>{1, 2, 3, 4, 5}));
  copy.pop_back();
  const Element* const block = copy.data();
  const oru::vector<Element> moved(std::move(copy));
  EXPECT_EQ(moved.data(), block);
  EXPECT_EQ(Values(moved), (std::vector<int>{1, 2, 3, 4}));
  EXPECT_TRUE(copy.empty());  // NOLINT(bugprone-use-after-move): promised
  vector = moved;
  EXPECT_EQ(Values(vector), (std::vector<int>{1, 2, 3, 4}));
  vector = oru::vector<Element>();
  EXPECT_TRUE(vector.empty());
}

TEST_F(VectorTest, ClearKeepsTheCapacity) {
  oru::vector<Element> vector(Memory());
  for (int i = 1; i <= 5; ++i) vector.emplace_back(i);
  vector.clear();
  EXPECT_TRUE(vector.empty());
  EXPECT_EQ(vector.capacity(), 8u);
  EXPECT_EQ(Element::live, 0);
}

TEST_F(VectorTest, FieldsStandInTheirOrder) {
  oru::vector<int> vector(Memory());
  vector.append(5, 1);
  vector.append(1, 2);
  const void* fields[4];
  static_assert(sizeof(vector) == sizeof(fields));
  std::memcpy(fields, static_cast<const void*>(&vector), sizeof(fields));
  EXPECT_EQ(fields[0], vector.data());
  EXPECT_EQ(fields[1], vector.data() + 6);
  EXPECT_EQ(fields[2], vector.data() + 10);
  EXPECT_EQ(fields[3], static_cast<oru::IAllocator*>(&m_memory));
}

TEST_F(VectorTest, AppendOfNothingDoesNothing) {
  oru::vector<int> vector(Memory());
  vector.append(0, 1);
  EXPECT_EQ(vector.capacity(), 0u);
}

TEST_F(VectorTest, RefusedMemoryLeavesTheVectorAlone) {
  oru::vector<Element> vector(Memory());
  for (int i = 1; i <= 4; ++i) vector.emplace_back(i);
  const Element* const block = vector.data();
  m_memory.refuse = true;
  EXPECT_THROW(vector.emplace_back(5), std::bad_alloc);
  EXPECT_THROW(vector.append(1, vector[0]), std::bad_alloc);
  EXPECT_THROW(vector.reserve(5), std::bad_alloc);
  EXPECT_THROW(oru::vector<Element> copy(vector), std::bad_alloc);
  EXPECT_EQ(vector.data(), block);
  EXPECT_EQ(Values(vector), (std::vector<int>{1, 2, 3, 4}));
}

TEST_F(VectorTest, CopyThatThrowsLeavesTheVectorAlone) {
  for (const bool growing : {true, false}) {
    SCOPED_TRACE(growing);
    oru::vector<Element> vector(Memory());
    for (int i = 1; i <= 4; ++i) vector.emplace_back(i);
    if (!growing) vector.reserve(8);
    const std::uint32_t capacity = vector.capacity();
    for (const int copies : {0, 1, 2}) {
      Element::copiesUntilThrow = copies;
      EXPECT_THROW(vector.append(3, vector[0]), std::runtime_error);
      EXPECT_EQ(Element::live, 4);
    }
    EXPECT_THROW(oru::vector<Element> copy(vector), std::runtime_error);
    Element::copiesUntilThrow = -1;
    EXPECT_EQ(vector.capacity(), capacity);
    EXPECT_EQ(Values(vector), (std::vector<int>{1, 2, 3, 4}));
  }
}

TEST(VectorOnTheHeap, NeedsNoPlaceForItsAllocator) {
  static_assert(sizeof(HeapVector<int>) == 3 * sizeof(int*));
  static_assert(sizeof(oru::vector<int>) == 4 * sizeof(int*));
  HeapVector<oru::String16> vector;
  for (int i = 0; i < 20; ++i) vector.emplace_back(u"a text that needs a block of its own");
  EXPECT_EQ(vector.size(), 20u);
  EXPECT_EQ(vector.capacity(), 32u);
  EXPECT_TRUE(tests::ReportedChecks().empty());
}

}  // namespace
