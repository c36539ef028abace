// Small readers of texts that stand in scenario files and on the command line.
#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

// A scenario or command line that cannot be used. The message is complete: it names the place
// ("FILE:LINE: ..." or "--option: ...") and the problem.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Without the blanks and tabs at both ends.
std::string trimmed(const std::string& text);

// The words of a text; blanks, commas and semicolons separate them.
std::vector<std::string> split_words(const std::string& text);

// A decimal number from low to high, or nothing.
std::optional<int64_t> parse_number(const std::string& text, int64_t low, int64_t high);

// One byte as two hexadecimal digits, or nothing.
std::optional<int> parse_hex_byte(const std::string& text);

// "yes" or "no", or nothing.
std::optional<bool> parse_yes_no(const std::string& text);

// The text with every "{n}" replaced by the number.
std::string with_number(const std::string& text, int number);

// The text in double quotes, as messages show it.
std::string quoted(const std::string& text);

// The text with a "?" for every control character and everything that is not UTF-8, so that names
// from the network can be shown on a terminal.
std::string printable(const std::string& text);
