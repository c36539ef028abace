// What can be found out about this computer, its network and the scanners on it.
#include "dvx-probe/facts.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "devreg/client_registration.h"
#include "dvx-probe/addresses.h"
#include "dvx-probe/registration.h"
#include "dvx-probe/sniffer.h"
#include "snmp/device_query.h"
#include "ui/survey/interview.h"

namespace {

// Longer than the program waits, so that slow scanners are noticed.
constexpr unsigned int kLongWait = 3;

constexpr size_t kMostNeighbours = 64;
constexpr char kNeighbourTable[] = "/proc/net/arp";
constexpr unsigned int kKnownNeighbour = 0x2;

Registered FindRegistered() {
  const std::string name = registered_name("");
  const CLIENTREGPARAM record = ThisComputer(nullptr, name.c_str());
  char mac[kMacTextSize];
  net_mac_text(record.mac, mac);
  return {name, record.address, mac};
}

// The computers and devices that this one has talked to lately. A scanner whose answer is dropped
// is among them: to send it, it had to ask for our hardware address.
std::vector<in_addr> Neighbours() {
  std::vector<in_addr> found;
  std::ifstream table(kNeighbourTable);
  std::string line;
  std::getline(table, line);
  while (std::getline(table, line) && found.size() < kMostNeighbours) {
    std::istringstream fields(line);
    std::string address;
    std::string type;
    std::string flags;
    fields >> address >> type >> flags;
    const auto parsed = parse_address(address);
    if (parsed && (strtoul(flags.c_str(), nullptr, 16) & kKnownNeighbour) != 0) {
      found.push_back(*parsed);
    }
  }
  return found;
}

bool IsNamed(const Places& places, const std::string& name) {
  const auto& names = places.interfaces;
  return names.empty() || std::find(names.begin(), names.end(), name) != names.end();
}

void AddAll(const std::vector<in_addr>& more, std::vector<in_addr>* addresses) {
  for (const in_addr address : more) {
    if (!contains(*addresses, address)) addresses->push_back(address);
  }
}

// Whose answers were seen on an interface, but never came out of the port that they were sent to.
std::vector<in_addr> Dropped(const std::vector<SeenAnswer>& seen,
                             const std::vector<PlaceAsked>& asked) {
  std::vector<in_addr> dropped;
  for (const SeenAnswer& answer : seen) {
    for (const PlaceAsked& place : asked) {
      if (place.outcome.port != answer.port) continue;
      if (!contains(senders(place.outcome.answers), answer.from)) AddAll({answer.from}, &dropped);
    }
  }
  return dropped;
}

class CInvestigation {
 public:
  CInvestigation(const Places& places, const Network& network)
      : m_Places(places), m_Network(network) {}

  Facts Run() {
    m_Facts.given = m_Places.addresses;
    m_Facts.interfaces = list_interfaces();
    m_Facts.registered = FindRegistered();
    m_Facts.everybody = everybody();
    FindRoute();
    if (usable_interfaces(m_Facts.interfaces).empty()) return std::move(m_Facts);
    m_Facts.firewall = look_at_firewall();
    AskNetworks();
    AskSingleDevices();
    DescribeAll();
    return std::move(m_Facts);
  }

 private:
  void FindRoute() {
    m_Facts.broadcastRoute = route_to(m_Facts.everybody.destination);
    if (m_Facts.broadcastRoute.error != 0) return;
    const Interface* found = interface_with(m_Facts.interfaces, m_Facts.broadcastRoute.source);
    if (found != nullptr) m_Facts.broadcastInterface = found->name;
  }

  void AskNetworks() {
    std::vector<PlaceAsked> places{m_Facts.everybody};
    for (const Interface* item : usable_interfaces(m_Facts.interfaces)) {
      const bool is_other = item->name != m_Facts.broadcastInterface;
      if (is_other && IsNamed(m_Places, item->name)) add_interface(*item, &places);
    }
    const CSniffer sniffer;
    search_at(&places, kLongWait, m_Network);
    m_Facts.sawInterfaces = sniffer.IsOpen();
    m_Facts.dropped = Dropped(sniffer.Take(), places);
    m_Facts.everybody = places.front();
    m_Facts.others.assign(places.begin() + 1, places.end());
  }

  // Those who ought to answer, and those who may have tried to.
  void AskSingleDevices() {
    std::vector<in_addr> candidates = m_Facts.given;
    AddAll(m_Facts.dropped, &candidates);
    AddAll(Neighbours(), &candidates);
    const auto known = senders(answers_in_time(m_Facts.everybody.outcome));
    for (const in_addr address : candidates) {
      if (contains(known, address)) continue;
      PlaceAsked place;
      place.destination = address;
      place.direct = true;
      m_Facts.direct.push_back(place);
    }
    search_at(&m_Facts.direct, kLongWait, m_Network);
  }

  void DescribeAll() {
    std::vector<PlaceAsked> places{m_Facts.everybody};
    places.insert(places.end(), m_Facts.others.begin(), m_Facts.others.end());
    places.insert(places.end(), m_Facts.direct.begin(), m_Facts.direct.end());
    m_Facts.devices = describe(scanners_of(places), true, m_Network);
  }

  // The kernel begins to note when datagrams arrive a moment after a port is opened, so there is
  // one long before anybody is asked.
  const CUdpPort m_Early{nullptr};
  const Places& m_Places;
  const Network& m_Network;
  Facts m_Facts;
};

}  // namespace

Facts find_facts(const Places& places, const Network& network) {
  return CInvestigation(places, network).Run();
}

std::vector<const Interface*> usable_interfaces(const std::vector<Interface>& interfaces) {
  std::vector<const Interface*> usable;
  for (const Interface& item : interfaces) {
    if (!item.loopback && item.up && !item.addresses.empty()) usable.push_back(&item);
  }
  return usable;
}

std::vector<Datagram> answers_in_time(const Outcome& outcome) {
  std::vector<Datagram> answers;
  double last = 0;
  for (const Datagram& answer : outcome.answers) {
    if (answer.seconds - last > kGatheringSeconds) break;
    last = answer.seconds;
    answers.push_back(answer);
  }
  return answers;
}

std::vector<in_addr> senders(const std::vector<Datagram>& answers) {
  std::vector<in_addr> found;
  for (const Datagram& answer : answers) {
    if (!contains(found, answer.from.sin_addr)) found.push_back(answer.from.sin_addr);
  }
  return found;
}

bool contains(const std::vector<in_addr>& addresses, in_addr address) {
  return std::any_of(addresses.begin(), addresses.end(),
                     [address](in_addr other) { return same_address(other, address); });
}
