// Fuzz target: a whole language file, compared with a plain reading of the rules. What was read is
// written out and read again.
//
// Input: the file.
#include <strings.h>

#include <cstdio>
#include <cstdlib>
#include <map>

#include "resource/rct_file.h"
#include "tests/fuzz/fuzz_target.h"

namespace {

using fuzz::Require;
using Texts = std::map<unsigned short, std::string>;
using Sections = std::map<unsigned short, Texts>;

constexpr size_t kMostLine = 1023;

// A language file that can be compared with what it should hold.
class ComparedFile : public CRctFile {
 public:
  bool Holds(const Sections& expected) const {
    size_t sections = 0;
    __POSITION* position = m_mapSections.GetStartPosition();
    while (position != nullptr) {
      unsigned short key = 0;
      void* section = nullptr;
      m_mapSections.GetNextAssoc(position, key, section);
      const auto found = expected.find(key);
      if (found == expected.end()) return false;
      if (!IsSame(*static_cast<const CRctStrings*>(section), found->second)) return false;
      ++sections;
    }
    return sections == expected.size();
  }

 private:
  static bool IsSame(const CRctStrings& section, const Texts& expected) {
    for (const auto& [id, text] : expected) {
      const char* found = section.GetString(id);
      if (found == nullptr || found != text) return false;
    }
    return section.GetCount() == static_cast<int>(expected.size());
  }
};

unsigned short PlainIdentifier(const std::string& text) {
  return static_cast<unsigned short>(strtol(text.c_str(), nullptr, 10));
}

std::string PlainValue(const std::string& value) {
  std::string text;
  for (size_t i = 0; i < value.size(); ++i) {
    if (value[i] != '\\') {
      text += value[i];
    } else if (++i < value.size()) {
      const char c = value[i];
      text += c == 'n' ? '\n' : c == 'r' ? '\r' : c == 't' ? '\t' : c;
    }
  }
  return text;
}

bool Same(const std::string& a, const char* b) { return strcasecmp(a.c_str(), b) == 0; }

// The plain reading of a file.
class PlainFile {
 public:
  explicit PlainFile(const std::string& file) {
    for (size_t at = 0; at < file.size();) {
      const size_t feed = file.find('\n', at);
      size_t length = feed == std::string::npos ? file.size() - at : feed + 1 - at;
      length = std::min(length, kMostLine);
      const std::string line = file.substr(at, length);
      Read(line.substr(0, line.find('\0')));
      at += length;
    }
  }

  const Sections& Contents() const { return m_Sections; }
  bool HasStrings() const {
    const auto found = m_Sections.find(0);
    return found != m_Sections.end() && !found->second.empty();
  }

 private:
  void Read(std::string line) {
    if (!line.empty() && line[0] == ';') return;
    if (!line.empty() && line[0] == '[') {
      ReadHeader(line);
      return;
    }
    while (!line.empty() && (line.back() == '\r' || line.back() == '\n')) line.pop_back();
    const size_t equals = line.find('=');
    if (equals == std::string::npos || m_pCurrent == nullptr) return;
    const std::string key = line.substr(0, equals);
    const unsigned short id = Same(key, "DialogInfo") ? 0 : PlainIdentifier(key);
    if (id != 0 || Same(key, "DialogInfo")) (*m_pCurrent)[id] = PlainValue(line.substr(equals + 1));
  }

  void ReadHeader(const std::string& line) {
    const size_t end = line.find(']');
    if (end == std::string::npos) return;
    const std::string name = line.substr(1, end - 1);
    if (Same(name, "string")) return StartSection(0);
    if (Same(name.substr(0, 3), "dlg")) StartSection(PlainIdentifier(name.substr(3)));
  }

  void StartSection(unsigned short key) {
    m_pCurrent = &m_Sections[key];
    m_pCurrent->clear();
  }

  Sections m_Sections;
  Texts* m_pCurrent = nullptr;
};

struct CloseFile {
  void operator()(FILE* stream) const { fclose(stream); }
};

int Load(const std::string& bytes, CRctFile* file) {
  std::string copy = bytes;
  const std::unique_ptr<FILE, CloseFile> stream(fmemopen(copy.data(), copy.size(), "r"));
  Require(stream != nullptr, "a file is made");
  return file->LoadRctFile(stream.get());
}

std::string Escaped(const std::string& text) {
  std::string value;
  for (const char c : text) {
    if (c == '\\') value += "\\\\";
    if (c == '\n') value += "\\n";
    if (c == '\r') value += "\\r";
    if (c != '\\' && c != '\n' && c != '\r') value += c;
  }
  return value;
}

// The file that holds these texts; empty when a line of it would be too long.
std::string Written(const Sections& sections) {
  std::string file;
  for (const auto& [key, texts] : sections) {
    file += key == 0 ? "[string]\n" : "[dlg" + std::to_string(key) + "]\n";
    for (const auto& [id, text] : texts) {
      const std::string line =
          (id == 0 ? "DialogInfo" : std::to_string(id)) + "=" + Escaped(text) + "\n";
      if (line.size() > kMostLine) return "";
      file += line;
    }
  }
  return file;
}

void TryWritten(const Sections& sections) {
  const std::string file = Written(sections);
  if (file.empty()) return;
  ComparedFile again;
  Load(file, &again);
  Require(again.Holds(sections), "texts that were written read back");
}

void TryLookUp(const CRctFile& file, const Sections& sections) {
  for (const auto& [key, texts] : sections) {
    for (const auto& [id, text] : texts) {
      const char* found = file.LoadDlgString(key, id);
      Require(found != nullptr && found == text, "every text is found");
    }
    const bool has_7 = texts.count(7) > 0;
    Require((file.LoadDlgString(key, 7) != nullptr) == has_7, "no other text is found");
  }
  Require(sections.count(104) > 0 || file.LoadDlgString(104, 1) == nullptr, "nor other sections");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  ComparedFile file;
  const int result = Load(bytes, &file);
  const PlainFile expected(bytes);
  Require(file.Holds(expected.Contents()), "the texts are those of the rules");
  Require(result == (expected.HasStrings() ? 1 : 0), "the result tells of the [string] section");
  TryLookUp(file, expected.Contents());
  TryWritten(expected.Contents());
  file.Clear();
  Require(file.Holds({}), "nothing is left");
  return 0;
}
