// Scanners and other hosts for network tests: threads of the test that answer UDP datagrams, on
// loopback or at the far end of the lab's network.
#pragma once

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sched.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace fake_network {

using Bytes = std::vector<unsigned char>;

// Longer than anything that must happen takes on a loaded machine; a passing test never waits so
// long.
constexpr auto kPatience = std::chrono::seconds(20);

// Bytes from pairs of hex digits; everything else between the pairs is ignored.
inline Bytes Hex(const std::string& text) {
  Bytes bytes;
  std::string digits;
  for (const char c : text) {
    if (isxdigit(static_cast<unsigned char>(c)) != 0) digits += c;
    if (digits.size() < 2) continue;
    bytes.push_back(static_cast<unsigned char>(std::stoi(digits, nullptr, 16)));
    digits.clear();
  }
  return bytes;
}

// Bytes as pairs of hex digits with blanks between them.
inline std::string ToHex(const Bytes& bytes) {
  std::string text;
  for (const unsigned char byte : bytes) {
    char pair[4];
    snprintf(pair, sizeof(pair), "%02X ", byte);
    text += pair;
  }
  if (!text.empty()) text.pop_back();
  return text;
}

// `count` bytes from `first` on, as ToHex writes them.
inline std::string Part(const Bytes& bytes, size_t first, size_t count) {
  const auto begin = bytes.begin() + static_cast<std::ptrdiff_t>(std::min(first, bytes.size()));
  const auto end =
      bytes.begin() + static_cast<std::ptrdiff_t>(std::min(first + count, bytes.size()));
  return ToHex(Bytes(begin, end));
}

// The same text for any way of writing the bytes.
inline std::string Normal(const std::string& hex) { return ToHex(Hex(hex)); }

// Where a host is.
struct Place {
  bool at_office;       // the far end of the lab's network; else where the test itself is
  std::string address;  // 0.0.0.0 for every address there
  unsigned short port;  // 0 for any
};

inline Place Here(const std::string& address, unsigned short port = 0) {
  return {false, address, port};
}
inline Place Office(const std::string& address, unsigned short port) {
  return {true, address, port};
}

inline int Check(int result, const char* what) {
  if (result < 0) throw std::runtime_error(std::string(what) + ": " + strerror(errno));
  return result;
}

inline sockaddr_in SocketAddress(const std::string& address, unsigned short port) {
  sockaddr_in result{};
  result.sin_family = AF_INET;
  result.sin_port = htons(port);
  Check(inet_pton(AF_INET, address.c_str(), &result.sin_addr) - 1, address.c_str());
  return result;
}

inline std::string Text(in_addr address) {
  char text[INET_ADDRSTRLEN];
  return inet_ntop(AF_INET, &address, text, sizeof(text));
}

inline int Bind(const Place& place) {
  const int fd = Check(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0), "socket");
  const int on = 1;
  const int room = 4 << 20;
  setsockopt(fd, IPPROTO_IP, IP_PKTINFO, &on, sizeof(on));
  setsockopt(fd, SOL_SOCKET, SO_RCVBUF, &room, sizeof(room));
  const sockaddr_in address = SocketAddress(place.address, place.port);
  Check(bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), "bind");
  return fd;
}

// A socket belongs to the namespace in which it was opened, whoever uses it.
inline int BindAtOffice(const Place& place) {
  int fd = -1;
  std::string error;
  std::thread([&] {
    try {
      const int office = Check(open("/tmp/.lab/office", O_RDONLY | O_CLOEXEC), "the lab's office");
      Check(setns(office, CLONE_NEWNET), "setns");
      close(office);
      fd = Bind(place);
    } catch (const std::exception& e) {
      error = e.what();
    }
  }).join();
  if (fd < 0) throw std::runtime_error(error);
  return fd;
}

// A datagram that a host has received.
struct Received {
  std::string from;
  unsigned short from_port;
  std::string to;  // own address, or the broadcast address
  Bytes bytes;
};

// Answers UDP datagrams on a thread of its own.
class Host {
 public:
  // Called on the host's thread for each datagram. It may wait, and send with Reply and ReplyAs.
  using Handler = std::function<void(Host&, const Received&)>;

  explicit Host(const Place& place, Handler handler = nullptr)
      : m_Handler(std::move(handler)),
        m_iSocket(place.at_office ? BindAtOffice(place) : Bind(place)),
        m_iStop(Check(eventfd(0, EFD_CLOEXEC), "eventfd")),
        m_Thread([this] { Run(); }) {}

  ~Host() {
    const uint64_t one = 1;
    if (write(m_iStop, &one, sizeof(one)) != sizeof(one)) abort();
    m_Thread.join();
    close(m_iSocket);
    close(m_iStop);
  }

  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

  unsigned short Port() const {
    sockaddr_in address{};
    socklen_t length = sizeof(address);
    getsockname(m_iSocket, reinterpret_cast<sockaddr*>(&address), &length);
    return ntohs(address.sin_port);
  }

  // Sends from the address to which `request` was sent.
  void Reply(const Received& request, const Bytes& bytes) { ReplyAs(request.to, request, bytes); }

  // Sends from another address of the same place.
  void ReplyAs(const std::string& from, const Received& request, const Bytes& bytes) {
    sockaddr_in to = SocketAddress(request.from, request.from_port);
    iovec data{const_cast<unsigned char*>(bytes.data()), bytes.size()};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(in_pktinfo))] = {};
    msghdr message{};
    message.msg_name = &to;
    message.msg_namelen = sizeof(to);
    message.msg_iov = &data;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof(control);
    cmsghdr* header = CMSG_FIRSTHDR(&message);
    header->cmsg_level = IPPROTO_IP;
    header->cmsg_type = IP_PKTINFO;
    header->cmsg_len = CMSG_LEN(sizeof(in_pktinfo));
    in_pktinfo info{};
    info.ipi_spec_dst = SocketAddress(from, 0).sin_addr;
    memcpy(CMSG_DATA(header), &info, sizeof(info));
    Check(static_cast<int>(sendmsg(m_iSocket, &message, 0)), "sendmsg");
  }

  std::vector<Received> Log() {
    const std::lock_guard<std::mutex> lock(m_Mutex);
    return m_Log;
  }

  // Waits until `count` datagrams have come. Returns what has come then.
  std::vector<Received> WaitFor(size_t count) {
    std::unique_lock<std::mutex> lock(m_Mutex);
    m_Arrived.wait_for(lock, kPatience, [&] { return m_Log.size() >= count; });
    return m_Log;
  }

 private:
  void Run() {
    for (;;) {
      pollfd wait[2] = {{m_iSocket, POLLIN, 0}, {m_iStop, POLLIN, 0}};
      poll(wait, 2, -1);
      if (wait[1].revents != 0) return;
      const Received received = Take();
      {
        const std::lock_guard<std::mutex> lock(m_Mutex);
        m_Log.push_back(received);
      }
      m_Arrived.notify_all();
      if (m_Handler) m_Handler(*this, received);
    }
  }

  Received Take() const {
    unsigned char buffer[65536];
    sockaddr_in from{};
    iovec data{buffer, sizeof(buffer)};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(in_pktinfo))] = {};
    msghdr message{};
    message.msg_name = &from;
    message.msg_namelen = sizeof(from);
    message.msg_iov = &data;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof(control);
    const int length = Check(static_cast<int>(recvmsg(m_iSocket, &message, 0)), "recvmsg");
    in_pktinfo info{};
    for (cmsghdr* c = CMSG_FIRSTHDR(&message); c != nullptr; c = CMSG_NXTHDR(&message, c)) {
      if (c->cmsg_type == IP_PKTINFO) memcpy(&info, CMSG_DATA(c), sizeof(info));
    }
    return {Text(from.sin_addr), ntohs(from.sin_port), Text(info.ipi_addr),
            Bytes(buffer, buffer + length)};
  }

  Handler m_Handler;
  int m_iSocket;
  int m_iStop;
  std::mutex m_Mutex;
  std::condition_variable m_Arrived;
  std::vector<Received> m_Log;
  std::thread m_Thread;
};

// A handler that gives the same answer to every datagram.
inline Host::Handler Always(const Bytes& bytes) {
  return [=](Host& host, const Received& request) { host.Reply(request, bytes); };
}

// The bytes that wait to be read in the socket of that port where the test itself is.
inline unsigned long UnreadBytes(unsigned short port) {
  std::ifstream table("/proc/thread-self/net/udp");
  std::string line;
  std::getline(table, line);
  while (std::getline(table, line)) {
    unsigned int local = 0;
    unsigned long unread = 0;
    const char* format = "%*u: %*8x:%4x %*8x:%*4x %*2x %*8x:%8lx";
    if (sscanf(line.c_str(), format, &local, &unread) == 2 && local == port) return unread;
  }
  return 0;
}

// Waits until the socket of that port has been emptied.
inline void WaitUntilRead(unsigned short port) {
  const auto deadline = std::chrono::steady_clock::now() + kPatience;
  while (UnreadBytes(port) > 0 && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

// Measures the time since it was made.
class Stopwatch {
 public:
  double Seconds() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - m_Start).count();
  }

 private:
  std::chrono::steady_clock::time_point m_Start = std::chrono::steady_clock::now();
};

}  // namespace fake_network
