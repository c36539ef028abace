// The SNMP questions of the survey, and what comes back, in the program's own codec.
#pragma once

#include <optional>
#include <string>

#include "dvx-probe/bytes.h"

// The question that finds scanners.
Bytes discovery_question();

// GET of one object, given as dotted-decimal text.
Bytes object_question(const char* object);

// An answer as the program reads it.
struct SnmpAnswer {
  int errorStatus = 0;
  std::string value;  // of its first variable: the bytes, empty without one
};

// Reads a datagram. Nothing when the program would pass over it.
std::optional<SnmpAnswer> read_answer(const Bytes& datagram);
