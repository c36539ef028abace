// Reads a GLib key file and keeps the line of every group and key, which GLib does not tell.
#pragma once

#include <string>
#include <vector>

// One line "KEY = VALUE". The value is as GLib gives it: without blanks at its start, the escapes
// \s \n \t \r \\ replaced.
struct KeyFileEntry {
  int line = 0;
  std::string key;
  std::string value;
};

struct KeyFileGroup {
  int line = 0;
  std::string name;  // what stands between the brackets
  std::vector<KeyFileEntry> entries;
};

// Reads the text of a key file; name is the file's name for messages. Throws UsageError with
// "NAME:LINE: problem": for a line that is no group, no key and no comment, a key before the first
// group, a group or a key that is there twice, text that is not UTF-8, or a bad escape.
std::vector<KeyFileGroup> parse_key_file(const std::string& name, const std::string& text);

// Reads a file. Throws UsageError with "NAME: problem" when it cannot be read.
std::string read_text_file(const std::string& name);
