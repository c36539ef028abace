// Encoders and decoders of single BER elements.
#include "snmp/asn.h"

#include <cstring>

namespace {

constexpr int kIntegerSize = 8;
constexpr int kOidWorkArea = 544;
constexpr int kSequenceHeader = 4;
constexpr unsigned char kLongForm = 0x80;
constexpr unsigned char kMoreGroups = 0x80;
constexpr unsigned char kHighTagNumber = 0x1F;
constexpr uint64_t kMaxSubIdentifier = 0xFFFFFFFF;

unsigned char LowByte(uint64_t value) { return static_cast<unsigned char>(value & 0xFF); }

// True when the top 9 bits are equal, that is, when the first byte only repeats the sign.
bool HasSpareTopByte(uint64_t value) {
  const uint64_t top = value >> 55;
  return top == 0 || top == 0x1FF;
}

// The contents of an integer: `count` bytes, taken from the most significant end of `value`.
struct PackedInteger {
  uint64_t value;
  int count;
};

PackedInteger DropSpareBytes(uint64_t value, int count) {
  while (count > 1 && HasSpareTopByte(value)) {
    value <<= 8;
    --count;
  }
  return {value, count};
}

unsigned char* WriteTopBytes(unsigned char* data, uint64_t value, int count) {
  for (; count > 0; --count, value <<= 8) *data++ = LowByte(value >> 56);
  return data;
}

// Writes the header and charges the contents, which the caller then writes at the returned cursor.
unsigned char* BeginContents(unsigned char* data, int* remaining, unsigned char type, int length) {
  data = asn_build_header(data, remaining, type, length);
  if (data == nullptr || *remaining < length) return nullptr;
  *remaining -= length;
  return data;
}

int CountGroups(uint32_t sub_identifier) {
  int groups = 1;
  while (sub_identifier >>= 7) ++groups;
  return groups;
}

unsigned char* PackSubIdentifier(unsigned char* data, uint32_t sub_identifier, int groups) {
  for (int group = groups - 1; group >= 0; --group) {
    const unsigned char bits = LowByte((sub_identifier >> (7 * group)) & 0x7F);
    *data++ = group > 0 ? static_cast<unsigned char>(bits | kMoreGroups) : bits;
  }
  return data;
}

// Packs the contents of an object identifier into the work area. Returns their length, or -1 when
// the area is too small.
int PackOid(unsigned char (&area)[kOidWorkArea], const uint64_t* oid, int count) {
  if (count < 2) {
    area[0] = 0;
    return 1;
  }
  area[0] = LowByte(oid[1] + 40 * oid[0]);
  int length = 1;
  for (int i = 2; i < count; ++i) {
    const auto sub_identifier = static_cast<uint32_t>(oid[i]);
    const int groups = CountGroups(sub_identifier);
    if (groups > kOidWorkArea - length) return -1;
    PackSubIdentifier(area + length, sub_identifier, groups);
    length += groups;
  }
  return length;
}

// Type and length of an element that lies completely within the bytes that remain.
struct ElementHeader {
  unsigned char type;
  int size;    // of type and length field
  int length;  // of the contents
  int Total() const { return size + length; }
};

// The length field may claim up to 2^32 - 1 bytes and the counter may have gone negative, hence the
// comparisons in 64 bits. A length field that does not fit is refused before it is read.
bool ReadHeader(const unsigned char* data, int remaining, ElementHeader* header) {
  if (remaining < 2) return false;
  if (data[1] >= kLongForm && 2 + (data[1] & 0x7F) > remaining) return false;
  uint64_t length = 0;
  const unsigned char* contents = asn_parse_length(data + 1, &length);
  if (contents == nullptr) return false;
  const int64_t size = contents - data;
  if (size + static_cast<int64_t>(length) > remaining) return false;
  *header = {data[0], static_cast<int>(size), static_cast<int>(length)};
  return true;
}

// The sign is looked for in the byte behind the header even when there are no contents.
bool IsNegative(const unsigned char* contents) { return (contents[0] & 0x80) != 0; }

uint64_t ShiftIn(uint64_t start, const unsigned char* contents, int length) {
  for (int i = 0; i < length; ++i) start = (start << 8) | contents[i];
  return start;
}

// Reads one base-128 number. Fails when it exceeds 32 bits or when `end` cuts it off.
const unsigned char* ReadSubIdentifier(const unsigned char* data, const unsigned char* end,
                                       uint64_t* value) {
  uint64_t sum = 0;
  while (data < end) {
    sum = (sum << 7) | (*data & 0x7F);
    if (sum > kMaxSubIdentifier) return nullptr;
    if ((*data++ & kMoreGroups) == 0) {
      *value = sum;
      return data;
    }
  }
  return nullptr;
}

// The first number on the wire, held in the second entry, stands for the first two.
void SplitFirstNumber(uint64_t* oid) {
  oid[0] = oid[1] / 40;
  oid[1] %= 40;
}

}  // namespace

unsigned char* asn_build_length(unsigned char* data, int* remaining, int length) {
  if (length < 0) return nullptr;
  const int size = length < 0x80 ? 1 : length < 0x100 ? 2 : 3;
  if (*remaining < size) return nullptr;
  *remaining -= size;
  const auto bits = static_cast<unsigned>(length);
  if (size > 1) *data++ = static_cast<unsigned char>(kLongForm | (size - 1));
  if (size > 2) *data++ = LowByte(bits >> 8);
  *data++ = LowByte(bits);
  return data;
}

unsigned char* asn_build_header(unsigned char* data, int* remaining, unsigned char type,
                                int length) {
  if (*remaining < 1) return nullptr;
  *data++ = type;
  *remaining -= 1;
  return asn_build_length(data, remaining, length);
}

unsigned char* asn_build_null(unsigned char* data, int* remaining, unsigned char type) {
  return asn_build_header(data, remaining, type, 0);
}

unsigned char* asn_build_int(unsigned char* data, int* remaining, unsigned char type,
                             const int64_t* value, int size) {
  if (size != kIntegerSize) return nullptr;
  const PackedInteger packed = DropSpareBytes(static_cast<uint64_t>(*value), kIntegerSize);
  data = BeginContents(data, remaining, type, packed.count);
  if (data == nullptr) return nullptr;
  return WriteTopBytes(data, packed.value, packed.count);
}

unsigned char* asn_build_unsigned_int(unsigned char* data, int* remaining, unsigned char type,
                                      const uint64_t* value, int size) {
  if (size != kIntegerSize) return nullptr;
  // Decided on the full value, before bytes are dropped: this is what turns 2^64 - 1 into 00 FF.
  const bool leading_zero = (*value >> 63) != 0;
  PackedInteger packed = DropSpareBytes(*value, kIntegerSize + (leading_zero ? 1 : 0));
  data = BeginContents(data, remaining, type, packed.count);
  if (data == nullptr) return nullptr;
  if (leading_zero) {
    *data++ = 0;
    --packed.count;
  }
  return WriteTopBytes(data, packed.value, packed.count);
}

unsigned char* asn_build_string(unsigned char* data, int* remaining, unsigned char type,
                                const unsigned char* string, int length) {
  if (string == nullptr && length != 0) return nullptr;
  data = BeginContents(data, remaining, type, length);
  if (data == nullptr || length == 0) return data;
  memcpy(data, string, static_cast<size_t>(length));
  return data + length;
}

unsigned char* asn_build_oid(unsigned char* data, int* remaining, unsigned char type,
                             const uint64_t* oid, int count) {
  unsigned char area[kOidWorkArea];
  const int length = PackOid(area, oid, count);
  if (length < 0) return nullptr;
  return asn_build_string(data, remaining, type, area, length);
}

unsigned char* asn_build_sequence(unsigned char* data, int* remaining, unsigned char type,
                                  int length) {
  if (*remaining < kSequenceHeader) return nullptr;
  *remaining -= kSequenceHeader;
  const auto bits = static_cast<unsigned>(length);
  *data++ = type;
  *data++ = kLongForm | 2;
  *data++ = LowByte(bits >> 8);
  *data++ = LowByte(bits);
  return data;
}

const unsigned char* asn_parse_length(const unsigned char* data, uint64_t* length) {
  const unsigned char first = *data++;
  if (first < kLongForm) {
    *length = first;
    return data;
  }
  const int count = first & 0x7F;
  if (count == 0 || count > 8) return nullptr;
  // The value is the first four of eight bytes, into which the length bytes were put from the left
  // and which then moved right by what is missing: a count of 1 to 4 moves everything out.
  unsigned char field[8] = {};
  memcpy(field, data, static_cast<size_t>(count));
  *length = ShiftIn(0, field, 4) >> (8 * (8 - count));
  return data + count;
}

const unsigned char* asn_parse_header(const unsigned char* data, int* remaining,
                                      unsigned char* type) {
  ElementHeader header;
  if (!ReadHeader(data, *remaining, &header)) return nullptr;
  if ((header.type & kHighTagNumber) == kHighTagNumber) return nullptr;
  *type = header.type;
  *remaining = header.length;
  return data + header.size;
}

const unsigned char* asn_parse_null(const unsigned char* data, int* remaining,
                                    unsigned char* type) {
  uint64_t length = 0;
  const unsigned char* end = asn_parse_length(data + 1, &length);
  if (end == nullptr || length != 0) return nullptr;
  *type = data[0];
  *remaining -= static_cast<int>(end - data);
  return end;
}

const unsigned char* asn_parse_int(const unsigned char* data, int* remaining, unsigned char* type,
                                   int64_t* value, int size) {
  ElementHeader header;
  if (size != kIntegerSize || !ReadHeader(data, *remaining, &header)) return nullptr;
  if (header.length > kIntegerSize) return nullptr;
  const unsigned char* contents = data + header.size;
  const uint64_t start = IsNegative(contents) ? UINT64_MAX : 0;
  *type = header.type;
  *value = static_cast<int64_t>(ShiftIn(start, contents, header.length));
  *remaining -= header.Total();
  return contents + header.length;
}

const unsigned char* asn_parse_unsigned_int(const unsigned char* data, int* remaining,
                                            unsigned char* type, uint64_t* value, int size) {
  ElementHeader header;
  if (size != kIntegerSize || !ReadHeader(data, *remaining, &header)) return nullptr;
  const unsigned char* contents = data + header.size;
  if (header.length > kIntegerSize + 1) return nullptr;
  if (header.length == kIntegerSize + 1 && contents[0] != 0) return nullptr;
  // Extended by 32 one bits, not by 64.
  const uint64_t start = IsNegative(contents) ? UINT32_MAX : 0;
  *type = header.type;
  *value = ShiftIn(start, contents, header.length);
  *remaining -= header.Total();
  return contents + header.length;
}

const unsigned char* asn_parse_string(const unsigned char* data, int* remaining,
                                      unsigned char* type, unsigned char* string, int* length) {
  ElementHeader header;
  if (!ReadHeader(data, *remaining, &header) || header.length > *length) return nullptr;
  if (header.length > 0) {
    memcpy(string, data + header.size, static_cast<size_t>(header.length));
  }
  *type = header.type;
  *length = header.length;
  *remaining -= header.Total();
  return data + header.Total();
}

const unsigned char* asn_parse_oid(const unsigned char* data, int* remaining, unsigned char* type,
                                   uint64_t* oid, int* count) {
  ElementHeader header;
  if (*count < 2 || !ReadHeader(data, *remaining, &header)) return nullptr;
  const unsigned char* end = data + header.Total();
  data += header.size;
  oid[0] = oid[1] = 0;
  int entries = 1;
  while (data < end && entries < *count) {
    data = ReadSubIdentifier(data, end, &oid[entries]);
    if (data == nullptr) return nullptr;
    ++entries;
  }
  if (entries > 1) SplitFirstNumber(oid);
  *type = header.type;
  *count = entries;
  *remaining -= header.Total();
  return data;
}
