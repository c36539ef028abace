// The advice: from causes to words and commands.
#include "dvx-probe/findings.h"

#include <cerrno>
#include <cstring>

#include "dvx-probe/addresses.h"
#include "dvx-probe/list_output.h"
#include "dvx-probe/run_program.h"
#include "dvx-probe/unreadable.h"

namespace {

constexpr size_t kMostNamed = 8;

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

std::string RegisterCommand(const Addresses& addresses) {
  std::string command = "dvx-probe register";
  for (const in_addr address : addresses) command += " " + address_text(address);
  return command;
}

std::string RouteCommand(const std::string& interface) {
  return "sudo ip route replace 255.255.255.255/32 dev " + interface;
}

// The command with which this system gives an interface an address.
std::string AddressCommand(const std::string& name) {
  if (find_program("nmcli")) return "sudo nmcli device connect " + name;
  if (find_program("dhclient")) return "sudo dhclient " + name;
  if (find_program("networkctl")) return "sudo networkctl reconfigure " + name;
  return "sudo ip address add ADDRESS/24 broadcast + dev " + name;
}

// What to do about an interface that is not connected.
void AddInterface(const Interface& item, Finding* finding) {
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

const char* WhySilent(int error) {
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
             "a firewall is between.";
  }
}

// Words each kind of cause.
class CAdvice {
 public:
  explicit CAdvice(const Facts& facts) : m_Facts(facts) {}

  Finding operator()(const NoInterface& cause) const {
    Finding finding{"no-interface", "This computer is not connected to a network", {}, {}, {}};
    for (const Interface& item : cause.interfaces) AddInterface(item, &finding);
    if (!cause.interfaces.empty()) return finding;
    finding.text = {
        "The only network interface is the loopback, which leads nowhere. A network adapter is "
        "missing, or its driver is."};
    finding.commands = {"ip -brief link"};
    return finding;
  }

  Finding operator()(const NoRoute& cause) const {
    const std::string why =
        cause.error == 0 ? "it leads to the loopback interface" : strerror(cause.error);
    Finding finding{
        "no-route", "The search does not get out: there is no route for it", {}, {}, {}};
    finding.text.push_back(
        "The question to everybody goes to 255.255.255.255, and this computer has no way there (" +
        why + "). Usually the default route leads there, and the network gives it.");
    for (const FoundOn& found : cause.elsewhere) {
      finding.text.push_back("Asked in its own network, " + found.interface +
                             " brought answers of: " + Named(found.scanners) + ".");
    }
    finding.commands = {RouteCommand(cause.bestInterface)};
    return finding;
  }

  Finding operator()(const NotSent& cause) const {
    Finding finding{"not-sent", "The search cannot be sent", {}, {}, {}};
    finding.text.push_back(
        std::string("The system refuses to send the question to 255.255.255.255: ") +
        strerror(cause.error) + ".");
    if (cause.error != EPERM) return finding;
    finding.text.push_back("That is what a firewall does which forbids programs to broadcast.");
    finding.commands = {"sudo nft list ruleset"};
    return finding;
  }

  Finding operator()(const AnswersDropped& cause) const {
    Finding finding{"firewall", "The firewall of this computer drops the answers", {}, {}, {}};
    finding.text.push_back("Answers to the question to everybody came in from " +
                           Named(cause.scanners) +
                           ", but were dropped before the program could read them.");
    if (!cause.heardDirectly.empty()) {
      finding.text.push_back("Asked directly, " + Named(cause.heardDirectly) +
                             " can be heard: a firewall lets answers in from an address that was "
                             "asked, and takes answers to a broadcast for strangers.");
    }
    AddOpening(cause.scanners.front(), &finding);
    return finding;
  }

  Finding operator()(const AnswersProbablyDropped& cause) const {
    Finding finding{
        "firewall", "The firewall of this computer seems to drop the answers", {}, {}, {}};
    finding.text.push_back(
        "These answer when they are asked directly, but nothing was heard of them when everybody "
        "was asked: " +
        Named(cause.scanners) +
        ". A firewall lets answers in from an address that was asked, and takes answers to a "
        "broadcast for strangers.");
    AddOpening(cause.scanners.front(), &finding);
    if (finding.commands.front() == "sudo dvx-probe explain") return finding;
    finding.text.push_back("As root this command sees whether the answers come in.");
    return finding;
  }

  Finding operator()(const DeafToBroadcasts& cause) const {
    return {
        "deaf-to-broadcast",
        "Scanners do not answer when everybody is asked",
        {"These answer when they are asked directly, and no answer of theirs to the question to "
         "everybody came in: " +
         Named(cause.scanners) +
         ". A switch or an access point between keeps broadcasts away, or a setting of the "
         "scanner does."},
        {RegisterCommand(cause.scanners)},
        {}};
  }

  Finding operator()(const OtherInterface& cause) const {
    const std::string& interface = cause.found.interface;
    return {"other-interface",
            "Scanners on " + interface + " are not asked by the program",
            {"The program's search leaves by " + cause.leavesBy + " only. Asked on " + interface +
                 ", these answered: " + Named(cause.found.scanners) + ".",
             "This computer can be registered on them all the same. To make the program search "
             "there, and no longer on " +
                 cause.leavesBy + ", change the route of the broadcast."},
            {"dvx-probe register --all --interface " + interface, RouteCommand(interface)},
            {}};
  }

  Finding operator()(const OtherNetwork& cause) const {
    return {"other-network",
            "Scanners in another network are not found",
            {"These answer when they are asked directly, but are in none of this computer's own "
             "networks: " +
                 Named(cause.scanners) +
                 ". The search goes to everybody in the own network; routers do not pass it on.",
             "This computer can be registered on them all the same."},
            {RegisterCommand(cause.scanners)},
            {}};
  }

  Finding operator()(const WrongNetwork& cause) const {
    in_addr free = cause.scanners.front();
    free.s_addr = htonl((ntohl(free.s_addr) & 0xFFFFFF00U) | 250U);
    return {
        "wrong-network",
        "Scanners on this cable have addresses of another network",
        {"These heard the search, but do not belong to a network of this computer, so that it "
         "cannot talk to them: " +
             Named(cause.scanners) + ".",
         "Give the scanner an address of this computer's network (at its panel), or this "
         "computer one of the scanner's. The second address that the command adds has to be a "
         "free one."},
        {"sudo ip address add " + address_text(free) + "/24 broadcast + dev " + cause.interface},
        {}};
  }

  Finding operator()(const UnreadableAnswer& cause) const {
    const std::string address = address_text(cause.scanner);
    Finding finding{"unreadable", {}, {}, {}, hex_dump(cause.datagram, "      ")};
    finding.commands = {"dvx-probe list --address " + address + " --trace answer.pcap"};
    const std::string why = why_unreadable(cause.datagram) + ".";
    if (cause.text == nullptr) {
      finding.title = address + " answers the search with something unreadable";
      finding.text = {"The program passes over the answer: " + why};
      return finding;
    }
    finding.title = address + " answers with something unreadable when asked for its " + cause.text;
    finding.text = {"The program leaves the scanner out, as it cannot read the answer: " + why};
    if (strcmp(cause.text, "name") != 0) return finding;
    finding.text.push_back(
        "A system name of at most 86 characters can be read; it is set on the scanner's web page.");
    finding.commands = {WebPage(cause.scanner)};
    return finding;
  }

  Finding operator()(const IncompleteScanner& cause) const {
    const std::string address = address_text(cause.scanner.address);
    Finding finding;
    finding.id = cause.silent ? "silent-scanner" : "silent-object";
    finding.title = cause.silent ? address + " answers the search and then nothing more"
                                 : address + " does not tell all of model, vendor and name";
    finding.text.push_back(
        "The program lists a scanner only when it tells its model, its vendor and its name.");
    for (const auto& [reply, what] : texts_of(cause.scanner)) {
      finding.text.push_back(std::string("Asked for its ") + what + ", it " + reply_text(*reply) +
                             ".");
    }
    if (!cause.silent) {
      finding.text.push_back(
          "Switch the scanner off and on, and see on its web page that it has a name and that SNMP "
          "is allowed to read everything.");
      finding.commands.push_back(WebPage(cause.scanner.address));
    }
    finding.commands.push_back("dvx-probe list --address " + address);
    return finding;
  }

  Finding operator()(const SilentAddress& cause) const {
    const std::string address = address_text(cause.address);
    return {"silent-address",
            address + " does not answer",
            {WhySilent(cause.error)},
            {"ping -c 3 " + address},
            {}};
  }

  Finding operator()(const LateAnswers& cause) const {
    return {"late",
            "Scanners answer too late",
            {"The program waits for one second after the last answer. These took longer: " +
             Named(cause.scanners) +
             ". A scanner that wakes up is quicker the next time: press Search once more."},
            {"dvx-probe register --all --wait 3"},
            {}};
  }

  Finding operator()(const TooMany& cause) const {
    return {"too-many",
            "There are more scanners than the program takes",
            {std::to_string(cause.count) +
             " devices answered. The program asks the first 256 of them."},
            {"dvx-probe register --all --each-interface"},
            {}};
  }

  Finding operator()(const ListedTwice& cause) const {
    return {"twice",
            "Scanners are listed more than once",
            {"These answered the search more than once, and the program lists each answer: " +
             Named(cause.scanners) +
             ". That does no harm. It is so when a scanner or this computer is connected by cable "
             "and by radio at once."},
            {"ip -brief address"},
            {}};
  }

  Finding operator()(const WrongAddress& cause) const {
    Finding finding{
        "wrong-address",
        "Scanners would be told a wrong address of this computer",
        {"This computer registers with the address of its first interface, " +
         address_text(cause.told) + ". The scanner " + address_text(cause.scanner) +
         " knows it as " + address_text(cause.known) + ", so that scans may not arrive."},
        {},
        {}};
    AddRemoval(cause.told, &finding);
    return finding;
  }

  Finding operator()(const NoScanners& cause) const {
    Finding finding{"no-scanners", "No scanner is there", {}, {}, {}};
    finding.text.push_back("The question to everybody left by " + cause.interface +
                           ", and no scanner answered it. They are switched off or asleep, or in "
                           "another network than " +
                           OwnNetworks(cause.interface) + ".");
    if (!m_Facts.sawInterfaces) {
      finding.text.push_back(
          "Whether a firewall drops the answers can be seen by root only: sudo dvx-probe explain.");
    }
    finding.text.push_back(
        "Wake a scanner at its panel, look up its address there, and ask it directly.");
    finding.commands = {"dvx-probe explain --address ADDRESS-OF-THE-SCANNER"};
    return finding;
  }

 private:
  // How the firewall lets the answers of that scanner's network in.
  void AddOpening(in_addr scanner, Finding* finding) const {
    const Firewall& firewall = m_Facts.firewall;
    if (!firewall.where.empty()) finding->text.push_back("The firewall: " + firewall.where + ".");
    finding->commands = opening_commands(firewall, NetworkOf(scanner));
    if (!finding->commands.empty()) return;
    finding->text.push_back(firewall.readable
                                ? "No rule for incoming packets that drops any was found."
                                : "Only root may read the rules of the firewall.");
    finding->commands.push_back(firewall.readable ? "sudo nft list ruleset"
                                                  : "sudo dvx-probe explain");
  }

  // The network of the interface that the answers came in by, or would have.
  std::string NetworkOf(in_addr address) const {
    const Interface* item = interface_to(m_Facts, address);
    if (item == nullptr) return address_text(address) + "/32";
    const InterfaceAddress* own = address_in_network_of(*item, address);
    return network_text(own->address, own->netmask);
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

  std::string OwnNetworks(const std::string& interface) const {
    const Interface* item = interface_named(m_Facts, interface);
    if (item == nullptr) return "this computer's";
    std::string text;
    for (const InterfaceAddress& own : item->addresses) {
      text += (text.empty() ? "" : ", ") + network_text(own.address, own.netmask);
    }
    return text;
  }

  const Facts& m_Facts;
};

}  // namespace

Finding finding_of(const Cause& cause, const Facts& facts) {
  return std::visit(CAdvice(facts), cause);
}

std::vector<Finding> findings_of(const Facts& facts) {
  std::vector<Finding> findings;
  for (const Cause& cause : causes_of(facts)) findings.push_back(finding_of(cause, facts));
  return findings;
}
