// Capacities, blocks, and what the allocator sees of a string.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <string>
#include <vector>

#include "oru/rtl/string.h"
#include "tests/oru/rtl/string_text.h"
#include "tests/oru/rtl/test_allocator.h"
#include "tests/support/checks.h"

namespace {

using tests::Holds;
using tests::Text;

template <typename CharT>
class StringGrowth : public ::testing::Test {
 protected:
  using String = oru::basic_string_t<CharT>;
  ~StringGrowth() override {
    EXPECT_TRUE(m_memory.live.empty());
    EXPECT_EQ(m_memory.strangeFrees, 0u);
    EXPECT_EQ(m_memory.references, 1u);
  }
  [[nodiscard]] oru::abi_v2_allocator Memory() { return oru::abi_v2_allocator(&m_memory); }
  [[nodiscard]] String Make(std::string_view ascii) {
    const auto text = Text<CharT>(ascii);
    return String(text.data(), static_cast<std::uint32_t>(text.size()), Memory());
  }
  // Of all requests since the last call, in characters.
  [[nodiscard]] std::vector<std::size_t> Requests() {
    std::vector<std::size_t> requests;
    requests.swap(m_memory.requests);
    for (std::size_t& bytes : requests) {
      EXPECT_EQ(bytes % sizeof(CharT), 0u);
      bytes /= sizeof(CharT);
    }
    return requests;
  }
  tests::TestAllocator m_memory;
};
TYPED_TEST_SUITE(StringGrowth, tests::CharacterTypes, tests::CharacterTypeNames);

using Sizes = std::vector<std::size_t>;

TYPED_TEST(StringGrowth, AppendBeyondTheInlineBufferDoubles) {
  const std::uint32_t inlineCapacity = sizeof(TypeParam) == 1 ? 15 : 7;
  auto string = this->Make("");
  string.append(inlineCapacity, TypeParam{'a'});
  EXPECT_EQ(string.capacity(), inlineCapacity);
  EXPECT_EQ(this->Requests(), Sizes{});
  string.push_back(TypeParam{'b'});
  EXPECT_EQ(string.capacity(), inlineCapacity * 2);
  EXPECT_EQ(this->Requests(), (Sizes{inlineCapacity * 2 + 1}));
  EXPECT_TRUE(Holds(string, sizeof(TypeParam) == 1 ? "aaaaaaaaaaaaaaab" : "aaaaaaab"));
}

TEST(StringCapacity, FifteenCharactersNeedNoBlockAndTheSixteenthGivesThirty) {
  oru::String8 string("123456789012345");
  EXPECT_EQ(string.capacity(), 15u);
  string.push_back('6');
  EXPECT_EQ(string.capacity(), 30u);
}

TEST(StringCapacity, SevenWideCharactersNeedNoBlockAndTheEighthGivesFourteen) {
  oru::String16 string(u"1234567");
  EXPECT_EQ(string.capacity(), 7u);
  string.push_back(u'8');
  EXPECT_EQ(string.capacity(), 14u);
}

TEST(StringCapacity, LimitsAreThoseOfThirtyTwoBits) {
  EXPECT_EQ(oru::String8::max_size(), 0xFFFFFFFEu);
  EXPECT_EQ(oru::String16::max_size(), 0x7FFFFFFFu);
  EXPECT_EQ(oru::String8::inline_capacity, 15u);
  EXPECT_EQ(oru::String16::inline_capacity, 7u);
}

TYPED_TEST(StringGrowth, ConstructorAllocatesExactly) {
  const auto string = this->Make("12345678901234567890");
  EXPECT_EQ(string.capacity(), 20u);
  EXPECT_EQ(this->Requests(), Sizes{21});
}

TYPED_TEST(StringGrowth, CopyAllocatesExactly) {
  auto string = this->Make("12345678901234567890");
  string.push_back(TypeParam{'x'});
  EXPECT_EQ(string.capacity(), 40u);
  (void)this->Requests();
  const auto copy = string;
  EXPECT_EQ(copy.capacity(), 21u);
  EXPECT_EQ(this->Requests(), Sizes{22});
}

TYPED_TEST(StringGrowth, GrowthTakesTheLargerOfNeedAndDouble) {
  struct Case {
    std::uint32_t n, capacity;
  };
  // At size and capacity 20.
  for (const Case& c : {Case{1, 40}, {19, 40}, {20, 40}, {21, 41}, {100, 120}}) {
    SCOPED_TRACE(c.n);
    for (const int way : {0, 1, 2}) {
      auto string = this->Make("12345678901234567890");
      (void)this->Requests();
      if (way == 0) string.append(c.n, TypeParam{'x'});
      if (way == 1) string.reserve_extra(c.n);
      if (way == 2) string.resize_extra_at(c.n, 3, 0);
      EXPECT_EQ(string.capacity(), c.capacity) << way;
      EXPECT_EQ(this->Requests(), Sizes{c.capacity + 1}) << way;
    }
  }
}

TYPED_TEST(StringGrowth, ReplacedCharactersMakePlace) {
  auto string = this->Make("12345678901234567890");
  (void)this->Requests();
  string.resize_extra_at(7, 3, 7);
  EXPECT_EQ(this->Requests(), Sizes{});
  string.resize_extra_at(28, 3, 7);  // 41 characters in all
  EXPECT_EQ(string.capacity(), 41u);
  EXPECT_EQ(this->Requests(), Sizes{42});
}

TYPED_TEST(StringGrowth, EnoughPlaceMovesNothing) {
  auto string = this->Make("12345678901234567890");
  string.push_back(TypeParam{'x'});
  (void)this->Requests();
  const auto* const block = string.data();
  string.append(19, TypeParam{'y'});
  EXPECT_EQ(string.data(), block);
  EXPECT_EQ(string.size(), 40u);
  EXPECT_EQ(this->Requests(), Sizes{});
}

TYPED_TEST(StringGrowth, ReserveIsExact) {
  auto string = this->Make("12345678901234567890");
  (void)this->Requests();
  string.reserve(20);
  string.reserve(5);
  EXPECT_EQ(this->Requests(), Sizes{});
  string.reserve(21);
  EXPECT_EQ(this->Requests(), Sizes{22});
  EXPECT_EQ(string.capacity(), 21u);
  EXPECT_TRUE(Holds(string, "12345678901234567890"));
}

TYPED_TEST(StringGrowth, KeeperHoldsTheOldBlockAndFreesItInTheEnd) {
  auto string = this->Make("12345678901234567890");
  const TypeParam* const old = string.data();
  {
    oru::block_keeper<TypeParam> keeper;
    EXPECT_EQ(keeper.Block(), nullptr);
    string.reserve_extra(1, &keeper);
    EXPECT_EQ(keeper.Block(), old);
    EXPECT_NE(string.data(), old);
    EXPECT_EQ(this->m_memory.live.size(), 2u);
    EXPECT_EQ(std::basic_string<TypeParam>(old, 20), Text<TypeParam>("12345678901234567890"));
  }
  EXPECT_EQ(this->m_memory.live.size(), 1u);
  EXPECT_TRUE(Holds(string, "12345678901234567890"));
}

TYPED_TEST(StringGrowth, KeeperOfASecondBlockGivesTheFirstBack) {
  auto string = this->Make("12345678901234567890");
  oru::block_keeper<TypeParam> keeper;
  string.reserve_extra(1, &keeper);
  const TypeParam* const second = string.data();
  string.reserve_extra(100, &keeper);
  EXPECT_EQ(keeper.Block(), second);
  EXPECT_EQ(this->m_memory.live.size(), 2u);
}

TYPED_TEST(StringGrowth, KeeperGetsNothingOfATextInLine) {
  auto string = this->Make("12345");
  oru::block_keeper<TypeParam> keeper;
  string.reserve_extra(100, &keeper);
  EXPECT_EQ(keeper.Block(), nullptr);
  EXPECT_TRUE(Holds(string, "12345"));
}

TYPED_TEST(StringGrowth, WithoutAKeeperTheOldBlockGoesAtOnce) {
  auto string = this->Make("12345678901234567890");
  string.reserve_extra(1);
  EXPECT_EQ(this->m_memory.live.size(), 1u);
}

TYPED_TEST(StringGrowth, RefusedMemoryLeavesTheStringAlone) {
  auto string = this->Make("12345678901234567890");
  const auto* const block = string.data();
  const auto text = Text<TypeParam>("abcdefghijklmnopqrstuvwxyz");
  this->m_memory.refuse = true;
  EXPECT_THROW(string.push_back(TypeParam{'x'}), std::bad_alloc);
  EXPECT_THROW(string.append(text.data(), 26), std::bad_alloc);
  EXPECT_THROW(string.assign(text.data(), 26), std::bad_alloc);
  EXPECT_THROW(string.insert(3, text.data(), 26), std::bad_alloc);
  EXPECT_THROW(string.insert(3, string.data(), 20), std::bad_alloc);
  EXPECT_THROW(string.resize(21), std::bad_alloc);
  EXPECT_THROW(string.reserve(21), std::bad_alloc);
  EXPECT_THROW(string.reserve_extra(1), std::bad_alloc);
  EXPECT_THROW(string.resize_extra_at(1, 2, 0), std::bad_alloc);
  EXPECT_THROW(typename TestFixture::String copy(string), std::bad_alloc);
  EXPECT_EQ(string.data(), block);
  EXPECT_EQ(string.capacity(), 20u);
  EXPECT_TRUE(Holds(string, "12345678901234567890"));
  EXPECT_TRUE(tests::ReportedChecks().empty());
}

TYPED_TEST(StringGrowth, NullAllocatorIsTheProcessHeap) {
  // The heap's own allocator reports what it is given back wrongly; see the counts in its tests.
  typename TestFixture::String string;
  EXPECT_EQ(string.get_allocator().get(), nullptr);
  for (int i = 0; i < 1000; ++i) string.push_back(TypeParam{'x'});
  EXPECT_TRUE(Holds(string, std::string(1000, 'x')));
  EXPECT_TRUE(tests::ReportedChecks().empty());
}

#ifdef _WIN32
// The binary form on the target: data, size, capacity, allocator, inline buffer.
TYPED_TEST(StringGrowth, FieldsStandInTheirOrder) {
  using Tested = typename TestFixture::String;
  static_assert(sizeof(Tested) == 32);
  Tested string = this->Make("abc");
  std::uint32_t fields[4];
  std::memcpy(fields, static_cast<const void*>(&string), sizeof(fields));
  const auto address = reinterpret_cast<std::uintptr_t>(&string);
  EXPECT_EQ(fields[0], address + 16);
  EXPECT_EQ(fields[1], 3u);
  EXPECT_EQ(fields[2], sizeof(TypeParam) == 1 ? 15u : 7u);
  EXPECT_EQ(fields[3],
            reinterpret_cast<std::uintptr_t>(static_cast<oru::IAllocator*>(&this->m_memory)));
}
#endif

}  // namespace
