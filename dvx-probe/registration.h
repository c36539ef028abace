// Putting this computer on the lists of scanners, and taking it off.
#pragma once

#include <string>
#include <vector>

#include "dvx-probe/survey.h"

enum class Result {
  kDone,     // accepted, or for unregistering: sent, and nothing came that says otherwise
  kNotNow,   // the scanner put it off every time
  kRefused,  // another code came back
  kSilent,   // no reply came
  kNotSent,  // the command could not be sent
};

// What came back from one scanner.
struct Registration {
  in_addr address{};
  Result result = Result::kSilent;
  int code = 0;                // kRefused: of the reply
  int networkError = 0;        // kNotSent, and of kSilent when the network reported one
  bool wrongSequence = false;  // kSilent: there were replies, but to other commands
};

// Registers this computer on all these scanners at once, each as the program does it: up to three
// packets until one is replied to, and that up to three times while the reply is "not now". Takes
// up to 27 seconds, however many scanners there are. The results are in the order of the addresses.
std::vector<Registration> register_on(const std::vector<in_addr>& scanners, const std::string& name,
                                      const Network& network);

// Takes this computer off their lists. One packet each; as scanners need not reply to that, only
// what comes within a second (or the network's wait) is looked at.
std::vector<Registration> unregister_on(const std::vector<in_addr>& scanners,
                                        const std::string& name, const Network& network);

// "registered as \"front-desk\"", "does not answer", ...
std::string result_text(const Registration& registration, bool registering,
                        const std::string& name);

// The name under which this computer is registered, made fit as the program's own entry does it.
// Without a name: this computer's host name.
std::string registered_name(const std::string& wanted);

// The part of it that scanners show.
std::string name_on_scanners(const std::string& name);
