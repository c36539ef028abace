// UDP/IPv4 exchanges with time-outs in whole seconds.
#include "snmp/udp/transport.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <sys/select.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>

#include "base/cancellation_off.h"
#include "base/malloc_ptr.h"
#include "snmp/udp/udp_socket.h"

namespace {

constexpr unsigned short kDefaultCommandPort = 3892;

// select(2) on one descriptor. A descriptor that does not fit into an fd_set counts as unusable:
// marking it would write outside the set.
int WaitReadable(int socket, unsigned int seconds, fd_set* readable) {
  FD_ZERO(readable);
  if (socket < 0 || socket >= FD_SETSIZE) {
    errno = EBADF;
    return -1;
  }
  FD_SET(socket, readable);
  timeval wait{static_cast<time_t>(seconds), 0};
  return select(socket + 1, readable, nullptr, nullptr, &wait);
}

// gethostbyname(3) without its static result, which two threads would share.
bool LookUpHost(const char* name, in_addr* result) {
  MallocPtr<char> buffer;
  hostent entry{};
  hostent* found = nullptr;
  int status = ERANGE;
  for (size_t size = 1024; status == ERANGE; size *= 2) {
    buffer = AllocateZeroed<char>(size);
    if (buffer == nullptr) return false;
    int error = 0;
    status = gethostbyname_r(name, &entry, buffer.get(), size, &found, &error);
  }
  if (found == nullptr || found->h_addr_list[0] == nullptr) return false;
  memcpy(result, found->h_addr_list[0], sizeof(*result));
  return true;
}

bool ResolveDevice(const char* address, unsigned short port, sockaddr_in* device) {
  in_addr resolved{};
  if (net_resolve(address, &resolved) != 0) return false;
  *device = net_socket_address(resolved, port);
  return true;
}

unsigned short CommandPort() {
  return udpCommandPort1 != 0 ? udpCommandPort1 : kDefaultCommandPort;
}

}  // namespace

unsigned short udpCommandPort1 = kDefaultCommandPort;

UdpSocket::UdpSocket() {
  net_start();
  if (net_socket(&m_iSocket) != 0) m_iSocket = -1;
}

UdpSocket::~UdpSocket() {
  if (IsOpen()) net_close(m_iSocket);
}

void UdpSocket::SendTo(const sockaddr_in& to, const unsigned char* data, int length) const {
  sendto(m_iSocket, data, static_cast<size_t>(length), 0, reinterpret_cast<const sockaddr*>(&to),
         sizeof(to));
}

bool UdpSocket::Receive(UdpDatagram* datagram) const {
  socklen_t from_length = sizeof(datagram->from);
  const ssize_t received = recvfrom(m_iSocket, datagram->data, sizeof(datagram->data), 0,
                                    reinterpret_cast<sockaddr*>(&datagram->from), &from_length);
  if (received < 0) return false;
  datagram->length = static_cast<int>(received);
  return true;
}

sockaddr_in net_socket_address(in_addr address, unsigned short port) {
  sockaddr_in result{};
  result.sin_family = AF_INET;
  result.sin_port = htons(port);
  result.sin_addr = address;
  return result;
}

packet_data* net_copy_datagram(const UdpDatagram& datagram) {
  MallocPtr<packet_data> packet = AllocateZeroed<packet_data>(1);
  if (packet == nullptr) return nullptr;
  packet->sender_address = datagram.from.sin_addr.s_addr;
  memcpy(packet->data, datagram.data, static_cast<size_t>(datagram.length));
  packet->length = datagram.length;
  return packet.release();
}

int net_start() { return 0; }

int net_socket(int* socket_out) {
  *socket_out = socket(AF_INET, SOCK_DGRAM, 0);
  return *socket_out < 0 ? -1 : 0;
}

void net_close(int socket) {
  if (socket == 0) return;
  // close(2) is a cancellation point, and destructors call this.
  const CancellationOff guard;
  close(socket);
}

int net_resolve(const char* address, in_addr* result) {
  result->s_addr = inet_addr(address);
  if (result->s_addr != INADDR_NONE) return 0;
  return LookUpHost(address, result) ? 0 : -1;
}

int net_select(int socket, unsigned int seconds) {
  fd_set readable;
  if (WaitReadable(socket, seconds, &readable) <= 0) return -1;
  return FD_ISSET(socket, &readable) ? 0 : -1;
}

int readable_timeo(int socket, unsigned int seconds) {
  fd_set readable;
  return WaitReadable(socket, seconds, &readable);
}

int recvfrom_timeo(int socket, void* buffer, size_t length, int flags, sockaddr* from,
                   socklen_t* from_length, unsigned int seconds) {
  if (seconds != 0) {
    const int ready = readable_timeo(socket, seconds);
    if (ready < 0) return -1;
    if (ready == 0) return kUdpTimedOut;
  }
  return static_cast<int>(recvfrom(socket, buffer, length, flags, from, from_length));
}

packet_data_list* net_send_rev(const char* address, unsigned int seconds, const unsigned char* data,
                               int length) {
  UdpSocket socket;
  sockaddr_in device;
  if (!socket.IsOpen() || !ResolveDevice(address, kSnmpPort, &device)) return nullptr;
  socket.SendTo(device, data, length);
  UdpDatagram answer;
  if (net_select(socket.Get(), seconds) != 0 || !socket.Receive(&answer)) return nullptr;
  PacketDataListPtr list(get_packet_data_list_mem());
  if (list == nullptr) return nullptr;
  *list = {nullptr, net_copy_datagram(answer)};
  return list->data != nullptr ? list.release() : nullptr;
}

int udp_send(const char* address, unsigned int /*unused*/, const unsigned char* data, int length) {
  UdpSocket socket;
  sockaddr_in device;
  if (!socket.IsOpen() || !ResolveDevice(address, CommandPort(), &device)) return -1;
  socket.SendTo(device, data, length);
  return 0;
}

int udp_send_rev(const char* address, unsigned int seconds, const unsigned char* data, int length,
                 unsigned char* answer, int* answer_length) {
  if (answer == nullptr || *answer_length < 1) return -1;
  UdpSocket socket;
  sockaddr_in device;
  if (!socket.IsOpen() || !ResolveDevice(address, CommandPort(), &device)) return -1;
  socket.SendTo(device, data, length);
  unsigned char received[kPacketDataSize];
  const int received_length =
      recvfrom_timeo(socket.Get(), received, sizeof(received), 0, nullptr, nullptr, seconds);
  if (received_length < 0) return received_length;
  memset(answer, 0, static_cast<size_t>(*answer_length));
  if (*answer_length < received_length) return -1;
  memcpy(answer, received, static_cast<size_t>(received_length));
  *answer_length = received_length;
  return 0;
}
