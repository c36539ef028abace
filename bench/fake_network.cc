// The functions that the link replaces by these.
#include "bench/fake_network.h"

#include <netinet/in.h>
#include <sys/select.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstring>

namespace {

constexpr int kSocket = 1000;
constexpr int kRequestId = 0x12345678;

Bytes answer;

}  // namespace

void SetFakeAnswer(const Bytes& bytes) { answer = bytes; }

extern "C" {

int __real_close(int fd);

int __wrap_socket(int, int, int) { return kSocket; }

int __wrap_close(int fd) { return fd == kSocket ? 0 : __real_close(fd); }

ssize_t __wrap_sendto(int, const void*, size_t length, int, const sockaddr*, socklen_t) {
  return static_cast<ssize_t>(length);
}

// What the caller asks for has come: its set stays as it is.
int __wrap_select(int, fd_set*, fd_set*, fd_set*, timeval*) { return 1; }

ssize_t __wrap_recvfrom(int, void* buffer, size_t room, int, sockaddr* from, socklen_t* from_size) {
  const size_t length = std::min(room, answer.size());
  memcpy(buffer, answer.data(), length);
  if (from != nullptr) {
    sockaddr_in sender{};
    sender.sin_family = AF_INET;
    sender.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    memcpy(from, &sender, sizeof(sender));
    *from_size = sizeof(sender);
  }
  return static_cast<ssize_t>(length);
}

int __wrap_rand() { return kRequestId; }

}  // extern "C"
