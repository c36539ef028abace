// What was found out, as text for a terminal.
#pragma once

#include <string>
#include <vector>

#include "dvx-probe/facts.h"
#include "dvx-probe/findings.h"

// Everything that the command explain shows: this computer, the search, the scanners that the
// program shows, and the findings, in lines of at most 79 columns. Commands stay on one line each.
std::string explanation_text(const Facts& facts, const std::vector<Finding>& findings);
