// The pending rename correction over the host's registry and its transactions.
#ifndef TESTS_ZUM_SETUP_UTIL_LIB_PENDING_ON_HOST_H_
#define TESTS_ZUM_SETUP_UTIL_LIB_PENDING_ON_HOST_H_

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "oru/rtl/exception.h"
#include "tests/support/standing_clock.h"
#include "tests/support/test_registry.h"
#include "tests/zum_setup_util_lib/installed_tracer.h"
#include "winapi/host/control.h"
#include "zum_setup_util_lib/pending_operations.h"

namespace tests {

inline const std::u16string kPendingKey =
    u"HKEY_LOCAL_MACHINE\\SYSTEM\\ControlSet001\\Control\\Session Manager";
inline constexpr char16_t kPendingValue[] = u"PendingFileRenameOperations";

inline const std::string kPendingStage =
    "setup\t[correct_setup::detail::TryCorrectPendingOperations] ";
inline const std::string kPendingAttempt =
    "setup\t[correct_setup::detail::CorrectPendingOperations] ";

class PendingOnHost : public ::testing::Test {
 protected:
  using Record = std::pair<std::uint32_t, std::string>;

  PendingOnHost() {
    EXPECT_TRUE(winapi::host::CreateRegistryKey(kPendingKey));
    winapi::host::ClearCallLog();
    winapi::host::StartCallLog();
  }
  ~PendingOnHost() override {
    winapi::host::ClearFaults();
    winapi::host::ShowAll();
    EXPECT_EQ(winapi::host::Live().handles, 0u);
    EXPECT_EQ(winapi::host::Live().keys, 0u);
    (void)winapi::host::DeleteRegistryTree(u"HKEY_LOCAL_MACHINE\\SYSTEM\\ControlSet001");
  }

  static void SetList(const std::vector<std::u16string>& list) { SetRaw(7, ListBytes(list)); }
  static void SetRaw(winapi::Dword type, std::vector<std::uint8_t> data) {
    EXPECT_TRUE(
        winapi::host::SetRegistryValue(kPendingKey, {kPendingValue, type, std::move(data)}));
  }
  // The data of the value; nullopt without one.
  static std::optional<std::vector<std::uint8_t>> Raw() {
    const auto values = winapi::host::RegistryValues(kPendingKey);
    if (!values || values->empty()) return std::nullopt;
    return values->front().data;
  }

  [[nodiscard]] std::vector<winapi::Dword> Sleeps() const { return m_clock.Sleeps(); }

  // What was traced between the scopes of the stage and of its one attempt.
  [[nodiscard]] TraceRecords TracedByOneAttempt() const {
    TraceRecords records = m_tracer.Records();
    EXPECT_GE(records.size(), 4u);
    if (records.size() < 4) return {};
    EXPECT_EQ(records[0], Record(700, kPendingStage + " begin"));
    EXPECT_EQ(records[1], Record(700, kPendingAttempt + " begin"));
    EXPECT_EQ(records[records.size() - 2], Record(700, kPendingAttempt + " end"));
    EXPECT_EQ(records.back(), Record(700, kPendingStage + " end"));
    return {records.begin() + 2, records.end() - 2};
  }
  [[nodiscard]] TraceRecords Records() const { return m_tracer.Records(); }
  [[nodiscard]] std::vector<std::string> ErrorRecords() const {
    std::vector<std::string> texts;
    for (const auto& [level, text] : m_tracer.Records()) {
      if (level == 300) texts.push_back(text);
    }
    return texts;
  }

  static std::size_t Count(const char* operation) {
    return winapi::host::CallsOf(operation).size();
  }

  // Runs the stage and gives what it throws, if it does.
  static std::optional<oru::CheckResultFailedException> RunFailing() {
    try {
      correct_setup::detail::TryCorrectPendingOperations();
      return std::nullopt;
    } catch (const oru::CheckResultFailedException& exception) {
      return exception;
    }
  }

  // One attempt that skips silently.
  void ExpectSilentSkip() {
    correct_setup::detail::TryCorrectPendingOperations();
    EXPECT_EQ(TracedByOneAttempt(), TraceRecords());
    EXPECT_EQ(Sleeps().size(), 0u);
    EXPECT_EQ(Count("CreateTransaction"), 1u);
    EXPECT_EQ(Count("RegSetValueExW"), 0u);
    EXPECT_EQ(Count("CommitTransaction"), 0u);
  }

 private:
  StandingClock m_clock;
  InstalledTracer m_tracer;
};

}  // namespace tests

#endif  // TESTS_ZUM_SETUP_UTIL_LIB_PENDING_ON_HOST_H_
