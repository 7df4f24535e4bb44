#include "winapi/multibyte.h"

// One source for both worlds, since it has to be the same in both and no library's own conversion
// is: the Windows runtime's follows this rule until someone calls setlocale, glibc's "C" locale
// ends at 0x7F. The contract suite compares it with the Windows runtime's, unit by unit.
namespace winapi {

int CharacterToMultibyte(char16_t character, char* bytes) noexcept {
  if (character > 0xFF) return -1;
  *bytes = static_cast<char>(character);
  return 1;
}

int MultibyteToCharacter(const char* bytes, std::size_t size, char32_t* character) noexcept {
  if (size == 0) return -2;
  *character = static_cast<unsigned char>(*bytes);
  return *character == 0 ? 0 : 1;
}

}  // namespace winapi
