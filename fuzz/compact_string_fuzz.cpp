// The small string as a state machine beside the standard library's, with a heap that runs out.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <new>
#include <string>
#include <string_view>
#include <utility>

#include "fuzz/input.h"
#include "oru/rtl/compact_string.h"
#include "winapi/host/control.h"

namespace {

using fuzz::Require;
using oru::CompactString;

constexpr std::size_t kInline = 11;
constexpr std::size_t kMost = 5000;

struct Own {
  CompactString string;
  std::string model;
  std::size_t capacity = kInline;
};

// For texts of `size` characters: doubled where that is enough, else what is needed, and with the
// terminator always an even number.
std::size_t Grown(std::size_t capacity, std::size_t size) {
  if (size <= capacity) return capacity;
  const std::size_t more = size - capacity;
  const std::size_t target = more < capacity ? capacity * 2 : capacity + more;
  return (target + 2) / 2 * 2 - 1;
}

class CompactStringMachine {
 public:
  explicit CompactStringMachine(FuzzedDataProvider& input) : m_input(input) {}

  void Run() {
    while (m_input.remaining_bytes() > 0) {
      Step(Any(), Any());
      for (const Own& own : m_own) Check(own);
    }
  }

 private:
  static void Check(const Own& own) {
    Require(own.string.view() == own.model, "the text is the model's");
    Require(own.string.size() == own.model.size(), "the size is the model's");
    Require(own.string.empty() == own.model.empty(), "emptiness is told");
    Require(own.string.c_str()[own.model.size()] == '\0', "the text ends in a zero");
    Require(own.string.capacity() == own.capacity, "the capacity is the rule's");
    const auto at = reinterpret_cast<std::uintptr_t>(own.string.data());
    const auto object = reinterpret_cast<std::uintptr_t>(&own.string);
    const bool isInline = at >= object && at < object + sizeof(CompactString);
    Require(isInline == (own.capacity == kInline), "a short text stands in the string itself");
  }

  Own& Any() { return m_own[m_input.ConsumeIntegralInRange(0, 2)]; }

  // Runs it, perhaps without memory, which only what needs a new block takes notice of. True when
  // it was done.
  template <typename Action>
  bool Try(bool needsBlock, Action action) {
    const bool refuses = m_input.ConsumeProbability<float>() < 0.2F;
    if (refuses) winapi::host::FailCall("HeapAlloc", 1, 8, winapi::host::Repeat::kForever);
    bool thrown = false;
    try {
      action();
    } catch (const std::bad_alloc&) {
      thrown = true;
    }
    winapi::host::ClearFaults();
    Require(thrown == (refuses && needsBlock), "what needs a block and gets none throws");
    return !thrown;
  }

  void Step(Own& own, Own& other) {
    switch (m_input.ConsumeIntegralInRange(0, 6)) {
      case 0:
        return Append(own, other);
      case 1:
        return Overwrite(own);
      case 2:
        return CopyAssign(own, other);
      case 3:
        return MoveAssign(own, other);
      case 4:
        return Remake(own);
      case 5:
        return Convert(own);
      default:
        own.string.clear();
        own.model.clear();
    }
  }

  std::string TakeText() {
    return std::string(m_input.ConsumeIntegralInRange<std::size_t>(0, 40),
                       static_cast<char>(m_input.ConsumeIntegral<std::uint8_t>()));
  }

  // A new text, or a part of one of the strings with its terminator.
  void Append(Own& own, const Own& other) {
    const std::string fresh = TakeText();
    std::string_view text = fresh;
    if (m_input.ConsumeBool()) {
      const std::size_t whole = other.model.size() + 1;
      const auto first = m_input.ConsumeIntegralInRange<std::size_t>(0, whole);
      const auto count = m_input.ConsumeIntegralInRange<std::size_t>(0, whole - first);
      text = {other.string.data() + first, count};
    }
    const std::string model = own.model + std::string(text);
    if (model.size() > kMost) return;
    const std::size_t capacity = Grown(own.capacity, model.size());
    if (!Try(capacity != own.capacity, [&] { own.string.append(text); })) return;
    own.model = model;
    own.capacity = capacity;
  }

  void Overwrite(Own& own) {
    const std::string text = TakeText() + TakeText();
    const std::size_t capacity = Grown(own.capacity, text.size());
    const bool done = Try(capacity != own.capacity, [&] {
      char* const to = own.string.resize_for_overwrite(static_cast<std::uint32_t>(text.size()));
      std::copy(text.begin(), text.end(), to);
    });
    if (!done) return;
    own.model = text;
    own.capacity = capacity;
  }

  // A copy is a string made anew.
  void CopyAssign(Own& own, const Own& other) {
    if (&own == &other) {
      const CompactString& same = own.string;
      own.string = same;
      return;
    }
    const std::size_t capacity = Grown(kInline, other.model.size());
    if (!Try(capacity != kInline, [&] { own.string = other.string; })) return;
    own.model = other.model;
    own.capacity = capacity;
  }

  static void MoveAssign(Own& own, Own& other) {
    if (&own == &other) return;
    own.string = std::move(other.string);
    own.model = std::exchange(other.model, std::string());
    own.capacity = std::exchange(other.capacity, kInline);
  }

  void Remake(Own& own) {
    const std::string text = TakeText();
    const std::size_t capacity = Grown(kInline, text.size());
    const bool done = Try(capacity != kInline, [&] {
      CompactString made{std::string_view(text)};
      own.string = CompactString(std::move(made));
    });
    if (!done) return;
    own.model = text;
    own.capacity = capacity;
  }

  void Convert(Own& own) {
    const std::string text = TakeText();
    std::u16string wide;
    for (const char c : text) wide += static_cast<char16_t>(static_cast<unsigned char>(c));
    const bool isRefused = m_input.ConsumeBool();
    if (isRefused) wide += u'\u0100';  // without a form in one byte
    const std::size_t capacity = Grown(own.capacity, text.size());
    oru::ResultCode rc = oru::sOk;
    bool refuses = m_input.ConsumeBool();
    if (refuses) winapi::host::FailCall("HeapAlloc", 1, 8);
    rc = oru::Utf16ToAnsi(wide, own.string);
    winapi::host::ClearFaults();
    refuses = refuses && capacity != own.capacity;
    Require(rc == (isRefused ? oru::errInvalidArgument
                   : refuses ? oru::errOutOfMemory
                             : oru::sOk),
            "the conversion says how it went");
    if (rc != oru::sOk) return;
    own.model = text;
    own.capacity = capacity;
  }

  FuzzedDataProvider& m_input;
  Own m_own[3];
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  const std::size_t before = winapi::host::Live().heapBlocks;
  CompactStringMachine(input).Run();
  Require(winapi::host::Live().heapBlocks == before, "all blocks are given back");
  return 0;
}
