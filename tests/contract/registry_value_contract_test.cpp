// Reading, writing and deleting values.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "tests/contract/registry_fixture.h"
#include "tests/support/answers.h"

namespace tests {
namespace {

using Bytes = std::vector<std::uint8_t>;
using RegistryValues = RegistryContract;

TEST_F(RegistryValues, BufferSizesOfAText) {
  SetValue(path, {u"v", 1, Utf16Bytes(u"abcd")});
  const SeamKey key(path);
  const Bytes text = {'a', 0, 'b', 0, 'c', 0, 'd', 0, 0, 0};
  const Bytes untouched = Buffer({});
  struct Case {
    winapi::Dword size;
    winapi::Error error;
  };
  for (const auto& [size, error] : {Case{0, 234}, Case{4, 234}, Case{8, 234}, Case{9, 234},
                                    Case{10, 0}, Case{12, 0}, Case{32, 0}}) {
    const Answer expected{error, 1, 10, error == 0 ? Buffer(text) : untouched};
    EXPECT_EQ(Query(key.key, u"v", size), expected) << size;
  }
}

TEST_F(RegistryValues, NullDataAsksForTheSize) {
  SetValue(path, {u"v", 1, Utf16Bytes(u"abcd")});
  const SeamKey key(path);
  for (const winapi::Dword before : {0U, 4U, 100U}) {
    winapi::Dword size = before;
    winapi::Dword type = 0;
    EXPECT_EQ(winapi::RegQueryValueExW(key.key, u"v", nullptr, &type, nullptr, &size), 0U);
    EXPECT_EQ(type, 1U);
    EXPECT_EQ(size, 10U);
  }
  winapi::Dword type = 0;
  EXPECT_EQ(winapi::RegQueryValueExW(key.key, u"v", nullptr, &type, nullptr, nullptr), 0U);
  EXPECT_EQ(type, 1U);
  EXPECT_EQ(winapi::RegQueryValueExW(key.key, u"v", nullptr, nullptr, nullptr, nullptr), 0U);
}

TEST_F(RegistryValues, ParametersThatCantBe) {
  SetValue(path, {u"v", 1, Utf16Bytes(u"abcd")});
  const SeamKey key(path);
  winapi::Dword type = 0;
  winapi::Dword size = 32;
  std::uint8_t data[32];
  EXPECT_EQ(winapi::RegQueryValueExW(key.key, u"v", nullptr, &type, data, nullptr), 87U);
  EXPECT_EQ(winapi::RegQueryValueExW(key.key, u"v", &type, &type, data, &size), 87U);
  EXPECT_EQ(winapi::RegSetValueExW(key.key, u"n", 0, 1, nullptr, 4), 998U);
  EXPECT_EQ(winapi::RegSetValueExW(key.key, u"r", 1, 3, data, 1), 0U) << "reserved is ignored";
}

TEST_F(RegistryValues, AMissingValueTouchesNothing) {
  const SeamKey key(path);
  const Answer nothing{2, kUntouched, 32, Buffer({})};
  EXPECT_EQ(Query(key.key, u"none", 32), nothing);
  EXPECT_EQ(Query(key.key, u"", 32), nothing) << "the default value";
  EXPECT_EQ(Query(key.key, nullptr, 32), nothing) << "the default value";
}

TEST_F(RegistryValues, TheDefaultValueHasTwoNames) {
  const SeamKey key(path);
  const std::uint8_t data[] = {1, 2};
  ASSERT_EQ(winapi::RegSetValueExW(key.key, nullptr, 0, 3, data, 2), 0U);
  EXPECT_EQ(Query(key.key, u"", 32), (Answer{0, 3, 2, Buffer({1, 2})}));
  EXPECT_EQ(winapi::RegDeleteValueW(key.key, u""), 0U);
  EXPECT_EQ(Query(key.key, nullptr, 32).error, 2U);
}

TEST_F(RegistryValues, BadHandlesGiveSix) {
  EXPECT_EQ(Query(nullptr, u"v", 32).error, 6U);
  EXPECT_EQ(winapi::RegSetValueExW(nullptr, u"v", 0, 3, nullptr, 0), 6U);
  EXPECT_EQ(winapi::RegDeleteValueW(nullptr, u"v"), 6U);
}

TEST_F(RegistryValues, EveryTypeIsStoredAsItIs) {
  const SeamKey key(path);
  for (const winapi::Dword type : {0U, 1U, 2U, 3U, 4U, 5U, 7U, 11U, 77U, 0x10000U}) {
    const std::uint8_t data[] = {1, 2, 3, 0xFF};
    ASSERT_EQ(winapi::RegSetValueExW(key.key, u"v", 0, type, data, 3), 0U) << type;
    const auto stored = GetValue(path, u"v");
    ASSERT_TRUE(stored.has_value()) << type;
    EXPECT_EQ(*stored, (Value{u"v", type, {1, 2, 3}})) << type;
  }
}

// What a call stores, by what stands in the range and behind it.
TEST_F(RegistryValues, TextsAreCompletedFromWhatStandsBehind) {
  struct Case {
    const char* name;
    winapi::Dword type;
    std::u16string memory;
    winapi::Dword size;
    Bytes stored;
  };
  const Bytes abcd = Utf16Bytes(u"abcd", 0);
  const Bytes abcdZero = Utf16Bytes(u"abcd", 1);
  const std::u16string zeroBehind(u"abcd\0#", 6);
  const Case cases[] = {
      {"TextZeroBehind", 1, zeroBehind, 8, abcdZero},
      {"ExpandTextZeroBehind", 2, zeroBehind, 8, abcdZero},
      {"TextsZeroBehind", 7, zeroBehind, 8, abcdZero},
      {"BinaryZeroBehind", 3, zeroBehind, 8, abcd},
      {"DwordZeroBehind", 4, zeroBehind, 8, abcd},
      {"TextOtherBehind", 1, u"abcd##", 8, abcd},
      {"TextsOtherBehind", 7, u"abcd##", 8, abcd},
      {"TextWithTerminator", 1, std::u16string(u"abcd\0\0", 6), 10, abcdZero},
      {"TextsWithOneTerminator", 7, std::u16string(u"abcd\0\0", 6), 10, abcdZero},
      {"TextWithTwoTerminators", 1, std::u16string(u"abcd\0\0\0", 7), 12, Utf16Bytes(u"abcd", 2)},
      {"EmbeddedZero", 1, std::u16string(u"ab\0cd\0", 6), 12, Utf16Bytes({u"ab\0cd\0", 6}, 0)},
      {"NoBytes", 1, std::u16string(u"\0\0", 2), 0, {}},
      {"OnlyATerminator", 1, std::u16string(u"\0\0", 2), 2, {0, 0}},
      {"OddSizeOtherBehind", 1, u"abcd", 5, {'a', 0, 'b', 0, 'c'}},
      {"OddSizeZeroBehind", 1, std::u16string(u"abc\0\0", 5), 5, {'a', 0, 'b', 0, 'c'}},
  };
  const SeamKey key(path);
  for (const Case& c : cases) {
    const auto* data = reinterpret_cast<const std::uint8_t*>(c.memory.data());
    ASSERT_EQ(winapi::RegSetValueExW(key.key, u"v", 0, c.type, data, c.size), 0U) << c.name;
    EXPECT_ANSWER(c.name, c.stored, GetValue(path, u"v")->data);
  }
}

// What a read gives of data without a terminator, by the room behind it.
TEST_F(RegistryValues, ReadsCompleteATextInTheRoomLeft) {
  const Bytes abcd = {'a', 0, 'b', 0, 'c', 0, 'd', 0};
  const Bytes abcdZero = {'a', 0, 'b', 0, 'c', 0, 'd', 0, 0, 0};
  const Bytes odd = {'a', 0, 'b', 0, 'c'};
  const Bytes oddZero = {'a', 0, 'b', 0, 'c', 0, 0};
  struct Case {
    const char* name;
    winapi::Dword type;
    Bytes stored;
    winapi::Dword size;
    winapi::Error error;
    Bytes given;
  };
  const Case cases[] = {
      {"Exact", 1, abcd, 8, 0, abcd},
      {"OneByteMore", 1, abcd, 9, 0, abcd},
      {"RoomForOne", 1, abcd, 10, 0, abcdZero},
      {"RoomForMore", 1, abcd, 32, 0, abcdZero},
      {"ExpandText", 2, abcd, 32, 0, abcdZero},
      {"Texts", 7, abcd, 32, 0, abcdZero},
      {"Binary", 3, abcd, 32, 0, abcd},
      {"OddExact", 1, odd, 5, 0, odd},
      {"OddOneByteMore", 1, odd, 6, 0, odd},
      {"OddRoom", 1, odd, 7, 0, oddZero},
      {"OneByteRoom", 1, {'a'}, 3, 0, {'a', 0, 0}},
      {"Empty", 1, {}, 32, 0, {}},
      {"EmptyNoRoom", 1, {}, 0, 0, {}},
      {"Terminated", 1, abcdZero, 32, 0, abcdZero},
      {"OneByteShort", 1, abcd, 7, 234, {}},
  };
  const SeamKey key(path);
  for (const Case& c : cases) {
    SetValue(path, {u"v", c.type, c.stored});
    const auto size = static_cast<winapi::Dword>(c.stored.size());
    EXPECT_EQ(Query(key.key, u"v", c.size), (Answer{c.error, c.type, size, Buffer(c.given)}))
        << c.name;
  }
}

TEST_F(RegistryValues, NamesIgnoreCaseAndKeepTheirSpelling) {
  const SeamKey key(path);
  const std::uint8_t data[] = {1, 2};
  ASSERT_EQ(winapi::RegSetValueExW(key.key, u"CaSe", 0, 3, data, 1), 0U);
  ASSERT_EQ(winapi::RegSetValueExW(key.key, u"cAsE", 0, 3, data, 2), 0U);
  EXPECT_EQ(Values(path), (std::vector<Value>{{u"CaSe", 3, {1, 2}}}));
  EXPECT_EQ(Query(key.key, u"CASE", 32).error, 0U);
  EXPECT_EQ(winapi::RegDeleteValueW(key.key, u"case"), 0U);
  EXPECT_TRUE(Values(path).empty());
}

TEST_F(RegistryValues, NamesMayHoldWhatPathsMayNot) {
  const SeamKey key(path);
  for (const char16_t* name : {u"a\\b", u"a=b", u"\"", u" ", u"@", u"\xd800", u"\u00e4\u0436"}) {
    ASSERT_EQ(winapi::RegSetValueExW(key.key, name, 0, 3, nullptr, 0), 0U);
    EXPECT_EQ(Query(key.key, name, 32).error, 0U);
    EXPECT_EQ(winapi::RegDeleteValueW(key.key, name), 0U);
  }
}

TEST_F(RegistryValues, LengthsOfNames) {
  const SeamKey key(path);
  struct Case {
    std::size_t length;
    winapi::Error set, query, remove;
  };
  for (const Case& c : {Case{255, 0, 0, 0}, Case{16383, 0, 0, 0}, Case{16384, 87, 2, 2}}) {
    const std::u16string name(c.length, u'n');
    EXPECT_EQ(winapi::RegSetValueExW(key.key, name.c_str(), 0, 3, nullptr, 0), c.set) << c.length;
    EXPECT_EQ(Query(key.key, name.c_str(), 32).error, c.query) << c.length;
    EXPECT_EQ(winapi::RegDeleteValueW(key.key, name.c_str()), c.remove) << c.length;
  }
}

TEST_F(RegistryValues, DeletingGivesItsErrors) {
  SetValue(path, {u"v", 3, {1}});
  const SeamKey key(path);
  EXPECT_EQ(winapi::RegDeleteValueW(key.key, u"v"), 0U);
  EXPECT_EQ(winapi::RegDeleteValueW(key.key, u"v"), 2U);
  EXPECT_EQ(winapi::RegDeleteValueW(key.key, nullptr), 2U) << "the default value, unset";
}

TEST_F(RegistryValues, TwoMebibytesComeBackWhole) {
  const SeamKey key(path);
  std::u16string text(1024 * 1024, u't');
  text.back() = u'e';
  const auto size = static_cast<winapi::Dword>(text.size() * 2);
  const auto* data = reinterpret_cast<const std::uint8_t*>(text.c_str());
  ASSERT_EQ(winapi::RegSetValueExW(key.key, u"v", 0, 1, data, size), 0U);
  Bytes read(size + 2, 0xFF);
  winapi::Dword readSize = size + 2;
  ASSERT_EQ(winapi::RegQueryValueExW(key.key, u"v", nullptr, nullptr, read.data(), &readSize), 0U);
  EXPECT_EQ(readSize, size + 2);
  EXPECT_EQ(std::memcmp(read.data(), data, size + 2), 0);
}

}  // namespace
}  // namespace tests
