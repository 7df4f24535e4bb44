// What a fuzz target reads its values from: the bytes that the fuzzer made.
#ifndef FUZZ_INPUT_H_
#define FUZZ_INPUT_H_

#include <fuzzer/FuzzedDataProvider.h>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace fuzz {

// Ends the program with a line that names what doesn't hold, whatever the build's kind. The fuzzer
// keeps the input.
inline void Require(bool holds, const char* what) {
  if (!holds) {
    std::fprintf(stderr, "doesn't hold: %s\n", what);
    std::abort();
  }
}

// A text of at most `most` UTF-16 code units, lone surrogates and zeros among them.
inline std::u16string TakeText(FuzzedDataProvider& input, std::size_t most) {
  std::u16string text(input.ConsumeIntegralInRange<std::size_t>(0, most), u'\0');
  for (char16_t& unit : text) {
    unit = input.ConsumeBool() ? static_cast<char16_t>(input.ConsumeIntegral<std::uint8_t>())
                               : static_cast<char16_t>(input.ConsumeIntegral<std::uint16_t>());
  }
  return text;
}

}  // namespace fuzz

#endif  // FUZZ_INPUT_H_
