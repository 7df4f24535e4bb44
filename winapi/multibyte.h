// The C library's conversion between a character and its multi-byte text in the default ("C")
// locale, as Windows' runtime has it: 0 to 0xFF stand for themselves in one byte, all else has no
// form. The same in both worlds and whatever setlocale was told, which is why the library isn't
// called: glibc's "C" locale ends at 0x7F, and the Windows runtime follows setlocale. No system
// call, so no fault can be injected.
#ifndef WINAPI_MULTIBYTE_H_
#define WINAPI_MULTIBYTE_H_

#include <cstddef>

namespace winapi {

// Writes the multi-byte form of `character` to `bytes` (room for at least 16 is required). Gives
// the number of bytes, or -1 where there is none. A zero character gives one zero byte.
[[nodiscard]] int CharacterToMultibyte(char16_t character, char* bytes) noexcept;

// Decodes one character from at most `size` bytes. Gives the bytes used, 0 for a zero byte (with
// `*character` 0), -1 for bytes that stand for nothing, -2 for an unfinished character.
[[nodiscard]] int MultibyteToCharacter(const char* bytes, std::size_t size,
                                       char32_t* character) noexcept;

}  // namespace winapi

#endif  // WINAPI_MULTIBYTE_H_
