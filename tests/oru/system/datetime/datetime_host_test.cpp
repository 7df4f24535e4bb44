// Conversions that the system refuses for no reason that it tells.
#include <gtest/gtest.h>

#include <cstdint>

#include "oru/system/datetime/datetime.h"
#include "oru/system/datetime/time_system_error.h"
#include "tests/oru/system/datetime/time_samples.h"
#include "winapi/host/control.h"

namespace oru::datetime {
namespace {

namespace host = winapi::host;
using tests::Instant;

// What fails without setting the last error finds an old one there, which may be 0.
TEST(TimeSystemErrorTest, ConversionThatFailsWithoutAnErrorIsNoSuccess) {
  struct Case {
    const char* call;
    std::uint32_t line;
  };
  for (const Case& row : {Case{"FileTimeToSystemTime", 74}, Case{"SystemTimeToFileTime", 67}}) {
    host::FailCall(row.call, 1, 0);
    try {
      (void)FromSystemTime(ToSystemTime(Instant(2026, 7, 15)));
      ADD_FAILURE() << row.call << ": nothing thrown";
    } catch (const TimeSystemError& error) {
      EXPECT_EQ(error.Code(), MakeResultCode(0x8000004B)) << row.call;
      EXPECT_EQ(error.Line(), row.line) << row.call;
    }
    host::ClearFaults();
  }
}

}  // namespace
}  // namespace oru::datetime
