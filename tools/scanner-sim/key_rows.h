// How the keys of a scenario set the fields of a scanner: the rows behind config_keys.h.
#pragma once

#include <string>
#include <vector>

#include "tools/scanner-sim/config_keys.h"
#include "tools/scanner-sim/scanner_config.h"

// The problem with a value; empty when it is good.
using Problem = std::string;

struct KeyRow {
  const char* name;
  KeyScope scope;
  // One of the two is set, by the scope.
  Problem (*setScanner)(ScannerConfig*, const std::string&);
  Problem (*setAnswer)(AnswerRules*, const std::string&);
  const char* value;
  const char* help;
};

// The keys about a scanner as a whole, and those about answers.
const std::vector<KeyRow>& scanner_keys();
const std::vector<KeyRow>& answer_keys();

// Sets an object's value: a VALUE, or "none" to take the object away.
Problem set_object(ScannerConfig* config, const Oid& oid, const std::string& text);

// Readers of values. Each leaves *value alone when there is a problem.
constexpr int kLargestDatagram = 65507;  // of UDP over IPv4
Problem read_number(const std::string& text, int low, int high, int* value);
Problem read_yes_no(const std::string& text, bool* value);
Problem read_hex(const std::string& text, Bytes* value);
Problem read_hex_byte(const std::string& text, uint8_t* value);
// "250" or "100-900", from 0 to high.
Problem read_range(const std::string& text, int high, NumberRange* value);
// The address of a host: neither of 0.0.0.0/8 nor multicast nor broadcast.
Problem read_address(const std::string& text, Ipv4* value);
