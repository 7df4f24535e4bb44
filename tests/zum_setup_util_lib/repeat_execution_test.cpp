#include "zum_setup_util_lib/repeat_execution.h"

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "oru/rtl/exception.h"
#include "tests/support/checks.h"
#include "tests/zum_setup_util_lib/installed_tracer.h"

using correct_setup::helpers::Milliseconds;
using correct_setup::helpers::TryExecuteWithRepeat;
using tests::InstalledTracer;
using tests::RecordingTracer;

namespace {

using Records = tests::TraceRecords;

constexpr char kRepeatPrefix[] = "setup\t[correct_setup::helpers::TryExecuteWithRepeat] ";

std::pair<std::uint32_t, std::string> Failure(const std::string& what) {
  return {300, kRepeatPrefix + what};
}
std::pair<std::uint32_t, std::string> Repeat(int count, int limit) {
  return {700, kRepeatPrefix + ("try repeat execution: count " + std::to_string(count)) + ":" +
                   std::to_string(limit)};
}

// Fails as often as it is told to, with the number of the run as text.
struct FailingAction {
  int failures;
  int runs = 0;
  void operator()() {
    if (++runs <= failures) throw std::runtime_error("run " + std::to_string(runs));
  }
};

TEST(TryExecuteWithRepeat, SuccessAtOnceLeavesNoTrace) {
  const InstalledTracer tracer;
  FailingAction action{0};
  TryExecuteWithRepeat(action, 10, Milliseconds(0));
  EXPECT_EQ(action.runs, 1);
  EXPECT_TRUE(tracer->Calls().empty());
}

TEST(TryExecuteWithRepeat, TwoFailuresAndASuccess) {
  const InstalledTracer tracer;
  FailingAction action{2};
  TryExecuteWithRepeat(action, 10, Milliseconds(0));
  EXPECT_EQ(action.runs, 3);
  EXPECT_EQ(tracer.Records(),
            (Records{Failure("run 1"), Repeat(1, 10), Failure("run 2"), Repeat(2, 10)}));
}

TEST(TryExecuteWithRepeat, LastFailureIsTracedAndLeaves) {
  const InstalledTracer tracer;
  FailingAction action{1000};
  try {
    TryExecuteWithRepeat(action, 10, Milliseconds(0));
    FAIL() << "it returned";
  } catch (const std::runtime_error& error) {
    EXPECT_STREQ(error.what(), "run 11");
  }
  EXPECT_EQ(action.runs, 11);
  Records expected;
  for (int run = 1; run <= 11; ++run) {
    expected.push_back(Failure("run " + std::to_string(run)));
    if (run <= 10) expected.push_back(Repeat(run, 10));
  }
  EXPECT_EQ(tracer.Records(), expected);
}

TEST(TryExecuteWithRepeat, NoRepeatAllowedIsOneRun) {
  const InstalledTracer tracer;
  FailingAction action{1000};
  EXPECT_THROW(TryExecuteWithRepeat(action, 0, Milliseconds(100'000)), std::runtime_error);
  EXPECT_EQ(action.runs, 1);
  EXPECT_EQ(tracer.Records(), Records{Failure("run 1")});
}

TEST(TryExecuteWithRepeat, FirstRepeatOfAHundred) {
  const InstalledTracer tracer;
  FailingAction action{1};
  TryExecuteWithRepeat(action, 100, Milliseconds(0));
  ASSERT_EQ(tracer.Records().size(), 2u);
  EXPECT_EQ(tracer.Records()[1].second,
            "setup\t[correct_setup::helpers::TryExecuteWithRepeat] try repeat execution: count "
            "1:100");
}

TEST(TryExecuteWithRepeat, ForeignExceptionPassesThroughAtOnce) {
  const InstalledTracer tracer;
  int runs = 0;
  const auto action = [&runs] {
    ++runs;
    throw 42;
  };
  EXPECT_THROW(TryExecuteWithRepeat(action, 10, Milliseconds(0)), int);
  EXPECT_EQ(runs, 1);
  EXPECT_TRUE(tracer->Calls().empty());
  EXPECT_TRUE(tests::ReportedChecks().empty());
}

TEST(TryExecuteWithRepeat, SameExceptionLeavesNotACopy) {
  const void* thrown = nullptr;
  struct Remembered : std::exception {
    explicit Remembered(const void** place) { *place = this; }
  };
  const auto action = [&thrown] { throw Remembered(&thrown); };
  try {
    TryExecuteWithRepeat(action, 0, Milliseconds(0));
    FAIL() << "it returned";
  } catch (const Remembered& error) {
    EXPECT_EQ(&error, thrown);
  }
}

// An exception that tells when it dies.
class Observed : public std::exception {
 public:
  explicit Observed(std::vector<std::string>* events)
      : m_alive(events, [](std::vector<std::string>* log) { log->push_back("exception gone"); }) {}

 private:
  std::shared_ptr<std::vector<std::string>> m_alive;
};

TEST(TryExecuteWithRepeat, ExceptionIsGoneBeforeTheRepeatIsTold) {
  InstalledTracer tracer;
  std::vector<std::string> events;
  const auto note = [&events](const char* event) {
    return [&events, event](char**) {
      events.emplace_back(event);
      return oru::sOk;
    };
  };
  tracer->Script(RecordingTracer::Call::kCommit, note("failure traced"));
  tracer->Script(RecordingTracer::Call::kCommit, note("repeat told"));
  bool failed = false;
  const auto action = [&] {
    events.emplace_back("run");
    if (!std::exchange(failed, true)) throw Observed(&events);
  };
  TryExecuteWithRepeat(action, 1, Milliseconds(0));
  EXPECT_EQ(events, (std::vector<std::string>{"run", "failure traced", "exception gone",
                                              "repeat told", "run"}));
}

TEST(TryExecuteWithRepeat, FamilyMemberIsTracedWithItsDisplayText) {
  const InstalledTracer tracer;
  const auto action = [] {
    throw oru::CheckResultFailedException("a/b", 7, oru::errInvalidArgument, u"text");
  };
  EXPECT_THROW(TryExecuteWithRepeat(action, 0, Milliseconds(0)), oru::CheckResultFailedException);
  EXPECT_EQ(tracer.Records(),
            Records{Failure("CheckResultFailedException - text: 0x80000046 (Invalid argument). At "
                            "a/b(7) ")});
}

TEST(TryExecuteWithRepeat, NegativeDelayDoesNotSleep) {
  FailingAction action{3};
  TryExecuteWithRepeat(action, 3, Milliseconds(-1));
  EXPECT_EQ(action.runs, 4);
}

TEST(TryExecuteWithRepeat, DelayTakesItsTime) {
  FailingAction action{2};
  const auto start = std::chrono::steady_clock::now();
  TryExecuteWithRepeat(action, 2, Milliseconds(40));
  // A millisecond less each, for clocks of a coarser tick.
  EXPECT_GE(std::chrono::steady_clock::now() - start, Milliseconds(78));
}

// The greatest count ends too: a counter that came back to 0 would go on for ever.
TEST(TryExecuteWithRepeat, GreatestCountIs65535Repeats) {
  FailingAction action{1'000'000};
  EXPECT_THROW(TryExecuteWithRepeat(action, 65535, Milliseconds(0)), std::runtime_error);
  EXPECT_EQ(action.runs, 65536);
}

TEST(TryExecuteWithRepeat, WorksWithoutAMaximumForRecords) {
  const InstalledTracer tracer(299);
  FailingAction action{2};
  TryExecuteWithRepeat(action, 10, Milliseconds(0));
  EXPECT_EQ(action.runs, 3);
  EXPECT_TRUE(tracer.Records().empty());
}

TEST(TryExecuteWithRepeat, TakesAFunctionAndATemporary) {
  std::function<void()> action = [] {};
  TryExecuteWithRepeat(action, 1, Milliseconds(0));
  int runs = 0;
  TryExecuteWithRepeat([&runs] { ++runs; }, 1, Milliseconds(0));
  EXPECT_EQ(runs, 1);
}

}  // namespace
