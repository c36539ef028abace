// SNMP requests: sends a request to one device and returns its answer, or broadcasts it and returns
// the answers of all devices.
//
// Nothing is sent twice, and answers are not compared with the request: any datagram that reaches
// the socket in time is taken, whatever its request id. Addresses are text and time-outs are whole
// seconds. Who receives a record or a list owns it; requests stay with the caller.
//
// The functions keep no state and may be called from any thread; request ids come from the C
// library's rand(). Every wait is a cancellation point (pthread_cancel) and an unwinding thread
// releases its socket and records. Nothing throws when memory is short. Error lines go to standard
// error whatever the debug switches say.
#pragma once

#include "snmp/message.h"
#include "snmp/query_param.h"
#include "snmp/simple_pdu.h"
#include "snmp/udp/packet_data.h"

// Room for one encoded request, in bytes.
constexpr int kSnmpMessageSize = 1536;

// Time-out of the single-variable queries.
constexpr unsigned int kSnmpGetSeconds = 3;

// Sends a message of `length` bytes to one device and waits for one datagram. The address may be a
// host name. Returns a list of that datagram, or null. Release with free_packet_data_list.
packet_data_list* snmp_send_rev(const char* address, unsigned int seconds,
                                const unsigned char* message, int length);

// Sends a message of `length` bytes, to a broadcast address as well, and gathers every datagram
// until `seconds` have passed without a new one, or until the destination itself has answered. The
// wait starts afresh with each answer, so a busy network can prolong it without limit. A device
// that answers twice is in the list twice.
// `address` is dotted-decimal text; anything else counts as 255.255.255.255.
// Returns the datagrams in order of arrival, or null when none came. When memory runs out, the list
// ends early, possibly with a node without a datagram. Release with free_packet_data_list.
packet_data_list* multi_snmp_send_rev(const char* address, unsigned int seconds,
                                      const unsigned char* message, int length);

// Sends a request to one device and returns its answer: a new record, released with free_snmp_pdu.
// Null when the request cannot be encoded, nothing came in time, or what came is no SNMP message.
snmp_pdu* snmp_request(const char* address, unsigned int seconds, const snmp_pdu* request);

// Sends a request to many devices, see multi_snmp_send_rev, and returns the answers in order of
// arrival, released with free_snmp_pdu_list. Datagrams that are no SNMP messages are passed over.
// Null when there is no answer, or, with an error line, when the request cannot be encoded.
snmp_pdu_list* multi_snmp_request(const char* address, unsigned int seconds,
                                  const snmp_pdu* request);

// snmp_request with simple records. `answer` must have its slots allocated; an error status of the
// device is stored in it and is no failure here. An empty community of the request is set to
// "public". Returns 0 or -1.
int snmp_request_simple(const char* address, unsigned int seconds, snmp_simple_pdu* request,
                        snmp_simple_pdu* answer);

// multi_snmp_request with simple records: fills the array `answers` of `capacity` elements from its
// start, in order of arrival. An answer that cannot be converted leaves its element to the next.
// Returns 0 and stores in *count the number of elements filled plus the number of answers for which
// there was no room, so that *count may exceed the capacity. Returns -1, with *count untouched,
// when no answer came or the request cannot be sent.
int multi_snmp_request_simple(const char* address, unsigned int seconds, snmp_simple_pdu* request,
                              snmp_simple_pdu* answers, int capacity, int* count);

// Asks one device for one variable (RFC 1157, section 4.1.2). `community` may be null for "public".
// Returns
//   0                        the value bytes are in param->value, their number in value_length
//   RET_SNMP_ERROR           no answer within 3 seconds, or an error status; without a line
//   RET_SNMP_MEMORY_ERR      memory is short
//   RET_SNMP_PARAM_ERR       the value has more than value_length bytes
//   RET_SNMP_NORESPONSE_ERR  the answer has no variable slots
// and leaves *param as it was unless the result is 0. Values are laid out as in simple_variable and
// get no terminating zero.
int snmp_get(const char* address, const char* community, snmp_get_param* param);

// Asks one device for the variable that follows param->name (RFC 1157, section 4.1.3). On 0 the
// name of that variable is in next_name and its value, a new buffer to be released with
// snmp_memory_free, in value. Results as for snmp_get, except that RET_SNMP_PARAM_ERR does not
// occur; *param is left as it was unless the result is 0.
int snmp_get_next(const char* address, const char* community, snmp_next_param* param);
