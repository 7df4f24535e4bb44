#include "platform/util/windows/registry.h"

#include <cstddef>
#include <cstdint>

#include "oru/rtl/check.h"
#include "platform/util/windows/registry_multi_string.h"
#include "platform/util/windows/registry_query.h"
#include "winapi/errors.h"

namespace windows_helpers {
namespace {

// The range goes to the system as it stands in the caller's memory: what the system finds behind it
// decides whether it completes the text with a zero.
winapi::Error SetText(const RegKey& key, const char16_t* name, winapi::Dword type,
                      const char16_t* data, std::size_t characters) noexcept {
  return winapi::RegSetValueExW(key.GetValue(), name, /*reserved=*/0, type,
                                reinterpret_cast<const std::uint8_t*>(data),
                                static_cast<winapi::Dword>(characters * sizeof(char16_t)));
}

}  // namespace

winapi::Error OpenKey(RegKey& newKey, winapi::Key hive, const char16_t* path,
                      winapi::Dword access) noexcept {
  ORU_CHECK(!newKey.IsValid());
  winapi::Key opened = nullptr;
  // The holder isn't filled by the call itself: what a failed one leaves there would be closed.
  const winapi::Error error = winapi::RegOpenKeyExW(hive, path, /*options=*/0, access, &opened);
  if (error != winapi::kErrorSuccess) return error;
  newKey.Attach(opened);
  ORU_CHECK(newKey.IsValid());
  return winapi::kErrorSuccess;
}

winapi::Error ReadStringValue(const RegKey& key, const char16_t* name,
                              oru::String16& value) noexcept {
  ORU_CHECK(key.IsValid());
  // REG_EXPAND_SZ is another type, and isn't read.
  return QueryValueInto(key, name, winapi::kRegSz, value);
}

winapi::Error ReadMultiStringValue(const RegKey& key, const char16_t* name,
                                   std::vector<std::u16string>& values) noexcept {
  ORU_CHECK(key.IsValid());
  try {
    CharacterArray data;
    if (const winapi::Error error = QueryValueInto(key, name, winapi::kRegMultiSz, data)) {
      return error;
    }
    // By a list of its own, so that a lack of memory leaves the caller's as it was.
    values = ParseMultiString(data.begin(), data.end());
    return winapi::kErrorSuccess;
  } catch (...) {
    return winapi::kErrorNotEnoughMemory;
  }
}

winapi::Error WriteStringValue(const RegKey& key, const char16_t* name, const char16_t* first,
                               const char16_t* last) noexcept {
  ORU_CHECK(key.IsValid());
  const auto n = static_cast<std::size_t>(last - first);
  // A larger range is reported and written all the same, with its bytes counted in 32 bits.
  ORU_CHECK_TEXT(n <= MaxSize, "value.size() <= MaxSize");
  return SetText(key, name, winapi::kRegSz, first, n);
}

winapi::Error WriteMultiStringValue(const RegKey& key, const char16_t* name,
                                    const std::vector<std::u16string>& values) noexcept {
  ORU_CHECK(key.IsValid());
  try {
    const std::u16string multistring = BuildMultiString(values);
    ORU_CHECK(multistring.size() <= MaxSize);
    return SetText(key, name, winapi::kRegMultiSz, multistring.data(), multistring.size());
  } catch (...) {
    return winapi::kErrorNotEnoughMemory;
  }
}

winapi::Error DeleteValue(const RegKey& key, const char16_t* name) noexcept {
  ORU_CHECK(key.IsValid());
  return winapi::RegDeleteValueW(key.GetValue(), name);
}

}  // namespace windows_helpers
