#include "platform/util/windows/registry_multi_string.h"

#include <algorithm>

namespace windows_helpers {

std::vector<std::u16string> ParseMultiString(const char16_t* first, const char16_t* last) {
  // The first zero of the mark is the last string's own; the loop does without it.
  if (last - first >= 2 && last[-1] == u'\0' && last[-2] == u'\0') last -= 2;

  std::vector<std::u16string> strings;
  while (first != last) {
    const char16_t* const end = std::find(first, last, u'\0');
    strings.emplace_back(first, end);
    first = end == last ? last : end + 1;
  }
  return strings;
}

std::u16string BuildMultiString(const std::vector<std::u16string>& strings) {
  // There is no string that would bring the first of the two.
  if (strings.empty()) return std::u16string(2, u'\0');

  std::u16string data;
  for (const std::u16string& string : strings) {
    data.append(string);
    data.push_back(u'\0');
  }
  data.push_back(u'\0');
  return data;
}

}  // namespace windows_helpers
