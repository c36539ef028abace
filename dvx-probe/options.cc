// The command line of dvx-probe.
#include "dvx-probe/options.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <map>

#include "dvx-probe/addresses.h"

namespace {

constexpr double kLongestWait = 600;

const std::map<std::string, Command> kCommands = {{"list", Command::kList},
                                                  {"register", Command::kRegister},
                                                  {"unregister", Command::kUnregister},
                                                  {"explain", Command::kExplain}};

[[noreturn]] void Fail(const std::string& where, const std::string& problem) {
  throw UsageError(where + ": " + problem);
}

// The parts of a text between commas.
std::vector<std::string> Parts(const std::string& text) {
  std::vector<std::string> parts;
  size_t begin = 0;
  for (size_t comma; (comma = text.find(',', begin)) != std::string::npos; begin = comma + 1) {
    parts.push_back(text.substr(begin, comma - begin));
  }
  parts.push_back(text.substr(begin));
  return parts;
}

in_addr DeviceOf(const std::string& where, const std::string& text) {
  std::string problem;
  const auto address = find_device(text, &problem);
  if (!address) Fail(where + text, problem);
  return *address;
}

int Milliseconds(const std::string& text) {
  char* end = nullptr;
  const double seconds = strtod(text.c_str(), &end);
  const bool is_number =
      !text.empty() && *end == '\0' && text.find_first_of("xXnN") == std::string::npos;
  if (!is_number || !(seconds >= 0.001 && seconds <= kLongestWait)) {
    Fail("--wait " + text, "this is not a number of seconds from 0.001 to 600");
  }
  return static_cast<int>(std::lround(seconds * 1000));
}

class CArguments {
 public:
  explicit CArguments(const std::vector<std::string>& arguments) : m_Arguments(arguments) {}

  Options Parse() {
    while (m_iNext < m_Arguments.size() && !IsAnswered()) {
      const std::string& argument = m_Arguments[m_iNext++];
      const bool is_option = !m_bNoMoreOptions && argument.size() > 1 && argument[0] == '-';
      if (is_option) {
        TakeOption(argument);
      } else {
        TakeWord(argument);
      }
    }
    if (!IsAnswered()) Check();
    return m_Options;
  }

 private:
  bool IsAnswered() const { return m_Options.help || m_Options.version; }
  bool Registers() const {
    return m_Options.command == Command::kRegister || m_Options.command == Command::kUnregister;
  }

  void TakeWord(const std::string& word) {
    if (m_Options.command == Command::kNone) {
      const auto found = kCommands.find(word);
      if (found == kCommands.end()) {
        Fail(word, "unknown command (list, register, unregister or explain)");
      }
      m_Options.command = found->second;
    } else if (Registers()) {
      m_Options.scanners.push_back(DeviceOf("", word));
    } else {
      Fail(word, "this command takes no words besides its options");
    }
  }

  void TakeOption(const std::string& argument) {
    const size_t equals = argument.find('=');
    m_sName = argument.substr(0, equals);
    m_bHasValue = equals != std::string::npos;
    m_sValue = m_bHasValue ? argument.substr(equals + 1) : "";
    if (!TakeFlag() && !TakePlace() && !TakeValue()) Fail(m_sName, "unknown option");
    m_Used.push_back(m_sName);
  }

  bool TakeFlag() {
    const bool is_list = m_Options.command == Command::kList;
    if (m_sName == "--help" || m_sName == "-h") {
      m_Options.help = true;
    } else if (m_sName == "--version") {
      m_Options.version = true;
    } else if (m_sName == "--") {
      m_bNoMoreOptions = true;
    } else if (m_sName == "--each-interface" && m_Options.command != Command::kNone) {
      m_Options.places.eachInterface = true;
    } else if (m_sName == "--all" && Registers()) {
      m_Options.all = true;
    } else if ((m_sName == "--json" || m_sName == "--csv") && is_list) {
      TakeFormat();
    } else {
      return false;
    }
    if (m_bHasValue) Fail(m_sName, "it takes no value");
    return true;
  }

  void TakeFormat() {
    const Format format = m_sName == "--json" ? Format::kJson : Format::kCsv;
    if (m_Options.format != Format::kTable && m_Options.format != format) {
      Fail(m_sName, "--json and --csv do not go together");
    }
    m_Options.format = format;
  }

  bool TakePlace() {
    if (m_Options.command == Command::kNone) return false;
    if (m_sName == "--address") {
      for (const std::string& part : Parts(Value())) {
        m_Options.places.addresses.push_back(DeviceOf("--address ", part));
      }
    } else if (m_sName == "--interface") {
      for (const std::string& part : Parts(Value())) {
        if (part.empty()) Fail(m_sName, "the interface has no name");
        m_Options.places.interfaces.push_back(part);
      }
    } else {
      return false;
    }
    return true;
  }

  bool TakeValue() {
    if (m_Options.command == Command::kNone) return false;
    if (m_sName == "--wait") {
      m_Options.wait = Milliseconds(Value());
    } else if (m_sName == "--trace") {
      m_Options.traceFile = Value();
      if (m_Options.traceFile.empty()) Fail(m_sName, "the file has no name");
    } else if (m_sName == "--name" && Registers()) {
      m_Options.name = Value();
      if (m_Options.name.empty()) Fail(m_sName, "the name is empty");
    } else {
      return false;
    }
    return true;
  }

  std::string Value() {
    if (m_bHasValue) return m_sValue;
    if (m_iNext == m_Arguments.size()) Fail(m_sName, "it needs a value");
    return m_Arguments[m_iNext++];
  }

  void Check() const {
    if (m_Options.command == Command::kNone) {
      Fail("no command", "list, register, unregister or explain");
    }
    if (!Registers()) return;
    if (m_Options.all) {
      if (!m_Options.scanners.empty()) Fail("--all", "it does not go together with addresses");
      return;
    }
    if (m_Options.scanners.empty()) Fail("no scanner", "give addresses, or --all");
    for (const char* name : {"--address", "--interface", "--each-interface"}) {
      if (std::find(m_Used.begin(), m_Used.end(), name) == m_Used.end()) continue;
      Fail(name, "it says where to look for all scanners and needs --all");
    }
  }

  const std::vector<std::string>& m_Arguments;
  size_t m_iNext = 0;
  Options m_Options;
  bool m_bNoMoreOptions = false;
  std::vector<std::string> m_Used;

  // The option being taken; a value that came with it as "--name=value".
  std::string m_sName;
  bool m_bHasValue = false;
  std::string m_sValue;
};

}  // namespace

Options parse_options(const std::vector<std::string>& arguments) {
  return CArguments(arguments).Parse();
}
