// Removing trees with links in them, and when the system refuses. Links are shown on the host
// alone: under Wine the removal of a link removes what it leads to and keeps the link.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <iostream>
#include <string>
#include <vector>

#include "platform/util/windows/filesystem/file_operations.h"
#include "tests/support/checks.h"
#include "tests/support/directory_tree.h"
#include "tests/support/result_code.h"
#include "winapi/host/control.h"

namespace host = winapi::host;

namespace {

using product_platform::filesystem::RemoveDirectoryRecursive;
using product_platform::filesystem::TestDirectory;
using tests::Code;
using tests::DirectoryTree;

struct SilentFailure {
  const char* call;
  oru::ResultCode (*run)(const std::u16string& path);
};

oru::ResultCode Query(const std::u16string& path) {
  winapi::Dword attributes = 0;
  return product_platform::filesystem::QueryFileAttributes(path, attributes);
}

// What fails without setting the last error finds an old one there, which may be 0.
TEST(FileOperationsOnHost, FailureWithoutAnErrorIsNoSuccess) {
  const SilentFailure cases[] = {
      {"GetFileAttributesW", Query},
      {"GetFileAttributesW", TestDirectory},
      {"DeleteFileW", product_platform::filesystem::RemoveFile},
      {"RemoveDirectoryW", product_platform::filesystem::RemoveEmptyDirectory},
      {"RemoveDirectoryW", RemoveDirectoryRecursive},
      {"FindFirstFileExW", RemoveDirectoryRecursive},
  };
  for (const SilentFailure& test : cases) {
    const DirectoryTree tree;
    host::FailCall(test.call, 1, 0);
    EXPECT_EQ(Code(test.run(tree.Windows())), 0x8000004Bu) << test.call;
    EXPECT_EQ(host::InjectedFaultCount(), 1u) << test.call;
    EXPECT_TRUE(tree.Has(u"")) << test.call;
    host::ClearFaults();
  }
}

TEST(TestDirectoryOnHost, LinkToADirectoryIsNone) {
  const DirectoryTree tree;
  tree.MakeDirectory(u"target");
  std::filesystem::create_directory_symlink(tree.File(u"target"), tree.File(u"link"));
  EXPECT_EQ(TestDirectory(tree.Windows(u"link")), oru::sFalse);
}

TEST(RemoveDirectoryRecursiveOnHost, LinkToADirectoryElsewhereGoesAndItsTargetStays) {
  const DirectoryTree tree;
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
  const DirectoryTree tree;
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
  const DirectoryTree tree;
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
  const DirectoryTree tree;
  tree.Write(u"target");
  std::filesystem::create_symlink(tree.File(u"target"), tree.File(u"link"));
  EXPECT_EQ(RemoveDirectoryRecursive(tree.Windows(u"link")), oru::sOk);
  EXPECT_FALSE(tree.Has(u"link"));
  EXPECT_TRUE(tree.Has(u"target"));
}

TEST(RemoveDirectoryRecursiveOnHost, RefusedRemovalOfALinkIsTheResult) {
  const DirectoryTree tree;
  tree.MakeDirectory(u"target");
  std::filesystem::create_directory_symlink(tree.File(u"target"), tree.File(u"link"));
  host::FailCall("RemoveDirectoryW", 1, 5);
  EXPECT_EQ(Code(RemoveDirectoryRecursive(tree.Windows(u"link"))), 0x80000045u);
}

TEST(RemoveDirectoryRecursiveOnHost, RefusedRemovalOfALinkToAFileIsTheResult) {
  const DirectoryTree tree;
  tree.Write(u"target");
  std::filesystem::create_symlink(tree.File(u"target"), tree.File(u"link"));
  host::StartCallLog();
  host::ClearCallLog();
  host::FailCall("DeleteFileW", 1, 5);
  EXPECT_EQ(Code(RemoveDirectoryRecursive(tree.Windows(u"link"))), 0x80000045u);
  EXPECT_EQ(host::CallsOf("DeleteFileW").size(), 1u);
  EXPECT_TRUE(host::CallsOf("RemoveDirectoryW").empty());
  EXPECT_TRUE(tree.Has(u"link"));
}

TEST(RemoveDirectoryRecursiveOnHost, FailedQueryOfTheAttributesChangesNothing) {
  const DirectoryTree tree;
  tree.MakeDirectory(u"top/a");
  host::FailCall("GetFileAttributesW", 1, 5);
  EXPECT_EQ(RemoveDirectoryRecursive(tree.Windows(u"top")), oru::sOk);
  EXPECT_EQ(host::InjectedFaultCount(), 1u);
  EXPECT_FALSE(tree.Has(u"top"));
}

// The calls that were to remove just this directory.
std::size_t RemovalsOf(const std::u16string& path) {
  const std::string removed = "\\\\?\\" + std::string(path.begin(), path.end());
  std::size_t count = 0;
  for (const host::CallRecord& call : host::CallsOf("RemoveDirectoryW")) {
    count += call.Argument("path") == removed ? 1 : 0;
  }
  return count;
}

TEST(RemoveDirectoryRecursiveOnHost, DirectoryThatCanNotBeListedStaysWithThoseAbove) {
  const DirectoryTree tree;
  tree.MakeDirectory(u"top/a");
  tree.Write(u"top/a/f");
  tree.MakeDirectory(u"top/b");
  tree.Write(u"top/z");
  host::StartCallLog();
  host::ClearCallLog();
  host::FailCall("FindFirstFileExW", 2, 5);  // the first of the two
  EXPECT_EQ(Code(RemoveDirectoryRecursive(tree.Windows(u"top"))), 0x80070091u);  // 145
  EXPECT_EQ(host::InjectedFaultCount(), 1u);
  EXPECT_EQ(RemovalsOf(tree.Windows(u"top")), 1u);
  EXPECT_EQ(tests::ReportedChecks(), std::vector<std::string>{});
  EXPECT_NE(tree.Has(u"top/a"), tree.Has(u"top/b"));
  EXPECT_FALSE(tree.Has(u"top/z"));
  EXPECT_EQ(host::Live().handles, 0u);
}

TEST(RemoveDirectoryRecursiveOnHost, FailedStepEndsInTheRemovalOfTheRoot) {
  const DirectoryTree tree;
  tree.MakeDirectory(u"top");
  tree.Write(u"top/f");
  host::FailCall("FindNextFileW", 1, 5);
  EXPECT_EQ(Code(RemoveDirectoryRecursive(tree.Windows(u"top"))), 0x80070091u);  // 145
  EXPECT_TRUE(tree.Has(u"top/f"));
  EXPECT_EQ(host::Live().handles, 0u);
}

// An open search would hold the directory.
TEST(RemoveDirectoryRecursiveOnHost, SearchOfAFailedStepIsClosedBeforeTheRootGoes) {
  const DirectoryTree tree;
  tree.MakeDirectory(u"top/a");
  host::StartCallLog();
  host::ClearCallLog();
  host::FailCall("FindNextFileW", 3, 5);  // the first within "a", which is entered by the second
  EXPECT_EQ(Code(RemoveDirectoryRecursive(tree.Windows(u"top"))), 0x80070091u);  // 145
  std::vector<std::string> calls;
  for (const host::CallRecord& call : host::CallLog()) {
    if (call.operation.find("LastError") == std::string::npos) calls.push_back(call.operation);
  }
  EXPECT_EQ(calls,
            (std::vector<std::string>{"GetFileAttributesW", "FindFirstFileExW", "FindNextFileW",
                                      "FindNextFileW", "FindFirstFileExW", "FindNextFileW",
                                      "FindClose", "FindClose", "RemoveDirectoryW"}));
}

TEST(RemoveDirectoryRecursiveOnHostOwnProcess,
     SearchesThatCanNotBeClosedAreReportedAndKeepNothing) {
  const DirectoryTree tree;
  tree.MakeDirectory(u"top/a/b");
  tree.Write(u"top/a/f");
  host::FailCall("FindClose", 1, 6, host::Repeat::kForever);
  EXPECT_EQ(RemoveDirectoryRecursive(tree.Windows(u"top")), oru::sOk);
  EXPECT_EQ(host::InjectedFaultCount(), 3u);
  EXPECT_FALSE(tree.Has(u"top"));
  EXPECT_EQ(tests::ReportedChecks(),
            std::vector<std::string>{"oru::sOk == Traits::Close(m_handle)"});
}

TEST(RemoveDirectoryRecursiveOnHost, SubdirectoryThatStaysIsSeenAtTheRoot) {
  const DirectoryTree tree;
  tree.MakeDirectory(u"top/a");
  host::FailCall("RemoveDirectoryW", 1, 5);
  EXPECT_EQ(Code(RemoveDirectoryRecursive(tree.Windows(u"top"))), 0x80070091u);  // 145
  EXPECT_TRUE(tree.Has(u"top/a"));
}

TEST(RemoveDirectoryRecursiveOnHost, RefusedRemovalOfTheRootIsTheResult) {
  const DirectoryTree tree;
  tree.MakeDirectory(u"top");
  host::FailCall("RemoveDirectoryW", 1, 32);
  EXPECT_EQ(Code(RemoveDirectoryRecursive(tree.Windows(u"top"))), 0x80010104u);
}

TEST(RemoveDirectoryRecursiveOnHost, SubdirectoriesGoBeforeTheRootEachByOneCall) {
  const DirectoryTree tree;
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

// Twenty thousand paths would be more than twice that much. The peak is the process's, so no
// other case may have raised it.
TEST(RemoveDirectoryRecursiveOnHostOwnProcess, MemoryGrowsWithDepthOnly) {
#ifdef __has_feature  // clang's, as is the build with the sanitizer
#if __has_feature(address_sanitizer)
  GTEST_SKIP() << "the address sanitizer keeps freed memory, so the peak says nothing";
#endif
#endif
  const DirectoryTree tree;
  tree.MakeWide(u"small", 1000);
  ASSERT_EQ(RemoveDirectoryRecursive(tree.Windows(u"small")), oru::sOk);
  tree.MakeWide(u"top", 20000);
  const long before = PeakMemory();
  ASSERT_EQ(RemoveDirectoryRecursive(tree.Windows(u"top")), oru::sOk);
  EXPECT_LT(PeakMemory() - before, 1024);
}

}  // namespace
