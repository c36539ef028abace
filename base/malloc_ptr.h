// Owner of a malloc'ed block, for records that are handed on through release() and freed by their
// receiver.
#pragma once

#include <cstdlib>
#include <memory>

struct FreeDeleter {
  void operator()(void* block) const { free(block); }
};

template <typename T>
using MallocPtr = std::unique_ptr<T, FreeDeleter>;

// Allocates `count` zeroed elements and owns them; null when memory is short. A count of 0 gives a
// block too, so that null always means failure.
template <typename T>
MallocPtr<T> AllocateZeroed(size_t count) {
  return MallocPtr<T>(static_cast<T*>(calloc(count > 0 ? count : 1, sizeof(T))));
}
