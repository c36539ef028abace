// Single BER elements: lengths in every form that a scanner may be told to use, object identifiers,
// integers, and a reader for requests.
//
// RFC 1157 section 2 lets an SNMP message use any definite length form. The program under test
// reads the one-byte short form (contents of up to 127 bytes) only, so that is the form of every
// answer unless a scenario says otherwise.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "tools/scanner-sim/bytes.h"

// Tags of RFC 1157 and RFC 1155.
enum BerTag : uint8_t {
  kTagInteger = 0x02,
  kTagString = 0x04,
  kTagNull = 0x05,
  kTagOid = 0x06,
  kTagSequence = 0x30,
  kTagAddress = 0x40,
  kTagCounter = 0x41,
  kTagGauge = 0x42,
  kTagTicks = 0x43,
  kTagOpaque = 0x44,
};

using Oid = std::vector<uint32_t>;

// How a length field is written.
enum class LengthStyle {
  kShort,    // one byte; only contents of up to 127 bytes can be stated
  kMinimal,  // the shortest form that fits, as other agents write it
  kLong,     // 0x80 + n, then n bytes (1 to 8), most significant first
  kLeft,     // 0x85 to 0x88, the length in the first n - 4 bytes, then four zero bytes
  kRaw,      // one given byte, whatever the real length is
};

struct LengthForm {
  LengthStyle style = LengthStyle::kShort;
  int number = 0;  // kLong, kLeft: n; kRaw: the byte
};

// "short", "minimal", "long1" to "long8", "left5" to "left8", "byte00" to "byteff"; nothing for any
// other text.
std::optional<LengthForm> parse_length_form(const std::string& text);

// Contents too long for the length form in which they are to be stated.
class LengthError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Appends a length field. Throws LengthError when the form cannot state this length.
void append_length(Bytes* out, size_t length, LengthForm form);

// Appends tag, length field and contents. Throws as append_length does.
void append_element(Bytes* out, uint8_t tag, const Bytes& contents, LengthForm form);

// Contents of an INTEGER in as few bytes as two's complement allows.
Bytes integer_contents(int64_t value);

// "1.3.6.1" to numbers; nothing unless it is two or more numbers of 32 bits with points between
// them, the first at most 2 and, for 0 and 1, the second at most 39.
std::optional<Oid> parse_oid(const std::string& text);
std::string oid_text(const Oid& oid);
Bytes oid_contents(const Oid& oid);

// Bytes that are not what they should be. The message says what was expected.
class BerError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Reads elements one after the other. It accepts every definite length form of up to four length
// bytes, also forms that are longer than need be. The bytes must outlive the reader.
class CBerReader {
 public:
  explicit CBerReader(const Bytes& bytes) : m_pData(bytes.data()), m_iLeft(bytes.size()) {}

  // The number of bytes not read yet.
  size_t Left() const { return m_iLeft; }

  // The tag of the next element. Throws BerError at the end of the bytes.
  uint8_t PeekTag() const;

  // Reads an element with this tag and returns its contents; what names it in messages. Throws
  // BerError when the tag is another one or the element reaches past the end.
  Bytes Read(uint8_t tag, const char* what);

  // Reads an INTEGER of up to 8 contents bytes.
  int64_t ReadInteger(const char* what);

  // Reads an OBJECT IDENTIFIER with sub-identifiers of up to 32 bits.
  Oid ReadOid(const char* what);

 private:
  uint8_t Next(const char* what);
  size_t ReadLength(const char* what);

  const uint8_t* m_pData;
  size_t m_iLeft;
};
