#include "oru/rtl/trace_level.h"

#include <array>

namespace oru {

std::string_view LevelName(std::uint32_t level) noexcept {
  // The framework's names; a trace file's readers filter by them, so all stand here though the tool
  // writes at two levels only.
  static constexpr std::array<std::string_view, 11> kNames = {
      "NON", "ALW", "CRT", "ERR", "DNG", "WRN", "IMP", "INF", "DBG", "PRN", "ANY"};
  const std::uint32_t index = level / 100;
  return level % 100 == 0 && index < kNames.size() ? kNames[index] : "???";
}

}  // namespace oru
