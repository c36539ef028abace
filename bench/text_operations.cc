// The language file and the settings file, as they grow.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "bench/operations.h"
#include "resource/rct_file.h"
#include "ui/settings/settings_text.h"

namespace {

constexpr unsigned short kDialog = 102;

// The texts of all languages that are delivered, and a file that is larger than any.
constexpr int kUsualTexts = 22;
constexpr int kManyTexts = 10000;

struct CloseFile {
  void operator()(FILE* file) const { fclose(file); }
};

std::unique_ptr<FILE, CloseFile> language_file;
std::unique_ptr<CRctFile> loaded;
std::string settings;

// A file of so many texts, a fifth of them in the section of the strings, the others of a dialog.
void WriteLanguageFile(int texts) {
  language_file.reset(tmpfile());
  if (language_file == nullptr) abort();
  FILE* file = language_file.get();
  fputs("; Texts of the program\n[string]\n", file);
  for (int i = 1; i <= texts; ++i) {
    if (i == texts / 5 + 1) fprintf(file, "[dlg%d]\n", kDialog);
    fprintf(file, "%d=Der Text Nummer %d\\nauf zwei Zeilen\n", i, i);
  }
  fflush(file);
}

void ReadLanguageFile(int) {
  CRctFile file;
  rewind(language_file.get());
  if (file.LoadRctFile(language_file.get()) == 0) abort();
  Keep(file);
}

void LoadLanguageFile(int texts) {
  WriteLanguageFile(texts);
  loaded = std::make_unique<CRctFile>();
  rewind(language_file.get());
  loaded->LoadRctFile(language_file.get());
}

void LookUpText(int texts) {
  if (loaded->LoadDlgString(kDialog, static_cast<unsigned short>(texts / 2)) == nullptr) abort();
}

// The settings, behind so many lines of which the program knows nothing.
void WriteSettings(int lines) {
  settings.clear();
  for (int i = 0; i < lines; ++i) settings += "remark" + std::to_string(i) + "=\"of somebody\"\n";
  settings +=
      "scanpath=\"/home/user/Veltrana/DVX/Scan\"\nocrpath=\"/usr/bin/ocr\"\n"
      "pcname=\"desk-42\"\npcListUp=\"1\"\n";
}

// Takes what the tabs take.
struct Tab {
  void setScanpath(const char* text) { Keep(text); }
  void setOcrpath(const char* text) { Keep(text); }
  void setHostname(const char* text) { Keep(text); }
  void setPCNameListUp(const char* text) { Keep(text); }
  void ValidateHostName(const char* text) { Keep(text); }
};

void ReadSettings(int) {
  Tab general;
  Tab network;
  TakeSettings(settings.c_str(), &general, &network);
}

}  // namespace

std::vector<Operation> TextOperations() {
  const std::vector<int> texts{kUsualTexts, 256, 1024, kManyTexts};
  const std::vector<int> lines{0, 16, 256, 4096};
  return {
      {"language_read", ReadLanguageFile, WriteLanguageFile, texts},
      {"language_text", LookUpText, LoadLanguageFile, texts},
      {"settings_read", ReadSettings, WriteSettings, lines},
  };
}
