// The user's home folder from the password database.
#include "ui/settings/home_path.h"

#include <glib.h>
#include <pwd.h>
#include <unistd.h>

void BuildHomePath(char (&path)[kPathSize], const char* rest) {
  const passwd* user = getpwuid(getuid());
  const char* home = user != nullptr ? user->pw_dir : "";
  g_snprintf(path, sizeof(path), "%s%s", home, rest);
}
