// A folder of the test's own, with files, directories and links in it. All of this goes past the
// seam, through the test's own standard library or the shell of the system below.
#ifndef TESTS_SUPPORT_DIRECTORY_TREE_H_
#define TESTS_SUPPORT_DIRECTORY_TREE_H_

#include <filesystem>
#include <set>
#include <string>
#include <string_view>

#include "tests/support/temporary_folder.h"

namespace tests {

// The file that a path of the seam means, as the test's own standard library sees it; natively in
// the path's own letters.
[[nodiscard]] std::filesystem::path ToLocal(const std::u16string& windowsPath);

// Throws std::runtime_error for a file that can't be read.
[[nodiscard]] std::string ReadAll(const std::filesystem::path& file);
// Empty for one that isn't there.
[[nodiscard]] std::string ReadIfThere(const std::filesystem::path& file);
void WriteAll(const std::filesystem::path& file, std::string_view content);

// Of what lies in a directory itself; throws for one that isn't there.
[[nodiscard]] std::set<std::u16string> NamesIn(const std::filesystem::path& directory);

// Names are relative to the folder, with slashes between their parts.
class DirectoryTree {
 public:
  DirectoryTree() = default;
  DirectoryTree(const DirectoryTree&) = delete;
  DirectoryTree& operator=(const DirectoryTree&) = delete;
  // Removes the tree, its links first.
  ~DirectoryTree();

  [[nodiscard]] std::filesystem::path File(std::u16string_view name) const;
  // As the seam sees it.
  [[nodiscard]] std::u16string Windows(std::u16string_view name = {}) const;

  void Write(std::u16string_view name, std::string_view content = "content") const {
    WriteAll(File(name), content);
  }
  void MakeDirectory(std::u16string_view name) const {
    std::filesystem::create_directories(File(name));
  }
  void SetReadOnly(std::u16string_view name, bool readOnly) const;
  [[nodiscard]] std::string Read(std::u16string_view name) const { return ReadAll(File(name)); }
  // A link counts, wherever it leads.
  [[nodiscard]] bool Has(std::u16string_view name) const {
    return std::filesystem::exists(std::filesystem::symlink_status(File(name)));
  }
  [[nodiscard]] std::set<std::u16string> Names(std::u16string_view name = {}) const {
    return NamesIn(File(name));
  }

  // A symbolic link, whose target counts from its own directory. Wine makes none, but shows those
  // of the system below it with a link's attributes; so the shell of that system makes it, and
  // removes it with the tree, since what goes through Wine would remove what it leads to. The names
  // hold nothing but plain characters and blanks. Throws std::runtime_error where the shell fails.
  void MakeLink(std::u16string_view target, std::u16string_view name) const;
  [[nodiscard]] bool IsLink(std::u16string_view name) const;

  // What is too deep or too wide to be made by hand: under Wine the shell makes it too, since Wine
  // itself would look through the whole of each path or directory for each new name, and take
  // minutes. Directories "top/d/d/d...", so many of them, with a file "f" in each; and a directory
  // with so many files.
  void MakeDeep(int levels) const;
  void MakeWide(std::u16string_view name, int files) const;

 private:
  // Throws std::runtime_error where the command fails.
  void RunShell(const std::string& command) const;

  TemporaryFolder m_folder;
  mutable bool m_hasLinks = false;
};

// While it lives, somebody holds the file open and shares it with nobody: others can ask for its
// attributes and no more.
class HeldFile {
 public:
  HeldFile(const DirectoryTree& tree, std::u16string_view name);
  HeldFile(const HeldFile&) = delete;
  HeldFile& operator=(const HeldFile&) = delete;
  ~HeldFile();

 private:
#ifdef _WIN32
  int m_descriptor = -1;
#else
  std::u16string m_path;
#endif
};

}  // namespace tests

#endif  // TESTS_SUPPORT_DIRECTORY_TREE_H_
