// Fuzz target: a name for this computer, its repair and the filter of the entry that takes it.
//
// Input: the flags of the filter's rule, whether there is an allowed text and its length, that
// text, this computer's own name with its length in front, then the name.
#include <unistd.h>

#include <cctype>

#include "tests/fuzz/fuzz_target.h"
#include "ui/input_filter.h"
#include "ui/settings/host_name.h"

namespace {

using fuzz::Block;
using fuzz::Require;

constexpr size_t kMostName = 511;  // the longest value of the settings file

std::string computer_name;

bool IsAscii(const std::string& text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return (c & 0x80) == 0; });
}

bool HasOnly(const std::string& text, const char* characters) {
  return text.find_first_not_of(characters) == std::string::npos;
}

bool IsContainedInOrder(const std::string& part, const std::string& whole) {
  size_t at = 0;
  for (const char c : part) {
    at = whole.find(c, at);
    if (at == std::string::npos) return false;
    ++at;
  }
  return true;
}

// The repaired form of a name in a field that is filled with `behind` behind it.
std::string RepairedIn(const std::string& name, const std::string& behind) {
  std::vector<char> field(std::max(name.size() + 1, kHostnameSize));
  for (size_t i = 0; i < field.size(); ++i) field[i] = behind[i % behind.size()];
  std::copy(name.c_str(), name.c_str() + name.size() + 1, field.begin());
  const Block<char> block(field);
  RepairHostName(block.data());
  return block.data();
}

std::string Repaired(const std::string& name) {
  std::string repaired = RepairedIn(name, "~");
  // A character that the end of the name cuts off must not be completed from what stands there.
  for (const char* behind : {"", "x", "xx", "xxx"}) {
    const std::string texts(behind, strlen(behind) + 1);
    Require(RepairedIn(name, texts) == repaired, "what stands behind the name does not matter");
  }
  return repaired;
}

void TryRepair(const std::string& name) {
  const std::string repaired = Repaired(name);
  const std::string own = computer_name.substr(0, kHostnameSize - 1);
  const std::string& start = name.empty() ? own : name;
  Require(HasOnly(repaired, kNameCharacters), "a repaired name has allowed characters only");
  Require(repaired.size() < kHostnameSize || repaired == name, "a repaired name fits its field");
  if (start.empty()) Require(repaired == "Linux-PC", "a computer without a name has this one");
  if (IsAscii(start) && !start.empty()) {
    Require(IsContainedInOrder(repaired, start), "the characters keep their order");
    if (HasOnly(start, kNameCharacters)) Require(repaired == start, "a good name stays");
  }
  if (!repaired.empty()) Require(Repaired(repaired) == repaired, "a repaired name needs no repair");
  const auto length = static_cast<int>(repaired.size());
  Require(!HoldsWideCharacter(repaired.c_str(), length) &&
              FilterInput(INPUT_FILTER | INPUT_ALLOWED, kNameCharacters, repaired.c_str(),
                          length) == repaired,
          "the entry takes a repaired name");
}

bool PlainAllows(unsigned int rule, const std::string* allowed, char c) {
  const auto byte = static_cast<unsigned char>(c);
  const bool is_digit = byte >= '0' && byte <= '9';
  const bool is_letter = (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z');
  return ((rule & 0x1) != 0 && is_digit) || ((rule & 0x2) != 0 && (is_digit || is_letter)) ||
         ((rule & 0x10) != 0 && c != '/') ||
         (allowed != nullptr && (((rule & 0x20) != 0 && allowed->find(c) != std::string::npos) ||
                                 ((rule & 0x10000000) != 0 && byte >= 0x21 && byte <= 0x7D)));
}

unsigned int RuleOf(unsigned char flags) {
  return INPUT_FILTER | (flags & 0x33U) | ((flags & 0x80U) != 0 ? 0x10000000U : 0U);
}

// What the entry inserts of a text of which it knows the length and not where it ends.
void TryFilter(unsigned int rule, const std::string* allowed, const std::string& text) {
  const Block<char> block(std::vector<char>(text.begin(), text.end()));
  const auto length = static_cast<int>(text.size());
  Require(HoldsWideCharacter(block.data(), -1) && HoldsWideCharacter(nullptr, length),
          "texts without a length are refused");
  const bool is_wide = HoldsWideCharacter(block.data(), length);
  if (IsAscii(text)) Require(!is_wide, "ASCII is not wide");
  if (is_wide) return;
  const char* set = allowed != nullptr ? allowed->c_str() : nullptr;
  const std::string valid = FilterInput(rule, set, block.data(), length);
  std::string expected;
  for (const char c : text) {
    if (PlainAllows(rule, allowed, c)) expected += c;
  }
  Require(valid == expected, "what is inserted is what the rule allows");
  Require(FilterInput(rule, set, valid.c_str(), static_cast<int>(valid.size())) == valid,
          "what is inserted passes the filter");
}

}  // namespace

extern "C" int __wrap_gethostname(char* name, size_t size) {
  if (computer_name.empty()) return -1;
  memset(name, 0, size);
  computer_name.copy(name, size - 1);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::Input input(data, size);
  const unsigned int rule = RuleOf(input.Byte());
  const int allowed_length = input.Byte();
  const std::string allowed = input.Text(static_cast<size_t>(allowed_length));
  computer_name = input.Text(input.Byte());
  const std::string name = input.Text(kMostName);
  TryFilter(rule, allowed_length > 0 ? &allowed : nullptr, name);
  TryRepair(name);
  return 0;
}
