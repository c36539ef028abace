// A record of every datagram as a pcap file, which tshark and Wireshark open.
#pragma once

#include <netinet/in.h>

#include <string>

#include "base/descriptor.h"
#include "dvx-probe/bytes.h"

// Each record is an IPv4 packet, with headers made from what the sockets know of the datagram.
class CTrace {
 public:
  // Makes the file, or empties it. Throws std::invalid_argument, naming the file.
  explicit CTrace(const std::string& file);

  // Adds a datagram with the time of now. Records are written at once, so that what was sent before
  // an interruption is in the file. Throws std::runtime_error when the disk is full.
  void Add(const sockaddr_in& from, const sockaddr_in& to, const Bytes& data, uint8_t time_to_live);

 private:
  void Write(const Bytes& bytes);

  std::string m_sFile;
  Descriptor m_File;
};

// The IPv4 packet of a datagram, checksums included (RFC 791, RFC 768).
Bytes ipv4_packet(const sockaddr_in& from, const sockaddr_in& to, const Bytes& data,
                  uint8_t time_to_live);
