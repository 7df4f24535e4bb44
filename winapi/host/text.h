// The host layer's own text helpers: it lies below the framework and can't use the conversions of
// that.
#ifndef WINAPI_HOST_TEXT_H_
#define WINAPI_HOST_TEXT_H_

#include <string>
#include <string_view>

namespace winapi::host {

// Never fails. A byte that belongs to no well-formed sequence gives U+FFFD. The three-byte form of
// a surrogate is taken as that surrogate, so what ToUtf8 wrote comes back.
[[nodiscard]] std::u16string ToUtf16(std::string_view utf8);

// As above, but false for text that isn't well-formed; `result` is then untouched. The three-byte
// form of a lone surrogate is accepted.
[[nodiscard]] bool ToUtf16Strict(std::string_view utf8, std::u16string& result);

// Never fails. A lone surrogate is written in its three-byte form.
[[nodiscard]] std::string ToUtf8(std::u16string_view text);

// Upcase for units from 0x80 on. Nearly all that it is asked for is ASCII, which needn't be called
// for: a registry's names are compared by it.
[[nodiscard]] char16_t UpcaseBeyondAscii(char16_t unit) noexcept;

// The upper-case form of one code unit, by which names of keys, values and files are compared: the
// simple mapping of Latin (to U+017E), Greek, Cyrillic and Armenian letters, Roman numerals,
// circled and full-width letters. As on Windows, "ß" and the dotless "ı" stay themselves. All other
// units, surrogates among them, stand for themselves too: names in other scripts with an upper case
// are told apart by case here, which Windows wouldn't do.
[[nodiscard]] inline char16_t Upcase(char16_t unit) noexcept {
  if (unit >= 0x80) return UpcaseBeyondAscii(unit);
  return unit >= u'a' && unit <= u'z' ? static_cast<char16_t>(unit - (u'a' - u'A')) : unit;
}
[[nodiscard]] std::u16string Upcase(std::u16string_view text);

// Equality when case is ignored, unit by unit.
[[nodiscard]] bool EqualIgnoringCase(std::u16string_view left, std::u16string_view right) noexcept;

// The order of the upper-case forms, unit by unit, which needn't be made for it: of two names only
// the first unit that differs is looked at closer.
[[nodiscard]] bool IsLessIgnoringCase(std::u16string_view left, std::u16string_view right) noexcept;

}  // namespace winapi::host

#endif  // WINAPI_HOST_TEXT_H_
