#include "zum_setup_util_lib/sensitive_data.h"

#include <locale>
#include <regex>

namespace correct_setup::helpers {
namespace {

constexpr std::u16string_view kPattern = uR"((QVPASSWD|QVPASSWDHEX)=([^\s'"]*))";
constexpr std::u16string_view kReplacement = u"$1=<sensitive data was hidden>";

// The standard regular expressions know no char16_t, and the runtimes don't agree on white space:
// the one of Windows has no-break and typographic blanks in it. Regular expressions ask for one
// character at a time, so the range forms of the facet stay as they are.
class ClassicSpaces : public std::ctype<wchar_t> {
 protected:
  bool do_is(mask classes, wchar_t character) const override {
    const bool isSpace = character == L' ' || (character >= L'\t' && character <= L'\r');
    if ((classes & space) != 0 && isSpace) return true;
    const auto others = static_cast<mask>(classes & ~space);
    return others != 0 && std::ctype<wchar_t>::do_is(others, character);
  }
};

std::wstring ToWide(std::u16string_view text) { return std::wstring(text.begin(), text.end()); }

std::u16string FromWide(const std::wstring& text) {
  std::u16string result;
  result.reserve(text.size());
  for (const wchar_t character : text) result.push_back(static_cast<char16_t>(character));
  return result;
}

// The default evaluation recurses for each character and runs out of stack on a long command line.
std::wregex Compile(std::u16string_view pattern) {
  std::wregex expression;
  expression.imbue(std::locale(std::locale::classic(), new ClassicSpaces));
  expression.assign(ToWide(pattern),
                    std::regex_constants::ECMAScript | std::regex_constants::__polynomial);
  return expression;
}

std::u16string DescribeError(const std::regex_error& error) {
  std::u16string text = u"<regex_error caught: ";
  for (const char* c = error.what(); *c != '\0'; ++c) {
    text.push_back(static_cast<unsigned char>(*c));
  }
  return text + u">";
}

}  // namespace

namespace detail {

std::u16string ReplaceMatches(const std::u16string& text, std::u16string_view pattern,
                              std::u16string_view replacement) {
  try {
    return FromWide(std::regex_replace(ToWide(text), Compile(pattern), ToWide(replacement)));
  } catch (const std::regex_error& error) {
    return DescribeError(error);
  }
}

}  // namespace detail

std::u16string HideSensitiveData(const std::u16string& text) {
  return detail::ReplaceMatches(text, kPattern, kReplacement);
}

}  // namespace correct_setup::helpers
