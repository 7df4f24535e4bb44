// What stands behind a text that is written to the registry, and the path of nothing.
#include <array>
#include <optional>

#include "platform/util/windows/registry.h"
#include "tests/windows_check/probes.h"
#include "tests/windows_check/text.h"
#include "winapi/errors.h"
#include "winapi/files.h"

namespace windows_check {
namespace {

constexpr winapi::Error kUntouched = 0xABCD;
constexpr char16_t kName[] = u"text";

// How many bytes the system keeps of four characters, by what stands behind them in memory.
std::string StoredBytes(const Scratch& scratch, char16_t behind) {
  const std::array<char16_t, 6> memory = {u'a', u'b', u'c', u'd', behind, u'#'};
  windows_helpers::RegKey key;
  winapi::Key opened = nullptr;
  if (const winapi::Error error = winapi::RegOpenKeyExW(
          reinterpret_cast<winapi::Key>(scratch.Key()), nullptr, 0, 0x2011F, &opened)) {
    return "error " + Decimal(error) + " at the opening";
  }
  key.Attach(opened);
  if (const winapi::Error error =
          windows_helpers::WriteStringValue(key, kName, memory.data(), memory.data() + 4)) {
    return "error " + Decimal(error) + " at the writing";
  }
  winapi::Dword size = 0;
  (void)winapi::RegQueryValueExW(key.GetValue(), kName, nullptr, nullptr, nullptr, &size);
  (void)windows_helpers::DeleteValue(key, kName);
  return Decimal(size) + " bytes";
}

}  // namespace

void CheckTexts(Findings& findings, const Scratch& scratch) {
  findings.Judge("text of 4 characters, written without its zero, which stands behind it",
                 StoredBytes(scratch, u'\0'), OnBoth("10 bytes"));
  findings.Judge("text of 4 characters, written without a zero, another character behind it",
                 StoredBytes(scratch, u'#'), OnBoth("8 bytes"));
  winapi::SetLastError(kUntouched);
  char16_t buffer[8] = {};
  const winapi::Dword length = winapi::GetFullPathNameW(u"", 8, buffer, nullptr);
  const winapi::Error error = winapi::GetLastError();
  const std::string left = error == kUntouched ? "untouched" : Decimal(error);
  findings.Judge("full path of nothing", "length " + Decimal(length) + ", last error " + left,
                 {{"length 0, last error 123"}, {"length 0, last error untouched"}});
}

}  // namespace windows_check
