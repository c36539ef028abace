// Messages of RFC 1157, written out byte by byte from the inside to the outside.
#include "bench/messages.h"

namespace {

constexpr unsigned char kInteger = 0x02;
constexpr unsigned char kOctetString = 0x04;
constexpr unsigned char kNull = 0x05;
constexpr unsigned char kObjectId = 0x06;
constexpr unsigned char kSequence = 0x30;
constexpr unsigned char kGetNext = 0xA1;
constexpr unsigned char kResponse = 0xA2;

constexpr size_t kLongestContents = 127;

Bytes Element(unsigned char type, const Bytes& contents) {
  Bytes element{type, static_cast<unsigned char>(contents.size())};
  element.insert(element.end(), contents.begin(), contents.end());
  return element;
}

Bytes Joined(const std::vector<Bytes>& parts) {
  Bytes all;
  for (const Bytes& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

Bytes Text(const std::string& text) {
  return Element(kOctetString, Bytes(text.begin(), text.end()));
}

Bytes Message(unsigned char pdu, const Bytes& name, const Bytes& value) {
  const Bytes binding = Element(kSequence, Joined({Element(kObjectId, name), value}));
  const Bytes body = Joined({Element(kInteger, {0x12, 0x34, 0x56, 0x78}), Element(kInteger, {0}),
                             Element(kInteger, {0}), Element(kSequence, binding)});
  return Element(kSequence, Joined({Element(kInteger, {0}), Text("public"), Element(pdu, body)}));
}

// 1.3.6.1.4.1.731.405.1.1.1.3, and 1.0 below it, 1.3.6.1.4.1.731.1.2.1.2.0 and 1.3.6.1.2.1.1.5.0.
const Bytes kDiscovery{0x2B, 0x06, 0x01, 0x04, 0x01, 0x85, 0x5B,
                       0x83, 0x15, 0x01, 0x01, 0x01, 0x03};
const Bytes kSuccessor = Joined({kDiscovery, {0x01, 0x00}});
const Bytes kModel{0x2B, 0x06, 0x01, 0x04, 0x01, 0x85, 0x5B, 0x01, 0x02, 0x01, 0x02, 0x00};
const Bytes kName{0x2B, 0x06, 0x01, 0x02, 0x01, 0x01, 0x05, 0x00};

}  // namespace

Bytes DiscoveryRequest() { return Message(kGetNext, kDiscovery, Element(kNull, {})); }

Bytes ModelAnswer() { return Message(kResponse, kModel, Text("T55_E")); }

Bytes DiscoveryAnswer() { return Message(kResponse, kSuccessor, Element(kInteger, {1})); }

Bytes LongestAnswer() {
  const size_t without_text = Message(kResponse, kName, Text("")).size() - 2;
  return Message(kResponse, kName, Text(std::string(kLongestContents - without_text, 'n')));
}

std::string Hex(const Bytes& bytes) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  for (const unsigned char byte : bytes) {
    text += kDigits[byte >> 4];
    text += kDigits[byte & 0xF];
  }
  return text;
}
