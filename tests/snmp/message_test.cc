// Tests of building SNMP version 1 messages and of the records' layout.
#include "snmp/message.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdlib>

#include "tests/snmp/bytes.h"
#include "tests/support/record_layout.h"

namespace {

using Ids = std::vector<uint64_t>;

const Ids kSysName = {1, 3, 6, 1, 2, 1, 1, 5, 0};
const std::string kSysNameElement = "06 08 2B 06 01 02 01 01 05 00 ";

// ---- Layout of the records ---------------------------------------------------------------------

static_assert(offsetof(snmp_pdu, version) == 0);
static_assert(FOLLOWS(snmp_pdu, version, source_address));
static_assert(FOLLOWS(snmp_pdu, source_address, owned_buffers));
static_assert(FOLLOWS(snmp_pdu, owned_buffers, community));
static_assert(FOLLOWS(snmp_pdu, community, community_length));
static_assert(FOLLOWS(snmp_pdu, community_length, pdu_type));
static_assert(FOLLOWS(snmp_pdu, pdu_type, request_id));
static_assert(FOLLOWS(snmp_pdu, request_id, error_status));
static_assert(FOLLOWS(snmp_pdu, error_status, error_index));
static_assert(FOLLOWS(snmp_pdu, error_index, agent_address));
static_assert(FOLLOWS(snmp_pdu, agent_address, enterprise));
static_assert(FOLLOWS(snmp_pdu, enterprise, enterprise_length));
static_assert(FOLLOWS(snmp_pdu, enterprise_length, generic_trap));
static_assert(FOLLOWS(snmp_pdu, generic_trap, specific_trap));
static_assert(FOLLOWS(snmp_pdu, specific_trap, time_stamp));
static_assert(FOLLOWS(snmp_pdu, time_stamp, variables));
static_assert(sizeof(snmp_pdu::source_address) == 8 && sizeof(snmp_pdu::pdu_type) == 1);
static_assert(sizeof(snmp_pdu::agent_address) == 4 && sizeof(snmp_pdu::time_stamp) == 8);

static_assert(offsetof(variable_list, next) == 0);
static_assert(FOLLOWS(variable_list, next, name));
static_assert(FOLLOWS(variable_list, name, name_length));
static_assert(FOLLOWS(variable_list, name_length, type));
static_assert(FOLLOWS(variable_list, type, value));
static_assert(FOLLOWS(variable_list, value, value_length));

static_assert(offsetof(snmp_pdu_list, next) == 0);
static_assert(FOLLOWS(snmp_pdu_list, next, pdu));
static_assert(sizeof(snmp_pdu_list) == 2 * sizeof(void*));

TEST(SnmpPduTypes, AreThoseOfTheProtocol) {
  EXPECT_EQ(kPduGet, 0xA0);
  EXPECT_EQ(kPduGetNext, 0xA1);
  EXPECT_EQ(kPduResponse, 0xA2);
  EXPECT_EQ(kPduTrap, 0xA4);
}

// ---- Records for building ----------------------------------------------------------------------

template <typename T>
T* MallocCopy(const std::vector<T>& elements) {
  auto* copy = static_cast<T*>(malloc(elements.size() * sizeof(T) + 1));
  std::copy(elements.begin(), elements.end(), copy);
  return copy;
}

SnmpPduPtr NewPdu(unsigned char type) {
  const Bytes community = FromHex("70 75 62 6C 69 63");
  SnmpPduPtr pdu(get_pdu_memory());
  *pdu = snmp_pdu{};
  pdu->pdu_type = type;
  pdu->community = MallocCopy(community);
  pdu->community_length = static_cast<int>(community.size());
  pdu->request_id = 0x12345678;
  return pdu;
}

variable_list* AddVariable(snmp_pdu* pdu, unsigned char type) {
  variable_list** link = &pdu->variables;
  while (*link != nullptr) link = &(*link)->next;
  *link = static_cast<variable_list*>(calloc(1, sizeof(variable_list)));
  (*link)->name = MallocCopy(kSysName);
  (*link)->name_length = static_cast<int>(kSysName.size());
  (*link)->type = type;
  return *link;
}

void AddString(snmp_pdu* pdu, const Bytes& bytes) {
  variable_list* var = AddVariable(pdu, 0x04);
  var->value = MallocCopy(bytes);
  var->value_length = static_cast<int>(bytes.size());
}

SnmpPduPtr NewSysNameRequest(unsigned char type) {
  SnmpPduPtr pdu = NewPdu(type);
  AddVariable(pdu.get(), 0x05);
  return pdu;
}

struct Built {
  int result;
  int length;
  std::string bytes;  // up to the length, on success
};

Built Build(const snmp_pdu* pdu, int capacity) {
  const ExactBlock block(Bytes(static_cast<size_t>(capacity), 0xEE));
  int length = capacity;
  const int result = snmp_build(pdu, block.data(), &length);
  return {result, length, result == 0 ? ToHex(block.data(), static_cast<size_t>(length)) : ""};
}

// ---- Whole messages ----------------------------------------------------------------------------

TEST(SnmpBuild, WritesAGetRequest) {
  const Built built = Build(NewSysNameRequest(kPduGet).get(), 1536);
  EXPECT_EQ(built.result, 0);
  EXPECT_EQ(built.length, 47);
  EXPECT_EQ(built.bytes, Plain("30 82 00 2B |"                    // message, 43 bytes
                               "02 01 00 |"                       // version 0
                               "04 06 70 75 62 6C 69 63 |"        // community "public"
                               "A0 1E |"                          // GetRequest, 30 bytes
                               "02 04 12 34 56 78 |"              // request id
                               "02 01 00 |"                       // error status 0
                               "02 01 00 |"                       // error index 0
                               "30 10 |"                          // variable list, 16 bytes
                               "30 82 00 0C |"                    // binding, 12 bytes
                               "06 08 2B 06 01 02 01 01 05 00 |"  // 1.3.6.1.2.1.1.5.0
                               "05 00"));                         // NULL
}

TEST(SnmpBuild, WritesAGetNextRequestThatDiffersInThePduTagOnly) {
  Bytes expected = FromHex(Build(NewSysNameRequest(kPduGet).get(), 1536).bytes);
  expected[15] = 0xA1;
  EXPECT_EQ(Build(NewSysNameRequest(kPduGetNext).get(), 1536).bytes, ToHex(expected));
}

TEST(SnmpBuild, WritesTheRequestIdInOneToFourBytes) {
  const struct {
    int request_id;
    const char* lengths;  // of message and PDU
    const char* element;
  } kCases[] = {
      {0, "18 0B", "02 01 00"},
      {127, "18 0B", "02 01 7F"},
      {-1, "18 0B", "02 01 FF"},
      {128, "19 0C", "02 02 00 80"},
      {255, "19 0C", "02 02 00 FF"},
      {0x123456, "1A 0D", "02 03 12 34 56"},
      {INT_MAX, "1B 0E", "02 04 7F FF FF FF"},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.request_id);
    const SnmpPduPtr pdu = NewPdu(kPduGet);
    pdu->request_id = c.request_id;
    const std::string lengths(c.lengths);
    EXPECT_EQ(Build(pdu.get(), 100).bytes,
              Plain("30 82 00" + lengths.substr(0, 2) + "02 01 00 04 06 70 75 62 6C 69 63 A0" +
                    lengths.substr(3) + c.element + "02 01 00 02 01 00 30 00"));
  }
}

TEST(SnmpBuild, WritesErrorStatusAndIndex) {
  const SnmpPduPtr pdu = NewPdu(kPduResponse);
  pdu->error_status = 2;
  pdu->error_index = 1;
  EXPECT_EQ(Build(pdu.get(), 100).bytes, Plain("30 82 00 1B 02 01 00 04 06 70 75 62 6C 69 63"
                                               "A2 0E 02 04 12 34 56 78 02 01 02 02 01 01 30 00"));
}

TEST(SnmpBuild, WritesVariablesInListOrder) {
  const SnmpPduPtr pdu = NewPdu(kPduGet);
  AddString(pdu.get(), FromHex("61"));
  AddVariable(pdu.get(), 0x05);
  EXPECT_EQ(Build(pdu.get(), 100).bytes,
            Plain("30 82 00 3C 02 01 00 04 06 70 75 62 6C 69 63"
                  "A0 2F 02 04 12 34 56 78 02 01 00 02 01 00 30 21"
                  "30 82 00 0D" +
                  kSysNameElement + "04 01 61 30 82 00 0C" + kSysNameElement + "05 00"));
}

TEST(SnmpBuild, WritesLongListsAndPdusInTheLongForm) {
  const SnmpPduPtr pdu = NewPdu(kPduGet);
  AddString(pdu.get(), Bytes(120, 0x41));
  EXPECT_EQ(Build(pdu.get(), 1536).bytes,
            Plain("30 82 00 A6 02 01 00 04 06 70 75 62 6C 69 63"
                  "A0 81 98 02 04 12 34 56 78 02 01 00 02 01 00 30 81 89"
                  "30 82 00 84 06" +
                  kSysNameElement + "04 78" + Repeat("41", 120)));
}

TEST(SnmpBuild, WritesATrapWithItsTimeStampAsAnInteger) {
  const SnmpPduPtr pdu = NewPdu(kPduTrap);
  const unsigned char address[] = {10, 77, 0, 5};
  memcpy(pdu->agent_address, address, sizeof(address));
  pdu->enterprise = MallocCopy(Ids{1, 3, 6, 1, 4, 1, 731});
  pdu->enterprise_length = 7;
  pdu->generic_trap = 6;
  pdu->specific_trap = 42;
  pdu->time_stamp = 0x80000000;
  EXPECT_EQ(Build(pdu.get(), 100).bytes,
            Plain("30 82 00 2B 02 01 00 04 06 70 75 62 6C 69 63 A4 1E |"
                  "06 07 2B 06 01 04 01 85 5B |"  // enterprise
                  "40 04 0A 4D 00 05 |"           // agent address
                  "02 01 06 |"                    // generic trap
                  "02 01 2A |"                    // specific trap
                  "02 05 00 80 00 00 00 |"        // time stamp
                  "30 00"));
}

TEST(SnmpBuild, WritesTheTimeStampWithTheUnsignedEncoder) {
  const SnmpPduPtr pdu = NewPdu(kPduTrap);
  pdu->time_stamp = UINT64_MAX;
  EXPECT_EQ(Build(pdu.get(), 100).bytes,
            Plain("30 82 00 22 02 01 00 04 06 70 75 62 6C 69 63 A4 15"
                  "06 01 00 40 04 00 00 00 00 02 01 00 02 01 00 02 02 00 FF 30 00"));
}

TEST(SnmpBuild, NeedsRoomForTheWholeMessage) {
  const SnmpPduPtr pdu = NewSysNameRequest(kPduGet);
  EXPECT_EQ(Build(pdu.get(), 47).result, 0);
  for (int capacity = 0; capacity < 47; ++capacity) {
    const Built built = Build(pdu.get(), capacity);
    EXPECT_EQ(built.result, -1) << capacity;
    EXPECT_EQ(built.length, capacity);
  }
}

TEST(SnmpBuild, NeedsRoomForACommunityLongerThanTheRest) {
  const SnmpPduPtr pdu = NewPdu(kPduGet);
  free(pdu->community);
  pdu->community = MallocCopy(Bytes(100, 'c'));
  pdu->community_length = 100;
  // Header 4, version 3, community 102, GetRequest without variables 16.
  EXPECT_EQ(Build(pdu.get(), 125).result, 0);
  for (int capacity = 0; capacity < 125; ++capacity) {
    const Built built = Build(pdu.get(), capacity);
    EXPECT_EQ(built.result, -1) << capacity;
    EXPECT_EQ(built.length, capacity);
  }
}

TEST(SnmpBuild, RefusesOtherVersions) {
  const SnmpPduPtr pdu = NewSysNameRequest(kPduGet);
  for (int version : {1, 3, -1}) {
    pdu->version = version;
    EXPECT_EQ(Build(pdu.get(), 1536).result, -1) << version;
  }
}

TEST(SnmpBuild, RefusesMissingRecordBufferOrCapacity) {
  const SnmpPduPtr pdu = NewSysNameRequest(kPduGet);
  unsigned char buffer[100];
  int length = sizeof(buffer);
  EXPECT_EQ(snmp_build(nullptr, buffer, &length), -1);
  EXPECT_EQ(snmp_build(pdu.get(), nullptr, &length), -1);
  for (int capacity : {0, -1, INT_MIN}) {
    length = capacity;
    EXPECT_EQ(snmp_build(pdu.get(), buffer, &length), -1);
    EXPECT_EQ(length, capacity);
  }
}

TEST(SnmpBuild, FailsAsAWholeWhenAVariableCannotBeWritten) {
  const SnmpPduPtr pdu = NewSysNameRequest(kPduGet);
  AddVariable(pdu.get(), 0x44);
  const Built built = Build(pdu.get(), 1536);
  EXPECT_EQ(built.result, -1);
  EXPECT_EQ(built.length, 1536);
}

// ---- Variable bindings -------------------------------------------------------------------------

struct VarOp {
  bool ok;
  std::string bytes;
  int remaining;
};

VarOp BuildVarOp(int capacity, unsigned char type, const void* value, int value_length) {
  const ExactBlock block(Bytes(static_cast<size_t>(capacity), 0xEE));
  int remaining = capacity;
  const int name_length = static_cast<int>(kSysName.size());
  const unsigned char* end = snmp_build_var_op(block.data(), &remaining, kSysName.data(),
                                               &name_length, type, value, value_length);
  if (end == nullptr) return {false, "", remaining};
  return {true, ToHex(block.data(), static_cast<size_t>(end - block.data())), remaining};
}

// Expects these bytes with room for just them and with room to spare, and a failure with less.
void ExpectVarOp(const std::string& hex, unsigned char type, const void* value, int value_length) {
  SCOPED_TRACE(hex);
  const int size = static_cast<int>(FromHex(hex).size());
  for (int spare : {0, 1, 100}) {
    const VarOp result = BuildVarOp(size + spare, type, value, value_length);
    EXPECT_TRUE(result.ok);
    EXPECT_EQ(result.bytes, Plain(hex));
    EXPECT_EQ(result.remaining, spare);
  }
  for (int capacity = 0; capacity < size; ++capacity) {
    EXPECT_FALSE(BuildVarOp(capacity, type, value, value_length).ok) << capacity;
  }
}

TEST(SnmpBuildVarOp, WritesEveryTypeOfValue) {
  const int64_t minus_one = -1;
  const uint64_t large = 0x80000000;
  const unsigned char text[] = {'a', 'b'};
  const unsigned char address[] = {10, 77, 0, 5};
  const uint64_t oid[] = {1, 3, 6};
  ExpectVarOp("30 82 00 0D" + kSysNameElement + "02 01 FF", 0x02, &minus_one, 8);
  ExpectVarOp("30 82 00 0E" + kSysNameElement + "04 02 61 62", 0x04, text, 2);
  ExpectVarOp("30 82 00 0C" + kSysNameElement + "05 00", 0x05, nullptr, 0);
  ExpectVarOp("30 82 00 0E" + kSysNameElement + "06 02 2B 06", 0x06, oid, 24);
  ExpectVarOp("30 82 00 10" + kSysNameElement + "40 04 0A 4D 00 05", 0x40, address, 4);
  ExpectVarOp("30 82 00 11" + kSysNameElement + "41 05 00 80 00 00 00", 0x41, &large, 8);
  ExpectVarOp("30 82 00 11" + kSysNameElement + "42 05 00 80 00 00 00", 0x42, &large, 8);
  ExpectVarOp("30 82 00 11" + kSysNameElement + "43 05 00 80 00 00 00", 0x43, &large, 8);
}

TEST(SnmpBuildVarOp, ChargesNothingWithoutRoomForItsHeader) {
  EXPECT_EQ(BuildVarOp(3, 0x05, nullptr, 0).remaining, 3);
}

TEST(SnmpBuildVarOp, IgnoresTheValueOfANull) {
  const uint64_t value = 7;
  ExpectVarOp("30 82 00 0C" + kSysNameElement + "05 00", 0x05, &value, 8);
  ExpectVarOp("30 82 00 0C" + kSysNameElement + "05 00", 0x05, nullptr, 256);
}

TEST(SnmpBuildVarOp, CountsTheSubIdentifiersOfAnObjectIdentifierInEights) {
  const uint64_t oid[] = {1, 3, 6, 1};
  ExpectVarOp("30 82 00 0E" + kSysNameElement + "06 02 2B 06", 0x06, oid, 31);
  ExpectVarOp("30 82 00 0D" + kSysNameElement + "06 01 00", 0x06, nullptr, 0);
}

TEST(SnmpBuildVarOp, RefusesEveryOtherType) {
  const uint64_t value = 7;
  for (int type = 0; type <= 0xFF; ++type) {
    const bool known =
        type == 0x02 || (type >= 0x04 && type <= 0x06) || (type >= 0x40 && type <= 0x43);
    EXPECT_EQ(BuildVarOp(100, static_cast<unsigned char>(type), &value, 8).ok, known) << type;
  }
}

TEST(SnmpBuildVarOp, RefusesIntegersThatAreNotEightBytesLong) {
  const uint64_t value = 7;
  for (unsigned char type : {0x02, 0x41, 0x42, 0x43}) {
    for (int length : {0, 1, 4, 9}) {
      EXPECT_FALSE(BuildVarOp(100, type, &value, length).ok) << int{type} << " " << length;
    }
  }
}

TEST(SnmpBuildVarOp, RefusesALengthWithoutAValue) {
  for (unsigned char type : {0x02, 0x04, 0x06, 0x40, 0x41}) {
    EXPECT_FALSE(BuildVarOp(100, type, nullptr, 8).ok) << int{type};
  }
}

TEST(SnmpBuildVarOp, LeavesAGapInBindingsOf128BytesAndMore) {
  const Bytes text(300, 0x41);
  const struct {
    int text_length;
    const char* start;
    const char* string_header;
  } kCases[] = {
      {115, "30 82 00 7F", "04 73"},           // 127 bytes: no gap
      {116, "30 82 00 80 06", "04 74"},        // 128: one byte
      {242, "30 82 00 FF 06", "04 81 F2"},     // 255: one byte
      {243, "30 82 01 00 06 08", "04 81 F3"},  // 256: two bytes
      {300, "30 82 01 3A 06 08", "04 82 01 2C"},
  };
  for (const auto& c : kCases) {
    ExpectVarOp(c.start + kSysNameElement + c.string_header + Repeat("41", c.text_length), 0x04,
                text.data(), c.text_length);
  }
}

// ---- Start of the message ----------------------------------------------------------------------

VarOp BuildAuth(int capacity, const Bytes& community, int64_t version, int pdu_length) {
  const ExactBlock block(Bytes(static_cast<size_t>(capacity), 0xEE));
  int remaining = capacity;
  const int length = static_cast<int>(community.size());
  const unsigned char* end =
      snmp_auth_build(block.data(), &remaining, community.data(), &length, &version, pdu_length);
  if (end == nullptr) return {false, "", remaining};
  return {true, ToHex(block.data(), static_cast<size_t>(end - block.data())), remaining};
}

TEST(SnmpAuthBuild, CountsThePduThatFollows) {
  const VarOp result = BuildAuth(100, FromHex("61 62 63"), 0, 0x100);
  EXPECT_EQ(result.bytes, Plain("30 82 01 08 02 01 00 04 03 61 62 63"));
  EXPECT_EQ(result.remaining, 88);
  EXPECT_EQ(BuildAuth(100, {}, 0, 0).bytes, Plain("30 82 00 05 02 01 00 04 00"));
}

TEST(SnmpAuthBuild, WritesTheVersionThatItIsGiven) {
  EXPECT_EQ(BuildAuth(100, {}, 1, 0).bytes, Plain("30 82 00 05 02 01 01 04 00"));
}

TEST(SnmpAuthBuild, IsOneOrTwoShortForCommunitiesOf128BytesAndMore) {
  EXPECT_EQ(BuildAuth(200, Bytes(127, 0x41), 0, 10).bytes,
            Plain("30 82 00 8E 02 01 00 04 7F" + Repeat("41", 127)));
  EXPECT_EQ(BuildAuth(200, Bytes(128, 0x41), 0, 10).bytes,
            Plain("30 82 00 8F 02 01 00 04 81 80" + Repeat("41", 128)));
  EXPECT_EQ(BuildAuth(300, Bytes(255, 0x41), 0, 10).bytes,
            Plain("30 82 01 0E 02 01 00 04 81 FF" + Repeat("41", 255)));
  EXPECT_EQ(BuildAuth(300, Bytes(256, 0x41), 0, 10).bytes,
            Plain("30 82 01 0F 02 01 00 04 82 01 00" + Repeat("41", 256)));
}

TEST(SnmpAuthBuild, NeedsRoomForAllOfIt) {
  EXPECT_TRUE(BuildAuth(12, FromHex("61 62 63"), 0, 0).ok);
  for (int capacity = 0; capacity < 12; ++capacity) {
    EXPECT_FALSE(BuildAuth(capacity, FromHex("61 62 63"), 0, 0).ok) << capacity;
  }
}

TEST(SnmpAuthBuild, RefusesLengthsThatCannotBe) {
  unsigned char buffer[100];
  const unsigned char community[] = {'a'};
  const int64_t version = 0;
  for (int length : {-1, INT_MIN, INT_MAX}) {
    int remaining = sizeof(buffer);
    EXPECT_EQ(snmp_auth_build(buffer, &remaining, community, &length, &version, 40), nullptr);
  }
  int remaining = sizeof(buffer);
  const int one = 1;
  EXPECT_EQ(snmp_auth_build(buffer, &remaining, nullptr, &one, &version, 40), nullptr);
}

// ---- Moving bytes ------------------------------------------------------------------------------

TEST(ShiftArray, MovesOverlappingBytesTowardsTheEnd) {
  Bytes bytes = FromHex("01 02 03 04 05 06");
  shift_array(bytes.data() + 1, 3, 2);
  EXPECT_EQ(ToHex(bytes), "01 02 03 02 03 04");
}

TEST(ShiftArray, MovesOverlappingBytesTowardsTheStart) {
  Bytes bytes = FromHex("01 02 03 04 05 06");
  shift_array(bytes.data() + 2, 4, -1);
  EXPECT_EQ(ToHex(bytes), "01 03 04 05 06 06");
}

TEST(ShiftArray, MovesNothingWithoutBytesOrDistance) {
  Bytes bytes = FromHex("01 02 03");
  shift_array(bytes.data(), 0, 1);
  shift_array(bytes.data(), -2, 1);
  shift_array(bytes.data(), 3, 0);
  EXPECT_EQ(ToHex(bytes), "01 02 03");
}

}  // namespace
