#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/answers.h"
#include "tests/support/seam_error.h"
#include "winapi/errors.h"
#include "winapi/modules.h"

namespace {

using tests::Answers;
using tests::kHost;
using tests::kUntouchedError;
using tests::kWindows;
using tests::kWine;

const auto kNoModule = reinterpret_cast<winapi::Module>(std::uintptr_t{0x123450});

winapi::Module Kernel32() { return winapi::GetModuleHandleW(u"kernel32.dll"); }

TEST(LoadLibraryContract, FindsASystemModuleByEachFormOfItsName) {
  for (const char16_t* name :
       {u"kernel32.dll", u"KERNEL32.DLL", u"kernel32", u"C:\\Windows\\System32\\kernel32.dll",
        u"c:\\windows\\SYSTEM32\\Kernel32.dll"}) {
    const winapi::Module module = winapi::LoadLibraryW(name);
    EXPECT_EQ(Kernel32(), module);
    EXPECT_NE(nullptr, module);
    EXPECT_NE(0, winapi::FreeLibrary(module));
  }
}

TEST(LoadLibraryContract, NothingThere) {
  for (const char16_t* name :
       {u"no-such.dll", u"", u"kernel32.", u"C:\\windows\\system32\\no-such.dll",
        u"C:\\no-such\\kernel32.dll"}) {
    winapi::SetLastError(kUntouchedError);
    EXPECT_EQ(nullptr, winapi::LoadLibraryW(name));
    EXPECT_EQ(winapi::kErrorModuleNotFound, winapi::GetLastError());
  }
}

TEST(LoadLibraryContract, RefusesNull) {
  EXPECT_EQ(nullptr, winapi::LoadLibraryW(nullptr));
  EXPECT_EQ(winapi::kErrorInvalidParameter, winapi::GetLastError());
}

TEST(FreeLibraryContract, RefusesWhatIsNoModule) {
  EXPECT_EQ(0, winapi::FreeLibrary(nullptr));
  EXPECT_EQ(winapi::kErrorInvalidHandle, winapi::GetLastError());
  EXPECT_EQ(0, winapi::FreeLibrary(kNoModule));
  EXPECT_EQ(winapi::kErrorModuleNotFound, winapi::GetLastError());
}

TEST(FreeLibraryContract, ReferenceThatWasNeverTaken) {
  EXPECT_ANSWER(
      "result",
      Answers(1, kWine | kWindows).Or(0, kHost, "takes back no reference that it never gave"),
      winapi::FreeLibrary(Kernel32()));
}

TEST(GetModuleHandleContract, FindsWhatIsLoaded) {
  EXPECT_NE(nullptr, Kernel32());
  EXPECT_EQ(Kernel32(), winapi::GetModuleHandleW(u"Kernel32"));
  EXPECT_NE(nullptr, winapi::GetModuleHandleW(u"ntdll.dll"));
  EXPECT_NE(Kernel32(), winapi::GetModuleHandleW(u"ntdll.dll"));
}

TEST(GetModuleHandleContract, TakesAnEightBitName) {
  EXPECT_EQ(Kernel32(), winapi::GetModuleHandleA("kernel32.dll"));
  EXPECT_EQ(Kernel32(), winapi::GetModuleHandleA("KERNEL32"));
  EXPECT_EQ(winapi::GetModuleHandleW(nullptr), winapi::GetModuleHandleA(nullptr));
  winapi::SetLastError(kUntouchedError);
  EXPECT_EQ(nullptr, winapi::GetModuleHandleA("no-such.dll"));
  EXPECT_EQ(winapi::kErrorModuleNotFound, winapi::GetLastError());
}

TEST(GetModuleHandleContract, NullIsTheProgram) {
  const winapi::Module program = winapi::GetModuleHandleW(nullptr);
  EXPECT_NE(nullptr, program);
  EXPECT_NE(Kernel32(), program);
}

TEST(GetModuleHandleContract, NothingThere) {
  for (const char16_t* name : {u"no-such.dll", u"", u"kernel32."}) {
    winapi::SetLastError(kUntouchedError);
    EXPECT_EQ(nullptr, winapi::GetModuleHandleW(name));
    EXPECT_EQ(winapi::kErrorModuleNotFound, winapi::GetLastError());
  }
}

TEST(GetModuleHandleExContract, GivesTheSameModule) {
  winapi::Module module = nullptr;
  EXPECT_NE(0, winapi::GetModuleHandleExW(winapi::kGetModuleHandleExUnchangedRefcount,
                                          u"kernel32.dll", &module));
  EXPECT_EQ(Kernel32(), module);
  EXPECT_NE(0, winapi::GetModuleHandleExW(0, u"kernel32.dll", &module));
  EXPECT_NE(0, winapi::FreeLibrary(module));
}

TEST(GetModuleHandleExContract, NothingThere) {
  winapi::Module module = kNoModule;
  EXPECT_EQ(0, winapi::GetModuleHandleExW(2, u"no-such.dll", &module));
  EXPECT_EQ(winapi::kErrorModuleNotFound, winapi::GetLastError());
  EXPECT_EQ(nullptr, module);
}

TEST(GetModuleHandleExContract, RefusesAFlagThatIsNone) {
  winapi::Module module = kNoModule;
  EXPECT_EQ(0, winapi::GetModuleHandleExW(8, u"kernel32.dll", &module));
  EXPECT_EQ(winapi::kErrorInvalidParameter, winapi::GetLastError());
  EXPECT_EQ(0, winapi::GetModuleHandleExW(2, u"kernel32.dll", nullptr));
  EXPECT_EQ(winapi::kErrorInvalidParameter, winapi::GetLastError());
}

TEST(GetProcAddressContract, FindsTheFunctionsOfKernel32) {
  for (const char* name :
       {"SetDefaultDllDirectories", "GetTimeZoneInformationForYear", "GetThreadDescription",
        "SetThreadDescription", "InitializeProcThreadAttributeList", "UpdateProcThreadAttribute"}) {
    EXPECT_NE(nullptr, winapi::GetProcAddress(Kernel32(), name)) << name;
  }
}

TEST(GetProcAddressContract, FindsTheFunctionsOfNtdll) {
  std::vector<winapi::Procedure> found;
  for (const char* name : {"NtSuspendProcess", "NtResumeProcess", "NtQueryInformationProcess",
                           "NtSetInformationProcess", "NtQueryInformationThread",
                           "NtSetInformationThread", "RtlNtStatusToDosError"}) {
    const winapi::Procedure procedure =
        winapi::GetProcAddress(winapi::GetModuleHandleW(u"ntdll.dll"), name);
    EXPECT_NE(nullptr, procedure) << name;
    for (const winapi::Procedure other : found) EXPECT_NE(other, procedure) << name;
    found.push_back(procedure);
  }
}

TEST(GetProcAddressContract, RegOpenKeyTransacted) {
  // A program that uses the registry has the module from its start; this one doesn't.
  const winapi::Module advapi32 = winapi::LoadLibraryW(u"advapi32.dll");
  ASSERT_NE(nullptr, advapi32);
  EXPECT_EQ(advapi32, winapi::GetModuleHandleW(u"advapi32.dll"));
  const bool found = winapi::GetProcAddress(advapi32, "RegOpenKeyTransactedW") != nullptr;
  EXPECT_ANSWER("there",
                Answers(true, kHost | kWindows).Or(false, kWine, "lacks RegOpenKeyTransactedW"),
                found);
  EXPECT_NE(0, winapi::FreeLibrary(advapi32));
}

TEST(GetProcAddressContract, NothingThere) {
  for (const char* name : {"NoSuchFunction", "setdefaultdlldirectories", ""}) {
    winapi::SetLastError(kUntouchedError);
    EXPECT_EQ(nullptr, winapi::GetProcAddress(Kernel32(), name)) << name;
    EXPECT_EQ(winapi::kErrorProcedureNotFound, winapi::GetLastError()) << name;
  }
  EXPECT_EQ(nullptr, winapi::GetProcAddress(nullptr, "NoSuchFunction"));
  EXPECT_EQ(winapi::kErrorProcedureNotFound, winapi::GetLastError());
}

TEST(GetProcAddressContract, RefusesWhatIsNoModule) {
  EXPECT_EQ(nullptr, winapi::GetProcAddress(kNoModule, "SetDefaultDllDirectories"));
  EXPECT_EQ(winapi::kErrorModuleNotFound, winapi::GetLastError());
}

TEST(SetDefaultDllDirectoriesContract, TakesTheSearchFlagsOnly) {
  const auto set = reinterpret_cast<winapi::SetDefaultDllDirectoriesFunction>(
      winapi::GetProcAddress(Kernel32(), "SetDefaultDllDirectories"));
  ASSERT_NE(nullptr, set);
  for (const winapi::Dword flags : {0x200u, 0x400u, 0x1000u, 0x800u}) {
    EXPECT_NE(0, set(flags)) << flags;
  }
  for (const winapi::Dword flags : {0u, 8u, 0x100u, 0x801u, 0x900u, 0x2000u, 0x40000u}) {
    winapi::SetLastError(kUntouchedError);
    EXPECT_EQ(0, set(flags)) << flags;
    EXPECT_EQ(winapi::kErrorInvalidParameter, winapi::GetLastError()) << flags;
  }
}

std::u16string ModuleFileName(winapi::Module module) {
  std::u16string path(32768, u'?');
  const winapi::Dword length =
      winapi::GetModuleFileNameW(module, path.data(), static_cast<winapi::Dword>(path.size()));
  EXPECT_EQ(u'\0', path[length]);
  path.resize(length);
  return path;
}

TEST(GetModuleFileNameContract, GivesFullPaths) {
  const std::u16string program = ModuleFileName(nullptr);
  EXPECT_EQ(u"Z:\\", program.substr(0, 3));
  EXPECT_NE(std::u16string::npos, program.find(u"contract_test"));
  EXPECT_EQ(program, ModuleFileName(winapi::GetModuleHandleW(nullptr)));
  EXPECT_ANSWER("path of a system module",
                Answers<std::u16string>(u"C:\\Windows\\System32\\kernel32.dll", kHost | kWindows)
                    .Or(u"C:\\windows\\system32\\kernel32.dll", kWine,
                        "names the system folder in lower case"),
                ModuleFileName(Kernel32()));
}

TEST(GetModuleFileNameContract, CutsAndSaysSo) {
  const std::u16string whole = ModuleFileName(nullptr);
  const auto length = static_cast<winapi::Dword>(whole.size());
  struct Case {
    const char* name;
    winapi::Dword size;
    bool fits;
  };
  // 1 where a path that is cut ends in a zero.
  const auto terminator =
      Answers(1u, kHost | kWindows).Or(0u, kWine, "doesn't terminate a path that it cuts");
  const Case kCases[] = {
      {"one over", length + 2, true},   {"exact", length + 1, true}, {"one short", length, false},
      {"two short", length - 1, false}, {"two", 2, false},           {"one", 1, false}};
  for (const Case& one : kCases) {
    SCOPED_TRACE(one.name);
    std::u16string path(length + 3, u'?');
    winapi::SetLastError(0);
    const winapi::Dword given = winapi::GetModuleFileNameW(nullptr, path.data(), one.size);
    EXPECT_EQ(one.fits ? length : one.size, given);
    EXPECT_EQ(one.fits ? 0 : winapi::kErrorInsufficientBuffer, winapi::GetLastError());
    const winapi::Dword copied = one.fits ? length : one.size - terminator.Here();
    EXPECT_EQ(whole.substr(0, copied), path.substr(0, copied));
    if (one.fits || terminator.Here() == 1) {
      EXPECT_EQ(u'\0', path[copied]);
    }
    EXPECT_EQ(u'?', path[one.fits ? copied + 1 : one.size]);
  }
}

TEST(GetModuleFileNameContract, NoRoomAtAll) {
  char16_t unit = u'?';
  EXPECT_EQ(0u, winapi::GetModuleFileNameW(nullptr, &unit, 0));
  EXPECT_EQ(winapi::kErrorInsufficientBuffer, winapi::GetLastError());
  EXPECT_EQ(u'?', unit);
}

TEST(GetModuleFileNameContract, RefusesWhatIsNoModule) {
  char16_t path[64];
  EXPECT_EQ(0u, winapi::GetModuleFileNameW(kNoModule, path, 64));
  EXPECT_EQ(winapi::kErrorModuleNotFound, winapi::GetLastError());
}

}  // namespace
