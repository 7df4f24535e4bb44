// The token, the identifiers and the descriptors of the host, and its other settable sources.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "winapi/errors.h"
#include "winapi/files.h"
#include "winapi/guid.h"
#include "winapi/handles.h"
#include "winapi/host/control.h"
#include "winapi/host/root.h"
#include "winapi/modules.h"
#include "winapi/security.h"
#include "winapi/strings.h"

namespace winapi {
namespace {

namespace fs = std::filesystem;

using Bytes = std::vector<std::uint8_t>;

const Bytes kSystemSid = {1, 1, 0, 0, 0, 0, 0, 5, 18, 0, 0, 0};

Handle OpenToken(Dword access = kTokenQuery) {
  Handle token = nullptr;
  EXPECT_NE(OpenProcessToken(GetCurrentProcess(), access, &token), 0);
  return token;
}

Bytes Information(Handle token, int informationClass) {
  Bytes buffer(200);
  Dword needed = 0;
  EXPECT_NE(GetTokenInformation(token, informationClass, buffer.data(), 200, &needed), 0);
  buffer.resize(needed);
  return Bytes(buffer.begin() + sizeof(SidAndAttributes), buffer.end());
}

TEST(HostToken, IsCountedAsAHandle) {
  const Handle token = OpenToken();
  EXPECT_EQ(host::Live().handles, 1U);
  EXPECT_NE(CloseHandle(token), 0);
  EXPECT_EQ(host::Live().handles, 0U);
}

TEST(HostToken, StartsWithAUserAndTheHighLevel) {
  const Handle token = OpenToken();
  EXPECT_EQ(Information(token, kTokenUserClass),
            (Bytes{1, 5, 0, 0, 0, 0, 0, 5, 21, 0, 0,    0, 0, 0,
                   0, 0, 0, 0, 0, 0, 0, 0, 0,  0, 0xE8, 3, 0, 0}));
  EXPECT_EQ(Information(token, kTokenIntegrityLevelClass),
            (Bytes{1, 1, 0, 0, 0, 0, 0, 16, 0, 0x30, 0, 0}));
  EXPECT_NE(CloseHandle(token), 0);
}

TEST(HostToken, CanBeSet) {
  host::SetToken({.user = host::MakeSid(5, {18}), .integrityLevel = host::MakeSid(16, {0x4000})});
  const Handle token = OpenToken();
  EXPECT_EQ(Information(token, kTokenUserClass), kSystemSid);
  EXPECT_EQ(Information(token, kTokenIntegrityLevelClass),
            (Bytes{1, 1, 0, 0, 0, 0, 0, 16, 0, 0x40, 0, 0}));
  EXPECT_NE(CloseHandle(token), 0);
}

TEST(HostToken, WithoutALabelNeedsNoRoomForOne) {
  host::SetToken({.user = host::MakeSid(5, {18}), .integrityLevel = std::nullopt});
  const Handle token = OpenToken();
  Dword needed = 99;
  EXPECT_EQ(GetTokenInformation(token, kTokenIntegrityLevelClass, nullptr, 0, &needed), 0);
  EXPECT_EQ(GetLastError(), kErrorInvalidParameter);
  EXPECT_EQ(needed, 0U);
  EXPECT_NE(CloseHandle(token), 0);
}

TEST(HostToken, Refusals) {
  Dword needed = 0;
  const Handle blind = OpenToken(/*access=*/0x2);
  EXPECT_EQ(GetTokenInformation(blind, kTokenUserClass, nullptr, 0, &needed), 0);
  EXPECT_EQ(GetLastError(), kErrorAccessDenied);
  EXPECT_EQ(GetTokenInformation(blind, 99, nullptr, 0, &needed), 0);
  EXPECT_NE(CloseHandle(blind), 0);
  const Handle token = OpenToken();
  EXPECT_EQ(GetTokenInformation(token, 99, nullptr, 0, &needed), 0);
  EXPECT_EQ(GetLastError(), kErrorInvalidParameter);
  EXPECT_EQ(GetTokenInformation(token, kTokenUserClass, nullptr, 0, nullptr), 0);
  EXPECT_EQ(GetLastError(), kErrorNoAccess);
  EXPECT_NE(CloseHandle(token), 0);
  const Handle other = host::MakeWaitable(true);
  EXPECT_EQ(GetTokenInformation(other, kTokenUserClass, nullptr, 0, &needed), 0);
  EXPECT_EQ(GetLastError(), kErrorInvalidHandle) << "another kind of object";
  EXPECT_EQ(OpenProcessToken(other, kTokenQuery, nullptr), 0);
  EXPECT_EQ(GetLastError(), kErrorInvalidHandle);
  EXPECT_EQ(OpenProcessToken(GetCurrentProcess(), kTokenQuery, nullptr), 0);
  EXPECT_EQ(GetLastError(), kErrorNoAccess);
  EXPECT_NE(CloseHandle(other), 0);
}

TEST(HostSid, OnlyTheLocalSystemIsKnown) {
  Bytes sid(12);
  Dword size = 12;
  EXPECT_EQ(CreateWellKnownSid(26, nullptr, sid.data(), &size), 0);
  EXPECT_EQ(GetLastError(), kErrorInvalidParameter);
  EXPECT_EQ(CreateWellKnownSid(kWinLocalSystemSid, nullptr, sid.data(), nullptr), 0);
  EXPECT_EQ(GetLastError(), kErrorInvalidParameter);
  EXPECT_EQ(CreateWellKnownSid(kWinLocalSystemSid, nullptr, nullptr, &size), 0);
  EXPECT_EQ(GetLastError(), kErrorInsufficientBuffer);
}

TEST(HostSid, OfMoreThanFifteenPartsIsNone) {
  EXPECT_EQ(GetLengthSid(host::MakeSid(5, std::vector<Dword>(15)).data()), 68U);
  EXPECT_EQ(GetLengthSid(host::MakeSid(5, std::vector<Dword>(16)).data()), 0U);
  EXPECT_EQ(GetLengthSid(nullptr), 0U);
}

// Lists and a descriptor as the product makes them.
class HostDescriptor : public ::testing::Test {
 protected:
  HostDescriptor() : m_dacl(28 + 8), m_sacl(28) {
    fs::create_directories(DriveC());
    EXPECT_NE(InitializeSecurityDescriptor(&m_descriptor, 1), 0);
    EXPECT_NE(InitializeAcl(Dacl(), 36, 2), 0);
    EXPECT_NE(AddAccessAllowedAce(Dacl(), 2, kGenericAll, Sid()), 0);
    EXPECT_NE(InitializeAcl(Sacl(), 28, 2), 0);
    const auto addMandatoryAce = reinterpret_cast<AddMandatoryAceFunction>(
        GetProcAddress(GetModuleHandleA("advapi32"), "AddMandatoryAce"));
    EXPECT_NE(addMandatoryAce(Sacl(), 2, 0, 3, m_label.data()), 0);
  }

  static fs::path DriveC() { return host::DriveCFolder(); }
  Acl* Dacl() { return reinterpret_cast<Acl*>(m_dacl.data()); }
  Acl* Sacl() { return reinterpret_cast<Acl*>(m_sacl.data()); }
  void* Sid() { return m_sid.data(); }

  Error Create(const char16_t* path) {
    const SecurityAttributes security{kSecurityAttributesSize, &m_descriptor, 0};
    SetLastError(0xABCD);
    return CreateDirectoryW(path, &security) != 0 ? 0 : GetLastError();
  }
  static unsigned ModeOf(const fs::path& path) {
    struct stat data = {};
    EXPECT_EQ(::stat(path.c_str(), &data), 0);
    return data.st_mode & 07777;
  }

  Bytes m_sid = kSystemSid;
  Bytes m_label = host::MakeSid(16, {0x3000});
  Bytes m_dacl;
  Bytes m_sacl;
  SecurityDescriptor m_descriptor{};
};

TEST_F(HostDescriptor, IsKeptByteForByte) {
  ASSERT_NE(SetSecurityDescriptorDacl(&m_descriptor, 1, Dacl(), 0), 0);
  ASSERT_NE(SetSecurityDescriptorSacl(&m_descriptor, 1, Sacl(), 0), 0);
  EXPECT_EQ(Create(u"C:\\made"), 0U);
  EXPECT_EQ(ModeOf(DriveC() / "made"), 0700U);
  const auto kept = host::DescriptorOf(u"c:\\MADE\\");
  ASSERT_TRUE(kept.has_value());
  EXPECT_EQ(kept->control, 0x14);
  EXPECT_EQ(kept->owner, std::nullopt);
  EXPECT_EQ(kept->group, std::nullopt);
  EXPECT_EQ(kept->dacl, (Bytes{2, 0, 36, 0, 1, 0, 0, 0,     // the head
                               0, 0, 20, 0, 0, 0, 0, 0x10,  // the entry
                               1, 1, 0,  0, 0, 0, 0, 5,    18, 0,
                               0, 0, 0,  0, 0, 0, 0, 0,    0,  0}));  // what isn't used
  EXPECT_EQ(kept->sacl, (Bytes{2, 0, 28, 0, 1, 0, 0, 0, 0x11, 0,  20, 0,    3, 0,
                               0, 0, 1,  1, 0, 0, 0, 0, 0,    16, 0,  0x30, 0, 0}));
}

TEST_F(HostDescriptor, WithoutASystemList) {
  ASSERT_NE(SetSecurityDescriptorDacl(&m_descriptor, 1, Dacl(), 0), 0);
  EXPECT_EQ(Create(u"C:\\made"), 0U);
  const auto kept = host::DescriptorOf(u"C:\\made");
  ASSERT_TRUE(kept.has_value());
  EXPECT_EQ(kept->control, 0x4);
  EXPECT_TRUE(kept->dacl.has_value());
  EXPECT_EQ(kept->sacl, std::nullopt);
}

TEST_F(HostDescriptor, WithOwnerAndGroupAndANullList) {
  m_descriptor.Owner = m_sid.data();
  m_descriptor.Group = m_label.data();
  ASSERT_NE(SetSecurityDescriptorDacl(&m_descriptor, 1, nullptr, 0), 0);
  EXPECT_EQ(Create(u"C:\\made"), 0U);
  const auto kept = host::DescriptorOf(u"C:\\made");
  ASSERT_TRUE(kept.has_value());
  EXPECT_EQ(kept->owner, m_sid);
  EXPECT_EQ(kept->group, m_label);
  EXPECT_EQ(kept->control, 0x4);
  EXPECT_EQ(kept->dacl, std::nullopt);
}

TEST_F(HostDescriptor, OutlivesItsDirectory) {
  ASSERT_NE(SetSecurityDescriptorDacl(&m_descriptor, 1, Dacl(), 0), 0);
  EXPECT_EQ(Create(u"C:\\made"), 0U);
  EXPECT_NE(RemoveDirectoryW(u"C:\\made"), 0);
  EXPECT_TRUE(host::DescriptorOf(u"C:\\made").has_value());
  EXPECT_NE(CreateDirectoryW(u"C:\\made", nullptr), 0);
  EXPECT_EQ(host::DescriptorOf(u"C:\\made"), std::nullopt) << "this one was given none";
  EXPECT_NE(ModeOf(DriveC() / "made"), 0700U);
  EXPECT_EQ(host::DescriptorOf(u"C:\\none"), std::nullopt);
  EXPECT_EQ(host::DescriptorOf(u""), std::nullopt);
}

TEST_F(HostDescriptor, OfAnExistingDirectoryStays) {
  ASSERT_NE(SetSecurityDescriptorDacl(&m_descriptor, 1, Dacl(), 0), 0);
  EXPECT_EQ(Create(u"C:\\made"), 0U);
  const auto before = host::DescriptorOf(u"C:\\made");
  ASSERT_NE(SetSecurityDescriptorSacl(&m_descriptor, 1, Sacl(), 0), 0);
  EXPECT_EQ(Create(u"C:\\made"), kErrorAlreadyExists);
  EXPECT_EQ(host::DescriptorOf(u"C:\\made"), before);
}

TEST_F(HostDescriptor, DamagedOnesAreRefused) {
  struct Case {
    const char* name;
    std::function<void()> damage;
    Error error;
  };
  const Case cases[] = {
      {"Revision", [this] { m_descriptor.Revision = 2; }, 1305},
      {"SelfRelative", [this] { m_descriptor.Control |= 0x8000; }, 1338},
      {"Owner", [this] { m_descriptor.Owner = m_dacl.data(); }, 1337},
      {"ListRevision", [this] { m_dacl[0] = 1; }, 1336},
      {"ListRevisionAbove", [this] { m_dacl[0] = 5; }, 1336},
      {"ListSize", [this] { m_dacl[2] = 7; }, 1336},
      {"ListTooSmallForItsEntry", [this] { m_dacl[2] = 27; }, 1336},
      {"MoreEntriesThanRoom", [this] { m_dacl[4] = 2; }, 1336},
      {"EntrySize", [this] { m_dacl[10] = 7; }, 1336},
      {"SystemList", [this] { m_sacl[0] = 0; }, 1336},
  };
  for (const Case& c : cases) {
    const Bytes dacl = m_dacl;
    const Bytes sacl = m_sacl;
    m_descriptor = {};
    ASSERT_NE(InitializeSecurityDescriptor(&m_descriptor, 1), 0);
    ASSERT_NE(SetSecurityDescriptorDacl(&m_descriptor, 1, Dacl(), 0), 0);
    ASSERT_NE(SetSecurityDescriptorSacl(&m_descriptor, 1, Sacl(), 0), 0);
    c.damage();
    EXPECT_EQ(Create(u"C:\\made"), c.error) << c.name;
    EXPECT_FALSE(fs::exists(DriveC() / "made")) << c.name;
    m_dacl = dacl;
    m_sacl = sacl;
  }
}

TEST_F(HostDescriptor, ListsCanBeTakenOutAgain) {
  ASSERT_NE(SetSecurityDescriptorDacl(&m_descriptor, 1, Dacl(), 0), 0);
  ASSERT_NE(SetSecurityDescriptorSacl(&m_descriptor, 1, Sacl(), 0), 0);
  ASSERT_NE(SetSecurityDescriptorDacl(&m_descriptor, 0, nullptr, 0), 0);
  EXPECT_EQ(m_descriptor.Control, 0x10);
  ASSERT_NE(SetSecurityDescriptorSacl(&m_descriptor, 0, nullptr, 0), 0);
  EXPECT_EQ(m_descriptor.Control, 0);
}

TEST(HostAcl, EntriesOfAWrongRevisionOrInADamagedList) {
  Bytes list(64);
  Bytes sid = kSystemSid;
  Acl* const acl = reinterpret_cast<Acl*>(list.data());
  ASSERT_NE(InitializeAcl(acl, 64, 2), 0);
  EXPECT_EQ(AddAccessAllowedAce(acl, 1, 1, sid.data()), 0);
  EXPECT_EQ(GetLastError(), kErrorRevisionMismatch);
  EXPECT_EQ(AddAccessAllowedAce(acl, 5, 1, sid.data()), 0);
  EXPECT_EQ(GetLastError(), kErrorRevisionMismatch);
  EXPECT_NE(AddAccessAllowedAce(acl, 4, 1, sid.data()), 0);
  EXPECT_EQ(acl->AclRevision, 4) << "the higher one counts";
  acl->AceCount = 9;
  EXPECT_EQ(AddAccessAllowedAce(acl, 2, 1, sid.data()), 0);
  EXPECT_EQ(GetLastError(), kErrorInvalidAcl);
}

TEST(HostGuid, TheSourceCanBeSet) {
  host::SetGuidSource([](Guid& guid) {
    guid = {1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};
    return 0;
  });
  Guid guid{};
  EXPECT_EQ(CoCreateGuid(&guid), 0);
  EXPECT_EQ(guid.Data1, 1U);
  EXPECT_EQ(guid.Data4[7], 11);
  host::SetGuidSource([](Guid&) { return std::int32_t{-5}; });
  EXPECT_EQ(CoCreateGuid(&guid), -5);
  host::SetGuidSource(nullptr);
  EXPECT_EQ(CoCreateGuid(&guid), 0);
  EXPECT_EQ(guid.Data3 >> 12, 4);
}

TEST(HostGuid, AFaultIsAResult) {
  Guid guid{.Data1 = 7, .Data2 = 0, .Data3 = 0, .Data4 = {}};
  host::FailCall("CoCreateGuid", 1, 5);
  EXPECT_EQ(static_cast<std::uint32_t>(CoCreateGuid(&guid)), 0x80070005U);
  host::FailCall("CoCreateGuid", 1, 0x80004005);
  EXPECT_EQ(static_cast<std::uint32_t>(CoCreateGuid(&guid)), 0x80004005U);
  EXPECT_EQ(guid.Data1, 7U) << "untouched";
  host::ClearFaults();
}

std::u16string TempPath() {
  char16_t buffer[1000];
  const Dword length = GetTempPathW(1000, buffer);
  return std::u16string(buffer, length);
}

TEST(HostPathsOfTheSystem, TheTemporaryDirectoryIsTheUsersOwn) {
  ::unsetenv("TMP");
  ::unsetenv("TEMP");
  const std::u16string path = TempPath();
  EXPECT_TRUE(path.starts_with(u"C:\\users\\"));
  EXPECT_TRUE(path.ends_with(u"\\Temp\\"));
  EXPECT_EQ(GetFileAttributesW(path.c_str()), 0x10U);
}

TEST(HostPathsOfTheSystem, ANewDriveHasTheDirectoriesOfANewSystem) {
  ::unsetenv("TMP");
  ::unsetenv("TEMP");
  fs::remove_all(host::DriveCFolder());
  EXPECT_EQ(GetFileAttributesW(TempPath().c_str()), 0x10U);
  EXPECT_EQ(GetFileAttributesW(u"C:\\Windows\\System32"), 0x10U);
  ASSERT_NE(RemoveDirectoryW(TempPath().c_str()), 0);
  EXPECT_EQ(GetFileAttributesW(TempPath().c_str()), kInvalidFileAttributes) << "it stays removed";
  fs::remove_all(host::DriveCFolder());
}

TEST(HostPathsOfTheSystem, TheTemporaryDirectoryFollowsVariablesThatLieOnC) {
  ::setenv("TMP", (host::DriveCFolder() + "/one").c_str(), 1);
  ::setenv("TEMP", "c:\\two\\", 1);
  EXPECT_EQ(TempPath(), u"C:\\one\\");
  ::setenv("TMP", "/somewhere else", 1);
  EXPECT_EQ(TempPath(), u"c:\\two\\");
  EXPECT_FALSE(fs::exists(host::DriveCFolder() + "/two")) << "naming it doesn't make it";
  ::setenv("TEMP", "two", 1);
  EXPECT_TRUE(TempPath().starts_with(u"C:\\users\\"));
}

// Each operation of files, directories and security fails when it is told to, with its own failure
// value, and changes nothing.
TEST(HostFaultsOfFiles, EachOperationCanFail) {
  fs::create_directories(host::DriveCFolder() + "/folder");
  Bytes memory(100);
  FindData data{};
  SecurityDescriptor descriptor{};
  descriptor.Revision = 1;
  Dword number = 100;
  Handle handle = nullptr;
  Acl* const acl = reinterpret_cast<Acl*>(memory.data());
  ASSERT_NE(InitializeAcl(acl, 100, 2), 0);
  char16_t text[100] = u"untouched";
  const auto addMandatoryAce = reinterpret_cast<AddMandatoryAceFunction>(
      GetProcAddress(GetModuleHandleA("advapi32"), "AddMandatoryAce"));
  Bytes sid = kSystemSid;
  const Bytes memoryBefore = memory;
  const Handle invalid = InvalidHandleValue();
  struct Case {
    const char* operation;
    std::function<bool()> fails;
  };
  const Case cases[] = {
      {"CreateFileW",
       [&] { return CreateFileW(u"C:\\x", 0, 0, nullptr, 1, 0, nullptr) == invalid; }},
      {"CopyFileW", [] { return CopyFileW(u"C:\\x", u"C:\\y", 0) == 0; }},
      {"DeleteFileW", [] { return DeleteFileW(u"C:\\folder") == 0; }},
      {"CreateDirectoryW", [] { return CreateDirectoryW(u"C:\\x", nullptr) == 0; }},
      {"RemoveDirectoryW", [] { return RemoveDirectoryW(u"C:\\folder") == 0; }},
      {"GetFileAttributesW", [] { return GetFileAttributesW(u"C:\\folder") == 0xFFFFFFFF; }},
      {"FindFirstFileExW",
       [&] { return FindFirstFileExW(u"C:\\*", 0, &data, 0, nullptr, 0) == invalid; }},
      {"FindNextFileW", [&] { return FindNextFileW(nullptr, &data) == 0; }},
      {"GetFullPathNameW", [&] { return GetFullPathNameW(u"x", 100, text, nullptr) == 0; }},
      {"GetCurrentDirectoryW", [&] { return GetCurrentDirectoryW(100, text) == 0; }},
      {"GetTempPathW", [&] { return GetTempPathW(100, text) == 0; }},
      {"GetSystemDirectoryW", [&] { return GetSystemDirectoryW(text, 100) == 0; }},
      {"OpenProcessToken",
       [&] { return OpenProcessToken(GetCurrentProcess(), kTokenQuery, &handle) == 0; }},
      {"GetTokenInformation",
       [&] { return GetTokenInformation(nullptr, 1, nullptr, 0, &number) == 0; }},
      {"CreateWellKnownSid",
       [&] { return CreateWellKnownSid(22, nullptr, memory.data(), &number) == 0; }},
      {"InitializeAcl", [&] { return InitializeAcl(acl, 50, 2) == 0; }},
      {"AddAccessAllowedAce", [&] { return AddAccessAllowedAce(acl, 2, 1, sid.data()) == 0; }},
      {"AddMandatoryAce", [&] { return addMandatoryAce(acl, 2, 0, 3, sid.data()) == 0; }},
      {"InitializeSecurityDescriptor",
       [&] { return InitializeSecurityDescriptor(&descriptor, 1) == 0; }},
      {"SetSecurityDescriptorDacl",
       [&] { return SetSecurityDescriptorDacl(&descriptor, 1, acl, 0) == 0; }},
      {"SetSecurityDescriptorSacl",
       [&] { return SetSecurityDescriptorSacl(&descriptor, 1, acl, 0) == 0; }},
      {"LocalAlloc", [] { return LocalAlloc(0, 8) == nullptr; }},
      {"GetModuleHandleA", [] { return GetModuleHandleA("kernel32") == nullptr; }},
  };
  for (const Case& c : cases) {
    host::ClearFaults();
    host::FailCall(c.operation, 1, 4711);
    SetLastError(0);
    EXPECT_TRUE(c.fails()) << c.operation;
    EXPECT_EQ(GetLastError(), 4711U) << c.operation;
    EXPECT_EQ(host::InjectedFaultCount(), 1U) << c.operation;
  }
  host::ClearFaults();
  EXPECT_EQ(memory, memoryBefore);
  EXPECT_EQ(descriptor.Control, 0);
  EXPECT_EQ(handle, nullptr);
  EXPECT_EQ(number, 100U);
  EXPECT_EQ(std::u16string(text), u"untouched");
  EXPECT_EQ(host::Live().handles, 0U);
  EXPECT_EQ(host::Live().localBlocks, 0U);
  EXPECT_TRUE(fs::exists(host::DriveCFolder() + "/folder"));
  EXPECT_FALSE(fs::exists(host::DriveCFolder() + "/x"));
}

TEST(HostLog, TellsTheArguments) {
  host::StartCallLog();
  host::ClearCallLog();
  (void)CreateDirectoryW(u"C:\\made", nullptr);
  (void)CopyFileW(u"C:\\a", u"C:\\b", 1);
  Bytes sid = kSystemSid;
  (void)GetLengthSid(sid.data());
  (void)lstrcmpiW(u"a", nullptr);
  const std::vector<host::CallRecord> log = host::CallLog();
  ASSERT_EQ(log.size(), 4U);
  EXPECT_EQ(log[0].operation, "CreateDirectoryW");
  EXPECT_EQ(log[0].Argument("path"), "C:\\made");
  EXPECT_EQ(log[0].Argument("security"), "0x0");
  EXPECT_EQ(log[1].Argument("from"), "C:\\a");
  EXPECT_EQ(log[1].Argument("to"), "C:\\b");
  EXPECT_EQ(log[1].Argument("failIfExists"), "1");
  EXPECT_EQ(log[2].Argument("sid"), "010100000000000512000000");
  EXPECT_EQ(log[3].Argument("b"), "(null)");
}

}  // namespace
}  // namespace winapi
