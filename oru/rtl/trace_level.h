// The levels of trace records. Lower is more severe; a record is kept when its level is at most the
// tracer's maximum.
#ifndef ORU_RTL_TRACE_LEVEL_H_
#define ORU_RTL_TRACE_LEVEL_H_

#include <cstdint>
#include <string_view>

namespace oru {

// The two levels that the tool writes at.
inline constexpr std::uint32_t kTraceLevelError = 300;
inline constexpr std::uint32_t kTraceLevelInfo = 700;

// "INF" for 700 and so on for each hundred up to 1000; "???" for a number that isn't a level.
[[nodiscard]] std::string_view LevelName(std::uint32_t level) noexcept;

}  // namespace oru

#endif  // ORU_RTL_TRACE_LEVEL_H_
