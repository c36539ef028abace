// Messages in tests, put together from elements in the short length form: what devices send. The
// client's own encoder cannot serve for this, since it writes the long form, which the client does
// not read.
#pragma once

#include <string>

#include "tests/snmp/bytes.h"

namespace message_bytes {

// "public" as the community element, and 1.3.6.1.2.1.1.5.0 as a name element.
inline const std::string kPublic = "04 06 70 75 62 6C 69 63 ";
inline const std::string kSysName = "06 08 2B 06 01 02 01 01 05 00 ";

// An element around contents of at most 127 bytes.
inline std::string Element(const std::string& tag, const std::string& contents) {
  const Bytes bytes = FromHex(contents);
  if (bytes.size() > 127) throw std::invalid_argument("too long for the short form");
  const auto length = static_cast<unsigned char>(bytes.size());
  return tag + " " + ToHex(&length, 1) + " " + contents + " ";
}

// An element around longer contents. Of a length in six bytes the client reads the first two.
inline std::string LongElement(const std::string& tag, const std::string& contents) {
  const size_t size = FromHex(contents).size();
  if (size > 0xFFFF) throw std::invalid_argument("too long for two bytes");
  const unsigned char length[] = {static_cast<unsigned char>(size >> 8),
                                  static_cast<unsigned char>(size & 0xFF)};
  return tag + " 86 " + ToHex(length, sizeof(length)) + " 00 00 00 00 " + contents + " ";
}

// A binding of the system name to a value element.
inline std::string Binding(const std::string& value) { return Element("30", kSysName + value); }

// A response PDU with request id 0x12345678 and no error around some bindings.
inline std::string ResponsePdu(const std::string& bindings) {
  return Element("A2", "02 04 12 34 56 78 02 01 00 02 01 00" + Element("30", bindings));
}

// A version 1 message with the community "public" around a PDU.
inline std::string Message(const std::string& pdu) {
  return Element("30", "02 01 00" + kPublic + pdu);
}

inline std::string Response(const std::string& bindings) { return Message(ResponsePdu(bindings)); }

// A response around one binding, for names and values of any length.
inline std::string LongResponse(const std::string& name, const std::string& value) {
  const std::string list = LongElement("30", LongElement("30", name + value));
  const std::string pdu = LongElement("A2", "02 01 01 02 01 00 02 01 00" + list);
  return LongElement("30", "02 01 00" + kPublic + pdu);
}

}  // namespace message_bytes
