#include "zum_setup_util_lib/drop_files_stage.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "oru/rtl/exception.h"
#include "tests/support/current_directory.h"
#include "tests/support/directory_tree.h"
#include "tests/support/expected_failure.h"
#include "tests/zum_setup_util_lib/command_line_forms.h"
#include "tests/zum_setup_util_lib/installed_tracer.h"
#include "zum_setup_util_lib/temporary_directory.h"

namespace {

using correct_setup::ICommandMsi;
using correct_setup::ScopedRemoveDirectory;
using correct_setup::detail::DropFiles;
using tests::CurrentDirectory;
using tests::DirectoryTree;
using tests::InstalledTracer;
using tests::Narrow;
using tests::ToLocal;

using Names = std::set<std::u16string>;

std::unique_ptr<ICommandMsi> CommandFor(const std::u16string& package) {
  return tests::MakeCommand({u"/installmsi", package, u"/q"}).command;
}

std::u16string ParentOf(const std::u16string& path) { return path.substr(0, path.rfind(u'\\')); }

// The temporary directory and a braced name of upper-case digits in the form 8-4-4-4-12.
void ExpectDropDirectory(const std::u16string& directory) {
  const std::u16string temporary = correct_setup::helpers::GetTempDirectory();
  ASSERT_TRUE(directory.starts_with(temporary)) << Narrow(directory);
  const std::string name = Narrow(directory.substr(temporary.size()));
  EXPECT_EQ(name.find_first_not_of("{}-0123456789ABCDEF"), std::string::npos) << name;
  ASSERT_EQ(name.size(), 38u);
  EXPECT_EQ((std::string{name[0], name[9], name[14], name[19], name[24], name[37]}), "{----}");
}

void ExpectDropFailure(const std::unique_ptr<ICommandMsi>& command) {
  tests::ExpectFailureOf("zum_setup_util_lib/correct_setup", 0xA1780008,
                         [&] { (void)DropFiles(command); });
}

TEST(DropFiles, MovesTheCommandOntoAPrivateCopy) {
  const DirectoryTree tree;
  tree.Write(u"zum_win.msi", "package");
  tree.Write(u"zum_win.cab", "beside it");
  const auto command = CommandFor(tree.Windows(u"zum_win.msi"));
  std::u16string directory;
  {
    const ScopedRemoveDirectory owner = DropFiles(command);
    const std::u16string copy = command->GetFullPathToPackage();
    directory = ParentOf(copy);
    ExpectDropDirectory(directory);
    EXPECT_EQ(copy, directory + u"\\zum_win.msi");
    EXPECT_EQ(tests::NamesIn(ToLocal(directory)), Names{u"zum_win.msi"});
    EXPECT_EQ(tests::ReadAll(ToLocal(copy)), "package");
    EXPECT_EQ(Narrow(command->GetMsiCommandLine()),
              "/norestart /i " + Narrow(copy) + " /q SKIPREBOOTPENDING=1");
  }
  EXPECT_FALSE(std::filesystem::exists(ToLocal(directory)));
  EXPECT_EQ(tree.Read(u"zum_win.msi"), "package");
}

TEST(DropFiles, WritesNoRecordOfItsOwnOnSuccess) {
  const DirectoryTree tree;
  tree.Write(u"a.msi");
  const auto command = CommandFor(tree.Windows(u"a.msi"));
  const InstalledTracer tracer;
  { const ScopedRemoveDirectory owner = DropFiles(command); }
  ASSERT_EQ(tracer.Records().size(), 7u);
  for (const auto& [level, text] : tracer.Records()) EXPECT_EQ(level, 700u) << text;
  EXPECT_EQ(tracer.Records()[0].second, "setup\t[correct_setup::DropFilesystemObjects]  begin");
  EXPECT_EQ(tracer.Records()[6].second, "setup\t[correct_setup::DropFilesystemObjects]  end");
}

TEST(DropFiles, MissingPackageLeavesAnEmptyDirectory) {
  const DirectoryTree tree;
  tree.Write(u"other.msi");
  const auto command = CommandFor(tree.Windows(u"a.msi"));
  const ScopedRemoveDirectory owner = DropFiles(command);
  const std::u16string copy = command->GetFullPathToPackage();
  EXPECT_TRUE(std::filesystem::is_directory(ToLocal(ParentOf(copy))));
  EXPECT_TRUE(tests::NamesIn(ToLocal(ParentOf(copy))).empty());
  EXPECT_TRUE(copy.ends_with(u"}\\a.msi"));
}

TEST(DropFiles, MissingDirectoryLeavesAnEmptyDirectoryToo) {
  const DirectoryTree tree;
  const auto command = CommandFor(tree.Windows(u"missing/a.msi"));
  const ScopedRemoveDirectory owner = DropFiles(command);
  const std::u16string directory = ParentOf(command->GetFullPathToPackage());
  ExpectDropDirectory(directory);
  EXPECT_TRUE(tests::NamesIn(ToLocal(directory)).empty());
}

// No directory is no current directory: nothing is found, even where the file is at hand.
TEST(DropFiles, BareNameFindsNothing) {
  const DirectoryTree tree;
  tree.Write(u"a.msi");
  const CurrentDirectory inTree(tree.File(u""));
  const auto command = CommandFor(u"a.msi");
  const ScopedRemoveDirectory owner = DropFiles(command);
  const std::u16string copy = command->GetFullPathToPackage();
  ExpectDropDirectory(ParentOf(copy));
  EXPECT_TRUE(copy.ends_with(u"\\a.msi"));
  EXPECT_TRUE(tests::NamesIn(ToLocal(ParentOf(copy))).empty());
}

// The drive alone is searched by way of its current directory, but a name is joined to it by a
// separator and so names a file of the drive's root, which isn't there.
TEST(DropFiles, DriveRelativePathFindsThePackageAndCopiesFromTheRoot) {
  const DirectoryTree tree;
  tree.Write(u"zum-drive-relative.msi");
  const CurrentDirectory inTree(tree.File(u""));
  const std::u16string package = tree.Windows().substr(0, 2) + u"zum-drive-relative.msi";
  const auto command = CommandFor(package);
  const InstalledTracer tracer;
  ExpectDropFailure(command);
  EXPECT_EQ(command->GetFullPathToPackage(), package);
  EXPECT_TRUE(tracer.Records().back().second.starts_with(
      "setup\t[correct_setup::detail::DropFiles] CheckResultFailedException - 0x80010102"))
      << tracer.Records().back().second;
}

TEST(DropFiles, DriveRelativePathThatIsMissingLeavesAnEmptyDirectory) {
  const DirectoryTree tree;
  const CurrentDirectory inTree(tree.File(u""));
  const auto command = CommandFor(tree.Windows().substr(0, 2) + u"zum-drive-relative.msi");
  const ScopedRemoveDirectory owner = DropFiles(command);
  const std::u16string copy = command->GetFullPathToPackage();
  ExpectDropDirectory(ParentOf(copy));
  EXPECT_TRUE(copy.ends_with(u"\\zum-drive-relative.msi"));
  EXPECT_TRUE(tests::NamesIn(ToLocal(ParentOf(copy))).empty());
}

TEST(DropFiles, RelativePathIsTakenFromTheCurrentDirectory) {
  const DirectoryTree tree;
  tree.MakeDirectory(u"sub");
  tree.Write(u"sub/a.msi", "package");
  const CurrentDirectory inTree(tree.File(u""));
  for (const char16_t* path : {u"sub\\a.msi", u".\\sub\\a.msi", u"sub/a.msi"}) {
    const auto command = CommandFor(path);
    const ScopedRemoveDirectory owner = DropFiles(command);
    const std::u16string copy = command->GetFullPathToPackage();
    ExpectDropDirectory(ParentOf(copy));
    EXPECT_EQ(tests::ReadAll(ToLocal(copy)), "package") << Narrow(path);
  }
}

TEST(DropFiles, PathWithATrailingSeparatorTakesAllFiles) {
  const DirectoryTree tree;
  tree.MakeDirectory(u"setup/sub");
  tree.Write(u"setup/a.msi");
  tree.Write(u"setup/b");
  const auto command = CommandFor(tree.Windows(u"setup") + u"\\");
  const ScopedRemoveDirectory owner = DropFiles(command);
  const std::u16string directory = command->GetFullPathToPackage();
  ExpectDropDirectory(directory);
  EXPECT_EQ(tests::NamesIn(ToLocal(directory)), (Names{u"a.msi", u"b"}));
}

TEST(DropFiles, NameIsAMask) {
  const DirectoryTree tree;
  tree.Write(u"a1.msi");
  tree.Write(u"a2.msi");
  tree.Write(u"b1.msi");
  const auto command = CommandFor(tree.Windows(u"a?.msi"));
  const ScopedRemoveDirectory owner = DropFiles(command);
  const std::u16string copy = command->GetFullPathToPackage();
  EXPECT_TRUE(copy.ends_with(u"\\a?.msi"));
  EXPECT_EQ(tests::NamesIn(ToLocal(ParentOf(copy))), (Names{u"a1.msi", u"a2.msi"}));
}

// The copy is named as on the disk, the command's path as typed; both mean the same file.
TEST(DropFiles, NameInAnotherCaseMatches) {
  const DirectoryTree tree;
  tree.Write(u"Zum_Win.msi", "package");
  const auto command = CommandFor(tree.Windows(u"zum_win.MSI"));
  const ScopedRemoveDirectory owner = DropFiles(command);
  const std::u16string copy = command->GetFullPathToPackage();
  EXPECT_TRUE(copy.ends_with(u"\\zum_win.MSI"));
  EXPECT_EQ(tests::NamesIn(ToLocal(ParentOf(copy))), Names{u"Zum_Win.msi"});
  EXPECT_EQ(tests::ReadAll(ToLocal(ParentOf(copy)) / u"Zum_Win.msi"), "package");
}

TEST(DropFiles, NameOfAnotherAlphabetIsCopied) {
  const DirectoryTree tree;
  tree.Write(u"\u041F\u0430\u043A\u0435\u0442.msi", "package");
  const auto command = CommandFor(tree.Windows(u"\u041F\u0430\u043A\u0435\u0442.MSI"));
  const ScopedRemoveDirectory owner = DropFiles(command);
  const std::u16string copy = command->GetFullPathToPackage();
  EXPECT_TRUE(copy.ends_with(u"\\\u041F\u0430\u043A\u0435\u0442.MSI"));
  EXPECT_EQ(tests::NamesIn(ToLocal(ParentOf(copy))), Names{u"\u041F\u0430\u043A\u0435\u0442.msi"});
  EXPECT_EQ(tests::ReadAll(ToLocal(ParentOf(copy)) / u"\u041F\u0430\u043A\u0435\u0442.msi"),
            "package");
}

// Only the letters of ASCII are the same in both cases.
TEST(DropFiles, NameOfAnotherAlphabetInAnotherCaseMatchesNothing) {
  const DirectoryTree tree;
  tree.Write(u"\u041F\u0430\u043A\u0435\u0442.msi");
  const auto command = CommandFor(tree.Windows(u"\u043F\u0430\u043A\u0435\u0442.msi"));
  const ScopedRemoveDirectory owner = DropFiles(command);
  const std::u16string directory = ParentOf(command->GetFullPathToPackage());
  ExpectDropDirectory(directory);
  EXPECT_TRUE(tests::NamesIn(ToLocal(directory)).empty());
}

TEST(DropFiles, TwoRunsHaveTwoDirectories) {
  const DirectoryTree tree;
  tree.Write(u"a.msi");
  const auto one = CommandFor(tree.Windows(u"a.msi"));
  const auto other = CommandFor(tree.Windows(u"a.msi"));
  const ScopedRemoveDirectory ownerOfOne = DropFiles(one);
  { const ScopedRemoveDirectory ownerOfOther = DropFiles(other); }
  EXPECT_NE(one->GetFullPathToPackage(), other->GetFullPathToPackage());
  EXPECT_TRUE(std::filesystem::exists(ToLocal(one->GetFullPathToPackage())));
  EXPECT_FALSE(std::filesystem::exists(ToLocal(ParentOf(other->GetFullPathToPackage()))));
}

constexpr char kStagePrefix[] = "setup\t[correct_setup::detail::DropFiles] ";

// The second record ends in the drop directory's path, which is ASCII.
std::u16string TracedDirectory(const InstalledTracer& tracer) {
  const std::string dropped = tracer->Records().at(1).text;
  return std::u16string(dropped.begin() + static_cast<std::ptrdiff_t>(dropped.rfind(" -> ") + 4),
                        dropped.end());
}

// The copying fails at the directory, wherever it stands in the listing; what was copied before it
// has gone by the time the failure is traced.
TEST(DropFiles, DirectoryNameBeyond255BesideThePackageFails) {
  const DirectoryTree tree;
  tree.Write(u"a.msi");
  tree.MakeDirectory(u"\u041F\u0430\u043F\u043A\u0430");
  const std::u16string package = tree.Windows(u"a.msi");
  const auto command = CommandFor(package);
  InstalledTracer tracer;
  std::vector<bool> isThere;  // at each record
  const auto look = [&](char**) {
    isThere.push_back(tracer->Records().size() > 1 &&
                      std::filesystem::exists(ToLocal(TracedDirectory(tracer))));
    return oru::sOk;
  };
  tracer->Script(tests::RecordingTracer::Call::kCommit, look, 20);
  ExpectDropFailure(command);
  EXPECT_EQ(command->GetFullPathToPackage(), package);
  EXPECT_EQ(tracer.Records().back().first, 300u);
  EXPECT_TRUE(tracer.Records().back().second.starts_with(kStagePrefix));
  ExpectDropDirectory(TracedDirectory(tracer));
  ASSERT_EQ(isThere.size(), tracer.Records().size());
  EXPECT_TRUE(isThere[3]);  // "copy input objects"
  EXPECT_FALSE(isThere.back());
  EXPECT_FALSE(std::filesystem::exists(ToLocal(TracedDirectory(tracer))));
  EXPECT_EQ(tree.Read(u"a.msi"), "content");
}

// Keeps the path that it is given and refuses it.
class RefusingCommand final : public ICommandMsi {
 public:
  RefusingCommand(const std::u16string& package, std::u16string* refused)
      : m_package(package), m_refused(refused) {}
  std::u16string GetMsiCommandLine() const override { return {}; }
  std::u16string GetFullPathToPackage() const override { return m_package; }
  void SetFullPathToPackage(const std::u16string& path) override {
    *m_refused = path;
    throw std::runtime_error("refused");
  }

 private:
  std::u16string m_package;
  std::u16string* m_refused;
};

// The directory has gone by the time the failure is traced.
TEST(DropFiles, DirectoryIsRemovedBeforeTheFailureIsTraced) {
  const DirectoryTree tree;
  tree.Write(u"a.msi");
  std::u16string refused;
  const std::unique_ptr<ICommandMsi> command =
      std::make_unique<RefusingCommand>(tree.Windows(u"a.msi"), &refused);
  InstalledTracer tracer;
  std::optional<bool> wasThere;
  const auto look = [&](char**) {
    if (!refused.empty()) wasThere = std::filesystem::exists(ToLocal(ParentOf(refused)));
    return oru::sOk;
  };
  tracer->Script(tests::RecordingTracer::Call::kCommit, look, 20);
  ExpectDropFailure(command);
  EXPECT_EQ(wasThere, std::optional(false));
  EXPECT_EQ(tracer.Records().back(), (std::pair<std::uint32_t, std::string>{
                                         300, std::string(kStagePrefix).append("refused")}));
  ExpectDropDirectory(ParentOf(refused));
}

}  // namespace
