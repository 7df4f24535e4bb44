#include <gtest/gtest.h>

#include <cstdlib>

#include "tests/support/checks.h"
#include "tests/support/fresh_cases.h"
#include "tests/support/temporary_folder.h"

// Natively each test process has a machine of its own: a folder that goes away with it, and that is
// emptied behind each case. The host layer looks at the variable at its first use, which a static
// initialiser may be, so the folder is made by an initialiser with a high priority.
#ifndef _WIN32
namespace {

struct HostRoot {
  HostRoot() { ::setenv("ZUM_HOST_ROOT", folder.Path().c_str(), 1); }
  tests::TemporaryFolder folder;
};
HostRoot hostRoot __attribute__((init_priority(101)));

}  // namespace
#endif

// What the address sanitizer asks for at a program's start; nobody else does. A size that no heap
// has gives null, as without it, and doesn't end the process. It keeps 8 MB of freed memory, which
// is more than a case frees, in place of 256 MB: each run of a sweep is a fork, whose leak check
// goes over all that the process before it had kept.
extern "C" const char* __asan_default_options() {
  return "allocator_may_return_null=1:quarantine_size_mb=8";
}

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  tests::ArmCheckRecorder();
  // Behind the listener that prints: what comes last hears of a case's end first, and may fail it.
  ::testing::UnitTest::GetInstance()->listeners().Append(new tests::FreshCases);
  return RUN_ALL_TESTS();
}
