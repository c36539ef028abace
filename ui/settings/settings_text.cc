// The settings file as a text.
#include "ui/settings/settings_text.h"

#include <cstring>

int ReadSetting(const char* text, const char* key, char* value) {
  const char* found = strcasestr(text, key);
  const char* equals = found != nullptr ? strchr(found, '=') : nullptr;
  if (equals == nullptr) return 0;
  // The character after "=" is taken for the opening quote, whatever it is.
  const char* begin = equals[1] != '\0' ? equals + 2 : equals + 1;
  const std::size_t line = strcspn(begin, "\n");
  const auto* quote = static_cast<const char*>(memrchr(begin, '"', line));
  const std::size_t length = quote != nullptr ? static_cast<std::size_t>(quote - begin) : 0;
  const std::size_t copied = length < kPathSize ? length : kPathSize - 1;
  memcpy(value, begin, copied);
  value[copied] = '\0';
  return 1;
}

void DeleteSettingLine(char* text, const char* key, int* length) {
  for (char* found = strcasestr(text, key); found != nullptr; found = strcasestr(text, key)) {
    char* begin = found;
    while (begin != text && begin[-1] != '\n') --begin;
    char* end = strchr(found, '\n');
    end = end != nullptr ? end + 1 : text + *length;
    const auto stretch = static_cast<int>(end - begin);
    if (stretch >= *length) {
      *length = 0;
      text[0] = '\0';
      return;
    }
    *length -= stretch;
    memmove(begin, end, static_cast<std::size_t>(text + *length - begin));
    text[*length] = '\0';
  }
}
