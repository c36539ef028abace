// The datagram log: one JSON line for each datagram that the scanners receive or send.
#pragma once

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "tools/scanner-sim/addresses.h"
#include "tools/scanner-sim/bytes.h"
#include "tools/scanner-sim/datagram.h"

struct WireEntry {
  const char* direction = "received";  // "received", "sent" or "not sent"
  Protocol protocol = Protocol::kSnmp;
  Endpoint from;
  Endpoint to;
  std::string scanner;              // its label; "*" for a broadcast, empty for none
  std::string understood = "null";  // JSON
  std::string problem;              // why it was not understood or not sent
  std::string text;                 // in words
  std::vector<std::string> changes;
};

// The line for a datagram, without a line feed. The time is in seconds since 1970.
std::string wire_line(double time, const WireEntry& entry, const Bytes& bytes);

class CWireLog {
 public:
  // Writes to a new file, or to none when the name is empty. Throws RunError.
  explicit CWireLog(const std::string& name);

  // Writes a line with the present time and flushes it. Throws RunError when that fails, since a
  // log with lines missing is worse than none.
  void Write(const WireEntry& entry, const Bytes& bytes);

 private:
  struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };

  std::string m_sName;
  std::unique_ptr<std::FILE, FileCloser> m_pFile;
};
