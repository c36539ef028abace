// Tests of dvx-probe's command line: what each option sets, and each mistake with its whole
// message.
#include "dvx-probe/options.h"

#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Words = std::vector<std::string>;

std::string MistakeIn(const Words& words) {
  try {
    parse_options(words);
  } catch (const UsageError& error) {
    return error.what();
  }
  return "(no mistake)";
}

std::string Shown(const Words& words) {
  std::string text = "dvx-probe";
  for (const std::string& word : words) text += " \"" + word + "\"";
  return text;
}

std::vector<std::string> Texts(const std::vector<in_addr>& addresses) {
  std::vector<std::string> texts;
  texts.reserve(addresses.size());
  for (const in_addr address : addresses) texts.emplace_back(inet_ntoa(address));
  return texts;
}

const char kNoCommand[] = "no command: list, register, unregister or explain";
const char kNoNumber[] = ": this is not a number of seconds from 0.001 to 600";
const char kNoAddress[] = ": this is not an IPv4 address or a host name";
const char kNoSingleDevice[] = ": no single device has this address";
const char kNeedsAll[] = ": it says where to look for all scanners and needs --all";

struct Mistake {
  Words words;
  std::string message;
};

const std::vector<Mistake> kMistakes = {
    // Commands.
    {{}, kNoCommand},
    {{"--"}, kNoCommand},
    {{"lists"}, "lists: unknown command (list, register, unregister or explain)"},
    {{""}, ": unknown command (list, register, unregister or explain)"},
    {{"-"}, "-: unknown command (list, register, unregister or explain)"},
    {{"--", "--all"}, "--all: unknown command (list, register, unregister or explain)"},

    // Options, each where it is not one.
    {{"--json", "list"}, "--json: unknown option"},
    {{"--csv", "list"}, "--csv: unknown option"},
    {{"--all", "register"}, "--all: unknown option"},
    {{"--name", "x", "register"}, "--name: unknown option"},
    {{"--address", "127.0.0.1", "list"}, "--address: unknown option"},
    {{"--interface", "lo", "list"}, "--interface: unknown option"},
    {{"--each-interface", "list"}, "--each-interface: unknown option"},
    {{"--wait", "1", "list"}, "--wait: unknown option"},
    {{"--trace", "file", "list"}, "--trace: unknown option"},
    {{"list", "--colour"}, "--colour: unknown option"},
    {{"list", "--colour=red"}, "--colour: unknown option"},
    {{"list", "-j"}, "-j: unknown option"},
    {{"list", "--=x"}, "--: it takes no value"},
    {{"list", "--all"}, "--all: unknown option"},
    {{"list", "--name", "x"}, "--name: unknown option"},
    {{"explain", "--all"}, "--all: unknown option"},
    {{"explain", "--name", "x"}, "--name: unknown option"},
    {{"explain", "--json"}, "--json: unknown option"},
    {{"explain", "--csv"}, "--csv: unknown option"},
    {{"register", "--json", "127.0.0.1"}, "--json: unknown option"},
    {{"register", "--csv", "127.0.0.1"}, "--csv: unknown option"},
    {{"unregister", "--json", "127.0.0.1"}, "--json: unknown option"},

    // Options that take no value.
    {{"--help=x"}, "--help: it takes no value"},
    {{"-h=x"}, "-h: it takes no value"},
    {{"--version="}, "--version: it takes no value"},
    {{"list", "--json=yes"}, "--json: it takes no value"},
    {{"list", "--csv=yes"}, "--csv: it takes no value"},
    {{"list", "--each-interface=eth0"}, "--each-interface: it takes no value"},
    {{"register", "--all=x"}, "--all: it takes no value"},

    // Options that need one.
    {{"list", "--address"}, "--address: it needs a value"},
    {{"list", "--interface"}, "--interface: it needs a value"},
    {{"list", "--wait"}, "--wait: it needs a value"},
    {{"list", "--trace"}, "--trace: it needs a value"},
    {{"register", "--name"}, "--name: it needs a value"},

    // Formats.
    {{"list", "--json", "--csv"}, "--csv: --json and --csv do not go together"},
    {{"list", "--csv", "--json"}, "--json: --json and --csv do not go together"},

    // Values.
    {{"list", "--address", "10.77.0.300"}, std::string("--address 10.77.0.300") + kNoAddress},
    {{"list", "--address", "127.0.0.1,"}, std::string("--address ") + kNoAddress},
    {{"list", "--address", ",127.0.0.1"}, std::string("--address ") + kNoAddress},
    {{"list", "--address="}, std::string("--address ") + kNoAddress},
    {{"list", "--address", "10.77"}, std::string("--address 10.77") + kNoAddress},
    {{"list", "--address", "fe80::1"}, std::string("--address fe80::1") + kNoAddress},
    {{"list", "--address", "a b"}, std::string("--address a b") + kNoAddress},
    {{"list", "--address", "0.0.0.0"}, std::string("--address 0.0.0.0") + kNoSingleDevice},
    {{"list", "--address", "0.1.2.3"}, std::string("--address 0.1.2.3") + kNoSingleDevice},
    {{"list", "--address", "224.0.0.1"}, std::string("--address 224.0.0.1") + kNoSingleDevice},
    {{"list", "--address", "239.1.2.3"}, std::string("--address 239.1.2.3") + kNoSingleDevice},
    {{"list", "--address", "240.0.0.1"}, std::string("--address 240.0.0.1") + kNoSingleDevice},
    {{"list", "--address", "255.255.255.255"},
     std::string("--address 255.255.255.255") + kNoSingleDevice},
    {{"register", "10.77.0.1o1,"}, std::string("10.77.0.1o1,") + kNoAddress},
    {{"register", ""}, kNoAddress},
    {{"unregister", "224.0.0.1"}, std::string("224.0.0.1") + kNoSingleDevice},
    {{"list", "--interface", ""}, "--interface: the interface has no name"},
    {{"list", "--interface", "eth0,"}, "--interface: the interface has no name"},
    {{"list", "--interface=,eth0"}, "--interface: the interface has no name"},
    {{"list", "--wait", ""}, std::string("--wait ") + kNoNumber},
    {{"list", "--wait", "0"}, std::string("--wait 0") + kNoNumber},
    {{"list", "--wait", "0.0009"}, std::string("--wait 0.0009") + kNoNumber},
    {{"list", "--wait", "-1"}, std::string("--wait -1") + kNoNumber},
    {{"list", "--wait", "600.001"}, std::string("--wait 600.001") + kNoNumber},
    {{"list", "--wait", "1s"}, std::string("--wait 1s") + kNoNumber},
    {{"list", "--wait", "soon"}, std::string("--wait soon") + kNoNumber},
    {{"list", "--wait", "nan"}, std::string("--wait nan") + kNoNumber},
    {{"list", "--wait", "INF"}, std::string("--wait INF") + kNoNumber},
    {{"list", "--wait", "0x10"}, std::string("--wait 0x10") + kNoNumber},
    {{"list", "--wait", "0X10"}, std::string("--wait 0X10") + kNoNumber},
    {{"list", "--trace", ""}, "--trace: the file has no name"},
    {{"explain", "--trace="}, "--trace: the file has no name"},
    {{"register", "--name", "", "127.0.0.1"}, "--name: the name is empty"},
    {{"unregister", "--name=", "127.0.0.1"}, "--name: the name is empty"},

    // Words, and what they are for.
    {{"list", "10.77.0.101"}, "10.77.0.101: this command takes no words besides its options"},
    {{"explain", "10.77.0.101"}, "10.77.0.101: this command takes no words besides its options"},
    {{"list", "--", "--json"}, "--json: this command takes no words besides its options"},
    {{"list", "-"}, "-: this command takes no words besides its options"},
    {{"register"}, "no scanner: give addresses, or --all"},
    {{"unregister"}, "no scanner: give addresses, or --all"},
    {{"register", "--address", "127.0.0.1"}, "no scanner: give addresses, or --all"},
    {{"register", "--all", "127.0.0.1"}, "--all: it does not go together with addresses"},
    {{"unregister", "127.0.0.1", "--all"}, "--all: it does not go together with addresses"},
    {{"register", "--address", "127.0.0.2", "127.0.0.1"}, std::string("--address") + kNeedsAll},
    {{"register", "127.0.0.1", "--interface=eth0"}, std::string("--interface") + kNeedsAll},
    {{"unregister", "--each-interface", "127.0.0.1"}, std::string("--each-interface") + kNeedsAll},
};

TEST(Usage, EachMistakeIsNamed) {
  for (const Mistake& mistake : kMistakes) {
    EXPECT_EQ(MistakeIn(mistake.words), mistake.message) << Shown(mistake.words);
  }
}

TEST(Usage, WithoutOptionsEverythingIsAsUsual) {
  const Options options = parse_options({"list"});
  EXPECT_EQ(options.command, Command::kList);
  EXPECT_FALSE(options.help || options.version || options.all || options.places.eachInterface);
  EXPECT_EQ(options.format, Format::kTable);
  EXPECT_EQ(options.wait, 0);
  EXPECT_EQ(options.traceFile, "");
  EXPECT_EQ(options.name, "");
  EXPECT_THAT(options.places.addresses, IsEmpty());
  EXPECT_THAT(options.places.interfaces, IsEmpty());
  EXPECT_THAT(options.scanners, IsEmpty());
}

TEST(Usage, EveryCommandHasItsName) {
  EXPECT_EQ(parse_options({"explain"}).command, Command::kExplain);
  EXPECT_EQ(parse_options({"register", "--all"}).command, Command::kRegister);
  EXPECT_EQ(parse_options({"unregister", "--all"}).command, Command::kUnregister);
}

TEST(Usage, EveryOptionIsTaken) {
  const Options options =
      parse_options({"register", "--all", "--name", "desk", "--each-interface", "--wait=2.5",
                     "--trace", "file", "--address", "127.0.0.1,127.0.0.2", "--address=127.0.0.3",
                     "--interface", "eth0,eth1", "--interface=eth2"});
  EXPECT_TRUE(options.all);
  EXPECT_EQ(options.name, "desk");
  EXPECT_TRUE(options.places.eachInterface);
  EXPECT_EQ(options.wait, 2500);
  EXPECT_EQ(options.traceFile, "file");
  EXPECT_THAT(Texts(options.places.addresses), ElementsAre("127.0.0.1", "127.0.0.2", "127.0.0.3"));
  EXPECT_THAT(options.places.interfaces, ElementsAre("eth0", "eth1", "eth2"));
}

TEST(Usage, FormatsAreTakenAndMayBeRepeated) {
  EXPECT_EQ(parse_options({"list", "--json", "--json"}).format, Format::kJson);
  EXPECT_EQ(parse_options({"list", "--csv", "--csv"}).format, Format::kCsv);
}

TEST(Usage, ScannersAreWords) {
  const Options options = parse_options({"unregister", "127.0.0.2", "--name", "x", "127.0.0.1"});
  EXPECT_THAT(Texts(options.scanners), ElementsAre("127.0.0.2", "127.0.0.1"));
  EXPECT_THAT(Texts(parse_options({"register", "--", "127.0.0.1"}).scanners),
              ElementsAre("127.0.0.1"));
}

TEST(Usage, TheShortestAndTheLongestWait) {
  EXPECT_EQ(parse_options({"list", "--wait", "0.001"}).wait, 1);
  EXPECT_EQ(parse_options({"list", "--wait", "0.0019"}).wait, 2);
  EXPECT_EQ(parse_options({"list", "--wait", "600"}).wait, 600000);
  EXPECT_EQ(parse_options({"list", "--wait", "1e2"}).wait, 100000);
}

TEST(Usage, AValueMayLookLikeAnOption) {
  EXPECT_EQ(parse_options({"list", "--trace", "--json"}).traceFile, "--json");
  EXPECT_EQ(parse_options({"list", "--trace=a=b"}).traceFile, "a=b");
}

TEST(Usage, WhatFollowsHelpIsNotLookedAt) {
  EXPECT_TRUE(parse_options({"--help", "nonsense"}).help);
  EXPECT_TRUE(parse_options({"-h"}).help);
  EXPECT_FALSE(parse_options({"--help"}).version);
  const Options list = parse_options({"list", "--help", "--colour"});
  EXPECT_TRUE(list.help);
  EXPECT_EQ(list.command, Command::kList);
  EXPECT_TRUE(parse_options({"register", "--help"}).help);
  EXPECT_TRUE(parse_options({"--version", "--colour"}).version);
  EXPECT_FALSE(parse_options({"--version"}).help);
}

}  // namespace
