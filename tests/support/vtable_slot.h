// The position of a virtual function in its class's table, to pin the order of an interface.
#pragma once

#include <cstddef>
#include <cstring>

namespace vtable {

// Which entry of the table, counted from 1, calls of this virtual member function go through. The
// first two are the destructor's. 0 for a function that is not virtual.
//
// Reads the Itanium C++ ABI's pointer to a member function: a virtual one holds its byte offset in
// the table, marked by an odd value in the first word, on ARM in the second.
template <typename Function>
int Slot(Function function) {
  struct {
    std::ptrdiff_t ptr;
    std::ptrdiff_t adj;
  } words;
  static_assert(sizeof words == sizeof function, "not a pointer to a member function");
  std::memcpy(&words, &function, sizeof words);
#if defined(__arm__) || defined(__aarch64__)
  const bool isVirtual = (words.adj & 1) != 0;
  const std::ptrdiff_t offset = words.ptr;
#else
  const bool isVirtual = (words.ptr & 1) != 0;
  const std::ptrdiff_t offset = words.ptr - 1;
#endif
  if (!isVirtual) return 0;
  return static_cast<int>(offset / static_cast<std::ptrdiff_t>(sizeof(void*))) + 1;
}

// Adds one virtual function to a class; never instantiated.
template <typename Class>
class Extended : public Class {
 public:
  virtual void Next();
};

// The number of entries in the class's table.
template <typename Class>
int SlotCount() {
  return Slot(&Extended<Class>::Next) - 1;
}

}  // namespace vtable
