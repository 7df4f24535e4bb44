// Files and directories of the host: what only it has, links, locks, refusals and deep trees.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <string>

#include "tests/support/seam_error.h"
#include "winapi/errors.h"
#include "winapi/files.h"
#include "winapi/handles.h"
#include "winapi/host/control.h"
#include "winapi/host/locate.h"
#include "winapi/host/root.h"

namespace winapi {
namespace {

namespace fs = std::filesystem;
using tests::Copy;
using tests::CreateNew;
using tests::Delete;
using tests::ErrorOf;
using tests::MakeFolder;
using tests::RemoveFolder;

class HostFiles : public ::testing::Test {
 protected:
  HostFiles() { fs::create_directories(DriveC()); }

  static fs::path DriveC() { return host::DriveCFolder(); }
  static void Write(const fs::path& file, std::string_view content = "") {
    std::ofstream(file, std::ios::binary) << content;
  }
  static Handle NewFile(const char16_t* path) {
    return CreateFileW(path, 0, 0, nullptr, kCreateNew, 0, nullptr);
  }
};

TEST_F(HostFiles, AFileHandleIsCountedAndSignalled) {
  const Handle file = NewFile(u"C:\\x");
  ASSERT_NE(file, InvalidHandleValue());
  EXPECT_EQ(host::Live().handles, 1U);
  EXPECT_EQ(WaitForSingleObjectEx(file, 0, 0), kWaitObject0);
  EXPECT_EQ(FindClose(file), 0) << "it is no search";
  EXPECT_NE(CloseHandle(file), 0);
  EXPECT_EQ(host::Live().handles, 0U);
}

TEST_F(HostFiles, OnlyTheProductsFormOfCreateFileIsTaken) {
  const SecurityAttributes security{};
  struct Case {
    const char* name;
    Dword access;
    Dword share;
    const SecurityAttributes* security;
    Dword disposition;
    Dword flags;
    Handle templateFile;
  };
  const auto someHandle = reinterpret_cast<Handle>(std::intptr_t{4});
  const Case cases[] = {
      {"Access", 0x80000000, 0, nullptr, 1, 0, nullptr},
      {"Share", 0, 1, nullptr, 1, 0, nullptr},
      {"Security", 0, 0, &security, 1, 0, nullptr},
      {"Disposition", 0, 0, nullptr, 2, 0, nullptr},
      {"Flags", 0, 0, nullptr, 1, 0x80, nullptr},
      {"Template", 0, 0, nullptr, 1, 0, someHandle},
  };
  for (const Case& c : cases) {
    SetLastError(0);
    EXPECT_EQ(CreateFileW(u"C:\\x", c.access, c.share, c.security, c.disposition, c.flags,
                          c.templateFile),
              InvalidHandleValue())
        << c.name;
    EXPECT_EQ(GetLastError(), kErrorInvalidParameter) << c.name;
  }
  EXPECT_FALSE(fs::exists(DriveC() / "x"));
}

TEST_F(HostFiles, NullIsAnEmptyPath) {
  EXPECT_EQ(CreateNew(nullptr), kErrorPathNotFound);
  EXPECT_EQ(ErrorOf([] { return DeleteFileW(nullptr); }), kErrorPathNotFound);
  EXPECT_EQ(ErrorOf([] { return CopyFileW(nullptr, nullptr, 0); }), kErrorPathNotFound);
  EXPECT_EQ(ErrorOf([] { return CreateDirectoryW(nullptr, nullptr); }), kErrorPathNotFound);
  EXPECT_EQ(ErrorOf([] { return RemoveDirectoryW(nullptr); }), kErrorPathNotFound);
  EXPECT_EQ(GetFileAttributesW(nullptr), kInvalidFileAttributes);
  EXPECT_EQ(GetFullPathNameW(nullptr, 0, nullptr, nullptr), 0U);
}

TEST_F(HostFiles, LinksShowAsReparsePoints) {
  fs::create_directories(DriveC() / "folder");
  Write(DriveC() / "file");
  fs::create_directory_symlink("folder", DriveC() / "to folder");
  fs::create_symlink("file", DriveC() / "to file");
  fs::create_symlink("none", DriveC() / "to nothing");
  fs::create_symlink("itself", DriveC() / "itself");
  struct Case {
    const char16_t* path;
    Dword attributes;
  };
  const Case cases[] = {{u"C:\\to folder", 0x410},
                        {u"C:\\to folder\\", 0x410},
                        {u"C:\\to file", 0x420},
                        {u"C:\\to nothing", 0x420},
                        {u"C:\\itself", 0x420}};
  for (const Case& c : cases) {
    EXPECT_EQ(GetFileAttributesW(c.path), c.attributes) << fs::path(c.path);
  }
}

TEST_F(HostFiles, OfALinkOnlyTheLinkGoes) {
  fs::create_directories(DriveC() / "folder");
  Write(DriveC() / "folder" / "kept");
  Write(DriveC() / "file");
  fs::create_directory_symlink("folder", DriveC() / "to folder");
  fs::create_symlink("file", DriveC() / "to file");
  fs::create_symlink("none", DriveC() / "to nothing");
  EXPECT_EQ(Delete(u"C:\\to folder"), kErrorAccessDenied);
  EXPECT_EQ(RemoveFolder(u"C:\\to file"), kErrorNotADirectory);
  EXPECT_EQ(RemoveFolder(u"C:\\to folder"), 0U);
  EXPECT_EQ(Delete(u"C:\\to file"), 0U);
  EXPECT_EQ(Delete(u"C:\\to nothing"), 0U);
  EXPECT_TRUE(fs::exists(DriveC() / "folder" / "kept"));
  EXPECT_TRUE(fs::exists(DriveC() / "file"));
  EXPECT_EQ(std::distance(fs::directory_iterator(DriveC()), {}), 2);
}

TEST_F(HostFiles, NothingIsMadeInThePlaceOfALink) {
  fs::create_symlink("target", DriveC() / "link");
  EXPECT_EQ(MakeFolder(u"C:\\link"), kErrorAlreadyExists);
  EXPECT_EQ(CreateNew(u"C:\\link"), kErrorFileExists);
  EXPECT_FALSE(fs::exists(DriveC() / "target"));
}

TEST_F(HostFiles, ACopyFollowsLinks) {
  Write(DriveC() / "file", "content");
  fs::create_symlink("file", DriveC() / "link");
  EXPECT_EQ(Copy(u"C:\\link", u"C:\\copy"), 0U);
  EXPECT_FALSE(fs::is_symlink(DriveC() / "copy"));
  EXPECT_EQ(fs::file_size(DriveC() / "copy"), 7U);
  EXPECT_EQ(Copy(u"C:\\file", u"C:\\link"), kErrorSharingViolation) << "onto itself";
}

TEST_F(HostFiles, FoldersThatAreLinksAreEntered) {
  fs::create_directories(DriveC() / "folder");
  fs::create_directory_symlink("folder", DriveC() / "link");
  fs::create_symlink("loop", DriveC() / "loop");
  EXPECT_EQ(CreateNew(u"C:\\LINK\\x"), 0U);
  EXPECT_TRUE(fs::exists(DriveC() / "folder" / "x"));
  EXPECT_EQ(CreateNew(u"C:\\loop\\x"), kErrorCantResolveName);
}

TEST_F(HostFiles, ALockedFileIsNeitherCopiedNorDeleted) {
  Write(DriveC() / "file", "content");
  Write(DriveC() / "other", "other");
  ASSERT_TRUE(host::LockFile(u"C:\\FILE"));
  EXPECT_EQ(Delete(u"C:\\file"), kErrorSharingViolation);
  EXPECT_EQ(Copy(u"C:\\file", u"C:\\x"), kErrorSharingViolation);
  EXPECT_EQ(Copy(u"C:\\other", u"C:\\file"), kErrorSharingViolation);
  EXPECT_EQ(GetFileAttributesW(u"C:\\file"), 0x20U);
  EXPECT_EQ(Copy(u"C:\\other", u"C:\\x"), 0U) << "others aren't locked";
  EXPECT_EQ(fs::file_size(DriveC() / "file"), 7U);
  ASSERT_TRUE(host::UnlockFile(u"C:\\file"));
  EXPECT_EQ(Delete(u"C:\\file"), 0U);
}

TEST_F(HostFiles, ALockStaysWithItsFile) {
  Write(DriveC() / "file");
  ASSERT_TRUE(host::LockFile(u"C:\\file"));
  fs::rename(DriveC() / "file", DriveC() / "renamed");
  Write(DriveC() / "file");
  EXPECT_EQ(Delete(u"C:\\file"), 0U);
  EXPECT_EQ(Delete(u"C:\\renamed"), kErrorSharingViolation);
}

TEST_F(HostFiles, ALockedDirectoryIsNotRemoved) {
  fs::create_directories(DriveC() / "folder");
  ASSERT_TRUE(host::LockFile(u"C:\\folder"));
  EXPECT_EQ(RemoveFolder(u"C:\\folder"), kErrorSharingViolation);
  ASSERT_TRUE(host::UnlockFile(u"C:\\folder"));
  EXPECT_EQ(RemoveFolder(u"C:\\folder"), 0U);
}

TEST_F(HostFiles, WhatIsNotThereCantBeLocked) {
  EXPECT_FALSE(host::LockFile(u"C:\\none"));
  EXPECT_FALSE(host::UnlockFile(u"C:\\none"));
  EXPECT_FALSE(host::SetReadOnlyDirectory(u"C:\\none\\x", true));
}

TEST_F(HostFiles, AReadOnlyDirectoryRefusesChanges) {
  fs::create_directories(DriveC() / "folder" / "sub");
  Write(DriveC() / "folder" / "file", "content");
  ASSERT_TRUE(host::SetReadOnlyDirectory(u"C:\\folder", true));
  EXPECT_EQ(CreateNew(u"C:\\folder\\x"), kErrorAccessDenied);
  EXPECT_EQ(MakeFolder(u"C:\\folder\\x"), kErrorAccessDenied);
  EXPECT_EQ(Copy(u"C:\\folder\\file", u"C:\\folder\\x"), kErrorAccessDenied);
  EXPECT_EQ(Delete(u"C:\\folder\\file"), kErrorAccessDenied);
  EXPECT_EQ(RemoveFolder(u"C:\\folder\\sub"), kErrorAccessDenied);
  EXPECT_EQ(Copy(u"C:\\folder\\file", u"C:\\x"), 0U) << "reading is free";
  EXPECT_EQ(CreateNew(u"C:\\folder\\sub\\x"), 0U) << "what lies deeper is free";
  EXPECT_EQ(CreateNew(u"C:\\folder\\file"), kErrorFileExists) << "told first";
  ASSERT_TRUE(host::SetReadOnlyDirectory(u"C:\\folder", false));
  EXPECT_EQ(CreateNew(u"C:\\folder\\x"), 0U);
}

TEST_F(HostFiles, NamesInOtherLettersAreFoundAtEachLevel) {
  fs::create_directories(DriveC() / "One" / "\xC3\x84pfel");
  Write(DriveC() / "One" / "\xC3\x84pfel" / "File");
  EXPECT_EQ(GetFileAttributesW(u"c:\\ONE\\\u00e4PFEL\\fILE"), 0x20U);
  Write(DriveC() / "One" / "\xC3\x84pfel" / "file");
  EXPECT_EQ(Delete(u"c:\\one\\\u00e4pfel\\file"), 0U);
  EXPECT_TRUE(fs::exists(DriveC() / "One" / "\xC3\x84pfel" / "File")) << "an exact name goes first";
}

// Far beyond the host's own limit of 4096 bytes; a part in other letters among them.
TEST_F(HostFiles, DeepTreesInAnyLetters) {
  std::u16string path = u"\\\\?\\C:";
  for (int level = 0; level < 1000; ++level) {
    path += level == 500 ? u"\\Middle" : u"\\a level";
    ASSERT_EQ(MakeFolder(path), 0U) << level;
  }
  EXPECT_EQ(CreateNew((path + u"\\file").c_str()), 0U);
  std::u16string other = path;
  std::replace(other.begin(), other.end(), u'M', u'm');
  std::replace(other.begin() + 8, other.end(), u'v', u'V');
  EXPECT_EQ(GetFileAttributesW((other + u"\\FILE").c_str()), 0x20U);
  EXPECT_EQ(Copy(other + u"\\FILE", path + u"\\copy"), 0U);
  EXPECT_EQ(RemoveFolder(path), kErrorDirectoryNotEmpty);
  EXPECT_EQ(Delete(path + u"\\copy"), 0U);
  EXPECT_EQ(Delete(path + u"\\file"), 0U);
  for (int level = 1000; level-- > 0; path.resize(path.rfind(u'\\'))) {
    ASSERT_EQ(RemoveFolder(path), 0U) << level;
  }
  EXPECT_TRUE(fs::is_empty(DriveC()));
}

TEST_F(HostFiles, ANameLongerThanTheHostTakes) {
  const std::u16string name = u"\\\\?\\C:\\" + std::u16string(256, u'n');
  EXPECT_EQ(CreateNew(name.c_str()), kErrorInvalidName);
  EXPECT_EQ(MakeFolder(name), kErrorInvalidName);
  EXPECT_EQ(CreateNew((name + u"\\x").c_str()), kErrorInvalidName);
}

// Nothing refuses root, so root becomes somebody else for the while.
TEST_F(HostFiles, AFolderThatTheUserCantEnter) {
  constexpr uid_t kNobody = 65534;
  fs::create_directories(DriveC() / "closed" / "sub");
  fs::permissions(DriveC() / "closed", fs::perms::none);
  const uid_t user = ::geteuid();
  ASSERT_TRUE(user != 0 || ::seteuid(kNobody) == 0);
  const Error below = CreateNew(u"C:\\closed\\sub\\x");
  const Error inside = CreateNew(u"C:\\closed\\x");
  FindData data{};
  const Handle search = FindFirstFileExW(u"C:\\closed\\*", 0, &data, 0, nullptr, 0);
  const Error searching = GetLastError();
  ASSERT_TRUE(user != 0 || ::seteuid(user) == 0);
  fs::permissions(DriveC() / "closed", fs::perms::owner_all);
  EXPECT_EQ(below, kErrorAccessDenied);
  EXPECT_EQ(inside, kErrorAccessDenied);
  EXPECT_EQ(search, InvalidHandleValue());
  EXPECT_EQ(searching, kErrorAccessDenied);
}

TEST_F(HostFiles, WhatIsNoPlainFileIsNotCopied) {
  ASSERT_EQ(::mkfifo((DriveC() / "pipe").c_str(), 0600), 0);
  EXPECT_EQ(Copy(u"C:\\pipe", u"C:\\x"), kErrorAccessDenied);
  Write(DriveC() / "file");
  EXPECT_EQ(Copy(u"C:\\file", u"C:\\pipe"), kErrorAccessDenied);
}

TEST_F(HostFiles, AReadOnlyTargetIsNotOverwritten) {
  Write(DriveC() / "file", "new");
  Write(DriveC() / "fixed", "before");
  fs::permissions(DriveC() / "fixed", fs::perms::owner_write, fs::perm_options::remove);
  EXPECT_EQ(Copy(u"C:\\file", u"C:\\fixed"), kErrorAccessDenied);
  EXPECT_EQ(fs::file_size(DriveC() / "fixed"), 6U);
}

TEST_F(HostFiles, HalfACopyDoesNotStay) {
  Write(DriveC() / "file", std::string(100000, 'x'));
  rlimit before{};
  ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
  const rlimit small{.rlim_cur = 70000, .rlim_max = before.rlim_max};
  const auto handler = ::signal(SIGXFSZ, SIG_IGN);
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
  const Error error = Copy(u"C:\\file", u"C:\\copy");
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &before), 0);
  ::signal(SIGXFSZ, handler);
  EXPECT_EQ(error, kErrorDiskFull);
  EXPECT_FALSE(fs::exists(DriveC() / "copy"));
}

TEST_F(HostFiles, ErrorsOfTheHost) {
  struct Row {
    int number;
    Error error;
  };
  const Row rows[] = {{ENOENT, 2},   {ENOTDIR, 3},     {EACCES, 5},   {EPERM, 5},
                      {EISDIR, 5},   {EROFS, 19},      {EMFILE, 4},   {ENFILE, 4},
                      {EEXIST, 80},  {ENOTEMPTY, 145}, {ENOSPC, 112}, {EDQUOT, 112},
                      {EFBIG, 112},  {EBUSY, 32},      {ETXTBSY, 32}, {ENAMETOOLONG, 123},
                      {ELOOP, 1921}, {ENOMEM, 8},      {EIO, 31},     {0, 31}};
  for (const Row& row : rows) EXPECT_EQ(host::ErrorOfErrno(row.number), row.error) << row.number;
}

}  // namespace
}  // namespace winapi
