// Many questions at once, each from a port of its own.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "dvx-probe/udp_port.h"

struct Question {
  sockaddr_in to;
  Bytes data;
  std::string interface;  // empty: the kernel's choice
  in_addr source{};       // with an interface: the address that it leaves from
};

// What became of a question.
struct Outcome {
  uint16_t port = 0;              // that it was asked from
  int sendError = 0;              // errno when it could not be sent
  int networkError = 0;           // errno that the network reported, like ECONNREFUSED
  std::vector<Datagram> answers;  // in order of arrival
};

enum class Ends {
  kWithFirstAnswer,  // whoever sends it
  // When no answer came for the whole wait, which starts afresh with each one, or when the address
  // that was asked has answered.
  kWhenQuiet,
};

// Told of each answer that arrives and each question that ends without one.
using Watcher = std::function<void()>;

// Asks all questions and waits for so many milliseconds for the answers to each. At most
// kMostAtOnce are on their way at a time. The outcomes are in the order of the questions.
constexpr size_t kMostAtOnce = 64;
std::vector<Outcome> ask_all(const std::vector<Question>& questions, Ends ends, int milliseconds,
                             CTrace* trace, const Watcher& watcher = {});
