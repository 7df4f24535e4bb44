// The check against a trust provider that says what it is told, call by call.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "oru/rtl/exception.h"
#include "tests/support/allocation_faults.h"
#include "tests/support/checks.h"
#include "tests/support/expected_failure.h"
#include "tests/zum_setup_util_lib/installed_tracer.h"
#include "winapi/host/control.h"
#include "zum_setup_util_lib/signature_check.h"

namespace host = winapi::host;
using correct_setup::detail::CheckVerisignSignature;
using tests::InstalledTracer;

namespace {

using Record = std::pair<std::uint32_t, std::string>;

const std::string kPrefix = "setup\t[correct_setup::detail::CheckVerisignSignature] ";
constexpr char16_t kPackage[] = u"C:\\drop\\p.msi";

class SignatureOnHost : public ::testing::Test {
 protected:
  SignatureOnHost() {
    const std::string folder = host::RootFolder() + "/drive_c/drop";
    std::filesystem::create_directories(folder);
    std::ofstream(folder + "/p.msi") << "package";
    Sign(u"QUORVANTA Lab");
    m_statesBefore = host::Live().trustStates;
    host::ClearCallLog();
    host::StartCallLog();
  }
  ~SignatureOnHost() override {
    host::ClearFaults();
    host::ShowAll();
    host::SetTrustVerdict({});
    EXPECT_EQ(host::Live().localBlocks, 0u);
  }

  static void Sign(std::u16string signer, std::int32_t status = 0) {
    host::SetTrustVerdict({.status = status, .signer = std::move(signer)});
  }

  static bool Passes() { return PassesFor(kPackage); }
  static bool PassesFor(const std::u16string& path) {
    try {
      CheckVerisignSignature(path);
      return true;
    } catch (const oru::CheckResultFailedException& exception) {
      EXPECT_EQ(exception.Code(), oru::MakeResultCode(0xA1780007));
      EXPECT_STREQ(exception.File(), "zum_setup_util_lib/correct_setup");
      EXPECT_GT(exception.Line(), 0u);
      EXPECT_TRUE(exception.Message().empty());
      return false;
    }
  }

  // Expects a failure with a record of the cause that begins so and ends with its line.
  void ExpectCause(const std::string& start) {
    EXPECT_FALSE(Passes());
    const tests::TraceRecords records = m_tracer.Records();
    ASSERT_FALSE(records.empty());
    EXPECT_EQ(records.back().first, 300u);
    EXPECT_TRUE(records.back().second.starts_with(kPrefix + start)) << records.back().second;
    EXPECT_TRUE(tests::EndsAtALineOf(records.back().second, "zum_setup_util_lib/correct_setup"))
        << records.back().second;
  }
  [[nodiscard]] tests::TraceRecords Records() const { return m_tracer.Records(); }

  // Those that this test has left open.
  [[nodiscard]] std::size_t OpenStates() const { return host::Live().trustStates - m_statesBefore; }

  // Whether the check itself is made of calls of that operation.
  static bool IsOwn(const host::CallRecord& call) {
    static constexpr std::string_view kOwn[] = {"WinVerifyTrust",
                                                "CloseHandle",
                                                "WTHelperProvDataFromStateData",
                                                "WTHelperGetProvSignerFromChain",
                                                "WTHelperGetProvCertFromChain",
                                                "CertGetNameStringW",
                                                "LocalAlloc",
                                                "LocalFree"};
    return std::find(std::begin(kOwn), std::end(kOwn), call.operation) != std::end(kOwn);
  }
  static std::vector<std::string> Calls() {
    std::vector<std::string> calls;
    for (const host::CallRecord& call : host::CallLog()) {
      if (IsOwn(call)) calls.push_back(call.operation);
    }
    return calls;
  }
  // Whether the description's block is given back by one of the log's first `count` calls.
  static bool IsBlockFreedWithin(std::size_t count) {
    const auto first = host::CallLog().begin();
    return std::any_of(first, first + static_cast<std::ptrdiff_t>(count),
                       [](const auto& call) { return call.operation == "LocalFree"; });
  }

 private:
  InstalledTracer m_tracer;
  std::size_t m_statesBefore = 0;
};
using SignatureOnHostOwnProcess = SignatureOnHost;

TEST_F(SignatureOnHost, PassesAndClosesTheState) {
  EXPECT_TRUE(Passes());
  EXPECT_EQ(OpenStates(), 0u);
  EXPECT_EQ(host::Live().handles, 0u);
  EXPECT_EQ(Records(),
            (tests::TraceRecords{{700, kPrefix + "path = C:\\drop\\p.msi"},
                                 {700, kPrefix + "certificate description = QUORVANTA Lab"}}));
}

TEST_F(SignatureOnHost, OrderOfTheCalls) {
  EXPECT_TRUE(Passes());
  EXPECT_EQ(Calls(), (std::vector<std::string>{
                         "WinVerifyTrust", "CloseHandle", "WTHelperProvDataFromStateData",
                         "WTHelperGetProvSignerFromChain", "WTHelperGetProvCertFromChain",
                         "CertGetNameStringW", "LocalAlloc", "CertGetNameStringW", "LocalFree",
                         "WinVerifyTrust"}));
}

TEST_F(SignatureOnHost, ArgumentsOfTheVerification) {
  EXPECT_TRUE(Passes());
  const std::vector<host::CallRecord> calls = host::CallsOf("WinVerifyTrust");
  ASSERT_EQ(calls.size(), 2u);
  const host::CallRecord& verify = calls[0];
  EXPECT_EQ(verify.Argument("window"), "0xffffffffffffffff");
  // {00AAC56B-CD44-11D0-8CC2-00C04FC295EE} in memory.
  EXPECT_EQ(verify.Argument("action"), "6bc5aa0044cdd0118cc200c04fc295ee");
  const std::vector<std::pair<const char*, const char*>> kExpected = {
      {"cbStruct", "52"},
      {"dwUIChoice", "2"},
      {"pPolicyCallbackData", "0x0"},
      {"pSIPClientData", "0x0"},
      {"fdwRevocationChecks", "0"},
      {"dwUnionChoice", "1"},
      {"dwStateAction", "1"},
      {"hWVTStateData", "0x0"},
      {"pwszURLReference", "0x0"},
      {"dwProvFlags", "0x1010"},
      {"dwUIContext", "0"},
      {"pSignatureSettings", "0x0"},
      {"pFile.cbStruct", "16"},
      {"pFile.pcwszFilePath", "C:\\drop\\p.msi"},
      {"pFile.hFile", "0x0"},
      {"pFile.pgKnownSubject", "0x0"}};
  for (const auto& [name, value] : kExpected) EXPECT_EQ(verify.Argument(name), value) << name;
  const host::CallRecord& close = calls[1];
  EXPECT_EQ(close.Argument("window"), "0xffffffffffffffff");
  EXPECT_EQ(close.Argument("action"), "6bc5aa0044cdd0118cc200c04fc295ee");
  EXPECT_EQ(close.Argument("dwUIChoice"), "2");
  EXPECT_EQ(close.Argument("dwStateAction"), "2");
  EXPECT_EQ(close.Argument("dwProvFlags"), "0x1010");
  // Closed already: the provider must not close it a second time.
  EXPECT_EQ(close.Argument("pFile.hFile"), "0x0");
  EXPECT_NE(close.Argument("hWVTStateData"), "0x0");
  EXPECT_EQ(close.Argument("hWVTStateData"),
            host::CallsOf("WTHelperProvDataFromStateData").at(0).Argument("state"));
}

TEST_F(SignatureOnHost, ArgumentsOfTheHelpers) {
  EXPECT_TRUE(Passes());
  const host::CallRecord signer = host::CallsOf("WTHelperGetProvSignerFromChain").at(0);
  EXPECT_EQ(signer.Argument("signer"), "0");
  EXPECT_EQ(signer.Argument("counterSigner"), "0");
  EXPECT_EQ(signer.Argument("counterSignerIndex"), "0");
  EXPECT_EQ(host::CallsOf("WTHelperGetProvCertFromChain").at(0).Argument("certificate"), "0");
  const std::vector<host::CallRecord> names = host::CallsOf("CertGetNameStringW");
  ASSERT_EQ(names.size(), 2u);
  for (const host::CallRecord& name : names) {
    EXPECT_EQ(name.Argument("type"), "5");
    EXPECT_EQ(name.Argument("flags"), "0");
    EXPECT_EQ(name.Argument("typeParameter"), "01000000");
    EXPECT_EQ(name.Argument("certificate"), names[0].Argument("certificate"));
  }
  EXPECT_EQ(names[0].Argument("name"), "0x0");
  EXPECT_EQ(names[0].Argument("size"), "0");
  EXPECT_NE(names[1].Argument("name"), "0x0");
  EXPECT_EQ(names[1].Argument("size"), "14");
  const host::CallRecord allocation = host::CallsOf("LocalAlloc").at(0);
  EXPECT_EQ(allocation.Argument("flags"), "0x0");
  EXPECT_EQ(allocation.Argument("bytes"), "28");
  EXPECT_EQ(host::CallsOf("LocalFree").at(0).Argument("memory"), names[1].Argument("name"));
}

struct NameCase {
  const char* name;
  std::u16string signer;
  bool passes;
};

std::u16string LongName() {
  std::u16string name(5000, u'x');
  name.append(u" QUORVANTA ").append(5000, u'y');
  return name;
}

TEST_F(SignatureOnHost, NamesOfSigners) {
  const NameCase kCases[] = {
      {"capitals", u"QUORVANTA LAB", true},
      {"small letters", u"quorvanta", true},
      {"mixed", u"QuOrVaNtA", true},
      {"in the middle", u"The Quorvanta Company", true},
      {"at the end", u"Software by Quorvanta", true},
      {"inside a longer word", u"Xquorvantaworks Ltd", true},
      {"behind other scripts", u"ООО «Quorvanta»", true},
      {"other signer", u"Somebody Else GmbH", false},
      {"a letter short", u"Quorvant", false},
      {"in two words", u"Quor vanta", false},
      {"look-alike letters", u"QU\u041ERV\u0410NT\u0410", false},
      {"full-width letters", u"ＱＵＯＲＶＡＮＴＡ", false},
      {"empty", u"", false},
      {"the word behind a zero", std::u16string(u"a\0quorvanta", 11), false},
      {"a long name", LongName(), true},
  };
  for (const NameCase& one : kCases) {
    SCOPED_TRACE(one.name);
    Sign(one.signer);
    EXPECT_EQ(Passes(), one.passes);
    EXPECT_EQ(host::Live().localBlocks, 0u);
  }
}

TEST_F(SignatureOnHost, OtherSignerIsShownInTheTrace) {
  Sign(u"Somebody Else GmbH");
  ExpectCause(
      "CheckResultFailedException - not correct cert information: 0x8000005a (Invalid signature). "
      "At zum_setup_util_lib/correct_setup(");
  EXPECT_EQ(Records()[1], Record(700, kPrefix + "certificate description = Somebody Else GmbH"));
  EXPECT_EQ(OpenStates(), 1u);
}

TEST_F(SignatureOnHost, DescriptionKeepsItsSpellingInTheTrace) {
  Sign(u"QuorVanta GmbH & Cö");
  EXPECT_TRUE(Passes());
  EXPECT_EQ(Records()[1], Record(700, kPrefix + "certificate description = QuorVanta GmbH & Cö"));
}

TEST_F(SignatureOnHost, StatusOfZeroAndAbovePasses) {
  for (const std::int32_t status : {0, 1, 2, 0x7FFFFFFF}) {
    Sign(u"Quorvanta", status);
    EXPECT_TRUE(Passes()) << status;
  }
}

TEST_F(SignatureOnHost, NegativeStatusFailsBeforeTheSignerIsLookedAt) {
  struct Case {
    const char* name;
    std::uint32_t status;
    const char* text;
  };
  const Case kCases[] = {
      {"no signature", 0x800B0100, "0x800b0100"},   {"altered", 0x80096010, "0x80096010"},
      {"untrusted root", 0x800B0109, "0x800b0109"}, {"expired", 0x800B0101, "0x800b0101"},
      {"missing file", 0x80092003, "0x80092003"},   {"the least", 0x80000000, "0x80000000"},
      {"minus one", 0xFFFFFFFF, "0xffffffff"},
  };
  for (const Case& one : kCases) {
    SCOPED_TRACE(one.name);
    host::ClearCallLog();
    Sign(u"Quorvanta", static_cast<std::int32_t>(one.status));
    ExpectCause("ResultCodeException - System error: " + std::string(one.text) + ". ");
    EXPECT_NE(Records().back().second.find(
                  ". Expression: 'WinVerifyTrust(static_cast<HWND>(((HANDLE)(LONG_PTR)-1)), "
                  "&guidAction, &sWintrustData)': 0x"),
              std::string::npos);
    EXPECT_EQ(host::CallsOf("WinVerifyTrust").size(), 1u);
    EXPECT_TRUE(host::CallsOf("WTHelperProvDataFromStateData").empty());
    EXPECT_TRUE(host::CallsOf("CloseHandle").empty());
  }
}

// Held open, the file could not be removed with its directory.
TEST_F(SignatureOnHost, RefusedFileThatIsLeftOpenIsClosed) {
  host::SetTrustVerdict(
      {.status = static_cast<std::int32_t>(0x800B0109), .signer = {}, .holdsRefusedFile = true});
  ExpectCause("ResultCodeException - System error: 0x800b0109. ");
  // The last one releases the system's text for the status.
  EXPECT_EQ(Calls(), (std::vector<std::string>{"WinVerifyTrust", "CloseHandle", "LocalFree"}));
  EXPECT_EQ(host::Live().handles, 0u);
  EXPECT_EQ(OpenStates(), 1u);
}

TEST_F(SignatureOnHostOwnProcess, EmptyPathAsksNobody) {
  EXPECT_THROW(CheckVerisignSignature(u""), oru::CheckResultFailedException);
  EXPECT_EQ(Calls(), std::vector<std::string>());
  EXPECT_TRUE(host::CallsOf("LoadLibraryW").empty());
}

TEST_F(SignatureOnHost, NoProviderData) {
  host::FailCall("WTHelperProvDataFromStateData", 1, 5);
  ExpectCause(
      "CheckFailedException - setup\t[correct_setup::detail::CheckVerisignSignature] "
      "WTHelperProvDataFromStateData fail. At zum_setup_util_lib/correct_setup(");
  EXPECT_EQ(OpenStates(), 1u) << "closed at the last step only";
  EXPECT_EQ(host::Live().handles, 0u);
  EXPECT_EQ(Calls(), (std::vector<std::string>{"WinVerifyTrust", "CloseHandle",
                                               "WTHelperProvDataFromStateData"}));
}

TEST_F(SignatureOnHost, NoSigner) {
  host::FailCall("WTHelperGetProvSignerFromChain", 1, 5);
  ExpectCause(
      "CheckFailedException - setup\t[correct_setup::detail::CheckVerisignSignature] "
      "WTHelperGetProvSignerFromChain fail. At zum_setup_util_lib/correct_setup(");
  EXPECT_EQ(OpenStates(), 1u);
  EXPECT_TRUE(host::CallsOf("WTHelperGetProvCertFromChain").empty());
}

TEST_F(SignatureOnHost, NoCertificate) {
  host::FailCall("WTHelperGetProvCertFromChain", 1, 5);
  ExpectCause(
      "CheckFailedException - setup\t[correct_setup::detail::CheckVerisignSignature] "
      "WTHelperGetProvCertFromChain fail. At zum_setup_util_lib/correct_setup(");
  EXPECT_EQ(OpenStates(), 1u);
  EXPECT_TRUE(host::CallsOf("CertGetNameStringW").empty());
}

TEST_F(SignatureOnHost, NoMemoryForTheDescription) {
  host::FailCall("LocalAlloc", 1, 8);
  ExpectCause(
      "CheckFailedException - setup\t[correct_setup::detail::GetCertificateDescription] "
      "CertGetNameString fail. At zum_setup_util_lib/correct_setup(");
  const std::vector<host::CallRecord> names = host::CallsOf("CertGetNameStringW");
  ASSERT_EQ(names.size(), 2u);
  EXPECT_EQ(names[1].Argument("name"), "0x0");
  EXPECT_EQ(names[1].Argument("size"), "14");
  EXPECT_TRUE(host::CallsOf("LocalFree").empty());
  EXPECT_EQ(OpenStates(), 1u);
}

TEST_F(SignatureOnHost, NameOfNoSizeIsTheNameTestsFailure) {
  host::FailCall("CertGetNameStringW", 1, 5);
  ExpectCause("CheckResultFailedException - not correct cert information: 0x8000005a");
  EXPECT_EQ(Records()[1], Record(700, kPrefix + "certificate description = "));
  EXPECT_TRUE(host::CallsOf("LocalAlloc").empty());
  EXPECT_EQ(host::CallsOf("CertGetNameStringW").size(), 1u);
}

TEST_F(SignatureOnHost, EmptyNameIsTheNameTestsFailure) {
  Sign(u"");
  ExpectCause("CheckResultFailedException - not correct cert information: 0x8000005a");
  EXPECT_EQ(Records()[1], Record(700, kPrefix + "certificate description = "));
  EXPECT_EQ(host::CallsOf("LocalAlloc").at(0).Argument("bytes"), "2");
}

// The buffer holds what it was made with then, and that is no name.
TEST_F(SignatureOnHost, NameThatIsNotWrittenIsEmpty) {
  host::FailCall("CertGetNameStringW", 2, 5);
  ExpectCause("CheckResultFailedException - not correct cert information: 0x8000005a");
  EXPECT_EQ(Records()[1], Record(700, kPrefix + "certificate description = "));
}

TEST_F(SignatureOnHost, ResultOfTheCloseIsIgnored) {
  host::FailCall("WinVerifyTrust", 2, 0x80096010);
  EXPECT_TRUE(Passes());
}

TEST_F(SignatureOnHost, ResultsOfTheReleasesAreIgnored) {
  host::FailCall("CloseHandle", 1, 5);
  host::FailCall("LocalFree", 1, 5);
  EXPECT_TRUE(Passes());
  EXPECT_TRUE(tests::ReportedChecks().empty());
}

TEST_F(SignatureOnHost, FileThatIsNotOpenIsNotClosed) {
  std::filesystem::remove(host::RootFolder() + "/drive_c/drop/p.msi");
  EXPECT_FALSE(Passes()) << "hFile is the invalid handle";
  EXPECT_TRUE(host::CallsOf("CloseHandle").empty());
  host::FailCall("WinVerifyTrust", 1, 2);
  EXPECT_FALSE(Passes()) << "hFile is null";
  EXPECT_EQ(host::InjectedFaultCount(), 1u);
  EXPECT_TRUE(host::CallsOf("CloseHandle").empty());
}

TEST_F(SignatureOnHostOwnProcess, MissingProvider) {
  host::HideModule("wintrust.dll");
  ExpectCause("ResultCodeException - System error: 0x8007007e. ");
  host::ShowAll();
  host::HideProcedure("WinVerifyTrust");
  ExpectCause("ResultCodeException - System error: 0x8007007f. ");
  host::ShowAll();
  host::HideModule("crypt32.dll");
  ExpectCause("CheckResultFailedException - not correct cert information: 0x8000005a");
}

// Behind the release of the description's block the check itself needs no memory: what fails there
// is the record that shows the name.
TEST_F(SignatureOnHost, LackOfMemoryBehindTheNameUndoesNoVerdict) {
  EXPECT_TRUE(Passes());  // the modules are loaded from here on
  const std::u16string path = kPackage;
  std::size_t behind = 0;
  (void)tests::SweepAllocations([&](std::size_t nth) {
    host::ClearCallLog();
    const bool passed = PassesFor(path);
    const auto calls = host::CallsBeforeAllocationFault();
    if (!calls || !IsBlockFreedWithin(*calls)) return;
    ++behind;
    EXPECT_TRUE(passed) << "allocation " << nth;
  });
  EXPECT_GT(behind, 0u);
}

TEST_F(SignatureOnHost, WithoutATracerTheResultIsTheSame) {
  const InstalledTracer silent(0);
  EXPECT_TRUE(Passes());
  Sign(u"Somebody Else");
  EXPECT_FALSE(Passes());
  EXPECT_TRUE(silent.Records().empty());
}

}  // namespace
