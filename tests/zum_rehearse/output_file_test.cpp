#include "zum_rehearse/output_file.h"

#include <gtest/gtest.h>

#include <ostream>
#include <set>
#include <string>

#include "tests/support/directory_tree.h"
#include "winapi/process.h"

namespace {

using zum_rehearse::OutputFile;
using Names = std::set<std::u16string>;

TEST(OutputFileTest, ANewFileIsThereOnceItIsWhole) {
  const tests::DirectoryTree tree;
  OutputFile file(tree.File(u"report"));
  file.Stream() << "text" << std::flush;
  EXPECT_FALSE(tree.Has(u"report"));
  // Where a run that is killed leaves it.
  const std::string beside = "report." + std::to_string(winapi::GetCurrentProcessId()) + ".new";
  EXPECT_EQ(tree.Read(std::u16string(beside.begin(), beside.end())), "text");
  std::string reason;
  EXPECT_TRUE(file.Commit(reason)) << reason;
  EXPECT_EQ(tree.Read(u"report"), "text");
  EXPECT_EQ(tree.Names(), Names{u"report"});
}

TEST(OutputFileTest, AnOldFileIsAsItWasUntilThen) {
  const tests::DirectoryTree tree;
  tree.Write(u"report", "old");
  OutputFile file(tree.File(u"report"));
  file.Stream() << "text" << std::flush;
  EXPECT_EQ(tree.Read(u"report"), "old");
  std::string reason;
  EXPECT_TRUE(file.Commit(reason)) << reason;
  EXPECT_EQ(tree.Read(u"report"), "text");
  EXPECT_EQ(tree.Names(), Names{u"report"});
}

TEST(OutputFileTest, WhatIsNotCommittedLeavesNothing) {
  const tests::DirectoryTree tree;
  OutputFile(tree.File(u"report")).Stream() << "text" << std::flush;
  EXPECT_EQ(tree.Names(), Names());
}

TEST(OutputFileTest, WhereAFolderHasComeItFailsAndLeavesNothing) {
  const tests::DirectoryTree tree;
  {
    OutputFile file(tree.File(u"report"));
    file.Stream() << "text" << std::flush;
    tree.MakeDirectory(u"report/inside");
    std::string reason;
    EXPECT_FALSE(file.Commit(reason));
    EXPECT_FALSE(reason.empty());
  }
  EXPECT_EQ(tree.Names(), Names{u"report"});
  EXPECT_EQ(tree.Names(u"report"), Names{u"inside"});
}

}  // namespace
