#include <gtest/gtest.h>

#include <filesystem>
#include <iterator>
#include <string>

#include "platform/util/windows/filesystem/file_operations.h"
#include "tests/support/answers.h"
#include "tests/support/checks.h"
#include "tests/support/current_directory.h"
#include "tests/support/directory_tree.h"
#include "tests/support/result_code.h"
#include "winapi/files.h"

namespace {

using product_platform::filesystem::QueryFileAttributes;
using product_platform::filesystem::RemoveDirectoryRecursive;
using product_platform::filesystem::RemoveEmptyDirectory;
using product_platform::filesystem::RemoveFile;
using product_platform::filesystem::TestDirectory;
using tests::Answers;
using tests::Code;
using tests::DirectoryTree;
using tests::HeldFile;
using tests::kHost;
using tests::kWindows;
using tests::kWine10;
using tests::kWine8;

// Each level under Wine costs as much as the levels above it together, and 200 go beyond the 260
// characters of a short path twice over.
#ifdef _WIN32
constexpr int kLevels = 200;
constexpr int kFiles = 5000;
#else
constexpr int kLevels = 1000;
constexpr int kFiles = 20000;
#endif

TEST(QueryFileAttributes, TellsFilesFromDirectories) {
  const DirectoryTree tree;
  tree.Write(u"a");
  winapi::Dword attributes = 0;
  EXPECT_EQ(QueryFileAttributes(tree.Windows(u"a"), attributes), oru::sOk);
  EXPECT_EQ(attributes & 0x10, 0u);
  EXPECT_EQ(QueryFileAttributes(tree.Windows(), attributes), oru::sOk);
  EXPECT_EQ(attributes & 0x10, 0x10u);
}

TEST(QueryFileAttributes, FailureLeavesTheOutputAlone) {
  const DirectoryTree tree;
  winapi::Dword attributes = 4711;
  EXPECT_EQ(Code(QueryFileAttributes(tree.Windows(u"missing"), attributes)), 0x80010102u);
  EXPECT_EQ(Code(QueryFileAttributes(tree.Windows(u"missing/x"), attributes)), 0x80010103u);
  EXPECT_EQ(attributes, 4711u);
}

TEST(TestDirectory, TellsADirectoryFromAFileAndFromNothing) {
  const DirectoryTree tree;
  tree.Write(u"a");
  EXPECT_EQ(TestDirectory(tree.Windows()), oru::sOk);
  EXPECT_EQ(TestDirectory(tree.Windows(u"a")), oru::sFalse);
  EXPECT_EQ(Code(TestDirectory(tree.Windows(u"missing"))), 0x80010102u);
  EXPECT_EQ(Code(TestDirectory(tree.Windows(u"missing/x"))), 0x80010103u);
  EXPECT_EQ(Code(TestDirectory(u"")), 0x80010103u);
}

TEST(RemoveFile, RemovesAFileAlone) {
  const DirectoryTree tree;
  tree.Write(u"a");
  tree.MakeDirectory(u"sub");
  EXPECT_EQ(RemoveFile(tree.Windows(u"a")), oru::sOk);
  EXPECT_FALSE(tree.Has(u"a"));
  EXPECT_EQ(Code(RemoveFile(tree.Windows(u"a"))), 0x80010102u);
  EXPECT_EQ(Code(RemoveFile(tree.Windows(u"sub"))), 0x80000045u);
  EXPECT_TRUE(tree.Has(u"sub"));
}

TEST(RemoveFile, HeldFileStays) {
  const DirectoryTree tree;
  tree.Write(u"a");
  const HeldFile held(tree, u"a");
  EXPECT_EQ(Code(RemoveFile(tree.Windows(u"a"))), 0x80010104u);
}

TEST(RemoveEmptyDirectory, RemovesAnEmptyDirectoryAlone) {
  const DirectoryTree tree;
  tree.MakeDirectory(u"full");
  tree.Write(u"full/b");
  tree.MakeDirectory(u"empty");
  EXPECT_EQ(RemoveEmptyDirectory(tree.Windows(u"empty")), oru::sOk);
  EXPECT_FALSE(tree.Has(u"empty"));
  EXPECT_EQ(Code(RemoveEmptyDirectory(tree.Windows(u"full"))), 0x80070091u);  // 145
  EXPECT_EQ(Code(RemoveEmptyDirectory(tree.Windows(u"empty"))), 0x80010102u);
  EXPECT_EQ(Code(RemoveEmptyDirectory(tree.Windows(u"full/b"))), 0x80010103u);
}

TEST(RemoveDirectoryRecursive, EmptyPathIsRefused) {
  EXPECT_EQ(Code(RemoveDirectoryRecursive(u"")), 0x80000046u);
}

TEST(RemoveDirectoryRecursive, RemovesATree) {
  const DirectoryTree tree;
  tree.MakeDirectory(u"top/a/b/c");
  tree.MakeDirectory(u"top/empty");
  for (const char16_t* const name :
       {u"top/f", u"top/a/f", u"top/a/b/f", u"top/a/b/c/f", u"top/z"}) {
    tree.Write(name);
  }
  EXPECT_EQ(RemoveDirectoryRecursive(tree.Windows(u"top")), oru::sOk);
  EXPECT_FALSE(tree.Has(u"top"));
  EXPECT_TRUE(tree.Has(u""));
  EXPECT_EQ(tests::ReportedChecks(), std::vector<std::string>{});
}

TEST(RemoveDirectoryRecursive, TakesEveryFormOfAPath) {
  const DirectoryTree tree;
  const tests::CurrentDirectory inTree(tree.File(u""));
  for (const std::u16string& path :
       {tree.Windows(u"top"), tree.Windows(u"top") + u"\\", u"\\\\?\\" + tree.Windows(u"top"),
        tree.Windows(u"x") + u"/..\\.//top", std::u16string(u"top"), std::u16string(u"./top/")}) {
    tree.MakeDirectory(u"top/a");
    tree.Write(u"top/a/f");
    EXPECT_EQ(RemoveDirectoryRecursive(path), oru::sOk);
    EXPECT_FALSE(tree.Has(u"top"));
  }
}

TEST(RemoveDirectoryRecursive, EmptyDirectoryGoes) {
  const DirectoryTree tree;
  tree.MakeDirectory(u"top");
  EXPECT_EQ(RemoveDirectoryRecursive(tree.Windows(u"top")), oru::sOk);
  EXPECT_FALSE(tree.Has(u"top"));
}

TEST(RemoveDirectoryRecursive, MissingDirectoryIsAFailure) {
  const DirectoryTree tree;
  EXPECT_EQ(Code(RemoveDirectoryRecursive(tree.Windows(u"top"))), 0x80010103u);
}

TEST(RemoveDirectoryRecursive, FileIsNoTree) {
  const DirectoryTree tree;
  tree.Write(u"a");
  EXPECT_EQ(Code(RemoveDirectoryRecursive(tree.Windows(u"a"))),
            Answers(0x80010103u, kHost | kWine10 | kWindows)
                .Or(0x80010109u, kWine8, "calls a file in the place of a directory a bad name")
                .Here());
  EXPECT_TRUE(tree.Has(u"a"));
}

TEST(RemoveDirectoryRecursive, HeldFileKeepsTheDirectoriesAboveItAlone) {
  const DirectoryTree tree;
  tree.MakeDirectory(u"top/a/held");
  tree.MakeDirectory(u"top/b");
  for (const char16_t* const name :
       {u"top/a/held/f", u"top/a/held/g", u"top/a/f", u"top/b/f", u"top/z"}) {
    tree.Write(name);
  }
  {
    const HeldFile held(tree, u"top/a/held/f");
    EXPECT_EQ(Code(RemoveDirectoryRecursive(tree.Windows(u"top"))), 0x80070091u);  // 145
    EXPECT_TRUE(tree.Has(u"top/a/held/f"));
    for (const char16_t* const name : {u"top/a/held/g", u"top/a/f", u"top/b", u"top/z"}) {
      EXPECT_FALSE(tree.Has(name)) << std::filesystem::path(name);
    }
  }
  EXPECT_EQ(RemoveDirectoryRecursive(tree.Windows(u"top")), oru::sOk);
  EXPECT_FALSE(tree.Has(u"top"));
}

TEST(RemoveDirectoryRecursive, DeepTreeGoes) {
  const DirectoryTree tree;
  tree.MakeDeep(kLevels);
  std::u16string innermost = u"top";
  for (int i = 1; i < kLevels; ++i) innermost += u"/d";
  ASSERT_TRUE(tree.Has(innermost + u"/f"));
  ASSERT_FALSE(tree.Has(innermost + u"/d"));
  EXPECT_EQ(RemoveDirectoryRecursive(tree.Windows(u"top")), oru::sOk);
  EXPECT_FALSE(tree.Has(u"top"));
}

TEST(RemoveDirectoryRecursive, WideDirectoryGoes) {
  const DirectoryTree tree;
  tree.MakeWide(u"top/wide", kFiles);
  const std::filesystem::directory_iterator files(tree.File(u"top/wide"));
  ASSERT_EQ(std::distance(begin(files), end(files)), kFiles);
  EXPECT_EQ(RemoveDirectoryRecursive(tree.Windows(u"top")), oru::sOk);
  EXPECT_FALSE(tree.Has(u"top"));
}

}  // namespace
