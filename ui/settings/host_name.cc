// The repair of this computer's name.
#include "ui/settings/host_name.h"

#include <glib.h>
#include <unistd.h>

#include <cstring>
#include <string>

#include "base/text_copy.h"

namespace {

constexpr char kFallbackName[] = "Linux-PC";

void FillInHostName(char* name) {
  char host[256] = "";
  if (gethostname(host, sizeof(host) - 1) == 0) my_strlcpy(name, host, kHostnameSize);
}

bool IsAscii(const char* name) {
  const std::size_t bytes = strlen(name);
  // With the length given, a character cut off at the end does not lead past it.
  return g_utf8_strlen(name, static_cast<gssize>(bytes)) == static_cast<glong>(bytes);
}

std::string AllowedPart(const char* name) {
  std::string allowed;
  for (const char* ch = name; *ch != '\0'; ++ch) {
    if (strchr(kNameCharacters, *ch) != nullptr) allowed += *ch;
  }
  return allowed;
}

}  // namespace

void RepairHostName(char* name) {
  if (name[0] == '\0') FillInHostName(name);
  if (name[0] == '\0' || !IsAscii(name)) {
    my_strlcpy(name, kFallbackName, kHostnameSize);
    return;
  }
  const std::string allowed = AllowedPart(name);
  if (allowed != name) my_strlcpy(name, allowed.c_str(), kHostnameSize);
}
