#include "tests/support/checks.h"

#include <algorithm>
#include <mutex>

#include "oru/rtl/check.h"
#include "winapi/errors.h"
#include "winapi/exceptions.h"

namespace tests {
namespace {

// What a report leaves behind: who reads the last error of the failure behind it gets this one.
constexpr winapi::Error kLastErrorOfReport = 4712;

// Two sites may report at once, each on a thread of its own.
std::mutex& MutexOfReports() {
  static std::mutex mutex;
  return mutex;
}

std::int32_t WINAPI_STDCALL RecordCheck(winapi::ExceptionPointers* pointers) noexcept {
  if (pointers == nullptr || pointers->Record == nullptr ||
      pointers->Record->ExceptionCode != oru::kAssertionExceptionCode) {
    return winapi::kExceptionContinueSearch;
  }
  const auto* text = reinterpret_cast<const char*>(pointers->Record->ExceptionInformation[0]);
  {
    const std::lock_guard lock(MutexOfReports());
    ReportedChecks().emplace_back(text);
  }
  winapi::SetLastError(kLastErrorOfReport);
  return winapi::kExceptionContinueExecution;
}

}  // namespace

void ArmCheckRecorder() { (void)winapi::AddVectoredExceptionHandler(1, RecordCheck); }

std::vector<std::string>& ReportedChecks() {
  static std::vector<std::string> texts;
  return texts;
}

std::size_t CountReported(std::string_view text) {
  return static_cast<std::size_t>(
      std::count(ReportedChecks().begin(), ReportedChecks().end(), text));
}

}  // namespace tests
