// Writes the JSON of the datagram log and of the lists file.
#include "tools/scanner-sim/json.h"

#include <glib.h>

#include <cstdio>

namespace {

std::string UnicodeEscape(unsigned char byte) {
  char escape[8];
  std::snprintf(escape, sizeof escape, "\\u%04x", byte);
  return escape;
}

// The number of bytes from at on that are valid UTF-8.
size_t ValidBytes(const std::string& text, size_t at) {
  const char* end = nullptr;
  g_utf8_validate(text.data() + at, static_cast<gssize>(text.size() - at), &end);
  return static_cast<size_t>(end - (text.data() + at));
}

std::string EscapedAscii(char c) {
  if (c == '"' || c == '\\') return std::string("\\") + c;
  const auto byte = static_cast<unsigned char>(c);
  return byte < 0x20 || byte == 0x7F ? UnicodeEscape(byte) : std::string(1, c);
}

}  // namespace

std::string json_string(const std::string& text) {
  std::string result = "\"";
  size_t valid_end = 0;
  for (size_t i = 0; i < text.size(); ++i) {
    if (i >= valid_end) valid_end = i + ValidBytes(text, i);
    const bool valid = i < valid_end;
    if (valid || static_cast<unsigned char>(text[i]) < 0x80)
      result += EscapedAscii(text[i]);
    else
      result += UnicodeEscape(static_cast<unsigned char>(text[i]));
  }
  return result + "\"";
}

std::string json_array(const std::vector<std::string>& items) {
  std::string result;
  for (const std::string& item : items) {
    if (!result.empty()) result += ',';
    result += item;
  }
  return "[" + result + "]";
}

std::string json_texts(const std::vector<std::string>& texts) {
  std::vector<std::string> items;
  items.reserve(texts.size());
  for (const std::string& text : texts) items.push_back(json_string(text));
  return json_array(items);
}

CJsonObject& CJsonObject::Text(const char* name, const std::string& value) {
  return Json(name, json_string(value));
}

CJsonObject& CJsonObject::Number(const char* name, int64_t value) {
  return Json(name, std::to_string(value));
}

CJsonObject& CJsonObject::Json(const char* name, const std::string& value) {
  if (!m_members.empty()) m_members += ',';
  m_members += json_string(name) + ":" + value;
  return *this;
}
