// The whole correction on a machine of the host layer: the order of its stages, what passes between
// them, what each failure leaves, and what the installer's exit code decides.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "oru/rtl/exception.h"
#include "tests/support/directory_tree.h"
#include "tests/zum_setup_util_lib/installed_tracer.h"
#include "tests/zum_setup_util_lib/pipeline_machine.h"
#include "winapi/host/control.h"
#include "zum_setup_util_lib/correct_setup.h"

namespace host = winapi::host;

namespace {

using correct_setup::ExecuteCorrectSetup;
using tests::InstalledTracer;
using tests::PipelineMachine;

using Names = std::vector<std::string>;

const std::string kOwn = "setup\t[correct_setup::ExecuteCorrectSetup] ";

class CorrectSetupOnHost : public testing::Test {
 protected:
  CorrectSetupOnHost() {
    PipelineMachine::SetUp();
    host::ClearCallLog();
    host::StartCallLog();
  }
  ~CorrectSetupOnHost() override {
    host::ClearFaults();
    EXPECT_EQ(host::Live().handles, 0u);
    EXPECT_EQ(host::Live().keys, 0u);
    PipelineMachine::TearDown();
  }

  // Runs the correction, which must fail with the code.
  static void ExpectFailure(std::vector<std::u16string> arguments, std::uint32_t code) {
    try {
      const std::uint32_t value = ExecuteCorrectSetup(std::move(arguments));
      ADD_FAILURE() << "it returned " << value;
    } catch (const oru::CheckResultFailedException& exception) {
      EXPECT_EQ(exception.Code(), oru::MakeResultCode(code));
    }
  }
  static void ExpectFailure(std::uint32_t code) {
    ExpectFailure(PipelineMachine::Arguments(), code);
  }

  static void ExpectUntouched() {
    EXPECT_EQ(PipelineMachine::Records(), "marked");
    EXPECT_EQ(PipelineMachine::Renames(), "as it was");
    EXPECT_EQ(PipelineMachine::InstallerRuns(), Names());
    EXPECT_EQ(PipelineMachine::DropDirectories(), 0u);
    EXPECT_TRUE(host::CallsOf("CreateProcessW").empty());
    EXPECT_TRUE(host::CallsOf("CreateTransaction").empty());
  }
  static void ExpectNothingDropped() {
    EXPECT_TRUE(host::CallsOf("CreateDirectoryW").empty());
    EXPECT_TRUE(host::CallsOf("CopyFileW").empty());
    EXPECT_TRUE(host::CallsOf("FindFirstFileExW").empty());
  }

  [[nodiscard]] Names Texts() const {
    Names texts;
    for (const auto& [level, text] : m_tracer.Records()) texts.push_back(text);
    return texts;
  }
  // The first and the last record are the scope's, in every case.
  void ExpectScopeIsClosed() const {
    const Names texts = Texts();
    ASSERT_GE(texts.size(), 2u);
    EXPECT_EQ(texts.front(), kOwn + " begin");
    EXPECT_EQ(texts.back(), kOwn + " end");
  }
  [[nodiscard]] std::size_t CountOf(const std::string& text) const {
    const Names texts = Texts();
    return static_cast<std::size_t>(std::count(texts.begin(), texts.end(), text));
  }

  InstalledTracer m_tracer;
};

// The position of a call in the log.
std::size_t PositionOf(const char* operation, const char* argument = "", const char* part = "") {
  const auto& log = host::CallLog();
  const auto found = std::find_if(log.begin(), log.end(), [&](const host::CallRecord& call) {
    return call.operation == operation && call.Argument(argument).find(part) != std::string::npos;
  });
  EXPECT_NE(found, log.end()) << operation << ' ' << part;
  return static_cast<std::size_t>(found - log.begin());
}

TEST_F(CorrectSetupOnHost, PassesThroughAllStages) {
  EXPECT_EQ(ExecuteCorrectSetup(PipelineMachine::Arguments()), 0u);
  EXPECT_EQ(PipelineMachine::Records(), "restored");
  EXPECT_EQ(PipelineMachine::Renames(), "corrected");
  EXPECT_EQ(PipelineMachine::InstallerRuns().size(), 1u);
  EXPECT_EQ(PipelineMachine::DropDirectories(), 0u);
  EXPECT_EQ(PipelineMachine::ProbeFiles(), 0u);
  ExpectScopeIsClosed();
}

TEST_F(CorrectSetupOnHost, OrderOfTheStages) {
  EXPECT_EQ(ExecuteCorrectSetup(PipelineMachine::Arguments()), 0u);
  const std::vector<std::size_t> positions = {
      PositionOf("DeleteFileW", "path", "\\ZUM\\Data\\"),  // the probe of the self-defence
      PositionOf("lstrcmpiW", "a", "/qn"),                 // the arguments
      PositionOf("CopyFileW", "to", "\\p.msi"),
      PositionOf("WinVerifyTrust", "dwStateAction", "1"),
      PositionOf("WinVerifyTrust", "dwStateAction", "2"),
      PositionOf("RegSetValueExW", "name", "LocalPackage"),
      PositionOf("CreateProcessW"),
      PositionOf("GetExitCodeProcess"),
      PositionOf("CreateTransaction"),
      PositionOf("CommitTransaction"),
      PositionOf("DeleteFileW", "path", "\\p.msi"),
      PositionOf("RemoveDirectoryW")};
  EXPECT_TRUE(std::is_sorted(positions.begin(), positions.end()))
      << testing::PrintToString(positions);
}

// From the drop on, everything that asks the command for the package gets the private copy.
TEST_F(CorrectSetupOnHost, TheCopyIsCheckedAndInstalled) {
  EXPECT_EQ(ExecuteCorrectSetup(PipelineMachine::Arguments()), 0u);
  const std::string copy = host::CallsOf("CopyFileW").at(0).Argument("to");
  EXPECT_TRUE(copy.starts_with("C:\\temp\\{")) << copy;
  EXPECT_EQ(host::CallsOf("WinVerifyTrust").at(0).Argument("pFile.pcwszFilePath"), copy);
  EXPECT_EQ(PipelineMachine::InstallerRuns(),
            Names{"/norestart /i " + copy + " /qn SKIPREBOOTPENDING=1|" +
                  PipelineMachine::kPackageContent});
}

TEST_F(CorrectSetupOnHost, ZeroComesBackThoughNothingIsToCorrect) {
  (void)host::DeleteRegistryTree(u"HKEY_LOCAL_MACHINE\\SYSTEM\\ControlSet001");
  EXPECT_EQ(ExecuteCorrectSetup(PipelineMachine::Arguments()), 0u);
  EXPECT_EQ(host::CallsOf("RegOpenKeyTransactedW").size(), 1u);
  EXPECT_EQ(CountOf(kOwn + "msi package exit with failed code, skip pending"), 0u);
}

TEST_F(CorrectSetupOnHost, OtherExitCodesSkipTheRenamesAndComeBack) {
  for (const std::uint32_t code : {3010u, 1641u, 1603u, 1618u, 1u, 0xC0000005u, 0xFFFFFFFFu}) {
    SCOPED_TRACE(code);
    const InstalledTracer tracer;
    host::ClearCallLog();
    host::SetExitCode(code);
    EXPECT_EQ(ExecuteCorrectSetup(PipelineMachine::Arguments()), code);
    EXPECT_EQ(PipelineMachine::Renames(), "as it was");
    EXPECT_TRUE(host::CallsOf("CreateTransaction").empty());
    EXPECT_EQ(PipelineMachine::DropDirectories(), 0u);
    const tests::TraceRecords records = tracer.Records();
    ASSERT_GE(records.size(), 2u);
    EXPECT_EQ(records[records.size() - 2].first, 700u);
    EXPECT_EQ(records[records.size() - 2].second,
              kOwn + "msi package exit with failed code, skip pending");
    EXPECT_EQ(records.back().second, kOwn + " end");
  }
  EXPECT_EQ(PipelineMachine::Records(), "restored");
}

TEST_F(CorrectSetupOnHost, SelfDefenseIsTestedBeforeTheArguments) {
  std::filesystem::remove_all(host::RootFolder() + "/drive_c/ProgramData/Quorvanta/ZUM");
  ExpectFailure(0xA1780001);
  ExpectUntouched();
  ExpectNothingDropped();
  ExpectScopeIsClosed();
  // Wrong arguments don't show.
  ExpectFailure({}, 0xA1780001);
  EXPECT_TRUE(host::CallsOf("lstrcmpiW").empty());
  std::filesystem::create_directories(host::RootFolder() +
                                      "/drive_c/ProgramData/Quorvanta/ZUM/Data");
}

TEST_F(CorrectSetupOnHost, WithoutAnOperationNothingIsDropped) {
  ExpectFailure({}, 0xA178000A);
  ExpectFailure({u"/unblock", PipelineMachine::kPackage, u"/qn"}, 0xA178000A);
  ExpectFailure({u"/installmsi", PipelineMachine::kPackage}, 0xA1780004);
  ExpectFailure({u"/installmsi", PipelineMachine::kPackage, u"/qn", u"FOO=1"}, 0xA1780009);
  ExpectFailure({u"/uninstallmsp", PipelineMachine::kPackage, u"{1}", u"/qn"}, 0xA178000B);
  ExpectFailure({u"/installmsi", u"", u"/qn"}, 0x80000046);
  ExpectUntouched();
  ExpectNothingDropped();
  ExpectScopeIsClosed();
}

TEST_F(CorrectSetupOnHost, PackageThatCanNotBeCopied) {
  host::FailCall("CopyFileW", 1, 112);
  ExpectFailure(0xA1780008);
  ExpectUntouched();
  EXPECT_TRUE(host::CallsOf("WinVerifyTrust").empty());
  ExpectScopeIsClosed();
}

TEST_F(CorrectSetupOnHost, PackageOfAnotherSigner) {
  host::SetTrustVerdict({.status = 0, .signer = u"Probe Signer GmbH"});
  ExpectFailure(0xA1780007);
  ExpectUntouched();
  EXPECT_TRUE(host::CallsOf("RegOpenKeyExW").empty());
  ExpectScopeIsClosed();
}

TEST_F(CorrectSetupOnHost, RefusedPackageThatTheProviderLeavesOpen) {
  host::SetTrustVerdict(
      {.status = static_cast<std::int32_t>(0x800B0109), .signer = {}, .holdsRefusedFile = true});
  ExpectFailure(0xA1780007);
  ExpectUntouched();
  ExpectScopeIsClosed();
}

TEST_F(CorrectSetupOnHost, RecordsThatCanNotBeRewritten) {
  host::FailCall("RegSetValueExW", 1, 5);
  ExpectFailure(0xA1780003);
  ExpectUntouched();
  ExpectScopeIsClosed();
}

TEST_F(CorrectSetupOnHost, InstallerThatCanNotBeStartedLeavesTheRecordsRestored) {
  std::filesystem::remove(host::RootFolder() + "/drive_c/windows/system32/msiexec.exe");
  ExpectFailure(0xA1780005);
  EXPECT_EQ(PipelineMachine::Records(), "restored");
  EXPECT_EQ(PipelineMachine::Renames(), "as it was");
  EXPECT_EQ(PipelineMachine::DropDirectories(), 0u);
  EXPECT_TRUE(host::CallsOf("CreateTransaction").empty());
  ExpectScopeIsClosed();
}

TEST_F(CorrectSetupOnHost, RenamesThatCanNotBeWrittenFailBehindTheInstaller) {
  host::FailCall("CommitTransaction", 1, 6800, host::Repeat::kForever);
  ExpectFailure(0xA1780006);
  EXPECT_EQ(PipelineMachine::InstallerRuns().size(), 1u);
  EXPECT_EQ(PipelineMachine::Records(), "restored");
  EXPECT_EQ(PipelineMachine::Renames(), "as it was");
  EXPECT_EQ(PipelineMachine::DropDirectories(), 0u);
  EXPECT_EQ(host::CallsOf("CommitTransaction").size(), 301u);
  ExpectScopeIsClosed();
}

// A package's directory that resists shows when its removal comes: behind all stages, and inside
// the scope.
class ResistingDrop : public CorrectSetupOnHost {
 protected:
  static void Resist() { host::FailCall("RemoveDirectoryW", 1, 32, host::Repeat::kForever); }
  // The records of the eleven tries and of their end stand between that one and the scope's end.
  void ExpectRemovalBehind(const std::string& start) const {
    ExpectScopeIsClosed();
    const Names texts = Texts();
    const auto isRemoval = [](const std::string& text) {
      return text.starts_with(
          "setup\t[correct_setup::ScopedRemoveDirectory::~ScopedRemoveDirectory] ");
    };
    const auto last = std::find_if(texts.rbegin(), texts.rend(),
                                   [&](const auto& text) { return text.starts_with(start); });
    const auto removal = std::find_if(texts.rbegin(), texts.rend(), isRemoval);
    ASSERT_NE(last, texts.rend()) << start;
    ASSERT_NE(removal, texts.rend());
    EXPECT_EQ(std::count_if(texts.begin(), texts.end(), isRemoval), 1);
    EXPECT_EQ(removal - texts.rbegin(), 1) << "right before the end of the scope";
    EXPECT_GT(last - texts.rbegin(), removal - texts.rbegin());
    // Ten repeats with two records each and the last failure lie between.
    EXPECT_EQ(last - removal, 10 * 2 + 1 + 1);
    EXPECT_EQ(PipelineMachine::DropDirectories(), 1u);
  }
};

TEST_F(ResistingDrop, DoesNotChangeTheOutcome) {
  Resist();
  EXPECT_EQ(ExecuteCorrectSetup(PipelineMachine::Arguments()), 0u);
  EXPECT_EQ(PipelineMachine::Renames(), "corrected");
  ExpectRemovalBehind("setup\t[correct_setup::detail::TryCorrectPendingOperations]  end");
}

TEST_F(ResistingDrop, BehindAnExitCodeOfTheInstaller) {
  Resist();
  host::SetExitCode(3010);
  EXPECT_EQ(ExecuteCorrectSetup(PipelineMachine::Arguments()), 3010u);
  ExpectRemovalBehind(kOwn + "msi package exit with failed code, skip pending");
}

TEST_F(ResistingDrop, BehindAFailureOfTheSignature) {
  Resist();
  host::SetTrustVerdict({});
  ExpectFailure(0xA1780007);
  ExpectRemovalBehind("setup\t[correct_setup::detail::CheckVerisignSignature] ");
}

TEST_F(ResistingDrop, BehindAFailureOfTheRewrite) {
  Resist();
  host::FailCall("RegSetValueExW", 1, 5);
  ExpectFailure(0xA1780003);
  ExpectRemovalBehind("setup\t[correct_setup::detail::DisableProtectiveMeasuresUpgrade]  end");
}

TEST_F(ResistingDrop, BehindAFailureOfTheLaunch) {
  Resist();
  host::FailCall("CreateProcessW", 1, 740);
  ExpectFailure(0xA1780005);
  ExpectRemovalBehind("setup\t[correct_setup::detail::LaunchMsiPackage]  end");
}

TEST_F(ResistingDrop, BehindAFailureOfTheRenames) {
  Resist();
  host::FailCall("CommitTransaction", 1, 6800, host::Repeat::kForever);
  ExpectFailure(0xA1780006);
  ExpectRemovalBehind("setup\t[correct_setup::detail::TryCorrectPendingOperations]  end");
}

// Nothing is quoted, so a directory for temporary files with a blank in its path ends the package's
// name for the installer in the middle: settled so, and for the caller to rule out. What is checked
// and what is installed are then two files, with no race between them.
TEST_F(CorrectSetupOnHost, BlankInTheTemporaryPathNamesAnotherFileToTheInstaller) {
  const std::filesystem::path folder = host::RootFolder() + "/drive_c/t";
  std::filesystem::create_directories(folder / "evil.msi EULA=");
  ::setenv("TMP", "C:\\t\\evil.msi EULA=", 1);
  EXPECT_EQ(ExecuteCorrectSetup(PipelineMachine::Arguments()), 0u);
  const std::string checked = host::CallsOf("WinVerifyTrust").at(0).Argument("pFile.pcwszFilePath");
  EXPECT_TRUE(checked.starts_with("C:\\t\\evil.msi EULA=\\{")) << checked;
  EXPECT_EQ(PipelineMachine::InstallerRuns(),
            Names{"/norestart /i " + checked + " /qn SKIPREBOOTPENDING=1|"})
      << "the package that the installer reads ends at the first blank: C:\\t\\evil.msi";
  std::filesystem::remove_all(folder);
}

// The copy has the package's attributes, and a read-only file isn't deleted.
TEST_F(CorrectSetupOnHost, ReadOnlyPackageLeavesItsCopyBehind) {
  const std::filesystem::path package = host::RootFolder() + "/drive_c/pkg/p.msi";
  std::filesystem::permissions(package, std::filesystem::perms::owner_read);
  EXPECT_EQ(ExecuteCorrectSetup(PipelineMachine::Arguments()), 0u);
  EXPECT_EQ(PipelineMachine::DropDirectories(), 1u);
  EXPECT_EQ(ExecuteCorrectSetup(PipelineMachine::Arguments()), 0u);
  EXPECT_EQ(PipelineMachine::DropDirectories(), 2u);
  EXPECT_EQ(CountOf("setup\t[correct_setup::helpers::TryExecuteWithRepeat] try repeat execution: "
                    "count 10:10"),
            2u);
}

TEST_F(CorrectSetupOnHost, PackageOfTheUserStays) {
  EXPECT_EQ(ExecuteCorrectSetup(PipelineMachine::Arguments()), 0u);
  EXPECT_EQ(tests::ReadAll(tests::ToLocal(PipelineMachine::kPackage)),
            PipelineMachine::kPackageContent);
}

}  // namespace
