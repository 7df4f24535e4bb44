#include "oru/rtl/text_conversion.h"

#include <new>
#include <typeinfo>

#include "oru/rtl/text_conversion_impl.h"
#include "winapi/multibyte.h"

namespace oru {
namespace {

bool IsHighSurrogate(std::uint32_t unit) noexcept { return unit >= 0xD800 && unit <= 0xDBFF; }
bool IsLowSurrogate(std::uint32_t unit) noexcept { return unit >= 0xDC00 && unit <= 0xDFFF; }

bool IsPair(const char16_t* at, const char16_t* last) noexcept {
  return IsHighSurrogate(at[0]) && at + 1 != last && IsLowSurrogate(at[1]);
}
std::uint32_t PairOf(std::uint32_t high, std::uint32_t low) noexcept {
  return (high - 0xD800) * 1024 + (low - 0xDC00) + 0x10000;
}

// The six bits at `shift`, as a byte that continues a sequence.
char Continuation(std::uint32_t codePoint, unsigned shift) noexcept {
  return static_cast<char>(0x80 | ((codePoint >> shift) & 0x3F));
}

// The forms of two, three and four bytes; each gives the place behind it.
char* PutTwo(std::uint32_t codePoint, char* to) noexcept {
  to[0] = static_cast<char>(0xC0 | (codePoint >> 6));
  to[1] = Continuation(codePoint, /*shift=*/0);
  return to + 2;
}
char* PutThree(std::uint32_t codePoint, char* to) noexcept {
  to[0] = static_cast<char>(0xE0 | (codePoint >> 12));
  to[1] = Continuation(codePoint, /*shift=*/6);
  to[2] = Continuation(codePoint, /*shift=*/0);
  return to + 3;
}
char* PutFour(std::uint32_t codePoint, char* to) noexcept {
  to[0] = static_cast<char>(0xF0 | (codePoint >> 18));
  to[1] = Continuation(codePoint, /*shift=*/12);
  to[2] = Continuation(codePoint, /*shift=*/6);
  to[3] = Continuation(codePoint, /*shift=*/0);
  return to + 4;
}

// The walk of both passes over a text, which so take the same turns: the second one isn't told how
// much room it has. Each character goes to the function of `form` that is named after the number of
// its bytes. Most units are no surrogates and needn't be decoded. Behind one of one, three or four
// bytes it is asked first whether the next one is such, too; between letters of two bytes the
// blanks stand too close for that. The second half of a pair, where the first one isn't before it,
// is a character of three bytes like others. `form` is taken and given back as a copy, so that what
// it holds needn't be read again behind each byte that is written.
template <typename Form>
Form ForEachCharacter(std::u16string_view source, Form form) noexcept {
  const char16_t* at = source.data();
  const char16_t* const last = at + source.size();
  while (at != last) {
    if (*at < 0x80) {
      do {
        form.One(*at);
      } while (++at != last && *at < 0x80);
    } else if (*at < 0x800) {
      form.Two(*at++);
    } else if (IsPair(at, last)) {
      do {
        form.Four(PairOf(at[0], at[1]));
        at += 2;
      } while (at != last && IsPair(at, last));
    } else {
      do {
        form.Three(*at);
      } while (++at != last && *at >= 0x800 && !IsHighSurrogate(*at));
    }
  }
  return form;
}

struct Utf8Counter {
  void One(char16_t /*unit*/) noexcept { length += 1; }
  void Two(char16_t /*unit*/) noexcept { length += 2; }
  void Three(char16_t /*unit*/) noexcept { length += 3; }
  void Four(std::uint32_t /*codePoint*/) noexcept { length += 4; }

  std::size_t length = 0;
};

struct Utf8Writer {
  void One(char16_t unit) noexcept { *to++ = static_cast<char>(unit); }
  void Two(char16_t unit) noexcept { to = PutTwo(unit, to); }
  void Three(char16_t unit) noexcept { to = PutThree(unit, to); }
  void Four(std::uint32_t codePoint) noexcept { to = PutFour(codePoint, to); }

  char* to = nullptr;
};

}  // namespace

// Never fails: Windows lets a file's name hold half a pair, and such a name must still be shown.
std::uint32_t DecodeUtf16(const char16_t*& first, const char16_t* last) noexcept {
  if (!IsPair(first, last)) return *first++;
  first += 2;
  return PairOf(first[-2], first[-1]);
}

// The numbers of surrogates aren't kept out, so half a pair gets three bytes of its own. Strict
// readers of UTF-8 refuse those; refusing them here would lose the whole text.
unsigned EncodeUtf8(std::uint32_t codePoint, char (&bytes)[4]) noexcept {
  if (codePoint < 0x80) {
    bytes[0] = static_cast<char>(codePoint);
    return 1;
  }
  if (codePoint < 0x800) return static_cast<unsigned>(PutTwo(codePoint, bytes) - bytes);
  if (codePoint < 0x10000) return static_cast<unsigned>(PutThree(codePoint, bytes) - bytes);
  // No pair stands for such a number, so only a decoder other than DecodeUtf16 can bring one here.
  if (codePoint >= 0x110000) return 0;
  return static_cast<unsigned>(PutFour(codePoint, bytes) - bytes);
}

namespace detail {

// DecodeUtf16 in the form of the algorithm, whose decoders may fail.
bool DecodeWide(const char16_t*& first, const char16_t* last, std::uint32_t& codePoint) noexcept {
  codePoint = DecodeUtf16(first, last);
  return true;
}

bool DecodeAnsi(const char*& first, const char* last, std::uint32_t& codePoint) noexcept {
  char32_t character = 0;
  const int used =
      winapi::MultibyteToCharacter(first, static_cast<std::size_t>(last - first), &character);
  // Bytes that stand for nothing and a character whose end is missing are one failure: no further
  // byte comes that could complete it.
  if (used < 0) return false;
  first += used == 0 ? 1 : used;  // a zero byte is a character too
  codePoint = character;
  return true;
}

// EncodeUtf8 in the form of the algorithm, whose encoders have room for what the C library asks.
unsigned EncodeUtf8Units(std::uint32_t codePoint, char (&units)[kMaxUnits]) noexcept {
  char bytes[4];
  const unsigned n = EncodeUtf8(codePoint, bytes);
  std::copy_n(bytes, n, units);
  return n;
}

// The low 16 bits only: a code point from 0x10000 up isn't refused for its size but taken for
// another one, U+10041 for "A" and U+10000 for the zero character.
unsigned EncodeAnsi(std::uint32_t codePoint, char (&units)[kMaxUnits]) noexcept {
  const int n = winapi::CharacterToMultibyte(static_cast<char16_t>(codePoint & 0xFFFF), units);
  return n < 0 ? 0 : static_cast<unsigned>(n);
}

// The pair is there for other locales: characters of the default one end at 0xFF.
unsigned EncodeWide(std::uint32_t codePoint, char16_t (&units)[kMaxUnits]) noexcept {
  if (codePoint < 0x10000) {
    units[0] = static_cast<char16_t>(codePoint);
    return 1;
  }
  if (codePoint >= 0x110000) return 0;
  const std::uint32_t offset = codePoint - 0x10000;
  units[0] = static_cast<char16_t>(0xD800 + offset / 1024);
  units[1] = static_cast<char16_t>(0xDC00 + offset % 1024);
  return 2;
}

}  // namespace detail

// No process of 32 bits holds the 2.7 GB of units whose bytes a size_t can't count there.
std::size_t CountUtf8(std::u16string_view source) noexcept {
  return ForEachCharacter(source, Utf8Counter()).length;
}

void WriteUtf8(std::u16string_view source, char* bytes) noexcept {
  (void)ForEachCharacter(source, Utf8Writer{bytes});
}

ResultCode Utf16ToUtf8(std::u16string_view source, String8& target) noexcept {
  char* bytes = nullptr;
  const ResultCode rc = detail::MakePlace(target, CountUtf8(source), bytes);
  if (rc == sOk) WriteUtf8(source, bytes);
  return rc;
}

ResultCode Utf16ToAnsi(std::u16string_view source, String8& target) noexcept {
  return detail::ConvertText(source, target, detail::DecodeWide, detail::EncodeAnsi);
}

ResultCode AnsiToUtf16(std::string_view source, String16& target) noexcept {
  return detail::ConvertText(source, target, detail::DecodeAnsi, detail::EncodeWide);
}

// std::bad_cast is the framework's word for a text without a form in the other encoding; a guard
// makes errUnknownException of it.
void ThrowOnConversionFailure(ResultCode rc) {
  if (rc == errOutOfMemory) throw std::bad_alloc();
  if (ORU_FAILED(rc)) throw std::bad_cast();
}

}  // namespace oru
