// Texts from the network, made fit for terminals and files.
#include "dvx-probe/texts.h"

#include <glib.h>

#include <cstdio>

#include "base/valid_utf8.h"

namespace {

std::string ShortEscape(char ch) {
  switch (ch) {
    case '"':
      return "\\\"";
    case '\\':
      return "\\\\";
    case '\n':
      return "\\n";
    case '\t':
      return "\\t";
    default:
      return {};
  }
}

std::string JsonCharacter(char ch) {
  std::string escape = ShortEscape(ch);
  if (!escape.empty()) return escape;
  const auto byte = static_cast<unsigned char>(ch);
  if (byte >= 0x20 && byte != 0x7F) return {ch};
  char text[8];
  snprintf(text, sizeof(text), "\\u%04x", byte);
  return text;
}

}  // namespace

std::string shown_text(const std::string& text) {
  const std::string valid = MakeValidUtf8(text.c_str());
  std::string shown;
  for (const char* at = valid.c_str(); *at != '\0'; at = g_utf8_next_char(at)) {
    const gunichar character = g_utf8_get_char(at);
    if (g_unichar_iscntrl(character)) {
      shown += '?';
    } else {
      shown.append(at, static_cast<size_t>(g_utf8_next_char(at) - at));
    }
  }
  return shown;
}

size_t columns(const std::string& text) {
  size_t count = 0;
  for (const char* at = text.c_str(); *at != '\0'; at = g_utf8_next_char(at)) {
    const gunichar character = g_utf8_get_char(at);
    if (g_unichar_iszerowidth(character)) continue;
    count += g_unichar_iswide(character) ? 2 : 1;
  }
  return count;
}

std::string padded(const std::string& text, size_t width) {
  const size_t used = columns(text);
  return used < width ? text + std::string(width - used, ' ') : text;
}

std::string json_text(const std::string& text) {
  std::string json = "\"";
  for (const char ch : MakeValidUtf8(text.c_str())) json += JsonCharacter(ch);
  return json + "\"";
}

std::string csv_field(const std::string& text) {
  std::string valid = MakeValidUtf8(text.c_str());
  if (valid.find_first_of("\",\r\n") == std::string::npos) return valid;
  std::string field = "\"";
  for (const char ch : valid) field += ch == '"' ? std::string("\"\"") : std::string(1, ch);
  return field + "\"";
}
