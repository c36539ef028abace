// Fuzz target: the whole survey against scanners that answer as they like.
//
// Input: the kind. Even: the texts of one scanner, model, vendor and name, each with its length in
// front, which it gives in well-formed answers; the list that must come of them is known, and with
// it that suffixes are taken off the model. Odd: datagrams, each with its length in front (2 bytes,
// low byte first), of which the first three answer the broadcast and each next one a question.
#include <arpa/inet.h>

#include <cstdlib>

#include "snmp/simple_pdu.h"
#include "tests/fuzz/fake_socket.h"
#include "tests/fuzz/formatting_sink.h"
#include "tests/fuzz/fuzz_target.h"
#include "ui/survey/device_survey.h"

namespace {

using fake_socket::Arrival;
using fuzz::Bytes;
using fuzz::Require;

constexpr size_t kMostText = 60;  // so that an answer has a length of one byte
constexpr uint16_t kPort = 161;
constexpr size_t kBroadcastAnswers = 3;

// 10.77.0.64 and those that follow, in network byte order.
uint32_t Scanner(size_t number = 0) {
  return htonl(0x0A4D0000 | ((0x40 + static_cast<uint32_t>(number)) & 0xFF));
}

struct FreeMachines {
  void operator()(MACHINEINFO* machines) const { free(machines); }
};

std::vector<MACHINEINFO> Survey(fake_socket::Answers answers) {
  myDbgFunc = fuzz::FormatLine;
  fake_socket::Start(std::move(answers), 1);
  int count = -1;
  const std::unique_ptr<MACHINEINFO, FreeMachines> machines(searchMachine(&count, nullptr));
  fake_socket::Finish();
  Require(count >= 0 && (count > 0) == (machines != nullptr), "the count is that of the array");
  return std::vector<MACHINEINFO>(machines.get(), machines.get() + count);
}

// ---- One well-formed scanner -------------------------------------------------------------------

Bytes Element(unsigned char type, const std::vector<Bytes>& parts) {
  Bytes element{type, 0};
  for (const Bytes& part : parts) element.insert(element.end(), part.begin(), part.end());
  element[1] = static_cast<unsigned char>(element.size() - 2);
  return element;
}

Bytes TextAnswer(const Bytes& text) {
  const Bytes zero{0x02, 0x01, 0x00};
  const Bytes name{0x06, 0x08, 0x2B, 0x06, 0x01, 0x02, 0x01, 0x01, 0x05, 0x00};
  const Bytes binding = Element(0x30, {name, Element(0x04, {text})});
  const Bytes pdu = Element(0xA2, {zero, zero, zero, Element(0x30, {binding})});
  return Element(0x30, {zero, Element(0x04, {{'p', 'u', 'b', 'l', 'i', 'c'}}), pdu});
}

bool IsVisible(unsigned char byte) { return byte > 0x20 && byte < 0x7F; }

std::string PlainText(Bytes text) {
  while (!text.empty() && !IsVisible(text.back())) text.pop_back();
  return {text.begin(), std::find(text.begin(), text.end(), 0)};
}

// From the left: an underscore goes with the byte behind it, or with the one in front when there is
// none behind.
std::string WithoutSuffixes(std::string model) {
  for (size_t at = model.find('_'); at != std::string::npos; at = model.find('_')) {
    if (at + 1 < model.size()) {
      model.erase(at, 2);
    } else {
      model.resize(at > 0 ? at - 1 : 0);
    }
  }
  return model;
}

void TryTexts(fuzz::Input* input) {
  std::vector<Bytes> texts(3);
  for (Bytes& text : texts) text = input->Take(input->Byte() % (kMostText + 1));
  size_t asked = 0;
  const auto answer = [&](const Bytes&, uint32_t to, uint16_t port) -> std::deque<Arrival> {
    Require(port == htons(kPort), "requests go to port 161");
    // A stranger comes first, with something that is no answer.
    if (to == INADDR_BROADCAST)
      return {{false, ~Scanner(), {0x30}}, {false, Scanner(), TextAnswer({})}};
    Require(to == Scanner() && asked < texts.size(), "the scanner is asked three questions");
    return {{false, Scanner(), TextAnswer(texts[asked++])}};
  };
  const std::vector<MACHINEINFO> machines = Survey(answer);
  Require(asked == 3 && machines.size() == 1, "a scanner that answers is listed");
  const std::string shown = PlainText(texts[1]) + " " + WithoutSuffixes(PlainText(texts[0]));
  Require(machines[0].szModelName == shown, "vendor, blank, model without suffixes");
  Require(machines[0].szMachineName == PlainText(texts[2]), "the name");
  Require(std::string(machines[0].szIPAddress) == "10.77.0.64", "the address");
}

// ---- Any datagrams -----------------------------------------------------------------------------

template <size_t size>
void RequireEnds(const char (&text)[size]) {
  Require(strnlen(text, size) < size, "texts of a record end within it");
}

void TryDatagrams(fuzz::Input* input) {
  size_t questions = 0;
  const auto take = [&](uint32_t from) {
    return Arrival{false, from, input->Take(static_cast<size_t>(input->Word()))};
  };
  const auto answer = [&](const Bytes&, uint32_t to, uint16_t) {
    std::deque<Arrival> arrivals;
    const bool is_broadcast = to == INADDR_BROADCAST;
    if (!is_broadcast) ++questions;
    const size_t most = is_broadcast ? kBroadcastAnswers : 1;
    while (arrivals.size() < most && input->Left() > 0) {
      arrivals.push_back(take(Scanner(arrivals.size())));
    }
    return arrivals;
  };
  const std::vector<MACHINEINFO> machines = Survey(answer);
  Require(machines.size() <= kBroadcastAnswers && questions >= 3 * machines.size() &&
              questions <= 3 * kBroadcastAnswers,
          "a machine has answered the broadcast and three questions");
  for (const MACHINEINFO& machine : machines) {
    RequireEnds(machine.szModelName);
    RequireEnds(machine.szMachineName);
    RequireEnds(machine.szIPAddress);
    Require(strncmp(machine.szIPAddress, "10.77.0.", 8) == 0, "the address is the sender's");
  }
}

// Of the 256 records that the survey asks for, only those for which there can be answers are made,
// which takes a tenth of the time.
int Made(int count) { return std::min(count, static_cast<int>(kBroadcastAnswers) + 1); }

}  // namespace

extern "C" {

// What the queries write to standard error would drown the fuzzer's own messages.
void __wrap__Z11DebugPrintfPKcz(const char* /*fmt*/, ...) {}

snmp_simple_pdu* __real__Z21get_simple_pdu_memoryii(int count, int slots);
void __real__Z20free_snmp_simple_pduiP15snmp_simple_pdu(int count, snmp_simple_pdu* pdus);

snmp_simple_pdu* __wrap__Z21get_simple_pdu_memoryii(int count, int slots) {
  return __real__Z21get_simple_pdu_memoryii(Made(count), slots);
}

void __wrap__Z20free_snmp_simple_pduiP15snmp_simple_pdu(int count, snmp_simple_pdu* pdus) {
  __real__Z20free_snmp_simple_pduiP15snmp_simple_pdu(Made(count), pdus);
}

}  // extern "C"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::Input input(data, size);
  if (input.Byte() % 2 == 0) {
    TryTexts(&input);
  } else {
    TryDatagrams(&input);
  }
  return 0;
}
