#include <gtest/gtest.h>

#include <clocale>
#include <cwchar>

#include "winapi/multibyte.h"

namespace {

void ExpectIdentityUpToFf() {
  for (unsigned unit = 0; unit <= 0xFFFF; ++unit) {
    char bytes[16] = {'?', '?'};
    const int count = winapi::CharacterToMultibyte(static_cast<char16_t>(unit), bytes);
    if (unit <= 0xFF) {
      ASSERT_EQ(1, count) << unit;
      ASSERT_EQ(static_cast<char>(unit), bytes[0]) << unit;
    } else {
      ASSERT_EQ(-1, count) << unit;
      ASSERT_EQ('?', bytes[0]) << unit;
    }
    ASSERT_EQ('?', bytes[1]) << unit;
  }
}

TEST(CharacterToMultibyteContract, AllUnits) { ExpectIdentityUpToFf(); }

TEST(CharacterToMultibyteContract, DoesNotFollowSetlocale) {
  ASSERT_NE(nullptr, std::setlocale(LC_ALL, ""));
  ExpectIdentityUpToFf();
  ASSERT_NE(nullptr, std::setlocale(LC_ALL, "C"));
}

#ifdef _WIN32
// On Linux the C library has another rule, which is why it isn't asked.
TEST(CharacterToMultibyteContract, IsWhatTheWindowsRuntimeDoes) {
  for (unsigned unit = 0; unit <= 0xFFFF; ++unit) {
    char expected[16] = {};
    std::mbstate_t state{};
    const std::size_t count = std::wcrtomb(expected, static_cast<wchar_t>(unit), &state);
    char bytes[16] = {};
    ASSERT_EQ(static_cast<int>(count),
              winapi::CharacterToMultibyte(static_cast<char16_t>(unit), bytes))
        << unit;
    ASSERT_EQ(expected[0], bytes[0]) << unit;  // both zero where there is no form
  }
}

TEST(MultibyteToCharacterContract, IsWhatTheWindowsRuntimeDoes) {
  for (unsigned byte = 0; byte <= 0xFF; ++byte) {
    const char bytes[] = {static_cast<char>(byte), 'x'};
    wchar_t expected = 0;
    std::mbstate_t state{};
    const std::size_t count = std::mbrtowc(&expected, bytes, 2, &state);
    char32_t character = 0;
    ASSERT_EQ(static_cast<int>(count), winapi::MultibyteToCharacter(bytes, 2, &character)) << byte;
    ASSERT_EQ(static_cast<char32_t>(expected), character) << byte;
  }
}
#endif

TEST(MultibyteToCharacterContract, AllBytes) {
  for (unsigned byte = 0; byte <= 0xFF; ++byte) {
    const char bytes[] = {static_cast<char>(byte), 'x'};
    char32_t character = 0xFFFF;
    ASSERT_EQ(byte == 0 ? 0 : 1, winapi::MultibyteToCharacter(bytes, 2, &character)) << byte;
    ASSERT_EQ(char32_t{byte}, character) << byte;
  }
}

TEST(MultibyteToCharacterContract, NothingToDecode) {
  char32_t character = 0xFFFF;
  EXPECT_EQ(-2, winapi::MultibyteToCharacter("", 0, &character));
  EXPECT_EQ(0xFFFFu, character);
}

}  // namespace
