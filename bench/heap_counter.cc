// The C library's allocating functions, with a count.
#include "bench/heap_counter.h"

#include <atomic>
#include <cstddef>

namespace {

std::atomic<uint64_t> blocks{0};
std::atomic<uint64_t> bytes{0};

void Count(size_t size) {
  blocks.fetch_add(1, std::memory_order_relaxed);
  bytes.fetch_add(size, std::memory_order_relaxed);
}

}  // namespace

HeapUse TakenFromHeap() { return {blocks, bytes}; }

extern "C" {

// The names under which glibc offers its own.
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);

void* malloc(size_t size) {
  Count(size);
  return __libc_malloc(size);
}

void* calloc(size_t count, size_t size) {
  Count(count * size);
  return __libc_calloc(count, size);
}

void* realloc(void* block, size_t size) {
  Count(size);
  return __libc_realloc(block, size);
}

}  // extern "C"
