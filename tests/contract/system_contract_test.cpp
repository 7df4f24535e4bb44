#include <gtest/gtest.h>

#include "tests/support/answers.h"

namespace {

// A script that runs these cases names the system, and each row is judged by that.
TEST(SystemContract, IsTheOneThatIsNamed) {
  EXPECT_NE(0u, tests::FoundSystem());
  EXPECT_EQ(tests::NameOf(tests::FoundSystem()), tests::NameOf(tests::ThisSystem()));
}

}  // namespace
