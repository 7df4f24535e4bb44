#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>

#include "tests/support/answers.h"
#include "winapi/errors.h"

namespace {

using tests::Answers;
using tests::kHost;
using tests::kWindows;
using tests::kWine;

constexpr winapi::Dword kFlags = 0x1300;
constexpr winapi::Dword kEnglish = 1033;

struct Message {
  winapi::Dword length;
  winapi::Error error;
  std::u16string text;
};

Message Format(winapi::Dword number, winapi::Dword language = kEnglish) {
  char16_t* buffer = nullptr;
  winapi::SetLastError(0);
  const winapi::Dword length =
      winapi::FormatMessageW(kFlags, nullptr, number, language, &buffer, 0, nullptr);
  Message message{length, winapi::GetLastError(), buffer == nullptr ? u"" : buffer};
  EXPECT_EQ(nullptr, winapi::LocalFree(buffer));
  return message;
}

TEST(LastErrorContract, IsWhatWasSet) {
  winapi::SetLastError(0xFFFFFFFF);
  EXPECT_EQ(0xFFFFFFFF, winapi::GetLastError());
  EXPECT_EQ(0xFFFFFFFF, winapi::GetLastError());
}

// Starting and joining a thread may call the system, so nothing of that lies between the settings
// and the reads.
TEST(LastErrorContract, BelongsToTheThread) {
  std::atomic<int> step{0};
  winapi::Error first = 1;
  winapi::Error second = 1;
  std::thread other([&] {
    winapi::SetLastError(88);
    step = 1;
    while (step != 2) std::this_thread::yield();
    first = winapi::GetLastError();
    step = 3;
  });
  while (step != 1) std::this_thread::yield();
  winapi::SetLastError(77);
  step = 2;
  while (step != 3) {
  }
  second = winapi::GetLastError();
  other.join();
  EXPECT_EQ(88u, first);
  EXPECT_EQ(77u, second);
}

TEST(LastErrorContract, IsZeroInANewThread) {
  winapi::SetLastError(77);
  winapi::Error atStart = 1;
  std::thread([&atStart] { atStart = winapi::GetLastError(); }).join();
  EXPECT_EQ(0u, atStart);
}

TEST(FormatMessageContract, GivesATextWithALineEndAndItsLength) {
  for (const winapi::Dword number :
       {0u,   2u,   3u,   5u,   6u,    18u,   32u,   80u,   87u,   112u,  123u,  126u,
        145u, 183u, 234u, 259u, 1018u, 1602u, 1603u, 1605u, 1618u, 1619u, 1638u, 1641u}) {
    SCOPED_TRACE(number);
    const Message message = Format(number);
    EXPECT_EQ(message.text.size(), message.length);
    ASSERT_GT(message.length, 2u);
    EXPECT_EQ(u"\r\n", message.text.substr(message.length - 2));
  }
}

TEST(FormatMessageContract, HasTheWorldsOwnWording) {
  const std::u16string windows = u"The system cannot find the file specified.\r\n";
  const std::u16string wine = u"File not found.\r\n";
  EXPECT_ANSWER("text of 2",
                Answers(windows, kHost | kWindows).Or(wine, kWine, "has short texts of its own"),
                Format(2).text);
}

TEST(FormatMessageContract, NeedReboot) {
  const winapi::Dword length =
      98 + 2;  // "The requested operation is successful. Changes ..." CR LF
  EXPECT_ANSWER(
      "length of the text of 3010",
      Answers(length, kHost | kWindows).Or(winapi::Dword{0}, kWine, "has no text for 3010"),
      Format(3010).length);
}

TEST(FormatMessageContract, UnwrapsAWindowsErrorInHresultForm) {
  EXPECT_EQ(Format(5).text, Format(0x80070005).text);
  EXPECT_EQ(Format(1603).text, Format(0x80070643).text);
  EXPECT_FALSE(Format(5).text.empty());
}

TEST(FormatMessageContract, UnknownNumberGivesNothing) {
  for (const winapi::Dword number : {99999u, 0xC0000022u, 0xC0000005u, 0xC0000135u, 0xA1780003u}) {
    SCOPED_TRACE(number);
    char16_t unchanged = u'x';
    char16_t* buffer = &unchanged;
    winapi::SetLastError(0);
    EXPECT_EQ(0u, winapi::FormatMessageW(kFlags, nullptr, number, kEnglish, &buffer, 0, nullptr));
    EXPECT_EQ(winapi::kErrorMessageIdNotFound, winapi::GetLastError());
    EXPECT_EQ(nullptr, buffer);
  }
}

TEST(FormatMessageContract, EnglishUnderEachOfItsNumbers) {
  const std::u16string text = Format(5).text;
  for (const winapi::Dword language : {0u, 9u, 1024u, 1033u}) {
    EXPECT_EQ(text, Format(5, language).text) << language;
  }
}

TEST(FormatMessageContract, LanguageThatIsNotThere) {
  const Message message = Format(5, 0x455);  // Burmese
  EXPECT_EQ(0u, message.length);
  EXPECT_EQ(1815u, message.error);
}

TEST(FormatMessageContract, RefusesNoPlaceForTheBuffer) {
  winapi::SetLastError(0);
  EXPECT_EQ(0u, winapi::FormatMessageW(kFlags, nullptr, 5, kEnglish, nullptr, 0, nullptr));
  EXPECT_EQ(winapi::kErrorInvalidParameter, winapi::GetLastError());
}

TEST(LocalFreeContract, TakesNull) {
  winapi::SetLastError(7);
  EXPECT_EQ(nullptr, winapi::LocalFree(nullptr));
  EXPECT_EQ(7u, winapi::GetLastError());
}

}  // namespace
