// How much memory a process has needed.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

// The most memory that a process ("self", or its number) has had so far, in KiB; 0 when it is gone.
// getrusage would count that of the process which has started this one.
inline long peak_memory(const std::string& process) {
  FILE* status = fopen(("/proc/" + process + "/status").c_str(), "re");
  if (status == nullptr) return 0;
  long peak = 0;
  char line[256];
  while (peak == 0 && fgets(line, sizeof(line), status) != nullptr) {
    if (strncmp(line, "VmHWM:", 6) == 0) peak = strtol(line + 6, nullptr, 10);
  }
  fclose(status);
  return peak;
}
