// The actions on links to files, on failing calls and on what others hold open.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/directory_tree.h"
#include "tests/zum_setup_util_lib/action_failure.h"
#include "winapi/host/control.h"
#include "zum_setup_util_lib/filesystem_actions.h"

namespace actions = correct_setup::FileSystemActions;
namespace host = winapi::host;

namespace {

using tests::DirectoryTree;
using tests::ExpectFailure;

TEST(ActionsOnHost, LinksInATreeAreNotCopied) {
  const DirectoryTree tree;
  tree.MakeDirectory(u"from/a");
  tree.Write(u"from/a/file");
  std::filesystem::create_symlink(tree.File(u"from/a/file"), tree.File(u"from/a/link"));
  std::filesystem::create_directory_symlink(tree.File(u"from/a"), tree.File(u"from/b"));
  actions::CopyDirectoryT(tree.Windows(u"from"), tree.Windows(u"to"));
  EXPECT_EQ(tree.Names(u"to"), std::set<std::u16string>{u"a"});
  EXPECT_EQ(tree.Names(u"to/a"), std::set<std::u16string>{u"file"});
}

TEST(ActionsOnHost, LockedSourceIsNotCopied) {
  const DirectoryTree tree;
  tree.Write(u"a");
  ASSERT_TRUE(host::LockFile(tree.Windows(u"a")));
  ExpectFailure(0x80010104, [&] { actions::CopyFileT(tree.Windows(u"a"), tree.Windows(u"b")); });
}

// The third argument lets an existing file be replaced.
TEST(ActionsOnHost, CopyAsksForReplacement) {
  const DirectoryTree tree;
  tree.Write(u"a");
  host::StartCallLog();
  host::ClearCallLog();
  actions::CopyFileT(tree.Windows(u"a"), tree.Windows(u"b"));
  ASSERT_EQ(host::CallsOf("CopyFileW").size(), 1u);
  EXPECT_EQ(host::CallsOf("CopyFileW")[0].Argument("failIfExists"), "0");
}

TEST(ActionsOnHost, OtherFailuresOfAQuestionAreRaised) {
  const DirectoryTree tree;
  host::FailCall("GetFileAttributesW", 1, 5, host::Repeat::kForever);
  ExpectFailure(0x80000045, [&] { (void)actions::ExistsT(tree.Windows()); });
  ExpectFailure(0x80000045, [&] { (void)actions::IsDirectoryT(tree.Windows()); });
  ExpectFailure(0x80000045, [&] { actions::CopyDirectoryT(tree.Windows(), tree.Windows(u"to")); });
  host::ClearFaults();
}

TEST(ActionsOnHost, FailuresAreTheirWin32Error) {
  const DirectoryTree tree;
  tree.Write(u"a");
  host::FailCall("CopyFileW", 1, 112);
  ExpectFailure(0x80000062, [&] { actions::CopyFileT(tree.Windows(u"a"), tree.Windows(u"b")); });
  host::FailCall("CreateDirectoryW", 1, 5);
  ExpectFailure(0x80000045, [&] { actions::CreateDirectoryT(tree.Windows(u"c")); });
}

// What fails without setting the last error finds an old one there, which may be 0.
TEST(ActionsOnHost, FailureWithoutAnErrorIsNoSuccess) {
  const DirectoryTree tree;
  tree.Write(u"a");
  host::FailCall("CopyFileW", 1, 0);
  ExpectFailure(0x8000004B, [&] { actions::CopyFileT(tree.Windows(u"a"), tree.Windows(u"b")); });
  host::FailCall("CreateDirectoryW", 1, 0);
  ExpectFailure(0x8000004B, [&] { actions::CreateDirectoryT(tree.Windows(u"c")); });
}

// A missing source isn't asked whether it is a directory.
TEST(ActionsOnHost, MissingSourceIsAskedForOnce) {
  const DirectoryTree tree;
  host::StartCallLog();
  host::ClearCallLog();
  ExpectFailure(
      0x80000046, [&] { actions::CopyDirectoryT(tree.Windows(u"from"), tree.Windows(u"to")); },
      u"arg 'from' not directory");
  EXPECT_EQ(host::CallsOf("GetFileAttributesW").size(), 1u);
}

// Asked twice, made, then listed while the listing's own order lasts.
TEST(ActionsOnHost, StepsOfACopiedDirectoryStandInOrder) {
  const DirectoryTree tree;
  tree.MakeDirectory(u"from/a");
  tree.Write(u"from/a/f");
  host::StartCallLog();
  host::ClearCallLog();
  actions::CopyDirectoryT(tree.Windows(u"from"), tree.Windows(u"to"));
  std::vector<std::string> calls;
  for (const host::CallRecord& call : host::CallLog()) {
    // The first trace statement makes the process's tracer.
    if (call.operation.find("Heap") != std::string::npos) continue;
    if (call.operation.ends_with("LastError")) continue;
    calls.push_back(call.operation);
  }
  EXPECT_EQ(calls,
            (std::vector<std::string>{
                "GetFileAttributesW", "GetFileAttributesW", "CreateDirectoryW", "FindFirstFileExW",
                "FindNextFileW", "FindNextFileW",  // "a"
                "GetFileAttributesW", "GetFileAttributesW", "CreateDirectoryW", "FindFirstFileExW",
                "FindNextFileW", "FindNextFileW", "CopyFileW", "FindNextFileW", "FindClose",  // "f"
                "FindNextFileW", "FindClose"}));
  for (const host::CallRecord& call : host::CallsOf("CreateDirectoryW")) {
    EXPECT_EQ(call.Argument("security"), "0x0");
  }
}

TEST(ActionsOnHost, FailureInTheMiddleLeavesWhatWasCopied) {
  const DirectoryTree tree;
  tree.MakeDirectory(u"from");
  for (const char16_t* name : {u"from/a", u"from/b", u"from/c"}) tree.Write(name);
  host::FailCall("CopyFileW", 3, 112);
  ExpectFailure(0x80000062,
                [&] { actions::CopyDirectoryT(tree.Windows(u"from"), tree.Windows(u"to")); });
  EXPECT_EQ(tree.Names(u"to").size(), 2u);
}

}  // namespace
