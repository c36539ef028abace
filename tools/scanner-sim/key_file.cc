// Reads a GLib key file and keeps the line of every group and key, which GLib does not tell.
#include "tools/scanner-sim/key_file.h"

#include <glib.h>

#include <memory>
#include <sstream>

#include "tools/scanner-sim/text.h"

namespace {

struct KeyFileDeleter {
  void operator()(GKeyFile* file) const { g_key_file_free(file); }
};
using KeyFile = std::unique_ptr<GKeyFile, KeyFileDeleter>;

struct GlibDeleter {
  void operator()(char* text) const { g_free(text); }
};
using GlibText = std::unique_ptr<char, GlibDeleter>;

// Owns the error that a GLib function reports.
class CGlibError {
 public:
  CGlibError() = default;
  CGlibError(const CGlibError&) = delete;
  CGlibError& operator=(const CGlibError&) = delete;
  ~CGlibError() { g_clear_error(&m_pError); }

  GError** Out() { return &m_pError; }
  bool IsSet() const { return m_pError != nullptr; }
  std::string Message() const { return m_pError ? m_pError->message : "unknown error"; }

 private:
  GError* m_pError = nullptr;
};

[[noreturn]] void Fail(const std::string& name, int line, const std::string& problem) {
  throw UsageError(name + ":" + std::to_string(line) + ": " + problem);
}

// Finds the lines of the groups and keys. It goes by the rules of GLib's parser and refuses
// everything that the parser would refuse, so that each such problem has its line.
class CLineFinder {
 public:
  explicit CLineFinder(const std::string& name) : m_sName(name) {}

  std::vector<KeyFileGroup> Find(const std::string& text) {
    std::istringstream lines(text);
    std::string line;
    for (m_iLine = 1; std::getline(lines, line); ++m_iLine) TakeLine(line);
    return std::move(m_Groups);
  }

 private:
  void TakeLine(const std::string& line) {
    if (!g_utf8_validate(line.data(), static_cast<gssize>(line.size()), nullptr))
      Fail(m_sName, m_iLine, "this line is not UTF-8 text");
    const std::string content = trimmed(line);
    if (content.empty() || content[0] == '#') return;
    if (content[0] == '[')
      TakeGroup(content);
    else
      TakeKey(content);
  }

  void TakeGroup(const std::string& content) {
    const size_t close = content.find_first_of("[]", 1);
    if (close == std::string::npos || close + 1 != content.size() || content[close] != ']' ||
        close == 1)
      Fail(m_sName, m_iLine, quoted(content) + " is not a group, which reads [NAME]");
    const std::string group = content.substr(1, close - 1);
    for (const KeyFileGroup& other : m_Groups)
      if (other.name == group)
        Fail(m_sName, m_iLine,
             "the group [" + group + "] is already in line " + std::to_string(other.line));
    m_Groups.push_back({m_iLine, group, {}});
  }

  void TakeKey(const std::string& content) {
    const size_t equals = content.find('=');
    if (equals == std::string::npos || equals == 0)
      Fail(m_sName, m_iLine, quoted(content) + " is neither KEY = VALUE, a group nor a comment");
    if (m_Groups.empty()) Fail(m_sName, m_iLine, "a key stands before the first group");
    const std::string key = trimmed(content.substr(0, equals));
    // To GLib a key with brackets is the translation of another one.
    if (key.find('[') != std::string::npos) Fail(m_sName, m_iLine, "unknown key " + quoted(key));
    for (const KeyFileEntry& other : m_Groups.back().entries)
      if (other.key == key)
        Fail(m_sName, m_iLine,
             quoted(key) + " is already set in line " + std::to_string(other.line));
    m_Groups.back().entries.push_back({m_iLine, key, ""});
  }

  const std::string m_sName;
  int m_iLine = 0;
  std::vector<KeyFileGroup> m_Groups;
};

KeyFile LoadKeyFile(const std::string& name, const std::string& text) {
  KeyFile file(g_key_file_new());
  CGlibError error;
  if (!g_key_file_load_from_data(file.get(), text.data(), text.size(), G_KEY_FILE_NONE,
                                 error.Out()))
    throw UsageError(name + ": " + error.Message());
  return file;
}

}  // namespace

std::vector<KeyFileGroup> parse_key_file(const std::string& name, const std::string& text) {
  std::vector<KeyFileGroup> groups = CLineFinder(name).Find(text);
  if (groups.empty()) return groups;
  const KeyFile file = LoadKeyFile(name, text);
  for (KeyFileGroup& group : groups) {
    for (KeyFileEntry& entry : group.entries) {
      CGlibError error;
      const GlibText value(
          g_key_file_get_string(file.get(), group.name.c_str(), entry.key.c_str(), error.Out()));
      if (error.IsSet())
        Fail(name, entry.line,
             entry.key + ": a backslash stands before something other than s, n, t, r and \\");
      entry.value = value.get();
    }
  }
  return groups;
}

std::string read_text_file(const std::string& name) {
  char* contents = nullptr;
  gsize size = 0;
  CGlibError error;
  if (!g_file_get_contents(name.c_str(), &contents, &size, error.Out()))
    throw UsageError(name + ": " + error.Message());
  const GlibText owner(contents);
  return std::string(contents, size);
}
