// Trees of directories for the tests of walking and removing, made past the seam.
#ifndef TESTS_PLATFORM_UTIL_WINDOWS_FILESYSTEM_TREE_H_
#define TESTS_PLATFORM_UTIL_WINDOWS_FILESYSTEM_TREE_H_

#include <filesystem>
#include <stdexcept>
#include <string>

#include "tests/support/directory_tree.h"
#include "tests/support/unix_shell.h"

namespace tests {

// Adds what is too deep or too wide to be made by hand.
class Tree : public DirectoryTree {
 public:
  // Directories "top/d/d/d...", so many of them, with a file in each. Under Wine the shell below it
  // makes these and the following: Wine itself would look through the whole of each path or
  // directory for each new name, and take minutes. Throws where that doesn't work.
  void MakeDeep(int levels) const {
#ifdef _WIN32
    RunShell("mkdir top && cd top && touch f && for i in $(seq 2 " + std::to_string(levels) +
             "); do mkdir d && cd d && touch f || exit 1; done");
#else
    std::u16string name = u"top";
    for (int i = 0; i < levels; ++i, name += u"/d") {
      std::filesystem::create_directory(File(name));
      Write(name + u"/f");
    }
#endif
  }
  // A directory with so many files.
  void MakeWide(const std::u16string& name, int files) const {
    MakeDirectory(name);
#ifdef _WIN32
    RunShell("cd " + std::string(name.begin(), name.end()) + " && seq -f file%.0f " +
             std::to_string(files) + " | xargs touch");
#else
    for (int i = 0; i < files; ++i) {
      const std::string number = std::to_string(i);
      Write(name + u"/file" + std::u16string(number.begin(), number.end()));
    }
#endif
  }

#ifdef _WIN32
 private:
  void RunShell(const std::string& command) const {
    if (!RunUnixShell(File({}), command)) throw std::runtime_error("failed: " + command);
  }
#endif
};

}  // namespace tests

#endif  // TESTS_PLATFORM_UTIL_WINDOWS_FILESYSTEM_TREE_H_
