// The framework's string as a state machine beside the standard library's, in 8 and in 16 bits,
// with allocators of its own and memory that runs out.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include "fuzz/input.h"
#include "oru/rtl/string.h"
#include "tests/oru/rtl/test_allocator.h"
#include "winapi/host/control.h"

namespace {

using fuzz::Require;

constexpr std::size_t kMost = 5000;  // characters; more would only take time

// Two allocators and the process heap, which refuse together.
struct Memory {
  void Refuse(bool refuses) {
    first.refuse = second.refuse = refuses;
    if (refuses) {
      winapi::host::FailCall("HeapAlloc", 1, 8, winapi::host::Repeat::kForever);
    } else {
      winapi::host::ClearFaults();
    }
  }

  tests::TestAllocator first;
  tests::TestAllocator second;
  std::size_t heapBlocks = winapi::host::Live().heapBlocks;
};

template <typename CharT>
class StringMachine {
 public:
  using String = oru::basic_string_t<CharT>;
  using Model = std::basic_string<CharT>;
  using View = std::basic_string_view<CharT>;

  StringMachine(FuzzedDataProvider& input, Memory& memory)
      : m_input(input), m_memory(memory), m_own{Own(0), Own(1), Own(2)} {}

  void Run() {
    while (m_input.remaining_bytes() > 0) {
      Step();
      for (const Own& own : m_own) Check(own);
    }
  }

 private:
  // A string, what it has to hold, and where its memory comes from.
  struct Own {
    explicit Own(int) {}
    String string;
    Model model;
    std::size_t capacity = String::inline_capacity;
    oru::IAllocator* allocator = nullptr;
  };

  static void Check(const Own& own) {
    Require(View(own.string.data(), own.string.size()) == own.model, "the text is the model's");
    Require(own.string.view() == own.model, "the view is the text");
    Require(own.string.empty() == own.model.empty(), "emptiness is told");
    Require(own.string.c_str()[own.model.size()] == CharT(), "the text ends in a zero");
    Require(own.string.capacity() == own.capacity, "the capacity is the rule's");
    Require(own.string.get_allocator().get() == own.allocator, "the allocator is the right one");
    if (!own.model.empty()) Require(own.string.back() == own.model.back(), "the last one is told");
    const auto at = reinterpret_cast<std::uintptr_t>(own.string.data());
    const auto object = reinterpret_cast<std::uintptr_t>(&own.string);
    const bool isInline = at >= object && at < object + sizeof(String);
    Require(isInline == (own.capacity == String::inline_capacity),
            "a short text stands in the string itself");
  }

  // What growing for `n` characters behind `kept` ones makes of a capacity.
  static std::size_t Grown(const Own& own, std::size_t kept, std::size_t n) {
    return n <= own.capacity - kept ? own.capacity : std::max(kept + n, own.capacity * 2);
  }

  // Makes one step, perhaps without memory. `capacity` is what it makes of the capacity: where that
  // is another one and there is no memory, the step throws and changes nothing.
  template <typename Action, typename Change>
  void Try(Own& own, std::size_t capacity, Action action, Change change, bool alsoFails = false) {
    const bool refuses = m_input.ConsumeProbability<float>() < 0.2F;
    const bool fails = refuses && (capacity != own.capacity || alsoFails);
    m_memory.Refuse(refuses);
    bool thrown = false;
    try {
      action();
    } catch (const std::bad_alloc&) {
      thrown = true;
    }
    m_memory.Refuse(false);
    Require(thrown == fails, "what needs memory and gets none throws");
    if (thrown) return;
    change();
    own.capacity = capacity;
  }

  void Step() {
    Own& own = Any();
    switch (m_input.ConsumeIntegralInRange(0, 14)) {
      case 0:
        return Remake(own);
      case 1:
        return Append(own);
      case 2:
        return AppendFilled(own);
      case 3:
        return Assign(own);
      case 4:
        return Insert(own);
      case 5:
        return Resize(own);
      case 6:
        return Reserve(own);
      case 7:
        return ReserveWithKeeper(own);
      case 8:
        return OpenGap(own);
      case 9:
        return Overwrite(own);
      case 10:
        return CopyAssign(own, Any());
      case 11:
        return MoveAssign(own, Any());
      case 12:
        return CopyConstruct(own);
      case 13:
        return Compare(own, Any());
      default:
        own.string.clear();
        own.model.clear();
        return;
    }
  }

  Own& Any() { return m_own[m_input.ConsumeIntegralInRange(0, 2)]; }
  CharT TakeCharacter() { return static_cast<CharT>(m_input.ConsumeIntegral<std::uint16_t>()); }
  std::size_t TakeCount() {
    return m_input.ConsumeIntegralInRange<std::size_t>(0, m_input.ConsumeBool() ? 40 : 8);
  }

  // Some text: of this string, of another one, of its own with the terminator, or a new one. `held`
  // keeps a new one.
  View TakeText(Own& own, Model& held) {
    const Own& source = m_input.ConsumeBool() ? own : Any();
    if (m_input.ConsumeBool()) {
      held = Model(TakeCount(), TakeCharacter());
      for (CharT& character : held)
        character = static_cast<CharT>(character + (&character - held.data()));
      return held;
    }
    const std::size_t whole = source.model.size() + 1;
    const auto first = m_input.ConsumeIntegralInRange<std::size_t>(0, whole);
    const auto count = m_input.ConsumeIntegralInRange<std::size_t>(0, whole - first);
    return {source.string.data() + first, count};
  }

  oru::abi_v2_allocator TakeAllocator() {
    switch (m_input.ConsumeIntegralInRange(0, 2)) {
      case 0:
        return oru::abi_v2_allocator();
      case 1:
        return oru::abi_v2_allocator(&m_memory.first);
      default:
        return oru::abi_v2_allocator(&m_memory.second);
    }
  }

  // A text that is made whole has a block of just its size.
  static std::size_t MadeCapacity(std::size_t size) {
    return std::max<std::size_t>(size, String::inline_capacity);
  }

  void Take(Own& own, String&& made, Model model) {
    own.allocator = made.get_allocator().get();
    own.capacity = made.capacity();
    own.string = std::move(made);
    own.model = std::move(model);
  }

  void Remake(Own& own) {
    Model held;
    const View text = TakeText(own, held);
    const Model model(text);
    const oru::abi_v2_allocator allocator = TakeAllocator();
    std::optional<String> made;
    Own fresh(0);
    fresh.capacity = String::inline_capacity;
    Try(
        fresh, MadeCapacity(text.size()),
        [&] { made.emplace(text.data(), static_cast<std::uint32_t>(text.size()), allocator); },
        [] {});
    if (!made) return;
    Require(made->capacity() == fresh.capacity, "a new text has a block of its size");
    Take(own, std::move(*made), model);
  }

  void Append(Own& own) {
    Model held;
    const View text = TakeText(own, held);
    const Model copy(text);
    if (own.model.size() + copy.size() > kMost) return;
    Try(
        own, Grown(own, own.model.size(), copy.size()),
        [&] { own.string.append(text.data(), static_cast<std::uint32_t>(text.size())); },
        [&] { own.model += copy; });
  }

  void AppendFilled(Own& own) {
    const CharT character = TakeCharacter();
    const std::size_t count = m_input.ConsumeBool() ? 1 : TakeCount();
    if (own.model.size() + count > kMost) return;
    Try(
        own, Grown(own, own.model.size(), count),
        [&] {
          if (count == 1) {
            own.string.push_back(character);
          } else {
            own.string.append(static_cast<std::uint32_t>(count), character);
          }
        },
        [&] { own.model.append(count, character); });
  }

  void Assign(Own& own) {
    Model held;
    const View text = TakeText(own, held);
    const Model copy(text);
    Try(
        own, Grown(own, 0, copy.size()), [&] { own.string.assign(text); },
        [&] { own.model = copy; });
  }

  void Insert(Own& own) {
    Model held;
    const View text = TakeText(own, held);
    const Model copy(text);
    const auto position = m_input.ConsumeIntegralInRange<std::size_t>(0, own.model.size() + 2);
    if (own.model.size() + copy.size() > kMost) return;
    const auto insert = [&] {
      own.string.insert(static_cast<std::uint32_t>(position), text.data(),
                        static_cast<std::uint32_t>(text.size()));
    };
    if (position > own.model.size()) {
      try {
        insert();
        Require(false, "a position behind the end is refused");
      } catch (const std::out_of_range&) {
      }
      return;
    }
    // A text of its own goes through a temporary one, which needs memory itself when it is long.
    const bool isOwn =
        text.data() >= own.string.data() && text.data() <= own.string.data() + own.model.size();
    Try(
        own, copy.empty() ? own.capacity : Grown(own, own.model.size(), copy.size()), insert,
        [&] { own.model.insert(position, copy); }, isOwn && copy.size() > String::inline_capacity);
  }

  void Resize(Own& own) {
    const CharT character = TakeCharacter();
    const std::size_t size = TakeCount() + TakeCount();
    const std::size_t more = size > own.model.size() ? size - own.model.size() : 0;
    Try(
        own, Grown(own, own.model.size(), more),
        [&] { own.string.resize(static_cast<std::uint32_t>(size), character); },
        [&] { own.model.resize(size, character); });
  }

  void Reserve(Own& own) {
    const std::size_t size = TakeCount();
    if (m_input.ConsumeBool()) {
      return Try(
          own, std::max(own.capacity, size),
          [&] { own.string.reserve(static_cast<std::uint32_t>(size)); }, [] {});
    }
    Try(
        own, Grown(own, own.model.size(), size),
        [&] { own.string.reserve_extra(static_cast<std::uint32_t>(size)); }, [] {});
  }

  // The old block stays readable; a text that stood in the string itself leaves none.
  void ReserveWithKeeper(Own& own) {
    const std::size_t more = TakeCount();
    const bool hadBlock = own.capacity != String::inline_capacity;
    const std::size_t grown = Grown(own, own.model.size(), more);
    const bool leavesBlock = hadBlock && grown != own.capacity;
    oru::block_keeper<CharT> keeper;
    Try(
        own, grown, [&] { own.string.reserve_extra(static_cast<std::uint32_t>(more), &keeper); },
        [&] {
          Require((keeper.Block() != nullptr) == leavesBlock, "the keeper has the old block");
          if (leavesBlock) {
            Require(View(keeper.Block(), own.model.size()) == own.model, "which is as it was");
          }
        });
  }

  void OpenGap(Own& own) {
    const std::size_t size = own.model.size();
    const std::size_t count = TakeCount();
    const auto position = m_input.ConsumeIntegralInRange<std::size_t>(0, size);
    const auto replaced = m_input.ConsumeIntegralInRange<std::size_t>(0, size - position);
    const CharT character = TakeCharacter();
    if (size + count > kMost) return;
    Try(
        own, Grown(own, size - replaced, count),
        [&] {
          own.string.resize_extra_at(static_cast<std::uint32_t>(count),
                                     static_cast<std::uint32_t>(position),
                                     static_cast<std::uint32_t>(replaced));
          std::fill_n(own.string.data() + position, count, character);
        },
        [&] { own.model.replace(position, replaced, count, character); });
  }

  void Overwrite(Own& own) {
    const std::size_t count = TakeCount();
    const CharT character = TakeCharacter();
    Try(
        own, Grown(own, 0, count),
        [&] {
          std::fill_n(own.string.resize_for_overwrite(static_cast<std::uint32_t>(count)), count,
                      character);
        },
        [&] { own.model.assign(count, character); });
  }

  // Keeps to its own allocator.
  void CopyAssign(Own& own, Own& other) {
    const std::size_t capacity = &own == &other ? own.capacity : Grown(own, 0, other.model.size());
    Try(
        own, capacity, [&] { own.string = other.string; }, [&] { own.model = other.model; });
  }

  // Takes block and allocator; the other one is empty then, without a block.
  void MoveAssign(Own& own, Own& other) {
    if (&own == &other) return;
    own.string = std::move(other.string);
    own.model = std::exchange(other.model, Model());
    own.capacity = std::exchange(other.capacity, String::inline_capacity);
    own.allocator = other.allocator;
  }

  // With the other's allocator.
  void CopyConstruct(Own& own) {
    Own& other = Any();
    std::optional<String> made;
    Own fresh(0);
    Try(
        fresh, MadeCapacity(other.model.size()), [&] { made.emplace(other.string); }, [] {});
    if (!made) return;
    Require(made->get_allocator().get() == other.allocator, "a copy has the other's allocator");
    Require(made->capacity() == fresh.capacity, "a copy has a block of its size");
    const Model model = other.model;
    String moved(std::move(*made));
    Require(made->empty() && made->capacity() == String::inline_capacity,
            "what was moved from is empty");
    Take(own, std::move(moved), model);
  }

  static void Compare(const Own& a, const Own& b) {
    using Unsigned = std::make_unsigned_t<CharT>;
    const auto below = [](CharT x, CharT y) {
      return static_cast<Unsigned>(x) < static_cast<Unsigned>(y);
    };
    const bool less = std::lexicographical_compare(a.model.begin(), a.model.end(), b.model.begin(),
                                                   b.model.end(), below);
    Require((a.string == b.string) == (a.model == b.model), "equality is told");
    Require((a.string < b.string) == less, "the order is that of the unsigned values");
    const Model head = b.model.substr(0, b.model.find(CharT()));
    Require((a.string == b.string.c_str()) == (a.model == head), "equality with a text is told");
  }

  FuzzedDataProvider& m_input;
  Memory& m_memory;
  Own m_own[3];
};

template <typename CharT>
void RunStringMachine(FuzzedDataProvider& input) {
  Memory memory;
  StringMachine<CharT>(input, memory).Run();
  Require(memory.first.live.empty() && memory.second.live.empty(), "all blocks are given back");
  Require(memory.first.strangeFrees == 0 && memory.second.strangeFrees == 0,
          "each block is given back to where it came from, once");
  Require(winapi::host::Live().heapBlocks == memory.heapBlocks, "the heap's blocks are given back");
  Require(memory.first.references == 1 && memory.second.references == 1,
          "the allocators are let go of");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  if (input.ConsumeBool()) {
    RunStringMachine<char>(input);
  } else {
    RunStringMachine<char16_t>(input);
  }
  return 0;
}
