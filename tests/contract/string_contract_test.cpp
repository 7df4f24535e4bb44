#include <gtest/gtest.h>

#include "tests/support/answers.h"
#include "winapi/errors.h"
#include "winapi/strings.h"

namespace {

using tests::Answers;
using tests::kHost;
using tests::kWindows;
using tests::kWine;

int Sign(int number) { return number < 0 ? -1 : number > 0 ? 1 : 0; }

TEST(StringContract, ComparesWithoutRegardToCase) {
  struct Case {
    const char* name;
    const char16_t* a;
    const char16_t* b;
    int sign;
  };
  constexpr Case kCases[] = {
      {"equal", u"/qn", u"/qn", 0},
      {"other case", u"/QuIeT", u"/qUiEt", 0},
      {"all letters", u"abcdefghijklmnopqrstuvwxyz", u"ABCDEFGHIJKLMNOPQRSTUVWXYZ", 0},
      {"both empty", u"", u"", 0},
      {"empty ahead", u"", u"a", -1},
      {"empty behind", u"a", u"", 1},
      {"shorter", u"/q", u"/qn", -1},
      {"longer", u"/qn+", u"/qn", 1},
      {"letters", u"a", u"B", -1},
      {"letters in other case", u"B", u"a", 1},
      {"digits", u"10", u"11", -1},
      {"up to the first zero", u"/qn\0x", u"/qn\0y", 0},
      {"null", nullptr, nullptr, 0},
      {"null ahead", nullptr, u"a", -1},
      {"null behind", u"a", nullptr, 1},
  };
  for (const Case& one : kCases) {
    EXPECT_ANSWER(one.name, one.sign, Sign(winapi::lstrcmpiW(one.a, one.b)));
  }
}

// Not by distance: the characters beside the letters have no case.
TEST(StringContract, OnlyLettersHaveACase) {
  EXPECT_NE(0, winapi::lstrcmpiW(u"[", u"{"));
  EXPECT_NE(0, winapi::lstrcmpiW(u"@", u"`"));
  EXPECT_NE(0, winapi::lstrcmpiW(u"0", u"P"));
}

// The real systems compare by weights, and some characters have none. So "/q" with a soft hyphen
// counts as the silent switch, though the installer doesn't know it.
TEST(StringContract, CharactersWithoutWeight) {
  const auto compare = [](const char16_t* a) { return Sign(winapi::lstrcmpiW(a, u"/q")); };
  EXPECT_ANSWER(
      "a soft hyphen more",
      Answers(0, kWine | kWindows).Or(1, kHost, "knows no weights, so a soft hyphen counts"),
      compare(u"/q\u00AD"));
  for (const char16_t* weighty : {u"/q\u200B", u"/q\u0301", u"/q\u0001", u"/q-"}) {
    EXPECT_EQ(1, compare(weighty)) << static_cast<unsigned>(weighty[2]);
  }
}

TEST(LocalMemoryContract, ABlock) {
  void* block = winapi::LocalAlloc(winapi::kLmemFixed, 100);
  ASSERT_NE(nullptr, block);
  auto* const bytes = static_cast<unsigned char*>(block);
  for (int i = 0; i < 100; ++i) bytes[i] = static_cast<unsigned char>(i);
  EXPECT_EQ(99, bytes[99]);
  EXPECT_EQ(nullptr, winapi::LocalFree(block));
}

TEST(LocalMemoryContract, NoBytesAreABlockToo) {
  void* block = winapi::LocalAlloc(winapi::kLmemFixed, 0);
  EXPECT_NE(nullptr, block);
  EXPECT_EQ(nullptr, winapi::LocalFree(block));
}

TEST(LocalMemoryContract, TooMuch) {
  winapi::SetLastError(0xABCD);
  EXPECT_EQ(nullptr, winapi::LocalAlloc(winapi::kLmemFixed, 0x80000000u));
  EXPECT_EQ(8u, winapi::GetLastError());
}

}  // namespace
