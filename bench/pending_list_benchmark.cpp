// The correction of a long list of pending renames. Lists of that length are real: every file that
// an upgrade could not replace at once is in them. The argument is the number of entries, which are
// renames of two entries each.
//
// Peers: the same rule with a std::unordered_set that is reserved for the list, which is what
// anybody would write who knows the length beforehand; and the rule as plainly as it is told, with
// a search of the whole list so far.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "zum_setup_util_lib/pending_operations.h"

namespace {

using List = std::vector<std::u16string>;
using correct_setup::detail::RewritePendingList;

std::u16string PathOf(const char16_t* directory, std::size_t number) {
  const std::string digits = std::to_string(number);
  return directory + std::u16string(digits.begin(), digits.end());
}

List MakeList(std::size_t entries) {
  List list;
  list.reserve(entries);
  for (std::size_t i = 0; i < entries / 2; ++i) {
    list.push_back(PathOf(u"\\??\\C:\\Program Files\\from\\", i));
    list.push_back(PathOf(u"\\??\\C:\\Program Files\\to\\", i));
  }
  return list;
}

bool IsRename(const List& list, std::size_t i) {
  return i + 1 < list.size() && list[i].starts_with(u'\\') && list[i + 1].starts_with(u'\\');
}

List RewriteBySet(const List& list) {
  List result;
  result.reserve(list.size() * 2);
  std::unordered_set<std::u16string_view> members;
  members.reserve(list.size());
  for (std::size_t i = 0; i < list.size();) {
    if (!IsRename(list, i)) {
      members.insert(list[i]);
      result.push_back(list[i++]);
      continue;
    }
    if (members.insert(list[i + 1]).second) {
      result.push_back(list[i + 1]);
      result.emplace_back();
    }
    members.insert(list[i]);
    result.push_back(list[i]);
    result.push_back(list[i + 1]);
    i += 2;
  }
  return result;
}

List RewriteByPlainSearch(const List& list) {
  List result;
  for (std::size_t i = 0; i < list.size();) {
    if (!IsRename(list, i)) {
      result.push_back(list[i++]);
      continue;
    }
    if (std::find(result.begin(), result.end(), list[i + 1]) == result.end()) {
      result.push_back(list[i + 1]);
      result.emplace_back();
    }
    result.push_back(list[i]);
    result.push_back(list[i + 1]);
    i += 2;
  }
  return result;
}

void Measure(benchmark::State& state, List (*rewrite)(const List&)) {
  const List list = MakeList(static_cast<std::size_t>(state.range(0)));
  if (rewrite(list) != RewritePendingList(list)) {
    state.SkipWithError("it doesn't give what the product gives");
    return;
  }
  while (state.KeepRunning()) benchmark::DoNotOptimize(rewrite(list));
}

void Register(const char* name, List (*rewrite)(const List&), std::int64_t most) {
  benchmark::RegisterBenchmark(name, Measure, rewrite)
      ->RangeMultiplier(10)
      ->Range(10, most)
      ->Unit(benchmark::kMicrosecond);
}

}  // namespace

int main(int argc, char** argv) {
  Register("pending_list/ours", RewritePendingList, /*most=*/1'000'000);
  Register("pending_list/reserved_set", RewriteBySet, /*most=*/1'000'000);
  Register("pending_list/plain_search", RewriteByPlainSearch, /*most=*/10'000);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
