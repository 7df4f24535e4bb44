// A folder of the test's own, with files and directories in it.
#ifndef TESTS_ZUM_SETUP_UTIL_LIB_DIRECTORY_TREE_H_
#define TESTS_ZUM_SETUP_UTIL_LIB_DIRECTORY_TREE_H_

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <string_view>

#include "tests/support/temporary_folder.h"
#ifndef _WIN32
#include "platform/winapi/host/paths.h"
#endif

namespace tests {

// The file that a path of the seam means, as the test's own standard library sees it.
[[nodiscard]] inline std::filesystem::path ToLocal(const std::u16string& windowsPath) {
#ifdef _WIN32
  return windowsPath;
#else
  std::string file;
  return winapi::host::HostPath(windowsPath, file) == 0 ? file : std::string();
#endif
}

// All of this goes past the seam, through the test's own standard library.
[[nodiscard]] inline std::string ReadAll(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

inline void WriteAll(const std::filesystem::path& file, std::string_view content) {
  std::ofstream(file, std::ios::binary) << content;
}

// Of what lies in a directory itself; empty for one that isn't there.
[[nodiscard]] inline std::set<std::u16string> NamesIn(const std::filesystem::path& directory) {
  std::set<std::u16string> names;
  std::error_code ignored;
  for (const auto& entry : std::filesystem::directory_iterator(directory, ignored)) {
    names.insert(entry.path().filename().u16string());
  }
  return names;
}

// Names are relative to the folder, with slashes between their parts.
class DirectoryTree {
 public:
  [[nodiscard]] std::filesystem::path File(std::u16string_view name) const {
    return name.empty() ? m_folder.Path()
                        : m_folder.Path() / std::filesystem::path(std::u16string(name));
  }
  // As the seam sees it.
  [[nodiscard]] std::u16string Windows(std::u16string_view name = {}) const {
    std::u16string path = m_folder.WindowsPath();
    if (!name.empty()) path.append(u"\\").append(name);
    std::replace(path.begin(), path.end(), u'/', u'\\');
    return path;
  }

  void Write(std::u16string_view name, std::string_view content = "content") const {
    WriteAll(File(name), content);
  }
  void MakeDirectory(std::u16string_view name) const {
    std::filesystem::create_directories(File(name));
  }
  [[nodiscard]] std::string Read(std::u16string_view name) const { return ReadAll(File(name)); }
  [[nodiscard]] bool Has(std::u16string_view name) const {
    return std::filesystem::exists(File(name));
  }
  [[nodiscard]] std::set<std::u16string> Names(std::u16string_view name = {}) const {
    return NamesIn(File(name));
  }

 private:
  TemporaryFolder m_folder;
};

}  // namespace tests

#endif  // TESTS_ZUM_SETUP_UTIL_LIB_DIRECTORY_TREE_H_
