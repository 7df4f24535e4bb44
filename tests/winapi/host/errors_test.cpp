#include <gtest/gtest.h>

#include <string>

#include "winapi/errors.h"
#include "winapi/host/control.h"
#include "winapi/host/error_texts.h"

namespace {

using winapi::host::SystemErrorText;

constexpr winapi::Dword kFlags = 0x1300;

// Up to 83, and those of the installer, from the published list of system error codes; the others
// as Windows 7 shows them.
TEST(HostErrorTexts, AreWindowsOwn) {
  struct Case {
    winapi::Dword number;
    std::u16string_view text;
  };
  constexpr Case kCases[] = {
      {0, u"The operation completed successfully.\r\n"},
      {2, u"The system cannot find the file specified.\r\n"},
      {3, u"The system cannot find the path specified.\r\n"},
      {5, u"Access is denied.\r\n"},
      {6, u"The handle is invalid.\r\n"},
      {8, u"Not enough storage is available to process this command.\r\n"},
      {32, u"The process cannot access the file because it is being used by another process.\r\n"},
      {50, u"The request is not supported.\r\n"},
      {80, u"The file exists.\r\n"},
      {87, u"The parameter is incorrect.\r\n"},
      {112, u"There is not enough space on the disk.\r\n"},
      {126, u"The specified module could not be found.\r\n"},
      {127, u"The specified procedure could not be found.\r\n"},
      {234, u"More data is available.\r\n"},
      {259, u"No more data is available.\r\n"},
      {267, u"The directory name is invalid.\r\n"},
      {1009, u"The configuration registry database is corrupt.\r\n"},
      {1018,
       u"Illegal operation attempted on a registry key that has been marked for deletion.\r\n"},
      {1450, u"Insufficient system resources exist to complete the requested service.\r\n"},
      {1603, u"Fatal error during installation.\r\n"},
      {1612,
       u"The installation source for this product is not available. Verify that the source exists "
       u"and that you can access it.\r\n"},
      {1629, u"Data supplied is of wrong type.\r\n"},
      {0x800B0100, u"No signature was present in the subject.\r\n"},
  };
  for (const Case& one : kCases) EXPECT_EQ(one.text, SystemErrorText(one.number)) << one.number;
}

// The Windows errors that have a result code of their own, an NTSTATUS aside: those are in no
// message table of the system itself.
TEST(HostErrorTexts, ThereIsOneForEachErrorThatTheToolKnows) {
  for (const winapi::Dword number :
       {0u,          1u,          2u,          3u,          5u,         6u,    8u,     21u,
        24u,         31u,         32u,         33u,         50u,        53u,   80u,    87u,
        111u,        112u,        122u,        123u,        126u,       127u,  160u,   183u,
        234u,        258u,        267u,        393u,        637u,       995u,  1115u,  1168u,
        1347u,       1413u,       1450u,       1460u,       1503u,      1630u, 14001u, 0x80000005u,
        0x8000000Au, 0x80310000u, 0x80310068u, 0x80310080u, 0x803100B5u}) {
    const std::u16string_view text = SystemErrorText(number);
    ASSERT_GT(text.size(), 2u) << number;
    EXPECT_EQ(u"\r\n", text.substr(text.size() - 2)) << number;
    EXPECT_NE(u'\n', text[text.size() - 3]) << number;
  }
  for (const winapi::Dword number :
       {0xC0000008u, 0xC000000Du, 0xC0000017u, 0xC0000022u, 0xC0000023u, 0xC0000043u, 0xC0000055u,
        0xC000007Fu, 0xC00000A6u, 0xC00000BBu, 0xC00002D1u, 0xC000090Bu, 0xC0150002u, 99999u,
        0xA1780003u, 0xFFFFFFFFu}) {
    EXPECT_TRUE(SystemErrorText(number).empty()) << number;
  }
}

TEST(HostFormatMessage, CountsTheBlocksUntilTheyAreFreed) {
  char16_t* buffer = nullptr;
  EXPECT_EQ(19u, winapi::FormatMessageW(kFlags, nullptr, 5, 1033, &buffer, 0, nullptr));
  EXPECT_EQ(std::u16string(u"Access is denied.\r\n"), buffer);
  EXPECT_EQ(1u, winapi::host::Live().localBlocks);
  EXPECT_EQ(nullptr, winapi::LocalFree(buffer));
  EXPECT_EQ(0u, winapi::host::Live().localBlocks);
}

TEST(HostFormatMessage, FailsWhenToldTo) {
  winapi::host::FailCall("FormatMessageW", 1, 14);
  char16_t unchanged = u'x';
  char16_t* buffer = &unchanged;
  EXPECT_EQ(0u, winapi::FormatMessageW(kFlags, nullptr, 5, 1033, &buffer, 0, nullptr));
  EXPECT_EQ(14u, winapi::GetLastError());
  EXPECT_EQ(&unchanged, buffer);
}

TEST(HostFormatMessage, RefusesWhatTheContractLeavesOut) {
  char16_t* buffer = nullptr;
  int source = 0;
  for (const winapi::Dword flags : {0x1000u, 0x1100u, 0x1200u, 0x1B00u}) {
    EXPECT_EQ(0u, winapi::FormatMessageW(flags, nullptr, 5, 1033, &buffer, 0, nullptr)) << flags;
    EXPECT_EQ(winapi::kErrorInvalidParameter, winapi::GetLastError());
  }
  EXPECT_EQ(0u, winapi::FormatMessageW(kFlags, &source, 5, 1033, &buffer, 0, nullptr));
  EXPECT_EQ(0u, winapi::FormatMessageW(kFlags, nullptr, 5, 1033, &buffer, 9, nullptr));
  EXPECT_EQ(0u, winapi::FormatMessageW(kFlags, nullptr, 5, 1033, &buffer, 0, &source));
}

TEST(HostLocalFree, RefusesWhatIsNoBlockAndASecondRelease) {
  int other = 0;
  EXPECT_EQ(&other, winapi::LocalFree(&other));
  EXPECT_EQ(winapi::kErrorInvalidHandle, winapi::GetLastError());
  char16_t* buffer = nullptr;
  ASSERT_NE(0u, winapi::FormatMessageW(kFlags, nullptr, 5, 1033, &buffer, 0, nullptr));
  EXPECT_EQ(nullptr, winapi::LocalFree(buffer));
  EXPECT_EQ(buffer, winapi::LocalFree(buffer));
}

TEST(HostLocalFree, LetsTheBlockGoThoughItFailsWhenToldTo) {
  char16_t* buffer = nullptr;
  ASSERT_NE(0u, winapi::FormatMessageW(kFlags, nullptr, 5, 1033, &buffer, 0, nullptr));
  winapi::host::FailCall("LocalFree", 1, 6);
  EXPECT_EQ(buffer, winapi::LocalFree(buffer));
  EXPECT_EQ(6u, winapi::GetLastError());
  EXPECT_EQ(0u, winapi::host::Live().localBlocks);
}

}  // namespace
