// A map from unsigned 16-bit keys to objects.
#include "collections/map_word_to_ob.h"

CMapWordToOb::CMapWordToOb(int nBlockSize) : WordMap(nBlockSize) {}

CMapWordToOb::~CMapWordToOb() = default;
