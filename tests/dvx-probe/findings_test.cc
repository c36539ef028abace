// Tests of what dvx-probe concludes from the facts.
#include "dvx-probe/findings.h"

#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>

#include "snmp/udp/udp_socket.h"
#include "ui/survey/interview.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

in_addr Address(const std::string& text) { return {inet_addr(text.c_str())}; }

const Bytes kAnswer{0x30, 0x31, 0x02, 0x01, 0x00, 0x04, 0x06, 'p',  'u',  'b',  'l',  'i',  'c',
                    0xA2, 0x24, 0x02, 0x04, 0x6B, 0x8B, 0x45, 0x67, 0x02, 0x01, 0x00, 0x02, 0x01,
                    0x00, 0x30, 0x16, 0x30, 0x14, 0x06, 0x0F, 0x2B, 0x06, 0x01, 0x04, 0x01, 0x85,
                    0x5B, 0x83, 0x15, 0x01, 0x01, 0x01, 0x03, 0x01, 0x00, 0x02, 0x01, 0x01};

Datagram AnswerOf(const std::string& address, double seconds) {
  Datagram answer{};
  answer.from = net_socket_address(Address(address), 161);
  answer.data = kAnswer;
  answer.seconds = seconds;
  return answer;
}

Reply Text(const std::string& text) {
  Reply reply;
  reply.kind = ReplyKind::kText;
  reply.text = text;
  return reply;
}

Reply Error(int status) {
  Reply reply;
  reply.kind = ReplyKind::kError;
  reply.errorStatus = status;
  return reply;
}

Device Complete(const std::string& address) {
  Device device;
  device.address = Address(address);
  device.model = Text("T55");
  device.vendor = Text("Veltrana");
  device.name = Text("Name");
  return device;
}

// A computer whose only interface is the loopback's twin: 127.0.0.1 is where routes lead here.
Facts Desk() {
  Facts facts;
  Interface eth0;
  eth0.name = "eth0";
  eth0.up = eth0.carrier = true;
  eth0.addresses = {{Address("127.0.0.1"), Address("255.0.0.0"), Address("127.255.255.255")}};
  facts.interfaces = {eth0};
  facts.broadcastInterface = "eth0";
  facts.broadcastRoute.source = Address("127.0.0.1");
  facts.registered = {"desk", Address("127.0.0.1"), "02:56:44:56:58:10"};
  facts.sawInterfaces = true;
  return facts;
}

void AddScanner(const std::string& address, double seconds, Facts* facts) {
  facts->everybody.outcome.answers.push_back(AnswerOf(address, seconds));
  facts->devices.push_back(Complete(address));
}

std::vector<std::string> Ids(const Facts& facts) {
  std::vector<std::string> ids;
  for (const Finding& finding : findings_of(facts)) {
    ids.push_back(finding.id);
    EXPECT_FALSE(finding.text.empty()) << finding.id;
    EXPECT_FALSE(finding.commands.empty()) << finding.id;
  }
  return ids;
}

TEST(Findings, NothingIsWrongWithAListedScanner) {
  Facts facts = Desk();
  AddScanner("127.0.0.1", 0.1, &facts);
  EXPECT_THAT(Ids(facts), IsEmpty());
}

TEST(Findings, NobodyThereIsTheLastResort) {
  Facts facts = Desk();
  EXPECT_THAT(Ids(facts), ElementsAre("no-scanners"));
  facts.devices.push_back(Complete("127.0.0.1"));
  facts.devices.back().model = facts.devices.back().vendor = facts.devices.back().name = Error(2);
  facts.everybody.outcome.answers.push_back(AnswerOf("127.0.0.1", 0));
  EXPECT_THAT(Ids(facts), ElementsAre("no-scanners"));
}

TEST(Findings, AnswersAreLateAfterAPauseOfMoreThanASecond) {
  Outcome outcome;
  outcome.answers = {AnswerOf("127.0.0.1", 0.9), AnswerOf("127.0.0.2", 1.8),
                     AnswerOf("127.0.0.3", 2.9), AnswerOf("127.0.0.4", 3.0)};
  EXPECT_EQ(answers_in_time(outcome).size(), 2U);
  Facts facts = Desk();
  AddScanner("127.0.0.1", 0.1, &facts);
  AddScanner("127.0.0.1", 1.2, &facts);
  facts.everybody.outcome.answers.back().from.sin_addr = Address("127.0.0.9");
  facts.devices.back().address = Address("127.0.0.9");
  EXPECT_THAT(Ids(facts), ElementsAre("late"));
}

TEST(Findings, MoreThan256AnswersAreTooMany) {
  Facts facts = Desk();
  for (int i = 1; i <= kMaxAnswers; ++i) {
    facts.everybody.outcome.answers.push_back(
        AnswerOf("127.0." + std::to_string(i / 250) + "." + std::to_string(i % 250 + 1), 0.1));
  }
  facts.devices.push_back(Complete("127.0.0.2"));
  facts.registered.address = Address("127.0.0.1");
  EXPECT_THAT(Ids(facts), IsEmpty());
  facts.everybody.outcome.answers.push_back(AnswerOf("127.0.9.9", 0.1));
  EXPECT_THAT(Ids(facts), ElementsAre("too-many"));
}

TEST(Findings, OneMissingTextIsNoOtherMakersDevice) {
  Facts facts = Desk();
  AddScanner("127.0.0.1", 0, &facts);
  facts.devices[0].model = Error(2);
  EXPECT_THAT(Ids(facts), ElementsAre("silent-object"));
}

TEST(Findings, WithoutAnInterfaceNothingElseIsLookedAt) {
  Facts facts = Desk();
  facts.interfaces[0].up = false;
  facts.given = {Address("10.0.0.1")};
  EXPECT_THAT(Ids(facts), ElementsAre("no-interface"));
}

TEST(Findings, ARefusedBroadcastIsNotTakenForAMissingRoute) {
  Facts facts = Desk();
  facts.everybody.outcome.sendError = EPERM;
  EXPECT_THAT(Ids(facts), ElementsAre("not-sent"));
}

TEST(Findings, AnInterfaceThatIsOffIsSwitchedOn) {
  Facts facts = Desk();
  facts.interfaces[0].up = false;
  const std::vector<Finding> found = findings_of(facts);
  ASSERT_THAT(found, SizeIs(1));
  EXPECT_THAT(found[0].text, Contains("The interface eth0 is switched off."));
  EXPECT_THAT(found[0].commands, ElementsAre("sudo ip link set eth0 up"));
}

TEST(Findings, AnInterfaceWithoutALinkLacksItsCable) {
  Facts facts = Desk();
  facts.interfaces[0].carrier = false;
  facts.interfaces[0].addresses.clear();
  const std::vector<Finding> found = findings_of(facts);
  ASSERT_THAT(found, SizeIs(1));
  EXPECT_THAT(found[0].text, Contains(HasSubstr("its cable is not in")));
}

// A scanner that answers direct questions alone, to a computer that may look at what comes in or
// not.
Finding SeemingFirewall(const Firewall& firewall) {
  Facts facts = Desk();
  facts.sawInterfaces = false;
  facts.firewall = firewall;
  PlaceAsked place;
  place.destination = Address("127.0.0.7");
  place.direct = true;
  place.outcome.answers = {AnswerOf("127.0.0.7", 0)};
  facts.direct = {place};
  facts.devices = {Complete("127.0.0.7")};
  const std::vector<Finding> found = findings_of(facts);
  EXPECT_THAT(found, SizeIs(1));
  return found.empty() ? Finding{} : found[0];
}

TEST(Findings, WhoMayNotLookIsToldThatRootSeesMore) {
  const Finding unknown = SeemingFirewall({});
  EXPECT_EQ(unknown.id, "firewall");
  EXPECT_THAT(unknown.text, Contains("Only root may read the rules of the firewall."));
  EXPECT_THAT(unknown.commands, ElementsAre("sudo dvx-probe explain"));
  const Finding ufw = SeemingFirewall({FirewallKind::kUfw, true, "ufw is enabled", "", ""});
  EXPECT_THAT(ufw.text, Contains("As root this command sees whether the answers come in."));
  Firewall rules;
  rules.readable = true;
  const Finding none = SeemingFirewall(rules);
  EXPECT_THAT(none.text, Contains("No rule for incoming packets that drops any was found."));
  EXPECT_THAT(none.commands, ElementsAre("sudo nft list ruleset"));
}

TEST(Findings, AnUnreadableTextOtherThanTheNameIsTraced) {
  Facts facts = Desk();
  AddScanner("127.0.0.1", 0, &facts);
  facts.devices[0].vendor.kind = ReplyKind::kUnreadable;
  facts.devices[0].vendor.datagram = {0x48, 0x54};
  const std::vector<Finding> found = findings_of(facts);
  ASSERT_THAT(found, SizeIs(1));
  EXPECT_EQ(found[0].id, "unreadable");
  EXPECT_THAT(found[0].title, HasSubstr("127.0.0.1"));
  EXPECT_THAT(found[0].title, HasSubstr("vendor"));
  EXPECT_THAT(found[0].commands,
              ElementsAre("dvx-probe list --address 127.0.0.1 --trace answer.pcap"));
}

TEST(Findings, AGivenAddressThatSaysNothingAtAllIsSilent) {
  Facts facts = Desk();
  AddScanner("127.0.0.1", 0, &facts);
  facts.given = {Address("127.0.0.9")};
  PlaceAsked place;
  place.destination = facts.given[0];
  place.direct = true;
  facts.direct = {place};
  const std::vector<Finding> found = findings_of(facts);
  ASSERT_THAT(found, SizeIs(1));
  EXPECT_EQ(found[0].id, "silent-address");
  EXPECT_THAT(found[0].text, Contains(HasSubstr("Nothing came back")));
}

TEST(Findings, OfManyAddressesEightAreNamed) {
  Facts facts = Desk();
  facts.sawInterfaces = true;
  for (int i = 11; i <= 20; ++i) {
    facts.dropped.push_back(Address("127.0.0." + std::to_string(i)));
  }
  const std::vector<Finding> found = findings_of(facts);
  ASSERT_FALSE(found.empty());
  std::string text;
  for (const std::string& paragraph : found[0].text) text += paragraph;
  EXPECT_THAT(text, HasSubstr("127.0.0.17, 127.0.0.18 and 2 more"));
}

TEST(Interfaces, AnAddressOfNobodyIsOnNone) {
  const Facts facts = Desk();
  EXPECT_EQ(interface_with(facts.interfaces, Address("127.0.0.1")), &facts.interfaces[0]);
  EXPECT_EQ(interface_with(facts.interfaces, Address("127.0.0.2")), nullptr);
}

}  // namespace
