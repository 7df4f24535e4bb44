#include "zum_setup_util_lib/helpers.h"

#include <algorithm>
#include <exception>

#include "oru/rtl/exception_guard.h"
#include "oru/rtl/trace.h"
#include "winapi/time.h"
#include "winapi/types.h"

namespace correct_setup::helpers {
namespace {

// The longest sleep of one call: the next number up means for ever.
constexpr std::int64_t kLongestSleep = winapi::kInfinite - 1;

// The process's tracer, or null where even that can't be made: tracing never changes an outcome.
oru::ITracer* ProcessTracer() noexcept {
  try {
    return GetTracer();
  } catch (...) {
    return nullptr;
  }
}

void SleepFor(const Milliseconds& delay) noexcept {
  for (std::int64_t left = delay.count(); left > 0;) {
    const std::int64_t part = std::min(left, kLongestSleep);
    winapi::Sleep(static_cast<winapi::Dword>(part));
    left -= part;
  }
}

// One run: true when it returned. A failed one is counted, and leaves as it is when no repeat is
// left; the counter is compared before it goes up, so that its greatest value is a limit too.
bool RunOnce(void (*run)(void* action), void* action, std::uint16_t repeatCount,
             std::uint16_t& counter) {
  try {
    run(action);
    return true;
  } catch (const std::exception&) {
    (void)TraceCaughtException("setup\t[correct_setup::helpers::TryExecuteWithRepeat] ");
    if (counter >= repeatCount) throw;
    ++counter;
    return false;
  }
}

}  // namespace

oru::ResultCode TraceCaughtException(const char* prefix) noexcept {
  return oru::ExceptionGuard(ProcessTracer(), oru::kTraceLevelError, prefix);
}

namespace detail {

void TryExecuteWithRepeat(void (*run)(void* action), void* action, std::uint16_t repeatCount,
                          const Milliseconds& delay) {
  std::uint16_t counter = 0;
  while (!RunOnce(run, action, repeatCount, counter)) {
    SleepFor(delay);
    ORU_TRACE(oru::kTraceLevelInfo,
              "setup\t[correct_setup::helpers::TryExecuteWithRepeat] try repeat execution: count "
                  << counter << ":" << repeatCount);
  }
}

}  // namespace detail

}  // namespace correct_setup::helpers
