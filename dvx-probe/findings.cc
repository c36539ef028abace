// What keeps scanners from showing up, and what to do about it.
#include "dvx-probe/findings.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <functional>

#include "dvx-probe/addresses.h"
#include "dvx-probe/list_output.h"
#include "dvx-probe/run_program.h"
#include "dvx-probe/snmp_questions.h"
#include "dvx-probe/texts.h"
#include "dvx-probe/unreadable.h"
#include "ui/survey/interview.h"

namespace {

constexpr size_t kMostNamed = 8;
constexpr int kNoSuchName = 2;

using Addresses = std::vector<in_addr>;

std::string Named(const Addresses& addresses) {
  std::string text;
  for (size_t i = 0; i < addresses.size() && i < kMostNamed; ++i) {
    text += (i > 0 ? ", " : "") + address_text(addresses[i]);
  }
  if (addresses.size() > kMostNamed) {
    text += " and " + std::to_string(addresses.size() - kMostNamed) + " more";
  }
  return text;
}

std::string WebPage(in_addr address) { return "xdg-open http://" + address_text(address); }

// The command with which this system gives an interface an address.
std::string AddressCommand(const std::string& name) {
  if (find_program("nmcli")) return "sudo nmcli device connect " + name;
  if (find_program("dhclient")) return "sudo dhclient " + name;
  if (find_program("networkctl")) return "sudo networkctl reconfigure " + name;
  return "sudo ip address add ADDRESS/24 broadcast + dev " + name;
}

bool IsReadable(const Datagram& answer) { return read_answer(answer.data).has_value(); }

// SNMP agents of other makers answer questions for the maker's objects with "no such name".
bool IsOfAnotherMaker(const Device& device) {
  const auto has_none = [](const Reply& reply) {
    return reply.kind == ReplyKind::kError && reply.errorStatus == kNoSuchName;
  };
  return has_none(device.model) && has_none(device.vendor);
}

bool IsAllSilent(const Device& device) {
  const auto is_silent = [](const Reply& reply) {
    return reply.kind == ReplyKind::kSilent || reply.kind == ReplyKind::kNotSent;
  };
  return is_silent(device.model) && is_silent(device.vendor) && is_silent(device.name);
}

const Device* DeviceAt(const Facts& facts, in_addr address) {
  for (const Device& device : facts.devices) {
    if (same_address(device.address, address)) return &device;
  }
  return nullptr;
}

const Interface* InterfaceNamed(const Facts& facts, const std::string& name) {
  for (const Interface& item : facts.interfaces) {
    if (item.name == name) return &item;
  }
  return nullptr;
}

// The interface in whose network an address is, or null.
const Interface* InterfaceTo(const Facts& facts, in_addr address) {
  for (const Interface* item : usable_interfaces(facts.interfaces)) {
    if (address_in_network_of(*item, address) != nullptr) return item;
  }
  return nullptr;
}

bool IsInNetworkOf(const Facts& facts, const std::string& interface, in_addr address) {
  const Interface* item = InterfaceNamed(facts, interface);
  return item != nullptr && address_in_network_of(*item, address) != nullptr;
}

Addresses FoundByProgram(const Facts& facts) {
  return senders(answers_in_time(facts.everybody.outcome));
}

// Devices that answered when asked directly, and not when everybody was.
Addresses AnsweredDirectlyOnly(const Facts& facts) {
  Addresses found;
  const Addresses late = senders(facts.everybody.outcome.answers);
  for (const PlaceAsked& place : facts.direct) {
    const Device* device = DeviceAt(facts, place.destination);
    const bool is_scanner = device != nullptr && !IsOfAnotherMaker(*device);
    if (is_scanner && !place.outcome.answers.empty() && !contains(late, place.destination)) {
      found.push_back(place.destination);
    }
  }
  return found;
}

// Scanners that answered on another interface, with its name.
std::vector<std::pair<std::string, Addresses>> FoundElsewhere(const Facts& facts) {
  std::vector<std::pair<std::string, Addresses>> found;
  const Addresses known = FoundByProgram(facts);
  for (const PlaceAsked& place : facts.others) {
    Addresses addresses;
    for (const in_addr address : senders(place.outcome.answers)) {
      const Device* device = DeviceAt(facts, address);
      const bool is_scanner = device != nullptr && !IsOfAnotherMaker(*device);
      if (is_scanner && !contains(known, address)) addresses.push_back(address);
    }
    if (!addresses.empty()) found.emplace_back(place.interface, addresses);
  }
  return found;
}

class CDiagnosis {
 public:
  explicit CDiagnosis(const Facts& facts) : m_Facts(facts) {}

  std::vector<Finding> Run() {
    if (usable_interfaces(m_Facts.interfaces).empty()) {
      NoInterface();
      return m_Findings;
    }
    NoRoute();
    NotSent();
    DroppedAnswers();
    OtherInterfaces();
    OnlyDirectly();
    WrongNetwork();
    Unreadable();
    IncompleteScanners();
    SilentAddresses();
    LateAnswers();
    TooMany();
    Twice();
    WrongAddress();
    if (m_Findings.empty() && listed_by_program(m_Facts).empty()) NoScanners();
    return m_Findings;
  }

 private:
  Finding& Add(const std::string& id, const std::string& title) {
    Finding& finding = m_Findings.emplace_back();
    finding.id = id;
    finding.title = title;
    return finding;
  }

  void NoInterface() {
    Finding& finding = Add("no-interface", "This computer is not connected to a network");
    bool any = false;
    for (const Interface& item : m_Facts.interfaces) {
      if (item.loopback) continue;
      any = true;
      ExplainInterface(item, &finding);
    }
    if (any) return;
    finding.text.push_back(
        "The only network interface is the loopback, which leads nowhere. A network adapter is "
        "missing, or its driver is.");
    finding.commands.push_back("ip -brief link");
  }

  static void ExplainInterface(const Interface& item, Finding* finding) {
    if (!item.up) {
      finding->text.push_back("The interface " + item.name + " is switched off.");
      finding->commands.push_back("sudo ip link set " + item.name + " up");
    } else if (!item.carrier) {
      finding->text.push_back("The interface " + item.name +
                              " is on, but has no IPv4 address and no link: its cable is not in, "
                              "or its radio is not connected.");
    }
    if (!item.addresses.empty()) return;
    if (item.up && item.carrier) {
      finding->text.push_back("The interface " + item.name + " has no IPv4 address.");
    }
    finding->commands.push_back(AddressCommand(item.name));
  }

  // The interface by which scanners can be reached: where some answered, else the first.
  std::string BestInterface() const {
    const auto elsewhere = FoundElsewhere(m_Facts);
    if (!elsewhere.empty()) return elsewhere.front().first;
    return usable_interfaces(m_Facts.interfaces).front()->name;
  }

  void NoRoute() {
    const Interface* leaves_by = InterfaceNamed(m_Facts, m_Facts.broadcastInterface);
    const bool by_loopback = leaves_by != nullptr && leaves_by->loopback;
    if (m_Facts.broadcastRoute.error == 0 && !by_loopback) return;
    Finding& finding = Add("no-route", "The search does not get out: there is no route for it");
    const std::string why =
        by_loopback ? "it leads to the loopback interface" : strerror(m_Facts.broadcastRoute.error);
    finding.text.push_back(
        "The question to everybody goes to 255.255.255.255, and this computer has no way there (" +
        why + "). Usually the default route leads there, and the network gives it.");
    const auto elsewhere = FoundElsewhere(m_Facts);
    for (const auto& [interface, addresses] : elsewhere) {
      finding.text.push_back("Asked in its own network, " + interface +
                             " brought answers of: " + Named(addresses) + ".");
    }
    finding.commands.push_back("sudo ip route replace 255.255.255.255/32 dev " + BestInterface());
    m_bRouteMissing = true;
  }

  void NotSent() {
    const int error = m_Facts.everybody.outcome.sendError;
    if (error == 0 || m_bRouteMissing) return;
    Finding& finding = Add("not-sent", "The search cannot be sent");
    finding.text.push_back(std::string("The system refuses to send the question to "
                                       "255.255.255.255: ") +
                           strerror(error) + ".");
    if (error != EPERM) return;
    finding.text.push_back("That is what a firewall does which forbids programs to broadcast.");
    finding.commands.push_back("sudo nft list ruleset");
  }

  // The network of the interface that the answers came in by, or would have.
  std::string NetworkOf(in_addr address) const {
    const Interface* item = InterfaceTo(m_Facts, address);
    if (item == nullptr) return address_text(address) + "/32";
    const InterfaceAddress* own = address_in_network_of(*item, address);
    return network_text(own->address, own->netmask);
  }

  void DroppedAnswers() {
    Addresses dropped;
    for (const in_addr address : m_Facts.dropped) {
      if (InterfaceTo(m_Facts, address) != nullptr) dropped.push_back(address);
    }
    if (dropped.empty()) return;
    Finding& finding = Add("firewall", "The firewall of this computer drops the answers");
    finding.text.push_back("Answers to the question to everybody came in from " + Named(dropped) +
                           ", but were dropped before the program could read them.");
    Addresses direct;
    for (const PlaceAsked& place : m_Facts.direct) {
      const bool answered = !place.outcome.answers.empty();
      if (answered && contains(dropped, place.destination)) direct.push_back(place.destination);
    }
    if (!direct.empty()) {
      finding.text.push_back("Asked directly, " + Named(direct) +
                             " can be heard: a firewall lets answers in from an address that was "
                             "asked, and takes answers to a broadcast for strangers.");
    }
    AddOpening(dropped.front(), &finding);
  }

  void AddOpening(in_addr scanner, Finding* finding) const {
    const Firewall& firewall = m_Facts.firewall;
    if (!firewall.where.empty()) finding->text.push_back("The firewall: " + firewall.where + ".");
    finding->commands = opening_commands(firewall, NetworkOf(scanner));
    if (!finding->commands.empty()) return;
    if (firewall.readable) {
      finding->text.push_back("No rule for incoming packets that drops any was found.");
    } else {
      finding->text.push_back("Only root may read the rules of the firewall.");
    }
    finding->commands.push_back(firewall.readable ? "sudo nft list ruleset"
                                                  : "sudo dvx-probe explain");
  }

  void OtherInterfaces() {
    if (m_bRouteMissing) return;
    for (const auto& [interface, addresses] : FoundElsewhere(m_Facts)) {
      Finding& finding =
          Add("other-interface", "Scanners on " + interface + " are not asked by the program");
      finding.text.push_back("The program's search leaves by " + m_Facts.broadcastInterface +
                             " only. Asked on " + interface +
                             ", these answered: " + Named(addresses) + ".");
      finding.text.push_back(
          "This computer can be registered on them all the same. To make the program search there, "
          "and no longer on " +
          m_Facts.broadcastInterface + ", change the route of the broadcast.");
      finding.commands.push_back("dvx-probe register --all --interface " + interface);
      finding.commands.push_back("sudo ip route replace 255.255.255.255/32 dev " + interface);
    }
  }

  void OnlyDirectly() {
    Addresses near;
    Addresses far;
    for (const in_addr address : AnsweredDirectlyOnly(m_Facts)) {
      if (contains(m_Facts.dropped, address) || IsFoundElsewhere(address)) continue;
      if (InterfaceTo(m_Facts, address) == nullptr) {
        far.push_back(address);
      } else if (IsInNetworkOf(m_Facts, m_Facts.broadcastInterface, address)) {
        near.push_back(address);
      }
    }
    if (!far.empty()) OtherNetwork(far);
    if (near.empty() || m_bRouteMissing) return;
    if (m_Facts.sawInterfaces) {
      DeafToBroadcasts(near);
    } else {
      ProbablyFirewall(near);
    }
  }

  bool IsFoundElsewhere(in_addr address) const {
    const auto elsewhere = FoundElsewhere(m_Facts);
    return std::any_of(elsewhere.begin(), elsewhere.end(),
                       [address](const auto& item) { return contains(item.second, address); });
  }

  void OtherNetwork(const Addresses& addresses) {
    Finding& finding = Add("other-network", "Scanners in another network are not found");
    finding.text.push_back(
        "These answer when they are asked directly, but are in none of this "
        "computer's own networks: " +
        Named(addresses) +
        ". The search goes to everybody in the own network; routers do not pass "
        "it on.");
    finding.text.push_back("This computer can be registered on them all the same.");
    std::string command = "dvx-probe register";
    for (const in_addr address : addresses) command += " " + address_text(address);
    finding.commands.push_back(command);
  }

  void DeafToBroadcasts(const Addresses& addresses) {
    Finding& finding = Add("deaf-to-broadcast", "Scanners do not answer when everybody is asked");
    finding.text.push_back(
        "These answer when they are asked directly, and no answer of theirs to the question to "
        "everybody came in: " +
        Named(addresses) +
        ". A switch or an access point between keeps broadcasts away, or a setting of the scanner "
        "does.");
    std::string command = "dvx-probe register";
    for (const in_addr address : addresses) command += " " + address_text(address);
    finding.commands.push_back(command);
  }

  void ProbablyFirewall(const Addresses& addresses) {
    Finding& finding = Add("firewall", "The firewall of this computer seems to drop the answers");
    finding.text.push_back(
        "These answer when they are asked directly, but nothing was heard of them when everybody "
        "was asked: " +
        Named(addresses) +
        ". A firewall lets answers in from an address that was asked, and takes answers to a "
        "broadcast for strangers.");
    AddOpening(addresses.front(), &finding);
    if (finding.commands.front() == "sudo dvx-probe explain") return;
    finding.text.push_back("As root this command sees whether the answers come in.");
  }

  void WrongNetwork() {
    Addresses addresses;
    for (const in_addr address : m_Facts.dropped) {
      if (InterfaceTo(m_Facts, address) == nullptr) addresses.push_back(address);
    }
    for (const in_addr address : senders(m_Facts.everybody.outcome.answers)) {
      const Device* device = DeviceAt(m_Facts, address);
      const bool unreachable = device != nullptr && IsAllSilent(*device);
      if (!unreachable || InterfaceTo(m_Facts, address) != nullptr) continue;
      if (!contains(addresses, address)) addresses.push_back(address);
    }
    if (addresses.empty()) return;
    Finding& finding =
        Add("wrong-network", "Scanners on this cable have addresses of another network");
    finding.text.push_back(
        "These heard the search, but do not belong to a network of this "
        "computer, so that it cannot talk to them: " +
        Named(addresses) + ".");
    finding.text.push_back(
        "Give the scanner an address of this computer's network (at its panel), or this computer "
        "one of the scanner's. The second address that the command adds has to be a free one.");
    const std::string interface =
        m_Facts.broadcastInterface.empty() ? BestInterface() : m_Facts.broadcastInterface;
    in_addr free = addresses.front();
    free.s_addr = htonl((ntohl(free.s_addr) & 0xFFFFFF00U) | 250U);
    finding.commands.push_back("sudo ip address add " + address_text(free) +
                               "/24 broadcast + dev " + interface);
    m_WrongNetwork = addresses;
  }

  void Unreadable() {
    for (const Datagram& answer : UnreadableAnswers()) {
      const std::string address = address_text(answer.from.sin_addr);
      Finding& finding =
          Add("unreadable", address + " answers the search with something unreadable");
      AddDump("The program passes over the answer: ", answer.data, &finding);
      finding.commands.push_back("dvx-probe list --address " + address + " --trace answer.pcap");
    }
    for (const Device& device : m_Facts.devices) {
      const std::pair<const Reply*, const char*> replies[] = {
          {&device.model, "model"}, {&device.vendor, "vendor"}, {&device.name, "name"}};
      for (const auto& [reply, what] : replies) {
        if (reply->kind == ReplyKind::kUnreadable) UnreadableReply(device, *reply, what);
      }
    }
  }

  // One for each sender that said nothing readable.
  std::vector<Datagram> UnreadableAnswers() const {
    std::vector<const PlaceAsked*> places{&m_Facts.everybody};
    for (const PlaceAsked& place : m_Facts.others) places.push_back(&place);
    for (const PlaceAsked& place : m_Facts.direct) places.push_back(&place);
    std::vector<Datagram> found;
    Addresses seen;
    for (const PlaceAsked* place : places) {
      for (const Datagram& answer : place->outcome.answers) {
        const in_addr sender = answer.from.sin_addr;
        if (IsReadable(answer) || DeviceAt(m_Facts, sender) != nullptr) continue;
        if (contains(seen, sender)) continue;
        seen.push_back(sender);
        found.push_back(answer);
      }
    }
    return found;
  }

  static void AddDump(const std::string& begin, const Bytes& datagram, Finding* finding) {
    finding->text.push_back(begin + why_unreadable(datagram) + ".");
    finding->dump = hex_dump(datagram, "      ");
  }

  void UnreadableReply(const Device& device, const Reply& reply, const char* what) {
    const std::string address = address_text(device.address);
    Finding& finding = Add(
        "unreadable", address + " answers with something unreadable when asked for its " + what);
    AddDump("The program leaves the scanner out, as it cannot read the answer: ", reply.datagram,
            &finding);
    if (std::string(what) == "name") {
      finding.text.push_back(
          "A system name of at most 86 characters can be read; it is set on the "
          "scanner's web page.");
      finding.commands.push_back(WebPage(device.address));
    } else {
      finding.commands.push_back("dvx-probe list --address " + address + " --trace answer.pcap");
    }
  }

  void IncompleteScanners() {
    for (const Device& device : m_Facts.devices) {
      if (device.IsListed() || IsOfAnotherMaker(device)) continue;
      if (contains(m_WrongNetwork, device.address)) continue;
      const std::pair<const Reply*, const char*> replies[] = {
          {&device.model, "model"}, {&device.vendor, "vendor"}, {&device.name, "name"}};
      std::vector<std::string> answers;
      bool missing = false;
      for (const auto& [reply, what] : replies) {
        const bool is_readable = reply->kind != ReplyKind::kUnreadable;
        if (reply->kind != ReplyKind::kText && is_readable) missing = true;
        answers.push_back(std::string("Asked for its ") + what + ", it " + reply_text(*reply) +
                          ".");
      }
      if (missing) Incomplete(device, answers);
    }
  }

  void Incomplete(const Device& device, const std::vector<std::string>& answers) {
    const std::string address = address_text(device.address);
    const bool silent = IsAllSilent(device);
    Finding& finding = Add(silent ? "silent-scanner" : "silent-object",
                           silent ? address + " answers the search and then nothing more"
                                  : address + " does not tell all of model, vendor and name");
    finding.text.push_back(
        "The program lists a scanner only when it tells its model, its vendor "
        "and its name.");
    finding.text.insert(finding.text.end(), answers.begin(), answers.end());
    if (!silent) {
      finding.text.push_back(
          "Switch the scanner off and on, and see on its web page that it has a "
          "name and that SNMP is allowed to read everything.");
      finding.commands.push_back(WebPage(device.address));
    }
    finding.commands.push_back("dvx-probe list --address " + address);
  }

  void SilentAddresses() {
    for (const PlaceAsked& place : m_Facts.direct) {
      if (!contains(m_Facts.given, place.destination) || !place.outcome.answers.empty()) continue;
      if (contains(senders(m_Facts.everybody.outcome.answers), place.destination)) continue;
      const std::string address = address_text(place.destination);
      Finding& finding = Add("silent-address", address + " does not answer");
      finding.text.push_back(WhySilent(place.outcome));
      finding.commands.push_back("ping -c 3 " + address);
    }
  }

  static std::string WhySilent(const Outcome& outcome) {
    const int error = outcome.sendError != 0 ? outcome.sendError : outcome.networkError;
    switch (error) {
      case ECONNREFUSED:
        return "There is a device, but it does not take SNMP questions: it is no scanner, or SNMP "
               "is switched off on it.";
      case EHOSTUNREACH:
        return "No device has this address now: the scanner is switched off, or has another one.";
      case ENETUNREACH:
        return "This computer has no route to that network.";
      default:
        return "Nothing came back: the scanner is switched off or asleep, has another address, or "
               "a "
               "firewall is between.";
    }
  }

  void LateAnswers() {
    const Addresses known = FoundByProgram(m_Facts);
    Addresses late;
    for (const in_addr address : senders(m_Facts.everybody.outcome.answers)) {
      if (!contains(known, address)) late.push_back(address);
    }
    if (late.empty()) return;
    Finding& finding = Add("late", "Scanners answer too late");
    finding.text.push_back(
        "The program waits for one second after the last answer. These took "
        "longer: " +
        Named(late) +
        ". A scanner that wakes up is quicker the next time: press "
        "Search once more.");
    finding.commands.push_back("dvx-probe register --all --wait 3");
  }

  void TooMany() {
    const size_t count = FoundByProgram(m_Facts).size();
    if (count <= kMaxAnswers) return;
    Finding& finding = Add("too-many", "There are more scanners than the program takes");
    finding.text.push_back(std::to_string(count) +
                           " devices answered. The program asks the first 256 of them.");
    finding.commands.push_back("dvx-probe register --all --each-interface");
  }

  void Twice() {
    Addresses once;
    Addresses twice;
    for (const Datagram& answer : answers_in_time(m_Facts.everybody.outcome)) {
      const in_addr sender = answer.from.sin_addr;
      Addresses& list = contains(once, sender) ? twice : once;
      if (!contains(list, sender) && IsReadable(answer)) list.push_back(sender);
    }
    if (twice.empty()) return;
    Finding& finding = Add("twice", "Scanners are listed more than once");
    finding.text.push_back(
        "These answered the search more than once, and the program lists each "
        "answer: " +
        Named(twice) +
        ". That does no harm. It is so when a scanner or this computer is "
        "connected by cable and by radio at once.");
    finding.commands.push_back("ip -brief address");
  }

  void WrongAddress() {
    const Registered& own = m_Facts.registered;
    for (const Device& device : listed_by_program(m_Facts)) {
      const Route route = route_to(device.address);
      if (route.error != 0 || same_address(route.source, own.address)) continue;
      Finding& finding =
          Add("wrong-address", "Scanners would be told a wrong address of this computer");
      finding.text.push_back("This computer registers with the address of its first interface, " +
                             address_text(own.address) + ". The scanner " +
                             address_text(device.address) + " knows it as " +
                             address_text(route.source) + ", so that scans may not arrive.");
      AddRemoval(own.address, &finding);
      return;
    }
  }

  void AddRemoval(in_addr address, Finding* finding) const {
    const Interface* item = interface_with(m_Facts.interfaces, address);
    if (item == nullptr) return;
    for (const InterfaceAddress& own : item->addresses) {
      if (!same_address(own.address, address)) continue;
      finding->text.push_back("The command takes the address off " + item->name +
                              "; do it only if that is not needed.");
      finding->commands.push_back("sudo ip address del " + address_text(address) + "/" +
                                  std::to_string(__builtin_popcount(own.netmask.s_addr)) + " dev " +
                                  item->name);
    }
  }

  void NoScanners() {
    Finding& finding = Add("no-scanners", "No scanner is there");
    const std::string interface = m_Facts.broadcastInterface;
    finding.text.push_back("The question to everybody left by " + interface +
                           ", and no scanner answered it. They are "
                           "switched off or asleep, or in another network than " +
                           OwnNetworks(interface) + ".");
    if (!m_Facts.sawInterfaces) {
      finding.text.push_back(
          "Whether a firewall drops the answers can be seen by root only: sudo "
          "dvx-probe explain.");
    }
    finding.text.push_back(
        "Wake a scanner at its panel, look up its address there, and ask it "
        "directly.");
    finding.commands.push_back("dvx-probe explain --address ADDRESS-OF-THE-SCANNER");
  }

  std::string OwnNetworks(const std::string& interface) const {
    std::string text;
    const Interface* item = InterfaceNamed(m_Facts, interface);
    if (item == nullptr) return "this computer's";
    for (const InterfaceAddress& own : item->addresses) {
      text += (text.empty() ? "" : ", ") + network_text(own.address, own.netmask);
    }
    return text;
  }

  const Facts& m_Facts;
  std::vector<Finding> m_Findings;
  bool m_bRouteMissing = false;
  Addresses m_WrongNetwork;
};

}  // namespace

std::vector<Finding> findings_of(const Facts& facts) { return CDiagnosis(facts).Run(); }

std::vector<Device> listed_by_program(const Facts& facts) {
  std::vector<Device> listed;
  for (const in_addr address : FoundByProgram(facts)) {
    const Device* device = DeviceAt(facts, address);
    if (device != nullptr && device->IsListed()) listed.push_back(*device);
  }
  return listed;
}
