// Records of SNMP messages in fuzz targets.
#include "tests/fuzz/snmp_records.h"

#include <algorithm>

#include "base/malloc_ptr.h"
#include "snmp/asn.h"

namespace fuzz {

namespace {

constexpr uint64_t kAltered = 0xFF80000000000000;  // from here on, unsigned values lose bytes
constexpr size_t kMostVariables = 20;
constexpr int kNumberSize = 8;

bool IsNumber(unsigned char type) { return type == kAsnInteger || (type >= 0x41 && type <= 0x43); }
bool IsText(unsigned char type) { return type == kAsnOctetString || type == kAsnIpAddress; }

bool HasValue(unsigned char type) { return IsNumber(type) || IsText(type) || type == kAsnObjectId; }

bool IsKeptName(const uint64_t* name, int length) {
  if (length < 2 || length > kMaxSubIdentifiers) return false;
  if (name[1] >= 40 || name[0] > 3 || 40 * name[0] + name[1] > 127) return false;
  return std::all_of(name, name + length, [](uint64_t number) { return number <= 0xFFFFFFFF; });
}

uint64_t NumberAt(const unsigned char* value) {
  uint64_t number = 0;
  memcpy(&number, value, sizeof(number));
  return number;
}

bool IsKeptValue(const variable_list& var) {
  if (var.type == kAsnNull) return var.value_length == 0;
  if (var.type == kAsnInteger || IsText(var.type)) return true;
  if (IsNumber(var.type)) return NumberAt(var.value) < kAltered;
  return IsKeptName(reinterpret_cast<const uint64_t*>(var.value), var.value_length / kNumberSize);
}

// ---- What holds for every parsed variable -------------------------------------------------------

void RequireNumbersOf32Bits(const uint64_t* numbers, int count) {
  Require(count <= kMaxSubIdentifiers, "object identifiers have at most 128 numbers");
  Require(std::all_of(numbers, numbers + count, [](uint64_t n) { return n <= 0xFFFFFFFF; }),
          "object identifiers have numbers of 32 bits");
}

void RequireWellFormed(const variable_list& var) {
  Require(var.name_length >= 1, "a variable has a name");
  RequireNumbersOf32Bits(var.name, var.name_length);
  Require(HasValue(var.type) == (var.value != nullptr), "the types with a value have one");
  Require(var.value_length >= 0, "lengths are not negative");
  if (IsNumber(var.type)) Require(var.value_length == kNumberSize, "numbers have 8 bytes");
  if (IsText(var.type)) Require(var.value[var.value_length] == 0, "texts end with a zero");
  if (var.type == kAsnObjectId) {
    RequireNumbersOf32Bits(reinterpret_cast<const uint64_t*>(var.value),
                           var.value_length / kNumberSize);
  }
  if (var.value == nullptr) return;
  const Bytes value(var.value, var.value + var.value_length);
  Require(value.size() == static_cast<size_t>(var.value_length), "values can be read");
}

// ---- Making records ----------------------------------------------------------------------------

template <typename T>
T* Copy(const std::vector<T>& elements) {
  T* copy = AllocateZeroed<T>(elements.size()).release();
  std::copy(elements.begin(), elements.end(), copy);
  return copy;
}

std::vector<uint64_t> Name(Input* input) {
  std::vector<uint64_t> name(input->Byte());
  for (uint64_t& number : name) number = input->ShortNumber();
  return name;
}

void SetValue(Input* input, variable_list* var) {
  Bytes value;
  if (var->type == kAsnObjectId) {
    for (const uint64_t number : Name(input)) {
      const auto* bytes = reinterpret_cast<const unsigned char*>(&number);
      value.insert(value.end(), bytes, bytes + sizeof(number));
    }
  } else if (IsNumber(var->type)) {
    value = input->Take(kNumberSize);
    value.resize(kNumberSize);
  } else {
    value = input->Take(static_cast<size_t>(input->Word()));
  }
  var->value = Copy(value);
  var->value_length = static_cast<int>(value.size());
}

variable_list* Variable(Input* input) {
  auto* var = AllocateZeroed<variable_list>(1).release();
  var->type = input->Byte();
  const std::vector<uint64_t> name = Name(input);
  var->name = Copy(name);
  var->name_length = static_cast<int>(name.size());
  SetValue(input, var);
  return var;
}

void SetTrapFields(Input* input, snmp_pdu* pdu) {
  const std::vector<uint64_t> enterprise = Name(input);
  pdu->enterprise = Copy(enterprise);
  pdu->enterprise_length = static_cast<int>(enterprise.size());
  for (unsigned char& byte : pdu->agent_address) byte = input->Byte();
  pdu->generic_trap = static_cast<int>(input->ShortNumber());
  pdu->specific_trap = static_cast<int>(input->ShortNumber());
  pdu->time_stamp = input->ShortNumber();
}

// ---- Rewriting messages ------------------------------------------------------------------------

Bytes ReadableElement(unsigned char type, const Bytes& contents) {
  const auto high = static_cast<unsigned char>(contents.size() >> 8);
  const auto low = static_cast<unsigned char>(contents.size());
  Bytes element{type, low};
  if (contents.size() > 127) element = {type, 0x86, high, low, 0, 0, 0, 0};
  element.insert(element.end(), contents.begin(), contents.end());
  return element;
}

// Walks over a built message and copies it element by element.
class Rewriter {
 public:
  explicit Rewriter(Bytes built) : m_Bytes(std::move(built)) {}

  bool AtEnd() const { return m_nAt >= m_Bytes.size(); }
  unsigned char Type() const { return m_Bytes.at(m_nAt); }

  // The contents of the next element. A binding of more than 127 bytes has a gap in front of them.
  Bytes Contents(bool is_binding = false) {
    ++m_nAt;
    size_t length = m_Bytes.at(m_nAt++);
    if (length >= 0x80) {
      size_t count = length & 0x7F;
      for (length = 0; count > 0; --count) length = length << 8 | m_Bytes.at(m_nAt++);
    }
    if (is_binding && length > 127) m_nAt += length < 256 ? 1 : 2;
    Require(length <= m_Bytes.size() - m_nAt, "a built element lies within the message");
    const auto start = m_Bytes.begin() + static_cast<std::ptrdiff_t>(m_nAt);
    m_nAt += length;
    return {start, start + static_cast<std::ptrdiff_t>(length)};
  }

  // The next `count` elements, which hold no others.
  Bytes Copied(int count) {
    Bytes copied;
    for (; count > 0; --count) {
      const unsigned char type = Type();
      Append(ReadableElement(type, Contents()), &copied);
    }
    return copied;
  }

  static void Append(const Bytes& bytes, Bytes* all) {
    all->insert(all->end(), bytes.begin(), bytes.end());
  }

 private:
  Bytes m_Bytes;
  size_t m_nAt = 0;
};

Bytes ReadableList(Bytes built) {
  Rewriter list(std::move(built));
  Bytes bindings;
  while (!list.AtEnd()) {
    Rewriter binding(list.Contents(true));
    Rewriter::Append(ReadableElement(kAsnSequence, binding.Copied(2)), &bindings);
  }
  return ReadableElement(kAsnSequence, bindings);
}

// ---- Comparing records -------------------------------------------------------------------------

void RequireSameName(const uint64_t* built, int built_length, const uint64_t* parsed,
                     int parsed_length) {
  Require(built_length == parsed_length && std::equal(built, built + built_length, parsed),
          "an object identifier reads back");
}

void RequireSameVariable(const variable_list& built, const variable_list& parsed) {
  RequireSameName(built.name, built.name_length, parsed.name, parsed.name_length);
  Require(built.type == parsed.type, "the type of a value reads back");
  Require(built.value_length == parsed.value_length, "the length of a value reads back");
  if (parsed.value == nullptr) return;
  Require(std::equal(built.value, built.value + built.value_length, parsed.value),
          "a value reads back");
}

void RequireSameTrap(const snmp_pdu& built, const snmp_pdu& parsed) {
  RequireSameName(built.enterprise, built.enterprise_length, parsed.enterprise,
                  parsed.enterprise_length);
  Require(memcmp(built.agent_address, parsed.agent_address, 4) == 0 &&
              built.generic_trap == parsed.generic_trap &&
              built.specific_trap == parsed.specific_trap && built.time_stamp == parsed.time_stamp,
          "the fields of a trap read back");
}

}  // namespace

SnmpPduPtr Parse(const Bytes& message, uint64_t source_address) {
  const Block<unsigned char> block(message);
  return SnmpPduPtr(snmp_parse(block.data(), static_cast<int>(block.size()), source_address));
}

void RequireWellFormed(const snmp_pdu& pdu) {
  Require(pdu.version == 0, "only version 1 is read");
  Require(pdu.community_length >= 0 && pdu.community_length <= kMaxCommunity, "community length");
  Require(pdu.community[pdu.community_length] == 0, "the community ends with a zero");
  Require((pdu.enterprise != nullptr) == (pdu.pdu_type == kPduTrap), "traps have an enterprise");
  for (const variable_list* var = pdu.variables; var != nullptr; var = var->next) {
    RequireWellFormed(*var);
  }
}

// The layout: PDU type, community (2 bytes of length, then the community), then for a trap the
// enterprise, the agent address, generic and specific trap and the time stamp, for others request
// id, error status and error index; then variables of type, name and value. Numbers are those of
// Input::ShortNumber, names a count byte and their numbers, texts a length of 2 bytes and their
// bytes, numeric values 8 bytes.
SnmpPduPtr RecordOf(Input* input) {
  SnmpPduPtr pdu(AllocateZeroed<snmp_pdu>(1).release());
  pdu->pdu_type = input->Byte();
  const Bytes community = input->Take(static_cast<size_t>(input->Word()));
  pdu->community = Copy(community);
  pdu->community_length = static_cast<int>(community.size());
  if (pdu->pdu_type == kPduTrap) {
    SetTrapFields(input, pdu.get());
  } else {
    pdu->request_id = static_cast<int>(input->ShortNumber());
    pdu->error_status = static_cast<int>(input->ShortNumber());
    pdu->error_index = static_cast<int>(input->ShortNumber());
  }
  variable_list** link = &pdu->variables;
  for (size_t i = 0; i < kMostVariables && input->Left() > 0; ++i, link = &(*link)->next) {
    *link = Variable(input);
  }
  return pdu;
}

Bytes Build(const snmp_pdu& pdu, int room) {
  const Block<unsigned char> block(static_cast<size_t>(std::max(room, 0)));
  int length = room;
  const int result = snmp_build(&pdu, block.data(), &length);
  Require(result == 0 || result == -1, "building gives 0 or -1");
  Require(result == 0 || length == room, "a failure leaves the length alone");
  return result == 0 ? block.First(static_cast<size_t>(length)) : Bytes{};
}

bool IsKept(const snmp_pdu& pdu) {
  if (pdu.community_length > kMaxCommunity || (pdu.pdu_type & 0x1F) == 0x1F) return false;
  if (pdu.pdu_type == kPduTrap &&
      (!IsKeptName(pdu.enterprise, pdu.enterprise_length) || pdu.time_stamp >= kAltered)) {
    return false;
  }
  for (const variable_list* var = pdu.variables; var != nullptr; var = var->next) {
    if (!IsKeptName(var->name, var->name_length) || !IsKeptValue(*var)) return false;
  }
  return true;
}

Bytes ToReadableForm(const Bytes& built) {
  // The header of the message is always of 4 bytes. Its length is one short for some communities.
  Rewriter message(Bytes(built.begin() + 4, built.end()));
  Bytes contents = message.Copied(2);
  const unsigned char type = message.Type();
  Rewriter pdu(message.Contents());
  Bytes fields = pdu.Copied(type == kPduTrap ? 5 : 3);
  Rewriter::Append(ReadableList(pdu.Contents()), &fields);
  Require(message.AtEnd() && pdu.AtEnd(), "nothing stands behind the list");
  Rewriter::Append(ReadableElement(type, fields), &contents);
  return ReadableElement(kAsnSequence, contents);
}

void RequireSame(const snmp_pdu& built, const snmp_pdu& parsed) {
  Require(built.pdu_type == parsed.pdu_type, "the PDU type reads back");
  Require(built.community_length == parsed.community_length &&
              memcmp(built.community, parsed.community,
                     static_cast<size_t>(parsed.community_length)) == 0,
          "the community reads back");
  if (built.pdu_type == kPduTrap) {
    RequireSameTrap(built, parsed);
  } else {
    Require(built.request_id == parsed.request_id && built.error_status == parsed.error_status &&
                built.error_index == parsed.error_index,
            "request id and error read back");
  }
  const variable_list* first = built.variables;
  const variable_list* second = parsed.variables;
  for (; first != nullptr && second != nullptr; first = first->next, second = second->next) {
    RequireSameVariable(*first, *second);
  }
  Require(first == nullptr && second == nullptr, "as many variables are read as were built");
}

}  // namespace fuzz
