// The scanner simulator on a private network: broadcasts, addresses, delays, lists, files, its end.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "tests/scanner-sim/process.h"

namespace {

constexpr uint16_t kSnmp = 161;
constexpr uint16_t kCommands = 3892;

// GET-NEXT of the object that searches ask for, as the client writes it.
const Bytes kSearch = from_hex(
                          "30 82 00 30 02 01 00 04 06 70 75 62 6c 69 63 a1 23 02 04 12 34 56 78"
                          "02 01 00 02 01 00 30 15 30 82 00 11"
                          "06 0d 2b 06 01 04 01 85 5b 83 15 01 01 01 03 05 00")
                          .value();

const char kFound[] =
    "303102010004067075626c6963a22402041234567802010002010030163014060f2b06010401855b83150101010301"
    "00020101";

const Bytes kGetModel = from_hex(
                            "30 82 00 2f 02 01 00 04 06 70 75 62 6c 69 63 a0 22 02 04 12 34 56 78"
                            "02 01 00 02 01 00 30 14 30 82 00 10"
                            "06 0c 2b 06 01 04 01 85 5b 01 02 01 02 00 05 00")
                            .value();

const char kModelT55[] =
    "303202010004067075626c6963a225020412345678020100020100301730150"
    "60c2b06010401855b01020102000405"
    "5435355f45";

const char kHeader[] = "4d 46 50 50 30 32 30 30 4d 4c 30 31 39 30 31";
const char kRecord[] =
    "1c 00 00 00 0a 4d 00 0a 64 65 73 6b 2d 34 32 00 00 00 00 00 00 00 00 00 02 56 44 56 58 10 00 "
    "01";
const Bytes kRegister = from_hex(std::string(kHeader) + "03" + kRecord).value();
const Bytes kUnregister = from_hex(std::string(kHeader) + "05" + kRecord).value();
const char kAccepted[] = "4d465050303230304d4c3031393031c400000000";
const char kNotNow[] = "4d465050303230304d4c3031393031d400000000";

std::vector<std::string> Command(const std::vector<std::string>& arguments) {
  std::vector<std::string> command = {"lab-office", SCANNER_SIM};
  command.insert(command.end(), arguments.begin(), arguments.end());
  return command;
}

// Scanners that can be asked as soon as the object is made.
class CSimulator {
 public:
  explicit CSimulator(const std::vector<std::string>& arguments, int count)
      : m_Process(Command(arguments)) {
    m_Process.ReadUpTo("ready: " + std::to_string(count) + (count == 1 ? " scanner" : " scanners"));
  }

  CProcess& Process() { return m_Process; }

  // Ends it and returns what it wrote since the last line that was read.
  std::string End(int signal = SIGTERM) {
    EXPECT_EQ(m_Process.Stop(signal), 0);
    return m_Process.ReadRest();
  }

 private:
  CProcess m_Process;
};

// Everything that comes until it has been quiet for a while, a long one before as many have come as
// are expected.
std::vector<Datagram> ReceiveAll(CClient* client, std::size_t expected = 0) {
  std::vector<Datagram> all;
  while (client->IsReadable(all.size() < expected ? 20000 : 1000)) all.push_back(client->Receive());
  return all;
}

std::vector<std::string> Senders(const std::vector<Datagram>& datagrams) {
  std::vector<std::string> senders;
  senders.reserve(datagrams.size());
  for (const Datagram& datagram : datagrams) senders.push_back(endpoint_text(datagram.from));
  return senders;
}

std::string Contents(const std::string& name) {
  std::ifstream file(name);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

std::vector<std::string> Lines(const std::string& name) {
  std::ifstream file(name);
  std::vector<std::string> lines;
  for (std::string line; std::getline(file, line);) lines.push_back(line);
  return lines;
}

// --- SNMP

TEST(Network, BroadcastIsAnsweredByEveryScannerFromItsOwnAddress) {
  CSimulator simulator({"--scanners", "6", "--network", "10.77.0.0/24"}, 6);
  CClient client;
  ASSERT_TRUE(client.Send("255.255.255.255", kSnmp, kSearch));
  const auto answers = ReceiveAll(&client);
  EXPECT_THAT(Senders(answers),
              testing::ElementsAre("10.77.0.101:161", "10.77.0.102:161", "10.77.0.103:161",
                                   "10.77.0.104:161", "10.77.0.105:161", "10.77.0.106:161"));
  for (const Datagram& answer : answers) EXPECT_EQ(to_hex(answer.bytes), kFound);
  simulator.End();
}

TEST(Network, BroadcastToTheNetworkIsAnsweredToo) {
  CSimulator simulator({"--scanners", "2"}, 2);
  CClient client;
  ASSERT_TRUE(client.Send("10.77.255.255", kSnmp, kSearch));
  EXPECT_THAT(Senders(ReceiveAll(&client)),
              testing::ElementsAre("10.77.0.101:161", "10.77.0.102:161"));
  simulator.End();
}

TEST(Network, ThreeHundredScannersAnswerABroadcastEachOnce) {
  CProcess process({"sh", "-c",
                    "ulimit -Sn 256; exec lab-office " SCANNER_SIM
                    " --scanners 300 --network 10.77.0.0/16 --set delay.discovery={n}"});
  process.ReadUpTo("ready: 300 scanners");
  CClient client;
  ASSERT_TRUE(client.Send("255.255.255.255", kSnmp, kSearch));
  const auto senders = Senders(ReceiveAll(&client, 300));
  ASSERT_EQ(senders.size(), 300U);
  EXPECT_EQ(std::set<std::string>(senders.begin(), senders.end()).size(), 300U);
  EXPECT_EQ(senders.front(), "10.77.0.101:161");
  EXPECT_EQ(senders.back(), "10.77.1.144:161");
  for (const char* address : {"10.77.0.101", "10.77.0.255", "10.77.1.0", "10.77.1.144"}) {
    ASSERT_TRUE(client.Send(address, kSnmp, kGetModel));
    EXPECT_EQ(ipv4_text(client.Receive().from.address), address);
  }
  EXPECT_EQ(process.Stop(SIGTERM), 0);
}

// A tenth of a millisecond lies between two scanners. The first one, which has to wait for a whole
// one, has its turn between the tenth and the eleventh.
TEST(Network, ScannersAnswerABroadcastOneAfterTheOther) {
  CSimulator simulator({"--scanners", "20", "--set", "1:delay=1"}, 20);
  CClient client;
  ASSERT_TRUE(client.Send("255.255.255.255", kSnmp, kSearch));
  const auto senders = Senders(ReceiveAll(&client));
  ASSERT_EQ(senders.size(), 20U);
  EXPECT_EQ(senders[8], "10.77.0.110:161");
  EXPECT_EQ(senders[9], "10.77.0.101:161");
  EXPECT_EQ(senders[10], "10.77.0.111:161");
  simulator.End();
}

TEST(Network, QuestionToOneScannerIsAnsweredByThatOne) {
  CSimulator simulator({"--scanners", "6"}, 6);
  CClient client;
  ASSERT_TRUE(client.Send("10.77.0.101", kSnmp, kGetModel));
  const auto answers = ReceiveAll(&client);
  ASSERT_THAT(Senders(answers), testing::ElementsAre("10.77.0.101:161"));
  EXPECT_EQ(to_hex(answers[0].bytes), kModelT55);
  simulator.End();
}

TEST(Network, SlowScannerAnswersAfterItsDelayWhileOthersAnswerAtOnce) {
  CSimulator simulator({"--scanners", "2", "--set", "1:delay=700"}, 2);
  CClient client;
  const auto start = std::chrono::steady_clock::now();
  ASSERT_TRUE(client.Send("255.255.255.255", kSnmp, kSearch));
  EXPECT_EQ(endpoint_text(client.Receive().from), "10.77.0.102:161");
  EXPECT_EQ(endpoint_text(client.Receive().from), "10.77.0.101:161");
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(700));
  simulator.End();
}

TEST(Network, AnswersAreSentAsOftenAndFromWhereTheScenarioSays) {
  CSimulator simulator({"--scanners", "1", "--set", "copies=3", "--set", "copy_gap=5", "--set",
                        "answer_from=10.77.0.250"},
                       1);
  CClient client;
  ASSERT_TRUE(client.Send("10.77.0.101", kSnmp, kGetModel));
  EXPECT_THAT(Senders(ReceiveAll(&client)),
              testing::ElementsAre("10.77.0.250:161", "10.77.0.250:161", "10.77.0.250:161"));
  ASSERT_TRUE(client.Send("10.77.0.101", kCommands, kRegister));
  EXPECT_EQ(endpoint_text(client.Receive().from), "10.77.0.250:3892");
  simulator.End();
}

TEST(Network, AnswerSentManyTimesLeavesTheOtherScannersTheirTurn) {
  constexpr size_t kCopies = 50000;
  CSimulator simulator({"--scanners", "2", "--log", "/tmp/copies.log", "--set",
                        "1:copies=" + std::to_string(kCopies)},
                       2);
  CClient first;
  CClient second;
  ASSERT_TRUE(first.Send("10.77.0.101", kSnmp, kGetModel));
  first.Receive();
  ASSERT_TRUE(second.Send("10.77.0.102", kSnmp, kGetModel));
  second.Receive();
  simulator.End();
  const auto lines = Lines("/tmp/copies.log");
  EXPECT_GT(lines.size(), 4U);
  EXPECT_LT(lines.size(), kCopies) << "the second scanner answered only after all copies";
}

TEST(Network, LargestDatagramIsSentAndALargerOneIsReportedAsNotSent) {
  CSimulator simulator(
      {"--scanners", "1", "--log", "/tmp/large.log", "--set", "pad_to.model=65507", "--set",
       "pad_to.register=65507", "--set", "reply_data_size=65487", "--set", "append.register=00"},
      1);
  CClient client;
  ASSERT_TRUE(client.Send("10.77.0.101", kSnmp, kGetModel));
  EXPECT_EQ(client.Receive().bytes.size(), 65507U);
  ASSERT_TRUE(client.Send("10.77.0.101", kCommands, kRegister));
  EXPECT_FALSE(client.IsReadable(200));
  simulator.End();
  const auto lines = Lines("/tmp/large.log");
  ASSERT_EQ(lines.size(), 5U);
  EXPECT_THAT(lines[3], testing::HasSubstr("\"direction\":\"sent\""));
  EXPECT_THAT(lines[4], testing::HasSubstr("\"direction\":\"not sent\""));
  EXPECT_THAT(lines[4], testing::HasSubstr("\"problem\":\"Message too long\""));
}

// --- registration

TEST(Network, RegistrationIsAnsweredInTurnAndListed) {
  CSimulator simulator(
      {"--scanners", "3", "--lists", "/tmp/turn.json", "--set", "Mail-Room:reply_codes=D4 D4 C4"},
      3);
  CClient client;
  for (const char* reply : {kNotNow, kNotNow, kAccepted}) {
    EXPECT_THAT(Contents("/tmp/turn.json"), testing::Not(testing::HasSubstr("desk-42")));
    ASSERT_TRUE(client.Send("10.77.0.103", kCommands, kRegister));
    const Datagram answer = client.Receive();
    EXPECT_EQ(to_hex(answer.bytes), reply);
    EXPECT_EQ(endpoint_text(answer.from), "10.77.0.103:3892");
  }
  EXPECT_THAT(Contents("/tmp/turn.json"),
              testing::HasSubstr("\"scanner\":\"Mail-Room\",\"name\":\"Mail-Room\","
                                 "\"model\":\"T90_J\",\"lists\":[{\"name\":\"desk-42\","
                                 "\"address\":\"10.77.0.10\",\"mac\":\"02:56:44:56:58:10\"}]"))
      << "the list is on disk before the reply is on the network";
  EXPECT_EQ(simulator.Process().ReadLine(),
            "10.77.0.103  Mail-Room  lists: desk-42 (10.77.0.10, 02:56:44:56:58:10)");

  ASSERT_TRUE(client.Send("10.77.0.103", kCommands, kUnregister));
  EXPECT_EQ(simulator.Process().ReadLine(), "10.77.0.103  Mail-Room  lists: nobody");
  EXPECT_FALSE(client.IsReadable(200)) << "there is no reply to an unregister command";
  simulator.End();
  EXPECT_THAT(Contents("/tmp/turn.json"), testing::Not(testing::HasSubstr("desk-42")));
}

// --- what it writes

TEST(Network, SignalEndsItWithAllListsAndZero) {
  for (const int signal : {SIGTERM, SIGINT}) {
    CSimulator simulator({"--scanners", "2"}, 2);
    CClient client;
    ASSERT_TRUE(client.Send("10.77.0.102", kCommands, kRegister));
    client.Receive();
    simulator.Process().ReadLine();
    EXPECT_EQ(simulator.End(signal),
              "10.77.0.101  Reception  lists: nobody\n"
              "10.77.0.102  Accounting  lists: desk-42 (10.77.0.10, 02:56:44:56:58:10)\n");
  }
}

TEST(Network, HumanLinesTellWhatHappens) {
  CSimulator simulator({"--scanners", "1", "--human"}, 1);
  CClient client;
  ASSERT_TRUE(client.Send("255.255.255.255", kSnmp, kSearch));
  EXPECT_EQ(simulator.Process().ReadLine(),
            "10.77.0.101 Reception: asked whether it is a scanner, answers that it is one");
  ASSERT_TRUE(client.Send("10.77.0.101", kSnmp, kGetModel));
  EXPECT_EQ(simulator.Process().ReadLine(),
            "10.77.0.101 Reception: asked for its model, answers T55_E");
  ASSERT_TRUE(client.Send("10.77.0.101", kCommands, {'x'}));
  EXPECT_EQ(simulator.Process().ReadLine(),
            "10.77.0.101 Reception: got 1 bytes that it does not understand (1 bytes are no "
            "packet), stays silent");
  simulator.End();
}

TEST(Network, ScannersStayWhenNobodyReadsTheirOutputAnyMore) {
  CSimulator simulator({"--scanners", "1", "--human"}, 1);
  simulator.Process().LeaveOutput();
  CClient client;
  for (int i = 0; i < 2; ++i) {
    ASSERT_TRUE(client.Send("10.77.0.101", kSnmp, kGetModel));
    EXPECT_EQ(to_hex(client.Receive().bytes), kModelT55);
  }
  EXPECT_EQ(simulator.Process().Stop(SIGTERM), 0);
}

TEST(Network, QuietSimulatorWritesNothing) {
  CProcess process(Command({"--scanners", "1", "--quiet", "--ready-file", "/tmp/quiet.ready"}));
  for (int i = 0; i < kLongEnough && Contents("/tmp/quiet.ready").empty(); ++i) usleep(1000);
  ASSERT_EQ(Contents("/tmp/quiet.ready"), "ready\n");
  CClient client;
  ASSERT_TRUE(client.Send("10.77.0.101", kCommands, kRegister));
  EXPECT_EQ(to_hex(client.Receive().bytes), kAccepted);
  EXPECT_EQ(process.Stop(SIGTERM), 0);
  EXPECT_EQ(process.ReadRest(), "");
}

TEST(Network, LogHasALineForEachDatagramOfEitherDirection) {
  CSimulator simulator({"--scanners", "2", "--log", "/tmp/wire.log"}, 2);
  CClient client;
  ASSERT_TRUE(client.Send("255.255.255.255", kSnmp, kSearch));
  client.Receive();
  client.Receive();
  ASSERT_TRUE(client.Send("10.77.0.102", kCommands, kRegister));
  client.Receive();
  ASSERT_TRUE(client.Send("10.77.0.1", kSnmp, kGetModel));
  ASSERT_TRUE(client.Send("10.77.0.101", kSnmp, {0x30}));
  ASSERT_TRUE(client.Send("10.77.0.101", kSnmp, kGetModel));
  client.Receive();
  simulator.End();

  // Each line's fields are in a fixed order, so these are found from left to right.
  const char* const expected[][4] = {
      {"received", "snmp", "\"to\":\"255.255.255.255:161\",\"scanner\":\"*\"", "get-next"},
      {"sent", "snmp", "\"from\":\"10.77.0.101:161\"", "\"text\":\"answers that it is one\""},
      {"sent", "snmp", "\"from\":\"10.77.0.102:161\"", "\"scanner\":\"Accounting\""},
      {"received", "registration", "\"to\":\"10.77.0.102:3892\"", "\"meaning\":\"register\""},
      {"sent", "registration", "\"from\":\"10.77.0.102:3892\"", "\"meaning\":\"accepted\""},
      {"received", "snmp", "\"to\":\"10.77.0.1:161\",\"scanner\":\"\"",
       "\"problem\":\"no scanner has this address\""},
      {"received", "snmp", "\"to\":\"10.77.0.101:161\",\"scanner\":\"Reception\"",
       "\"understood\":null,\"problem\":"},
      {"received", "snmp", "\"to\":\"10.77.0.101:161\"", "\"text\":\"asked for its model\""},
      {"sent", "snmp", "\"from\":\"10.77.0.101:161\"", "\"text\":\"answers T55_E\""},
  };
  const auto lines = Lines("/tmp/wire.log");
  ASSERT_EQ(lines.size(), std::size(expected));
  for (size_t i = 0; i < lines.size(); ++i) {
    EXPECT_THAT(lines[i], testing::HasSubstr(std::string("\"direction\":\"") + expected[i][0]));
    EXPECT_THAT(lines[i], testing::HasSubstr(std::string("\"protocol\":\"") + expected[i][1]));
    EXPECT_THAT(lines[i], testing::HasSubstr(expected[i][2]));
    EXPECT_THAT(lines[i], testing::HasSubstr(expected[i][3]));
  }
  EXPECT_EQ(std::system("python3 -c 'import json\n"
                        "for line in open(\"/tmp/wire.log\"): json.loads(line)'"),
            0);
}

TEST(Network, HostileScenarioLeavesTheHonestScannerItsAnswers) {
  CSimulator simulator(
      {"--scenario", VELTRANA_SOURCE_DIR "/tools/scanner-sim/scenarios/hostile.conf"}, 38);
  CClient client;
  ASSERT_TRUE(client.Send("255.255.255.255", kSnmp, kSearch));
  const auto senders = Senders(ReceiveAll(&client));
  EXPECT_EQ(std::count(senders.begin(), senders.end(), "10.77.0.101:161"), 1);
  EXPECT_EQ(std::count(senders.begin(), senders.end(), "10.77.0.127:161"), 20);
  EXPECT_EQ(std::count(senders.begin(), senders.end(), "10.77.0.250:161"), 1);
  ASSERT_TRUE(client.Send("10.77.0.101", kSnmp, kGetModel));
  EXPECT_EQ(to_hex(client.Receive().bytes), kModelT55);
  simulator.End();
}

// --- what stops it

TEST(Network, AddressThatTheMachineDoesNotHaveIsNamed) {
  CProcess process(Command({"--scanners", "1", "--network", "10.78.0.0/24"}));
  EXPECT_EQ(process.ReadRest(),
            "scanner-sim: 10.78.0.101:161: Cannot assign requested address; this machine does not "
            "have the address, see script/lab for a network that has\n");
  EXPECT_EQ(process.Stop(0), 1);
}

TEST(Network, SecondSimulatorDoesNotTakeTheFirstOnesQuestions) {
  CSimulator simulator({"--scanners", "1"}, 1);
  CProcess second(Command({"--scanners", "1", "--set", "1:address=10.77.0.150"}));
  EXPECT_EQ(second.ReadRest(), "scanner-sim: 0.0.0.0:161: Address already in use\n");
  EXPECT_EQ(second.Stop(0), 1);
  simulator.End();
}

TEST(Network, ReadyFileOfAnEarlierRunIsRemovedWhenItCannotRun) {
  std::ofstream("/tmp/old.ready") << "ready\n";
  CProcess process(
      Command({"--scanners", "1", "--network", "10.78.0.0/24", "--ready-file", "/tmp/old.ready"}));
  process.ReadRest();
  EXPECT_EQ(process.Stop(0), 1);
  EXPECT_NE(access("/tmp/old.ready", F_OK), 0);
}

TEST(Network, LogThatCannotBeWrittenEndsItWithOne) {
  CProcess process(Command({"--scanners", "1", "--log", "/dev/full"}));
  process.ReadUpTo("ready: 1 scanner");
  CClient client;
  ASSERT_TRUE(client.Send("10.77.0.101", kSnmp, kGetModel));
  EXPECT_EQ(process.ReadRest(), "scanner-sim: /dev/full: No space left on device\n");
  EXPECT_EQ(process.Stop(0), 1);
}

}  // namespace
