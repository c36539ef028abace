// Small readers of texts that stand in scenario files and on the command line.
#include "tools/scanner-sim/text.h"

#include <glib.h>

#include <cerrno>
#include <cstdlib>

#include "tools/scanner-sim/bytes.h"

std::string trimmed(const std::string& text) {
  const char* const blanks = " \t\r";
  const size_t first = text.find_first_not_of(blanks);
  if (first == std::string::npos) return "";
  return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::vector<std::string> split_words(const std::string& text) {
  const char* const separators = " \t\r,;";
  std::vector<std::string> words;
  size_t start = text.find_first_not_of(separators);
  while (start != std::string::npos) {
    const size_t end = text.find_first_of(separators, start);
    words.push_back(text.substr(start, end - start));
    start = text.find_first_not_of(separators, end);
  }
  return words;
}

std::optional<int64_t> parse_number(const std::string& text, int64_t low, int64_t high) {
  const std::string digits = trimmed(text);
  const bool negative = !digits.empty() && digits[0] == '-';
  const size_t first = negative ? 1 : 0;
  if (digits.size() == first || digits.find_first_not_of("0123456789", first) != std::string::npos)
    return std::nullopt;
  errno = 0;
  const int64_t value = std::strtoll(digits.c_str(), nullptr, 10);
  if (errno != 0 || value < low || value > high) return std::nullopt;
  return value;
}

std::optional<int> parse_hex_byte(const std::string& text) {
  const auto bytes = from_hex(trimmed(text));
  if (!bytes || bytes->size() != 1) return std::nullopt;
  return (*bytes)[0];
}

std::optional<bool> parse_yes_no(const std::string& text) {
  const std::string word = trimmed(text);
  if (word == "yes") return true;
  if (word == "no") return false;
  return std::nullopt;
}

std::string with_number(const std::string& text, int number) {
  static const std::string kPlace = "{n}";
  std::string result = text;
  size_t at = 0;
  while ((at = result.find(kPlace, at)) != std::string::npos) {
    const std::string digits = std::to_string(number);
    result.replace(at, kPlace.size(), digits);
    at += digits.size();
  }
  return result;
}

std::string quoted(const std::string& text) { return "\"" + text + "\""; }

std::string printable(const std::string& text) {
  std::string result = text;
  const char* end = nullptr;
  for (size_t start = 0; start < text.size(); start = static_cast<size_t>(end - text.data()) + 1) {
    g_utf8_validate(text.data() + start, static_cast<gssize>(text.size() - start), &end);
    if (end != text.data() + text.size()) result[static_cast<size_t>(end - text.data())] = '?';
  }
  for (char& c : result)
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) c = '?';
  return result;
}
