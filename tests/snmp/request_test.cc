// Tests of the SNMP requests: conversations with devices on the lab's network.
#include "snmp/request.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/cancelled_thread.h"
#include "tests/support/snmp_answer.h"
#include "tests/support/without_network.h"

using fake_network::Always;
using fake_network::Bytes;
using fake_network::Element;
using fake_network::Here;
using fake_network::Hex;
using fake_network::Host;
using fake_network::kDiscoveryName;
using fake_network::kSysName;
using fake_network::Normal;
using fake_network::Office;
using fake_network::Part;
using fake_network::Received;
using fake_network::SnmpAnswer;
using fake_network::Stopwatch;
using fake_network::TextElement;
using fake_network::ToHex;
using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

namespace {

constexpr char kDevice[] = "10.77.0.64";
constexpr char kBroadcast[] = "255.255.255.255";
constexpr char kDiscoveryOid[] = "1.3.6.1.4.1.731.405.1.1.1.3";

// The first request id after srand(1).
constexpr char kFirstRequestId[] = "6B 8B 45 67";

// What runs out of memory, and when: the n-th allocation of that kind fails, 0 for none.
int failing_pdu_array = 0;
int failing_node = 0;
int failing_calloc = 0;
size_t failing_calloc_size = 0;

// Datagrams taken so far.
std::atomic<int> nodes{0};

// When set, conversions leave an answer record without slots.
bool no_slots = false;

// Type and value length of the slot that was converted last.
int sent_type = -1;
int sent_length = -1;

// What was released and given back, in that order: "answers" and "memory".
std::vector<std::string> released;

bool IsDue(int* countdown) { return *countdown > 0 && --*countdown == 0; }

}  // namespace

// The linker puts these in front of the real functions.
extern "C" {
snmp_simple_pdu* __real__Z21get_simple_pdu_memoryii(int count, int slots);
snmp_simple_pdu* __wrap__Z21get_simple_pdu_memoryii(int count, int slots);
packet_data_list* __real__Z24get_packet_data_list_memv();
packet_data_list* __wrap__Z24get_packet_data_list_memv();
int __real__Z20snmp_standard2simplePK8snmp_pduP15snmp_simple_pdu(const snmp_pdu* standard,
                                                                 snmp_simple_pdu* simple);
int __wrap__Z20snmp_standard2simplePK8snmp_pduP15snmp_simple_pdu(const snmp_pdu* standard,
                                                                 snmp_simple_pdu* simple);
snmp_pdu* __real__Z20snmp_simple2standardP15snmp_simple_pdu(snmp_simple_pdu* simple);
snmp_pdu* __wrap__Z20snmp_simple2standardP15snmp_simple_pdu(snmp_simple_pdu* simple);
void __real__Z18free_snmp_pdu_listP13snmp_pdu_list(snmp_pdu_list* list);
void __wrap__Z18free_snmp_pdu_listP13snmp_pdu_list(snmp_pdu_list* list);
void* __real_calloc(size_t count, size_t size);
void* __wrap_calloc(size_t count, size_t size);
int __wrap_malloc_trim(size_t pad) noexcept;
}

snmp_simple_pdu* __wrap__Z21get_simple_pdu_memoryii(int count, int slots) {
  if (IsDue(&failing_pdu_array)) return nullptr;
  return __real__Z21get_simple_pdu_memoryii(count, slots);
}

packet_data_list* __wrap__Z24get_packet_data_list_memv() {
  if (IsDue(&failing_node)) return nullptr;
  ++nodes;
  return __real__Z24get_packet_data_list_memv();
}

int __wrap__Z20snmp_standard2simplePK8snmp_pduP15snmp_simple_pdu(const snmp_pdu* standard,
                                                                 snmp_simple_pdu* simple) {
  const int result = __real__Z20snmp_standard2simplePK8snmp_pduP15snmp_simple_pdu(standard, simple);
  if (no_slots) simple->variable_count = 0;
  return result;
}

snmp_pdu* __wrap__Z20snmp_simple2standardP15snmp_simple_pdu(snmp_simple_pdu* simple) {
  sent_type = simple->variables[0].type;
  sent_length = simple->variables[0].value_length;
  return __real__Z20snmp_simple2standardP15snmp_simple_pdu(simple);
}

void __wrap__Z18free_snmp_pdu_listP13snmp_pdu_list(snmp_pdu_list* list) {
  released.push_back("answers");
  __real__Z18free_snmp_pdu_listP13snmp_pdu_list(list);
}

int __wrap_malloc_trim(size_t /*pad*/) noexcept {
  released.push_back("memory");
  return 0;
}

void* __wrap_calloc(size_t count, size_t size) {
  if (count * size == failing_calloc_size && IsDue(&failing_calloc)) return nullptr;
  return __real_calloc(count, size);
}

namespace {

class RequestTest : public ::testing::Test {
 protected:
  RequestTest() {
    failing_pdu_array = failing_node = failing_calloc = 0;
    no_slots = false;
    srand(1);
  }

  // snmp_get into m_Value, which is filled with EE before.
  int Get(const char* oid, int capacity, const char* community = nullptr,
          const char* address = kDevice) {
    memset(m_Value, 0xEE, sizeof(m_Value));
    m_Get = {};
    snprintf(m_Get.name, sizeof(m_Get.name), "%s", oid);
    m_Get.value_length = capacity;
    m_Get.value = m_Value;
    return snmp_get(address, community, &m_Get);
  }

  int GetNext(const char* oid, const char* community = nullptr) {
    m_Next = {};
    snprintf(m_Next.name, sizeof(m_Next.name), "%s", oid);
    return snmp_get_next(kDevice, community, &m_Next);
  }

  std::string Value(int count) const { return ToHex(Bytes(m_Value, m_Value + count)); }

  unsigned char m_Value[4000] = {};
  snmp_get_param m_Get{};
  snmp_next_param m_Next{};
};

// A GET-NEXT of the discovery object and room for the answers, one more than `capacity`.
class ManyTest : public RequestTest {
 protected:
  ManyTest() : m_Request(get_simple_pdu_memory(1, 1), {1}) {
    m_Request->pdu_type = 0xA1;
    snprintf(m_Request->variables[0].name, sizeof(m_Request->variables[0].name), "%s",
             kDiscoveryOid);
  }

  int Ask(int capacity, const char* address = kBroadcast, unsigned int seconds = 1) {
    m_Answers = SnmpSimplePduPtr(get_simple_pdu_memory(capacity + 1, 1), {capacity + 1});
    m_iCount = 77;
    return multi_snmp_request_simple(address, seconds, m_Request.get(), m_Answers.get(), capacity,
                                     &m_iCount);
  }

  // Answers each datagram from the given addresses in turn.
  static Host::Handler From(const std::vector<std::string>& addresses,
                            const Bytes& answer = SnmpAnswer(kDiscoveryName, TextElement("x"))) {
    return [=](Host& host, const Received& request) {
      for (const std::string& address : addresses) host.ReplyAs(address, request, answer);
    };
  }

  std::string Source(int i) const {
    const auto source = m_Answers.get()[i].source_address;
    return fake_network::Text({static_cast<in_addr_t>(source)}) + (source >> 32 != 0 ? "!" : "");
  }

  SnmpSimplePduPtr m_Request;
  SnmpSimplePduPtr m_Answers{nullptr, {0}};
  int m_iCount = 0;
};

// An answer whose name has more than 255 characters of text.
Bytes InconvertibleAnswer() {
  std::string name = "2B";
  for (int i = 0; i < 50; ++i) name += "FF 7F";
  const Bytes binding = Element(0x30, {Element(0x06, {Hex(name)}), Hex("05 00")});
  const Bytes pdu = Element(0xA2, {Hex("02 01 01 02 01 00 02 01 00"), Element(0x30, {binding})});
  return Element(0x30, {Hex("02 01 00 04 00"), pdu});
}

// sysName.0 = "PRINTER-12", request id 7.
const char* const kPrinterAnswer =
    "30 30 02 01 00 04 06 70 75 62 6C 69 63"
    "A2 23 02 01 07 02 01 00 02 01 00"
    "30 18 30 16 06 08 2B 06 01 02 01 01 05 00"
    "04 0A 50 52 49 4E 54 45 52 2D 31 32";

TEST_F(RequestTest, GetSendsOneVariableAndTakesItsValue) {
  Host device(Office(kDevice, 161), Always(Hex(kPrinterAnswer)));
  EXPECT_EQ(0, Get("1.3.6.1.2.1.1.5.0", 20));
  EXPECT_EQ(10, m_Get.value_length);
  EXPECT_EQ("50 52 49 4E 54 45 52 2D 31 32 EE", Value(11));
  ASSERT_EQ(1u, device.Log().size());
  EXPECT_EQ(Normal(std::string("30 82 00 2B"
                               "02 01 00"
                               "04 06 70 75 62 6C 69 63"
                               "A0 1E"
                               "02 04") +
                   kFirstRequestId +
                   "02 01 00"
                   "02 01 00"
                   "30 10"
                   "30 82 00 0C"
                   "06 08 2B 06 01 02 01 01 05 00"
                   "05 00"),
            ToHex(device.Log()[0].bytes));
}

TEST_F(RequestTest, GetNextSendsOneVariableAndTakesTheNextOne) {
  // sysName.0 follows: the same answer as to a GET.
  Host device(Office(kDevice, 161), Always(Hex(kPrinterAnswer)));
  EXPECT_EQ(0, GetNext("1.3.6.1.2.1.1.5"));
  EXPECT_STREQ("1.3.6.1.2.1.1.5", m_Next.name);
  EXPECT_STREQ("1.3.6.1.2.1.1.5.0", m_Next.next_name);
  ASSERT_EQ(10, m_Next.value_length);
  EXPECT_EQ("50 52 49 4E 54 45 52 2D 31 32", ToHex(Bytes(m_Next.value, m_Next.value + 10)));
  EXPECT_EQ(0, snmp_memory_free(&m_Next));
  ASSERT_EQ(1u, device.Log().size());
  EXPECT_EQ(Normal(std::string("30 82 00 2A"
                               "02 01 00"
                               "04 06 70 75 62 6C 69 63"
                               "A1 1D"
                               "02 04") +
                   kFirstRequestId +
                   "02 01 00"
                   "02 01 00"
                   "30 0F"
                   "30 82 00 0B"
                   "06 07 2B 06 01 02 01 01 05"
                   "05 00"),
            ToHex(device.Log()[0].bytes));
}

TEST_F(RequestTest, CommunityIsSent) {
  Host device(Office(kDevice, 161), Always(Hex(kPrinterAnswer)));
  EXPECT_EQ(0, Get("1.3.6.1.2.1.1.5.0", 20, "abc"));
  EXPECT_EQ(0, GetNext("1.3.6.1.2.1.1.5.0", "abc"));
  EXPECT_EQ(0, snmp_memory_free(&m_Next));
  EXPECT_EQ(0, Get("1.3.6.1.2.1.1.5.0", 20, ""));
  ASSERT_EQ(3u, device.Log().size());
  EXPECT_EQ("30 82 00 28 02 01 00 04 03 61 62 63 A0 1E", Part(device.Log()[0].bytes, 0, 14));
  EXPECT_EQ("30 82 00 28 02 01 00 04 03 61 62 63 A1 1E", Part(device.Log()[1].bytes, 0, 14));
  EXPECT_EQ("30 82 00 2B 02 01 00 04 06 70 75 62 6C 69 63 A0 1E",
            Part(device.Log()[2].bytes, 0, 17));
}

TEST_F(RequestTest, OnlyAGetStatesTheRoomForItsValue) {
  Host device(Office(kDevice, 161), Always(Hex(kPrinterAnswer)));
  EXPECT_EQ(0, Get("1.3.6.1.2.1.1.5.0", 20));
  EXPECT_EQ(0x05, sent_type);
  EXPECT_EQ(20, sent_length);
  EXPECT_EQ(0, GetNext("1.3.6.1.2.1.1.5"));
  EXPECT_EQ(0, snmp_memory_free(&m_Next));
  EXPECT_EQ(0, sent_type);
  EXPECT_EQ(0, sent_length);
}

TEST_F(RequestTest, OverlongCommunityAndNameAreCutToTheirFields) {
  Host device(Office(kDevice, 161), Always(Hex(kPrinterAnswer)));
  EXPECT_EQ(0, Get("1.3.6.1.2.1.1.5.0", 20, std::string(200, 'c').c_str()));
  ASSERT_EQ(1u, device.Log().size());
  EXPECT_EQ("02 01 00 04 7F 63", Part(device.Log()[0].bytes, 4, 6));
}

TEST_F(RequestTest, HostNameIsLookedUp) {
  Host device(Here("127.0.0.1", 161), Always(Hex(kPrinterAnswer)));
  EXPECT_EQ(0, Get("1.3.6.1.2.1.1.5.0", 20, nullptr, "localhost"));
}

TEST_F(RequestTest, IntegersArriveAs64BitHostOrder) {
  Host device(Office(kDevice, 161), Always(SnmpAnswer(kSysName, Hex("02 02 01 00"))));
  EXPECT_EQ(0, Get("1.3.6.1.2.1.1.5.0", 8));
  EXPECT_EQ(8, m_Get.value_length);
  int64_t number = 0;
  memcpy(&number, m_Value, sizeof(number));
  EXPECT_EQ(256, number);
}

TEST_F(RequestTest, GetWithTooSmallABufferTellsSoAndCopiesNothing) {
  Host device(Office(kDevice, 161), Always(Hex(kPrinterAnswer)));
  CaptureStderr();
  EXPECT_EQ(-3, Get("1.3.6.1.2.1.1.5.0", 4));
  EXPECT_EQ("ERROR: snmp_get: RET_SNMP_PARAM_ERR\n", GetCapturedStderr());
  EXPECT_EQ(4, m_Get.value_length);
  EXPECT_EQ("EE EE EE EE", Value(4));
}

TEST_F(RequestTest, GetAcceptsAValueThatFillsTheBuffer) {
  Host device(Office(kDevice, 161), Always(Hex(kPrinterAnswer)));
  EXPECT_EQ(0, Get("1.3.6.1.2.1.1.5.0", 10));
  EXPECT_EQ(10, m_Get.value_length);
}

TEST_F(RequestTest, GetWithABufferBeyondTheFieldOfARecord) {
  Host device(Office(kDevice, 161), Always(Hex(kPrinterAnswer)));
  EXPECT_EQ(0, Get("1.3.6.1.2.1.1.5.0", 4000));
  EXPECT_EQ(10, m_Get.value_length);
}

TEST_F(RequestTest, GetWithoutAnyBuffer) {
  Host device(Office(kDevice, 161), Always(SnmpAnswer(kSysName, Hex("04 00"))));
  m_Get = {};
  snprintf(m_Get.name, sizeof(m_Get.name), "%s", "1.3.6.1.2.1.1.5.0");
  EXPECT_EQ(0, snmp_get(kDevice, nullptr, &m_Get));
  EXPECT_EQ(0, m_Get.value_length);
}

TEST_F(RequestTest, GetOfASilentDeviceFailsAfterThreeSecondsWithoutALine) {
  Host device(Office(kDevice, 161));
  CaptureStderr();
  const Stopwatch watch;
  EXPECT_EQ(-1, Get("1.3.6.1.2.1.1.5.0", 20));
  EXPECT_GE(watch.Seconds(), 2.9);
  EXPECT_LT(watch.Seconds(), 6);
  EXPECT_EQ("", GetCapturedStderr());
  EXPECT_EQ(1u, device.Log().size()) << "a request is sent once";
}

TEST_F(RequestTest, ErrorStatusFailsAGetSilently) {
  Host device(Office(kDevice, 161), Always(SnmpAnswer(kSysName, Hex("05 00"), 2)));
  CaptureStderr();
  EXPECT_EQ(-1, Get("1.3.6.1.2.1.1.5.0", 20));
  EXPECT_EQ("", GetCapturedStderr());
}

TEST_F(RequestTest, ErrorStatusFailsAGetNextWithALine) {
  Host device(Office(kDevice, 161), Always(SnmpAnswer(kSysName, Hex("05 00"), 2)));
  CaptureStderr();
  EXPECT_EQ(-1, GetNext("1.3.6.1.2.1.1.5.0"));
  EXPECT_EQ("ERROR: snmp_get_next: RET_SNMP_ERROR\n", GetCapturedStderr());
  EXPECT_EQ(nullptr, m_Next.value);
}

TEST_F(RequestTest, AnswerThatIsNoMessageFailsSilently) {
  Host device(Office(kDevice, 161), Always(Hex("30 81 03 02 01 00")));
  CaptureStderr();
  EXPECT_EQ(-1, Get("1.3.6.1.2.1.1.5.0", 20));
  EXPECT_EQ(-1, GetNext("1.3.6.1.2.1.1.5.0"));
  EXPECT_EQ("", GetCapturedStderr());
}

TEST_F(RequestTest, AnswerThatCannotBeConvertedFailsSilently) {
  Host device(Office(kDevice, 161), Always(InconvertibleAnswer()));
  CaptureStderr();
  EXPECT_EQ(-1, Get("1.3.6.1.2.1.1.5.0", 20));
  EXPECT_EQ("", GetCapturedStderr());
}

TEST_F(RequestTest, EmptyVariableListIsAnEmptyValue) {
  Host device(Office(kDevice, 161), Always(Hex("30 18 02 01 00 04 06 70 75 62 6C 69 63"
                                               "A2 0B 02 01 07 02 01 00 02 01 00 30 00")));
  EXPECT_EQ(0, Get("1.3.6.1.2.1.1.5.0", 20));
  EXPECT_EQ(0, m_Get.value_length);
  EXPECT_EQ(0, GetNext("1.3.6.1.2.1.1.5.0"));
  EXPECT_STREQ("", m_Next.next_name);
  EXPECT_NE(nullptr, m_Next.value);
  EXPECT_EQ(0, snmp_memory_free(&m_Next));
}

TEST_F(RequestTest, NameThatIsNoObjectIdentifierIsNotSent) {
  Host device(Office(kDevice, 161), Always(Hex(kPrinterAnswer)));
  CaptureStderr();
  EXPECT_EQ(-1, Get(".1.3", 20));
  EXPECT_EQ(-1, GetNext("system"));
  EXPECT_EQ("", GetCapturedStderr());
  EXPECT_EQ(0, Get("1.3.6.1.2.1.1.5.0", 20));
  EXPECT_EQ(1u, device.Log().size());
}

TEST_F(RequestTest, ShortMemoryForTheRecordsIsTold) {
  for (const int nth : {1, 2}) {
    failing_pdu_array = nth;
    CaptureStderr();
    EXPECT_EQ(-2, Get("1.3.6.1.2.1.1.5.0", 20));
    EXPECT_EQ("ERROR: snmp_get: RET_SNMP_MEMORY_ERR\n", GetCapturedStderr());
    failing_pdu_array = nth;
    CaptureStderr();
    EXPECT_EQ(-2, GetNext("1.3.6.1.2.1.1.5.0"));
    EXPECT_EQ("ERROR: snmp_get_next: RET_SNMP_MEMORY_ERR\n", GetCapturedStderr());
  }
}

TEST_F(RequestTest, ShortMemoryForTheNextValueIsTold) {
  Host device(Office(kDevice, 161),
              Always(SnmpAnswer(kSysName, TextElement(std::string(61, 'v')))));
  failing_calloc_size = 61;
  failing_calloc = 1;
  CaptureStderr();
  EXPECT_EQ(-2, GetNext("1.3.6.1.2.1.1.5.0"));
  EXPECT_EQ("ERROR: snmp_get_next: RET_SNMP_MEMORY_ERR\n", GetCapturedStderr());
  EXPECT_STREQ("", m_Next.next_name);
  EXPECT_EQ(nullptr, m_Next.value);
}

TEST_F(RequestTest, AnswerRecordWithoutSlotsIsNoResponse) {
  Host device(Office(kDevice, 161), Always(SnmpAnswer(kSysName, Hex("05 00"), 2)));
  no_slots = true;
  CaptureStderr();
  EXPECT_EQ(-101, Get("1.3.6.1.2.1.1.5.0", 20));
  EXPECT_EQ(-101, GetNext("1.3.6.1.2.1.1.5.0"));
  EXPECT_EQ(
      "ERROR: snmp_get: RET_SNMP_NORESPONSE_ERR\n"
      "ERROR: snmp_get_next: RET_SNMP_NORESPONSE_ERR\n",
      GetCapturedStderr());
}

TEST_F(RequestTest, SendToOneDeviceGivesItsDatagram) {
  Host device(Office(kDevice, 161), Always(Hex("01 02")));
  const PacketDataListPtr list(snmp_send_rev(kDevice, 20, Hex("30 00").data(), 2));
  ASSERT_NE(nullptr, list);
  ASSERT_NE(nullptr, list->data);
  EXPECT_EQ(nullptr, list->next);
  EXPECT_EQ(2, list->data->length);
  EXPECT_EQ(htonl(0x0A4D0040), list->data->sender_address);
  ASSERT_EQ(1u, device.Log().size());
  EXPECT_EQ("30 00", ToHex(device.Log()[0].bytes));
}

TEST_F(RequestTest, RecordThatCannotBeEncoded) {
  Host device(Office("0.0.0.0", 161), Always(Hex(kPrinterAnswer)));
  snmp_pdu request{};
  request.version = 1;
  CaptureStderr();
  EXPECT_EQ(nullptr, snmp_request(kDevice, 1, &request));
  EXPECT_EQ("", GetCapturedStderr());
  CaptureStderr();
  EXPECT_EQ(nullptr, multi_snmp_request(kBroadcast, 1, &request));
  EXPECT_EQ("ERROR: multi_snmp_request: snmp_build\n", GetCapturedStderr());
  EXPECT_TRUE(device.Log().empty());
}

TEST_F(RequestTest, RecordsCarryTheSendersAddress) {
  Host device(Office(kDevice, 161), Always(Hex(kPrinterAnswer)));
  snmp_pdu request{};
  request.pdu_type = 0xA0;
  const SnmpPduPtr answer(snmp_request(kDevice, 20, &request));
  ASSERT_NE(nullptr, answer);
  EXPECT_EQ(htonl(0x0A4D0040), answer->source_address);
  EXPECT_EQ(7, answer->request_id) << "request ids are not compared";
}

TEST_F(RequestTest, CancelledGetReleasesEverything) {
  Host device(Office(kDevice, 161));
  const int before = CountDescriptors();
  EXPECT_TRUE(EndsCancelled([&] { Get("1.3.6.1.2.1.1.5.0", 20); }, [&] { device.WaitFor(1); }));
  EXPECT_TRUE(EndsCancelled([&] { GetNext("1.3.6.1.2.1.1.5.0"); }, [&] { device.WaitFor(2); }));
  EXPECT_EQ(before, CountDescriptors());
}

TEST_F(ManyTest, BroadcastThatNobodyAnswersFailsAfterOneTimeOut) {
  Host office(Office("0.0.0.0", 161));
  CaptureStderr();
  const Stopwatch watch;
  EXPECT_EQ(-1, Ask(256));
  EXPECT_GE(watch.Seconds(), 0.95);
  EXPECT_LT(watch.Seconds(), 3);
  EXPECT_EQ("", GetCapturedStderr());
  EXPECT_EQ(77, m_iCount);
  ASSERT_EQ(1u, office.Log().size());
  EXPECT_EQ("255.255.255.255", office.Log()[0].to);
  EXPECT_EQ(Normal(std::string("30 82 00 30"
                               "02 01 00"
                               "04 06 70 75 62 6C 69 63"
                               "A1 23"
                               "02 04") +
                   kFirstRequestId +
                   "02 01 00"
                   "02 01 00"
                   "30 15"
                   "30 82 00 11"
                   "06 0D 2B 06 01 04 01 85 5B 83 15 01 01 01 03"
                   "05 00"),
            ToHex(office.Log()[0].bytes));
}

TEST_F(ManyTest, ThreeDevicesAreThreeAnswersInOrderOfArrival) {
  Host office(Office("0.0.0.0", 161), From({"10.77.0.70", "10.77.0.66", "10.77.0.68"}));
  EXPECT_EQ(0, Ask(256));
  EXPECT_EQ(3, m_iCount);
  EXPECT_EQ("10.77.0.70", Source(0));
  EXPECT_EQ("10.77.0.66", Source(1));
  EXPECT_EQ("10.77.0.68", Source(2));
  EXPECT_STREQ(kDiscoveryOid, m_Answers->variables[0].name);
  EXPECT_STREQ("public", m_Request->community) << "an empty community is filled in";
}

TEST_F(ManyTest, AnswersBeyondTheCapacityAreCountedButNotStored) {
  Host office(Office("0.0.0.0", 161), From({"10.77.0.70", "10.77.0.66", "10.77.0.68"}));
  EXPECT_EQ(0, Ask(2));
  EXPECT_EQ(3, m_iCount);
  EXPECT_EQ("10.77.0.70", Source(0));
  EXPECT_EQ("10.77.0.66", Source(1));
  EXPECT_EQ("0.0.0.0", Source(2)) << "behind the array";
}

TEST_F(ManyTest, DeviceThatAnswersTwiceCountsTwice) {
  Host office(Office("0.0.0.0", 161), From({"10.77.0.70", "10.77.0.70"}));
  EXPECT_EQ(0, Ask(256));
  EXPECT_EQ(2, m_iCount);
  EXPECT_EQ("10.77.0.70", Source(1));
}

TEST_F(ManyTest, AnswerWithALongFormLengthIsDropped) {
  Host office(Office("0.0.0.0", 161), [](Host& host, const Received& request) {
    Bytes long_form = Hex(kPrinterAnswer);
    long_form.insert(long_form.begin() + 1, 0x81);
    host.ReplyAs("10.77.0.70", request, long_form);
    host.ReplyAs("10.77.0.71", request, Hex(kPrinterAnswer));
    host.ReplyAs("10.77.0.72", request, Hex("00"));
  });
  CaptureStderr();
  EXPECT_EQ(0, Ask(256));
  EXPECT_EQ("", GetCapturedStderr());
  EXPECT_EQ(1, m_iCount);
  EXPECT_EQ("10.77.0.71", Source(0));
}

TEST_F(ManyTest, OnlyUnreadableAnswersFail) {
  Host office(Office("0.0.0.0", 161), From({"10.77.0.70"}, Hex("30 00")));
  EXPECT_EQ(-1, Ask(256));
  EXPECT_EQ(77, m_iCount);
}

TEST_F(ManyTest, AnswersWithAnErrorStatusCount) {
  Host office(Office("0.0.0.0", 161),
              From({"10.77.0.70"}, SnmpAnswer(kDiscoveryName, Hex("05 00"), 2)));
  EXPECT_EQ(0, Ask(256));
  EXPECT_EQ(1, m_iCount);
  EXPECT_EQ(2, m_Answers->error_status);
}

TEST_F(ManyTest, InconvertibleAnswerLeavesItsElementToTheNext) {
  Host office(Office("0.0.0.0", 161), [](Host& host, const Received& request) {
    host.ReplyAs("10.77.0.70", request, InconvertibleAnswer());
    host.ReplyAs("10.77.0.71", request, Hex(kPrinterAnswer));
    host.ReplyAs("10.77.0.72", request, InconvertibleAnswer());
  });
  EXPECT_EQ(0, Ask(1));
  EXPECT_EQ(2, m_iCount) << "beyond the capacity it counts like any other";
  EXPECT_EQ("10.77.0.71", Source(0));
  EXPECT_STREQ("1.3.6.1.2.1.1.5.0", m_Answers->variables[0].name);
}

TEST_F(ManyTest, TheWaitStartsAfreshWithEachAnswer) {
  Host office(Office("0.0.0.0", 161), [](Host& host, const Received& request) {
    for (const char* address : {"10.77.0.70", "10.77.0.71"}) {
      std::this_thread::sleep_for(std::chrono::milliseconds(700));
      host.ReplyAs(address, request, Hex(kPrinterAnswer));
    }
  });
  const Stopwatch watch;
  EXPECT_EQ(0, Ask(256));
  EXPECT_EQ(2, m_iCount);
  EXPECT_GE(watch.Seconds(), 2.3);
}

TEST_F(ManyTest, AskingOneDeviceEndsWithItsFirstAnswer) {
  Host office(Office("0.0.0.0", 161), From({"10.77.0.99", "10.77.0.64", "10.77.0.98"}));
  const Stopwatch watch;
  EXPECT_EQ(0, Ask(256, "10.77.0.64", 600));
  EXPECT_EQ(2, m_iCount);
  EXPECT_EQ("10.77.0.99", Source(0));
  EXPECT_EQ("10.77.0.64", Source(1));
}

TEST_F(ManyTest, TextThatIsNoAddressIsTheBroadcastAddress) {
  Host office(Office("0.0.0.0", 161), From({"10.77.0.70"}));
  EXPECT_EQ(0, Ask(256, "localhost"));
  ASSERT_EQ(1u, office.Log().size());
  EXPECT_EQ("255.255.255.255", office.Log()[0].to);
}

TEST_F(ManyTest, RequestThatCannotBeConvertedIsTold) {
  snprintf(m_Request->variables[0].name, sizeof(m_Request->variables[0].name), "%s", "system");
  CaptureStderr();
  EXPECT_EQ(-1, Ask(256));
  EXPECT_EQ("ERROR: multi_snmp_request_simple: snmp_simple2standard\n", GetCapturedStderr());
  EXPECT_EQ(77, m_iCount);
}

TEST_F(ManyTest, RequestThatCannotBeEncodedIsTold) {
  m_Request->variables[0].type = 0x44;
  CaptureStderr();
  EXPECT_EQ(-1, Ask(256));
  EXPECT_EQ("ERROR: multi_snmp_request: snmp_build\n", GetCapturedStderr());
}

// The n-th list node, datagram or decoded record for which there is no memory ends the list.
TEST_F(ManyTest, ShortMemoryForANodeEndsTheGathering) {
  Host office(Office("0.0.0.0", 161), From({"10.77.0.70", "10.77.0.66", "10.77.0.68"}));
  failing_node = 3;
  EXPECT_EQ(0, Ask(256));
  EXPECT_EQ(2, m_iCount);
}

TEST_F(ManyTest, ShortMemoryForADatagramLeavesItsNodeInTheList) {
  Host office(Office("0.0.0.0", 161), From({"10.77.0.70", "10.77.0.66", "10.77.0.68"}));
  failing_calloc_size = sizeof(packet_data);
  failing_calloc = 2;
  const PacketDataListPtr list(multi_snmp_send_rev(kBroadcast, 1, Hex("30 00").data(), 2));
  ASSERT_NE(nullptr, list);
  EXPECT_NE(nullptr, list->data);
  ASSERT_NE(nullptr, list->next);
  EXPECT_EQ(nullptr, list->next->data);
  EXPECT_EQ(nullptr, list->next->next);
  failing_calloc = 2;
  EXPECT_EQ(0, Ask(256));
  EXPECT_EQ(1, m_iCount);
}

TEST_F(ManyTest, ShortMemoryForADecodedRecordEndsTheList) {
  Host office(Office("0.0.0.0", 161), From({"10.77.0.70", "10.77.0.66", "10.77.0.68"}));
  failing_calloc_size = sizeof(snmp_pdu_list);
  failing_calloc = 3;
  EXPECT_EQ(0, Ask(256));
  EXPECT_EQ(2, m_iCount);
}

TEST_F(ManyTest, AnswersAreReleasedBeforeFreedMemoryIsGivenBack) {
  Host office(Office("0.0.0.0", 161), From({"10.77.0.70", "10.77.0.66"}));
  released.clear();
  EXPECT_EQ(0, Ask(256));
  EXPECT_EQ((std::vector<std::string>{"answers", "memory"}), released);
}

TEST_F(ManyTest, CancelledGatheringReleasesEverything) {
  Host office(Office("0.0.0.0", 161), [](Host& host, const Received& request) {
    host.ReplyAs("10.77.0.70", request, Hex(kPrinterAnswer));
    host.ReplyAs("10.77.0.71", request, Hex(kPrinterAnswer));
  });
  const int before = CountDescriptors();
  nodes = 0;
  const Stopwatch watch;
  EXPECT_TRUE(EndsCancelled([&] { Ask(256, kBroadcast, 600); },
                            [&] {
                              while (nodes < 2 && watch.Seconds() < 20) std::this_thread::yield();
                            }));
  EXPECT_EQ(2, nodes);
  EXPECT_EQ(before, CountDescriptors());
}

// A start without a network takes its second.
TEST(FailedBroadcast, IsNotNoticedAndTheWaitRuns) {
  WithoutNetwork([] {
    const unsigned char question[] = {0x30, 0x00};
    const Stopwatch watch;
    EXPECT_EQ(nullptr, PacketDataListPtr(multi_snmp_send_rev("255.255.255.255", 1, question, 2)));
    EXPECT_GE(watch.Seconds(), 0.95);
  });
}

}  // namespace
