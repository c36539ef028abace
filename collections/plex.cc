// The block allocator of the maps.
#include "collections/plex.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>

#include "collections/invalid_arg.h"

CPlex* CPlex::Create(CPlex*& head, unsigned int nMax, unsigned int cbElement) {
  RequireArg(nMax != 0 && cbElement != 0);
  // Where sizes have 32 bits the product may not fit into one.
  if (nMax > (SIZE_MAX - sizeof(CPlex)) / cbElement) throw std::bad_alloc();
  const std::size_t bytes = sizeof(CPlex) + std::size_t{nMax} * cbElement;
  void* block = ::operator new(bytes);
  memset(block, 0, bytes);
  head = new (block) CPlex{head};
  return head;
}

void CPlex::FreeDataChain() {
  CPlex* block = this;
  while (block != nullptr) {
    CPlex* next = block->pNext;
    ::operator delete(block);
    block = next;
  }
}
