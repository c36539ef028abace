// The bounded copy of a text.
#include "base/text_copy.h"

std::size_t my_strlcpy(char* dst, const char* src, std::size_t size) {
  for (std::size_t i = 0; i < size; ++i) {
    dst[i] = src[i];
    if (src[i] == '\0') return i;
  }
  if (size > 0) dst[size - 1] = '\0';
  return size;
}
