// The framework's vector as a state machine beside the standard library's, with elements whose
// copying throws and an allocator that refuses.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <optional>
#include <stdexcept>
#include <utility>
#include <vector>

#include "fuzz/input.h"
#include "oru/rtl/vector.h"
#include "tests/oru/rtl/test_allocator.h"

namespace {

using fuzz::Require;

constexpr std::size_t kMost = 2000;  // elements; more would only take time

struct CopyRefused {};

// Owns something, so that what is lost or given back twice is found.
class Element {
 public:
  explicit Element(int value) : m_value(std::make_unique<int>(value)) { ++live; }
  Element(const Element& other) : m_value(Copied(other)) { ++live; }
  Element(Element&& other) noexcept : m_value(std::move(other.m_value)) { ++live; }
  Element& operator=(const Element&) = delete;
  ~Element() { --live; }

  [[nodiscard]] int Value() const { return *m_value; }

  static inline std::ptrdiff_t live = 0;
  static inline std::optional<std::size_t> copiesLeft;  // then one is refused

 private:
  static std::unique_ptr<int> Copied(const Element& other) {
    if (copiesLeft && (*copiesLeft)-- == 0) {
      copiesLeft.reset();
      throw CopyRefused();
    }
    return std::make_unique<int>(*other.m_value);
  }

  std::unique_ptr<int> m_value;
};

using Vector = oru::vector<Element>;

struct Own {
  explicit Own(tests::TestAllocator& memory)
      : vector(oru::abi_v2_allocator(&memory)), allocator(&memory) {}

  Vector vector;
  std::vector<int> model;
  std::size_t capacity = 0;
  oru::IAllocator* allocator;
};

// For `n` elements more than `size`: twice the size where that is enough, never below four.
std::size_t Grown(std::size_t capacity, std::size_t size, std::size_t n) {
  if (n <= capacity - size) return capacity;
  return std::max<std::size_t>(size >= n ? size * 2 : size + n, 4);
}

class VectorMachine {
 public:
  VectorMachine(FuzzedDataProvider& input, tests::TestAllocator& first,
                tests::TestAllocator& second)
      : m_input(input), m_first(first), m_second(second), m_own{Own(first), Own(second)} {}

  void Run() {
    while (m_input.remaining_bytes() > 0) {
      Step();
      std::size_t live = 0;
      for (const Own& own : m_own) {
        Check(own);
        live += own.model.size();
      }
      Require(Element::live == static_cast<std::ptrdiff_t>(live), "as many elements are alive");
    }
  }

 private:
  static void Check(const Own& own) {
    Require(own.vector.size() == own.model.size(), "the size is the model's");
    Require(own.vector.empty() == own.model.empty(), "emptiness is told");
    Require(own.vector.capacity() == own.capacity, "the capacity is the rule's");
    Require(own.vector.get_allocator().get() == own.allocator, "the allocator is the right one");
    Require(std::equal(own.vector.begin(), own.vector.end(), own.model.begin(), own.model.end(),
                       [](const Element& a, int b) { return a.Value() == b; }),
            "the elements are the model's");
    if (own.model.empty()) return;
    Require(own.vector.back().Value() == own.model.back(), "the last one is told");
    Require(own.vector[0].Value() == own.model[0], "the first one is told");
  }

  // One step, perhaps without memory or with a copy that is refused: it throws then, and has
  // changed nothing. `copies` is how many the step makes.
  template <typename Action, typename Change>
  void Try(Own& own, std::size_t capacity, std::size_t copies, Action action, Change change) {
    const bool refuses = m_input.ConsumeProbability<float>() < 0.15F;
    const bool lacksMemory = refuses && capacity != own.capacity;
    m_first.refuse = m_second.refuse = refuses;
    if (m_input.ConsumeProbability<float>() < 0.15F) {
      Element::copiesLeft = m_input.ConsumeIntegralInRange<std::size_t>(0, 12);
    }
    const bool lacksCopy = !lacksMemory && Element::copiesLeft && *Element::copiesLeft < copies;
    bool thrown = false;
    try {
      action();
    } catch (const std::bad_alloc&) {
      thrown = true;
      Require(lacksMemory, "memory runs out when it is needed and refused");
    } catch (const CopyRefused&) {
      thrown = true;
      Require(lacksCopy, "a refused copy passes");
    }
    m_first.refuse = m_second.refuse = false;
    Element::copiesLeft.reset();
    Require(thrown == (lacksMemory || lacksCopy), "what can't be done throws");
    if (thrown) return;
    change();
    own.capacity = capacity;
  }

  Own& Any() { return m_own[m_input.ConsumeIntegralInRange(0, 1)]; }
  std::size_t TakeCount() { return m_input.ConsumeIntegralInRange<std::size_t>(0, 12); }

  void Step() {
    Own& own = Any();
    switch (m_input.ConsumeIntegralInRange(0, 9)) {
      case 0:
        return Append(own);
      case 1:
        return Emplace(own);
      case 2:
        return PushBack(own);
      case 3:
        return Reserve(own);
      case 4:
        return CopyFrom(own);
      case 5:
        return MoveFrom(own);
      case 6:
        return Exchange(m_own[0], m_own[1]);
      case 7:
        return RefuseTooMany(own);
      case 8:
        own.vector.clear();
        own.model.clear();
        return;
      default:
        if (own.model.empty()) return;
        own.vector.pop_back();
        own.model.pop_back();
    }
  }

  void Append(Own& own) {
    const std::size_t count = TakeCount();
    const std::size_t size = own.model.size();
    if (size + count > kMost) return;
    const Element fresh(m_input.ConsumeIntegral<std::uint8_t>());
    const bool isOwn = size != 0 && m_input.ConsumeBool();
    const std::size_t at = isOwn ? m_input.ConsumeIntegralInRange<std::size_t>(0, size - 1) : 0;
    const Element& value = isOwn ? own.vector[static_cast<std::uint32_t>(at)] : fresh;
    const int number = value.Value();
    Try(
        own, Grown(own.capacity, size, count), count,
        [&] { own.vector.append(static_cast<std::uint32_t>(count), value); },
        [&] { own.model.insert(own.model.end(), count, number); });
  }

  void Emplace(Own& own) {
    const int number = m_input.ConsumeIntegral<std::uint8_t>();
    if (own.model.size() >= kMost) return;
    Try(
        own, Grown(own.capacity, own.model.size(), 1), 0,
        [&] { Require(own.vector.emplace_back(number).Value() == number, "it is the new one"); },
        [&] { own.model.push_back(number); });
  }

  void PushBack(Own& own) {
    if (own.model.empty() || own.model.size() >= kMost) return;
    const int number = own.model.front();
    const std::size_t capacity = Grown(own.capacity, own.model.size(), 1);
    if (m_input.ConsumeBool()) {
      Element fresh(number);
      return Try(
          own, capacity, 0, [&] { own.vector.push_back(std::move(fresh)); },
          [&] { own.model.push_back(number); });
    }
    Try(
        own, capacity, 1, [&] { own.vector.push_back(own.vector[0]); },
        [&] { own.model.push_back(number); });
  }

  // By the growth of an append.
  void Reserve(Own& own) {
    const std::size_t count = 2 * TakeCount();
    const std::size_t size = own.model.size();
    const std::size_t more = count > own.capacity ? count - size : 0;
    Try(
        own, Grown(own.capacity, size, more), 0,
        [&] { own.vector.reserve(static_cast<std::uint32_t>(count)); }, [] {});
  }

  // The copy has the other's allocator, and what it had is given back.
  void CopyFrom(Own& own) {
    const Own& other = Any();
    const std::size_t capacity = Grown(0, 0, other.model.size());
    Own made(m_first);
    bool isMade = false;
    Try(
        made, capacity, other.model.size(),
        [&] {
          Vector copy(other.vector);
          made.vector = std::move(copy);
        },
        [&] { isMade = true; });
    if (!isMade) return;
    made.model = other.model;
    made.allocator = other.allocator;
    Exchange(own, made);
  }

  static void Exchange(Own& a, Own& b) {
    a.vector.swap(b.vector);
    std::swap(a.model, b.model);
    std::swap(a.capacity, b.capacity);
    std::swap(a.allocator, b.allocator);
  }

  void MoveFrom(Own& own) {
    Own& other = Any();
    if (&own == &other) return;
    own.vector = std::move(other.vector);
    own.model = std::exchange(other.model, {});
    own.capacity = std::exchange(other.capacity, 0);
    own.allocator = other.allocator;
  }

  static void RefuseTooMany(Own& own) {
    const Element element(0);
    const auto isRefused = [](auto action) {
      try {
        action();
        return false;
      } catch (const std::length_error&) {
        return true;
      }
    };
    const auto most = Vector::max_size();
    Require(isRefused([&] { own.vector.reserve(most + 1); }), "too much place is refused");
    if (own.model.empty()) return;
    Require(isRefused([&] { own.vector.append(most, element); }), "too many are refused");
  }

  FuzzedDataProvider& m_input;
  tests::TestAllocator& m_first;
  tests::TestAllocator& m_second;
  Own m_own[2];
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  tests::TestAllocator first;
  tests::TestAllocator second;
  VectorMachine(input, first, second).Run();
  Require(Element::live == 0, "all elements are destroyed");
  Require(first.live.empty() && second.live.empty(), "all blocks are given back");
  Require(first.strangeFrees == 0 && second.strangeFrees == 0,
          "each block is given back to where it came from, once");
  Require(first.references == 1 && second.references == 1, "the allocators are let go of");
  return 0;
}
