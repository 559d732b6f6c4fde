// Counts the memory that C++ code holds, in place of the library's allocation
// functions, so that a target can bound what one input may take. The bytes still come
// from malloc, where AddressSanitizer watches them.
#include <malloc.h>

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

#include "fuzz/fuzz.h"

namespace {

std::atomic<std::size_t> live{0};
std::atomic<std::size_t> peak{0};

void* allocate(std::size_t size, std::size_t alignment) {
  size = size == 0 ? 1 : size;
  void* const block =
      alignment == 0
          ? std::malloc(size)
          : std::aligned_alloc(alignment, (size + alignment - 1) / alignment * alignment);
  if (block == nullptr) {
    throw std::bad_alloc();
  }
  const std::size_t now = live += ::malloc_usable_size(block);
  std::size_t before = peak;
  while (before < now && !peak.compare_exchange_weak(before, now)) {
  }
  return block;
}

void* allocate_or_null(std::size_t size) noexcept {
  try {
    return allocate(size, 0);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

void release(void* block) noexcept {
  if (block == nullptr) {
    return;
  }
  live -= ::malloc_usable_size(block);
  std::free(block);
}

}  // namespace

namespace kora_fuzz {

std::size_t live_memory() {
  return live;
}

std::size_t take_peak_memory() {
  return peak.exchange(live);
}

}  // namespace kora_fuzz

// clang-format off
void* operator new(std::size_t size) { return allocate(size, 0); }
void* operator new[](std::size_t size) { return allocate(size, 0); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return allocate_or_null(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return allocate_or_null(size); }
void* operator new(std::size_t size, std::align_val_t alignment) { return allocate(size, static_cast<std::size_t>(alignment)); }
void* operator new[](std::size_t size, std::align_val_t alignment) { return allocate(size, static_cast<std::size_t>(alignment)); }
void operator delete(void* block) noexcept { release(block); }
void operator delete[](void* block) noexcept { release(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept { release(block); }
void operator delete[](void* block, const std::nothrow_t&) noexcept { release(block); }
void operator delete(void* block, std::size_t) noexcept { release(block); }
void operator delete[](void* block, std::size_t) noexcept { release(block); }
void operator delete(void* block, std::align_val_t) noexcept { release(block); }
void operator delete[](void* block, std::align_val_t) noexcept { release(block); }
void operator delete(void* block, std::size_t, std::align_val_t) noexcept { release(block); }
void operator delete[](void* block, std::size_t, std::align_val_t) noexcept { release(block); }
// clang-format on
