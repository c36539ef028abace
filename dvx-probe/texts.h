// Texts from the network, made fit for terminals and files.
#pragma once

#include <string>

// Valid UTF-8 without control characters, which stand as "?": a scanner's name is not to move the
// cursor or to change the colours.
std::string shown_text(const std::string& text);

// The columns that a shown text takes on a terminal.
size_t columns(const std::string& text);

// The text filled up with blanks.
std::string padded(const std::string& text, size_t width);

// As a JSON string, quotes included (RFC 8259).
std::string json_text(const std::string& text);

// As a field of a CSV file (RFC 4180).
std::string csv_field(const std::string& text);
