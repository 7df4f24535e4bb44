// The reported checks that failed in this case: main arms a handler that notes them, and forgets
// them at each case's end.
// A report changes the last error here, as it may in earnest.
#ifndef TESTS_SUPPORT_CHECKS_H_
#define TESTS_SUPPORT_CHECKS_H_

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace tests {

// Arms the recording handler, at the head of the chain. Called by main.
void ArmCheckRecorder();

// The texts of the reported checks, in the order of the reports. Any thread may report; whoever
// reads the list does so when no other thread runs that could.
std::vector<std::string>& ReportedChecks();

std::size_t CountReported(std::string_view text);

}  // namespace tests

#endif  // TESTS_SUPPORT_CHECKS_H_
