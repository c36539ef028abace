// Finds scanners from a terminal, registers on them, and explains why none shows up: the program.
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <string>
#include <vector>

#include "tools/dvx-probe/commands.h"
#include "tools/dvx-probe/options.h"
#include "tools/dvx-probe/progress.h"

namespace {

const char* NameOf(Command command) {
  switch (command) {
    case Command::kList:
      return " list";
    case Command::kRegister:
      return " register";
    case Command::kUnregister:
      return " unregister";
    case Command::kExplain:
      return " explain";
    case Command::kNone:
      break;
  }
  return "";
}

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

// The command whose help the message points to.
const char* CommandAmong(const std::vector<std::string>& arguments) {
  for (const Command command :
       {Command::kList, Command::kRegister, Command::kUnregister, Command::kExplain}) {
    const char* name = NameOf(command);
    if (!arguments.empty() && arguments.front() == name + 1) return name;
  }
  return "";
}

}  // namespace

int main(int argc, char** argv) {
  leave_on_interrupt();
  const std::vector<std::string> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
  int status = kSomethingWrong;
  try {
    status = Run(arguments);
  } catch (const UsageError& error) {
    std::fprintf(stderr, "dvx-probe: %s (see dvx-probe%s --help)\n", error.what(),
                 CommandAmong(arguments));
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
