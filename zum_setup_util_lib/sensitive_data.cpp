#include "zum_setup_util_lib/sensitive_data.h"

#include <regex>

#include "zum_setup_util_lib/wide_regex.h"

namespace correct_setup::helpers {
namespace {

// A key also matches at the end of a longer word. The value ends at a quote, so one that begins
// with a quote is empty to this pattern and stays readable.
constexpr std::u16string_view kPattern = uR"((QVPASSWD|QVPASSWDHEX)=([^\s'"]*))";
constexpr std::u16string_view kReplacement = u"$1=<sensitive data was hidden>";

// In place of the whole text: where masking fails, nothing of it may be shown.
std::u16string DescribeError(const std::regex_error& error) {
  std::u16string text = u"<regex_error caught: ";
  for (const char* c = error.what(); *c != '\0'; ++c) {
    // The library's texts are ASCII.
    text.push_back(static_cast<unsigned char>(*c));
  }
  return text + u">";
}

}  // namespace

namespace detail {

std::u16string ReplaceMatches(const std::u16string& text, std::u16string_view pattern,
                              std::u16string_view replacement) {
  try {
    return WideRegex(pattern).Replace(text, replacement);
  } catch (const std::regex_error& error) {
    return DescribeError(error);
  }
}

}  // namespace detail

std::u16string HideSensitiveData(const std::u16string& text) {
  return detail::ReplaceMatches(text, kPattern, kReplacement);
}

}  // namespace correct_setup::helpers
