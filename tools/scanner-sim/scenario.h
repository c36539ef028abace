// Which scanners are to be simulated: from a scenario file or from the simple options.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/scanner-sim/config_keys.h"
#include "tools/scanner-sim/scanner_config.h"

// The network of a run that names none.
constexpr Network kUsualNetwork = {(10U << 24) | (77U << 16), 24};

// The first scanner's address is the network's lowest address plus this.
constexpr Ipv4 kFirstScanner = 101;

constexpr int kMostScanners = 10000;

// One "--set [SCANNER:]KEY=VALUE".
struct SetOption {
  std::string scanner;  // its number or its label; empty: every scanner
  Setting setting;
};

// What the command line says about the scanners.
struct ScenarioRequest {
  std::string file;  // a scenario file; empty: count usual scanners
  int count = 6;
  std::optional<Network> network;  // goes before the file's
  std::vector<SetOption> settings;
  // Added to the seed of every scanner, so that runs can differ in their random numbers.
  uint32_t seed = 0;
};

// The scanners, complete and checked: each has an address of its own, and each of its answers fits
// the length form in which it is to be sent. Throws UsageError, whose message starts with
// "FILE:LINE: " or with the option.
std::vector<ScannerConfig> make_scanners(const ScenarioRequest& request);
