// Copying texts into the fixed fields of records.
#pragma once

#include <cstddef>
#include <cstring>

// Copies a text into a field, cut to the field's size less one byte, and fills the rest with zeros.
template <size_t size>
void copy_text(char (&field)[size], const char* text) {
  const size_t length = strnlen(text, size - 1);
  memcpy(field, text, length);
  memset(field + length, 0, size - length);
}
