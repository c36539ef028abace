// Owner of a file descriptor.
#pragma once

#include <unistd.h>

#include <utility>

class Descriptor {
 public:
  explicit Descriptor(int fd = -1) : m_iFd(fd) {}
  Descriptor(Descriptor&& other) noexcept : m_iFd(std::exchange(other.m_iFd, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(m_iFd, other.m_iFd);
    return *this;
  }
  ~Descriptor() {
    if (m_iFd >= 0) close(m_iFd);
  }
  int Get() const { return m_iFd; }

 private:
  int m_iFd;
};
