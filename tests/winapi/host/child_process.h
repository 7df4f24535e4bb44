// A started host_child (see there), whose streams the test holds.
#ifndef TESTS_WINAPI_HOST_CHILD_PROCESS_H_
#define TESTS_WINAPI_HOST_CHILD_PROCESS_H_

#include <sys/types.h>

#include <string>
#include <utility>
#include <vector>

namespace tests {

class ChildProcess {
 public:
  using Variables = std::vector<std::pair<std::string, std::string>>;

  // With only these environment variables. Throws std::runtime_error when it can't be started.
  ChildProcess(const Variables& variables, const std::vector<std::string>& arguments);
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;
  ~ChildProcess();  // kills it when it is still running

  // Reads a line of its output; without the line end. Empty at the end of the output.
  std::string ReadLine();
  // True when more output, or its end, comes within that time.
  [[nodiscard]] bool HasOutputWithin(int milliseconds) const;
  void CloseInput();
  void Kill();  // SIGKILL

  // The rest of the outputs and the end: the exit status, or 0x100 and the number of a signal.
  int Finish();
  [[nodiscard]] const std::string& Output() const { return m_output; }
  [[nodiscard]] const std::string& Errors() const { return m_errors; }

 private:
  pid_t m_process = -1;
  int m_inputEnd = -1;
  int m_outputEnd = -1;
  int m_errorEnd = -1;
  std::string m_output;
  std::string m_errors;
};

}  // namespace tests

#endif  // TESTS_WINAPI_HOST_CHILD_PROCESS_H_
