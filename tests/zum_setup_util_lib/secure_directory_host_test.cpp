// The drop directory's security descriptor byte for byte, and each call that can fail on the way.
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <new>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "oru/rtl/exception.h"
#include "platform/util/windows/system_error.h"
#include "tests/support/allocation_faults.h"
#include "tests/support/directory_tree.h"
#include "winapi/host/control.h"
#include "winapi/security.h"
#include "zum_setup_util_lib/filesystem_actions.h"
#include "zum_setup_util_lib/secure_directory.h"

namespace actions = correct_setup::FileSystemActions;
namespace host = winapi::host;

namespace {

using Bytes = std::vector<std::uint8_t>;
using tests::DirectoryTree;

// S-1-5-21-1-2-3-1001 at the medium level, S-1-16-8192.
const Bytes kUser = {1, 5, 0, 0, 0, 0, 0, 5, 21, 0, 0,    0, 1, 0,
                     0, 0, 2, 0, 0, 0, 3, 0, 0,  0, 0xE9, 3, 0, 0};
const Bytes kLabel = {1, 1, 0, 0, 0, 0, 0, 16, 0, 0x20, 0, 0};

// 32, 12 for the system and 28 for the user make 72; what the two entries leave is zero.
const Bytes kDacl = {2, 0, 72, 0, 2, 0, 0, 0,                    // revision, size, entries
                     0, 0, 20, 0, 0, 0, 0, 0x10,                 // allowed, no flags, all
                     1, 1, 0,  0, 0, 0, 0, 5,    18,   0, 0, 0,  // S-1-5-18
                     0, 0, 36, 0, 0, 0, 0, 0x10,                 // the same for the user
                     1, 5, 0,  0, 0, 0, 0, 5,    21,   0, 0, 0, 1, 0, 0, 0,  //
                     2, 0, 0,  0, 3, 0, 0, 0,    0xE9, 3, 0, 0,              //
                     0, 0, 0,  0, 0, 0, 0, 0};
const Bytes kSacl = {2,    0, 28, 0, 1, 0, 0, 0,  //
                     0x11, 0, 20, 0, 3, 0, 0, 0,  // label, no flags, no write or read up
                     1,    1, 0,  0, 0, 0, 0, 16, 0, 0x20, 0, 0};

constexpr std::uint16_t kDaclPresent = 0x4;
constexpr std::uint16_t kSaclPresent = 0x10;

void SetToken(bool withLabel) {
  host::SetToken({kUser, withLabel ? std::optional(kLabel) : std::nullopt});
}

TEST(SecureDirectory, DescriptorWithALabel) {
  const DirectoryTree tree;
  SetToken(true);
  actions::CreateSecureDirectory(tree.Windows(u"drop"));
  const auto descriptor = host::DescriptorOf(tree.Windows(u"drop"));
  ASSERT_TRUE(descriptor.has_value());
  EXPECT_EQ(descriptor->control, kDaclPresent | kSaclPresent);
  EXPECT_EQ(descriptor->owner, std::nullopt);
  EXPECT_EQ(descriptor->group, std::nullopt);
  EXPECT_EQ(descriptor->dacl, kDacl);
  EXPECT_EQ(descriptor->sacl, kSacl);
}

TEST(SecureDirectory, DescriptorWithoutALabel) {
  const DirectoryTree tree;
  SetToken(false);
  actions::CreateSecureDirectory(tree.Windows(u"drop"));
  const auto descriptor = host::DescriptorOf(tree.Windows(u"drop"));
  ASSERT_TRUE(descriptor.has_value());
  EXPECT_EQ(descriptor->control, kDaclPresent);
  EXPECT_EQ(descriptor->owner, std::nullopt);
  EXPECT_EQ(descriptor->group, std::nullopt);
  EXPECT_EQ(descriptor->dacl, kDacl);
  EXPECT_EQ(descriptor->sacl, std::nullopt);
}

// The size is that of Windows' structure, in this world too.
TEST(SecureDirectory, AttributesHaveTheSystemsSizeAndLetNobodyInherit) {
  const DirectoryTree tree;
  host::StartCallLog();
  host::ClearCallLog();
  actions::CreateSecureDirectory(tree.Windows(u"drop"));
  const std::vector<host::CallRecord> calls = host::CallsOf("CreateDirectoryW");
  ASSERT_EQ(calls.size(), 1u);
  EXPECT_EQ(calls[0].Argument("security.nLength"), "12");
  EXPECT_EQ(calls[0].Argument("security.bInheritHandle"), "0");
}

// A longest identifier makes the largest list: 32, 12 and 68.
TEST(SecureDirectory, ListIsAsLargeAsTheUsersIdentifierAsksFor) {
  const DirectoryTree tree;
  host::SetToken({host::MakeSid(5, std::vector<winapi::Dword>(15, 7)), std::nullopt});
  actions::CreateSecureDirectory(tree.Windows(u"drop"));
  const auto descriptor = host::DescriptorOf(tree.Windows(u"drop"));
  ASSERT_TRUE(descriptor.has_value() && descriptor->dacl.has_value());
  EXPECT_EQ(descriptor->dacl->size(), 112u);
}

TEST(SecureDirectory, ExistingDirectoryKeepsItsDescriptor) {
  const DirectoryTree tree;
  SetToken(false);
  actions::CreateSecureDirectory(tree.Windows(u"drop"));
  host::SetToken({host::MakeSid(5, {21, 7, 7, 7, 500}), kLabel});
  EXPECT_THROW(actions::CreateSecureDirectory(tree.Windows(u"drop")),
               windows_helpers::WindowsErrorException);
  EXPECT_EQ(
      host::DescriptorOf(tree.Windows(u"drop")),
      (host::CapturedDescriptor{kDaclPresent, std::nullopt, std::nullopt, kDacl, std::nullopt}));
}

TEST(SecureDirectory, PlainDirectoriesHaveNoDescriptor) {
  const DirectoryTree tree;
  actions::CreateDirectoryT(tree.Windows(u"plain"));
  EXPECT_EQ(host::DescriptorOf(tree.Windows(u"plain")), std::nullopt);
}

// The calls in their order.
TEST(SecureDirectory, CallsStandInOrder) {
  const DirectoryTree tree;
  SetToken(true);
  host::StartCallLog();
  host::ClearCallLog();
  actions::CreateSecureDirectory(tree.Windows(u"drop"));
  std::vector<std::string> calls;
  for (const host::CallRecord& call : host::CallLog()) {
    // The first trace statement makes the process's tracer.
    if (call.operation.find("Heap") != std::string::npos) continue;
    if (call.operation == "GetLengthSid" || call.operation.ends_with("LastError")) continue;
    calls.push_back(call.operation);
  }
  EXPECT_EQ(calls,
            (std::vector<std::string>{
                "GetCurrentProcess", "OpenProcessToken", "GetTokenInformation",
                "GetTokenInformation", "GetTokenInformation", "GetTokenInformation",
                "CreateWellKnownSid", "InitializeAcl", "AddAccessAllowedAce", "AddAccessAllowedAce",
                "GetModuleHandleA", "GetProcAddress", "InitializeAcl", "AddMandatoryAce",
                "InitializeSecurityDescriptor", "SetSecurityDescriptorDacl",
                "SetSecurityDescriptorSacl", "CreateDirectoryW", "CloseHandle"}));
}

std::vector<std::string> ArgumentsOf(std::string_view operation, std::string_view argument) {
  std::vector<std::string> values;
  for (const host::CallRecord& call : host::CallsOf(operation)) {
    values.push_back(call.Argument(argument));
  }
  return values;
}

// What each call is given, with the user's identifier of 28 bytes and the label's of 12.
TEST(SecureDirectory, CallsAreGivenWhatTheyShouldBe) {
  using Written = std::vector<std::string>;
  const DirectoryTree tree;
  SetToken(true);
  host::StartCallLog();
  host::ClearCallLog();
  actions::CreateSecureDirectory(tree.Windows(u"drop"));
  EXPECT_EQ(ArgumentsOf("OpenProcessToken", "access"), Written{"0x8"});
  EXPECT_EQ(ArgumentsOf("GetTokenInformation", "informationClass"),
            (Written{"1", "1", "25", "25"}));
  EXPECT_EQ(ArgumentsOf("GetTokenInformation", "length"),
            (Written{"0", std::to_string(sizeof(winapi::TokenUser) + 28), "0",
                     std::to_string(sizeof(winapi::TokenMandatoryLabel) + 12)}));
  EXPECT_EQ(ArgumentsOf("CreateWellKnownSid", "type"), Written{"22"});
  EXPECT_EQ(ArgumentsOf("CreateWellKnownSid", "domain"), Written{"0x0"});
  EXPECT_EQ(ArgumentsOf("CreateWellKnownSid", "size"), Written{"12"});
  EXPECT_EQ(ArgumentsOf("InitializeAcl", "size"), (Written{"72", "28"}));
  EXPECT_EQ(ArgumentsOf("InitializeAcl", "revision"), (Written{"2", "2"}));
  EXPECT_EQ(ArgumentsOf("AddAccessAllowedAce", "revision"), (Written{"2", "2"}));
  EXPECT_EQ(ArgumentsOf("AddAccessAllowedAce", "mask"), (Written{"0x10000000", "0x10000000"}));
  EXPECT_EQ(ArgumentsOf("GetModuleHandleA", "name"), Written{"advapi32"});
  EXPECT_EQ(ArgumentsOf("GetProcAddress", "name"), Written{"AddMandatoryAce"});
  EXPECT_EQ(ArgumentsOf("AddMandatoryAce", "revision"), Written{"2"});
  EXPECT_EQ(ArgumentsOf("AddMandatoryAce", "aceFlags"), Written{"0x0"});
  EXPECT_EQ(ArgumentsOf("InitializeSecurityDescriptor", "revision"), Written{"1"});
  for (const char* operation : {"SetSecurityDescriptorDacl", "SetSecurityDescriptorSacl"}) {
    EXPECT_EQ(ArgumentsOf(operation, "present"), Written{"1"}) << operation;
    EXPECT_EQ(ArgumentsOf(operation, "defaulted"), Written{"0"}) << operation;
  }
}

TEST(SecureDirectory, EmptyPathFailsBeforeAnyTokenIsOpened) {
  host::StartCallLog();
  host::ClearCallLog();
  EXPECT_THROW(actions::CreateSecureDirectory(u""), oru::CheckResultFailedException);
  EXPECT_TRUE(host::CallsOf("OpenProcessToken").empty());
}

struct FailedCall {
  const char* name;
  const char* operation;
  std::size_t nth;
  std::u16string expression;
};

void PrintTo(const FailedCall& row, std::ostream* out) { *out << row.name; }

class SecureDirectoryFailures : public testing::TestWithParam<FailedCall> {};

TEST_P(SecureDirectoryFailures, NameTheirExpression) {
  const DirectoryTree tree;
  SetToken(true);
  const std::size_t handles = host::Live().handles;
  host::ClearFaults();
  host::FailCall(GetParam().operation, GetParam().nth, 1450);
  try {
    actions::CreateSecureDirectory(tree.Windows(u"drop"));
    FAIL() << "it returned";
  } catch (const windows_helpers::WindowsErrorException& exception) {
    EXPECT_EQ(exception.systemError, 1450u);
    EXPECT_EQ(static_cast<std::uint32_t>(exception.Code()), 0x8000006Cu);
    EXPECT_STREQ(exception.File(), "zum_setup_util_lib/filesystem_actions");
    EXPECT_GT(exception.Line(), 0u);
    const std::u16string_view message = exception.Message().view();
    EXPECT_TRUE(message.starts_with(u"System error: 0x000005aa. "));
    EXPECT_TRUE(message.ends_with(u". Expression: '" + GetParam().expression + u"'"))
        << std::string(message.begin(), message.end());
  }
  EXPECT_FALSE(tree.Has(u"drop"));
  EXPECT_EQ(host::Live().handles, handles);
  EXPECT_EQ(host::InjectedFaultCount(), 1u);
}

INSTANTIATE_TEST_SUITE_P(
    EachCall, SecureDirectoryFailures,
    testing::Values(
        FailedCall{"OpenProcessToken", "OpenProcessToken", 1,
                   u"OpenProcessToken(GetCurrentProcess(), (0x0008), &nativeProcessToken)"},
        FailedCall{"UserSize", "GetTokenInformation", 1, u"processUserSidSize"},
        FailedCall{"User", "GetTokenInformation", 2,
                   u"GetTokenInformation( processToken, TokenUser, processUserSidBuffer.data(), "
                   u"processUserSidSize, &processUserSidSize)"},
        FailedCall{"Label", "GetTokenInformation", 4,
                   u"GetTokenInformation( processToken, TokenIntegrityLevel, "
                   u"processTokenMandatoryLabelBuffer.data(), processTokenMandatoryLabelSize, "
                   u"&processTokenMandatoryLabelSize)"},
        FailedCall{"SystemSid", "CreateWellKnownSid", 1,
                   u"CreateWellKnownSid(WinLocalSystemSid, nullptr, &systemSid, "
                   u"&usedBytesForSystemSid)"},
        FailedCall{"Dacl", "InitializeAcl", 1, u"InitializeAcl(dacl, daclSize, (2))"},
        FailedCall{"SystemEntry", "AddAccessAllowedAce", 1,
                   u"AddAccessAllowedAce(dacl, (2), (0x10000000L), &systemSid)"},
        FailedCall{"UserEntry", "AddAccessAllowedAce", 2,
                   u"AddAccessAllowedAce(dacl, (2), (0x10000000L), tokenUser->User.Sid)"},
        FailedCall{"Lookup", "GetProcAddress", 1, u"fnAddMandatoryAce"},
        FailedCall{"Sacl", "InitializeAcl", 2, u"InitializeAcl(sacl, saclSize, (2))"},
        FailedCall{"LabelEntry", "AddMandatoryAce", 1,
                   u"fnAddMandatoryAce( sacl, (2), 0, 0x1 | 0x2, tokenMandatoryLabel->Label.Sid)"},
        FailedCall{"Descriptor", "InitializeSecurityDescriptor", 1,
                   u"InitializeSecurityDescriptor(&securityDescriptor, (1))"},
        FailedCall{"SetDacl", "SetSecurityDescriptorDacl", 1,
                   u"SetSecurityDescriptorDacl(&securityDescriptor, 1, dacl, 0)"},
        FailedCall{"SetSacl", "SetSecurityDescriptorSacl", 1,
                   u"SetSecurityDescriptorSacl(&securityDescriptor, 1, sacl, 0)"},
        FailedCall{"CreateDirectory", "CreateDirectoryW", 1,
                   u"CreateDirectoryW(directory.c_str(), &securityAttributes)"}),
    [](const auto& tested) { return tested.param.name; });

void ExpectNoLabelFunction(std::uint32_t error) {
  const DirectoryTree tree;
  SetToken(true);
  try {
    actions::CreateSecureDirectory(tree.Windows(u"drop"));
    FAIL() << "it returned";
  } catch (const windows_helpers::WindowsErrorException& exception) {
    EXPECT_EQ(exception.systemError, error);
    EXPECT_TRUE(exception.Message().view().ends_with(u"Expression: 'fnAddMandatoryAce'"));
  }
  EXPECT_FALSE(tree.Has(u"drop"));
}

TEST(SecureDirectory, LabelOnASystemWithoutLabelsFails) {
  host::HideProcedure("AddMandatoryAce");
  ExpectNoLabelFunction(127);
  host::ShowAll();
}

// The function is then looked for in the program, which no module stands for, and isn't there.
TEST(SecureDirectory, LabelWithoutTheModuleFails) {
  host::HideModule("advapi32.dll");
  ExpectNoLabelFunction(127);
  host::ShowAll();
}

TEST(SecureDirectory, NoLabelNeedsNoFunction) {
  const DirectoryTree tree;
  SetToken(false);
  host::HideProcedure("AddMandatoryAce");
  actions::CreateSecureDirectory(tree.Windows(u"drop"));
  host::ShowAll();
  EXPECT_TRUE(tree.Has(u"drop"));
}

// The size's own call may fail: what counts is the size.
TEST(SecureDirectory, FailedQuestionForTheLabelMeansNoLabel) {
  const DirectoryTree tree;
  SetToken(true);
  host::FailCall("GetTokenInformation", 3, 5);
  actions::CreateSecureDirectory(tree.Windows(u"drop"));
  host::ClearFaults();
  const auto descriptor = host::DescriptorOf(tree.Windows(u"drop"));
  ASSERT_TRUE(descriptor.has_value());
  EXPECT_EQ(descriptor->control, kDaclPresent);
}

TEST(SecureDirectory, TokenIsClosedOnSuccess) {
  const DirectoryTree tree;
  const std::size_t handles = host::Live().handles;
  actions::CreateSecureDirectory(tree.Windows(u"drop"));
  EXPECT_EQ(host::Live().handles, handles);
}

}  // namespace
