#include "zum_rehearse/files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <string>
#include <system_error>

namespace {

// The kernel's own files name a page as their size and hold less.
const std::filesystem::path kShorterThanItsSize = "/sys/kernel/uevent_seqnum";

TEST(ReadWholeFileOnHost, AFileMayHoldLessThanItsSizeSays) {
  std::error_code error;
  if (std::filesystem::file_size(kShorterThanItsSize, error) < 4096 || error) {
    GTEST_SKIP() << kShorterThanItsSize << " isn't there";
  }
  std::string bytes;
  std::string reason;
  ASSERT_TRUE(zum_rehearse::ReadWholeFile(kShorterThanItsSize, bytes, reason)) << reason;
  ASSERT_FALSE(bytes.empty());
  EXPECT_EQ(bytes.back(), '\n');
  EXPECT_TRUE(std::all_of(bytes.begin(), bytes.end() - 1, [](char digit) {
    return digit >= '0' && digit <= '9';
  })) << bytes;
}

TEST(ReadWholeFileOnHost, AFolderIsRefused) {
  std::string bytes;
  std::string reason;
  EXPECT_FALSE(zum_rehearse::ReadWholeFile("/", bytes, reason));
  EXPECT_EQ(reason, "it is a folder");
}

TEST(LastReasonOnHost, SaysSomethingWithoutAnErrorToo) {
  errno = 0;
  EXPECT_EQ(zum_rehearse::LastReason(), "it can't be opened");
  errno = EACCES;
  EXPECT_EQ(zum_rehearse::LastReason(), "Permission denied");
}

}  // namespace
