// What was found out, as text for a terminal.
#include "dvx-probe/explanation.h"

#include <algorithm>
#include <cstring>

#include "dvx-probe/addresses.h"
#include "dvx-probe/list_output.h"
#include "dvx-probe/texts.h"

namespace {

constexpr size_t kWidth = 79;

// A paragraph in lines of at most kWidth columns. The first line begins with `first`, the others
// with as many blanks.
std::string Wrapped(const std::string& first, const std::string& text) {
  std::string result;
  std::string line = first;
  const std::string indent(first.size(), ' ');
  bool empty = true;
  size_t begin = 0;
  while (begin < text.size()) {
    const size_t end = std::min(text.find(' ', begin), text.size());
    const std::string word = text.substr(begin, end - begin);
    begin = end + 1;
    if (!empty && columns(line) + 1 + columns(word) > kWidth) {
      result += line + "\n";
      line = indent;
      empty = true;
    }
    line += (empty ? "" : " ") + word;
    empty = false;
  }
  return result + line + "\n";
}

std::string InterfaceLine(const Interface& item) {
  std::string text = padded(item.name, 10) + " ";
  text += !item.up ? "off" : item.carrier ? "on" : "on, without a link";
  for (const InterfaceAddress& own : item.addresses) {
    text += ", " + address_text(own.address) + " in " + network_text(own.address, own.netmask);
  }
  if (item.addresses.empty()) text += ", no IPv4 address";
  if (!item.hardwareAddress.empty()) text += ", " + item.hardwareAddress;
  return "  " + text + "\n";
}

std::string ComputerText(const Facts& facts) {
  std::string text = "This computer\n";
  for (const Interface& item : facts.interfaces) text += InterfaceLine(item);
  const Registered& own = facts.registered;
  if (own.address.s_addr == 0) {
    return text + "  It has no address under which it could be registered on scanners.\n";
  }
  return text + Wrapped("  ", "Scanners would list it as \"" + own.name + "\", " +
                                  address_text(own.address) + ", " + own.hardwareAddress + ".");
}

std::string Answers(const Outcome& outcome) {
  if (outcome.sendError != 0) {
    return std::string("it could not be sent: ") + strerror(outcome.sendError);
  }
  const size_t count = outcome.answers.size();
  if (count == 0) return "no answer";
  const size_t addresses = senders(outcome.answers).size();
  return std::to_string(count) + (count == 1 ? " answer" : " answers") + " from " +
         std::to_string(addresses) + (addresses == 1 ? " address" : " addresses");
}

std::string PlaceText(const PlaceAsked& place) {
  std::string text = address_text(place.destination);
  if (!place.interface.empty()) text += " on " + place.interface;
  return Wrapped("  ", text + ": " + Answers(place.outcome) + ".");
}

std::string FirewallText(const Facts& facts) {
  const Firewall& firewall = facts.firewall;
  if (!firewall.where.empty()) return "  Firewall: " + firewall.where + ".\n";
  if (firewall.readable) return "  Firewall: no rule that drops what comes in.\n";
  return "  Firewall: its rules can be read by root only.\n";
}

std::string SearchText(const Facts& facts) {
  std::string text = "The search\n";
  if (facts.broadcastRoute.error != 0) {
    text += "  The question to everybody (255.255.255.255) has no way out.\n";
  } else {
    text += Wrapped("  ", "The question to everybody (255.255.255.255) leaves by " +
                              facts.broadcastInterface + ", from " +
                              address_text(facts.broadcastRoute.source) + ".");
  }
  text += PlaceText(facts.everybody);
  for (const PlaceAsked& place : facts.others) text += PlaceText(place);
  for (const PlaceAsked& place : facts.direct) {
    const bool given = contains(facts.given, place.destination);
    if (given || !place.outcome.answers.empty()) text += PlaceText(place);
  }
  return text + FirewallText(facts);
}

std::string ScannersText(const Facts& facts) {
  const std::vector<Device> listed = listed_by_program(facts);
  if (listed.empty()) return {};
  return "The program shows\n" + list_text(listed, Format::kTable);
}

std::string FindingText(size_t number, const Finding& finding) {
  std::string text =
      Wrapped(std::to_string(number) + ". ", finding.title + " [" + finding.id + "]");
  for (const std::string& paragraph : finding.text) text += Wrapped("   ", paragraph);
  text += finding.dump;
  if (!finding.commands.empty()) text += "   Try:\n";
  // Commands stay on one line each, to be copied.
  for (const std::string& command : finding.commands) text += "      " + command + "\n";
  return text;
}

}  // namespace

std::string explanation_text(const Facts& facts, const std::vector<Finding>& findings) {
  std::string text = ComputerText(facts) + "\n";
  if (!usable_interfaces(facts.interfaces).empty()) text += SearchText(facts) + "\n";
  const std::string scanners = ScannersText(facts);
  if (!scanners.empty()) text += scanners + "\n";
  if (findings.empty()) return text + "Nothing is wrong. [all-well]\n";
  text += "What was found\n";
  for (size_t i = 0; i < findings.size(); ++i) text += FindingText(i + 1, findings[i]);
  return text;
}
