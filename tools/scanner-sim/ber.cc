// Single BER elements: lengths in every form that a scanner may be told to use, object identifiers,
// integers, and a reader for requests.
#include "tools/scanner-sim/ber.h"

#include <algorithm>

#include "tools/scanner-sim/text.h"

namespace {

std::optional<int> NumberAfter(const std::string& text, const std::string& word, int low,
                               int high) {
  if (text.compare(0, word.size(), word) != 0) return std::nullopt;
  const auto number = parse_number(text.substr(word.size()), low, high);
  if (!number) return std::nullopt;
  return static_cast<int>(*number);
}

// The length in exactly count bytes, most significant first.
void AppendBigEndian(Bytes* out, size_t length, int count) {
  for (int i = count - 1; i >= 0; --i)
    out->push_back(static_cast<uint8_t>((static_cast<uint64_t>(length) >> (8 * i)) & 0xFF));
}

void RequireAtMost(size_t length, size_t limit) {
  if (length <= limit) return;
  throw LengthError(std::to_string(length) +
                    " contents bytes, where the length form has room for " + std::to_string(limit));
}

size_t LargestLength(int count) {
  if (count >= static_cast<int>(sizeof(size_t))) return SIZE_MAX;
  return (static_cast<size_t>(1) << (8 * count)) - 1;
}

void AppendLong(Bytes* out, size_t length, int count) {
  RequireAtMost(length, LargestLength(count));
  out->push_back(static_cast<uint8_t>(0x80 + count));
  AppendBigEndian(out, length, count);
}

void AppendLeft(Bytes* out, size_t length, int count) {
  RequireAtMost(length, LargestLength(count - 4));
  out->push_back(static_cast<uint8_t>(0x80 + count));
  AppendBigEndian(out, length, count - 4);
  out->insert(out->end(), 4, 0);
}

void AppendMinimal(Bytes* out, size_t length) {
  if (length < 128) {
    out->push_back(static_cast<uint8_t>(length));
    return;
  }
  int count = 1;
  while (length > LargestLength(count)) ++count;
  AppendLong(out, length, count);
}

void AppendBase128(Bytes* out, uint64_t number) {
  int shift = 0;
  while ((number >> shift) > 127) shift += 7;
  for (; shift > 0; shift -= 7)
    out->push_back(static_cast<uint8_t>(0x80 | ((number >> shift) & 0x7F)));
  out->push_back(static_cast<uint8_t>(number & 0x7F));
}

}  // namespace

std::optional<LengthForm> parse_length_form(const std::string& text) {
  if (text == "short") return LengthForm{LengthStyle::kShort, 0};
  if (text == "minimal") return LengthForm{LengthStyle::kMinimal, 0};
  if (const auto count = NumberAfter(text, "long", 1, 8))
    return LengthForm{LengthStyle::kLong, *count};
  if (const auto count = NumberAfter(text, "left", 5, 8))
    return LengthForm{LengthStyle::kLeft, *count};
  if (text.compare(0, 4, "byte") != 0) return std::nullopt;
  const auto byte = parse_hex_byte(text.substr(4));
  return byte ? std::optional<LengthForm>({LengthStyle::kRaw, *byte}) : std::nullopt;
}

void append_length(Bytes* out, size_t length, LengthForm form) {
  switch (form.style) {
    case LengthStyle::kShort:
      RequireAtMost(length, 127);
      out->push_back(static_cast<uint8_t>(length));
      return;
    case LengthStyle::kMinimal:
      return AppendMinimal(out, length);
    case LengthStyle::kLong:
      return AppendLong(out, length, form.number);
    case LengthStyle::kLeft:
      return AppendLeft(out, length, form.number);
    case LengthStyle::kRaw:
      out->push_back(static_cast<uint8_t>(form.number));
      return;
  }
}

void append_element(Bytes* out, uint8_t tag, const Bytes& contents, LengthForm form) {
  out->push_back(tag);
  append_length(out, contents.size(), form);
  out->insert(out->end(), contents.begin(), contents.end());
}

Bytes integer_contents(int64_t value) {
  int count = 1;
  while (count < 8 && (value >> (8 * count - 1)) != 0 && (value >> (8 * count - 1)) != -1) ++count;
  Bytes contents;
  for (int i = count - 1; i >= 0; --i)
    contents.push_back(static_cast<uint8_t>((value >> (8 * i)) & 0xFF));
  return contents;
}

std::optional<Oid> parse_oid(const std::string& text) {
  Oid oid;
  size_t start = 0;
  while (start <= text.size()) {
    const size_t point = std::min(text.find('.', start), text.size());
    const auto number = parse_number(text.substr(start, point - start), 0, UINT32_MAX);
    if (!number) return std::nullopt;
    oid.push_back(static_cast<uint32_t>(*number));
    start = point + 1;
  }
  if (oid.size() < 2 || oid[0] > 2 || (oid[0] < 2 && oid[1] > 39)) return std::nullopt;
  return oid;
}

std::string oid_text(const Oid& oid) {
  std::string text;
  for (uint32_t number : oid) {
    if (!text.empty()) text += '.';
    text += std::to_string(number);
  }
  return text;
}

Bytes oid_contents(const Oid& oid) {
  Bytes contents;
  AppendBase128(&contents, static_cast<uint64_t>(oid.at(0)) * 40 + oid.at(1));
  for (size_t i = 2; i < oid.size(); ++i) AppendBase128(&contents, oid[i]);
  return contents;
}

uint8_t CBerReader::PeekTag() const {
  if (m_iLeft == 0) throw BerError("ends where an element should begin");
  return *m_pData;
}

uint8_t CBerReader::Next(const char* what) {
  if (m_iLeft == 0) throw BerError(std::string("ends inside ") + what);
  --m_iLeft;
  return *m_pData++;
}

size_t CBerReader::ReadLength(const char* what) {
  const uint8_t first = Next(what);
  if (first < 0x80) return first;
  const int count = first & 0x7F;
  if (count == 0 || count > 4)
    throw BerError(std::string(what) + " has the length byte " + to_hex({first}));
  size_t length = 0;
  for (int i = 0; i < count; ++i) length = (length << 8) | Next(what);
  return length;
}

Bytes CBerReader::Read(uint8_t tag, const char* what) {
  const uint8_t found = Next(what);
  if (found != tag)
    throw BerError(std::string(what) + " has the tag " + to_hex({found}) + " instead of " +
                   to_hex({tag}));
  const size_t length = ReadLength(what);
  if (length > m_iLeft)
    throw BerError(std::string(what) + " states " + std::to_string(length) + " bytes, " +
                   std::to_string(m_iLeft) + " are there");
  Bytes contents(m_pData, m_pData + length);
  m_pData += length;
  m_iLeft -= length;
  return contents;
}

int64_t CBerReader::ReadInteger(const char* what) {
  const Bytes contents = Read(kTagInteger, what);
  if (contents.empty() || contents.size() > 8)
    throw BerError(std::string(what) + " is an integer of " + std::to_string(contents.size()) +
                   " bytes");
  uint64_t value = contents[0] & 0x80 ? UINT64_MAX : 0;
  for (uint8_t byte : contents) value = (value << 8) | byte;
  return static_cast<int64_t>(value);
}

Oid CBerReader::ReadOid(const char* what) {
  const Bytes contents = Read(kTagOid, what);
  Oid oid;
  uint64_t number = 0;
  bool complete = true;
  for (uint8_t byte : contents) {
    number = (number << 7) | (byte & 0x7FU);
    complete = (byte & 0x80) == 0;
    if (number > 0xFFFFFFFFULL) throw BerError(std::string(what) + " has a number above 32 bits");
    if (!complete) continue;
    if (oid.empty()) {
      oid.push_back(number < 80 ? static_cast<uint32_t>(number / 40) : 2);
      number -= oid[0] * 40ULL;
    }
    oid.push_back(static_cast<uint32_t>(number));
    number = 0;
  }
  if (!complete || oid.empty()) throw BerError(std::string(what) + " is an incomplete identifier");
  return oid;
}
