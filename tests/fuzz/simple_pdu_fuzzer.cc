// Fuzz target: the conversion of an answer to a simple record, and of that to a request.
//
// Input: the number of slots, whether a datagram (even) or the layout of fuzz::RecordOf (odd)
// follows, and that.
#include "snmp/asn.h"
#include "snmp/simple_pdu.h"
#include "tests/fuzz/snmp_records.h"

namespace {

using fuzz::Bytes;
using fuzz::Require;

std::string TextOf(const char* field, size_t size) { return {field, strnlen(field, size)}; }

std::string NameOf(const variable_list& var) {
  std::string text;
  for (int i = 0; i < std::max(var.name_length, 1); ++i) {
    if (i > 0) text += '.';
    text += std::to_string(static_cast<uint32_t>(var.name[i]));
  }
  return text;
}

bool Fits(const variable_list& var) {
  return var.value_length >= 0 && var.value_length < kSnmpValueSize &&
         NameOf(var).size() < kSnmpNameSize;
}

void RequireTaken(const variable_list& var, const simple_variable& slot) {
  Require(slot.type == var.type && slot.value_length == var.value_length, "type and length");
  Require(TextOf(slot.name, sizeof(slot.name)) == NameOf(var), "the name is dotted-decimal text");
  const auto length = static_cast<size_t>(var.value_length);
  Require(var.value == nullptr || memcmp(slot.value, var.value, length) == 0, "the value");
  Require(slot.value[length] == 0, "a zero stands behind the value");
}

void RequireTaken(const snmp_pdu& pdu, const snmp_simple_pdu& simple) {
  const auto length = static_cast<size_t>(pdu.community_length);
  const std::string community = TextOf(reinterpret_cast<const char*>(pdu.community), length);
  Require(
      TextOf(simple.community, kSnmpCommunitySize) == community.substr(0, kSnmpCommunitySize - 1),
      "the community is taken up to its first zero");
  Require(simple.source_address == pdu.source_address && simple.error_status == pdu.error_status &&
              simple.error_index == pdu.error_index && simple.pdu_type == 0,
          "sender and error are taken, the PDU type is not");
}

// Whether the conversion must succeed. Requires what it filled to be right.
bool CheckSlots(const snmp_pdu& pdu, const snmp_simple_pdu& simple) {
  const variable_list* var = pdu.variables;
  int i = 0;
  for (; var != nullptr && i < simple.variable_count; var = var->next, ++i) {
    if (!Fits(*var)) return false;
    RequireTaken(*var, simple.variables[i]);
  }
  return true;
}

int CountVariables(const snmp_pdu& pdu) {
  int count = 0;
  for (const variable_list* var = pdu.variables; var != nullptr; var = var->next) ++count;
  return count;
}

// A request made of the answer asks for what the answer said.
void TryRequest(const snmp_pdu& pdu, snmp_simple_pdu* simple) {
  const std::string community = TextOf(simple->community, kSnmpCommunitySize);
  simple->pdu_type = kPduGetNext;
  const SnmpPduPtr request(snmp_simple2standard(simple));
  Require((request != nullptr) == (CountVariables(pdu) >= simple->variable_count),
          "every slot needs a name");
  if (request == nullptr) return;
  Require(TextOf(reinterpret_cast<const char*>(request->community),
                 static_cast<size_t>(request->community_length)) ==
              (community.empty() ? "public" : community),
          "the community is sent, or \"public\"");
  Require(request->pdu_type == kPduGetNext && request->request_id >= 0, "the kind of request");
  const variable_list* var = request->variables;
  for (int i = 0; i < simple->variable_count; ++i, var = var->next) {
    const simple_variable& slot = simple->variables[i];
    Require(NameOf(*var) == TextOf(slot.name, sizeof(slot.name)), "the names are sent");
    Require(var->type == (slot.type == 0 ? kAsnNull : slot.type), "the types are sent");
    const auto length = static_cast<size_t>(slot.type == 0 ? 0 : slot.value_length);
    Require(var->value_length == static_cast<int>(length), "the lengths are sent");
    Require(length == 0 || memcmp(var->value, slot.value, length) == 0, "the values are sent");
  }
  Require(var == nullptr, "nothing else is sent");
  fuzz::Build(*request, 0x4000);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::Input input(data, size);
  const int slots = input.Byte() % 24;
  const bool is_datagram = input.Byte() % 2 == 0;
  const SnmpPduPtr pdu = is_datagram ? fuzz::Parse(input.Rest(), 1) : fuzz::RecordOf(&input);
  if (pdu == nullptr) return 0;
  const SnmpSimplePduPtr simple(get_simple_pdu_memory(1, slots), {1});
  memset(simple->community, 'x', sizeof(simple->community));
  const int result = snmp_standard2simple(pdu.get(), simple.get());
  RequireTaken(*pdu, *simple);
  Require(simple->variable_count == slots, "the number of slots stays");
  const bool expected = CheckSlots(*pdu, *simple);
  Require(result == (expected ? 0 : -1), "what does not fit is refused");
  if (expected) TryRequest(*pdu, simple.get());
  return 0;
}
