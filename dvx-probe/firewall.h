// The firewall of this computer, as far as it lets itself be seen.
#pragma once

#include <optional>
#include <string>
#include <vector>

enum class FirewallKind { kNone, kFirewalld, kUfw, kNftables, kIptables };

struct Firewall {
  FirewallKind kind = FirewallKind::kNone;
  bool readable = false;  // its rules were read, or it was found that there are none
  std::string where;      // the part of the rules that may drop: "table inet filter, chain input"
  std::string table;      // nftables: "inet filter"
  std::string chain;      // nftables: "input"
};

// Looks for a firewall that may drop what comes in. Rules can be read by root only; firewalld and
// ufw show to everybody whether they are on.
Firewall look_at_firewall();

// The commands that let answers of scanners from that network ("10.77.0.0/16") in. Empty when it is
// not known which firewall there is.
std::vector<std::string> opening_commands(const Firewall& firewall, const std::string& network);

// Finds, in the output of "nft list ruleset", a chain for incoming packets that may drop some.
std::optional<Firewall> find_in_nft(const std::string& ruleset);

// The same in the output of "iptables-save".
std::optional<Firewall> find_in_iptables(const std::string& rules);
