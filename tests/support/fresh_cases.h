// What makes a case independent of the others in its process.
#ifndef TESTS_SUPPORT_FRESH_CASES_H_
#define TESTS_SUPPORT_FRESH_CASES_H_

#include <gtest/gtest.h>

#include <cstddef>
#include <filesystem>
#include <map>
#include <string>

namespace tests {

// Fails a case in which a check reported though its suite isn't marked (own_process.h), and
// natively one that leaves a key or a handle open. Puts back what cases may have changed: the list
// of reports, the last error, the current directory, and natively the environment, all that
// winapi/host/control.h sets, and the host's folder, which is emptied. What else a case changes it
// puts back itself; under Windows that is all that lies in the system, such as registry keys.
class FreshCases final : public testing::EmptyTestEventListener {
 public:
  FreshCases();
  void OnTestStart(const testing::TestInfo& info) override;
  void OnTestEnd(const testing::TestInfo& info) override;

 private:
  std::filesystem::path m_directory;
  std::map<std::string, std::string> m_environment;  // both maps are empty under Windows
  std::map<std::string, std::size_t> m_open;         // when the case began
};

}  // namespace tests

#endif  // TESTS_SUPPORT_FRESH_CASES_H_
