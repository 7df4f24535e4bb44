// A folder of a test's own and the small things that the tests of files do in it.
#ifndef TESTS_CONTRACT_FILE_FIXTURE_H_
#define TESTS_CONTRACT_FILE_FIXTURE_H_

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

#include "tests/support/temporary_folder.h"
#include "tests/support/unix_shell.h"
#include "winapi/errors.h"
#include "winapi/files.h"
#include "winapi/handles.h"

namespace tests {

class FileFixture : public ::testing::Test {
 protected:
  // A last error that no operation gives.
  static constexpr winapi::Error kUntouched = 0xABCD;

  // Below the test's folder, as the seam and as the standard library see it.
  [[nodiscard]] std::u16string Windows(std::u16string_view name) const {
    return m_folder.WindowsPath().append(u"\\").append(name);
  }
  [[nodiscard]] std::filesystem::path Native(std::string_view name) const {
    return m_folder.Path() / name;
  }
  [[nodiscard]] std::u16string Folder() const { return m_folder.WindowsPath(); }

  void Write(std::string_view name, std::string_view content) const {
    std::ofstream(Native(name), std::ios::binary) << content;
  }
  [[nodiscard]] std::string Read(std::string_view name) const {
    std::ifstream stream(Native(name), std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(stream), {});
  }
  void MakeFolder(std::string_view name) const { std::filesystem::create_directory(Native(name)); }
  [[nodiscard]] bool Exists(std::string_view name) const {
    return std::filesystem::exists(Native(name));
  }
  void SetReadOnly(std::string_view name, bool readOnly) const {
    using std::filesystem::perm_options;
    std::filesystem::permissions(Native(name), std::filesystem::perms::owner_write,
                                 readOnly ? perm_options::remove : perm_options::add);
  }

  // A symbolic link of the system below; Wine makes none itself.
  void MakeLink(const std::string& target, const std::string& name) {
    m_hasLinks = true;
    EXPECT_TRUE(RunUnixShell(Native(""), "ln -s '" + target + "' '" + name + "'")) << name;
  }
  [[nodiscard]] bool IsLink(const std::string& name) const {
    return RunUnixShell(Native(""), "test -L '" + name + "'");
  }

  // The error of an operation that gives a Boolean, 0 where it succeeded.
  template <class Operation>
  static winapi::Error ErrorOf(Operation operation) {
    winapi::SetLastError(kUntouched);
    return operation() != 0 ? 0 : winapi::GetLastError();
  }

  // An empty file made and closed; its error.
  static winapi::Error CreateNew(const std::u16string& path) {
    winapi::SetLastError(kUntouched);
    const winapi::Handle file = winapi::CreateFileW(path.c_str(), 0, 0, nullptr, winapi::kCreateNew,
                                                    0, /*templateFile=*/nullptr);
    if (file == winapi::InvalidHandleValue()) return winapi::GetLastError();
    EXPECT_NE(0, winapi::CloseHandle(file));
    return 0;
  }

  // Wine doesn't see links to nothing, so nothing could remove the folder.
  void TearDown() override {
    EXPECT_TRUE(!m_hasLinks || RunUnixShell(Native(""), "find . -type l -delete"));
  }

 private:
  TemporaryFolder m_folder;
  bool m_hasLinks = false;
};

}  // namespace tests

#endif  // TESTS_CONTRACT_FILE_FIXTURE_H_
