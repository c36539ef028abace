// The bounded copy of a text.
#pragma once

#include <cstddef>

// Copies the text src to dst, at most size bytes including the NUL, and cuts it when it is longer.
// Returns the length of the text when it was copied whole and size when it was cut, unlike the BSD
// function strlcpy, which returns the length of src. A size of 0 writes nothing and returns 0.
std::size_t my_strlcpy(char* dst, const char* src, std::size_t size);
