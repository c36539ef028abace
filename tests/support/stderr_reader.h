// Readers of standard error who are slow, or do not read at all.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>

namespace stderr_reader {

// What a write that is not given up would wait for. Tests that wait as long have failed.
constexpr double kRescueSeconds = 10;

inline double Seconds() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

// Everything that can be read from this descriptor without waiting.
inline std::string ReadAll(int fd) {
  std::string all;
  char part[4096];
  pollfd ready = {fd, POLLIN, 0};
  while (poll(&ready, 1, 0) == 1 && (ready.revents & POLLIN) != 0) {
    const ssize_t size = read(fd, part, sizeof(part));
    if (size <= 0) break;
    all.append(part, static_cast<size_t>(size));
  }
  return all;
}

// Standard error goes to `end` for as long as it lives. Should a write to it wait for ever, it is
// read from `reader` after a while, so that the test goes on and tells.
class StderrTo {
 public:
  StderrTo(int end, int reader) : m_iOld(dup(STDERR_FILENO)) {
    dup2(end, STDERR_FILENO);
    m_Rescue = std::thread([this, reader] {
      const double deadline = Seconds() + kRescueSeconds;
      while (!m_bOver && Seconds() < deadline) Nap();
      while (!m_bOver) {
        ReadAll(reader);
        Nap();
      }
    });
  }
  ~StderrTo() {
    m_bOver = true;
    m_Rescue.join();
    dup2(m_iOld, STDERR_FILENO);
    close(m_iOld);
  }
  StderrTo(const StderrTo&) = delete;
  StderrTo& operator=(const StderrTo&) = delete;

 private:
  static void Nap() { std::this_thread::sleep_for(std::chrono::milliseconds(5)); }

  int m_iOld;
  std::atomic<bool> m_bOver{false};
  std::thread m_Rescue;
};

// A pipe, which others may share: it waits when it is full.
class Pipe {
 public:
  Pipe() { EXPECT_EQ(0, pipe2(m_Ends, O_CLOEXEC)); }
  ~Pipe() {
    close(m_Ends[0]);
    close(m_Ends[1]);
  }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;

  int Reader() const { return m_Ends[0]; }
  int Writer() const { return m_Ends[1]; }

  void Fill() const {
    const std::string page(4096, '.');
    pollfd room = {Writer(), POLLOUT, 0};
    while (poll(&room, 1, 0) == 1) EXPECT_EQ(4096, write(Writer(), page.data(), page.size()));
  }

 private:
  int m_Ends[2] = {-1, -1};
};

}  // namespace stderr_reader
