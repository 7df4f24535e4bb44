#include "platform/util/windows/filesystem/directory_walker.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "tests/support/checks.h"
#include "tests/support/directory_tree.h"
#include "tests/support/result_code.h"
#include "winapi/files.h"

namespace {

using product_platform::filesystem::ClassifyEntry;
using product_platform::filesystem::DirectoryWalker;
using product_platform::filesystem::EntryClass;
using product_platform::filesystem::FindContext;
using product_platform::filesystem::FlatPolicy;
using product_platform::filesystem::IsDotName;
using product_platform::filesystem::RemovalPolicy;
using tests::Code;
using tests::DirectoryTree;
using tests::ReportedChecks;

using Paths = std::multiset<std::u16string>;
using Reports = std::vector<std::string>;

// The paths where the walker stops, but for "." and "..", from where it stands.
template <typename Policy>
Paths Stops(DirectoryWalker<Policy>& walker) {
  Paths paths;
  oru::ResultCode rc = oru::sOk;
  for (; rc == oru::sOk; rc = walker.Next()) {
    EXPECT_TRUE(walker.IsValid());
    if (!IsDotName(walker.Current()->Name())) paths.insert(walker.CurrentPath());
  }
  EXPECT_EQ(rc, oru::sFalse);
  return paths;
}

template <typename Policy>
Paths Walk(const std::u16string& path) {
  DirectoryWalker<Policy> walker;
  const oru::ResultCode rc = walker.Open(path);
  EXPECT_EQ(rc, oru::sOk);
  return rc == oru::sOk ? Stops(walker) : Paths{};
}

TEST(DirectoryWalker, FlatPolicyStaysInTheDirectory) {
  const DirectoryTree tree;
  tree.Write(u"a");
  tree.MakeDirectory(u"sub/deeper");
  tree.Write(u"sub/b");
  EXPECT_EQ(Walk<FlatPolicy>(tree.Windows()), (Paths{tree.Windows(u"a"), tree.Windows(u"sub")}));
  EXPECT_TRUE(tree.Has(u"sub/deeper"));
}

// It stops at the first entry of a directory that it enters, and not at the directory.
TEST(DirectoryWalker, RemovalPolicyEntersAndRemovesOnTheWayOut) {
  const DirectoryTree tree;
  tree.Write(u"a");
  tree.MakeDirectory(u"empty/deeper");
  tree.MakeDirectory(u"full");
  tree.Write(u"full/b");
  EXPECT_EQ(Walk<RemovalPolicy>(tree.Windows()),
            (Paths{tree.Windows(u"a"), tree.Windows(u"full/b")}));
  EXPECT_FALSE(tree.Has(u"empty"));
  EXPECT_TRUE(tree.Has(u"full/b"));  // the files are the caller's
  EXPECT_TRUE(tree.Has(u""));        // and the first directory too
}

// Goes into every plain directory and changes nothing.
struct ReadingPolicy {
  void Start() noexcept {}
  [[nodiscard]] static constexpr bool Descends() noexcept { return true; }
  void Enter() noexcept {}
  void Leave(const std::u16string& /*directory*/) noexcept {}
};

// A drive's root lists neither "." nor "..", so that a directory may come first. Under Windows the
// root is the system's own, and is only read.
TEST(DirectoryWalker, OpensARootWithinItsFirstDirectory) {
#ifndef _WIN32
  ASSERT_NE(winapi::CreateDirectoryW(u"C:\\sub", nullptr), 0);
#endif
  FindContext root;
  ASSERT_EQ(root.OpenFind(u"C:\\"), oru::sOk);
  const std::u16string first = u"C:\\" + std::u16string(root.Name());
  if (ClassifyEntry(root.Data().dwFileAttributes) != EntryClass::kDirectory ||
      ORU_FAILED(FindContext().OpenFind(first))) {
    GTEST_SKIP() << "the root's first entry isn't a directory that can be listed";
  }
  {
    DirectoryWalker<ReadingPolicy> walker;
    ASSERT_EQ(walker.Open(u"C:\\"), oru::sOk);
    EXPECT_EQ(walker.CurrentPath(), first + u"\\.");
  }
#ifndef _WIN32
  // Its search is over; the order of a file system's entries decides whether it was in this one.
  EXPECT_NE(winapi::RemoveDirectoryW(u"C:\\sub"), 0);
#endif
}

TEST(DirectoryWalker, IsEmptyBeforeAndAfterAWalk) {
  const DirectoryTree tree;
  DirectoryWalker<FlatPolicy> walker;
  EXPECT_EQ(walker.Current(), nullptr);
  EXPECT_FALSE(walker.IsValid());
  EXPECT_EQ(walker.Next(), oru::sFalse);
  ASSERT_EQ(walker.Open(tree.Windows()), oru::sOk);
  EXPECT_TRUE(walker.IsValid());
  EXPECT_NE(walker.Current(), nullptr);
  (void)Stops(walker);
  EXPECT_EQ(walker.Current(), nullptr);
  EXPECT_FALSE(walker.IsValid());
  EXPECT_EQ(walker.Next(), oru::sFalse);
  EXPECT_EQ(ReportedChecks(), Reports{});
}

TEST(DirectoryWalker, CanWalkAgainBehindItsEnd) {
  const DirectoryTree tree;
  tree.Write(u"a");
  DirectoryWalker<FlatPolicy> walker;
  for (int i = 0; i < 2; ++i) {
    ASSERT_EQ(walker.Open(tree.Windows()), oru::sOk);
    EXPECT_EQ(Stops(walker), Paths{tree.Windows(u"a")});
  }
  EXPECT_EQ(ReportedChecks(), Reports{});
}

TEST(DirectoryWalker, FailedOpenLeavesNothingOpen) {
  const DirectoryTree tree;
  DirectoryWalker<RemovalPolicy> walker;
  EXPECT_EQ(Code(walker.Open(tree.Windows(u"missing"))), 0x80010103u);
  EXPECT_EQ(walker.Current(), nullptr);
  EXPECT_EQ(walker.Next(), oru::sFalse);
}

TEST(DirectoryWalkerOwnProcess, OpenDuringAWalkIsReportedAndGoesOn) {
  const DirectoryTree tree;
  tree.Write(u"a");
  DirectoryWalker<FlatPolicy> walker;
  ASSERT_EQ(walker.Open(tree.Windows()), oru::sOk);
  EXPECT_EQ(ReportedChecks(), Reports{});
  ASSERT_EQ(walker.Open(tree.Windows()), oru::sOk);
  EXPECT_EQ(ReportedChecks(), Reports{"m_findStack.IsEmpty()"});
}

TEST(DirectoryWalkerOwnProcess, LeavingMoreThanWasEnteredIsReported) {
  const DirectoryTree tree;
  tree.MakeDirectory(u"one");
  tree.MakeDirectory(u"two");
  DirectoryWalker<RemovalPolicy> walker;
  ASSERT_EQ(walker.Open(tree.Windows(u"one")), oru::sOk);
  ASSERT_EQ(walker.Open(tree.Windows(u"two")), oru::sOk);
  while (walker.Next() == oru::sOk) {
  }
  EXPECT_EQ(ReportedChecks(), (Reports{"m_findStack.IsEmpty()", "m_depth>=0"}));
  EXPECT_TRUE(tree.Has(u"one"));
  EXPECT_TRUE(tree.Has(u"two"));
}

TEST(DirectoryWalkerOwnProcess, ReadingAnEmptyStackIsReported) {
  const DirectoryWalker<FlatPolicy> walker;
  EXPECT_EQ(walker.CurrentPath(), u"");
  EXPECT_EQ(ReportedChecks(), Reports{"!IsEmpty()"});
}

TEST(RemovalPolicy, CountsDirectoriesEntered) {
  const DirectoryTree tree;
  tree.MakeDirectory(u"gone");
  tree.MakeDirectory(u"kept");
  RemovalPolicy policy;
  policy.Start();
  EXPECT_EQ(policy.m_depth, 1);
  policy.Enter();
  EXPECT_EQ(policy.m_depth, 2);
  policy.Leave(tree.Windows(u"gone"));
  EXPECT_EQ(policy.m_depth, 1);
  EXPECT_FALSE(tree.Has(u"gone"));
  policy.Leave(tree.Windows(u"kept"));
  EXPECT_EQ(policy.m_depth, 0);
  EXPECT_TRUE(tree.Has(u"kept"));
}

TEST(RemovalPolicy, DirectoryThatStaysIsLeftAllTheSame) {
  const DirectoryTree tree;
  tree.Write(u"a");
  RemovalPolicy policy;
  policy.Start();
  policy.Enter();
  policy.Leave(tree.Windows());
  EXPECT_TRUE(tree.Has(u"a"));
  EXPECT_EQ(policy.m_depth, 1);
}

}  // namespace
