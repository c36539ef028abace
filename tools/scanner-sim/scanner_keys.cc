// The keys about a scanner as a whole.
#include <algorithm>
#include <climits>

#include "tools/scanner-sim/key_rows.h"
#include "tools/scanner-sim/text.h"

namespace {

Problem SetAddress(ScannerConfig* config, const std::string& text) {
  return read_address(text, &config->address);
}

Problem SetName(ScannerConfig* config, const std::string& text) {
  config->name = text;
  return "";
}

Problem SetModel(ScannerConfig* config, const std::string& text) {
  config->model = text;
  return "";
}

Problem SetVendor(ScannerConfig* config, const std::string& text) {
  config->vendor = text;
  return "";
}

Problem SetMac(ScannerConfig* config, const std::string& text) {
  const auto mac = parse_mac(trimmed(text));
  if (!mac) return quoted(text) + " is not a hardware address (six pairs like 02:56:53:00:00:65)";
  config->mac = *mac;
  return "";
}

Problem SetSuccessor(ScannerConfig* config, const std::string& text) {
  const auto oid = parse_oid(trimmed(text));
  if (!oid) return quoted(text) + " is not an object identifier";
  config->successor = *oid;
  return "";
}

Problem ValueProblem(const std::string& text) {
  return quoted(text) +
         " is not a value (string:TEXT, hex:BYTES, int:N, counter:N, gauge:N, ticks:N, "
         "address:A.B.C.D, oid:1.3.6, null, opaque:BYTES or tagXX:BYTES)";
}

Problem SetSuccessorValue(ScannerConfig* config, const std::string& text) {
  auto value = parse_value(text);
  if (!value) return ValueProblem(text);
  config->successorValue = std::move(*value);
  return "";
}

Problem SetCommunity(ScannerConfig* config, const std::string& text) {
  config->community = text;
  return "";
}

Problem SetSeed(ScannerConfig* config, const std::string& text) {
  int seed = 0;
  Problem problem = read_number(text, 0, INT_MAX, &seed);
  if (problem.empty()) config->seed = static_cast<uint32_t>(seed);
  return problem;
}

// Two hexadecimal digits, or "silence".
Problem ReadCode(const std::string& text, int* value) {
  uint8_t code = 0;
  if (text == "silence")
    *value = kNoReply;
  else if (read_hex_byte(text, &code).empty())
    *value = code;
  else
    return quoted(text) + " is neither a reply code (two hexadecimal digits) nor silence";
  return "";
}

Problem SetReplyCodes(ScannerConfig* config, const std::string& text) {
  std::vector<int> codes;
  for (const std::string& word : split_words(text)) {
    int code = kNoReply;
    Problem problem = ReadCode(word, &code);
    if (!problem.empty()) return problem;
    codes.push_back(code);
  }
  if (codes.empty()) return "there must be at least one reply code";
  config->replyCodes = codes;
  return "";
}

Problem SetReplyCodesCycle(ScannerConfig* config, const std::string& text) {
  return read_yes_no(text, &config->replyCodesCycle);
}

Problem SetWrongSequence(ScannerConfig* config, const std::string& text) {
  if (const auto flag = parse_yes_no(text)) {
    config->wrongSequence = *flag ? kAllReplies : 0;
    return "";
  }
  int count = 0;
  if (!read_number(text, 0, INT_MAX, &count).empty())
    return quoted(text) + " is neither yes, no nor a number of replies";
  config->wrongSequence = count;
  return "";
}

Problem SetReplyData(ScannerConfig* config, const std::string& text) {
  return read_hex(text, &config->replyData);
}

Problem SetReplyDataSize(ScannerConfig* config, const std::string& text) {
  int size = 0;
  Problem problem = read_number(text, 0, kLargestDatagram - 20, &size);
  if (!problem.empty()) return problem;
  config->replyData.resize(static_cast<size_t>(size));
  for (size_t i = 0; i < config->replyData.size(); ++i)
    config->replyData[i] = static_cast<uint8_t>(i & 0xFF);
  return "";
}

Problem SetReplyLength(ScannerConfig* config, const std::string& text) {
  int length = 0;
  Problem problem = read_number(text, 0, 255, &length);
  if (problem.empty()) config->replyLength = length;
  return problem;
}

Problem SetReplySignature(ScannerConfig* config, const std::string& text) {
  if (text.size() != 12) return quoted(text) + " does not have 12 bytes";
  config->replySignature = text;
  return "";
}

Problem SetReplyCategory(ScannerConfig* config, const std::string& text) {
  return read_hex_byte(text, &config->replyCategory);
}

Problem SetReplyStatus(ScannerConfig* config, const std::string& text) {
  return read_hex_byte(text, &config->replyStatus);
}

Problem SetUnregisterCode(ScannerConfig* config, const std::string& text) {
  return ReadCode(trimmed(text), &config->unregisterCode);
}

// "10.77.0.11 02:56:44:56:58:11 desk-11".
std::optional<Computer> ReadComputer(const std::string& text) {
  const size_t first = text.find(' ');
  const size_t second = first == std::string::npos ? first : text.find(' ', first + 1);
  if (second == std::string::npos) return std::nullopt;
  const auto address = parse_ipv4(text.substr(0, first));
  const auto mac = parse_mac(text.substr(first + 1, second - first - 1));
  if (!address || !mac) return std::nullopt;
  return Computer{text.substr(second + 1), *address, *mac};
}

Problem SetRegistered(ScannerConfig* config, const std::string& text) {
  std::vector<Computer> computers;
  size_t start = 0;
  while (start < text.size()) {
    const size_t end = std::min(text.find(';', start), text.size());
    const std::string item = trimmed(text.substr(start, end - start));
    const auto computer = ReadComputer(item);
    if (!computer) return quoted(item) + " is not ADDRESS MAC NAME";
    computers.push_back(*computer);
    start = end + 1;
  }
  config->registered = computers;
  return "";
}

}  // namespace

Problem set_object(ScannerConfig* config, const Oid& oid, const std::string& text) {
  if (text == "none") {
    config->objects[oid] = std::nullopt;
    return "";
  }
  auto value = parse_value(text);
  if (!value) return ValueProblem(text) + ", nor none";
  config->objects[oid] = std::move(value);
  return "";
}

const std::vector<KeyRow>& scanner_keys() {
  static const std::vector<KeyRow> kRows = {
      {"address", KeyScope::kScanner, SetAddress, nullptr, "A.B.C.D",
       "its IPv4 address (of the first one, when count makes several)"},
      {"name", KeyScope::kScanner, SetName, nullptr, "TEXT", "its system name"},
      {"model", KeyScope::kScanner, SetModel, nullptr, "TEXT", "its model text"},
      {"vendor", KeyScope::kScanner, SetVendor, nullptr, "TEXT", "its vendor text"},
      {"mac", KeyScope::kScanner, SetMac, nullptr, "XX:XX:XX:XX:XX:XX", "its hardware address"},
      {"community", KeyScope::kScanner, SetCommunity, nullptr, "TEXT",
       "the community that it answers (public); empty: every community"},
      {"successor", KeyScope::kScanner, SetSuccessor, nullptr, "OID",
       "the object that answers the search for scanners"},
      {"successor_value", KeyScope::kScanner, SetSuccessorValue, nullptr, "VALUE",
       "its value (int:1)"},
      {"registered", KeyScope::kScanner, SetRegistered, nullptr, "ADDRESS MAC NAME; ...",
       "the computers on its list at the start"},
      {"reply_codes", KeyScope::kScanner, SetReplyCodes, nullptr, "CODES",
       "the replies to register commands in turn, for instance D4 D4 C4 (not now, not now, done); "
       "silence for none; the last one stays"},
      {"reply_codes_cycle", KeyScope::kScanner, SetReplyCodesCycle, nullptr, "yes|no",
       "start over after the last reply code"},
      {"wrong_sequence", KeyScope::kScanner, SetWrongSequence, nullptr, "yes|no|N",
       "all replies, none, or the first N carry wrong sequence bytes"},
      {"reply_data", KeyScope::kScanner, SetReplyData, nullptr, "BYTES", "the data of replies"},
      {"reply_data_size", KeyScope::kScanner, SetReplyDataSize, nullptr, "N",
       "so many data bytes, counting up from 00"},
      {"reply_length", KeyScope::kScanner, SetReplyLength, nullptr, "N",
       "the length byte of replies, whatever their data"},
      {"reply_signature", KeyScope::kScanner, SetReplySignature, nullptr, "TEXT",
       "the 12 bytes at the start of replies"},
      {"reply_category", KeyScope::kScanner, SetReplyCategory, nullptr, "XX",
       "the category byte of replies (31)"},
      {"reply_status", KeyScope::kScanner, SetReplyStatus, nullptr, "XX",
       "the status byte of replies (00)"},
      {"unregister_code", KeyScope::kScanner, SetUnregisterCode, nullptr, "XX|silence",
       "the reply to unregister commands (silence)"},
      {"seed", KeyScope::kScanner, SetSeed, nullptr, "N",
       "the start of its random numbers (its number)"},
  };
  return kRows;
}
