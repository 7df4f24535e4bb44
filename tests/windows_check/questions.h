// Asking for what needs leave.
#ifndef TESTS_WINDOWS_CHECK_QUESTIONS_H_
#define TESTS_WINDOWS_CHECK_QUESTIONS_H_

namespace windows_check {

// What is allowed beyond the scratch key and the scratch folder.
struct Allowed {
  bool transactions = false;
  bool installer = false;
  bool rehearsal = false;
};

// Says what each group would do, and reads an answer from the standard input for each. Only "y" and
// "yes" allow it; the end of the input doesn't. What would need rights that aren't there isn't
// asked for.
[[nodiscard]] Allowed Ask(bool isAdministrator);

}  // namespace windows_check

#endif  // TESTS_WINDOWS_CHECK_QUESTIONS_H_
