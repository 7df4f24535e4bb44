// The one reset of all that a test can set.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "winapi/child_process.h"
#include "winapi/errors.h"
#include "winapi/files.h"
#include "winapi/guid.h"
#include "winapi/handles.h"
#include "winapi/host/control.h"
#include "winapi/host/trust.h"
#include "winapi/modules.h"
#include "winapi/process.h"
#include "winapi/registry.h"
#include "winapi/security.h"
#include "winapi/time.h"

namespace winapi {
namespace {

constexpr char16_t kDenied[] = u"HKEY_LOCAL_MACHINE\\SYSTEM\\ZumDenied";

// All answers that the test face can change, as text.
class Answers {
 public:
  Answers() {
    Add("command line", std::u16string(GetCommandLineW()));
    Add("process", GetCurrentProcessId());
    Add("thread", GetCurrentThreadId());
    AddPaths();
    Add("module", GetModuleHandleW(u"kernel32") != nullptr);
    Add("function", GetProcAddress(GetModuleHandleW(u"ntdll"), "NtSuspendProcess") != nullptr);
    Add("library", GetModuleHandleW(u"ntdll") != nullptr);
    Add("sleeps", host::Sleeps().size());
    AddTimes();
    AddFiles();
    AddRegistry();
    AddToken();
    AddTrust();
    Add("faults", host::InjectedFaultCount());
    Add("log", host::CallLog().size());
    Guid guid{};
    Add("guid", CoCreateGuid(&guid) == 0);
  }

  // The names of those that differ.
  [[nodiscard]] std::vector<std::string> Differences(const Answers& other) const {
    std::vector<std::string> names;
    for (std::size_t i = 0; i < m_answers.size(); ++i) {
      if (m_answers[i] != other.m_answers[i]) names.push_back(m_answers[i].first);
    }
    return names;
  }

 private:
  void Add(const char* name, const std::u16string& answer) {
    m_answers.emplace_back(name, std::filesystem::path(answer).string());
  }
  template <class Number>
  void Add(const char* name, Number answer) {
    m_answers.emplace_back(name, std::to_string(answer));
  }

  void AddPaths() {
    char16_t path[1000];
    Add("program", std::u16string(path, GetModuleFileNameW(nullptr, path, 1000)));
    Add("temporary directory", std::u16string(path, GetTempPathW(1000, path)));
  }
  void AddTimes() {
    FileTime now{};
    GetSystemTimeAsFileTime(&now);
    Add("clock runs", now.dwHighDateTime > 0x01D00000);
    TimeZoneInformation zone{};
    Add("zone's number", GetTimeZoneInformation(&zone));
    Add("zone", zone.Bias);
    const FileTime utc{0, 0x01D00000};
    FileTime local{};
    EXPECT_NE(FileTimeToLocalFileTime(&utc, &local), 0);
    Add("local clock", local.dwLowDateTime);
    OsVersionInfo version{};
    version.dwMajorVersion = 6;
    version.dwMinorVersion = 2;
    Add("version", VerifyVersionInfoW(&version, kVerMajorVersion | kVerMinorVersion,
                                      VerSetConditionMask(VerSetConditionMask(0, 2, 3), 1, 3)));
  }
  void AddFiles() {
    Add("locked file", CopyFileW(u"C:\\locked", u"C:\\copy", 0));
    Add("read-only directory", CreateDirectoryW(u"C:\\closed\\x", nullptr));
    (void)RemoveDirectoryW(u"C:\\closed\\x");
  }
  void AddRegistry() {
    Key key = nullptr;
    Add("rights", RegOpenKeyExW(HkeyLocalMachine(), u"SYSTEM\\ZumDenied", 0, kKeyQueryValue, &key));
    if (key == nullptr) {
      (void)RegOpenKeyExW(HkeyLocalMachine(), u"SYSTEM\\ZumDenied", 0, kKeySetValue, &key);
    }
    Add("value", RegQueryValueExW(key, u"scripted", nullptr, nullptr, nullptr, nullptr));
    (void)RegCloseKey(key);
  }
  void AddToken() {
    Handle token = nullptr;
    (void)OpenProcessToken(GetCurrentProcess(), kTokenQuery, &token);
    Dword needed = 0;
    (void)GetTokenInformation(token, kTokenUserClass, nullptr, 0, &needed);
    Add("token", needed);
    (void)CloseHandle(token);
  }
  void AddTrust() {
    WintrustFileInfo file{};
    file.cbStruct = kWintrustFileInfoSize;
    file.pcwszFilePath = u"C:\\plain";
    WintrustData data{};
    data.cbStruct = kWintrustDataSize;
    data.dwUnionChoice = kWtdChoiceFile;
    data.pFile = &file;
    data.dwStateAction = kWtdStateActionVerify;
    Add("trust", host::WinVerifyTrust(nullptr, &kWintrustActionGenericVerifyV2, &data));
    data.dwStateAction = kWtdStateActionClose;
    (void)host::WinVerifyTrust(nullptr, &kWintrustActionGenericVerifyV2, &data);
  }

  std::vector<std::pair<std::string, std::string>> m_answers;
};

void SetEverything() {
  host::StartCallLog();
  host::FailCall("CoCreateGuid", 1, 5);
  host::SetCommandLine(u"another");
  host::SetIdentity(1, 2);
  host::SetModuleFileName(u"C:\\another.exe");
  host::HideProcedure("NtSuspendProcess");
  host::HideModule("kernel32.dll");
  host::SetClock(0);
  Sleep(1);
  host::SetTimeZone("Asia/Kathmandu");
  host::SetTimeZoneId(77);
  host::SetLocalClockLag(1);
  host::SetSystemVersion(10, 0, 0);
  host::SetQueryScript([](std::u16string_view, Dword) { return host::QueryAnswer{}; });
  host::SetPathScript("GetTempPathW", [](Dword) { return host::PathAnswer{u"D:\\", {}}; });
  host::SetGuidSource([](Guid&) { return -1; });
  EXPECT_TRUE(host::LockFile(u"C:\\locked"));
  EXPECT_TRUE(host::SetReadOnlyDirectory(u"C:\\closed", true));
  host::SetToken({.user = host::MakeSid(5, {18}), .integrityLevel = {}});
  host::SetExitCode(99);
  host::SetProgramWait(kWaitAbandoned);
  host::SetTrustVerdict({.status = 1});
  host::DenyRegistryRights(kDenied, kKeyQueryValue | kKeyEnumerateSubKeys);
}

TEST(HostReset, TakesBackAllThatATestCanSet) {
  host::ResetMachine();
  for (const char16_t* path : {u"C:\\locked", u"C:\\plain"}) {
    (void)CloseHandle(CreateFileW(path, 0, 0, nullptr, kCreateNew, 0, nullptr));
  }
  ASSERT_NE(CreateDirectoryW(u"C:\\closed", nullptr), 0);
  ASSERT_TRUE(host::CreateRegistryKey(kDenied));
  const Answers before;
  SetEverything();
  const Answers set;
  const std::vector<std::string> changed = {
      "command line", "process",     "thread",  "program",     "temporary directory",
      "module",       "function",    "sleeps",  "clock runs",  "zone's number",
      "zone",         "local clock", "version", "locked file", "read-only directory",
      "rights",       "value",       "token",   "trust",       "log",
      "guid"};
  EXPECT_EQ(set.Differences(before), changed);
  host::ResetMachine();
  ASSERT_TRUE(host::CreateRegistryKey(kDenied))
      << "the registry is reloaded, and was never written";
  EXPECT_EQ(Answers().Differences(before), std::vector<std::string>());
  EXPECT_TRUE(host::CallLog().empty());
}

}  // namespace
}  // namespace winapi
