// A growable array of objects.
#include "collections/ob_array.h"

CObArray::CObArray() = default;

CObArray::~CObArray() = default;

void CObArray::SetSize(int newSize, int growBy) {
  RequireArg(newSize >= 0);
  if (newSize > m_nMaxSize) {
    const int newGrowBy = growBy >= 0 ? growBy : m_nGrowBy;
    RequireArg(GrownMaxSize(newSize, newGrowBy) <= std::numeric_limits<int>::max());
  }
  GrowableArray::SetSize(newSize, growBy);
}

void CObArray::SetAtGrow(int index, CObject* element) {
  RequireArg(index >= 0);
  GrowableArray::SetAtGrow(index, element);
}

void CObArray::InsertAt(int index, CObject* element, int count) {
  RequireArg(index >= 0 && count > 0);
  GrowableArray::InsertAt(index, element, count);
}

void CObArray::InsertAt(int index, CObArray* other) {
  RequireArg(other != nullptr && index >= 0);
  GrowableArray::InsertAt(index, other);
}

void CObArray::RemoveAt(int index, int count) {
  RequireArg(index >= 0 && count >= 0 && std::int64_t{index} + count <= GetSize());
  GrowableArray::RemoveAt(index, count);
}

int CObArray::Append(const CObArray& other) {
  RequireArg(&other != this);
  return GrowableArray::Append(other);
}
