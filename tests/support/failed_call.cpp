#include "tests/support/failed_call.h"

namespace tests {

namespace host = winapi::host;

FailedCall::FailedCall(const RunResult& run) {
  const auto failed = std::find_if(run.calls.begin(), run.calls.end(),
                                   [](const host::CallRecord& call) { return call.failed; });
  if (failed == run.calls.end()) return;
  m_call = *failed;
  m_before.assign(run.calls.begin(), failed);
}

std::string FailedCall::KeyPath() const {
  if (Operation().starts_with("RegOpenKey")) return Argument("subKey");
  const std::string key = Argument("key");
  const auto open = std::find_if(m_before.rbegin(), m_before.rend(), [&](const auto& call) {
    return call.operation.starts_with("RegOpenKey") && call.Argument("*result") == key;
  });
  return open == m_before.rend() ? std::string() : open->Argument("subKey");
}

bool FailedCall::Behind(std::string_view operation) const {
  return std::any_of(m_before.begin(), m_before.end(),
                     [&](const auto& call) { return call.operation == operation; });
}

std::string FailedCall::Describe() const {
  std::string text = Operation();
  for (const auto& [name, value] : m_call.arguments) text.append(", " + name + " = " + value);
  if (const std::string path = KeyPath(); !path.empty()) text.append(", of " + path);
  return text;
}

bool IsOrEndsIn(std::string_view text, std::string_view end) {
  return text.ends_with(end) &&
         (text.size() == end.size() || text[text.size() - end.size() - 1] == '\\');
}

}  // namespace tests
