// The block allocator of the maps: many elements per allocation, all released together.
#pragma once

// The header of one block. The payload follows it directly in the same allocation. Blocks form a
// chain whose head the owner keeps.
struct CPlex {
  // The block obtained before this one, or null.
  CPlex* pNext;

  // Obtains a zero-filled block for nMax elements of cbElement bytes each, links it in front of
  // head, stores it in head and returns it. Throws the text "Invalid Arg!" (const char*) when
  // either number is 0, and std::bad_alloc when there is no memory; head is then unchanged.
  static CPlex* Create(CPlex*& head, unsigned int nMax, unsigned int cbElement);

  // The payload.
  void* data() { return this + 1; }

  // Releases this block and all that follow it in the chain.
  void FreeDataChain();
};
