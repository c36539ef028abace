// Bytes of the wire in tests: written as hex text, kept in blocks of their exact size.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

using Bytes = std::vector<unsigned char>;

// Reads hex text; blanks, line ends and "|" separate elements for the eye and mean nothing.
inline Bytes FromHex(const std::string& text) {
  Bytes bytes;
  std::string digits;
  for (char c : text) {
    if (std::isxdigit(static_cast<unsigned char>(c)) != 0) {
      digits += c;
    } else if (c != ' ' && c != '|' && c != '\n') {
      throw std::invalid_argument("not hex: " + text);
    }
  }
  if (digits.size() % 2 != 0) throw std::invalid_argument("half a byte: " + text);
  for (size_t i = 0; i < digits.size(); i += 2) {
    bytes.push_back(static_cast<unsigned char>(std::stoi(digits.substr(i, 2), nullptr, 16)));
  }
  return bytes;
}

inline std::string ToHex(const unsigned char* data, size_t size) {
  static const char kDigits[] = "0123456789ABCDEF";
  std::string text;
  for (size_t i = 0; i < size; ++i) {
    if (i > 0) text += ' ';
    text += kDigits[data[i] >> 4];
    text += kDigits[data[i] & 0xF];
  }
  return text;
}

inline std::string ToHex(const Bytes& bytes) { return ToHex(bytes.data(), bytes.size()); }

// Hex text in the form that ToHex gives, for comparing.
inline std::string Plain(const std::string& hex) { return ToHex(FromHex(hex)); }

// `count` times the same byte, as hex text.
inline std::string Repeat(const std::string& byte, int count) {
  std::string text;
  for (int i = 0; i < count; ++i) text += byte + " ";
  return text;
}

// A copy of some bytes in a heap block of exactly their size, so that the address sanitizer sees
// every access outside of them.
class ExactBlock {
 public:
  explicit ExactBlock(const Bytes& bytes)
      : m_pData(new unsigned char[bytes.size()]), m_nSize(bytes.size()) {
    if (!bytes.empty()) memcpy(m_pData.get(), bytes.data(), bytes.size());
  }

  unsigned char* data() const { return m_pData.get(); }
  int size() const { return static_cast<int>(m_nSize); }

 private:
  std::unique_ptr<unsigned char[]> m_pData;
  size_t m_nSize;
};

// Bytes behind which no memory can be read.
class LastBytes {
 public:
  explicit LastBytes(const Bytes& bytes) : m_nPage(static_cast<size_t>(sysconf(_SC_PAGESIZE))) {
    m_pPages = static_cast<unsigned char*>(
        mmap(nullptr, 2 * m_nPage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    mprotect(m_pPages + m_nPage, m_nPage, PROT_NONE);
    m_pData = std::copy_backward(bytes.begin(), bytes.end(), m_pPages + m_nPage);
  }
  ~LastBytes() { munmap(m_pPages, 2 * m_nPage); }
  LastBytes(const LastBytes&) = delete;
  LastBytes& operator=(const LastBytes&) = delete;
  const unsigned char* data() const { return m_pData; }

 private:
  size_t m_nPage;
  unsigned char* m_pPages;
  unsigned char* m_pData;
};
