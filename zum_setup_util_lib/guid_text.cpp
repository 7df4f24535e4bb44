#include "zum_setup_util_lib/guid_text.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace correct_setup::helpers {

std::u16string FormatGuidText(const winapi::Guid& guid) {
  // Spelled out: the system's own text has the first three groups swapped.
  constexpr std::u16string_view digits = u"0123456789ABCDEF";
  std::array<std::uint8_t, sizeof(winapi::Guid)> bytes{};
  std::memcpy(bytes.data(), &guid, bytes.size());
  std::u16string text;
  text.reserve(36);
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    if (i == 4 || i == 6 || i == 8 || i == 10) text += u'-';
    text += digits[bytes[i] >> 4];
    text += digits[bytes[i] & 0xF];
  }
  return text;
}

winapi::Guid NewGuid() noexcept {
  winapi::Guid guid{};
  (void)winapi::CoCreateGuid(&guid);  // the zeros serve as well as they can
  return guid;
}

std::u16string CreateGuidString() {
  std::u16string text(u"{");
  text.append(FormatGuidText(NewGuid())).append(u"}");
  return text;
}

}  // namespace correct_setup::helpers
