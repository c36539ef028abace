// The collections, as they grow.
#include "bench/operations.h"
#include "collections/dword_array.h"
#include "collections/map_word_to_ob.h"
#include "collections/map_word_to_ptr.h"
#include "collections/ob_array.h"
#include "collections/object.h"
#include "collections/word_array.h"

namespace {

constexpr int kMapBlock = 10;

unsigned short Key(int i) { return static_cast<unsigned short>(i); }

// The map that is looked up in and walked through.
CMapWordToPtr filled(kMapBlock);

void FillMap(int size) {
  filled.RemoveAll();
  for (int i = 0; i < size; ++i) filled[Key(i)] = &filled;
}

void MapInsert(int size) {
  CMapWordToPtr map(kMapBlock);
  for (int i = 0; i < size; ++i) map[Key(i)] = &map;
  Keep(map);
}

void MapLookup(int size) {
  for (int i = 0; i < size; ++i) {
    void* value = nullptr;
    Keep(filled.Lookup(Key(i), value));
  }
}

void MapWalk(int) {
  __POSITION* position = filled.GetStartPosition();
  while (position != nullptr) {
    unsigned short key = 0;
    void* value = nullptr;
    filled.GetNextAssoc(position, key, value);
    Keep(value);
  }
}

void MapOfObjects(int size) {
  static CObject object;
  CMapWordToOb map(kMapBlock);
  for (int i = 0; i < size; ++i) map[Key(i)] = &object;
  Keep(map);
}

template <typename Array, typename Element>
void Append(Array* array, Element element, int size) {
  for (int i = 0; i < size; ++i) array->SetAtGrow(i, element);
  Keep(*array);
}

void WordArrayAppend(int size) {
  CWordArray array;
  Append(&array, static_cast<unsigned short>(1), size);
}

void DWordArrayAppend(int size) {
  CDWordArray array;
  Append(&array, 1U, size);
}

void ObArrayAppend(int size) {
  static CObject object;
  CObArray array;
  Append(&array, &object, size);
}

void WordArrayInsertFirst(int size) {
  CWordArray array;
  for (int i = 0; i < size; ++i) array.InsertAt(0, 1, 1);
  Keep(array);
}

}  // namespace

std::vector<Operation> CollectionOperations() {
  const std::vector<int> sizes{16, 64, 256, 1024, 4096};
  return {
      {"map_insert", MapInsert, nullptr, sizes},
      {"map_lookup", MapLookup, FillMap, sizes},
      {"map_walk", MapWalk, FillMap, sizes},
      {"object_map_insert", MapOfObjects, nullptr, sizes},
      {"word_array_append", WordArrayAppend, nullptr, sizes},
      {"dword_array_append", DWordArrayAppend, nullptr, sizes},
      {"object_array_append", ObArrayAppend, nullptr, sizes},
      {"word_array_insert_first", WordArrayInsertFirst, nullptr, sizes},
  };
}
