// Simulated network document scanners: the program.
#include <csignal>
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include "tools/scanner-sim/lists_report.h"
#include "tools/scanner-sim/options.h"
#include "tools/scanner-sim/run_error.h"
#include "tools/scanner-sim/server.h"
#include "tools/scanner-sim/text.h"

namespace {

constexpr int kCannotRun = 1;
constexpr int kBadUsage = 2;

void ShowScanners(const std::vector<ScannerConfig>& configs) {
  for (const ScannerConfig& config : configs) std::puts((scanner_line(config)).c_str());
}

int Simulate(const std::vector<std::string>& arguments) {
  const Options options = parse_options(arguments);
  if (options.help) {
    std::fputs(help_text().c_str(), stdout);
    return 0;
  }
  const std::vector<ScannerConfig> configs = make_scanners(options.scenario);
  if (options.check) {
    ShowScanners(configs);
    return 0;
  }
  CServer(configs, options.output).Run();
  return 0;
}

// A problem with an option is shown with the program's name; one with a scenario begins with the
// file, where editors look for it.
std::string Shown(const UsageError& error) {
  const std::string message = error.what();
  return message.compare(0, 2, "--") == 0 ? "scanner-sim: " + message : message;
}

}  // namespace

int main(int argc, char** argv) {
  // Who reads the output may leave early; the scanners stay.
  std::signal(SIGPIPE, SIG_IGN);
  try {
    return Simulate({argv + 1, argv + argc});
  } catch (const UsageError& error) {
    std::fprintf(stderr, "%s\n", Shown(error).c_str());
    return kBadUsage;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "scanner-sim: %s\n", error.what());
    return kCannotRun;
  }
}
