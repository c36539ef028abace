// What every fuzz target has: its entry, the bytes of its input, the properties that it checks and
// the blocks of memory in which it hands bytes to the code under test.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

// Runs the code under test on one input. Called by libFuzzer, and by replay_test.cc for the inputs
// of the corpus. Returns 0.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace fuzz {

using Bytes = std::vector<unsigned char>;

// Ends the run on this input as a failure unless the property holds. libFuzzer takes the exception
// for a crash, the replay for a failed test.
inline void Require(bool holds, const char* property) {
  if (!holds) throw std::logic_error(property);
}

// The bytes of an input, taken from the front piece by piece. An input that is used up gives zeros.
class Input {
 public:
  Input(const uint8_t* data, size_t size) : m_pData(data), m_nSize(size) {}

  size_t Left() const { return m_nSize; }

  unsigned char Byte() {
    if (m_nSize == 0) return 0;
    --m_nSize;
    return *m_pData++;
  }

  // Two bytes, the low one first.
  int Word() {
    const int low = Byte();
    return low | Byte() << 8;
  }

  // Eight bytes, the low one first.
  uint64_t Number() {
    uint64_t number = 0;
    for (int shift = 0; shift < 64; shift += 8) number |= uint64_t{Byte()} << shift;
    return number;
  }

  // A number with few bytes for the small ones: a count of bytes up to 8, then the bytes.
  uint64_t ShortNumber() {
    const int count = std::min<int>(Byte(), 8);
    uint64_t number = 0;
    for (int i = 0; i < count; ++i) number = number << 8 | Byte();
    return number;
  }

  // At most `count` bytes.
  Bytes Take(size_t count) {
    count = std::min(count, m_nSize);
    Bytes bytes(m_pData, m_pData + count);
    m_pData += count;
    m_nSize -= count;
    return bytes;
  }

  Bytes Rest() { return Take(m_nSize); }

  // At most `count` bytes as a text, which ends before the first zero.
  std::string Text(size_t count) {
    const Bytes bytes = Take(count);
    return {bytes.begin(), std::find(bytes.begin(), bytes.end(), 0)};
  }

 private:
  const uint8_t* m_pData;
  size_t m_nSize;
};

// `count` elements in a heap block of exactly that size, so that the sanitizers see every access
// outside of them. Filled with a pattern.
template <typename T>
class Block {
 public:
  static constexpr unsigned char kPattern = 0xA5;

  explicit Block(size_t count) : m_pData(new T[count]), m_nCount(count) {
    if (count > 0) memset(m_pData.get(), kPattern, count * sizeof(T));
  }

  explicit Block(const std::vector<T>& elements) : Block(elements.size()) {
    std::copy(elements.begin(), elements.end(), m_pData.get());
  }

  T* data() const { return m_pData.get(); }
  size_t size() const { return m_nCount; }

  // The first elements.
  std::vector<T> First(size_t count) const {
    Require(count <= m_nCount, "a block is not read past its end");
    return {m_pData.get(), m_pData.get() + count};
  }

 private:
  std::unique_ptr<T[]> m_pData;
  size_t m_nCount;
};

// A text with its zero in a block of exactly its size.
inline Block<char> TextBlock(const std::string& text) {
  return Block<char>(std::vector<char>(text.c_str(), text.c_str() + text.size() + 1));
}

}  // namespace fuzz
