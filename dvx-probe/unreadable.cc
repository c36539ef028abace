// Why the program cannot read an answer, and what is in it.
#include "dvx-probe/unreadable.h"

#include <algorithm>
#include <cstdio>

#include "snmp/asn.h"

namespace {

constexpr size_t kMostDumped = 256;
constexpr size_t kPerLine = 16;

std::string Hex(uint8_t byte) {
  char text[4];
  snprintf(text, sizeof(text), "%02X", byte);
  return text;
}

std::string Count(size_t count, const char* what) {
  return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

// Steps through a message the way BER is written, until something is there that the program does
// not read.
class CWalk {
 public:
  explicit CWalk(const Bytes& datagram) : m_Bytes(datagram), m_End(datagram.size()) {}

  std::string FirstProblem() {
    if (m_Bytes.empty()) return "the datagram is empty";
    if (m_Bytes[0] != kAsnSequence) {
      return "it is no SNMP message: it begins with " + Hex(m_Bytes[0]) + " in place of 30";
    }
    if (!Enter("message") || !TakeVersion() || !Skip("community") || !EnterPdu()) return m_sProblem;
    if (!Skip("request id") || !Skip("error status") || !Skip("error index")) return m_sProblem;
    if (!Enter("list of variables", kAsnSequence)) return m_sProblem;
    while (m_iAt < m_End) {
      if (!TakeVariable()) return m_sProblem;
    }
    return "its contents make no sense";
  }

 private:
  // Reads type and length, which must fit into the element around it.
  bool Header(const char* what) {
    const std::string name = std::string("the ") + what;
    if (m_iAt + 2 > m_End) return Fail("it ends before " + name);
    m_Type = m_Bytes[m_iAt];
    const uint8_t length = m_Bytes[m_iAt + 1];
    if (length >= 0x80) {
      return Fail("the length of " + name + " is written in the long form (" + Hex(length) +
                  "), as for more than 127 bytes; the program reads short ones only");
    }
    m_iAt += 2;
    m_iLength = length;
    if (m_iLength <= m_End - m_iAt) return true;
    return Fail(name + " claims " + Count(m_iLength, "byte") + ", but only " +
                std::to_string(m_End - m_iAt) + " are there");
  }

  bool Skip(const char* what) {
    if (!Header(what)) return false;
    m_iAt += m_iLength;
    return true;
  }

  bool Enter(const char* what, int type = -1) {
    if (!Header(what)) return false;
    if (type >= 0 && m_Type != type) {
      return Fail(std::string("the ") + what + " begins with " + Hex(m_Type) + " in place of " +
                  Hex(static_cast<uint8_t>(type)));
    }
    m_End = m_iAt + m_iLength;
    return true;
  }

  bool EnterPdu() { return Enter("PDU"); }

  bool TakeVersion() {
    if (!Header("version")) return false;
    int64_t version = 0;
    for (size_t i = 0; i < m_iLength && i < 8; ++i) {
      version = static_cast<int64_t>(static_cast<uint64_t>(version) << 8 | m_Bytes[m_iAt + i]);
    }
    m_iAt += m_iLength;
    if (version == 0) return true;
    const std::string name = version == 1   ? "2c"
                             : version == 3 ? "3"
                                            : "number " + std::to_string(version);
    return Fail("it is of SNMP version " + name + "; the program understands version 1 only");
  }

  bool TakeVariable() {
    const size_t list_end = m_End;
    if (!Enter("variable", kAsnSequence)) return false;
    if (!Header("name of the variable")) return false;
    if (m_Type != kAsnObjectId) {
      return Fail("the name of the variable begins with " + Hex(m_Type) + " in place of 06");
    }
    m_iAt += m_iLength;
    if (!Skip("value")) return false;
    m_End = list_end;
    return true;
  }

  bool Fail(const std::string& problem) {
    m_sProblem = problem;
    return false;
  }

  const Bytes& m_Bytes;
  size_t m_iAt = 0;
  size_t m_End;  // of the element that is walked through
  uint8_t m_Type = 0;
  size_t m_iLength = 0;
  std::string m_sProblem;
};

std::string DumpLine(const Bytes& datagram, size_t begin, size_t end) {
  char offset[8];
  snprintf(offset, sizeof(offset), "%04zx ", begin);
  std::string line = offset;
  std::string text;
  for (size_t i = begin; i < begin + kPerLine; ++i) {
    line += i < end ? " " + Hex(datagram[i]) : "   ";
    if (i < end)
      text += datagram[i] > 0x20 && datagram[i] < 0x7F ? static_cast<char>(datagram[i]) : '.';
  }
  return line + "  " + text + "\n";
}

}  // namespace

std::string why_unreadable(const Bytes& datagram) { return CWalk(datagram).FirstProblem(); }

std::string hex_dump(const Bytes& datagram, const std::string& indent) {
  std::string dump;
  const size_t end = std::min(datagram.size(), kMostDumped);
  for (size_t begin = 0; begin < end; begin += kPerLine) {
    dump += indent + DumpLine(datagram, begin, end);
  }
  if (end < datagram.size()) {
    dump += indent + "... and " + Count(datagram.size() - end, "byte") + " more\n";
  }
  return dump;
}
