// What a stretch of work costs: time on the clock and processor time.
#pragma once

#include <sys/resource.h>

#include <chrono>

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
