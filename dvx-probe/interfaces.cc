// The network interfaces of this computer, and the way that datagrams take.
#include "dvx-probe/interfaces.h"

#include <ifaddrs.h>
#include <net/if.h>
#include <netpacket/packet.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <stdexcept>

#include "base/descriptor.h"
#include "dvx-probe/addresses.h"
#include "snmp/device_query.h"
#include "snmp/udp/transport.h"
#include "snmp/udp/udp_socket.h"

namespace {

struct FreeAddresses {
  void operator()(ifaddrs* list) const { freeifaddrs(list); }
};

in_addr AddressOf(const sockaddr* address) {
  sockaddr_in found{};
  if (address != nullptr) memcpy(&found, address, sizeof(found));
  return found.sin_addr;
}

// The list has an entry for each interface and one for each address, whose name may be an alias
// like "eth0:1".
Interface& EntryFor(std::vector<Interface>* interfaces, const ifaddrs& item) {
  const std::string text(item.ifa_name);
  const std::string name = text.substr(0, text.find(':'));
  const auto has_name = [&name](const Interface& entry) { return entry.name == name; };
  const auto found = std::find_if(interfaces->begin(), interfaces->end(), has_name);
  if (found != interfaces->end()) return *found;
  Interface& made = interfaces->emplace_back();
  made.name = name;
  made.index = static_cast<int>(if_nametoindex(name.c_str()));
  made.loopback = (item.ifa_flags & IFF_LOOPBACK) != 0;
  made.up = (item.ifa_flags & IFF_UP) != 0;
  made.carrier = (item.ifa_flags & IFF_RUNNING) != 0;
  return made;
}

void TakeHardwareAddress(const ifaddrs& item, Interface* entry) {
  sockaddr_ll link{};
  memcpy(&link, item.ifa_addr, sizeof(link));
  if (link.sll_halen != 6 || entry->loopback) return;
  char text[kMacTextSize];
  net_mac_text(link.sll_addr, text);
  entry->hardwareAddress = text;
}

void TakeAddress(const ifaddrs& item, Interface* entry) {
  InterfaceAddress address{AddressOf(item.ifa_addr), AddressOf(item.ifa_netmask), {}};
  // On a point-to-point link the field holds the address of the other end.
  if ((item.ifa_flags & IFF_BROADCAST) != 0) address.broadcast = AddressOf(item.ifa_broadaddr);
  if (same_address(address.broadcast, address.address)) address.broadcast = {};
  entry->addresses.push_back(address);
}

}  // namespace

std::vector<Interface> list_interfaces() {
  ifaddrs* head = nullptr;
  if (getifaddrs(&head) != 0) {
    throw std::runtime_error(std::string("cannot list the network interfaces: ") + strerror(errno));
  }
  const std::unique_ptr<ifaddrs, FreeAddresses> list(head);
  std::vector<Interface> interfaces;
  for (const ifaddrs* item = head; item != nullptr; item = item->ifa_next) {
    Interface& entry = EntryFor(&interfaces, *item);
    if (item->ifa_addr == nullptr) continue;
    if (item->ifa_addr->sa_family == AF_PACKET) TakeHardwareAddress(*item, &entry);
    if (item->ifa_addr->sa_family == AF_INET) TakeAddress(*item, &entry);
  }
  return interfaces;
}

const Interface* interface_with(const std::vector<Interface>& interfaces, in_addr address) {
  for (const Interface& entry : interfaces) {
    for (const InterfaceAddress& own : entry.addresses) {
      if (same_address(own.address, address)) return &entry;
    }
  }
  return nullptr;
}

const InterfaceAddress* address_in_network_of(const Interface& interface, in_addr other) {
  for (const InterfaceAddress& own : interface.addresses) {
    if (same_network(own.address, other, own.netmask)) return &own;
  }
  return nullptr;
}

Route route_to(in_addr destination) {
  const Descriptor fd(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  const int on = 1;
  setsockopt(fd.Get(), SOL_SOCKET, SO_BROADCAST, &on, sizeof(on));
  // Connecting a datagram socket looks the route up and sends nothing.
  const sockaddr_in to = net_socket_address(destination, kSnmpPort);
  if (connect(fd.Get(), reinterpret_cast<const sockaddr*>(&to), sizeof(to)) != 0) {
    return {errno, {}};
  }
  sockaddr_in own{};
  socklen_t size = sizeof(own);
  getsockname(fd.Get(), reinterpret_cast<sockaddr*>(&own), &size);
  return {0, own.sin_addr};
}
