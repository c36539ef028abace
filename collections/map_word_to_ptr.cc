// A map from unsigned 16-bit keys to untyped pointers.
#include "collections/map_word_to_ptr.h"

CMapWordToPtr::CMapWordToPtr(int nBlockSize) : WordMap(nBlockSize) {}

CMapWordToPtr::~CMapWordToPtr() = default;
