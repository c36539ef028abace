// What keeps scanners from showing up, and what to do about it, in words.
#pragma once

#include <string>
#include <vector>

#include "dvx-probe/causes.h"

struct Finding {
  std::string id;                     // one word for scripts and searches: "firewall"
  std::string title;                  // one line
  std::vector<std::string> text;      // paragraphs in plain words
  std::vector<std::string> commands;  // that mend it, or find out more
  std::string dump;                   // what arrived, when that matters
};

// The advice for a cause; the facts that it comes from tell where commands apply.
Finding finding_of(const Cause& cause, const Facts& facts);

// That for everything that is wrong, most important first. Empty when all is well.
std::vector<Finding> findings_of(const Facts& facts);
