// Records of the single-variable SNMP queries and the result codes of the SNMP client.
#pragma once

// Results of the queries; 0 is success.
constexpr int RET_SNMP_ERROR = -1;             // no usable answer, or one with an error status
constexpr int RET_SNMP_MEMORY_ERR = -2;        // a record or a buffer could not be allocated
constexpr int RET_SNMP_PARAM_ERR = -3;         // the caller's buffer or record is not usable
constexpr int RET_SNMP_NORESPONSE_ERR = -101;  // the answer has no variable slots

// Query of snmp_get.
struct snmp_get_param {
  char name[256];        // object identifier as dotted-decimal text
  int reserved;          // 0; not read
  int value_length;      // in: capacity of `value`; out: bytes received
  unsigned char* value;  // buffer of the caller, not owned
};

// Query of snmp_get_next.
struct snmp_next_param {
  char name[256];        // object identifier as dotted-decimal text
  char next_name[256];   // out: name of the variable that answered
  int value_length;      // out: bytes in `value`
  unsigned char* value;  // out: owned by the record, released with snmp_memory_free
};
