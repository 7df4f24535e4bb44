#include <array>

#include "oru/rtl/tracer.h"

namespace oru {

std::string_view LevelName(std::uint32_t level) noexcept {
  static constexpr std::array<std::string_view, 11> kNames = {
      "NON", "ALW", "CRT", "ERR", "DNG", "WRN", "IMP", "INF", "DBG", "PRN", "ANY"};
  const std::uint32_t index = level / 100;
  return level % 100 == 0 && index < kNames.size() ? kNames[index] : "???";
}

}  // namespace oru
