#include "zum_setup_util_lib/filesystem_iterator.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <vector>

#include "oru/rtl/exception.h"
#include "tests/support/directory_tree.h"
#include "tests/support/expected_failure.h"
#include "tests/support/vtable_slot.h"

namespace {

using correct_setup::CreateFilesystemIterator;
using correct_setup::FilesystemObject;
using correct_setup::FilesystemObjectType;
using correct_setup::IFilesystemIterator;
using product_platform::filesystem::FindContext;
using tests::DirectoryTree;

using Listing = std::map<std::u16string, FilesystemObjectType>;

constexpr auto kFoundFile = FilesystemObjectType::File;
constexpr auto kFoundDirectory = FilesystemObjectType::Directory;

// What is left of the listing. A name that comes twice is a failure.
Listing ListAll(IFilesystemIterator& objects) {
  Listing listing;
  while (objects.MoveNext()) {
    const FilesystemObject object = objects.GetCurrentObject();
    EXPECT_TRUE(listing.emplace(object.m_name, object.m_type).second);
  }
  return listing;
}

Listing EntriesOf(const std::u16string& from) { return ListAll(*CreateFilesystemIterator(from)); }

void ExpectNoState(const IFilesystemIterator& objects) {
  tests::ExpectFailureOf(
      "zum_setup_util_lib/filesystem_iterator", 0x8000006A,
      [&] { (void)objects.GetCurrentObject(); }, u"can't get current state");
}

TEST(FilesystemObject, NumbersOfTheTypes) {
  EXPECT_EQ(static_cast<int>(kFoundFile), 0);
  EXPECT_EQ(static_cast<int>(kFoundDirectory), 1);
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
  EXPECT_EQ(EntriesOf(tree.Windows()),
            (Listing{{u"a.msi", kFoundFile}, {u"empty", kFoundFile}, {u"sub", kFoundDirectory}}));
}

TEST(FilesystemIterator, TrailingSeparatorMakesNoDifference) {
  const DirectoryTree tree;
  tree.Write(u"a.msi");
  EXPECT_EQ(EntriesOf(tree.Windows() + u"\\"), (Listing{{u"a.msi", kFoundFile}}));
  EXPECT_EQ(EntriesOf(tree.Windows() + u"/"), (Listing{{u"a.msi", kFoundFile}}));
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
  EXPECT_EQ(EntriesOf(tree.Windows(u"a.msi")), Listing());
}

// Nothing touches the disk before the first step.
TEST(FilesystemIterator, DirectoryMayAppearAfterTheIterator) {
  const DirectoryTree tree;
  const auto objects = CreateFilesystemIterator(tree.Windows(u"late"));
  tree.MakeDirectory(u"late");
  tree.Write(u"late/a.msi");
  EXPECT_EQ(ListAll(*objects), (Listing{{u"a.msi", kFoundFile}}));
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
  EXPECT_EQ(ListAll(*objects), (Listing{{u"a.msi", kFoundFile}}));
  tree.Write(u"b.msi");
  EXPECT_EQ(ListAll(*objects), (Listing{{u"a.msi", kFoundFile}, {u"b.msi", kFoundFile}}));
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
  EXPECT_EQ(
      EntriesOf(tree.Windows()),
      (Listing{{u".hidden", kFoundFile}, {u"..twice", kFoundFile}, {u".cache", kFoundDirectory}}));
}

TEST(FilesystemIterator, FileNamesOfAnyAlphabetAreKept) {
  const DirectoryTree tree;
  const Listing names = {{u"\u041F\u0430\u043A\u0435\u0442.msi", kFoundFile},
                         {u"\u6587\u4EF6.msi", kFoundFile},
                         {u"\u0391\u03B2.msi", kFoundFile},
                         {u"gr\u00FCn.msi", kFoundFile},
                         {u"\xD83D\xDE00.msi", kFoundFile}};
  for (const auto& [name, type] : names) tree.Write(name);
  EXPECT_EQ(EntriesOf(tree.Windows()), names);
}

TEST(FilesystemIterator, DirectoryNamesBelow256AreKept) {
  const DirectoryTree tree;
  tree.MakeDirectory(u"gr\u00FCn \u00FF");
  EXPECT_EQ(EntriesOf(tree.Windows()), (Listing{{u"gr\u00FCn \u00FF", kFoundDirectory}}));
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

// U+1F600 is 0xF600 in its low 16 bits.
TEST(FilesystemIterator, DirectoryNameOfAPairEndsTheWalkToo) {
  const DirectoryTree tree;
  tree.MakeDirectory(u"\xD83D\xDE00");
  const auto objects = CreateFilesystemIterator(tree.Windows());
  EXPECT_THROW((void)objects->MoveNext(), std::bad_cast);
}

// The conversion takes the low 16 bits of a character: those of U+10041 are an "A", and those of
// U+1002E are the full stop, so that the directory passes for the one that all have.
TEST(FilesystemIterator, DirectoryNameOfAPairCountsByItsLowBits) {
  const DirectoryTree tree;
  tree.MakeDirectory(u"\xD800\xDC41");
  tree.MakeDirectory(u"\xD800\xDC2E");
  tree.MakeDirectory(u"\xD800\xDC2E\xD800\xDC2E");
  tree.MakeDirectory(u"\xD800\xDC2E\xD800\xDC2E\xD800\xDC2E");
  EXPECT_EQ(EntriesOf(tree.Windows()),
            (Listing{{u"\xD800\xDC41", kFoundDirectory},
                     {u"\xD800\xDC2E\xD800\xDC2E\xD800\xDC2E", kFoundDirectory}}));
}

// The directory that ended it isn't met again.
TEST(FilesystemIterator, WalkCanGoOnBehindTheDirectoryThatEndedIt) {
  const DirectoryTree tree;
  const Listing others = {
      {u"a", kFoundFile}, {u"b", kFoundDirectory}, {u"c", kFoundFile}, {u"\u042F", kFoundFile}};
  for (const auto& [name, type] : others) {
    if (type == kFoundDirectory)
      tree.MakeDirectory(name);
    else
      tree.Write(name);
  }
  tree.MakeDirectory(u"\u041F");
  const auto objects = CreateFilesystemIterator(tree.Windows());
  Listing found;
  int ends = 0;
  for (bool goesOn = true; goesOn && ends < 3;) {
    try {
      goesOn = objects->MoveNext();
      if (!goesOn) break;
      const FilesystemObject object = objects->GetCurrentObject();
      EXPECT_TRUE(found.emplace(object.m_name, object.m_type).second);
    } catch (const std::bad_cast&) {
      ++ends;
    }
  }
  EXPECT_EQ(found, others);
  EXPECT_EQ(ends, 1);
}

TEST(FilesystemIterator, OrderIsThatOfTheSearch) {
  const DirectoryTree tree;
  for (const char16_t* name :
       {u"m", u"b", u"Z.msi", u"a", u"q9", u"10", u"9", u"_x", u"B2", u"\u00E4"}) {
    tree.Write(name);
  }
  std::vector<std::u16string> searched;
  FindContext context;
  ASSERT_EQ(context.OpenFind(tree.Windows()), oru::sOk);
  do {
    if (context.Name() != u"." && context.Name() != u"..") searched.emplace_back(context.Name());
  } while (context.FindNext() == oru::sOk);
  ASSERT_EQ(searched.size(), 10u);
  std::vector<std::u16string> yielded;
  const auto objects = CreateFilesystemIterator(tree.Windows());
  while (objects->MoveNext()) yielded.push_back(objects->GetCurrentObject().m_name);
  EXPECT_EQ(yielded, searched);
}

TEST(FilesystemIterator, DirectoryOfLinksIsLikeAnEmptyOne) {
  const DirectoryTree tree;
  tree.MakeDirectory(u"target");
  tree.Write(u"target/a.msi");
  tree.MakeDirectory(u"links");
  tree.MakeLink(u"../target", u"links/one");
  tree.MakeLink(u"../links", u"links/other");
  const auto objects = CreateFilesystemIterator(tree.Windows(u"links"));
  EXPECT_FALSE(objects->MoveNext());
  ExpectNoState(*objects);
}

TEST(FilesystemIterator, LinksAmongOtherEntriesArePassedOver) {
  const DirectoryTree tree;
  tree.MakeDirectory(u"a");
  tree.Write(u"z");
  tree.MakeLink(u"a", u"link");
  EXPECT_EQ(EntriesOf(tree.Windows()), (Listing{{u"a", kFoundDirectory}, {u"z", kFoundFile}}));
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

void ExpectNotValid(const FindContext* from) {
  tests::ExpectFailureOf(
      "zum_setup_util_lib/filesystem_iterator", 0x80000046,
      [&] { (void)correct_setup::MakeFilesystemObject(from); }, u"from not valid");
}

TEST(MakeFilesystemObject, RefusesAMissingSearch) { ExpectNotValid(nullptr); }

TEST(MakeFilesystemObject, RefusesASearchThatIsNotOpen) {
  const FindContext context;
  ExpectNotValid(&context);
}

}  // namespace
