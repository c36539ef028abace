// A growable array of unsigned 16-bit numbers.
#include "collections/word_array.h"

#include <cstdlib>
#include <new>

unsigned short* WordStorage::Allocate(int count) {
  void* data = calloc(static_cast<std::size_t>(count), sizeof(unsigned short));
  if (data == nullptr) throw std::bad_alloc();
  return static_cast<unsigned short*>(data);
}

void WordStorage::Release(unsigned short* data) { free(data); }

CWordArray::CWordArray() = default;

CWordArray::~CWordArray() = default;

void CWordArray::InsertAt(int index, CWordArray* other) {
  RequireArg(other != nullptr && index >= 0);
  GrowableArray::InsertAt(index, other);
}

void CWordArray::RemoveAt(int index, int count) {
  RequireArg(index >= 0 && count >= 0 && std::int64_t{index} + count <= GetSize());
  GrowableArray::RemoveAt(index, count);
}
