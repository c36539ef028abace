// Tests of registering and unregistering while a call of the C library fails: the code that comes
// back, and what is sent all the same.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "app/log/debug_log.h"
#include "devreg/client_registration.h"
#include "devreg/udp_command.h"
#include "tests/failures/failing_calls.h"
#include "tests/failures/other_process.h"

namespace {

using failing::FailEach;
using failing::Mode;
using failing::Result;
using fake_network::Bytes;
using fake_network::Host;
using fake_network::Office;
using fake_network::Received;
using fake_network::ToHex;

constexpr int kSideBySide = 8;
constexpr char kReady[] = "10.77.0.64";
constexpr char kBusy[] = "10.77.0.65";

// How this computer shows itself: address, name, hardware address, 00 01.
constexpr char kName[] = "desk";
constexpr char kNameBytes[] = "64 65 73 6B 00 00 00 00 00 00 00 00 00 00 00 00";
constexpr char kAddress[] = "0A 4D 00 0A ";
constexpr char kNoAddress[] = "00 00 00 00 ";
constexpr char kMac[] = " 02 56 44 56 58 10";
constexpr char kNoMac[] = " 00 00 00 00 00 00";

std::string Record(const char* address, const char* mac) {
  return std::string(address) + kNameBytes + mac + " 00 01";
}

// A scanner that is ready accepts the command, a busy one says "not now".
void Answer(Host& host, const Received& request) {
  if (request.bytes[15] != 0x03) return;
  Bytes reply(request.bytes.begin(), request.bytes.begin() + 20);
  reply[15] = request.to == kReady ? 0xC4 : 0xD4;
  reply[16] = 0;
  host.Reply(request, reply);
}

int code = 77;
std::string device;

// The code and what was sent: as often as needed "TIMESxRECORD", or "nothing".
std::string Describe() {
  const std::vector<Bytes> sent = failing::Sent();
  std::string seen = std::to_string(code) + ": ";
  if (sent.empty()) return seen + "nothing";
  for (const Bytes& packet : sent) {
    EXPECT_EQ(48U, packet.size());
    if (packet != sent[0] && std::equal(sent[0].begin() + 20, sent[0].end(), packet.begin() + 20)) {
      continue;  // another sequence number
    }
    EXPECT_EQ(ToHex(sent[0]), ToHex(packet));
  }
  return seen + std::to_string(sent.size()) + "x" + ToHex({sent[0].begin() + 20, sent[0].end()});
}

std::string Seen(int result, int times, const char* address = kAddress, const char* mac = kMac) {
  const std::string seen = std::to_string(result) + ": ";
  return seen + (times == 0 ? "nothing" : std::to_string(times) + "x" + Record(address, mac));
}

const failing::Operation kRegister = {"register",
                                      [] {
                                        sockaddr_in address{};
                                        address.sin_addr.s_addr = inet_addr(device.c_str());
                                        code = cmd_register(&address, kName);
                                      },
                                      Describe};

const failing::Operation kUnregister = {
    "unregister", [] { code = unregisterOnDevice(device.c_str(), kName); }, Describe};

bool Says(const Result& result, const std::string& words) {
  return result.errors.find(words) != std::string::npos;
}

class RegistrationFailureTest : public ::testing::TestWithParam<Mode> {
 protected:
  void SetUp() override {
    failing::ExpectAnswers(0, 1);
    myDbgFunc = myDbgOutputStderr;
    device = kReady;
  }
  void TearDown() override { myDbgFunc = myDbgNop; }

  static bool Once() { return GetParam() == failing::kOnce; }

  // Runs the operation as FailEach does. `expected` gives what is seen when the n-th call fails.
  static void ExpectRuns(int runs, failing::Call call, const failing::Operation& operation,
                         const std::string& without_failure,
                         const std::function<std::string(int)>& expected) {
    const bool registers = &operation == &kRegister;
    EXPECT_EQ(runs, FailEach(call, GetParam(), operation, kSideBySide, [&](const Result& result) {
                EXPECT_FALSE(result.threw_bad_alloc);
                EXPECT_EQ(result.reached ? expected(result.n) : without_failure, result.seen);
                EXPECT_EQ(registers && result.seen.substr(0, 3) == "-1:",
                          Says(result, "]: client register command failed\n"));
              }));
  }

  OtherProcess m_Office{[] { return std::make_unique<Host>(Office("0.0.0.0", 3892), Answer); }};
};

// --- register -----------------------------------------------------------------------------------

TEST_P(RegistrationFailureTest, RegisterWithoutMemoryFails) {
  ExpectRuns(2, failing::kMalloc, kRegister, Seen(0, 1), [](int) { return Seen(-1, 0); });
}

// A busy scanner is asked three times, with a new packet each time.
TEST_P(RegistrationFailureTest, RegisterWithoutMemoryForALaterPacketFails) {
  device = kBusy;
  ExpectRuns(4, failing::kMalloc, kRegister, Seen(0xD4, 3), [](int n) { return Seen(-1, n - 1); });
}

// The first socket is for the interfaces: without it the record is sent without address.
TEST_P(RegistrationFailureTest, RegisterWithoutASocketSendsNoAddressOrFails) {
  ExpectRuns(3, failing::kSocket, kRegister, Seen(0, 1),
             [](int n) { return n == 1 && Once() ? Seen(0, 1, kNoAddress, kNoMac) : Seen(-1, 0); });
}

TEST_P(RegistrationFailureTest, RegisterWithoutASocketSaysWhy) {
  FailEach(failing::kSocket, GetParam(), kRegister, 1, [](const Result& result) {
    EXPECT_EQ(result.reached && result.n == 1, Says(result, "cpm: socket: Too many open files\n"));
  });
}

// What could not be sent is sent again, up to three times. A datagram that was not sent counts
// here.
TEST_P(RegistrationFailureTest, RegisterWithoutSendingTriesAgain) {
  ExpectRuns(2, failing::kSendto, kRegister, Seen(0, 1),
             [](int) { return Once() ? Seen(0, 2) : Seen(-1, 3); });
}

TEST_P(RegistrationFailureTest, RegisterWithoutReceivingFails) {
  ExpectRuns(2, failing::kRecvfrom, kRegister, Seen(0, 1), [](int) { return Seen(-1, 1); });
}

TEST_P(RegistrationFailureTest, RegisterWithoutWaitingFails) {
  ExpectRuns(2, failing::kSelect, kRegister, Seen(0, 1), [](int) { return Seen(-1, 1); });
}

TEST_P(RegistrationFailureTest, RegisterOfABusyScannerFailsAtAnyExchange) {
  device = kBusy;
  for (const failing::Call call : {failing::kRecvfrom, failing::kSelect}) {
    ExpectRuns(4, call, kRegister, Seen(0xD4, 3), [](int n) { return Seen(-1, n); });
  }
}

// What is asked about the interfaces, in this order: their list; then flags, address and hardware
// address of eth0, and the same of lo.
std::string WithoutAnswerAbout(int n, Mode mode) {
  const bool all_after = mode == failing::kFromThenOn;
  const bool no_address = n == 1 || n == 3 || (all_after && n < 3);
  const bool no_mac = n == 1 || n == 4 || (all_after && n < 4);
  return Seen(0, 1, no_address ? kNoAddress : kAddress, no_mac ? kNoMac : kMac);
}
constexpr int kInterfaceQuestions = 1 + 3 + 3;

TEST_P(RegistrationFailureTest, RegisterWithoutInterfacesSendsWhatItKnows) {
  ExpectRuns(kInterfaceQuestions + 1, failing::kIoctl, kRegister, Seen(0, 1),
             [](int n) { return WithoutAnswerAbout(n, GetParam()); });
}

TEST_P(RegistrationFailureTest, RegisterWithoutInterfacesSaysWhy) {
  FailEach(failing::kIoctl, GetParam(), kRegister, 1, [](const Result& result) {
    const auto fails = [&](int n) {
      return result.reached && (result.n == n || (!Once() && result.n < n && result.n > 1));
    };
    EXPECT_EQ(fails(1), Says(result, "cpm: ioctl: No such device\n"));
    EXPECT_EQ(fails(3) || fails(4), Says(result, "cpm: ioctl device eth0: No such device\n"));
    EXPECT_EQ(fails(6) || fails(7), Says(result, "cpm: ioctl device lo: No such device\n"));
  });
}

// --- unregister ---------------------------------------------------------------------------------

TEST_P(RegistrationFailureTest, UnregisterWithoutMemoryFails) {
  ExpectRuns(2, failing::kMalloc, kUnregister, Seen(0, 1), [](int) { return Seen(-1, 0); });
}

TEST_P(RegistrationFailureTest, UnregisterWithoutASocketSendsNoAddressOrFails) {
  ExpectRuns(3, failing::kSocket, kUnregister, Seen(0, 1),
             [](int n) { return n == 1 && Once() ? Seen(0, 1, kNoAddress, kNoMac) : Seen(-1, 0); });
}

// Nobody looks whether it was sent, and nothing is awaited.
TEST_P(RegistrationFailureTest, UnregisterTakesNoNoticeOfSending) {
  ExpectRuns(2, failing::kSendto, kUnregister, Seen(0, 1), [](int) { return Seen(0, 1); });
  for (const failing::Call call : {failing::kRecvfrom, failing::kSelect}) {
    ExpectRuns(1, call, kUnregister, Seen(0, 1), nullptr);
  }
}

TEST_P(RegistrationFailureTest, UnregisterWithoutInterfacesSendsWhatItKnows) {
  ExpectRuns(kInterfaceQuestions + 1, failing::kIoctl, kUnregister, Seen(0, 1),
             [](int n) { return WithoutAnswerAbout(n, GetParam()); });
}

// --- the codes of the command channel -----------------------------------------------------------

// The broadcast address is looked up as a name, which takes memory of its own.
const failing::Operation kSendByName = {
    "command by name",
    [] {
      unsigned char data[28] = {};
      UDPCOMMAND request{0x05, 0x31, sizeof(data), 0, data};
      code = UdpCommandSend("255.255.255.255", 7, &request);
    },
    [] { return std::to_string(code) + (failing::Sent().empty() ? "" : " sent"); }};

TEST_P(RegistrationFailureTest, CommandByNameWithoutMemoryGivesACode) {
  kSendByName.run();  // the C library reads once how names are looked up
  const auto check = [](const Result& result) {
    EXPECT_FALSE(result.threw_bad_alloc);
    EXPECT_EQ(!result.reached ? "0 sent" : result.n == 1 ? "-2" : "-1", result.seen);
  };
  // The packet, and what looking up takes.
  EXPECT_LE(3, FailEach(failing::kMalloc, GetParam(), kSendByName, kSideBySide, check));
}

const failing::Operation kSendResponse = {"command with reply",
                                          [] {
                                            unsigned char data[28] = {};
                                            UDPCOMMAND request{0x03, 0x31, sizeof(data), 0, data};
                                            UDPCOMMAND response{0, 0, sizeof(data), 0, data};
                                            code = UdpCommandSendResponse(device.data(), &request,
                                                                          &response);
                                          },
                                          [] { return std::to_string(code); }};

TEST_P(RegistrationFailureTest, CommandWithReplyGivesItsCodes) {
  const std::pair<failing::Call, std::string> codes[] = {
      {failing::kMalloc, "-2"},
      {failing::kSocket, "-1"},
      {failing::kSendto, Once() ? "0" : "-101"},
      {failing::kRecvfrom, "-1"},
      {failing::kSelect, "-1"},
  };
  for (const auto& [call, expected] : codes) {
    EXPECT_EQ(2, FailEach(call, GetParam(), kSendResponse, kSideBySide,
                          [&failed = expected](const Result& result) {
                            EXPECT_EQ(result.reached ? failed : "0", result.seen);
                          }));
  }
}

INSTANTIATE_TEST_SUITE_P(OnceAndFromThenOn, RegistrationFailureTest,
                         ::testing::ValuesIn(failing::kModes));

}  // namespace
