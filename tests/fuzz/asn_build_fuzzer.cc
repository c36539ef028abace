// Fuzz target: the encoders of single BER elements, for every room up to more than they need. What
// was built is compared with plainly written bytes and parsed back to the same value.
//
// Input: the number of the encoder, the type byte, then the value: for a length or an
// integer 8 bytes, low byte first; for an object identifier numbers of a count byte and up to 8
// bytes each, high byte first; for a string all the rest.
#include <climits>

#include "snmp/asn.h"
#include "tests/fuzz/fuzz_target.h"

namespace {

using fuzz::Block;
using fuzz::Bytes;
using fuzz::Require;

constexpr int kMostContents = 544;                 // of an object identifier
constexpr int kShortForm = 127;                    // longer lengths are not read back
constexpr uint64_t kAltered = 0xFF80000000000000;  // from here on, unsigned values lose bytes

void AppendLength(Bytes* bytes, int length) {
  if (length > 0xFF) {
    bytes->insert(bytes->end(), {0x82, static_cast<unsigned char>(length / 256)});
  } else if (length > kShortForm) {
    bytes->push_back(0x81);
  }
  bytes->push_back(static_cast<unsigned char>(length));
}

Bytes PlainElement(unsigned char type, const Bytes& contents) {
  Bytes bytes{type};
  AppendLength(&bytes, static_cast<int>(contents.size()));
  bytes.insert(bytes.end(), contents.begin(), contents.end());
  return bytes;
}

// The two's complement of a number without the leading bytes that only repeat its sign.
Bytes PlainNumber(uint64_t number) {
  Bytes bytes;
  for (int shift = 56; shift >= 0; shift -= 8) {
    bytes.push_back(static_cast<unsigned char>(number >> shift));
  }
  while (bytes.size() > 1 &&
         ((bytes[0] == 0 && bytes[1] < 0x80) || (bytes[0] == 0xFF && bytes[1] >= 0x80))) {
    bytes.erase(bytes.begin());
  }
  return bytes;
}

Bytes PlainUnsigned(uint64_t number) {
  Bytes bytes = PlainNumber(number);
  if (number > INT64_MAX) bytes.insert(bytes.begin(), 0);
  return bytes;
}

Bytes PlainObjectId(const std::vector<uint64_t>& numbers) {
  if (numbers.size() < 2) return {0};
  Bytes bytes{static_cast<unsigned char>(40 * numbers[0] + numbers[1])};
  for (size_t i = 2; i < numbers.size(); ++i) {
    auto number = static_cast<uint32_t>(numbers[i]);
    Bytes groups{static_cast<unsigned char>(number % 128)};
    while ((number /= 128) > 0) {
      groups.insert(groups.begin(), static_cast<unsigned char>(128 + number % 128));
    }
    bytes.insert(bytes.end(), groups.begin(), groups.end());
  }
  return bytes;
}

// Builds in rooms of every size: too small ones are refused, all others give the expected bytes.
template <typename Build>
void TryRooms(Build build, const Bytes& expected) {
  const auto needed = static_cast<int>(expected.size());
  for (int room = -1; room <= needed + 2; ++room) {
    // The middle of a long element tells nothing that its ends do not.
    if (room > 12 && room < needed - 12) continue;
    const Block<unsigned char> block(static_cast<size_t>(std::max(room, 0)));
    int remaining = room;
    const unsigned char* end = build(block.data(), &remaining);
    Require((end != nullptr) == (room >= needed), "what does not fit is refused");
    if (end == nullptr) continue;
    Require(end == block.data() + needed, "the cursor stands behind the element");
    Require(remaining == room - needed, "the counter is lowered by what was written");
    Require(block.First(expected.size()) == expected, "the bytes are those of the rules");
  }
}

template <typename Build>
void RequireRefused(Build build) {
  Block<unsigned char> block(1024);
  int remaining = 1024;
  Require(build(block.data(), &remaining) == nullptr, "what cannot be written is refused");
}

void TryLength(int length) {
  const auto build = [&](unsigned char* at, int* room) {
    return asn_build_length(at, room, length);
  };
  if (length < 0) return RequireRefused(build);
  Bytes expected;
  AppendLength(&expected, length);
  TryRooms(build, expected);
  if (length > kShortForm) return;
  uint64_t again = 0;
  const Block<unsigned char> block(expected);
  Require(asn_parse_length(block.data(), &again) == block.data() + 1 &&
              again == static_cast<uint64_t>(length),
          "a short length reads back");
}

void TryHeader(unsigned char type, int length) {
  const auto build = [&](unsigned char* at, int* room) {
    return asn_build_header(at, room, type, length);
  };
  if (length < 0) return RequireRefused(build);
  Bytes expected{type};
  AppendLength(&expected, length);
  TryRooms(build, expected);
}

void TryNull(unsigned char type) {
  const Bytes expected{type, 0};
  TryRooms([&](unsigned char* at, int* room) { return asn_build_null(at, room, type); }, expected);
  Bytes readable = expected;
  readable.resize(10);
  const Block<unsigned char> block(readable);
  unsigned char read = 0;
  int remaining = 2;
  Require(asn_parse_null(block.data(), &remaining, &read) == block.data() + 2 && read == type &&
              remaining == 0,
          "a null reads back");
}

void TrySequence(unsigned char type, int length) {
  const auto low = static_cast<unsigned>(length);
  const Bytes expected{type, 0x82, static_cast<unsigned char>(low >> 8),
                       static_cast<unsigned char>(low)};
  TryRooms([&](unsigned char* at, int* room) { return asn_build_sequence(at, room, type, length); },
           expected);
}

void TryInt(unsigned char type, int64_t value) {
  const Bytes expected = PlainElement(type, PlainNumber(static_cast<uint64_t>(value)));
  TryRooms([&](unsigned char* at, int* room) { return asn_build_int(at, room, type, &value, 8); },
           expected);
  const Block<unsigned char> block(expected);
  unsigned char read = 0;
  int64_t again = 0;
  auto remaining = static_cast<int>(expected.size());
  Require(asn_parse_int(block.data(), &remaining, &read, &again, 8) != nullptr && read == type &&
              again == value && remaining == 0,
          "an integer reads back");
  RequireRefused(
      [&](unsigned char* at, int* room) { return asn_build_int(at, room, type, &value, 4); });
}

void TryUnsigned(unsigned char type, uint64_t value) {
  const Bytes expected = PlainElement(type, PlainUnsigned(value));
  const auto build = [&](unsigned char* at, int* room) {
    return asn_build_unsigned_int(at, room, type, &value, 8);
  };
  TryRooms(build, expected);
  const Block<unsigned char> block(expected);
  unsigned char read = 0;
  uint64_t again = 0;
  auto remaining = static_cast<int>(expected.size());
  Require(asn_parse_unsigned_int(block.data(), &remaining, &read, &again, 8) != nullptr &&
              remaining == 0,
          "an unsigned integer can be read");
  Require((again == value) == (value < kAltered), "it reads back below the values that lose bytes");
}

void TryString(unsigned char type, const Bytes& bytes) {
  const Block<unsigned char> string(bytes);
  const auto length = static_cast<int>(bytes.size());
  const Bytes expected = PlainElement(type, bytes);
  TryRooms([&](unsigned char* at,
               int* room) { return asn_build_string(at, room, type, string.data(), length); },
           expected);
  if (length > kShortForm) return;
  const Block<unsigned char> block(expected);
  const Block<unsigned char> again(bytes.size());
  unsigned char read = 0;
  int size = length;
  auto remaining = static_cast<int>(expected.size());
  Require(asn_parse_string(block.data(), &remaining, &read, again.data(), &size) != nullptr &&
              size == length && again.First(bytes.size()) == bytes && remaining == 0,
          "a string reads back");
}

void TryNoString(unsigned char type, int length) {
  const auto build = [&](unsigned char* at, int* room) {
    return asn_build_string(at, room, type, nullptr, length);
  };
  if (length == 0) return TryRooms(build, {type, 0});
  RequireRefused(build);
}

void TryObjectId(unsigned char type, const std::vector<uint64_t>& numbers) {
  const Block<uint64_t> oid(numbers);
  const auto count = static_cast<int>(numbers.size());
  const auto build = [&](unsigned char* at, int* room) {
    return asn_build_oid(at, room, type, oid.data(), count);
  };
  const Bytes contents = PlainObjectId(numbers);
  if (contents.size() > kMostContents) return RequireRefused(build);
  const Bytes expected = PlainElement(type, contents);
  TryRooms(build, expected);
  if (contents.size() > kShortForm || count < 2 || contents[0] > 127) return;
  const Block<unsigned char> block(expected);
  const Block<uint64_t> again(numbers.size());
  unsigned char read = 0;
  int size = count;
  auto remaining = static_cast<int>(expected.size());
  Require(asn_parse_oid(block.data(), &remaining, &read, again.data(), &size) != nullptr &&
              size == count && remaining == 0,
          "an object identifier can be read");
  Require(again.data()[0] * 40 + again.data()[1] == contents[0], "its first byte reads back");
  for (size_t i = 2; i < numbers.size(); ++i) {
    Require(again.data()[i] == static_cast<uint32_t>(numbers[i]), "its other numbers read back");
  }
}

std::vector<uint64_t> Numbers(fuzz::Input* input) {
  std::vector<uint64_t> numbers;
  while (input->Left() > 0) numbers.push_back(input->ShortNumber());
  return numbers;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::Input input(data, size);
  const int encoder = input.Byte();
  const unsigned char type = input.Byte();
  switch (encoder % 9) {
    case 0:
      TryLength(static_cast<int>(input.Number()));
      break;
    case 1:
      TryHeader(type, static_cast<int>(input.Number()));
      break;
    case 2:
      TryNull(type);
      break;
    case 3:
      TryInt(type, static_cast<int64_t>(input.Number()));
      break;
    case 4:
      TryUnsigned(type, input.Number());
      break;
    case 5:
      TryString(type, input.Rest());
      break;
    case 6:
      TryObjectId(type, Numbers(&input));
      break;
    case 7:
      TrySequence(type, static_cast<int>(input.Number()));
      break;
    default:
      TryNoString(type, static_cast<int>(input.Number()));
      break;
  }
  return 0;
}
