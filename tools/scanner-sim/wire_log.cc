// The datagram log: one JSON line for each datagram that the scanners receive or send.
#include "tools/scanner-sim/wire_log.h"

#include <chrono>

#include "tools/scanner-sim/json.h"
#include "tools/scanner-sim/run_error.h"

namespace {

double Now() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return std::chrono::duration<double>(now).count();
}

std::string TimeText(double time) {
  char text[32];
  std::snprintf(text, sizeof text, "%.6f", time);
  return text;
}

}  // namespace

std::string wire_line(double time, const WireEntry& entry, const Bytes& bytes) {
  CJsonObject json;
  json.Json("time", TimeText(time))
      .Text("direction", entry.direction)
      .Text("protocol", protocol_name(entry.protocol))
      .Text("from", endpoint_text(entry.from))
      .Text("to", endpoint_text(entry.to))
      .Text("scanner", entry.scanner)
      .Json("understood", entry.understood);
  if (!entry.problem.empty()) json.Text("problem", entry.problem);
  return json.Text("text", entry.text)
      .Json("changes", json_texts(entry.changes))
      .Number("size", static_cast<int64_t>(bytes.size()))
      .Text("hex", to_hex(bytes))
      .Str();
}

CWireLog::CWireLog(const std::string& name) : m_sName(name) {
  if (name.empty()) return;
  m_pFile.reset(std::fopen(name.c_str(), "we"));
  if (!m_pFile) throw RunError::Last(name);
}

void CWireLog::Write(const WireEntry& entry, const Bytes& bytes) {
  if (!m_pFile) return;
  const std::string line = wire_line(Now(), entry, bytes) + "\n";
  const bool written = std::fwrite(line.data(), 1, line.size(), m_pFile.get()) == line.size();
  if (!written || std::fflush(m_pFile.get()) != 0) throw RunError::Last(m_sName);
}
