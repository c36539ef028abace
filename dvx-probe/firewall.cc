// The firewall of this computer, as far as it lets itself be seen.
#include "dvx-probe/firewall.h"

#include <fstream>
#include <set>
#include <sstream>

#include "dvx-probe/run_program.h"

namespace {

constexpr char kUfwSwitch[] = "/etc/ufw/ufw.conf";

struct Chain {
  std::string table;
  std::string name;
  std::string body;
};

std::vector<std::string> Words(const std::string& line) {
  std::istringstream stream(line);
  std::vector<std::string> words;
  for (std::string word; stream >> word;) words.push_back(word);
  return words;
}

bool Has(const std::vector<std::string>& words, const std::string& word) {
  for (const std::string& item : words) {
    if (item == word || item == word + ";") return true;
  }
  return false;
}

// The chains of "nft list ruleset": a line opens a table or a chain, a line "}" closes it.
std::vector<Chain> ChainsOf(const std::string& ruleset) {
  std::vector<Chain> chains;
  std::string table;
  bool in_chain = false;
  std::istringstream lines(ruleset);
  for (std::string line; std::getline(lines, line);) {
    const std::vector<std::string> words = Words(line);
    if (words.size() == 4 && words[0] == "table" && words[3] == "{") {
      table = words[1] + " " + words[2];
    } else if (words.size() == 3 && words[0] == "chain" && words[2] == "{") {
      chains.push_back({table, words[1], ""});
      in_chain = true;
    } else if (words.size() == 1 && words[0] == "}") {
      in_chain = false;
    } else if (in_chain) {
      chains.back().body += line + "\n";
    }
  }
  return chains;
}

class CNftRules {
 public:
  explicit CNftRules(const std::string& ruleset) : m_Chains(ChainsOf(ruleset)) {}

  const Chain* FindDropping() const {
    for (const Chain& chain : m_Chains) {
      const bool ipv4 = chain.table.rfind("ip ", 0) == 0 || chain.table.rfind("inet ", 0) == 0;
      if (!ipv4 || chain.body.find("type filter hook input ") == std::string::npos) continue;
      std::set<std::string> visited;
      if (MayDrop(chain, &visited)) return &chain;
    }
    return nullptr;
  }

 private:
  bool MayDrop(const Chain& chain, std::set<std::string>* visited) const {
    if (!visited->insert(chain.name).second) return false;
    std::istringstream lines(chain.body);
    for (std::string line; std::getline(lines, line);) {
      const std::vector<std::string> words = Words(line);
      if (Has(words, "drop") || Has(words, "reject")) return true;
      if (LeadsToDrop(chain.table, words, visited)) return true;
    }
    return false;
  }

  bool LeadsToDrop(const std::string& table, const std::vector<std::string>& words,
                   std::set<std::string>* visited) const {
    for (size_t i = 0; i + 1 < words.size(); ++i) {
      if (words[i] != "jump" && words[i] != "goto") continue;
      for (const Chain& chain : m_Chains) {
        const bool is_target = chain.table == table && chain.name == words[i + 1];
        if (is_target && MayDrop(chain, visited)) return true;
      }
    }
    return false;
  }

  const std::vector<Chain> m_Chains;
};

bool UfwIsOn() {
  std::ifstream file(kUfwSwitch);
  for (std::string line; std::getline(file, line);) {
    if (line == "ENABLED=yes") return true;
  }
  return false;
}

}  // namespace

std::optional<Firewall> find_in_nft(const std::string& ruleset) {
  const CNftRules rules(ruleset);
  const Chain* chain = rules.FindDropping();
  if (chain == nullptr) return std::nullopt;
  Firewall firewall;
  firewall.readable = true;
  firewall.where = "table " + chain->table + ", chain " + chain->name;
  firewall.table = chain->table;
  firewall.chain = chain->name;
  // That is the table which the newer iptables keeps its rules in.
  const bool by_iptables = chain->table == "ip filter" && chain->name == "INPUT";
  firewall.kind = by_iptables ? FirewallKind::kIptables : FirewallKind::kNftables;
  return firewall;
}

std::optional<Firewall> find_in_iptables(const std::string& rules) {
  std::istringstream lines(rules);
  for (std::string line; std::getline(lines, line);) {
    const std::vector<std::string> words = Words(line);
    const bool policy = words.size() > 1 && words[0] == ":INPUT" && words[1] == "DROP";
    const bool rule = words.size() > 2 && words[0] == "-A" && words[1] == "INPUT" &&
                      (Has(words, "DROP") || Has(words, "REJECT"));
    if (!policy && !rule) continue;
    Firewall firewall;
    firewall.kind = FirewallKind::kIptables;
    firewall.readable = true;
    firewall.where = policy ? "chain INPUT, policy DROP" : "chain INPUT: " + line;
    return firewall;
  }
  return std::nullopt;
}

Firewall look_at_firewall() {
  const auto firewalld = output_of({"firewall-cmd", "--state"});
  if (firewalld) return {FirewallKind::kFirewalld, true, "firewalld is running", "", ""};
  if (UfwIsOn()) return {FirewallKind::kUfw, true, "ufw is enabled", "", ""};
  const auto nft = output_of({"nft", "--stateless", "list", "ruleset"});
  if (nft) {
    if (const auto found = find_in_nft(*nft)) return *found;
  }
  const auto iptables = output_of({"iptables-save", "-t", "filter"});
  if (iptables) {
    if (const auto found = find_in_iptables(*iptables)) return *found;
  }
  Firewall none;
  none.readable = nft.has_value() || iptables.has_value();
  return none;
}

std::vector<std::string> opening_commands(const Firewall& firewall, const std::string& network) {
  switch (firewall.kind) {
    case FirewallKind::kFirewalld:
      return {"sudo firewall-cmd --permanent --add-source-port=161/udp",
              "sudo firewall-cmd --reload"};
    case FirewallKind::kUfw:
      return {"sudo ufw allow proto udp from " + network + " port 161 to any"};
    case FirewallKind::kNftables:
      return {"sudo nft insert rule " + firewall.table + " " + firewall.chain + " ip saddr " +
              network + " udp sport 161 accept"};
    case FirewallKind::kIptables:
      return {"sudo iptables -I INPUT -s " + network + " -p udp --sport 161 -j ACCEPT"};
    case FirewallKind::kNone:
      break;
  }
  return {};
}
