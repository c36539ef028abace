// Tests of parsing SNMP version 1 messages, good and bad.
#include <gtest/gtest.h>

#include <climits>
#include <random>

#include "snmp/message.h"
#include "tests/snmp/bytes.h"
#include "tests/snmp/message_bytes.h"

namespace {

using message_bytes::Binding;
using message_bytes::Element;
using message_bytes::kPublic;
using message_bytes::kSysName;
using message_bytes::LongElement;
using message_bytes::LongResponse;
using message_bytes::Message;
using message_bytes::Response;
using message_bytes::ResponsePdu;

using Ids = std::vector<uint64_t>;

SnmpPduPtr ParseBytes(const Bytes& bytes, uint64_t source = 0) {
  const ExactBlock block(bytes);
  return SnmpPduPtr(snmp_parse(block.data(), block.size(), source));
}

SnmpPduPtr Parse(const std::string& hex, uint64_t source = 0) {
  return ParseBytes(FromHex(hex), source);
}

Ids NameOf(const variable_list& var) { return {var.name, var.name + var.name_length}; }

std::string ValueOf(const variable_list& var) {
  return ToHex(var.value, static_cast<size_t>(var.value_length));
}

int CountVariables(const snmp_pdu& pdu) {
  int count = 0;
  for (const variable_list* var = pdu.variables; var != nullptr; var = var->next) ++count;
  return count;
}

bool HasValue(unsigned char type) {
  return type == 0x02 || type == 0x04 || type == 0x06 || (type >= 0x40 && type <= 0x43);
}

// What holds for every record, whatever the bytes were.
void ExpectWellFormed(const snmp_pdu& pdu) {
  ASSERT_NE(pdu.community, nullptr);
  EXPECT_GE(pdu.community_length, 0);
  EXPECT_LE(pdu.community_length, kMaxCommunity);
  EXPECT_EQ(pdu.community[pdu.community_length], 0);
  EXPECT_EQ(pdu.version, 0);
  for (const variable_list* var = pdu.variables; var != nullptr; var = var->next) {
    ASSERT_NE(var->name, nullptr);
    EXPECT_GE(var->name_length, 1);
    EXPECT_LE(var->name_length, kMaxSubIdentifiers);
    EXPECT_GE(var->value_length, 0);
    EXPECT_EQ(var->value != nullptr, HasValue(var->type)) << int{var->type};
  }
}

// ---- A whole answer ----------------------------------------------------------------------------

// The answer of a device whose name is PRINTER-12; 53 bytes.
const std::string kAnswer =
    "30 33 |"                          // message, 51 bytes
    "02 01 00 |"                       // version 0
    "04 06 70 75 62 6C 69 63 |"        // community "public"
    "A2 26 |"                          // GetResponse, 38 bytes
    "02 04 12 34 56 78 |"              // request id
    "02 01 00 |"                       // error status
    "02 01 00 |"                       // error index
    "30 18 |"                          // variable list, 24 bytes
    "30 16 |"                          // binding, 22 bytes
    "06 08 2B 06 01 02 01 01 05 00 |"  // 1.3.6.1.2.1.1.5.0
    "04 0A 50 52 49 4E 54 45 52 2D 31 32";

TEST(SnmpParse, ReadsAnAnswer) {
  const SnmpPduPtr pdu = Parse(kAnswer, 0x0500A8C0);
  ASSERT_NE(pdu, nullptr);
  EXPECT_EQ(pdu->version, 0);
  EXPECT_EQ(pdu->source_address, 0x0500A8C0U);
  EXPECT_STREQ(reinterpret_cast<const char*>(pdu->community), "public");
  EXPECT_EQ(pdu->community_length, 6);
  EXPECT_EQ(pdu->pdu_type, 0xA2);
  EXPECT_EQ(pdu->request_id, 0x12345678);
  EXPECT_EQ(pdu->error_status, 0);
  EXPECT_EQ(pdu->error_index, 0);
  EXPECT_EQ(pdu->enterprise, nullptr);
  ASSERT_EQ(CountVariables(*pdu), 1);
  const variable_list& var = *pdu->variables;
  EXPECT_EQ(NameOf(var), (Ids{1, 3, 6, 1, 2, 1, 1, 5, 0}));
  EXPECT_EQ(var.type, 0x04);
  EXPECT_EQ(var.value_length, 10);
  EXPECT_STREQ(reinterpret_cast<const char*>(var.value), "PRINTER-12");
}

TEST(SnmpParse, LeavesTheUnusedBuffersNull) {
  const SnmpPduPtr pdu = Parse(kAnswer);
  for (const void* buffer : pdu->owned_buffers) EXPECT_EQ(buffer, nullptr);
}

TEST(SnmpParse, ReadsTheErrorFields) {
  const SnmpPduPtr pdu =
      Parse(Message("A2 1A 02 02 00 80 02 01 02 02 01 01 30 0E 30 0C" + kSysName + "05 00"));
  ASSERT_NE(pdu, nullptr);
  EXPECT_EQ(pdu->request_id, 128);
  EXPECT_EQ(pdu->error_status, 2);
  EXPECT_EQ(pdu->error_index, 1);
}

TEST(SnmpParse, ReadsSeveralVariablesInMessageOrder) {
  const SnmpPduPtr pdu = Parse(Response(
      Binding("02 01 05") + Element("30", "06 03 2B 06 01 04 02 61 62") + Binding("05 00")));
  ASSERT_NE(pdu, nullptr);
  ASSERT_EQ(CountVariables(*pdu), 3);
  EXPECT_EQ(pdu->variables->type, 0x02);
  EXPECT_EQ(NameOf(*pdu->variables->next), (Ids{1, 3, 6, 1}));
  EXPECT_EQ(ValueOf(*pdu->variables->next), "61 62");
  EXPECT_EQ(pdu->variables->next->next->type, 0x05);
}

TEST(SnmpParse, ReadsAnEmptyListAsNoVariables) {
  const SnmpPduPtr pdu = Parse(Response(""));
  ASSERT_NE(pdu, nullptr);
  EXPECT_EQ(pdu->variables, nullptr);
}

TEST(SnmpParse, KeepsTheLow32BitsOfTheIntegers) {
  const SnmpPduPtr pdu = Parse(
      Message(Element("A2",
                      "02 08 01 02 03 04 05 06 07 08 02 05 7F 00 00 00 02 02 05 01 80 00 00 00"
                      "30 00")));
  ASSERT_NE(pdu, nullptr);
  EXPECT_EQ(pdu->request_id, 0x05060708);
  EXPECT_EQ(pdu->error_status, 2);
  EXPECT_EQ(pdu->error_index, INT_MIN);
}

// ---- What is not looked at ---------------------------------------------------------------------

TEST(SnmpParse, TakesAnyPduType) {
  for (const char* tag : {"A0", "A1", "A3", "02", "30", "FE"}) {
    const SnmpPduPtr pdu = Parse(Message(Element(tag, "02 01 01 02 01 00 02 01 00 30 00")));
    ASSERT_NE(pdu, nullptr) << tag;
    EXPECT_EQ(pdu->pdu_type, FromHex(tag)[0]);
  }
}

TEST(SnmpParse, TakesAnyTagForVersionCommunityAndIntegers) {
  EXPECT_NE(Parse(Element("30", "04 01 00 02 02 61 62" + ResponsePdu(""))), nullptr);
  EXPECT_NE(Parse(Message(Element("A2", "42 01 01 04 01 00 05 01 00 30 00"))), nullptr);
}

TEST(SnmpParse, IgnoresBytesBehindTheMessage) {
  const SnmpPduPtr pdu = Parse(kAnswer + "FF FF FF");
  ASSERT_NE(pdu, nullptr);
  EXPECT_EQ(CountVariables(*pdu), 1);
}

TEST(SnmpParse, TakesTheBytesBehindAValueAsTheNextBinding) {
  const std::string inner = Element("30", "06 01 2B 05 00");
  const SnmpPduPtr pdu = Parse(Response(Element("30", kSysName + "02 01 05" + inner)));
  ASSERT_NE(pdu, nullptr);
  ASSERT_EQ(CountVariables(*pdu), 2);
  EXPECT_EQ(NameOf(*pdu->variables->next), (Ids{1, 3}));
  EXPECT_EQ(Parse(Response(Element("30", kSysName + "02 01 05 05 00"))), nullptr);
}

// ---- Refused messages --------------------------------------------------------------------------

TEST(SnmpParse, RefusesMissingData) {
  const ExactBlock block(FromHex(kAnswer));
  EXPECT_EQ(snmp_parse(nullptr, 53, 0), nullptr);
  EXPECT_EQ(snmp_parse(block.data(), 0, 0), nullptr);
  EXPECT_EQ(snmp_parse(block.data(), -1, 0), nullptr);
  EXPECT_EQ(snmp_parse(block.data(), INT_MIN, 0), nullptr);
}

TEST(SnmpParse, RefusesOtherVersions) {
  const std::string rest = kPublic + ResponsePdu("");
  EXPECT_NE(Parse(Element("30", "02 01 00" + rest)), nullptr);
  EXPECT_NE(Parse(Element("30", "02 02 00 00" + rest)), nullptr);
  for (const char* version : {"02 01 01", "02 01 03", "02 01 FF", "02 05 01 00 00 00 00"}) {
    EXPECT_EQ(Parse(Element("30", version + rest)), nullptr) << version;
  }
}

TEST(SnmpParse, RefusesOtherTagsWhereItLooks) {
  const std::string start = "02 01 00" + kPublic;
  const std::string ids = "02 01 01 02 01 00 02 01 00";
  EXPECT_EQ(Parse(Element("31", start + ResponsePdu(""))), nullptr);
  EXPECT_EQ(Parse(Message(Element("A2", ids + "31 00"))), nullptr);
  EXPECT_EQ(Parse(Message(Element("BF", ids + "30 00"))), nullptr);
  EXPECT_EQ(Parse(Response(Element("31", kSysName + "05 00"))), nullptr);
  EXPECT_EQ(Parse(Response(Element("30", "04 02 2B 06 05 00"))), nullptr);
  EXPECT_EQ(Parse(Response(Element("30", kSysName + "1F 00"))), nullptr);
}

TEST(SnmpParse, RefusesMissingElements) {
  EXPECT_EQ(Parse("30 00"), nullptr);
  EXPECT_EQ(Parse(Element("30", "02 01 00")), nullptr);
  EXPECT_EQ(Parse(Element("30", "02 01 00" + kPublic)), nullptr);
  EXPECT_EQ(Parse(Message("A2 00")), nullptr);
  EXPECT_EQ(Parse(Message(Element("A2", "02 01 01"))), nullptr);
  EXPECT_EQ(Parse(Message(Element("A2", "02 01 01 02 01 00"))), nullptr);
  EXPECT_EQ(Parse(Message(Element("A2", "02 01 01 02 01 00 02 01 00"))), nullptr);
  EXPECT_EQ(Parse(Response("30 00")), nullptr);
  EXPECT_EQ(Parse(Response(Element("30", kSysName))), nullptr);
}

TEST(SnmpParse, RefusesOverlongIntegers) {
  const std::string nine = "02 09 00 00 00 00 00 00 00 00 01";
  EXPECT_EQ(Parse(Element("30", nine + kPublic + ResponsePdu(""))), nullptr);
  EXPECT_EQ(Parse(Message(Element("A2", nine + "02 01 00 02 01 00 30 00"))), nullptr);
  EXPECT_EQ(Parse(Message(Element("A2", "02 01 00" + nine + "02 01 00 30 00"))), nullptr);
  EXPECT_EQ(Parse(Message(Element("A2", "02 01 00 02 01 00" + nine + "30 00"))), nullptr);
}

TEST(SnmpParse, RefusesNamesThatDoNotEnd) {
  EXPECT_EQ(Parse(Response(Element("30", "06 02 2B 86 05 00"))), nullptr);
  EXPECT_EQ(Parse(Response(Element("30", "06 06 2B 90 80 80 80 00 05 00"))), nullptr);
}

TEST(SnmpParse, RefusesAWholeAnswerForOneBadBinding) {
  EXPECT_EQ(Parse(Response(Binding("02 01 05") + Element("30", "04 00 05 00"))), nullptr);
  EXPECT_EQ(Parse(Response(Binding("02 01 05") + "30")), nullptr);
}

// ---- Length forms ------------------------------------------------------------------------------

TEST(SnmpParse, RefusesALongFormOfTheMessage) {
  const std::string contents = "02 01 00" + kPublic + ResponsePdu(Binding("05 00"));
  EXPECT_NE(Parse("30 29" + contents), nullptr);
  EXPECT_EQ(Parse("30 81 29" + contents), nullptr);
  EXPECT_EQ(Parse("30 82 00 29" + contents), nullptr);
  EXPECT_EQ(Parse("30 83 00 00 29" + contents), nullptr);
  EXPECT_EQ(Parse("30 84 00 00 00 29" + contents), nullptr);
  EXPECT_EQ(Parse("30 80" + contents + "00 00"), nullptr);
}

// Its message and its bindings state their lengths in two bytes, which read as 0.
TEST(SnmpParse, RefusesTheProgramsOwnRequests) {
  const std::string contents =
      "02 01 00 04 06 70 75 62 6C 69 63 A0 1E 02 04 12 34 56 78 02 01 00 02 01 00"
      "30 10 30 82 00 0C 06 08 2B 06 01 02 01 01 05 00 05 00";
  EXPECT_EQ(Parse("30 82 00 2B" + contents), nullptr);
  EXPECT_EQ(Parse("30 2B" + contents), nullptr);
}

TEST(SnmpParse, TakesALongFormOfFiveToEightBytesByItsFirst) {
  const std::string contents = "02 01 00" + kPublic + ResponsePdu(Binding("05 00"));
  EXPECT_NE(Parse("30 85 29 00 00 00 00" + contents), nullptr);
  EXPECT_NE(Parse("30 86 00 29 00 00 00 00" + contents), nullptr);
  EXPECT_NE(Parse("30 87 00 00 29 00 00 00 00" + contents), nullptr);
  EXPECT_NE(Parse("30 88 00 00 00 29 00 00 00 00" + contents), nullptr);
  EXPECT_EQ(Parse("30 85 00 00 00 00 29" + contents), nullptr);
  EXPECT_EQ(Parse("30 89 00 00 00 00 29 00 00 00 00" + contents), nullptr);
}

TEST(SnmpParse, ReadsNamesOfUpTo86BytesInTheFormsThatDevicesUse) {
  const std::string message = Response(Binding("04 56" + Repeat("41", 86)));
  EXPECT_EQ(FromHex(message).size(), 2U + 127U);
  EXPECT_NE(Parse(message), nullptr);
  const std::string longer =
      "30 81 80 02 01 00 04 06 70 75 62 6C 69 63 A2 73 02 04 12 34 56 78"
      "02 01 00 02 01 00 30 65 30 63" +
      kSysName + "04 57" + Repeat("41", 87);
  EXPECT_EQ(FromHex(longer).size(), 3U + 128U);
  EXPECT_EQ(Parse(longer), nullptr);
}

TEST(SnmpParse, ReadsALongFormOfInnerElementsAsEmpty) {
  const std::string ids = "02 01 01 02 01 00 02 01 00";
  EXPECT_EQ(Parse(Message("A2 81 0B" + ids + "30 00")), nullptr);
  EXPECT_EQ(Parse(Response("30 81 0C" + kSysName + "05 00")), nullptr);
  EXPECT_EQ(Parse(Response(Binding("04 81 02 61 62"))), nullptr);

  const SnmpPduPtr list = Parse(Message(Element("A2", ids + "30 81 0E" + Binding("05 00"))));
  ASSERT_NE(list, nullptr);
  EXPECT_EQ(list->variables, nullptr);

  const SnmpPduPtr value = Parse(Response(Binding("04 81 00")));
  ASSERT_NE(value, nullptr);
  EXPECT_EQ(value->variables->value_length, 0);
}

TEST(SnmpParse, RefusesLengthsAround32Bits) {
  const std::string rest = kPublic + ResponsePdu("");
  EXPECT_EQ(Parse("30 88 FF FF FF FF 00 00 00 00 02 01 00" + rest), nullptr);
  EXPECT_EQ(Parse("30 88 7F FF FF FF 00 00 00 00 02 01 00" + rest), nullptr);
  EXPECT_EQ(Parse(Response(Binding("04 88 FF FF FF FF 00 00 00 00"))), nullptr);
  EXPECT_EQ(Parse(Response(Binding("44 88 80 00 00 00 00 00 00 00"))), nullptr);
}

// ---- Community ---------------------------------------------------------------------------------

TEST(SnmpParse, ReadsCommunitiesOfUpTo128Bytes) {
  const auto message = [](int length) {
    return LongElement(
        "30", "02 01 00" + LongElement("04", Repeat("63", length)) + ResponsePdu(Binding("05 00")));
  };
  const SnmpPduPtr pdu = Parse(message(128));
  ASSERT_NE(pdu, nullptr);
  EXPECT_EQ(pdu->community_length, 128);
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(pdu->community)), std::string(128, 'c'));
  EXPECT_EQ(Parse(message(129)), nullptr);
}

TEST(SnmpParse, ReadsAnEmptyCommunity) {
  const SnmpPduPtr pdu = Parse(Element("30", "02 01 00 04 00" + ResponsePdu("")));
  ASSERT_NE(pdu, nullptr);
  EXPECT_EQ(pdu->community_length, 0);
  EXPECT_EQ(pdu->community[0], 0);
}

TEST(SnmpAuthParse, StopsAtThePduAndTerminatesTheCommunity) {
  const ExactBlock block(FromHex(kAnswer));
  unsigned char community[8];
  memset(community, 0xEE, sizeof(community));
  int length = 7;
  int remaining = block.size();
  int64_t version = 99;
  const unsigned char* end =
      snmp_auth_parse(block.data(), &remaining, community, &length, &version);
  EXPECT_EQ(end, block.data() + 13);
  EXPECT_EQ(remaining, 40);
  EXPECT_EQ(length, 6);
  EXPECT_EQ(ToHex(community, sizeof(community)), "70 75 62 6C 69 63 00 EE");
  EXPECT_EQ(version, 0);
}

TEST(SnmpAuthParse, PassesAnyVersion) {
  const ExactBlock block(FromHex("30 07 02 01 01 04 00 A2 00"));
  unsigned char community[1];
  int length = 0;
  int remaining = block.size();
  int64_t version = 99;
  EXPECT_EQ(snmp_auth_parse(block.data(), &remaining, community, &length, &version),
            block.data() + 7);
  EXPECT_EQ(version, 1);
  EXPECT_EQ(remaining, 2);
}

TEST(SnmpAuthParse, RefusesACommunityAboveTheCapacity) {
  const ExactBlock block(FromHex(kAnswer));
  unsigned char community[6];
  int length = 5;
  int remaining = block.size();
  int64_t version = 0;
  EXPECT_EQ(snmp_auth_parse(block.data(), &remaining, community, &length, &version), nullptr);
}

// ---- Values ------------------------------------------------------------------------------------

int64_t IntegerOf(const variable_list& var) {
  int64_t value = 0;
  memcpy(&value, var.value, sizeof(value));
  return value;
}

// The only variable of an answer that consists of one binding to this value element.
class ParsedValue {
 public:
  explicit ParsedValue(const std::string& value) : m_pPdu(Parse(Response(Binding(value)))) {}
  bool ok() const { return m_pPdu != nullptr && CountVariables(*m_pPdu) == 1; }
  const variable_list& var() const { return *m_pPdu->variables; }
  int64_t integer() const { return IntegerOf(var()); }
  uint64_t number() const { return static_cast<uint64_t>(integer()); }
  Ids oid() const {
    Ids ids(static_cast<size_t>(var().value_length) / sizeof(uint64_t));
    memcpy(ids.data(), var().value, ids.size() * sizeof(uint64_t));
    return ids;
  }

 private:
  SnmpPduPtr m_pPdu;
};

TEST(SnmpParseValue, HoldsIntegersInEightBytes) {
  const struct {
    const char* hex;
    int64_t value;
  } kCases[] = {
      {"02 01 05", 5},
      {"02 01 FF", -1},
      {"02 04 80 00 00 00", INT32_MIN},
      {"02 08 80 00 00 00 00 00 00 00", INT64_MIN},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.hex);
    const ParsedValue parsed(c.hex);
    ASSERT_TRUE(parsed.ok());
    EXPECT_EQ(parsed.var().type, 0x02);
    EXPECT_EQ(parsed.var().value_length, 8);
    EXPECT_EQ(parsed.integer(), c.value);
  }
}

TEST(SnmpParseValue, HoldsCountersGaugesAndTimeTicksInEightBytes) {
  for (const char* tag : {"41", "42", "43"}) {
    SCOPED_TRACE(tag);
    const ParsedValue small(std::string(tag) + "02 01 00");
    const ParsedValue large(std::string(tag) + "05 00 FF FF FF FF");
    const ParsedValue signed_byte(std::string(tag) + "01 80");
    ASSERT_TRUE(small.ok() && large.ok() && signed_byte.ok());
    EXPECT_EQ(small.var().type, FromHex(tag)[0]);
    EXPECT_EQ(small.var().value_length, 8);
    EXPECT_EQ(small.number(), 256U);
    EXPECT_EQ(large.number(), 0xFFFFFFFFU);
    EXPECT_EQ(signed_byte.number(), 0x000000FFFFFFFF80U);
  }
}

TEST(SnmpParseValue, PutsAnUncountedZeroBehindStringsAndAddresses) {
  for (const char* tag : {"04", "40"}) {
    SCOPED_TRACE(tag);
    const ParsedValue parsed(std::string(tag) + "04 0A 00 4D 05");
    ASSERT_TRUE(parsed.ok());
    EXPECT_EQ(parsed.var().value_length, 4);
    EXPECT_EQ(ToHex(parsed.var().value, 5), "0A 00 4D 05 00");
    const ParsedValue empty(std::string(tag) + "00");
    ASSERT_TRUE(empty.ok());
    EXPECT_EQ(empty.var().value_length, 0);
    EXPECT_EQ(empty.var().value[0], 0);
  }
}

TEST(SnmpParseValue, HoldsObjectIdentifiersAsSubIdentifiers) {
  const ParsedValue parsed("06 07 2B 06 01 04 01 85 5B");
  ASSERT_TRUE(parsed.ok());
  EXPECT_EQ(parsed.var().value_length, 56);
  EXPECT_EQ(parsed.oid(), (Ids{1, 3, 6, 1, 4, 1, 731}));
  EXPECT_EQ(ParsedValue("06 00").oid(), (Ids{0}));
}

TEST(SnmpParseValue, KeepsTypeAndLengthOfNullAndUnknownTags) {
  const struct {
    const char* hex;
    unsigned char type;
    int length;
  } kCases[] = {
      {"05 00", 0x05, 0}, {"05 02 AA BB", 0x05, 2}, {"44 03 AA BB CC", 0x44, 3},
      {"80 00", 0x80, 0}, {"30 02 05 00", 0x30, 2},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.hex);
    const ParsedValue parsed(c.hex);
    ASSERT_TRUE(parsed.ok());
    EXPECT_EQ(parsed.var().type, c.type);
    EXPECT_EQ(parsed.var().value_length, c.length);
    EXPECT_EQ(parsed.var().value, nullptr);
  }
}

TEST(SnmpParseValue, IsZeroWhenItCannotBeDecoded) {
  for (const char* hex :
       {"02 09 01 02 03 04 05 06 07 08 09", "41 09 01 02 03 04 05 06 07 08 09",
        "42 0A 00 01 02 03 04 05 06 07 08 09", "43 0A 00 01 02 03 04 05 06 07 08 09"}) {
    SCOPED_TRACE(hex);
    const ParsedValue parsed(hex);
    ASSERT_TRUE(parsed.ok());
    EXPECT_EQ(parsed.var().type, FromHex(hex)[0]);
    EXPECT_EQ(parsed.var().value_length, 8);
    EXPECT_EQ(parsed.number(), 0U);
  }
}

TEST(SnmpParseValue, IsEmptyWhenAnObjectIdentifierCannotBeDecoded) {
  for (const char* hex : {"06 02 2B 86", "06 06 2B 90 80 80 80 00"}) {
    SCOPED_TRACE(hex);
    const ParsedValue parsed(hex);
    ASSERT_TRUE(parsed.ok());
    EXPECT_EQ(parsed.var().value_length, 0);
    EXPECT_NE(parsed.var().value, nullptr);
  }
}

TEST(SnmpParseValue, DoesNotStopTheNextBindingWhenItCannotBeDecoded) {
  const SnmpPduPtr pdu =
      Parse(Response(Binding("02 09 01 02 03 04 05 06 07 08 09") + Binding("02 01 05")));
  ASSERT_NE(pdu, nullptr);
  ASSERT_EQ(CountVariables(*pdu), 2);
  EXPECT_EQ(IntegerOf(*pdu->variables->next), 5);
}

TEST(SnmpParseValue, TakesAnEmptyIntegerAtTheVeryEndAsZero) {
  const ParsedValue integer("02 00");
  ASSERT_TRUE(integer.ok());
  EXPECT_EQ(integer.integer(), 0);
  const ParsedValue counter("41 00");
  ASSERT_TRUE(counter.ok());
  EXPECT_EQ(counter.number(), 0U);
}

TEST(SnmpParseValue, TakesTheSignOfAnEmptyIntegerFromTheNextByteOfTheMessage) {
  const std::string rest = ResponsePdu("");
  EXPECT_NE(Parse(Element("30", "02 00 04 02 61 62" + rest)), nullptr);
  EXPECT_EQ(Parse(Element("30", "02 00 84 02 61 62" + rest)), nullptr);
  EXPECT_NE(Parse(Element("30", "02 01 00 84 02 61 62" + rest)), nullptr);
  // Bytes behind the message belong to the datagram all the same.
  const SnmpPduPtr pdu = Parse(Response(Binding("02 00")) + "80");
  ASSERT_NE(pdu, nullptr);
  EXPECT_EQ(ValueOf(*pdu->variables), "FF FF FF FF FF FF FF FF");
}

// ---- One binding -------------------------------------------------------------------------------

struct ParsedVarOp {
  int consumed;  // -1: refused
  int remaining;
  Ids name;
  int type;
  int value_length;
  long value_offset;
};

ParsedVarOp ParseVarOp(const std::string& hex, int remaining, int name_capacity) {
  const ExactBlock block(FromHex(hex));
  Ids name(static_cast<size_t>(name_capacity));
  int name_length = name_capacity;
  unsigned char type = 0;
  int value_length = 0;
  const unsigned char* value = nullptr;
  const unsigned char* end = snmp_parse_var_op(block.data(), &remaining, name.data(), &name_length,
                                               &type, &value_length, &value);
  if (end == nullptr) return {-1, remaining, {}, 0, 0, 0};
  name.resize(static_cast<size_t>(name_length));
  const auto consumed = static_cast<int>(end - block.data());
  return {consumed, remaining, name, type, value_length, value - block.data()};
}

TEST(SnmpParseVarOp, ChargesTheListWithTheBinding) {
  const ParsedVarOp result = ParseVarOp("30 07 06 02 2B 06 04 01 61 FF FF", 11, 128);
  EXPECT_EQ(result.consumed, 9);
  EXPECT_EQ(result.remaining, 2);
  EXPECT_EQ(result.name, (Ids{1, 3, 6}));
  EXPECT_EQ(result.type, 0x04);
  EXPECT_EQ(result.value_length, 1);
  EXPECT_EQ(result.value_offset, 6);
}

TEST(SnmpParseVarOp, EndsBehindTheValueWhateverTheBindingSays) {
  const ParsedVarOp result = ParseVarOp("30 09 06 02 2B 06 04 01 61 FF FF", 11, 128);
  EXPECT_EQ(result.consumed, 9);
  EXPECT_EQ(result.remaining, 2);
}

TEST(SnmpParseVarOp, RefusesAValueBeyondTheBinding) {
  EXPECT_EQ(ParseVarOp("30 07 06 02 2B 06 04 02 61 62", 10, 128).consumed, -1);
}

TEST(SnmpParseVarOp, LooksForTheValueInsideANameThatExceedsTheCapacity) {
  // The name has four numbers, the array room for three entries: "05 00" inside is read as value.
  const ParsedVarOp result = ParseVarOp("30 08 06 04 2B 06 05 00 05 00", 10, 3);
  EXPECT_EQ(result.name, (Ids{1, 3, 6}));
  EXPECT_EQ(result.value_offset, 6);
  EXPECT_EQ(result.consumed, 8);
  EXPECT_EQ(result.remaining, 2);
}

// ---- Traps -------------------------------------------------------------------------------------

TEST(SnmpParse, ReadsATrap) {
  const SnmpPduPtr pdu =
      Parse(Message("A4 1D |"
                    "06 07 2B 06 01 04 01 85 5B |"  // enterprise
                    "40 04 0A 4D 00 05 |"           // agent address
                    "02 01 06 |"                    // generic trap
                    "02 01 2A |"                    // specific trap
                    "43 04 12 34 56 78 |"           // time stamp
                    "30 00"));
  ASSERT_NE(pdu, nullptr);
  EXPECT_EQ(pdu->pdu_type, 0xA4);
  EXPECT_EQ(Ids(pdu->enterprise, pdu->enterprise + pdu->enterprise_length),
            (Ids{1, 3, 6, 1, 4, 1, 731}));
  EXPECT_EQ(ToHex(pdu->agent_address, 4), "0A 4D 00 05");
  EXPECT_EQ(pdu->generic_trap, 6);
  EXPECT_EQ(pdu->specific_trap, 42);
  EXPECT_EQ(pdu->time_stamp, 0x12345678U);
  EXPECT_EQ(pdu->request_id, 0);
}

TEST(SnmpParse, RefusesDamagedTraps) {
  const std::string enterprise = "06 01 2B";
  const std::string address = "40 04 0A 4D 00 05";
  const std::string rest = "02 01 06 02 01 2A 43 01 05 30 00";
  EXPECT_NE(Parse(Message(Element("A4", enterprise + address + rest))), nullptr);
  EXPECT_EQ(Parse(Message(Element("A4", "06 01 AB" + address + rest))), nullptr);
  EXPECT_EQ(Parse(Message(Element("A4", enterprise + "40 05 0A 4D 00 05 00" + rest))), nullptr);
  EXPECT_EQ(Parse(Message(Element("A4", enterprise + address))), nullptr);
  EXPECT_EQ(Parse(Message(Element("A4", enterprise + address + "02 01 06"))), nullptr);
  EXPECT_EQ(Parse(Message(Element("A4", enterprise + address + "02 01 06 02 01 2A"))), nullptr);
}

TEST(SnmpParse, ReadsAShortAgentAddressInPart) {
  const SnmpPduPtr pdu =
      Parse(Message(Element("A4", "06 00 40 02 0A 4D 02 01 06 02 01 2A 43 01 05 30 00")));
  ASSERT_NE(pdu, nullptr);
  EXPECT_EQ(ToHex(pdu->agent_address, 4), "0A 4D 00 00");
  EXPECT_EQ(pdu->enterprise_length, 1);
}

// ---- Damage ------------------------------------------------------------------------------------

// An answer with a value of every type.
const std::string kAllTypes =
    Response(Element("30", "06 01 2B 02 02 01 00") + Element("30", "06 01 2B 04 02 61 62") +
             Element("30", "06 01 2B 05 00") + Element("30", "06 01 2B 06 02 2B 06") +
             Element("30", "06 01 2B 40 04 0A 4D 00 05") + Element("30", "06 01 2B 41 02 01 00") +
             Element("30", "06 01 2B 42 02 01 00") + Element("30", "06 01 2B 44 02 01 00"));

TEST(SnmpParseDamage, RefusesEveryTruncation) {
  const Bytes whole = FromHex(kAnswer);
  for (size_t size = 0; size < whole.size(); ++size) {
    EXPECT_EQ(ParseBytes({whole.begin(), whole.begin() + static_cast<long>(size)}), nullptr)
        << size;
  }
}

// Whole or cut anywhere, also behind an integer without contents, whose sign is looked for there.
TEST(SnmpParseDamage, ReadsNothingBehindTheMessage) {
  for (const std::string& hex : {kAnswer, kAllTypes, Response(Binding("02 00"))}) {
    const Bytes whole = FromHex(hex);
    for (size_t size = 0; size <= whole.size(); ++size) {
      const LastBytes last({whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)});
      const SnmpPduPtr pdu(snmp_parse(last.data(), static_cast<int>(size), 0));
      EXPECT_EQ(pdu != nullptr, size == whole.size()) << size;
    }
  }
}

// Cuts the answer and makes the lengths of the enclosing elements, from the outermost on, fit what
// is left.
TEST(SnmpParseDamage, RefusesEveryTruncationWhoseOuterLengthsFit) {
  const Bytes whole = FromHex(kAnswer);
  const std::vector<size_t> length_offsets = {1, 14, 28, 30};  // message, PDU, list, binding
  const size_t list_contents = 29;
  for (size_t levels = 1; levels <= length_offsets.size(); ++levels) {
    for (size_t size = 0; size < whole.size(); ++size) {
      Bytes part(whole.begin(), whole.begin() + static_cast<long>(size));
      for (size_t level = 0; level < levels; ++level) {
        const size_t offset = length_offsets[level];
        if (offset < size) part[offset] = static_cast<unsigned char>(size - offset - 1);
      }
      const bool is_empty_list = levels >= 3 && size == list_contents;
      EXPECT_EQ(ParseBytes(part) != nullptr, is_empty_list) << levels << " levels, " << size;
    }
  }
}

TEST(SnmpParseDamage, SurvivesEveryChangeOfOneByte) {
  const Bytes whole = FromHex(kAllTypes);
  ASSERT_NE(ParseBytes(whole), nullptr);
  int accepted = 0;
  for (size_t i = 0; i < whole.size(); ++i) {
    for (int value = 0; value <= 0xFF; ++value) {
      Bytes damaged = whole;
      damaged[i] = static_cast<unsigned char>(value);
      const SnmpPduPtr pdu = ParseBytes(damaged);
      if (pdu == nullptr) continue;
      ++accepted;
      ExpectWellFormed(*pdu);
    }
  }
  EXPECT_GE(accepted, static_cast<int>(whole.size()));
}

TEST(SnmpParseDamage, SurvivesRandomDamage) {
  std::mt19937 random(20240607);
  const Bytes whole = FromHex(kAllTypes);
  int accepted = 0;
  for (int round = 0; round < 20000; ++round) {
    Bytes damaged = whole;
    for (unsigned changes = random() % 4 + 1; changes > 0; --changes) {
      damaged[random() % damaged.size()] = static_cast<unsigned char>(random());
    }
    if (random() % 4 == 0) damaged.resize(random() % (damaged.size() + 1));
    const SnmpPduPtr pdu = ParseBytes(damaged);
    if (pdu == nullptr) continue;
    ++accepted;
    ExpectWellFormed(*pdu);
  }
  EXPECT_GT(accepted, 0);
}

TEST(SnmpParseDamage, ReadsADatagramOfTheLargestSizeToItsEnd) {
  const int overhead =
      static_cast<int>(FromHex(LongResponse(kSysName, LongElement("04", ""))).size());
  const int text_length = 1536 - overhead;
  const std::string message = LongResponse(kSysName, LongElement("04", Repeat("41", text_length)));
  ASSERT_EQ(FromHex(message).size(), 1536U);
  const SnmpPduPtr pdu = Parse(message);
  ASSERT_NE(pdu, nullptr);
  EXPECT_EQ(pdu->variables->value_length, text_length);
  EXPECT_EQ(pdu->variables->value[text_length], 0);
}

TEST(SnmpParseDamage, ReadsTheFirst128SubIdentifiersOfAValue) {
  const SnmpPduPtr pdu = Parse(LongResponse(kSysName, LongElement("06", Repeat("01", 200))));
  ASSERT_NE(pdu, nullptr);
  EXPECT_EQ(CountVariables(*pdu), 1);
  EXPECT_EQ(pdu->variables->value_length, 128 * 8);
}

}  // namespace
