#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "winapi/errors.h"
#include "winapi/host/control.h"
#include "winapi/modules.h"
#include "winapi/time.h"

namespace {

using winapi::host::CallRecord;
using winapi::host::CallsOf;

winapi::Module Kernel32() { return winapi::GetModuleHandleW(u"kernel32.dll"); }

auto FindSetDefaultDllDirectories() {
  return reinterpret_cast<winapi::SetDefaultDllDirectoriesFunction>(
      winapi::GetProcAddress(Kernel32(), "SetDefaultDllDirectories"));
}

TEST(HostModules, CountsTheReferencesThatWereTaken) {
  ASSERT_EQ(0u, winapi::host::Live().moduleReferences);
  const winapi::Module module = winapi::LoadLibraryW(u"kernel32.dll");
  winapi::Module second = nullptr;
  ASSERT_NE(0, winapi::GetModuleHandleExW(0, u"kernel32.dll", &second));
  EXPECT_EQ(2u, winapi::host::Live().moduleReferences);
  winapi::Module third = nullptr;
  ASSERT_NE(0, winapi::GetModuleHandleExW(2, u"kernel32.dll", &third));
  EXPECT_EQ(2u, winapi::host::Live().moduleReferences);
  EXPECT_NE(0, winapi::FreeLibrary(module));
  EXPECT_NE(0, winapi::FreeLibrary(second));
  EXPECT_EQ(0u, winapi::host::Live().moduleReferences);
  EXPECT_EQ(0, winapi::FreeLibrary(third));
  EXPECT_EQ(0u, winapi::host::Live().moduleReferences);
}

// Those that the product loads itself aren't there before.
TEST(HostModules, ModuleIsThereWhileItIsReferenced) {
  for (const char16_t* name : {u"wintrust.dll", u"crypt32.dll", u"ktmw32.dll"}) {
    winapi::Module module = nullptr;
    EXPECT_EQ(nullptr, winapi::GetModuleHandleW(name));
    EXPECT_EQ(126u, winapi::GetLastError());
    EXPECT_EQ(0, winapi::GetModuleHandleExW(2, name, &module));
    module = winapi::LoadLibraryW(name);
    ASSERT_NE(nullptr, module);
    EXPECT_EQ(module, winapi::GetModuleHandleW(name));
    EXPECT_EQ(1u, winapi::host::Live().moduleReferences);
    EXPECT_NE(0, winapi::FreeLibrary(module));
    EXPECT_EQ(nullptr, winapi::GetModuleHandleW(name));
    EXPECT_EQ(nullptr, winapi::GetProcAddress(module, "CreateTransaction"));
    EXPECT_EQ(126u, winapi::GetLastError());
  }
}

TEST(HostModules, ReferenceIsGivenBackThoughThatFailsWhenToldTo) {
  const winapi::Module module = winapi::LoadLibraryW(u"kernel32.dll");
  winapi::host::FailCall("FreeLibrary", 1, 5);
  EXPECT_EQ(0, winapi::FreeLibrary(module));
  EXPECT_EQ(5u, winapi::GetLastError());
  EXPECT_EQ(0u, winapi::host::Live().moduleReferences);
}

TEST(HostModules, EachLookUpFailsWhenToldTo) {
  const winapi::Module kernel32 = Kernel32();
  winapi::Module module = kernel32;
  char16_t path[8] = {};
  winapi::host::FailCall("LoadLibraryW", 1, 11);
  EXPECT_EQ(nullptr, winapi::LoadLibraryW(u"kernel32.dll"));
  EXPECT_EQ(11u, winapi::GetLastError());
  winapi::host::FailCall("GetModuleHandleW", 1, 12);
  EXPECT_EQ(nullptr, Kernel32());
  EXPECT_EQ(12u, winapi::GetLastError());
  winapi::host::FailCall("GetModuleHandleA", 1, 13);
  EXPECT_EQ(nullptr, winapi::GetModuleHandleA("kernel32.dll"));
  EXPECT_EQ(13u, winapi::GetLastError());
  winapi::host::FailCall("GetModuleHandleExW", 1, 14);
  EXPECT_EQ(0, winapi::GetModuleHandleExW(2, u"kernel32.dll", &module));
  EXPECT_EQ(14u, winapi::GetLastError());
  EXPECT_EQ(nullptr, module);
  winapi::host::FailCall("GetProcAddress", 1, 15);
  EXPECT_EQ(nullptr, winapi::GetProcAddress(kernel32, "SetDefaultDllDirectories"));
  EXPECT_EQ(15u, winapi::GetLastError());
  winapi::host::FailCall("GetModuleFileNameW", 1, 16);
  EXPECT_EQ(0u, winapi::GetModuleFileNameW(nullptr, path, 8));
  EXPECT_EQ(16u, winapi::GetLastError());
}

TEST(HostModules, HiddenProcedureIsNotFound) {
  winapi::host::HideProcedure("SetDefaultDllDirectories");
  EXPECT_EQ(nullptr, FindSetDefaultDllDirectories());
  EXPECT_EQ(winapi::kErrorProcedureNotFound, winapi::GetLastError());
  EXPECT_NE(nullptr, winapi::GetProcAddress(Kernel32(), "GetTimeZoneInformationForYear"));
  winapi::host::ShowAll();
  EXPECT_NE(nullptr, FindSetDefaultDllDirectories());
}

TEST(HostModules, HiddenModuleIsNotFoundAndNotLoaded) {
  winapi::host::HideModule("Kernel32.DLL");
  EXPECT_EQ(nullptr, Kernel32());
  EXPECT_EQ(winapi::kErrorModuleNotFound, winapi::GetLastError());
  EXPECT_EQ(nullptr, winapi::LoadLibraryW(u"kernel32"));
  winapi::Module module = nullptr;
  EXPECT_EQ(0, winapi::GetModuleHandleExW(2, u"kernel32.dll", &module));
  EXPECT_NE(nullptr, winapi::GetModuleHandleW(u"ntdll.dll"));
  winapi::host::ShowAll();
  EXPECT_NE(nullptr, Kernel32());
}

TEST(HostModules, FoundFunctionIsLoggedAndFailsUnderItsOwnName) {
  const auto set = FindSetDefaultDllDirectories();
  winapi::host::StartCallLog();
  winapi::host::ClearCallLog();
  winapi::host::FailCall("SetDefaultDllDirectories", 2, 1234);
  EXPECT_NE(0, set(0x800));
  EXPECT_EQ(0, set(0x800));
  EXPECT_EQ(1234u, winapi::GetLastError());
  EXPECT_NE(0, set(0x800));
  const std::vector<CallRecord> calls = CallsOf("SetDefaultDllDirectories");
  ASSERT_EQ(3u, calls.size());
  EXPECT_EQ("0x800", calls[0].Argument("flags"));
  EXPECT_FALSE(calls[0].failed);
  EXPECT_TRUE(calls[1].failed);
}

TEST(HostModules, LookUpsStandInTheLogWithTheirNames) {
  winapi::host::StartCallLog();
  winapi::host::ClearCallLog();
  (void)winapi::GetProcAddress(Kernel32(), "GetThreadDescription");
  ASSERT_EQ(1u, CallsOf("GetProcAddress").size());
  EXPECT_EQ("GetThreadDescription", CallsOf("GetProcAddress")[0].Argument("name"));
  ASSERT_EQ(1u, CallsOf("GetModuleHandleW").size());
  EXPECT_EQ("kernel32.dll", CallsOf("GetModuleHandleW")[0].Argument("name"));
}

TEST(HostModules, ZoneOfAYearFailsUnderItsOwnName) {
  const auto forYear = reinterpret_cast<winapi::GetTimeZoneInformationForYearFunction>(
      winapi::GetProcAddress(Kernel32(), "GetTimeZoneInformationForYear"));
  winapi::host::FailCall("GetTimeZoneInformationForYear", 1, 5);
  winapi::TimeZoneInformation zone{};
  EXPECT_EQ(0, forYear(2026, nullptr, &zone));
  EXPECT_EQ(5u, winapi::GetLastError());
  EXPECT_NE(0, forYear(2026, nullptr, &zone));
  int dynamicZone = 0;
  EXPECT_EQ(0, forYear(2026, &dynamicZone, &zone));
  EXPECT_EQ(winapi::kErrorInvalidParameter, winapi::GetLastError());
}

using HostModulesDeathTest = ::testing::Test;

TEST(HostModulesDeathTest, PlaceholderEndsTheProcessWhenItIsCalled) {
  const winapi::Procedure procedure = winapi::GetProcAddress(Kernel32(), "GetThreadDescription");
  EXPECT_DEATH(procedure(), "placeholder");
}

}  // namespace
