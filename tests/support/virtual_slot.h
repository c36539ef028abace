// Where a virtual function stands in its class's table, for tests that pin the order of a class's
// virtual operations.
#pragma once

#include <cstdint>
#include <cstring>

// The slot of a virtual member function, counted from 1 as in the class's description: the two
// destructors of the Itanium C++ ABI are slots 1 and 2. A member pointer to a virtual function
// holds the slot's offset in the table; for a function that is not virtual the result is no small
// number.
template <class MemberFunction>
std::uintptr_t VirtualSlot(MemberFunction function) {
  std::uintptr_t offset = 0;
  static_assert(sizeof function >= sizeof offset);
  std::memcpy(&offset, &function, sizeof offset);
  constexpr std::uintptr_t kVirtualFlag = 1;
  return (offset & ~kVirtualFlag) / sizeof(void*) + 1;
}

// The slot that comes after the last one of a class: the one that a class derived from it would
// fill. Class must be usable as a base; no object is made.
template <class Class>
std::uintptr_t NextVirtualSlot() {
  struct Derived : Class {
    using Class::Class;
    virtual void Next() {}
  };
  return VirtualSlot(&Derived::Next);
}
