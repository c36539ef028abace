// The SNMP client: elements, messages, simple records, and an exchange without the network.
#include <cstdlib>
#include <cstring>

#include "bench/fake_network.h"
#include "bench/messages.h"
#include "bench/operations.h"
#include "snmp/asn.h"
#include "snmp/device_query.h"
#include "snmp/message.h"
#include "snmp/request.h"
#include "snmp/simple_pdu.h"
#include "ui/survey/interview.h"

namespace {

constexpr int kBufferSize = kSnmpMessageSize;
constexpr uint32_t kSender = 0x0100007F;
constexpr char kModelText[] = "T55_E";

const int64_t kInteger = 0x12345678;
const uint64_t kUnsigned = 0xFEDCBA98;
const uint64_t kOid[] = {1, 3, 6, 1, 4, 1, 731, 1, 2, 1, 2, 0};
constexpr int kOidCount = sizeof(kOid) / sizeof(kOid[0]);

unsigned char buffer[kBufferSize];

// Encodes one element into the buffer.
template <typename Encoder>
void Encode(Encoder encode) {
  int remaining = kBufferSize;
  Keep(encode(buffer, &remaining));
  Keep(remaining);
}

// Decodes one element of the given bytes, behind which there are zeros.
template <size_t size, typename Decoder>
void Decode(const unsigned char (&element)[size], Decoder decode) {
  int remaining = static_cast<int>(size);
  unsigned char type = 0;
  Keep(decode(element, &remaining, &type));
  Keep(type);
}

void BuildString(int) {
  Encode([](unsigned char* data, int* remaining) {
    return asn_build_string(data, remaining, kAsnOctetString,
                            reinterpret_cast<const unsigned char*>(kModelText),
                            sizeof(kModelText) - 1);
  });
}

void BuildOid(int) {
  Encode([](unsigned char* data, int* remaining) {
    return asn_build_oid(data, remaining, kAsnObjectId, kOid, kOidCount);
  });
}

void BuildInt(int) {
  Encode([](unsigned char* data, int* remaining) {
    return asn_build_int(data, remaining, kAsnInteger, &kInteger, sizeof(kInteger));
  });
}

void BuildUnsigned(int) {
  Encode([](unsigned char* data, int* remaining) {
    return asn_build_unsigned_int(data, remaining, kAsnGauge, &kUnsigned, sizeof(kUnsigned));
  });
}

void BuildNull(int) {
  Encode([](unsigned char* data, int* remaining) {
    return asn_build_null(data, remaining, kAsnNull);
  });
}

void BuildLength(int) {
  Encode(
      [](unsigned char* data, int* remaining) { return asn_build_length(data, remaining, 300); });
}

void BuildHeader(int) {
  Encode([](unsigned char* data, int* remaining) {
    return asn_build_header(data, remaining, kAsnSequence, 100);
  });
}

void BuildSequence(int) {
  Encode([](unsigned char* data, int* remaining) {
    return asn_build_sequence(data, remaining, kAsnSequence, 100);
  });
}

void ParseLength(int) {
  static const unsigned char kLength[] = {0x64, 0};
  uint64_t length = 0;
  Keep(asn_parse_length(kLength, &length));
  Keep(length);
}

void ParseHeader(int) {
  static const unsigned char kHeader[] = {0x30, 0x02, 0x05, 0x00};
  Decode(kHeader, asn_parse_header);
}

void ParseNull(int) {
  static const unsigned char kNull[16] = {0x05, 0x00};
  Decode(kNull, asn_parse_null);
}

void ParseInt(int) {
  static const unsigned char kElement[] = {0x02, 0x04, 0x12, 0x34, 0x56, 0x78, 0};
  Decode(kElement, [](const unsigned char* data, int* remaining, unsigned char* type) {
    int64_t value = 0;
    data = asn_parse_int(data, remaining, type, &value, sizeof(value));
    Keep(value);
    return data;
  });
}

void ParseUnsigned(int) {
  static const unsigned char kElement[] = {0x42, 0x05, 0x00, 0xFE, 0xDC, 0xBA, 0x98, 0};
  Decode(kElement, [](const unsigned char* data, int* remaining, unsigned char* type) {
    uint64_t value = 0;
    data = asn_parse_unsigned_int(data, remaining, type, &value, sizeof(value));
    Keep(value);
    return data;
  });
}

void ParseString(int) {
  static const unsigned char kElement[] = {0x04, 0x05, 'T', '5', '5', '_', 'E'};
  Decode(kElement, [](const unsigned char* data, int* remaining, unsigned char* type) {
    unsigned char text[64];
    int length = sizeof(text);
    data = asn_parse_string(data, remaining, type, text, &length);
    Keep(text);
    return data;
  });
}

void ParseOid(int) {
  static const unsigned char kElement[] = {0x06, 0x0C, 0x2B, 0x06, 0x01, 0x04, 0x01,
                                           0x85, 0x5B, 0x01, 0x02, 0x01, 0x02, 0x00};
  Decode(kElement, [](const unsigned char* data, int* remaining, unsigned char* type) {
    uint64_t oid[kMaxSubIdentifiers];
    int count = kMaxSubIdentifiers;
    data = asn_parse_oid(data, remaining, type, oid, &count);
    Keep(oid);
    return data;
  });
}

// The survey's question as the program's records have it.
SnmpSimplePduPtr DiscoveryRecord() {
  SnmpSimplePduPtr record(get_simple_pdu_memory(1, 1), {1});
  FillDiscoveryRequest(record.get());
  return record;
}

snmp_simple_pdu* SimpleRequest() {
  static const SnmpSimplePduPtr record = DiscoveryRecord();
  return record.get();
}

const snmp_pdu* StandardRequest() {
  static const SnmpPduPtr record(snmp_simple2standard(SimpleRequest()));
  return record.get();
}

const snmp_pdu* StandardAnswer() {
  static const Bytes message = ModelAnswer();
  static const SnmpPduPtr record(
      snmp_parse(message.data(), static_cast<int>(message.size()), kSender));
  return record.get();
}

void SnmpBuild(int) {
  int length = kBufferSize;
  if (snmp_build(StandardRequest(), buffer, &length) != 0) abort();
  Keep(buffer);
}

void Parse(const Bytes& message) {
  const SnmpPduPtr pdu(snmp_parse(message.data(), static_cast<int>(message.size()), kSender));
  if (pdu == nullptr) abort();
  Keep(pdu);
}

void ParseShort(int) {
  static const Bytes message = ModelAnswer();
  Parse(message);
}

void ParseLongest(int) {
  static const Bytes message = LongestAnswer();
  Parse(message);
}

void ToStandard(int) {
  const SnmpPduPtr standard(snmp_simple2standard(SimpleRequest()));
  if (standard == nullptr) abort();
  Keep(standard);
}

void ToSimple(int) {
  static const SnmpSimplePduPtr simple(get_simple_pdu_memory(1, 1), {1});
  if (snmp_standard2simple(StandardAnswer(), simple.get()) != 0) abort();
  Keep(simple);
}

void OidFromText(int) {
  uint64_t oid[kMaxSubIdentifiers];
  int count = kMaxSubIdentifiers;
  oid_string2array(kModelObject, sizeof(kModelObject) - 1, oid, &count);
  Keep(oid);
}

void OidToText(int) {
  char text[kSnmpNameSize];
  const int room = sizeof(text);
  oid_array2string(text, &room, kOid, &kOidCount);
  Keep(text);
}

void AnswerWithModel(int) { SetFakeAnswer(ModelAnswer()); }

void Cycle(int) {
  char model[kTextSize];
  if (net_get_model("127.0.0.1", model, kTextCapacity) != 0) abort();
  if (strcmp(model, kModelText) != 0) abort();
}

}  // namespace

std::vector<Operation> CodecOperations() {
  return {
      {"asn_build_length", BuildLength, nullptr, {}},
      {"asn_build_header", BuildHeader, nullptr, {}},
      {"asn_build_null", BuildNull, nullptr, {}},
      {"asn_build_int", BuildInt, nullptr, {}},
      {"asn_build_unsigned_int", BuildUnsigned, nullptr, {}},
      {"asn_build_string", BuildString, nullptr, {}},
      {"asn_build_oid", BuildOid, nullptr, {}},
      {"asn_build_sequence", BuildSequence, nullptr, {}},
      {"asn_parse_length", ParseLength, nullptr, {}},
      {"asn_parse_header", ParseHeader, nullptr, {}},
      {"asn_parse_null", ParseNull, nullptr, {}},
      {"asn_parse_int", ParseInt, nullptr, {}},
      {"asn_parse_unsigned_int", ParseUnsigned, nullptr, {}},
      {"asn_parse_string", ParseString, nullptr, {}},
      {"asn_parse_oid", ParseOid, nullptr, {}},
      {"snmp_build", SnmpBuild, nullptr, {}},
      {"snmp_parse/short", ParseShort, nullptr, {}},
      {"snmp_parse/longest", ParseLongest, nullptr, {}},
      {"oid_string2array", OidFromText, nullptr, {}},
      {"oid_array2string", OidToText, nullptr, {}},
      {"snmp_simple2standard", ToStandard, nullptr, {}},
      {"snmp_standard2simple", ToSimple, nullptr, {}},
      {"net_get_model", Cycle, AnswerWithModel, {}},
  };
}
