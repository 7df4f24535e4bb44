// Links to files and dangling ones, which Wine shows as plain files or not at all, searches that
// break off, and a lack of memory.
#include <gtest/gtest.h>

#include <filesystem>
#include <new>
#include <string>

#include "oru/rtl/exception.h"
#include "tests/support/allocation_faults.h"
#include "tests/support/directory_tree.h"
#include "tests/support/expected_failure.h"
#include "winapi/host/control.h"
#include "zum_setup_util_lib/filesystem_iterator.h"

namespace host = winapi::host;

namespace {

using correct_setup::CreateFilesystemIterator;
using correct_setup::IFilesystemIterator;
using product_platform::filesystem::FindContext;
using tests::DirectoryTree;

TEST(FilesystemIteratorOnHost, LinksAreNeverSeen) {
  const DirectoryTree tree;
  tree.MakeDirectory(u"target");
  tree.Write(u"target/a.msi");
  tree.MakeDirectory(u"links");
  std::filesystem::create_directory_symlink(tree.File(u"target"), tree.File(u"links/directory"));
  std::filesystem::create_symlink(tree.File(u"target/a.msi"), tree.File(u"links/file"));
  std::filesystem::create_symlink(tree.File(u"nowhere"), tree.File(u"links/dangling"));
  const auto objects = CreateFilesystemIterator(tree.Windows(u"links"));
  EXPECT_FALSE(objects->MoveNext());
}

TEST(FilesystemIteratorOnHost, LinkWithANameBeyond255IsPassedOver) {
  const DirectoryTree tree;
  std::filesystem::create_directory_symlink(tree.File(u""), tree.File(u"\u041F"));
  EXPECT_FALSE(CreateFilesystemIterator(tree.Windows())->MoveNext());
}

TEST(FilesystemIteratorOnHost, LinkIsNoObject) {
  const DirectoryTree tree;
  tree.MakeDirectory(u"links");
  std::filesystem::create_directory_symlink(tree.File(u""), tree.File(u"links/link"));
  FindContext context;
  ASSERT_EQ(context.OpenFind(tree.Windows(u"links")), oru::sOk);
  while (context.Name() != u"link") ASSERT_EQ(context.FindNext(), oru::sOk);
  tests::ExpectFailureOf(
      "zum_setup_util_lib/filesystem_iterator", 0x8000005D,
      [&] { (void)correct_setup::MakeFilesystemObject(&context); },
      u"not supported type, for name = link");
}

TEST(FilesystemIteratorOnHost, DirectoryThatCanNotBeOpenedIsLikeAnEmptyOne) {
  const DirectoryTree tree;
  tree.Write(u"a.msi");
  const auto objects = CreateFilesystemIterator(tree.Windows());
  host::ClearFaults();
  host::FailCall("FindFirstFileExW", 1, 5);
  EXPECT_FALSE(objects->MoveNext());
  EXPECT_EQ(host::InjectedFaultCount(), 1u);
  host::ClearFaults();
  EXPECT_TRUE(objects->MoveNext());
}

void ExpectNoState(const IFilesystemIterator& objects) {
  tests::ExpectFailureOf(
      "zum_setup_util_lib/filesystem_iterator", 0x8000006A,
      [&] { (void)objects.GetCurrentObject(); }, u"can't get current state");
}

// The search stays open where it was, here in front of the file, and the next step goes on from
// there.
TEST(FilesystemIteratorOnHost, SearchThatBreaksOffIsLikeTheEnd) {
  const DirectoryTree tree;
  tree.Write(u"a.msi");
  const std::size_t handles = host::Live().handles;
  const auto objects = CreateFilesystemIterator(tree.Windows());
  host::FailCall("FindNextFileW", 1, 1117);
  EXPECT_FALSE(objects->MoveNext());
  host::ClearFaults();
  EXPECT_EQ(host::Live().handles, handles + 1);
  ExpectNoState(*objects);
  EXPECT_TRUE(objects->MoveNext());
  EXPECT_EQ(objects->GetCurrentObject().m_name, u"a.msi");
}

// Behind a file it goes on standing at that file.
TEST(FilesystemIteratorOnHost, SearchThatBreaksOffBehindAFileStandsAtIt) {
  const DirectoryTree tree;
  tree.Write(u"a");
  tree.Write(u"b");
  const std::size_t handles = host::Live().handles;
  const auto objects = CreateFilesystemIterator(tree.Windows());
  ASSERT_TRUE(objects->MoveNext());
  const std::u16string first = objects->GetCurrentObject().m_name;
  host::FailCall("FindNextFileW", 1, 1117);
  EXPECT_FALSE(objects->MoveNext());
  host::ClearFaults();
  EXPECT_EQ(host::Live().handles, handles + 1);
  EXPECT_EQ(objects->GetCurrentObject().m_name, first);
  ASSERT_TRUE(objects->MoveNext());
  EXPECT_EQ(objects->GetCurrentObject().m_name, first == u"a" ? u"b" : u"a");
  EXPECT_FALSE(objects->MoveNext());
  EXPECT_EQ(host::Live().handles, handles);
}

// A long name is converted into a block of the process heap.
constexpr char16_t kLongName[] = u"a directory's name of some length";

TEST(FilesystemIteratorOnHost, LackOfMemoryIsThrownOutOfAStep) {
  const DirectoryTree tree;
  tree.MakeDirectory(kLongName);
  const std::u16string directory = tree.Windows();
  const std::size_t handles = host::Live().handles;
  std::size_t thrown = 0;
  const std::size_t faults = tests::SweepAllocations([&](std::size_t) {
    try {
      const auto objects = CreateFilesystemIterator(directory);
      EXPECT_TRUE(objects->MoveNext());
      (void)objects->GetCurrentObject();
    } catch (const std::bad_alloc&) {
      ++thrown;
    }
    EXPECT_EQ(host::Live().handles, handles);
  });
  EXPECT_EQ(thrown, faults);
  EXPECT_GT(faults, 0u);
}

// As behind a name that can't be converted, the next step goes on.
TEST(FilesystemIteratorOnHost, LackOfMemoryForANameIsThrownOutOfAStep) {
  const DirectoryTree tree;
  tree.MakeDirectory(kLongName);
  const auto objects = CreateFilesystemIterator(tree.Windows());
  host::FailCall("HeapAlloc", 1, 8);
  EXPECT_THROW((void)objects->MoveNext(), std::bad_alloc);
  host::ClearFaults();
  EXPECT_EQ(objects->GetCurrentObject().m_name, kLongName);
  EXPECT_FALSE(objects->MoveNext());
}

TEST(FilesystemIteratorOnHost, LackOfMemoryForAnObjectLeavesTheIteratorWhereItIs) {
  const DirectoryTree tree;
  tree.MakeDirectory(kLongName);
  const auto objects = CreateFilesystemIterator(tree.Windows());
  ASSERT_TRUE(objects->MoveNext());
  host::FailCall("HeapAlloc", 1, 8);
  EXPECT_THROW((void)objects->GetCurrentObject(), std::bad_alloc);
  host::ClearFaults();
  {
    const tests::ScopedAllocationFault fault(1);
    EXPECT_THROW((void)objects->GetCurrentObject(), std::bad_alloc);
  }
  EXPECT_EQ(objects->GetCurrentObject().m_name, kLongName);
}

TEST(FilesystemIteratorOnHost, MakingOneTouchesNoDisk) {
  host::StartCallLog();
  host::ClearCallLog();
  const auto objects = CreateFilesystemIterator(u"C:\\nowhere");
  EXPECT_TRUE(host::CallLog().empty());
}

TEST(FilesystemIteratorOnHost, SearchesAreClosedByEndResetAndDestruction) {
  const DirectoryTree tree;
  tree.Write(u"a.msi");
  const std::size_t before = host::Live().handles;
  {
    const auto objects = CreateFilesystemIterator(tree.Windows());
    ASSERT_TRUE(objects->MoveNext());
    EXPECT_EQ(host::Live().handles, before + 1);
    ASSERT_FALSE(objects->MoveNext());
    EXPECT_EQ(host::Live().handles, before);
    ASSERT_TRUE(objects->MoveNext());
    objects->Reset();
    EXPECT_EQ(host::Live().handles, before);
    ASSERT_TRUE(objects->MoveNext());
  }
  EXPECT_EQ(host::Live().handles, before);
}

}  // namespace
