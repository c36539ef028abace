// Bytes of the scanner simulator's SNMP messages: every length form, values, whole messages.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tools/scanner-sim/ber.h"
#include "tools/scanner-sim/bytes.h"
#include "tools/scanner-sim/snmp_message.h"

namespace {

Bytes LengthBytes(size_t length, const char* form) {
  Bytes out;
  append_length(&out, length, parse_length_form(form).value());
  return out;
}

TEST(Hex, IsWrittenInLowerCasePairs) { EXPECT_EQ(to_hex({0x00, 0x9A, 0xFF}), "009aff"); }

TEST(Hex, IsReadWithAndWithoutBlanksBetweenPairs) {
  EXPECT_EQ(from_hex("009Aff"), (Bytes{0x00, 0x9A, 0xFF}));
  EXPECT_EQ(from_hex("00 9a  FF"), (Bytes{0x00, 0x9A, 0xFF}));
  EXPECT_EQ(from_hex(""), Bytes{});
}

TEST(Hex, IsRefusedWithOddOrOtherCharacters) {
  for (const char* text : {"0", "000", "0 0", "0g", "g0", "00:01", "-1"})
    EXPECT_EQ(from_hex(text), std::nullopt) << text;
}

TEST(LengthForms, WriteTheirBytes) {
  struct Row {
    size_t length;
    const char* form;
    Bytes bytes;
  };
  const Row rows[] = {
      {0, "short", {0x00}},
      {127, "short", {0x7F}},
      {0, "minimal", {0x00}},
      {127, "minimal", {0x7F}},
      {128, "minimal", {0x81, 0x80}},
      {255, "minimal", {0x81, 0xFF}},
      {256, "minimal", {0x82, 0x01, 0x00}},
      {65536, "minimal", {0x83, 0x01, 0x00, 0x00}},
      {43, "long1", {0x81, 0x2B}},
      {43, "long2", {0x82, 0x00, 0x2B}},
      {43, "long4", {0x84, 0x00, 0x00, 0x00, 0x2B}},
      {43, "long5", {0x85, 0x00, 0x00, 0x00, 0x00, 0x2B}},
      {0x1234, "long8", {0x88, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x12, 0x34}},
      {43, "left5", {0x85, 0x2B, 0x00, 0x00, 0x00, 0x00}},
      {43, "left6", {0x86, 0x00, 0x2B, 0x00, 0x00, 0x00, 0x00}},
      {43, "left8", {0x88, 0x00, 0x00, 0x00, 0x2B, 0x00, 0x00, 0x00, 0x00}},
      {43, "byte00", {0x00}},
      {43, "byte80", {0x80}},
      {300, "byteff", {0xFF}},
  };
  for (const Row& row : rows)
    EXPECT_EQ(LengthBytes(row.length, row.form), row.bytes) << row.form << " " << row.length;
}

TEST(LengthForms, RefuseWhatTheyCannotState) {
  EXPECT_THROW(LengthBytes(128, "short"), LengthError);
  EXPECT_THROW(LengthBytes(256, "long1"), LengthError);
  EXPECT_THROW(LengthBytes(65536, "long2"), LengthError);
  EXPECT_THROW(LengthBytes(256, "left5"), LengthError);
  EXPECT_EQ(LengthBytes(255, "long1"), (Bytes{0x81, 0xFF}));
  EXPECT_EQ(LengthBytes(255, "left5"), (Bytes{0x85, 0xFF, 0x00, 0x00, 0x00, 0x00}));
}

TEST(LengthForms, OfOtherNamesAreUnknown) {
  for (const char* text : {"", "Short", "long", "long0", "long9", "left4", "left9", "byte", "byte1",
                           "byte100", "bytegg", "medium"})
    EXPECT_FALSE(parse_length_form(text)) << text;
}

TEST(Integers, AreWrittenInTheFewestBytes) {
  EXPECT_EQ(integer_contents(0), (Bytes{0x00}));
  EXPECT_EQ(integer_contents(127), (Bytes{0x7F}));
  EXPECT_EQ(integer_contents(128), (Bytes{0x00, 0x80}));
  EXPECT_EQ(integer_contents(255), (Bytes{0x00, 0xFF}));
  EXPECT_EQ(integer_contents(-1), (Bytes{0xFF}));
  EXPECT_EQ(integer_contents(-128), (Bytes{0x80}));
  EXPECT_EQ(integer_contents(-129), (Bytes{0xFF, 0x7F}));
  EXPECT_EQ(integer_contents(0x12345678), (Bytes{0x12, 0x34, 0x56, 0x78}));
  EXPECT_EQ(integer_contents(INT64_MIN), (Bytes{0x80, 0, 0, 0, 0, 0, 0, 0}));
}

TEST(Integers, AreReadWithTheirSign) {
  const auto read = [](const Bytes& bytes) { return CBerReader(bytes).ReadInteger("it"); };
  EXPECT_EQ(read({0x02, 0x01, 0x00}), 0);
  EXPECT_EQ(read({0x02, 0x01, 0x80}), -128);
  EXPECT_EQ(read({0x02, 0x02, 0x00, 0x80}), 128);
  EXPECT_EQ(read({0x02, 0x04, 0x7F, 0xFF, 0xFF, 0xFF}), INT32_MAX);
  EXPECT_THROW(read({0x02, 0x00}), BerError);
  EXPECT_THROW(read({0x02, 0x09, 1, 2, 3, 4, 5, 6, 7, 8, 9}), BerError);
}

TEST(ObjectIdentifiers, AreWrittenInBase128) {
  EXPECT_EQ(oid_contents({1, 3, 6, 1, 2, 1, 1, 5, 0}),
            (Bytes{0x2B, 0x06, 0x01, 0x02, 0x01, 0x01, 0x05, 0x00}));
  EXPECT_EQ(oid_contents({1, 3, 731, 65535, 4294967295}),
            (Bytes{0x2B, 0x85, 0x5B, 0x83, 0xFF, 0x7F, 0x8F, 0xFF, 0xFF, 0xFF, 0x7F}));
  EXPECT_EQ(oid_contents({2, 100}), (Bytes{0x81, 0x34}));
}

TEST(ObjectIdentifiers, AreReadAsTheyAreWritten) {
  const auto read = [](const Bytes& bytes) { return CBerReader(bytes).ReadOid("it"); };
  EXPECT_EQ(read({0x06, 0x05, 0x2B, 0x06, 0x01, 0x85, 0x5B}), (Oid{1, 3, 6, 1, 731}));
  EXPECT_EQ(read({0x06, 0x02, 0x81, 0x34}), (Oid{2, 100}));
  EXPECT_EQ(read({0x06, 0x01, 0x00}), (Oid{0, 0}));
  EXPECT_THROW(read({0x06, 0x00}), BerError);
  EXPECT_THROW(read({0x06, 0x02, 0x2B, 0x85}), BerError);
  EXPECT_THROW(read({0x06, 0x06, 0x2B, 0x90, 0x80, 0x80, 0x80, 0x00}), BerError);
}

TEST(ObjectIdentifiers, HaveATextThatIsStrictlyRead) {
  EXPECT_EQ(parse_oid("1.3.6.1.4.1.731"), (Oid{1, 3, 6, 1, 4, 1, 731}));
  EXPECT_EQ(oid_text({1, 3, 6, 1, 4, 1, 731}), "1.3.6.1.4.1.731");
  for (const char* text :
       {"", "1", "1.", ".1.3", "1..3", "1.3.x", "3.1", "1.40", "1.3.4294967296", "1.3.-1"})
    EXPECT_FALSE(parse_oid(text)) << text;
}

TEST(Values, AreReadFromScenarioText) {
  struct Row {
    const char* text;
    uint8_t tag;
    Bytes contents;
  };
  const Row rows[] = {
      {"string:T55_E", 0x04, {'T', '5', '5', '_', 'E'}},
      {"string:", 0x04, {}},
      {"hex:ff00", 0x04, {0xFF, 0x00}},
      {"int:-129", 0x02, {0xFF, 0x7F}},
      {"counter:4294967295", 0x41, {0x00, 0xFF, 0xFF, 0xFF, 0xFF}},
      {"gauge:128", 0x42, {0x00, 0x80}},
      {"ticks:1", 0x43, {0x01}},
      {"address:10.77.0.1", 0x40, {0x0A, 0x4D, 0x00, 0x01}},
      {"oid:1.3.6", 0x06, {0x2B, 0x06}},
      {"null", 0x05, {}},
      {"opaque:9f78", 0x44, {0x9F, 0x78}},
      {"tag46:01", 0x46, {0x01}},
  };
  for (const Row& row : rows) {
    const auto value = parse_value(row.text);
    ASSERT_TRUE(value) << row.text;
    EXPECT_EQ(value->tag, row.tag) << row.text;
    EXPECT_EQ(value->contents, row.contents) << row.text;
  }
}

TEST(Values, OfOtherTextsAreRefused) {
  for (const char* text : {"", "T55", "int:", "int:x", "counter:-1", "counter:4294967296", "hex:0",
                           "address:10.77.0", "oid:1", "tag4:01", "tagxx:01", "float:1"})
    EXPECT_FALSE(parse_value(text)) << text;
}

TEST(Values, AreShownToPeople) {
  EXPECT_EQ(value_text({0x04, {'T', '5', '5'}}), "T55");
  EXPECT_EQ(value_text({0x04, {0x02, 0x56, 0xFF}}), "02:56:ff");
  EXPECT_EQ(value_text({0x02, {0xFF, 0x7F}}), "-129");
  EXPECT_EQ(value_text({0x41, {0x00, 0xFF, 0xFF, 0xFF, 0xFF}}), "4294967295");
  EXPECT_EQ(value_text({0x40, {10, 77, 0, 1}}), "10.77.0.1");
  EXPECT_EQ(value_text({0x06, {0x2B, 0x06}}), "1.3.6");
  EXPECT_EQ(value_text({0x05, {}}), "null");
  EXPECT_EQ(value_text({0x44, {0x9F, 0x78}}), "9f:78");
}

// GET of 1.3.6.1.2.1.1.5.0 with the four-byte headers of the client.
const char kGetName[] =
    "30 82 00 2b"                    // message
    "02 01 00"                       // version
    "04 06 70 75 62 6c 69 63"        // "public"
    "a0 1e"                          // GetRequest
    "02 04 12 34 56 78"              // request id
    "02 01 00"                       // error status
    "02 01 00"                       // error index
    "30 10"                          // list
    "30 82 00 0c"                    // binding
    "06 08 2b 06 01 02 01 01 05 00"  // name
    "05 00";                         // NULL

TEST(Messages, WithLongFormHeadersAreRead) {
  const SnmpMessage message = decode_message(from_hex(kGetName).value());
  EXPECT_EQ(message.version, 0);
  EXPECT_EQ(message.community, "public");
  EXPECT_EQ(message.pdu, 0xA0);
  EXPECT_EQ(message.requestId, 0x12345678);
  EXPECT_EQ(message.errorStatus, 0);
  EXPECT_EQ(message.errorIndex, 0);
  ASSERT_EQ(message.bindings.size(), 1U);
  EXPECT_EQ(oid_text(message.bindings[0].name), "1.3.6.1.2.1.1.5.0");
  EXPECT_EQ(message.bindings[0].value.tag, 0x05);
  EXPECT_TRUE(message.remarks.empty());
}

TEST(Messages, CutAnywhereAreRefused) {
  const Bytes whole = from_hex(kGetName).value();
  for (size_t size = 0; size < whole.size(); ++size)
    EXPECT_THROW(decode_message(Bytes(whole.begin(), whole.begin() + static_cast<long>(size))),
                 BerError)
        << size;
}

TEST(Messages, WithBytesAfterTheEndAreReadWithARemark) {
  Bytes bytes = from_hex(kGetName).value();
  bytes.push_back(0);
  const SnmpMessage message = decode_message(bytes);
  EXPECT_EQ(message.remarks, std::vector<std::string>{"1 bytes after the message"});
}

TEST(Messages, WithAWrongTagOrLengthAreRefusedAndSayWhere) {
  struct Row {
    size_t offset;
    uint8_t byte;
    const char* problem;
  };
  const Row rows[] = {
      {0, 0x31, "the message has the tag 31 instead of 30"},
      {1, 0x80, "the message has the length byte 80"},
      {1, 0x85, "the message has the length byte 85"},
      {3, 0x2C, "the message states 44 bytes, 43 are there"},
      {4, 0x03, "the version has the tag 03 instead of 02"},
      {7, 0x02, "the community has the tag 02 instead of 04"},
      {15, 0xA4, "the PDU has the tag a4"},
      {16, 0x1F, "the PDU states 31 bytes, 30 are there"},
      {17, 0x04, "the request id has the tag 04 instead of 02"},
      {29, 0x31, "the variable list has the tag 31 instead of 30"},
      {31, 0x31, "a variable binding has the tag 31 instead of 30"},
      {35, 0x04, "an object name has the tag 04 instead of 06"},
      {44, 0x80, "an object name is an incomplete identifier"},
  };
  for (const Row& row : rows) {
    Bytes bytes = from_hex(kGetName).value();
    bytes[row.offset] = row.byte;
    try {
      decode_message(bytes);
      ADD_FAILURE() << row.problem;
    } catch (const BerError& error) {
      EXPECT_STREQ(error.what(), row.problem);
    }
  }
}

TEST(Messages, AreWrittenInTheShortFormThroughout) {
  SnmpMessage message;
  message.community = "public";
  message.pdu = 0xA2;
  message.requestId = 0x12345678;
  message.bindings.push_back(
      {{1, 3, 6, 1, 4, 1, 731, 1, 2, 1, 2, 0}, {0x04, {'T', '5', '5', '_', 'E'}}});
  EXPECT_EQ(encode_message(message, {}), from_hex("30 32"
                                                  "02 01 00"
                                                  "04 06 70 75 62 6c 69 63"
                                                  "a2 25"
                                                  "02 04 12 34 56 78"
                                                  "02 01 00"
                                                  "02 01 00"
                                                  "30 17"
                                                  "30 15"
                                                  "06 0c 2b 06 01 04 01 85 5b 01 02 01 02 00"
                                                  "04 05 54 35 35 5f 45"));
}

TEST(Messages, StateEachElementInItsForm) {
  SnmpMessage message;
  message.community = "p";
  message.pdu = 0xA2;
  message.requestId = 1;
  message.bindings.push_back({{1, 3}, {0x02, {0x05}}});
  LengthForms forms = {};
  for (size_t i = 0; i < kElementCount; ++i) forms[i] = {LengthStyle::kLong, 1};
  EXPECT_EQ(encode_message(message, forms), from_hex("30 81 25"
                                                     "02 81 01 00"
                                                     "04 81 01 70"
                                                     "a2 81 1a"
                                                     "02 81 01 01"
                                                     "02 81 01 00"
                                                     "02 81 01 00"
                                                     "30 81 0b"
                                                     "30 81 08"
                                                     "06 81 01 2b"
                                                     "02 81 01 05"));
}

TEST(Messages, NameTheElementThatDoesNotFit) {
  SnmpMessage message;
  message.bindings.push_back({{1, 3}, {0x04, Bytes(128)}});
  try {
    encode_message(message, {});
    ADD_FAILURE() << "128 bytes in the short form";
  } catch (const LengthError& error) {
    EXPECT_STREQ(error.what(),
                 "the value would have 128 contents bytes, where the length form has room for 127");
  }
}

}  // namespace
