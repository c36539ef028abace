// A map from unsigned 16-bit keys to objects.
#pragma once

#include "collections/object.h"
#include "collections/word_map.h"

// Keeps one object per 16-bit identifier; WordMap tells how it works. The map does not own the
// objects: removing an entry, or the map itself, destroys none of them.
class CMapWordToOb : public CObject, public WordMap<CObject*> {
 public:
  // An empty map that obtains nBlockSize entries at a time, 10 when nBlockSize is 0 or less.
  explicit CMapWordToOb(int nBlockSize);
  ~CMapWordToOb() override;
};
