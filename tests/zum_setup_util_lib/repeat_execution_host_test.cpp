// The delays between two runs, on a clock that stands still.
#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>
#include <utility>
#include <vector>

#include "tests/support/standing_clock.h"
#include "tests/zum_setup_util_lib/installed_tracer.h"
#include "winapi/host/control.h"
#include "zum_setup_util_lib/repeat_execution.h"

namespace host = winapi::host;
using correct_setup::helpers::Milliseconds;
using correct_setup::helpers::TryExecuteWithRepeat;

namespace {

using Sleeps = std::vector<winapi::Dword>;

class RepeatDelays : public ::testing::Test {
 protected:
  // Runs an action that fails that often, with that many repeats allowed, and gives the sleeps of
  // it.
  Sleeps Run(int failures, std::uint16_t repeatCount, std::int64_t delay) {
    try {
      TryExecuteWithRepeat(
          [&failures] {
            if (failures-- > 0) throw std::runtime_error("not yet");
          },
          repeatCount, Milliseconds(delay));
    } catch (const std::runtime_error&) {
      // The last run failed too.
    }
    return m_clock.Sleeps();
  }

  tests::StandingClock m_clock;
};

TEST_F(RepeatDelays, SuccessAtOnceDoesNotSleep) { EXPECT_EQ(Run(0, 10, 100), Sleeps()); }

TEST_F(RepeatDelays, OneDelayBeforeEachRepeat) { EXPECT_EQ(Run(2, 10, 100), (Sleeps{100, 100})); }

TEST_F(RepeatDelays, NoDelayBehindTheLastRun) { EXPECT_EQ(Run(1000, 10, 100), Sleeps(10, 100)); }

TEST_F(RepeatDelays, ZeroDoesNotSleep) { EXPECT_EQ(Run(3, 10, 0), Sleeps()); }

TEST_F(RepeatDelays, NegativeDoesNotSleep) {
  EXPECT_EQ(Run(3, 10, -1), Sleeps());
  EXPECT_EQ(Run(3, 10, std::numeric_limits<std::int64_t>::min()), Sleeps());
}

// The system's own call takes 32 bits, of which the last number means for ever.
TEST_F(RepeatDelays, DelayBeyond32BitsIsSleptInParts) {
  EXPECT_EQ(Run(1, 10, 0xFFFFFFFF), (Sleeps{0xFFFFFFFE, 1}));
}

TEST_F(RepeatDelays, LongestDelayOfOneCallIsOnePart) {
  EXPECT_EQ(Run(1, 10, 0xFFFFFFFE), Sleeps{0xFFFFFFFE});
}

// The delay is the caller's own, who may change it between two runs.
TEST_F(RepeatDelays, DelayIsReadBeforeEachRepeat) {
  Milliseconds delay(100);
  int runs = 0;
  const auto action = [&] {
    ++runs;
    delay = Milliseconds(100 * runs);
    throw std::runtime_error("not yet");
  };
  EXPECT_THROW(TryExecuteWithRepeat(action, 3, delay), std::runtime_error);
  EXPECT_EQ(m_clock.Sleeps(), (Sleeps{100, 200, 300}));
}

// A repeat is told behind its delay.
TEST_F(RepeatDelays, RepeatIsToldBehindTheSleep) {
  tests::InstalledTracer tracer;
  std::vector<std::size_t> sleeps;
  const auto note = [&](char**) {
    sleeps.push_back(m_clock.Sleeps().size());
    return oru::sOk;
  };
  tracer->Script(tests::RecordingTracer::Call::kCommit, note, 4);
  EXPECT_EQ(Run(2, 10, 100), (Sleeps{100, 100}));
  // Failure and repeat, twice.
  EXPECT_EQ(sleeps, (std::vector<std::size_t>{0, 1, 1, 2}));
}

// The first sleep comes behind the first failure: nothing is slept while an exception is alive.
TEST_F(RepeatDelays, ExceptionIsGoneBeforeTheSleep) {
  std::size_t sleepsAtDeath = 99;
  struct Observed : std::exception {
    explicit Observed(std::size_t* place) : m_place(place) {}
    Observed(const Observed&) = delete;
    Observed& operator=(const Observed&) = delete;
    ~Observed() override { *m_place = host::Sleeps().size(); }
    std::size_t* m_place;
  };
  const std::size_t before = host::Sleeps().size();
  bool failed = false;
  TryExecuteWithRepeat(
      [&] {
        if (!std::exchange(failed, true)) throw Observed(&sleepsAtDeath);
      },
      1, Milliseconds(100));
  EXPECT_EQ(sleepsAtDeath, before);
  EXPECT_EQ(host::Sleeps().size(), before + 1);
}

}  // namespace
