// A new empty folder for one test process, removed with all it holds when the object dies.
#ifndef TESTS_SUPPORT_TEMPORARY_FOLDER_H_
#define TESTS_SUPPORT_TEMPORARY_FOLDER_H_

#include <filesystem>
#include <string>

namespace tests {

class TemporaryFolder {
 public:
  TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  ~TemporaryFolder();

  // As the test's own standard library sees it.
  [[nodiscard]] const std::filesystem::path& Path() const { return m_path; }
  // As the seam sees it: a Windows path without a trailing separator, in both worlds.
  [[nodiscard]] std::u16string WindowsPath() const;

 private:
  std::filesystem::path m_path;
};

}  // namespace tests

#endif  // TESTS_SUPPORT_TEMPORARY_FOLDER_H_
