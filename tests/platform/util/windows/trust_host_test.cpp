// The trust provider's functions as they are found, or not, and what they are given.
#include "platform/util/windows/trust.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "winapi/errors.h"
#include "winapi/host/control.h"

namespace host = winapi::host;

namespace {

class TrustOnHost : public ::testing::Test {
 protected:
  TrustOnHost() {
    host::ClearCallLog();
    host::StartCallLog();
  }
  ~TrustOnHost() override {
    host::ClearFaults();
    host::ShowAll();
  }

  static std::uint32_t Verify() {
    winapi::WintrustFileInfo file{};
    file.cbStruct = 16;
    file.pcwszFilePath = u"C:\\none.msi";
    winapi::WintrustData data{};
    data.cbStruct = 0x34;
    data.dwUnionChoice = 1;
    data.pFile = &file;
    data.dwStateAction = 1;
    return static_cast<std::uint32_t>(windows_helpers::WinVerifyTrust(
        winapi::InvalidHandleValue(), &winapi::kWintrustActionGenericVerifyV2, &data));
  }
  static std::vector<std::string> Loads() {
    std::vector<std::string> names;
    for (const host::CallRecord& call : host::CallsOf("LoadLibraryW")) {
      names.push_back(call.Argument("name"));
    }
    return names;
  }
};
using TrustOnHostOwnProcess = TrustOnHost;

TEST_F(TrustOnHostOwnProcess, NothingIsLoadedBeforeTheFirstUse) {
  EXPECT_EQ(Loads(), std::vector<std::string>());
  EXPECT_EQ(host::Live().moduleReferences, 0u);
}

TEST_F(TrustOnHostOwnProcess, FirstUseLoadsTheSystemsOwnByItsFullPath) {
  EXPECT_EQ(Verify(), 2u);  // not there: a status of 3 would be the folder's
  EXPECT_EQ(Loads(), std::vector<std::string>{"C:\\windows\\system32\\wintrust.dll"});
  EXPECT_EQ(Verify(), 2u);
  EXPECT_EQ(windows_helpers::WTHelperProvDataFromStateData(nullptr), nullptr);
  EXPECT_EQ(Loads().size(), 1u) << "it stays";
  EXPECT_EQ(windows_helpers::CertGetNameStringW(nullptr, 5, 0, nullptr, nullptr, 0), 1u);
  EXPECT_EQ(Loads(), (std::vector<std::string>{"C:\\windows\\system32\\wintrust.dll",
                                               "C:\\windows\\system32\\crypt32.dll"}));
  EXPECT_EQ(host::Live().moduleReferences, 2u);
}

// A path that has no room in 260 characters isn't tried; the longest one that has is.
TEST_F(TrustOnHostOwnProcess, SystemDirectoryOfAnyLength) {
  const std::size_t longest = 260 - std::string("\\wintrust.dll").size() - 1;
  for (const std::size_t length : {longest, longest + 1}) {
    SCOPED_TRACE(length);
    host::ClearCallLog();
    const std::u16string directory = u"C:\\" + std::u16string(length - 3, u's');
    host::SetPathScript("GetSystemDirectoryW",
                        [&](winapi::Dword) { return host::PathAnswer{.text = directory}; });
    EXPECT_EQ(Verify(), 0x8007007Eu);
    EXPECT_EQ(Loads().size(), length == longest ? 1u : 0u);
  }
  host::SetPathScript("GetSystemDirectoryW", nullptr);
}

TEST_F(TrustOnHostOwnProcess, MissingModules) {
  host::HideModule("wintrust.dll");
  host::HideModule("crypt32.dll");
  EXPECT_EQ(Verify(), 0x8007007Eu);
  EXPECT_EQ(windows_helpers::WTHelperProvDataFromStateData(nullptr), nullptr);
  EXPECT_EQ(windows_helpers::WTHelperGetProvSignerFromChain(nullptr, 0, 0, 0), nullptr);
  EXPECT_EQ(windows_helpers::WTHelperGetProvCertFromChain(nullptr, 0), nullptr);
  EXPECT_EQ(windows_helpers::CertGetNameStringW(nullptr, 5, 0, nullptr, nullptr, 0), 0u);
  EXPECT_TRUE(host::CallsOf("WTHelperProvDataFromStateData").empty());
}

TEST_F(TrustOnHostOwnProcess, MissingFunctions) {
  for (const auto* name :
       {"WinVerifyTrust", "WTHelperProvDataFromStateData", "WTHelperGetProvSignerFromChain",
        "WTHelperGetProvCertFromChain", "CertGetNameStringW"}) {
    host::HideProcedure(name);
  }
  EXPECT_EQ(Verify(), 0x8007007Fu);
  EXPECT_EQ(windows_helpers::WTHelperProvDataFromStateData(nullptr), nullptr);
  EXPECT_EQ(windows_helpers::WTHelperGetProvSignerFromChain(nullptr, 0, 0, 0), nullptr);
  EXPECT_EQ(windows_helpers::WTHelperGetProvCertFromChain(nullptr, 0), nullptr);
  EXPECT_EQ(windows_helpers::CertGetNameStringW(nullptr, 5, 0, nullptr, nullptr, 0), 0u);
  EXPECT_EQ(host::Live().moduleReferences, 2u);
}

TEST_F(TrustOnHostOwnProcess, FailuresOnTheWayAreNegative) {
  struct Case {
    const char* call;
    winapi::Error error;
    std::uint32_t status;
  };
  const Case kCases[] = {
      {"GetSystemDirectoryW", 1450, 0x800705AA}, {"GetSystemDirectoryW", 0, 0x8007007E},
      {"LoadLibraryW", 5, 0x80070005},           {"LoadLibraryW", 0, 0x8007007E},
      {"GetProcAddress", 182, 0x800700B6},       {"GetProcAddress", 0, 0x8007007F},
  };
  for (const Case& one : kCases) {
    SCOPED_TRACE(std::string(one.call) + " " + std::to_string(one.error));
    winapi::SetLastError(0);
    host::FailCall(one.call, 1, one.error);
    EXPECT_EQ(Verify(), one.status);
    host::ClearFaults();
  }
}

TEST_F(TrustOnHostOwnProcess, AFailureIsNotRemembered) {
  host::HideModule("wintrust.dll");
  EXPECT_EQ(Verify(), 0x8007007Eu);
  host::ShowAll();
  EXPECT_EQ(Verify(), 2u);
}

TEST_F(TrustOnHost, ArgumentsArePassedOn) {
  const std::string folder = host::RootFolder() + "/drive_c";
  std::filesystem::create_directories(folder);
  std::ofstream(folder + "/none.msi") << "there";
  host::SetTrustVerdict({.status = static_cast<std::int32_t>(0x80096010), .signer = u"a"});
  EXPECT_EQ(Verify(), 0x80096010u);
  host::SetTrustVerdict({});
  std::filesystem::remove(folder + "/none.msi");
  const host::CallRecord verify = host::CallsOf("WinVerifyTrust").at(0);
  EXPECT_EQ(verify.Argument("window"), "0xffffffffffffffff");
  EXPECT_EQ(verify.Argument("pFile.pcwszFilePath"), "C:\\none.msi");
  auto* const number = reinterpret_cast<void*>(std::uintptr_t{0x40});
  (void)windows_helpers::WTHelperProvDataFromStateData(number);
  (void)windows_helpers::WTHelperGetProvSignerFromChain(
      static_cast<winapi::CryptProviderData*>(number), 1, 2, 3);
  (void)windows_helpers::WTHelperGetProvCertFromChain(
      static_cast<winapi::CryptProviderSigner*>(number), 4);
  winapi::Dword type = 0x01020304;
  char16_t name[6];
  (void)windows_helpers::CertGetNameStringW(static_cast<winapi::CertContext*>(number), 5, 6, &type,
                                            name, 6);
  EXPECT_EQ(host::CallsOf("WTHelperProvDataFromStateData").at(0).Argument("state"), "0x40");
  const host::CallRecord signer = host::CallsOf("WTHelperGetProvSignerFromChain").at(0);
  EXPECT_EQ(signer.Argument("data"), "0x40");
  EXPECT_EQ(signer.Argument("signer"), "1");
  EXPECT_EQ(signer.Argument("counterSigner"), "2");
  EXPECT_EQ(signer.Argument("counterSignerIndex"), "3");
  const host::CallRecord certificate = host::CallsOf("WTHelperGetProvCertFromChain").at(0);
  EXPECT_EQ(certificate.Argument("signer"), "0x40");
  EXPECT_EQ(certificate.Argument("certificate"), "4");
  const host::CallRecord text = host::CallsOf("CertGetNameStringW").at(0);
  EXPECT_EQ(text.Argument("certificate"), "0x40");
  EXPECT_EQ(text.Argument("type"), "5");
  EXPECT_EQ(text.Argument("flags"), "6");
  EXPECT_EQ(text.Argument("typeParameter"), "04030201");
  EXPECT_EQ(text.Argument("size"), "6");
}

}  // namespace
