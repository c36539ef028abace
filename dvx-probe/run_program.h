// Asking the programs of this system.
#pragma once

#include <optional>
#include <string>
#include <vector>

// The path of a program: in PATH, or in the folders of the administrator's programs, which an
// ordinary user's PATH lacks.
std::optional<std::string> find_program(const std::string& name);

// Runs a program and returns its standard output, when it ends well within five seconds. Its
// complaints are not shown.
std::optional<std::string> output_of(const std::vector<std::string>& command);
