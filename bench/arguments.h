// Reading the few arguments of the benchmark programs.
#pragma once

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <string_view>

// The number from 1 to `most` that the argument is. Ends the process with status 2 when it is none.
inline int NumberArgument(const char* program, const char* text, int most) {
  int value = 0;
  const std::string_view all(text);
  const auto [end, error] = std::from_chars(all.data(), all.data() + all.size(), value);
  if (error == std::errc() && end == all.data() + all.size() && value >= 1 && value <= most) {
    return value;
  }
  fprintf(stderr, "%s: not a number from 1 to %d: %s\n", program, most, text);
  exit(2);
}
