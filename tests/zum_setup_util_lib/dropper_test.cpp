#include "zum_setup_util_lib/dropper.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>
#include <set>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "platform/util/windows/system_error.h"
#include "tests/support/directory_tree.h"
#include "tests/support/text.h"
#include "tests/zum_setup_util_lib/installed_tracer.h"

namespace {

using correct_setup::CopyFilesystemObjects;
using correct_setup::DropFilesystemObjects;
using correct_setup::FilesystemObject;
using correct_setup::FilesystemObjectType;
using correct_setup::ScopedRemoveDirectory;
using tests::DirectoryTree;
using tests::InstalledTracer;
using tests::Narrow;

using Names = std::set<std::u16string>;

constexpr auto kFile = FilesystemObjectType::File;
constexpr auto kDirectory = FilesystemObjectType::Directory;

constexpr char kOwnPrefix[] =
    "setup\t[correct_setup::ScopedRemoveDirectory::~ScopedRemoveDirectory] ";

TEST(ScopedRemoveDirectory, RemovesAllThatIsInIt) {
  const DirectoryTree tree;
  tree.MakeDirectory(u"drop/a/b");
  tree.Write(u"drop/file");
  tree.Write(u"drop/a/b/file");
  const InstalledTracer tracer;
  { const ScopedRemoveDirectory directory(tree.Windows(u"drop")); }
  EXPECT_FALSE(tree.Has(u"drop"));
  EXPECT_TRUE(tracer.Records().empty());
}

TEST(ScopedRemoveDirectory, MovedFromDoesNothing) {
  const DirectoryTree tree;
  tree.MakeDirectory(u"drop");
  const InstalledTracer tracer;
  {
    ScopedRemoveDirectory last = [&tree] {
      ScopedRemoveDirectory first(tree.Windows(u"drop"));
      return ScopedRemoveDirectory(std::move(first));
    }();
    EXPECT_TRUE(tree.Has(u"drop"));
  }
  EXPECT_FALSE(tree.Has(u"drop"));
  EXPECT_TRUE(tracer.Records().empty());
}

TEST(ScopedRemoveDirectory, EmptyPathDoesNothing) {
  const InstalledTracer tracer;
  { const ScopedRemoveDirectory directory(u""); }
  EXPECT_TRUE(tracer->Calls().empty());
}

TEST(ScopedRemoveDirectory, ShapeOfTheClass) {
  static_assert(std::has_virtual_destructor_v<ScopedRemoveDirectory>);
  static_assert(std::is_nothrow_move_constructible_v<ScopedRemoveDirectory>);
  static_assert(std::is_nothrow_destructible_v<ScopedRemoveDirectory>);
  EXPECT_FALSE(std::is_copy_constructible_v<ScopedRemoveDirectory>);
}

// Eleven tries with a tenth of a second between them, then the one line of its own. The second is
// a real one, as in HeldFileMakesItStay: dropper_host_test.cpp has the tries on a standing clock.
TEST(ScopedRemoveDirectory, GivesUpAfterElevenTries) {
  const DirectoryTree tree;
  const InstalledTracer tracer;
  { const ScopedRemoveDirectory directory(tree.Windows(u"missing")); }
  const tests::TraceRecords records = tracer.Records();
  ASSERT_EQ(records.size(), 22u);
  EXPECT_EQ(records[19].second,
            "setup\t[correct_setup::helpers::TryExecuteWithRepeat] try repeat execution: count "
            "10:10");
  EXPECT_EQ(records[21].first, 300u);
  EXPECT_TRUE(records[21].second.starts_with(std::string(kOwnPrefix) +
                                             "CheckResultFailedException - 0x8001010"))
      << records[21].second;
  EXPECT_NE(records[21].second.find(". At zum_setup_util_lib/dropper("), std::string::npos);
}

std::size_t CountOf(const tests::TraceRecords& records, std::string_view beginning) {
  return static_cast<std::size_t>(
      std::count_if(records.begin(), records.end(),
                    [&](const auto& record) { return record.second.starts_with(beginning); }));
}

// Somebody holds a file in it: what nobody holds goes, and the end comes after the tenth repeat.
TEST(ScopedRemoveDirectory, HeldFileMakesItStay) {
  const DirectoryTree tree;
  tree.MakeDirectory(u"drop/a");
  for (const char16_t* name : {u"drop/a/held", u"drop/a/free", u"drop/free"}) tree.Write(name);
  const InstalledTracer tracer;
  {
    const tests::HeldFile held(tree, u"drop/a/held");
    const ScopedRemoveDirectory directory(tree.Windows(u"drop"));
  }
  EXPECT_TRUE(tree.Has(u"drop/a/held"));
  EXPECT_FALSE(tree.Has(u"drop/a/free"));
  EXPECT_FALSE(tree.Has(u"drop/free"));
  const tests::TraceRecords records = tracer.Records();
  EXPECT_EQ(CountOf(records,
                    "setup\t[correct_setup::helpers::TryExecuteWithRepeat] try repeat execution: "),
            10u);
  EXPECT_EQ(CountOf(records, kOwnPrefix), 1u);
  EXPECT_EQ(records.back().first, 300u);
  EXPECT_TRUE(records.back().second.starts_with(kOwnPrefix)) << records.back().second;
}

struct Masks {
  const char* name;
  std::vector<FilesystemObject> objects;
  Names copied;
};

void PrintTo(const Masks& row, std::ostream* out) { *out << row.name; }

class CopiedObjects : public testing::TestWithParam<Masks> {};

// On the disk: two packages, a file without extension, a directory and a file in it.
TEST_P(CopiedObjects, AreThoseThatAnEntryOfTheirTypeMatches) {
  const DirectoryTree tree;
  tree.MakeDirectory(u"from/Data.msi");
  tree.MakeDirectory(u"to");
  for (const char16_t* name : {u"from/Zum_Win.msi", u"from/fix.msp", u"from/readme"}) {
    tree.Write(name);
  }
  tree.Write(u"from/Data.msi/inner");
  CopyFilesystemObjects(tree.Windows(u"from"), tree.Windows(u"to"), GetParam().objects);
  EXPECT_EQ(tree.Names(u"to"), GetParam().copied);
  if (GetParam().copied.contains(u"Data.msi")) {
    EXPECT_EQ(tree.Names(u"to/Data.msi"), Names{u"inner"});
  }
}

INSTANTIATE_TEST_SUITE_P(
    Dropper, CopiedObjects,
    testing::Values(
        Masks{"ExactName", {{u"Zum_Win.msi", kFile}}, {u"Zum_Win.msi"}},
        Masks{"OtherCase", {{u"zum_win.MSI", kFile}}, {u"Zum_Win.msi"}},
        Masks{"Wildcard", {{u"*.msi", kFile}}, {u"Zum_Win.msi"}},
        Masks{"AnyOne", {{u"fi?.ms?", kFile}}, {u"fix.msp"}},
        Masks{"StarDotStarMatchesAll", {{u"*.*", kFile}}, {u"Zum_Win.msi", u"fix.msp", u"readme"}},
        Masks{"ExtensionIsAskedFor", {{u"readme.*", kFile}}, {}},
        Masks{"EmptyMatchesAllFiles", {{u"", kFile}}, {u"Zum_Win.msi", u"fix.msp", u"readme"}},
        Masks{"DirectoryOfThatName", {{u"Data.msi", kDirectory}}, {u"Data.msi"}},
        Masks{"DirectoryIsNoFile", {{u"Data.msi", kFile}}, {}},
        Masks{"FileIsNoDirectory", {{u"Zum_Win.msi", kDirectory}}, {}},
        Masks{"EmptyMatchesAllDirectories", {{u"", kDirectory}}, {u"Data.msi"}},
        Masks{"SeveralEntries",
              {{u"fix.msp", kFile}, {u"data*", kDirectory}, {u"nothing", kFile}},
              {u"fix.msp", u"Data.msi"}},
        Masks{"NoMatch", {{u"other.msi", kFile}}, {}}, Masks{"NoEntry", {}, {}}),
    [](const auto& tested) { return tested.param.name; });

TEST(CopyFilesystemObjects, MissingSourceIsNoFailure) {
  const DirectoryTree tree;
  tree.MakeDirectory(u"to");
  CopyFilesystemObjects(tree.Windows(u"from"), tree.Windows(u"to"), {{u"a", kFile}});
  EXPECT_TRUE(tree.Names(u"to").empty());
}

TEST(CopyFilesystemObjects, ObjectThatTwoEntriesMatchIsCopiedOnce) {
  const DirectoryTree tree;
  tree.MakeDirectory(u"from/data");
  tree.Write(u"from/a.msi");
  tree.MakeDirectory(u"to");
  const InstalledTracer tracer;
  CopyFilesystemObjects(
      tree.Windows(u"from"), tree.Windows(u"to"),
      {{u"a.msi", kFile}, {u"*.msi", kFile}, {u"", kDirectory}, {u"data", kDirectory}});
  EXPECT_EQ(tree.Names(u"to"), (Names{u"a.msi", u"data"}));
  const std::string action = "setup\t[correct_setup::FileSystemActions::";
  EXPECT_EQ(CountOf(tracer.Records(), action + "CopyFileT] "), 1u);
  EXPECT_EQ(CountOf(tracer.Records(), action + "CreateDirectoryT] "), 1u);
}

TEST(CopyFilesystemObjects, TracesItsList) {
  const DirectoryTree tree;
  const InstalledTracer tracer;
  CopyFilesystemObjects(
      tree.Windows(u"from"), tree.Windows(u"to"),
      {{u"a.msi", kFile}, {u"data", kDirectory}, {u"other", static_cast<FilesystemObjectType>(2)}});
  CopyFilesystemObjects(tree.Windows(u"from"), tree.Windows(u"to"), {});
  EXPECT_EQ(tracer.Records(),
            (tests::TraceRecords{{700,
                                  "setup\t[correct_setup::CopyFilesystemObjects] objects = [ "
                                  "file:a.msi,dir:data,other ]"},
                                 {700,
                                  "setup\t[correct_setup::CopyFilesystemObjects] objects = [ "
                                  " ]"}}));
}

TEST(DropFilesystemObjects, FillsANewDirectoryAndOwnsIt) {
  const DirectoryTree tree;
  tree.MakeDirectory(u"from");
  tree.Write(u"from/a.msi", "package");
  tree.Write(u"from/b.msi");
  const InstalledTracer tracer;
  {
    const ScopedRemoveDirectory directory =
        DropFilesystemObjects(tree.Windows(u"from"), tree.Windows(u"to"), {{u"a.msi", kFile}});
    EXPECT_EQ(tree.Names(u"to"), Names{u"a.msi"});
    EXPECT_EQ(tree.Read(u"to/a.msi"), "package");
  }
  EXPECT_FALSE(tree.Has(u"to"));
  EXPECT_TRUE(tree.Has(u"from/a.msi"));
  const std::string from = Narrow(tree.Windows(u"from"));
  const std::string to = Narrow(tree.Windows(u"to"));
  const std::string own = "setup\t[correct_setup::DropFilesystemObjects] ";
  const std::string action = "setup\t[correct_setup::FileSystemActions::";
  EXPECT_EQ(tracer.Records(),
            (tests::TraceRecords{
                {700, own + " begin"},
                {700, own + from + " -> " + to},
                {700, action + "CreateSecureDirectory] dir = " + to},
                {700, own + "copy input objects"},
                {700, "setup\t[correct_setup::CopyFilesystemObjects] objects = [ file:a.msi ]"},
                {700, action + "CopyFileT] " + from + "\\a.msi -> " + to + "\\a.msi"},
                {700, own + " end"}}));
  tests::ExpectProbes(tracer, 1);
}

TEST(DropFilesystemObjects, DirectoryThatIsThereIsLeftAlone) {
  const DirectoryTree tree;
  tree.MakeDirectory(u"to");
  tree.Write(u"to/mine");
  EXPECT_THROW((void)DropFilesystemObjects(tree.Windows(), tree.Windows(u"to"), {}),
               windows_helpers::WindowsErrorException);
  EXPECT_TRUE(tree.Has(u"to/mine"));
}

}  // namespace
