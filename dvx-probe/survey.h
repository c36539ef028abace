// The survey: who is a scanner, and what each one says of itself.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "dvx-probe/exchange.h"
#include "dvx-probe/interfaces.h"
#include "dvx-probe/progress.h"

// Where scanners are looked for. With nothing set: where the program looks, which is the broadcast
// address 255.255.255.255.
struct Places {
  std::vector<in_addr> addresses;       // asked directly
  std::vector<std::string> interfaces;  // whose own broadcast addresses are asked
  bool eachInterface = false;
};

// How datagrams go and who is told meanwhile.
struct Network {
  CTrace* trace = nullptr;
  CProgress* progress = nullptr;
  // Milliseconds, 0 for the usual: 1 s for broadcasts and 3 s for a device that is asked directly.
  int wait = 0;
};

enum class ReplyKind {
  kNotAsked,
  kText,        // it counts
  kError,       // an SNMP error status
  kUnreadable,  // not understood
  kSilent,      // nothing came in time
  kNotSent,     // the question could not be sent
};

// What came back to one question.
struct Reply {
  ReplyKind kind = ReplyKind::kNotAsked;
  std::string text;      // kText; the bytes of the value
  int errorStatus = 0;   // kError
  int networkError = 0;  // kNotSent, and of kSilent when the network reported one
  Bytes datagram;
};

// A device that answered the search, or was asked directly.
struct Device {
  in_addr address{};
  Reply model, vendor, name, hardwareAddress;

  bool IsListed() const;
};

// The replies to the questions that decide whether a device is listed, in their order.
struct TextReply {
  const Reply* reply;
  const char* what;  // "model", "vendor", "name"
};
std::vector<TextReply> texts_of(const Device& device);

// The row of a listed device, as in the program's own list.
struct Row {
  std::string model;  // vendor, a blank, model without suffixes
  std::string name;
  std::string address;
  std::string hardwareAddress;  // empty when the device does not tell it
};
Row row_of(const Device& device);

// One place and the answers that came from there.
struct PlaceAsked {
  in_addr destination{};
  std::string interface;  // for an interface's own broadcast address
  bool direct = false;    // a single device
  Outcome outcome;
};

// Sends the search to all these places at once. Throws std::invalid_argument for an interface that
// is not there or cannot broadcast.
std::vector<PlaceAsked> search(const Places& places, const Network& network);

// The broadcast address that the program asks.
PlaceAsked everybody();

// Adds the broadcast addresses of the interface's own networks, if it is up.
void add_interface(const Interface& interface, std::vector<PlaceAsked>* places);

// Sends the search to these places and waits, unless the network has a wait of its own, so many
// seconds for more answers to broadcasts.
void search_at(std::vector<PlaceAsked>* places, unsigned int seconds, const Network& network);

// The addresses that count as scanners: the senders of understandable answers, each once, in order
// of their first answer, and at most 256.
std::vector<in_addr> scanners_of(const std::vector<PlaceAsked>& asked);

// Asks devices for model, vendor and name, all of them at once, and those that are listed for their
// hardware address. With `all` every question is asked even when one before it failed.
std::vector<Device> describe(const std::vector<in_addr>& addresses, bool all,
                             const Network& network);

// The reply in what became of a question for a text.
Reply reply_of(const Outcome& outcome);
