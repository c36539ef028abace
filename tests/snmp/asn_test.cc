// Tests of the BER codec.
#include "snmp/asn.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>

#include "tests/snmp/bytes.h"

namespace {

constexpr unsigned char kUntouched = 0xEE;

// What an encoder left behind in a buffer of a given capacity.
struct Encoded {
  bool ok;
  std::string bytes;  // up to the returned cursor
  int remaining;
  std::string buffer;  // all of it
  bool clean;          // nothing was written behind the returned cursor
};

template <typename Encoder>
Encoded Encode(int capacity, Encoder encoder) {
  const ExactBlock block(Bytes(static_cast<size_t>(capacity), kUntouched));
  int remaining = capacity;
  const unsigned char* end = encoder(block.data(), &remaining);
  Encoded result{end != nullptr, "", remaining, "", true};
  result.buffer = ToHex(block.data(), static_cast<size_t>(capacity));
  if (end == nullptr) return result;
  const auto size = static_cast<size_t>(end - block.data());
  result.bytes = ToHex(block.data(), size);
  for (auto i = static_cast<int>(size); i < capacity; ++i) {
    result.clean = result.clean && block.data()[i] == kUntouched;
  }
  return result;
}

// Expects exactly these bytes with room to spare and with room for just them, and a failure with
// any less room.
template <typename Encoder>
void ExpectEncodes(const std::string& hex, Encoder encoder) {
  SCOPED_TRACE(hex);
  const int size = static_cast<int>(FromHex(hex).size());
  for (int spare : {0, 1, 100}) {
    const Encoded result = Encode(size + spare, encoder);
    EXPECT_TRUE(result.ok);
    EXPECT_TRUE(result.clean);
    EXPECT_EQ(result.bytes, Plain(hex));
    EXPECT_EQ(result.remaining, spare);
  }
  for (int capacity = 0; capacity < size; ++capacity) {
    EXPECT_FALSE(Encode(capacity, encoder).ok) << capacity;
  }
}

auto Length(int length) {
  return [=](unsigned char* data, int* remaining) {
    return asn_build_length(data, remaining, length);
  };
}

auto Header(unsigned char type, int length) {
  return [=](unsigned char* data, int* remaining) {
    return asn_build_header(data, remaining, type, length);
  };
}

auto Sequence(int length) {
  return [=](unsigned char* data, int* remaining) {
    return asn_build_sequence(data, remaining, 0x30, length);
  };
}

auto Int(int64_t value, int size = 8) {
  return [=](unsigned char* data, int* remaining) {
    return asn_build_int(data, remaining, 0x02, &value, size);
  };
}

auto Unsigned(uint64_t value, int size = 8) {
  return [=](unsigned char* data, int* remaining) {
    return asn_build_unsigned_int(data, remaining, 0x42, &value, size);
  };
}

auto String(const Bytes& bytes) {
  return [=](unsigned char* data, int* remaining) {
    return asn_build_string(data, remaining, 0x04, bytes.data(), static_cast<int>(bytes.size()));
  };
}

auto Oid(const std::vector<uint64_t>& oid) {
  return [=](unsigned char* data, int* remaining) {
    return asn_build_oid(data, remaining, 0x06, oid.data(), static_cast<int>(oid.size()));
  };
}

// 1.3 and `count` sub-identifiers that take five bytes each.
std::vector<uint64_t> LongOid(int count) {
  std::vector<uint64_t> oid = {1, 3};
  oid.insert(oid.end(), static_cast<size_t>(count), 0xFFFFFFFF);
  return oid;
}

// ---- Length, header, null, sequence ------------------------------------------------------------

TEST(AsnBuildLength, TakesOneTwoOrThreeBytes) {
  ExpectEncodes("00", Length(0));
  ExpectEncodes("01", Length(1));
  ExpectEncodes("7F", Length(127));
  ExpectEncodes("81 80", Length(128));
  ExpectEncodes("81 FF", Length(255));
  ExpectEncodes("82 01 00", Length(256));
  ExpectEncodes("82 12 34", Length(0x1234));
  ExpectEncodes("82 FF FF", Length(65535));
}

TEST(AsnBuildLength, WritesTheLow16BitsOfLargerLengths) {
  ExpectEncodes("82 00 00", Length(65536));
  ExpectEncodes("82 23 45", Length(0x12345));
  ExpectEncodes("82 FF FF", Length(INT_MAX));
}

TEST(AsnBuildLength, WritesNothingWhenItDoesNotFit) {
  const struct {
    int length;
    int capacity;
  } kCases[] = {{5, 0}, {128, 1}, {256, 2}};
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.length);
    const Encoded result = Encode(c.capacity, Length(c.length));
    EXPECT_FALSE(result.ok);
    EXPECT_EQ(result.remaining, c.capacity);
    EXPECT_EQ(result.buffer, Plain(Repeat("EE", c.capacity)));
  }
}

TEST(AsnBuildLength, RefusesNegativeLengths) {
  EXPECT_FALSE(Encode(10, Length(-1)).ok);
  EXPECT_FALSE(Encode(10, Length(INT_MIN)).ok);
}

TEST(AsnBuildHeader, WritesTypeAndLength) {
  ExpectEncodes("A0 1E", Header(0xA0, 30));
  ExpectEncodes("04 81 80", Header(0x04, 128));
  ExpectEncodes("30 82 01 00", Header(0x30, 256));
}

TEST(AsnBuildHeader, ChargesTheTypeEvenWhenTheLengthDoesNotFit) {
  const Encoded result = Encode(2, Header(0x30, 128));
  EXPECT_FALSE(result.ok);
  EXPECT_EQ(result.remaining, 1);
  EXPECT_EQ(result.buffer, "30 EE");
}

TEST(AsnBuildHeader, WritesNothingWithoutRoomForTheType) {
  unsigned char byte = kUntouched;
  for (int remaining : {0, -1, INT_MIN}) {
    const int before = remaining;
    EXPECT_EQ(asn_build_header(&byte, &remaining, 0x30, 1), nullptr);
    EXPECT_EQ(remaining, before);
  }
  EXPECT_EQ(byte, kUntouched);
}

TEST(AsnBuildNull, HasNoContents) {
  ExpectEncodes("05 00", [](unsigned char* data, int* remaining) {
    return asn_build_null(data, remaining, 0x05);
  });
}

TEST(AsnBuildSequence, AlwaysTakesFourBytes) {
  ExpectEncodes("30 82 00 00", Sequence(0));
  ExpectEncodes("30 82 00 05", Sequence(5));
  ExpectEncodes("30 82 00 7F", Sequence(127));
  ExpectEncodes("30 82 00 80", Sequence(128));
  ExpectEncodes("30 82 12 34", Sequence(0x1234));
}

TEST(AsnBuildSequence, WritesTheLow16BitsOfLargerLengths) {
  ExpectEncodes("30 82 00 05", Sequence(65536 + 5));
}

TEST(AsnBuildSequence, DoesNotChargeTheContents) {
  EXPECT_EQ(Encode(10, Sequence(1000)).remaining, 6);
}

TEST(AsnBuildSequence, LeavesCounterAndBytesWhenItDoesNotFit) {
  const Encoded result = Encode(3, Sequence(5));
  EXPECT_FALSE(result.ok);
  EXPECT_EQ(result.remaining, 3);
  EXPECT_EQ(result.buffer, "EE EE EE");
}

// ---- Integers ----------------------------------------------------------------------------------

TEST(AsnBuildInt, UsesTheFewestBytes) {
  const struct {
    int64_t value;
    const char* hex;
  } kCases[] = {
      {0, "02 01 00"},
      {1, "02 01 01"},
      {127, "02 01 7F"},
      {128, "02 02 00 80"},
      {255, "02 02 00 FF"},
      {256, "02 02 01 00"},
      {-1, "02 01 FF"},
      {-128, "02 01 80"},
      {-129, "02 02 FF 7F"},
      {32767, "02 02 7F FF"},
      {32768, "02 03 00 80 00"},
      {-32768, "02 02 80 00"},
      {-32769, "02 03 FF 7F FF"},
      {0x12345678, "02 04 12 34 56 78"},
      {INT32_MAX, "02 04 7F FF FF FF"},
      {INT32_MIN, "02 04 80 00 00 00"},
      {0x80000000, "02 05 00 80 00 00 00"},
      {INT64_MAX, "02 08 7F FF FF FF FF FF FF FF"},
      {INT64_MIN, "02 08 80 00 00 00 00 00 00 00"},
  };
  for (const auto& c : kCases) ExpectEncodes(c.hex, Int(c.value));
}

TEST(AsnBuildInt, RefusesEverySizeButEight) {
  for (int size : {-8, 0, 1, 4, 7, 9, 16}) EXPECT_FALSE(Encode(20, Int(5, size)).ok) << size;
}

TEST(AsnBuildUnsignedInt, UsesTheFewestBytesBelowTwoToThe63) {
  const struct {
    uint64_t value;
    const char* hex;
  } kCases[] = {
      {0, "42 01 00"},
      {127, "42 01 7F"},
      {128, "42 02 00 80"},
      {255, "42 02 00 FF"},
      {256, "42 02 01 00"},
      {0x7FFFFFFF, "42 04 7F FF FF FF"},
      {0x80000000, "42 05 00 80 00 00 00"},
      {0xFFFFFFFF, "42 05 00 FF FF FF FF"},
      {0x7FFFFFFFFFFFFFFF, "42 08 7F FF FF FF FF FF FF FF"},
  };
  for (const auto& c : kCases) ExpectEncodes(c.hex, Unsigned(c.value));
}

TEST(AsnBuildUnsignedInt, PutsAZeroBeforeValuesWithTheTopBit) {
  ExpectEncodes("42 09 00 80 00 00 00 00 00 00 00", Unsigned(0x8000000000000000));
  ExpectEncodes("42 09 00 FF 7F FF FF FF FF FF FF", Unsigned(0xFF7FFFFFFFFFFFFF));
}

TEST(AsnBuildUnsignedInt, LosesBytesOfValuesWhoseTopNineBitsAreOnes) {
  ExpectEncodes("42 02 00 FF", Unsigned(0xFFFFFFFFFFFFFFFF));
  ExpectEncodes("42 08 00 80 00 00 00 00 00 00", Unsigned(0xFF80000000000000));
  ExpectEncodes("42 05 00 80 00 00 00", Unsigned(0xFFFFFFFF80000000));
}

TEST(AsnBuildUnsignedInt, RefusesEverySizeButEight) {
  for (int size : {-8, 0, 1, 4, 7, 9, 16}) EXPECT_FALSE(Encode(20, Unsigned(5, size)).ok) << size;
}

// ---- Octet string ------------------------------------------------------------------------------

TEST(AsnBuildString, CopiesTheBytes) {
  ExpectEncodes("04 06 70 75 62 6C 69 63", String(FromHex("70 75 62 6C 69 63")));
  ExpectEncodes("04 03 00 FF 00", String(FromHex("00 FF 00")));
  ExpectEncodes("04 81 80" + Repeat("41", 128), String(Bytes(128, 0x41)));
  ExpectEncodes("04 82 01 00" + Repeat("41", 256), String(Bytes(256, 0x41)));
}

TEST(AsnBuildString, MayBeEmptyWithoutBytes) {
  ExpectEncodes("04 00", [](unsigned char* data, int* remaining) {
    return asn_build_string(data, remaining, 0x04, nullptr, 0);
  });
}

TEST(AsnBuildString, RefusesNegativeCountsAndMissingBytes) {
  const unsigned char bytes[] = {1, 2, 3};
  unsigned char buffer[20];
  for (int length : {-1, INT_MIN}) {
    int remaining = sizeof(buffer);
    EXPECT_EQ(asn_build_string(buffer, &remaining, 0x04, bytes, length), nullptr);
  }
  int remaining = sizeof(buffer);
  EXPECT_EQ(asn_build_string(buffer, &remaining, 0x04, nullptr, 3), nullptr);
}

// ---- Object identifier -------------------------------------------------------------------------

TEST(AsnBuildOid, PacksSubIdentifiers) {
  ExpectEncodes("06 08 2B 06 01 02 01 01 05 00", Oid({1, 3, 6, 1, 2, 1, 1, 5, 0}));
  ExpectEncodes("06 0D 2B 06 01 04 01 85 5B 83 15 01 01 01 03",
                Oid({1, 3, 6, 1, 4, 1, 731, 405, 1, 1, 1, 3}));
}

TEST(AsnBuildOid, WritesSevenBitsPerByte) {
  const struct {
    uint64_t sub_identifier;
    const char* hex;
  } kCases[] = {
      {0, "06 02 2B 00"},
      {127, "06 02 2B 7F"},
      {128, "06 03 2B 81 00"},
      {731, "06 03 2B 85 5B"},
      {16383, "06 03 2B FF 7F"},
      {16384, "06 04 2B 81 80 00"},
      {65535, "06 04 2B 83 FF 7F"},
      {2097151, "06 04 2B FF FF 7F"},
      {2097152, "06 05 2B 81 80 80 00"},
      {268435455, "06 05 2B FF FF FF 7F"},
      {268435456, "06 06 2B 81 80 80 80 00"},
      {4294967295, "06 06 2B 8F FF FF FF 7F"},
  };
  for (const auto& c : kCases) ExpectEncodes(c.hex, Oid({1, 3, c.sub_identifier}));
}

TEST(AsnBuildOid, CutsSubIdentifiersTo32Bits) {
  ExpectEncodes("06 02 2B 05", Oid({1, 3, 0x100000005}));
}

TEST(AsnBuildOid, NeverPacksTheFirstByte) {
  ExpectEncodes("06 01 2B", Oid({1, 3}));
  ExpectEncodes("06 01 00", Oid({0, 0}));
  ExpectEncodes("06 01 B4", Oid({2, 100}));
  ExpectEncodes("06 01 04", Oid({6, 20}));
}

TEST(AsnBuildOid, WritesASingleZeroForLessThanTwoSubIdentifiers) {
  ExpectEncodes("06 01 00", Oid({}));
  ExpectEncodes("06 01 00", Oid({7}));
}

TEST(AsnBuildOid, RefusesContentsAbove544Bytes) {
  const std::string five_bytes = "8F FF FF FF 7F ";
  ExpectEncodes("06 82 02 1D 2B " + Repeat(five_bytes, 108), Oid(LongOid(108)));
  EXPECT_FALSE(Encode(1000, Oid(LongOid(109))).ok);

  std::vector<uint64_t> full = LongOid(108);
  full.push_back(16384);
  ExpectEncodes("06 82 02 20 2B " + Repeat(five_bytes, 108) + "81 80 00", Oid(full));
  full.back() = 2097152;
  EXPECT_FALSE(Encode(1000, Oid(full)).ok);
  full.back() = 16384;
  full.push_back(0);
  EXPECT_FALSE(Encode(1000, Oid(full)).ok);
}

// ---- Reading lengths and headers ---------------------------------------------------------------

TEST(AsnParseLength, ReadsTheShortForm) {
  for (int length : {0, 1, 43, 127}) {
    const ExactBlock block({static_cast<unsigned char>(length)});
    uint64_t value = 99;
    EXPECT_EQ(asn_parse_length(block.data(), &value), block.data() + 1);
    EXPECT_EQ(value, static_cast<uint64_t>(length));
  }
}

TEST(AsnParseLength, ReadsTheLongFormByItsFirstBytesOnly) {
  const struct {
    const char* hex;
    uint64_t length;
  } kCases[] = {
      {"81 9A", 0},
      {"82 01 00", 0},
      {"83 01 02 03", 0},
      {"84 FF FF FF FF", 0},
      {"85 2B 00 00 00 00", 43},
      {"85 9A FF FF FF FF", 0x9A},
      {"86 01 02 03 04 05 06", 0x0102},
      {"87 01 02 03 04 05 06 07", 0x010203},
      {"88 01 02 03 04 05 06 07 08", 0x01020304},
      {"88 FF FF FF FF 00 00 00 00", 0xFFFFFFFF},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.hex);
    const ExactBlock block(FromHex(c.hex));
    uint64_t length = 99;
    EXPECT_EQ(asn_parse_length(block.data(), &length), block.data() + block.size());
    EXPECT_EQ(length, c.length);
  }
}

TEST(AsnParseLength, RefusesTheIndefiniteFormAndMoreThanEightBytes) {
  for (unsigned char first : {0x80, 0x89, 0xFF}) {
    const ExactBlock block({first});
    uint64_t length = 0;
    EXPECT_EQ(asn_parse_length(block.data(), &length), nullptr);
  }
}

// What a decoder did with some bytes.
struct Decoded {
  bool ok;
  int consumed;
  int remaining;
  int type;
};

// Runs a decoder on a block of exactly these bytes with the given counter.
template <typename Decoder>
Decoded Decode(const Bytes& bytes, int remaining, Decoder decoder) {
  const ExactBlock block(bytes);
  unsigned char type = kUntouched;
  const unsigned char* end = decoder(block.data(), &remaining, &type);
  const auto consumed = end == nullptr ? -1 : static_cast<int>(end - block.data());
  return {end != nullptr, consumed, remaining, type};
}

Decoded DecodeHeader(const std::string& hex, int remaining) {
  return Decode(FromHex(hex), remaining, asn_parse_header);
}

TEST(AsnParseHeader, SetsTheCounterToTheContents) {
  const Decoded result = DecodeHeader("A2 05 01 02 03 04 05", 20);
  EXPECT_TRUE(result.ok);
  EXPECT_EQ(result.type, 0xA2);
  EXPECT_EQ(result.consumed, 2);
  EXPECT_EQ(result.remaining, 5);
}

TEST(AsnParseHeader, ReadsALongFormOfOneToFourBytesAsZero) {
  const Decoded one = DecodeHeader("30 81 9A 01 02", 5);
  EXPECT_EQ(one.consumed, 3);
  EXPECT_EQ(one.remaining, 0);
  const Decoded two = DecodeHeader("30 82 01 00", 4);
  EXPECT_EQ(two.consumed, 4);
  EXPECT_EQ(two.remaining, 0);
}

TEST(AsnParseHeader, ReadsALongFormOfFiveBytesByItsFirst) {
  const Decoded result = DecodeHeader("30 85 02 00 00 00 00 AA BB", 9);
  EXPECT_EQ(result.consumed, 7);
  EXPECT_EQ(result.remaining, 2);
}

TEST(AsnParseHeader, RefusesHighTagNumbers) {
  for (const char* hex : {"1F 00", "3F 00", "5F 00", "BF 00", "FF 00"}) {
    EXPECT_FALSE(DecodeHeader(hex, 2).ok) << hex;
  }
  EXPECT_TRUE(DecodeHeader("1E 00", 2).ok);
}

TEST(AsnParseHeader, RefusesElementsThatDoNotFit) {
  EXPECT_TRUE(DecodeHeader("30 05", 7).ok);
  EXPECT_FALSE(DecodeHeader("30 05", 6).ok);
  EXPECT_TRUE(DecodeHeader("30 85 2B 00 00 00 00", 50).ok);
  EXPECT_FALSE(DecodeHeader("30 85 2B 00 00 00 00", 49).ok);
}

TEST(AsnParseHeader, RefusesLengthsThatWouldOverflow32Bits) {
  EXPECT_FALSE(DecodeHeader("30 88 FF FF FF FF 00 00 00 00", INT_MAX).ok);
  EXPECT_FALSE(DecodeHeader("30 88 7F FF FF FF 00 00 00 00", INT_MAX).ok);
  EXPECT_FALSE(DecodeHeader("30 88 80 00 00 00 00 00 00 00", 1536).ok);
}

TEST(AsnParseHeader, RefusesBadLengthFields) {
  EXPECT_FALSE(DecodeHeader("30 80 00 00", 4).ok);
  EXPECT_FALSE(DecodeHeader("30 89 00 00 00 00 00 00 00 00 00", 11).ok);
}

TEST(AsnParseHeader, ReadsNothingBehindTheCounter) {
  const struct {
    const char* hex;
    int remaining;
  } kCases[] = {{"", 0}, {"", -1}, {"", INT_MIN}, {"30", 1}, {"30 88", 2}, {"30 88 00 00", 4}};
  for (const auto& c : kCases) {
    const LastBytes bytes(FromHex(c.hex));
    int remaining = c.remaining;
    unsigned char type = 0;
    EXPECT_EQ(nullptr, asn_parse_header(bytes.data(), &remaining, &type)) << c.hex;
  }
}

TEST(AsnParseNull, ChargesTheHeader) {
  const Decoded result = Decode(FromHex("05 00"), 20, asn_parse_null);
  EXPECT_TRUE(result.ok);
  EXPECT_EQ(result.type, 0x05);
  EXPECT_EQ(result.consumed, 2);
  EXPECT_EQ(result.remaining, 18);
}

TEST(AsnParseNull, RefusesContents) {
  EXPECT_FALSE(Decode(FromHex("05 01 00"), 3, asn_parse_null).ok);
  EXPECT_FALSE(Decode(FromHex("05 80"), 2, asn_parse_null).ok);
}

TEST(AsnParseNull, DoesNotConsultTheCounter) {
  const Decoded result = Decode(FromHex("05 00"), 1, asn_parse_null);
  EXPECT_TRUE(result.ok);
  EXPECT_EQ(result.remaining, -1);
  EXPECT_EQ(Decode(FromHex("05 81 07"), 0, asn_parse_null).remaining, -3);
}

TEST(AsnReadAhead, OfALengthEndsWhereTheHeaderSays) {
  for (int first = 0; first <= 0xFF; ++first) {
    Bytes bytes(kAsnLengthReadAhead);
    bytes[0] = static_cast<unsigned char>(first);
    const LastBytes last(bytes);
    uint64_t length = 0;
    const bool is_understood = asn_parse_length(last.data(), &length) != nullptr;
    EXPECT_EQ(is_understood, first < 0x80 || (first > 0x80 && first <= 0x88)) << first;
  }
}

TEST(AsnReadAhead, OfANullEndsWhereTheHeaderSays) {
  for (int first = 0; first <= 0xFF; ++first) {
    Bytes bytes(kAsnNullReadAhead);
    bytes[1] = static_cast<unsigned char>(first);
    const LastBytes last(bytes);
    int remaining = 0;
    unsigned char type = 0;
    const bool is_understood = asn_parse_null(last.data(), &remaining, &type) != nullptr;
    EXPECT_EQ(is_understood, first == 0 || (first > 0x80 && first <= 0x88)) << first;
  }
}

// Elements cut off anywhere, with any length byte.
TEST(AsnReadAhead, OfTheOthersEndsWhereTheHeaderSays) {
  const Bytes behind(kAsnIntReadAhead, 0xFF);
  for (int length_byte = 0; length_byte <= 0xFF; ++length_byte) {
    Bytes bytes;
    for (const int byte : {0x02, length_byte, 1, 0, 0, 0, 0, 0, 0, 0, 7, 7}) {
      const auto size = static_cast<int>(bytes.size());
      const LastBytes exact(bytes);
      Bytes longer = bytes;
      longer.insert(longer.end(), behind.begin(), behind.end());
      const LastBytes padded(longer);
      unsigned char type = 0;
      int64_t number = 0;
      uint64_t count = 0;
      unsigned char text[16];
      uint64_t oid[16];
      int room = 16;
      int left = size;
      asn_parse_int(padded.data(), &left, &type, &number, 8);
      EXPECT_GE(left, 0);
      left = size;
      asn_parse_unsigned_int(padded.data(), &left, &type, &count, 8);
      EXPECT_GE(left, 0);
      left = size;
      asn_parse_header(exact.data(), &left, &type);
      EXPECT_GE(left, 0);
      left = size;
      asn_parse_string(exact.data(), &left, &type, text, &room);
      EXPECT_GE(left, 0);
      room = 16;
      left = size;
      asn_parse_oid(exact.data(), &left, &type, oid, &room);
      EXPECT_GE(left, 0);
      bytes.push_back(static_cast<unsigned char>(byte));
    }
  }
}

// ---- Reading integers --------------------------------------------------------------------------

struct DecodedInt {
  Decoded element;
  int64_t value;
};

DecodedInt DecodeInt(const std::string& hex, int remaining, int size = 8) {
  int64_t value = 0x5555;
  const Decoded element = Decode(FromHex(hex), remaining,
                                 [&](const unsigned char* data, int* left, unsigned char* tag) {
                                   return asn_parse_int(data, left, tag, &value, size);
                                 });
  return {element, value};
}

DecodedInt DecodeInt(const std::string& hex) {
  return DecodeInt(hex, static_cast<int>(FromHex(hex).size()));
}

struct DecodedUnsigned {
  Decoded element;
  uint64_t value;
};

DecodedUnsigned DecodeUnsigned(const std::string& hex, int remaining, int size = 8) {
  uint64_t value = 0x5555;
  const Decoded element = Decode(FromHex(hex), remaining,
                                 [&](const unsigned char* data, int* left, unsigned char* tag) {
                                   return asn_parse_unsigned_int(data, left, tag, &value, size);
                                 });
  return {element, value};
}

DecodedUnsigned DecodeUnsigned(const std::string& hex) {
  return DecodeUnsigned(hex, static_cast<int>(FromHex(hex).size()));
}

TEST(AsnParseInt, ExtendsTheSign) {
  const struct {
    const char* hex;
    int64_t value;
  } kCases[] = {
      {"02 01 00", 0},
      {"02 01 7F", 127},
      {"02 01 80", -128},
      {"02 01 FF", -1},
      {"02 02 00 FF", 255},
      {"02 02 FF 7F", -129},
      {"02 04 12 34 56 78", 0x12345678},
      {"02 04 80 00 00 00", INT32_MIN},
      {"02 05 00 80 00 00 00", 0x80000000},
      {"02 08 7F FF FF FF FF FF FF FF", INT64_MAX},
      {"02 08 80 00 00 00 00 00 00 00", INT64_MIN},
      {"02 04 00 00 00 05", 5},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.hex);
    const DecodedInt result = DecodeInt(c.hex);
    EXPECT_TRUE(result.element.ok);
    EXPECT_EQ(result.value, c.value);
    EXPECT_EQ(result.element.remaining, 0);
  }
}

TEST(AsnParseInt, ChargesTheWholeElement) {
  const DecodedInt result = DecodeInt("02 02 01 00 AA", 20);
  EXPECT_EQ(result.element.consumed, 4);
  EXPECT_EQ(result.element.remaining, 16);
}

TEST(AsnParseInt, TakesAnyTag) {
  const DecodedInt string = DecodeInt("04 01 05");
  EXPECT_EQ(string.value, 5);
  EXPECT_EQ(string.element.type, 0x04);
  EXPECT_EQ(DecodeInt("1F 01 05").element.type, 0x1F);
}

TEST(AsnParseInt, RefusesMoreThanEightBytes) {
  EXPECT_FALSE(DecodeInt("02 09 00 00 00 00 00 00 00 00 01").element.ok);
}

TEST(AsnParseInt, RefusesEverySizeButEight) {
  for (int size : {-8, 0, 1, 4, 7, 9, 16}) {
    EXPECT_FALSE(DecodeInt("02 01 05", 3, size).element.ok) << size;
  }
}

TEST(AsnParseInt, TakesTheSignOfAnEmptyIntegerFromTheNextByte) {
  const DecodedInt negative = DecodeInt("02 00 80", 2);
  EXPECT_TRUE(negative.element.ok);
  EXPECT_EQ(negative.value, -1);
  EXPECT_EQ(negative.element.consumed, 2);
  EXPECT_EQ(negative.element.remaining, 0);
  EXPECT_EQ(DecodeInt("02 00 7F", 2).value, 0);
  EXPECT_EQ(DecodeInt("02 00 FF", 3).value, -1);
}

TEST(AsnParseInt, ReadsALongFormOfOneByteAsEmpty) {
  const DecodedInt result = DecodeInt("02 81 01 05");
  EXPECT_TRUE(result.element.ok);
  EXPECT_EQ(result.value, 0);
  EXPECT_EQ(result.element.consumed, 3);
  EXPECT_EQ(result.element.remaining, 1);
}

TEST(AsnParseUnsignedInt, ReadsMinimalForms) {
  const struct {
    const char* hex;
    uint64_t value;
  } kCases[] = {
      {"42 01 00", 0},
      {"42 01 7F", 127},
      {"42 02 00 80", 128},
      {"42 05 00 80 00 00 00", 0x80000000},
      {"42 05 00 FF FF FF FF", 0xFFFFFFFF},
      {"42 08 7F FF FF FF FF FF FF FF", 0x7FFFFFFFFFFFFFFF},
      {"42 09 00 80 00 00 00 00 00 00 00", 0x8000000000000000},
      {"42 09 00 FF FF FF FF FF FF FF FF", 0xFFFFFFFFFFFFFFFF},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.hex);
    const DecodedUnsigned result = DecodeUnsigned(c.hex);
    EXPECT_TRUE(result.element.ok);
    EXPECT_EQ(result.value, c.value);
    EXPECT_EQ(result.element.remaining, 0);
    EXPECT_EQ(result.element.type, 0x42);
  }
}

TEST(AsnParseUnsignedInt, ExtendsTheTopBitBy32OneBits) {
  const struct {
    const char* hex;
    uint64_t value;
  } kCases[] = {
      {"42 01 80", 0x000000FFFFFFFF80},
      {"42 01 FF", 0x000000FFFFFFFFFF},
      {"42 02 80 00", 0x0000FFFFFFFF8000},
      {"42 03 80 00 00", 0x00FFFFFFFF800000},
      {"42 04 80 00 00 00", 0xFFFFFFFF80000000},
      {"42 05 80 00 00 00 00", 0xFFFFFF8000000000},
      {"42 08 80 00 00 00 00 00 00 00", 0x8000000000000000},
  };
  for (const auto& c : kCases) EXPECT_EQ(DecodeUnsigned(c.hex).value, c.value) << c.hex;
}

TEST(AsnParseUnsignedInt, ChargesTheWholeElement) {
  const DecodedUnsigned result = DecodeUnsigned("42 02 01 00 AA", 20);
  EXPECT_EQ(result.element.consumed, 4);
  EXPECT_EQ(result.element.remaining, 16);
}

TEST(AsnParseUnsignedInt, TakesNineBytesOnlyWithALeadingZero) {
  EXPECT_FALSE(DecodeUnsigned("42 09 01 00 00 00 00 00 00 00 00").element.ok);
  EXPECT_FALSE(DecodeUnsigned("42 0A 00 00 00 00 00 00 00 00 00 01").element.ok);
}

TEST(AsnParseUnsignedInt, RefusesEverySizeButEight) {
  for (int size : {-8, 0, 1, 4, 7, 9, 16}) {
    EXPECT_FALSE(DecodeUnsigned("42 01 05", 3, size).element.ok) << size;
  }
}

TEST(AsnParseUnsignedInt, TakesTheSignOfAnEmptyIntegerFromTheNextByte) {
  const DecodedUnsigned result = DecodeUnsigned("42 00 80", 2);
  EXPECT_TRUE(result.element.ok);
  EXPECT_EQ(result.value, 0x00000000FFFFFFFFU);
  EXPECT_EQ(result.element.consumed, 2);
  EXPECT_EQ(DecodeUnsigned("42 00 7F", 2).value, 0U);
}

// ---- Reading strings ---------------------------------------------------------------------------

struct DecodedString {
  Decoded element;
  int length;
  std::string buffer;  // all of it
};

DecodedString DecodeString(const std::string& hex, int remaining, int capacity) {
  const ExactBlock buffer(Bytes(static_cast<size_t>(capacity), kUntouched));
  int length = capacity;
  const Decoded element = Decode(FromHex(hex), remaining,
                                 [&](const unsigned char* data, int* left, unsigned char* tag) {
                                   return asn_parse_string(data, left, tag, buffer.data(), &length);
                                 });
  return {element, length, ToHex(buffer.data(), static_cast<size_t>(capacity))};
}

TEST(AsnParseString, CopiesTheBytesWithoutATerminator) {
  const DecodedString result = DecodeString("04 03 61 00 63 AA", 20, 6);
  EXPECT_TRUE(result.element.ok);
  EXPECT_EQ(result.length, 3);
  EXPECT_EQ(result.buffer, "61 00 63 EE EE EE");
  EXPECT_EQ(result.element.type, 0x04);
  EXPECT_EQ(result.element.consumed, 5);
  EXPECT_EQ(result.element.remaining, 15);
}

TEST(AsnParseString, MayFillTheBufferButNotExceedIt) {
  EXPECT_EQ(DecodeString("04 03 61 62 63", 5, 3).buffer, "61 62 63");
  EXPECT_FALSE(DecodeString("04 03 61 62 63", 5, 2).element.ok);
  EXPECT_FALSE(DecodeString("04 01 61", 3, 0).element.ok);
}

TEST(AsnParseString, MayBeEmpty) {
  const DecodedString result = DecodeString("04 00", 2, 0);
  EXPECT_TRUE(result.element.ok);
  EXPECT_EQ(result.length, 0);
  EXPECT_EQ(result.element.remaining, 0);
}

TEST(AsnParseString, RefusesAnyLengthForANegativeCapacity) {
  const ExactBlock block(FromHex("04 00"));
  unsigned char type = 0;
  unsigned char byte = kUntouched;
  int remaining = 2;
  int capacity = -1;
  EXPECT_EQ(asn_parse_string(block.data(), &remaining, &type, &byte, &capacity), nullptr);
}

// ---- Reading object identifiers ----------------------------------------------------------------

struct DecodedOid {
  Decoded element;
  int count;
  std::vector<uint64_t> oid;  // all entries
};

DecodedOid DecodeOid(const std::string& hex, int remaining, int capacity) {
  const std::unique_ptr<uint64_t[]> oid(new uint64_t[static_cast<size_t>(capacity)]);
  std::fill(oid.get(), oid.get() + capacity, 99);
  int count = capacity;
  const Decoded element = Decode(FromHex(hex), remaining,
                                 [&](const unsigned char* data, int* left, unsigned char* tag) {
                                   return asn_parse_oid(data, left, tag, oid.get(), &count);
                                 });
  return {element, count, {oid.get(), oid.get() + capacity}};
}

// The sub-identifiers of an element that is decoded as a whole; {} when it is refused.
std::vector<uint64_t> OidOf(const std::string& hex) {
  DecodedOid result = DecodeOid(hex, static_cast<int>(FromHex(hex).size()), 128);
  if (!result.element.ok) return {};
  EXPECT_EQ(result.element.remaining, 0);
  EXPECT_EQ(result.element.consumed, static_cast<int>(FromHex(hex).size()));
  result.oid.resize(static_cast<size_t>(result.count));
  return result.oid;
}

using Ids = std::vector<uint64_t>;

TEST(AsnParseOid, ReadsSubIdentifiers) {
  EXPECT_EQ(OidOf("06 03 2B 06 01"), (Ids{1, 3, 6, 1}));
  EXPECT_EQ(OidOf("06 08 2B 06 01 02 01 01 05 00"), (Ids{1, 3, 6, 1, 2, 1, 1, 5, 0}));
  EXPECT_EQ(OidOf("06 03 2B 85 5B"), (Ids{1, 3, 731}));
  EXPECT_EQ(OidOf("06 06 2B 8F FF FF FF 7F"), (Ids{1, 3, 4294967295}));
  EXPECT_EQ(OidOf("06 05 2B 80 80 80 01"), (Ids{1, 3, 1}));
}

TEST(AsnParseOid, SplitsTheFirstNumberByForty) {
  EXPECT_EQ(OidOf("06 01 2B"), (Ids{1, 3}));
  EXPECT_EQ(OidOf("06 01 00"), (Ids{0, 0}));
  EXPECT_EQ(OidOf("06 01 27"), (Ids{0, 39}));
  EXPECT_EQ(OidOf("06 01 28"), (Ids{1, 0}));
  EXPECT_EQ(OidOf("06 01 50"), (Ids{2, 0}));
  EXPECT_EQ(OidOf("06 01 51"), (Ids{2, 1}));
  EXPECT_EQ(OidOf("06 01 78"), (Ids{3, 0}));
  EXPECT_EQ(OidOf("06 02 81 34"), (Ids{4, 20}));
  EXPECT_EQ(OidOf("06 02 80 2B"), (Ids{1, 3}));
}

TEST(AsnParseOid, ReadsEmptyContentsAsTwoZeroEntriesButCountsOne) {
  const DecodedOid result = DecodeOid("06 00", 2, 4);
  EXPECT_TRUE(result.element.ok);
  EXPECT_EQ(result.count, 1);
  EXPECT_EQ(result.oid, (Ids{0, 0, 99, 99}));
  EXPECT_EQ(result.element.consumed, 2);
  EXPECT_EQ(result.element.remaining, 0);
}

TEST(AsnParseOid, RefusesSubIdentifiersAbove32Bits) {
  EXPECT_EQ(OidOf("06 06 2B 90 80 80 80 00"), Ids{});
  EXPECT_EQ(OidOf("06 0B 2B FF FF FF FF FF FF FF FF FF 7F"), Ids{});
  EXPECT_EQ(OidOf("06 05 90 80 80 80 00"), Ids{});
}

TEST(AsnParseOid, RefusesASubIdentifierThatTheEndCutsOff) {
  EXPECT_FALSE(DecodeOid("06 02 2B 86", 4, 128).element.ok);
  EXPECT_FALSE(DecodeOid("06 02 2B 86 01", 5, 128).element.ok);
  EXPECT_FALSE(DecodeOid("06 01 AB", 3, 128).element.ok);
  EXPECT_FALSE(DecodeOid("06 08 80 80 80 80 80 80 80 80", 10, 128).element.ok);
}

TEST(AsnParseOid, StopsInsideTheContentsWhenTheCapacityIsUsedUp) {
  const DecodedOid result = DecodeOid("06 05 2B 06 01 04 01 AA", 20, 3);
  EXPECT_TRUE(result.element.ok);
  EXPECT_EQ(result.count, 3);
  EXPECT_EQ(result.oid, (Ids{1, 3, 6}));
  EXPECT_EQ(result.element.consumed, 4);
  EXPECT_EQ(result.element.remaining, 13);
}

TEST(AsnParseOid, ReadsOneNumberIntoTwoEntries) {
  const DecodedOid result = DecodeOid("06 02 2B 06", 4, 2);
  EXPECT_EQ(result.count, 2);
  EXPECT_EQ(result.oid, (Ids{1, 3}));
  EXPECT_EQ(result.element.consumed, 3);
}

TEST(AsnParseOid, RefusesArraysOfLessThanTwoEntries) {
  EXPECT_FALSE(DecodeOid("06 01 2B", 3, 1).element.ok);
  EXPECT_FALSE(DecodeOid("06 01 2B", 3, 0).element.ok);
  EXPECT_FALSE(DecodeOid("06 00", 2, 1).element.ok);
}

TEST(AsnParseOid, TakesAnyTag) { EXPECT_EQ(OidOf("04 02 2B 06"), (Ids{1, 3, 6})); }

// ---- Truncation --------------------------------------------------------------------------------

// Every shorter counter makes a decoder fail, without a look at the bytes behind it.
template <typename Decoder>
void ExpectEveryTruncationFails(const std::string& hex, Decoder decoder) {
  SCOPED_TRACE(hex);
  const Bytes whole = FromHex(hex);
  EXPECT_TRUE(Decode(whole, static_cast<int>(whole.size()), decoder).ok);
  for (size_t size = 0; size < whole.size(); ++size) {
    const Bytes part(whole.begin(), whole.begin() + static_cast<long>(size));
    EXPECT_FALSE(Decode(part, static_cast<int>(size), decoder).ok) << size;
  }
}

TEST(AsnTruncation, MakesEveryDecoderFail) {
  ExpectEveryTruncationFails("30 03 02 01 05", asn_parse_header);
  ExpectEveryTruncationFails("30 85 02 00 00 00 00 05 00", asn_parse_header);
  for (const char* hex : {"02 04 12 34 56 78", "02 88 00 00 00 01 00 00 00 00 05"}) {
    ExpectEveryTruncationFails(hex, [](const unsigned char* data, int* left, unsigned char* type) {
      int64_t value = 0;
      return asn_parse_int(data, left, type, &value, 8);
    });
  }
  ExpectEveryTruncationFails("42 05 00 80 00 00 00",
                             [](const unsigned char* data, int* left, unsigned char* type) {
                               uint64_t value = 0;
                               return asn_parse_unsigned_int(data, left, type, &value, 8);
                             });
  ExpectEveryTruncationFails("04 06 70 75 62 6C 69 63",
                             [](const unsigned char* data, int* left, unsigned char* type) {
                               unsigned char text[16];
                               int length = sizeof(text);
                               return asn_parse_string(data, left, type, text, &length);
                             });
  ExpectEveryTruncationFails("06 03 2B 85 5B",
                             [](const unsigned char* data, int* left, unsigned char* type) {
                               uint64_t oid[16];
                               int count = 16;
                               return asn_parse_oid(data, left, type, oid, &count);
                             });
}

// ---- Tags --------------------------------------------------------------------------------------

TEST(AsnTags, AreThoseOfTheProtocol) {
  EXPECT_EQ(kAsnInteger, 0x02);
  EXPECT_EQ(kAsnOctetString, 0x04);
  EXPECT_EQ(kAsnNull, 0x05);
  EXPECT_EQ(kAsnObjectId, 0x06);
  EXPECT_EQ(kAsnSequence, 0x30);
  EXPECT_EQ(kAsnIpAddress, 0x40);
  EXPECT_EQ(kAsnCounter, 0x41);
  EXPECT_EQ(kAsnGauge, 0x42);
  EXPECT_EQ(kAsnTimeTicks, 0x43);
}

}  // namespace
