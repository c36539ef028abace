// The functions that a fuzz target's link replaces: see fake_socket.h.
#include "tests/fuzz/fake_socket.h"

#include <netinet/in.h>
#include <sys/select.h>
#include <sys/socket.h>

#include <cerrno>
#include <ctime>
#include <utility>

namespace {

constexpr int kSocket = 7;

struct Network {
  fake_socket::Answers answers;
  std::deque<fake_socket::Arrival> waiting;
  int open = 0;
  int random = 0;
};

Network network;

}  // namespace

namespace fake_socket {

void Start(Answers answers, int random) { network = {std::move(answers), {}, 0, random}; }

void Finish() {
  fuzz::Require(network.open == 0, "every socket is closed");
  network = {};
}

}  // namespace fake_socket

extern "C" {

int __real_close(int fd);

int __wrap_socket(int, int, int) {
  network.waiting.clear();
  ++network.open;
  return kSocket;
}

int __wrap_close(int fd) {
  if (network.open == 0 || fd != kSocket) return __real_close(fd);
  --network.open;
  return 0;
}

int __wrap_setsockopt(int, int, int, const void*, socklen_t) { return 0; }

ssize_t __wrap_sendto(int, const void* data, size_t length, int, const sockaddr* to, socklen_t) {
  const auto* bytes = static_cast<const unsigned char*>(data);
  const auto* address = reinterpret_cast<const sockaddr_in*>(to);
  network.waiting =
      network.answers({bytes, bytes + length}, address->sin_addr.s_addr, address->sin_port);
  return static_cast<ssize_t>(length);
}

int __wrap_select(int, fd_set*, fd_set*, fd_set*, timeval*) {
  if (network.waiting.empty()) return 0;
  if (!network.waiting.front().is_error) return 1;
  network.waiting.pop_front();
  errno = EBADF;
  return -1;
}

ssize_t __wrap_recvfrom(int, void* buffer, size_t room, int, sockaddr* from, socklen_t* from_size) {
  fuzz::Require(!network.waiting.empty(), "nothing is received that has not arrived");
  const fake_socket::Arrival arrival = std::move(network.waiting.front());
  network.waiting.pop_front();
  const size_t length = std::min(room, arrival.bytes.size());
  if (length > 0) memcpy(buffer, arrival.bytes.data(), length);
  if (from != nullptr) {
    sockaddr_in sender{};
    sender.sin_family = AF_INET;
    sender.sin_addr.s_addr = arrival.from;
    memcpy(from, &sender, sizeof(sender));
    *from_size = sizeof(sender);
  }
  return static_cast<ssize_t>(length);
}

void __wrap_srand(unsigned int) {}

int __wrap_rand() { return network.random; }

time_t __wrap_time(time_t* now) {
  if (now != nullptr) *now = 0;
  return 0;
}

}  // extern "C"
