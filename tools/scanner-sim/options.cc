// The command line of the simulator.
#include "tools/scanner-sim/options.h"

#include "tools/scanner-sim/text.h"

namespace {

[[noreturn]] void Fail(const std::string& option, const std::string& problem) {
  throw UsageError(option + ": " + problem);
}

// "[SCANNER:]KEY=VALUE"; a label may hold colons, a key does not.
SetOption ParseSet(const std::string& text) {
  const std::string where = "--set " + text;
  const size_t equals = text.find('=');
  if (equals == std::string::npos) Fail(where, "this is not [SCANNER:]KEY=VALUE");
  const std::string left = text.substr(0, equals);
  const size_t colon = left.rfind(':');
  SetOption option;
  option.setting = {where, colon == std::string::npos ? left : left.substr(colon + 1),
                    text.substr(equals + 1)};
  if (colon != std::string::npos) {
    option.scanner = left.substr(0, colon);
    if (option.scanner.empty()) Fail(where, "the scanner before the colon has no name");
  }
  require_known_key(option.setting);
  if (option.setting.key == "address" && option.scanner.empty())
    Fail(where, "an address is for one scanner (--set SCANNER:address=...)");
  return option;
}

class CArguments {
 public:
  explicit CArguments(const std::vector<std::string>& arguments) : m_Arguments(arguments) {}

  Options Parse() {
    while (m_iNext < m_Arguments.size()) TakeOption();
    if (m_bCounted && !m_Options.scenario.file.empty())
      Fail("--scanners", "the scenario says which scanners there are");
    if (m_Options.output.quiet && m_Options.output.human)
      Fail("--quiet", "it does not go together with --human");
    return m_Options;
  }

 private:
  void TakeOption() {
    const std::string& argument = m_Arguments[m_iNext++];
    const size_t equals = argument.find('=');
    m_sName = argument.substr(0, equals);
    m_bHasValue = equals != std::string::npos;
    m_sValue = m_bHasValue ? argument.substr(equals + 1) : "";
    if (!TakeFlag() && !TakeFile() && !TakeScenarioOption())
      Fail(m_sName, "unknown option (see --help)");
  }

  bool TakeFlag() {
    bool* flag = nullptr;
    if (m_sName == "--help") flag = &m_Options.help;
    if (m_sName == "--check") flag = &m_Options.check;
    if (m_sName == "--human") flag = &m_Options.output.human;
    if (m_sName == "--quiet") flag = &m_Options.output.quiet;
    if (!flag) return false;
    if (m_bHasValue) Fail(m_sName, "it takes no value");
    *flag = true;
    return true;
  }

  bool TakeFile() {
    std::string* file = nullptr;
    if (m_sName == "--scenario") file = &m_Options.scenario.file;
    if (m_sName == "--log") file = &m_Options.output.logFile;
    if (m_sName == "--lists") file = &m_Options.output.listsFile;
    if (m_sName == "--ready-file") file = &m_Options.output.readyFile;
    if (!file) return false;
    *file = Value();
    if (file->empty()) Fail(m_sName, "the file has no name");
    return true;
  }

  bool TakeScenarioOption() {
    if (m_sName == "--scanners") {
      m_Options.scenario.count = static_cast<int>(Number(1, kMostScanners));
      m_bCounted = true;
    } else if (m_sName == "--network") {
      TakeNetwork();
    } else if (m_sName == "--set") {
      m_Options.scenario.settings.push_back(ParseSet(Value()));
    } else if (m_sName == "--seed") {
      m_Options.scenario.seed = static_cast<uint32_t>(Number(0, INT32_MAX));
    } else {
      return false;
    }
    return true;
  }

  void TakeNetwork() {
    const std::string text = Value();
    m_Options.scenario.network = parse_network(text);
    if (!m_Options.scenario.network)
      Fail(m_sName, quoted(text) +
                        " is not a network (its lowest address and a prefix length from 1 to 30, "
                        "like 10.77.0.0/24)");
  }

  std::string Value() {
    if (m_bHasValue) return m_sValue;
    if (m_iNext == m_Arguments.size()) Fail(m_sName, "it needs a value");
    return m_Arguments[m_iNext++];
  }

  int64_t Number(int64_t low, int64_t high) {
    const std::string text = Value();
    const auto number = parse_number(text, low, high);
    if (!number)
      Fail(m_sName, quoted(text) + " is not a number from " + std::to_string(low) + " to " +
                        std::to_string(high));
    return *number;
  }

  const std::vector<std::string>& m_Arguments;
  size_t m_iNext = 0;
  Options m_Options;
  bool m_bCounted = false;

  // The option being taken; a value that came with it as "--name=value".
  std::string m_sName;
  bool m_bHasValue = false;
  std::string m_sValue;
};

}  // namespace

Options parse_options(const std::vector<std::string>& arguments) {
  return CArguments(arguments).Parse();
}
