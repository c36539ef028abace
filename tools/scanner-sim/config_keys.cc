// The keys that set something about a scanner, in scenario files and with --set.
#include "tools/scanner-sim/config_keys.h"

#include "tools/scanner-sim/key_rows.h"
#include "tools/scanner-sim/text.h"

namespace {

const char kObjectPrefix[] = "object.";
constexpr size_t kObjectPrefixSize = sizeof kObjectPrefix - 1;

bool IsObjectKey(const std::string& key) {
  return key.compare(0, kObjectPrefixSize, kObjectPrefix) == 0;
}

// A key taken apart.
struct ParsedKey {
  const KeyRow* row = nullptr;  // null: an object
  std::optional<Question> question;
  Oid object;
};

[[noreturn]] void Fail(const Setting& setting, const std::string& problem) {
  throw UsageError(setting.where + ": " + problem);
}

const KeyRow* FindRow(const std::string& name) {
  for (const auto* rows : {&scanner_keys(), &answer_keys()})
    for (const KeyRow& row : *rows)
      if (name == row.name) return &row;
  return nullptr;
}

Question ParseKeyQuestion(const Setting& setting, const KeyRow& row, const std::string& text) {
  if (row.scope == KeyScope::kScanner)
    Fail(setting, quoted(row.name) + " is about the whole scanner and takes no \"." + text + "\"");
  const auto question = parse_question(text);
  if (!question) {
    Fail(setting, quoted(text) +
                      " is not a question (discovery, model, vendor, name, mac, other, register or "
                      "unregister)");
  }
  if (row.scope == KeyScope::kSnmpAnswer && !is_snmp_question(*question))
    Fail(setting, quoted(row.name) + " is about SNMP and does not apply to " + quoted(text));
  return *question;
}

ParsedKey ParseKey(const Setting& setting) {
  ParsedKey key;
  if (IsObjectKey(setting.key)) {
    const auto oid = parse_oid(setting.key.substr(kObjectPrefixSize));
    if (!oid) Fail(setting, quoted(setting.key) + " does not name an object (object.1.3.6.1...)");
    key.object = *oid;
    return key;
  }
  const size_t point = setting.key.find('.');
  key.row = FindRow(setting.key.substr(0, point));
  if (!key.row) Fail(setting, "unknown key " + quoted(setting.key));
  if (point != std::string::npos)
    key.question = ParseKeyQuestion(setting, *key.row, setting.key.substr(point + 1));
  return key;
}

Problem ApplyToAnswers(const ParsedKey& key, const std::string& value, ScannerConfig* config) {
  for (size_t i = 0; i < kQuestionCount; ++i) {
    const auto question = static_cast<Question>(i);
    if (key.question && *key.question != question) continue;
    if (key.row->scope == KeyScope::kSnmpAnswer && !is_snmp_question(question)) continue;
    Problem problem = key.row->setAnswer(&config->RulesFor(question), value);
    if (!problem.empty()) return problem;
  }
  return "";
}

void ApplySetting(const Setting& setting, int number, ScannerConfig* config) {
  const ParsedKey key = ParseKey(setting);
  const std::string value = with_number(setting.value, number);
  Problem problem;
  if (!key.row)
    problem = set_object(config, key.object, value);
  else if (key.row->setScanner)
    problem = key.row->setScanner(config, value);
  else
    problem = ApplyToAnswers(key, value, config);
  if (!problem.empty()) Fail(setting, setting.key + ": " + problem);
}

bool IsForOneQuestion(const Setting& setting) {
  return !IsObjectKey(setting.key) && setting.key.find('.') != std::string::npos;
}

}  // namespace

void require_known_key(const Setting& setting) { ParseKey(setting); }

void apply_settings(const std::vector<Setting>& settings, int number, ScannerConfig* config) {
  for (const bool for_one_question : {false, true})
    for (const Setting& setting : settings)
      if (IsForOneQuestion(setting) == for_one_question) ApplySetting(setting, number, config);
}

std::vector<KeyHelp> key_help() {
  std::vector<KeyHelp> help;
  for (const auto* rows : {&scanner_keys(), &answer_keys()})
    for (const KeyRow& row : *rows) help.push_back({row.name, row.scope, row.value, row.help});
  help.push_back({"object.OID", KeyScope::kScanner, "VALUE|none",
                  "a further object, or another value for a usual one; none takes it away"});
  return help;
}
