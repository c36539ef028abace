// Tests of the command channel: conversations with fake scanners on loopback.
#include "devreg/udp_command.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>
#include <vector>

#include "tests/support/debug_lines.h"
#include "tests/support/fake_network.h"
#include "tests/support/line_numbers.h"
#include "tests/support/record_layout.h"

using fake_network::Always;
using fake_network::Bytes;
using fake_network::Here;
using fake_network::Hex;
using fake_network::Host;
using fake_network::Part;
using fake_network::Received;
using fake_network::Stopwatch;
using fake_network::ToHex;

namespace {

// Fails in the resolver itself, so that no name server is asked.
constexpr char kUnknownHost[] = "no..such.host";

// What the random generator is seeded with and gives.
constexpr time_t kNow = 1700000000;
std::vector<unsigned int> seeds;
int next_random = 0;

size_t failing_malloc_size = 0;

// Blocks of a gigabyte and more are refused, and the size of the last one noted.
constexpr size_t kGigabyte = size_t{1} << 30;
size_t huge_malloc_size = 0;

}  // namespace

// The linker puts these in front of the real functions.
extern "C" {
time_t __wrap_time(time_t* result);
void __wrap_srand(unsigned int seed);
int __wrap_rand();
void* __real_malloc(size_t size);
void* __wrap_malloc(size_t size);
}

time_t __wrap_time(time_t* result) {
  if (result != nullptr) *result = kNow;
  return kNow;
}

void __wrap_srand(unsigned int seed) { seeds.push_back(seed); }

int __wrap_rand() { return next_random; }

void* __wrap_malloc(size_t size) {
  if (size == failing_malloc_size) return nullptr;
  if (size >= kGigabyte) {
    huge_malloc_size = size;
    return nullptr;
  }
  void* block = __real_malloc(size);
  // As memory that was used before.
  return block != nullptr ? memset(block, 0xA5, size) : nullptr;
}

namespace {

// Gives the n-th reply to the n-th datagram, and none when they are used up.
Host::Handler InTurn(const std::vector<Bytes>& replies) {
  auto next = std::make_shared<size_t>(0);
  return [=](Host& host, const Received& request) {
    if (*next < replies.size()) host.Reply(request, replies[(*next)++]);
  };
}

// The scanner listens on a port of its own instead of 3892, and every command has the sequence
// number CD AB on the wire.
class UdpCommandTest : public ::testing::Test {
 protected:
  UdpCommandTest() {
    seeds.clear();
    next_random = 0x1234ABCD;
    failing_malloc_size = 0;
    memset(m_ReplyData, 0xEE, sizeof(m_ReplyData));
  }
  ~UdpCommandTest() override {
    udpCommandPort1 = 3892;
    failing_malloc_size = 0;
  }

  int Send(const Host& scanner, int sequence) {
    udpCommandPort1 = scanner.Port();
    return UdpCommandSend(m_szAddress, sequence, &m_Request);
  }

  int SendResponse(const Host& scanner) {
    udpCommandPort1 = scanner.Port();
    return UdpCommandSendResponse(m_szAddress, &m_Request, &m_Response);
  }

  static Bytes First(Host& scanner) {
    const auto log = scanner.WaitFor(1);
    return log.empty() ? Bytes() : log[0].bytes;
  }

  char m_szAddress[16] = "127.0.0.1";
  unsigned char m_Data[300] = {0x0A, 0x0B, 0x0C};
  UDPCOMMAND m_Request{0x05, 0x31, 3, 0x00, m_Data};
  unsigned char m_ReplyData[300];
  UDPCOMMAND m_Response{0xEE, 0xEE, 28, 0xEE, m_ReplyData};
};

TEST(UdpCommand, FieldsAreInOrder) {
  EXPECT_EQ(0u, offsetof(UDPCOMMAND, command));
  EXPECT_TRUE(FOLLOWS(UDPCOMMAND, command, category));
  EXPECT_TRUE(FOLLOWS(UDPCOMMAND, category, length));
  EXPECT_TRUE(FOLLOWS(UDPCOMMAND, length, status));
  EXPECT_TRUE(FOLLOWS(UDPCOMMAND, status, data));
}

TEST(UdpCommand, PortsAre3892AtStart) {
  EXPECT_EQ(3892, udpCommandPort);
  EXPECT_EQ(3892, udpCommandPort1);
}

TEST_F(UdpCommandTest, PacketIsLaidOutWithCategoryBeforeCommand) {
  Host scanner(Here("127.0.0.1"));
  m_Request.status = 0x77;
  EXPECT_EQ(0, Send(scanner, 0x0102));
  EXPECT_EQ(
      "4D 46 50 50 "              // MFPP
      "30 32 30 30 4D 4C 30 31 "  // 0200ML01
      "02 01 31 05 03 77 00 00 "  // sequence, category, command, length, status
      "0A 0B 0C",
      ToHex(First(scanner)));
}

TEST_F(UdpCommandTest, LowHalfOfTheSequenceArgumentIsSent) {
  Host scanner(Here("127.0.0.1"));
  m_Request.length = 0;
  EXPECT_EQ(0, Send(scanner, 0x12345678));
  EXPECT_EQ(0, Send(scanner, 0x10000));
  const auto log = scanner.WaitFor(2);
  ASSERT_EQ(2u, log.size());
  EXPECT_EQ("4D 46 50 50 30 32 30 30 4D 4C 30 31 78 56 31 05 00 00 00 00", ToHex(log[0].bytes));
  EXPECT_EQ("4D 46 50 50 30 32 30 30 4D 4C 30 31 00 00 31 05 00 00 00 00", ToHex(log[1].bytes));
  EXPECT_TRUE(seeds.empty());
}

TEST_F(UdpCommandTest, Sequence0IsDrawnWithTheTimeAsSeed) {
  Host scanner(Here("127.0.0.1"));
  EXPECT_EQ(0, Send(scanner, 0));
  EXPECT_EQ("CD AB", Part(First(scanner), 12, 2));
  EXPECT_EQ(std::vector<unsigned int>{1700000000u}, seeds);
}

TEST_F(UdpCommandTest, DrawnSequenceMayBe0) {
  Host scanner(Here("127.0.0.1"));
  next_random = 0x10000;
  EXPECT_EQ(0, Send(scanner, 0));
  EXPECT_EQ("00 00", Part(First(scanner), 12, 2));
  EXPECT_EQ(1u, seeds.size());
}

TEST_F(UdpCommandTest, EveryCommandIsSeededAfresh) {
  Host scanner(Here("127.0.0.1"), Always(Hex("00 00 00 00 00 00 00 00 00 00 00 00 CD AB")));
  EXPECT_EQ(0, Send(scanner, 0));
  EXPECT_EQ(0, Send(scanner, 0));
  EXPECT_EQ(0, SendResponse(scanner));
  EXPECT_EQ((std::vector<unsigned int>{1700000000u, 1700000000u, 1700000000u}), seeds);
}

TEST_F(UdpCommandTest, LengthAbove255IsCutInTheHeaderWhileAllDataAreSent) {
  Host scanner(Here("127.0.0.1"));
  m_Data[299] = 0xFE;
  m_Request.length = 300;
  EXPECT_EQ(0, Send(scanner, 1));
  const auto log = scanner.WaitFor(1);
  ASSERT_EQ(1u, log.size());
  ASSERT_EQ(320u, log[0].bytes.size());
  EXPECT_EQ(0x2C, log[0].bytes[16]);
  EXPECT_EQ(0xFE, log[0].bytes[319]);
}

TEST_F(UdpCommandTest, NegativeLengthOrShortMemorySendsNothing) {
  Host scanner(Here("127.0.0.1"));
  m_Request.length = -1;
  EXPECT_EQ(-2, Send(scanner, 1));
  EXPECT_EQ(-2, SendResponse(scanner));
  m_Request.length = 123;
  failing_malloc_size = 143;
  EXPECT_EQ(-2, Send(scanner, 1));
  EXPECT_EQ(-2, SendResponse(scanner));
  failing_malloc_size = 0;
  m_Request.length = 3;
  EXPECT_EQ(0, Send(scanner, 1));
  scanner.WaitFor(1);
  EXPECT_EQ(1u, scanner.Log().size());
}

// A packet of more bytes than an int counts is not even tried.
TEST_F(UdpCommandTest, LengthThatIsTooLargeForAPacketSendsNothing) {
  Host scanner(Here("127.0.0.1"));
  const struct {
    int length;
    size_t asked_for;
  } kCases[] = {{INT_MAX - 20, INT_MAX}, {INT_MAX - 19, 0}, {INT_MAX, 0}};
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.length);
    m_Request.length = c.length;
    huge_malloc_size = 0;
    EXPECT_EQ(-2, Send(scanner, 1));
    EXPECT_EQ(c.asked_for, huge_malloc_size);
    huge_malloc_size = 0;
    EXPECT_EQ(-2, SendResponse(scanner));
    EXPECT_EQ(c.asked_for, huge_malloc_size);
  }
  m_Request.length = 0;
  EXPECT_EQ(0, Send(scanner, 1));
  scanner.WaitFor(1);
  EXPECT_EQ(1u, scanner.Log().size());
}

TEST_F(UdpCommandTest, UnresolvableAddressFailsWithoutADatagram) {
  Host scanner(Here("127.0.0.1"));
  snprintf(m_szAddress, sizeof(m_szAddress), "%s", kUnknownHost);
  EXPECT_EQ(-1, Send(scanner, 1));
  EXPECT_EQ(-1, SendResponse(scanner));
  snprintf(m_szAddress, sizeof(m_szAddress), "%s", "127.0.0.1");
  EXPECT_EQ(0, Send(scanner, 1));
  scanner.WaitFor(1);
  EXPECT_EQ(1u, scanner.Log().size());
}

TEST_F(UdpCommandTest, ReplyIsTaken) {
  // Neither the signature nor the category of a reply is looked at.
  Host scanner(Here("127.0.0.1"), Always(Hex("00 00 00 00 00 00 00 00 00 00 00 00 CD AB 32 C4"
                                             "04 09 00 00 D1 D2 D3 D4 D5")));
  const DebugLines lines;
  EXPECT_EQ(0, SendResponse(scanner));
  EXPECT_EQ(0xC4, m_Response.command);
  EXPECT_EQ(0x32, m_Response.category);
  EXPECT_EQ(4, m_Response.length);
  EXPECT_EQ(0x09, m_Response.status);
  EXPECT_EQ("D1 D2 D3 D4 EE", ToHex(Bytes(m_ReplyData, m_ReplyData + 5)));
  EXPECT_EQ("4D 46 50 50 30 32 30 30 4D 4C 30 31 CD AB 31 05 03 00 00 00 0A 0B 0C",
            ToHex(First(scanner)));
  EXPECT_EQ(1u, scanner.Log().size());
  EXPECT_EQ((std::vector<std::string>{
                "[UdpCommandSendResponse(#)]: UdpCommandSendResponse (ipAddress=127.0.0.1) \n"}),
            WithoutNumbers(lines.All()));
}

TEST_F(UdpCommandTest, ReplyWithoutDataLeavesTheBufferUntouched) {
  Host scanner(Here("127.0.0.1"), Always(Hex("4D 46 50 50 30 32 30 30 4D 4C 30 31 CD AB 31 C4"
                                             "00 00 00 00 AA BB")));
  EXPECT_EQ(0, SendResponse(scanner));
  EXPECT_EQ(0, m_Response.length);
  EXPECT_EQ("EE EE", ToHex(Bytes(m_ReplyData, m_ReplyData + 2)));
  m_Response.data = nullptr;
  EXPECT_EQ(0, SendResponse(scanner));
}

TEST_F(UdpCommandTest, ReplyWithDataNeedsABuffer) {
  Host scanner(Here("127.0.0.1"), Always(Hex("4D 46 50 50 30 32 30 30 4D 4C 30 31 CD AB 31 C4"
                                             "01 00 00 00 AA")));
  m_Response.data = nullptr;
  EXPECT_EQ(-3, SendResponse(scanner));
  EXPECT_EQ(0xC4, m_Response.command);
}

TEST_F(UdpCommandTest, ReplyDataAreBoundedByTheCallersBuffer) {
  Bytes reply = Hex("4D 46 50 50 30 32 30 30 4D 4C 30 31 CD AB 31 C4 FF 00 00 00");
  reply.resize(20 + 255, 0xDD);
  Host scanner(Here("127.0.0.1"), Always(reply));
  EXPECT_EQ(0, SendResponse(scanner));
  EXPECT_EQ(255, m_Response.length) << "the reply's own count";
  EXPECT_EQ(0xDD, m_ReplyData[27]);
  EXPECT_EQ(0xEE, m_ReplyData[28]);
  m_ReplyData[0] = 0xEE;
  m_Response.length = -5;
  EXPECT_EQ(0, SendResponse(scanner));
  EXPECT_EQ(0xEE, m_ReplyData[0]);
}

TEST_F(UdpCommandTest, BytesMissingFromAReplyAreZero) {
  Host scanner(Here("127.0.0.1"),
               InTurn({Hex("4D 46 50 50 30 32 30 30 4D 4C 30 31 CD AB"),
                       Hex("4D 46 50 50 30 32 30 30 4D 4C 30 31 CD AB 31 C4 03")}));
  EXPECT_EQ(0, SendResponse(scanner));
  EXPECT_EQ(0, m_Response.command);
  EXPECT_EQ(0, m_Response.category);
  EXPECT_EQ(0, m_Response.length);
  EXPECT_EQ(0, m_Response.status);
  m_Response.length = 28;
  EXPECT_EQ(0, SendResponse(scanner));
  EXPECT_EQ(0xC4, m_Response.command);
  EXPECT_EQ(3, m_Response.length);
  EXPECT_EQ("00 00 00 EE", ToHex(Bytes(m_ReplyData, m_ReplyData + 4)));
}

TEST_F(UdpCommandTest, LargeReplyIsAccepted) {
  Bytes reply = Hex("4D 46 50 50 30 32 30 30 4D 4C 30 31 CD AB 31 C4 01 00 00 00 AA");
  reply.resize(1536);
  Host scanner(Here("127.0.0.1"), Always(reply));
  EXPECT_EQ(0, SendResponse(scanner));
  EXPECT_EQ(0xAA, m_ReplyData[0]);
}

// Each wrong reply costs its attempt at once; there is no further listening on that socket, where
// the right reply follows.
TEST_F(UdpCommandTest, WrongSequenceThreeTimesIsNoReply) {
  Host scanner(Here("127.0.0.1"), [](Host& host, const Received& request) {
    host.Reply(request, Hex("4D 46 50 50 30 32 30 30 4D 4C 30 31 AB CD 31 C4 00 00 00 00"));
    host.Reply(request, Hex("4D 46 50 50 30 32 30 30 4D 4C 30 31 CD AB 31 C4 00 00 00 00"));
  });
  const Stopwatch watch;
  EXPECT_EQ(-101, SendResponse(scanner));
  EXPECT_LT(watch.Seconds(), 3);
  const auto log = scanner.WaitFor(3);
  ASSERT_EQ(3u, log.size());
  EXPECT_EQ(ToHex(log[0].bytes), ToHex(log[1].bytes));
  EXPECT_EQ(ToHex(log[0].bytes), ToHex(log[2].bytes));
  EXPECT_EQ(1u, seeds.size());
  EXPECT_EQ(0xEE, m_Response.command);
  EXPECT_EQ(28, m_Response.length);
}

TEST_F(UdpCommandTest, EitherByteOfTheSequenceCounts) {
  Host scanner(Here("127.0.0.1"),
               InTurn({Hex("4D 46 50 50 30 32 30 30 4D 4C 30 31 CD 00 31 D4 00 00 00 00"),
                       Hex("4D 46 50 50 30 32 30 30 4D 4C 30 31 00 AB 31 D4 00 00 00 00"),
                       Hex("4D 46 50 50 30 32 30 30 4D 4C 30 31 CD AB 31 C4 00 00 00 00")}));
  EXPECT_EQ(0, SendResponse(scanner));
  EXPECT_EQ(0xC4, m_Response.command);
  EXPECT_EQ(3u, scanner.Log().size());
}

TEST_F(UdpCommandTest, SilentScannerIsAskedThreeTimesFromFreshSockets) {
  // A reply to the first attempt that comes after its time finds that socket closed.
  Host scanner(Here("127.0.0.1"), [](Host& host, const Received& /*request*/) {
    const Received first = host.Log()[0];
    if (host.Log().size() == 1) return;
    host.Reply(first, Hex("4D 46 50 50 30 32 30 30 4D 4C 30 31 CD AB 31 C4 00 00 00 00"));
  });
  const Stopwatch watch;
  EXPECT_EQ(-101, SendResponse(scanner));
  EXPECT_GE(watch.Seconds(), 8.9);
  EXPECT_LT(watch.Seconds(), 14);
  const auto log = scanner.WaitFor(3);
  ASSERT_EQ(3u, log.size());
  for (const Received& received : log) {
    EXPECT_EQ("4D 46 50 50 30 32 30 30 4D 4C 30 31 CD AB 31 05 03 00 00 00 0A 0B 0C",
              ToHex(received.bytes));
  }
}

TEST_F(UdpCommandTest, SetUdpCommandPortChangesNothingOnTheWire) {
  Host scanner(Here("127.0.0.1"));
  EXPECT_EQ(0, SetUdpCommandPort(5000));
  EXPECT_EQ(5000, udpCommandPort);
  EXPECT_EQ(3892, udpCommandPort1);
  EXPECT_EQ(0, Send(scanner, 1));
  EXPECT_FALSE(First(scanner).empty());
  EXPECT_EQ(0, SetUdpCommandPort(3892));
}

}  // namespace
