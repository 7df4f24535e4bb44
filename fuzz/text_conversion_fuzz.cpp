// The conversions against iconv. The input's first four bytes are a code point, a fifth tells which
// calls of the heap fail; the rest is text: as it stands, and as WideText makes it.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/input.h"
#include "fuzz/texts.h"
#include "fuzz/utf_rules.h"
#include "oru/rtl/compact_string.h"
#include "oru/rtl/text_conversion.h"
#include "platform/util/text_utils.h"
#include "winapi/host/control.h"
#include "winapi/host/text.h"

namespace {

using fuzz::Require;

fuzz::Iconv<char16_t, char> toLatin1("UTF-16LE", "ISO-8859-1");
fuzz::Iconv<char, char16_t> fromLatin1("ISO-8859-1", "UTF-16LE");
fuzz::Iconv<char, char16_t> fromUtf8("UTF-8", "UTF-16LE");
fuzz::Iconv<char32_t, char> pointToUtf8("UTF-32LE", "UTF-8");

// What ISO 8859-1 holds; a code point beyond 0xFFFF is taken for the one of its low 16 bits.
std::optional<std::string> AnsiByRule(const std::u16string& text) {
  std::u16string low;
  for (const char32_t point : fuzz::CodePoints(text)) low += static_cast<char16_t>(point & 0xFFFF);
  if (std::any_of(low.begin(), low.end(), [](char16_t c) { return fuzz::IsSurrogate(c); })) {
    return std::nullopt;
  }
  return toLatin1(low);
}

// `expected` is nullopt for a text without a form. While the heap gives nothing, only a text that
// has its place already is converted.
template <typename String, typename Source, typename Convert, typename Expected>
void CheckInto(String target, const Source& source, const Expected& expected, bool heapFails,
               Convert convert) {
  using Text = typename Expected::value_type;
  const Text before(target.data(), target.size());
  const bool fits = expected && expected->size() <= target.capacity();
  if (heapFails) winapi::host::FailCall("HeapAlloc", 1, 8, winapi::host::Repeat::kForever);
  const oru::ResultCode rc = convert(source, target);
  winapi::host::ClearFaults();
  const oru::ResultCode wanted =
      !expected ? oru::errInvalidArgument : (!heapFails || fits ? oru::sOk : oru::errOutOfMemory);
  Require(rc == wanted, "the result code is the rule's");
  Require(Text(target.data(), target.size()) == (rc == oru::sOk ? *expected : before),
          "the target holds the text, or what it held");
  Require(target.c_str()[target.size()] == 0, "the target ends in a zero");
}

void CheckWide(const std::u16string& text, bool heapFails) {
  const std::optional<std::string> utf8 = fuzz::Utf8ByRule(text);
  const auto toUtf8 = [](const auto& source, auto& target) {
    return oru::Utf16ToUtf8(source, target);
  };
  const auto toAnsi = [](const auto& source, auto& target) {
    return oru::Utf16ToAnsi(source, target);
  };
  CheckInto(oru::String8(), text, utf8, heapFails, toUtf8);
  CheckInto(oru::String8("a text that stood there before"), text, utf8, heapFails, toUtf8);
  Require(text_utils::Utf16ToUtf8(text).view() == *utf8, "the throwing form gives the same");
  Require(winapi::host::ToUtf8(text) == *utf8, "the host gives the same");
  Require(oru::CountUtf8(text) == utf8->size(), "as many bytes are counted");
  std::vector<char> bytes(utf8->size());  // exact, so that one byte more is found
  oru::WriteUtf8(text, bytes.data());
  Require(std::equal(bytes.begin(), bytes.end(), utf8->begin()), "the same bytes are written");

  const std::optional<std::string> ansi = AnsiByRule(text);
  CheckInto(oru::String8("before"), text, ansi, heapFails, toAnsi);
  CheckInto(oru::CompactString("before"), text, ansi, heapFails, toAnsi);
}

void CheckNarrow(const std::string& bytes, bool heapFails) {
  const auto wide = fromLatin1(bytes);
  CheckInto(oru::String16(u"before"), std::string_view(bytes), wide, heapFails,
            [](auto source, auto& target) { return oru::AnsiToUtf16(source, target); });
}

// The character at the beginning: by iconv, or half a pair; the length, 0 where there is none.
std::size_t FirstCharacter(std::string_view bytes, std::u16string& text) {
  const auto at = [&](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
  if (bytes.size() > 2 && at(0) == 0xED && (at(1) & 0xE0U) == 0xA0 && (at(2) & 0xC0U) == 0x80) {
    text += static_cast<char16_t>(0xD000U + (at(1) & 0x3FU) * 64U + (at(2) & 0x3FU));
    return 3;
  }
  for (std::size_t length = 1; length <= std::min<std::size_t>(4, bytes.size()); ++length) {
    const auto character = fromUtf8(bytes.substr(0, length));
    if (!character) continue;
    text += *character;
    return length;
  }
  return 0;
}

// The host's reading of UTF-8, in its strict form and in the one that never fails.
void CheckUtf8(std::string_view bytes) {
  std::u16string expected;
  bool isWellFormed = true;
  for (std::size_t i = 0; i < bytes.size();) {
    const std::size_t length = FirstCharacter(bytes.substr(i), expected);
    i += std::max<std::size_t>(length, 1);
    if (length != 0) continue;
    expected += u'\uFFFD';
    isWellFormed = false;
  }
  Require(winapi::host::ToUtf16(bytes) == expected, "the host reads what iconv reads");
  std::u16string strict = u"before";
  Require(winapi::host::ToUtf16Strict(bytes, strict) == isWellFormed, "what is bad is refused");
  Require(strict == (isWellFormed ? expected : u"before"), "a refusal changes nothing");
}

void CheckCodePoint(std::uint32_t point) {
  const char32_t character[] = {point};
  std::optional<std::string> expected;
  if (fuzz::IsSurrogate(point)) {
    fuzz::AppendUtf8(expected.emplace(), point);
  } else {
    expected = pointToUtf8({character, 1});
  }
  char bytes[4];
  const unsigned length = oru::EncodeUtf8(point, bytes);
  Require(std::string(bytes, length) == expected.value_or(""), "a code point has its bytes");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 5) return 0;
  std::uint32_t point = 0;
  std::memcpy(&point, data, sizeof(point));
  CheckCodePoint(point % 0x120000);
  const bool heapFails = (data[4] & 1U) != 0;
  const std::string bytes(data + 5, data + size);
  CheckWide(fuzz::WideText(bytes), heapFails);
  CheckNarrow(bytes, heapFails);
  CheckUtf8(std::string_view(bytes).substr(0, 200));
  return 0;
}
