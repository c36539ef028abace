// The command that finds out why no scanner shows up.
#include <cstdio>

#include "dvx-probe/commands.h"
#include "dvx-probe/explanation.h"

int explain_command(const Options& options, const Network& network) {
  const Facts facts = find_facts(options.places, network);
  const std::vector<Finding> findings = findings_of(facts);
  network.progress->Clear();
  fputs(explanation_text(facts, findings).c_str(), stdout);
  return findings.empty() ? kAllWell : kSomethingWrong;
}
