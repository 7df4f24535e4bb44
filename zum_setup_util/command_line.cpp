#include "zum_setup_util/command_line.h"

#include <algorithm>

#include "winapi/process.h"

namespace zum_setup_util {
namespace {

// The white space of the classic locale. Spelled out since the wide classification of the Windows
// runtime takes in no-break and typographic blanks too, and a path may hold those.
constexpr bool IsWhiteSpace(char16_t character) {
  return character == u' ' || (character >= u'\t' && character <= u'\r');
}

}  // namespace

ArgumentList SplitWords(std::u16string_view text) {
  ArgumentList words;
  for (auto first = text.begin();;) {
    first = std::find_if_not(first, text.end(), IsWhiteSpace);
    if (first == text.end()) return words;
    const auto last = std::find_if(first, text.end(), IsWhiteSpace);
    words.emplace_back(first, last);
    first = last;
  }
}

// By this split a program's path with blanks is several words: only its first one is thrown away,
// and the rest stands among the arguments, where nobody asks for it.
ArgumentList ReadCommandLineArguments() {
  ArgumentList words = SplitWords(winapi::GetCommandLineW());
  if (!words.empty()) words.erase(words.begin());
  return words;
}

std::u16string FindOptionValue(const ArgumentList& args, std::u16string_view key) {
  const auto found = std::find_if(args.begin(), args.end(), [key](const std::u16string& argument) {
    return argument.starts_with(key);
  });
  return found == args.end() ? std::u16string() : found->substr(key.size());
}

bool HasOption(const ArgumentList& args, std::u16string_view token) {
  return std::find(args.begin(), args.end(), token) != args.end();
}

}  // namespace zum_setup_util
