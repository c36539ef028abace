// Tests of the registration on scanners, on the lab's network and in networks with other
// interfaces.
#include "devreg/client_registration.h"

#include <gtest/gtest.h>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>

#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "devreg/udp_command.h"
#include "tests/support/cancelled_thread.h"
#include "tests/support/debug_lines.h"
#include "tests/support/fake_network.h"
#include "tests/support/line_numbers.h"

using fake_network::Always;
using fake_network::Bytes;
using fake_network::Hex;
using fake_network::Host;
using fake_network::Office;
using fake_network::Part;
using fake_network::Received;
using fake_network::Stopwatch;
using fake_network::ToHex;
using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

namespace {

using Lines = std::vector<std::string>;
using Commands = std::vector<std::string>;

constexpr char kScanner[] = "10.77.0.64";

bool no_socket = false;

// The request of which kind fails, and with which error; 0 for none.
unsigned long failing_ioctl = 0;
int ioctl_error = 0;

}  // namespace

// The linker puts these in front of the real functions.
extern "C" {
time_t __wrap_time(time_t* result);
void __wrap_srand(unsigned int seed);
int __wrap_rand();
int __real_socket(int domain, int type, int protocol);
int __wrap_socket(int domain, int type, int protocol);
int __real_ioctl(int fd, unsigned long request, ...);
int __wrap_ioctl(int fd, unsigned long request, ...);
}

time_t __wrap_time(time_t* /*result*/) { return 1700000000; }

void __wrap_srand(unsigned int /*seed*/) {}

int __wrap_rand() { return 0x1234ABCD; }

int __wrap_socket(int domain, int type, int protocol) {
  if (!no_socket) return __real_socket(domain, type, protocol);
  errno = EMFILE;
  return -1;
}

int __wrap_ioctl(int fd, unsigned long request, ...) {
  va_list args;
  va_start(args, request);
  void* argument = va_arg(args, void*);
  va_end(args);
  if (request != failing_ioctl) return __real_ioctl(fd, request, argument);
  errno = ioctl_error;
  return -1;
}

namespace {

// Gives the n-th reply to the n-th datagram, and the last one from then on.
Host::Handler InTurn(const std::vector<Bytes>& replies) {
  auto next = std::make_shared<size_t>(0);
  return [=](Host& host, const Received& request) {
    host.Reply(request, replies[*next]);
    if (*next + 1 < replies.size()) ++*next;
  };
}

const Bytes kAccepted = Hex("4D 46 50 50 30 32 30 30 4D 4C 30 31 CD AB 31 C4 00 00 00 00");
const Bytes kNotNow = Hex("4D 46 50 50 30 32 30 30 4D 4C 30 31 CD AB 31 D4 00 00 00 00");

class RegistrationTest : public ::testing::Test {
 protected:
  RegistrationTest() { Reset(); }
  ~RegistrationTest() override { Reset(); }

  static void Reset() {
    no_socket = false;
    failing_ioctl = 0;
  }

  static int Register(const char* name, const char* ip = kScanner) {
    sockaddr_in device = fake_network::SocketAddress(ip, 9);
    return cmd_register(&device, name);
  }

  // What get_ip_mac chooses, as "address mac", on top of zeros.
  std::string Choice() {
    in_addr address{};
    Bytes mac(6);
    m_iPromiscuous = get_ip_mac(&address, mac.data());
    return fake_network::Text(address) + " " + ToHex(mac);
  }

  int m_iPromiscuous = -1;
};

// Runs `test` in a network of its own that these `ip` commands set up; there is no interface but
// lo, which is down, before.
void InNetwork(const std::vector<Commands>& setup, const std::function<void()>& test) {
  std::thread([&] {
    ASSERT_EQ(0, unshare(CLONE_NEWNET));
    for (const Commands& commands : setup) {
      for (const std::string& command : commands) {
        ASSERT_EQ(0, std::system(("ip " + command).c_str())) << command;
      }
    }
    test();
  }).join();
}

// Commands for an interface. Its other end has no address and so is not listed.
Commands Interface(const std::string& name, const std::string& mac, const std::string& address) {
  return {"link add " + name + " address " + mac + " type veth peer name peer-" + name,
          "address add " + address + " dev " + name, "link set " + name + " up"};
}

const auto kEth0 = Interface("eth0", "02:00:00:00:00:0a", "10.1.0.10/24");
const auto kWlan0 = Interface("wlan0", "02:00:00:00:00:0b", "10.2.0.10/24");
const auto kLoop1 = Interface("loop1", "02:00:00:00:00:0c", "10.3.0.10/24");

TEST(ClientRegistration, RecordIsLaidOutAsOnTheWire) {
  EXPECT_EQ(28u, sizeof(tagCLIENTREGPARAM));
  EXPECT_EQ(0u, offsetof(CLIENTREGPARAM, address));
  EXPECT_EQ(4u, offsetof(CLIENTREGPARAM, szHostName));
  EXPECT_EQ(16u, sizeof(CLIENTREGPARAM::szHostName));
  EXPECT_EQ(20u, offsetof(CLIENTREGPARAM, mac));
  EXPECT_EQ(26u, offsetof(CLIENTREGPARAM, fixed0));
  EXPECT_EQ(27u, offsetof(CLIENTREGPARAM, fixed1));
}

TEST_F(RegistrationTest, RecordHoldsTheAddressesButNoName) {
  CLIENTREGPARAM param;
  memset(&param, 0xEE, sizeof(param));
  EXPECT_EQ(0, BuildClientRegParam(&param, nullptr));
  const auto* bytes = reinterpret_cast<const unsigned char*>(&param);
  EXPECT_EQ(
      "0A 4D 00 0A "
      "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 "
      "02 56 44 56 58 10 00 01",
      ToHex(Bytes(bytes, bytes + 28)));
}

TEST_F(RegistrationTest, RegisterSendsTheRecordAndTakesTheAcceptance) {
  Host scanner(Office(kScanner, 3892), Always(kAccepted));
  const DebugLines lines;
  const std::string error = " (Inappropriate ioctl for device)\n";
  errno = ENOTTY;
  EXPECT_EQ(0, Register("my-desk"));
  ASSERT_EQ(1u, scanner.Log().size());
  EXPECT_EQ(
      "4D 46 50 50 30 32 30 30 4D 4C 30 31 "
      "CD AB 31 03 1C 00 00 00 "
      "0A 4D 00 0A "
      "6D 79 2D 64 65 73 6B 00 00 00 00 00 00 00 00 00 "
      "02 56 44 56 58 10 00 01",
      ToHex(scanner.Log()[0].bytes));
  EXPECT_EQ((Lines{
                "[get_ip_mac(#)]: interface num is intrface=2\n",
                "[get_ip_mac(#)]: net device eth0\n",
                "[get_ip_mac(#)]: the interface status is UP\n",
                "[get_ip_mac(#)]: IP address is: 10.77.0.10\n",
                "[get_ip_mac(#)]: HW address is: 02:56:44:56:58:10\n",
                "[get_ip_mac(#)]: net device lo\n",
                "[get_ip_mac(#)]: the interface status is UP\n",
                "[get_ip_mac(#)]: IP address is: 127.0.0.1\n",
                "[get_ip_mac(#)]: HW address is: 00:00:00:00:00:00\n",
                "[UdpCommandSendResponse(#)]: UdpCommandSendResponse (ipAddress=10.77.0.64) \n",
                "[cmd_register(#)]: cmd_register:response.command=0xc4" + error,
                "[cmd_register(#)]: cmd_register:CMD_CLRG_REG_OK_RES=0xc4" + error,
            }),
            WithoutNumbers(lines.All()));
}

TEST_F(RegistrationTest, LongNameIsCutTo15Characters) {
  Host scanner(Office(kScanner, 3892), Always(kAccepted));
  EXPECT_EQ(0, Register("abcdefghijklmnopqrst"));
  EXPECT_EQ(0, Register("abcdefghijklmno"));
  ASSERT_EQ(2u, scanner.Log().size());
  for (const Received& received : scanner.Log()) {
    EXPECT_EQ("61 62 63 64 65 66 67 68 69 6A 6B 6C 6D 6E 6F 00 02 56",
              Part(received.bytes, 24, 18));
  }
}

TEST_F(RegistrationTest, NotNowIsAskedThreeTimesInAll) {
  Host scanner(Office(kScanner, 3892), Always(kNotNow));
  const DebugLines lines;
  EXPECT_EQ(0xD4, Register("my-desk"));
  const auto log = scanner.WaitFor(3);
  ASSERT_EQ(3u, log.size());
  EXPECT_EQ(ToHex(log[0].bytes), ToHex(log[2].bytes));
  EXPECT_NE(std::string::npos, lines.All()[lines.All().size() - 2].find("response.command=0xd4 ("));
}

TEST_F(RegistrationTest, NotNowTwiceThenAccepted) {
  Host scanner(Office(kScanner, 3892), InTurn({kNotNow, kNotNow, kAccepted}));
  EXPECT_EQ(0, Register("my-desk"));
  EXPECT_EQ(3u, scanner.Log().size());
}

TEST_F(RegistrationTest, AnyOtherReplyIsTheResult) {
  Bytes refused = kAccepted;
  refused[15] = 0x99;
  refused[14] = 0x00;  // the category is not looked at
  Host scanner(Office(kScanner, 3892), Always(refused));
  EXPECT_EQ(0x99, Register("my-desk"));
  EXPECT_EQ(1u, scanner.Log().size());
}

TEST_F(RegistrationTest, DataOfAReplyAreOfNoInterest) {
  Bytes not_now = kNotNow;
  not_now[16] = 0xFF;
  not_now.resize(20 + 255, 0xDD);
  Host scanner(Office(kScanner, 3892), Always(not_now));
  EXPECT_EQ(0xD4, Register("my-desk"));
}

TEST_F(RegistrationTest, FailedExchangeIsLoggedAndNotRepeated) {
  no_socket = true;
  const DebugLines lines;
  EXPECT_EQ(-1, Register("my-desk"));
  EXPECT_EQ((std::vector<std::string>{
                "[UdpCommandSendResponse(#)]: UdpCommandSendResponse (ipAddress=10.77.0.64) \n",
                "[cmd_register(#)]: client register command failed\n"}),
            WithoutNumbers(lines.All()));
}

TEST_F(RegistrationTest, RegisterOneNetDeviceDropsTheResult) {
  Host scanner(Office(kScanner, 3892), Always(kAccepted));
  const DebugLines lines;
  registerOneNetDevice(kScanner, "my-desk");
  EXPECT_EQ("[registerOneNetDevice(#)]: registerOneNetDevice ip=(10.77.0.64)\n",
            WithoutNumbers(lines.All()).front());
  ASSERT_EQ(1u, scanner.Log().size());
  EXPECT_EQ("CD AB 31 03 1C 00", Part(scanner.Log()[0].bytes, 12, 6));
}

TEST_F(RegistrationTest, UnregisterSendsTheRecordAndDoesNotWait) {
  Host scanner(Office(kScanner, 3892));
  const Stopwatch watch;
  EXPECT_EQ(0, unregisterOnDevice(kScanner, "a name of 20 letters"));
  EXPECT_LT(watch.Seconds(), 2.5);
  const auto log = scanner.WaitFor(1);
  ASSERT_EQ(1u, log.size());
  EXPECT_EQ(
      "4D 46 50 50 30 32 30 30 4D 4C 30 31 "
      "CD AB 31 05 1C 00 00 00 "
      "0A 4D 00 0A "
      "61 20 6E 61 6D 65 20 6F 66 20 32 30 20 6C 65 00 "
      "02 56 44 56 58 10 00 01",
      ToHex(log[0].bytes));
}

TEST_F(RegistrationTest, UnregisterFailsWhenNothingCanBeSent) {
  EXPECT_EQ(-1, unregisterOnDevice("no..such.host", "my-desk"));
}

TEST_F(RegistrationTest, LoIsNeverChosenAndEth0Is) {
  InNetwork({Commands{"link set lo up"}},
            [&] { EXPECT_EQ("0.0.0.0 00 00 00 00 00 00", Choice()); });
  InNetwork({Commands{"link set lo up"}, kEth0},
            [&] { EXPECT_EQ("10.1.0.10 02 00 00 00 00 0A", Choice()); });
}

TEST_F(RegistrationTest, FirstOfTheListIsChosen) {
  InNetwork({kEth0, kWlan0}, [&] { EXPECT_EQ("10.1.0.10 02 00 00 00 00 0A", Choice()); });
  InNetwork({kWlan0, kEth0}, [&] { EXPECT_EQ("10.2.0.10 02 00 00 00 00 0B", Choice()); });
}

TEST_F(RegistrationTest, FirstOfTheListIsChosenEvenWhenItIsDown) {
  InNetwork({kEth0, kWlan0, Commands{"link set eth0 down"}}, [&] {
    const DebugLines lines;
    EXPECT_EQ("10.1.0.10 02 00 00 00 00 0A", Choice());
    EXPECT_EQ((Lines{
                  "[get_ip_mac(#)]: interface num is intrface=2\n",
                  "[get_ip_mac(#)]: net device wlan0\n",
                  "[get_ip_mac(#)]: the interface status is UP\n",
                  "[get_ip_mac(#)]: IP address is: 10.2.0.10\n",
                  "[get_ip_mac(#)]: HW address is: 02:00:00:00:00:0b\n",
                  "[get_ip_mac(#)]: net device eth0\n",
                  "[get_ip_mac(#)]: the interface status is DOWN\n",
                  "[get_ip_mac(#)]: IP address is: 10.1.0.10\n",
                  "[get_ip_mac(#)]: HW address is: 02:00:00:00:00:0a\n",
              }),
              WithoutNumbers(lines.All()));
  });
}

TEST_F(RegistrationTest, NamesThatBeginWithLoAreNeverChosen) {
  InNetwork({kLoop1}, [&] { EXPECT_EQ("0.0.0.0 00 00 00 00 00 00", Choice()); });
  InNetwork({kLoop1, kEth0}, [&] { EXPECT_EQ("10.1.0.10 02 00 00 00 00 0A", Choice()); });
  InNetwork({Interface("l0", "02:00:00:00:00:0d", "10.4.0.10/24")},
            [&] { EXPECT_EQ("10.4.0.10 02 00 00 00 00 0D", Choice()); });
}

TEST_F(RegistrationTest, InterfaceWithoutAnAddressIsNotListed) {
  InNetwork({Commands{"link add eth0 type veth peer name eth1", "link set eth0 up"}}, [&] {
    const DebugLines lines;
    EXPECT_EQ("0.0.0.0 00 00 00 00 00 00", Choice());
    EXPECT_EQ((Lines{"[get_ip_mac(#)]: interface num is intrface=0\n"}),
              WithoutNumbers(lines.All()));
  });
}

TEST_F(RegistrationTest, WithoutAUsableInterfaceTheRecordHasZeros) {
  InNetwork({Commands{"link set lo up"}}, [&] {
    CLIENTREGPARAM param;
    memset(&param, 0xEE, sizeof(param));
    EXPECT_EQ(0, BuildClientRegParam(&param, nullptr));
    const auto* bytes = reinterpret_cast<const unsigned char*>(&param);
    EXPECT_EQ(ToHex(Bytes(27, 0)) + " 01", ToHex(Bytes(bytes, bytes + 28)));
  });
}

TEST_F(RegistrationTest, PromiscuousInterfacesAreCountedAndLogged) {
  InNetwork(
      {kEth0, kWlan0, kLoop1, Commands{"link set eth0 promisc on", "link set loop1 promisc on"}},
      [&] {
        const DebugLines lines;
        EXPECT_EQ("10.1.0.10 02 00 00 00 00 0A", Choice());
        EXPECT_EQ(2, m_iPromiscuous);
        const Lines all = WithoutNumbers(lines.All());
        ASSERT_EQ(15u, all.size());
        EXPECT_EQ("[get_ip_mac(#)]: net device loop1\n", all[1]);
        EXPECT_EQ("[get_ip_mac(#)]: the interface is PROMISC\n", all[2]);
        EXPECT_EQ("[get_ip_mac(#)]: the interface status is UP\n", all[3]);
        EXPECT_EQ("[get_ip_mac(#)]: net device eth0\n", all[10]);
        EXPECT_EQ("[get_ip_mac(#)]: the interface is PROMISC\n", all[11]);
      });
}

TEST_F(RegistrationTest, SixteenInterfacesAreLookedAt) {
  Commands many = kEth0;
  for (int i = 1; i <= 17; ++i) {
    many.push_back("address add 10.5." + std::to_string(i) + ".1/24 dev eth0");
  }
  InNetwork({many}, [&] {
    const DebugLines lines;
    EXPECT_EQ("10.1.0.10 02 00 00 00 00 0A", Choice());
    EXPECT_EQ("[get_ip_mac(#)]: interface num is intrface=16\n",
              WithoutNumbers(lines.All()).front());
  });
}

TEST_F(RegistrationTest, MissingSocketIsReportedAndNothingStored) {
  no_socket = true;
  CaptureStderr();
  EXPECT_EQ("0.0.0.0 00 00 00 00 00 00", Choice());
  EXPECT_EQ("cpm: socket: Too many open files\n", GetCapturedStderr());
  EXPECT_EQ(0, m_iPromiscuous);
}

TEST_F(RegistrationTest, InterfacesThatCannotBeListedAreReported) {
  const int before = CountDescriptors();
  failing_ioctl = SIOCGIFCONF;
  ioctl_error = EPERM;
  const DebugLines lines;
  CaptureStderr();
  EXPECT_EQ("0.0.0.0 00 00 00 00 00 00", Choice());
  EXPECT_EQ("cpm: ioctl: Operation not permitted\n", GetCapturedStderr());
  EXPECT_EQ(0, m_iPromiscuous);
  EXPECT_EQ(before, CountDescriptors());
  EXPECT_TRUE(lines.All().empty());
}

TEST_F(RegistrationTest, MissingFlagsAreNotReportedAndReadAsDown) {
  failing_ioctl = SIOCGIFFLAGS;
  ioctl_error = ENODEV;
  const DebugLines lines;
  CaptureStderr();
  EXPECT_EQ("10.77.0.10 02 56 44 56 58 10", Choice());
  EXPECT_EQ("", GetCapturedStderr());
  EXPECT_EQ(0, m_iPromiscuous);
  EXPECT_EQ("[get_ip_mac(#)]: the interface status is DOWN\n", WithoutNumbers(lines.All())[2]);
}

TEST_F(RegistrationTest, MissingAddressIsReportedAndLeavesTheHardwareAddress) {
  failing_ioctl = SIOCGIFADDR;
  ioctl_error = EADDRNOTAVAIL;
  CaptureStderr();
  EXPECT_EQ("0.0.0.0 02 56 44 56 58 10", Choice());
  EXPECT_EQ(
      "cpm: ioctl device eth0: Cannot assign requested address\n"
      "cpm: ioctl device lo: Cannot assign requested address\n",
      GetCapturedStderr());
}

TEST_F(RegistrationTest, MissingHardwareAddressIsReportedAndLeavesTheAddress) {
  failing_ioctl = SIOCGIFHWADDR;
  ioctl_error = ENODEV;
  CaptureStderr();
  EXPECT_EQ("10.77.0.10 00 00 00 00 00 00", Choice());
  EXPECT_EQ(
      "cpm: ioctl device eth0: No such device\n"
      "cpm: ioctl device lo: No such device\n",
      GetCapturedStderr());
}

TEST_F(RegistrationTest, SocketsAreClosed) {
  Host scanner(Office(kScanner, 3892), Always(kAccepted));
  const int before = CountDescriptors();
  EXPECT_EQ(0, Register("my-desk"));
  EXPECT_EQ(0, unregisterOnDevice(kScanner, "my-desk"));
  EXPECT_EQ(before, CountDescriptors());
}

}  // namespace
