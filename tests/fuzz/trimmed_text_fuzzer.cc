// Fuzz target: the text of received bytes, compared with a plain reading of the rules.
//
// Input: the bytes.
#include "snmp/simple_pdu.h"
#include "tests/fuzz/fuzz_target.h"

namespace {

using fuzz::Block;
using fuzz::Bytes;
using fuzz::Require;

bool IsVisible(unsigned char byte) { return byte > 0x20 && byte < 0x7F; }

// The bytes up to the last visible one, zeros behind them and one more zero.
Bytes PlainTrimmed(Bytes bytes) {
  size_t used = bytes.size();
  while (used > 0 && !IsVisible(bytes[used - 1])) --used;
  std::fill(bytes.begin() + static_cast<std::ptrdiff_t>(used), bytes.end(), 0);
  bytes.push_back(0);
  return bytes;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Bytes bytes(data, data + size);
  const Bytes expected = PlainTrimmed(bytes);
  bytes.push_back(Block<char>::kPattern);
  const Block<unsigned char> block(bytes);
  char* text = reinterpret_cast<char*>(block.data());
  Require(snmp2c_str(text, static_cast<int>(size)) == text, "the buffer is returned");
  Require(block.First(size + 1) == expected, "the text is trimmed at its end only");
  snmp2c_str(text, static_cast<int>(size));
  Require(block.First(size + 1) == expected, "a trimmed text stays as it is");
  Require(snmp2c_str(text, -1) == text && block.First(size + 1) == expected,
          "a negative length changes nothing");
  return 0;
}
