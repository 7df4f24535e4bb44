#include "zum_setup_util_lib/filesystem_iterator.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <type_traits>
#include <typeinfo>

#include "oru/rtl/exception.h"
#include "tests/support/vtable_slot.h"
#include "tests/zum_setup_util_lib/directory_tree.h"

namespace {

using correct_setup::CreateFilesystemIterator;
using correct_setup::FilesystemObject;
using correct_setup::FilesystemObjectType;
using correct_setup::IFilesystemIterator;
using tests::DirectoryTree;

using Listing = std::map<std::u16string, FilesystemObjectType>;

constexpr auto kFile = FilesystemObjectType::File;
constexpr auto kDirectory = FilesystemObjectType::Directory;

// What is left of the listing. A name that comes twice is a failure.
Listing ListAll(IFilesystemIterator& objects) {
  Listing listing;
  while (objects.MoveNext()) {
    const FilesystemObject object = objects.GetCurrentObject();
    EXPECT_TRUE(listing.emplace(object.m_name, object.m_type).second);
  }
  return listing;
}

Listing List(const std::u16string& from) { return ListAll(*CreateFilesystemIterator(from)); }

void ExpectNoState(const IFilesystemIterator& objects) {
  try {
    (void)objects.GetCurrentObject();
    FAIL() << "there is an object";
  } catch (const oru::CheckResultFailedException& exception) {
    EXPECT_EQ(static_cast<std::uint32_t>(exception.Code()), 0x8000006Au);
    EXPECT_EQ(exception.Message().view(), u"can't get current state");
    EXPECT_STREQ(exception.File(), "zum_setup_util_lib/filesystem_iterator");
    EXPECT_GT(exception.Line(), 0u);
  }
}

TEST(FilesystemObject, NumbersOfTheTypes) {
  EXPECT_EQ(static_cast<int>(kFile), 0);
  EXPECT_EQ(static_cast<int>(kDirectory), 1);
}

TEST(FilesystemIterator, SlotsAreInTheOrderOfDeclaration) {
  static_assert(std::has_virtual_destructor_v<IFilesystemIterator>);
  EXPECT_EQ(tests::VtableSlot(&IFilesystemIterator::GetCurrentObject), 2);
  EXPECT_EQ(tests::VtableSlot(&IFilesystemIterator::MoveNext), 3);
  EXPECT_EQ(tests::VtableSlot(&IFilesystemIterator::Reset), 4);
}

TEST(FilesystemIterator, GivesFilesAndDirectoriesOfTheOneDirectory) {
  const DirectoryTree tree;
  tree.Write(u"a.msi");
  tree.Write(u"empty", "");
  tree.MakeDirectory(u"sub");
  tree.Write(u"sub/inner.txt");
  tree.MakeDirectory(u"sub/deeper");
  EXPECT_EQ(List(tree.Windows()),
            (Listing{{u"a.msi", kFile}, {u"empty", kFile}, {u"sub", kDirectory}}));
}

TEST(FilesystemIterator, TrailingSeparatorMakesNoDifference) {
  const DirectoryTree tree;
  tree.Write(u"a.msi");
  EXPECT_EQ(List(tree.Windows() + u"\\"), (Listing{{u"a.msi", kFile}}));
  EXPECT_EQ(List(tree.Windows() + u"/"), (Listing{{u"a.msi", kFile}}));
}

TEST(FilesystemIterator, EmptyDirectoryEndsAtOnce) {
  const DirectoryTree tree;
  const auto objects = CreateFilesystemIterator(tree.Windows());
  EXPECT_FALSE(objects->MoveNext());
  ExpectNoState(*objects);
}

TEST(FilesystemIterator, MissingDirectoryIsLikeAnEmptyOne) {
  const DirectoryTree tree;
  const auto objects = CreateFilesystemIterator(tree.Windows(u"missing"));
  EXPECT_FALSE(objects->MoveNext());
  EXPECT_FALSE(objects->MoveNext());
  ExpectNoState(*objects);
}

TEST(FilesystemIterator, EmptyPathIsLikeAnEmptyDirectory) {
  const auto objects = CreateFilesystemIterator(u"");
  EXPECT_FALSE(objects->MoveNext());
  ExpectNoState(*objects);
}

TEST(FilesystemIterator, FileIsLikeAnEmptyDirectory) {
  const DirectoryTree tree;
  tree.Write(u"a.msi");
  EXPECT_EQ(List(tree.Windows(u"a.msi")), Listing());
}

// Nothing touches the disk before the first step.
TEST(FilesystemIterator, DirectoryMayAppearAfterTheIterator) {
  const DirectoryTree tree;
  const auto objects = CreateFilesystemIterator(tree.Windows(u"late"));
  tree.MakeDirectory(u"late");
  tree.Write(u"late/a.msi");
  EXPECT_EQ(ListAll(*objects), (Listing{{u"a.msi", kFile}}));
}

TEST(FilesystemIterator, HasNoObjectBeforeTheFirstStep) {
  const DirectoryTree tree;
  tree.Write(u"a.msi");
  ExpectNoState(*CreateFilesystemIterator(tree.Windows()));
}

TEST(FilesystemIterator, HasNoObjectBehindTheEnd) {
  const DirectoryTree tree;
  tree.Write(u"a.msi");
  const auto objects = CreateFilesystemIterator(tree.Windows());
  EXPECT_TRUE(objects->MoveNext());
  EXPECT_FALSE(objects->MoveNext());
  ExpectNoState(*objects);
}

TEST(FilesystemIterator, StartsOverAfterTheEnd) {
  const DirectoryTree tree;
  tree.Write(u"a.msi");
  const auto objects = CreateFilesystemIterator(tree.Windows());
  EXPECT_EQ(ListAll(*objects), (Listing{{u"a.msi", kFile}}));
  tree.Write(u"b.msi");
  EXPECT_EQ(ListAll(*objects), (Listing{{u"a.msi", kFile}, {u"b.msi", kFile}}));
}

TEST(FilesystemIterator, ObjectCanBeAskedForAgain) {
  const DirectoryTree tree;
  tree.Write(u"a.msi");
  const auto objects = CreateFilesystemIterator(tree.Windows());
  ASSERT_TRUE(objects->MoveNext());
  EXPECT_EQ(objects->GetCurrentObject().m_name, u"a.msi");
  EXPECT_EQ(objects->GetCurrentObject().m_name, u"a.msi");
}

TEST(FilesystemIterator, ResetStartsOver) {
  const DirectoryTree tree;
  tree.Write(u"a.msi");
  tree.Write(u"b.msi");
  const auto objects = CreateFilesystemIterator(tree.Windows());
  ASSERT_TRUE(objects->MoveNext());
  objects->Reset();
  ExpectNoState(*objects);
  EXPECT_EQ(ListAll(*objects).size(), 2u);
}

TEST(FilesystemIterator, ResetWithoutASearchDoesNothing) {
  const DirectoryTree tree;
  tree.Write(u"a.msi");
  const auto objects = CreateFilesystemIterator(tree.Windows());
  objects->Reset();
  EXPECT_EQ(ListAll(*objects).size(), 1u);
  objects->Reset();
  objects->Reset();
  EXPECT_EQ(ListAll(*objects).size(), 1u);
}

TEST(FilesystemIterator, NamesThatBeginWithADotAreYielded) {
  const DirectoryTree tree;
  tree.Write(u".hidden");
  tree.Write(u"..twice");
  tree.MakeDirectory(u".cache");
  EXPECT_EQ(List(tree.Windows()),
            (Listing{{u".hidden", kFile}, {u"..twice", kFile}, {u".cache", kDirectory}}));
}

TEST(FilesystemIterator, FileNamesOfAnyAlphabetAreKept) {
  const DirectoryTree tree;
  const Listing names = {{u"\u041F\u0430\u043A\u0435\u0442.msi", kFile},
                         {u"\u6587\u4EF6.msi", kFile},
                         {u"\u0391\u03B2.msi", kFile},
                         {u"gr\u00FCn.msi", kFile},
                         {u"\xD83D\xDE00.msi", kFile}};
  for (const auto& [name, type] : names) tree.Write(name);
  EXPECT_EQ(List(tree.Windows()), names);
}

TEST(FilesystemIterator, DirectoryNamesBelow256AreKept) {
  const DirectoryTree tree;
  tree.MakeDirectory(u"gr\u00FCn \u00FF");
  EXPECT_EQ(List(tree.Windows()), (Listing{{u"gr\u00FCn \u00FF", kDirectory}}));
}

// The directory's name is put to the test in 8-bit form, which doesn't exist here.
TEST(FilesystemIterator, DirectoryNameBeyond255EndsTheWalk) {
  for (const char16_t* name : {u"\u041F\u0430\u043F\u043A\u0430", u"\u0100"}) {
    const DirectoryTree tree;
    tree.MakeDirectory(name);
    const auto objects = CreateFilesystemIterator(tree.Windows());
    EXPECT_THROW((void)objects->MoveNext(), std::bad_cast);
    EXPECT_THROW((void)objects->GetCurrentObject(), std::bad_cast);
    objects->Reset();
    ExpectNoState(*objects);
  }
}

TEST(FilesystemIterator, ForeignIteratorsAreIndependent) {
  const DirectoryTree tree;
  tree.Write(u"a.msi");
  const auto one = CreateFilesystemIterator(tree.Windows());
  const auto other = CreateFilesystemIterator(tree.Windows());
  ASSERT_TRUE(one->MoveNext());
  ExpectNoState(*other);
  EXPECT_EQ(ListAll(*other).size(), 1u);
  EXPECT_EQ(one->GetCurrentObject().m_name, u"a.msi");
}

void ExpectNotValid(const product_platform::filesystem::FindContext* from) {
  try {
    (void)correct_setup::MakeFilesystemObject(from);
    FAIL() << "there is an object";
  } catch (const oru::CheckResultFailedException& exception) {
    EXPECT_EQ(static_cast<std::uint32_t>(exception.Code()), 0x80000046u);
    EXPECT_EQ(exception.Message().view(), u"from not valid");
  }
}

TEST(MakeFilesystemObject, RefusesAMissingSearch) { ExpectNotValid(nullptr); }

TEST(MakeFilesystemObject, RefusesASearchThatIsNotOpen) {
  const product_platform::filesystem::FindContext context;
  ExpectNotValid(&context);
}

}  // namespace
