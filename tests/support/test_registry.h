// The machine's registry as a test sets it up and looks at it, in both worlds: under Wine by the
// system's own calls, natively by the host layer's test face. Paths lie below HKEY_LOCAL_MACHINE
// and mean the 64-bit view, such as u"SOFTWARE\\Classes\\Installer\\Products".
#ifndef TESTS_SUPPORT_TEST_REGISTRY_H_
#define TESTS_SUPPORT_TEST_REGISTRY_H_

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/support/text.h"  // Utf16Bytes

namespace tests {

struct Value {
  std::u16string name;
  std::uint32_t type = 0;
  std::vector<std::uint8_t> data;
  bool operator==(const Value&) const = default;
};
void PrintTo(const Value& value, std::ostream* out);

// Each throws std::runtime_error when the system refuses.
void CreateKey(const std::u16string& path);
void DeleteTree(const std::u16string& path);  // a missing key is fine
void SetValue(const std::u16string& path, const Value& value);

// nullopt when the key or the value isn't there; `name` in the spelling that it was made with.
[[nodiscard]] std::optional<Value> GetValue(const std::u16string& path, const std::u16string& name);
// Sorted by name.
[[nodiscard]] std::vector<Value> Values(const std::u16string& path);
[[nodiscard]] bool KeyExists(const std::u16string& path);

// The bytes of a REG_MULTI_SZ: each string with its zero, and the end mark.
[[nodiscard]] std::vector<std::uint8_t> ListBytes(const std::vector<std::u16string>& strings);

// Removes the tree when it dies; made on a path it empties it first.
class ScopedTree {
 public:
  explicit ScopedTree(std::u16string path) : m_path(std::move(path)) { DeleteTree(m_path); }
  ScopedTree(const ScopedTree&) = delete;
  ScopedTree& operator=(const ScopedTree&) = delete;
  ~ScopedTree() { DeleteTree(m_path); }

 private:
  std::u16string m_path;
};

}  // namespace tests

#endif  // TESTS_SUPPORT_TEST_REGISTRY_H_
