// UTF-16 to UTF-8: text in memory to text in a block of its own. The framework counts first,
// allocates once and converts; so do the peers that can.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

#include "bench/cases.h"
#include "bench/plain_heap.h"
#include "oru/rtl/string.h"
#include "oru/rtl/text_conversion.h"

#ifdef _WIN32
// <windows.h> stays in winapi/win32.
extern "C" __declspec(dllimport) int __stdcall WideCharToMultiByte(unsigned, unsigned long,
                                                                   const char16_t*, int, char*, int,
                                                                   const char*, int*);
#else
#include <iconv.h>
#include <unicode/ustring.h>
#endif

namespace {

// A block of memory and what of it is text.
struct Bytes {
  explicit Bytes(std::size_t size) : block(static_cast<char*>(std::malloc(size)), std::free) {}
  [[nodiscard]] std::string_view View() const { return {block.get(), length}; }

  std::unique_ptr<char, void (*)(void*)> block;
  std::size_t length = 0;
};

oru::String8 Ours(const std::u16string& text) {
  oru::String8 target(bench::Memory());
  (void)oru::Utf16ToUtf8(text, target);
  return target;
}

#ifdef _WIN32
constexpr char kSystem[] = "WideCharToMultiByte";

Bytes System(const std::u16string& text) {
  constexpr unsigned kUtf8 = 65001;
  const char16_t* const first = text.data();
  const int size = static_cast<int>(text.size());
  const int length = WideCharToMultiByte(kUtf8, 0, first, size, nullptr, 0, nullptr, nullptr);
  Bytes bytes(static_cast<std::size_t>(length));
  (void)WideCharToMultiByte(kUtf8, 0, first, size, bytes.block.get(), length, nullptr, nullptr);
  bytes.length = static_cast<std::size_t>(length);
  return bytes;
}
#else
Bytes IcuInto(const std::u16string& text, std::int32_t capacity) {
  Bytes bytes(static_cast<std::size_t>(capacity));
  UErrorCode error = U_ZERO_ERROR;
  std::int32_t length = 0;
  u_strToUTF8(bytes.block.get(), capacity, &length, text.data(),
              static_cast<std::int32_t>(text.size()), &error);
  bytes.length = static_cast<std::size_t>(length);
  return bytes;
}

// Counted first.
Bytes Icu(const std::u16string& text) {
  UErrorCode error = U_ZERO_ERROR;
  std::int32_t length = 0;
  u_strToUTF8(nullptr, 0, &length, text.data(), static_cast<std::int32_t>(text.size()), &error);
  return IcuInto(text, length);
}

// Into a block that is large enough for any text of that length.
Bytes IcuOnePass(const std::u16string& text) {
  return IcuInto(text, static_cast<std::int32_t>(text.size() * 3));
}

// It can't count.
Bytes Iconv(const std::u16string& text) {
  static const iconv_t converter = iconv_open("UTF-8", "UTF-16LE");
  Bytes bytes(text.size() * 3);
  char* in = const_cast<char*>(reinterpret_cast<const char*>(text.data()));
  char* out = bytes.block.get();
  std::size_t inLeft = text.size() * 2;
  std::size_t outLeft = text.size() * 3;
  (void)iconv(converter, &in, &inLeft, &out, &outLeft);
  bytes.length = text.size() * 3 - outLeft;
  return bytes;
}
#endif

bool IsPair(const char16_t* at, const char16_t* last) {
  return at[0] >= 0xD800 && at[0] < 0xDC00 && at + 1 != last && at[1] >= 0xDC00 && at[1] < 0xE000;
}

// The rule written down: what the others refuse or replace, half a pair, is a character here.
Bytes PlainLoop(const std::u16string& text) {
  const char16_t* const last = text.data() + text.size();
  std::size_t length = 0;
  for (const char16_t* at = text.data(); at != last; ++at) {
    if (*at < 0x80) {
      length += 1;
    } else if (*at < 0x800) {
      length += 2;
    } else if (IsPair(at, last)) {
      length += 4;
      ++at;
    } else {
      length += 3;
    }
  }
  Bytes bytes(length);
  char* to = bytes.block.get();
  for (const char16_t* at = text.data(); at != last; ++at) {
    if (*at < 0x80) {
      *to++ = static_cast<char>(*at);
    } else if (*at < 0x800) {
      *to++ = static_cast<char>(0xC0 | *at >> 6);
      *to++ = static_cast<char>(0x80 | (*at & 0x3F));
    } else if (IsPair(at, last)) {
      const std::uint32_t codePoint = 0x10000 + (at[0] - 0xD800u) * 0x400 + (at[1] - 0xDC00u);
      *to++ = static_cast<char>(0xF0 | codePoint >> 18);
      *to++ = static_cast<char>(0x80 | (codePoint >> 12 & 0x3F));
      *to++ = static_cast<char>(0x80 | (codePoint >> 6 & 0x3F));
      *to++ = static_cast<char>(0x80 | (codePoint & 0x3F));
      ++at;
    } else {
      *to++ = static_cast<char>(0xE0 | *at >> 12);
      *to++ = static_cast<char>(0x80 | (*at >> 6 & 0x3F));
      *to++ = static_cast<char>(0x80 | (*at & 0x3F));
    }
  }
  bytes.length = length;
  return bytes;
}

std::u16string Repeat(std::u16string_view pattern, std::size_t units) {
  std::u16string text;
  while (text.size() + pattern.size() <= units) text += pattern;
  while (text.size() < units) text += u'.';
  return text;
}

template <typename Convert>
void AddPeer(const std::string& row, const char* side, const std::u16string& text,
             Convert convert) {
  if (convert(text).View() != Ours(text).view()) bench::AddFailure(row, side, text.size());
  bench::Add(row, side, text.size(), [=] { bench::Keep(convert(text)); });
}

void AddRow(const std::string& row, std::u16string_view pattern, bool isValid) {
  for (const std::size_t units : {10u, 100u, 1000u, 10'000u, 100'000u}) {
    const std::u16string text = Repeat(pattern, units);
    bench::Add(row, "ours", units, [=] { bench::Keep(Ours(text)); });
    AddPeer(row, "plain_loop", text, PlainLoop);
    if (!isValid) continue;
#ifdef _WIN32
    AddPeer(row, kSystem, text, System);
#else
    AddPeer(row, "icu", text, Icu);
    AddPeer(row, "icu_one_pass", text, IcuOnePass);
    AddPeer(row, "iconv", text, Iconv);
#endif
  }
}

}  // namespace

int main(int argc, char** argv) {
  bench::KeepPages();
  AddRow("utf8_ascii", u"C:\\Program Files\\ZUM Workstation\\", /*isValid=*/true);
  AddRow("utf8_cyrillic", u"Съешь ещё этих мягких булок, да выпей чаю. ", /*isValid=*/true);
  AddRow("utf8_chinese", u"天地玄黄，宇宙洪荒。日月盈昃，辰宿列张。", /*isValid=*/true);
  AddRow("utf8_pairs", u"😀🎉🚀𝄞", /*isValid=*/true);
  AddRow("utf8_lone", u"a\xD83D\x7F51\xDE00", /*isValid=*/false);
  return bench::Run(argc, argv);
}
