// IPv4 addresses, networks and hardware addresses, and their texts.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>

// An IPv4 address as a number in host byte order, so that the next address is the number plus one.
using Ipv4 = uint32_t;

using Mac = std::array<uint8_t, 6>;

struct Endpoint {
  Ipv4 address = 0;
  uint16_t port = 0;
};

inline bool operator<(const Endpoint& a, const Endpoint& b) {
  return a.address != b.address ? a.address < b.address : a.port < b.port;
}

struct Network {
  Ipv4 base = 0;
  int prefix = 0;

  // The highest address, which is the network's own broadcast address.
  Ipv4 Broadcast() const;
};

// Four decimal numbers from 0 to 255 with points between them, and nothing else.
std::optional<Ipv4> parse_ipv4(const std::string& text);
std::string ipv4_text(Ipv4 address);

// "10.77.0.0/24": the lowest address of the network and a prefix length from 1 to 30.
std::optional<Network> parse_network(const std::string& text);

// "10.77.0.101:161".
std::string endpoint_text(const Endpoint& endpoint);

// Six pairs of hexadecimal digits with colons between them; written in lower case.
std::optional<Mac> parse_mac(const std::string& text);
std::string mac_text(const Mac& mac);
