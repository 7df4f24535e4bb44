// Regular expressions on 16-bit text: the standard library's wide ones, ECMAScript grammar, made
// the same in both worlds.
//
// White space is the six characters of the classic locale (the runtime of Windows has typographic
// blanks beside them). The evaluation doesn't recurse for each character, so a text of any length
// is matched on a small stack; back references aren't possible with it. Compiling and matching
// throw std::regex_error.
#ifndef ZUM_SETUP_UTIL_LIB_WIDE_REGEX_H_
#define ZUM_SETUP_UTIL_LIB_WIDE_REGEX_H_

#include <regex>
#include <string>
#include <string_view>

namespace correct_setup::helpers {

class WideRegex {
 public:
  // Compiles.
  explicit WideRegex(std::u16string_view pattern);
  WideRegex(const WideRegex&) = delete;
  WideRegex& operator=(const WideRegex&) = delete;
  ~WideRegex();

  [[nodiscard]] bool MatchesWhole(std::u16string_view text) const;
  // `text` with every match replaced; "$1" in the replacement stands for the first group.
  [[nodiscard]] std::u16string Replace(std::u16string_view text,
                                       std::u16string_view replacement) const;

 private:
  std::wregex m_expression;
};

}  // namespace correct_setup::helpers

#endif  // ZUM_SETUP_UTIL_LIB_WIDE_REGEX_H_
