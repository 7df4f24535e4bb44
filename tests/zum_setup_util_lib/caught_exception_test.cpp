#include "zum_setup_util_lib/caught_exception.h"

#include <gtest/gtest.h>

#include <exception>
#include <new>

#include "tests/zum_setup_util_lib/installed_tracer.h"

using correct_setup::helpers::TraceCaughtException;
using tests::InstalledTracer;

namespace {

using Records = tests::TraceRecords;

TEST(TraceCaughtException, GivesTheCodeAndTracesAtLevel300) {
  const InstalledTracer tracer;
  try {
    throw std::bad_alloc();
  } catch (const std::exception&) {
    EXPECT_EQ(TraceCaughtException("x\t[f] "), oru::errOutOfMemory);
  }
  EXPECT_EQ(tracer.Records(), (Records{{300, "x\t[f] bad allocation"}}));
}

}  // namespace
