// Tells people and tests which computers the scanners list.
#pragma once

#include <string>
#include <vector>

#include "tools/scanner-sim/scanner.h"

// "10.77.0.103  Mail-Room  Veltrana T90_J".
std::string scanner_line(const ScannerConfig& config);

// "10.77.0.103  Mail-Room  lists: desk-42 (10.77.0.10, 02:56:44:56:58:10)".
std::string list_line(const CScanner& scanner);

// {"scanners":[{"address":...,"scanner":...,"name":...,"model":...,"lists":[...]},...]} and a line
// feed; every scanner is in it, in the order of the scenario.
std::string lists_json(const std::vector<CScanner>& scanners);

// Writes a file so that a reader finds either its old or its new contents, never a part: a
// temporary file beside it takes its place. Throws RunError.
void replace_file(const std::string& name, const std::string& contents);
