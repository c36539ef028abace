// A growable array of unsigned 32-bit numbers.
#include "collections/dword_array.h"

CDWordArray::CDWordArray() = default;

CDWordArray::~CDWordArray() = default;
