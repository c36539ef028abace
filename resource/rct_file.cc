// The language resource file: search, reading and look-up.
#include "resource/rct_file.h"

#include <strings.h>
#include <sys/stat.h>

#include <cstdlib>
#include <cstring>
#include <memory>

#include "app/log/debug_log.h"
#include "base/file_ptr.h"
#include "base/malloc_ptr.h"
#include "base/text_copy.h"

namespace {

constexpr int kBlockSize = 10;
constexpr int kLineSize = 1024;
constexpr unsigned int kLocaleSize = 6;    // "ll_CC" and its NUL
constexpr unsigned int kLanguageSize = 3;  // "ll" and its NUL
constexpr char kSectionPrefix[] = "dlg";

using Text = MallocPtr<char>;

bool SameIgnoringCase(const char* a, const char* b) { return strcasecmp(a, b) == 0; }

// As atoi, cut to an identifier's 16 bits. What does not read as a number is 0.
unsigned short ToIdentifier(const char* text) {
  return static_cast<unsigned short>(strtol(text, nullptr, 10));
}

bool IsLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

char ToUpper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

// Adds to a locale of two letters the country that the language files are filed under. Others
// repeat their letters, which suits most languages of one country.
void WidenLocale(char* locale) {
  static const char* const kLocales[] = {"cs_CZ", "en_US", "ja_JP", "sv_SE", "zh_CN"};
  for (const char* known : kLocales) {
    if (strncmp(locale, known, 2) != 0) continue;
    my_strlcpy(locale, known, kLocaleSize);
    return;
  }
  if (!IsLetter(locale[0]) || !IsLetter(locale[1])) return;
  locale[2] = '_';
  locale[3] = ToUpper(locale[0]);
  locale[4] = ToUpper(locale[1]);
  locale[5] = '\0';
}

// A pipe is no language file: opening it would wait for somebody to write, perhaps for ever.
bool IsPipe(const char* path) {
  struct stat info = {};
  return stat(path, &info) == 0 && S_ISFIFO(info.st_mode);
}

// Reading a device may have no end.
bool IsDevice(FILE* stream) {
  struct stat info = {};
  if (fstat(fileno(stream), &info) != 0) return false;
  return S_ISCHR(info.st_mode) || S_ISBLK(info.st_mode);
}

char Unescape(char c) {
  switch (c) {
    case 'n':
      return '\n';
    case 'r':
      return '\r';
    case 't':
      return '\t';
    default:
      return c;
  }
}

void CutLineEnd(char* line) {
  std::size_t length = strlen(line);
  while (length > 0 && (line[length - 1] == '\n' || line[length - 1] == '\r')) --length;
  line[length] = '\0';
}

// Stores the text of an entry line; does nothing for a line that is none. The line is taken apart.
void ReadEntry(char* line, CRctFile::CRctStrings& section) {
  CutLineEnd(line);
  char* equals = strchr(line, '=');
  if (equals == nullptr) return;
  *equals = '\0';
  const unsigned short id = ToIdentifier(line);
  // The key DialogInfo is the only way to the identifier 0.
  if (id == 0 && !SameIgnoringCase(line, "DialogInfo")) return;
  section.SetString(id, CRctFile::DecodeString(equals + 1));
}

}  // namespace

CRctFile::CRctStrings::CRctStrings() : m_mapStrings(kBlockSize) {}

CRctFile::CRctStrings::~CRctStrings() { CRctStrings::Clear(); }

int CRctFile::CRctStrings::GetCount() const { return m_mapStrings.GetCount(); }

void CRctFile::CRctStrings::Clear() {
  __POSITION* position = m_mapStrings.GetStartPosition();
  while (position != nullptr) {
    unsigned short id = 0;
    void* text = nullptr;
    m_mapStrings.GetNextAssoc(position, id, text);
    free(text);
  }
  m_mapStrings.RemoveAll();
}

const char* CRctFile::CRctStrings::SetString(unsigned short id, const char* text) {
  Text copy(strdup(text));
  if (copy == nullptr) return nullptr;
  void*& slot = m_mapStrings[id];
  // The text may be the one that is replaced, so it is released last.
  const Text replaced(static_cast<char*>(slot));
  slot = copy.release();
  return static_cast<const char*>(slot);
}

const char* CRctFile::CRctStrings::GetString(unsigned short id) const {
  void* text = nullptr;
  m_mapStrings.Lookup(id, text);
  return static_cast<const char*>(text);
}

CRctFile::CRctFile() : m_mapSections(kBlockSize) {}

CRctFile::~CRctFile() { CRctFile::Clear(); }

void CRctFile::Clear() {
  __POSITION* position = m_mapSections.GetStartPosition();
  while (position != nullptr) {
    unsigned short key = 0;
    void* section = nullptr;
    m_mapSections.GetNextAssoc(position, key, section);
    delete static_cast<CRctStrings*>(section);
  }
  m_mapSections.RemoveAll();
}

int CRctFile::Load(const char* dir, const char* name) {
  Clear();
  const FilePtr stream(TryOpenRctFile(dir, name));
  return stream != nullptr ? LoadRctFile(stream.get()) : 0;
}

const char* CRctFile::LoadDlgString(unsigned short dialog, unsigned short string) const {
  const CRctStrings* section = FindSection(dialog);
  return section != nullptr ? section->GetString(string) : nullptr;
}

void CRctFile::Get_ll_CC(char* ll_CC, unsigned int ll_CC_size, char* ll, unsigned int ll_size) {
  const char* lang = getenv("LANG");
  if (lang == nullptr) lang = "";
  myDbgFunc(DBG_PREFIX "CRctFile::Get_ll_CC lang=%s \n", DBG_AT(74), lang);
  my_strlcpy(ll_CC, lang, ll_CC_size);
  my_strlcpy(ll, lang, ll_size);
  if (ll_CC_size >= kLocaleSize && strlen(ll_CC) == 2) WidenLocale(ll_CC);
}

FILE* CRctFile::TryOpenRctFile(const char* dir, const char* name) {
  char ll_CC[kLocaleSize];
  char ll[kLanguageSize];
  Get_ll_CC(ll_CC, sizeof(ll_CC), ll, sizeof(ll));
  const std::size_t size = strlen(dir) + strlen(name) + 14;
  const Text path(static_cast<char*>(calloc(size, 1)));
  if (path == nullptr) return nullptr;
  const struct {
    const char* folder;
    const char* separator;
  } kTries[] = {{ll_CC, "/"}, {ll, "/"}, {"en_US", "/"}, {"en", "/"}, {"", ""}};
  for (const auto& attempt : kTries) {
    snprintf(path.get(), size, "%s%s%s%s", dir, attempt.folder, attempt.separator, name);
    FILE* stream = IsPipe(path.get()) ? nullptr : fopen(path.get(), "r");
    myDbgFunc(DBG_PREFIX "\tOpen RCT :'%s' %s\n", DBG_AT(150), path.get(),
              stream != nullptr ? "Success" : "Failed");
    if (stream != nullptr) return stream;
  }
  return nullptr;
}

int CRctFile::LoadRctFile(FILE* stream) {
  if (IsDevice(stream)) return 0;
  char line[kLineSize];
  CRctStrings* current = nullptr;
  while (fgets(line, sizeof(line), stream) != nullptr) {
    if (line[0] == ';') continue;
    if (line[0] == '[') {
      current = ReadHeader(line, current);
    } else if (current != nullptr) {
      ReadEntry(line, *current);
    }
  }
  const CRctStrings* texts = FindSection(0);
  return texts != nullptr && texts->GetCount() > 0 ? 1 : 0;
}

char* CRctFile::DecodeString(char* text) {
  char* out = text;
  for (const char* in = text; *in != '\0'; ++in) {
    if (*in != '\\') {
      *out++ = *in;
      continue;
    }
    ++in;
    if (*in == '\0') break;
    *out++ = Unescape(*in);
  }
  *out = '\0';
  return text;
}

CRctFile::CRctStrings* CRctFile::FindSection(unsigned short key) const {
  void* section = nullptr;
  m_mapSections.Lookup(key, section);
  return static_cast<CRctStrings*>(section);
}

// Puts an empty section under key, in place of one that is there.
CRctFile::CRctStrings* CRctFile::StartSection(unsigned short key) {
  auto section = std::make_unique<CRctStrings>();
  void*& slot = m_mapSections[key];
  delete static_cast<CRctStrings*>(slot);
  slot = section.get();
  return section.release();
}

// The section that is current after a header line. A header that is not understood leaves the
// current one in place, so that the entries after it are added there.
CRctFile::CRctStrings* CRctFile::ReadHeader(char* line, CRctStrings* current) {
  char* end = strchr(line, ']');
  if (end == nullptr) return current;
  *end = '\0';
  const char* name = line + 1;
  if (SameIgnoringCase(name, "string")) return StartSection(0);
  const std::size_t prefix = strlen(kSectionPrefix);
  if (strncasecmp(name, kSectionPrefix, prefix) != 0) return current;
  return StartSection(ToIdentifier(name + prefix));
}
