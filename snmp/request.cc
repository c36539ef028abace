// SNMP requests to one device and to all devices of the network.
#include "snmp/request.h"

#include <arpa/inet.h>
#include <malloc.h>

#include <cstring>

#include "app/log/debug_log.h"
#include "base/cancellation_off.h"
#include "base/copy_text.h"
#include "base/malloc_ptr.h"
#include "snmp/asn.h"
#include "snmp/udp/transport.h"
#include "snmp/udp/udp_socket.h"

namespace {

// An encoded request.
struct Message {
  unsigned char data[kSnmpMessageSize];
  int length;
};

bool Encode(const snmp_pdu* request, Message* message) {
  memset(message->data, 0, sizeof(message->data));
  message->length = kSnmpMessageSize;
  return snmp_build(request, message->data, &message->length) == 0;
}

// Collects datagrams until the line goes quiet, the destination has answered or memory runs out.
PacketDataListPtr GatherDatagrams(const UdpSocket& socket, in_addr destination,
                                  unsigned int seconds) {
  PacketDataListPtr list;
  packet_data_list* last = nullptr;
  while (net_select(socket.Get(), seconds) == 0) {
    UdpDatagram answer;
    if (!socket.Receive(&answer)) break;
    packet_data_list* node = get_packet_data_list_mem();
    if (node == nullptr) break;
    *node = {nullptr, net_copy_datagram(answer)};
    if (last == nullptr) {
      list.reset(node);
    } else {
      last->next = node;
    }
    last = node;
    if (node->data == nullptr) break;
    if (answer.from.sin_addr.s_addr == destination.s_addr) break;
  }
  return list;
}

SnmpPduPtr Decode(const packet_data* packet) {
  if (packet == nullptr) return nullptr;
  return SnmpPduPtr(snmp_parse(packet->data, packet->length, packet->sender_address));
}

// Decodes every datagram that is an SNMP message.
SnmpPduListPtr DecodeAll(const packet_data_list* packets) {
  SnmpPduListPtr list;
  snmp_pdu_list* last = nullptr;
  for (; packets != nullptr; packets = packets->next) {
    SnmpPduPtr answer = Decode(packets->data);
    if (answer == nullptr) continue;
    snmp_pdu_list* node = AllocateZeroed<snmp_pdu_list>(1).release();
    if (node == nullptr) break;
    node->pdu = answer.release();
    if (last == nullptr) {
      list.reset(node);
    } else {
      last->next = node;
    }
    last = node;
  }
  return list;
}

// Counts the answers while it stores those that the array has room for. Answers beyond that are
// counted without being stored; one that cannot be converted below it is not counted.
int StoreAnswers(const snmp_pdu_list* list, snmp_simple_pdu* answers, int capacity) {
  int counted = 0;
  for (; list != nullptr; list = list->next) {
    if (counted >= capacity || snmp_standard2simple(list->pdu, &answers[counted]) == 0) ++counted;
  }
  return counted;
}

// A flood of answers takes many megabytes, which the C library would keep: what is allocated next
// stays, and mostly lies behind them.
void ReturnFreedMemory() {
  // It may ask the kernel for random bytes, where a cancelled thread begins to unwind, and nothing
  // may unwind through a function that is declared not to throw.
  const CancellationOff guard;
  malloc_trim(0);
}

// Request and answer record of a query for one variable.
class SingleQuery {
 public:
  SingleQuery(unsigned char pdu_type, const char* community, const char* name)
      : m_Request(get_simple_pdu_memory(1, 1), {1}), m_Answer(get_simple_pdu_memory(1, 1), {1}) {
    if (!IsAllocated()) return;
    m_Request->pdu_type = pdu_type;
    if (community != nullptr) copy_text(m_Request->community, community);
    copy_text(Slot().name, name);
  }

  bool IsAllocated() const { return m_Request != nullptr && m_Answer != nullptr; }
  simple_variable& Slot() { return m_Request->variables[0]; }
  int Send(const char* address) {
    return snmp_request_simple(address, kSnmpGetSeconds, m_Request.get(), m_Answer.get());
  }
  const snmp_simple_pdu& Answer() const { return *m_Answer; }
  const simple_variable& Result() const { return m_Answer->variables[0]; }

 private:
  SnmpSimplePduPtr m_Request;
  SnmpSimplePduPtr m_Answer;
};

int Fail(const char* function, const char* code_name, int code) {
  DebugPrintf("ERROR: %s: %s\n", function, code_name);
  return code;
}

int TakeValue(const simple_variable& result, snmp_get_param* param) {
  if (param->value_length < result.value_length) {
    return Fail("snmp_get", "RET_SNMP_PARAM_ERR", RET_SNMP_PARAM_ERR);
  }
  if (result.value_length > 0) {
    memcpy(param->value, result.value, static_cast<size_t>(result.value_length));
  }
  param->value_length = result.value_length;
  return 0;
}

int TakeNextValue(const simple_variable& result, snmp_next_param* param) {
  const auto size = static_cast<size_t>(result.value_length);
  MallocPtr<unsigned char> value = AllocateZeroed<unsigned char>(size);
  if (value == nullptr) {
    return Fail("snmp_get_next", "RET_SNMP_MEMORY_ERR", RET_SNMP_MEMORY_ERR);
  }
  memcpy(param->next_name, result.name, sizeof(param->next_name));
  memcpy(value.get(), result.value, size);
  param->value = value.release();
  param->value_length = result.value_length;
  return 0;
}

}  // namespace

packet_data_list* snmp_send_rev(const char* address, unsigned int seconds,
                                const unsigned char* message, int length) {
  return net_send_rev(address, seconds, message, length);
}

packet_data_list* multi_snmp_send_rev(const char* address, unsigned int seconds,
                                      const unsigned char* message, int length) {
  UdpSocket socket;
  if (!socket.IsOpen()) return nullptr;
  const int on = 1;
  setsockopt(socket.Get(), SOL_SOCKET, SO_BROADCAST, &on, sizeof(on));
  const in_addr destination{inet_addr(address)};
  socket.SendTo(net_socket_address(destination, kSnmpPort), message, length);
  return GatherDatagrams(socket, destination, seconds).release();
}

snmp_pdu* snmp_request(const char* address, unsigned int seconds, const snmp_pdu* request) {
  Message message;
  if (!Encode(request, &message)) return nullptr;
  const PacketDataListPtr packets(snmp_send_rev(address, seconds, message.data, message.length));
  return packets != nullptr ? Decode(packets->data).release() : nullptr;
}

snmp_pdu_list* multi_snmp_request(const char* address, unsigned int seconds,
                                  const snmp_pdu* request) {
  Message message;
  if (!Encode(request, &message)) {
    DebugPrintf("ERROR: %s: snmp_build\n", __func__);
    return nullptr;
  }
  const PacketDataListPtr packets(
      multi_snmp_send_rev(address, seconds, message.data, message.length));
  return DecodeAll(packets.get()).release();
}

int snmp_request_simple(const char* address, unsigned int seconds, snmp_simple_pdu* request,
                        snmp_simple_pdu* answer) {
  const SnmpPduPtr standard_request(snmp_simple2standard(request));
  if (standard_request == nullptr) return -1;
  const SnmpPduPtr standard_answer(snmp_request(address, seconds, standard_request.get()));
  if (standard_answer == nullptr) return -1;
  return snmp_standard2simple(standard_answer.get(), answer) == 0 ? 0 : -1;
}

int multi_snmp_request_simple(const char* address, unsigned int seconds, snmp_simple_pdu* request,
                              snmp_simple_pdu* answers, int capacity, int* count) {
  const SnmpPduPtr standard_request(snmp_simple2standard(request));
  if (standard_request == nullptr) {
    DebugPrintf("ERROR: %s: snmp_simple2standard\n", __func__);
    return -1;
  }
  SnmpPduListPtr list(multi_snmp_request(address, seconds, standard_request.get()));
  const bool answered = list != nullptr;
  if (answered) *count = StoreAnswers(list.get(), answers, capacity);
  list.reset();
  ReturnFreedMemory();
  return answered ? 0 : -1;
}

int snmp_get(const char* address, const char* community, snmp_get_param* param) {
  SingleQuery query(kPduGet, community, param->name);
  if (!query.IsAllocated()) return Fail(__func__, "RET_SNMP_MEMORY_ERR", RET_SNMP_MEMORY_ERR);
  query.Slot().type = kAsnNull;
  query.Slot().value_length = param->value_length;
  const int result = query.Send(address);
  if (result != 0) return result;
  if (query.Answer().variable_count == 0) {
    return Fail(__func__, "RET_SNMP_NORESPONSE_ERR", RET_SNMP_NORESPONSE_ERR);
  }
  if (query.Answer().error_status != 0) return RET_SNMP_ERROR;
  return TakeValue(query.Result(), param);
}

int snmp_get_next(const char* address, const char* community, snmp_next_param* param) {
  SingleQuery query(kPduGetNext, community, param->name);
  if (!query.IsAllocated()) return Fail(__func__, "RET_SNMP_MEMORY_ERR", RET_SNMP_MEMORY_ERR);
  const int result = query.Send(address);
  if (result != 0) return result;
  if (query.Answer().variable_count == 0) {
    return Fail(__func__, "RET_SNMP_NORESPONSE_ERR", RET_SNMP_NORESPONSE_ERR);
  }
  if (query.Answer().error_status != 0) return Fail(__func__, "RET_SNMP_ERROR", RET_SNMP_ERROR);
  return TakeNextValue(query.Result(), param);
}
