// Fuzz target: the decoders of single BER elements, for every remaining length and every capacity,
// compared with a second reading of the rules that is as plain as can be.
//
// Input: the number of the decoder, a capacity (2 bytes, low byte first), the bytes to decode.
#include <optional>

#include "snmp/asn.h"
#include "tests/fuzz/fuzz_target.h"

namespace {

using fuzz::Block;
using fuzz::Bytes;
using fuzz::Require;

constexpr size_t kMostBytes = 300;
constexpr int kMostCapacity = 600;
constexpr uint64_t kAltered = 0xFF80000000000000;  // from here on, unsigned values lose bytes

// What a length field says, and how many bytes it has.
struct Length {
  uint64_t value;
  size_t size;
};

std::optional<Length> PlainLength(const Bytes& field) {
  if (field[0] < 0x80) return Length{field[0], 1};
  const size_t count = field[0] & 0x7FU;
  if (count < 1 || count > 8) return std::nullopt;
  uint64_t value = 0;
  for (size_t i = 4; i < count; ++i) value = value * 256 + field[i - 3];
  return Length{value, 1 + count};
}

struct Element {
  unsigned char type;
  size_t header;
  Bytes contents;
  size_t Total() const { return header + contents.size(); }
};

// The element at the start of the first `remaining` bytes.
std::optional<Element> PlainElement(const Bytes& data, int remaining) {
  if (remaining < 2) return std::nullopt;
  const auto end = data.begin() + remaining;
  Bytes field(data.begin() + 1, end);
  const size_t bytes = field.size();
  field.resize(bytes + 9);
  const std::optional<Length> length = PlainLength(field);
  if (!length || length->size > bytes || length->value > bytes - length->size) return std::nullopt;
  const auto contents = data.begin() + 1 + static_cast<std::ptrdiff_t>(length->size);
  return Element{data[0], 1 + length->size,
                 Bytes(contents, contents + static_cast<std::ptrdiff_t>(length->value))};
}

// The bytes that a decoder may read: `remaining`, and some behind them.
Block<unsigned char> Readable(const Bytes& data, int remaining, size_t behind) {
  Bytes bytes = data;
  bytes.resize(static_cast<size_t>(std::max(remaining, 0)) + behind);
  return Block<unsigned char>(bytes);
}

// What a decoder did with the cursor and the counter.
struct Step {
  const unsigned char* start;
  const unsigned char* cursor;
  int before;
  int after;
};

void RequireConsumed(const Step& step, const Element& element) {
  const auto total = static_cast<int>(element.Total());
  Require(step.cursor == step.start + total, "the cursor stands behind the element");
  Require(step.after == step.before - total, "the counter is lowered by the element");
}

void TryLength(const Bytes& data) {
  Bytes field = data;
  field.resize(std::max<size_t>(field.size(), 9));
  const Block<unsigned char> block(field);
  uint64_t value = 0;
  const unsigned char* cursor = asn_parse_length(block.data(), &value);
  const std::optional<Length> expected = PlainLength(field);
  Require((cursor != nullptr) == expected.has_value(), "length fields are refused by the rules");
  if (!expected) return;
  Require(value == expected->value, "the length is read by the rules");
  Require(cursor == block.data() + expected->size, "the cursor stands behind the length field");
}

void TryHeader(const Bytes& data, int remaining) {
  const auto block = Readable(data, remaining, 0);
  unsigned char type = 0;
  int after = remaining;
  const unsigned char* cursor = asn_parse_header(block.data(), &after, &type);
  std::optional<Element> element = PlainElement(data, remaining);
  if (element && (element->type & 0x1F) == 0x1F) element.reset();
  Require((cursor != nullptr) == element.has_value(), "headers are refused by the rules");
  if (!element) return;
  Require(cursor == block.data() + element->header, "the cursor stands at the contents");
  Require(after == static_cast<int>(element->contents.size()), "the counter is the length");
  Require(type == element->type, "the type is stored as it is");
}

void TryNull(const Bytes& data, int remaining) {
  const auto block = Readable(data, remaining, 10);
  unsigned char type = 0;
  int after = remaining;
  const unsigned char* cursor = asn_parse_null(block.data(), &after, &type);
  const std::optional<Length> length = PlainLength(Bytes(block.data() + 1, block.data() + 10));
  const bool valid = length && length->value == 0;
  Require((cursor != nullptr) == valid, "nulls are refused by the rules");
  if (!valid) return;
  Require(cursor == block.data() + 1 + length->size, "the cursor stands behind the null");
  Require(after == remaining - static_cast<int>(1 + length->size), "the counter may go below 0");
  Require(type == block.data()[0], "the type is stored as it is");
}

// The byte from which an integer takes its sign: the first of the contents, or the one behind.
bool IsNegative(const Block<unsigned char>& block, const Element& element) {
  return block.data()[element.header] >= 0x80;
}

uint64_t Shifted(uint64_t start, const Bytes& contents) {
  for (const unsigned char byte : contents) start = start << 8 | byte;
  return start;
}

void RequireSignedWritten(int64_t value) {
  unsigned char bytes[10];
  int room = sizeof(bytes);
  const unsigned char* end = asn_build_int(bytes, &room, kAsnInteger, &value, 8);
  unsigned char type = 0;
  int64_t again = 0;
  int remaining = static_cast<int>(end - bytes);
  Require(asn_parse_int(bytes, &remaining, &type, &again, 8) == end && again == value,
          "an integer that was read can be written and read again");
}

void TryInt(const Bytes& data, int remaining) {
  const auto block = Readable(data, remaining, 1);
  unsigned char type = 0;
  int64_t value = 0;
  Step step{block.data(), nullptr, remaining, remaining};
  step.cursor = asn_parse_int(block.data(), &step.after, &type, &value, 8);
  std::optional<Element> element = PlainElement(data, remaining);
  if (element && element->contents.size() > 8) element.reset();
  Require((step.cursor != nullptr) == element.has_value(), "integers are refused by the rules");
  if (!element) return;
  RequireConsumed(step, *element);
  const uint64_t start = IsNegative(block, *element) ? UINT64_MAX : 0;
  Require(value == static_cast<int64_t>(Shifted(start, element->contents)), "the integer is read");
  Require(type == element->type, "the type is stored as it is");
  RequireSignedWritten(value);
}

void RequireUnsignedWritten(uint64_t value) {
  if (value >= kAltered) return;
  unsigned char bytes[11];
  int room = sizeof(bytes);
  const unsigned char* end = asn_build_unsigned_int(bytes, &room, kAsnGauge, &value, 8);
  unsigned char type = 0;
  uint64_t again = 0;
  int remaining = static_cast<int>(end - bytes);
  Require(asn_parse_unsigned_int(bytes, &remaining, &type, &again, 8) == end && again == value,
          "an unsigned integer that was read can be written and read again");
}

void TryUnsigned(const Bytes& data, int remaining) {
  const auto block = Readable(data, remaining, 1);
  unsigned char type = 0;
  uint64_t value = 0;
  Step step{block.data(), nullptr, remaining, remaining};
  step.cursor = asn_parse_unsigned_int(block.data(), &step.after, &type, &value, 8);
  std::optional<Element> element = PlainElement(data, remaining);
  if (element && element->contents.size() > 8 &&
      (element->contents.size() > 9 || element->contents[0] != 0)) {
    element.reset();
  }
  Require((step.cursor != nullptr) == element.has_value(), "integers are refused by the rules");
  if (!element) return;
  RequireConsumed(step, *element);
  const uint64_t start = IsNegative(block, *element) ? 0xFFFFFFFF : 0;
  Require(value == Shifted(start, element->contents), "the unsigned integer is read");
  RequireUnsignedWritten(value);
}

void TryString(const Bytes& data, int remaining, int capacity) {
  const auto block = Readable(data, remaining, 0);
  const Block<unsigned char> string(static_cast<size_t>(std::max(capacity, 0)));
  unsigned char type = 0;
  int length = capacity;
  Step step{block.data(), nullptr, remaining, remaining};
  step.cursor = asn_parse_string(block.data(), &step.after, &type, string.data(), &length);
  std::optional<Element> element = PlainElement(data, remaining);
  if (element && static_cast<int>(element->contents.size()) > capacity) element.reset();
  Require((step.cursor != nullptr) == element.has_value(), "strings are refused by the rules");
  if (!element) return;
  RequireConsumed(step, *element);
  Require(length == static_cast<int>(element->contents.size()), "the string's length is stored");
  Require(string.First(element->contents.size()) == element->contents, "the string is copied");
}

struct ObjectId {
  std::vector<uint64_t> numbers;
  size_t contents;  // bytes that were read
};

std::optional<ObjectId> PlainObjectId(const Bytes& contents, size_t capacity) {
  ObjectId id{{0}, 0};
  while (id.contents < contents.size() && id.numbers.size() < capacity) {
    uint64_t number = 0;
    bool more = true;
    while (more) {
      if (id.contents == contents.size()) return std::nullopt;
      const unsigned char byte = contents[id.contents++];
      number = number * 128 + byte % 128;
      if (number > 0xFFFFFFFF) return std::nullopt;
      more = byte >= 128;
    }
    id.numbers.push_back(number);
  }
  if (id.numbers.size() < 2) return id;
  id.numbers[0] = id.numbers[1] / 40;
  id.numbers[1] = id.numbers[1] % 40;
  return id;
}

void RequireOidWritten(const std::vector<uint64_t>& numbers) {
  if (numbers.size() < 2 || 40 * numbers[0] + numbers[1] > 127) return;
  unsigned char bytes[600];
  int room = sizeof(bytes);
  const unsigned char* end =
      asn_build_oid(bytes, &room, kAsnObjectId, numbers.data(), static_cast<int>(numbers.size()));
  if (end == nullptr || bytes[1] > 127) return;
  const Block<uint64_t> again(numbers.size());
  unsigned char type = 0;
  int count = static_cast<int>(numbers.size());
  int remaining = static_cast<int>(end - bytes);
  Require(asn_parse_oid(bytes, &remaining, &type, again.data(), &count) == end &&
              again.First(static_cast<size_t>(count)) == numbers,
          "an object identifier that was read can be written and read again");
}

void TryOid(const Bytes& data, int remaining, int capacity) {
  const auto block = Readable(data, remaining, 0);
  const Block<uint64_t> oid(static_cast<size_t>(std::max(capacity, 0)));
  unsigned char type = 0;
  int count = capacity;
  int after = remaining;
  const unsigned char* cursor = asn_parse_oid(block.data(), &after, &type, oid.data(), &count);
  const std::optional<Element> element = PlainElement(data, remaining);
  std::optional<ObjectId> id;
  if (element && capacity >= 2) {
    id = PlainObjectId(element->contents, static_cast<size_t>(capacity));
  }
  Require((cursor != nullptr) == id.has_value(), "object identifiers are refused by the rules");
  if (!id) return;
  Require(cursor == block.data() + element->header + id->contents, "the cursor is where it read");
  Require(after == remaining - static_cast<int>(element->Total()), "all of it is charged");
  Require(count == static_cast<int>(id->numbers.size()), "the count is stored");
  Require(oid.First(id->numbers.size()) == id->numbers, "the numbers are read");
  Require(id->numbers.size() > 1 || oid.data()[1] == 0, "no contents clear two entries");
  RequireOidWritten(id->numbers);
}

// Every remaining length with the chosen capacity, and every capacity with all bytes.
template <typename Try>
void TryCapacities(Try attempt, const Bytes& data, int capacity) {
  const auto size = static_cast<int>(data.size());
  for (int remaining = -1; remaining <= size; ++remaining) attempt(data, remaining, capacity);
  for (int each = -1; each <= size + 1; ++each) attempt(data, size, each);
}

template <typename Try>
void TryAll(Try attempt, const Bytes& data) {
  for (int remaining = -1; remaining <= static_cast<int>(data.size()); ++remaining) {
    attempt(data, remaining);
  }
}

void TryOtherSizes(const Bytes& data) {
  const auto block = Readable(data, static_cast<int>(data.size()), 1);
  unsigned char type = 0;
  int64_t number = 0;
  uint64_t natural = 0;
  int remaining = static_cast<int>(data.size());
  for (const int size : {-8, 0, 4, 7, 9, 16}) {
    Require(asn_parse_int(block.data(), &remaining, &type, &number, size) == nullptr &&
                asn_parse_unsigned_int(block.data(), &remaining, &type, &natural, size) == nullptr,
            "integers of another size than 8 are refused");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::Input input(data, size);
  const int decoder = input.Byte();
  const int capacity = std::min(input.Word(), kMostCapacity);
  const Bytes bytes = input.Take(kMostBytes);
  switch (decoder % 8) {
    case 0:
      TryLength(bytes);
      break;
    case 1:
      TryAll(TryHeader, bytes);
      break;
    case 2:
      TryAll(TryNull, bytes);
      break;
    case 3:
      TryAll(TryInt, bytes);
      break;
    case 4:
      TryAll(TryUnsigned, bytes);
      break;
    case 5:
      TryCapacities(TryString, bytes, capacity);
      break;
    case 6:
      TryCapacities(TryOid, bytes, capacity);
      break;
    default:
      TryOtherSizes(bytes);
      break;
  }
  return 0;
}
