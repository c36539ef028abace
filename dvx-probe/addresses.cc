// IPv4 addresses as text.
#include "dvx-probe/addresses.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cctype>

#include "snmp/udp/transport.h"

namespace {

bool MayBeHostName(const std::string& text) {
  const auto is_letter = [](unsigned char ch) { return std::isalpha(ch) != 0; };
  const auto fits = [](unsigned char ch) {
    return std::isalnum(ch) != 0 || ch == '-' || ch == '.' || ch == '_';
  };
  return std::any_of(text.begin(), text.end(), is_letter) &&
         std::all_of(text.begin(), text.end(), fits);
}

bool IsOfOneDevice(in_addr address) {
  const in_addr_t host = ntohl(address.s_addr);
  return host >> 24 != 0 && !IN_MULTICAST(host) && !IN_BADCLASS(host);
}

}  // namespace

std::string address_text(in_addr address) {
  char text[INET_ADDRSTRLEN];
  inet_ntop(AF_INET, &address, text, sizeof(text));
  return text;
}

std::optional<in_addr> parse_address(const std::string& text) {
  in_addr address{};
  if (inet_pton(AF_INET, text.c_str(), &address) != 1) return std::nullopt;
  return address;
}

std::optional<in_addr> find_device(const std::string& text, std::string* problem) {
  std::optional<in_addr> address = parse_address(text);
  if (!address) {
    if (!MayBeHostName(text)) {
      *problem = "this is not an IPv4 address or a host name";
      return std::nullopt;
    }
    in_addr resolved{};
    if (net_resolve(text.c_str(), &resolved) != 0) {
      *problem = "no such host is known";
      return std::nullopt;
    }
    address = resolved;
  }
  if (IsOfOneDevice(*address)) return address;
  *problem = "no single device has this address";
  return std::nullopt;
}

std::string network_text(in_addr address, in_addr netmask) {
  const in_addr network{address.s_addr & netmask.s_addr};
  return address_text(network) + "/" + std::to_string(__builtin_popcount(netmask.s_addr));
}
