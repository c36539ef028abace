// A UDP socket that tells more of a datagram than its bytes, and records it.
#pragma once

#include <netinet/in.h>

#include <chrono>
#include <optional>
#include <string>

#include "base/descriptor.h"
#include "dvx-probe/bytes.h"
#include "dvx-probe/trace.h"

// A datagram that arrived.
struct Datagram {
  sockaddr_in from;
  in_addr to;     // the address of this computer that it was sent to
  int interface;  // the index of the interface that it came in by
  Bytes data;
  double seconds = 0;  // from the last question of its port to its arrival at this computer
};

class CUdpPort {
 public:
  // Opens a socket that may broadcast. Throws std::runtime_error. The trace may be null.
  explicit CUdpPort(CTrace* trace);

  // From now on datagrams leave by that interface and from that address.
  void Use(const std::string& interface, in_addr source);

  // Sends a datagram. Returns 0, or why it could not be sent (errno).
  int Send(const sockaddr_in& to, const Bytes& data);

  // Takes the next datagram. Nothing when there is none, or when the network reported an error.
  std::optional<Datagram> Receive();

  // What the network reported of datagrams sent before: an errno like ECONNREFUSED, or 0. The
  // report is taken.
  int TakeNetworkError();

  int Fd() const { return m_Socket.Get(); }
  uint16_t Port() const;

 private:
  Descriptor m_Socket;
  CTrace* m_pTrace;
  in_addr m_Source{};
  std::chrono::nanoseconds m_Asked{};  // when the last question was sent, in the kernel's time
};
