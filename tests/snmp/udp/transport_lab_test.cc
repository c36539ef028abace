// Tests of the UDP exchanges with the fixed ports of a device.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

#include "snmp/udp/transport.h"
#include "tests/support/cancelled_thread.h"
#include "tests/support/fake_network.h"
#include "tests/support/without_network.h"

using fake_network::Always;
using fake_network::Bytes;
using fake_network::Here;
using fake_network::Hex;
using fake_network::Host;
using fake_network::Office;
using fake_network::Stopwatch;
using fake_network::ToHex;

namespace {

bool out_of_nodes = false;
bool out_of_packets = false;

}  // namespace

// The linker puts these in front of the real functions.
extern "C" {
packet_data_list* __real__Z24get_packet_data_list_memv();
packet_data_list* __wrap__Z24get_packet_data_list_memv();
void* __real_calloc(size_t count, size_t size);
void* __wrap_calloc(size_t count, size_t size);
}

packet_data_list* __wrap__Z24get_packet_data_list_memv() {
  return out_of_nodes ? nullptr : __real__Z24get_packet_data_list_memv();
}

void* __wrap_calloc(size_t count, size_t size) {
  if (out_of_packets && count * size == sizeof(packet_data)) return nullptr;
  return __real_calloc(count, size);
}

namespace {

class SnmpPortTest : public ::testing::Test {
 protected:
  ~SnmpPortTest() override {
    out_of_nodes = false;
    out_of_packets = false;
  }

  PacketDataListPtr Exchange(const char* address, unsigned int seconds) {
    const Bytes question = Hex("30 01 02");
    return PacketDataListPtr(net_send_rev(address, seconds, question.data(), 3));
  }
};

TEST_F(SnmpPortTest, SendsToPort161AndTakesTheAnswer) {
  Host device(Office("10.77.0.64", 161), Always(Hex("30 82 AA 00")));
  const PacketDataListPtr list = Exchange("10.77.0.64", 20);
  ASSERT_NE(nullptr, list);
  EXPECT_EQ(nullptr, list->next);
  ASSERT_NE(nullptr, list->data);
  // The address bytes in memory order, in the low half of the field.
  EXPECT_EQ(htonl(0x0A4D0040), list->data->sender_address);
  EXPECT_EQ(4, list->data->length);
  EXPECT_EQ("30 82 AA 00 00", ToHex(Bytes(list->data->data, list->data->data + 5)));
  ASSERT_EQ(1u, device.Log().size());
  EXPECT_EQ("30 01 02", ToHex(device.Log()[0].bytes));
}

TEST_F(SnmpPortTest, HostNameIsLookedUp) {
  Host device(Here("127.0.0.1", 161), Always(Hex("05")));
  EXPECT_NE(nullptr, Exchange("localhost", 20));
}

TEST_F(SnmpPortTest, TakesTheAnswerOfAnyHost) {
  Host device(Office("0.0.0.0", 161), [](Host& host, const fake_network::Received& request) {
    host.ReplyAs("10.77.0.99", request, Hex("05"));
  });
  const PacketDataListPtr list = Exchange("10.77.0.64", 20);
  ASSERT_NE(nullptr, list);
  EXPECT_EQ(htonl(0x0A4D0063), list->data->sender_address);
}

TEST_F(SnmpPortTest, DatagramIsCutAt1536Bytes) {
  Host device(Office("10.77.0.64", 161), Always(Bytes(1537, 0x55)));
  const PacketDataListPtr list = Exchange("10.77.0.64", 20);
  ASSERT_NE(nullptr, list);
  EXPECT_EQ(1536, list->data->length);
  EXPECT_EQ(0x55, list->data->data[1535]);
}

TEST_F(SnmpPortTest, ZeroSecondsDoNotWait) {
  Host device(Office("10.77.0.64", 161));
  const Stopwatch watch;
  EXPECT_EQ(nullptr, Exchange("10.77.0.64", 0));
  EXPECT_LT(watch.Seconds(), 0.9);
  EXPECT_EQ(1u, device.WaitFor(1).size());
}

TEST_F(SnmpPortTest, SilenceGivesNoList) {
  Host device(Office("10.77.0.64", 161));
  const Stopwatch watch;
  EXPECT_EQ(nullptr, Exchange("10.77.0.64", 1));
  EXPECT_GE(watch.Seconds(), 0.95);
  EXPECT_LT(watch.Seconds(), 3);
  EXPECT_EQ(1u, device.Log().size());
}

TEST_F(SnmpPortTest, UnresolvableHostNameFailsAtOnce) {
  const Stopwatch watch;
  EXPECT_EQ(nullptr, Exchange("no..such.host", 20));
  EXPECT_LT(watch.Seconds(), 10);
}

TEST_F(SnmpPortTest, ShortMemoryGivesNoListAndClosesTheSocket) {
  Host device(Office("10.77.0.64", 161), Always(Hex("05")));
  const int before = CountDescriptors();
  out_of_nodes = true;
  EXPECT_EQ(nullptr, Exchange("10.77.0.64", 20));
  out_of_nodes = false;
  out_of_packets = true;
  EXPECT_EQ(nullptr, Exchange("10.77.0.64", 20));
  EXPECT_EQ(before, CountDescriptors());
}

TEST_F(SnmpPortTest, CancelledWaitClosesItsSocket) {
  Host device(Office("10.77.0.64", 161));
  const int before = CountDescriptors();
  EXPECT_TRUE(EndsCancelled([&] { Exchange("10.77.0.64", 600); }, [&] { device.WaitFor(1); }));
  EXPECT_EQ(before, CountDescriptors());
}

TEST(CommandPort, Is3892AlsoWhenSetTo0) {
  Host scanner(Office("10.77.0.64", 3892), Always(Hex("AA")));
  unsigned char answer[4] = {};
  int length = 4;
  EXPECT_EQ(0, udp_send_rev("10.77.0.64", 20, answer, 1, answer, &length));
  udpCommandPort1 = 0;
  length = 4;
  EXPECT_EQ(0, udp_send_rev("10.77.0.64", 20, answer, 2, answer, &length));
  EXPECT_EQ(0, udp_send("10.77.0.64", 3, answer, 3));
  udpCommandPort1 = 3892;
  const auto log = scanner.WaitFor(3);
  ASSERT_EQ(3u, log.size());
  EXPECT_EQ(1u, log[0].bytes.size());
  EXPECT_EQ(2u, log[1].bytes.size());
  EXPECT_EQ(3u, log[2].bytes.size());
}

// The broadcast address needs an option that this exchange does not set.
TEST(CommandPort, WhetherTheDatagramLeftIsNotLookedAt) {
  const unsigned char byte = 0;
  EXPECT_EQ(0, udp_send("255.255.255.255", 3, &byte, 1));
}

// Every wait runs as long as if the datagram had left: a start without a network takes its second.
TEST(FailedSend, IsNotNoticedAndTheWaitRuns) {
  WithoutNetwork([] {
    const unsigned char question[] = {0x30, 0x00};
    unsigned char answer[4];
    int length = 4;
    EXPECT_EQ(0, udp_send("10.77.0.64", 1, question, 2));
    const Stopwatch command;
    EXPECT_EQ(-3, udp_send_rev("10.77.0.64", 1, question, 2, answer, &length));
    EXPECT_GE(command.Seconds(), 0.95);
    const Stopwatch one;
    EXPECT_EQ(nullptr, PacketDataListPtr(net_send_rev("10.77.0.64", 1, question, 2)));
    EXPECT_GE(one.Seconds(), 0.95);
  });
}

}  // namespace
