// Counts what a benchmark program takes from the heap.
#pragma once

#include <cstdint>

// Blocks and bytes that were asked for since the program started, whatever became of them.
struct HeapUse {
  uint64_t blocks;
  uint64_t bytes;
};

// What all threads have taken so far. The functions of the C library that allocate are replaced in
// every program that is linked with this; operator new ends up in them.
HeapUse TakenFromHeap();
