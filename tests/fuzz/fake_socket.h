// A network for fuzz targets that exists only within the process: it takes the place of the socket
// functions, so that nothing is sent and nobody waits, and of the clock and the random numbers.
#pragma once

#include <deque>
#include <functional>

#include "tests/fuzz/fuzz_target.h"

namespace fake_socket {

// What comes of waiting for a datagram: one that has arrived, or a failure.
struct Arrival {
  bool is_error;
  uint32_t from;  // IPv4 address, network byte order
  fuzz::Bytes bytes;
};

// Called with each datagram that is sent and the IPv4 address and port of its destination, both in
// network byte order. Returns what arrives on its socket in answer to it, one by one.
using Answers =
    std::function<std::deque<Arrival>(const fuzz::Bytes& sent, uint32_t to, uint16_t port)>;

// Starts afresh: no socket is open, and rand() gives `random` from now on.
void Start(Answers answers, int random);

// Requires that every socket that was opened has been closed. Ends what Start began.
void Finish();

}  // namespace fake_socket
