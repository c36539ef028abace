// Tests of reading a language file while a call of the C library fails: which file is read then,
// and which texts.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "app/log/debug_log.h"
#include "resource/rct_file.h"
#include "tests/failures/failing_calls.h"

namespace {

namespace fs = std::filesystem;
using failing::FailEach;
using failing::Mode;
using failing::Result;

constexpr int kSideBySide = 8;
constexpr char kFileName[] = "DVXTOOLS.RCT";
constexpr int kSections = 12;
constexpr int kTexts = 12;  // in each section: more than are allocated at a time

std::string dir;
std::unique_ptr<CRctFile> file;
int loaded = 77;

std::string TextOf(const std::string& folder, int section, int text) {
  return folder + " text " + std::to_string(text) + " of " + std::to_string(section);
}

void WriteLanguage(const std::string& folder) {
  fs::create_directories(dir + folder);
  std::ofstream stream(dir + folder + "/" + kFileName);
  for (int section = 0; section < kSections; ++section) {
    stream << (section == 0 ? "[string]" : "[dlg" + std::to_string(100 + section) + "]") << "\n";
    for (int text = 1; text <= kTexts; ++text) {
      stream << text << "=" << TextOf(folder, section, text) << "\n";
    }
  }
}

// The result, and how many right texts there are of which folder.
std::string Describe() {
  if (file == nullptr) return "no memory for the object";
  std::string folder;
  int right = 0;
  for (int section = 0; section < kSections; ++section) {
    for (int text = 1; text <= kTexts; ++text) {
      const auto key = static_cast<unsigned short>(section == 0 ? 0 : 100 + section);
      const char* found = file->LoadDlgString(key, static_cast<unsigned short>(text));
      if (found == nullptr) continue;
      const std::string words(found);
      if (folder.empty()) folder = words.substr(0, words.find(' '));
      if (words != TextOf(folder, section, text)) return "wrong: " + words;
      ++right;
    }
  }
  return std::to_string(loaded) + " " + folder + " " + std::to_string(right);
}

const failing::Operation kLoad = {"language file",
                                  [] {
                                    file = std::make_unique<CRctFile>();
                                    loaded = file->Load(dir.c_str(), kFileName);
                                  },
                                  Describe, [] { file.reset(); }};

bool Says(const Result& result, const std::string& words) {
  return result.errors.find(words) != std::string::npos;
}

// How often each path was tried.
int Tries(const Result& result) {
  int tries = 0;
  for (size_t at = 0; (at = result.errors.find("Open RCT", at)) != std::string::npos; ++at) ++tries;
  return tries;
}

class LanguageFailureTest : public ::testing::TestWithParam<Mode> {
 protected:
  void SetUp() override {
    setenv("LANG", "de_DE.UTF-8", 1);
    dir = fs::temp_directory_path() / ("language-" + std::to_string(getpid()));
    dir += "/";
    myDbgFunc = myDbgOutputStderr;
    loaded = 77;
  }
  void TearDown() override {
    fs::remove_all(dir);
    myDbgFunc = myDbgNop;
  }
  static bool Once() { return GetParam() == failing::kOnce; }
};

constexpr int kAllTexts = kSections * kTexts;

// Every text takes memory. A text for which there is none is missing; where there is none for the
// tables of texts, std::bad_alloc ends the reading.
TEST_P(LanguageFailureTest, WithoutMemoryThereAreFewerTextsAndNoWrongOnes) {
  WriteLanguage("de_DE");
  WriteLanguage("en");
  int thrown = 0;
  int without_one_text = 0;
  int from_english = 0;
  const int runs =
      FailEach(failing::kMalloc, GetParam(), kLoad, kSideBySide, [&](const Result& result) {
        const std::string all = "1 de_DE " + std::to_string(kAllTexts);
        EXPECT_EQ(std::string::npos, result.seen.find("wrong")) << result.seen;
        EXPECT_TRUE(result.reached || result.seen == all) << result.seen;
        if (!Once()) return;
        if (result.threw_bad_alloc) {
          ++thrown;
        } else if (result.seen == "1 de_DE " + std::to_string(kAllTexts - 1)) {
          ++without_one_text;
        } else if (result.seen == "1 en " + std::to_string(kAllTexts)) {
          ++from_english;
        } else if (result.n == 2) {
          EXPECT_EQ("0  0", result.seen) << "without memory for the path";
          EXPECT_EQ(0, Tries(result));
        } else {
          EXPECT_EQ(all, result.seen);
        }
      });
  EXPECT_GT(runs, kAllTexts);
  if (!Once()) return;
  EXPECT_EQ(kAllTexts, without_one_text);
  EXPECT_EQ(1, from_english);
  EXPECT_GT(thrown, kSections);
  EXPECT_LT(thrown, runs - kAllTexts);
}

// The next folder has a file too.
TEST_P(LanguageFailureTest, AFileThatCannotBeOpenedIsPassedOver) {
  for (const char* folder : {"de_DE", "de", "en_US", "en", "."}) WriteLanguage(folder);
  EXPECT_EQ(2, FailEach(failing::kFopen, GetParam(), kLoad, 1, [](const Result& result) {
              const std::string texts = std::to_string(kAllTexts);
              const int tries = !result.reached ? 1 : Once() ? 2 : 5;
              EXPECT_EQ(tries, Tries(result));
              EXPECT_EQ(tries == 1   ? "1 de_DE " + texts
                        : tries == 2 ? "1 de " + texts
                                     : "0  0",
                        result.seen);
              EXPECT_EQ(result.reached,
                        Says(result, "Open RCT :'" + dir + "de_DE/DVXTOOLS.RCT' Failed\n"));
            }));
}

TEST_P(LanguageFailureTest, TheLastFileMayBeTheOneThatCannotBeOpened) {
  WriteLanguage(".");
  EXPECT_EQ(6, FailEach(failing::kFopen, GetParam(), kLoad, 1, [](const Result& result) {
              EXPECT_EQ(5, Tries(result));
              EXPECT_EQ(!result.reached || (Once() && result.n < 5)
                            ? "1 . " + std::to_string(kAllTexts)
                            : "0  0",
                        result.seen);
            }));
}

INSTANTIATE_TEST_SUITE_P(OnceAndFromThenOn, LanguageFailureTest,
                         ::testing::ValuesIn(failing::kModes));

}  // namespace
