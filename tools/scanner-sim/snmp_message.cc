// SNMP version 1 messages: requests as they are read, answers as they are written.
#include "tools/scanner-sim/snmp_message.h"

#include <glib.h>

#include <algorithm>

#include "tools/scanner-sim/addresses.h"
#include "tools/scanner-sim/text.h"

namespace {

const char* const kElementNames[kElementCount] = {
    "message",     "version", "community", "pdu",  "request_id", "error_status",
    "error_index", "list",    "binding",   "name", "value",
};

std::optional<SnmpValue> NumberValue(uint8_t tag, const std::string& text, int64_t low,
                                     int64_t high) {
  const auto number = parse_number(text, low, high);
  if (!number) return std::nullopt;
  return SnmpValue{tag, integer_contents(*number)};
}

std::optional<SnmpValue> HexValue(uint8_t tag, const std::string& text) {
  auto bytes = from_hex(trimmed(text));
  if (!bytes) return std::nullopt;
  return SnmpValue{tag, std::move(*bytes)};
}

std::optional<SnmpValue> AddressValue(const std::string& text) {
  const auto address = parse_ipv4(trimmed(text));
  if (!address) return std::nullopt;
  SnmpValue value{kTagAddress, {}};
  for (int shift = 24; shift >= 0; shift -= 8)
    value.contents.push_back(static_cast<uint8_t>((*address >> shift) & 0xFF));
  return value;
}

std::optional<SnmpValue> OidValue(const std::string& text) {
  const auto oid = parse_oid(trimmed(text));
  if (!oid) return std::nullopt;
  return SnmpValue{kTagOid, oid_contents(*oid)};
}

std::optional<SnmpValue> TaggedValue(const std::string& type, const std::string& text) {
  if (type.size() != 5 || type.compare(0, 3, "tag") != 0) return std::nullopt;
  const auto tag = parse_hex_byte(type.substr(3));
  if (!tag) return std::nullopt;
  return HexValue(static_cast<uint8_t>(*tag), text);
}

bool IsPrintable(const std::string& text) {
  if (!g_utf8_validate(text.data(), static_cast<gssize>(text.size()), nullptr)) return false;
  return std::none_of(text.begin(), text.end(), [](char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x20 || byte == 0x7F;
  });
}

std::string ColonHex(const Bytes& bytes) {
  std::string text;
  for (uint8_t byte : bytes) {
    if (!text.empty()) text += ':';
    text += to_hex({byte});
  }
  return text;
}

// A decimal number from contents of up to 8 bytes; the bytes themselves when there are more.
std::string NumberText(const Bytes& contents, bool is_signed) {
  if (contents.empty() || contents.size() > 8) return ColonHex(contents);
  uint64_t value = is_signed && (contents[0] & 0x80) ? UINT64_MAX : 0;
  for (uint8_t byte : contents) value = (value << 8) | byte;
  return is_signed ? std::to_string(static_cast<int64_t>(value)) : std::to_string(value);
}

std::string StringText(const Bytes& contents) {
  const std::string text(contents.begin(), contents.end());
  return IsPrintable(text) ? text : ColonHex(contents);
}

std::string OidValueText(const Bytes& contents) {
  Bytes element;
  append_element(&element, kTagOid, contents, {LengthStyle::kMinimal, 0});
  try {
    return oid_text(CBerReader(element).ReadOid("value"));
  } catch (const BerError&) {
    return ColonHex(contents);
  }
}

std::string AddressText(const Bytes& contents) {
  std::string text;
  for (uint8_t byte : contents) {
    if (!text.empty()) text += '.';
    text += std::to_string(byte);
  }
  return text;
}

SnmpBinding ReadBinding(CBerReader* list, std::vector<std::string>* remarks) {
  const Bytes contents = list->Read(kTagSequence, "a variable binding");
  CBerReader reader(contents);
  SnmpBinding binding;
  binding.name = reader.ReadOid("an object name");
  binding.value.tag = reader.PeekTag();
  binding.value.contents = reader.Read(binding.value.tag, "a value");
  if (reader.Left() > 0) remarks->push_back(std::to_string(reader.Left()) + " bytes after a value");
  return binding;
}

void ReadPdu(const Bytes& contents, SnmpMessage* message) {
  CBerReader reader(contents);
  message->requestId = reader.ReadInteger("the request id");
  message->errorStatus = reader.ReadInteger("the error status");
  message->errorIndex = reader.ReadInteger("the error index");
  const Bytes list = reader.Read(kTagSequence, "the variable list");
  if (reader.Left() > 0)
    message->remarks.push_back(std::to_string(reader.Left()) + " bytes after the variable list");
  CBerReader list_reader(list);
  while (list_reader.Left() > 0)
    message->bindings.push_back(ReadBinding(&list_reader, &message->remarks));
}

// Writes elements with the form that was chosen for each, and names the one that does not fit.
class CElementWriter {
 public:
  explicit CElementWriter(const LengthForms& forms) : m_Forms(forms) {}

  void Append(Bytes* out, Element element, uint8_t tag, const Bytes& contents) const {
    try {
      append_element(out, tag, contents, m_Forms[static_cast<size_t>(element)]);
    } catch (const LengthError& error) {
      throw LengthError(std::string("the ") + element_name(element) + " would have " +
                        error.what());
    }
  }

  void AppendInteger(Bytes* out, Element element, int64_t value) const {
    Append(out, element, kTagInteger, integer_contents(value));
  }

 private:
  const LengthForms& m_Forms;
};

Bytes ListContents(const std::vector<SnmpBinding>& bindings, const CElementWriter& writer) {
  Bytes list;
  for (const SnmpBinding& binding : bindings) {
    Bytes contents;
    writer.Append(&contents, Element::kName, kTagOid, oid_contents(binding.name));
    writer.Append(&contents, Element::kValue, binding.value.tag, binding.value.contents);
    writer.Append(&list, Element::kBinding, kTagSequence, contents);
  }
  return list;
}

}  // namespace

SnmpValue string_value(const std::string& text) {
  return {kTagString, Bytes(text.begin(), text.end())};
}

std::optional<SnmpValue> parse_value(const std::string& text) {
  if (text == "null") return SnmpValue{};
  const size_t colon = text.find(':');
  if (colon == std::string::npos) return std::nullopt;
  const std::string type = text.substr(0, colon);
  const std::string rest = text.substr(colon + 1);
  if (type == "string") return string_value(rest);
  if (type == "hex") return HexValue(kTagString, rest);
  if (type == "opaque") return HexValue(kTagOpaque, rest);
  if (type == "int") return NumberValue(kTagInteger, rest, INT64_MIN, INT64_MAX);
  if (type == "counter") return NumberValue(kTagCounter, rest, 0, UINT32_MAX);
  if (type == "gauge") return NumberValue(kTagGauge, rest, 0, UINT32_MAX);
  if (type == "ticks") return NumberValue(kTagTicks, rest, 0, UINT32_MAX);
  if (type == "address") return AddressValue(rest);
  if (type == "oid") return OidValue(rest);
  return TaggedValue(type, rest);
}

std::string value_text(const SnmpValue& value) {
  switch (value.tag) {
    case kTagInteger:
      return NumberText(value.contents, true);
    case kTagCounter:
    case kTagGauge:
    case kTagTicks:
      return NumberText(value.contents, false);
    case kTagString:
      return StringText(value.contents);
    case kTagNull:
      return "null";
    case kTagOid:
      return OidValueText(value.contents);
    case kTagAddress:
      return AddressText(value.contents);
    default:
      return ColonHex(value.contents);
  }
}

const char* element_name(Element element) { return kElementNames[static_cast<size_t>(element)]; }

std::optional<Element> parse_element(const std::string& text) {
  for (size_t i = 0; i < kElementCount; ++i)
    if (text == kElementNames[i]) return static_cast<Element>(i);
  return std::nullopt;
}

SnmpMessage decode_message(const Bytes& bytes) {
  CBerReader outer(bytes);
  const Bytes contents = outer.Read(kTagSequence, "the message");
  CBerReader reader(contents);
  SnmpMessage message;
  message.version = reader.ReadInteger("the version");
  const Bytes community = reader.Read(kTagString, "the community");
  message.community.assign(community.begin(), community.end());
  message.pdu = reader.PeekTag();
  if (message.pdu < kPduGet || message.pdu > kPduSet)
    throw BerError("the PDU has the tag " + to_hex({message.pdu}));
  ReadPdu(reader.Read(message.pdu, "the PDU"), &message);
  if (reader.Left() > 0)
    message.remarks.push_back(std::to_string(reader.Left()) + " bytes after the PDU");
  if (outer.Left() > 0)
    message.remarks.push_back(std::to_string(outer.Left()) + " bytes after the message");
  return message;
}

Bytes encode_message(const SnmpMessage& message, const LengthForms& forms) {
  const CElementWriter writer(forms);
  Bytes pdu;
  writer.AppendInteger(&pdu, Element::kRequestId, message.requestId);
  writer.AppendInteger(&pdu, Element::kErrorStatus, message.errorStatus);
  writer.AppendInteger(&pdu, Element::kErrorIndex, message.errorIndex);
  writer.Append(&pdu, Element::kList, kTagSequence, ListContents(message.bindings, writer));

  Bytes contents;
  writer.AppendInteger(&contents, Element::kVersion, message.version);
  writer.Append(&contents, Element::kCommunity, kTagString,
                Bytes(message.community.begin(), message.community.end()));
  writer.Append(&contents, Element::kPdu, message.pdu, pdu);

  Bytes bytes;
  writer.Append(&bytes, Element::kMessage, kTagSequence, contents);
  return bytes;
}
