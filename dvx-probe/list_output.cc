// The list of scanners as a table, as JSON and as CSV.
#include "dvx-probe/list_output.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "dvx-probe/addresses.h"
#include "dvx-probe/texts.h"

namespace {

using Cells = std::array<std::string, 4>;

const Cells kTitles = {"MODEL", "NAME", "ADDRESS", "HARDWARE ADDRESS"};
const Cells kFields = {"model", "name", "address", "hardware_address"};

Cells CellsOf(const Row& row) { return {row.model, row.name, row.address, row.hardwareAddress}; }

std::vector<Cells> ListedCells(const std::vector<Device>& devices) {
  std::vector<Cells> rows;
  for (const Device& device : devices) {
    if (device.IsListed()) rows.push_back(CellsOf(row_of(device)));
  }
  return rows;
}

std::string TableLine(const Cells& cells, const std::array<size_t, 4>& widths) {
  std::string line;
  for (size_t i = 0; i + 1 < cells.size(); ++i) line += padded(cells[i], widths[i] + 2);
  return line + cells.back() + "\n";
}

std::string Table(std::vector<Cells> rows) {
  if (rows.empty()) return {};
  for (Cells& row : rows) {
    for (std::string& cell : row) cell = cell.empty() ? "-" : shown_text(cell);
  }
  rows.insert(rows.begin(), kTitles);
  std::array<size_t, 4> widths{};
  for (const Cells& row : rows) {
    for (size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], columns(row[i]));
  }
  std::string table;
  for (const Cells& row : rows) table += TableLine(row, widths);
  return table;
}

std::string JsonOf(const Cells& cells) {
  std::string members;
  for (size_t i = 0; i < cells.size(); ++i) {
    // Only the hardware address may be unknown; an empty name is a name.
    const bool unknown = i + 1 == cells.size() && cells[i].empty();
    members += (i > 0 ? ", " : "") + json_text(kFields[i]) + ": " +
               (unknown ? "null" : json_text(cells[i]));
  }
  return "{" + members + "}";
}

std::string JsonArray(const std::vector<std::string>& items) {
  if (items.empty()) return "[]";
  std::string text = "[";
  for (const std::string& item : items)
    text += (&item == items.data() ? "\n    " : ",\n    ") + item;
  return text + "\n  ]";
}

std::string Json(const std::vector<Device>& devices) {
  std::vector<std::string> scanners;
  for (const Cells& row : ListedCells(devices)) scanners.push_back(JsonOf(row));
  std::vector<std::string> others;
  for (const Device& device : devices) {
    if (device.IsListed()) continue;
    others.push_back("{\"address\": " + json_text(address_text(device.address)) +
                     ", \"reason\": " + json_text(why_left_out(device)) + "}");
  }
  return "{\n  \"scanners\": " + JsonArray(scanners) + ",\n  \"left_out\": " + JsonArray(others) +
         "\n}\n";
}

std::string CsvLine(const Cells& cells) {
  std::string line = csv_field(cells.front());
  for (size_t i = 1; i < cells.size(); ++i) line += "," + csv_field(cells[i]);
  return line + "\n";
}

std::string Csv(const std::vector<Device>& devices) {
  std::string text = CsvLine(kFields);
  for (const Cells& row : ListedCells(devices)) text += CsvLine(row);
  return text;
}

}  // namespace

std::string reply_text(const Reply& reply) {
  switch (reply.kind) {
    case ReplyKind::kNotAsked:
      return "is not asked";
    case ReplyKind::kText:
      return "answers \"" + shown_text(reply.text) + "\"";
    case ReplyKind::kError:
      return "answers with the error status " + std::to_string(reply.errorStatus);
    case ReplyKind::kUnreadable:
      return "answers with something that cannot be read";
    case ReplyKind::kSilent:
      if (reply.networkError == 0) return "does not answer";
      return std::string("does not answer (") + strerror(reply.networkError) + ")";
    case ReplyKind::kNotSent:
      return std::string("cannot be asked (") + strerror(reply.networkError) + ")";
  }
  return {};
}

std::string why_left_out(const Device& device) {
  for (const auto& [reply, what] : texts_of(device)) {
    if (reply->kind == ReplyKind::kText) continue;
    return "it " + reply_text(*reply) + " when asked for its " + what;
  }
  return {};
}

std::string list_text(const std::vector<Device>& devices, Format format) {
  if (format == Format::kJson) return Json(devices);
  if (format == Format::kCsv) return Csv(devices);
  return Table(ListedCells(devices));
}
