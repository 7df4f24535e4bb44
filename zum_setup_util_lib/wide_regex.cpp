#include "zum_setup_util_lib/wide_regex.h"

#include <locale>

namespace correct_setup::helpers {
namespace {

// The standard regular expressions know no char16_t, and the runtimes don't agree on white space:
// the one of Windows has no-break and typographic blanks in it. Regular expressions ask for one
// character at a time, so the range forms of the facet stay as they are.
class ClassicSpaces : public std::ctype<wchar_t> {
 public:
  // Never deleted by the locales that use it: one that can't be made would lose a facet of its own.
  ClassicSpaces() : std::ctype<wchar_t>(/*refs=*/1) {}

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

}  // namespace

// The default evaluation recurses for each character and runs out of stack on a long text.
WideRegex::WideRegex(std::u16string_view pattern) {
  static ClassicSpaces spaces;
  m_expression.imbue(std::locale(std::locale::classic(), &spaces));
  m_expression.assign(ToWide(pattern),
                      std::regex_constants::ECMAScript | std::regex_constants::__polynomial);
}

WideRegex::~WideRegex() = default;

bool WideRegex::MatchesWhole(std::u16string_view text) const {
  return std::regex_match(ToWide(text), m_expression);
}

std::u16string WideRegex::Replace(std::u16string_view text, std::u16string_view replacement) const {
  return FromWide(std::regex_replace(ToWide(text), m_expression, ToWide(replacement)));
}

}  // namespace correct_setup::helpers
