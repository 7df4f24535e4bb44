// Removing trees with links in them, and when the system refuses.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <iostream>
#include <string>
#include <vector>

#include "oru/rtl/exception.h"
#include "platform/util/windows/filesystem/file_operations.h"
#include "platform/util/windows/filesystem/path.h"
#include "platform/util/windows/filesystem/system_directory.h"
#include "platform/winapi/host/control.h"
#include "tests/platform/util/windows/filesystem_tree.h"
#include "tests/support/checks.h"

namespace host = winapi::host;

namespace {

using product_platform::filesystem::MakeLongPath;
using product_platform::filesystem::RemoveDirectoryRecursive;
using tests::Tree;

std::uint32_t Code(oru::ResultCode rc) { return static_cast<std::uint32_t>(rc); }

TEST(RemoveDirectoryRecursiveOnHost, LinkToADirectoryElsewhereGoesAndItsTargetStays) {
  const Tree tree;
  tree.MakeDirectory(u"target/sub");
  tree.Write(u"target/inner");
  tree.MakeDirectory(u"top/a");
  std::filesystem::create_directory_symlink(tree.File(u"target"), tree.File(u"top/a/link"));
  EXPECT_EQ(RemoveDirectoryRecursive(tree.Windows(u"top")), oru::sOk);
  EXPECT_FALSE(tree.Has(u"top"));
  EXPECT_TRUE(tree.Has(u"target/inner"));
  EXPECT_TRUE(tree.Has(u"target/sub"));
}

TEST(RemoveDirectoryRecursiveOnHost, LinksOfAllKindsGo) {
  const Tree tree;
  tree.Write(u"target");
  tree.MakeDirectory(u"top");
  std::filesystem::create_symlink(tree.File(u"target"), tree.File(u"top/file"));
  std::filesystem::create_symlink(tree.File(u"nowhere"), tree.File(u"top/dangling"));
  std::filesystem::create_directory_symlink(tree.File(u"top"), tree.File(u"top/loop"));
  EXPECT_EQ(RemoveDirectoryRecursive(tree.Windows(u"top")), oru::sOk);
  EXPECT_FALSE(tree.Has(u"top"));
  EXPECT_TRUE(tree.Has(u"target"));
}

TEST(RemoveDirectoryRecursiveOnHost, OfALinkToADirectoryOnlyTheLinkGoes) {
  const Tree tree;
  tree.MakeDirectory(u"target");
  tree.Write(u"target/inner");
  std::filesystem::create_directory_symlink(tree.File(u"target"), tree.File(u"link"));
  host::StartCallLog();
  host::ClearCallLog();
  EXPECT_EQ(RemoveDirectoryRecursive(tree.Windows(u"link")), oru::sOk);
  EXPECT_TRUE(host::CallsOf("FindFirstFileExW").empty());
  EXPECT_EQ(host::CallsOf("RemoveDirectoryW").size(), 1u);
  EXPECT_FALSE(tree.Has(u"link"));
  EXPECT_TRUE(tree.Has(u"target/inner"));
}

TEST(RemoveDirectoryRecursiveOnHost, OfALinkToAFileOnlyTheLinkGoes) {
  const Tree tree;
  tree.Write(u"target");
  std::filesystem::create_symlink(tree.File(u"target"), tree.File(u"link"));
  EXPECT_EQ(RemoveDirectoryRecursive(tree.Windows(u"link")), oru::sOk);
  EXPECT_FALSE(tree.Has(u"link"));
  EXPECT_TRUE(tree.Has(u"target"));
}

TEST(RemoveDirectoryRecursiveOnHost, RefusedRemovalOfALinkIsTheResult) {
  const Tree tree;
  tree.MakeDirectory(u"target");
  std::filesystem::create_directory_symlink(tree.File(u"target"), tree.File(u"link"));
  host::FailCall("RemoveDirectoryW", 1, 5);
  EXPECT_EQ(Code(RemoveDirectoryRecursive(tree.Windows(u"link"))), 0x80000045u);
}

TEST(RemoveDirectoryRecursiveOnHost, FailedQueryOfTheAttributesChangesNothing) {
  const Tree tree;
  tree.MakeDirectory(u"top/a");
  host::FailCall("GetFileAttributesW", 1, 5);
  EXPECT_EQ(RemoveDirectoryRecursive(tree.Windows(u"top")), oru::sOk);
  EXPECT_FALSE(tree.Has(u"top"));
}

TEST(RemoveDirectoryRecursiveOnHost, DirectoryThatCanNotBeListedStaysWithThoseAbove) {
  const Tree tree;
  tree.MakeDirectory(u"top/a");
  tree.Write(u"top/a/f");
  tree.MakeDirectory(u"top/b");
  tree.Write(u"top/z");
  host::FailCall("FindFirstFileExW", 2, 5);  // the first of the two
  EXPECT_EQ(Code(RemoveDirectoryRecursive(tree.Windows(u"top"))), 0x80070091u);  // 145
  EXPECT_NE(tree.Has(u"top/a"), tree.Has(u"top/b"));
  EXPECT_FALSE(tree.Has(u"top/z"));
  EXPECT_EQ(host::Live().handles, 0u);
}

TEST(RemoveDirectoryRecursiveOnHost, FailedStepEndsInTheRemovalOfTheRoot) {
  const Tree tree;
  tree.MakeDirectory(u"top");
  tree.Write(u"top/f");
  host::FailCall("FindNextFileW", 1, 5);
  EXPECT_EQ(Code(RemoveDirectoryRecursive(tree.Windows(u"top"))), 0x80070091u);  // 145
  EXPECT_TRUE(tree.Has(u"top/f"));
  EXPECT_EQ(host::Live().handles, 0u);
}

TEST(RemoveDirectoryRecursiveOnHost, SubdirectoryThatStaysIsSeenAtTheRoot) {
  const Tree tree;
  tree.MakeDirectory(u"top/a");
  host::FailCall("RemoveDirectoryW", 1, 5);
  EXPECT_EQ(Code(RemoveDirectoryRecursive(tree.Windows(u"top"))), 0x80070091u);  // 145
  EXPECT_TRUE(tree.Has(u"top/a"));
}

TEST(RemoveDirectoryRecursiveOnHost, RefusedRemovalOfTheRootIsTheResult) {
  const Tree tree;
  tree.MakeDirectory(u"top");
  host::FailCall("RemoveDirectoryW", 1, 32);
  EXPECT_EQ(Code(RemoveDirectoryRecursive(tree.Windows(u"top"))), 0x80010104u);
}

TEST(RemoveDirectoryRecursiveOnHost, SubdirectoriesGoBeforeTheRootEachByOneCall) {
  const Tree tree;
  tree.MakeDirectory(u"top/a/b");
  host::StartCallLog();
  host::ClearCallLog();
  ASSERT_EQ(RemoveDirectoryRecursive(tree.Windows(u"top")), oru::sOk);
  const std::u16string top = tree.Windows(u"top");
  const std::string root = "\\\\?\\" + std::string(top.begin(), top.end());
  std::vector<std::string> removed;
  for (const auto& call : host::CallsOf("RemoveDirectoryW"))
    removed.push_back(call.Argument("path"));
  EXPECT_EQ(removed, (std::vector<std::string>{root + "\\a\\b", root + "\\a", root}));
}

TEST(RemoveDirectoryRecursiveOnHost, UnknownCurrentDirectoryIsTheResult) {
  host::FailCall("GetCurrentDirectoryW", 1, 5);
  EXPECT_EQ(Code(RemoveDirectoryRecursive(u"a")), 0x80000045u);
}

// The kernel's count of the most memory that the process ever had, in KiB.
long PeakMemory() {
  rusage usage{};
  EXPECT_EQ(::getrusage(RUSAGE_SELF, &usage), 0);
  return usage.ru_maxrss;
}

// A hundred thousand paths would be more than ten times that much.
TEST(RemoveDirectoryRecursiveOnHost, MemoryGrowsWithDepthOnly) {
#ifdef __SANITIZE_ADDRESS__
  GTEST_SKIP() << "the address sanitizer keeps freed memory, so the peak says nothing";
#endif
  const Tree tree;
  tree.MakeWide(u"small", 1000);
  ASSERT_EQ(RemoveDirectoryRecursive(tree.Windows(u"small")), oru::sOk);
  tree.MakeWide(u"top", 100000);
  const long before = PeakMemory();
  ASSERT_EQ(RemoveDirectoryRecursive(tree.Windows(u"top")), oru::sOk);
  EXPECT_LT(PeakMemory() - before, 1024);
}

TEST(MakeLongPathOnHost, UnknownCurrentDirectoryIsThrown) {
  host::FailCall("GetCurrentDirectoryW", 1, 5);
  try {
    (void)MakeLongPath(u"a");
    FAIL() << "nothing was thrown";
  } catch (const oru::ResultCodeException& exception) {
    EXPECT_EQ(Code(exception.Code()), 0x80000045u);
    EXPECT_STREQ(exception.File(), "platform/util/windows/filesystem/path");
  }
}

TEST(MakeLongPathOnHost, AbsolutePathNeedsNoCurrentDirectory) {
  host::StartCallLog();
  host::ClearCallLog();
  EXPECT_EQ(MakeLongPath(u"C:\\a"), u"\\\\?\\C:\\a");
  EXPECT_TRUE(host::CallsOf("GetCurrentDirectoryW").empty());
}

TEST(GetSystemFilesDirectoryOnHost, EitherCallsFailureIsThrown) {
  for (const std::size_t nth : {1u, 2u}) {
    host::FailCall("GetSystemDirectoryW", nth, 5);
    try {
      (void)product_platform::windows::detail::GetSystemFilesDirectory();
      ADD_FAILURE() << "nothing was thrown at call " << nth;
    } catch (const oru::CheckResultFailedException& exception) {
      EXPECT_EQ(Code(exception.Code()), 0x80000045u);
      EXPECT_EQ(exception.Message().view(),
                u"product_platform::windows::detail::GetSystemFilesDirectory failed ");
      EXPECT_STREQ(exception.File(), "platform/util/windows/filesystem/system_directory");
    }
    EXPECT_EQ(host::InjectedFaultCount(), 1u);
    host::ClearFaults();
  }
}

TEST(GetSystemFilesDirectoryOnHost, AsksForTheSizeFirst) {
  host::StartCallLog();
  host::ClearCallLog();
  (void)product_platform::windows::detail::GetSystemFilesDirectory();
  EXPECT_EQ(host::CallsOf("GetSystemDirectoryW").size(), 2u);
  EXPECT_EQ(host::CallsOf("GetSystemDirectoryW").at(0).Argument("size"), "0");
  EXPECT_EQ(host::CallsOf("GetSystemDirectoryW").at(1).Argument("size"), "20");
}

}  // namespace
