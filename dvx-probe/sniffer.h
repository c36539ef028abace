// What reaches the interfaces, before a firewall sees it.
#pragma once

#include <netinet/in.h>

#include <vector>

#include "base/descriptor.h"
#include "dvx-probe/bytes.h"

// An answer to an SNMP question, as it came in by an interface.
struct SeenAnswer {
  in_addr from;
  uint16_t port;  // of this computer
  int interface;
};

// From its construction on, the kernel keeps a copy of every answer that arrives. Only root may see
// them; for everybody else it stays shut and has nothing.
class CSniffer {
 public:
  CSniffer();

  bool IsOpen() const { return m_Socket.Get() >= 0; }

  // What arrived since the last call.
  std::vector<SeenAnswer> Take() const;

 private:
  Descriptor m_Socket;
};
