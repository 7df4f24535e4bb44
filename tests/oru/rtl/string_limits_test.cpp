// The refusal of lengths. The allocator refuses or lies about a block's size, so no test takes
// gigabytes.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>

#include "oru/rtl/string.h"
#include "tests/oru/rtl/string_text.h"
#include "tests/oru/rtl/test_allocator.h"
#include "tests/support/checks.h"

namespace {

using tests::Holds;
using tests::Text;

constexpr char kReport[] = "to_add < max_size() - size_now";

template <typename CharT>
class StringLimits : public ::testing::Test {
 protected:
  using String = oru::basic_string_t<CharT>;
  static constexpr std::uint32_t kMax = sizeof(CharT) == 1 ? 0xFFFFFFFE : 0x7FFFFFFF;

  // "12345" in line, over an allocator that refuses.
  StringLimits() : m_string(oru::abi_v2_allocator(&m_memory)) {
    m_memory.refuse = true;
    m_string.append(Text<CharT>("12345").c_str());
  }
  // The length error's text, or nothing where memory ran out.
  template <typename Operation>
  std::optional<std::string> LengthError(Operation operation) {
    try {
      operation();
      ADD_FAILURE() << "nothing was thrown";
    } catch (const std::length_error& exception) {
      return exception.what();
    } catch (const std::bad_alloc&) {
    }
    return std::nullopt;
  }
  void ExpectUnchanged() { EXPECT_TRUE(Holds(m_string, "12345")); }

  tests::TestAllocator m_memory;
  String m_string;
  // Never read, since the refusal comes first. Behind the string: in front of it a text of such a
  // length would reach into the string.
  const CharT m_other[4] = {'a', 'b', 'c', 0};
};
TYPED_TEST_SUITE(StringLimits, tests::CharacterTypes, tests::CharacterTypeNames);
template <typename CharT>
using StringLimitsOwnProcess = StringLimits<CharT>;
TYPED_TEST_SUITE(StringLimitsOwnProcess, tests::CharacterTypes, tests::CharacterTypeNames);

TYPED_TEST(StringLimitsOwnProcess, ReserveExtraRefusesFromTheLimitOn) {
  EXPECT_EQ(this->LengthError([&] { this->m_string.reserve_extra(this->kMax - 5); }),
            "oru::basic_string_t::reserve_extra()");
  EXPECT_EQ(tests::CountReported(kReport), 1u);
  EXPECT_TRUE(this->m_memory.requests.empty());
  EXPECT_EQ(this->LengthError([&] { this->m_string.reserve_extra(0xFFFFFFFF); }),
            "oru::basic_string_t::reserve_extra()");
  EXPECT_EQ(tests::ReportedChecks().size(), 1u);  // a site reports once
  this->ExpectUnchanged();
}

TYPED_TEST(StringLimits, ReserveExtraAsksForMemoryOneBelowTheLimit) {
  EXPECT_EQ(this->LengthError([&] { this->m_string.reserve_extra(this->kMax - 6); }), std::nullopt);
  // kMax - 1 characters and the terminator.
  ASSERT_EQ(this->m_memory.requests.size(), 1u);
  EXPECT_EQ(this->m_memory.requests[0], 0xFFFFFFFEu);
  EXPECT_TRUE(tests::ReportedChecks().empty());
  this->ExpectUnchanged();
}

TYPED_TEST(StringLimitsOwnProcess, AppendRefusesLikeReserveExtra) {
  EXPECT_EQ(this->LengthError([&] { this->m_string.append(this->m_other, this->kMax - 5); }),
            "oru::basic_string_t::reserve_extra()");
  EXPECT_EQ(this->LengthError([&] { this->m_string.append(this->kMax - 5, TypeParam{'x'}); }),
            "oru::basic_string_t::reserve_extra()");
  EXPECT_EQ(this->LengthError([&] { this->m_string.resize(this->kMax); }),
            "oru::basic_string_t::reserve_extra()");
  EXPECT_EQ(this->LengthError([&] { this->m_string.assign(this->m_other, this->kMax); }),
            "oru::basic_string_t::reserve_extra()");
  EXPECT_TRUE(this->m_memory.requests.empty());
  EXPECT_EQ(this->LengthError([&] { this->m_string.append(this->m_other, this->kMax - 6); }),
            std::nullopt);
  EXPECT_EQ(this->LengthError([&] { this->m_string.resize(this->kMax - 1); }), std::nullopt);
  EXPECT_EQ(this->LengthError([&] { this->m_string.assign(this->m_other, this->kMax - 1); }),
            std::nullopt);
  EXPECT_EQ(this->m_memory.requests.size(), 3u);
  EXPECT_EQ(tests::ReportedChecks().size(), 1u);
  this->ExpectUnchanged();
}

TYPED_TEST(StringLimits, GapIsRefusedWithoutAReport) {
  EXPECT_EQ(this->LengthError([&] { this->m_string.resize_extra_at(this->kMax - 5, 2, 0); }),
            "oru::basic_string_t::resize_extra_at");
  // Two replaced characters make place for two more.
  EXPECT_EQ(this->LengthError([&] { this->m_string.resize_extra_at(this->kMax - 3, 2, 2); }),
            "oru::basic_string_t::resize_extra_at");
  EXPECT_TRUE(this->m_memory.requests.empty());
  EXPECT_EQ(this->LengthError([&] { this->m_string.resize_extra_at(this->kMax - 6, 2, 0); }),
            std::nullopt);
  EXPECT_EQ(this->LengthError([&] { this->m_string.resize_extra_at(this->kMax - 4, 2, 2); }),
            std::nullopt);
  EXPECT_EQ(this->m_memory.requests.size(), 2u);
  EXPECT_TRUE(tests::ReportedChecks().empty());
  this->ExpectUnchanged();
}

TYPED_TEST(StringLimits, InsertHasATextOfItsOwnBeyondTheLargestSize) {
  EXPECT_EQ(this->LengthError([&] { this->m_string.insert(2, this->m_other, this->kMax - 4); }),
            "oru::basic_string_t::insert");
  EXPECT_EQ(this->LengthError([&] { this->m_string.insert(2, this->m_other, 0xFFFFFFFF); }),
            "oru::basic_string_t::insert");
  // A size of max_size() would fit, but its gap is refused.
  EXPECT_EQ(this->LengthError([&] { this->m_string.insert(2, this->m_other, this->kMax - 5); }),
            "oru::basic_string_t::resize_extra_at");
  EXPECT_TRUE(this->m_memory.requests.empty());
  EXPECT_EQ(this->LengthError([&] { this->m_string.insert(2, this->m_other, this->kMax - 6); }),
            std::nullopt);
  EXPECT_EQ(this->m_memory.requests.size(), 1u);
  EXPECT_TRUE(tests::ReportedChecks().empty());
  this->ExpectUnchanged();
}

TYPED_TEST(StringLimits, ConstructorRefusesTheCountThatMeansNone) {
  using Tested = typename TestFixture::String;
  const oru::abi_v2_allocator memory(&this->m_memory);
  EXPECT_EQ(this->LengthError([&] { Tested(this->m_other, 0xFFFFFFFF, memory); }),
            "oru::basic_string_t constructor");
  EXPECT_TRUE(this->m_memory.requests.empty());
  EXPECT_EQ(this->LengthError([&] { Tested(this->m_other, 0x7FFFFFFE, memory); }), std::nullopt);
  ASSERT_EQ(this->m_memory.requests.size(), 1u);
  EXPECT_EQ(this->m_memory.requests[0], 0x7FFFFFFFu * sizeof(TypeParam));
}

TYPED_TEST(StringLimits, BlocksBeyondThirtyTwoBitsAreOutOfMemory) {
  using Tested = typename TestFixture::String;
  const oru::abi_v2_allocator memory(&this->m_memory);
  EXPECT_EQ(this->LengthError([&] { Tested(this->m_other, 0xFFFFFFFE, memory); }), std::nullopt);
  EXPECT_EQ(this->LengthError([&] { this->m_string.reserve(this->kMax); }), std::nullopt);
  if (sizeof(TypeParam) == 1) {
    ASSERT_EQ(this->m_memory.requests.size(), 2u);
    EXPECT_EQ(this->m_memory.requests[0], 0xFFFFFFFFu);
    EXPECT_EQ(this->m_memory.requests[1], 0xFFFFFFFFu);
  } else {
    EXPECT_TRUE(this->m_memory.requests.empty());
  }
}

TYPED_TEST(StringLimits, ReserveRefusesMoreThanTheLargestSize) {
  if (sizeof(TypeParam) == 1) {
    EXPECT_EQ(this->LengthError([&] { this->m_string.reserve(0xFFFFFFFF); }),
              "oru::basic_string_t::reserve");
  } else {
    EXPECT_EQ(this->LengthError([&] { this->m_string.reserve(0x80000000); }),
              "oru::basic_string_t::reserve");
  }
  this->ExpectUnchanged();
}

// Doubling stops where the bytes of the double couldn't be counted in 32 bits.
TYPED_TEST(StringLimits, LargestCapacityThatDoubles) {
  const std::uint32_t largest = sizeof(TypeParam) == 1 ? 0x7FFFFFFF : 0x3FFFFFFF;
  for (const std::uint32_t capacity : {largest, largest + 1}) {
    SCOPED_TRACE(capacity);
    this->m_memory.refuse = false;
    typename TestFixture::String string{oru::abi_v2_allocator(&this->m_memory)};
    string.append(Text<TypeParam>("12345").c_str());
    string.reserve(capacity);  // the block is smaller than that
    this->m_memory.refuse = true;
    this->m_memory.requests.clear();
    EXPECT_EQ(this->LengthError([&] { string.reserve_extra(capacity - 5 + 1); }), std::nullopt);
    const std::size_t expected = capacity == largest ? std::size_t{capacity} * 2 + 1 : capacity + 2;
    ASSERT_EQ(this->m_memory.requests.size(), 1u);
    EXPECT_EQ(this->m_memory.requests[0], expected * sizeof(TypeParam));
    EXPECT_TRUE(Holds(string, "12345"));
  }
}

#ifndef _WIN32
// Lengths that a 64-bit process can name and a 32-bit count can't hold.
TYPED_TEST(StringLimitsOwnProcess, ViewsThatAreTooLongAreRefused) {
  using View = std::basic_string_view<TypeParam>;
  const View view(this->m_other, std::size_t{0x100000003});
  EXPECT_EQ(this->LengthError([&] { typename TestFixture::String string(view); }),
            "oru::basic_string_t constructor");
  EXPECT_EQ(this->LengthError([&] { this->m_string.append(view); }),
            "oru::basic_string_t::reserve_extra()");
  EXPECT_EQ(this->LengthError([&] { this->m_string.assign(view); }),
            "oru::basic_string_t::reserve_extra()");
  this->ExpectUnchanged();
}
#endif

}  // namespace
