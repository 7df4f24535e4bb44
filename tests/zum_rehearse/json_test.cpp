#include "zum_rehearse/json.h"

#include <gtest/gtest.h>

#include <string>

#include "zum_rehearse/report.h"

namespace zum_rehearse {
namespace {

TEST(JsonLineTest, NamesAreUtf8AndOtherBytesAreReplaced) {
  Report report;
  report.machine = "B\xC3\xBCro\xFC";
  const std::string line = JsonLine(report, /*all=*/false);
  EXPECT_NE(line.find("\"machine\":\"B\xC3\xBCro\xEF\xBF\xBD\""), std::string::npos) << line;
}

}  // namespace
}  // namespace zum_rehearse
