#include "tests/zum_setup_util/live_blocks.h"

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <new>

namespace {

// Stands in front of what operator new gives.
struct alignas(std::max_align_t) Block {
  Block* previous;
  Block* next;
  std::size_t size;
};
Block blocks{&blocks, &blocks, 0};

}  // namespace

bool tests::LiveBlockBeginsWith(std::u16string_view text) {
  if (text.empty()) return false;
  const std::size_t bytes = text.size() * sizeof(char16_t);
  for (const Block* block = blocks.next; block != &blocks; block = block->next) {
    if (block->size >= bytes && std::memcmp(block + 1, text.data(), bytes) == 0) return true;
  }
  return false;
}

void* operator new(std::size_t size) {
  auto* const block = static_cast<Block*>(std::malloc(sizeof(Block) + size));
  if (block == nullptr) throw std::bad_alloc();
  *block = {&blocks, blocks.next, size};
  blocks.next->previous = block;
  blocks.next = block;
  return block + 1;
}

void operator delete(void* memory) noexcept {
  if (memory == nullptr) return;
  Block* const block = static_cast<Block*>(memory) - 1;
  block->previous->next = block->next;
  block->next->previous = block->previous;
  std::free(block);
}

void operator delete(void* memory, std::size_t) noexcept { operator delete(memory); }
