// The language files that are installed beside the program.
#include <gtest/gtest.h>

#include <cstdlib>

#include "resource/rct_file.h"

namespace {

struct DialogText {
  unsigned short dialog;
  unsigned short string;
  const char* text;
};

// What the windows ask for, with the texts that they show when no file has one.
constexpr DialogText kTexts[] = {
    {100, 10, "Veltrana DVX Tools"},
    {101, 111, "General"},
    {101, 113, "Scan"},
    {101, 114, "Save to:"},
    {101, 116, "Browse..."},
    {101, 119, "OCR setting"},
    {101, 121, "OCR Path:"},
    {101, 123, "Browse..."},
    {101, 124, "Select File"},
    {101, 125, "Select Folder"},
    {101, 126, "OCR Path : The specified path doesn't exist."},
    {101, 127, "Save to : The specified path doesn't exist."},
    {102, 211, "Network"},
    {102, 212, "PC name list up on device"},
    {102, 213, "PC name list up on device"},
    {102, 214, "PC name:"},
    {102, 215, "Configure Network Device"},
    {102, 216, "Model Name"},
    {102, 217, "Machine Name"},
    {102, 218, "IP Address"},
    {102, 219, "Search"},
    {102, 220, "Configure..."},
    {103, 311, "Searching online devices..."},
};

TEST(LanguageFiles, EnglishHoldsEveryTextThatTheWindowsAskFor) {
  setenv("LANG", "en_GB.UTF-8", 1);
  CRctFile file;
  EXPECT_EQ(1, file.Load(VELTRANA_SOURCE_DIR "/data/lang/", "DVXTOOLS.RCT"));
  for (const DialogText& expected : kTexts) {
    EXPECT_STREQ(expected.text, file.LoadDlgString(expected.dialog, expected.string))
        << "dialog " << expected.dialog << ", text " << expected.string;
  }
}

}  // namespace
