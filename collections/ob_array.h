// A growable array of objects.
#pragma once

#include "collections/growable_array.h"
#include "collections/object.h"

// GrowableArray tells how it works. The array does not own its objects: removing an element, or the
// array itself, destroys none of them. Nearly every operation checks its arguments.
class CObArray : public CObject, public GrowableArray<CObArray, CObject*, NewStorage<CObject*>> {
 public:
  CObArray();
  ~CObArray() override;

  // As GrowableArray::SetSize. Throws when newSize is negative, and when the storage would grow
  // beyond what an int counts. Every operation that changes the size goes through this check.
  void SetSize(int newSize, int growBy);

  // As GrowableArray::SetAtGrow. Throws when index is negative.
  void SetAtGrow(int index, CObject* element);

  // As GrowableArray::InsertAt. Throws unless index >= 0 and count > 0.
  void InsertAt(int index, CObject* element, int count);

  // As GrowableArray::InsertAt. Throws when other is null or index is negative.
  void InsertAt(int index, CObArray* other);

  // As GrowableArray::RemoveAt. Throws when index or count is negative, or the range does not lie
  // within the array.
  void RemoveAt(int index, int count);

  // As GrowableArray::Append. Throws when other is this array.
  int Append(const CObArray& other);
};
