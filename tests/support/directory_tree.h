// A folder of the test's own, with files and directories in it. All of this goes past the seam,
// through the test's own standard library.
#ifndef TESTS_SUPPORT_DIRECTORY_TREE_H_
#define TESTS_SUPPORT_DIRECTORY_TREE_H_

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <string_view>

#include "tests/support/temporary_folder.h"
#ifndef _WIN32
#include "winapi/host/control.h"
#include "winapi/host/paths.h"
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

[[nodiscard]] inline std::string ReadAll(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

inline void WriteAll(const std::filesystem::path& file, std::string_view content) {
  std::ofstream(file, std::ios::binary) << content;
}

// Of what lies in a directory itself; throws for one that isn't there.
[[nodiscard]] inline std::set<std::u16string> NamesIn(const std::filesystem::path& directory) {
  std::set<std::u16string> names;
  for (const auto& entry : std::filesystem::directory_iterator(directory)) {
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
  // A link counts, wherever it leads.
  [[nodiscard]] bool Has(std::u16string_view name) const {
    return std::filesystem::exists(std::filesystem::symlink_status(File(name)));
  }
  [[nodiscard]] std::set<std::u16string> Names(std::u16string_view name = {}) const {
    return NamesIn(File(name));
  }

 private:
  TemporaryFolder m_folder;
};

// While it lives, somebody holds the file open and shares it with nobody who deletes.
class HeldFile {
 public:
#ifdef _WIN32
  // The C runtime opens without sharing for deletion.
  HeldFile(const DirectoryTree& tree, std::u16string_view name) : m_stream(tree.File(name)) {}

 private:
  std::ifstream m_stream;
#else
  HeldFile(const DirectoryTree& tree, std::u16string_view name) : m_path(tree.Windows(name)) {
    winapi::host::LockFile(m_path);
  }
  HeldFile(const HeldFile&) = delete;
  HeldFile& operator=(const HeldFile&) = delete;
  ~HeldFile() { winapi::host::UnlockFile(m_path); }

 private:
  std::u16string m_path;
#endif
};

}  // namespace tests

#endif  // TESTS_SUPPORT_DIRECTORY_TREE_H_
