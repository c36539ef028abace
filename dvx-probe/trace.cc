// A record of every datagram as a pcap file.
#include "dvx-probe/trace.h"

#include <fcntl.h>

#include <cerrno>
#include <cstring>
#include <ctime>
#include <stdexcept>

namespace {

constexpr uint32_t kMicrosecondMagic = 0xA1B2C3D4;
constexpr uint32_t kRawIpLink = 101;
constexpr uint32_t kMostBytes = 65535;
constexpr size_t kIpHeaderSize = 20;
constexpr size_t kUdpHeaderSize = 8;
constexpr uint8_t kUdp = 17;

// pcap fields are in the byte order of the machine that writes them.
void AppendHost(Bytes* bytes, uint32_t value, size_t size) {
  uint8_t raw[4];
  if (size == 2) {
    const auto half = static_cast<uint16_t>(value);
    memcpy(raw, &half, size);
  } else {
    memcpy(raw, &value, size);
  }
  bytes->insert(bytes->end(), raw, raw + size);
}

void AppendWord(Bytes* bytes, size_t value) {
  bytes->push_back(static_cast<uint8_t>(value >> 8));
  bytes->push_back(static_cast<uint8_t>(value));
}

// An address or a port, which sockets keep in network byte order.
template <typename T>
void AppendRaw(Bytes* bytes, const T& value) {
  const auto* raw = reinterpret_cast<const uint8_t*>(&value);
  bytes->insert(bytes->end(), raw, raw + sizeof(value));
}

// The Internet checksum (RFC 1071).
uint16_t Checksum(const Bytes& bytes) {
  uint32_t sum = 0;
  for (size_t i = 0; i < bytes.size(); ++i)
    sum += static_cast<uint32_t>(bytes[i]) << (i % 2 ? 0 : 8);
  while (sum > 0xFFFF) sum = (sum & 0xFFFF) + (sum >> 16);
  return static_cast<uint16_t>(~sum);
}

void StoreWord(Bytes* bytes, size_t offset, uint16_t value) {
  (*bytes)[offset] = static_cast<uint8_t>(value >> 8);
  (*bytes)[offset + 1] = static_cast<uint8_t>(value);
}

Bytes UdpPart(const sockaddr_in& from, const sockaddr_in& to, const Bytes& data) {
  const size_t length = kUdpHeaderSize + data.size();
  Bytes part;
  AppendRaw(&part, from.sin_port);
  AppendRaw(&part, to.sin_port);
  AppendWord(&part, length);
  AppendWord(&part, 0);
  part.insert(part.end(), data.begin(), data.end());
  Bytes summed;
  AppendRaw(&summed, from.sin_addr);
  AppendRaw(&summed, to.sin_addr);
  AppendWord(&summed, kUdp);
  AppendWord(&summed, length);
  summed.insert(summed.end(), part.begin(), part.end());
  const uint16_t sum = Checksum(summed);
  // Zero would say that there is no checksum.
  StoreWord(&part, 6, sum == 0 ? 0xFFFF : sum);
  return part;
}

}  // namespace

Bytes ipv4_packet(const sockaddr_in& from, const sockaddr_in& to, const Bytes& data,
                  uint8_t time_to_live) {
  const Bytes udp = UdpPart(from, to, data);
  Bytes packet{0x45, 0};
  AppendWord(&packet, kIpHeaderSize + udp.size());
  AppendWord(&packet, 0);
  AppendWord(&packet, 0);
  packet.push_back(time_to_live);
  packet.push_back(kUdp);
  AppendWord(&packet, 0);
  AppendRaw(&packet, from.sin_addr);
  AppendRaw(&packet, to.sin_addr);
  StoreWord(&packet, 10, Checksum(packet));
  packet.insert(packet.end(), udp.begin(), udp.end());
  return packet;
}

CTrace::CTrace(const std::string& file)
    : m_sFile(file), m_File(open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666)) {
  if (m_File.Get() < 0) throw std::invalid_argument("--trace " + file + ": " + strerror(errno));
  Bytes header;
  AppendHost(&header, kMicrosecondMagic, 4);
  AppendHost(&header, 2, 2);
  AppendHost(&header, 4, 2);
  AppendHost(&header, 0, 4);
  AppendHost(&header, 0, 4);
  AppendHost(&header, kMostBytes, 4);
  AppendHost(&header, kRawIpLink, 4);
  Write(header);
}

void CTrace::Add(const sockaddr_in& from, const sockaddr_in& to, const Bytes& data,
                 uint8_t time_to_live) {
  const Bytes packet = ipv4_packet(from, to, data, time_to_live);
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  Bytes record;
  AppendHost(&record, static_cast<uint32_t>(now.tv_sec), 4);
  AppendHost(&record, static_cast<uint32_t>(now.tv_nsec / 1000), 4);
  AppendHost(&record, static_cast<uint32_t>(packet.size()), 4);
  AppendHost(&record, static_cast<uint32_t>(packet.size()), 4);
  record.insert(record.end(), packet.begin(), packet.end());
  Write(record);
}

void CTrace::Write(const Bytes& bytes) {
  const ssize_t written = write(m_File.Get(), bytes.data(), bytes.size());
  if (written == static_cast<ssize_t>(bytes.size())) return;
  throw std::runtime_error("--trace " + m_sFile + ": " + strerror(written < 0 ? errno : ENOSPC));
}
