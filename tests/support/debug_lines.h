// Captures what is written to the debug log.
#pragma once

#include <cstdarg>
#include <cstdio>
#include <string>
#include <vector>

#include "app/log/debug_log.h"

// Collects the debug lines for as long as it lives, instead of the sink in use. Not nested.
class DebugLines {
 public:
  DebugLines() : m_OldSink(myDbgFunc) {
    Lines().clear();
    myDbgFunc = Collect;
  }
  ~DebugLines() { myDbgFunc = m_OldSink; }
  DebugLines(const DebugLines&) = delete;
  DebugLines& operator=(const DebugLines&) = delete;

  // The lines so far, as formatted.
  const std::vector<std::string>& All() const { return Lines(); }

 private:
  static std::vector<std::string>& Lines() {
    static std::vector<std::string> lines;
    return lines;
  }

  __attribute__((format(printf, 1, 2))) static void Collect(const char* fmt, ...) {
    char line[4096];
    va_list arguments;
    va_start(arguments, fmt);
    std::vsnprintf(line, sizeof line, fmt, arguments);
    va_end(arguments);
    Lines().emplace_back(line);
  }

  DebugFunc m_OldSink;
};
