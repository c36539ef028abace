// Building and parsing of SNMP version 1 messages.
#include "snmp/message.h"

#include <algorithm>
#include <cstring>

#include "base/malloc_ptr.h"
#include "snmp/asn.h"

namespace {

constexpr int kSequenceHeader = 4;
constexpr int kVersionElement = 3;
constexpr int kCommunityHeader = 2;
constexpr int kSubIdentifierSize = static_cast<int>(sizeof(uint64_t));

// Zeros behind the message keep what the decoders read ahead of the counter inside the block, and
// make a zero-length integer at the very end read as 0.
constexpr size_t kPadding = 16;
static_assert(kPadding >= kAsnIntReadAhead && kPadding >= kAsnNullReadAhead &&
              kPadding >= kAsnLengthReadAhead);

// A buffer that is filled from its start. Every step returns false when it does not fit.
class MessageWriter {
 public:
  MessageWriter(unsigned char* start, int capacity)
      : m_pStart(start), m_pCursor(start), m_iRemaining(capacity) {}

  // Takes the cursor that an encoder returned.
  bool Advance(unsigned char* cursor) {
    if (cursor != nullptr) m_pCursor = cursor;
    return cursor != nullptr;
  }

  bool Append(const MessageWriter& other) {
    const int length = other.Length();
    if (m_iRemaining < length) return false;
    if (length > 0) memcpy(m_pCursor, other.m_pStart, static_cast<size_t>(length));
    m_pCursor += length;
    m_iRemaining -= length;
    return true;
  }

  bool AppendElement(unsigned char type, const MessageWriter& contents) {
    return Advance(asn_build_header(m_pCursor, &m_iRemaining, type, contents.Length())) &&
           Append(contents);
  }

  bool AppendInteger(int value) {
    const int64_t wide = value;
    return Advance(asn_build_int(m_pCursor, &m_iRemaining, kAsnInteger, &wide, sizeof(wide)));
  }

  unsigned char* Cursor() const { return m_pCursor; }
  int* Remaining() { return &m_iRemaining; }
  int Length() const { return static_cast<int>(m_pCursor - m_pStart); }

 private:
  unsigned char* m_pStart;
  unsigned char* m_pCursor;
  int m_iRemaining;
};

bool AppendBindings(const snmp_pdu& pdu, MessageWriter* out) {
  for (const variable_list* var = pdu.variables; var != nullptr; var = var->next) {
    if (!out->Advance(snmp_build_var_op(out->Cursor(), out->Remaining(), var->name,
                                        &var->name_length, var->type, var->value,
                                        var->value_length))) {
      return false;
    }
  }
  return true;
}

bool AppendTrapFields(const snmp_pdu& pdu, MessageWriter* out) {
  return out->Advance(asn_build_oid(out->Cursor(), out->Remaining(), kAsnObjectId, pdu.enterprise,
                                    pdu.enterprise_length)) &&
         out->Advance(asn_build_string(out->Cursor(), out->Remaining(), kAsnIpAddress,
                                       pdu.agent_address, sizeof(pdu.agent_address))) &&
         out->AppendInteger(pdu.generic_trap) && out->AppendInteger(pdu.specific_trap) &&
         // An INTEGER on the wire, not TimeTicks.
         out->Advance(asn_build_unsigned_int(out->Cursor(), out->Remaining(), kAsnInteger,
                                             &pdu.time_stamp, sizeof(pdu.time_stamp)));
}

bool AppendFields(const snmp_pdu& pdu, MessageWriter* out) {
  if (pdu.pdu_type == kPduTrap) return AppendTrapFields(pdu, out);
  return out->AppendInteger(pdu.request_id) && out->AppendInteger(pdu.error_status) &&
         out->AppendInteger(pdu.error_index);
}

// The message grows from the inside out, each layer behind the header that states its length, by
// turns in the two buffers.
bool BuildMessage(const snmp_pdu& pdu, unsigned char* buffer, unsigned char* work_buffer,
                  int* length) {
  const int capacity = *length;
  MessageWriter bindings(buffer, capacity);
  MessageWriter list(work_buffer, capacity);
  if (!AppendBindings(pdu, &bindings)) return false;
  if (!list.AppendElement(kAsnSequence, bindings)) return false;

  MessageWriter fields(buffer, capacity);
  MessageWriter body(work_buffer, capacity);
  if (!AppendFields(pdu, &fields) || !fields.Append(list)) return false;
  if (!body.AppendElement(pdu.pdu_type, fields)) return false;

  MessageWriter message(buffer, capacity);
  const int64_t version = pdu.version;
  if (!message.Advance(snmp_auth_build(message.Cursor(), message.Remaining(), pdu.community,
                                       &pdu.community_length, &version, body.Length()))) {
    return false;
  }
  if (!message.Append(body)) return false;
  *length = message.Length();
  return true;
}

unsigned char* BuildValue(unsigned char* data, int* remaining, unsigned char type,
                          const void* value, int value_length) {
  if (type == kAsnNull) return asn_build_null(data, remaining, type);
  if (value == nullptr && value_length != 0) return nullptr;
  switch (type) {
    case kAsnInteger:
      return asn_build_int(data, remaining, type, static_cast<const int64_t*>(value), value_length);
    case kAsnOctetString:
    case kAsnIpAddress:
      return asn_build_string(data, remaining, type, static_cast<const unsigned char*>(value),
                              value_length);
    case kAsnObjectId:
      return asn_build_oid(data, remaining, type, static_cast<const uint64_t*>(value),
                           value_length / kSubIdentifierSize);
    case kAsnCounter:
    case kAsnGauge:
    case kAsnTimeTicks:
      return asn_build_unsigned_int(data, remaining, type, static_cast<const uint64_t*>(value),
                                    value_length);
    default:
      return nullptr;
  }
}

// A block that holds the first `count` elements of `source`, zeroed up to `capacity`.
template <typename T>
T* CopyOf(const T* source, int count, int capacity) {
  T* copy = AllocateZeroed<T>(static_cast<size_t>(capacity)).release();
  if (copy != nullptr && count > 0) std::copy(source, source + count, copy);
  return copy;
}

// Reads a message whose bytes are followed by kPadding zeros. Every step returns false on bytes
// that it does not understand and then leaves the record releasable.
class MessageParser {
 public:
  MessageParser(const unsigned char* data, int length, snmp_pdu* pdu)
      : m_pCursor(data), m_iRemaining(length), m_pPdu(pdu) {}

  bool Parse() { return ParseStart() && ParseFields() && ParseVariables(); }

 private:
  bool Advance(const unsigned char* cursor) {
    if (cursor != nullptr) m_pCursor = cursor;
    return cursor != nullptr;
  }

  bool ParseStart();
  bool ParseFields();
  bool ParseTrapFields();
  bool ParseInteger(int* value);
  bool ParseEnterprise();
  bool ParseVariables();
  bool ParseVariable(variable_list* var);

  const unsigned char* m_pCursor;
  int m_iRemaining;
  snmp_pdu* m_pPdu;
};

bool MessageParser::ParseStart() {
  unsigned char community[kMaxCommunity + 1];
  int length = kMaxCommunity;
  int64_t version = 0;
  if (!Advance(snmp_auth_parse(m_pCursor, &m_iRemaining, community, &length, &version))) {
    return false;
  }
  m_pPdu->community = CopyOf(community, length, length + 1);
  if (m_pPdu->community == nullptr) return false;
  m_pPdu->community_length = length;
  if (version != 0) return false;
  return Advance(asn_parse_header(m_pCursor, &m_iRemaining, &m_pPdu->pdu_type));
}

bool MessageParser::ParseFields() {
  if (m_pPdu->pdu_type == kPduTrap) return ParseTrapFields();
  return ParseInteger(&m_pPdu->request_id) && ParseInteger(&m_pPdu->error_status) &&
         ParseInteger(&m_pPdu->error_index);
}

bool MessageParser::ParseTrapFields() {
  unsigned char type = 0;
  int address_size = sizeof(m_pPdu->agent_address);
  return ParseEnterprise() &&
         Advance(asn_parse_string(m_pCursor, &m_iRemaining, &type, m_pPdu->agent_address,
                                  &address_size)) &&
         ParseInteger(&m_pPdu->generic_trap) && ParseInteger(&m_pPdu->specific_trap) &&
         Advance(asn_parse_unsigned_int(m_pCursor, &m_iRemaining, &type, &m_pPdu->time_stamp,
                                        sizeof(m_pPdu->time_stamp)));
}

// The record keeps the low 32 bits.
bool MessageParser::ParseInteger(int* value) {
  unsigned char type = 0;
  int64_t wide = 0;
  if (!Advance(asn_parse_int(m_pCursor, &m_iRemaining, &type, &wide, sizeof(wide)))) return false;
  *value = static_cast<int>(wide);
  return true;
}

bool MessageParser::ParseEnterprise() {
  unsigned char type = 0;
  uint64_t oid[kMaxSubIdentifiers];
  int count = kMaxSubIdentifiers;
  if (!Advance(asn_parse_oid(m_pCursor, &m_iRemaining, &type, oid, &count))) return false;
  m_pPdu->enterprise = CopyOf(oid, count, count);
  m_pPdu->enterprise_length = count;
  return m_pPdu->enterprise != nullptr;
}

bool MessageParser::ParseVariables() {
  unsigned char type = 0;
  if (!Advance(asn_parse_header(m_pCursor, &m_iRemaining, &type)) || type != kAsnSequence) {
    return false;
  }
  variable_list** link = &m_pPdu->variables;
  while (m_iRemaining > 0) {
    *link = AllocateZeroed<variable_list>(1).release();
    if (*link == nullptr || !ParseVariable(*link)) return false;
    link = &(*link)->next;
  }
  return true;
}

template <typename T>
unsigned char* AsBytes(T* block) {
  return reinterpret_cast<unsigned char*>(block);
}

// The functions below decode the value element at `data`. What its decoder refuses stays zero; only
// a lack of memory makes them return false.
template <typename T>
using NumberDecoder = const unsigned char* (*)(const unsigned char*, int*, unsigned char*, T*, int);

template <typename T>
bool DecodeNumber(NumberDecoder<T> decode, const unsigned char* data, int size,
                  variable_list* var) {
  auto value = AllocateZeroed<T>(1);
  if (value == nullptr) return false;
  decode(data, &size, &var->type, value.get(), sizeof(T));
  var->value = AsBytes(value.release());
  var->value_length = sizeof(T);
  return true;
}

bool DecodeString(const unsigned char* data, int size, variable_list* var) {
  auto value = AllocateZeroed<unsigned char>(static_cast<size_t>(var->value_length) + 1);
  if (value == nullptr) return false;
  asn_parse_string(data, &size, &var->type, value.get(), &var->value_length);
  var->value = value.release();
  return true;
}

bool DecodeOid(const unsigned char* data, int size, variable_list* var) {
  uint64_t oid[kMaxSubIdentifiers];
  int count = kMaxSubIdentifiers;
  if (asn_parse_oid(data, &size, &var->type, oid, &count) == nullptr) count = 0;
  uint64_t* value = CopyOf(oid, count, count);
  if (value == nullptr) return false;
  var->value = AsBytes(value);
  var->value_length = count * kSubIdentifierSize;
  return true;
}

bool DecodeValue(const unsigned char* data, int size, variable_list* var) {
  switch (var->type) {
    case kAsnInteger:
      return DecodeNumber<int64_t>(asn_parse_int, data, size, var);
    case kAsnOctetString:
    case kAsnIpAddress:
      return DecodeString(data, size, var);
    case kAsnObjectId:
      return DecodeOid(data, size, var);
    case kAsnCounter:
    case kAsnGauge:
    case kAsnTimeTicks:
      return DecodeNumber<uint64_t>(asn_parse_unsigned_int, data, size, var);
    default:
      return true;
  }
}

bool MessageParser::ParseVariable(variable_list* var) {
  uint64_t name[kMaxSubIdentifiers];
  int name_length = kMaxSubIdentifiers;
  const unsigned char* value = nullptr;
  if (!Advance(snmp_parse_var_op(m_pCursor, &m_iRemaining, name, &name_length, &var->type,
                                 &var->value_length, &value))) {
    return false;
  }
  var->name = CopyOf(name, name_length, name_length);
  if (var->name == nullptr) return false;
  var->name_length = name_length;
  return DecodeValue(value, static_cast<int>(m_pCursor - value), var);
}

void FreeVariables(variable_list* var) {
  while (var != nullptr) {
    variable_list* next = var->next;
    free(var->name);
    free(var->value);
    free(var);
    var = next;
  }
}

}  // namespace

snmp_pdu* get_pdu_memory() { return static_cast<snmp_pdu*>(malloc(sizeof(snmp_pdu))); }

void free_snmp_pdu(snmp_pdu* pdu) {
  if (pdu == nullptr) return;
  FreeVariables(pdu->variables);
  free(pdu->enterprise);
  free(pdu->community);
  for (void* buffer : pdu->owned_buffers) free(buffer);
  free(pdu);
}

void free_snmp_pdu_list(snmp_pdu_list* list) {
  while (list != nullptr) {
    snmp_pdu_list* next = list->next;
    free_snmp_pdu(list->pdu);
    free(list);
    list = next;
  }
}

unsigned char* snmp_auth_build(unsigned char* data, int* remaining, const unsigned char* community,
                               const int* community_length, const int64_t* version,
                               int pdu_length) {
  // In 64 bits, as the community has not been compared with the room for it yet.
  const int64_t length =
      int64_t{*community_length} + pdu_length + kVersionElement + kCommunityHeader;
  data = asn_build_sequence(data, remaining, kAsnSequence, static_cast<int>(length));
  if (data == nullptr) return nullptr;
  data = asn_build_int(data, remaining, kAsnInteger, version, sizeof(*version));
  if (data == nullptr) return nullptr;
  return asn_build_string(data, remaining, kAsnOctetString, community, *community_length);
}

unsigned char* snmp_build_var_op(unsigned char* data, int* remaining, const uint64_t* name,
                                 const int* name_length, unsigned char type, const void* value,
                                 int value_length) {
  if (*remaining < kSequenceHeader) return nullptr;
  *remaining -= kSequenceHeader;
  unsigned char* contents = data + kSequenceHeader;
  unsigned char* end = asn_build_oid(contents, remaining, kAsnObjectId, name, *name_length);
  if (end == nullptr) return nullptr;
  end = BuildValue(end, remaining, type, value, value_length);
  if (end == nullptr) return nullptr;

  const int length = static_cast<int>(end - contents);
  if (length > 127) {
    const int gap = length < 256 ? 1 : 2;
    if (*remaining < gap) return nullptr;
    shift_array(contents, length, gap);
    *remaining -= gap;
    end += gap;
  }
  int header_room = kSequenceHeader;
  asn_build_sequence(data, &header_room, kAsnSequence, length);
  return end;
}

void shift_array(unsigned char* buffer, int count, int distance) {
  if (count > 0) memmove(buffer + distance, buffer, static_cast<size_t>(count));
}

int snmp_build(const snmp_pdu* pdu, unsigned char* buffer, int* length) {
  if (pdu == nullptr || buffer == nullptr || *length <= 0) return -1;
  const auto work_buffer = AllocateZeroed<unsigned char>(static_cast<size_t>(*length));
  if (work_buffer == nullptr || pdu->version != 0) return -1;
  return BuildMessage(*pdu, buffer, work_buffer.get(), length) ? 0 : -1;
}

const unsigned char* snmp_auth_parse(const unsigned char* data, int* remaining,
                                     unsigned char* community, int* community_length,
                                     int64_t* version) {
  unsigned char type = 0;
  data = asn_parse_header(data, remaining, &type);
  if (data == nullptr || type != kAsnSequence) return nullptr;
  data = asn_parse_int(data, remaining, &type, version, sizeof(*version));
  if (data == nullptr) return nullptr;
  data = asn_parse_string(data, remaining, &type, community, community_length);
  if (data == nullptr) return nullptr;
  community[*community_length] = 0;
  return data;
}

const unsigned char* snmp_parse_var_op(const unsigned char* data, int* remaining, uint64_t* name,
                                       int* name_length, unsigned char* type, int* value_length,
                                       const unsigned char** value) {
  unsigned char tag = 0;
  int left = *remaining;
  const unsigned char* cursor = asn_parse_header(data, &left, &tag);
  if (cursor == nullptr || tag != kAsnSequence) return nullptr;
  cursor = asn_parse_oid(cursor, &left, &tag, name, name_length);
  if (cursor == nullptr || tag != kAsnObjectId) return nullptr;
  const unsigned char* contents = asn_parse_header(cursor, &left, type);
  if (contents == nullptr) return nullptr;
  *value = cursor;
  *value_length = left;
  // The next binding starts behind the value, wherever the header of this one says it ends.
  const unsigned char* end = contents + left;
  *remaining -= static_cast<int>(end - data);
  return end;
}

snmp_pdu* snmp_parse(const unsigned char* data, int length, uint64_t source_address) {
  if (data == nullptr || length < 0) return nullptr;
  const auto message = AllocateZeroed<unsigned char>(static_cast<size_t>(length) + kPadding);
  SnmpPduPtr pdu(AllocateZeroed<snmp_pdu>(1).release());
  if (message == nullptr || pdu == nullptr) return nullptr;
  memcpy(message.get(), data, static_cast<size_t>(length));
  pdu->source_address = source_address;
  if (!MessageParser(message.get(), length, pdu.get()).Parse()) return nullptr;
  return pdu.release();
}
