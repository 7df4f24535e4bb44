// Another current directory for a while.
#ifndef TESTS_SUPPORT_CURRENT_DIRECTORY_H_
#define TESTS_SUPPORT_CURRENT_DIRECTORY_H_

#include <filesystem>

namespace tests {

// Makes a directory the process's current one while it lives. To be made behind what removes the
// directory, since a current one can't be removed everywhere.
class CurrentDirectory {
 public:
  explicit CurrentDirectory(const std::filesystem::path& directory)
      : m_before(std::filesystem::current_path()) {
    std::filesystem::current_path(directory);
  }
  CurrentDirectory(const CurrentDirectory&) = delete;
  CurrentDirectory& operator=(const CurrentDirectory&) = delete;
  ~CurrentDirectory() { std::filesystem::current_path(m_before); }

 private:
  std::filesystem::path m_before;
};

}  // namespace tests

#endif  // TESTS_SUPPORT_CURRENT_DIRECTORY_H_
