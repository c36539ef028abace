// Tests of dvx-probe's whole outputs: what stands on the screen for these facts and options is
// compared, to the last character, with the files in outputs/ and the samples of the
// manual.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <cerrno>
#include <fstream>
#include <functional>
#include <sstream>

#include "dvx-probe/explanation.h"
#include "dvx-probe/list_output.h"
#include "dvx-probe/options.h"
#include "dvx-probe/registration.h"
#include "snmp/udp/udp_socket.h"
#include "tests/support/private_file.h"

namespace {

std::string Contents(const std::string& path) {
  std::ifstream file(std::string(VELTRANA_SOURCE_DIR) + "/" + path);
  EXPECT_TRUE(file) << path;
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

void ExpectOutput(const std::string& name, const std::string& output) {
  EXPECT_EQ(output, Contents("tests/dvx-probe/outputs/" + name + ".txt")) << name;
}

// The indented sample of the manual that begins with this line, without its indent.
std::string Sample(const std::string& first) {
  std::istringstream lines(Contents("docs/dvx-probe.md"));
  std::string sample;
  for (std::string line; std::getline(lines, line);) {
    const bool indented = line.rfind("    ", 0) == 0;
    if (sample.empty() && line != "    " + first) continue;
    if (!indented) break;
    sample += line.substr(4) + "\n";
  }
  return sample;
}

in_addr Address(const std::string& text) { return {inet_addr(text.c_str())}; }

Reply Text(const std::string& text) {
  Reply reply;
  reply.kind = ReplyKind::kText;
  reply.text = text;
  return reply;
}

Reply Of(ReplyKind kind, int number = 0) {
  Reply reply;
  reply.kind = kind;
  reply.errorStatus = reply.networkError = number;
  return reply;
}

Device Scanner(const std::string& address, const std::string& model, const std::string& name) {
  Device device;
  device.address = Address(address);
  device.model = Text(model);
  device.vendor = Text("Veltrana");
  device.name = Text(name);
  device.hardwareAddress = Text(std::string("\x02\x56\x53\x00\x00\x65", 6));
  return device;
}

// The answer to the search; nothing in it but the form matters here.
const Bytes kAnswer{0x30, 0x31, 0x02, 0x01, 0x00, 0x04, 0x06, 'p',  'u',  'b',  'l',  'i',  'c',
                    0xA2, 0x24, 0x02, 0x04, 0x6B, 0x8B, 0x45, 0x67, 0x02, 0x01, 0x00, 0x02, 0x01,
                    0x00, 0x30, 0x16, 0x30, 0x14, 0x06, 0x0F, 0x2B, 0x06, 0x01, 0x04, 0x01, 0x85,
                    0x5B, 0x83, 0x15, 0x01, 0x01, 0x01, 0x03, 0x01, 0x00, 0x02, 0x01, 0x01};
const Bytes kWebServer{'H', 'T', 'T', 'P',  '/',  '1',  '.',  '1', ' ',
                       '4', '0', '0', '\r', '\n', '\r', '\n', 'N', 'o'};

Datagram AnswerOf(const std::string& address, double seconds = 0.1, const Bytes& data = kAnswer) {
  Datagram answer{};
  answer.from = net_socket_address(Address(address), 161);
  answer.data = data;
  answer.seconds = seconds;
  return answer;
}

Interface Card(const std::string& name, const std::string& address, const std::string& netmask,
               const std::string& broadcast) {
  Interface card;
  card.name = name;
  card.up = card.carrier = true;
  card.hardwareAddress = "02:56:44:56:58:10";
  if (!address.empty()) {
    card.addresses = {{Address(address), Address(netmask), Address(broadcast)}};
  }
  return card;
}

PlaceAsked Direct(const std::string& address) {
  PlaceAsked place;
  place.destination = Address(address);
  place.direct = true;
  return place;
}

Facts OnNetwork(const std::string& address, const std::string& netmask,
                const std::string& broadcast) {
  Facts facts;
  Interface loopback = Card("lo", "127.0.0.1", "255.0.0.0", "0.0.0.0");
  loopback.loopback = true;
  loopback.hardwareAddress.clear();
  facts.interfaces = {loopback, Card("eth0", address, netmask, broadcast)};
  facts.broadcastInterface = "eth0";
  facts.broadcastRoute.source = Address(address);
  facts.everybody = everybody();
  facts.registered = {"lab-desk", Address(address), "02:56:44:56:58:10"};
  facts.sawInterfaces = true;
  facts.firewall.readable = true;
  return facts;
}

// An office with scanners from 10.77.0.101 on.
Facts Office() { return OnNetwork("10.77.0.10", "255.255.0.0", "10.77.255.255"); }

// The same in the network of the loopback, to which there is a route everywhere: the one that is
// asked for how listed scanners know this computer.
Facts Home() { return OnNetwork("127.0.0.1", "255.255.255.0", "127.0.0.255"); }

void AddScanner(const std::string& address, const std::string& name, Facts* facts) {
  facts->everybody.outcome.answers.push_back(AnswerOf(address));
  facts->devices.push_back(Scanner(address, "T55_E", name));
}

void AddDirect(const std::string& address, Facts* facts) {
  facts->direct.push_back(Direct(address));
  facts->direct.back().outcome.answers = {AnswerOf(address)};
  facts->devices.push_back(Scanner(address, "T55_E", "Direct"));
}

void AddElsewhere(Facts* facts) {
  facts->interfaces.push_back(Card("eth1", "10.88.0.10", "255.255.255.0", "10.88.0.255"));
  PlaceAsked place;
  place.destination = Address("10.88.0.255");
  place.interface = "eth1";
  place.outcome.answers = {AnswerOf("10.88.0.70"), AnswerOf("10.88.0.71")};
  facts->others = {place};
  facts->devices.push_back(Scanner("10.88.0.70", "T55_E", "Back"));
  facts->devices.push_back(Scanner("10.88.0.71", "T35", "Yard"));
}

Facts AllWell() {
  Facts facts = Home();
  AddScanner("127.0.0.101", "Reception", &facts);
  AddScanner("127.0.0.102",
             "\xC3\x9C"
             "ber\x1B[2J",
             &facts);
  return facts;
}

Facts SilentAddress(int send_error, int network_error) {
  Facts facts = AllWell();
  facts.given = {Address("127.0.0.77")};
  facts.direct = {Direct("127.0.0.77")};
  facts.direct[0].outcome.sendError = send_error;
  facts.direct[0].outcome.networkError = network_error;
  return facts;
}

// Two answers that came in by the interface and were dropped, and the first line of the manual's
// sample.
Facts Dropped() {
  Facts facts = Office();
  facts.dropped = {Address("10.77.0.101"), Address("10.77.0.102")};
  AddDirect("10.77.0.101", &facts);
  AddDirect("10.77.0.102", &facts);
  facts.firewall = {FirewallKind::kNftables, true, "table inet filter, chain input", "inet filter",
                    "input"};
  return facts;
}

struct Case {
  const char* name;
  std::function<Facts()> facts;
};

const std::vector<Case> kCases = {
    {"all-well", AllWell},
    {"no-interface-but-loopback",
     [] {
       Facts facts;
       facts.interfaces = {Office().interfaces[0]};
       return facts;
     }},
    {"no-interface-off",
     [] {
       Facts facts = Office();
       facts.interfaces[1].up = facts.interfaces[1].carrier = false;
       return facts;
     }},
    {"no-interface-link",
     [] {
       Facts facts = Office();
       facts.interfaces[1] = Card("eth0", "", "", "");
       facts.interfaces[1].carrier = false;
       facts.registered.address = {};
       return facts;
     }},
    {"no-interface-address",
     [] {
       Facts facts = Office();
       facts.interfaces[1] = Card("eth0", "", "", "");
       return facts;
     }},
    {"no-route",
     [] {
       Facts facts = Office();
       facts.broadcastRoute = {ENETUNREACH, {}};
       facts.broadcastInterface.clear();
       facts.everybody.outcome.sendError = ENETUNREACH;
       AddElsewhere(&facts);
       return facts;
     }},
    {"no-route-but-loopback",
     [] {
       Facts facts = Office();
       facts.broadcastInterface = "lo";
       facts.broadcastRoute.source = Address("127.0.0.1");
       return facts;
     }},
    {"not-sent-forbidden",
     [] {
       Facts facts = Office();
       facts.everybody.outcome.sendError = EPERM;
       return facts;
     }},
    {"not-sent",
     [] {
       Facts facts = Office();
       facts.everybody.outcome.sendError = ENOBUFS;
       return facts;
     }},
    {"firewall", Dropped},
    {"firewall-not-found",
     [] {
       Facts facts = Dropped();
       facts.firewall = {};
       facts.firewall.readable = true;
       facts.direct.clear();
       facts.devices.clear();
       return facts;
     }},
    {"firewall-of-many",
     [] {
       Facts facts = Office();
       for (int i = 101; i <= 110; ++i) {
         facts.dropped.push_back(Address("10.77.0." + std::to_string(i)));
       }
       facts.firewall = {FirewallKind::kUfw, true, "ufw is enabled", "", ""};
       return facts;
     }},
    {"firewall-probably",
     [] {
       Facts facts = Office();
       AddDirect("10.77.0.101", &facts);
       facts.sawInterfaces = false;
       facts.firewall = {FirewallKind::kFirewalld, true, "firewalld is running", "", ""};
       return facts;
     }},
    {"firewall-probably-unreadable",
     [] {
       Facts facts = Office();
       AddDirect("10.77.0.101", &facts);
       facts.sawInterfaces = false;
       facts.firewall = {};
       return facts;
     }},
    {"other-interface",
     [] {
       Facts facts = Office();
       AddElsewhere(&facts);
       return facts;
     }},
    {"other-network",
     [] {
       Facts facts = Office();
       AddDirect("192.0.2.20", &facts);
       AddDirect("192.0.2.21", &facts);
       return facts;
     }},
    {"deaf-to-broadcast",
     [] {
       Facts facts = Office();
       AddDirect("10.77.0.101", &facts);
       AddDirect("10.77.0.102", &facts);
       return facts;
     }},
    {"wrong-network",
     [] {
       Facts facts = Office();
       facts.dropped = {Address("192.0.2.20")};
       facts.everybody.outcome.answers = {AnswerOf("192.0.2.21")};
       facts.devices = {Scanner("192.0.2.21", "T55", "Stray")};
       facts.devices[0].model = facts.devices[0].name = Of(ReplyKind::kSilent);
       facts.devices[0].vendor = Of(ReplyKind::kNotSent, ENETUNREACH);
       return facts;
     }},
    {"unreadable-search",
     [] {
       Facts facts = Office();
       facts.everybody.outcome.answers = {AnswerOf("10.77.0.101", 0.1, kWebServer),
                                          AnswerOf("10.77.0.101", 0.2, kWebServer)};
       return facts;
     }},
    {"unreadable-name",
     [] {
       Facts facts = Office();
       AddScanner("10.77.0.101", "Long", &facts);
       facts.devices[0].name = Of(ReplyKind::kUnreadable);
       facts.devices[0].name.datagram = {0x30, 0x81, 0x90};
       return facts;
     }},
    {"unreadable-model-and-vendor",
     [] {
       Facts facts = Office();
       AddScanner("10.77.0.101", "Odd", &facts);
       facts.devices[0].model = facts.devices[0].vendor = Of(ReplyKind::kUnreadable);
       facts.devices[0].vendor.datagram = kWebServer;
       return facts;
     }},
    {"silent-object",
     [] {
       Facts facts = Office();
       AddScanner("10.77.0.101", "Part", &facts);
       facts.devices[0].model = Of(ReplyKind::kError, 2);
       facts.devices[0].vendor = Of(ReplyKind::kSilent);
       return facts;
     }},
    {"silent-scanner",
     [] {
       Facts facts = Office();
       AddScanner("10.77.0.101", "Gone", &facts);
       facts.devices[0].model = facts.devices[0].name = Of(ReplyKind::kSilent);
       facts.devices[0].vendor = Of(ReplyKind::kNotSent, EHOSTUNREACH);
       return facts;
     }},
    {"silent-address", [] { return SilentAddress(0, 0); }},
    {"silent-address-refused", [] { return SilentAddress(0, ECONNREFUSED); }},
    {"silent-address-of-nobody", [] { return SilentAddress(0, EHOSTUNREACH); }},
    {"silent-address-without-a-route", [] { return SilentAddress(ENETUNREACH, 0); }},
    {"late",
     [] {
       Facts facts = AllWell();
       facts.everybody.outcome.answers.push_back(AnswerOf("127.0.0.103", 1.7));
       return facts;
     }},
    {"too-many",
     [] {
       Facts facts = Home();
       for (int i = 1; i <= 257; ++i) {
         const std::string network = i < 200 ? "127.0.0." : "127.0.1.";
         facts.everybody.outcome.answers.push_back(
             AnswerOf(network + std::to_string(i % 200 + 1), 0.1));
       }
       facts.devices = {Scanner("127.0.0.2", "T55", "First")};
       return facts;
     }},
    {"twice",
     [] {
       Facts facts = AllWell();
       facts.everybody.outcome.answers.push_back(AnswerOf("127.0.0.101", 0.2));
       return facts;
     }},
    {"wrong-address",
     [] {
       Facts facts = AllWell();
       facts.interfaces[1].addresses.push_back(
           {Address("127.0.9.9"), Address("255.255.255.128"), {}});
       facts.registered.address = Address("127.0.9.9");
       return facts;
     }},
    {"no-scanners", Office},
    {"no-scanners-for-an-ordinary-user",
     [] {
       Facts facts = Office();
       facts.sawInterfaces = false;
       facts.firewall = {};
       facts.interfaces[1].addresses.push_back(
           {Address("192.168.7.2"), Address("255.255.255.0"), Address("192.168.7.255")});
       return facts;
     }},
    {"several",
     [] {
       Facts facts = Dropped();
       facts.given = {Address("10.77.0.77")};
       facts.direct.push_back(Direct("10.77.0.77"));
       facts.everybody.outcome.answers = {AnswerOf("10.77.0.103", 0.1, {})};
       return facts;
     }},
};

// Advice about interfaces depends on the programs of the system: here nmcli is one of them.
class Explanations : public testing::Test {
 protected:
  Explanations() : m_sFolder(private_file(".bin")), m_sPath(getenv("PATH")) {
    mkdir(m_sFolder.c_str(), 0700);
    const std::ofstream nmcli(m_sFolder + "/nmcli");
    chmod((m_sFolder + "/nmcli").c_str(), 0700);
    setenv("PATH", m_sFolder.c_str(), 1);
  }
  ~Explanations() override {
    setenv("PATH", m_sPath.c_str(), 1);
    remove((m_sFolder + "/nmcli").c_str());
    remove(m_sFolder.c_str());
  }

 private:
  const std::string m_sFolder;
  const std::string m_sPath;
};

TEST_F(Explanations, EachSituationHasItsWords) {
  for (const Case& item : kCases) {
    const Facts facts = item.facts();
    ExpectOutput(std::string("explain-") + item.name, explanation_text(facts, findings_of(facts)));
  }
}

TEST_F(Explanations, TheManualsSampleIsWhatIsShown) {
  const Facts facts = Dropped();
  const std::string text = explanation_text(facts, findings_of(facts));
  const size_t begin = text.find("What was found\n");
  ASSERT_NE(begin, std::string::npos);
  EXPECT_EQ(text.substr(begin), Sample("What was found"));
}

std::vector<Device> Devices() {
  Device second = Scanner("10.77.0.102", "F220_U", "Drawing \"A\", 2nd floor");
  second.hardwareAddress = Of(ReplyKind::kSilent);
  Device nameless = Scanner("10.77.0.103", "T55", "");
  nameless.name = Of(ReplyKind::kError, 5);
  Device silent = Scanner("10.77.0.104", "T55", "");
  silent.model = Of(ReplyKind::kSilent, ECONNREFUSED);
  return {Scanner("10.77.0.101", "T55_E", "Reception"),
          second,
          nameless,
          silent,
          Scanner("10.77.0.105", "A3", "\xE5\x8F\x97\xE4\xBB\x98\x1B\\"),
          Scanner("10.77.0.106", "S18", "")};
}

TEST(Lists, EachFormatIsShownWhole) {
  ExpectOutput("list-table", list_text(Devices(), Format::kTable));
  ExpectOutput("list-json", list_text(Devices(), Format::kJson));
  ExpectOutput("list-csv", list_text(Devices(), Format::kCsv));
}

TEST(Lists, NobodyIsShownToo) {
  EXPECT_EQ(list_text({}, Format::kTable), "");
  EXPECT_EQ(list_text({}, Format::kJson), "{\n  \"scanners\": [],\n  \"left_out\": []\n}\n");
  EXPECT_EQ(list_text({}, Format::kCsv), "model,name,address,hardware_address\n");
}

TEST(Lists, TheManualsSampleIsWhatIsShown) {
  std::vector<Device> devices = {Scanner("10.77.0.101", "T55_E", "Reception"),
                                 Scanner("10.77.0.102", "T35_E", "Accounting")};
  devices[1].hardwareAddress.text.back() = '\x66';
  EXPECT_EQ("$ dvx-probe list\n" + list_text(devices, Format::kTable), Sample("$ dvx-probe list"));
}

TEST(Help, EachTextIsShownWhole) {
  ExpectOutput("help", help_text(Command::kNone));
  ExpectOutput("help-list", help_text(Command::kList));
  ExpectOutput("help-register", help_text(Command::kRegister));
  ExpectOutput("help-unregister", help_text(Command::kUnregister));
  ExpectOutput("help-explain", help_text(Command::kExplain));
}

TEST(Results, EachHasItsWords) {
  Registration done;
  done.result = Result::kDone;
  EXPECT_EQ(result_text(done, true, "front-desk"), "registered as \"front-desk\"");
  EXPECT_EQ(result_text(done, true, "sixteen-letters!"), "registered as \"sixteen-letters\"");
  EXPECT_EQ(result_text(done, false, "front-desk"), "told to forget this computer");
  Registration later;
  later.result = Result::kNotNow;
  EXPECT_EQ(result_text(later, true, ""), "not now, three times; try again later");
  EXPECT_EQ(result_text(later, false, ""), "not now; try again later");
  Registration refused;
  refused.result = Result::kRefused;
  refused.code = 0x0A;
  EXPECT_EQ(result_text(refused, true, ""), "refused with the code 0A");
  refused.code = 0xD5;
  EXPECT_EQ(result_text(refused, false, ""), "refused with the code D5");
  Registration silent;
  EXPECT_EQ(result_text(silent, true, ""), "no reply");
  silent.networkError = ECONNREFUSED;
  EXPECT_EQ(result_text(silent, false, ""), "no reply (Connection refused)");
  silent.wrongSequence = true;
  EXPECT_EQ(result_text(silent, true, ""), "no reply (only replies to other commands)");
  Registration unreachable;
  unreachable.result = Result::kNotSent;
  unreachable.networkError = EHOSTUNREACH;
  EXPECT_EQ(result_text(unreachable, true, ""), "cannot be reached (No route to host)");
}

}  // namespace
