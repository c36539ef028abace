// The packets of the command channel, apart from their way over the network. The layout stands in
// devreg/udp_command.h.
#pragma once

#include "base/malloc_ptr.h"
#include "devreg/udp_command.h"

// Seconds to wait for a reply, and how often a packet is sent at most.
constexpr unsigned int kReplySeconds = 3;
constexpr int kAttempts = 3;

// Room for the largest reply, in bytes.
constexpr int kReplySize = 1536;

struct UdpCommandPacket {
  MallocPtr<unsigned char> bytes;  // null when memory is short
  int length;
};

// Makes the packet of a command; a sequence of 0 draws one. A length of the request that is
// negative or too large for a packet whose length is an int counts as short memory.
UdpCommandPacket BuildPacket(const UDPCOMMAND& request, int sequence);

// Whether a reply has the sequence number of the packet. `reply` has kReplySize bytes, zeros behind
// the datagram.
bool HasSequenceOf(const unsigned char* reply, const UdpCommandPacket& packet);

// Stores a reply of kReplySize bytes. Returns 0, or -3 when there are data and response->data is
// null. The scanner's data count is not trusted: no more is stored than response->length says.
int TakeReply(const unsigned char* reply, UDPCOMMAND* response);
