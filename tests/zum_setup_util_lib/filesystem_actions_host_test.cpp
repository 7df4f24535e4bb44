// The actions on links, on failing calls and on what others hold open.
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>

#include "oru/rtl/exception.h"
#include "platform/winapi/host/control.h"
#include "tests/zum_setup_util_lib/directory_tree.h"
#include "zum_setup_util_lib/filesystem_actions.h"

namespace actions = correct_setup::FileSystemActions;
namespace host = winapi::host;

namespace {

using tests::DirectoryTree;

void ExpectFailure(std::uint32_t code, const std::function<void()>& action,
                   std::u16string_view message = {}) {
  try {
    action();
    FAIL() << "it returned";
  } catch (const oru::CheckResultFailedException& exception) {
    EXPECT_EQ(static_cast<std::uint32_t>(exception.Code()), code);
    EXPECT_EQ(exception.Message().view(), message);
  }
}

TEST(ActionsOnHost, DirectoryLinkIsNoDirectory) {
  const DirectoryTree tree;
  tree.MakeDirectory(u"target");
  std::filesystem::create_directory_symlink(tree.File(u"target"), tree.File(u"link"));
  EXPECT_TRUE(actions::ExistsT(tree.Windows(u"link")));
  EXPECT_FALSE(actions::IsDirectoryT(tree.Windows(u"link")));
}

TEST(ActionsOnHost, DirectoryLinkIsNoSource) {
  const DirectoryTree tree;
  tree.MakeDirectory(u"target");
  std::filesystem::create_directory_symlink(tree.File(u"target"), tree.File(u"link"));
  ExpectFailure(
      0x80000046, [&] { actions::CopyDirectoryT(tree.Windows(u"link"), tree.Windows(u"to")); },
      u"arg 'from' not directory");
  EXPECT_FALSE(tree.Has(u"to"));
}

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
