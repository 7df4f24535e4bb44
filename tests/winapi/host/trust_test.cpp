// The host layer's trust provider.
#include "winapi/host/trust.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "winapi/handles.h"
#include "winapi/host/control.h"

namespace winapi {
namespace {

class HostTrust : public ::testing::Test {
 protected:
  HostTrust() {
    const std::string folder = host::RootFolder() + "/drive_c";
    std::filesystem::create_directories(folder);
    std::ofstream(folder + "/p.msi") << "package";
    m_file.cbStruct = 16;
    m_file.pcwszFilePath = u"C:\\p.msi";
    m_data.cbStruct = 0x34;
    m_data.dwUnionChoice = 1;
    m_data.pFile = &m_file;
    m_data.dwStateAction = 1;
  }
  ~HostTrust() override {
    host::ClearFaults();
    host::SetTrustVerdict({});
  }

  std::uint32_t Verify() { return Call(1); }
  std::uint32_t Close() { return Call(2); }
  std::uint32_t Call(Dword action) {
    m_data.dwStateAction = action;
    return static_cast<std::uint32_t>(
        host::WinVerifyTrust(InvalidHandleValue(), &kWintrustActionGenericVerifyV2, &m_data));
  }
  CryptProviderCert* Certificate() {
    return host::WTHelperGetProvCertFromChain(
        host::WTHelperGetProvSignerFromChain(
            host::WTHelperProvDataFromStateData(m_data.hWVTStateData), 0, 0, 0),
        0);
  }

  WintrustFileInfo m_file{};
  WintrustData m_data{};
};

TEST_F(HostTrust, AFileHasNoSignatureAtTheStart) {
  EXPECT_EQ(Verify(), 0x800B0100U);
  EXPECT_NE(m_data.hWVTStateData, nullptr);
  EXPECT_EQ(m_file.hFile, InvalidHandleValue());
  EXPECT_EQ(host::Live().trustStates, 1U);
  EXPECT_EQ(Certificate(), nullptr);
  EXPECT_EQ(Close(), 0U);
  EXPECT_EQ(m_data.hWVTStateData, nullptr);
  EXPECT_EQ(host::Live().trustStates, 0U);
}

// As Wine does it: a positive status, provider data, and no signer.
TEST_F(HostTrust, AMissingFileGivesItsErrorAndNoSigner) {
  host::SetTrustVerdict({.status = 0, .signer = u"Somebody"});
  struct Case {
    const char* name;
    const char16_t* path;
    std::uint32_t status;
  };
  const Case kCases[] = {
      {"file", u"C:\\none.msi", 2}, {"folder", u"C:\\none\\p.msi", 3}, {"drive", u"Q:\\p.msi", 3},
      {"empty path", u"", 3},       {"no path", nullptr, 3},           {"a folder", u"C:\\", 5},
  };
  for (const Case& one : kCases) {
    SCOPED_TRACE(one.name);
    m_file.pcwszFilePath = one.path;
    EXPECT_EQ(Verify(), one.status);
    CryptProviderData* data = host::WTHelperProvDataFromStateData(m_data.hWVTStateData);
    EXPECT_NE(data, nullptr);
    EXPECT_EQ(host::WTHelperGetProvSignerFromChain(data, 0, 0, 0), nullptr);
    EXPECT_EQ(Close(), 0U);
  }
}

TEST_F(HostTrust, AVerdictThatPassesHasASignerAndAnOpenFile) {
  for (const std::int32_t status : {0, 1, 0x7FFFFFFF}) {
    host::SetTrustVerdict({.status = status, .signer = u"QUORVANTA Lab"});
    EXPECT_EQ(Verify(), static_cast<std::uint32_t>(status));
    EXPECT_EQ(host::Live().handles, 1U);
    const CryptProviderCert* certificate = Certificate();
    ASSERT_NE(certificate, nullptr);
    Dword type = 1;
    EXPECT_EQ(host::CertGetNameStringW(certificate->pCert, 5, 0, &type, nullptr, 0), 14U);
    char16_t name[14] = {};
    EXPECT_EQ(host::CertGetNameStringW(certificate->pCert, 5, 0, &type, name, 14), 14U);
    EXPECT_EQ(std::u16string(name), u"QUORVANTA Lab");
    EXPECT_EQ(host::CertGetNameStringW(certificate->pCert, 5, 0, &type, name, 5), 5U);
    EXPECT_EQ(std::u16string(name), u"QUOR");
    EXPECT_EQ(Close(), 0U);
    EXPECT_EQ(host::Live().handles, 0U);
    EXPECT_EQ(m_file.hFile, InvalidHandleValue());
  }
}

TEST_F(HostTrust, ARefusedFileMayStayOpen) {
  host::SetTrustVerdict(
      {.status = static_cast<std::int32_t>(0x800B0101), .signer = {}, .holdsRefusedFile = true});
  EXPECT_EQ(Verify(), 0x800B0101U);
  EXPECT_EQ(host::Live().handles, 1U);
  EXPECT_EQ(Certificate(), nullptr);
  EXPECT_NE(CloseHandle(m_file.hFile), 0);
  EXPECT_EQ(Close(), 0U);
  EXPECT_EQ(host::Live().handles, 0U);
}

TEST_F(HostTrust, TheFileMayBeClosedBeforeTheState) {
  host::SetTrustVerdict({.status = 0, .signer = u"a"});
  EXPECT_EQ(Verify(), 0U);
  EXPECT_NE(CloseHandle(m_file.hFile), 0);
  EXPECT_EQ(Close(), 0U);
  EXPECT_EQ(host::Live().handles, 0U);
}

TEST_F(HostTrust, ACertificateWithoutANameGivesOne) {
  host::SetTrustVerdict({.status = 0, .signer = u""});
  EXPECT_EQ(Verify(), 0U);
  const CryptProviderCert* certificate = Certificate();
  ASSERT_NE(certificate, nullptr);
  Dword type = 1;
  char16_t name[2] = u"x";
  EXPECT_EQ(host::CertGetNameStringW(certificate->pCert, 5, 0, &type, nullptr, 0), 1U);
  EXPECT_EQ(host::CertGetNameStringW(certificate->pCert, 5, 0, &type, name, 1), 1U);
  EXPECT_EQ(name[0], u'\0');
  EXPECT_EQ(Close(), 0U);
}

TEST_F(HostTrust, WhatIsClosedIsNotFollowed) {
  host::SetTrustVerdict({.status = 0, .signer = u"a"});
  EXPECT_EQ(Verify(), 0U);
  const Handle state = m_data.hWVTStateData;
  CryptProviderData* data = host::WTHelperProvDataFromStateData(state);
  CryptProviderSigner* signer = host::WTHelperGetProvSignerFromChain(data, 0, 0, 0);
  EXPECT_EQ(host::WTHelperGetProvSignerFromChain(data, 1, 0, 0), nullptr);
  EXPECT_EQ(host::WTHelperGetProvSignerFromChain(data, 0, 1, 0), nullptr);
  EXPECT_EQ(host::WTHelperGetProvCertFromChain(signer, 1), nullptr);
  EXPECT_EQ(Close(), 0U);
  EXPECT_EQ(host::WTHelperProvDataFromStateData(state), nullptr);
  EXPECT_EQ(host::WTHelperProvDataFromStateData(nullptr), nullptr);
  EXPECT_EQ(host::WTHelperGetProvSignerFromChain(data, 0, 0, 0), nullptr);
  EXPECT_EQ(host::WTHelperGetProvCertFromChain(signer, 0), nullptr);
  EXPECT_EQ(host::CertGetNameStringW(nullptr, 5, 0, nullptr, nullptr, 0), 1U);
  EXPECT_EQ(Close(), 0U) << "a second time";
}

TEST_F(HostTrust, OtherQuestionsAreRefused) {
  host::SetTrustVerdict({.status = 0, .signer = u"a"});
  const auto ask = [this](const Guid* action) {
    return static_cast<std::uint32_t>(host::WinVerifyTrust(InvalidHandleValue(), action, &m_data));
  };
  const Guid other = {1, 2, 3, {}};
  EXPECT_EQ(ask(&other), 0x800B0001U);
  EXPECT_EQ(ask(nullptr), 0x800B0001U);
  const WintrustData right = m_data;
  m_data.cbStruct = 0x30;
  EXPECT_EQ(Verify(), 0x80070057U);
  m_data = right;
  m_data.dwUnionChoice = 2;
  EXPECT_EQ(Verify(), 0x80070057U);
  m_data = right;
  m_data.pFile = nullptr;
  EXPECT_EQ(Verify(), 0x80070057U);
  m_data = right;
  m_file.cbStruct = 32;
  EXPECT_EQ(Verify(), 0x80070057U);
  EXPECT_EQ(static_cast<std::uint32_t>(
                host::WinVerifyTrust(nullptr, &kWintrustActionGenericVerifyV2, nullptr)),
            0x80070057U);
  EXPECT_EQ(host::Live().trustStates, 0U);
}

TEST_F(HostTrust, EachFunctionCanFail) {
  host::SetTrustVerdict({.status = 0, .signer = u"a"});
  host::FailCall("WinVerifyTrust", 1, 0x800B0109);
  EXPECT_EQ(Verify(), 0x800B0109U);
  EXPECT_EQ(m_data.hWVTStateData, nullptr);
  EXPECT_EQ(Verify(), 0U);
  const Handle state = m_data.hWVTStateData;
  CryptProviderData* data = host::WTHelperProvDataFromStateData(state);
  CryptProviderSigner* signer = host::WTHelperGetProvSignerFromChain(data, 0, 0, 0);
  const CryptProviderCert* certificate = host::WTHelperGetProvCertFromChain(signer, 0);
  for (const auto* operation : {"WTHelperProvDataFromStateData", "WTHelperGetProvSignerFromChain",
                                "WTHelperGetProvCertFromChain", "CertGetNameStringW"}) {
    host::FailCall(operation, 1, 5);
  }
  EXPECT_EQ(host::WTHelperProvDataFromStateData(state), nullptr);
  EXPECT_EQ(host::WTHelperGetProvSignerFromChain(data, 0, 0, 0), nullptr);
  EXPECT_EQ(host::WTHelperGetProvCertFromChain(signer, 0), nullptr);
  EXPECT_EQ(host::CertGetNameStringW(certificate->pCert, 5, 0, nullptr, nullptr, 0), 0U);
  host::FailCall("WinVerifyTrust", 1, 87);
  EXPECT_EQ(Close(), 87U);
  EXPECT_EQ(host::Live().trustStates, 0U) << "let go though the close failed";
}

}  // namespace
}  // namespace winapi
