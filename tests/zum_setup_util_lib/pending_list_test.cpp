// The rewriting of the list, without the registry.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "zum_setup_util_lib/pending_operations.h"

using correct_setup::detail::RewritePendingList;

namespace {

using List = std::vector<std::u16string>;

// For messages: strings joined by commas, the empty one as "-".
std::string Show(const List& list) {
  std::string text;
  for (const std::u16string& item : list) {
    text += text.empty() ? "" : ",";
    text += item.empty() ? std::string("-") : std::string(item.begin(), item.end());
  }
  return text;
}

struct ListCase {
  const char* name;
  List list;
  List expected;
};

void PrintTo(const ListCase& listCase, std::ostream* out) { *out << listCase.name; }

class ListTable : public ::testing::TestWithParam<ListCase> {};

TEST_P(ListTable, IsRewritten) {
  EXPECT_EQ(RewritePendingList(GetParam().list), GetParam().expected);
}

const ListCase kListCases[] = {
    {"EmptyList", {}, {}},
    {"Rename", {u"\\A", u"\\B"}, {u"\\B", u"", u"\\A", u"\\B"}},
    {"SecondRenameToTheSameTarget",
     {u"\\A", u"\\B", u"\\C", u"\\B"},
     {u"\\B", u"", u"\\A", u"\\B", u"\\C", u"\\B"}},
    {"TargetThatWasDeletedBefore", {u"\\A", u"", u"\\C", u"\\A"}, {u"\\A", u"", u"\\C", u"\\A"}},
    {"TargetThatWasMovedAwayBefore",
     {u"\\A", u"!\\B", u"\\C", u"\\A"},
     {u"\\A", u"!\\B", u"\\C", u"\\A"}},
    {"TargetThatIsMovedAwayLater",
     {u"\\A", u"\\B", u"\\B", u"\\C"},
     {u"\\B", u"", u"\\A", u"\\B", u"\\C", u"", u"\\B", u"\\C"}},
    {"ReplacingRename", {u"\\A", u"!\\B"}, {u"\\A", u"!\\B"}},
    {"ReplacingRenameDoesNotMentionItsTarget",
     {u"\\A", u"!\\B", u"\\C", u"\\B"},
     {u"\\A", u"!\\B", u"\\B", u"", u"\\C", u"\\B"}},
    {"DeletionPair", {u"\\A", u""}, {u"\\A", u""}},
    {"UnpairedFirstEntry", {u"X", u"\\A", u"\\B"}, {u"X", u"\\B", u"", u"\\A", u"\\B"}},
    {"LastStringWithoutAPartner", {u"\\A", u"\\B", u"\\C"}, {u"\\B", u"", u"\\A", u"\\B", u"\\C"}},
    {"OneString", {u"\\A"}, {u"\\A"}},
    {"OneEmptyString", {u""}, {u""}},
    {"CaseTellsTargetsApart",
     {u"\\A", u"\\B", u"\\C", u"\\b"},
     {u"\\B", u"", u"\\A", u"\\B", u"\\b", u"", u"\\C", u"\\b"}},
    {"SourceAndTargetTheSame", {u"\\A", u"\\A"}, {u"\\A", u"", u"\\A", u"\\A"}},
    {"NoPathPrefixIsParsed",
     {u"\\??\\C:\\a", u"\\??\\C:\\b"},
     {u"\\??\\C:\\b", u"", u"\\??\\C:\\a", u"\\??\\C:\\b"}},
    {"TwoFormsOfOnePathAreTwo",
     {u"\\??\\C:\\a", u"", u"\\x", u"\\C:\\a"},
     {u"\\??\\C:\\a", u"", u"\\C:\\a", u"", u"\\x", u"\\C:\\a"}},
    {"SlashIsNoBackslash", {u"/A", u"\\B"}, {u"/A", u"\\B"}},
    {"BackslashInSecondPosition", {u"C\\A", u"\\B"}, {u"C\\A", u"\\B"}},
    {"BackslashAlone", {u"\\", u"\\"}, {u"\\", u"", u"\\", u"\\"}},
    {"PrefixOfATargetIsNotTheTarget",
     {u"\\Ab", u"", u"\\C", u"\\A"},
     {u"\\Ab", u"", u"\\A", u"", u"\\C", u"\\A"}},
    // Behind an entry that isn't a rename the next position is tried, so this pairs the wrong ones.
    {"UnpairedEntryShiftsThePairs",
     {u"\\A", u"", u"\\B", u"\\C", u"\\D", u"!\\E"},
     {u"\\A", u"", u"\\C", u"", u"\\B", u"\\C", u"\\D", u"!\\E"}},
    {"WrongNeighboursPair",
     {u"\\A", u"x", u"\\B", u"\\C", u"\\D"},
     {u"\\A", u"x", u"\\C", u"", u"\\B", u"\\C", u"\\D"}},
};

INSTANTIATE_TEST_SUITE_P(RewritePendingList, ListTable, ::testing::ValuesIn(kListCases),
                         [](const auto& test) { return test.param.name; });

// The rule again, as plainly as it can be said: the search walks over all of the result.
List PlainRewrite(const List& source) {
  const auto isAbsolute = [](const std::u16string& text) { return text.find(u'\\') == 0; };
  List result;
  for (auto at = source.begin(); at != source.end();) {
    const auto next = at + 1;
    if (next == source.end() || !isAbsolute(*at) || !isAbsolute(*next)) {
      result.push_back(*at++);
      continue;
    }
    if (std::count(result.begin(), result.end(), *next) == 0) {
      result.insert(result.end(), {*next, u""});
    }
    result.insert(result.end(), at, at + 2);
    at += 2;
  }
  return result;
}

// Takes out of `rewritten` what the rule may have put in, which are pairs of an absolute path and
// an empty string in front of a rename to that path; false when what is left isn't `list`.
bool HasNothingElseAdded(const List& list, const List& rewritten) {
  std::size_t i = 0;
  std::size_t j = 0;
  while (j < rewritten.size()) {
    const bool isInserted =
        j + 3 < rewritten.size() && rewritten[j].starts_with(u'\\') && rewritten[j + 1].empty() &&
        rewritten[j + 2].starts_with(u'\\') && rewritten[j + 3] == rewritten[j] &&
        !(i + 1 < list.size() && list[i] == rewritten[j] && list[i + 1].empty());
    if (isInserted) {
      j += 2;
    } else if (i < list.size() && list[i] == rewritten[j]) {
      ++i;
      ++j;
    } else {
      return false;
    }
  }
  return i == list.size();
}

// Calls `check` with every list of up to `length` strings of the alphabet.
template <typename Check>
std::size_t ForAllLists(const List& alphabet, std::size_t length, Check check) {
  std::size_t lists = 0;
  for (std::size_t size = 0; size <= length; ++size) {
    std::vector<std::size_t> digits(size, 0);
    for (;;) {
      List list;
      for (const std::size_t digit : digits) list.push_back(alphabet[digit]);
      ++lists;
      check(list);
      std::size_t position = 0;
      while (position < size && ++digits[position] == alphabet.size()) digits[position++] = 0;
      if (position == size) break;
    }
  }
  return lists;
}

const List kAlphabet = {u"", u"\\A", u"\\B", u"\\a", u"!\\A", u"x"};

TEST(RewritePendingListProperties, AllShortListsAgreeWithThePlainRule) {
  int failures = 0;
  const std::size_t lists = ForAllLists(kAlphabet, 6, [&failures](const List& list) {
    if (failures < 5 && RewritePendingList(list) != PlainRewrite(list)) {
      ADD_FAILURE() << Show(list) << " gave " << Show(RewritePendingList(list));
      ++failures;
    }
  });
  EXPECT_EQ(lists, 55'987u);  // the sum of 6^0 to 6^6
}

TEST(RewritePendingListProperties, RewritingTwiceChangesNothing) {
  int failures = 0;
  ForAllLists(kAlphabet, 6, [&failures](const List& list) {
    const List once = RewritePendingList(list);
    if (failures < 5 && RewritePendingList(once) != once) {
      ADD_FAILURE() << Show(list) << " gave " << Show(once) << ", then "
                    << Show(RewritePendingList(once));
      ++failures;
    }
  });
}

TEST(RewritePendingListProperties, NothingIsLostOrReordered) {
  int failures = 0;
  ForAllLists(kAlphabet, 6, [&failures](const List& list) {
    if (failures < 5 && !HasNothingElseAdded(list, RewritePendingList(list))) {
      ADD_FAILURE() << Show(list) << " gave " << Show(RewritePendingList(list));
      ++failures;
    }
  });
}

// Tens of thousands of entries, with few and with many different targets.
TEST(RewritePendingListProperties, LongListsAreRewritten) {
  constexpr std::size_t kPairs = 25'000;
  for (const std::size_t targets : {std::size_t{1}, std::size_t{100}, kPairs}) {
    SCOPED_TRACE(targets);
    List list;
    List expected;
    for (std::size_t i = 0; i < kPairs; ++i) {
      const std::string number = std::to_string(i);
      const std::string target = std::to_string(i % targets);
      const std::u16string from =
          u"\\??\\C:\\from\\" + std::u16string(number.begin(), number.end());
      const std::u16string to = u"\\??\\C:\\to\\" + std::u16string(target.begin(), target.end());
      list.insert(list.end(), {from, to});
      if (i < targets) expected.insert(expected.end(), {to, u""});
      expected.insert(expected.end(), {from, to});
    }
    EXPECT_TRUE(RewritePendingList(list) == expected);
  }
}

}  // namespace
