// Readers of the values of scenario keys.
#include "tools/scanner-sim/key_rows.h"
#include "tools/scanner-sim/text.h"

Problem read_number(const std::string& text, int low, int high, int* value) {
  const auto number = parse_number(text, low, high);
  if (!number)
    return quoted(text) + " is not a number from " + std::to_string(low) + " to " +
           std::to_string(high);
  *value = static_cast<int>(*number);
  return "";
}

Problem read_yes_no(const std::string& text, bool* value) {
  const auto flag = parse_yes_no(text);
  if (!flag) return quoted(text) + " is neither yes nor no";
  *value = *flag;
  return "";
}

Problem read_hex(const std::string& text, Bytes* value) {
  auto bytes = from_hex(trimmed(text));
  if (!bytes) return quoted(text) + " is not a row of pairs of hexadecimal digits";
  *value = std::move(*bytes);
  return "";
}

Problem read_hex_byte(const std::string& text, uint8_t* value) {
  const auto byte = parse_hex_byte(text);
  if (!byte) return quoted(text) + " is not one pair of hexadecimal digits";
  *value = static_cast<uint8_t>(*byte);
  return "";
}

Problem read_range(const std::string& text, int high, NumberRange* value) {
  const size_t dash = text.find('-', 1);
  const std::string first = text.substr(0, dash);
  const std::string last = dash == std::string::npos ? first : text.substr(dash + 1);
  const auto from = parse_number(first, 0, high);
  const auto to = parse_number(last, 0, high);
  if (!from || !to || *from > *to)
    return quoted(text) + " is neither a number from 0 to " + std::to_string(high) +
           " nor two of them in rising order with a dash between them";
  *value = {static_cast<int>(*from), static_cast<int>(*to)};
  return "";
}

Problem read_address(const std::string& text, Ipv4* value) {
  const auto address = parse_ipv4(trimmed(text));
  const bool usable = address && (*address >> 24) != 0 && (*address >> 28) < 0xE;
  if (!usable) return quoted(text) + " is not the IPv4 address of a host";
  *value = *address;
  return "";
}
