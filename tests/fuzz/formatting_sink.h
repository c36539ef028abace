// A sink of the debug log that formats each line, as the log does, and drops it.
#pragma once

#include <cstdarg>
#include <cstdio>

#include "app/log/debug_log.h"

namespace fuzz {

__attribute__((format(printf, 1, 2))) inline void FormatLine(const char* fmt, ...) {
  char line[4096];
  va_list args;
  va_start(args, fmt);
  vsnprintf(line, sizeof(line), fmt, args);
  va_end(args);
}

}  // namespace fuzz
