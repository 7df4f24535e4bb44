#include "oru/rtl/trace_level.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string_view>

namespace {

TEST(TraceLevel, LevelsOfTheTool) {
  EXPECT_EQ(oru::kTraceLevelInfo, 700u);
  EXPECT_EQ(oru::kTraceLevelError, 300u);
}

TEST(LevelName, KnowsTheElevenLevels) {
  const struct {
    std::uint32_t level;
    std::string_view name;
  } kRows[] = {{0, "NON"},   {100, "ALW"}, {200, "CRT"}, {300, "ERR"}, {400, "DNG"}, {500, "WRN"},
               {600, "IMP"}, {700, "INF"}, {800, "DBG"}, {900, "PRN"}, {1000, "ANY"}};
  for (const auto& row : kRows) EXPECT_EQ(oru::LevelName(row.level), row.name) << row.level;
}

TEST(LevelName, AnyOtherNumberHasNone) {
  for (const std::uint32_t level :
       {1u, 50u, 99u, 101u, 699u, 701u, 999u, 1001u, 1100u, 10000u, 4294967200u, 4294967295u}) {
    EXPECT_EQ(oru::LevelName(level), "???") << level;
  }
}

}  // namespace
