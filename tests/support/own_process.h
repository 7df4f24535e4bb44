// The mark of a case that can't share its process with others: its suite's name ends with
// "OwnProcess", as in
//
//   using QueryOnHostOwnProcess = QueryOnHost;
//   TEST_F(QueryOnHostOwnProcess, NullBufferIsReported) {
//
// Where it is up to the parameter, there is a second INSTANTIATE_TEST_SUITE_P under such a name.
//
// tests/run_program.py runs each such case in a process of its own, and all others of a program in
// one process, in a random order. The mark is for a case
//   - in which a reported check fails: a site reports once per process, so it would be silent in
//     the next case, or was in the one before;
//   - that leaves process state behind which nothing can take back, or that needs it untouched: the
//     first use of something that is made once, the default DLL directories, the text that static
//     initialisers wrote, an exit or a crash.
// A case without the mark in which a check reports fails, so none can be forgotten.
#ifndef TESTS_SUPPORT_OWN_PROCESS_H_
#define TESTS_SUPPORT_OWN_PROCESS_H_

#include <string_view>

namespace tests {

// `suite` as GoogleTest names it: with the instantiation's name and a slash in front, or the type's
// behind it.
[[nodiscard]] inline bool HasOwnProcess(std::string_view suite) {
  return suite.ends_with("OwnProcess") || suite.find("OwnProcess/") != std::string_view::npos;
}

}  // namespace tests

#endif  // TESTS_SUPPORT_OWN_PROCESS_H_
