// A heap over malloc that knows its blocks, so that a wrong or second release shows and what is
// still held can be counted.
#ifndef WINAPI_HOST_BLOCKS_H_
#define WINAPI_HOST_BLOCKS_H_

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <mutex>
#include <unordered_set>

namespace winapi::host {

class Blocks {
 public:
  // `live` is raised and lowered with each block.
  explicit Blocks(std::atomic<std::size_t>& live) : m_live(live) {}

  // Null when there is no memory, and for more than the 32-bit process that this stands for could
  // have. A block of no bytes is a block too.
  [[nodiscard]] void* Allocate(std::size_t bytes) noexcept {
    if (bytes > kLargestBlock) return nullptr;
    void* memory = std::calloc(1, bytes == 0 ? 1 : bytes);
    if (memory == nullptr) return nullptr;
    const std::lock_guard lock(m_mutex);
    m_blocks.insert(Hidden(memory));
    ++m_live;
    return memory;
  }

  // False, and nothing done, for what isn't a block of this heap.
  [[nodiscard]] bool Release(void* memory) noexcept {
    {
      const std::lock_guard lock(m_mutex);
      if (m_blocks.erase(Hidden(memory)) == 0) return false;
      --m_live;
    }
    std::free(memory);
    return true;
  }

 private:
  static constexpr std::size_t kLargestBlock = 0x7FFEFFFF;

  // The complement of the address: the leak checker must not find the product's blocks in here.
  static std::uintptr_t Hidden(void* memory) noexcept {
    return ~reinterpret_cast<std::uintptr_t>(memory);
  }

  std::atomic<std::size_t>& m_live;
  std::mutex m_mutex;
  std::unordered_set<std::uintptr_t> m_blocks;
};

}  // namespace winapi::host

#endif  // WINAPI_HOST_BLOCKS_H_
