#include "oru/rtl/string.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <compare>
#include <cstdint>
#include <random>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "tests/oru/rtl/string_text.h"
#include "tests/oru/rtl/test_allocator.h"
#include "tests/support/checks.h"

namespace {

using tests::Content;
using tests::Holds;
using tests::Text;

template <typename CharT>
class StringTest : public ::testing::Test {
 protected:
  using String = oru::basic_string_t<CharT>;
  static String Make(std::string_view ascii) { return String(Text<CharT>(ascii)); }
};
TYPED_TEST_SUITE(StringTest, tests::CharacterTypes, tests::CharacterTypeNames);
template <typename CharT>
using StringTestOwnProcess = StringTest<CharT>;
TYPED_TEST_SUITE(StringTestOwnProcess, tests::CharacterTypes, tests::CharacterTypeNames);

TYPED_TEST(StringTest, StartsEmptyAndTerminated) {
  const typename TestFixture::String string;
  EXPECT_TRUE(Holds(string, ""));
  EXPECT_TRUE(string.empty());
}

TYPED_TEST(StringTest, NullTextCountsAsEmpty) {
  const TypeParam* const null = nullptr;
  typename TestFixture::String string(null);
  EXPECT_TRUE(Holds(string, ""));
  string.append(null);
  EXPECT_TRUE(Holds(string, ""));
  EXPECT_TRUE(string == null);
  EXPECT_TRUE(tests::ReportedChecks().empty());
}

TYPED_TEST(StringTest, TakesTerminatedText) {
  const auto text = Text<TypeParam>("zero-terminated");
  EXPECT_TRUE(Holds(typename TestFixture::String(text.c_str()), "zero-terminated"));
}

TYPED_TEST(StringTest, CountedTextKeepsZeros) {
  const TypeParam text[] = {'a', 0, 'b', 0, 'c'};
  const typename TestFixture::String string(text, 4);
  ASSERT_EQ(string.size(), 4u);
  EXPECT_TRUE(std::equal(text, text + 4, string.data()));
}

// The source is a block of exactly its length, so that a sanitizer sees what is read beside it, and
// at each place it differs from the one before it, which lay in the same memory.
TYPED_TEST(StringTest, TakesEachShortLength) {
  const std::string alphabet = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
  for (std::uint32_t count = 0; count <= alphabet.size() / 2; ++count) {
    SCOPED_TRACE(count);
    const std::string expected = alphabet.substr(count, count);
    const std::vector<TypeParam> source(expected.begin(), expected.end());
    EXPECT_TRUE(Holds(typename TestFixture::String(source.data(), count), expected));
  }
}

TYPED_TEST(StringTest, CharactersCanBeReadAndChanged) {
  auto string = TestFixture::Make("abc");
  EXPECT_EQ(std::as_const(string).data()[2], TypeParam{'c'});
  string.data()[1] = TypeParam{'x'};
  EXPECT_TRUE(Holds(string, "axc"));
}

TYPED_TEST(StringTest, CopyIsIndependent) {
  for (const char* text : {"short", "a text that needs a block of its own"}) {
    SCOPED_TRACE(text);
    const auto original = this->Make(text);
    auto copy = original;
    copy.data()[0] = TypeParam{'X'};
    EXPECT_TRUE(Holds(original, text));
    EXPECT_NE(copy.data(), original.data());
  }
}

TYPED_TEST(StringTest, CopyKeepsTheAllocatorOfTheSource) {
  tests::TestAllocator allocator;
  {
    const typename TestFixture::String original{oru::abi_v2_allocator(&allocator)};
    const auto copy = original;
    EXPECT_EQ(copy.get_allocator().get(), &allocator);
  }
  EXPECT_EQ(allocator.references, 1u);
}

TYPED_TEST(StringTest, MoveTakesTheBlockAndEmptiesTheSource) {
  tests::TestAllocator allocator;
  {
    const auto text = Text<TypeParam>("a text that needs a block of its own");
    typename TestFixture::String source(text.data(), static_cast<std::uint32_t>(text.size()),
                                        oru::abi_v2_allocator(&allocator));
    const auto* const block = source.data();
    const auto target = std::move(source);
    EXPECT_EQ(target.data(), block);
    EXPECT_TRUE(Holds(target, "a text that needs a block of its own"));
    EXPECT_TRUE(Holds(source, ""));  // NOLINT(bugprone-use-after-move): promised
    EXPECT_EQ(source.get_allocator().get(), &allocator);
    EXPECT_EQ(allocator.requests.size(), 1u);
  }
  EXPECT_TRUE(allocator.live.empty());
  EXPECT_EQ(allocator.strangeFrees, 0u);
  EXPECT_EQ(allocator.references, 1u);
}

TYPED_TEST(StringTest, MoveCopiesTextInLine) {
  auto source = this->Make("inline");
  const auto target = std::move(source);
  EXPECT_TRUE(Holds(target, "inline"));
  EXPECT_TRUE(Holds(source, ""));  // NOLINT(bugprone-use-after-move): promised
}

TYPED_TEST(StringTest, CopyAssignmentKeepsTheTargetsAllocator) {
  tests::TestAllocator allocator;
  {
    typename TestFixture::String target{oru::abi_v2_allocator(&allocator)};
    target = this->Make("a text that needs a block of its own");
    EXPECT_TRUE(Holds(target, "a text that needs a block of its own"));
    const auto source = this->Make("another one, which is quite a bit longer than the first was");
    target = source;
    EXPECT_TRUE(Holds(target, "another one, which is quite a bit longer than the first was"));
  }
  EXPECT_TRUE(allocator.live.empty());
}

TYPED_TEST(StringTest, MoveAssignmentGivesTheOldBlockBack) {
  tests::TestAllocator allocator;
  const auto text = Text<TypeParam>("a text that needs a block of its own");
  typename TestFixture::String target(text.data(), static_cast<std::uint32_t>(text.size()),
                                      oru::abi_v2_allocator(&allocator));
  target = this->Make("short");
  EXPECT_TRUE(Holds(target, "short"));
  EXPECT_TRUE(allocator.live.empty());
  EXPECT_EQ(target.get_allocator().get(), nullptr);
}

TYPED_TEST(StringTest, AssignmentToItselfChangesNothing) {
  for (const char* text : {"short", "a text that needs a block of its own"}) {
    auto string = this->Make(text);
    auto& same = string;
    string = same;
    EXPECT_TRUE(Holds(string, text));
    string = std::move(same);
    EXPECT_TRUE(Holds(string, text));
  }
}

TYPED_TEST(StringTest, AppendsEachKindOfText) {
  auto string = this->Make("a");
  const auto text = Text<TypeParam>("bcd");
  string.append(text.data(), 1)
      .append(text.c_str())
      .append(std::basic_string_view<TypeParam>(text));
  string.append(3, TypeParam{'x'}).push_back(TypeParam{'y'});
  EXPECT_TRUE(Holds(string, "abbcdbcdxxxy"));
  EXPECT_EQ(string.back(), TypeParam{'y'});
}

TYPED_TEST(StringTest, AppendOfNothingDoesNothing) {
  auto string = this->Make("a");
  string.append(nullptr, 0);
  EXPECT_TRUE(Holds(string, "a"));
  EXPECT_TRUE(tests::ReportedChecks().empty());
}

TYPED_TEST(StringTestOwnProcess, AppendOfNullTextIsReportedAndAppendsNothing) {
  auto string = this->Make("a");
  string.append(nullptr, 3);
  EXPECT_TRUE(Holds(string, "a"));
  ASSERT_EQ(tests::ReportedChecks().size(), 1u);
  EXPECT_EQ(tests::ReportedChecks()[0], "(first != nullptr) || (n == 0)");
}

TYPED_TEST(StringTestOwnProcess, AssignAndInsertOfNullTextCountItAsEmpty) {
  auto string = this->Make("ab");
  string.insert(1, nullptr, 3);
  EXPECT_TRUE(Holds(string, "ab"));
  string.assign(nullptr, 3);
  EXPECT_TRUE(Holds(string, ""));
  EXPECT_EQ(tests::CountReported("(first != nullptr) || (n == 0)"), 2u);
}

TYPED_TEST(StringTest, AppendsPartOfItselfAcrossAGrowth) {
  auto string = this->Make("0123456789abcdefghij");  // 20 characters, capacity 20
  string.append(string.data() + 5, 10);
  EXPECT_TRUE(Holds(string, "0123456789abcdefghij56789abcde"));
}

TYPED_TEST(StringTest, AppendsItselfWholeOutOfTheInlineBuffer) {
  auto string = this->Make("1234567");
  string.append(string.data(), string.size()).append(string.data(), string.size());
  EXPECT_TRUE(Holds(string, "1234567123456712345671234567"));
}

TYPED_TEST(StringTest, AppendsPartOfItselfWithoutAGrowth) {
  auto string = this->Make("0123456789abcdefghij");
  string.reserve(60);
  const auto* const block = string.data();
  string.append(string.data() + 5, 10);
  EXPECT_EQ(string.data(), block);
  EXPECT_TRUE(Holds(string, "0123456789abcdefghij56789abcde"));
}

TYPED_TEST(StringTest, AppendsItsOwnTerminator) {
  auto string = this->Make("ab");
  string.append(string.data(), 3);
  ASSERT_EQ(string.size(), 5u);
  EXPECT_EQ(string.back(), TypeParam{0});
  EXPECT_EQ(string.c_str()[5], TypeParam{0});
}

TYPED_TEST(StringTest, AssignsPartOfItself) {
  auto string = this->Make("0123456789abcdefghij");
  string.assign(string.data() + 3, 4);
  EXPECT_TRUE(Holds(string, "3456"));
}

TYPED_TEST(StringTest, AssignsItselfWithItsTerminatorAcrossAGrowth) {
  auto string = this->Make("0123456789abcdefghij");
  string.assign(string.data(), 21);  // one more than the capacity
  ASSERT_EQ(string.size(), 21u);
  EXPECT_EQ(string.back(), TypeParam{0});
  string.resize(20);
  EXPECT_TRUE(Holds(string, "0123456789abcdefghij"));
}

TYPED_TEST(StringTest, InsertsAtEachPlace) {
  const auto text = Text<TypeParam>("XY");
  struct Case {
    std::uint32_t pos;
    const char* expected;
  };
  for (const Case& c : {Case{0, "XYabcd"}, {1, "aXYbcd"}, {3, "abcXYd"}, {4, "abcdXY"}}) {
    SCOPED_TRACE(c.pos);
    auto string = this->Make("abcd");
    string.insert(c.pos, text.data(), 2);
    EXPECT_TRUE(Holds(string, c.expected));
  }
}

TYPED_TEST(StringTest, InsertBehindTheEndIsRefused) {
  auto string = this->Make("abcd");
  const auto text = Text<TypeParam>("XY");
  for (const std::uint32_t pos : {5u, 0xFFFFFFFFu}) {
    try {
      string.insert(pos, text.data(), 2);
      ADD_FAILURE() << pos;
    } catch (const std::out_of_range& exception) {
      EXPECT_STREQ(exception.what(), "oru::basic_string_t::insert");
    }
  }
  EXPECT_THROW(string.insert(5, text.data(), 0), std::out_of_range);  // tested first
  EXPECT_TRUE(Holds(string, "abcd"));
}

TYPED_TEST(StringTest, InsertsItsOwnMiddle) {
  auto string = this->Make("0123456789");
  string.insert(5, string.data() + 3, 4);
  EXPECT_TRUE(Holds(string, "01234345656789"));
}

TYPED_TEST(StringTest, InsertsItsOwnMiddleWithPlaceToSpare) {
  auto string = this->Make("0123456789");
  string.reserve(100);
  string.insert(5, string.data() + 3, 4);
  EXPECT_TRUE(Holds(string, "01234345656789"));
}

TYPED_TEST(StringTest, InsertOfOverlappingTextTakesATemporary) {
  tests::TestAllocator allocator;
  {
    const auto text = Text<TypeParam>("0123456789abcdefghijklmnopqrstuvwxyz");
    typename TestFixture::String string(text.data(), 36, oru::abi_v2_allocator(&allocator));
    string.reserve(100);
    allocator.requests.clear();
    string.insert(1, string.data() + 2, 30);
    EXPECT_TRUE(
        Holds(string, "023456789abcdefghijklmnopqrstuv123456789abcdefghijklmnopqrstuvwxyz"));
    // The temporary's 30 characters; the text itself has its place.
    ASSERT_EQ(allocator.requests.size(), 1u);
    EXPECT_EQ(allocator.requests[0], 31 * sizeof(TypeParam));
    allocator.requests.clear();
    const auto other = Text<TypeParam>("abcdefghijklmnopqrstuvwxyz");
    string.insert(1, other.data(), 26);
    EXPECT_TRUE(allocator.requests.empty());
  }
  EXPECT_TRUE(allocator.live.empty());
}

TYPED_TEST(StringTest, InsertsItsOwnTerminator) {
  auto string = this->Make("0123456789");
  string.insert(0, string.data() + 10, 1);
  ASSERT_EQ(string.size(), 11u);
  EXPECT_EQ(string.data()[0], TypeParam{0});
  string.data()[0] = TypeParam{'_'};
  EXPECT_TRUE(Holds(string, "_0123456789"));
}

// A source that begins in front of the text's block, which lies inside a larger array.
TYPED_TEST(StringTest, InsertsTextThatReachesIntoItsOwn) {
  struct Case {
    std::uint32_t n;
    const char* inserted;
    bool overlaps;
  };
  for (const Case& c : {Case{12, "abcdefghijkl", false},
                        {13, "abcdefghijkl0", true},
                        {22, "abcdefghijkl0123456789", true}}) {
    SCOPED_TRACE(c.n);
    TypeParam arena[100] = {};
    const auto front = Text<TypeParam>("abcdefghijkl");
    std::copy(front.begin(), front.end(), arena);
    tests::TestAllocator allocator;
    allocator.nextBlock = arena + 12;
    typename TestFixture::String string{oru::abi_v2_allocator(&allocator)};
    string.reserve(80);
    string.append(Text<TypeParam>("0123456789").c_str());
    allocator.requests.clear();
    string.insert(2, arena, c.n);
    EXPECT_TRUE(Holds(string, std::string("01") + c.inserted + "23456789"));
    // In line up to 7 or 15 characters.
    const bool allocates = c.overlaps && c.n > TestFixture::String::inline_capacity;
    EXPECT_EQ(allocator.requests.size(), allocates ? 1u : 0u);
  }
}

TYPED_TEST(StringTest, ResizeCutsAndFills) {
  auto string = this->Make("abcdef");
  string.resize(3);
  EXPECT_TRUE(Holds(string, "abc"));
  string.resize(20, TypeParam{'x'});
  EXPECT_TRUE(Holds(string, "abcxxxxxxxxxxxxxxxxx"));
  string.resize(20);
  EXPECT_TRUE(Holds(string, "abcxxxxxxxxxxxxxxxxx"));
  string.resize(22);
  EXPECT_EQ(string.size(), 22u);
  EXPECT_EQ(string.back(), TypeParam{0});
}

TYPED_TEST(StringTest, ClearKeepsTheCapacity) {
  auto string = this->Make("0123456789abcdefghij");
  string.clear();
  EXPECT_TRUE(Holds(string, ""));
  EXPECT_EQ(string.capacity(), 20u);
}

TYPED_TEST(StringTest, GapReplacesText) {
  struct Case {
    std::uint32_t n, pos, replaced;
    const char* head;
    const char* tail;
  };
  for (const bool growing : {false, true}) {
    for (const Case& c : {Case{0, 0, 0, "", "0123456789abcdefghij"},
                          {3, 0, 0, "", "0123456789abcdefghij"},
                          {3, 20, 0, "0123456789abcdefghij", ""},
                          {3, 5, 0, "01234", "56789abcdefghij"},
                          {3, 5, 3, "01234", "89abcdefghij"},
                          {1, 5, 10, "01234", "fghij"},
                          {9, 5, 2, "01234", "789abcdefghij"},
                          {0, 5, 15, "01234", ""},
                          {7, 0, 20, "", ""}}) {
      SCOPED_TRACE(::testing::Message() << c.n << " at " << c.pos << " for " << c.replaced
                                        << (growing ? ", growing" : ""));
      auto string = this->Make("0123456789abcdefghij");
      if (!growing) string.reserve(64);
      string.resize_extra_at(c.n, c.pos, c.replaced);
      std::fill_n(string.data() + c.pos, c.n, TypeParam{'_'});
      EXPECT_TRUE(Holds(string, c.head + std::string(c.n, '_') + c.tail));
    }
  }
}

TYPED_TEST(StringTest, OverwriteGivesPlaceForAllOfTheText) {
  auto string = this->Make("0123456789");
  std::fill_n(string.resize_for_overwrite(4), 4, TypeParam{'n'});
  EXPECT_TRUE(Holds(string, "nnnn"));
  std::fill_n(string.resize_for_overwrite(40), 40, TypeParam{'m'});
  EXPECT_TRUE(Holds(string, std::string(40, 'm')));
}

TYPED_TEST(StringTest, MoveAssignmentPutsEitherKindInPlaceOfEither) {
  const char* const texts[] = {"short", "a text that needs a block of its own"};
  for (const char* a : texts) {
    for (const char* b : texts) {
      auto first = this->Make(a);
      auto second = this->Make(b);
      first = std::move(second);
      EXPECT_TRUE(Holds(first, b));
      EXPECT_TRUE(Holds(second, ""));
    }
  }
}

TYPED_TEST(StringTest, ComparesByUnsignedCharacters) {
  const TypeParam high[] = {static_cast<TypeParam>(0xE4), 0};
  const typename TestFixture::String umlaut(high);
  const auto a = this->Make("a");
  EXPECT_TRUE(a < umlaut);
  EXPECT_TRUE(a < this->Make("ab"));
  EXPECT_TRUE(this->Make("") < a);
  EXPECT_FALSE(a < this->Make("a"));
  EXPECT_TRUE(a == Text<TypeParam>("a").c_str());
  EXPECT_TRUE(a != Text<TypeParam>("b").c_str());
  EXPECT_TRUE(a < Text<TypeParam>("b").c_str());
  EXPECT_TRUE((a <=> this->Make("a")) == std::strong_ordering::equal);
}

// The standard's string as the second source, over random operations that prefer the string's own
// text.
TYPED_TEST(StringTest, RandomOperationsMatchTheStandardString) {
  using Tested = typename TestFixture::String;
  std::mt19937 random(20240501);
  const auto below = [&](std::uint32_t n) {
    return static_cast<std::uint32_t>(random() % (n + 1));
  };
  tests::TestAllocator allocator;
  for (int round = 0; round < 300; ++round) {
    Tested string{oru::abi_v2_allocator(&allocator)};
    std::basic_string<TypeParam> model;
    for (int step = 0; step < 25; ++step) {
      const std::uint32_t from = below(string.size());
      const std::uint32_t n = below(string.size() - from);
      const std::uint32_t pos = below(string.size());
      const auto own = model.substr(from, n);
      switch (random() % 7) {
        case 0:
          string.append(string.data() + from, n);
          model += own;
          break;
        case 1:
          string.insert(pos, string.data() + from, n);
          model.insert(pos, own);
          break;
        case 2:
          if (model.size() > 300) {
            string.assign(string.data() + from, n);
            model = own;
          }
          break;
        case 3:
          string.push_back(static_cast<TypeParam>('a' + step));
          model.push_back(static_cast<TypeParam>('a' + step));
          break;
        case 4: {
          const auto other = Text<TypeParam>("another text").substr(below(12));
          string.insert(pos, other.data(), static_cast<std::uint32_t>(other.size()));
          model.insert(pos, other);
          break;
        }
        case 5: {
          const std::uint32_t gap = below(20);
          string.resize_extra_at(gap, from, n);
          std::fill_n(string.data() + from, gap, TypeParam{'_'});
          model.replace(from, n, gap, TypeParam{'_'});
          break;
        }
        default: {
          Tested moved(std::move(string));
          string = std::move(moved);
        }
      }
      ASSERT_EQ(Content(string), model) << "round " << round << ", step " << step;
      ASSERT_EQ(string.c_str()[string.size()], TypeParam{0});
      ASSERT_LE(string.size(), string.capacity());
    }
  }
  EXPECT_TRUE(allocator.live.empty());
  EXPECT_EQ(allocator.strangeFrees, 0u);
  EXPECT_EQ(allocator.references, 1u);
  EXPECT_TRUE(tests::ReportedChecks().empty());
}

}  // namespace
