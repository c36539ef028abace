// The pieces that the UDP exchanges are made of: a socket that closes itself, and one received
// datagram.
#pragma once

#include <netinet/in.h>

#include "snmp/udp/packet_data.h"

// One datagram as it was received.
struct UdpDatagram {
  sockaddr_in from;
  unsigned char data[kPacketDataSize];  // a longer datagram is cut
  int length;
};

// A UDP socket for one exchange. It is closed on destruction, also while the thread unwinds from a
// cancellation.
class UdpSocket {
 public:
  UdpSocket();
  ~UdpSocket();
  UdpSocket(const UdpSocket&) = delete;
  UdpSocket& operator=(const UdpSocket&) = delete;

  // False when no socket could be opened; the other methods must not be called then.
  bool IsOpen() const { return m_iSocket >= 0; }
  int Get() const { return m_iSocket; }

  // Sends `length` bytes. Whether they could be sent is not reported.
  void SendTo(const sockaddr_in& to, const unsigned char* data, int length) const;

  // Takes the next datagram, waiting for it if there is none. Returns false on an error.
  bool Receive(UdpDatagram* datagram) const;

 private:
  int m_iSocket = -1;
};

// Returns the socket address of `address` (network byte order) and `port` (host byte order).
sockaddr_in net_socket_address(in_addr address, unsigned short port);

// Returns a copy of a datagram with its sender, or null when memory is short. It is released with
// the list node that it becomes part of, see free_packet_data_list.
packet_data* net_copy_datagram(const UdpDatagram& datagram);
