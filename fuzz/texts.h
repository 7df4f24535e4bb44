// Texts as the targets' own rules need them: made from a fuzzer's bytes, and turned into bytes and
// UTF-8 by code that isn't the product's.
#ifndef FUZZ_TEXTS_H_
#define FUZZ_TEXTS_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace fuzz {

// ASCII and UTF-8 of two and three bytes as they are meant, so that dictionaries and seeds are
// readable, well-formed or not. A byte of 0xF0 and above makes a half of a pair with the byte
// behind it, and all others some unit.
inline std::u16string WideText(std::string_view bytes) {
  std::u16string text;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const auto next = [&]() -> unsigned {
      return ++i < bytes.size() ? static_cast<unsigned char>(bytes[i]) : 0U;
    };
    const unsigned byte = static_cast<unsigned char>(bytes[i]);
    if (byte < 0x80) {
      text += static_cast<char16_t>(byte);
    } else if (byte < 0xC0) {
      text += static_cast<char16_t>(byte << 8 | next());
    } else if (byte < 0xE0) {
      text += static_cast<char16_t>((byte & 0x1F) << 6 | (next() & 0x3F));
    } else if (byte < 0xF0) {
      const unsigned middle = next() & 0x3F;
      text += static_cast<char16_t>((byte & 0xF) << 12 | middle << 6 | (next() & 0x3F));
    } else {
      text += static_cast<char16_t>(0xD800 | (byte & 7) << 8 | next());
    }
  }
  return text;
}

// The bytes of a text, low byte first.
inline std::vector<std::uint8_t> Utf16Bytes(std::u16string_view text) {
  std::vector<std::uint8_t> bytes;
  for (const char16_t unit : text) {
    bytes.push_back(static_cast<std::uint8_t>(unit & 0xFF));
    bytes.push_back(static_cast<std::uint8_t>(unit >> 8));
  }
  return bytes;
}

// The code points of a text; a lone surrogate stands for itself.
inline std::vector<char32_t> CodePoints(std::u16string_view text) {
  std::vector<char32_t> points;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char32_t unit = text[i];
    const char32_t next = i + 1 < text.size() ? text[i + 1] : 0U;
    if ((unit & 0xFC00) == 0xD800 && (next & 0xFC00) == 0xDC00) {
      points.push_back(0x10000 + ((unit & 0x3FF) << 10) + (next & 0x3FF));
      ++i;
    } else {
      points.push_back(unit);
    }
  }
  return points;
}

inline void AppendUtf8(std::string& bytes, char32_t point) {
  const int more = point < 0x80 ? 0 : point < 0x800 ? 1 : point < 0x10000 ? 2 : 3;
  static constexpr unsigned kLead[] = {0, 0xC0, 0xE0, 0xF0};
  bytes += static_cast<char>(kLead[more] | static_cast<unsigned>(point >> (6 * more)));
  for (int i = more - 1; i >= 0; --i)
    bytes += static_cast<char>(0x80 | ((point >> (6 * i)) & 0x3F));
}

inline bool IsSurrogate(char32_t point) { return point >= 0xD800 && point <= 0xDFFF; }

// A lone surrogate becomes U+FFFD.
inline std::string Utf8WithReplacements(std::u16string_view text) {
  std::string bytes;
  for (const char32_t point : CodePoints(text))
    AppendUtf8(bytes, IsSurrogate(point) ? U'\uFFFD' : point);
  return bytes;
}

}  // namespace fuzz

#endif  // FUZZ_TEXTS_H_
