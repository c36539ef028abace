// Tests of the simple PDU, its conversions and object identifier text.
#include "snmp/simple_pdu.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdlib>

#include "snmp/udp/packet_data.h"
#include "tests/snmp/bytes.h"
#include "tests/snmp/message_bytes.h"
#include "tests/support/record_layout.h"

namespace {

using Ids = std::vector<uint64_t>;

// ---- Layout of the records ---------------------------------------------------------------------

static_assert(offsetof(snmp_simple_pdu, source_address) == 0);
static_assert(FOLLOWS(snmp_simple_pdu, source_address, pdu_type));
static_assert(FOLLOWS(snmp_simple_pdu, pdu_type, community));
static_assert(FOLLOWS(snmp_simple_pdu, community, error_status));
static_assert(FOLLOWS(snmp_simple_pdu, error_status, error_index));
static_assert(FOLLOWS(snmp_simple_pdu, error_index, variable_count));
static_assert(FOLLOWS(snmp_simple_pdu, variable_count, variables));
static_assert(sizeof(snmp_simple_pdu::source_address) == 8);
static_assert(sizeof(snmp_simple_pdu::community) == 128);

static_assert(offsetof(simple_variable, name) == 0);
static_assert(FOLLOWS(simple_variable, name, type));
static_assert(FOLLOWS(simple_variable, type, value));
static_assert(FOLLOWS(simple_variable, value, value_length));
static_assert(sizeof(simple_variable::value) == 1536);
static_assert(sizeof(simple_variable) == 1800);

static_assert(offsetof(packet_data, sender_address) == 0);
static_assert(FOLLOWS(packet_data, sender_address, data));
static_assert(FOLLOWS(packet_data, data, length));
static_assert(sizeof(packet_data::data) == 1536);

static_assert(offsetof(packet_data_list, next) == 0);
static_assert(FOLLOWS(packet_data_list, next, data));
static_assert(sizeof(packet_data_list) == 2 * sizeof(void*));

static_assert(offsetof(snmp_get_param, name) == 0);
static_assert(FOLLOWS(snmp_get_param, name, reserved));
static_assert(FOLLOWS(snmp_get_param, reserved, value_length));
static_assert(FOLLOWS(snmp_get_param, value_length, value));

static_assert(offsetof(snmp_next_param, name) == 0);
static_assert(FOLLOWS(snmp_next_param, name, next_name));
static_assert(FOLLOWS(snmp_next_param, next_name, value_length));
static_assert(FOLLOWS(snmp_next_param, value_length, value));

TEST(SnmpResultCodes, AreThoseThatCallersTest) {
  EXPECT_EQ(RET_SNMP_ERROR, -1);
  EXPECT_EQ(RET_SNMP_MEMORY_ERR, -2);
  EXPECT_EQ(RET_SNMP_PARAM_ERR, -3);
  EXPECT_EQ(RET_SNMP_NORESPONSE_ERR, -101);
}

// ---- Allocation --------------------------------------------------------------------------------

SnmpSimplePduPtr NewSimple(int slots) { return {get_simple_pdu_memory(1, slots), {1}}; }

bool IsZero(const void* block, size_t size) {
  const auto* bytes = static_cast<const unsigned char*>(block);
  return std::all_of(bytes, bytes + size, [](unsigned char byte) { return byte == 0; });
}

TEST(GetSimplePduMemory, GivesZeroedRecordsWithZeroedSlots) {
  const SnmpSimplePduPtr pdus(get_simple_pdu_memory(3, 2), {3});
  ASSERT_NE(pdus, nullptr);
  for (int i = 0; i < 3; ++i) {
    const snmp_simple_pdu& pdu = pdus.get()[i];
    EXPECT_TRUE(IsZero(&pdu, offsetof(snmp_simple_pdu, variable_count)));
    EXPECT_EQ(pdu.variable_count, 2);
    EXPECT_TRUE(IsZero(pdu.variables, 2 * sizeof(simple_variable)));
  }
}

TEST(GetSimplePduMemory, GivesARecordEvenWithoutSlots) {
  const SnmpSimplePduPtr no_slots(get_simple_pdu_memory(1, 0), {1});
  ASSERT_NE(no_slots, nullptr);
  EXPECT_EQ(no_slots->variable_count, 0);
  const SnmpSimplePduPtr no_records(get_simple_pdu_memory(0, 1), {0});
  EXPECT_NE(no_records, nullptr);
}

TEST(GetSimplePduMemory, RefusesNegativeCounts) {
  EXPECT_EQ(get_simple_pdu_memory(-1, 1), nullptr);
  EXPECT_EQ(get_simple_pdu_memory(1, -1), nullptr);
}

// ---- Text to sub-identifiers -------------------------------------------------------------------

// The sub-identifiers of a text, with room for 128; {} when it is refused.
Ids ToIds(const std::string& text, int length) {
  Ids ids(128);
  int count = 128;
  if (oid_string2array(text.c_str(), length, ids.data(), &count) != 0) return {};
  ids.resize(static_cast<size_t>(count));
  return ids;
}

Ids ToIds(const std::string& text) { return ToIds(text, static_cast<int>(text.size())); }

// "1.1.1..." of `count` numbers.
std::string OnesText(int count) {
  std::string text = "1";
  for (int i = 1; i < count; ++i) text += ".1";
  return text;
}

TEST(OidString2Array, ReadsNumbers) {
  EXPECT_EQ(ToIds("1.3.6.1.2.1.1.5.0"), (Ids{1, 3, 6, 1, 2, 1, 1, 5, 0}));
  EXPECT_EQ(ToIds("1.3.6.1.4.1.731.405.1.1.1.3"), (Ids{1, 3, 6, 1, 4, 1, 731, 405, 1, 1, 1, 3}));
  EXPECT_EQ(ToIds("7"), (Ids{7}));
  EXPECT_EQ(ToIds("007.4294967295"), (Ids{7, 4294967295}));
}

TEST(OidString2Array, RefusesTextThatDoesNotStartWithADigit) {
  for (const char* text : {".1.3", "", "a", " 1", "-1", "/1", ":1"}) {
    EXPECT_EQ(ToIds(text), Ids{}) << text;
  }
}

TEST(OidString2Array, TakesAnyOtherCharacterAsASeparator) {
  EXPECT_EQ(ToIds("1..3"), (Ids{1, 3}));
  EXPECT_EQ(ToIds("1....3"), (Ids{1, 3}));
  EXPECT_EQ(ToIds("1a3 6/1:5\xFF"
                  "2"),
            (Ids{1, 3, 6, 1, 5, 2}));
  EXPECT_EQ(ToIds("1.3."), (Ids{1, 3}));
  EXPECT_EQ(ToIds("1.3xyz"), (Ids{1, 3}));
}

TEST(OidString2Array, StopsWhenTheLengthIsUsedUp) {
  EXPECT_EQ(ToIds("1.3.6", 0), (Ids{1}));
  EXPECT_EQ(ToIds("1.3.6", 1), (Ids{1}));
  EXPECT_EQ(ToIds("1.3.6", 2), (Ids{1, 3}));
  EXPECT_EQ(ToIds("1.3.6", 3), (Ids{1, 3}));
  EXPECT_EQ(ToIds("1.3.6", 4), (Ids{1, 3, 6}));
  EXPECT_EQ(ToIds("1.3.6", 5), (Ids{1, 3, 6}));
}

TEST(OidString2Array, DoesNotCutANumberInTwo) {
  EXPECT_EQ(ToIds("731.405", 1), (Ids{731}));
  EXPECT_EQ(ToIds("1.405.7", 2), (Ids{1, 405}));
}

TEST(OidString2Array, StopsAtTheTerminatorWhateverTheLength) {
  EXPECT_EQ(ToIds(std::string("1.3\0.6", 6), 100), (Ids{1, 3}));
  EXPECT_EQ(ToIds("1.3.", 100), (Ids{1, 3}));
}

TEST(OidString2Array, DoesNotCheckForOverflow) {
  EXPECT_EQ(ToIds("4294967296"), (Ids{4294967296}));
  EXPECT_EQ(ToIds("18446744073709551617"), (Ids{1}));
}

TEST(OidString2Array, RefusesMoreNumbersThanTheCapacity) {
  EXPECT_EQ(ToIds(OnesText(128)).size(), 128U);
  EXPECT_EQ(ToIds(OnesText(129)), Ids{});
  uint64_t ids[2] = {0, 99};
  int count = 1;
  EXPECT_EQ(oid_string2array("1.3", 3, ids, &count), -1);
  EXPECT_EQ(ids[1], 99U);
  count = 0;
  EXPECT_EQ(oid_string2array("1", 1, ids, &count), -1);
}

// ---- Sub-identifiers to text -------------------------------------------------------------------

struct OidText {
  int result;
  std::string text;
};

// Converts into a buffer of exactly the capacity.
OidText ToText(const Ids& ids, int capacity) {
  const ExactBlock buffer(Bytes(static_cast<size_t>(capacity)));
  const int count = static_cast<int>(ids.size());
  auto* text = reinterpret_cast<char*>(buffer.data());
  const int result = oid_array2string(text, &capacity, ids.data(), &count);
  return {result, std::string(text, strnlen(text, static_cast<size_t>(capacity)))};
}

TEST(OidArray2String, WritesDottedDecimals) {
  const OidText result = ToText({1, 3, 6, 1, 2, 1, 1, 5, 0}, 256);
  EXPECT_EQ(result.result, 0);
  EXPECT_EQ(result.text, "1.3.6.1.2.1.1.5.0");
  EXPECT_EQ(ToText({0}, 256).text, "0");
}

TEST(OidArray2String, GivesBackTheTextThatWasRead) {
  for (const char* text : {"1.3.6.1.2.1.1.5.0", "1.3.6.1.4.1.731.405.1.1.1.3", "7"}) {
    EXPECT_EQ(ToText(ToIds(text), 256).text, text);
  }
}

TEST(OidArray2String, WritesTheLow32Bits) {
  EXPECT_EQ(ToText({4294967295, 4294967296, 0xFFFFFFFF00000005}, 256).text, "4294967295.0.5");
}

TEST(OidArray2String, NeedsRoomForATerminator) {
  EXPECT_EQ(ToText({1, 3}, 4).result, 0);
  EXPECT_EQ(ToText({1, 3}, 4).text, "1.3");
  EXPECT_EQ(ToText({1, 3}, 3).result, -1);
  EXPECT_EQ(ToText({1}, 2).result, 0);
  EXPECT_EQ(ToText({1}, 1).result, -1);
  EXPECT_EQ(ToText({1}, 0).result, -1);
}

TEST(OidArray2String, TerminatesTheTextInABufferThatHeldAnother) {
  const uint64_t ids[] = {1, 3};
  char text[] = "jjjjjjjj";
  const int capacity = sizeof(text);
  const int count = 2;
  EXPECT_EQ(oid_array2string(text, &capacity, ids, &count), 0);
  EXPECT_STREQ(text, "1.3");
}

TEST(OidArray2String, WritesNothingWithoutACapacity) {
  const uint64_t ids[] = {1, 3};
  char text[] = "j";
  const int count = 2;
  for (int capacity : {0, -1}) {
    EXPECT_EQ(oid_array2string(text, &capacity, ids, &count), -1);
    EXPECT_STREQ(text, "j");
  }
}

TEST(OidArray2String, RefusesTextsOf256CharactersAndMoreAtACapacityOf256) {
  Ids ids(128, 1);
  const OidText longest = ToText(ids, 256);
  EXPECT_EQ(longest.result, 0);
  EXPECT_EQ(longest.text, OnesText(128));
  EXPECT_EQ(longest.text.size(), 255U);
  ids.back() = 10;
  EXPECT_EQ(ToText(ids, 256).result, -1);
}

TEST(OidArray2String, LeavesTheTextWrittenSoFarWhenItFails) {
  EXPECT_EQ(ToText({1, 3, 731}, 7).text, "1.3.");
}

TEST(OidArray2String, ConvertsTheFirstEntryEvenWithACountOfZero) {
  const uint64_t ids[] = {731, 5};
  char text[16] = {};
  const int capacity = sizeof(text);
  const int count = 0;
  EXPECT_EQ(oid_array2string(text, &capacity, ids, &count), 0);
  EXPECT_STREQ(text, "731");
}

TEST(OidArray2String, RefusesAMissingArrayAndLeavesAnEmptyText) {
  char text[16] = "junk";
  const int capacity = sizeof(text);
  const int count = 0;
  EXPECT_EQ(oid_array2string(text, &capacity, nullptr, &count), -1);
  EXPECT_STREQ(text, "");
}

// ---- Requests ----------------------------------------------------------------------------------

SnmpSimplePduPtr NewRequest(unsigned char type, const std::vector<std::string>& names) {
  SnmpSimplePduPtr simple = NewSimple(static_cast<int>(names.size()));
  simple->pdu_type = type;
  for (size_t i = 0; i < names.size(); ++i) {
    memcpy(simple->variables[i].name, names[i].c_str(), names[i].size());
  }
  return simple;
}

SnmpPduPtr ToStandard(snmp_simple_pdu* simple) { return SnmpPduPtr(snmp_simple2standard(simple)); }

std::string WireBytes(const snmp_pdu* pdu) {
  unsigned char buffer[1536] = {};
  int length = sizeof(buffer);
  if (snmp_build(pdu, buffer, &length) != 0) return "";
  return ToHex(buffer, static_cast<size_t>(length));
}

TEST(SnmpSimple2Standard, MakesAVersion1RequestWithoutError) {
  const SnmpSimplePduPtr simple = NewRequest(kPduGetNext, {"1.3.6.1.2.1.1.5.0"});
  simple->source_address = 5;
  simple->error_status = 2;
  simple->error_index = 1;
  const SnmpPduPtr pdu = ToStandard(simple.get());
  ASSERT_NE(pdu, nullptr);
  EXPECT_EQ(pdu->version, 0);
  EXPECT_EQ(pdu->source_address, 0U);
  EXPECT_EQ(pdu->pdu_type, kPduGetNext);
  EXPECT_EQ(pdu->error_status, 0);
  EXPECT_EQ(pdu->error_index, 0);
  EXPECT_EQ(pdu->enterprise, nullptr);
  for (const void* buffer : pdu->owned_buffers) EXPECT_EQ(buffer, nullptr);
}

TEST(SnmpSimple2Standard, SendsTheNameAsNullWhenTheSlotHasNoType) {
  const SnmpSimplePduPtr simple = NewRequest(kPduGet, {"1.3.6.1.2.1.1.5.0"});
  simple->variables[0].value_length = 4;
  const SnmpPduPtr pdu = ToStandard(simple.get());
  ASSERT_NE(pdu, nullptr);
  const variable_list& var = *pdu->variables;
  EXPECT_EQ(Ids(var.name, var.name + var.name_length), (Ids{1, 3, 6, 1, 2, 1, 1, 5, 0}));
  EXPECT_EQ(var.type, 0x05);
  EXPECT_EQ(var.value, nullptr);
  EXPECT_EQ(var.value_length, 0);
  EXPECT_EQ(var.next, nullptr);
}

TEST(SnmpSimple2Standard, WritesTheDefaultCommunityIntoTheCallersRecord) {
  const SnmpSimplePduPtr simple = NewRequest(kPduGet, {"1.3"});
  const SnmpPduPtr pdu = ToStandard(simple.get());
  ASSERT_NE(pdu, nullptr);
  EXPECT_STREQ(simple->community, "public");
  EXPECT_STREQ(reinterpret_cast<const char*>(pdu->community), "public");
  EXPECT_EQ(pdu->community_length, 6);
}

TEST(SnmpSimple2Standard, KeepsACommunityOfTheCaller) {
  const SnmpSimplePduPtr simple = NewRequest(kPduGet, {"1.3"});
  memcpy(simple->community, "office", sizeof("office"));
  const SnmpPduPtr pdu = ToStandard(simple.get());
  ASSERT_NE(pdu, nullptr);
  EXPECT_STREQ(simple->community, "office");
  EXPECT_STREQ(reinterpret_cast<const char*>(pdu->community), "office");
  EXPECT_EQ(pdu->community_length, 6);
}

TEST(SnmpSimple2Standard, TakesACommunityWithoutATerminatorAsItsWholeField) {
  const SnmpSimplePduPtr simple = NewRequest(kPduGet, {"1.3"});
  // Up to the error status, over the unused bytes in between.
  constexpr size_t kStart = offsetof(snmp_simple_pdu, community);
  constexpr size_t kEnd = offsetof(snmp_simple_pdu, error_index);
  memset(reinterpret_cast<char*>(simple.get()) + kStart, 'c', kEnd - kStart);
  const SnmpPduPtr pdu = ToStandard(simple.get());
  ASSERT_NE(pdu, nullptr);
  EXPECT_EQ(pdu->community_length, 128);
  EXPECT_EQ(pdu->community[128], 0);
}

TEST(SnmpSimple2Standard, DrawsTheRequestIdFromTheSharedGenerator) {
  const SnmpSimplePduPtr simple = NewRequest(kPduGet, {"1.3"});
  srand(1);
  EXPECT_EQ(ToStandard(simple.get())->request_id, 1804289383);
  EXPECT_EQ(ToStandard(simple.get())->request_id, 846930886);
  srand(731);
  const int first = rand();
  const int second = rand();
  srand(731);
  EXPECT_EQ(ToStandard(simple.get())->request_id, first);
  EXPECT_EQ(ToStandard(simple.get())->request_id, second);
}

TEST(SnmpSimple2Standard, SendsEverySlotInOrder) {
  const SnmpSimplePduPtr simple = NewRequest(kPduGet, {"1.3.1", "1.3.2", "1.3.3"});
  const SnmpPduPtr pdu = ToStandard(simple.get());
  ASSERT_NE(pdu, nullptr);
  const variable_list* var = pdu->variables;
  for (uint64_t last = 1; last <= 3; ++last, var = var->next) {
    ASSERT_NE(var, nullptr);
    EXPECT_EQ(var->name[2], last);
  }
  EXPECT_EQ(var, nullptr);
}

TEST(SnmpSimple2Standard, RefusesASlotWithoutAName) {
  const SnmpSimplePduPtr simple = NewRequest(kPduGet, {"1.3.1", ""});
  EXPECT_EQ(ToStandard(simple.get()), nullptr);
}

TEST(SnmpSimple2Standard, RefusesNamesThatAreNoObjectIdentifiers) {
  EXPECT_EQ(ToStandard(NewRequest(kPduGet, {".1.3"}).get()), nullptr);
  EXPECT_EQ(ToStandard(NewRequest(kPduGet, {"sysName"}).get()), nullptr);
}

TEST(SnmpSimple2Standard, TakesTheLongestNameOfASlot) {
  const SnmpPduPtr pdu = ToStandard(NewRequest(kPduGet, {OnesText(128)}).get());
  ASSERT_NE(pdu, nullptr);
  EXPECT_EQ(pdu->variables->name_length, 128);
}

TEST(SnmpSimple2Standard, TakesANameWithoutATerminatorAsItsWholeField) {
  const SnmpSimplePduPtr simple = NewRequest(kPduGet, {"1.3"});
  memset(simple->variables[0].name, '1', sizeof(simple->variables[0].name));
  simple->variables[0].type = '1';
  const SnmpPduPtr pdu = ToStandard(simple.get());
  ASSERT_NE(pdu, nullptr);
  EXPECT_EQ(pdu->variables->name_length, 1);
}

TEST(SnmpSimple2Standard, CopiesTypeAndValueOfASlotWithAType) {
  const SnmpSimplePduPtr simple = NewRequest(kPduGet, {"1.3.6"});
  simple->variables[0].type = 0x04;
  memcpy(simple->variables[0].value, "ab", 2);
  simple->variables[0].value_length = 2;
  const SnmpPduPtr pdu = ToStandard(simple.get());
  ASSERT_NE(pdu, nullptr);
  EXPECT_EQ(pdu->variables->type, 0x04);
  EXPECT_EQ(ToHex(pdu->variables->value, 2), "61 62");
  EXPECT_EQ(pdu->variables->value_length, 2);
}

TEST(SnmpSimple2Standard, FillsValuesBeyondTheFieldWithZeros) {
  const SnmpSimplePduPtr simple = NewRequest(kPduGet, {"1.3.6"});
  simple->variables[0].type = 0x05;
  memset(simple->variables[0].value, 'x', sizeof(simple->variables[0].value));
  simple->variables[0].value_length = 4000;
  const SnmpPduPtr pdu = ToStandard(simple.get());
  ASSERT_NE(pdu, nullptr);
  EXPECT_EQ(pdu->variables->value_length, 4000);
  EXPECT_EQ(pdu->variables->value[1535], 'x');
  EXPECT_TRUE(IsZero(pdu->variables->value + 1536, 4000 - 1536));
}

TEST(SnmpSimple2Standard, TakesANegativeLengthAsNoValue) {
  const SnmpSimplePduPtr simple = NewRequest(kPduGet, {"1.3.6"});
  simple->variables[0].type = 0x05;
  simple->variables[0].value_length = -1;
  const SnmpPduPtr pdu = ToStandard(simple.get());
  ASSERT_NE(pdu, nullptr);
  EXPECT_EQ(pdu->variables->value_length, 0);
}

TEST(SnmpRequestBytes, AreThoseOfTheSystemNameQuery) {
  const SnmpSimplePduPtr simple = NewRequest(kPduGet, {"1.3.6.1.2.1.1.5.0"});
  simple->variables[0].type = 0x05;
  simple->variables[0].value_length = 256;
  const SnmpPduPtr pdu = ToStandard(simple.get());
  ASSERT_NE(pdu, nullptr);
  pdu->request_id = 0x12345678;
  EXPECT_EQ(WireBytes(pdu.get()), Plain("30 82 00 2B |"
                                        "02 01 00 |"
                                        "04 06 70 75 62 6C 69 63 |"
                                        "A0 1E |"
                                        "02 04 12 34 56 78 |"
                                        "02 01 00 |"
                                        "02 01 00 |"
                                        "30 10 |"
                                        "30 82 00 0C |"
                                        "06 08 2B 06 01 02 01 01 05 00 |"
                                        "05 00"));
}

TEST(SnmpRequestBytes, AreThoseOfTheSurvey) {
  const SnmpSimplePduPtr simple = NewRequest(kPduGetNext, {"1.3.6.1.4.1.731.405.1.1.1.3"});
  const SnmpPduPtr pdu = ToStandard(simple.get());
  ASSERT_NE(pdu, nullptr);
  pdu->request_id = 1804289383;
  EXPECT_EQ(WireBytes(pdu.get()), Plain("30 82 00 30 |"
                                        "02 01 00 |"
                                        "04 06 70 75 62 6C 69 63 |"
                                        "A1 23 |"
                                        "02 04 6B 8B 45 67 |"
                                        "02 01 00 |"
                                        "02 01 00 |"
                                        "30 15 |"
                                        "30 82 00 11 |"
                                        "06 0D 2B 06 01 04 01 85 5B 83 15 01 01 01 03 |"
                                        "05 00"));
}

// ---- Answers -----------------------------------------------------------------------------------

using message_bytes::Binding;
using message_bytes::Element;
using message_bytes::Response;

SnmpPduPtr Parse(const std::string& hex) {
  const ExactBlock block(FromHex(hex));
  return SnmpPduPtr(snmp_parse(block.data(), block.size(), 0x0500A8C0));
}

// A variable whose value is `length` bytes 'x', in a record of its own.
SnmpPduPtr AnswerOfLength(int length) {
  SnmpPduPtr pdu = Parse(Response(Binding("04 00")));
  variable_list* var = pdu->variables;
  free(var->value);
  var->value = static_cast<unsigned char*>(malloc(static_cast<size_t>(length)));
  memset(var->value, 'x', static_cast<size_t>(length));
  var->value_length = length;
  return pdu;
}

TEST(SnmpStandard2Simple, FillsRecordAndSlots) {
  const SnmpSimplePduPtr simple = NewSimple(2);
  const SnmpPduPtr pdu = Parse(Response(Binding("04 0A 50 52 49 4E 54 45 52 2D 31 32") +
                                        Element("30", "06 01 2B 02 01 FF")));
  ASSERT_NE(pdu, nullptr);
  pdu->error_status = 2;
  pdu->error_index = 1;
  EXPECT_EQ(snmp_standard2simple(pdu.get(), simple.get()), 0);
  EXPECT_EQ(simple->source_address, 0x0500A8C0U);
  EXPECT_STREQ(simple->community, "public");
  EXPECT_EQ(simple->error_status, 2);
  EXPECT_EQ(simple->error_index, 1);
  const simple_variable& text = simple->variables[0];
  EXPECT_STREQ(text.name, "1.3.6.1.2.1.1.5.0");
  EXPECT_EQ(text.type, 0x04);
  EXPECT_EQ(text.value_length, 10);
  EXPECT_STREQ(reinterpret_cast<const char*>(text.value), "PRINTER-12");
  const simple_variable& integer = simple->variables[1];
  EXPECT_STREQ(integer.name, "1.3");
  EXPECT_EQ(integer.type, 0x02);
  EXPECT_EQ(integer.value_length, 8);
  EXPECT_EQ(ToHex(integer.value, 9), "FF FF FF FF FF FF FF FF 00");
}

TEST(SnmpStandard2Simple, LeavesPduTypeAndCount) {
  const SnmpSimplePduPtr simple = NewSimple(3);
  EXPECT_EQ(snmp_standard2simple(Parse(Response(Binding("05 00"))).get(), simple.get()), 0);
  EXPECT_EQ(simple->pdu_type, 0);
  EXPECT_EQ(simple->variable_count, 3);
}

TEST(SnmpStandard2Simple, LeavesSlotsWithoutAVariable) {
  const SnmpSimplePduPtr simple = NewSimple(2);
  simple->variables[1].type = 0x77;
  EXPECT_EQ(snmp_standard2simple(Parse(Response(Binding("05 00"))).get(), simple.get()), 0);
  EXPECT_EQ(simple->variables[1].type, 0x77);
}

TEST(SnmpStandard2Simple, DropsVariablesWithoutASlot) {
  const SnmpSimplePduPtr one = NewSimple(1);
  const SnmpPduPtr pdu = Parse(Response(Binding("02 01 05") + Binding("04 01 61")));
  EXPECT_EQ(snmp_standard2simple(pdu.get(), one.get()), 0);
  EXPECT_EQ(one->variables[0].type, 0x02);
  const SnmpSimplePduPtr none = NewSimple(0);
  EXPECT_EQ(snmp_standard2simple(pdu.get(), none.get()), 0);
}

TEST(SnmpStandard2Simple, ClearsWhatASlotHeldBefore) {
  const SnmpSimplePduPtr simple = NewSimple(1);
  memset(&simple->variables[0], 'j', sizeof(simple_variable));
  memset(simple->community, 'j', sizeof(simple->community));
  EXPECT_EQ(snmp_standard2simple(Parse(Response(Binding("04 01 61"))).get(), simple.get()), 0);
  EXPECT_STREQ(simple->variables[0].name, "1.3.6.1.2.1.1.5.0");
  EXPECT_EQ(simple->variables[0].value[0], 'a');
  EXPECT_TRUE(IsZero(simple->variables[0].value + 1, 1535));
  EXPECT_TRUE(IsZero(simple->community + 6, 122));
}

TEST(SnmpStandard2Simple, KeepsTheLengthOfValuesThatAreNotHeld) {
  const SnmpSimplePduPtr simple = NewSimple(1);
  EXPECT_EQ(snmp_standard2simple(Parse(Response(Binding("44 03 61 62 63"))).get(), simple.get()),
            0);
  EXPECT_EQ(simple->variables[0].type, 0x44);
  EXPECT_EQ(simple->variables[0].value_length, 3);
  EXPECT_TRUE(IsZero(simple->variables[0].value, 1536));
}

TEST(SnmpStandard2Simple, TakesValuesOfUpTo1535Bytes) {
  const SnmpSimplePduPtr simple = NewSimple(1);
  EXPECT_EQ(snmp_standard2simple(AnswerOfLength(1535).get(), simple.get()), 0);
  EXPECT_EQ(simple->variables[0].value_length, 1535);
  EXPECT_EQ(simple->variables[0].value[1534], 'x');
  EXPECT_EQ(simple->variables[0].value[1535], 0);
  EXPECT_EQ(snmp_standard2simple(AnswerOfLength(1536).get(), simple.get()), -1);
}

TEST(SnmpStandard2Simple, RefusesANegativeLength) {
  const SnmpSimplePduPtr simple = NewSimple(1);
  const SnmpPduPtr pdu = Parse(Response(Binding("04 01 61")));
  pdu->variables->value_length = -1;
  EXPECT_EQ(snmp_standard2simple(pdu.get(), simple.get()), -1);
}

TEST(SnmpStandard2Simple, LeavesEarlierSlotsFilledWhenItFails) {
  const SnmpSimplePduPtr simple = NewSimple(2);
  const SnmpPduPtr pdu = Parse(Response(Binding("02 01 05") + Binding("04 01 61")));
  pdu->variables->next->value_length = 1536;
  EXPECT_EQ(snmp_standard2simple(pdu.get(), simple.get()), -1);
  EXPECT_EQ(simple->variables[0].type, 0x02);
  EXPECT_EQ(simple->variables[0].value_length, 8);
  EXPECT_STREQ(simple->variables[0].name, "1.3.6.1.2.1.1.5.0");
}

TEST(SnmpStandard2Simple, RefusesANameOf256CharactersAndMore) {
  const SnmpSimplePduPtr simple = NewSimple(1);
  const std::string ones = "2A " + Repeat("01", 126);  // 1.2.1.1..., 128 numbers
  const SnmpPduPtr longest =
      Parse(message_bytes::LongResponse(message_bytes::LongElement("06", ones), "05 00"));
  ASSERT_NE(longest, nullptr);
  EXPECT_EQ(snmp_standard2simple(longest.get(), simple.get()), 0);
  EXPECT_EQ(strlen(simple->variables[0].name), 255U);
  longest->variables->name[127] = 10;
  EXPECT_EQ(snmp_standard2simple(longest.get(), simple.get()), -1);
}

TEST(SnmpStandard2Simple, CutsCommunitiesTo127Bytes) {
  const SnmpSimplePduPtr simple = NewSimple(1);
  const SnmpPduPtr pdu = Parse(Response(""));
  free(pdu->community);
  pdu->community = static_cast<unsigned char*>(malloc(129));
  memset(pdu->community, 'c', 128);
  pdu->community[128] = 0;
  pdu->community_length = 128;
  EXPECT_EQ(snmp_standard2simple(pdu.get(), simple.get()), 0);
  EXPECT_EQ(simple->community, std::string(127, 'c'));
}

TEST(SnmpStandard2Simple, CutsCommunitiesAtAZero) {
  const SnmpSimplePduPtr simple = NewSimple(1);
  const SnmpPduPtr pdu = Parse(Response(""));
  pdu->community[2] = 0;
  EXPECT_EQ(snmp_standard2simple(pdu.get(), simple.get()), 0);
  EXPECT_STREQ(simple->community, "pu");
  EXPECT_TRUE(IsZero(simple->community + 2, 126));
}

TEST(SnmpStandard2Simple, TakesAMissingCommunityAsEmpty) {
  const SnmpSimplePduPtr simple = NewSimple(1);
  const SnmpPduPtr pdu = Parse(Response(""));
  free(pdu->community);
  pdu->community = nullptr;
  EXPECT_EQ(snmp_standard2simple(pdu.get(), simple.get()), 0);
  EXPECT_STREQ(simple->community, "");
}

// ---- Value buffer of a query -------------------------------------------------------------------

TEST(SnmpMemoryFree, ReleasesTheValueOnce) {
  snmp_next_param param = {};
  param.value = static_cast<unsigned char*>(malloc(8));
  EXPECT_EQ(snmp_memory_free(&param), 0);
  EXPECT_EQ(param.value, nullptr);
  EXPECT_EQ(snmp_memory_free(&param), 0);
}

TEST(SnmpMemoryFree, RefusesAMissingRecord) { EXPECT_EQ(snmp_memory_free(nullptr), -3); }

// ---- Trimmed text ------------------------------------------------------------------------------

// Trims a block of exactly the text and one byte for the terminator, and returns all of it.
std::string Trimmed(const std::string& hex) {
  Bytes bytes = FromHex(hex);
  const int length = static_cast<int>(bytes.size());
  bytes.push_back(0xEE);
  const ExactBlock block(bytes);
  auto* text = reinterpret_cast<char*>(block.data());
  EXPECT_EQ(snmp2c_str(text, length), text);
  return ToHex(block.data(), bytes.size());
}

TEST(Snmp2cStr, ClearsTrailingBlanksAndControls) {
  EXPECT_EQ(Trimmed("61 62 63 20 20 0D 0A"), "61 62 63 00 00 00 00 00");
  EXPECT_EQ(Trimmed("61 00 7F 09"), "61 00 00 00 00");
}

TEST(Snmp2cStr, ClearsTrailingBytesFrom80On) {
  EXPECT_EQ(Trimmed("63 61 66 C3 A9"), "63 61 66 00 00 00");
  EXPECT_EQ(Trimmed("61 80 FF"), "61 00 00 00");
}

TEST(Snmp2cStr, KeepsWhatLiesInFrontOfTheLastVisibleCharacter) {
  EXPECT_EQ(Trimmed("20 C3 A9 00 61 20"), "20 C3 A9 00 61 00 00");
}

TEST(Snmp2cStr, KeepsEveryVisibleCharacter) {
  for (unsigned char c = 0x21; c <= 0x7E; ++c) {
    EXPECT_EQ(Trimmed(ToHex(&c, 1)), ToHex({c, 0}));
  }
  EXPECT_EQ(Trimmed("20"), "00 00");
  EXPECT_EQ(Trimmed("7F"), "00 00");
}

TEST(Snmp2cStr, EmptiesABlankTextWithoutTouchingWhatLiesBefore) {
  char buffer[] = {'k', ' ', '\t', '\0', '\xFF', 'e'};
  EXPECT_EQ(snmp2c_str(buffer + 1, 4), buffer + 1);
  EXPECT_EQ(ToHex(reinterpret_cast<unsigned char*>(buffer), 6), "6B 00 00 00 00 00");
  EXPECT_EQ(Trimmed("20 20 20"), "00 00 00 00");
}

TEST(Snmp2cStr, TakesALengthOfZero) { EXPECT_EQ(Trimmed(""), "00"); }

TEST(Snmp2cStr, LeavesTheBufferForANegativeLength) {
  char buffer[] = {'a', 'b'};
  EXPECT_EQ(snmp2c_str(buffer + 1, -1), buffer + 1);
  EXPECT_EQ(buffer[0], 'a');
}

}  // namespace
