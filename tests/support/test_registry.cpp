#include "tests/support/test_registry.h"

#include <algorithm>

#include "tests/support/text.h"

namespace tests {

std::optional<Value> GetValue(const std::u16string& path, const std::u16string& name) {
  if (!KeyExists(path)) return std::nullopt;
  const auto values = Values(path);
  const auto found =
      std::find_if(values.begin(), values.end(), [&](const Value& v) { return v.name == name; });
  return found == values.end() ? std::nullopt : std::optional<Value>(*found);
}

std::vector<std::uint8_t> ListBytes(const std::vector<std::u16string>& strings) {
  std::u16string text;
  for (const std::u16string& string : strings) text.append(string).push_back(u'\0');
  return Utf16Bytes(text);
}

void PrintTo(const Value& value, std::ostream* out) {
  *out << Narrow(value.name) << " of type " << value.type << ':';
  for (const std::uint8_t byte : value.data) *out << ' ' << static_cast<unsigned>(byte);
}

}  // namespace tests
