// Fuzz target: a received datagram. What can be parsed is well formed, does not depend on bytes
// behind the message, and can be built and parsed again.
//
// Input: the datagram.
#include "tests/fuzz/snmp_records.h"

namespace {

using fuzz::Bytes;
using fuzz::Require;

constexpr uint64_t kSource = 0x0500A8C0;

// The byte behind the message stands for the sign of an integer without contents at its end, so
// this one is positive, as the zeros are that stand there otherwise.
void TryMoreBytes(Bytes datagram, const snmp_pdu& pdu) {
  datagram.insert(datagram.end(), {0x7F, 0xFF, 0x30, 0x02});
  const SnmpPduPtr longer = fuzz::Parse(datagram);
  Require(longer != nullptr, "bytes behind the message do not matter");
  fuzz::RequireSame(*longer, pdu);
}

void TryBuilding(const snmp_pdu& pdu) {
  const Bytes built = fuzz::Build(pdu, 0x4000);
  if (built.empty() || !fuzz::IsKept(pdu)) return;
  const SnmpPduPtr again = fuzz::Parse(fuzz::ToReadableForm(built));
  Require(again != nullptr, "what was parsed and built can be parsed again");
  fuzz::RequireSame(pdu, *again);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const Bytes datagram(data, data + size);
  const SnmpPduPtr pdu = fuzz::Parse(datagram, kSource);
  if (pdu == nullptr) return 0;
  fuzz::RequireWellFormed(*pdu);
  Require(pdu->source_address == kSource, "the sender is kept");
  TryMoreBytes(datagram, *pdu);
  TryBuilding(*pdu);
  return 0;
}
