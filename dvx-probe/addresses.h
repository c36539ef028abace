// IPv4 addresses as text.
#pragma once

#include <netinet/in.h>

#include <optional>
#include <string>

// The address as dotted-decimal text.
std::string address_text(in_addr address);

// An IPv4 address in dotted-decimal form: four numbers up to 255, nothing else.
std::optional<in_addr> parse_address(const std::string& text);

// Finds the device that a text on the command line means: an IPv4 address, or a host name, which is
// looked up. Returns nothing, and says in *problem why, when it is neither or an address that no
// single device has.
std::optional<in_addr> find_device(const std::string& text, std::string* problem);

// "10.77.0.0/16": the network of an address.
std::string network_text(in_addr address, in_addr netmask);

inline bool same_address(in_addr a, in_addr b) { return a.s_addr == b.s_addr; }
inline bool same_network(in_addr a, in_addr b, in_addr netmask) {
  return ((a.s_addr ^ b.s_addr) & netmask.s_addr) == 0;
}
inline bool operator<(in_addr a, in_addr b) { return ntohl(a.s_addr) < ntohl(b.s_addr); }
