#include "platform/util/windows/trust.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "tests/support/temporary_folder.h"
#include "winapi/types.h"

namespace {

class TrustTest : public ::testing::Test {
 protected:
  TrustTest() {
    m_file.cbStruct = 16;
    m_data.cbStruct = 0x34;
    m_data.dwUIChoice = 2;
    m_data.dwUnionChoice = 1;
    m_data.pFile = &m_file;
    m_data.dwProvFlags = 0x1010;
  }

  std::uint32_t Verify(const std::u16string& path) {
    m_file.pcwszFilePath = path.c_str();
    return Call(1);
  }
  std::uint32_t Close() { return Call(2); }

  // A file that is no package and has no signature.
  [[nodiscard]] std::u16string PlainFile() const {
    std::ofstream(m_folder.Path() / "p.msi", std::ios::binary) << "no package";
    return m_folder.WindowsPath() + u"\\p.msi";
  }

  tests::TemporaryFolder m_folder;
  winapi::WintrustFileInfo m_file{};
  winapi::WintrustData m_data{};

 private:
  std::uint32_t Call(winapi::Dword action) {
    m_data.dwStateAction = action;
    return static_cast<std::uint32_t>(windows_helpers::WinVerifyTrust(
        winapi::InvalidHandleValue(), &winapi::kWintrustActionGenericVerifyV2, &m_data));
  }
};

// The host says "no signature", Wine that it doesn't know the form.
TEST_F(TrustTest, PlainFileIsRefusedAndItsStateCanBeClosed) {
  const std::uint32_t status = Verify(PlainFile());
  EXPECT_TRUE(status == 0x800B0100 || status == 0x800B0003) << std::hex << status;
  EXPECT_NE(m_data.hWVTStateData, nullptr);
  EXPECT_EQ(Close(), 0u);
  EXPECT_EQ(m_data.hWVTStateData, nullptr);
}

// Zero and above: the plain Win32 error, by which the file passes for a verified one.
TEST_F(TrustTest, MissingFileGivesAPositiveStatusAndNoSigner) {
  EXPECT_EQ(Verify(m_folder.WindowsPath() + u"\\none.msi"), 2u);
  winapi::CryptProviderData* const data =
      windows_helpers::WTHelperProvDataFromStateData(m_data.hWVTStateData);
  EXPECT_NE(data, nullptr);
  EXPECT_EQ(windows_helpers::WTHelperGetProvSignerFromChain(data, 0, 0, 0), nullptr);
  EXPECT_EQ(Close(), 0u);
}

TEST_F(TrustTest, NoStateHasNoProviderData) {
  EXPECT_EQ(windows_helpers::WTHelperProvDataFromStateData(nullptr), nullptr);
}

}  // namespace
