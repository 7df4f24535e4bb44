// Directories that resist their removal, and each call that fails while the package is dropped.
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include "oru/rtl/exception.h"
#include "tests/support/allocation_faults.h"
#include "tests/support/current_directory.h"
#include "tests/support/directory_tree.h"
#include "tests/support/expected_failure.h"
#include "tests/support/standing_clock.h"
#include "tests/zum_setup_util_lib/command_line_forms.h"
#include "tests/zum_setup_util_lib/installed_tracer.h"
#include "winapi/files.h"
#include "winapi/host/control.h"
#include "zum_setup_util_lib/drop_files_stage.h"
#include "zum_setup_util_lib/dropper.h"
#include "zum_setup_util_lib/temporary_directory.h"

namespace host = winapi::host;

namespace {

using correct_setup::ScopedRemoveDirectory;
using correct_setup::detail::DropFiles;
using tests::DirectoryTree;
using tests::InstalledTracer;
using tests::ToLocal;

constexpr char kOwnPrefix[] =
    "setup\t[correct_setup::ScopedRemoveDirectory::~ScopedRemoveDirectory] ";

class ResistingDirectory : public testing::Test {
 protected:
  ResistingDirectory() {
    m_tree.MakeDirectory(u"drop/a");
    m_tree.Write(u"drop/a/held");
    m_tree.Write(u"drop/free");
    EXPECT_TRUE(host::LockFile(m_tree.Windows(u"drop/a/held")));
  }

  void Remove() const { const ScopedRemoveDirectory directory(m_tree.Windows(u"drop")); }
  [[nodiscard]] std::vector<winapi::Dword> Sleeps() const { return m_clock.Sleeps(); }

  DirectoryTree m_tree;
  tests::StandingClock m_clock;
};

TEST_F(ResistingDirectory, StaysAfterElevenTriesWithOneLine) {
  const InstalledTracer tracer;
  host::StartCallLog();
  host::ClearCallLog();
  Remove();
  EXPECT_EQ(Sleeps(), std::vector<winapi::Dword>(10, 100));
  std::size_t triesOfTheRoot = 0;
  for (const auto& call : host::CallsOf("RemoveDirectoryW")) {
    triesOfTheRoot += call.Argument("path").ends_with("drop") ? 1u : 0u;
  }
  EXPECT_EQ(triesOfTheRoot, 11u);
  EXPECT_TRUE(m_tree.Has(u"drop/a/held"));
  EXPECT_FALSE(m_tree.Has(u"drop/free"));
  std::size_t ownLines = 0;
  for (const auto& [level, text] : tracer.Records()) {
    if (!text.starts_with(kOwnPrefix)) continue;
    ++ownLines;
    EXPECT_EQ(level, 300u);
  }
  EXPECT_EQ(ownLines, 1u);
  EXPECT_TRUE(tracer.Records().back().second.starts_with(kOwnPrefix));
}

// Each failed try writes two records; the fourth try finds the file free.
TEST_F(ResistingDirectory, GoesWhenItIsFreeInTime) {
  InstalledTracer tracer;
  const auto nothing = [](char**) { return oru::sOk; };
  tracer->Script(tests::RecordingTracer::Call::kCommit, nothing, 5);
  tracer->Script(tests::RecordingTracer::Call::kCommit, [this](char**) {
    EXPECT_TRUE(host::UnlockFile(m_tree.Windows(u"drop/a/held")));
    return oru::sOk;
  });
  Remove();
  EXPECT_EQ(Sleeps(), std::vector<winapi::Dword>(3, 100));
  EXPECT_FALSE(m_tree.Has(u"drop"));
  EXPECT_EQ(tracer.Records().size(), 6u);
}

// Memory that is gone from some point on costs no try and leaves nothing open.
TEST_F(ResistingDirectory, TriesElevenTimesWithoutMemoryToo) {
  const std::size_t handles = host::Live().handles;
  std::size_t allocations = 0;
  std::size_t nth = 0;
  do {
    ++nth;
    SCOPED_TRACE(nth);
    const std::size_t sleeps = host::Sleeps().size();
    std::optional<ScopedRemoveDirectory> directory(m_tree.Windows(u"drop"));
    {
      const tests::ScopedAllocationFault fault(nth, host::Repeat::kForever);
      directory.reset();
      allocations = host::AllocationCount();
    }
    EXPECT_EQ(host::Sleeps().size(), sleeps + 10);
    EXPECT_EQ(host::Live().handles, handles);
  } while (allocations >= nth);
  EXPECT_GT(nth, 11u);
}

TEST(ScopedRemoveDirectoryOnHost, LinksAreRemovedAndNeverFollowed) {
  const DirectoryTree tree;
  tree.MakeDirectory(u"target");
  tree.Write(u"target/keep");
  tree.MakeDirectory(u"drop");
  std::filesystem::create_directory_symlink(tree.File(u"target"), tree.File(u"drop/link"));
  { const ScopedRemoveDirectory directory(tree.Windows(u"drop")); }
  EXPECT_FALSE(tree.Has(u"drop"));
  EXPECT_TRUE(tree.Has(u"target/keep"));
}

struct FailedCall {
  const char* name;
  const char* operation;
  winapi::Error error;
  const char* traced;  // how the traced cause begins
};

void PrintTo(const FailedCall& row, std::ostream* out) { *out << row.name; }

class DropFilesFailures : public testing::TestWithParam<FailedCall> {};

TEST_P(DropFilesFailures, EndInTheOneCodeWithoutADirectory) {
  const DirectoryTree tree;
  tree.Write(u"a.msi");
  const std::u16string package = tree.Windows(u"a.msi");
  const auto command = tests::MakeCommand({u"/installmsi", package, u"/q"}).command;
  const std::u16string temporary = correct_setup::helpers::GetTempDirectory();
  // The machine's C: is there from its first use on.
  ASSERT_NE(winapi::GetFileAttributesW(temporary.c_str()), winapi::kInvalidFileAttributes);
  const InstalledTracer tracer;
  host::ClearFaults();
  host::FailCall(GetParam().operation, 1, GetParam().error);
  tests::ExpectFailureOf("zum_setup_util_lib/correct_setup", 0xA1780008,
                         [&] { (void)DropFiles(command); });
  EXPECT_EQ(host::InjectedFaultCount(), 1u);
  EXPECT_TRUE(tests::NamesIn(ToLocal(temporary)).empty());
  EXPECT_EQ(command->GetFullPathToPackage(), package);
  const auto [level, text] = tracer.Records().back();
  EXPECT_EQ(level, 300u);
  EXPECT_TRUE(text.starts_with(std::string("setup\t[correct_setup::detail::DropFiles] ") +
                               GetParam().traced))
      << text;
}

INSTANTIATE_TEST_SUITE_P(
    EachStep, DropFilesFailures,
    testing::Values(
        FailedCall{"TemporaryDirectory", "GetTempPathW", 5,
                   "CheckResultFailedException - 0x80000045 (Access denied). At "
                   "zum_setup_util_lib/helpers("},
        FailedCall{
            "Token", "OpenProcessToken", 5,
            "ResultCodeException - System error: 0x00000005. Access is denied. Expression: '"},
        FailedCall{
            "Directory", "CreateDirectoryW", 5,
            "ResultCodeException - System error: 0x00000005. Access is denied. Expression: '"},
        FailedCall{"Copy", "CopyFileW", 112,
                   "CheckResultFailedException - 0x80000062 (Out of space). At "
                   "zum_setup_util_lib/filesystem_actions("}),
    [](const auto& tested) { return tested.param.name; });

class SecureDirectoryThatFails : public testing::TestWithParam<const char*> {};

// There is nothing to remove then, and nothing is tried.
TEST_P(SecureDirectoryThatFails, IsNotRemoved) {
  const DirectoryTree tree;
  tree.Write(u"a.msi");
  const auto command = tests::MakeCommand({u"/installmsi", tree.Windows(u"a.msi"), u"/q"}).command;
  const InstalledTracer tracer;
  host::StartCallLog();
  host::ClearCallLog();
  host::FailCall(GetParam(), 1, 5);
  EXPECT_THROW((void)DropFiles(command), oru::CheckResultFailedException);
  for (const char* operation :
       {"RemoveDirectoryW", "DeleteFileW", "FindFirstFileExW", "CopyFileW", "Sleep"}) {
    EXPECT_TRUE(host::CallsOf(operation).empty()) << operation;
  }
  for (const auto& [level, text] : tracer.Records()) {
    EXPECT_FALSE(text.starts_with(kOwnPrefix)) << text;
  }
}

INSTANTIATE_TEST_SUITE_P(Calls, SecureDirectoryThatFails,
                         testing::Values("OpenProcessToken", "CreateWellKnownSid",
                                         "CreateDirectoryW"),
                         [](const auto& tested) { return std::string(tested.param); });

// The directory goes with the one file that was copied; the files that it was taken from stay.
TEST(DropFilesOnHost, FailureInTheMiddleRemovesWhatWasCopied) {
  const DirectoryTree tree;
  tree.MakeDirectory(u"setup");
  for (const char16_t* name : {u"setup/a", u"setup/b", u"setup/c"}) tree.Write(name);
  const std::u16string package = tree.Windows(u"setup") + u"\\";
  const auto command = tests::MakeCommand({u"/installmsi", package, u"/q"}).command;
  const std::u16string temporary = correct_setup::helpers::GetTempDirectory();
  host::StartCallLog();
  host::ClearCallLog();
  host::FailCall("CopyFileW", 2, 112);
  EXPECT_THROW((void)DropFiles(command), oru::CheckResultFailedException);
  EXPECT_EQ(host::CallsOf("CopyFileW").size(), 2u);
  EXPECT_EQ(host::CallsOf("CreateDirectoryW").size(), 1u);
  EXPECT_TRUE(tests::NamesIn(ToLocal(temporary)).empty());
  EXPECT_EQ(tree.Names(u"setup"), (std::set<std::u16string>{u"a", u"b", u"c"}));
  for (const char16_t* name : {u"setup/a", u"setup/b", u"setup/c"}) {
    EXPECT_EQ(tree.Read(name), "content");
  }
  EXPECT_EQ(command->GetFullPathToPackage(), package);
}

TEST(DropFilesOnHost, TemporaryDirectoryIsAskedForBeforeTheIdentifier) {
  const DirectoryTree tree;
  const auto command = tests::MakeCommand({u"/installmsi", tree.Windows(u"a.msi"), u"/q"}).command;
  host::StartCallLog();
  host::ClearCallLog();
  const ScopedRemoveDirectory directory = DropFiles(command);
  std::vector<std::string> calls;
  for (const host::CallRecord& call : host::CallLog()) {
    for (const char* operation : {"GetTempPathW", "CoCreateGuid", "CreateDirectoryW"}) {
      if (call.operation == operation) calls.push_back(call.operation);
    }
  }
  EXPECT_EQ(calls, (std::vector<std::string>{"GetTempPathW", "CoCreateGuid", "CreateDirectoryW"}));
}

// A temporary directory that is longer each time that it is asked for ends in none, and the drop
// directory is made in the current one.
TEST(DropFilesOnHost, NoTemporaryDirectoryIsTheCurrentOne) {
  const DirectoryTree tree;
  tree.MakeDirectory(u"setup");
  tree.MakeDirectory(u"current");
  tree.Write(u"setup/a.msi", "package");
  const auto command =
      tests::MakeCommand({u"/installmsi", tree.Windows(u"setup/a.msi"), u"/q"}).command;
  const tests::CurrentDirectory current(tree.File(u"current"));
  host::SetPathScript("GetTempPathW", [](winapi::Dword size) {
    return host::PathAnswer{{}, size + 1};
  });
  {
    const ScopedRemoveDirectory directory = DropFiles(command);
    const std::u16string copy = command->GetFullPathToPackage();
    ASSERT_EQ(copy.size(), 38u + 6u);
    EXPECT_TRUE(copy.starts_with(u"{") && copy.ends_with(u"}\\a.msi"));
    EXPECT_EQ(tree.Names(u"current"), (std::set<std::u16string>{copy.substr(0, 38)}));
    EXPECT_EQ(tree.Read(u"current/" + copy.substr(0, 38) + u"/a.msi"), "package");
  }
  EXPECT_TRUE(tree.Names(u"current").empty());
  host::SetPathScript("GetTempPathW", nullptr);
}

// A plain directory among the copied objects doesn't get the secure one's descriptor.
TEST(CopyFilesystemObjectsOnHost, CopiedDirectoryHasNoDescriptor) {
  const DirectoryTree tree;
  tree.MakeDirectory(u"from/data");
  const ScopedRemoveDirectory directory = correct_setup::DropFilesystemObjects(
      tree.Windows(u"from"), tree.Windows(u"to"),
      {{u"data", correct_setup::FilesystemObjectType::Directory}});
  EXPECT_TRUE(tree.Has(u"to/data"));
  EXPECT_TRUE(host::DescriptorOf(tree.Windows(u"to")).has_value());
  EXPECT_EQ(host::DescriptorOf(tree.Windows(u"to/data")), std::nullopt);
}

// The status of the call is dropped, and the name is made of zeros.
TEST(DropFilesOnHost, FailedIdentifierIsAllZeros) {
  const DirectoryTree tree;
  tree.Write(u"a.msi");
  const auto command = tests::MakeCommand({u"/installmsi", tree.Windows(u"a.msi"), u"/q"}).command;
  host::FailCall("CoCreateGuid", 1, 5);
  const ScopedRemoveDirectory directory = DropFiles(command);
  EXPECT_TRUE(command->GetFullPathToPackage().ends_with(
      u"\\{00000000-0000-0000-0000-000000000000}\\a.msi"));
}

TEST(DropFilesOnHost, DirectoryIsNamedByTheIdentifiersBytes) {
  const DirectoryTree tree;
  tree.Write(u"a.msi");
  const auto command = tests::MakeCommand({u"/installmsi", tree.Windows(u"a.msi"), u"/q"}).command;
  host::SetGuidSource([](winapi::Guid& guid) {
    guid = {0x1B4E28BA, 0x2FA1, 0x4D3B, {0xA3, 0xF5, 0x5E, 0xF8, 0xD0, 0x6B, 0x9E, 0x10}};
    return 0;
  });
  const ScopedRemoveDirectory directory = DropFiles(command);
  host::SetGuidSource(nullptr);
  EXPECT_TRUE(command->GetFullPathToPackage().ends_with(
      u"\\{BA284E1B-A12F-3B4D-A3F5-5EF8D06B9E10}\\a.msi"));
  EXPECT_TRUE(host::DescriptorOf(correct_setup::helpers::GetTempDirectory() +
                                 u"{BA284E1B-A12F-3B4D-A3F5-5EF8D06B9E10}")
                  .has_value());
}

TEST(DropFilesOnHost, NothingStaysOpen) {
  const DirectoryTree tree;
  tree.Write(u"a.msi");
  const auto command = tests::MakeCommand({u"/installmsi", tree.Windows(u"a.msi"), u"/q"}).command;
  const std::size_t handles = host::Live().handles;
  { const ScopedRemoveDirectory directory = DropFiles(command); }
  EXPECT_EQ(host::Live().handles, handles);
}

}  // namespace
