#include "zum_setup_util_lib/repeat_execution.h"

#include <algorithm>
#include <exception>

#include "oru/rtl/trace.h"
#include "winapi/time.h"
#include "winapi/types.h"
#include "zum_setup_util_lib/caught_exception.h"

namespace correct_setup::helpers {
namespace {

// The longest sleep of one call: the next number up means for ever.
constexpr std::int64_t kLongestSleep = winapi::kInfinite - 1;

// The system's call takes 32 bits, the delay has 64.
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

namespace detail {

void TryExecuteWithRepeat(void (*run)(void* action), void* action, std::uint16_t repeatCount,
                          const Milliseconds& delay) {
  std::uint16_t counter = 0;
  while (!RunOnce(run, action, repeatCount, counter)) {
    // Behind the handler: the exception is gone before anybody sleeps.
    SleepFor(delay);
    ORU_TRACE(oru::kTraceLevelInfo,
              "setup\t[correct_setup::helpers::TryExecuteWithRepeat] try repeat execution: count "
                  << counter << ":" << repeatCount);
  }
}

}  // namespace detail

}  // namespace correct_setup::helpers
