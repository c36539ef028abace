// Paths below the user's home folder.
#pragma once

#include <cstddef>

constexpr std::size_t kPathSize = 512;  // every path and value of the settings, with its NUL

// Writes the home folder that the password database names for the real user, followed by `rest`,
// cut to the buffer. The environment variable HOME does not matter. A user without an entry has the
// empty text as home folder.
void BuildHomePath(char (&path)[kPathSize], const char* rest);
