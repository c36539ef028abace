// The SNMP questions of the survey, and what comes back.
#include "dvx-probe/snmp_questions.h"

#include <algorithm>
#include <new>

#include "base/copy_text.h"
#include "snmp/message.h"
#include "snmp/request.h"
#include "snmp/simple_pdu.h"
#include "snmp/udp/packet_data.h"
#include "ui/survey/interview.h"

namespace {

SnmpSimplePduPtr NewRecord() {
  SnmpSimplePduPtr record(get_simple_pdu_memory(1, 1), {1});
  if (record == nullptr) throw std::bad_alloc();
  return record;
}

Bytes Encoded(snmp_simple_pdu* request) {
  const SnmpPduPtr standard(snmp_simple2standard(request));
  Bytes message(kSnmpMessageSize);
  int length = kSnmpMessageSize;
  if (standard == nullptr || snmp_build(standard.get(), message.data(), &length) != 0) {
    throw std::bad_alloc();
  }
  message.resize(static_cast<size_t>(length));
  return message;
}

}  // namespace

Bytes discovery_question() {
  const SnmpSimplePduPtr request = NewRecord();
  FillDiscoveryRequest(request.get());
  return Encoded(request.get());
}

Bytes object_question(const char* object) {
  const SnmpSimplePduPtr request = NewRecord();
  request->pdu_type = kPduGet;
  copy_text(request->variables[0].name, object);
  return Encoded(request.get());
}

std::optional<SnmpAnswer> read_answer(const Bytes& datagram) {
  // The program takes so many bytes of a datagram and no more.
  const auto length = static_cast<int>(std::min<size_t>(datagram.size(), kPacketDataSize));
  // Behind the datagram it has zeros, and looks at the first of them in some cases.
  Bytes buffer(datagram.begin(), datagram.begin() + length);
  buffer.resize(kPacketDataSize);
  const SnmpPduPtr standard(snmp_parse(buffer.data(), length, 0));
  if (standard == nullptr) return std::nullopt;
  const SnmpSimplePduPtr simple = NewRecord();
  if (snmp_standard2simple(standard.get(), simple.get()) != 0) return std::nullopt;
  const simple_variable& variable = simple->variables[0];
  const auto* value = reinterpret_cast<const char*>(variable.value);
  return SnmpAnswer{simple->error_status,
                    std::string(value, static_cast<size_t>(variable.value_length))};
}
