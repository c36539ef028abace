// Tests of the questions to a single device, with devices on loopback.
#include "snmp/device_query.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "tests/support/cancelled_thread.h"
#include "tests/support/snmp_answer.h"

using fake_network::Always;
using fake_network::Bytes;
using fake_network::Here;
using fake_network::Hex;
using fake_network::Host;
using fake_network::kSysName;
using fake_network::kVendorName;
using fake_network::Normal;
using fake_network::Part;
using fake_network::SnmpAnswer;
using fake_network::TextElement;
using fake_network::ToHex;

namespace {

constexpr char kDevice[] = "127.0.0.5";
constexpr char kMacName[] = "2B 06 01 02 01 02 02 01 06 01";

class DeviceQueryTest : public ::testing::Test {
 protected:
  DeviceQueryTest() {
    memset(m_Text, '?', sizeof(m_Text));
    srand(1);
  }

  // What was asked, without message header, community and request id.
  static std::string Asked(Host& device) {
    const auto log = device.Log();
    if (log.size() != 1) return "not one question";
    const std::string hex = ToHex(log[0].bytes);
    const size_t list = hex.find("30 82", 6);
    return Part(log[0].bytes, 15, 1) + " ... " + hex.substr(list);
  }

  char m_Text[300];
};

TEST_F(DeviceQueryTest, NameIsSysNameWithoutTrailingBlanks) {
  Host device(Here(kDevice, 161), Always(Hex("30 33 02 01 00 04 06 70 75 62 6C 69 63"
                                             "A2 26 02 01 01 02 01 00 02 01 00"
                                             "30 1B 30 19 06 08 2B 06 01 02 01 01 05 00"
                                             "04 0D 50 52 49 4E 54 45 52 2D 31 32 20 20 20")));
  EXPECT_EQ(0, net_get_name(kDevice, m_Text, 256));
  EXPECT_EQ(Bytes({'P', 'R', 'I', 'N', 'T', 'E', 'R', '-', '1', '2', 0, 0, 0, 0, '?'}),
            Bytes(m_Text, m_Text + 15));
  ASSERT_EQ(1u, device.Log().size());
  EXPECT_EQ(Normal("30 82 00 2B 02 01 00 04 06 70 75 62 6C 69 63"
                   "A0 1E 02 04 6B 8B 45 67 02 01 00 02 01 00"
                   "30 10 30 82 00 0C 06 08 2B 06 01 02 01 01 05 00 05 00"),
            ToHex(device.Log()[0].bytes));
}

TEST_F(DeviceQueryTest, VendorIsTheMakersFirstObject) {
  Host device(Here(kDevice, 161), Always(SnmpAnswer(kVendorName, TextElement("Veltrana"))));
  EXPECT_EQ(0, net_get_vendor(kDevice, m_Text, 256));
  EXPECT_STREQ("Veltrana", m_Text);
  EXPECT_EQ("A0 ... 30 82 00 10 06 0C 2B 06 01 04 01 85 5B 01 02 01 01 00 05 00", Asked(device));
}

TEST_F(DeviceQueryTest, ModelIsTheMakersSecondObject) {
  Host device(Here(kDevice, 161), Always(SnmpAnswer(kVendorName, TextElement("T55_E"))));
  EXPECT_EQ(0, net_get_model(kDevice, m_Text, 256));
  EXPECT_STREQ("T55_E", m_Text);
  EXPECT_EQ("A0 ... 30 82 00 10 06 0C 2B 06 01 04 01 85 5B 01 02 01 02 00 05 00", Asked(device));
}

TEST_F(DeviceQueryTest, AnyObjectCanBeAskedFor) {
  Host device(Here(kDevice, 161), Always(SnmpAnswer(kSysName, TextElement("  a b\t\r\n"))));
  EXPECT_EQ(0, net_get_string(kDevice, "1.3.6.1.2.1.1.6.0", m_Text, 20));
  EXPECT_STREQ("  a b", m_Text);
  EXPECT_EQ("A0 ... 30 82 00 0C 06 08 2B 06 01 02 01 01 06 00 05 00", Asked(device));
}

TEST_F(DeviceQueryTest, AnswerAsLongAsTheBufferIsTerminatedBehindIt) {
  Host device(Here(kDevice, 161), Always(SnmpAnswer(kSysName, TextElement("ABCDEFGH"))));
  EXPECT_EQ(0, net_get_name(kDevice, m_Text, 8));
  EXPECT_EQ(Bytes({'A', 'B', 'C', 'D', 'E', 'F', 'G', 'H', 0, '?'}), Bytes(m_Text, m_Text + 10));
}

TEST_F(DeviceQueryTest, AnswerLongerThanTheBufferLeavesItAlone) {
  Host device(Here(kDevice, 161), Always(SnmpAnswer(kSysName, TextElement("ABCDEFGHI"))));
  testing::internal::CaptureStderr();
  EXPECT_EQ(-3, net_get_name(kDevice, m_Text, 8));
  EXPECT_EQ("ERROR: snmp_get: RET_SNMP_PARAM_ERR\n", testing::internal::GetCapturedStderr());
  EXPECT_EQ("??????????", std::string(m_Text, 10));
}

TEST_F(DeviceQueryTest, BlankAnswerIsAnEmptyText) {
  Host device(Here(kDevice, 161), Always(SnmpAnswer(kSysName, TextElement("   "))));
  EXPECT_EQ(0, net_get_name(kDevice, m_Text, 256));
  EXPECT_STREQ("", m_Text);
}

TEST_F(DeviceQueryTest, MissingObjectFailsAndLeavesTheBufferAlone) {
  Host device(Here(kDevice, 161), Always(SnmpAnswer(kVendorName, Hex("05 00"), 2)));
  EXPECT_EQ(-1, net_get_vendor(kDevice, m_Text, 256));
  EXPECT_EQ("???", std::string(m_Text, 3));
  EXPECT_EQ(-1, net_get_mac(kDevice, m_Text));
  EXPECT_EQ("???", std::string(m_Text, 3));
}

TEST_F(DeviceQueryTest, HardwareAddressIsWrittenInLowerCase) {
  Host device(Here(kDevice, 161), Always(SnmpAnswer(kMacName, Hex("04 06 02 11 22 3A 4B 5C"))));
  EXPECT_EQ(0, net_get_mac(kDevice, m_Text));
  EXPECT_EQ(std::string("02:11:22:3a:4b:5c\0?", 19), std::string(m_Text, 19));
  EXPECT_EQ("A0 ... 30 82 00 0E 06 0A 2B 06 01 02 01 02 02 01 06 01 05 00", Asked(device));
}

TEST_F(DeviceQueryTest, MissingBytesOfAHardwareAddressAreZero) {
  Host device(Here(kDevice, 161), Always(SnmpAnswer(kMacName, Hex("04 02 AB CD"))));
  EXPECT_EQ(0, net_get_mac(kDevice, m_Text));
  EXPECT_STREQ("ab:cd:00:00:00:00", m_Text);
}

TEST_F(DeviceQueryTest, FurtherBytesOfAHardwareAddressAreLeftOut) {
  Host device(Here(kDevice, 161),
              Always(SnmpAnswer(kMacName, Hex("04 08 01 02 03 04 05 06 07 08"))));
  EXPECT_EQ(0, net_get_mac(kDevice, m_Text));
  EXPECT_STREQ("01:02:03:04:05:06", m_Text);
}

TEST_F(DeviceQueryTest, CancelledQuestionClosesItsSocket) {
  Host device(Here(kDevice, 161));
  const int before = CountDescriptors();
  EXPECT_TRUE(
      EndsCancelled([&] { net_get_name(kDevice, m_Text, 256); }, [&] { device.WaitFor(1); }));
  EXPECT_EQ(before, CountDescriptors());
}

}  // namespace
