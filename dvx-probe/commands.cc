// The commands that list scanners and register on them.
#include "dvx-probe/commands.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "dvx-probe/addresses.h"
#include "dvx-probe/registration.h"
#include "dvx-probe/texts.h"

namespace {

void Print(const std::string& text) { fputs(text.c_str(), stdout); }

void Warn(const std::string& text) { fprintf(stderr, "dvx-probe: %s\n", text.c_str()); }

// Reports the places that could not be asked and the devices that did not answer. Returns whether
// there were none.
bool ReportPlaces(const std::vector<PlaceAsked>& asked) {
  bool all_well = true;
  for (const PlaceAsked& place : asked) {
    const Outcome& outcome = place.outcome;
    const std::string address = address_text(place.destination);
    if (outcome.sendError != 0) {
      Warn("cannot ask " + address + ": " + strerror(outcome.sendError));
      all_well = false;
    } else if (place.direct && outcome.answers.empty()) {
      const std::string why =
          outcome.networkError != 0 ? std::string(" (") + strerror(outcome.networkError) + ")" : "";
      Warn(std::string(address).append(" does not answer").append(why));
      all_well = false;
    } else if (place.direct && scanners_of({place}).empty()) {
      Warn(address + " answers with something that cannot be read");
      all_well = false;
    }
  }
  return all_well;
}

void ReportLeftOut(const std::vector<Device>& devices) {
  for (const Device& device : devices) {
    if (!device.IsListed()) {
      Warn(address_text(device.address) + " is left out: " + why_left_out(device));
    }
  }
}

bool IsGiven(const Options& options, in_addr address) {
  const auto& given = options.places.addresses;
  return std::any_of(given.begin(), given.end(),
                     [address](in_addr other) { return same_address(other, address); });
}

// A device that was asked for by its address has to be listed.
bool GivenOnesAreListed(const Options& options, const std::vector<Device>& devices) {
  return std::none_of(devices.begin(), devices.end(), [&options](const Device& device) {
    return !device.IsListed() && IsGiven(options, device.address);
  });
}

struct Found {
  std::vector<Device> devices;
  bool allWell;
};

// Searches, and reports on standard error whatever is not as it should be.
Found FindScanners(const Options& options, const Network& network) {
  const std::vector<PlaceAsked> asked = search(options.places, network);
  Found found{describe(scanners_of(asked), false, network), false};
  network.progress->Clear();
  const bool asked_well = ReportPlaces(asked);
  ReportLeftOut(found.devices);
  const bool any = std::any_of(found.devices.begin(), found.devices.end(),
                               [](const Device& device) { return device.IsListed(); });
  if (!any) Warn("no scanner was found (dvx-probe explain says why)");
  found.allWell = asked_well && any && GivenOnesAreListed(options, found.devices);
  return found;
}

std::string NameToRegister(const Options& options) {
  std::string name = registered_name(options.name);
  if (!options.name.empty() && name != options.name) {
    Warn("--name " + shown_text(options.name) + ": scanners cannot show this; the name is \"" +
         name + "\"");
  }
  if (options.command == Command::kRegister && name != name_on_scanners(name)) {
    Warn("scanners show the first 15 characters of the name: \"" + name_on_scanners(name) + "\"");
  }
  return name;
}

}  // namespace

int list_command(const Options& options, const Network& network) {
  const Found found = FindScanners(options, network);
  Print(list_text(found.devices, options.format));
  return found.allWell ? kAllWell : kSomethingWrong;
}

int register_command(const Options& options, const Network& network) {
  const bool registering = options.command == Command::kRegister;
  const std::string name = NameToRegister(options);
  std::vector<in_addr> scanners = options.scanners;
  bool all_well = true;
  if (options.all) {
    const Found found = FindScanners(options, network);
    all_well = found.allWell;
    for (const Device& device : found.devices) {
      if (device.IsListed()) scanners.push_back(device.address);
    }
  }
  const std::vector<Registration> results =
      registering ? register_on(scanners, name, network) : unregister_on(scanners, name, network);
  network.progress->Clear();
  for (const Registration& result : results) {
    Print(padded(address_text(result.address), 15) + "  " + result_text(result, registering, name) +
          "\n");
    if (result.result != Result::kDone) all_well = false;
  }
  return all_well ? kAllWell : kSomethingWrong;
}
