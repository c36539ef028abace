// Simple PDU records and the conversions between object identifiers and text.
#include "snmp/simple_pdu.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <cstring>

#include "base/malloc_ptr.h"
#include "snmp/asn.h"

namespace {

constexpr char kDefaultCommunity[] = "public";
constexpr char kFirstVisible = 0x21;
constexpr char kLastVisible = 0x7E;

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// Compares codes, not classes of the C library: what counts as visible must not depend on the
// locale, and bytes from 0x80 on are negative here.
bool IsVisible(char c) { return c >= kFirstVisible && c <= kLastVisible; }

// Reads a run of digits. The counter is charged for all of them and may become negative: it does
// not cut a number in two.
uint64_t ReadNumber(const char** text, int* length) {
  uint64_t number = 0;
  for (; IsDigit(**text); ++*text, --*length) {
    number = number * 10 + static_cast<uint64_t>(**text - '0');
  }
  return number;
}

// Length of a text that need not be terminated within its buffer.
int BoundedLength(const char* text, int size) {
  return static_cast<int>(strnlen(text, static_cast<size_t>(size)));
}

// Copies the text in front of the first zero. Communities of 128 bytes lose their last one.
void CopyCommunity(const snmp_pdu& standard, snmp_simple_pdu* simple) {
  memset(simple->community, 0, sizeof(simple->community));
  if (standard.community == nullptr) return;
  const auto* text = reinterpret_cast<const char*>(standard.community);
  const int room = std::min(standard.community_length, kSnmpCommunitySize - 1);
  if (room > 0) memcpy(simple->community, text, strnlen(text, static_cast<size_t>(room)));
}

bool FillSlot(const variable_list& var, simple_variable* slot) {
  memset(slot, 0, sizeof(*slot));
  slot->type = var.type;
  if (var.value_length < 0 || var.value_length >= kSnmpValueSize) return false;
  if (var.value != nullptr) {
    memcpy(slot->value, var.value, static_cast<size_t>(var.value_length));
  }
  slot->value_length = var.value_length;
  return oid_array2string(slot->name, &kSnmpNameSize, var.name, &var.name_length) == 0;
}

bool SetCommunity(snmp_simple_pdu* simple, snmp_pdu* standard) {
  if (simple->community[0] == 0) {
    memcpy(simple->community, kDefaultCommunity, sizeof(kDefaultCommunity));
  }
  const int length = BoundedLength(simple->community, kSnmpCommunitySize);
  standard->community = AllocateZeroed<unsigned char>(static_cast<size_t>(length) + 1).release();
  if (standard->community == nullptr) return false;
  memcpy(standard->community, simple->community, static_cast<size_t>(length));
  standard->community_length = length;
  return true;
}

bool SetName(const simple_variable& slot, variable_list* var) {
  char text[kSnmpNameSize + 1] = {};
  memcpy(text, slot.name, sizeof(slot.name));
  uint64_t oid[kMaxSubIdentifiers];
  int count = kMaxSubIdentifiers;
  if (oid_string2array(text, BoundedLength(text, kSnmpNameSize), oid, &count) != 0) return false;
  var->name = AllocateZeroed<uint64_t>(static_cast<size_t>(count)).release();
  if (var->name == nullptr) return false;
  std::copy(oid, oid + count, var->name);
  var->name_length = count;
  return true;
}

// The length may be larger than the slot's buffer: a query states the room that its caller has for
// the answer. What the buffer does not have is zero.
bool SetValue(const simple_variable& slot, variable_list* var) {
  if (slot.type == 0) {
    var->type = kAsnNull;
    return true;
  }
  const int length = std::max(slot.value_length, 0);
  var->type = slot.type;
  var->value = AllocateZeroed<unsigned char>(static_cast<size_t>(length)).release();
  if (var->value == nullptr) return false;
  memcpy(var->value, slot.value, static_cast<size_t>(std::min(length, kSnmpValueSize)));
  var->value_length = length;
  return true;
}

bool AddVariables(const snmp_simple_pdu& simple, snmp_pdu* standard) {
  variable_list** link = &standard->variables;
  for (int i = 0; i < simple.variable_count; ++i) {
    *link = AllocateZeroed<variable_list>(1).release();
    if (*link == nullptr) return false;
    const simple_variable& slot = simple.variables[i];
    if (!SetName(slot, *link) || !SetValue(slot, *link)) return false;
    link = &(*link)->next;
  }
  return true;
}

}  // namespace

snmp_simple_pdu* get_simple_pdu_memory(int count, int slots) {
  if (count < 0 || slots < 0) return nullptr;
  SnmpSimplePduPtr pdus(AllocateZeroed<snmp_simple_pdu>(static_cast<size_t>(count)).release(),
                        {count});
  if (pdus == nullptr) return nullptr;
  for (int i = 0; i < count; ++i) {
    snmp_simple_pdu& pdu = pdus.get()[i];
    pdu.variables = AllocateZeroed<simple_variable>(static_cast<size_t>(slots)).release();
    if (pdu.variables == nullptr) return nullptr;
    pdu.variable_count = slots;
  }
  return pdus.release();
}

void free_snmp_simple_pdu(int count, snmp_simple_pdu* pdus) {
  if (pdus == nullptr) return;
  for (int i = 0; i < count; ++i) free(pdus[i].variables);
  free(pdus);
}

int oid_string2array(const char* text, int length, uint64_t* oid, int* count) {
  if (!IsDigit(*text)) return -1;
  int numbers = 0;
  while (*text != 0 && length >= 0) {
    if (!IsDigit(*text)) {
      ++text;
      --length;
      continue;
    }
    if (numbers == *count) return -1;
    oid[numbers++] = ReadNumber(&text, &length);
  }
  *count = numbers;
  return 0;
}

int oid_array2string(char* text, const int* capacity, const uint64_t* oid, const int* count) {
  if (*capacity < 1) return -1;
  text[0] = 0;
  if (oid == nullptr) return -1;
  int used = 0;
  for (int i = 0; i == 0 || i < *count; ++i) {
    char piece[sizeof("4294967295.")];
    char* end = std::to_chars(piece, piece + sizeof(piece), static_cast<uint32_t>(oid[i])).ptr;
    if (i + 1 < *count) *end++ = '.';
    const auto size = static_cast<int>(end - piece);
    if (used + size > *capacity - 1) return -1;
    memcpy(text + used, piece, static_cast<size_t>(size));
    used += size;
    text[used] = 0;
  }
  return 0;
}

int snmp_standard2simple(const snmp_pdu* standard, snmp_simple_pdu* simple) {
  simple->source_address = standard->source_address;
  CopyCommunity(*standard, simple);
  simple->error_status = standard->error_status;
  simple->error_index = standard->error_index;
  const variable_list* var = standard->variables;
  for (int i = 0; i < simple->variable_count && var != nullptr; ++i, var = var->next) {
    if (!FillSlot(*var, &simple->variables[i])) return -1;
  }
  return 0;
}

snmp_pdu* snmp_simple2standard(snmp_simple_pdu* simple) {
  SnmpPduPtr standard(AllocateZeroed<snmp_pdu>(1).release());
  if (standard == nullptr || !SetCommunity(simple, standard.get())) return nullptr;
  standard->pdu_type = simple->pdu_type;
  standard->request_id = rand();
  if (!AddVariables(*simple, standard.get())) return nullptr;
  return standard.release();
}

int snmp_memory_free(snmp_next_param* param) {
  if (param == nullptr) return RET_SNMP_PARAM_ERR;
  free(param->value);
  param->value = nullptr;
  return 0;
}

char* snmp2c_str(char* buffer, int length) {
  if (length < 0) return buffer;
  buffer[length] = 0;
  for (int i = length - 1; i >= 0 && !IsVisible(buffer[i]); --i) buffer[i] = 0;
  return buffer;
}
