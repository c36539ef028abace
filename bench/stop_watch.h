// What a stretch of work costs: time on the clock, processor time and memory.
#pragma once

#include <sys/resource.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>

inline double Seconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
}

// Begins to run when it is made.
class StopWatch {
 public:
  // Seconds on the clock since then.
  double Elapsed() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - m_Begin).count();
  }

  // Seconds of processor time since then, of this process and of the kernel for it.
  double Processor() const { return ProcessorNow() - m_dProcessor; }

 private:
  static double ProcessorNow() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return Seconds(usage.ru_utime) + Seconds(usage.ru_stime);
  }

  std::chrono::steady_clock::time_point m_Begin = std::chrono::steady_clock::now();
  double m_dProcessor = ProcessorNow();
};

// The most memory that the process has had so far, in KiB; 0 when it cannot be read. getrusage
// would count that of the process which has started this one.
inline long PeakMemory() {
  FILE* status = fopen("/proc/self/status", "re");
  if (status == nullptr) return 0;
  long peak = 0;
  char line[256];
  while (peak == 0 && fgets(line, sizeof(line), status) != nullptr) {
    if (strncmp(line, "VmHWM:", 6) == 0) peak = strtol(line + 6, nullptr, 10);
  }
  fclose(status);
  return peak;
}
