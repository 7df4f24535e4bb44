#include "zum_rehearse/product_code.h"

#include <algorithm>
#include <cstddef>

namespace zum_rehearse {
namespace {

constexpr std::size_t kPackedLength = 32;
// Where the digits of the readable form stand in the packed one.
constexpr std::size_t kPositions[kPackedLength] = {7,  6,  5,  4,  3,  2,  1,  0,  11, 10, 9,
                                                   8,  15, 14, 13, 12, 17, 16, 19, 18, 21, 20,
                                                   23, 22, 25, 24, 27, 26, 29, 28, 31, 30};

bool IsDigit(char16_t unit) {
  return (unit >= u'0' && unit <= u'9') || (unit >= u'A' && unit <= u'F') ||
         (unit >= u'a' && unit <= u'f');
}

}  // namespace

std::string ReadableProductCode(std::u16string_view packed) {
  if (packed.size() != kPackedLength || !std::all_of(packed.begin(), packed.end(), IsDigit)) {
    return {};
  }
  std::string code = "{";
  for (std::size_t i = 0; i < kPackedLength; ++i) {
    if (i == 8 || i == 12 || i == 16 || i == 20) code += '-';
    code += static_cast<char>(packed[kPositions[i]]);
  }
  return code + "}";
}

}  // namespace zum_rehearse
