#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "tests/support/answers.h"
#include "tests/support/directory_tree.h"
#include "tests/support/seam_error.h"
#include "winapi/files.h"

namespace {

using tests::Answers;
using tests::ErrorOf;
using tests::Hex;
using tests::kHost;
using tests::kWindows;
using tests::kWine;
using tests::kWine10;
using tests::kWine8;

struct Found {
  winapi::Dword attributes = 0;
  std::uint64_t size = 0;
  bool operator==(const Found&) const = default;
};

class FindContract : public ::testing::Test, protected tests::DirectoryTree {
 protected:
  static winapi::Handle First(const std::u16string& pattern, winapi::FindData& data) {
    winapi::SetLastError(tests::kUntouchedError);
    return winapi::FindFirstFileExW(pattern.c_str(), winapi::kFindExInfoStandard, &data,
                                    winapi::kFindExSearchNameMatch, nullptr, 0);
  }

  // What a search gives, in its order.
  static std::vector<winapi::FindData> All(const std::u16string& pattern) {
    std::vector<winapi::FindData> all;
    winapi::FindData data{};
    const winapi::Handle search = First(pattern, data);
    if (search == winapi::InvalidHandleValue()) return all;
    do all.push_back(data);
    while (winapi::FindNextFileW(search, &data) != 0);
    EXPECT_EQ(18u, winapi::GetLastError());
    EXPECT_NE(0, winapi::FindClose(search));
    return all;
  }

  static std::map<std::u16string, Found> Map(const std::vector<winapi::FindData>& all) {
    std::map<std::u16string, Found> map;
    for (const winapi::FindData& data : all) {
      const std::uint64_t size = (std::uint64_t{data.nFileSizeHigh} << 32) | data.nFileSizeLow;
      EXPECT_TRUE(map.emplace(data.cFileName, Found{data.dwFileAttributes, size}).second);
    }
    return map;
  }

  static std::vector<std::u16string> Names(const std::u16string& pattern) {
    std::vector<std::u16string> names;
    for (const winapi::FindData& data : All(pattern)) names.emplace_back(data.cFileName);
    std::sort(names.begin(), names.end());
    return names;
  }

  // "file 17"
  static std::u16string Numbered(int number) {
    const std::string name = "file " + std::to_string(number);
    return {name.begin(), name.end()};
  }
  static winapi::Error ErrorOfFirst(const std::u16string& pattern) {
    winapi::FindData data{};
    const winapi::Handle search = First(pattern, data);
    if (search == winapi::InvalidHandleValue()) return winapi::GetLastError();
    EXPECT_NE(0, winapi::FindClose(search));
    return 0;
  }
};

TEST_F(FindContract, GivesEachEntryOnceWithTheDotsAhead) {
  Write(u"file.txt", "12345");
  Write(u"fixed", "");
  SetReadOnly(u"fixed", true);
  MakeDirectory(u"folder");
  Write(u"folder/not here", "");
  const auto all = All(Windows(u"*"));
  ASSERT_EQ(5u, all.size());
  EXPECT_EQ(std::u16string(u"."), all[0].cFileName);
  EXPECT_EQ(std::u16string(u".."), all[1].cFileName);
  const std::map<std::u16string, Found> expected = {{u".", {0x10, 0}},
                                                    {u"..", {0x10, 0}},
                                                    {u"file.txt", {0x20, 5}},
                                                    {u"fixed", {0x21, 0}},
                                                    {u"folder", {0x10, 0}}};
  EXPECT_EQ(expected, Map(all));
  SetReadOnly(u"fixed", false);
}

TEST_F(FindContract, LinksAndNamesWithADot) {
  Write(u".file", "12");
  Write(u"file", "123");
  MakeDirectory(u"folder");
  MakeLink(u"file", u"to file");
  MakeLink(u"folder", u"to folder");
  MakeLink(u"none", u"to nothing");
  std::map<std::u16string, Found> found = Map(All(Windows(u"*")));
  EXPECT_ANSWER("attributes of a name with a dot",
                Answers(Hex{0x20}, kHost | kWine10 | kWindows)
                    .Or(Hex{0x22}, kWine8, "hides files whose names begin with a dot"),
                Hex{found[u".file"].attributes});
  EXPECT_EQ((Found{0x410, 0}), found[u"to folder"]);
  const char* const reason = "shows a link to a file as the file";
  EXPECT_ANSWER("attributes of a link to a file",
                Answers(Hex{0x420}, kHost | kWindows).Or(Hex{0x20}, kWine, reason),
                Hex{found[u"to file"].attributes});
  EXPECT_ANSWER("size of a link to a file of 3 bytes",
                Answers(0u, kHost | kWindows).Or(3u, kWine, reason),
                static_cast<winapi::Dword>(found[u"to file"].size));
  EXPECT_ANSWER("a link to nothing is found",
                Answers(true, kHost | kWindows).Or(false, kWine, "doesn't see a link to nothing"),
                found.contains(u"to nothing"));
}

TEST_F(FindContract, AnEmptyDirectoryHasTheDotsOnly) {
  const std::vector<std::u16string> dots = {u".", u".."};
  EXPECT_EQ(dots, Names(Windows(u"*")));
  EXPECT_EQ(dots, Names(Windows(u"*.*")));
  EXPECT_EQ(dots, Names(u"\\\\?\\" + Windows(u"*")));
}

TEST_F(FindContract, NamesAndMasks) {
  Write(u"one.txt", "");
  Write(u"two.TXT", "");
  Write(u"three", "");
  struct Case {
    const char* name;
    std::u16string mask;
    std::vector<std::u16string> found;
  };
  const Case cases[] = {
      {"extension", u"*.txt", {u"one.txt", u"two.TXT"}},
      {"beginning", u"t*", {u"three", u"two.TXT"}},
      {"one character", u"?ne.txt", {u"one.txt"}},
      {"in the middle", u"*e*", {u"one.txt", u"three"}},
      {"no wildcard", u"ONE.TXT", {u"one.txt"}},
      {"nothing", u"*.doc", {}},
      {"all", u"*.*", {u".", u"..", u"one.txt", u"three", u"two.TXT"}},
  };
  for (const Case& one : cases) EXPECT_ANSWER(one.name, one.found, Names(Windows(one.mask)));
}

TEST_F(FindContract, ManyEntries) {
  for (int i = 0; i < 700; ++i) Write(Numbered(i), "x");
  const auto map = Map(All(Windows(u"*")));
  EXPECT_EQ(702u, map.size());
  for (int i = 0; i < 700; ++i) {
    const auto found = map.find(Numbered(i));
    ASSERT_NE(map.end(), found) << i;
    EXPECT_EQ((Found{0x20, 1}), found->second) << i;
  }
}

TEST_F(FindContract, EntriesCanBeDeletedOnTheWay) {
  for (int i = 0; i < 600; ++i) Write(Numbered(i), "");
  winapi::FindData data{};
  const winapi::Handle search = First(Windows(u"*"), data);
  ASSERT_NE(winapi::InvalidHandleValue(), search);
  int deleted = 0;
  do {
    if (data.dwFileAttributes == 0x10) continue;
    EXPECT_NE(0, winapi::DeleteFileW(Windows(data.cFileName).c_str()));
    ++deleted;
  } while (winapi::FindNextFileW(search, &data) != 0);
  EXPECT_NE(0, winapi::FindClose(search));
  EXPECT_EQ(600, deleted);
  EXPECT_TRUE(std::filesystem::is_empty(File(u"")));
}

TEST_F(FindContract, TheEndStaysTheEnd) {
  winapi::FindData data{};
  const winapi::Handle search = First(Windows(u"*"), data);
  ASSERT_NE(winapi::InvalidHandleValue(), search);
  EXPECT_NE(0, winapi::FindNextFileW(search, &data));
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(18u, ErrorOf([&] { return winapi::FindNextFileW(search, &data); }));
  }
  EXPECT_NE(0, winapi::FindClose(search));
}

TEST_F(FindContract, Refusals) {
  Write(u"file", "");
  MakeDirectory(u"folder");
  struct Case {
    const char* name;
    std::u16string pattern;
    Answers<winapi::Error> error;
  };
  const Case cases[] = {
      {"missing directory", Windows(u"none\\*"), 3},
      {"missing parent", Windows(u"none\\x\\*"), 3},
      {"missing name", Windows(u"none"), 2},
      {"no match", Windows(u"folder\\*.txt"), 2},
      {"separator at the end", Windows(u"folder\\"), 2},
      {"root", u"C:\\", 2},
      {"empty", u"", 3},
      {"below a file", Windows(u"file\\*"),
       Answers(267u, kHost | kWine10 | kWindows)
           .Or(123u, kWine8, "calls a file in the place of a directory a bad name")},
      {"missing drive", u"q:\\*", 3},
      {"bad character", Windows(u"a|*"),
       Answers(123u, kHost | kWindows).Or(2u, kWine, "takes a bar in a mask")},
  };
  for (const Case& one : cases) EXPECT_ANSWER(one.name, one.error, ErrorOfFirst(one.pattern));
}

TEST_F(FindContract, TheLimitOfPaths) {
  const std::size_t room = 258 - Windows(u"\\*").size();
  ASSERT_LT(room, 240u);
  MakeDirectory(std::u16string(room, u'n'));
  const std::u16string folder = Windows(std::u16string(room, u'n'));
  EXPECT_EQ(0u, ErrorOfFirst(folder + u"\\*"));
  const std::u16string longer = folder + u"\\??*";
  EXPECT_ANSWER(
      "one character more",
      Answers(3u, kHost | kWindows).Or(0u, kWine, "has no limit of 260 characters for paths"),
      ErrorOfFirst(longer));
  EXPECT_EQ(0u, ErrorOfFirst(u"\\\\?\\" + folder + u"\\*"));
}

TEST_F(FindContract, WhatIsNoSearch) {
  winapi::FindData data{};
  const auto wrong = reinterpret_cast<winapi::Handle>(std::intptr_t{-1});
  EXPECT_EQ(6u, ErrorOf([&] { return winapi::FindNextFileW(wrong, &data); }));
  EXPECT_EQ(6u, ErrorOf([&] { return winapi::FindClose(wrong); }));
  EXPECT_EQ(6u, ErrorOf([] { return winapi::FindClose(nullptr); }));
}

}  // namespace
