// The diagnosis: from facts to causes.
#include "dvx-probe/causes.h"

#include <algorithm>
#include <iterator>

#include "dvx-probe/addresses.h"
#include "dvx-probe/snmp_questions.h"
#include "ui/survey/interview.h"

namespace {

constexpr int kNoSuchName = 2;

using Causes = std::vector<Cause>;

bool IsReadable(const Datagram& answer) { return read_answer(answer.data).has_value(); }

// SNMP agents of other makers answer questions for the maker's objects with "no such name".
bool IsOfAnotherMaker(const Device& device) {
  const auto has_none = [](const Reply& reply) {
    return reply.kind == ReplyKind::kError && reply.errorStatus == kNoSuchName;
  };
  return has_none(device.model) && has_none(device.vendor);
}

bool IsAllSilent(const Device& device) {
  const auto is_silent = [](const Reply& reply) {
    return reply.kind == ReplyKind::kSilent || reply.kind == ReplyKind::kNotSent;
  };
  return is_silent(device.model) && is_silent(device.vendor) && is_silent(device.name);
}

const Device* DeviceAt(const Facts& facts, in_addr address) {
  for (const Device& device : facts.devices) {
    if (same_address(device.address, address)) return &device;
  }
  return nullptr;
}

bool IsScannerAt(const Facts& facts, in_addr address) {
  const Device* device = DeviceAt(facts, address);
  return device != nullptr && !IsOfAnotherMaker(*device);
}

bool IsInNetworkOf(const Facts& facts, const std::string& interface, in_addr address) {
  const Interface* item = interface_named(facts, interface);
  return item != nullptr && address_in_network_of(*item, address) != nullptr;
}

Addresses FoundByProgram(const Facts& facts) {
  return senders(answers_in_time(facts.everybody.outcome));
}

Addresses AnsweredEverybody(const Facts& facts) { return senders(facts.everybody.outcome.answers); }

// Devices that answered when asked directly, and not when everybody was.
Addresses AnsweredDirectlyOnly(const Facts& facts) {
  Addresses found;
  const Addresses late = AnsweredEverybody(facts);
  for (const PlaceAsked& place : facts.direct) {
    const bool answered = !place.outcome.answers.empty() && !contains(late, place.destination);
    if (answered && IsScannerAt(facts, place.destination)) found.push_back(place.destination);
  }
  return found;
}

// Scanners that answered on another interface.
std::vector<FoundOn> FoundElsewhere(const Facts& facts) {
  std::vector<FoundOn> found;
  const Addresses known = FoundByProgram(facts);
  for (const PlaceAsked& place : facts.others) {
    Addresses addresses;
    for (const in_addr address : senders(place.outcome.answers)) {
      if (IsScannerAt(facts, address) && !contains(known, address)) addresses.push_back(address);
    }
    if (!addresses.empty()) found.push_back({place.interface, addresses});
  }
  return found;
}

// The interface by which scanners can be reached: where some answered, else the first.
std::string BestInterface(const Facts& facts) {
  const std::vector<FoundOn> elsewhere = FoundElsewhere(facts);
  if (!elsewhere.empty()) return elsewhere.front().interface;
  return usable_interfaces(facts.interfaces).front()->name;
}

bool LeavesByLoopback(const Facts& facts) {
  const Interface* leaves_by = interface_named(facts, facts.broadcastInterface);
  return leaves_by != nullptr && leaves_by->loopback;
}

bool IsRouteMissing(const Facts& facts) {
  return facts.broadcastRoute.error != 0 || LeavesByLoopback(facts);
}

// --- one function for each kind of cause ---------------------------------------------------------

NoInterface AllInterfaces(const Facts& facts) {
  NoInterface cause;
  std::copy_if(facts.interfaces.begin(), facts.interfaces.end(),
               std::back_inserter(cause.interfaces),
               [](const Interface& item) { return !item.loopback; });
  return cause;
}

void AddRoute(const Facts& facts, Causes* causes) {
  if (!IsRouteMissing(facts)) return;
  const int error = LeavesByLoopback(facts) ? 0 : facts.broadcastRoute.error;
  causes->push_back(NoRoute{error, FoundElsewhere(facts), BestInterface(facts)});
}

void AddNotSent(const Facts& facts, Causes* causes) {
  const int error = facts.everybody.outcome.sendError;
  if (error != 0 && !IsRouteMissing(facts)) causes->push_back(NotSent{error});
}

void AddDropped(const Facts& facts, Causes* causes) {
  AnswersDropped cause;
  for (const in_addr address : facts.dropped) {
    if (interface_to(facts, address) != nullptr) cause.scanners.push_back(address);
  }
  if (cause.scanners.empty()) return;
  for (const PlaceAsked& place : facts.direct) {
    const bool answered = !place.outcome.answers.empty();
    if (answered && contains(cause.scanners, place.destination)) {
      cause.heardDirectly.push_back(place.destination);
    }
  }
  causes->push_back(cause);
}

void AddOtherInterfaces(const Facts& facts, Causes* causes) {
  if (IsRouteMissing(facts)) return;
  for (const FoundOn& found : FoundElsewhere(facts)) {
    causes->push_back(OtherInterface{facts.broadcastInterface, found});
  }
}

void AddOnlyDirectly(const Facts& facts, Causes* causes) {
  const std::vector<FoundOn> elsewhere = FoundElsewhere(facts);
  const auto is_elsewhere = [&elsewhere](in_addr address) {
    return std::any_of(elsewhere.begin(), elsewhere.end(), [address](const FoundOn& found) {
      return contains(found.scanners, address);
    });
  };
  Addresses near;
  Addresses far;
  for (const in_addr address : AnsweredDirectlyOnly(facts)) {
    if (contains(facts.dropped, address) || is_elsewhere(address)) continue;
    if (interface_to(facts, address) == nullptr) {
      far.push_back(address);
    } else if (IsInNetworkOf(facts, facts.broadcastInterface, address)) {
      near.push_back(address);
    }
  }
  if (!far.empty()) causes->push_back(OtherNetwork{far});
  if (near.empty() || IsRouteMissing(facts)) return;
  if (facts.sawInterfaces) {
    causes->push_back(DeafToBroadcasts{near});
  } else {
    causes->push_back(AnswersProbablyDropped{near});
  }
}

// Scanners on this cable that have addresses of another network.
Addresses OfAnotherNetwork(const Facts& facts) {
  Addresses addresses;
  for (const in_addr address : facts.dropped) {
    if (interface_to(facts, address) == nullptr) addresses.push_back(address);
  }
  for (const in_addr address : AnsweredEverybody(facts)) {
    const Device* device = DeviceAt(facts, address);
    const bool unreachable = device != nullptr && IsAllSilent(*device);
    if (!unreachable || interface_to(facts, address) != nullptr) continue;
    if (!contains(addresses, address)) addresses.push_back(address);
  }
  return addresses;
}

void AddWrongNetwork(const Facts& facts, Causes* causes) {
  const Addresses scanners = OfAnotherNetwork(facts);
  if (scanners.empty()) return;
  causes->push_back(WrongNetwork{scanners, facts.broadcastInterface.empty()
                                               ? BestInterface(facts)
                                               : facts.broadcastInterface});
}

// The first answer of each sender that said nothing readable.
void AddUnreadableAnswers(const Facts& facts, Causes* causes) {
  std::vector<const PlaceAsked*> places{&facts.everybody};
  for (const PlaceAsked& place : facts.others) places.push_back(&place);
  for (const PlaceAsked& place : facts.direct) places.push_back(&place);
  Addresses seen;
  for (const PlaceAsked* place : places) {
    for (const Datagram& answer : place->outcome.answers) {
      const in_addr sender = answer.from.sin_addr;
      if (IsReadable(answer) || DeviceAt(facts, sender) != nullptr) continue;
      if (contains(seen, sender)) continue;
      seen.push_back(sender);
      causes->push_back(UnreadableAnswer{sender, nullptr, answer.data});
    }
  }
}

void AddUnreadableTexts(const Facts& facts, Causes* causes) {
  for (const Device& device : facts.devices) {
    for (const auto& [reply, what] : texts_of(device)) {
      if (reply->kind != ReplyKind::kUnreadable) continue;
      causes->push_back(UnreadableAnswer{device.address, what, reply->datagram});
    }
  }
}

void AddIncomplete(const Facts& facts, Causes* causes) {
  const Addresses elsewhere = OfAnotherNetwork(facts);
  for (const Device& device : facts.devices) {
    if (device.IsListed() || IsOfAnotherMaker(device)) continue;
    if (contains(elsewhere, device.address)) continue;
    const auto replies = texts_of(device);
    const bool missing = std::any_of(replies.begin(), replies.end(), [](const auto& item) {
      return item.reply->kind != ReplyKind::kText && item.reply->kind != ReplyKind::kUnreadable;
    });
    if (missing) causes->push_back(IncompleteScanner{device, IsAllSilent(device)});
  }
}

void AddSilentAddresses(const Facts& facts, Causes* causes) {
  for (const PlaceAsked& place : facts.direct) {
    const Outcome& outcome = place.outcome;
    if (!contains(facts.given, place.destination) || !outcome.answers.empty()) continue;
    if (contains(AnsweredEverybody(facts), place.destination)) continue;
    causes->push_back(SilentAddress{
        place.destination, outcome.sendError != 0 ? outcome.sendError : outcome.networkError});
  }
}

void AddLate(const Facts& facts, Causes* causes) {
  const Addresses known = FoundByProgram(facts);
  LateAnswers cause;
  for (const in_addr address : AnsweredEverybody(facts)) {
    if (!contains(known, address)) cause.scanners.push_back(address);
  }
  if (!cause.scanners.empty()) causes->push_back(cause);
}

void AddTooMany(const Facts& facts, Causes* causes) {
  const size_t count = FoundByProgram(facts).size();
  if (count > kMaxAnswers) causes->push_back(TooMany{count});
}

void AddTwice(const Facts& facts, Causes* causes) {
  Addresses once;
  Addresses twice;
  for (const Datagram& answer : answers_in_time(facts.everybody.outcome)) {
    const in_addr sender = answer.from.sin_addr;
    Addresses& list = contains(once, sender) ? twice : once;
    if (!contains(list, sender) && IsReadable(answer)) list.push_back(sender);
  }
  if (!twice.empty()) causes->push_back(ListedTwice{twice});
}

// One scanner stands for all.
void AddWrongAddress(const Facts& facts, Causes* causes) {
  const in_addr told = facts.registered.address;
  for (const Device& device : listed_by_program(facts)) {
    const Route route = route_to(device.address);
    if (route.error != 0 || same_address(route.source, told)) continue;
    causes->push_back(WrongAddress{told, route.source, device.address});
    return;
  }
}

}  // namespace

std::vector<Cause> causes_of(const Facts& facts) {
  if (usable_interfaces(facts.interfaces).empty()) return {AllInterfaces(facts)};
  Causes causes;
  for (const auto add : {AddRoute, AddNotSent, AddDropped, AddOtherInterfaces, AddOnlyDirectly,
                         AddWrongNetwork, AddUnreadableAnswers, AddUnreadableTexts, AddIncomplete,
                         AddSilentAddresses, AddLate, AddTooMany, AddTwice, AddWrongAddress}) {
    add(facts, &causes);
  }
  if (causes.empty() && listed_by_program(facts).empty()) {
    causes.push_back(NoScanners{facts.broadcastInterface});
  }
  return causes;
}

std::vector<Device> listed_by_program(const Facts& facts) {
  std::vector<Device> listed;
  for (const in_addr address : FoundByProgram(facts)) {
    const Device* device = DeviceAt(facts, address);
    if (device != nullptr && device->IsListed()) listed.push_back(*device);
  }
  return listed;
}

const Interface* interface_named(const Facts& facts, const std::string& name) {
  for (const Interface& item : facts.interfaces) {
    if (item.name == name) return &item;
  }
  return nullptr;
}

const Interface* interface_to(const Facts& facts, in_addr address) {
  for (const Interface* item : usable_interfaces(facts.interfaces)) {
    if (address_in_network_of(*item, address) != nullptr) return item;
  }
  return nullptr;
}
