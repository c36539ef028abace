// SNMP version 1 messages (RFC 1157 section 4): requests as they are read, answers as they are
// written.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/scanner-sim/ber.h"

enum PduType : uint8_t {
  kPduGet = 0xA0,
  kPduGetNext = 0xA1,
  kPduResponse = 0xA2,
  kPduSet = 0xA3,
};

// Error status numbers of RFC 1157 section 4.1.1.
enum SnmpError : int { kNoError = 0, kTooBig = 1, kNoSuchName = 2 };

// A value as it stands on the wire: the tag and the encoded contents.
struct SnmpValue {
  uint8_t tag = kTagNull;
  Bytes contents;
};

SnmpValue string_value(const std::string& text);

// Reads a value of a scenario: "string:TEXT", "hex:0a0b" (an OCTET STRING of these bytes),
// "int:N", "counter:N", "gauge:N", "ticks:N", "address:A.B.C.D", "oid:1.3.6", "null",
// "opaque:0a0b", or "tagXX:0a0b" for any tag. Nothing for any other text.
std::optional<SnmpValue> parse_value(const std::string& text);

// The value for people: a printable text as it stands, other bytes as hexadecimal pairs with
// colons, numbers in decimal.
std::string value_text(const SnmpValue& value);

struct SnmpBinding {
  Oid name;
  SnmpValue value;
};

struct SnmpMessage {
  int64_t version = 0;
  std::string community;
  uint8_t pdu = kPduGet;
  int64_t requestId = 0;
  int64_t errorStatus = 0;
  int64_t errorIndex = 0;
  std::vector<SnmpBinding> bindings;
  // Peculiarities of a message that was read, for instance bytes after its end.
  std::vector<std::string> remarks;
};

// Reads a message with one of the four PDU types above. Throws BerError.
SnmpMessage decode_message(const Bytes& bytes);

// The parts of a message that have a length field each.
enum class Element {
  kMessage,
  kVersion,
  kCommunity,
  kPdu,
  kRequestId,
  kErrorStatus,
  kErrorIndex,
  kList,
  kBinding,
  kName,
  kValue,
};
constexpr size_t kElementCount = 11;

// "message", "version", "community", "pdu", "request_id", "error_status", "error_index", "list",
// "binding", "name", "value".
const char* element_name(Element element);
std::optional<Element> parse_element(const std::string& text);

// The length form of each element; short for all of them unless set.
using LengthForms = std::array<LengthForm, kElementCount>;

// Writes a message. Throws LengthError, which names the element, when contents are too long for
// their form.
Bytes encode_message(const SnmpMessage& message, const LengthForms& forms);
