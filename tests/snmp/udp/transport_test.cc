// Tests of the UDP exchanges on loopback. What needs the fixed ports is in transport_lab_test.cc.
#include "snmp/udp/transport.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <netdb.h>
#include <sys/eventfd.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "snmp/udp/udp_socket.h"
#include "tests/support/cancelled_thread.h"
#include "tests/support/fake_network.h"
#include "tests/support/no_descriptors.h"

using fake_network::Always;
using fake_network::Bytes;
using fake_network::Here;
using fake_network::Hex;
using fake_network::Host;
using fake_network::Received;
using fake_network::Stopwatch;
using fake_network::ToHex;

namespace {

// Fails in the resolver itself, so that no name server is asked.
constexpr char kUnknownHost[] = "no..such.host";

// What the resolver needs to store the host it finds.
size_t size_of_host_entry = 0;

}  // namespace

// The linker puts these in front of the real function.
extern "C" {
int __real_gethostbyname_r(const char* name, hostent* entry, char* buffer, size_t size,
                           hostent** result, int* error);
int __wrap_gethostbyname_r(const char* name, hostent* entry, char* buffer, size_t size,
                           hostent** result, int* error);
}

int __wrap_gethostbyname_r(const char* name, hostent* entry, char* buffer, size_t size,
                           hostent** result, int* error) {
  if (size < size_of_host_entry) return ERANGE;
  return __real_gethostbyname_r(name, entry, buffer, size, result, error);
}

namespace {

// A socket on loopback to receive on.
class Receiver {
 public:
  Receiver() : m_iSocket(fake_network::Bind(Here("127.0.0.1"))) {}
  ~Receiver() { close(m_iSocket); }
  int Get() const { return m_iSocket; }

  // Sends to the socket and returns the port that it was sent from.
  unsigned short Send(const Bytes& bytes) const {
    sockaddr_in own{};
    socklen_t length = sizeof(own);
    getsockname(m_iSocket, reinterpret_cast<sockaddr*>(&own), &length);
    const int sender = fake_network::Bind(Here("127.0.0.9"));
    sendto(sender, bytes.data(), bytes.size(), 0, reinterpret_cast<sockaddr*>(&own), sizeof(own));
    getsockname(sender, reinterpret_cast<sockaddr*>(&own), &length);
    close(sender);
    return ntohs(own.sin_port);
  }

 private:
  int m_iSocket;
};

void AllowManyDescriptors() {
  rlimit limit{};
  getrlimit(RLIMIT_NOFILE, &limit);
  limit.rlim_cur = rlim_t{2} * FD_SETSIZE;
  ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &limit));
}

// Takes all descriptors that fit into an fd_set.
class ManyDescriptors {
 public:
  ManyDescriptors() {
    AllowManyDescriptors();
    int fd = 0;
    while (fd >= 0 && fd < FD_SETSIZE - 1) {
      fd = eventfd(0, 0);
      m_Taken.push_back(fd);
    }
    EXPECT_EQ(FD_SETSIZE - 1, fd);
  }
  ~ManyDescriptors() {
    for (const int fd : m_Taken) close(fd);
  }
  ManyDescriptors(const ManyDescriptors&) = delete;
  ManyDescriptors& operator=(const ManyDescriptors&) = delete;

 private:
  std::vector<int> m_Taken;
};

// Tests with a fake scanner, on a port of its own instead of 3892.
class CommandPortTest : public ::testing::Test {
 protected:
  ~CommandPortTest() override { udpCommandPort1 = 3892; }

  int Exchange(const Host& scanner, unsigned int seconds, unsigned char* answer, int* length) {
    udpCommandPort1 = scanner.Port();
    return udp_send_rev("127.0.0.1", seconds, m_Command.data(), static_cast<int>(m_Command.size()),
                        answer, length);
  }

  const Bytes m_Command = Hex("4D 46 50 50 00 FF");
};

TEST(Transport, NeedsNoStart) { EXPECT_EQ(0, net_start()); }

TEST(Transport, CommandPortIs3892AtStart) { EXPECT_EQ(3892, udpCommandPort1); }

TEST(Transport, OpensAnIpv4DatagramSocket) {
  int fd = -1;
  ASSERT_EQ(0, net_socket(&fd));
  int type = 0;
  int domain = 0;
  socklen_t size = sizeof(type);
  getsockopt(fd, SOL_SOCKET, SO_TYPE, &type, &size);
  getsockopt(fd, SOL_SOCKET, SO_DOMAIN, &domain, &size);
  EXPECT_EQ(SOCK_DGRAM, type);
  EXPECT_EQ(AF_INET, domain);
  net_close(fd);
  EXPECT_EQ(-1, fcntl(fd, F_GETFD));
}

TEST(Transport, ReportsThatNoSocketCouldBeOpened) {
  const NoDescriptors none;
  int fd = 5;
  EXPECT_EQ(-1, net_socket(&fd));
}

TEST(Transport, DoesNotCloseDescriptor0) {
  if (fcntl(0, F_GETFD) < 0) {
    ASSERT_EQ(0, open("/dev/null", O_RDONLY));
  }
  net_close(0);
  EXPECT_NE(-1, fcntl(0, F_GETFD));
}

TEST(Transport, WaitsWithThreeResults) {
  const Receiver receiver;
  const Stopwatch watch;
  EXPECT_EQ(0, readable_timeo(receiver.Get(), 1));
  EXPECT_GE(watch.Seconds(), 0.95);
  EXPECT_EQ(-1, net_select(receiver.Get(), 0));
  receiver.Send(Hex("01"));
  EXPECT_EQ(1, readable_timeo(receiver.Get(), 20));
  EXPECT_EQ(0, net_select(receiver.Get(), 20));
  EXPECT_LT(readable_timeo(-1, 1), 0);
  EXPECT_EQ(-1, net_select(-1, 1));
}

TEST(Transport, TimeOutOfASelectIsAFailure) {
  const Receiver receiver;
  const Stopwatch watch;
  EXPECT_EQ(-1, net_select(receiver.Get(), 1));
  EXPECT_GE(watch.Seconds(), 0.95);
  EXPECT_LT(watch.Seconds(), 3);
}

// An fd_set has room for the descriptors below 1024.
TEST(Transport, RefusesToWaitOnADescriptorThatNoSetCanHold) {
  AllowManyDescriptors();
  const Receiver receiver;
  receiver.Send(Hex("01"));
  const int high = fcntl(receiver.Get(), F_DUPFD, FD_SETSIZE);
  ASSERT_GE(high, FD_SETSIZE);
  EXPECT_EQ(-1, readable_timeo(high, 1));
  EXPECT_EQ(-1, net_select(high, 1));
  unsigned char byte = 0;
  EXPECT_EQ(-1, recvfrom_timeo(high, &byte, 1, 0, nullptr, nullptr, 1));
  EXPECT_EQ(1, recvfrom_timeo(high, &byte, 1, 0, nullptr, nullptr, 0));
  close(high);
}

TEST(Transport, ReceivesWithinTheTimeOut) {
  const Receiver receiver;
  const unsigned short port = receiver.Send(Hex("01 02 03"));
  unsigned char buffer[8] = {};
  sockaddr_in from{};
  socklen_t length = sizeof(from);
  EXPECT_EQ(3, recvfrom_timeo(receiver.Get(), buffer, sizeof(buffer), 0,
                              reinterpret_cast<sockaddr*>(&from), &length, 20));
  EXPECT_EQ("01 02 03", ToHex(Bytes(buffer, buffer + 3)));
  EXPECT_EQ("127.0.0.9", fake_network::Text(from.sin_addr));
  EXPECT_EQ(port, ntohs(from.sin_port));
  EXPECT_EQ(sizeof(from), length);
}

TEST(Transport, ReceiveTimesOut) {
  const Receiver receiver;
  unsigned char byte = 0;
  const Stopwatch watch;
  EXPECT_EQ(-3, recvfrom_timeo(receiver.Get(), &byte, 1, 0, nullptr, nullptr, 1));
  EXPECT_GE(watch.Seconds(), 0.95);
  EXPECT_LT(watch.Seconds(), 3);
}

TEST(Transport, ReceiveFails) {
  unsigned char byte = 0;
  EXPECT_EQ(-1, recvfrom_timeo(-1, &byte, 1, 0, nullptr, nullptr, 1));
  EXPECT_EQ(-1, recvfrom_timeo(-1, &byte, 1, 0, nullptr, nullptr, 0));
}

TEST(Transport, ReceiveHandsOnItsFlags) {
  const Receiver receiver;
  receiver.Send(Hex("01"));
  unsigned char byte = 0;
  EXPECT_EQ(1, recvfrom_timeo(receiver.Get(), &byte, 1, MSG_PEEK, nullptr, nullptr, 20));
  EXPECT_EQ(1, recvfrom_timeo(receiver.Get(), &byte, 1, 0, nullptr, nullptr, 20));
}

TEST(Transport, ReceiveWithZeroSecondsBlocksUntilADatagramArrives) {
  const Receiver receiver;
  std::thread sender([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(1200));
    receiver.Send(Hex("AA BB"));
  });
  unsigned char buffer[8] = {};
  const Stopwatch watch;
  EXPECT_EQ(2, recvfrom_timeo(receiver.Get(), buffer, sizeof(buffer), 0, nullptr, nullptr, 0));
  EXPECT_GE(watch.Seconds(), 1.1);
  sender.join();
}

TEST(Transport, TakesDottedTextAsItIs) {
  in_addr address{};
  EXPECT_EQ(0, net_resolve("10.77.0.64", &address));
  EXPECT_EQ("10.77.0.64", fake_network::Text(address));
}

TEST(Transport, LooksHostNamesUp) {
  in_addr address{};
  EXPECT_EQ(0, net_resolve("localhost", &address));
  EXPECT_EQ("127.0.0.1", fake_network::Text(address));
  EXPECT_EQ(-1, net_resolve(kUnknownHost, &address));
  EXPECT_EQ(-1, net_resolve("", &address));
}

TEST(Transport, BroadcastAddressPassesTheHostNameLookUp) {
  in_addr address{};
  EXPECT_EQ(0, net_resolve("255.255.255.255", &address));
  EXPECT_EQ("255.255.255.255", fake_network::Text(address));
}

TEST(Resolve, HostWithManyNamesAndAddressesIsFoundToo) {
  size_of_host_entry = 5000;
  in_addr address{};
  EXPECT_EQ(0, net_resolve("localhost", &address));
  EXPECT_EQ(htonl(INADDR_LOOPBACK), address.s_addr);
  size_of_host_entry = 0;
}

TEST_F(CommandPortTest, SendsOneDatagramToTheCommandPort) {
  Host scanner(Here("127.0.0.1"));
  udpCommandPort1 = scanner.Port();
  EXPECT_EQ(0, udp_send("127.0.0.1", 3, m_Command.data(), 6));
  EXPECT_EQ(0, udp_send("localhost", 0, m_Command.data(), 3));
  const auto log = scanner.WaitFor(2);
  ASSERT_EQ(2u, log.size());
  EXPECT_EQ("4D 46 50 50 00 FF", ToHex(log[0].bytes));
  EXPECT_EQ("4D 46 50", ToHex(log[1].bytes));
}

TEST_F(CommandPortTest, SendingDoesNotWait) {
  Host scanner(Here("127.0.0.1"));
  udpCommandPort1 = scanner.Port();
  const Stopwatch watch;
  EXPECT_EQ(0, udp_send("127.0.0.1", 20, m_Command.data(), 6));
  EXPECT_LT(watch.Seconds(), 3);
}

TEST_F(CommandPortTest, UnresolvableHostNameFailsWithoutSending) {
  Host scanner(Here("127.0.0.1"));
  udpCommandPort1 = scanner.Port();
  unsigned char answer[8] = {};
  int length = sizeof(answer);
  EXPECT_EQ(-1, udp_send(kUnknownHost, 3, m_Command.data(), 6));
  EXPECT_EQ(-1, udp_send_rev(kUnknownHost, 3, m_Command.data(), 6, answer, &length));
  EXPECT_EQ(0, udp_send("127.0.0.1", 3, m_Command.data(), 1));
  const auto log = scanner.WaitFor(1);
  ASSERT_EQ(1u, log.size());
  EXPECT_EQ("4D", ToHex(log[0].bytes));
}

TEST_F(CommandPortTest, FailsWithoutASocket) {
  unsigned char answer[8] = {};
  int length = sizeof(answer);
  const NoDescriptors none;
  EXPECT_EQ(-1, udp_send("127.0.0.1", 3, m_Command.data(), 6));
  EXPECT_EQ(-1, udp_send_rev("127.0.0.1", 3, m_Command.data(), 6, answer, &length));
  EXPECT_EQ(nullptr, net_send_rev("127.0.0.1", 3, m_Command.data(), 6));
}

// With 1024 files open a socket gets a descriptor that no fd_set holds.
TEST_F(CommandPortTest, WithSoManyFilesOpenTheDatagramIsSentAndTheWaitFailsAtOnce) {
  Host scanner(Here("127.0.0.1"), Always(Hex("01 02 03")));
  const ManyDescriptors many;
  unsigned char answer[8] = {0xEE};
  int length = sizeof(answer);
  const Stopwatch watch;
  EXPECT_EQ(-1, Exchange(scanner, 20, answer, &length));
  EXPECT_LT(watch.Seconds(), 10);
  EXPECT_EQ(1u, scanner.WaitFor(1).size());
  EXPECT_EQ(0xEE, answer[0]);
  EXPECT_EQ(0, Exchange(scanner, 0, answer, &length)) << "nothing is waited for with a set";
  EXPECT_EQ(3, length);
}

TEST_F(CommandPortTest, TakesTheAnswerAndClearsTheRestOfTheBuffer) {
  Host scanner(Here("127.0.0.1"), Always(Hex("01 02 03")));
  unsigned char answer[6];
  memset(answer, 0xEE, sizeof(answer));
  int length = 5;
  EXPECT_EQ(0, Exchange(scanner, 20, answer, &length));
  EXPECT_EQ(3, length);
  EXPECT_EQ("01 02 03 00 00 EE", ToHex(Bytes(answer, answer + 6)));
  ASSERT_EQ(1u, scanner.Log().size());
  EXPECT_EQ("4D 46 50 50 00 FF", ToHex(scanner.Log()[0].bytes));
}

TEST_F(CommandPortTest, TakesAnAnswerThatFillsTheBuffer) {
  Host scanner(Here("127.0.0.1"), Always(Hex("01 02 03")));
  unsigned char answer[3] = {};
  int length = 3;
  EXPECT_EQ(0, Exchange(scanner, 20, answer, &length));
  EXPECT_EQ(3, length);
  EXPECT_EQ("01 02 03", ToHex(Bytes(answer, answer + 3)));
}

TEST_F(CommandPortTest, AnswerThatIsTooLargeFailsAndLeavesTheBufferZeroed) {
  Host scanner(Here("127.0.0.1"), Always(Bytes(600, 0x55)));
  unsigned char answer[513];
  memset(answer, 0xEE, sizeof(answer));
  int length = 512;
  EXPECT_EQ(-1, Exchange(scanner, 20, answer, &length));
  EXPECT_EQ(ToHex(Bytes(512, 0)), ToHex(Bytes(answer, answer + 512)));
  EXPECT_EQ(0xEE, answer[512]);
}

TEST_F(CommandPortTest, DatagramIsCutAt1536Bytes) {
  Host scanner(Here("127.0.0.1"), Always(Bytes(1700, 0x55)));
  unsigned char answer[1600];
  int length = 1600;
  EXPECT_EQ(0, Exchange(scanner, 20, answer, &length));
  EXPECT_EQ(1536, length);
  EXPECT_EQ(0x55, answer[1535]);
  EXPECT_EQ(0, answer[1536]);
}

TEST_F(CommandPortTest, EmptyDatagramIsAnAnswer) {
  Host scanner(Here("127.0.0.1"), Always(Bytes()));
  unsigned char answer[2] = {0xEE, 0xEE};
  int length = 2;
  EXPECT_EQ(0, Exchange(scanner, 20, answer, &length));
  EXPECT_EQ(0, length);
  EXPECT_EQ("00 00", ToHex(Bytes(answer, answer + 2)));
}

TEST_F(CommandPortTest, WithoutRoomForAnAnswerNothingIsSent) {
  Host scanner(Here("127.0.0.1"), Always(Hex("01")));
  unsigned char answer[1] = {};
  int length = 0;
  EXPECT_EQ(-1, Exchange(scanner, 20, answer, &length));
  length = -1;
  EXPECT_EQ(-1, Exchange(scanner, 20, answer, &length));
  length = 1;
  EXPECT_EQ(-1, Exchange(scanner, 20, nullptr, &length));
  EXPECT_EQ(0, udp_send("127.0.0.1", 3, m_Command.data(), 1));
  const auto log = scanner.WaitFor(1);
  ASSERT_EQ(1u, log.size());
  EXPECT_EQ("4D", ToHex(log[0].bytes));
}

TEST_F(CommandPortTest, ZeroSecondsWaitForEver) {
  Host scanner(Here("127.0.0.1"), [](Host& host, const Received& request) {
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    host.Reply(request, Hex("01 02 03"));
  });
  unsigned char answer[8] = {};
  int length = sizeof(answer);
  EXPECT_EQ(0, Exchange(scanner, 0, answer, &length));
  EXPECT_EQ(3, length);
}

TEST_F(CommandPortTest, SilenceIsTold) {
  Host scanner(Here("127.0.0.1"));
  unsigned char answer[2] = {0xEE, 0xEE};
  int length = 2;
  const Stopwatch watch;
  EXPECT_EQ(-3, Exchange(scanner, 1, answer, &length));
  EXPECT_GE(watch.Seconds(), 0.95);
  EXPECT_LT(watch.Seconds(), 3);
  EXPECT_EQ("EE EE", ToHex(Bytes(answer, answer + 2)));
  EXPECT_EQ(2, length);
}

TEST_F(CommandPortTest, EveryExchangeClosesItsSocket) {
  Host scanner(Here("127.0.0.1"), Always(Hex("01 02 03")));
  const int before = CountDescriptors();
  unsigned char answer[3];
  int length = 3;
  EXPECT_EQ(0, Exchange(scanner, 20, answer, &length));
  length = 2;
  EXPECT_EQ(-1, Exchange(scanner, 20, answer, &length));
  EXPECT_EQ(0, udp_send("127.0.0.1", 3, m_Command.data(), 6));
  EXPECT_EQ(-1, udp_send(kUnknownHost, 3, m_Command.data(), 6));
  EXPECT_EQ(before, CountDescriptors());
}

TEST_F(CommandPortTest, CancelledWaitClosesItsSocket) {
  Host scanner(Here("127.0.0.1"));
  const int before = CountDescriptors();
  for (const unsigned int seconds : {600u, 0u}) {
    const size_t sent = scanner.Log().size();
    EXPECT_TRUE(EndsCancelled(
        [&] {
          unsigned char answer[3];
          int length = 3;
          Exchange(scanner, seconds, answer, &length);
        },
        [&] { scanner.WaitFor(sent + 1); }));
  }
  EXPECT_EQ(before, CountDescriptors());
}

// A request that comes when the waits are over must not be acted on by close(2) in a destructor,
// which would end the whole program.
TEST_F(CommandPortTest, CancellationIsNotActedOnWhileASocketIsClosed) {
  const int before = CountDescriptors();
  bool returned = false;
  EXPECT_TRUE(EndsCancelled(
      [&] {
        {
          const UdpSocket socket;
          pthread_cancel(pthread_self());
        }
        returned = true;
        pthread_testcancel();
      },
      [] {}));
  EXPECT_TRUE(returned);
  EXPECT_EQ(before, CountDescriptors());
}

}  // namespace
