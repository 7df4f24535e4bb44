// Identifiers as text, and temporary files and directories.
#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <string>

#include "tests/support/checks.h"
#include "tests/support/directory_tree.h"
#include "tests/support/result_code.h"
#include "tests/support/text.h"
#include "winapi/files.h"
#include "zum_setup_util_lib/guid_text.h"
#include "zum_setup_util_lib/temporary_directory.h"
#include "zum_setup_util_lib/temporary_file.h"

namespace {

using correct_setup::helpers::CreateGuidString;
using correct_setup::helpers::CreateTemporaryFile;
using correct_setup::helpers::FormatGuidText;
using correct_setup::helpers::GetTempDirectory;
using correct_setup::helpers::MakeUniqueFileName;
using correct_setup::helpers::NewGuid;
using tests::Code;
using tests::DirectoryTree;
using tests::Narrow;

// 8-4-4-4-12 upper-case hexadecimal digits.
void ExpectGuidText(const std::u16string& text) {
  const std::string name = Narrow(text);
  EXPECT_EQ(name.find_first_not_of("-0123456789ABCDEF"), std::string::npos) << name;
  ASSERT_EQ(name.size(), 36u);
  EXPECT_EQ((std::string{name[8], name[13], name[18], name[23]}), "----") << name;
}

TEST(GuidText, BytesStandAsTheyLieInMemory) {
  const winapi::Guid guid = {
      0x1B4E28BA, 0x2FA1, 0x4D3B, {0xA3, 0xF5, 0x5E, 0xF8, 0xD0, 0x6B, 0x9E, 0x10}};
  EXPECT_EQ(FormatGuidText(guid), u"BA284E1B-A12F-3B4D-A3F5-5EF8D06B9E10");
}

TEST(GuidText, Zeros) { EXPECT_EQ(FormatGuidText({}), u"00000000-0000-0000-0000-000000000000"); }

TEST(GuidText, NewOnesDiffer) {
  ExpectGuidText(FormatGuidText(NewGuid()));
  EXPECT_NE(FormatGuidText(NewGuid()), FormatGuidText(NewGuid()));
}

TEST(GuidText, StringIsInBraces) {
  const std::u16string text = CreateGuidString();
  ASSERT_EQ(text.size(), 38u);
  EXPECT_EQ(text.front(), u'{');
  EXPECT_EQ(text.back(), u'}');
  ExpectGuidText(text.substr(1, 36));
  EXPECT_NE(text, CreateGuidString());
}

TEST(GetTempDirectory, IsADirectoryWithASeparatorBehindIt) {
  const std::u16string directory = GetTempDirectory();
  EXPECT_TRUE(directory.ends_with(u'\\'));
  const winapi::Dword attributes = winapi::GetFileAttributesW(directory.c_str());
  ASSERT_NE(attributes, winapi::kInvalidFileAttributes);
  EXPECT_NE(attributes & winapi::kFileAttributeDirectory, 0u);
}

TEST(MakeUniqueFileName, AppendsTheIdentifierToTheDirectory) {
  const DirectoryTree tree;
  std::u16string path = tree.Windows();
  EXPECT_EQ(MakeUniqueFileName(u"", path), oru::sOk);
  ASSERT_TRUE(path.starts_with(tree.Windows() + u"\\"));
  ExpectGuidText(path.substr(tree.Windows().size() + 1));
  EXPECT_TRUE(tree.Names().empty());
}

TEST(MakeUniqueFileName, PutsThePrefixBeforeTheIdentifier) {
  const DirectoryTree tree;
  std::u16string path = tree.Windows();
  EXPECT_EQ(MakeUniqueFileName(u"zum-", path), oru::sOk);
  ASSERT_TRUE(path.starts_with(tree.Windows() + u"\\zum-"));
  ExpectGuidText(path.substr(tree.Windows().size() + 5));
}

TEST(MakeUniqueFileName, KeepsTheSeparatorThatIsThere) {
  const DirectoryTree tree;
  for (const char16_t* separator : {u"\\", u"/"}) {
    std::u16string path = tree.Windows() + separator;
    EXPECT_EQ(MakeUniqueFileName(u"", path), oru::sOk);
    ASSERT_TRUE(path.starts_with(tree.Windows() + separator)) << Narrow(path);
    ExpectGuidText(path.substr(tree.Windows().size() + 1));
  }
}

TEST(MakeUniqueFileName, EmptyPathIsTheTemporaryDirectory) {
  std::u16string path;
  EXPECT_EQ(MakeUniqueFileName(u"", path), oru::sOk);
  ASSERT_TRUE(path.starts_with(GetTempDirectory()));
  ExpectGuidText(path.substr(GetTempDirectory().size()));
}

TEST(MakeUniqueFileName, MissingDirectoryIsAPathNotFound) {
  const DirectoryTree tree;
  for (const char16_t* name : {u"missing", u"missing/missing"}) {
    std::u16string path = tree.Windows(name);
    EXPECT_EQ(Code(MakeUniqueFileName(u"", path)), 0x80010103u);
    EXPECT_EQ(path, tree.Windows(name));
  }
}

TEST(MakeUniqueFileName, FileIsAPathNotFound) {
  const DirectoryTree tree;
  tree.Write(u"file");
  std::u16string path = tree.Windows(u"file");
  EXPECT_EQ(Code(MakeUniqueFileName(u"", path)), 0x80010103u);
  EXPECT_EQ(path, tree.Windows(u"file"));
}

// Makes a directory whose path has that many characters.
std::u16string MakeLong(const DirectoryTree& tree, std::size_t length) {
  std::u16string name(length - tree.Windows().size() - 1, u'd');
  for (std::size_t i = 50; i + 1 < name.size(); i += 51) name[i] = u'/';
  tree.MakeDirectory(name);
  return tree.Windows(name);
}

// With a separator and the 36 characters of the identifier that is 260, which is the limit.
TEST(MakeUniqueFileName, LongestPathIs260Characters) {
  const DirectoryTree tree;
  std::u16string path = MakeLong(tree, 223);
  EXPECT_EQ(MakeUniqueFileName(u"", path), oru::sOk);
  EXPECT_EQ(path.size(), 260u);
}

TEST(MakeUniqueFileName, OneCharacterMoreIsTooLong) {
  const DirectoryTree tree;
  std::u16string path = MakeLong(tree, 224);
  const std::u16string directory = path;
  EXPECT_EQ(Code(MakeUniqueFileName(u"", path)), 0x80000044u);
  EXPECT_EQ(path.size(), 261u);
  EXPECT_TRUE(path.starts_with(directory + u"\\"));
}

TEST(MakeUniqueFileName, PrefixCountsForTheLength) {
  const DirectoryTree tree;
  std::u16string path = MakeLong(tree, 222);
  std::u16string longer = path;
  EXPECT_EQ(MakeUniqueFileName(u"p", path), oru::sOk);
  EXPECT_EQ(Code(MakeUniqueFileName(u"pp", longer)), 0x80000044u);
}

// On the drive X:, which isn't there.
std::u16string MissingPath(std::size_t length) {
  std::u16string path(length, u'x');
  path[1] = u':';
  path[2] = u'\\';
  return path;
}

// The length is looked at before the disk, where neither is.
TEST(MakeUniqueFileName, LengthOfTheDirectoryComesFirst) {
  std::u16string path = MissingPath(261);
  const std::u16string before = path;
  EXPECT_EQ(Code(MakeUniqueFileName(u"", path)), 0x80000044u);
  EXPECT_EQ(path, before);
  path = MissingPath(260);
  EXPECT_EQ(Code(MakeUniqueFileName(u"", path)), 0x80010103u);
}

TEST(CreateTemporaryFile, MakesAnEmptyFile) {
  const DirectoryTree tree;
  std::u16string path = tree.Windows();
  EXPECT_EQ(CreateTemporaryFile(u"t", path), oru::sOk);
  ASSERT_TRUE(path.starts_with(tree.Windows() + u"\\t"));
  EXPECT_EQ(tree.Names(), std::set<std::u16string>{path.substr(tree.Windows().size() + 1)});
  EXPECT_EQ(std::filesystem::file_size(tests::ToLocal(path)), 0u);
  EXPECT_TRUE(tests::ReportedChecks().empty());
}

TEST(CreateTemporaryFile, TwoNeverCollide) {
  const DirectoryTree tree;
  for (int i = 0; i < 2; ++i) {
    std::u16string path = tree.Windows();
    EXPECT_EQ(CreateTemporaryFile(u"", path), oru::sOk);
  }
  EXPECT_EQ(tree.Names().size(), 2u);
}

TEST(CreateTemporaryFile, FailureOfTheNameIsReturnedWithoutAReport) {
  const DirectoryTree tree;
  std::u16string path = tree.Windows(u"missing");
  EXPECT_EQ(Code(CreateTemporaryFile(u"", path)), 0x80010103u);
  EXPECT_EQ(path, tree.Windows(u"missing"));
  EXPECT_TRUE(tests::ReportedChecks().empty());
}

// A directory in the prefix that isn't there: the name can be made, the file can't.
TEST(CreateTemporaryFileOwnProcess, FailedCreationIsReportedAndNamesTheFile) {
  const DirectoryTree tree;
  std::u16string path = tree.Windows();
  EXPECT_EQ(Code(CreateTemporaryFile(u"missing\\t", path)), 0x80010103u);
  EXPECT_TRUE(path.starts_with(tree.Windows() + u"\\missing\\t"));
  EXPECT_EQ(tests::ReportedChecks(),
            std::vector<std::string>{"!\"Can't create a temporary file\""});
}

}  // namespace
