// Tells people and tests which computers the scanners list.
#include "tools/scanner-sim/lists_report.h"

#include <fstream>

#include "tools/scanner-sim/json.h"
#include "tools/scanner-sim/run_error.h"
#include "tools/scanner-sim/text.h"

namespace {

std::string ScannerJson(const CScanner& scanner) {
  std::vector<std::string> computers;
  for (const Computer& computer : scanner.Computers()) computers.push_back(computer_json(computer));
  const ScannerConfig& config = scanner.Config();
  return CJsonObject()
      .Text("address", ipv4_text(config.address))
      .Text("scanner", config.label)
      .Text("name", config.name)
      .Text("model", config.model)
      .Json("lists", json_array(computers))
      .Str();
}

}  // namespace

std::string scanner_line(const ScannerConfig& config) {
  return ipv4_text(config.address) + "  " + config.label + "  " +
         printable(config.vendor + " " + config.model);
}

std::string list_line(const CScanner& scanner) {
  const ScannerConfig& config = scanner.Config();
  return ipv4_text(config.address) + "  " + config.label +
         "  lists: " + list_text(scanner.Computers());
}

std::string lists_json(const std::vector<CScanner>& scanners) {
  std::vector<std::string> items;
  items.reserve(scanners.size());
  for (const CScanner& scanner : scanners) items.push_back(ScannerJson(scanner));
  return CJsonObject().Json("scanners", json_array(items)).Str() + "\n";
}

void replace_file(const std::string& name, const std::string& contents) {
  const std::string temporary = name + ".new";
  std::ofstream file(temporary, std::ios::binary | std::ios::trunc);
  file << contents;
  file.close();
  if (!file) throw RunError::Last(temporary);
  if (std::rename(temporary.c_str(), name.c_str()) != 0) throw RunError::Last(name);
}
