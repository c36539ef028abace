// The messages that are encoded and decoded by the benchmarks, ours and those of other tools.
#pragma once

#include <string>
#include <vector>

using Bytes = std::vector<unsigned char>;

// The question that the survey asks everybody, as a client sends it that writes every length in one
// byte.
Bytes DiscoveryRequest();

// The answer of a scanner that is asked for its model.
Bytes ModelAnswer();

// The longest answer that is accepted: the name of a scanner, in a message of 127 contents bytes.
Bytes LongestAnswer();

// An answer to the survey's question, of a search that finds many scanners.
Bytes DiscoveryAnswer();

// Two hexadecimal digits per byte.
std::string Hex(const Bytes& bytes);
