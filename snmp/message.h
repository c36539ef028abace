// SNMP version 1 messages (RFC 1157, section 4): the standard PDU record and its wire form.
//
// Records and everything that they point to are allocated with malloc and released with free;
// whoever receives a record owns it. The functions write no messages and keep no state: they may be
// called from any thread. A shortage of memory is a null or negative result, never an exception.
#pragma once

#include <cstdint>
#include <memory>

// Identifier octets of the PDUs.
constexpr unsigned char kPduGet = 0xA0;
constexpr unsigned char kPduGetNext = 0xA1;
constexpr unsigned char kPduResponse = 0xA2;
constexpr unsigned char kPduTrap = 0xA4;

// The most sub-identifiers of an object identifier, and the most bytes of a community, that are
// read from a message.
constexpr int kMaxSubIdentifiers = 128;
constexpr int kMaxCommunity = 128;

// One variable binding. What `value` holds depends on `type`:
//   INTEGER                       an int64_t in host byte order               value_length 8
//   Counter, Gauge, TimeTicks     a uint64_t in host byte order               value_length 8
//   OCTET STRING, IpAddress       the bytes, then a zero that is not counted  number of bytes
//   OBJECT IDENTIFIER             an array of uint64_t sub-identifiers        8 * their number
//   NULL and every other type     null                                        as the header stated
// The record owns name and value. In a request the zero behind a string may be missing.
struct variable_list {
  variable_list* next;
  uint64_t* name;
  int name_length;  // number of sub-identifiers
  unsigned char type;
  unsigned char* value;
  int value_length;  // in bytes
};

// One message. The fields from agent_address to time_stamp are used by traps only, and a trap has
// no request id, error status and error index. The record owns everything that it points to.
struct snmp_pdu {
  int version;              // 0 is SNMP version 1, the only one built and accepted
  uint64_t source_address;  // IPv4 address of the sender, network byte order; 0 in a request
  void* owned_buffers[3];   // always null here; released with the record when set
  unsigned char* community;
  int community_length;  // without the terminating zero that a parsed community has
  unsigned char pdu_type;
  int request_id;
  int error_status;
  int error_index;
  unsigned char agent_address[4];
  uint64_t* enterprise;
  int enterprise_length;  // number of sub-identifiers
  int generic_trap;
  int specific_trap;
  uint64_t time_stamp;       // hundredths of a second
  variable_list* variables;  // in message order
};

// The answers of several devices, in order of arrival. Each node owns its record.
struct snmp_pdu_list {
  snmp_pdu_list* next;
  snmp_pdu* pdu;
};

// Returns a new record whose contents are not defined (zero it before anything else: free_snmp_pdu
// follows its pointers), or null.
snmp_pdu* get_pdu_memory();

// Releases a record with all that it owns. A null record is ignored.
void free_snmp_pdu(snmp_pdu* pdu);

// Releases every node with its record. A null list or record is ignored.
void free_snmp_pdu_list(snmp_pdu_list* list);

// Owners that release a record or a list when they go out of scope.
struct SnmpPduDeleter {
  void operator()(snmp_pdu* pdu) const { free_snmp_pdu(pdu); }
};
using SnmpPduPtr = std::unique_ptr<snmp_pdu, SnmpPduDeleter>;

struct SnmpPduListDeleter {
  void operator()(snmp_pdu_list* list) const { free_snmp_pdu_list(list); }
};
using SnmpPduListPtr = std::unique_ptr<snmp_pdu_list, SnmpPduListDeleter>;

// Writes the start of a message: SEQUENCE header (always 4 bytes), version, community. The header
// counts the PDU of `pdu_length` bytes that the caller writes behind it; *remaining is lowered only
// by what is written here. Returns the cursor after the community, or null when it does not fit.
// Differs: the header allows 2 bytes for the header of the community and 3 for the version, and is
// one short for a community of 128 to 255 bytes and two short for a longer one.
unsigned char* snmp_auth_build(unsigned char* data, int* remaining, const unsigned char* community,
                               const int* community_length, const int64_t* version, int pdu_length);

// Writes one variable binding; `value` is laid out as in variable_list, and *name_length is the
// number of sub-identifiers. Returns the cursor after the binding, or null when it does not fit or
// when the type is none of those with a value and not NULL.
// Differs: bindings of 128 bytes and more have a gap of 1 or 2 bytes behind their header. Requests
// of this system are never that long.
unsigned char* snmp_build_var_op(unsigned char* data, int* remaining, const uint64_t* name,
                                 const int* name_length, unsigned char type, const void* value,
                                 int value_length);

// Moves `count` bytes that start at `buffer` by `distance` bytes, towards the start of the memory
// when it is negative. The stretches may overlap; the bytes left behind keep their values.
void shift_array(unsigned char* buffer, int count, int distance);

// Writes a whole message into `buffer`. *length holds the capacity on entry and the length of the
// message on return. Returns 0, or -1 when the version is not 0, something cannot be encoded or
// does not fit; *length is then unchanged and the buffer holds a part of the message.
// Differs: the time stamp of a trap goes out as an INTEGER.
int snmp_build(const snmp_pdu* pdu, unsigned char* buffer, int* length);

// Reads the start of a message. *remaining holds the length of the message on entry and what is
// left of it for the PDU on return. *community_length holds the capacity of `community` on entry
// and the length of the community on return; a zero is written behind the community, so the buffer
// needs one byte more than the capacity. Returns the cursor at the PDU, or null when the message is
// not a SEQUENCE, is cut off, or has a longer community. The tags of version and community are not
// looked at.
const unsigned char* snmp_auth_parse(const unsigned char* data, int* remaining,
                                     unsigned char* community, int* community_length,
                                     int64_t* version);

// Reads one variable binding without its value. *name_length holds the capacity of `name` in
// sub-identifiers on entry and their number on return. *value points to the type byte of the value
// element, inside the message; *type and *value_length are what its header states. *remaining is
// lowered by the binding. Returns the cursor after the value, or null when the binding is not a
// SEQUENCE, its name is not an OBJECT IDENTIFIER, or an element is cut off.
const unsigned char* snmp_parse_var_op(const unsigned char* data, int* remaining, uint64_t* name,
                                       int* name_length, unsigned char* type, int* value_length,
                                       const unsigned char** value);

// Reads a message of `length` bytes that came from `source_address` (IPv4, network byte order).
// Returns a new record that the caller owns, or null. Never reads outside the message. The PDU type
// and the request id are stored, not compared; bytes behind the message are ignored.
// Differs: lengths in a long form of 1 to 4 bytes read as 0, see asn_parse_length. A message whose
// contents exceed 127 bytes is therefore understood only when it and what it consists of have no
// lengths but short ones and such of 5 to 8 bytes, which no device writes.
snmp_pdu* snmp_parse(const unsigned char* data, int length, uint64_t source_address);
