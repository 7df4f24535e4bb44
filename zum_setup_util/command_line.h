// The program's own model of its command line: a list of arguments, and the two questions that the
// run asks of it.
//
// Quotation has no meaning here, other than in the split that a C runtime makes: a quote is a
// character like any other, and a blank inside quotes separates. Nothing is validated, and a token
// that nobody asks for is simply never looked at. Comparisons are character by character and
// case-sensitive.
#ifndef ZUM_SETUP_UTIL_COMMAND_LINE_H_
#define ZUM_SETUP_UTIL_COMMAND_LINE_H_

#include <string>
#include <string_view>
#include <vector>

namespace zum_setup_util {

using ArgumentList = std::vector<std::u16string>;

// "--trace-output=": the directory of the trace file follows in the same token.
inline constexpr std::u16string_view kTraceOutputKey = u"--trace-output=";
// "/unblock": a whole token.
inline constexpr std::u16string_view kUnblockToken = u"/unblock";

// The words of a text: maximal runs of characters that aren't blank, tab, line feed, vertical tab,
// form feed or carriage return. No other character separates, whatever the locale says. An empty
// text has none.
[[nodiscard]] ArgumentList SplitWords(std::u16string_view text);

// The words of the process's command line without the first, which is thrown away whatever it is.
[[nodiscard]] ArgumentList ReadCommandLineArguments();

// What stands behind `key` in the first argument that begins with it; empty when there is none.
[[nodiscard]] std::u16string FindOptionValue(const ArgumentList& args, std::u16string_view key);

// True when one argument is exactly `token`.
[[nodiscard]] bool HasOption(const ArgumentList& args, std::u16string_view token);

}  // namespace zum_setup_util

#endif  // ZUM_SETUP_UTIL_COMMAND_LINE_H_
