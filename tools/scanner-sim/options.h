// The command line of the simulator.
#pragma once

#include <string>
#include <vector>

#include "tools/scanner-sim/scenario.h"

// What the simulator writes, and where.
struct OutputOptions {
  std::string logFile;    // one JSON line per datagram
  std::string listsFile;  // the lists as JSON
  std::string readyFile;  // made once every scanner can be asked
  bool human = false;     // one readable line per question
  bool quiet = false;     // nothing on standard output
};

struct Options {
  ScenarioRequest scenario;
  OutputOptions output;
  bool help = false;
  bool check = false;  // only show the scanners
};

// Reads the arguments, without the program's name. Throws UsageError.
Options parse_options(const std::vector<std::string>& arguments);

// The text of --help.
std::string help_text();
