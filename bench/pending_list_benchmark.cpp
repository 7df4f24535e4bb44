// The correction of a long list of pending renames, against a plain search of the list so far for
// each target. Lists of that length are real: every file that an upgrade could not replace at once
// is in them.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

#include "zum_setup_util_lib/pending_operations.h"

namespace {

using List = std::vector<std::u16string>;

std::u16string PathOf(const char16_t* directory, std::size_t number) {
  const std::string digits = std::to_string(number);
  return directory + std::u16string(digits.begin(), digits.end());
}

// `pairs` renames with a target each.
List MakeList(std::size_t pairs) {
  List list;
  for (std::size_t i = 0; i < pairs; ++i) {
    list.push_back(PathOf(u"\\??\\C:\\Program Files\\from\\", i));
    list.push_back(PathOf(u"\\??\\C:\\Program Files\\to\\", i));
  }
  return list;
}

// The peer: the same rule with std::find.
List RewriteByPlainSearch(const List& list) {
  List result;
  const auto isAbsolute = [](const std::u16string& text) { return text.starts_with(u'\\'); };
  for (std::size_t i = 0; i < list.size();) {
    if (i + 1 == list.size() || !isAbsolute(list[i]) || !isAbsolute(list[i + 1])) {
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

void Product(benchmark::State& state) {
  const List list = MakeList(static_cast<std::size_t>(state.range(0)));
  while (state.KeepRunning()) {
    benchmark::DoNotOptimize(correct_setup::detail::RewritePendingList(list));
  }
}

void PlainSearch(benchmark::State& state) {
  const List list = MakeList(static_cast<std::size_t>(state.range(0)));
  if (RewriteByPlainSearch(list) != correct_setup::detail::RewritePendingList(list)) {
    state.SkipWithError("the two don't agree");
    return;
  }
  while (state.KeepRunning()) benchmark::DoNotOptimize(RewriteByPlainSearch(list));
}

BENCHMARK(Product)->Name("pending_list/ours")->RangeMultiplier(10)->Range(10, 10000);
BENCHMARK(PlainSearch)->Name("pending_list/plain_search")->RangeMultiplier(10)->Range(10, 10000);

}  // namespace

BENCHMARK_MAIN();
