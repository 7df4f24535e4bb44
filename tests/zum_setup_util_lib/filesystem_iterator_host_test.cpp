// Links, and searches that break off: neither can be had under Wine.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "oru/rtl/exception.h"
#include "platform/winapi/host/control.h"
#include "tests/zum_setup_util_lib/directory_tree.h"
#include "zum_setup_util_lib/filesystem_iterator.h"

namespace host = winapi::host;

namespace {

using correct_setup::CreateFilesystemIterator;
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
  try {
    (void)correct_setup::MakeFilesystemObject(&context);
    FAIL() << "there is an object";
  } catch (const oru::CheckResultFailedException& exception) {
    EXPECT_EQ(static_cast<std::uint32_t>(exception.Code()), 0x8000005Du);
    EXPECT_EQ(exception.Message().view(), u"not supported type, for name = link");
  }
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

// The search stays where it was, and the next step goes on from there.
TEST(FilesystemIteratorOnHost, SearchThatBreaksOffIsLikeTheEnd) {
  const DirectoryTree tree;
  tree.Write(u"a.msi");
  const auto objects = CreateFilesystemIterator(tree.Windows());
  host::FailCall("FindNextFileW", 1, 1117);
  EXPECT_FALSE(objects->MoveNext());
  host::ClearFaults();
  EXPECT_TRUE(objects->MoveNext());
  EXPECT_EQ(objects->GetCurrentObject().m_name, u"a.msi");
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
