#include "winapi/host/clock.h"

#include <chrono>
#include <thread>
#include <vector>

#include "winapi/host/call.h"
#include "winapi/host/control.h"
#include "winapi/host/reset.h"

namespace winapi {
namespace {

// Sleeps are kept though the clock may run: a test wants to know that the product waits, and how
// long.
struct ClockState {
  std::optional<std::uint64_t> stoppedAt;
  std::vector<Dword> sleeps;
};

ClockState& TheClockState() {
  static ClockState& state = *new ClockState;
  return state;
}

}  // namespace

std::uint64_t host::ClockTicks() noexcept {
  if (const auto& ticks = TheClockState().stoppedAt) return *ticks;
  using Ticks = std::chrono::duration<std::int64_t, std::ratio<1, kTicksPerSecond>>;
  // Windows' clock has no finer steps, so the rest of the tick is dropped.
  const auto since1970 =
      std::chrono::floor<Ticks>(std::chrono::system_clock::now().time_since_epoch());
  return kTicksFrom1601To1970 + static_cast<std::uint64_t>(since1970.count());
}

void host::LetPass(Dword milliseconds) noexcept {
  if (auto& ticks = TheClockState().stoppedAt) {
    *ticks += std::uint64_t{milliseconds} * (kTicksPerSecond / 1000);
  } else {
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
  }
}

void Sleep(Dword milliseconds) noexcept {
  host::Call call("Sleep");
  call.Argument("milliseconds", milliseconds);
  TheClockState().sleeps.push_back(milliseconds);
  host::LetPass(milliseconds);
}

void host::SetClock(std::optional<std::uint64_t> ticks) {
  const SeamMark mark;
  TheClockState().stoppedAt = ticks;
}

void host::ForgetSleeps() { TheClockState().sleeps.clear(); }

const std::vector<Dword>& host::Sleeps() {
  const SeamMark mark;
  return TheClockState().sleeps;
}

}  // namespace winapi
