// Why the program cannot read an answer, and what is in it.
#pragma once

#include <string>

#include "dvx-probe/bytes.h"

// In plain words: "the length of the value is written in the long form (81) ...". For datagrams
// that read_answer gives nothing for.
std::string why_unreadable(const Bytes& datagram);

// The bytes in lines of sixteen: offset, hexadecimal, ASCII. Only the first 256 of them.
std::string hex_dump(const Bytes& datagram, const std::string& indent);
