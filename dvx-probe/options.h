// The command line of dvx-probe.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "dvx-probe/list_output.h"
#include "dvx-probe/survey.h"

// A mistake on the command line; the text names what is wrong.
using UsageError = std::invalid_argument;

enum class Command { kNone, kList, kRegister, kUnregister, kExplain };

struct Options {
  Command command = Command::kNone;
  bool help = false;
  bool version = false;
  Format format = Format::kTable;
  Places places;
  int wait = 0;  // milliseconds, 0 for the usual
  std::string traceFile;
  std::string name;
  bool all = false;
  std::vector<in_addr> scanners;
};

// Reads the arguments, without the program's name. Throws UsageError. A list of options that has
// --help or --version in it is not looked at further.
Options parse_options(const std::vector<std::string>& arguments);

// The text of --help for a command, or for the program.
std::string help_text(Command command);
