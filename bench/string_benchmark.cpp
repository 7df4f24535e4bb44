// The framework's 16-bit string against std::u16string.
#include <cstddef>
#include <cstdint>
#include <string>

#include "bench/cases.h"
#include "bench/plain_heap.h"
#include "oru/rtl/string.h"

namespace {

using oru::String16;

struct OwnString {
  static constexpr char name[] = "ours";
  using String = String16;
  static String Empty() { return String(bench::Memory()); }
  static String Make(const std::u16string& text) {
    return {text.data(), static_cast<std::uint32_t>(text.size()), bench::Memory()};
  }
};

struct StdString {
  static constexpr char name[] = "std";
  using String = std::u16string;
  static String Empty() { return {}; }
  static String Make(const std::u16string& text) { return {text.data(), text.size()}; }
};

template <typename Side>
void PushBack(std::size_t length) {
  auto text = Side::Empty();
  for (std::size_t i = 0; i < length; ++i) text.push_back(u'x');
  bench::Keep(text);
}

template <typename Side>
void Append(std::size_t length) {
  auto text = Side::Empty();
  for (std::size_t i = 0; i < length; i += 16) text.append(u"0123456789abcdef", /*n=*/16);
  bench::Keep(text);
}

template <typename Side>
void AddStringSide() {
  for (const std::size_t length : {16u, 256u, 4096u}) {
    bench::Add("string_push_back", Side::name, length, [=] { PushBack<Side>(length); });
    bench::Add("string_append_16", Side::name, length, [=] { Append<Side>(length); });
  }
  for (const std::size_t length : {5u, 40u, 1000u}) {
    const std::u16string source(length, u'x');
    bench::Add("string_construct", Side::name, length, [=] { bench::Keep(Side::Make(source)); });
    const auto copied = Side::Make(source);
    bench::Add("string_copy", Side::name, length, [=] {
      const auto copy = copied;  // NOLINT(performance-unnecessary-copy-initialization)
      bench::Keep(copy);
    });
  }
}

}  // namespace

int main(int argc, char** argv) {
  AddStringSide<OwnString>();
  AddStringSide<StdString>();
  return bench::Run(argc, argv);
}
