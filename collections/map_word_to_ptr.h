// A map from unsigned 16-bit keys to untyped pointers.
#pragma once

#include "collections/object.h"
#include "collections/word_map.h"

// Keeps one pointer per 16-bit identifier; WordMap tells how it works. The map does not own what
// its values point to: its owner releases that before the entries are removed.
class CMapWordToPtr : public CObject, public WordMap<void*> {
 public:
  // An empty map that obtains nBlockSize entries at a time, 10 when nBlockSize is 0 or less.
  explicit CMapWordToPtr(int nBlockSize);
  ~CMapWordToPtr() override;
};
