// The bytes of a datagram.
#pragma once

#include <cstdint>
#include <vector>

using Bytes = std::vector<uint8_t>;
