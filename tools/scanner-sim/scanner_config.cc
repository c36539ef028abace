// Everything that can be set about one simulated scanner.
#include "tools/scanner-sim/scanner_config.h"

#include "tools/scanner-sim/text.h"

namespace {

const char* const kQuestionNames[kQuestionCount] = {
    "discovery", "model", "vendor", "name", "mac", "other", "register", "unregister",
};

struct Office {
  const char* name;
  const char* model;
};

const Office kOffices[] = {
    {"Reception", "T55_E"}, {"Accounting", "T35_E"},    {"Mail-Room", "T90_J"},
    {"Archive", "F220_U"},  {"Drawing-Office", "A3_E"}, {"Warehouse", "S18"},
};
constexpr int kOfficeCount = sizeof kOffices / sizeof kOffices[0];

}  // namespace

const char* question_name(Question question) {
  return kQuestionNames[static_cast<size_t>(question)];
}

std::optional<Question> parse_question(const std::string& text) {
  for (size_t i = 0; i < kQuestionCount; ++i)
    if (text == kQuestionNames[i]) return static_cast<Question>(i);
  return std::nullopt;
}

bool is_snmp_question(Question question) { return question < Question::kRegister; }

bool operator==(const Computer& a, const Computer& b) {
  return a.name == b.name && a.address == b.address && a.mac == b.mac;
}

std::string computer_text(const Computer& computer) {
  return printable(computer.name) + " (" + ipv4_text(computer.address) + ", " +
         mac_text(computer.mac) + ")";
}

Mac ScannerConfig::HardwareAddress() const {
  if (mac) return *mac;
  return {0x02,
          0x56,
          0x53,
          0x00,
          static_cast<uint8_t>((address >> 8) & 0xFF),
          static_cast<uint8_t>(address & 0xFF)};
}

ScannerConfig usual_scanner(int number) {
  const Office& office = kOffices[(number - 1) % kOfficeCount];
  const int round = (number - 1) / kOfficeCount + 1;
  ScannerConfig config;
  config.name = office.name;
  if (round > 1) config.name += "-" + std::to_string(round);
  config.label = config.name;
  config.model = office.model;
  config.seed = static_cast<uint32_t>(number);
  return config;
}
