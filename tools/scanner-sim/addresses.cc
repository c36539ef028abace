// IPv4 addresses, networks and hardware addresses, and their texts.
#include "tools/scanner-sim/addresses.h"

#include <arpa/inet.h>

#include <algorithm>

#include "tools/scanner-sim/bytes.h"
#include "tools/scanner-sim/text.h"

Ipv4 Network::Broadcast() const { return base | (0xFFFFFFFFU >> prefix); }

std::optional<Ipv4> parse_ipv4(const std::string& text) {
  in_addr address = {};
  if (inet_pton(AF_INET, text.c_str(), &address) != 1) return std::nullopt;
  return ntohl(address.s_addr);
}

std::string ipv4_text(Ipv4 address) {
  std::string text;
  for (int shift = 24; shift >= 0; shift -= 8) {
    text += std::to_string((address >> shift) & 0xFF);
    if (shift > 0) text += '.';
  }
  return text;
}

std::optional<Network> parse_network(const std::string& text) {
  const size_t slash = text.find('/');
  if (slash == std::string::npos) return std::nullopt;
  const auto base = parse_ipv4(text.substr(0, slash));
  const auto prefix = parse_number(text.substr(slash + 1), 1, 30);
  if (!base || !prefix) return std::nullopt;
  const Network network = {*base, static_cast<int>(*prefix)};
  const bool has_host_bits = (network.base & (0xFFFFFFFFU >> network.prefix)) != 0;
  return has_host_bits ? std::nullopt : std::optional<Network>(network);
}

std::string endpoint_text(const Endpoint& endpoint) {
  return ipv4_text(endpoint.address) + ":" + std::to_string(endpoint.port);
}

std::optional<Mac> parse_mac(const std::string& text) {
  if (text.size() != 17) return std::nullopt;
  std::string digits = text;
  for (size_t colon = 2; colon < digits.size(); colon += 3) {
    if (digits[colon] != ':') return std::nullopt;
    digits[colon] = ' ';
  }
  const auto bytes = from_hex(digits);
  Mac mac = {};
  if (!bytes || bytes->size() != mac.size()) return std::nullopt;
  std::copy(bytes->begin(), bytes->end(), mac.begin());
  return mac;
}

std::string mac_text(const Mac& mac) {
  std::string text;
  for (uint8_t byte : mac) {
    if (!text.empty()) text += ':';
    text += to_hex({byte});
  }
  return text;
}
