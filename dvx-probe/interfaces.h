// The network interfaces of this computer, and the way that datagrams take.
#pragma once

#include <netinet/in.h>

#include <string>
#include <vector>

struct InterfaceAddress {
  in_addr address;
  in_addr netmask;
  in_addr broadcast;  // 0.0.0.0 when the network has none
};

struct Interface {
  std::string name;
  int index = 0;
  bool loopback = false;
  bool up = false;
  bool carrier = false;         // the cable is in, or the radio is connected
  std::string hardwareAddress;  // "02:56:44:56:58:10", empty when it has none
  std::vector<InterfaceAddress> addresses;
};

// All interfaces in the kernel's order. Throws std::runtime_error when they cannot be listed.
std::vector<Interface> list_interfaces();

// The interface that has this address, or null.
const Interface* interface_with(const std::vector<Interface>& interfaces, in_addr address);

// The interface's address in whose network the other one is, or null.
const InterfaceAddress* address_in_network_of(const Interface& interface, in_addr other);

// How a datagram to an address leaves.
struct Route {
  int error;       // 0, or why there is no way (errno)
  in_addr source;  // the address that it leaves by
};

// Asks the kernel; nothing is sent.
Route route_to(in_addr destination);
