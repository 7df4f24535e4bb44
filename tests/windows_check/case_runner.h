// Runs the test programs of the package by their list.
#ifndef TESTS_WINDOWS_CHECK_CASE_RUNNER_H_
#define TESTS_WINDOWS_CHECK_CASE_RUNNER_H_

#include "tests/windows_check/findings.h"
#include "tests/windows_check/scratch.h"

namespace windows_check {

// All that programs.json beside the program lists, each with the cases that it may run: a line for
// each program, and one for each case that failed or was skipped. Throws std::runtime_error for a
// list that can't be read.
void RunTestPrograms(Findings& findings, const Scratch& scratch);

}  // namespace windows_check

#endif  // TESTS_WINDOWS_CHECK_CASE_RUNNER_H_
