// A growable array of unsigned 16-bit numbers.
#pragma once

#include "collections/growable_array.h"
#include "collections/object.h"

// Storage from calloc. Throws std::bad_alloc when there is no memory.
struct WordStorage {
  static unsigned short* Allocate(int count);
  static void Release(unsigned short* data);
};

// GrowableArray tells how it works. Besides GetAt and SetAt it checks the insertion of an array and
// the removal.
class CWordArray : public CObject, public GrowableArray<CWordArray, unsigned short, WordStorage> {
 public:
  CWordArray();
  ~CWordArray() override;

  using GrowableArray::InsertAt;

  // As GrowableArray::InsertAt. Throws when other is null or index is negative.
  void InsertAt(int index, CWordArray* other);

  // As GrowableArray::RemoveAt. Throws when index or count is negative, or the range does not lie
  // within the array.
  void RemoveAt(int index, int count);
};
