// What an open handle, search or stream keeps others from.
#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "tests/support/answers.h"
#include "tests/support/directory_tree.h"
#include "tests/support/seam_error.h"
#include "tests/support/text.h"
#include "tests/support/unix_shell.h"
#include "winapi/files.h"
#include "winapi/modules.h"
#include "winapi/trust.h"
#ifndef _WIN32
#include "winapi/host/control.h"
#endif

namespace {

using tests::Answers;
using tests::Copy;
using tests::CreateNew;
using tests::Delete;
using tests::kHost;
using tests::kWindows;
using tests::kWine;
using tests::RemoveFolder;

class OpenFileContract : public ::testing::Test, protected tests::DirectoryTree {
 protected:
  static winapi::Error Attributes(const std::u16string& path) {
    winapi::Dword ignored = 0;
    return tests::Attributes(path, ignored);
  }
  static winapi::Handle Search(const std::u16string& pattern) {
    winapi::FindData data{};
    return winapi::FindFirstFileExW(pattern.c_str(), winapi::kFindExInfoStandard, &data,
                                    winapi::kFindExSearchNameMatch, nullptr, 0);
  }
  static winapi::Handle New(const std::u16string& path) {
    return winapi::CreateFileW(path.c_str(), 0, 0, nullptr, winapi::kCreateNew, 0,
                               /*templateFile=*/nullptr);
  }
};

TEST_F(OpenFileContract, ASearchedDirectoryIsNotRemoved) {
  MakeDirectory(u"folder");
  const winapi::Handle search = Search(Windows(u"folder\\*"));
  ASSERT_NE(winapi::InvalidHandleValue(), search);
  EXPECT_EQ(32u, RemoveFolder(Windows(u"folder")));
  EXPECT_TRUE(Has(u"folder"));
  EXPECT_NE(0, winapi::FindClose(search));
  EXPECT_EQ(0u, RemoveFolder(Windows(u"folder")));
  EXPECT_FALSE(Has(u"folder"));
}

TEST_F(OpenFileContract, ASearchThatIsAtItsEndStillHoldsTheDirectory) {
  MakeDirectory(u"folder");
  winapi::FindData data{};
  const winapi::Handle search = Search(Windows(u"folder\\*"));
  ASSERT_NE(winapi::InvalidHandleValue(), search);
  while (winapi::FindNextFileW(search, &data) != 0) {
  }
  EXPECT_ANSWER("remove the directory",
                Answers(32u, kHost | kWindows)
                    .Or(0u, kWine, "lets go of a directory at the end of the search"),
                RemoveFolder(Windows(u"folder")));
  EXPECT_NE(0, winapi::FindClose(search));
}

TEST_F(OpenFileContract, ASearchForOneNameHoldsItsDirectory) {
  MakeDirectory(u"folder");
  MakeDirectory(u"folder/inner");
  const winapi::Handle search = Search(Windows(u"folder\\inner"));
  ASSERT_NE(winapi::InvalidHandleValue(), search);
  EXPECT_EQ(0u, RemoveFolder(Windows(u"folder\\inner")));
  EXPECT_ANSWER("remove the directory",
                Answers(32u, kHost | kWindows)
                    .Or(0u, kWine, "lets go of a directory once the one name is found"),
                RemoveFolder(Windows(u"folder")));
  EXPECT_NE(0, winapi::FindClose(search));
}

// As before Windows 10: later ones take the name of a deleted file away at once.
TEST_F(OpenFileContract, ADeletedFileKeepsItsNameUntilItIsClosed) {
  MakeDirectory(u"folder");
  Write(u"other", "content");
  const std::u16string path = Windows(u"folder\\x");
  const winapi::Handle file = New(path);
  ASSERT_NE(winapi::InvalidHandleValue(), file);
  EXPECT_EQ(0u, Delete(path));
  EXPECT_TRUE(Has(u"folder/x"));
  EXPECT_EQ(145u, RemoveFolder(Windows(u"folder")));
  const char* const reason = "lets a deleted file be used until its last handle is closed";
  EXPECT_ANSWER("attributes", Answers(5u, kHost | kWindows).Or(0u, kWine, reason),
                Attributes(path));
  EXPECT_ANSWER("copy", Answers(5u, kHost | kWindows).Or(0u, kWine, reason),
                Copy(path, Windows(u"copy")));
  EXPECT_ANSWER("create anew", Answers(5u, kHost | kWindows).Or(80u, kWine, reason),
                CreateNew(path));
  EXPECT_ANSWER("delete again", Answers(5u, kHost | kWindows).Or(0u, kWine, reason), Delete(path));
  EXPECT_NE(0, winapi::CloseHandle(file));
  EXPECT_FALSE(Has(u"folder/x"));
  EXPECT_EQ(0u, RemoveFolder(Windows(u"folder")));
}

TEST_F(OpenFileContract, ADeletedFileIsStillFound) {
  const winapi::Handle file = New(Windows(u"x"));
  ASSERT_NE(winapi::InvalidHandleValue(), file);
  EXPECT_EQ(0u, Delete(Windows(u"x")));
  const winapi::Handle search = Search(Windows(u"x*"));
  EXPECT_NE(winapi::InvalidHandleValue(), search);
  if (search != winapi::InvalidHandleValue()) {
    EXPECT_NE(0, winapi::FindClose(search));
  }
  EXPECT_NE(0, winapi::CloseHandle(file));
  EXPECT_EQ(winapi::InvalidHandleValue(), Search(Windows(u"x*")));
}

TEST_F(OpenFileContract, AFileOpenForWritingIsNotDeleted) {
  std::ofstream stream;
  winapi::OpenOutputStream(stream, Windows(u"x").c_str());
  ASSERT_TRUE(stream.is_open());
  EXPECT_ANSWER(
      "delete",
      Answers(32u, kWine | kWindows).Or(0u, kHost, "nothing tells it when a stream is closed"),
      Delete(Windows(u"x")));
  stream.close();
}

class TrustedFileContract : public OpenFileContract {
 protected:
  TrustedFileContract()
      : m_verify(reinterpret_cast<winapi::WinVerifyTrustFunction>(winapi::GetProcAddress(
            winapi::LoadLibraryW(u"C:\\windows\\system32\\wintrust.dll"), "WinVerifyTrust"))) {
    m_file.cbStruct = winapi::kWintrustFileInfoSize;
    m_data.cbStruct = winapi::kWintrustDataSize;
    m_data.dwUIChoice = winapi::kWtdUiNone;
    m_data.dwUnionChoice = winapi::kWtdChoiceFile;
    m_data.pFile = &m_file;
  }

  static std::u16string OwnProgram() {
    char16_t path[1000];
    const winapi::Dword length = winapi::GetModuleFileNameW(nullptr, path, 1000);
    return u"\\\\?\\" + std::u16string(path, length);
  }

  // Under Wine a copy of this program, signed by a certificate of the moment; on the host any file,
  // since the test says what its signature is worth.
  void MakeSignedFile(const std::u16string& name) {
#ifdef _WIN32
    ASSERT_EQ(0u, Copy(OwnProgram(), Windows(u"program")));
    ASSERT_TRUE(tests::RunUnixShell(
        File({}),
        "(openssl req -x509 -newkey rsa:2048 -nodes -subj /CN=contract -keyout key -out certificate"
        " && osslsigncode sign -certs certificate -key key -in program -out " +
            tests::Narrow(name) + ") > tools.txt 2>&1"))
        << Read(u"tools.txt");
#else
    Write(name, "content");
    winapi::host::SetTrustVerdict({.status = 0, .signer = u"contract"});
#endif
  }

  std::uint32_t Verify(const std::u16string& path) {
    m_file.pcwszFilePath = path.c_str();
    m_data.dwStateAction = winapi::kWtdStateActionVerify;
    return static_cast<std::uint32_t>(
        m_verify(winapi::InvalidHandleValue(), &winapi::kWintrustActionGenericVerifyV2, &m_data));
  }
  void Close() {
    m_data.dwStateAction = winapi::kWtdStateActionClose;
    EXPECT_EQ(0, m_verify(winapi::InvalidHandleValue(), &winapi::kWintrustActionGenericVerifyV2,
                          &m_data));
  }

#ifndef _WIN32
  ~TrustedFileContract() override { winapi::host::SetTrustVerdict({}); }
#endif

  winapi::WintrustFileInfo m_file{};
  winapi::WintrustData m_data{};

 private:
  winapi::WinVerifyTrustFunction m_verify;
};

// For as long as the state lives, what was checked is what can be read, and nobody can change it.
TEST_F(TrustedFileContract, AFileUnderCheckIsHeldOpenForReading) {
  MakeSignedFile(u"package");
  Write(u"other", "other");
  const std::u16string path = Windows(u"package");
  const std::string content = Read(u"package");
  EXPECT_NE(0x800B0100u, Verify(path)) << "it has a signature";
  EXPECT_NE(winapi::InvalidHandleValue(), m_file.hFile);
  EXPECT_EQ(0u, Copy(path, Windows(u"copy")));
  EXPECT_EQ(32u, Copy(Windows(u"other"), path));
  EXPECT_EQ(32u, Delete(path));
  std::ofstream stream;
  winapi::OpenOutputStream(stream, path.c_str());
  EXPECT_FALSE(stream.is_open());
  EXPECT_TRUE(Read(u"package") == content);
  Close();
  EXPECT_EQ(0u, Delete(path));
}

TEST_F(TrustedFileContract, AFileWithoutASignatureIsNotHeldOpen) {
  ASSERT_EQ(0u, Copy(OwnProgram(), Windows(u"package")));
  EXPECT_EQ(0x800B0100u, Verify(Windows(u"package")));
  EXPECT_EQ(winapi::InvalidHandleValue(), m_file.hFile);
  EXPECT_EQ(0u, Delete(Windows(u"package")));
  Close();
}

}  // namespace
