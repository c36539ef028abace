// The simple PDU: requests and answers with object identifiers as dotted-decimal text and values in
// fixed buffers, the form that everything above the SNMP client works with.
//
// Records are allocated with calloc or malloc and released with the function named beside each. The
// functions write no messages. They may be called from any thread; snmp_simple2standard draws from
// the C library's rand(), which all threads share. A shortage of memory is a null result, never an
// exception.
#pragma once

#include <cstdint>
#include <memory>

#include "snmp/message.h"
#include "snmp/query_param.h"

// Sizes in bytes of the fixed buffers, terminating zeros included.
constexpr int kSnmpNameSize = 256;
constexpr int kSnmpCommunitySize = 128;
constexpr int kSnmpValueSize = 1536;

// One variable of a request or an answer. The value bytes are those of variable_list as they are
// (integers in host byte order), followed by a zero that is not counted.
struct simple_variable {
  char name[kSnmpNameSize];  // object identifier as dotted-decimal text
  unsigned char type;        // tag of the value; 0 in a request sends a NULL
  unsigned char value[kSnmpValueSize];
  int value_length;  // in bytes
};

// One request or one answer.
struct snmp_simple_pdu {
  uint64_t source_address;             // answer: IPv4 address of the device, network byte order
  unsigned char pdu_type;              // request: kPduGet or kPduGetNext; 0 in an answer
  char community[kSnmpCommunitySize];  // zero-terminated; empty in a request means "public"
  int error_status;                    // answer only, RFC 1157, section 4.1.1
  int error_index;                     // answer only
  int variable_count;                  // number of slots in `variables`, used or not
  simple_variable* variables;          // owned
};

// Returns `count` zeroed records in a row, each with `slots` zeroed slots and its variable_count
// set, or null when anything could not be allocated. Release with free_snmp_simple_pdu.
snmp_simple_pdu* get_simple_pdu_memory(int count, int slots);

// Releases the slots of `count` records and the records. A null array is ignored.
void free_snmp_simple_pdu(int count, snmp_simple_pdu* pdus);

// Owner that releases an array when it goes out of scope. Its deleter must be given the number of
// records: SnmpSimplePduPtr p(get_simple_pdu_memory(n, 1), {n}).
struct SnmpSimplePduDeleter {
  int count;
  void operator()(snmp_simple_pdu* pdus) const { free_snmp_simple_pdu(count, pdus); }
};
using SnmpSimplePduPtr = std::unique_ptr<snmp_simple_pdu, SnmpSimplePduDeleter>;

// Converts dotted-decimal text to sub-identifiers. `length` is the length of the text, *count holds
// the capacity of `oid` on entry and the number of sub-identifiers on return. Any character that is
// not a digit separates, and empty parts are skipped: "1..3" is 1.3. Numbers are not checked for
// overflow. Returns 0, or -1 when the first character is not a digit or there are more numbers than
// the capacity.
int oid_string2array(const char* text, int length, uint64_t* oid, int* count);

// Converts *count sub-identifiers (the low 32 bits of each) to dotted-decimal text, zero-terminated
// within *capacity bytes. Returns 0, or -1 when the text does not fit or there is no array; the
// text is then cut short. With a count of 0 the first entry is still converted.
int oid_array2string(char* text, const int* capacity, const uint64_t* oid, const int* count);

// Fills `simple` from an answer; the record stays with the caller. Variables beyond the slots are
// dropped; pdu_type and variable_count are left as they are. Returns 0, or -1 when a value is
// longer than 1535 bytes or a name does not fit; the slots before it are then already filled.
int snmp_standard2simple(const snmp_pdu* standard, snmp_simple_pdu* simple);

// Makes the standard record of a request, with a request id from rand(); the caller owns it. Every
// slot is sent and so must have a name. An empty community becomes "public", in the caller's record
// too. Returns null when a name is not an object identifier or memory is short.
snmp_pdu* snmp_simple2standard(snmp_simple_pdu* simple);

// Releases the value of a query record and clears the pointer. Returns 0, or RET_SNMP_PARAM_ERR for
// a null record.
int snmp_memory_free(snmp_next_param* param);

// Makes a text of `length` received bytes: writes a zero at buffer[length], which must be part of
// the buffer, and clears trailing bytes that are not visible ASCII characters (blanks, controls,
// zeros, bytes from 0x80 on). Returns the buffer. Blanks in front and bytes in between stay.
char* snmp2c_str(char* buffer, int length);
