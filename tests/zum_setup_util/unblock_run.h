// The whole "/unblock" run in a process and on a machine of its own, with at most one fault, and
// what came of it. Natively only.
#ifndef TESTS_ZUM_SETUP_UTIL_UNBLOCK_RUN_H_
#define TESTS_ZUM_SETUP_UTIL_UNBLOCK_RUN_H_

#include <string>

#include "tests/support/faulted_run.h"

namespace tests {

// On the machine are two products with both values marked (one with a text that doesn't fit the
// first read) and one without. The facts are the states of the values, as
// "PRODUCTA.package" and "PRODUCTA.source", and "trace".
[[nodiscard]] RunPlan UnblockPlan();

// The registry as one letter a value: package and source of each of the two products, "m" for
// marked, "r" for restored, "h" for both, "l" for neither, and "?" where it is unknown.
[[nodiscard]] std::string RegistryOf(const RunResult& run);

}  // namespace tests

#endif  // TESTS_ZUM_SETUP_UTIL_UNBLOCK_RUN_H_
