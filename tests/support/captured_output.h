// The standard output while one lives.
#ifndef TESTS_SUPPORT_CAPTURED_OUTPUT_H_
#define TESTS_SUPPORT_CAPTURED_OUTPUT_H_

#include <iostream>
#include <sstream>
#include <streambuf>
#include <string>

namespace tests {

class CapturedOutput {
 public:
  CapturedOutput() : m_before(std::cout.rdbuf(m_text.rdbuf())) {}
  CapturedOutput(const CapturedOutput&) = delete;
  CapturedOutput& operator=(const CapturedOutput&) = delete;
  ~CapturedOutput() { std::cout.rdbuf(m_before); }

  [[nodiscard]] std::string Text() const { return m_text.str(); }

 private:
  std::ostringstream m_text;
  std::streambuf* m_before;
};

}  // namespace tests

#endif  // TESTS_SUPPORT_CAPTURED_OUTPUT_H_
