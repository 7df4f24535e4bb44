// Searches of the host.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include "tests/support/current_directory.h"
#include "winapi/errors.h"
#include "winapi/files.h"
#include "winapi/handles.h"
#include "winapi/host/control.h"
#include "winapi/host/root.h"

namespace winapi {
namespace {

namespace fs = std::filesystem;

class HostFind : public ::testing::Test {
 protected:
  HostFind() { fs::create_directories(DriveC()); }

  static fs::path DriveC() { return host::DriveCFolder(); }
  static Handle First(const std::u16string& pattern, FindData& data) {
    SetLastError(0xABCD);
    return FindFirstFileExW(pattern.c_str(), kFindExInfoStandard, &data, kFindExSearchNameMatch,
                            nullptr, 0);
  }
  static std::vector<FindData> All(const std::u16string& pattern) {
    std::vector<FindData> all;
    FindData data{};
    const Handle search = First(pattern, data);
    if (search == InvalidHandleValue()) return all;
    do all.push_back(data);
    while (FindNextFileW(search, &data) != 0);
    EXPECT_EQ(GetLastError(), kErrorNoMoreFiles);
    EXPECT_NE(FindClose(search), 0);
    return all;
  }
};

TEST_F(HostFind, SearchesAreCountedAndAreNoKernelHandles) {
  fs::create_directories(DriveC() / "folder");
  FindData data{};
  const Handle search = First(u"C:\\folder\\*", data);
  ASSERT_NE(search, InvalidHandleValue());
  EXPECT_EQ(host::Live().handles, 1U);
  EXPECT_EQ(CloseHandle(search), 0);
  EXPECT_EQ(GetLastError(), kErrorInvalidHandle);
  EXPECT_EQ(host::Live().handles, 1U);
  EXPECT_NE(FindClose(search), 0);
  EXPECT_EQ(host::Live().handles, 0U);
  EXPECT_EQ(FindClose(search), 0);
  EXPECT_EQ(FindNextFileW(search, &data), 0);
  EXPECT_EQ(GetLastError(), kErrorInvalidHandle);
}

TEST_F(HostFind, AFailedCloseHasLetGoAllTheSame) {
  FindData data{};
  fs::create_directories(DriveC() / "folder");
  const Handle search = First(u"C:\\folder\\*", data);
  host::FailCall("FindClose", 1, 6);
  EXPECT_EQ(FindClose(search), 0);
  EXPECT_EQ(host::Live().handles, 0U);
  host::ClearFaults();
}

TEST_F(HostFind, OnlyTheProductsFormIsTaken) {
  FindData data{};
  int filter = 0;
  EXPECT_EQ(FindFirstFileExW(u"C:\\*", 1, &data, 0, nullptr, 0), InvalidHandleValue());
  EXPECT_EQ(FindFirstFileExW(u"C:\\*", 0, &data, 1, nullptr, 0), InvalidHandleValue());
  EXPECT_EQ(FindFirstFileExW(u"C:\\*", 0, &data, 0, &filter, 0), InvalidHandleValue());
  EXPECT_EQ(FindFirstFileExW(u"C:\\*", 0, &data, 0, nullptr, 1), InvalidHandleValue());
  EXPECT_EQ(FindFirstFileExW(u"C:\\*", 0, nullptr, 0, nullptr, 0), InvalidHandleValue());
  EXPECT_EQ(GetLastError(), kErrorInvalidParameter);
}

TEST_F(HostFind, ADrivesRootHasNoDots) {
  std::ofstream(DriveC() / "only").put('x');
  const auto all = All(u"C:\\*");
  ASSERT_EQ(all.size(), 1U);
  EXPECT_EQ(std::u16string(all[0].cFileName), u"only");
  fs::remove(DriveC() / "only");
  FindData data{};
  EXPECT_EQ(First(u"C:\\*", data), InvalidHandleValue());
  EXPECT_EQ(GetLastError(), kErrorFileNotFound);
}

TEST_F(HostFind, LinksAreToldAndNotFollowed) {
  fs::create_directories(DriveC() / "folder" / "target");
  std::ofstream(DriveC() / "folder" / "target" / "file") << "content";
  fs::create_directory_symlink("target", DriveC() / "folder" / "a");
  fs::create_symlink("target/file", DriveC() / "folder" / "b");
  fs::create_symlink("nothing", DriveC() / "folder" / "c");
  auto all = All(u"C:\\folder\\?");
  std::erase_if(all, [](const FindData& data) { return data.cFileName[0] == u'.'; });
  std::sort(all.begin(), all.end(), [](const FindData& left, const FindData& right) {
    return left.cFileName[0] < right.cFileName[0];
  });
  ASSERT_EQ(all.size(), 3U);
  const Dword attributes[] = {0x410, 0x420, 0x420};
  for (std::size_t i = 0; i < all.size(); ++i) {
    EXPECT_EQ(all[i].dwFileAttributes, attributes[i]) << i;
    EXPECT_EQ(all[i].dwReserved0, 0xA000000CU) << i;
    EXPECT_EQ(all[i].nFileSizeLow, 0U) << i;
  }
  EXPECT_EQ(All(u"C:\\folder\\a\\*").size(), 3U) << "a search in a link is one in its target";
}

TEST_F(HostFind, SizesBeyond32BitsAndTimes) {
  fs::create_directories(DriveC() / "folder");
  const fs::path file = DriveC() / "folder" / "large";
  std::ofstream(file).put('x');
  fs::resize_file(file, 0x123456789);
  const timespec times[2] = {{.tv_sec = 1, .tv_nsec = 0}, {.tv_sec = 0, .tv_nsec = 700}};
  ASSERT_EQ(::utimensat(AT_FDCWD, file.c_str(), times, 0), 0);
  const auto all = All(u"C:\\folder\\large");
  ASSERT_EQ(all.size(), 1U);
  EXPECT_EQ(all[0].nFileSizeHigh, 1U);
  EXPECT_EQ(all[0].nFileSizeLow, 0x23456789U);
  // 1 January 1970 is 0x019DB1DED53E8000.
  EXPECT_EQ(all[0].ftLastWriteTime.dwHighDateTime, 0x019DB1DEU);
  EXPECT_EQ(all[0].ftLastWriteTime.dwLowDateTime, 0xD53E8007U);
  EXPECT_EQ(all[0].ftLastAccessTime.dwLowDateTime, 0xD53E8000U + 10'000'000U);
  EXPECT_EQ(all[0].cAlternateFileName[0], u'\0');
}

TEST_F(HostFind, PatternsWithoutADirectory) {
  fs::create_directories(DriveC() / "folder");
  std::ofstream(DriveC() / "folder" / "file").put('x');
  const tests::CurrentDirectory inFolder(DriveC() / "folder");
  EXPECT_EQ(All(u"f*").size(), 1U);
  EXPECT_EQ(All(u"*").size(), 3U);
  EXPECT_EQ(All(u"C:f*").size(), 1U);
  EXPECT_EQ(All(u"..\\fol*").size(), 1U);
  EXPECT_EQ(All(u"\\fol*").size(), 1U);
}

// An entry that has gone since the folder was opened isn't given.
TEST_F(HostFind, FilesThatGoMeanwhile) {
  fs::create_directories(DriveC() / "folder");
  std::ofstream(DriveC() / "folder" / "file").put('x');
  FindData data{};
  const Handle search = First(u"C:\\folder\\*", data);
  ASSERT_NE(search, InvalidHandleValue());
  fs::remove(DriveC() / "folder" / "file");
  EXPECT_NE(FindNextFileW(search, &data), 0);
  EXPECT_EQ(std::u16string(data.cFileName), u"..");
  EXPECT_EQ(FindNextFileW(search, &data), 0);
  EXPECT_EQ(GetLastError(), kErrorNoMoreFiles);
  EXPECT_NE(FindClose(search), 0);
}

// More searches open at once than the process may have files: those read to their end hold none.
TEST_F(HostFind, AThousandOpenSearches) {
  rlimit before{};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
  const rlimit few{.rlim_cur = 64, .rlim_max = before.rlim_max};
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &few), 0);
  std::u16string path = u"\\\\?\\C:";
  std::vector<Handle> searches;
  for (int level = 0; level < 1000; ++level) {
    path += u"\\a level";
    ASSERT_NE(CreateDirectoryW(path.c_str(), nullptr), 0) << level;
    FindData data{};
    const Handle search = First(path + u"\\*", data);
    ASSERT_NE(search, InvalidHandleValue()) << level;
    while (FindNextFileW(search, &data) != 0) {
    }
    searches.push_back(search);
  }
  EXPECT_EQ(host::Live().handles, 1000U);
  for (const Handle search : searches) EXPECT_NE(FindClose(search), 0);
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
  for (int level = 1000; level-- > 0; path.resize(path.rfind(u'\\'))) {
    ASSERT_NE(RemoveDirectoryW(path.c_str()), 0) << level;
  }
}

// A folder in memory where there is one: making that many files takes a disk a while.
class LargeFolder {
 public:
  LargeFolder() {
    std::string name = fs::is_directory("/dev/shm") ? "/dev/shm/zum-test-XXXXXX"
                                                    : fs::temp_directory_path() / "zum-test-XXXXXX";
    if (::mkdtemp(name.data()) == nullptr) throw std::runtime_error("no folder can be made");
    m_path = name;
  }
  LargeFolder(const LargeFolder&) = delete;
  LargeFolder& operator=(const LargeFolder&) = delete;
  ~LargeFolder() {
    std::error_code ignored;
    fs::remove_all(m_path, ignored);
  }
  [[nodiscard]] const fs::path& Path() const { return m_path; }
  [[nodiscard]] std::u16string WindowsPath() const {
    std::u16string path = u"Z:" + m_path.u16string();
    std::replace(path.begin(), path.end(), u'/', u'\\');
    return path;
  }

 private:
  fs::path m_path;
};

TEST_F(HostFind, AHundredThousandFiles) {
  constexpr int kFiles = 100'000;
  const LargeFolder folder;
  for (int i = 0; i < kFiles; ++i) {
    ASSERT_EQ(::mknod((folder.Path() / std::to_string(i)).c_str(), S_IFREG | 0600, 0), 0);
  }
  const std::u16string path = folder.WindowsPath();
  std::vector<bool> seen(kFiles);
  FindData data{};
  const Handle search = First(path + u"\\*", data);
  ASSERT_NE(search, InvalidHandleValue());
  do {
    const std::u16string name = data.cFileName;
    if (name.starts_with(u'.')) continue;
    seen[static_cast<std::size_t>(std::stoi(std::string(name.begin(), name.end())))] = true;
    ASSERT_NE(DeleteFileW((path + u"\\" + name).c_str()), 0);
  } while (FindNextFileW(search, &data) != 0);
  EXPECT_NE(FindClose(search), 0);
  EXPECT_EQ(std::count(seen.begin(), seen.end(), true), kFiles);
  EXPECT_NE(RemoveDirectoryW(path.c_str()), 0);
}

}  // namespace
}  // namespace winapi
