// A UDP socket that tells more of a datagram than its bytes, and records it.
#include "dvx-probe/udp_port.h"

#include <linux/errqueue.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <stdexcept>

#include "dvx-probe/interfaces.h"
#include "snmp/udp/transport.h"
#include "snmp/udp/udp_socket.h"

namespace {

constexpr size_t kMostBytes = 65536;
constexpr uint8_t kUsualTimeToLive = 64;

// Answers to a broadcast come all at once.
constexpr int kReceiveBuffer = 1 << 20;

void SwitchOn(int fd, int level, int option) {
  const int on = 1;
  setsockopt(fd, level, option, &on, sizeof(on));
}

// The contents of a control message of this kind, zeros when there is none.
template <typename T>
T ControlMessage(msghdr* message, int type, int level = IPPROTO_IP) {
  T content{};
  for (cmsghdr* item = CMSG_FIRSTHDR(message); item != nullptr; item = CMSG_NXTHDR(message, item)) {
    if (item->cmsg_level != level || item->cmsg_type != type) continue;
    memcpy(&content, CMSG_DATA(item), sizeof(content));
  }
  return content;
}

std::chrono::nanoseconds Nanoseconds(const timespec& time) {
  return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

// The time by the clock that the kernel notes arrivals with.
std::chrono::nanoseconds KernelTime() {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  return Nanoseconds(now);
}

// When a message came in, however long it waited here until it was taken.
std::chrono::nanoseconds ArrivalOf(msghdr* message) {
  const auto noted = ControlMessage<timespec>(message, SCM_TIMESTAMPNS, SOL_SOCKET);
  return noted.tv_sec != 0 ? Nanoseconds(noted) : KernelTime();
}

// One message of a socket, with room for what the kernel tells about it.
struct Message {
  explicit Message(size_t size) : data(size) {
    part = {data.data(), data.size()};
    header.msg_name = &name;
    header.msg_namelen = sizeof(name);
    header.msg_iov = &part;
    header.msg_iovlen = 1;
    header.msg_control = control;
    header.msg_controllen = sizeof(control);
  }
  Message(const Message&) = delete;
  Message& operator=(const Message&) = delete;

  Bytes data;
  sockaddr_in name{};
  iovec part{};
  alignas(cmsghdr) char control[512] = {};
  msghdr header{};
};

}  // namespace

CUdpPort::CUdpPort(CTrace* trace)
    : m_Socket(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)), m_pTrace(trace) {
  if (m_Socket.Get() < 0) throw std::runtime_error(std::string("socket: ") + strerror(errno));
  SwitchOn(m_Socket.Get(), SOL_SOCKET, SO_BROADCAST);
  SwitchOn(m_Socket.Get(), SOL_SOCKET, SO_TIMESTAMPNS);
  SwitchOn(m_Socket.Get(), IPPROTO_IP, IP_PKTINFO);
  SwitchOn(m_Socket.Get(), IPPROTO_IP, IP_RECVTTL);
  SwitchOn(m_Socket.Get(), IPPROTO_IP, IP_RECVERR);
  setsockopt(m_Socket.Get(), SOL_SOCKET, SO_RCVBUF, &kReceiveBuffer, sizeof(kReceiveBuffer));
}

void CUdpPort::Use(const std::string& interface, in_addr source) {
  // Old kernels allow it to root only; the source address mostly leads by the same interface.
  setsockopt(m_Socket.Get(), SOL_SOCKET, SO_BINDTODEVICE, interface.c_str(),
             static_cast<socklen_t>(interface.size() + 1));
  const sockaddr_in own = net_socket_address(source, 0);
  if (bind(m_Socket.Get(), reinterpret_cast<const sockaddr*>(&own), sizeof(own)) == 0) {
    m_Source = source;
  }
}

int CUdpPort::Send(const sockaddr_in& to, const Bytes& data) {
  m_Asked = KernelTime();
  const ssize_t sent = sendto(m_Socket.Get(), data.data(), data.size(), 0,
                              reinterpret_cast<const sockaddr*>(&to), sizeof(to));
  if (sent < 0) return errno;
  if (m_pTrace != nullptr) {
    const in_addr source = m_Source.s_addr != 0 ? m_Source : route_to(to.sin_addr).source;
    m_pTrace->Add(net_socket_address(source, Port()), to, data, kUsualTimeToLive);
  }
  return 0;
}

std::optional<Datagram> CUdpPort::Receive() {
  Message message(kMostBytes);
  const ssize_t received = recvmsg(m_Socket.Get(), &message.header, MSG_DONTWAIT);
  if (received < 0) return std::nullopt;
  message.data.resize(static_cast<size_t>(received));
  const auto info = ControlMessage<in_pktinfo>(&message.header, IP_PKTINFO);
  const std::chrono::duration<double> took = ArrivalOf(&message.header) - m_Asked;
  Datagram datagram{message.name, info.ipi_addr, info.ipi_ifindex, std::move(message.data),
                    // The clock may be set back meanwhile.
                    std::max(0.0, took.count())};
  if (m_pTrace != nullptr) {
    const auto time_to_live = ControlMessage<int>(&message.header, IP_TTL);
    m_pTrace->Add(datagram.from, net_socket_address(datagram.to, Port()), datagram.data,
                  static_cast<uint8_t>(time_to_live));
  }
  return datagram;
}

int CUdpPort::TakeNetworkError() {
  Message message(1);
  if (recvmsg(m_Socket.Get(), &message.header, MSG_ERRQUEUE | MSG_DONTWAIT) < 0) return 0;
  return static_cast<int>(ControlMessage<sock_extended_err>(&message.header, IP_RECVERR).ee_errno);
}

uint16_t CUdpPort::Port() const {
  sockaddr_in own{};
  socklen_t size = sizeof(own);
  getsockname(m_Socket.Get(), reinterpret_cast<sockaddr*>(&own), &size);
  return ntohs(own.sin_port);
}
