// What a datagram says: decoded, as JSON for the log and in words for people.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/scanner-sim/registration.h"
#include "tools/scanner-sim/snmp_message.h"

enum class Protocol { kSnmp, kRegistration };

// "snmp", "registration".
const char* protocol_name(Protocol protocol);

// A received datagram. One of snmp and command is set when it was understood, else problem.
struct Understanding {
  std::optional<SnmpMessage> snmp;
  std::optional<CommandPacket> command;
  std::string problem;
};

// Never fails: what is not understood is a problem.
Understanding understand(Protocol protocol, const Bytes& bytes);

// A JSON object with everything that a message or packet says.
std::string message_json(const SnmpMessage& message);
std::string command_json(const CommandPacket& packet);

// {"name":...,"address":...,"mac":...}.
std::string computer_json(const Computer& computer);

// As above; "null" for a datagram that was not understood.
std::string understanding_json(const Understanding& understanding);

// "asked for its model"; for a datagram that was not understood "got 3 bytes that it does not
// understand (...)".
std::string understanding_text(const Understanding& understanding, size_t size);

// What an answer gives, for people: "T55_E" or "error 2 (no such name)".
std::string answer_text(const SnmpMessage& answer);
