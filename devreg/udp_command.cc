// The command channel to a scanner: packets, retries and replies.
#include "devreg/udp_command.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <limits>

#include "app/log/debug_log.h"
#include "devreg/command_packet.h"

namespace {

constexpr char kSignature[] = "MFPP0200ML01";

// Offsets in a packet. The sequence number takes two bytes, the data end the packet.
constexpr int kSequenceOffset = 12;
constexpr int kCategoryOffset = 14;
constexpr int kCommandOffset = 15;
constexpr int kLengthOffset = 16;
constexpr int kStatusOffset = 17;
constexpr int kDataOffset = 20;

// The transport counts bytes in an int.
constexpr int kMaxDataLength = std::numeric_limits<int>::max() - kDataOffset;

constexpr int kMemoryError = -2;
constexpr int kNoDataBuffer = -3;
constexpr int kNoReply = -101;

// Result of udp_send_rev when no datagram came in time.
constexpr int kTimedOut = -3;

int DrawSequence() {
  srand(static_cast<unsigned int>(time(nullptr)));
  return rand();
}

unsigned char LowByte(int value) { return static_cast<unsigned char>(value & 0xFF); }

}  // namespace

UdpCommandPacket BuildPacket(const UDPCOMMAND& request, int sequence) {
  if (request.length < 0 || request.length > kMaxDataLength) return {nullptr, 0};
  const auto data_length = static_cast<size_t>(request.length);
  UdpCommandPacket packet{nullptr, kDataOffset + request.length};
  packet.bytes.reset(static_cast<unsigned char*>(malloc(kDataOffset + data_length)));
  unsigned char* bytes = packet.bytes.get();
  if (bytes == nullptr) return packet;
  if (sequence == 0) sequence = DrawSequence();
  memset(bytes, 0, kDataOffset);
  memcpy(bytes, kSignature, kSequenceOffset);
  bytes[kSequenceOffset] = LowByte(sequence);
  bytes[kSequenceOffset + 1] = LowByte(sequence >> 8);
  bytes[kCategoryOffset] = request.category;
  bytes[kCommandOffset] = request.command;
  bytes[kLengthOffset] = LowByte(request.length);
  bytes[kStatusOffset] = request.status;
  if (data_length > 0) memcpy(bytes + kDataOffset, request.data, data_length);
  return packet;
}

bool HasSequenceOf(const unsigned char* reply, const UdpCommandPacket& packet) {
  return memcmp(reply + kSequenceOffset, packet.bytes.get() + kSequenceOffset, 2) == 0;
}

namespace {

// Sends the packet up to three times and stores the datagram with its sequence number in `reply`
// (1536 bytes, zeros behind the datagram). Returns the transport's last result; a datagram with
// another sequence number counts as a time-out.
int Exchange(const char* address, const UdpCommandPacket& packet, unsigned char* reply) {
  int result = kTimedOut;
  for (int attempt = 0; attempt < kAttempts && result == kTimedOut; ++attempt) {
    int reply_length = kReplySize;
    result = udp_send_rev(address, kReplySeconds, packet.bytes.get(), packet.length, reply,
                          &reply_length);
    if (result == 0 && !HasSequenceOf(reply, packet)) result = kTimedOut;
  }
  return result;
}

}  // namespace

int TakeReply(const unsigned char* reply, UDPCOMMAND* response) {
  const int capacity = response->length;
  response->command = reply[kCommandOffset];
  response->category = reply[kCategoryOffset];
  response->length = reply[kLengthOffset];
  response->status = reply[kStatusOffset];
  if (response->length == 0) return 0;
  if (response->data == nullptr) return kNoDataBuffer;
  const int stored = std::clamp(capacity, 0, response->length);
  memcpy(response->data, reply + kDataOffset, static_cast<size_t>(stored));
  return 0;
}

unsigned short udpCommandPort = 3892;

int UdpCommandSend(const char* ipAddress, int sequence, UDPCOMMAND* request) {
  const UdpCommandPacket packet = BuildPacket(*request, sequence);
  if (packet.bytes == nullptr) return kMemoryError;
  return udp_send(ipAddress, kReplySeconds, packet.bytes.get(), packet.length);
}

int UdpCommandSendResponse(char* ipAddress, UDPCOMMAND* request, UDPCOMMAND* response) {
  myDbgFunc(DBG_PREFIX "UdpCommandSendResponse (ipAddress=%s) \n", DBG_HERE, ipAddress);
  const UdpCommandPacket packet = BuildPacket(*request, 0);
  if (packet.bytes == nullptr) return kMemoryError;
  unsigned char reply[kReplySize];
  const int result = Exchange(ipAddress, packet, reply);
  if (result != 0) return result == kTimedOut ? kNoReply : -1;
  return TakeReply(reply, response);
}

int SetUdpCommandPort(unsigned short port) {
  udpCommandPort = port;
  return 0;
}
