// The call that a fault hit first, told from others of its operation by what the call log shows of
// it and of those before it, and tables of what must come of it. Natively only.
#ifndef TESTS_SUPPORT_FAILED_CALL_H_
#define TESTS_SUPPORT_FAILED_CALL_H_

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/faulted_run.h"

namespace tests {

class FailedCall {
 public:
  // Of a run with a call that failed; of any other all texts are empty.
  explicit FailedCall(const RunResult& run);

  [[nodiscard]] const std::string& Operation() const { return m_call.operation; }
  [[nodiscard]] bool Is(std::string_view operation) const { return Operation() == operation; }
  [[nodiscard]] std::string Argument(std::string_view name) const { return m_call.Argument(name); }
  // The path of the key that it is about: of an open the one that is asked for, of any other call
  // the one by which its key was opened.
  [[nodiscard]] std::string KeyPath() const;
  // Whether the run had called that operation before.
  [[nodiscard]] bool Behind(std::string_view operation) const;
  // The calls before it.
  [[nodiscard]] const std::vector<winapi::host::CallRecord>& Before() const { return m_before; }

  // The operation with its arguments, for the text of a failure.
  [[nodiscard]] std::string Describe() const;

 private:
  winapi::host::CallRecord m_call;
  std::vector<winapi::host::CallRecord> m_before;
};

// True when a text is `end`, or a path whose last components are.
[[nodiscard]] bool IsOrEndsIn(std::string_view text, std::string_view end);

// What a row of a table asks of a call, to be written down in the row: With<"name", "x.dll">.
template <std::size_t N>
struct Literal {
  // Implicit, so that a literal can be the template's argument.
  // NOLINTNEXTLINE(google-explicit-constructor)
  consteval Literal(const char (&literal)[N]) { std::copy_n(literal, N, text); }
  char text[N] = {};
};

inline bool Always(const FailedCall&) { return true; }
template <Literal kArgument, Literal kEnd>
bool With(const FailedCall& call) {
  return IsOrEndsIn(call.Argument(kArgument.text), kEnd.text);
}
template <Literal kEnd>
bool InKey(const FailedCall& call) {
  return IsOrEndsIn(call.KeyPath(), kEnd.text);
}
template <Literal kOperation>
bool Behind(const FailedCall& call) {
  return call.Behind(kOperation.text);
}

// A row of a sweep's table.
template <typename Expected>
struct FaultRow {
  const char* operation;
  bool (*applies)(const FailedCall& call);
  Expected expected;
};

}  // namespace tests

#endif  // TESTS_SUPPORT_FAILED_CALL_H_
