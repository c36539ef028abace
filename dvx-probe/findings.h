// What keeps scanners from showing up, and what to do about it.
#pragma once

#include <string>
#include <vector>

#include "dvx-probe/facts.h"

struct Finding {
  std::string id;                     // one word for scripts and searches: "firewall"
  std::string title;                  // one line
  std::vector<std::string> text;      // paragraphs in plain words
  std::vector<std::string> commands;  // that mend it, or find out more
  std::string dump;                   // what arrived, when that matters
};

// Everything that is wrong, most important first. Empty when all is well.
std::vector<Finding> findings_of(const Facts& facts);

// The devices that the program's own search finds and lists.
std::vector<Device> listed_by_program(const Facts& facts);
