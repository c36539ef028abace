// The way from a path to what an entry shows of it, and back.
#include "ui/settings/shown_path.h"

#include <glib.h>

#include <vector>

#include "base/valid_utf8.h"

namespace {

// A character that is shown, and the bytes of the path that it stands for.
struct Sign {
  std::string shown;
  std::string bytes;
};

std::vector<Sign> Split(const std::string& path) {
  std::vector<Sign> signs;
  const char* next = path.c_str();
  while (*next != '\0') {
    const gunichar character = g_utf8_get_char_validated(next, -1);
    const bool valid = character < static_cast<gunichar>(-2);
    const std::string bytes(next, valid ? static_cast<size_t>(g_utf8_next_char(next) - next) : 1);
    signs.push_back({MakeValidUtf8(bytes.c_str()), bytes});
    next += bytes.size();
  }
  return signs;
}

bool StandsAt(const std::string& text, size_t at, const std::string& sign) {
  return text.compare(at, sign.size(), sign) == 0;
}

}  // namespace

std::string ShownPath(const std::string& path) { return MakeValidUtf8(path.c_str()); }

std::string EditedPath(const std::string& path, const std::string& text) {
  const std::vector<Sign> signs = Split(path);
  std::string front;
  size_t begin = 0;  // of the edited part of the text
  size_t first = 0;  // sign that was not left alone
  while (first < signs.size() && StandsAt(text, begin, signs[first].shown)) {
    front += signs[first].bytes;
    begin += signs[first].shown.size();
    ++first;
  }
  std::string back;
  size_t end = text.size();
  for (size_t last = signs.size(); last > first; --last) {
    const Sign& sign = signs[last - 1];
    if (end - begin < sign.shown.size()) break;
    if (!StandsAt(text, end - sign.shown.size(), sign.shown)) break;
    back.insert(0, sign.bytes);
    end -= sign.shown.size();
  }
  const std::string edited = front + text.substr(begin, end - begin) + back;
  // Bytes that came together may have become a character that the entry does not show.
  return ShownPath(edited) == text ? edited : text;
}
