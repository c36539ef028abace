// A growable array of unsigned 32-bit numbers.
#pragma once

#include "collections/growable_array.h"
#include "collections/object.h"

// GrowableArray tells how it works. Only GetAt and SetAt check their arguments: a removal beyond
// the end takes its count off the size.
class CDWordArray : public CObject,
                    public GrowableArray<CDWordArray, unsigned int, NewStorage<unsigned int>> {
 public:
  CDWordArray();
  ~CDWordArray() override;
};
