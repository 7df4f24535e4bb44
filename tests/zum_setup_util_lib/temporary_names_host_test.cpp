#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "oru/rtl/exception.h"
#include "tests/support/checks.h"
#include "tests/support/directory_tree.h"
#include "tests/support/expected_failure.h"
#include "tests/support/result_code.h"
#include "winapi/host/control.h"
#include "zum_setup_util_lib/guid_text.h"
#include "zum_setup_util_lib/temporary_directory.h"
#include "zum_setup_util_lib/temporary_file.h"

namespace helpers = correct_setup::helpers;
namespace host = winapi::host;

namespace {

using tests::Code;
using tests::DirectoryTree;

TEST(GetTempDirectoryOnHost, FailureIsThrown) {
  host::FailCall("GetTempPathW", 1, 5);
  tests::ExpectFailureOf("zum_setup_util_lib/helpers", 0x80000045,
                         [] { (void)helpers::GetTempDirectory(); });
}

TEST(CreateGuidStringOnHost, FailureGivesZeros) {
  host::FailCall("CoCreateGuid", 1, 5);
  EXPECT_EQ(helpers::CreateGuidString(), u"{00000000-0000-0000-0000-000000000000}");
}

// What the failing source has written is used as it stands.
TEST(CreateGuidStringOnHost, HalfWrittenIdentifierIsUsed) {
  host::SetGuidSource([](winapi::Guid& guid) {
    guid.Data4[7] = 0xAB;
    return static_cast<std::int32_t>(0x80004005);
  });
  EXPECT_EQ(helpers::CreateGuidString(), u"{00000000-0000-0000-0000-0000000000AB}");
  host::SetGuidSource(nullptr);
}

TEST(MakeUniqueFileNameOnHost, FailureOfTheTemporaryDirectoryIsReturned) {
  std::u16string path;
  host::FailCall("GetTempPathW", 1, 5);
  EXPECT_EQ(Code(helpers::MakeUniqueFileName(u"", path)), 0x80000045u);
  EXPECT_TRUE(path.empty());
}

TEST(MakeUniqueFileNameOnHost, LinkIsAPathNotFound) {
  const DirectoryTree tree;
  tree.MakeDirectory(u"target");
  std::filesystem::create_directory_symlink(tree.File(u"target"), tree.File(u"link"));
  std::u16string path = tree.Windows(u"link");
  EXPECT_EQ(Code(helpers::MakeUniqueFileName(u"", path)), 0x80010103u);
}

TEST(MakeUniqueFileNameOnHost, OtherFailuresOfTheTestAreReturned) {
  const DirectoryTree tree;
  std::u16string path = tree.Windows();
  host::FailCall("GetFileAttributesW", 1, 5);
  EXPECT_EQ(Code(helpers::MakeUniqueFileName(u"", path)), 0x80000045u);
  EXPECT_EQ(path, tree.Windows());
}

TEST(CreateTemporaryFileOnHostOwnProcess, FileThatIsThereIsRefused) {
  const DirectoryTree tree;
  host::SetGuidSource([](winapi::Guid& guid) {
    guid = {};
    return 0;
  });
  tree.Write(u"00000000-0000-0000-0000-000000000000", "content");
  std::u16string path = tree.Windows();
  EXPECT_EQ(Code(helpers::CreateTemporaryFile(u"", path)), 0x80010105u);
  EXPECT_EQ(tree.Read(u"00000000-0000-0000-0000-000000000000"), "content");
  host::SetGuidSource(nullptr);
}

// Not the error that the report of the failed check leaves behind.
TEST(CreateTemporaryFileOnHostOwnProcess, ErrorIsTheCreations) {
  const DirectoryTree tree;
  host::FailCall("CreateFileW", 1, 112);
  std::u16string path = tree.Windows();
  EXPECT_EQ(Code(helpers::CreateTemporaryFile(u"", path)), 0x80000062u);
  EXPECT_EQ(tests::ReportedChecks(),
            std::vector<std::string>{"!\"Can't create a temporary file\""});
}

// What fails without setting the last error finds an old one there, which may be 0.
TEST(CreateTemporaryFileOnHostOwnProcess, FailureThatPassesAsASuccessIsReported) {
  const DirectoryTree tree;
  host::FailCall("CreateFileW", 1, 0);
  std::u16string path = tree.Windows();
  EXPECT_EQ(helpers::CreateTemporaryFile(u"", path), oru::sOk);
  EXPECT_EQ(tests::ReportedChecks(),
            (std::vector<std::string>{"!\"Can't create a temporary file\"", "ORU_FAILED(rc)"}));
}

TEST(CreateTemporaryFileOnHost, FileIsClosedAtOnce) {
  const DirectoryTree tree;
  const std::size_t handles = host::Live().handles;
  std::u16string path = tree.Windows();
  EXPECT_EQ(helpers::CreateTemporaryFile(u"", path), oru::sOk);
  EXPECT_EQ(host::Live().handles, handles);
}

}  // namespace
