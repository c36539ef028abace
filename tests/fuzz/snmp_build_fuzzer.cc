// Fuzz target: a record, built into rooms of every size. What was built parses back to the same
// record, under the limits that fuzz::IsKept names.
//
// Input: the room (2 bytes, low byte first), then the record as fuzz::RecordOf reads it.
#include "tests/fuzz/snmp_records.h"

namespace {

using fuzz::Bytes;
using fuzz::Require;

constexpr int kMostRoom = 0x2000;
constexpr int kHeaders = 48;  // about what stands around the bindings, which are built first

void TryRoom(const snmp_pdu& pdu, int room, const Bytes& message) {
  const Bytes again = fuzz::Build(pdu, room);
  Require(again.empty() || again == message, "the room does not matter where it suffices");
  Require(again.empty() || room >= static_cast<int>(message.size()),
          "what does not fit is refused");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::Input input(data, size);
  const int chosen_room = input.Word() % kMostRoom;
  const SnmpPduPtr pdu = fuzz::RecordOf(&input);
  const Bytes message = fuzz::Build(*pdu, kMostRoom);
  const auto length = static_cast<int>(message.size());
  TryRoom(*pdu, chosen_room, message);
  for (int room = std::max(length - kHeaders, -1); room <= length + 1; ++room) {
    TryRoom(*pdu, room, message);
  }
  if (message.empty()) return 0;
  pdu->version = 1;
  Require(fuzz::Build(*pdu, kMostRoom).empty(), "only version 1 is built");
  if (!fuzz::IsKept(*pdu)) return 0;
  const SnmpPduPtr parsed = fuzz::Parse(fuzz::ToReadableForm(message));
  Require(parsed != nullptr, "what was built can be parsed");
  fuzz::RequireWellFormed(*parsed);
  fuzz::RequireSame(*pdu, *parsed);
  return 0;
}
