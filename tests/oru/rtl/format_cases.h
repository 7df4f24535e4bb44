// Formatted values and what every sink makes of them.
#ifndef TESTS_ORU_RTL_FORMAT_CASES_H_
#define TESTS_ORU_RTL_FORMAT_CASES_H_

#include <cstdint>

#include "oru/rtl/number_format.h"

namespace tests {

template <typename Value>
struct FormatCase {
  const char* name;
  Value value;
  oru::FormatSpec spec;
  const char* expected;
};

inline constexpr FormatCase<std::int32_t> kNumberCases[] = {
    {"plain", 42, {}, "42"},
    {"zero", 0, {}, "0"},
    {"negative", -42, {}, "-42"},
    {"width as long as the number", 42, {.width = 2}, "42"},
    {"width below", 1234, {.width = 2}, "1234"},
    {"width below 0", 42, {.width = -5}, "42"},
    {"in front", 42, {.width = 5}, "   42"},
    {"in front of the sign", -42, {.width = 5}, "  -42"},
    {"alignment above 1", -42, {.width = 5, .alignment = 7}, "  -42"},
    {"between sign and digits", -42, {.width = 6, .alignment = 0, .fill = '0'}, "-00042"},
    {"between without a prefix", 42, {.width = 6, .alignment = 0, .fill = '0'}, "000042"},
    {"behind", -42, {.width = 6, .alignment = -1, .fill = '.'}, "-42..."},
    {"alignment far below 0", 42, {.width = 4, .alignment = -9, .fill = '.'}, "42.."},
    {"base shown", 255, {.base = 16, .showBase = true}, "0xff"},
    {"in front of the base", 255, {.width = 8, .base = 16, .showBase = true}, "    0xff"},
    {"between base and digits",
     255,
     {.width = 8, .base = 16, .alignment = 0, .fill = '0', .showBase = true},
     "0x0000ff"},
    {"behind the base",
     255,
     {.width = 8, .base = 16, .alignment = -1, .fill = '_', .showBase = true},
     "0xff____"},
    {"octal with its base", 8, {.base = 8, .showBase = true}, "010"},
    {"zero with its base", 0, {.base = 16, .showBase = true}, "0x0"},
    {"octal zero with its base", 0, {.base = 8, .showBase = true}, "00"},
    {"no base to show", -42, {.showBase = true}, "-42"},
    {"limit has no part in numbers", 12345, {.limit = 2}, "12345"},
};

inline constexpr FormatCase<const char*> kTextCases[] = {
    {"plain", "text", {}, "text"},
    {"empty", "", {}, ""},
    {"null", nullptr, {}, ""},
    {"null in a field", nullptr, {.width = 3, .fill = '.'}, "..."},
    {"in front", "text", {.width = 6, .fill = '.'}, "..text"},
    {"between is in front of a text", "text", {.width = 6, .alignment = 0, .fill = '.'}, "..text"},
    {"behind", "text", {.width = 6, .alignment = -1, .fill = '.'}, "text.."},
    {"limit", "text", {.limit = 2}, "te"},
    {"limit of 0", "text", {.limit = 0}, ""},
    {"limit as long as the text", "text", {.limit = 4}, "text"},
    {"limit above the text", "text", {.limit = 100}, "text"},
    {"limit below 0", "text", {.limit = -3}, "text"},
    {"width counts what the limit leaves", "text", {.width = 5, .limit = 2, .fill = '.'}, "...te"},
    {"base and its prefix have no part in texts", "10", {.base = 16, .showBase = true}, "10"},
};

inline constexpr FormatCase<std::uint32_t> kResultCodeCases[] = {
    {"success", 0, {}, "0x00000000"},          {"false", 1, {}, "0x00000001"},
    {"failure", 0x80000046, {}, "0x80000046"}, {"of the tool", 0xA1780003, {}, "0xa1780003"},
    {"letters", 0xABCDEF01, {}, "0xabcdef01"},
};

}  // namespace tests

#endif  // TESTS_ORU_RTL_FORMAT_CASES_H_
