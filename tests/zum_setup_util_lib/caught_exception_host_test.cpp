#include <gtest/gtest.h>

#include <stdexcept>

#include "winapi/host/control.h"
#include "zum_setup_util_lib/caught_exception.h"

namespace host = winapi::host;
using correct_setup::helpers::TraceCaughtException;

namespace {

// The process's tracer is made at its first use, which finds no memory here.
TEST(TraceCaughtExceptionOnHostOwnProcess, GivesTheCodeWhereNoTracerCanBeMade) {
  host::FailCall("HeapAlloc", 1, 0, host::Repeat::kForever);
  oru::ResultCode code = oru::sOk;
  try {
    throw std::runtime_error("cause");
  } catch (const std::exception&) {
    code = TraceCaughtException("x\t[f] ");
  }
  EXPECT_GE(host::InjectedFaultCount(), 1u);
  host::ClearFaults();
  EXPECT_EQ(code, oru::errUnknownException);
}

}  // namespace
