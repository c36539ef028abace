// BER codec of the SNMP client: writes and reads one element (tag, length, contents) at a time.
//
// Cursor: every function takes a pointer to the next byte to write or read and returns the advanced
// pointer, or null when it fails. A failure is never reported in another way.
//
// Remaining length: a signed counter of the caller. It must not exceed the bytes that really lie
// behind the cursor. Encoders lower it by every byte that they write, decoders by every byte that
// they consume, except asn_parse_header. After a failure neither it nor any output is defined, and
// an encoder may have left a part of its element in the buffer.
//
// Type: the whole identifier octet (class, form and number). The high-tag-number form is not
// supported. Decoders store the type as they read it; comparing it is the caller's business.
//
// Integers travel in 64-bit fields of host byte order, and the size argument of the integer
// functions must be 8. Object identifiers are arrays of 64-bit sub-identifiers of which the low
// 32 bits count.
//
// Nothing here allocates memory, writes a message or keeps a state: all functions may be called
// from any thread.
//
// Encoding rules: ITU-T X.690 as RFC 1157, section 3.2.2, restricts it; tags 0x40 to 0x43 come from
// RFC 1155, section 6. Where the bytes differ from those rules, the function says "Differs".
#pragma once

#include <cstdint>

// Identifier octets used by the layers above.
constexpr unsigned char kAsnInteger = 0x02;
constexpr unsigned char kAsnOctetString = 0x04;
constexpr unsigned char kAsnNull = 0x05;
constexpr unsigned char kAsnObjectId = 0x06;
constexpr unsigned char kAsnSequence = 0x30;
constexpr unsigned char kAsnIpAddress = 0x40;
constexpr unsigned char kAsnCounter = 0x41;
constexpr unsigned char kAsnGauge = 0x42;
constexpr unsigned char kAsnTimeTicks = 0x43;

// How far the decoders read without a look at the counter. What they are given must be readable so
// far, whatever it says: asn_parse_length and asn_parse_null from their cursor on, the decoders of
// integers behind the bytes that the counter counts. All others read nothing behind those.
constexpr int kAsnLengthReadAhead = 9;  // the first byte and 8 length bytes
constexpr int kAsnNullReadAhead = 1 + kAsnLengthReadAhead;
constexpr int kAsnIntReadAhead = 1;  // the sign of an integer without contents

// ---- Encoders ----------------------------------------------------------------------------------

// Writes the length field alone: one byte below 128, 81 and a byte below 256, else 82 and two
// bytes, high byte first. Fails on a negative length and when the field does not fit.
// Differs: a length of 65536 and more is written with its low 16 bits.
unsigned char* asn_build_length(unsigned char* data, int* remaining, int length);

// Writes the type and the length field. The type byte is written and charged to *remaining even
// when the length field no longer fits.
unsigned char* asn_build_header(unsigned char* data, int* remaining, unsigned char type,
                                int length);

// Writes a header of length 0.
unsigned char* asn_build_null(unsigned char* data, int* remaining, unsigned char type);

// Writes a signed integer in the fewest contents bytes (1 to 8). `size` is the size of *value and
// must be 8.
unsigned char* asn_build_int(unsigned char* data, int* remaining, unsigned char type,
                             const int64_t* value, int size);

// Writes an unsigned integer with 1 to 9 contents bytes. `size` must be 8. Values below 2^63 come
// out in the fewest bytes.
// Differs: above that, whether a leading 00 is needed is decided before the top bytes that repeat
// the sign are dropped, so that 2^64 - 1 is written as 00 FF.
unsigned char* asn_build_unsigned_int(unsigned char* data, int* remaining, unsigned char type,
                                      const uint64_t* value, int size);

// Writes `length` bytes as the contents. `string` may be null when the length is 0; a negative
// length fails.
unsigned char* asn_build_string(unsigned char* data, int* remaining, unsigned char type,
                                const unsigned char* string, int length);

// Writes `count` sub-identifiers. Fails when the packed contents exceed 544 bytes.
// Differs: the first two sub-identifiers always share a single byte (the low 8 bits of
// 40 * first + second); a count of 0 or 1 is written as the contents 00.
unsigned char* asn_build_oid(unsigned char* data, int* remaining, unsigned char type,
                             const uint64_t* oid, int count);

// Writes the header of a constructed element in 4 bytes whatever its length: type, 82, high byte,
// low byte. *remaining is lowered by 4; the contents are the caller's to write and to charge.
unsigned char* asn_build_sequence(unsigned char* data, int* remaining, unsigned char type,
                                  int length);

// ---- Decoders ----------------------------------------------------------------------------------

// Reads the length field alone. It has no counter: kAsnLengthReadAhead bytes must be readable at
// `data`. Fails on the indefinite form (80) and on more than 8 length bytes.
// Differs: of a long form of n bytes only the first n - 4 count, so that one of 1 to 4 bytes reads
// as 0 and one of 5 to 8 bytes by its first 1 to 4. Every decoder below inherits this: elements in
// the long forms that devices use, of 1 to 4 bytes, are as good as unreadable.
const unsigned char* asn_parse_length(const unsigned char* data, uint64_t* length);

// Reads type and length and returns the cursor at the contents. Fails when the element does not
// fit in *remaining. On success *remaining is set (not lowered) to the length of the contents.
const unsigned char* asn_parse_header(const unsigned char* data, int* remaining,
                                      unsigned char* type);

// Reads an element that must have the length 0. *remaining is not consulted but only lowered, and
// may become negative: kAsnNullReadAhead bytes must be readable at `data`.
const unsigned char* asn_parse_null(const unsigned char* data, int* remaining, unsigned char* type);

// Reads a signed integer of at most 8 contents bytes. `size` must be 8.
// Differs: an integer without contents takes its sign from the byte that follows it in the buffer
// (0 or -1). kAsnIntReadAhead bytes behind *remaining must therefore be readable.
const unsigned char* asn_parse_int(const unsigned char* data, int* remaining, unsigned char* type,
                                   int64_t* value, int size);

// Reads an unsigned integer of at most 8 contents bytes, or 9 of which the first is 00. `size` must
// be 8, and kAsnIntReadAhead bytes behind *remaining must be readable, as for asn_parse_int.
// Differs: contents with the top bit set are extended by 32 one bits: 80 reads as 000000FFFFFFFF80.
const unsigned char* asn_parse_unsigned_int(const unsigned char* data, int* remaining,
                                            unsigned char* type, uint64_t* value, int size);

// Reads an octet string into `string`, without a terminating zero. *length holds the capacity of
// `string` on entry and the number of bytes on return. Fails when the bytes exceed the capacity.
const unsigned char* asn_parse_string(const unsigned char* data, int* remaining,
                                      unsigned char* type, unsigned char* string, int* length);

// Reads an object identifier into `oid`. *count holds the capacity of `oid` on entry (at least 2)
// and the number of sub-identifiers on return. Fails on a sub-identifier above 32 bits and on one
// that the end of the contents cuts off.
// The first value v on the wire reads as (v / 40).(v % 40): 2B is 1.3, but 78 is 3.0. Empty
// contents set the first two entries to 0 and give a count of 1. When the capacity is used up, the
// rest of the contents is left unread: the cursor then stands inside the element, while *remaining
// has been lowered by all of it.
const unsigned char* asn_parse_oid(const unsigned char* data, int* remaining, unsigned char* type,
                                   uint64_t* oid, int* count);
