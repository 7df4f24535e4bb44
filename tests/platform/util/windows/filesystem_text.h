// Paths in the tests: made at random, and shown in a failure's text.
#ifndef TESTS_PLATFORM_UTIL_WINDOWS_FILESYSTEM_TEXT_H_
#define TESTS_PLATFORM_UTIL_WINDOWS_FILESYSTEM_TEXT_H_

#include <cstddef>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace tests {

// For the text of a failure: what isn't ASCII is shown as "#".
[[nodiscard]] inline std::string Shown(std::u16string_view text) {
  std::string shown;
  for (const char16_t unit : text) shown += unit < 0x80 ? static_cast<char>(unit) : '#';
  return "\"" + shown + "\"";
}

// Texts put together from pieces; the same ones at each run.
class RandomText {
 public:
  explicit RandomText(std::vector<std::u16string> pieces) : m_pieces(std::move(pieces)) {}

  [[nodiscard]] std::u16string operator()(std::size_t maxPieces) {
    std::u16string text;
    for (std::size_t count = Number(maxPieces + 1); count > 0; --count) {
      text += m_pieces[Number(m_pieces.size())];
    }
    return text;
  }
  // Below `limit`. The library's distributions differ between the worlds.
  [[nodiscard]] std::size_t Number(std::size_t limit) { return m_engine() % limit; }

 private:
  std::mt19937 m_engine;
  std::vector<std::u16string> m_pieces;
};

// Whole paths of all the forms that matter.
[[nodiscard]] inline RandomText RandomPaths() {
  return RandomText({u"\\",      u"\\",      u"/",   u"\\\\", u".",        u"..",   u"\\..",
                     u"\\.\\",   u"a",       u"b",   u"long", u"C:",       u"C:\\", u":",
                     u"\\\\?\\", u"\\\\.\\", u"UNC", u"unc",  u"\\\\s\\h", u"x.y",  u"..."});
}

}  // namespace tests

#endif  // TESTS_PLATFORM_UTIL_WINDOWS_FILESYSTEM_TEXT_H_
