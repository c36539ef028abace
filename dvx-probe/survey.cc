// The survey: who is a scanner, and what each one says of itself.
#include "dvx-probe/survey.h"

#include <algorithm>
#include <stdexcept>

#include "base/copy_text.h"
#include "dvx-probe/addresses.h"
#include "dvx-probe/snmp_questions.h"
#include "snmp/device_query.h"
#include "snmp/request.h"
#include "snmp/udp/transport.h"
#include "snmp/udp/udp_socket.h"
#include "ui/survey/interview.h"

namespace {

constexpr int kMilliseconds = 1000;
constexpr size_t kMacSize = 6;

int WaitOf(const Network& network, unsigned int usual_seconds) {
  return network.wait != 0 ? network.wait : static_cast<int>(usual_seconds) * kMilliseconds;
}

void Show(const Network& network, const std::string& text) {
  if (network.progress != nullptr) network.progress->Show(text);
}

PlaceAsked BroadcastOf(const Interface& interface, const InterfaceAddress& address) {
  PlaceAsked place;
  place.destination = address.broadcast;
  place.interface = interface.name;
  return place;
}

// An interface may have several addresses in one network.
bool IsAmong(const std::vector<PlaceAsked>& places, const PlaceAsked& place) {
  return std::any_of(places.begin(), places.end(), [&place](const PlaceAsked& other) {
    return other.interface == place.interface && same_address(other.destination, place.destination);
  });
}

void AddNamedInterface(const std::vector<Interface>& interfaces, const std::string& name,
                       std::vector<PlaceAsked>* places) {
  const auto found = std::find_if(interfaces.begin(), interfaces.end(),
                                  [&name](const Interface& item) { return item.name == name; });
  if (found == interfaces.end()) {
    throw std::invalid_argument("--interface " + name + ": there is no such interface");
  }
  const size_t before = places->size();
  add_interface(*found, places);
  if (places->size() > before) return;
  throw std::invalid_argument("--interface " + name + ": " +
                              (found->up ? "it has no IPv4 broadcast address" : "it is down"));
}

std::vector<PlaceAsked> PlacesToAsk(const Places& places) {
  std::vector<PlaceAsked> asked;
  if (places.eachInterface || !places.interfaces.empty()) {
    const std::vector<Interface> interfaces = list_interfaces();
    for (const std::string& name : places.interfaces) AddNamedInterface(interfaces, name, &asked);
    for (const Interface& item : interfaces) {
      if (places.eachInterface && !item.loopback) add_interface(item, &asked);
    }
  } else if (places.addresses.empty()) {
    asked.push_back(everybody());
  }
  for (const in_addr address : places.addresses) {
    PlaceAsked device;
    device.destination = address;
    device.direct = true;
    if (!IsAmong(asked, device)) asked.push_back(device);
  }
  return asked;
}

Question SearchOf(const PlaceAsked& place, const std::vector<Interface>& interfaces) {
  Question question{net_socket_address(place.destination, kSnmpPort), discovery_question(),
                    place.interface};
  for (const Interface& item : interfaces) {
    for (const InterfaceAddress& own : item.addresses) {
      const bool fits = item.name == place.interface && question.source.s_addr == 0 &&
                        same_address(own.broadcast, place.destination);
      if (fits) question.source = own.address;
    }
  }
  return question;
}

// Sends the search to those of the places that are asked directly, or to the others.
void SearchIn(std::vector<PlaceAsked>* places, bool direct, int wait, const Network& network) {
  const std::vector<Interface> interfaces = list_interfaces();
  std::vector<Question> questions;
  std::vector<PlaceAsked*> asked;
  for (PlaceAsked& place : *places) {
    if (place.direct != direct) continue;
    questions.push_back(SearchOf(place, interfaces));
    asked.push_back(&place);
  }
  if (questions.empty()) return;
  int count = 0;
  const auto tell = [&] { Show(network, "Searching... " + std::to_string(count++) + " answers"); };
  tell();
  std::vector<Outcome> outcomes = ask_all(questions, Ends::kWhenQuiet, wait, network.trace, tell);
  for (size_t i = 0; i < asked.size(); ++i) asked[i]->outcome = std::move(outcomes[i]);
}

// The replies to the questions of the survey, in their order, and what they are about.
constexpr Reply Device::*kReplies[kDeviceQuestions] = {&Device::model, &Device::vendor,
                                                       &Device::name};
constexpr const char* kSubjects[kDeviceQuestions] = {"model", "vendor", "name"};

// The device's interview as far as it was asked.
DeviceInterview InterviewOf(const Device& device) {
  DeviceInterview interview;
  while (interview.Next() != kDeviceQuestions) {
    const Reply& reply = device.*kReplies[interview.Next()];
    if (reply.kind == ReplyKind::kText) {
      interview.TakeValue(reply.text.data(), reply.text.size());
    } else {
      interview.TakeFailure();
    }
  }
  return interview;
}

void AskDevices(const std::vector<Device*>& devices, const char* object, Reply Device::*reply,
                const Network& network, const char* what) {
  if (devices.empty()) return;
  std::vector<Question> questions;
  questions.reserve(devices.size());
  for (const Device* device : devices) {
    questions.push_back(
        {net_socket_address(device->address, kSnmpPort), object_question(object), {}});
  }
  size_t count = 0;
  const auto tell = [&] {
    Show(network, std::string("Asking for ") + what + "... " + std::to_string(count++) + " of " +
                      std::to_string(devices.size()));
  };
  tell();
  const std::vector<Outcome> outcomes =
      ask_all(questions, Ends::kWithFirstAnswer, static_cast<int>(kSnmpGetSeconds) * kMilliseconds,
              network.trace, tell);
  for (size_t i = 0; i < devices.size(); ++i) devices[i]->*reply = reply_of(outcomes[i]);
}

}  // namespace

Reply reply_of(const Outcome& outcome) {
  Reply reply;
  reply.networkError = outcome.networkError;
  if (outcome.sendError != 0) {
    reply.kind = ReplyKind::kNotSent;
    reply.networkError = outcome.sendError;
    return reply;
  }
  reply.kind = ReplyKind::kSilent;
  if (outcome.answers.empty()) return reply;
  reply.datagram = outcome.answers.front().data;
  const std::optional<SnmpAnswer> answer = read_answer(reply.datagram);
  reply.kind = ReplyKind::kUnreadable;
  if (!answer) return reply;
  // So much of a text is not taken.
  if (answer->errorStatus == 0 && answer->value.size() > kTextCapacity) return reply;
  reply.errorStatus = answer->errorStatus;
  reply.text = answer->value;
  reply.kind = answer->errorStatus != 0 ? ReplyKind::kError : ReplyKind::kText;
  return reply;
}

std::vector<TextReply> texts_of(const Device& device) {
  std::vector<TextReply> texts;
  texts.reserve(kDeviceQuestions);
  for (int question = 0; question < kDeviceQuestions; ++question) {
    texts.push_back({&(device.*kReplies[question]), kSubjects[question]});
  }
  return texts;
}

bool Device::IsListed() const { return InterviewOf(*this).IsListed(); }

Row row_of(const Device& device) {
  DeviceInterview interview = InterviewOf(device);
  interview.RemoveModelSuffixes();
  interview.JoinVendorAndModel();
  MACHINEINFO machine;
  interview.FillRow(address_text(device.address).c_str(), &machine);
  Row row{machine.szModelName, machine.szMachineName, machine.szIPAddress, ""};
  if (device.hardwareAddress.kind == ReplyKind::kText) {
    unsigned char mac[kMacSize] = {};
    const std::string& value = device.hardwareAddress.text;
    std::copy_n(value.begin(), std::min(value.size(), kMacSize), mac);
    char text[kMacTextSize];
    net_mac_text(mac, text);
    if (!value.empty()) row.hardwareAddress = text;
  }
  return row;
}

std::vector<PlaceAsked> search(const Places& places, const Network& network) {
  std::vector<PlaceAsked> asked = PlacesToAsk(places);
  search_at(&asked, kGatheringSeconds, network);
  return asked;
}

void search_at(std::vector<PlaceAsked>* places, unsigned int seconds, const Network& network) {
  SearchIn(places, false, WaitOf(network, seconds), network);
  SearchIn(places, true, WaitOf(network, kSnmpGetSeconds), network);
}

void add_interface(const Interface& interface, std::vector<PlaceAsked>* places) {
  if (!interface.up) return;
  for (const InterfaceAddress& address : interface.addresses) {
    if (address.broadcast.s_addr == 0) continue;
    const PlaceAsked place = BroadcastOf(interface, address);
    if (!IsAmong(*places, place)) places->push_back(place);
  }
}

PlaceAsked everybody() {
  PlaceAsked place;
  place.destination.s_addr = INADDR_BROADCAST;
  return place;
}

std::vector<in_addr> scanners_of(const std::vector<PlaceAsked>& asked) {
  std::vector<in_addr> found;
  for (const PlaceAsked& place : asked) {
    for (const Datagram& answer : place.outcome.answers) {
      const auto is_sender = [&answer](in_addr address) {
        return same_address(address, answer.from.sin_addr);
      };
      if (std::any_of(found.begin(), found.end(), is_sender)) continue;
      if (found.size() < kMaxAnswers && read_answer(answer.data)) {
        found.push_back(answer.from.sin_addr);
      }
    }
  }
  return found;
}

std::vector<Device> describe(const std::vector<in_addr>& addresses, bool all,
                             const Network& network) {
  std::vector<Device> devices(addresses.size());
  for (size_t i = 0; i < addresses.size(); ++i) devices[i].address = addresses[i];
  for (int question = 0; question < kDeviceQuestions; ++question) {
    std::vector<Device*> asked;
    for (Device& device : devices) {
      const bool goes_on =
          question == 0 || (device.*kReplies[question - 1]).kind == ReplyKind::kText;
      if (all || goes_on) asked.push_back(&device);
    }
    AskDevices(asked, DeviceInterview::Object(question), kReplies[question], network,
               (std::string(kSubjects[question]) + "s").c_str());
  }
  std::vector<Device*> listed;
  for (Device& device : devices) {
    if (device.IsListed()) listed.push_back(&device);
  }
  AskDevices(listed, kIfPhysAddress1Object, &Device::hardwareAddress, network,
             "hardware addresses");
  return devices;
}
