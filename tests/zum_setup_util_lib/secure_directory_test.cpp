#include "zum_setup_util_lib/secure_directory.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <string>

#include "platform/util/windows/system_error.h"
#include "tests/support/directory_tree.h"
#include "tests/support/result_code.h"
#include "tests/support/text.h"
#include "tests/zum_setup_util_lib/action_failure.h"
#include "tests/zum_setup_util_lib/installed_tracer.h"

using correct_setup::FileSystemActions::CreateSecureDirectory;

namespace {

using tests::DirectoryTree;
using tests::ExpectFailure;
using tests::InstalledTracer;
using tests::kAlreadyExists;
using tests::kInvalidArgument;
using tests::kPathNotFound;
using tests::Narrow;

constexpr char kSourceFile[] = "zum_setup_util_lib/filesystem_actions";

TEST(CreateSecureDirectory, MakesADirectoryOfTheProcess) {
  const InstalledTracer tracer;
  const DirectoryTree tree;
  CreateSecureDirectory(tree.Windows(u"drop"));
  ASSERT_TRUE(std::filesystem::is_directory(tree.File(u"drop")));
  tree.Write(u"drop/a", "mine");
  EXPECT_EQ(tree.Read(u"drop/a"), "mine");
  EXPECT_EQ(tracer.Records(),
            (tests::TraceRecords{
                {700, "setup\t[correct_setup::FileSystemActions::CreateSecureDirectory] dir = " +
                          Narrow(tree.Windows(u"drop"))}}));
}

TEST(CreateSecureDirectory, EmptyPathFails) {
  const InstalledTracer tracer;
  ExpectFailure(
      kInvalidArgument, [] { CreateSecureDirectory(u""); }, u"directory path is empty");
  EXPECT_EQ(tracer.Records(),
            (tests::TraceRecords{
                {700, "setup\t[correct_setup::FileSystemActions::CreateSecureDirectory] dir = "}}));
}

void ExpectCreationFailure(const std::u16string& path, std::uint32_t error, std::uint32_t code) {
  try {
    CreateSecureDirectory(path);
    FAIL() << "it returned";
  } catch (const windows_helpers::WindowsErrorException& exception) {
    EXPECT_EQ(exception.systemError, error);
    EXPECT_EQ(static_cast<std::uint32_t>(exception.Code()), code);
    EXPECT_TRUE(exception.Message().view().ends_with(
        u". Expression: 'CreateDirectoryW(directory.c_str(), &securityAttributes)'"))
        << Narrow(exception.Message().view());
    EXPECT_STREQ(exception.File(), kSourceFile);
    EXPECT_GT(exception.Line(), 0u);
  }
}

TEST(CreateSecureDirectory, NeverAdoptsADirectory) {
  const DirectoryTree tree;
  tree.MakeDirectory(u"drop");
  tree.Write(u"drop/a");
  ExpectCreationFailure(tree.Windows(u"drop"), 183, kAlreadyExists);
  EXPECT_TRUE(tree.Has(u"drop/a"));
}

TEST(CreateSecureDirectory, MakesNoParents) {
  const DirectoryTree tree;
  ExpectCreationFailure(tree.Windows(u"a/b"), 3, kPathNotFound);
  EXPECT_FALSE(tree.Has(u"a"));
}

}  // namespace
