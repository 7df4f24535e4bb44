// Trees of directories for the tests of walking and removing, made past the seam.
#ifndef TESTS_PLATFORM_UTIL_WINDOWS_FILESYSTEM_TREE_H_
#define TESTS_PLATFORM_UTIL_WINDOWS_FILESYSTEM_TREE_H_

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>

#include "tests/support/temporary_folder.h"
#ifdef _WIN32
#include <chrono>
#include <thread>

#include "platform/winapi/winapi/child_process.h"
#else
#include "platform/winapi/host/control.h"
#endif

namespace tests {

// A folder of the test's own. Names are relative to it, with slashes between their parts.
class Tree {
 public:
  [[nodiscard]] std::filesystem::path File(const std::u16string& name) const {
    return name.empty() ? m_folder.Path() : m_folder.Path() / std::filesystem::path(name);
  }
  // As the seam sees it.
  [[nodiscard]] std::u16string Windows(const std::u16string& name = {}) const {
    std::u16string path = m_folder.WindowsPath();
    if (!name.empty()) path += u"\\" + name;
    std::replace(path.begin(), path.end(), u'/', u'\\');
    return path;
  }
  void Write(const std::u16string& name) const {
    std::ofstream(File(name), std::ios::binary) << "content";
  }
  void MakeDirectory(const std::u16string& name) const {
    std::filesystem::create_directories(File(name));
  }
  [[nodiscard]] bool Has(const std::u16string& name) const {
    return std::filesystem::exists(std::filesystem::symlink_status(File(name)));
  }

  // Directories "top/d/d/d...", so many of them, with a file in each. Each is made in the one above
  // it.
  void MakeDeep(int levels) const {
    std::u16string name = u"top";
    for (int i = 0; i < levels; ++i, name += u"/d") {
      std::filesystem::create_directory(File(name));
      Write(name + u"/f");
    }
  }
  // A directory with so many files.
  void MakeWide(const std::u16string& name, int files) const {
    MakeDirectory(name);
#ifdef _WIN32
    if (MakeFilesByShell(name, files)) return;
#endif
    for (int i = 0; i < files; ++i) {
      const std::string number = std::to_string(i);
      Write(name + u"/file" + std::u16string(number.begin(), number.end()));
    }
  }

 private:
#ifdef _WIN32
  // Wine looks through the whole directory for each new name, so twenty thousand files would take
  // it minutes: it has the shell of its own system make them. False where there is none. Wine gives
  // no handle to wait for, so the last file made tells the end.
  [[nodiscard]] bool MakeFilesByShell(const std::u16string& name, int files) const {
    const std::string number = std::to_string(files);
    std::u16string command = u"sh -c \"seq -f file%.0f ";
    command.append(number.begin(), number.end()).append(u" | xargs touch; touch ../wide-is-made\"");
    const std::u16string directory = File(name).u16string();
    winapi::StartupInfo startup{};
    startup.cb = winapi::kStartupInfoSize;
    winapi::ProcessInformation information{};
    if (winapi::CreateProcessW(u"Z:\\bin\\sh", command.data(), nullptr, nullptr, 0, 0, nullptr,
                               directory.c_str(), &startup, &information) == 0) {
      return false;
    }
    const std::filesystem::path marker = File(name).parent_path() / "wide-is-made";
    for (int i = 0; i < 1200 && !std::filesystem::exists(marker); ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return std::filesystem::remove(marker);
  }
#endif

  TemporaryFolder m_folder;
};

// While it lives, somebody holds the file open and shares it with nobody who deletes.
class HeldFile {
 public:
#ifdef _WIN32
  // The C runtime opens without sharing for deletion.
  HeldFile(const Tree& tree, const std::u16string& name) : m_stream(tree.File(name)) {}

 private:
  std::ifstream m_stream;
#else
  HeldFile(const Tree& tree, const std::u16string& name) : m_path(tree.Windows(name)) {
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

#endif  // TESTS_PLATFORM_UTIL_WINDOWS_FILESYSTEM_TREE_H_
