#include "platform/util/windows/filesystem/find_context.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

#include "platform/util/windows/filesystem/path.h"
#include "tests/support/answers.h"
#include "tests/support/checks.h"
#include "tests/support/current_directory.h"
#include "tests/support/directory_tree.h"
#include "tests/support/result_code.h"
#include "winapi/errors.h"

namespace {

using product_platform::filesystem::ClassifyEntry;
using product_platform::filesystem::EntryClass;
using product_platform::filesystem::FindContext;
using product_platform::filesystem::FindHandleTraits;
using product_platform::filesystem::IsDotName;
using tests::Answers;
using tests::Code;
using tests::CountReported;
using tests::DirectoryTree;
using tests::kHost;
using tests::kWindows;
using tests::kWine;
using tests::ReportedChecks;

using Names = std::multiset<std::u16string>;
using Reports = std::vector<std::string>;

// Of a search that stands at its first entry.
Names Rest(FindContext& context) {
  Names names;
  oru::ResultCode rc = oru::sOk;
  for (; rc == oru::sOk; rc = context.FindNext()) names.emplace(context.Name());
  EXPECT_EQ(rc, oru::sFalse);
  return names;
}

Names List(const std::u16string& path) {
  FindContext context;
  const oru::ResultCode rc = context.OpenFind(path);
  EXPECT_EQ(rc, oru::sOk);
  return rc == oru::sOk ? Rest(context) : Names{};
}

TEST(ClassifyEntry, ReparseBitGoesFirst) {
  EXPECT_EQ(ClassifyEntry(0), EntryClass::kFile);
  EXPECT_EQ(ClassifyEntry(0x20), EntryClass::kFile);
  EXPECT_EQ(ClassifyEntry(0x10), EntryClass::kDirectory);
  EXPECT_EQ(ClassifyEntry(0x11), EntryClass::kDirectory);
  EXPECT_EQ(ClassifyEntry(0x400), EntryClass::kLink);
  EXPECT_EQ(ClassifyEntry(0x410), EntryClass::kLink);
}

TEST(IsDotName, IsOneOrTwoFullStops) {
  EXPECT_TRUE(IsDotName(u"."));
  EXPECT_TRUE(IsDotName(u".."));
  for (const char16_t* const name : {u"", u"...", u".a", u"a"}) EXPECT_FALSE(IsDotName(name));
}

TEST(FindContext, ListsADirectory) {
  const DirectoryTree tree;
  tree.Write(u"a");
  tree.MakeDirectory(u"sub");
  const Names expected{u".", u"..", u"a", u"sub"};
  EXPECT_EQ(List(tree.Windows()), expected);
  EXPECT_EQ(List(tree.Windows() + u"\\"), expected);
  EXPECT_EQ(List(u"\\\\?\\" + tree.Windows()), expected);
}

TEST(FindContext, TellsAttributes) {
  const DirectoryTree tree;
  tree.MakeDirectory(u"sub");
  FindContext context;
  ASSERT_EQ(context.OpenFind(tree.Windows()), oru::sOk);
  while (context.Name() != u"sub") ASSERT_EQ(context.FindNext(), oru::sOk);
  EXPECT_EQ(ClassifyEntry(context.Data().dwFileAttributes), EntryClass::kDirectory);
}

TEST(FindContext, RelativePathIsMadeAbsolute) {
  const DirectoryTree tree;
  tree.Write(u"sub-is-not-here");
  tree.MakeDirectory(u"sub");
  tree.Write(u"sub/inner");
  const tests::CurrentDirectory inTree(tree.File(u""));
  EXPECT_EQ(List(u"sub"), (Names{u".", u"..", u"inner"}));
  EXPECT_EQ(List(u"sub/"), (Names{u".", u"..", u"inner"}));
  EXPECT_EQ(List(u"sub\\..\\sub"), (Names{u".", u"..", u"inner"}));
}

// A directory whose Windows path has exactly that length.
std::u16string DirectoryOfLength(const DirectoryTree& tree, std::size_t length) {
  std::u16string name(length - tree.Windows().size() - 1, u'n');
  for (std::size_t i = 100; i + 1 < name.size(); i += 100) name[i] = u'/';
  tree.MakeDirectory(name);
  tree.Write(name + u"/inner");
  return tree.Windows(name);
}

TEST(FindContext, DirectoriesAroundTheLengthLimitAreListed) {
  for (const std::size_t length : {245u, 246u, 247u, 248u, 260u, 400u}) {
    const DirectoryTree tree;
    const std::u16string path = DirectoryOfLength(tree, length);
    ASSERT_EQ(path.size(), length);
    EXPECT_EQ(List(path), (Names{u".", u"..", u"inner"})) << length;
  }
}

TEST(FindContext, MissingDirectoryIsAFailure) {
  const DirectoryTree tree;
  FindContext context;
  EXPECT_EQ(Code(context.OpenFind(tree.Windows(u"missing"))), 0x80010103u);
  EXPECT_FALSE(context.IsValid());
}

const char* const kNoLastError =
    "sets no last error for an empty path, so the one before comes back";

TEST(FindContext, EmptyPathIsAFailureWhateverTheLastErrorWas) {
  FindContext context;
  winapi::SetLastError(0);
  EXPECT_EQ(Code(context.OpenFind(u"")),
            Answers(0x80010109u, kHost | kWindows).Or(0x8000004Bu, kWine, kNoLastError).Here());
  EXPECT_FALSE(context.IsValid());
}

TEST(FindContext, EmptyPathGivesTheLastErrorsCode) {
  FindContext context;
  winapi::SetLastError(5);
  EXPECT_EQ(Code(context.OpenFind(u"")),
            Answers(0x80010109u, kHost | kWindows).Or(0x80000045u, kWine, kNoLastError).Here());
}

TEST(FindContext, NewSearchTakesThePlaceOfTheOld) {
  const DirectoryTree tree;
  tree.MakeDirectory(u"one");
  tree.Write(u"one/a");
  tree.MakeDirectory(u"two");
  tree.Write(u"two/b");
  FindContext context;
  ASSERT_EQ(context.OpenFind(tree.Windows(u"one")), oru::sOk);
  ASSERT_EQ(context.OpenFind(tree.Windows(u"two")), oru::sOk);
  EXPECT_EQ(Rest(context), (Names{u".", u"..", u"b"}));
  EXPECT_EQ(ReportedChecks(), Reports{});
}

TEST(FindContextOwnProcess, FailedNewSearchClosesTheOld) {
  const DirectoryTree tree;
  FindContext context;
  ASSERT_EQ(context.OpenFind(tree.Windows()), oru::sOk);
  ASSERT_EQ(context.Name(), u".");
  EXPECT_EQ(Code(context.OpenFind(tree.Windows(u"missing"))), 0x80010103u);
  EXPECT_FALSE(context.IsValid());
  EXPECT_EQ(context.Name(), u"");  // nothing is left of the old one's entry
  EXPECT_EQ(context.Data().dwFileAttributes, 0u);
  EXPECT_EQ(ReportedChecks(), Reports{"IsValid()"});
}

TEST(FindContext, SearchGoesOnWhereTheNewPathHasNoAbsoluteForm) {
  const DirectoryTree tree;
  tree.Write(u"a");
  FindContext context;
  ASSERT_EQ(context.OpenFind(tree.Windows()), oru::sOk);
  winapi::SetLastError(0);
  EXPECT_EQ(Code(context.OpenFind(u"")),
            Answers(0x80010109u, kHost | kWindows).Or(0x8000004Bu, kWine, kNoLastError).Here());
  EXPECT_TRUE(context.IsValid());
  EXPECT_EQ(Rest(context), (Names{u".", u"..", u"a"}));
}

TEST(FindContextOwnProcess, ReadingAnInvalidSearchIsReported) {
  const FindContext context;
  EXPECT_EQ(context.Data().dwFileAttributes, 0u);
  EXPECT_EQ(ReportedChecks(), Reports{"IsValid()"});
  EXPECT_EQ(context.Name(), u"");
  EXPECT_EQ(CountReported("IsValid()"), 1u);  // once per site
}

TEST(FindContext, StepOfAnInvalidSearchIsAFailure) {
  FindContext context;
  EXPECT_EQ(Code(context.FindNext()), 0x80010101u);
}

TEST(FindContext, EndLeavesTheLastErrorAsItWas) {
  const DirectoryTree tree;
  {
    FindContext context;
    ASSERT_EQ(context.OpenFind(tree.Windows()), oru::sOk);
    winapi::SetLastError(4711);
  }
  EXPECT_EQ(winapi::GetLastError(), 4711u);
}

TEST(FindHandleTraitsOwnProcess, ClosingAnInvalidHandleIsReported) {
  EXPECT_FALSE(FindHandleTraits::IsValid(winapi::InvalidHandleValue()));
  EXPECT_EQ(Code(FindHandleTraits::Close(winapi::InvalidHandleValue())), 0x80010101u);
  EXPECT_EQ(ReportedChecks(), Reports{"IsValid(h)"});
}

}  // namespace
