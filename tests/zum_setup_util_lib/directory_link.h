// A link to a directory, in both worlds.
#ifndef TESTS_ZUM_SETUP_UTIL_LIB_DIRECTORY_LINK_H_
#define TESTS_ZUM_SETUP_UTIL_LIB_DIRECTORY_LINK_H_

#include <gtest/gtest.h>

#include <exception>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>

#include "tests/support/directory_tree.h"
#include "tests/support/unix_shell.h"

namespace tests {

// Lies in a tree and leads to a directory of the same tree. Wine makes no links, but shows those of
// the system below it with a link's attributes; so the shell of that system makes it, and removes
// it, since what goes through Wine would remove the directory in its place. The names hold nothing
// that a shell takes for its own. Throws where there is no such shell, or where it fails.
class DirectoryLink {
 public:
  DirectoryLink(const DirectoryTree& tree, std::u16string_view name, std::u16string_view target)
      : m_folder(tree.File(u"")),
        m_name(tree.File(name).lexically_relative(m_folder).generic_string()) {
    const std::filesystem::path directory = tree.File(name).parent_path();
    const std::string to = tree.File(target).lexically_relative(directory).generic_string();
    if (!RunUnixShell(m_folder, "ln -s " + to + " " + m_name) || !tree.Has(name)) {
      throw std::runtime_error("no link: " + m_name);
    }
  }
  DirectoryLink(const DirectoryLink&) = delete;
  DirectoryLink& operator=(const DirectoryLink&) = delete;
  ~DirectoryLink() {
    try {
      EXPECT_TRUE(RunUnixShell(m_folder, "rm " + m_name)) << m_name;
    } catch (const std::exception& exception) {
      ADD_FAILURE() << exception.what();
    }
  }

 private:
  std::filesystem::path m_folder;
  std::string m_name;
};

}  // namespace tests

#endif  // TESTS_ZUM_SETUP_UTIL_LIB_DIRECTORY_LINK_H_
