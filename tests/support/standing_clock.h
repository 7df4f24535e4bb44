// A clock of the host layer that stands still, on which nothing that sleeps takes time. Natively
// only.
#ifndef TESTS_SUPPORT_STANDING_CLOCK_H_
#define TESTS_SUPPORT_STANDING_CLOCK_H_

#include <cstddef>
#include <optional>
#include <vector>

#include "winapi/host/control.h"

namespace tests {

class StandingClock {
 public:
  StandingClock() : m_before(winapi::host::Sleeps().size()) {
    winapi::host::SetClock(133'000'000'000'000'000);
  }
  StandingClock(const StandingClock&) = delete;
  StandingClock& operator=(const StandingClock&) = delete;
  ~StandingClock() { winapi::host::SetClock(std::nullopt); }

  // The sleeps that were asked for since it stands, in milliseconds.
  [[nodiscard]] std::vector<winapi::Dword> Sleeps() const {
    const std::vector<winapi::Dword>& all = winapi::host::Sleeps();
    return {all.begin() + static_cast<std::ptrdiff_t>(m_before), all.end()};
  }

 private:
  std::size_t m_before;
};

}  // namespace tests

#endif  // TESTS_SUPPORT_STANDING_CLOCK_H_
