// The registry's file over the lives of processes.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/directory_tree.h"
#include "tests/support/temporary_folder.h"
#include "tests/winapi/host/child_process.h"
#include "winapi/host/reg_file_reader.h"
#include "winapi/host/registry_tree.h"

namespace tests {
namespace {

namespace fs = std::filesystem;

class HostRegistryStore : public ::testing::Test {
 protected:
  [[nodiscard]] fs::path Root() const { return m_folder.Path() / "machine"; }
  [[nodiscard]] fs::path File() const { return Root() / "registry.reg"; }

  void WriteFile(const std::string& bytes) {
    fs::create_directories(Root());
    std::ofstream(File(), std::ios::binary) << bytes;
  }

  // What is told of changes that are lost.
  [[nodiscard]] std::string Lost(const std::string& reason) const {
    return "zum-host: " + File().string() + ": " + reason +
           ": the file stays as it was, without the last changes of the registry\n";
  }

  [[nodiscard]] ChildProcess::Variables Variables() const {
    return {{"ZUM_HOST_ROOT", Root().string()}};
  }

  // Runs a child to its end and gives its output.
  std::string Run(const std::vector<std::string>& arguments, const std::string& errors = "") {
    return RunWithLoss(arguments, errors, /*status=*/0);
  }
  // The same for one whose changes can't be written.
  std::string RunWithLoss(const std::vector<std::string>& arguments, const std::string& errors,
                          int status = 1) {
    ChildProcess child(Variables(), arguments);
    EXPECT_EQ(child.Finish(), status);
    EXPECT_EQ(child.Errors(), errors);
    return child.Output();
  }

 private:
  TemporaryFolder m_folder;
};

TEST_F(HostRegistryStore, ChangesAreWrittenAtTheExit) {
  EXPECT_EQ(Run({"set", "name", "text"}), "");
  EXPECT_EQ(Run({"get", "name"}), "text\n");
  // A second writer of the format: this is what the file must say, unit by unit.
  const std::string expected =
      "Windows Registry Editor Version 5.00\r\n\r\n[HKEY_LOCAL_MACHINE\\SOFTWARE]\r\n\r\n"
      "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Child]\r\n\"name\"=\"text\"\r\n\r\n";
  std::string bytes = "\xFF\xFE";
  for (const char character : expected) bytes.append({character, '\0'});
  EXPECT_EQ(ReadAll(File()), bytes);
}

TEST_F(HostRegistryStore, AMissingFileIsAnEmptyRegistry) {
  EXPECT_EQ(Run({"open"}), "2\n");
  EXPECT_FALSE(fs::exists(File())) << "nothing changed";
}

TEST_F(HostRegistryStore, WithoutAChangeTheFileStaysAsItIs) {
  // A spelling of its own, which a writing would lose.
  const std::string file =
      "Windows Registry Editor Version 5.00\n[HKEY_LOCAL_MACHINE\\software\\child]\n\"a\"=\"b\" "
      ";c\n";
  WriteFile(file);
  EXPECT_EQ(Run({"get", "A"}), "b\n");
  EXPECT_EQ(ReadAll(File()), file);
}

TEST_F(HostRegistryStore, AnExportedFileIsTakenAndCompleted) {
  WriteFile(
      "Windows Registry Editor Version 5.00\n[HKEY_LOCAL_MACHINE\\SOFTWARE\\Child]\n\"a\"=\"b\"\n");
  EXPECT_EQ(Run({"set", "c", "d"}), "");
  EXPECT_EQ(Run({"get", "a", "get", "c"}), "b\nd\n");
}

TEST_F(HostRegistryStore, NoTemporaryFileStays) {
  EXPECT_EQ(Run({"set", "name", "text"}), "");
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(Root())) names.push_back(entry.path().filename());
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, (std::vector<std::string>{"registry.lock", "registry.reg"}));
}

TEST_F(HostRegistryStore, TheFileKeepsItsMode) {
  WriteFile("Windows Registry Editor Version 5.00\n");
  ASSERT_EQ(::chmod(File().c_str(), 0640), 0);
  EXPECT_EQ(Run({"set", "name", "text"}), "");
  struct stat status = {};
  ASSERT_EQ(::stat(File().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0640U);
}

TEST_F(HostRegistryStore, AQuickEndWritesNothing) {
  EXPECT_EQ(Run({"set", "a", "1"}), "");
  EXPECT_EQ(Run({"set", "a", "2", "quick"}), "");
  EXPECT_EQ(Run({"get", "a"}), "1\n");
}

TEST_F(HostRegistryStore, AFlushWritesAtOnce) {
  EXPECT_EQ(Run({"set", "a", "1", "flush", "set", "a", "2", "quick"}), "written\n");
  EXPECT_EQ(Run({"get", "a"}), "1\n");
}

TEST_F(HostRegistryStore, AReloadForgetsWhatWasntWritten) {
  EXPECT_EQ(Run({"set", "a", "1", "flush", "set", "a", "2", "reload", "get", "a"}), "written\n1\n");
}

TEST_F(HostRegistryStore, AForkedProcessDoesntWrite) {
  EXPECT_EQ(Run({"set", "a", "1", "flush", "set", "a", "2", "fork", "set", "a", "3"}), "written\n");
  EXPECT_EQ(Run({"get", "a"}), "1\n");
}

TEST_F(HostRegistryStore, ASecondProcessWaits) {
  ChildProcess first(Variables(), {"set", "a", "1", "wait", "set", "a", "2"});
  ASSERT_EQ(first.ReadLine(), "ready");
  ChildProcess second(Variables(), {"get", "a"});
  EXPECT_FALSE(second.HasOutputWithin(300));
  first.CloseInput();
  EXPECT_EQ(first.Finish(), 0);
  EXPECT_EQ(second.ReadLine(), "2") << "it sees what the first one wrote at its end";
  EXPECT_EQ(second.Finish(), 0);
}

TEST_F(HostRegistryStore, AKilledProcessLetsGoOfTheLock) {
  ChildProcess first(Variables(), {"set", "a", "1", "wait"});
  ASSERT_EQ(first.ReadLine(), "ready");
  first.Kill();
  EXPECT_EQ(first.Finish(), 0x100 + SIGKILL);
  EXPECT_EQ(Run({"get", "a"}), "-\n");
}

TEST_F(HostRegistryStore, AReloadLetsAnotherProcessIn) {
  ChildProcess first(Variables(), {"set", "a", "1", "flush", "reload", "wait", "get", "a"});
  ASSERT_EQ(first.ReadLine(), "written");
  ASSERT_EQ(first.ReadLine(), "ready");
  EXPECT_EQ(Run({"set", "a", "2"}), "");
  first.CloseInput();
  EXPECT_EQ(first.ReadLine(), "2");
  EXPECT_EQ(first.Finish(), 0);
}

// A kill at any moment of the writing leaves the old file or the new one.
TEST_F(HostRegistryStore, AKillLeavesOneWholeFile) {
#ifdef ZUM_COVERAGE
  GTEST_SKIP() << "an instrumented process writes its counters at its exit, which takes longer";
#endif
  constexpr int kKills = 60;
  const auto start = [this](int number) {
    const std::string text = "text " + std::to_string(number);
    auto child = std::make_unique<ChildProcess>(
        Variables(), std::vector<std::string>{"fill", "2000", "set", "a", text, "wait"});
    EXPECT_EQ(child->ReadLine(), "ready");
    return child;
  };
  // How long the writing takes here, so that the kills spread over twice that.
  const auto unharmed = start(-1);
  const auto closed = std::chrono::steady_clock::now();
  ASSERT_EQ(unharmed->Finish(), 0);
  const auto taken = std::chrono::steady_clock::now() - closed;

  int kept = 0;
  int replaced = 0;
  for (int i = 0; i < kKills; ++i) {
    const std::string before = ReadAll(File());
    const auto child = start(i);
    child->CloseInput();  // now it exits, and writes
    std::this_thread::sleep_for(taken * 2 * i / kKills);
    child->Kill();
    (void)child->Finish();  // killed or done, that is the point
    const std::string after = ReadAll(File());
    winapi::host::RegistryTree tree;
    winapi::host::RegFileError error;
    ASSERT_TRUE(winapi::host::ParseRegFile(after, tree, error)) << error.line << error.reason;
    ASSERT_EQ(tree.Find(u"HKEY_LOCAL_MACHINE\\SOFTWARE\\Child")->Values().size(), 2001U) << i;
    (after == before ? kept : replaced) += 1;
  }
  std::printf("the old file stayed %d times, the new one came %d times\n", kept, replaced);
  EXPECT_GT(kept, 0);
  EXPECT_GT(replaced, 0);
}

TEST_F(HostRegistryStore, AFailedWriteKeepsTheOldFile) {
#ifdef ZUM_COVERAGE
  GTEST_SKIP() << "an instrumented process can't write its counters beyond the limit either";
#endif
  EXPECT_EQ(Run({"set", "a", "old"}), "");
  const std::string before = ReadAll(File());
  const std::string reason = Lost("File too large");
  EXPECT_EQ(RunWithLoss({"set", "a", "new", "limit"}, reason), "") << "at the exit";
  EXPECT_EQ(Run({"set", "a", "new", "limit", "flush", "quick"}, reason), "not written\n");
  EXPECT_EQ(ReadAll(File()), before);
  EXPECT_FALSE(fs::exists(File().string() + ".new"));
}

TEST_F(HostRegistryStore, WhatIsLostAtTheExitCostsTheStatus) {
  EXPECT_EQ(Run({"set", "a", "old"}), "");
  fs::create_directory(File().string() + ".new");  // stands in the new file's way
  const std::string reason = Lost("Is a directory");
  EXPECT_EQ(RunWithLoss({"set", "a", "new", "print", "text"}, reason), "text\n");
  EXPECT_EQ(RunWithLoss({"set", "a", "new", "print", "text", "status", "7"}, reason, 7), "text\n")
      << "a status of its own stays";
  EXPECT_EQ(Run({"get", "a"}), "old\n") << "nothing was to be written";
}

TEST_F(HostRegistryStore, AFolderThatCantBeWrittenCostsTheStatus) {
#ifdef ZUM_COVERAGE
  GTEST_SKIP() << "an instrumented process tells of the counters that it can't write as nobody";
#endif
  EXPECT_EQ(Run({"set", "a", "old"}), "");
  fs::permissions(Root() / "registry.lock", fs::perms::all);
  const fs::perms mayWrite =
      fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write;
  fs::permissions(Root(), mayWrite, fs::perm_options::remove);
  EXPECT_EQ(RunWithLoss({"nobody", "set", "a", "new"}, Lost("Permission denied")), "");
  fs::permissions(Root(), fs::perms::owner_all);
  EXPECT_EQ(Run({"get", "a"}), "old\n");
}

// The exit handlers and static objects of a program come before the end of the registry.
TEST_F(HostRegistryStore, WhatStaticObjectsChangeIsKept) {
  EXPECT_EQ(Run({"set", "a", "1", "late", "b", "2"}), "");
  EXPECT_EQ(Run({"get", "a", "get", "b"}), "1\n2\n");
}

TEST_F(HostRegistryStore, AFileBehindALinkIsWrittenThere) {
  WriteFile("Windows Registry Editor Version 5.00\n");
  const fs::path elsewhere = Root() / "elsewhere";
  fs::create_directory(elsewhere);
  fs::rename(File(), elsewhere / "machine.reg");
  fs::create_symlink("machine.reg", elsewhere / "second.reg");
  fs::create_symlink("elsewhere/second.reg", File());
  EXPECT_EQ(Run({"set", "a", "1"}), "");
  EXPECT_TRUE(fs::is_symlink(File()));
  EXPECT_TRUE(fs::is_symlink(elsewhere / "second.reg"));
  EXPECT_FALSE(fs::is_symlink(elsewhere / "machine.reg"));
  EXPECT_NE(ReadAll(elsewhere / "machine.reg").find('a'), std::string::npos);
  EXPECT_EQ(Run({"get", "a"}), "1\n");
  EXPECT_FALSE(fs::exists(elsewhere / "machine.reg.new"));
}

TEST_F(HostRegistryStore, AFileBehindALinkToNothingIsMadeThere) {
  fs::create_directories(Root());
  fs::create_symlink(Root() / "target.reg", File());
  EXPECT_EQ(Run({"set", "a", "1"}), "");
  EXPECT_TRUE(fs::is_symlink(File()));
  EXPECT_FALSE(fs::is_symlink(Root() / "target.reg"));
  EXPECT_EQ(Run({"get", "a"}), "1\n");
}

TEST_F(HostRegistryStore, ADamagedFileFailsOpensAndIsLeftAlone) {
  struct Case {
    const char* name;
    std::string bytes;
    std::string told;
  };
  const std::string start = "Windows Registry Editor Version 5.00\r\n\r\n";
  const Case cases[] = {
      {"Empty", "", "1: the file is empty"},
      {"NoHeader", "[HKEY_USERS]\n",
       "1: the header \"Windows Registry Editor Version 5.00\" is missing"},
      {"Torn", start + "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Child]\r\n\"a\"=\"b",
       "4: the quote that closes the text is missing"},
  };
  for (const Case& c : cases) {
    WriteFile(c.bytes);
    const std::string told = "zum-host: " + File().string() + ":" + c.told + "\n";
    EXPECT_EQ(Run({"open", "open", "get", "a", "set", "a", "b", "open", "flush"}, told),
              "1009\n1009\n-\n1009\nnot written\n")
        << c.name << ", told once";
    EXPECT_EQ(ReadAll(File()), c.bytes) << c.name;
  }
}

TEST_F(HostRegistryStore, AFileThatCantBeReadIsDamageToo) {
  fs::create_directories(File());  // a folder in its place
  EXPECT_EQ(Run({"open"}, "zum-host: " + File().string() + ": Is a directory\n"), "1009\n");
  EXPECT_TRUE(fs::is_directory(File()));
}

TEST_F(HostRegistryStore, AMachineThatCantBeMadeIsDamageToo) {
  std::ofstream(Root()).put('x');
  EXPECT_EQ(Run({"open"}, "zum-host: " + Root().string() + ": the folder can't be made\n"),
            "1009\n");
}

TEST_F(HostRegistryStore, ALockThatCantBeHadIsDamageToo) {
  fs::create_directories(Root() / "registry.lock");
  EXPECT_EQ(
      Run({"open"}, "zum-host: " + (Root() / "registry.lock").string() + ": Is a directory\n"),
      "1009\n");
}

TEST_F(HostRegistryStore, AReloadReadsAMendedFile) {
  WriteFile("damage");
  ChildProcess child(Variables(), {"open", "wait", "reload", "open"});
  EXPECT_EQ(child.ReadLine(), "1009");
  EXPECT_EQ(child.ReadLine(), "ready");
  WriteFile("Windows Registry Editor Version 5.00\n[HKEY_LOCAL_MACHINE\\SOFTWARE\\Child]\n");
  child.CloseInput();
  EXPECT_EQ(child.ReadLine(), "0");
  EXPECT_EQ(child.Finish(), 0);
}

TEST_F(HostRegistryStore, WhereTheMachineLies) {
  struct Case {
    const char* name;
    ChildProcess::Variables variables;
    std::string root;
  };
  const Case cases[] = {
      {"Named", {{"ZUM_HOST_ROOT", "/a/b"}, {"XDG_STATE_HOME", "/s"}, {"HOME", "/h"}}, "/a/b"},
      {"NamedWithSeparators", {{"ZUM_HOST_ROOT", "/a/./b//"}}, "/a/b"},
      {"NamedRelative", {{"ZUM_HOST_ROOT", "b"}}, fs::current_path().string() + "/b"},
      {"NamedEmpty", {{"ZUM_HOST_ROOT", ""}, {"XDG_STATE_HOME", "/s"}}, "/s/zum-host"},
      {"State", {{"XDG_STATE_HOME", "/s"}, {"HOME", "/h"}}, "/s/zum-host"},
      {"StateRelative", {{"XDG_STATE_HOME", "s"}, {"HOME", "/h"}}, "/h/.local/state/zum-host"},
      {"Home", {{"HOME", "/h"}}, "/h/.local/state/zum-host"},
  };
  for (const Case& c : cases) {
    ChildProcess child(c.variables, {"root"});
    EXPECT_EQ(child.Finish(), 0) << c.name;
    EXPECT_EQ(child.Output(), c.root + "\n") << c.name;
  }
}

TEST_F(HostRegistryStore, WithoutAnyVariableTheUsersHomeIsTaken) {
  ChildProcess child({}, {"root"});
  EXPECT_EQ(child.Finish(), 0);
  EXPECT_TRUE(child.Output().starts_with("/")) << child.Output();
  EXPECT_TRUE(child.Output().ends_with("/.local/state/zum-host\n")) << child.Output();
}

}  // namespace
}  // namespace tests
