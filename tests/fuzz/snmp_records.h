// Records of SNMP messages in fuzz targets: what holds for every parsed one, comparing them, and
// bringing what the client builds into the form that the client reads.
#pragma once

#include "snmp/message.h"
#include "tests/fuzz/fuzz_target.h"

namespace fuzz {

// A message in a block of exactly its size, parsed. Null when it is refused.
SnmpPduPtr Parse(const Bytes& message, uint64_t source_address = 0);

// Requires what holds for a parsed record whatever the bytes were.
void RequireWellFormed(const snmp_pdu& pdu);

// A record made of what an input says, which need not be one that can be built. See the source for
// the layout. Its arrays end where their counts say.
SnmpPduPtr RecordOf(Input* input);

// The message that the record is built to, empty when it is refused. `room` bytes are given to it.
Bytes Build(const snmp_pdu& pdu, int room);

// Whether building and parsing keep everything in the record. They do not keep object identifiers
// whose first two numbers need more than a byte, unsigned integers of which the encoder drops
// bytes, numbers above 32 bits and texts that the parser has no room for.
bool IsKept(const snmp_pdu& pdu);

// A built message with every length in a form that is read as what it says: in one byte, or in six
// of which the first two count.
Bytes ToReadableForm(const Bytes& built);

// Requires two records to say the same.
void RequireSame(const snmp_pdu& built, const snmp_pdu& parsed);

}  // namespace fuzz
