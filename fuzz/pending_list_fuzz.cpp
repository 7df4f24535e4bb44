// The list of pending renames against the rule in its plain form, which looks at all entries before
// each rename.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <vector>

#include "fuzz/input.h"
#include "zum_setup_util_lib/pending_operations.h"

namespace {

using List = std::vector<std::u16string>;

bool IsAbsolute(const std::u16string& path) { return !path.empty() && path.front() == u'\\'; }

List RewrittenPlainly(const List& list) {
  List rewritten;
  for (std::size_t i = 0; i < list.size();) {
    const bool isRename = i + 1 < list.size() && IsAbsolute(list[i]) && IsAbsolute(list[i + 1]);
    if (!isRename) {
      rewritten.push_back(list[i++]);
      continue;
    }
    const std::u16string& target = list[i + 1];
    if (std::find(rewritten.begin(), rewritten.end(), target) == rewritten.end()) {
      rewritten.push_back(target);
      rewritten.emplace_back();
    }
    rewritten.push_back(list[i]);
    rewritten.push_back(target);
    i += 2;
  }
  return rewritten;
}

// Few different strings, so that targets come again.
List TakeList(FuzzedDataProvider& input) {
  static const List kNames{u"", u"\\??\\C:\\a", u"\\??\\C:\\b", u"!\\??\\C:\\a", u"x", u"\\"};
  List list;
  while (input.remaining_bytes() > 0 && list.size() < 200) {
    const auto choice = input.ConsumeIntegralInRange<std::size_t>(0, kNames.size());
    list.push_back(choice < kNames.size() ? kNames[choice] : fuzz::TakeText(input, 4));
  }
  return list;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  const List list = TakeList(input);
  const List rewritten = correct_setup::detail::RewritePendingList(list);
  fuzz::Require(rewritten == RewrittenPlainly(list), "the list is the one of the plain rule");
  fuzz::Require(correct_setup::detail::RewritePendingList(rewritten) == rewritten,
                "a second time changes nothing");
  return 0;
}
