#include "zum_rehearse/output_file.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "tests/support/temporary_folder.h"
#include "winapi/process.h"

namespace {

using zum_rehearse::OutputFile;

std::string ContentOf(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

class OutputFileTest : public ::testing::Test {
 protected:
  [[nodiscard]] std::filesystem::path Path() const { return m_folder.Path() / "report"; }
  [[nodiscard]] std::ptrdiff_t FilesThere() const {
    return std::distance(std::filesystem::directory_iterator(Path().parent_path()), {});
  }

 private:
  tests::TemporaryFolder m_folder;
};

TEST_F(OutputFileTest, ANewFileIsThereOnceItIsWhole) {
  OutputFile file(Path());
  file.Stream() << "text" << std::flush;
  EXPECT_FALSE(std::filesystem::exists(Path()));
  // Where a run that is killed leaves it.
  const std::string beside = "report." + std::to_string(winapi::GetCurrentProcessId()) + ".new";
  EXPECT_EQ(ContentOf(Path().parent_path() / beside), "text");
  std::string reason;
  EXPECT_TRUE(file.Commit(reason)) << reason;
  EXPECT_EQ(ContentOf(Path()), "text");
  EXPECT_EQ(FilesThere(), 1);
}

TEST_F(OutputFileTest, AnOldFileIsAsItWasUntilThen) {
  std::ofstream(Path()) << "old";
  OutputFile file(Path());
  file.Stream() << "text" << std::flush;
  EXPECT_EQ(ContentOf(Path()), "old");
  std::string reason;
  EXPECT_TRUE(file.Commit(reason)) << reason;
  EXPECT_EQ(ContentOf(Path()), "text");
  EXPECT_EQ(FilesThere(), 1);
}

TEST_F(OutputFileTest, WhatIsNotCommittedLeavesNothing) {
  OutputFile(Path()).Stream() << "text" << std::flush;
  EXPECT_EQ(FilesThere(), 0);
}

}  // namespace
