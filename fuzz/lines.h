// Inputs of several texts, each on a line of its own, so that seeds can be read and written by
// hand.
#ifndef FUZZ_LINES_H_
#define FUZZ_LINES_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/texts.h"

namespace fuzz {

// At least one line, which may be empty; WideText tells how bytes become 16-bit units.
inline std::vector<std::u16string> WideLines(const std::uint8_t* data, std::size_t size) {
  const std::string bytes(data, data + size);
  std::vector<std::u16string> lines;
  for (std::size_t first = 0; first <= bytes.size();) {
    const std::size_t last = std::min(bytes.find('\n', first), bytes.size());
    lines.push_back(WideText(std::string_view(bytes).substr(first, last - first)));
    first = last + 1;
  }
  return lines;
}

}  // namespace fuzz

#endif  // FUZZ_LINES_H_
