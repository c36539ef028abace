// Makes debug lines comparable whose source line is free to change.
#pragma once

#include <regex>
#include <string>
#include <vector>

// Replaces the source line's number at the start of each debug line by "#". A line that does not
// start with "[function(number)]: " stays as it is.
inline std::vector<std::string> WithoutNumbers(std::vector<std::string> lines) {
  static const std::regex number(R"(^(\[[A-Za-z_]\w*\()[1-9][0-9]*(\)\]: ))");
  for (std::string& line : lines) line = std::regex_replace(line, number, "$1#$2");
  return lines;
}
