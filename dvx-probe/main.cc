// Finds scanners from a terminal, registers on them, and explains why none shows up: the program.
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <string>
#include <vector>

#include "dvx-probe/commands.h"
#include "dvx-probe/options.h"
#include "dvx-probe/progress.h"

namespace {

int Carry(const Options& options) {
  CProgress progress;
  std::unique_ptr<CTrace> trace;
  if (!options.traceFile.empty()) trace = std::make_unique<CTrace>(options.traceFile);
  const Network network{trace.get(), &progress, options.wait};
  switch (options.command) {
    case Command::kList:
      return list_command(options, network);
    case Command::kExplain:
      return explain_command(options, network);
    default:
      return register_command(options, network);
  }
}

int Run(const std::vector<std::string>& arguments) {
  const Options options = parse_options(arguments);
  if (options.help) {
    std::fputs(help_text(options.command).c_str(), stdout);
    return kAllWell;
  }
  if (options.version) {
    std::puts("dvx-probe " DVX_PROBE_VERSION);
    return kAllWell;
  }
  return Carry(options);
}

// The help that the message about a mistake points to.
std::string HelpFor(const std::vector<std::string>& arguments) {
  for (const char* command : {"list", "register", "unregister", "explain"}) {
    const bool is_meant = !arguments.empty() && arguments.front() == command;
    if (is_meant) return std::string("dvx-probe ") + command + " --help";
  }
  return "dvx-probe --help";
}

}  // namespace

int main(int argc, char** argv) {
  leave_on_interrupt();
  const std::vector<std::string> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
  int status = kSomethingWrong;
  try {
    status = Run(arguments);
  } catch (const UsageError& error) {
    std::fprintf(stderr, "dvx-probe: %s (see %s)\n", error.what(), HelpFor(arguments).c_str());
    return kWrongUsage;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "dvx-probe: %s\n", error.what());
    return kSomethingWrong;
  }
  // Results that could not be written are not results.
  if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
    std::perror("dvx-probe: standard output");
    return kSomethingWrong;
  }
  return status;
}
