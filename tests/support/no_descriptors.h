// A time in which this process can open nothing.
#pragma once

#include <sys/resource.h>

// Every descriptor is refused with EMFILE while it lives. To be over before the test looks at what
// was thrown: the undefined-behaviour sanitizer opens a pipe for that.
class NoDescriptors {
 public:
  NoDescriptors() {
    getrlimit(RLIMIT_NOFILE, &m_Before);
    const rlimit none{0, m_Before.rlim_max};
    setrlimit(RLIMIT_NOFILE, &none);
  }
  ~NoDescriptors() { setrlimit(RLIMIT_NOFILE, &m_Before); }
  NoDescriptors(const NoDescriptors&) = delete;
  NoDescriptors& operator=(const NoDescriptors&) = delete;

 private:
  rlimit m_Before{};
};
