// What the checks found, in the form of the result file.
#ifndef TESTS_WINDOWS_CHECK_FINDINGS_H_
#define TESTS_WINDOWS_CHECK_FINDINGS_H_

#include <string>
#include <vector>

namespace windows_check {

// The answers that are right, on a real Windows and under Wine. Without any, nobody has settled yet
// what is right, and the answer is only noted.
struct Accepted {
  std::vector<std::string> windows;
  std::vector<std::string> wine;
};

// The same on both.
[[nodiscard]] inline Accepted OnBoth(const std::string& answer) { return {{answer}, {answer}}; }

class Findings {
 public:
  explicit Findings(bool underWine) : m_underWine(underWine) {}

  void Section(const std::string& title);
  // "ok" or "DIFFERS", by the system that this is.
  void Judge(const std::string& name, const std::string& answer, const Accepted& accepted);
  void Note(const std::string& name, const std::string& answer);
  void Skip(const std::string& name, const std::string& reason);
  // A check that couldn't be made, which counts as an answer that differs.
  void Fail(const std::string& name, const std::string& what);
  // What stands behind all sections: a program's output, a case's failure.
  void Append(const std::string& title, const std::string& text);

  [[nodiscard]] bool UnderWine() const { return m_underWine; }
  [[nodiscard]] int Differing() const { return m_differing; }
  // "12 ok, 0 differ, 3 noted, 2 skipped".
  [[nodiscard]] std::string Summary() const;
  [[nodiscard]] std::string Text() const { return m_lines + m_appendix; }

 private:
  void Line(const char* verdict, const std::string& name, const std::string& rest);

  bool m_underWine;
  std::string m_lines;
  std::string m_appendix;
  int m_ok = 0;
  int m_differing = 0;
  int m_noted = 0;
  int m_skipped = 0;
};

}  // namespace windows_check

#endif  // TESTS_WINDOWS_CHECK_FINDINGS_H_
