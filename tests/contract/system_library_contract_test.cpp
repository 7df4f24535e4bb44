// The modules that are loaded when they are needed, and their functions.
#include <gtest/gtest.h>

#include <string>

#include "tests/support/answers.h"
#include "winapi/errors.h"
#include "winapi/handles.h"
#include "winapi/modules.h"
#include "winapi/transactions.h"
#include "winapi/trust.h"

namespace {

using tests::Answers;
using tests::kHost;
using tests::kWindows;
using tests::kWine;

winapi::Module Load(const std::u16string& file) {
  const std::u16string path = u"C:\\windows\\system32\\" + file;
  return winapi::LoadLibraryW(path.c_str());
}

template <typename Function>
Function Find(const std::u16string& file, const char* name) {
  return reinterpret_cast<Function>(winapi::GetProcAddress(Load(file), name));
}

TEST(SystemLibraryContractOwnProcess, IsLoadedByItsFullPath) {
  EXPECT_EQ(nullptr, winapi::GetModuleHandleW(u"ktmw32.dll"));
  EXPECT_EQ(winapi::kErrorModuleNotFound, winapi::GetLastError());
  const winapi::Module module = Load(u"ktmw32.dll");
  ASSERT_NE(nullptr, module);
  EXPECT_EQ(module, winapi::GetModuleHandleW(u"KTMW32"));
  EXPECT_EQ(module, winapi::GetModuleHandleA("C:\\WINDOWS\\System32\\ktmw32.dll"));
  EXPECT_NE(0, winapi::FreeLibrary(module));
  EXPECT_EQ(nullptr, winapi::GetModuleHandleW(u"ktmw32.dll"));
}

TEST(SystemLibraryContract, AnotherFolderHasNone) {
  EXPECT_EQ(nullptr, winapi::LoadLibraryW(u"C:\\windows\\none\\ktmw32.dll"));
  EXPECT_EQ(winapi::kErrorModuleNotFound, winapi::GetLastError());
}

TEST(TransactionContract, IsMadeAndCommitted) {
  const auto create = Find<winapi::CreateTransactionFunction>(u"ktmw32.dll", "CreateTransaction");
  const auto commit = Find<winapi::CommitTransactionFunction>(u"ktmw32.dll", "CommitTransaction");
  ASSERT_NE(nullptr, create);
  ASSERT_NE(nullptr, commit);
  char16_t description[] = u"contract";
  const winapi::Handle transaction =
      create(nullptr, nullptr, 0, 0, 0, winapi::kInfinite, description);
  EXPECT_NE(nullptr, transaction);
  EXPECT_NE(winapi::InvalidHandleValue(), transaction);
  EXPECT_NE(0, commit(transaction));
  EXPECT_ANSWER("its handle can be closed",
                Answers(true, kHost | kWindows)
                    .Or(false, kWine, "gives all transactions one number, which isn't a handle"),
                winapi::CloseHandle(transaction) != 0);
  EXPECT_ANSWER("nothing can be committed",
                Answers(false, kHost | kWindows).Or(true, kWine, "commits anything"),
                commit(nullptr) != 0);
}

class TrustContract : public ::testing::Test {
 protected:
  TrustContract()
      : m_verify(Find<winapi::WinVerifyTrustFunction>(u"wintrust.dll", "WinVerifyTrust")) {
    m_file.cbStruct = winapi::kWintrustFileInfoSize;
    m_data.cbStruct = winapi::kWintrustDataSize;
    m_data.dwUIChoice = winapi::kWtdUiNone;
    m_data.dwUnionChoice = winapi::kWtdChoiceFile;
    m_data.pFile = &m_file;
  }

  std::uint32_t Call(winapi::Dword action, const winapi::Guid& what) {
    m_data.dwStateAction = action;
    return static_cast<std::uint32_t>(m_verify(winapi::InvalidHandleValue(), &what, &m_data));
  }
  std::uint32_t Verify(const char16_t* path) {
    m_file.pcwszFilePath = path;
    return Call(winapi::kWtdStateActionVerify, winapi::kWintrustActionGenericVerifyV2);
  }
  std::uint32_t Close() {
    return Call(winapi::kWtdStateActionClose, winapi::kWintrustActionGenericVerifyV2);
  }

  winapi::WintrustFileInfo m_file{};
  winapi::WintrustData m_data{};

 private:
  winapi::WinVerifyTrustFunction m_verify;
};

// The host follows Wine, whose positive statuses pass for a success and so are the harder case.
TEST_F(TrustContract, FileThatIsNotThereGivesItsErrorAndAStateWithoutASigner) {
  const auto provider = Find<winapi::WTHelperProvDataFromStateDataFunction>(
      u"wintrust.dll", "WTHelperProvDataFromStateData");
  const auto signer = Find<winapi::WTHelperGetProvSignerFromChainFunction>(
      u"wintrust.dll", "WTHelperGetProvSignerFromChain");
  ASSERT_NE(nullptr, provider);
  ASSERT_NE(nullptr, signer);
  struct Case {
    const char* name;
    const char16_t* path;
    std::uint32_t status;
  };
  const Case kCases[] = {
      {"file", u"C:\\zum none.msi", 2},
      {"folder", u"C:\\zum none\\p.msi", 3},
      {"no path", u"", 3},
      {"a folder itself", u"C:\\", 5},
  };
  const char* const reason = "gives the error of the opening itself";
  for (const Case& one : kCases) {
    SCOPED_TRACE(one.name);
    m_data.hWVTStateData = nullptr;
    m_file.hFile = nullptr;
    EXPECT_ANSWER(one.name, Answers(0x80092003U, kWindows).Or(one.status, kHost | kWine, reason),
                  Verify(one.path));
    EXPECT_EQ(winapi::InvalidHandleValue(), m_file.hFile);
    ASSERT_NE(nullptr, m_data.hWVTStateData);
    winapi::CryptProviderData* const data = provider(m_data.hWVTStateData);
    EXPECT_NE(nullptr, data);
    EXPECT_EQ(nullptr, signer(data, 0, 0, 0));
    EXPECT_EQ(0u, Close());
    EXPECT_EQ(nullptr, m_data.hWVTStateData);
  }
  EXPECT_EQ(nullptr, provider(nullptr));
}

TEST_F(TrustContract, UnknownAction) {
  m_file.pcwszFilePath = u"C:\\zum none.msi";
  const winapi::Guid unknown = {1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};
  EXPECT_ANSWER("status",
                Answers<std::uint32_t>(0x800B0001, kHost | kWindows)
                    .Or(0, kWine, "lets an unknown action pass"),
                Call(winapi::kWtdStateActionVerify, unknown));
}

TEST(CertificateNameContract, IsThere) {
  EXPECT_NE(nullptr,
            Find<winapi::CertGetNameStringWFunction>(u"crypt32.dll", "CertGetNameStringW"));
  EXPECT_NE(nullptr, Find<winapi::WTHelperGetProvCertFromChainFunction>(
                         u"wintrust.dll", "WTHelperGetProvCertFromChain"));
}

}  // namespace
