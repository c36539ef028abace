// Writing with a deadline, without switching a shared descriptor to non-blocking.
#include "app/log/timely_write.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <string>

namespace {

using Deadline = std::chrono::steady_clock::time_point;

Deadline After(int milliseconds) {
  return std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
}

// Rounded up, so that the deadline has passed when so much time has.
int MillisecondsUntil(Deadline deadline) {
  const auto left = deadline - std::chrono::steady_clock::now();
  const auto rounded = std::chrono::ceil<std::chrono::milliseconds>(left).count();
  return rounded > 0 ? static_cast<int>(rounded) : 0;
}

// A way to write to somebody's descriptor without waiting, for as long as it lives.
class Outlet {
 public:
  explicit Outlet(int fd) : m_iFd(fd) {
    struct stat info = {};
    if (fstat(fd, &info) != 0) return;
    m_bSocket = S_ISSOCK(info.st_mode);
    m_bWaits = S_ISFIFO(info.st_mode) || (S_ISCHR(info.st_mode) && isatty(fd) != 0);
    if (!m_bWaits) return;
    // Opened anew, the same pipe or terminal has flags that are ours alone.
    const std::string path = "/proc/self/fd/" + std::to_string(fd);
    m_iOwn = open(path.c_str(), O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
  }
  ~Outlet() {
    if (m_iOwn >= 0) close(m_iOwn);
  }
  Outlet(const Outlet&) = delete;
  Outlet& operator=(const Outlet&) = delete;

  // As write, but fails with EAGAIN where that would wait.
  ssize_t Write(const char* text, size_t size) const {
    if (m_iOwn >= 0) return write(m_iOwn, text, size);
    if (m_bSocket) return send(m_iFd, text, size, MSG_DONTWAIT);
    if (!m_bWaits) return write(m_iFd, text, size);
    return WriteIfReady(text, size);
  }

 private:
  // What may not be opened anew, as for another user, or has no reader. A pipe that says it has
  // room has it for PIPE_BUF bytes, unless another process is quicker.
  ssize_t WriteIfReady(const char* text, size_t size) const {
    if (WaitForRoom(m_iFd, 0)) {
      return write(m_iFd, text, std::min(size, size_t{PIPE_BUF}));
    }
    errno = EAGAIN;
    return -1;
  }

  int m_iFd;
  int m_iOwn = -1;
  bool m_bSocket = false;
  bool m_bWaits = false;
};

}  // namespace

bool WaitForRoom(int fd, int milliseconds) {
  const Deadline deadline = After(milliseconds);
  pollfd room = {fd, POLLOUT, 0};
  int result = poll(&room, 1, milliseconds);
  while (result < 0 && errno == EINTR) result = poll(&room, 1, MillisecondsUntil(deadline));
  return result > 0;
}

bool WritePatiently(int fd, const char* text, size_t size, int milliseconds) {
  const Outlet outlet(fd);
  Deadline deadline = After(milliseconds);
  while (size > 0) {
    const ssize_t written = outlet.Write(text, size);
    if (written > 0) {
      text += written;
      size -= static_cast<size_t>(written);
      deadline = After(milliseconds);
      continue;
    }
    const bool full = written < 0 && errno == EAGAIN;
    const bool interrupted = written < 0 && errno == EINTR;
    if (!interrupted && !(full && WaitForRoom(fd, MillisecondsUntil(deadline)))) return false;
  }
  return true;
}
