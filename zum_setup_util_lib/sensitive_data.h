// Hides the values of passwords in text that is to be shown.
#ifndef ZUM_SETUP_UTIL_LIB_SENSITIVE_DATA_H_
#define ZUM_SETUP_UTIL_LIB_SENSITIVE_DATA_H_

#include <string>
#include <string_view>

namespace correct_setup::helpers {

// `text` with "<sensitive data was hidden>" in place of what follows "QVPASSWD=" and
// "QVPASSWDHEX=", up to the first white space or quote. The keys match in this case only, also at
// the end of a longer word. A value in quotes stays readable: the hidden text is put in front of
// its opening quote. Texts of any length are safe. When the regular expression fails the result is
// "<regex_error caught: ", the reason and ">".
[[nodiscard]] std::u16string HideSensitiveData(const std::u16string& text);

namespace detail {

// The same with any pattern (ECMAScript, without back references) and replacement ("$1" is the
// first group). White space is the six characters of the classic locale: blank, tab, line feed,
// vertical tab, form feed, carriage return.
[[nodiscard]] std::u16string ReplaceMatches(const std::u16string& text, std::u16string_view pattern,
                                            std::u16string_view replacement);

}  // namespace detail

}  // namespace correct_setup::helpers

#endif  // ZUM_SETUP_UTIL_LIB_SENSITIVE_DATA_H_
