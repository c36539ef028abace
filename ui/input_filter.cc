// The character filter of text entries.
#include "ui/input_filter.h"

#include <glib.h>

#include <cstring>

namespace {

bool IsAllowed(unsigned int rule, const char* allowed, char ch) {
  const auto set = [rule](unsigned int flag) { return (rule & flag) != 0; };
  if (set(INPUT_DIGITS) && g_ascii_isdigit(ch)) return true;
  if (set(INPUT_ALNUM) && g_ascii_isalnum(ch)) return true;
  if (set(INPUT_NO_SLASH) && ch != '/') return true;
  if (allowed == nullptr) return false;
  if (set(INPUT_ALLOWED) && std::strchr(allowed, ch) != nullptr) return true;
  return set(INPUT_PRINTABLE) && ch >= 0x21 && ch <= 0x7D;
}

}  // namespace

bool HoldsWideCharacter(const char* text, int length) {
  return text == nullptr || length < 0 || g_utf8_strlen(text, length) != length;
}

std::string FilterInput(unsigned int rule, const char* allowed, const char* text, int length) {
  std::string valid;
  for (int i = 0; i < length; ++i) {
    if (IsAllowed(rule, allowed, text[i])) valid += text[i];
  }
  return valid;
}
