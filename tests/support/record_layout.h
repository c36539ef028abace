// Where the fields of a record stand, on machines with any size of pointers.
#pragma once

#include <cstddef>

template <typename Field>
struct FieldBehindAByte {
  char first;
  Field field;
};

// The first place from `end` on where a field of that type may stand in a record.
template <typename Field>
constexpr size_t NextPlaceFor(size_t end) {
  constexpr size_t step = offsetof(FieldBehindAByte<Field>, field);
  return (end + step - 1) / step * step;
}

// Bytes of a field of that type.
template <typename Field>
constexpr size_t FieldSize() {
  return sizeof(FieldBehindAByte<Field>) - offsetof(FieldBehindAByte<Field>, field);
}

// Whether `field` is the next one behind `before` in that record.
#define FOLLOWS(record, before, field)                              \
  (offsetof(record, field) ==                                       \
   NextPlaceFor<decltype(record::field)>(offsetof(record, before) + \
                                         FieldSize<decltype(record::before)>()))
