// An allocator that notes what is asked of it, refuses on request, and can lie about the size of a
// block: a string that is told of gigabytes, but touches only the few characters that it holds, is
// tested without them.
#ifndef TESTS_ORU_RTL_TEST_ALLOCATOR_H_
#define TESTS_ORU_RTL_TEST_ALLOCATOR_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <utility>
#include <vector>

#include "oru/rtl/allocator.h"
#include "tests/support/object_stub.h"

namespace tests {

class TestAllocator final : public ObjectStub<oru::IAllocator> {
 public:
  static constexpr std::size_t kLargestRealBlock = 1 << 20;

  TestAllocator() { references = 1; }
  TestAllocator(const TestAllocator&) = delete;
  TestAllocator& operator=(const TestAllocator&) = delete;

  // Blocks are filled with a pattern, so that nothing can count on zeros; so are freed ones.
  [[nodiscard]] void* Alloc(std::size_t size) noexcept override {
    requests.push_back(size);
    if (refuse) return nullptr;
    if (nextBlock != nullptr) return m_given = std::exchange(nextBlock, nullptr);
    const std::size_t real = std::min(size, kLargestRealBlock);
    void* const block = std::malloc(real);
    std::memset(block, 0xCD, real);
    live.push_back({block, real});
    return block;
  }
  [[nodiscard]] void* Realloc(void*, std::size_t) noexcept override { return nullptr; }
  void Free(void* pointer) noexcept override {
    if (pointer == m_given) return;
    const auto found = std::find_if(live.begin(), live.end(),
                                    [&](const Block& block) { return block.pointer == pointer; });
    if (found == live.end()) {
      ++strangeFrees;
      return;
    }
    std::memset(pointer, 0xDD, found->size);
    std::free(pointer);
    live.erase(found);
  }

  struct Block {
    void* pointer;
    std::size_t size;
  };

  std::vector<std::size_t> requests;  // in bytes
  std::vector<Block> live;
  std::size_t strangeFrees = 0;
  bool refuse = false;
  void* nextBlock = nullptr;  // the test's own memory, given out once in place of a real block

 private:
  void* m_given = nullptr;
};

}  // namespace tests

#endif  // TESTS_ORU_RTL_TEST_ALLOCATOR_H_
