// Bytes of datagrams and their hexadecimal text.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

using Bytes = std::vector<uint8_t>;

// Two lower-case digits for each byte, without separators.
std::string to_hex(const Bytes& bytes);

// Reads pairs of hexadecimal digits, with or without blanks between the pairs. Nothing when the
// text holds anything else or an odd number of digits. An empty text gives no bytes.
std::optional<Bytes> from_hex(const std::string& text);
