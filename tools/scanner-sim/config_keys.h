// The keys that set something about a scanner, in scenario files and with --set.
#pragma once

#include <string>
#include <vector>

#include "tools/scanner-sim/scanner_config.h"

// One "KEY = VALUE" and where it stands ("FILE:LINE" or "--set KEY=VALUE"), for messages.
struct Setting {
  std::string where;
  std::string key;
  std::string value;
};

// Throws UsageError unless this is a key for a scanner: a key of the table below, where it may
// carry one with ".QUESTION", or "object.OID".
void require_known_key(const Setting& setting);

// Sets everything that the settings say, each "{n}" in a value replaced by the number. Keys without
// ".QUESTION" are applied before those with it, whatever their order. Throws UsageError.
void apply_settings(const std::vector<Setting>& settings, int number, ScannerConfig* config);

// What a key may be written for.
enum class KeyScope {
  kScanner,     // the scanner as a whole
  kAnswer,      // also with ".QUESTION", for the answers to that kind of question
  kSnmpAnswer,  // the same, for the SNMP questions only
};

struct KeyHelp {
  std::string name;
  KeyScope scope;
  std::string value;  // the form of the value
  std::string text;
};

// Every key that apply_settings knows, in the order of the help text.
std::vector<KeyHelp> key_help();
