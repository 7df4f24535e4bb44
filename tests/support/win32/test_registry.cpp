// By the system's own calls, not through the seam: a second opinion on it. The one file of the
// tests that includes <windows.h> for the registry.
#include "tests/support/test_registry.h"

#include <windows.h>

#include <algorithm>
#include <stdexcept>

namespace tests {
namespace {

// The 64-bit view, whatever the process is.
constexpr REGSAM kAllRights = KEY_ALL_ACCESS | KEY_WOW64_64KEY;

const wchar_t* Wide(const std::u16string& text) {
  static_assert(sizeof(wchar_t) == sizeof(char16_t));
  return reinterpret_cast<const wchar_t*>(text.c_str());
}

void Require(LONG error, const char* what) {
  if (error == ERROR_SUCCESS) return;
  throw std::runtime_error(std::string("the system refused ") + what + ": " +
                           std::to_string(error));
}

class OpenKey {
 public:
  OpenKey() = default;
  explicit OpenKey(const std::u16string& path) {
    m_error = ::RegOpenKeyExW(HKEY_LOCAL_MACHINE, Wide(path), 0, kAllRights, &m_key);
  }
  OpenKey(const OpenKey&) = delete;
  OpenKey& operator=(const OpenKey&) = delete;
  ~OpenKey() {
    if (m_key != nullptr) ::RegCloseKey(m_key);
  }
  [[nodiscard]] HKEY Handle() const { return m_key; }
  [[nodiscard]] HKEY* Target() { return &m_key; }
  [[nodiscard]] LONG Error() const { return m_error; }

 private:
  HKEY m_key = nullptr;
  LONG m_error = ERROR_SUCCESS;
};

// Reads value number `index`; nullopt past the last one.
std::optional<Value> ValueAt(HKEY key, DWORD index) {
  std::u16string name(16384, u'\0');
  auto nameSize = static_cast<DWORD>(name.size());
  Value value;
  DWORD type = 0;
  DWORD size = 0;
  auto* buffer = reinterpret_cast<wchar_t*>(name.data());
  const LONG error = ::RegEnumValueW(key, index, buffer, &nameSize, nullptr, &type, nullptr, &size);
  if (error == ERROR_NO_MORE_ITEMS) return std::nullopt;
  Require(error, "RegEnumValueW");
  name.resize(nameSize);
  value.name = name;
  value.type = type;
  // Two bytes more than asked for: a string without a terminator gets one behind it.
  value.data.resize(size + 2);
  DWORD room = size;
  Require(::RegQueryValueExW(key, Wide(name), nullptr, &type, value.data.data(), &room),
          "RegQueryValueExW");
  value.data.resize(room);
  return value;
}

}  // namespace

void CreateKey(const std::u16string& path) {
  OpenKey key;
  Require(::RegCreateKeyExW(HKEY_LOCAL_MACHINE, Wide(path), 0, nullptr, 0, kAllRights, nullptr,
                            key.Target(), nullptr),
          "RegCreateKeyExW");
}

void DeleteTree(const std::u16string& path) {
  {
    const OpenKey key(path);
    if (key.Error() == ERROR_FILE_NOT_FOUND) return;
    Require(key.Error(), "RegOpenKeyExW");
    Require(::RegDeleteTreeW(key.Handle(), nullptr), "RegDeleteTreeW");
  }
  const LONG error = ::RegDeleteKeyExW(HKEY_LOCAL_MACHINE, Wide(path), KEY_WOW64_64KEY, 0);
  if (error != ERROR_FILE_NOT_FOUND) Require(error, "RegDeleteKeyExW");
}

void SetValue(const std::u16string& path, const Value& value) {
  const OpenKey key(path);
  Require(key.Error(), "RegOpenKeyExW");
  // What stands behind the range decides whether the system adds a terminator: it mustn't.
  std::vector<std::uint8_t> data = value.data;
  data.insert(data.end(), 4, 0xFF);
  Require(::RegSetValueExW(key.Handle(), Wide(value.name), 0, value.type, data.data(),
                           static_cast<DWORD>(value.data.size())),
          "RegSetValueExW");
}

std::vector<Value> Values(const std::u16string& path) {
  const OpenKey key(path);
  Require(key.Error(), "RegOpenKeyExW");
  std::vector<Value> values;
  while (auto value = ValueAt(key.Handle(), static_cast<DWORD>(values.size()))) {
    values.push_back(std::move(*value));
  }
  std::sort(values.begin(), values.end(),
            [](const Value& a, const Value& b) { return a.name < b.name; });
  return values;
}

bool KeyExists(const std::u16string& path) { return OpenKey(path).Error() == ERROR_SUCCESS; }

}  // namespace tests
