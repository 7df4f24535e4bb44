#include "zum_setup_util_lib/filesystem_actions.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <string>

#include "tests/support/directory_tree.h"
#include "tests/support/result_code.h"
#include "tests/support/text.h"
#include "tests/zum_setup_util_lib/action_failure.h"
#include "tests/zum_setup_util_lib/installed_tracer.h"

namespace actions = correct_setup::FileSystemActions;

namespace {

using tests::DirectoryTree;
using tests::ExpectFailure;
using tests::InstalledTracer;
using tests::kAlreadyExists;
using tests::kFileNotFound;
using tests::kInvalidArgument;
using tests::kPathNotFound;
using tests::Narrow;

// What is traced of an action: before its call, so that a failed one has its record too.
tests::TraceRecords CopyRecord(const std::u16string& from, const std::u16string& to) {
  return {
      {700, "setup\t[correct_setup::FileSystemActions::CopyFileT] " + Narrow(from + u" -> " + to)}};
}

tests::TraceRecords CreationRecord(const std::u16string& directory) {
  return {{700, "setup\t[correct_setup::FileSystemActions::CreateDirectoryT] dir = " +
                    Narrow(directory)}};
}

TEST(CopyFileT, Copies) {
  const InstalledTracer tracer;
  const DirectoryTree tree;
  const std::string content("a\r\n\0\x1A\xFF", 6);
  tree.Write(u"a.msi", content);
  actions::CopyFileT(tree.Windows(u"a.msi"), tree.Windows(u"b.msi"));
  EXPECT_EQ(tree.Read(u"b.msi"), content);
  EXPECT_EQ(tree.Read(u"a.msi"), content);
  EXPECT_EQ(tracer.Records(), CopyRecord(tree.Windows(u"a.msi"), tree.Windows(u"b.msi")));
}

TEST(CopyFileT, OverwritesAFileThatIsThere) {
  const DirectoryTree tree;
  tree.Write(u"a.msi", "new");
  tree.Write(u"b.msi", "something longer");
  actions::CopyFileT(tree.Windows(u"a.msi"), tree.Windows(u"b.msi"));
  EXPECT_EQ(tree.Read(u"b.msi"), "new");
}

TEST(CopyFileT, MissingSourceFails) {
  const InstalledTracer tracer;
  const DirectoryTree tree;
  ExpectFailure(kFileNotFound,
                [&] { actions::CopyFileT(tree.Windows(u"missing"), tree.Windows(u"b.msi")); });
  EXPECT_FALSE(tree.Has(u"b.msi"));
  EXPECT_EQ(tracer.Records(), CopyRecord(tree.Windows(u"missing"), tree.Windows(u"b.msi")));
}

TEST(CopyFileT, MissingTargetDirectoryFails) {
  const InstalledTracer tracer;
  const DirectoryTree tree;
  tree.Write(u"a.msi");
  ExpectFailure(kPathNotFound, [&] {
    actions::CopyFileT(tree.Windows(u"a.msi"), tree.Windows(u"missing/b.msi"));
  });
  EXPECT_EQ(tracer.Records(), CopyRecord(tree.Windows(u"a.msi"), tree.Windows(u"missing/b.msi")));
}

TEST(CreateDirectoryT, MakesOneDirectory) {
  const InstalledTracer tracer;
  const DirectoryTree tree;
  actions::CreateDirectoryT(tree.Windows(u"new"));
  EXPECT_TRUE(std::filesystem::is_directory(tree.File(u"new")));
  EXPECT_EQ(tracer.Records(), CreationRecord(tree.Windows(u"new")));
}

TEST(CreateDirectoryT, ExistingDirectoryFails) {
  const InstalledTracer tracer;
  const DirectoryTree tree;
  tree.MakeDirectory(u"old");
  ExpectFailure(kAlreadyExists, [&] { actions::CreateDirectoryT(tree.Windows(u"old")); });
  EXPECT_EQ(tracer.Records(), CreationRecord(tree.Windows(u"old")));
}

TEST(CreateDirectoryT, ExistingFileFails) {
  const DirectoryTree tree;
  tree.Write(u"old", "content");
  ExpectFailure(kAlreadyExists, [&] { actions::CreateDirectoryT(tree.Windows(u"old")); });
  EXPECT_EQ(tree.Read(u"old"), "content");
}

TEST(CreateDirectoryT, MakesNoParents) {
  const InstalledTracer tracer;
  const DirectoryTree tree;
  ExpectFailure(kPathNotFound, [&] { actions::CreateDirectoryT(tree.Windows(u"a/b")); });
  EXPECT_EQ(tracer.Records(), CreationRecord(tree.Windows(u"a/b")));
  EXPECT_FALSE(tree.Has(u"a"));
}

TEST(ExistsT, FilesAndDirectoriesCount) {
  const DirectoryTree tree;
  tree.Write(u"file");
  tree.MakeDirectory(u"directory");
  EXPECT_TRUE(actions::ExistsT(tree.Windows(u"file")));
  EXPECT_TRUE(actions::ExistsT(tree.Windows(u"directory")));
}

TEST(ExistsT, MissingFileIsFalse) {
  const DirectoryTree tree;
  EXPECT_FALSE(actions::ExistsT(tree.Windows(u"missing")));
}

TEST(ExistsT, MissingPathIsFalse) {
  const DirectoryTree tree;
  EXPECT_FALSE(actions::ExistsT(tree.Windows(u"missing/missing")));
}

TEST(IsDirectoryT, TellsFilesFromDirectories) {
  const DirectoryTree tree;
  tree.Write(u"file");
  tree.MakeDirectory(u"directory");
  EXPECT_FALSE(actions::IsDirectoryT(tree.Windows(u"file")));
  EXPECT_TRUE(actions::IsDirectoryT(tree.Windows(u"directory")));
}

TEST(IsDirectoryT, DirectoryLinkIsNone) {
  const DirectoryTree tree;
  tree.MakeDirectory(u"target");
  tree.MakeLink(u"target", u"link");
  EXPECT_TRUE(actions::ExistsT(tree.Windows(u"link")));
  EXPECT_FALSE(actions::IsDirectoryT(tree.Windows(u"link")));
}

TEST(IsDirectoryT, MissingFails) {
  const DirectoryTree tree;
  ExpectFailure(kFileNotFound, [&] { (void)actions::IsDirectoryT(tree.Windows(u"missing")); });
  ExpectFailure(kPathNotFound, [&] { (void)actions::IsDirectoryT(tree.Windows(u"missing/x")); });
}

TEST(CopyDirectoryT, CopiesATree) {
  const DirectoryTree tree;
  tree.MakeDirectory(u"from/a/b");
  tree.MakeDirectory(u"from/empty");
  tree.Write(u"from/1.txt", "one");
  tree.Write(u"from/a/2.txt", "two");
  tree.Write(u"from/a/b/3.txt", "three");
  actions::CopyDirectoryT(tree.Windows(u"from"), tree.Windows(u"to"));
  EXPECT_EQ(tree.Names(u"to"), (std::set<std::u16string>{u"1.txt", u"a", u"empty"}));
  EXPECT_EQ(tree.Names(u"to/a"), (std::set<std::u16string>{u"2.txt", u"b"}));
  EXPECT_TRUE(tree.Names(u"to/empty").empty());
  EXPECT_EQ(tree.Read(u"to/1.txt"), "one");
  EXPECT_EQ(tree.Read(u"to/a/2.txt"), "two");
  EXPECT_EQ(tree.Read(u"to/a/b/3.txt"), "three");
  EXPECT_TRUE(tree.Has(u"from/a/b/3.txt"));
}

// A record for each directory and file, each directory before what is in it.
TEST(CopyDirectoryT, TracesItsSteps) {
  const DirectoryTree tree;
  tree.MakeDirectory(u"from/a/b");
  tree.Write(u"from/a/b/f");
  const InstalledTracer tracer;
  actions::CopyDirectoryT(tree.Windows(u"from"), tree.Windows(u"to"));
  const std::string prefix = "setup\t[correct_setup::FileSystemActions::";
  const std::string from = Narrow(tree.Windows(u"from"));
  const std::string to = Narrow(tree.Windows(u"to"));
  EXPECT_EQ(tracer.Records(),
            (tests::TraceRecords{
                {700, prefix + "CreateDirectoryT] dir = " + to},
                {700, prefix + "CreateDirectoryT] dir = " + to + "\\a"},
                {700, prefix + "CreateDirectoryT] dir = " + to + "\\a\\b"},
                {700, prefix + "CopyFileT] " + from + "\\a\\b\\f -> " + to + "\\a\\b\\f"}}));
}

TEST(CopyDirectoryT, EmptySourceMakesAnEmptyDirectory) {
  const DirectoryTree tree;
  tree.MakeDirectory(u"from");
  actions::CopyDirectoryT(tree.Windows(u"from"), tree.Windows(u"to"));
  EXPECT_TRUE(std::filesystem::is_directory(tree.File(u"to")));
  EXPECT_TRUE(tree.Names(u"to").empty());
}

TEST(CopyDirectoryT, FileAsSourceFails) {
  const DirectoryTree tree;
  tree.Write(u"from");
  ExpectFailure(
      kInvalidArgument,
      [&] { actions::CopyDirectoryT(tree.Windows(u"from"), tree.Windows(u"to")); },
      u"arg 'from' not directory");
  EXPECT_FALSE(tree.Has(u"to"));
}

TEST(CopyDirectoryT, MissingSourceFails) {
  const DirectoryTree tree;
  ExpectFailure(
      kInvalidArgument,
      [&] { actions::CopyDirectoryT(tree.Windows(u"from"), tree.Windows(u"to")); },
      u"arg 'from' not directory");
  EXPECT_FALSE(tree.Has(u"to"));
}

TEST(CopyDirectoryT, DirectoryLinkAsSourceFails) {
  const DirectoryTree tree;
  tree.MakeDirectory(u"target");
  tree.Write(u"target/a");
  tree.MakeLink(u"target", u"link");
  ExpectFailure(
      kInvalidArgument,
      [&] { actions::CopyDirectoryT(tree.Windows(u"link"), tree.Windows(u"to")); },
      u"arg 'from' not directory");
  EXPECT_FALSE(tree.Has(u"to"));
}

TEST(CopyDirectoryT, DirectoryLinksInATreeAreNotCopied) {
  const DirectoryTree tree;
  tree.MakeDirectory(u"from/a");
  tree.Write(u"from/a/file");
  tree.MakeLink(u"a", u"from/b");
  actions::CopyDirectoryT(tree.Windows(u"from"), tree.Windows(u"to"));
  EXPECT_EQ(tree.Names(u"to"), std::set<std::u16string>{u"a"});
  EXPECT_EQ(tree.Names(u"to/a"), std::set<std::u16string>{u"file"});
}

TEST(CopyDirectoryT, ExistingTargetFails) {
  const DirectoryTree tree;
  tree.MakeDirectory(u"from");
  tree.Write(u"from/a");
  tree.MakeDirectory(u"to");
  ExpectFailure(kAlreadyExists,
                [&] { actions::CopyDirectoryT(tree.Windows(u"from"), tree.Windows(u"to")); });
  EXPECT_TRUE(tree.Names(u"to").empty());
}

}  // namespace
