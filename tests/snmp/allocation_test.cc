// Tests of what the SNMP records do when memory is short, and that they release all that they own.
//
// The program is linked with malloc, calloc and free wrapped, so that single allocations of the
// code under test can be refused and its blocks counted.
#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>

#include "snmp/simple_pdu.h"
#include "snmp/udp/packet_data.h"
#include "tests/snmp/bytes.h"
#include "tests/snmp/message_bytes.h"

namespace {

// Allocations are counted only while a test watches them.
bool watching = false;
int blocks = 0;          // allocated and not released
int until_failure = -1;  // allocations that still succeed; negative: all

bool Refused() {
  if (!watching || until_failure < 0) return false;
  return until_failure-- == 0;
}

void* Count(void* block) {
  if (watching && block != nullptr) ++blocks;
  return block;
}

}  // namespace

extern "C" {
void* __real_malloc(size_t size);
void* __real_calloc(size_t count, size_t size);
void __real_free(void* block);

// Filled with a pattern, so that nobody relies on what a new block holds.
void* __wrap_malloc(size_t size) {
  void* block = Refused() ? nullptr : Count(__real_malloc(size));
  if (watching && block != nullptr) memset(block, 0xA5, size);
  return block;
}

void* __wrap_calloc(size_t count, size_t size) {
  return Refused() ? nullptr : Count(__real_calloc(count, size));
}

void __wrap_free(void* block) {
  if (watching && block != nullptr) --blocks;
  __real_free(block);
}
}

namespace {

using message_bytes::Binding;
using message_bytes::Element;
using message_bytes::Message;
using message_bytes::Response;

class Watch {
 public:
  explicit Watch(int successes) {
    blocks = 0;
    until_failure = successes;
    watching = true;
  }
  ~Watch() { watching = false; }
  Watch(const Watch&) = delete;
  Watch& operator=(const Watch&) = delete;
};

// Runs `attempt`, which returns whether it succeeded and releases what it got, with the first,
// second, ... allocation refused. Returns how many allocations it takes.
int ExpectFailsCleanly(const std::function<bool()>& attempt) {
  for (int successes = 0; successes < 1000; ++successes) {
    bool succeeded = false;
    bool refused = false;
    {
      const Watch watch(successes);
      succeeded = attempt();
      refused = until_failure < 0;
    }
    EXPECT_EQ(blocks, 0) << "allocation " << successes;
    EXPECT_EQ(succeeded, !refused) << "allocation " << successes;
    if (!refused) return successes;
  }
  ADD_FAILURE() << "never succeeded";
  return -1;
}

bool ParsesMessage(const Bytes& bytes) {
  snmp_pdu* pdu = snmp_parse(bytes.data(), static_cast<int>(bytes.size()), 0);
  free_snmp_pdu(pdu);
  return pdu != nullptr;
}

TEST(SnmpAllocation, FailureMakesParsingFail) {
  const Bytes bytes =
      FromHex(Response(Element("30", "06 01 2B 02 01 05") + Element("30", "06 01 2B 04 02 61 62") +
                       Element("30", "06 01 2B 06 02 2B 06") + Element("30", "06 01 2B 41 01 05") +
                       Element("30", "06 01 2B 05 00")));
  // Working copy, record, community; five variables with a name each; four values.
  EXPECT_EQ(ExpectFailsCleanly([&] { return ParsesMessage(bytes); }), 3 + 5 * 2 + 4);
}

TEST(SnmpAllocation, FailureMakesParsingATrapFail) {
  const Bytes bytes = FromHex(
      Message(Element("A4", "06 01 2B 40 04 0A 4D 00 05 02 01 06 02 01 2A 43 01 05 30 00")));
  EXPECT_EQ(ExpectFailsCleanly([&] { return ParsesMessage(bytes); }), 4);
}

// Everything that had been read is released when the end of a message turns out to be bad.
TEST(SnmpAllocation, IsUndoneWhenAMessageIsBad) {
  const std::vector<std::string> messages = {
      Response(Binding("04 02 61 62") + Element("30", "06 02 2B 86 05 00")),
      Response(Binding("06 02 2B 86") + "30"),
      Element("30", "02 01 01" + message_bytes::kPublic + "A2 00"),
      Message(Element("A4", "06 01 2B 40 04 0A 4D 00 05 02 01 06")),
  };
  for (const std::string& message : messages) {
    const Bytes bytes = FromHex(message);
    bool parsed = true;
    {
      const Watch watch(-1);
      parsed = ParsesMessage(bytes);
    }
    EXPECT_FALSE(parsed) << message;
    EXPECT_EQ(blocks, 0) << message;
  }
}

SnmpSimplePduPtr NewRequest() {
  SnmpSimplePduPtr simple(get_simple_pdu_memory(1, 2), {1});
  for (int i = 0; i < 2; ++i) memcpy(simple->variables[i].name, "1.3.6", 6);
  simple->variables[1].type = 0x05;
  simple->variables[1].value_length = 256;
  return simple;
}

TEST(SnmpAllocation, FailureMakesBuildingFail) {
  const SnmpSimplePduPtr simple = NewRequest();
  const SnmpPduPtr pdu(snmp_simple2standard(simple.get()));
  EXPECT_EQ(ExpectFailsCleanly([&] {
              unsigned char buffer[1536];
              int length = sizeof(buffer);
              const int result = snmp_build(pdu.get(), buffer, &length);
              EXPECT_EQ(result == 0, length != sizeof(buffer));
              return result == 0;
            }),
            1);
}

TEST(SnmpAllocation, FailureMakesTheStandardRequestFail) {
  const SnmpSimplePduPtr simple = NewRequest();
  // Record, community; two variables with a name each; one value.
  EXPECT_EQ(ExpectFailsCleanly([&] {
              snmp_pdu* pdu = snmp_simple2standard(simple.get());
              free_snmp_pdu(pdu);
              return pdu != nullptr;
            }),
            2 + 2 * 2 + 1);
}

TEST(SnmpAllocation, FailureMakesSimpleRecordsFail) {
  EXPECT_EQ(ExpectFailsCleanly([] {
              snmp_simple_pdu* pdus = get_simple_pdu_memory(3, 2);
              free_snmp_simple_pdu(3, pdus);
              return pdus != nullptr;
            }),
            1 + 3);
}

TEST(SnmpAllocation, FailureOfSingleBlocksGivesNull) {
  EXPECT_EQ(ExpectFailsCleanly([] {
              snmp_pdu* pdu = get_pdu_memory();
              free(pdu);
              return pdu != nullptr;
            }),
            1);
  EXPECT_EQ(ExpectFailsCleanly([] {
              packet_data_list* node = get_packet_data_list_mem();
              free(node);
              return node != nullptr;
            }),
            1);
}

TEST(SnmpAllocation, LeavesNewRecordsAndNodesAsTheyCome) {
  const Watch watch(-1);
  snmp_pdu* pdu = get_pdu_memory();
  packet_data_list* node = get_packet_data_list_mem();
  EXPECT_EQ(static_cast<unsigned>(pdu->version), 0xA5A5A5A5U);
  const auto pattern = static_cast<uintptr_t>(0xA5A5A5A5A5A5A5A5U);
  EXPECT_EQ(reinterpret_cast<uintptr_t>(node->next), pattern);
  EXPECT_EQ(reinterpret_cast<uintptr_t>(node->data), pattern);
  free(pdu);
  free(node);
}

snmp_pdu* NewFullRecord() {
  snmp_pdu* pdu = get_pdu_memory();
  *pdu = snmp_pdu{};
  for (void*& buffer : pdu->owned_buffers) buffer = malloc(1);
  pdu->community = static_cast<unsigned char*>(malloc(1));
  pdu->enterprise = static_cast<uint64_t*>(malloc(8));
  for (int i = 0; i < 2; ++i) {
    auto* var = static_cast<variable_list*>(malloc(sizeof(variable_list)));
    *var = variable_list{};
    var->name = static_cast<uint64_t*>(malloc(8));
    var->value = static_cast<unsigned char*>(malloc(1));
    var->next = pdu->variables;
    pdu->variables = var;
  }
  return pdu;
}

TEST(SnmpRelease, ReleasesAllThatARecordOwns) {
  const Watch watch(-1);
  snmp_pdu* pdu = NewFullRecord();
  EXPECT_EQ(blocks, 1 + 3 + 2 + 2 * 3);
  free_snmp_pdu(pdu);
  EXPECT_EQ(blocks, 0);
}

TEST(SnmpRelease, ReleasesAListWithItsRecords) {
  const Watch watch(-1);
  snmp_pdu_list* list = nullptr;
  for (snmp_pdu* pdu : {NewFullRecord(), static_cast<snmp_pdu*>(nullptr), NewFullRecord()}) {
    auto* node = static_cast<snmp_pdu_list*>(malloc(sizeof(snmp_pdu_list)));
    *node = {list, pdu};
    list = node;
  }
  EXPECT_EQ(blocks, 3 + 2 * 12);
  free_snmp_pdu_list(list);
  EXPECT_EQ(blocks, 0);
}

TEST(SnmpRelease, ReleasesDatagramsWithTheirNodes) {
  const Watch watch(-1);
  packet_data_list* list = nullptr;
  for (bool with_data : {true, false, true}) {
    packet_data_list* node = get_packet_data_list_mem();
    node->next = list;
    node->data = with_data ? static_cast<packet_data*>(malloc(sizeof(packet_data))) : nullptr;
    list = node;
  }
  EXPECT_EQ(blocks, 3 + 2);
  free_packet_data_list(list);
  EXPECT_EQ(blocks, 0);
}

TEST(SnmpRelease, ReleasesTheValueOfAQuery) {
  const Watch watch(-1);
  snmp_next_param param = {};
  param.value = static_cast<unsigned char*>(malloc(8));
  EXPECT_EQ(snmp_memory_free(&param), 0);
  EXPECT_EQ(blocks, 0);
}

TEST(SnmpRelease, IgnoresNull) {
  const Watch watch(-1);
  free_snmp_pdu(nullptr);
  free_snmp_pdu_list(nullptr);
  free_snmp_simple_pdu(3, nullptr);
  free_packet_data_list(nullptr);
  EXPECT_EQ(blocks, 0);
}

}  // namespace
