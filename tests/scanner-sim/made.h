// A simulated scanner with the usual settings and a few more, for tests without a network.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "tools/scanner-sim/config_keys.h"
#include "tools/scanner-sim/scanner.h"

// Reception at 10.77.0.101, with these keys set as a scenario would set them.
inline CScanner make_scanner(
    const std::vector<std::pair<const char*, std::string>>& settings = {}) {
  ScannerConfig config = usual_scanner(1);
  config.address = parse_ipv4("10.77.0.101").value();
  std::vector<Setting> list;
  list.reserve(settings.size());
  for (const auto& [key, value] : settings) list.push_back({key, key, value});
  apply_settings(list, 1, &config);
  return CScanner(config);
}
