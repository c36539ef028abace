// SNMP answers for fake devices, in the short length form, written without the code under test.
#pragma once

#include <stdexcept>

#include "tests/support/fake_network.h"

namespace fake_network {

// One element: tag, length in one byte, contents.
inline Bytes Element(unsigned char tag, const std::vector<Bytes>& parts) {
  Bytes element{tag, 0};
  for (const Bytes& part : parts) element.insert(element.end(), part.begin(), part.end());
  if (element.size() > 2 + 127) throw std::runtime_error("too long for the short form");
  element[1] = static_cast<unsigned char>(element.size() - 2);
  return element;
}

inline Bytes TextElement(const std::string& text) {
  return Element(0x04, {Bytes(text.begin(), text.end())});
}

// A GetResponse with request id 1 and one binding: `name` is the contents of an object identifier
// in hex, `value` a whole element.
inline Bytes SnmpAnswer(const std::string& name, const Bytes& value,
                        unsigned char error_status = 0) {
  const Bytes binding = Element(0x30, {Element(0x06, {Hex(name)}), value});
  const Bytes pdu = Element(0xA2, {Hex("02 01 01 02 01"), Bytes{error_status}, Hex("02 01 00"),
                                   Element(0x30, {binding})});
  return Element(0x30, {Hex("02 01 00"), TextElement("public"), pdu});
}

// Object identifiers in hex, as they stand in requests and answers.
constexpr char kDiscoveryName[] = "2B 06 01 04 01 85 5B 83 15 01 01 01 03";
constexpr char kSysName[] = "2B 06 01 02 01 01 05 00";
constexpr char kVendorName[] = "2B 06 01 04 01 85 5B 01 02 01 01 00";
constexpr char kModelName[] = "2B 06 01 04 01 85 5B 01 02 01 02 00";

// Whether a request asks for that name.
inline bool AsksFor(const Received& request, const std::string& name) {
  return ToHex(request.bytes).find(name) != std::string::npos;
}

}  // namespace fake_network
