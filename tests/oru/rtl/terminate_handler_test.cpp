// What a process says and how it ends when nobody takes an exception. Each case's process starts
// anew (a death test), so the handler is set there only.
#include "oru/rtl/terminate_handler.h"

#include <gtest/gtest.h>

#include <exception>
#include <new>
#include <stdexcept>

namespace {

template <typename Action>
void EndBy(Action action) noexcept {
  std::set_terminate(OruTerminateHandler);
  action();
}

TEST(TerminateHandlerTest, TellsTypeAndText) {
  EXPECT_DEATH(
      EndBy([] { throw std::runtime_error("broken"); }),
      "terminate called after throwing an instance of 'St13runtime_error'\\s+what\\(\\):  broken");
}

TEST(TerminateHandlerTest, TellsTypeAloneOfWhatIsNoException) {
  EXPECT_DEATH(EndBy([] { throw 42; }), "terminate called after throwing an instance of 'i'");
}

TEST(TerminateHandlerTest, WithoutAnExceptionSaysSo) {
  EXPECT_DEATH(EndBy([] { std::terminate(); }), "terminate called without an active exception");
}

// An exception whose text ends the process once more.
class Relapsing : public std::exception {
 public:
  [[nodiscard]] const char* what() const noexcept override { std::terminate(); }
};

TEST(TerminateHandlerTest, EndsWhenItIsCalledByItself) {
  EXPECT_DEATH(EndBy([] { throw Relapsing(); }), "terminate called recursively");
}

}  // namespace
