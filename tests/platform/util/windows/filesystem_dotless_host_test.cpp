// Walks where no directory lists "." and "..", so that a directory may be the first entry at every
// level. The host and Wine leave them out of a root only; this program has a search of its own in
// place of the host's. Under Windows those functions are one object with all others on files, which
// can't be replaced.
#include <gtest/gtest.h>

#include <map>
#include <new>
#include <string>
#include <vector>

#include "platform/util/windows/filesystem/directory_walker.h"
#include "winapi/errors.h"
#include "winapi/files.h"

namespace {

struct Entry {
  const char16_t* name;
  winapi::Dword attributes;
};
constexpr winapi::Dword kFolder = winapi::kFileAttributeDirectory;
constexpr winapi::Dword kFile = winapi::kFileAttributeArchive;

using Listing = std::vector<Entry>;

// By the pattern that is searched for.
const std::map<std::u16string, Listing> kListings = {
    {u"C:\\first\\*", {{u"a", kFolder}, {u"z", kFile}}},
    {u"C:\\first\\a\\*", {{u"b", kFolder}}},
    {u"C:\\first\\a\\b\\*", {{u"f", kFile}}},
    {u"C:\\later\\*", {{u"a", kFile}, {u"b", kFolder}}},
    {u"C:\\later\\b\\*", {{u"c", kFolder}}},
    {u"C:\\later\\b\\c\\*", {{u"f", kFile}}},
    {u"C:\\closed\\*", {{u"a", kFolder}}},
    {u"C:\\closed\\a\\*", {{u"unlisted", kFolder}}},
};

struct Search {
  const Listing& listing;
  std::size_t next = 0;
};

bool TakeNext(Search& search, winapi::FindData& data) {
  if (search.next == search.listing.size()) return false;
  const Entry& entry = search.listing[search.next++];
  data = {};
  data.dwFileAttributes = entry.attributes;
  std::u16string(entry.name).copy(data.cFileName, std::size(data.cFileName) - 1);
  return true;
}

}  // namespace

namespace winapi {

Handle FindFirstFileExW(const char16_t* pattern, int, FindData* data, int, void*, Dword) noexcept {
  const auto found = kListings.find(pattern);
  auto* const search =
      found == kListings.end() ? nullptr : new (std::nothrow) Search{found->second};
  if (search == nullptr) {
    SetLastError(kErrorAccessDenied);
    return InvalidHandleValue();
  }
  (void)TakeNext(*search, *data);
  return search;
}

Bool FindNextFileW(Handle search, FindData* data) noexcept {
  if (TakeNext(*static_cast<Search*>(search), *data)) return 1;
  SetLastError(kErrorNoMoreFiles);
  return 0;
}

Bool FindClose(Handle search) noexcept {
  delete static_cast<Search*>(search);
  return 1;
}

}  // namespace winapi

namespace {

using Walker =
    product_platform::filesystem::DirectoryWalker<product_platform::filesystem::RemovalPolicy>;

TEST(DirectoryWalkerWithoutDots, OpenGoesDownUntilItDeclines) {
  Walker walker;
  ASSERT_EQ(walker.Open(u"C:\\first"), oru::sOk);
  EXPECT_EQ(walker.CurrentPath(), u"C:\\first\\a\\b\\f");
}

TEST(DirectoryWalkerWithoutDots, NextGoesDownUntilItDeclines) {
  Walker walker;
  ASSERT_EQ(walker.Open(u"C:\\later"), oru::sOk);
  EXPECT_EQ(walker.CurrentPath(), u"C:\\later\\a");
  ASSERT_EQ(walker.Next(), oru::sOk);
  EXPECT_EQ(walker.CurrentPath(), u"C:\\later\\b\\c\\f");
}

TEST(DirectoryWalkerWithoutDots, OpenStandsAtTheDirectoryThatCanNotBeListed) {
  Walker walker;
  ASSERT_EQ(walker.Open(u"C:\\closed"), oru::sOk);
  EXPECT_EQ(walker.CurrentPath(), u"C:\\closed\\a\\unlisted");
}

}  // namespace
