// Which scanners are to be simulated: from a scenario file or from the simple options.
#include "tools/scanner-sim/scenario.h"

#include <map>

#include "tools/scanner-sim/key_file.h"
#include "tools/scanner-sim/snmp_agent.h"
#include "tools/scanner-sim/text.h"

namespace {

const char kScannerPrefix[] = "scanner ";

// A group of a scenario file, or the simple options, before its scanners are made.
struct ScannerGroup {
  std::string where;  // for problems of the group as a whole
  std::string label;  // empty: the usual names
  int count = 1;
  bool addressIsFirst = false;  // the address setting is that of the first of several
  std::vector<Setting> settings;
};

struct Scenario {
  Network network = kUsualNetwork;
  std::string networkWhere;
  std::vector<Setting> defaults;
  std::vector<ScannerGroup> groups;
};

[[noreturn]] void Fail(const std::string& where, const std::string& problem) {
  throw UsageError(where + ": " + problem);
}

// --- reading a file -----------------------------------------------------------------------------

std::string Place(const std::string& file, int line) { return file + ":" + std::to_string(line); }

void ReadNetwork(const Setting& setting, Scenario* scenario) {
  const auto network = parse_network(trimmed(setting.value));
  if (!network)
    Fail(setting.where, "network: " + quoted(setting.value) +
                            " is not a network (its lowest address and a prefix length from 1 to "
                            "30, like 10.77.0.0/24)");
  scenario->network = *network;
  scenario->networkWhere = setting.where;
}

void ReadDefaults(const std::vector<Setting>& settings, Scenario* scenario) {
  for (const Setting& setting : settings) {
    if (setting.key == "network") {
      ReadNetwork(setting, scenario);
      continue;
    }
    if (setting.key == "address" || setting.key == "count")
      Fail(setting.where, quoted(setting.key) + " belongs into a [scanner ...] group");
    require_known_key(setting);
    scenario->defaults.push_back(setting);
  }
}

void ReadCount(const Setting& setting, ScannerGroup* group) {
  const auto count = parse_number(setting.value, 1, kMostScanners);
  if (!count)
    Fail(setting.where, "count: " + quoted(setting.value) + " is not a number from 1 to " +
                            std::to_string(kMostScanners));
  group->count = static_cast<int>(*count);
}

ScannerGroup ReadScannerGroup(const std::string& where, const std::string& label,
                              const std::vector<Setting>& settings) {
  ScannerGroup group;
  group.where = where;
  group.label = label;
  for (const Setting& setting : settings) {
    if (setting.key == "count") {
      ReadCount(setting, &group);
      continue;
    }
    if (setting.key == "network") Fail(setting.where, "\"network\" belongs into [defaults]");
    if (setting.key == "address")
      group.addressIsFirst = setting.value.find("{n}") == std::string::npos;
    require_known_key(setting);
    group.settings.push_back(setting);
  }
  return group;
}

std::vector<Setting> SettingsOf(const std::string& file, const KeyFileGroup& group) {
  std::vector<Setting> settings;
  for (const KeyFileEntry& entry : group.entries)
    settings.push_back({Place(file, entry.line), entry.key, entry.value});
  return settings;
}

void ReadGroup(const std::string& file, const KeyFileGroup& group, Scenario* scenario) {
  const std::string where = Place(file, group.line);
  const size_t prefix = sizeof kScannerPrefix - 1;
  if (group.name == "defaults") {
    ReadDefaults(SettingsOf(file, group), scenario);
    return;
  }
  const bool is_scanner = group.name.compare(0, prefix, kScannerPrefix) == 0;
  const std::string label = is_scanner ? trimmed(group.name.substr(prefix)) : "";
  if (label.empty())
    Fail(where, "unknown group [" + group.name +
                    "], which is neither [defaults] nor "
                    "[scanner NAME]");
  scenario->groups.push_back(ReadScannerGroup(where, label, SettingsOf(file, group)));
}

Scenario ReadScenario(const std::string& file) {
  Scenario scenario;
  scenario.networkWhere = file;
  for (const KeyFileGroup& group : parse_key_file(file, read_text_file(file)))
    ReadGroup(file, group, &scenario);
  if (scenario.groups.empty()) Fail(file, "there is no group [scanner NAME] in it");
  return scenario;
}

Scenario UsualScenario(int count) {
  Scenario scenario;
  ScannerGroup group;
  group.where = scenario.networkWhere = "--scanners " + std::to_string(count);
  group.count = count;
  scenario.groups.push_back(group);
  return scenario;
}

// --- making the scanners ------------------------------------------------------------------------

bool IsMeant(const SetOption& option, size_t index, const std::string& label) {
  return option.scanner.empty() || option.scanner == label ||
         option.scanner == std::to_string(index + 1);
}

class CScannerMaker {
 public:
  CScannerMaker(const Scenario& scenario, const ScenarioRequest& request)
      : m_Scenario(scenario), m_Request(request) {}

  std::vector<ScannerConfig> Make() {
    for (const ScannerGroup& group : m_Scenario.groups)
      for (int n = 1; n <= group.count; ++n) m_Scanners.push_back(MakeOne(group, n));
    RequireMeantScanners();
    return std::move(m_Scanners);
  }

 private:
  ScannerConfig MakeOne(const ScannerGroup& group, int n) {
    const size_t index = m_Scanners.size();
    ScannerConfig config = usual_scanner(static_cast<int>(index) + 1);
    if (!group.label.empty()) {
      config.label = group.count == 1 ? group.label : group.label + "-" + std::to_string(n);
      config.name = config.label;
    }
    apply_settings(m_Scenario.defaults, n, &config);
    apply_settings(group.settings, n, &config);
    if (config.address != 0 && group.addressIsFirst) config.address += static_cast<Ipv4>(n - 1);
    const std::vector<Setting> from_options = OptionSettings(index, config.label);
    apply_settings(from_options, n, &config);
    config.seed += m_Request.seed;
    CompleteAddress(group, index, &config);
    Check(group, from_options, config);
    return config;
  }

  // The --set options for this scanner, those for every scanner first.
  std::vector<Setting> OptionSettings(size_t index, const std::string& label) {
    std::vector<Setting> settings;
    for (const bool for_one : {false, true})
      for (const SetOption& option : m_Request.settings)
        if (option.scanner.empty() != for_one && IsMeant(option, index, label))
          settings.push_back(option.setting);
    return settings;
  }

  // Gives the scanner the next address of the network unless it has one of its own.
  void CompleteAddress(const ScannerGroup& group, size_t index, ScannerConfig* config) {
    if (config->address == 0) {
      const Network& network = m_Scenario.network;
      const uint64_t address = static_cast<uint64_t>(network.base) + kFirstScanner + index;
      if (address >= network.Broadcast())
        Fail(m_Scenario.networkWhere,
             "the network " + ipv4_text(network.base) + "/" + std::to_string(network.prefix) +
                 " has no room for scanner " + std::to_string(index + 1) + " (" + config->label +
                 ", " + ipv4_text(static_cast<Ipv4>(address)) + ")");
      config->address = static_cast<Ipv4>(address);
    }
    const auto added = m_Owners.emplace(config->address, config->label);
    if (!added.second)
      Fail(group.where, config->label + " has the address " + ipv4_text(config->address) + " of " +
                            added.first->second);
  }

  void Check(const ScannerGroup& group, const std::vector<Setting>& from_options,
             const ScannerConfig& config) {
    const auto misfit = find_misfit(config);
    if (!misfit) return;
    Fail(PlaceOf(*misfit, group, from_options),
         config.label + ": the answer about " + question_name(misfit->question) +
             " cannot be sent: " + misfit->problem +
             ". Set length_form to state it in another form, which the program under test does "
             "not read");
  }

  // Where the text of an answer that does not fit comes from, as far as that can be told.
  std::string PlaceOf(const Misfit& misfit, const ScannerGroup& group,
                      const std::vector<Setting>& from_options) const {
    const std::string key = misfit.question == Question::kDiscovery
                                ? "successor_value"
                                : question_name(misfit.question);
    const std::string object = "object." + oid_text(misfit.object);
    for (const std::vector<Setting>* settings :
         {&from_options, &group.settings, &m_Scenario.defaults})
      for (const Setting& setting : *settings)
        if (setting.key == key || setting.key == object) return setting.where;
    return group.where;
  }

  // A --set for one scanner must have found it.
  void RequireMeantScanners() const {
    for (const SetOption& option : m_Request.settings) {
      bool found = false;
      for (size_t i = 0; i < m_Scanners.size(); ++i)
        found = found || IsMeant(option, i, m_Scanners[i].label);
      if (!found) Fail(option.setting.where, "there is no scanner " + quoted(option.scanner));
    }
  }

  const Scenario& m_Scenario;
  const ScenarioRequest& m_Request;
  std::vector<ScannerConfig> m_Scanners;
  std::map<Ipv4, std::string> m_Owners;
};

}  // namespace

std::vector<ScannerConfig> make_scanners(const ScenarioRequest& request) {
  Scenario scenario =
      request.file.empty() ? UsualScenario(request.count) : ReadScenario(request.file);
  if (request.network) scenario.network = *request.network;
  return CScannerMaker(scenario, request).Make();
}
