#include <gtest/gtest.h>

#include "oru/rtl/exception.h"
#include "winapi/host/control.h"
#include "zum_setup_util/dll_search.h"

namespace zum_setup_util {
namespace {

namespace host = winapi::host;

std::vector<std::string> LoggedOperations() {
  std::vector<std::string> names;
  for (const host::CallRecord& call : host::CallLog()) names.push_back(call.operation);
  return names;
}

class DllSearchFaults : public testing::Test {
 protected:
  DllSearchFaults() {
    host::StartCallLog();
    host::ClearCallLog();
  }
  ~DllSearchFaults() override {
    EXPECT_EQ(host::Live().moduleReferences, m_references) << "a module reference was kept";
    host::ClearFaults();
    host::ShowAll();
  }

 private:
  std::size_t m_references = host::Live().moduleReferences;
};

TEST_F(DllSearchFaults, CallsInOrderWithTheirArguments) {
  EXPECT_EQ(EnableSystemDllSearch(2048), oru::sOk);
  EXPECT_EQ(LoggedOperations(),
            (std::vector<std::string>{"LoadLibraryW", "GetProcAddress", "SetDefaultDllDirectories",
                                      "FreeLibrary"}));
  EXPECT_EQ(host::CallsOf("LoadLibraryW").at(0).Argument("name"), "kernel32.dll");
  EXPECT_EQ(host::CallsOf("GetProcAddress").at(0).Argument("name"), "SetDefaultDllDirectories");
  EXPECT_EQ(host::CallsOf("SetDefaultDllDirectories").at(0).Argument("flags"), "0x800");
}

TEST_F(DllSearchFaults, MissingModuleGivesTheMappedError) {
  host::FailCall("LoadLibraryW", 1, 126);
  EXPECT_EQ(EnableSystemDllSearch(2048), oru::MakeResultCode(0x80010112));
  EXPECT_EQ(LoggedOperations().front(), "LoadLibraryW");
  EXPECT_TRUE(host::CallsOf("GetProcAddress").empty());
  EXPECT_TRUE(host::CallsOf("FreeLibrary").empty());
}

TEST_F(DllSearchFaults, MissingEntryIsASuccessAndReleasesTheModule) {
  host::HideProcedure("SetDefaultDllDirectories");
  EXPECT_EQ(EnableSystemDllSearch(2048), oru::sOk);
  EXPECT_TRUE(host::CallsOf("SetDefaultDllDirectories").empty());
  EXPECT_EQ(host::CallsOf("FreeLibrary").size(), 1u);
}

TEST_F(DllSearchFaults, RefusalGivesTheMappedErrorAndReleasesTheModule) {
  host::FailCall("SetDefaultDllDirectories", 1, 5);
  EXPECT_EQ(EnableSystemDllSearch(2048), oru::MakeResultCode(0x80000045));
  EXPECT_EQ(host::CallsOf("FreeLibrary").size(), 1u);
}

// The error is that of the refusal, not one that the release leaves behind.
TEST_F(DllSearchFaults, FailingReleaseChangesNothing) {
  host::FailCall("SetDefaultDllDirectories", 1, 5);
  host::FailCall("FreeLibrary", 1, 6);
  EXPECT_EQ(EnableSystemDllSearch(2048), oru::MakeResultCode(0x80000045));
  EXPECT_EQ(host::CallsOf("FreeLibrary").size(), 1u);
}

// What fails without setting the last error finds an old one there, which may be 0.
TEST_F(DllSearchFaults, FailureWithoutAnErrorIsNoSuccess) {
  for (const char* const call : {"LoadLibraryW", "SetDefaultDllDirectories"}) {
    host::FailCall(call, 1, 0);
    EXPECT_EQ(EnableSystemDllSearch(2048), oru::MakeResultCode(0x8000004B)) << call;
    EXPECT_EQ(host::InjectedFaultCount(), 1u) << call;
    host::ClearFaults();
  }
}

std::vector<std::string> PathSizes() {
  std::vector<std::string> sizes;
  for (const host::CallRecord& call : host::CallsOf("GetModuleFileNameW")) {
    EXPECT_EQ(call.arguments.size(), 3u);
    sizes.push_back(call.Argument("size"));
  }
  return sizes;
}

struct PathCase {
  const char* name;
  std::size_t length;
  std::vector<std::string> sizes;

  friend void PrintTo(const PathCase& value, std::ostream* out) { *out << value.name; }
};

const PathCase kPathCases[] = {
    {"Short", 20, {"260"}},
    {"OneBelowTheBuffer", 259, {"260"}},
    {"ExactFillIsCut", 260, {"260", "520"}},
    {"OneBelowTheSecond", 519, {"260", "520"}},
    {"ExactFillOfTheSecond", 520, {"260", "520", "1040"}},
    {"LongestThatFits", 4159, {"260", "520", "1040", "2080", "4160"}},
};

class ExecutablePath : public testing::TestWithParam<PathCase> {};

TEST_P(ExecutablePath, GrowsByDoubling) {
  const std::u16string path = u"C:\\" + std::u16string(GetParam().length - 3, u'p');
  host::SetModuleFileName(path);
  host::StartCallLog();
  EXPECT_EQ(GetExecutablePath(), path);
  EXPECT_EQ(PathSizes(), GetParam().sizes);
}

INSTANTIATE_TEST_SUITE_P(Table, ExecutablePath, testing::ValuesIn(kPathCases),
                         [](const auto& parameter) { return std::string(parameter.param.name); });

std::uint32_t CodeOfFailure() {
  try {
    (void)GetExecutablePath();
  } catch (const oru::CheckResultFailedException& exception) {
    EXPECT_STREQ(exception.File(), "zum_setup_util/dll_search");
    EXPECT_GT(exception.Line(), 0u);
    return static_cast<std::uint32_t>(exception.Code());
  }
  return 0;
}

TEST(ExecutablePathFailure, FiveCallsAreTheMost) {
  host::SetModuleFileName(u"C:\\" + std::u16string(4160 - 3, u'p'));
  host::StartCallLog();
  EXPECT_EQ(CodeOfFailure(), 0x8000004Bu);
  EXPECT_EQ(PathSizes(), (std::vector<std::string>{"260", "520", "1040", "2080", "4160"}));
}

TEST(ExecutablePathFailure, ZeroGivesTheMappedError) {
  host::FailCall("GetModuleFileNameW", 1, 5);
  EXPECT_EQ(CodeOfFailure(), 0x80000045u);
}

TEST(ExecutablePathFailure, ZeroWithoutAnErrorIsNoSuccess) {
  host::FailCall("GetModuleFileNameW", 1, 0);
  EXPECT_EQ(CodeOfFailure(), 0x8000004Bu);
}

TEST(ExecutablePathFailure, ZeroAfterAGrowthGivesTheMappedError) {
  host::SetModuleFileName(u"C:\\" + std::u16string(300, u'p'));
  host::FailCall("GetModuleFileNameW", 2, 1000);
  EXPECT_EQ(CodeOfFailure(), 0x800703E8u);
}

}  // namespace
}  // namespace zum_setup_util
