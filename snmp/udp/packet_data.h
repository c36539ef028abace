// Received datagrams in the form in which they are passed on.
//
// Records are allocated with malloc and calloc; a shortage of memory is a null result, never an
// exception. The functions may be called from any thread.
#pragma once

#include <cstdint>
#include <memory>

// The largest datagram that is sent or received, in bytes.
constexpr int kPacketDataSize = 1536;

// One received datagram.
struct packet_data {
  uint64_t sender_address;  // IPv4 address, network byte order
  unsigned char data[kPacketDataSize];
  int length;  // bytes received
};

// Datagrams in order of arrival. Each node owns its datagram, which may be null.
struct packet_data_list {
  packet_data_list* next;
  packet_data* data;
};

// Returns a new node whose two pointers are not defined, or null. Set both before anything else.
packet_data_list* get_packet_data_list_mem();

// Releases every node with its datagram. A null list is ignored.
void free_packet_data_list(packet_data_list* list);

// Owner that releases a list when it goes out of scope.
struct PacketDataListDeleter {
  void operator()(packet_data_list* list) const { free_packet_data_list(list); }
};
using PacketDataListPtr = std::unique_ptr<packet_data_list, PacketDataListDeleter>;
