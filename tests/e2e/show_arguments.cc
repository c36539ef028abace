// Stands in for a program that another one starts: writes its arguments, name included, each with a
// zero byte behind it, to the file that SHOW_ARGUMENTS names.
#include <cstdio>
#include <cstdlib>
#include <string>

int main(int argc, char** argv) {
  const char* path = getenv("SHOW_ARGUMENTS");
  if (path == nullptr) return 2;
  // A reader that waits for the file finds it whole.
  const std::string unfinished = std::string(path) + ".part";
  FILE* file = fopen(unfinished.c_str(), "w");
  if (file == nullptr) return 1;
  for (int i = 0; i < argc; ++i) {
    fputs(argv[i], file);
    fputc('\0', file);
  }
  if (fclose(file) != 0) return 1;
  return rename(unfinished.c_str(), path) == 0 ? 0 : 1;
}
