// Tests of what dvx-probe finds in firewalls' rules.
#include <gtest/gtest.h>

#include "dvx-probe/firewall.h"

namespace {

const char kForwardOnly[] = R"(table inet filter {
	chain forward {
		type filter hook forward priority filter; policy drop;
	}
	chain input {
		type filter hook input priority filter; policy accept;
		tcp dport 22 accept
	}
}
)";

TEST(NftRules, AChainThatDropsByPolicyIsFound) {
  const auto found = find_in_nft(
      "table inet filter {\n\tchain input {\n"
      "\t\ttype filter hook input priority filter; policy drop;\n\t}\n}\n");
  ASSERT_TRUE(found);
  EXPECT_EQ(found->kind, FirewallKind::kNftables);
  EXPECT_EQ(found->where, "table inet filter, chain input");
  EXPECT_EQ(opening_commands(*found, "10.77.0.0/16"),
            std::vector<std::string>{"sudo nft insert rule inet filter input ip saddr 10.77.0.0/16 "
                                     "udp sport 161 accept"});
}

TEST(NftRules, ADropBehindJumpsIsFound) {
  const auto found = find_in_nft(
      "table ip guard {\n\tchain in {\n\t\ttype filter hook input priority 0; policy accept;\n"
      "\t\tip protocol udp jump one\n\t}\n\tchain one {\n\t\tgoto two\n\t}\n"
      "\tchain two {\n\t\tjump one\n\t\tcounter packets 0 bytes 0 reject\n\t}\n}\n");
  ASSERT_TRUE(found);
  EXPECT_EQ(found->where, "table ip guard, chain in");
}

TEST(NftRules, OtherHooksAndOtherFamiliesDoNotCount) {
  EXPECT_FALSE(find_in_nft(kForwardOnly));
  EXPECT_FALSE(
      find_in_nft("table ip6 filter {\n\tchain input {\n"
                  "\t\ttype filter hook input priority 0; policy drop;\n\t}\n}\n"));
  EXPECT_FALSE(find_in_nft(""));
}

TEST(NftRules, AJumpDoesNotLeadToAChainOfTheSameNameInAnotherTable) {
  EXPECT_FALSE(find_in_nft(
      "table ip a {\n\tchain in {\n\t\ttype filter hook input priority 0; policy accept;\n"
      "\t\tjump more\n\t}\n\tchain more {\n\t\taccept\n\t}\n}\n"
      "table ip b {\n\tchain more {\n\t\tdrop\n\t}\n}\n"));
}

TEST(NftRules, TheTableThatIptablesKeepsIsOpenedWithIptables) {
  const auto found = find_in_nft(
      "table ip filter {\n\tchain INPUT {\n"
      "\t\ttype filter hook input priority filter; policy drop;\n\t}\n}\n");
  ASSERT_TRUE(found);
  EXPECT_EQ(opening_commands(*found, "192.168.1.0/24"),
            std::vector<std::string>{
                "sudo iptables -I INPUT -s 192.168.1.0/24 -p udp --sport 161 -j ACCEPT"});
}

TEST(IptablesRules, APolicyAndARuleThatDropAreFound) {
  const auto policy =
      find_in_iptables("*filter\n:INPUT DROP [0:0]\n:FORWARD ACCEPT [0:0]\nCOMMIT\n");
  ASSERT_TRUE(policy);
  EXPECT_EQ(policy->where, "chain INPUT, policy DROP");
  const auto rule = find_in_iptables(
      "*filter\n:INPUT ACCEPT [0:0]\n-A INPUT -m conntrack --ctstate ESTABLISHED -j ACCEPT\n"
      "-A INPUT -j REJECT --reject-with icmp-host-prohibited\nCOMMIT\n");
  ASSERT_TRUE(rule);
  EXPECT_EQ(rule->where, "chain INPUT: -A INPUT -j REJECT --reject-with icmp-host-prohibited");
}

TEST(IptablesRules, ThoseForOtherChainsDoNotCount) {
  EXPECT_FALSE(
      find_in_iptables("*filter\n:INPUT ACCEPT [0:0]\n:FORWARD DROP [0:0]\n"
                       "-A FORWARD -j DROP\nCOMMIT\n"));
}

TEST(Opening, FirewallsOfDesktopsHaveTheirOwnCommands) {
  Firewall firewall;
  firewall.kind = FirewallKind::kFirewalld;
  EXPECT_EQ(opening_commands(firewall, "10.0.0.0/8"),
            (std::vector<std::string>{"sudo firewall-cmd --permanent --add-source-port=161/udp",
                                      "sudo firewall-cmd --reload"}));
  firewall.kind = FirewallKind::kUfw;
  EXPECT_EQ(opening_commands(firewall, "10.0.0.0/8"),
            std::vector<std::string>{"sudo ufw allow proto udp from 10.0.0.0/8 port 161 to any"});
  firewall.kind = FirewallKind::kNone;
  EXPECT_TRUE(opening_commands(firewall, "10.0.0.0/8").empty());
}

}  // namespace
