#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "tests/support/answers.h"
#include "tests/support/seam_error.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/unix_shell.h"
#include "winapi/errors.h"
#include "winapi/files.h"
#include "winapi/handles.h"
#include "winapi/modules.h"
#include "winapi/security.h"

namespace {

using tests::Answers;
using tests::kHost;
using tests::kUntouchedError;
using tests::kWindows;
using tests::kWine;

using Bytes = std::vector<std::uint8_t>;

// S-1-5-18, S-1-5-21-1-2-3-1000 and S-1-16-8192.
const Bytes kSystemSid = {1, 1, 0, 0, 0, 0, 0, 5, 18, 0, 0, 0};
const Bytes kUserSid = {1, 5, 0, 0, 0, 0, 0, 5, 21, 0, 0,    0, 1, 0,
                        0, 0, 2, 0, 0, 0, 3, 0, 0,  0, 0xE8, 3, 0, 0};
const Bytes kLabelSid = {1, 1, 0, 0, 0, 0, 0, 16, 0, 0x20, 0, 0};

template <class Operation>
winapi::Error ErrorOf(Operation operation) {
  winapi::SetLastError(kUntouchedError);
  return operation() != 0 ? 0 : winapi::GetLastError();
}

// Identifiers aren't written through these calls.
void* Sid(const Bytes& sid) { return const_cast<std::uint8_t*>(sid.data()); }

// An access list in its bytes.
class List {
 public:
  explicit List(std::size_t size) : m_bytes(size) {}
  winapi::Acl* Get() { return reinterpret_cast<winapi::Acl*>(m_bytes.data()); }
  [[nodiscard]] const Bytes& Content() const { return m_bytes; }

 private:
  Bytes m_bytes;
};

winapi::AddMandatoryAceFunction AddMandatoryAce() {
  return reinterpret_cast<winapi::AddMandatoryAceFunction>(
      winapi::GetProcAddress(winapi::GetModuleHandleA("advapi32"), "AddMandatoryAce"));
}

class Token {
 public:
  Token() {
    EXPECT_NE(
        0, winapi::OpenProcessToken(winapi::GetCurrentProcess(), winapi::kTokenQuery, &m_handle));
  }
  Token(const Token&) = delete;
  Token& operator=(const Token&) = delete;
  ~Token() { winapi::CloseHandle(m_handle); }
  [[nodiscard]] winapi::Handle Get() const { return m_handle; }

 private:
  winapi::Handle m_handle = nullptr;
};

TEST(TokenContract, OpensForTheOwnProcessOnly) {
  winapi::Handle token = nullptr;
  EXPECT_EQ(
      6u, ErrorOf([&] { return winapi::OpenProcessToken(nullptr, winapi::kTokenQuery, &token); }));
  EXPECT_EQ(0u, ErrorOf([&] {
              return winapi::OpenProcessToken(winapi::GetCurrentProcess(), winapi::kTokenQuery,
                                              &token);
            }));
  EXPECT_NE(0, winapi::CloseHandle(token));
  EXPECT_EQ(0, winapi::CloseHandle(token));
}

// The size asked for with no buffer; one byte less doesn't do, and more is fine.
void ExpectInformation(int informationClass, std::size_t sidLength) {
  const Token token;
  const auto size = static_cast<winapi::Dword>(sizeof(winapi::SidAndAttributes) + sidLength);
  winapi::Dword needed = 0;
  EXPECT_EQ(122u, ErrorOf([&] {
              return winapi::GetTokenInformation(token.Get(), informationClass, nullptr, 0,
                                                 &needed);
            }));
  EXPECT_EQ(size, needed);
  Bytes buffer(size + 4, 0xEE);
  EXPECT_EQ(122u, ErrorOf([&] {
              return winapi::GetTokenInformation(token.Get(), informationClass, buffer.data(),
                                                 size - 1, &needed);
            }));
  EXPECT_EQ(size, needed);
  EXPECT_EQ(0u, ErrorOf([&] {
              return winapi::GetTokenInformation(token.Get(), informationClass, buffer.data(),
                                                 size + 4, &needed);
            }));
  EXPECT_EQ(size, needed);
  winapi::SidAndAttributes entry{};
  std::memcpy(&entry, buffer.data(), sizeof(entry));
  EXPECT_EQ(buffer.data() + sizeof(entry), entry.Sid);
  EXPECT_EQ(sidLength, winapi::GetLengthSid(entry.Sid));
  EXPECT_EQ(0xEE, buffer[size]);
}

TEST(TokenContract, TheUser) { ExpectInformation(winapi::kTokenUserClass, 28); }

TEST(TokenContract, TheIntegrityLevel) { ExpectInformation(winapi::kTokenIntegrityLevelClass, 12); }

TEST(TokenContract, RefusesWhatIsNoToken) {
  winapi::Dword needed = 0;
  EXPECT_EQ(6u, ErrorOf([&] {
              return winapi::GetTokenInformation(nullptr, winapi::kTokenUserClass, nullptr, 0,
                                                 &needed);
            }));
}

TEST(SidContract, TheLocalSystem) {
  Bytes sid(16, 0xEE);
  winapi::Dword size = 16;
  EXPECT_EQ(0u, ErrorOf([&] {
              return winapi::CreateWellKnownSid(winapi::kWinLocalSystemSid, nullptr, sid.data(),
                                                &size);
            }));
  EXPECT_EQ(12u, size);
  EXPECT_EQ(kSystemSid, Bytes(sid.begin(), sid.begin() + 12));
  EXPECT_EQ(0xEE, sid[12]);
}

TEST(SidContract, TheLocalSystemInTooSmallABuffer) {
  for (const winapi::Dword room : {0u, 11u}) {
    Bytes sid(12, 0xEE);
    winapi::Dword size = room;
    EXPECT_EQ(122u, ErrorOf([&] {
                return winapi::CreateWellKnownSid(winapi::kWinLocalSystemSid, nullptr, sid.data(),
                                                  &size);
              }));
    EXPECT_EQ(12u, size);
    EXPECT_EQ(Bytes(12, 0xEE), sid);
  }
}

TEST(SidContract, Lengths) {
  EXPECT_EQ(12u, winapi::GetLengthSid(Sid(kSystemSid)));
  EXPECT_EQ(28u, winapi::GetLengthSid(Sid(kUserSid)));
}

TEST(AclContract, AnEmptyList) {
  List list(64);
  EXPECT_EQ(0u, ErrorOf([&] { return winapi::InitializeAcl(list.Get(), 64, 2); }));
  Bytes expected(64);
  expected[0] = 2;
  expected[2] = 64;
  EXPECT_EQ(expected, list.Content());
}

TEST(AclContract, InitializeRefusals) {
  List list(64);
  EXPECT_EQ(122u, ErrorOf([&] { return winapi::InitializeAcl(list.Get(), 7, 2); }));
  EXPECT_EQ(87u, ErrorOf([&] { return winapi::InitializeAcl(list.Get(), 0x10000, 2); }));
  EXPECT_EQ(87u, ErrorOf([&] { return winapi::InitializeAcl(list.Get(), 64, 1); }));
  EXPECT_EQ(87u, ErrorOf([&] { return winapi::InitializeAcl(list.Get(), 64, 5); }));
}

TEST(AclContract, TwoAccessAllowedEntries) {
  List list(72);
  ASSERT_NE(0, winapi::InitializeAcl(list.Get(), 72, winapi::kAclRevision));
  EXPECT_EQ(0u, ErrorOf([&] {
              return winapi::AddAccessAllowedAce(list.Get(), 2, winapi::kGenericAll,
                                                 Sid(kSystemSid));
            }));
  EXPECT_EQ(0u, ErrorOf([&] {
              return winapi::AddAccessAllowedAce(list.Get(), 2, winapi::kGenericAll, Sid(kUserSid));
            }));
  // Head, then type, flags, size, mask and identifier of each entry.
  Bytes expected = {2, 0, 72, 0, 2, 0, 0, 0, 0, 0, 20, 0, 0, 0, 0, 0x10};
  expected.insert(expected.end(), kSystemSid.begin(), kSystemSid.end());
  expected.insert(expected.end(), {0, 0, 36, 0, 0, 0, 0, 0x10});
  expected.insert(expected.end(), kUserSid.begin(), kUserSid.end());
  expected.resize(72);
  EXPECT_EQ(expected, list.Content());
}

TEST(AclContract, NoRoomForAnEntry) {
  struct Case {
    const char* name;
    winapi::Dword size;
    winapi::Error error;
  };
  for (const Case& one :
       {Case{"exact", 28, 0}, Case{"four short", 24, 1344}, Case{"head only", 8, 1344}}) {
    List list(28);
    ASSERT_NE(0, winapi::InitializeAcl(list.Get(), one.size, 2)) << one.name;
    EXPECT_ANSWER(one.name, one.error, ErrorOf([&] {
                    return winapi::AddAccessAllowedAce(list.Get(), 2, 1, Sid(kSystemSid));
                  }));
    EXPECT_EQ(one.error == 0 ? 1 : 0, list.Get()->AceCount) << one.name;
  }
}

TEST(AclContract, RefusesWhatIsNoIdentifier) {
  List list(64);
  ASSERT_NE(0, winapi::InitializeAcl(list.Get(), 64, 2));
  Bytes wrong = kSystemSid;
  wrong[0] = 2;
  EXPECT_EQ(1337u,
            ErrorOf([&] { return winapi::AddAccessAllowedAce(list.Get(), 2, 1, wrong.data()); }));
  EXPECT_EQ(0, list.Get()->AceCount);
}

TEST(AclContract, AMandatoryLabel) {
  const auto add = AddMandatoryAce();
  ASSERT_NE(nullptr, add);
  List list(28);
  ASSERT_NE(0, winapi::InitializeAcl(list.Get(), 28, 2));
  EXPECT_EQ(0u, ErrorOf([&] { return add(list.Get(), 2, 0, 3, Sid(kLabelSid)); }));
  Bytes expected = {2, 0, 28, 0, 1, 0, 0, 0, 0x11, 0, 20, 0, 3, 0, 0, 0};
  expected.insert(expected.end(), kLabelSid.begin(), kLabelSid.end());
  EXPECT_EQ(expected, list.Content());
}

TEST(AclContract, MandatoryLabelRefusals) {
  const auto add = AddMandatoryAce();
  ASSERT_NE(nullptr, add);
  List list(24);
  ASSERT_NE(0, winapi::InitializeAcl(list.Get(), 24, 2));
  EXPECT_EQ(1344u, ErrorOf([&] { return add(list.Get(), 2, 0, 3, Sid(kLabelSid)); }));
  EXPECT_EQ(87u, ErrorOf([&] { return add(list.Get(), 2, 0, 8, Sid(kLabelSid)); }));
  EXPECT_EQ(0, list.Get()->AceCount);
}

TEST(DescriptorContract, AnEmptyOne) {
  winapi::SecurityDescriptor descriptor;
  std::memset(&descriptor, 0xEE, sizeof(descriptor));
  EXPECT_EQ(0u, ErrorOf([&] { return winapi::InitializeSecurityDescriptor(&descriptor, 1); }));
  EXPECT_EQ(1, descriptor.Revision);
  EXPECT_EQ(0, descriptor.Sbz1);
  EXPECT_EQ(0, descriptor.Control);
  EXPECT_EQ(nullptr, descriptor.Owner);
  EXPECT_EQ(nullptr, descriptor.Group);
  EXPECT_EQ(nullptr, descriptor.Sacl);
  EXPECT_EQ(nullptr, descriptor.Dacl);
  EXPECT_EQ(1305u, ErrorOf([&] { return winapi::InitializeSecurityDescriptor(&descriptor, 2); }));
}

TEST(DescriptorContract, ListsAndTheirBits) {
  winapi::SecurityDescriptor descriptor{};
  ASSERT_NE(0, winapi::InitializeSecurityDescriptor(&descriptor, 1));
  List dacl(28);
  List sacl(28);
  ASSERT_NE(0, winapi::InitializeAcl(dacl.Get(), 28, 2));
  ASSERT_NE(0, winapi::InitializeAcl(sacl.Get(), 28, 2));
  EXPECT_NE(0, winapi::SetSecurityDescriptorDacl(&descriptor, 1, dacl.Get(), 0));
  EXPECT_EQ(0x4, descriptor.Control);
  EXPECT_EQ(dacl.Get(), descriptor.Dacl);
  EXPECT_NE(0, winapi::SetSecurityDescriptorSacl(&descriptor, 1, sacl.Get(), 0));
  EXPECT_EQ(0x14, descriptor.Control);
  EXPECT_EQ(sacl.Get(), descriptor.Sacl);
  EXPECT_NE(0, winapi::SetSecurityDescriptorDacl(&descriptor, 1, dacl.Get(), 1));
  EXPECT_EQ(0x1C, descriptor.Control);
  EXPECT_NE(0, winapi::SetSecurityDescriptorSacl(&descriptor, 1, sacl.Get(), 1));
  EXPECT_EQ(0x3C, descriptor.Control);
}

TEST(DescriptorContract, RefusesAnotherRevision) {
  winapi::SecurityDescriptor descriptor{};
  EXPECT_EQ(1305u,
            ErrorOf([&] { return winapi::SetSecurityDescriptorDacl(&descriptor, 1, nullptr, 0); }));
  EXPECT_EQ(1305u,
            ErrorOf([&] { return winapi::SetSecurityDescriptorSacl(&descriptor, 1, nullptr, 0); }));
}

TEST(DescriptorContract, ADirectoryIsMadeWithOne) {
  const tests::TemporaryFolder folder;
  const std::u16string path = folder.WindowsPath() + u"\\made";
  List dacl(28);
  ASSERT_NE(0, winapi::InitializeAcl(dacl.Get(), 28, 2));
  ASSERT_NE(0, winapi::AddAccessAllowedAce(dacl.Get(), 2, winapi::kGenericAll, Sid(kSystemSid)));
  winapi::SecurityDescriptor descriptor{};
  ASSERT_NE(0, winapi::InitializeSecurityDescriptor(&descriptor, 1));
  ASSERT_NE(0, winapi::SetSecurityDescriptorDacl(&descriptor, 1, dacl.Get(), 0));
  const winapi::SecurityAttributes security{winapi::kSecurityAttributesSize, &descriptor, 0};
  EXPECT_EQ(0u, ErrorOf([&] { return winapi::CreateDirectoryW(path.c_str(), &security); }));
  EXPECT_EQ(183u, ErrorOf([&] { return winapi::CreateDirectoryW(path.c_str(), &security); }));
  EXPECT_NE(0, winapi::RemoveDirectoryW(path.c_str()));
}

// A list without an entry keeps everybody out. Wine turns a list into the bits of the system below,
// which don't stop its superuser.
TEST(DescriptorContract, AnAccessListCounts) {
  const tests::TemporaryFolder folder;
  const std::u16string path = folder.WindowsPath() + u"\\made";
  List dacl(8);
  ASSERT_NE(0, winapi::InitializeAcl(dacl.Get(), 8, 2));
  winapi::SecurityDescriptor descriptor{};
  ASSERT_NE(0, winapi::InitializeSecurityDescriptor(&descriptor, 1));
  ASSERT_NE(0, winapi::SetSecurityDescriptorDacl(&descriptor, 1, dacl.Get(), 0));
  const winapi::SecurityAttributes security{winapi::kSecurityAttributesSize, &descriptor, 0};
  const bool superuser = tests::RunUnixShell(folder.Path(), "test $(id -u) = 0");
  const winapi::Error made =
      ErrorOf([&] { return winapi::CreateDirectoryW(path.c_str(), &security); });
  EXPECT_ANSWER("make the directory",
                Answers(0u, kHost | kWindows)
                    .Or(superuser ? 0u : 5u, kWine, "fails though it made the directory"),
                made);
  const winapi::Error inside =
      ErrorOf([&] { return winapi::CreateDirectoryW((path + u"\\x").c_str(), nullptr); });
  EXPECT_ANSWER("make another inside",
                Answers(5u, kWindows)
                    .Or(superuser ? 0u : 5u, kWine,
                        "has the system below judge, which lets its superuser do it")
                    .Or(0u, kHost, "keeps access lists and never looks at them"),
                inside);
  EXPECT_TRUE(tests::RunUnixShell(folder.Path(), "chmod -R u+rwx made"));
}

TEST(DescriptorContract, ADirectoryIsNotMadeWithABadOne) {
  const tests::TemporaryFolder folder;
  const std::u16string path = folder.WindowsPath() + u"\\made";
  winapi::SecurityDescriptor descriptor{};
  descriptor.Revision = 7;
  const winapi::SecurityAttributes security{winapi::kSecurityAttributesSize, &descriptor, 0};
  EXPECT_EQ(1305u, ErrorOf([&] { return winapi::CreateDirectoryW(path.c_str(), &security); }));
  EXPECT_FALSE(std::filesystem::exists(folder.Path() / "made"));
  const winapi::SecurityAttributes none{winapi::kSecurityAttributesSize, nullptr, 0};
  EXPECT_EQ(0u, ErrorOf([&] { return winapi::CreateDirectoryW(path.c_str(), &none); }));
}

TEST(DescriptorContract, SizeOfTheAttributes) {
  const tests::TemporaryFolder folder;
  for (const winapi::Dword size : {0u, 11u, 13u, 24u}) {
    const std::u16string path = folder.WindowsPath() + u"\\made";
    const winapi::SecurityAttributes security{size, nullptr, 0};
    const winapi::Error error =
        ErrorOf([&] { return winapi::CreateDirectoryW(path.c_str(), &security); });
    EXPECT_ANSWER(
        "size " + std::to_string(size),
        Answers(0u, kWine | kWindows).Or(87u, kHost, "refuses another size of the attributes"),
        error);
    EXPECT_EQ(error == 0, winapi::RemoveDirectoryW(path.c_str()) != 0) << size;
  }
}

}  // namespace
