// Fuzz target: object identifiers as text, both ways, compared with a plain reading of the rules.
//
// Input: the stated length of the text (2 bytes, low byte first), the capacity of the array, the
// capacity of the text (2 bytes), then the text.
#include <optional>

#include "snmp/simple_pdu.h"
#include "tests/fuzz/fuzz_target.h"

namespace {

using fuzz::Block;
using fuzz::Require;
using Numbers = std::vector<uint64_t>;

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// The numbers of a text. The stated length ends the text only between two numbers; it is charged
// for every digit and every separator.
std::optional<Numbers> PlainNumbers(const std::string& text, int length, size_t capacity) {
  if (text.empty() || !IsDigit(text[0])) return std::nullopt;
  Numbers numbers;
  size_t at = 0;
  while (at < text.size() && static_cast<int>(at) <= length) {
    if (!IsDigit(text[at])) {
      ++at;
      continue;
    }
    uint64_t number = 0;
    for (; at < text.size() && IsDigit(text[at]); ++at) {
      number = number * 10 + static_cast<uint64_t>(text[at] - '0');
    }
    numbers.push_back(number);
    if (numbers.size() > capacity) return std::nullopt;
  }
  return numbers;
}

std::string PlainText(const Numbers& numbers) {
  std::string text;
  for (const uint64_t number : numbers) {
    if (!text.empty()) text += '.';
    text += std::to_string(static_cast<uint32_t>(number));
  }
  return text;
}

std::optional<Numbers> ToNumbers(const std::string& text, int length, int capacity) {
  const auto block = fuzz::TextBlock(text);
  const Block<uint64_t> oid(static_cast<size_t>(capacity));
  int count = capacity;
  const int result = oid_string2array(block.data(), length, oid.data(), &count);
  Require(result == 0 || result == -1, "the result is 0 or -1");
  if (result != 0) return std::nullopt;
  return oid.First(static_cast<size_t>(count));
}

// Writes the numbers into a text of that capacity. Whether they fit or not, there is a zero in it.
void TryText(const Numbers& numbers, int capacity) {
  const Block<uint64_t> oid(numbers);
  const Block<char> text(static_cast<size_t>(std::max(capacity, 0)));
  const auto count = static_cast<int>(numbers.size());
  const int result = oid_array2string(text.data(), &capacity, oid.data(), &count);
  const std::string expected = PlainText(numbers);
  const bool fits = static_cast<int>(expected.size()) < capacity;
  Require(result == (fits ? 0 : -1), "a text that does not fit is refused");
  if (capacity < 1) return;
  const std::string written(text.data(), strnlen(text.data(), text.size()));
  Require(written.size() < text.size(), "a text ends within its room");
  if (fits) {
    Require(written == expected, "the text is that of the rules");
  } else {
    Require(expected.compare(0, written.size(), written) == 0, "a text is cut short");
  }
}

void TryBack(const Numbers& numbers) {
  Numbers cut = numbers;
  for (uint64_t& number : cut) number = static_cast<uint32_t>(number);
  const std::string text = PlainText(numbers);
  const auto again = ToNumbers(text, static_cast<int>(text.size()), static_cast<int>(cut.size()));
  Require(again && *again == cut, "a text that was written reads back");
}

void TryNoNumbers() {
  char text[4] = "old";
  const int capacity = sizeof(text);
  const int count = 0;
  Require(oid_array2string(text, &capacity, nullptr, &count) == -1 && text[0] == 0,
          "no array gives an empty text");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::Input input(data, size);
  const int stated = input.Word();
  const int array_capacity = input.Byte();
  const int text_capacity = input.Word() % 4096;
  const std::string text = input.Text(2000);
  const auto whole = static_cast<int>(text.size());
  for (const int length : {whole, stated, stated % (whole + 1), stated - 0x8000}) {
    const auto expected = PlainNumbers(text, length, static_cast<size_t>(array_capacity));
    Require(ToNumbers(text, length, array_capacity) == expected, "the numbers are read");
  }
  const auto numbers = ToNumbers(text, whole, whole + 1);
  if (!numbers) return 0;
  const auto needed = static_cast<int>(PlainText(*numbers).size()) + 1;
  for (const int capacity : {text_capacity, -1, 0, 1, 2, needed - 1, needed, needed + 1}) {
    TryText(*numbers, capacity);
  }
  TryBack(*numbers);
  TryNoNumbers();
  return 0;
}
