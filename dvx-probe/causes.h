// The diagnosis: what keeps scanners from showing up, from the facts, with the data that an advice
// needs and without a word of it.
#pragma once

#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "dvx-probe/facts.h"

using Addresses = std::vector<in_addr>;

// Scanners that answered when an interface's own network was asked.
struct FoundOn {
  std::string interface;
  Addresses scanners;
};

// No interface but loopback is up and has an IPv4 address and a link.
struct NoInterface {
  std::vector<Interface> interfaces;  // without loopback
};

// There is no route for the question to everybody, or one that leads to loopback.
struct NoRoute {
  int error;  // 0 for loopback
  std::vector<FoundOn> elsewhere;
  std::string bestInterface;  // by which scanners can be reached
};

// The system refuses to send the question to everybody.
struct NotSent {
  int error;
};

// Answers came in and went no further.
struct AnswersDropped {
  Addresses scanners;
  Addresses heardDirectly;  // those of them that can be heard when they are asked directly
};

// Scanners answer when they are asked directly only; whether their answers to the question to
// everybody came in was not to be seen.
struct AnswersProbablyDropped {
  Addresses scanners;
};

// The same, and no answer came in.
struct DeafToBroadcasts {
  Addresses scanners;
};

// Scanners answer on an interface by which the question to everybody does not leave.
struct OtherInterface {
  std::string leavesBy;
  FoundOn found;
};

// Scanners that answer when they are asked directly are in none of the own networks.
struct OtherNetwork {
  Addresses scanners;
};

// Scanners on the same cable have addresses of another network.
struct WrongNetwork {
  Addresses scanners;
  std::string interface;
};

// An answer to the search, or to a question for a text, is not understood.
struct UnreadableAnswer {
  in_addr scanner;
  const char* text;  // "model", "vendor" or "name"; null for the search
  Bytes datagram;
};

// A scanner does not tell all that a row of the list needs.
struct IncompleteScanner {
  Device scanner;
  bool silent;  // it answers no question at all
};

// Nothing came back from an address that was given.
struct SilentAddress {
  in_addr address;
  int error;  // why, as far as the system or the network told it, or 0
};

// Answers came behind the end of the program's wait.
struct LateAnswers {
  Addresses scanners;
};

// More devices answered than the program takes.
struct TooMany {
  size_t count;
};

// Scanners answered the search more than once.
struct ListedTwice {
  Addresses scanners;
};

// A scanner knows this computer by another address than the one that it is told.
struct WrongAddress {
  in_addr told;
  in_addr known;
  in_addr scanner;
};

// Nobody answers, and nothing else is wrong.
struct NoScanners {
  std::string interface;  // by which the question left
};

using Cause = std::variant<NoInterface, NoRoute, NotSent, AnswersDropped, OtherInterface,
                           OtherNetwork, DeafToBroadcasts, AnswersProbablyDropped, WrongNetwork,
                           UnreadableAnswer, IncompleteScanner, SilentAddress, LateAnswers, TooMany,
                           ListedTwice, WrongAddress, NoScanners>;

// Everything that is wrong, most important first. Empty when all is well.
std::vector<Cause> causes_of(const Facts& facts);

// The devices that the program's own search finds and lists.
std::vector<Device> listed_by_program(const Facts& facts);

// The interface of that name, or in whose network an address is; null for none.
const Interface* interface_named(const Facts& facts, const std::string& name);
const Interface* interface_to(const Facts& facts, in_addr address);
