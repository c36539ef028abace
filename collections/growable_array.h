// What the growable arrays share: storage, growth, insertion and removal.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

#include "collections/invalid_arg.h"

// A growable array of plain elements. It resembles std::vector, and differs in this:
//  - the first allocation is exact, later ones add a step (the grow-by value, or one chosen from
//    the size), and the storage shrinks only in FreeExtra and when the size becomes 0;
//  - elements that come into use without a value are zero;
//  - bad arguments throw the text "Invalid Arg!" as a const char*, before anything is changed, but
//    each array checks other arguments: see the classes.
// What a class does not check must not be passed: negative sizes, indices and counts, and sizes
// beyond an int, which change nothing, and the removal of more than there is (see RemoveAt).
//
// SetSize, SetAtGrow, InsertAt, FreeExtra, Append and Copy throw std::bad_alloc when there is no
// memory. The elements are then as before.
//
// Array is the class that derives from this one; its SetSize is used for every change of size.
// Storage has Allocate, which gives zeroed elements, and Release. An array is used by one thread at
// a time.
template <typename Array, typename Element, typename Storage>
class GrowableArray {
 public:
  GrowableArray(const GrowableArray&) = delete;
  GrowableArray& operator=(const GrowableArray&) = delete;

  // The number of elements in use.
  int GetSize() const { return m_nSize; }

  // Changes the number of elements; those that are added are zero. A size of 0 releases the
  // storage. growBy: elements to add whenever the storage must grow, 0 to have that number chosen
  // from the size each time, negative to keep what was set before.
  void SetSize(int newSize, int growBy);

  // Removes all elements and releases the storage.
  void RemoveAll() { Self().SetSize(0, -1); }

  // The element at index. Throws unless 0 <= index < size.
  Element GetAt(int index) const;

  // Replaces the element at index. Throws unless 0 <= index < size.
  void SetAt(int index, Element element);

  // Replaces the element at index, or extends the array to it.
  void SetAtGrow(int index, Element element);

  // Inserts count copies of element before index. An index beyond the end extends the array to it
  // first, also when count is 0.
  void InsertAt(int index, Element element, int count);

  // Inserts the elements of other, which may be this array, before index.
  void InsertAt(int index, Array* other);

  // Removes count elements from index on. The storage stays. A range that goes beyond the end takes
  // as much off the size as one within it, down to 0: of 4 elements RemoveAt(2, 3) leaves the
  // first.
  void RemoveAt(int index, int count);

  // Gives back the storage that no element uses.
  void FreeExtra();

  // Adds the elements of other, which may be this array, and returns the index of the first of
  // them.
  int Append(const Array& other);

  // Makes this array equal to other. The grow-by value stays.
  void Copy(const Array& other);

 protected:
  GrowableArray() = default;
  ~GrowableArray() { Storage::Release(m_pData); }

  // The storage that growing to newSize elements asks for. It may be more than an int holds.
  std::int64_t GrownMaxSize(int newSize, int growBy) const;

  Element* m_pData = nullptr;
  int m_nSize = 0;
  int m_nMaxSize = 0;
  int m_nGrowBy = 0;

 private:
  Array& Self() { return static_cast<Array&>(*this); }
  bool Resize(std::int64_t newSize);
  void Grow(int newSize);
  void Reallocate(int maxSize);
  void Release();
};

template <typename Array, typename Element, typename Storage>
void GrowableArray<Array, Element, Storage>::SetSize(int newSize, int growBy) {
  if (newSize < 0) return;
  if (growBy >= 0) m_nGrowBy = growBy;
  if (newSize == 0) {
    Release();
  } else if (m_pData == nullptr) {
    m_pData = Storage::Allocate(newSize);
    m_nMaxSize = newSize;
  } else if (newSize > m_nMaxSize) {
    Grow(newSize);
  } else if (newSize > m_nSize) {
    std::fill(m_pData + m_nSize, m_pData + newSize, Element());
  }
  m_nSize = newSize;
}

template <typename Array, typename Element, typename Storage>
Element GrowableArray<Array, Element, Storage>::GetAt(int index) const {
  RequireArg(index >= 0 && index < m_nSize);
  return m_pData[index];
}

template <typename Array, typename Element, typename Storage>
void GrowableArray<Array, Element, Storage>::SetAt(int index, Element element) {
  RequireArg(index >= 0 && index < m_nSize);
  m_pData[index] = element;
}

template <typename Array, typename Element, typename Storage>
void GrowableArray<Array, Element, Storage>::SetAtGrow(int index, Element element) {
  if (index < 0) return;
  if (index >= m_nSize && !Resize(std::int64_t{index} + 1)) return;
  m_pData[index] = element;
}

template <typename Array, typename Element, typename Storage>
void GrowableArray<Array, Element, Storage>::InsertAt(int index, Element element, int count) {
  if (index < 0 || count < 0) return;
  const int oldSize = m_nSize;
  if (!Resize(std::int64_t{std::max(index, oldSize)} + count)) return;
  if (index < oldSize) {
    std::copy_backward(m_pData + index, m_pData + oldSize, m_pData + m_nSize);
  }
  std::fill_n(m_pData + index, count, element);
}

template <typename Array, typename Element, typename Storage>
void GrowableArray<Array, Element, Storage>::InsertAt(int index, Array* other) {
  if (other == nullptr || other->m_nSize == 0) return;
  // A copy, because the array may be inserted into itself.
  const std::vector<Element> elements(other->m_pData, other->m_pData + other->m_nSize);
  const int oldSize = m_nSize;
  Self().InsertAt(index, elements.front(), other->m_nSize);
  if (m_nSize == oldSize) return;
  std::copy(elements.begin(), elements.end(), m_pData + index);
}

template <typename Array, typename Element, typename Storage>
void GrowableArray<Array, Element, Storage>::RemoveAt(int index, int count) {
  if (index < 0 || count < 0) return;
  const std::int64_t end = std::int64_t{index} + count;
  if (end < m_nSize) std::copy(m_pData + end, m_pData + m_nSize, m_pData + index);
  m_nSize = std::max(m_nSize - count, 0);
}

template <typename Array, typename Element, typename Storage>
void GrowableArray<Array, Element, Storage>::FreeExtra() {
  if (m_nSize == m_nMaxSize) return;
  if (m_nSize == 0) {
    Release();
  } else {
    Reallocate(m_nSize);
  }
}

template <typename Array, typename Element, typename Storage>
int GrowableArray<Array, Element, Storage>::Append(const Array& other) {
  const int oldSize = m_nSize;
  const int added = other.m_nSize;
  if (Resize(std::int64_t{oldSize} + added)) {
    std::copy_n(other.m_pData, added, m_pData + oldSize);
  }
  return oldSize;
}

template <typename Array, typename Element, typename Storage>
void GrowableArray<Array, Element, Storage>::Copy(const Array& other) {
  if (&other == this) return;
  Self().SetSize(other.m_nSize, -1);
  std::copy_n(other.m_pData, other.m_nSize, m_pData);
}

template <typename Array, typename Element, typename Storage>
std::int64_t GrowableArray<Array, Element, Storage>::GrownMaxSize(int newSize, int growBy) const {
  // Chosen from the elements in use, not from the storage: a half-empty array grows in small steps.
  const int step = growBy != 0 ? growBy : std::clamp(m_nSize / 8, 4, 1024);
  return std::max<std::int64_t>(std::int64_t{m_nMaxSize} + step, newSize);
}

// Returns false when the size asked for is more than an array can have.
template <typename Array, typename Element, typename Storage>
bool GrowableArray<Array, Element, Storage>::Resize(std::int64_t newSize) {
  const int size = newSize <= std::numeric_limits<int>::max() ? static_cast<int>(newSize) : -1;
  Self().SetSize(size, -1);
  return m_nSize == size;
}

template <typename Array, typename Element, typename Storage>
void GrowableArray<Array, Element, Storage>::Grow(int newSize) {
  const std::int64_t maxSize = GrownMaxSize(newSize, m_nGrowBy);
  Reallocate(maxSize <= std::numeric_limits<int>::max() ? static_cast<int>(maxSize) : newSize);
}

template <typename Array, typename Element, typename Storage>
void GrowableArray<Array, Element, Storage>::Reallocate(int maxSize) {
  Element* data = Storage::Allocate(maxSize);
  std::copy_n(m_pData, m_nSize, data);
  Storage::Release(m_pData);
  m_pData = data;
  m_nMaxSize = maxSize;
}

template <typename Array, typename Element, typename Storage>
void GrowableArray<Array, Element, Storage>::Release() {
  Storage::Release(m_pData);
  m_pData = nullptr;
  m_nSize = 0;
  m_nMaxSize = 0;
}

// Storage as an array of new. Throws std::bad_alloc when there is no memory.
template <typename Element>
struct NewStorage {
  static Element* Allocate(int count) { return new Element[static_cast<std::size_t>(count)](); }
  static void Release(Element* data) { delete[] data; }
};
