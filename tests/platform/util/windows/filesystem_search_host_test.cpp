// Searches and walks as the seam sees them, and when its calls fail.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "platform/util/windows/filesystem/directory_walker.h"
#include "platform/util/windows/filesystem/find_context.h"
#include "tests/support/checks.h"
#include "tests/support/current_directory.h"
#include "tests/support/directory_tree.h"
#include "tests/support/result_code.h"
#include "winapi/errors.h"
#include "winapi/host/control.h"

namespace host = winapi::host;

namespace {

using product_platform::filesystem::DirectoryWalker;
using product_platform::filesystem::FindContext;
using product_platform::filesystem::FlatPolicy;
using product_platform::filesystem::RemovalPolicy;
using tests::Code;
using tests::DirectoryTree;
using tests::ReportedChecks;

using Reports = std::vector<std::string>;

// What was searched for, and how often the absolute form was asked for.
struct Seen {
  std::string pattern;
  std::size_t fullPathCalls = 0;
};

Seen Search(const std::u16string& path) {
  host::StartCallLog();
  host::ClearCallLog();
  FindContext context;
  (void)context.OpenFind(path);
  const std::vector<host::CallRecord> searches = host::CallsOf("FindFirstFileExW");
  EXPECT_EQ(searches.size(), 1u);
  return {searches.at(0).Argument("pattern"), host::CallsOf("GetFullPathNameW").size()};
}

TEST(OpenFindOnHost, DriveAbsolutePathOf246CharactersIsSearchedDirectly) {
  const std::string path = "C:\\" + std::string(243, 'n');
  const Seen seen = Search(std::u16string(path.begin(), path.end()));
  EXPECT_EQ(seen.pattern, path + "\\*");
  EXPECT_EQ(seen.fullPathCalls, 0u);
}

TEST(OpenFindOnHost, DriveAbsolutePathOf247CharactersGoesThroughTheFullPath) {
  const std::string path = "C:\\" + std::string(244, 'n');
  const Seen seen = Search(std::u16string(path.begin(), path.end()));
  EXPECT_EQ(seen.pattern, "\\\\?\\" + path + "\\*");
  EXPECT_EQ(seen.fullPathCalls, 2u);
}

TEST(OpenFindOnHost, RelativePathIsAlwaysMadeAbsolute) {
  const DirectoryTree tree;
  const tests::CurrentDirectory inTree(tree.File(u""));
  const Seen seen = Search(u"a");
  const std::u16string folder = tree.Windows();
  EXPECT_EQ(seen.pattern, "\\\\?\\" + std::string(folder.begin(), folder.end()) + "\\a\\*");
  EXPECT_EQ(seen.fullPathCalls, 2u);
}

// The drive stands for the current directory's.
TEST(OpenFindOnHost, EveryOtherPathIsMadeAbsoluteWhateverItsLength) {
  const DirectoryTree tree;
  const tests::CurrentDirectory inTree(tree.File(u""));
  const std::u16string folder = tree.Windows();
  const std::string base(folder.begin(), folder.end());
  struct Case {
    const char* name;
    std::u16string path;
    std::string pattern;
  };
  const Case cases[] = {
      {"one character", u"a", base + "\\a\\*"},
      {"300 characters", std::u16string(300, u'n'), base + "\\" + std::string(300, 'n') + "\\*"},
      {"one separator in front", u"\\x", "Z:\\x\\*"},
      {"drive without a separator", u"C:x", "C:\\x\\*"},
      {"drive alone", u"C:", "C:\\*"},
  };
  for (const Case& test : cases) {
    const Seen seen = Search(test.path);
    EXPECT_EQ(seen.pattern, "\\\\?\\" + test.pattern) << test.name;
    EXPECT_EQ(seen.fullPathCalls, 2u) << test.name;
  }
}

// What the two calls for the absolute form answer.
host::PathScript TwoAnswers(winapi::Dword first, host::PathAnswer second) {
  return [=](winapi::Dword size) { return size == 0 ? host::PathAnswer{{}, first} : second; };
}

TEST(OpenFindOnHost, AbsoluteFormMustFitTheSizeThatWasAsked) {
  struct Case {
    const char* name;
    host::PathAnswer second;
    std::uint32_t code;
    std::size_t searches;
  };
  const Case cases[] = {
      {"below the size", {u"Z:\\nowhere", {}}, 0x80010103, 1},
      {"equal to the size", {{}, 20}, 0x8000004B, 0},
      {"above the size", {{}, 21}, 0x8000004B, 0},
      {"nothing", {{}, 0}, 0x8000004B, 0},
  };
  for (const Case& test : cases) {
    host::SetPathScript("GetFullPathNameW", TwoAnswers(20, test.second));
    host::StartCallLog();
    host::ClearCallLog();
    FindContext context;
    EXPECT_EQ(Code(context.OpenFind(u"a")), test.code) << test.name;
    EXPECT_EQ(host::CallsOf("GetFullPathNameW").size(), 2u) << test.name;
    EXPECT_EQ(host::CallsOf("FindFirstFileExW").size(), test.searches) << test.name;
  }
  host::SetPathScript("GetFullPathNameW", nullptr);
}

TEST(OpenFindOnHost, RootedPathIsSearchedDirectlyWhateverItsLength) {
  const std::string path = "\\\\?\\C:\\" + std::string(400, 'n');
  const Seen seen = Search(std::u16string(path.begin(), path.end()));
  EXPECT_EQ(seen.pattern, path + "\\*");
  EXPECT_EQ(seen.fullPathCalls, 0u);
}

// A path that begins with two slashes isn't rooted, and its absolute form is a server's.
TEST(OpenFindOnHost, AbsoluteFormOfAServerHasNoPrefix) {
  const Seen seen = Search(u"//server/share/a");
  EXPECT_EQ(seen.pattern, "\\\\server\\share\\a\\*");
  EXPECT_EQ(seen.fullPathCalls, 2u);
}

TEST(OpenFindOnHost, OnlyABackslashAtTheEndIsNotDoubled) {
  EXPECT_EQ(Search(u"C:\\a\\").pattern, "C:\\a\\*");
  EXPECT_EQ(Search(u"C:\\a/").pattern, "C:\\a/\\*");
}

TEST(OpenFindOnHost, SearchTakesNoFilterAndNoFlags) {
  host::StartCallLog();
  FindContext context;
  ASSERT_EQ(context.OpenFind(u"Z:\\"), oru::sOk);
  const host::CallRecord call = host::CallsOf("FindFirstFileExW").at(0);
  EXPECT_EQ(call.Argument("level"), "0");
  EXPECT_EQ(call.Argument("search"), "0");
  EXPECT_EQ(std::stoul(call.Argument("filter"), nullptr, 0), 0u);
  EXPECT_EQ(std::stoul(call.Argument("flags"), nullptr, 0), 0u);
}

struct Failure {
  const char* call;
  std::size_t nth;
  winapi::Error error;
  std::uint32_t code;
};

// The size's failure is told, that of the text isn't; a failure without an error is told as such.
const Failure kFailures[] = {
    {"GetFullPathNameW", 1, 5, 0x80000045}, {"GetFullPathNameW", 1, 0, 0x8000004B},
    {"GetFullPathNameW", 2, 5, 0x8000004B}, {"FindFirstFileExW", 1, 5, 0x80000045},
    {"FindFirstFileExW", 1, 0, 0x8000004B}, {"FindFirstFileExW", 1, 18, 0x80070012},
};

TEST(OpenFindOnHost, FailureIsToldByItsCode) {
  const DirectoryTree tree;
  const tests::CurrentDirectory inTree(tree.File(u""));
  for (const Failure& test : kFailures) {
    FindContext context;
    host::FailCall(test.call, test.nth, test.error);
    EXPECT_EQ(Code(context.OpenFind(u".")), test.code) << test.call << ' ' << test.nth;
    EXPECT_EQ(host::InjectedFaultCount(), 1u) << test.call << ' ' << test.nth;
    EXPECT_FALSE(context.IsValid()) << test.call << ' ' << test.nth;
    host::ClearFaults();
  }
  EXPECT_EQ(host::Live().handles, 0u);
}

TEST(FindContextOnHost, FailedStepIsToldByItsCode) {
  const DirectoryTree tree;
  FindContext context;
  ASSERT_EQ(context.OpenFind(tree.Windows()), oru::sOk);
  host::FailCall("FindNextFileW", 1, 5);
  EXPECT_EQ(Code(context.FindNext()), 0x80000045u);
  host::FailCall("FindNextFileW", 1, 0);
  EXPECT_EQ(Code(context.FindNext()), 0x8000004Bu);
  host::FailCall("FindNextFileW", 1, 18);
  EXPECT_EQ(context.FindNext(), oru::sFalse);
}

TEST(FindContextOnHostOwnProcess, FailedCloseAtTheEndIsReported) {
  const DirectoryTree tree;
  {
    FindContext context;
    ASSERT_EQ(context.OpenFind(tree.Windows()), oru::sOk);
    host::FailCall("FindClose", 1, 6);
  }
  EXPECT_EQ(ReportedChecks(), Reports{"oru::sOk == Traits::Close(m_handle)"});
  EXPECT_EQ(host::Live().handles, 0u);
}

TEST(FindContextOnHostOwnProcess, FailedCloseAtTheEndLeavesTheLastErrorAsItWas) {
  const DirectoryTree tree;
  {
    FindContext context;
    ASSERT_EQ(context.OpenFind(tree.Windows()), oru::sOk);
    host::FailCall("FindClose", 1, 6);
    winapi::SetLastError(4711);
  }
  EXPECT_EQ(host::InjectedFaultCount(), 1u);
  EXPECT_EQ(winapi::GetLastError(), 4711u);
}

TEST(FindContextOnHostOwnProcess, FailedCloseForANewSearchIsReported) {
  const DirectoryTree tree;
  FindContext context;
  ASSERT_EQ(context.OpenFind(tree.Windows()), oru::sOk);
  host::FailCall("FindClose", 1, 6);
  EXPECT_EQ(context.OpenFind(tree.Windows()), oru::sOk);
  EXPECT_TRUE(context.IsValid());
  EXPECT_EQ(ReportedChecks(), Reports{"oru::sOk == Close()"});
}

// The operations of the log, in its order, of which the names are given.
Reports Order(const std::vector<std::string>& names) {
  Reports order;
  for (const host::CallRecord& call : host::CallLog()) {
    if (std::find(names.begin(), names.end(), call.operation) == names.end()) continue;
    const std::string path = call.Argument("path");
    order.push_back(path.empty() ? call.operation : call.operation + " " + path);
  }
  return order;
}

TEST(FindContextOnHost, OldSearchIsClosedBehindTheNewOnesStart) {
  const DirectoryTree tree;
  tree.MakeDirectory(u"a");
  FindContext context;
  ASSERT_EQ(context.OpenFind(tree.Windows()), oru::sOk);
  host::StartCallLog();
  for (const char16_t* const name : {u"a", u"missing"}) {
    ASSERT_TRUE(context.IsValid());
    host::ClearCallLog();
    (void)context.OpenFind(tree.Windows(name));
    EXPECT_EQ(Order({"FindFirstFileExW", "FindClose"}), (Reports{"FindFirstFileExW", "FindClose"}));
  }
}

// A close that fails without an error is no success either.
TEST(FindContextOnHostOwnProcess, FailedCloseWithoutAnErrorIsReported) {
  const DirectoryTree tree;
  FindContext context;
  ASSERT_EQ(context.OpenFind(tree.Windows()), oru::sOk);
  host::FailCall("FindClose", 1, 0);
  EXPECT_EQ(context.OpenFind(tree.Windows()), oru::sOk);
  EXPECT_EQ(ReportedChecks(), Reports{"oru::sOk == Close()"});
}

// The old search's end mustn't hide why the new one failed.
TEST(FindContextOnHostOwnProcess, FailedCloseLeavesTheNewSearchsFailure) {
  const DirectoryTree tree;
  FindContext context;
  ASSERT_EQ(context.OpenFind(tree.Windows()), oru::sOk);
  host::FailCall("FindClose", 1, 6);
  host::FailCall("FindFirstFileExW", 1, 5);
  EXPECT_EQ(Code(context.OpenFind(tree.Windows())), 0x80000045u);
}

TEST(DirectoryWalkerOnHost, FailedStepLeavesTheStack) {
  const DirectoryTree tree;
  DirectoryWalker<FlatPolicy> walker;
  ASSERT_EQ(walker.Open(tree.Windows()), oru::sOk);
  host::FailCall("FindNextFileW", 1, 5);
  EXPECT_EQ(Code(walker.Next()), 0x80000045u);
  EXPECT_TRUE(walker.IsValid());
  EXPECT_EQ(walker.Next(), oru::sOk);
}

TEST(DirectoryWalkerOnHost, DestructorClosesInnermostFirst) {
  const DirectoryTree tree;
  tree.MakeDirectory(u"a/b/c");
  host::StartCallLog();
  std::vector<std::string> opened;
  {
    DirectoryWalker<RemovalPolicy> walker;
    ASSERT_EQ(walker.Open(tree.Windows()), oru::sOk);
    while (host::Live().handles < 4) ASSERT_EQ(walker.Next(), oru::sOk);
    host::ClearCallLog();
  }
  for (const host::CallRecord& call : host::CallsOf("FindClose")) {
    opened.push_back(call.Argument("search"));
  }
  ASSERT_EQ(opened.size(), 4u);
  for (std::size_t i = 1; i < opened.size(); ++i) {  // handles are given out in rising order
    EXPECT_GT(std::stoul(opened[i - 1], nullptr, 0), std::stoul(opened[i], nullptr, 0));
  }
  EXPECT_EQ(host::Live().handles, 0u);
}

// So that the search of a directory doesn't hold it when it is removed.
TEST(DirectoryWalkerOnHost, DirectoryIsLeftThenClosedThenRemoved) {
  const DirectoryTree tree;
  tree.MakeDirectory(u"top/a/b");
  const std::u16string top = tree.Windows(u"top");
  const std::string root(top.begin(), top.end());
  host::StartCallLog();
  host::ClearCallLog();
  DirectoryWalker<RemovalPolicy> walker;
  ASSERT_EQ(walker.Open(top), oru::sOk);
  while (walker.Next() == oru::sOk) {
  }
  EXPECT_EQ(Order({"FindFirstFileExW", "FindClose", "RemoveDirectoryW"}),
            (Reports{"FindFirstFileExW", "FindFirstFileExW", "FindFirstFileExW", "FindClose",
                     "RemoveDirectoryW " + root + "\\a\\b", "FindClose",
                     "RemoveDirectoryW " + root + "\\a", "FindClose"}));
  EXPECT_EQ(host::Live().handles, 0u);
}

TEST(DirectoryWalkerOnHost, LinksAreSeenAndNotEntered) {
  const DirectoryTree tree;
  tree.MakeDirectory(u"target");
  tree.Write(u"target/inner");
  tree.MakeDirectory(u"top");
  std::filesystem::create_directory_symlink(tree.File(u"target"), tree.File(u"top/link"));
  DirectoryWalker<RemovalPolicy> walker;
  ASSERT_EQ(walker.Open(tree.Windows(u"top")), oru::sOk);
  std::vector<std::u16string> names;
  do {
    names.emplace_back(walker.Current()->Name());
  } while (walker.Next() == oru::sOk);
  EXPECT_EQ(names, (std::vector<std::u16string>{u".", u"..", u"link"}));
}

}  // namespace
