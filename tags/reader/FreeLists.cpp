#include <malloc.h>

#include <array>
#include <cstddef>
#include <cstdlib>
#include <new>

// The C++ heap of the worker. A tag is hundreds of small objects that come and go with their file,
// and the worker has one thread: freed blocks wait for the next object of their size in lists that
// need no lock. Everything else is the C library's.

namespace {

struct FreeBlock {
  FreeBlock* next;
};

constexpr std::size_t kStep = 16;       ///< sizes of one list; also the alignment
constexpr std::size_t kLargest = 1024;  ///< bytes; larger blocks go back to the C library

std::array<FreeBlock*, kLargest / kStep + 1> freeBlocks{};

void* allocateOrThrow(std::size_t size) {
  while (true) {
    if (void* const block = std::malloc(size)) return block;
    const std::new_handler handler = std::get_new_handler();
    if (handler == nullptr) throw std::bad_alloc();
    handler();
  }
}

}  // namespace

void* operator new(std::size_t size) {
  const std::size_t list = size == 0 ? 1 : (size + kStep - 1) / kStep;
  if (list >= freeBlocks.size()) return allocateOrThrow(size);
  FreeBlock*& first = freeBlocks[list];
  if (first == nullptr) return allocateOrThrow(list * kStep);
  FreeBlock* const block = first;
  first = block->next;
  return block;
}

void operator delete(void* block) noexcept {
  if (block == nullptr) return;
  const std::size_t list = malloc_usable_size(block) / kStep;
  if (list >= freeBlocks.size()) return std::free(block);
  freeBlocks[list] = new (block) FreeBlock{freeBlocks[list]};
}

void operator delete(void* block, std::size_t /*size*/) noexcept {
  operator delete(block);
}
