// The language files that are installed beside the program.
#include <glib.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "resource/rct_file.h"

namespace {

constexpr char kInstalled[] =
    VELTRANA_BINARY_DIR "/installed-languages/share/veltrana/scanner/data/";
constexpr char kName[] = "DVXTOOLS.RCT";
constexpr std::size_t kLongestLine = 1000;  // the reader takes 1023 bytes as one line

using TextId = std::pair<unsigned short, unsigned short>;  // dialog and text
using Texts = std::map<TextId, std::string>;

constexpr TextId kTitle = {100, 10};
constexpr TextId kSaveLabel = {101, 114};
constexpr TextId kOcrLabel = {101, 121};
constexpr TextId kBadOcrpath = {101, 126};
constexpr TextId kBadScanpath = {101, 127};

// What the windows ask for, with the texts that they show when no file has one.
const Texts kEnglish = {
    {{100, 10}, "Veltrana DVX Tools"},
    {{101, 111}, "General"},
    {{101, 113}, "Scan"},
    {{101, 114}, "Save to:"},
    {{101, 116}, "Browse..."},
    {{101, 119}, "OCR setting"},
    {{101, 121}, "OCR Path:"},
    {{101, 123}, "Browse..."},
    {{101, 124}, "Select File"},
    {{101, 125}, "Select Folder"},
    {{101, 126}, "OCR Path : The specified path doesn't exist."},
    {{101, 127}, "Save to : The specified path doesn't exist."},
    {{102, 211}, "Network"},
    {{102, 212}, "PC name list up on device"},
    {{102, 213}, "PC name list up on device"},
    {{102, 214}, "PC name:"},
    {{102, 215}, "Configure Network Device"},
    {{102, 216}, "Model Name"},
    {{102, 217}, "Machine Name"},
    {{102, 218}, "IP Address"},
    {{102, 219}, "Search"},
    {{102, 220}, "Configure..."},
    {{103, 311}, "Searching online devices..."},
};

// Where GTK takes an underscore as the mark of the letter after it. Elsewhere it would be shown.
const std::set<TextId> kMnemonicTexts = {
    {101, 113}, {101, 114}, {101, 116}, {101, 119}, {101, 121}, {101, 123}, {102, 212}, {102, 213},
    {102, 214}, {102, 215}, {102, 216}, {102, 217}, {102, 218}, {102, 219}, {102, 220}, {103, 311}};

std::vector<std::string> Languages() {
  std::istringstream list(VELTRANA_LANGUAGES);
  return {std::istream_iterator<std::string>(list), std::istream_iterator<std::string>()};
}

std::string PathOf(const std::string& language) { return kInstalled + language + "/" + kName; }

// A language file that shows which texts it holds.
class WholeFile : public CRctFile {
 public:
  int LoadPath(const std::string& path) {
    const std::unique_ptr<FILE, int (*)(FILE*)> stream(fopen(path.c_str(), "r"), fclose);
    return stream != nullptr ? LoadRctFile(stream.get()) : 0;
  }

  int CountSections() const { return static_cast<int>(m_mapSections.GetCount()); }

  int CountTexts(unsigned short dialog) const {
    void* section = nullptr;
    m_mapSections.Lookup(dialog, section);
    return section != nullptr ? static_cast<CRctStrings*>(section)->GetCount() : 0;
  }
};

std::string ReadBytes(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

bool EndsWith(const std::string& text, const std::string& end) {
  return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

// A label without its colon and the mark of a letter, as "Save to"; empty when it has no colon.
// Chinese has one of its own, and French a no-break space before it.
std::string FieldName(std::string label) {
  const std::size_t mark = label.find('_');
  if (mark != std::string::npos) label.erase(mark, 1);
  for (const char* colon : {"\u00a0:", ":", "\uff1a"}) {
    if (!EndsWith(label, colon)) continue;
    label.resize(label.size() - std::string(colon).size());
    return label;
  }
  return "";
}

// Whether a message is the name of a field, a colon and a sentence.
bool IsAbout(const std::string& message, const std::string& field) {
  if (!EndsWith(message, ".") && !EndsWith(message, "\u3002")) return false;
  for (const char* colon : {" : ", "\u00a0: ", "\uff1a"}) {
    const std::string start = field + colon;
    if (message.compare(0, start.size(), start) == 0) return message.size() > start.size() + 1;
  }
  return false;
}

class LanguageFileTest : public testing::TestWithParam<std::string> {
 protected:
  void SetUp() override { m_iLoaded = m_File.LoadPath(PathOf(GetParam())); }

  std::string Text(TextId id) const {
    const char* text = m_File.LoadDlgString(id.first, id.second);
    return text != nullptr ? text : "";
  }

  WholeFile m_File;
  int m_iLoaded = 0;
};

TEST_P(LanguageFileTest, IsLoadedWithSuccess) { EXPECT_EQ(1, m_iLoaded); }

TEST_P(LanguageFileTest, HoldsTheTextsThatTheWindowsAskForAndNoOthers) {
  std::map<unsigned short, int> counts = {{0, 1}};
  for (const auto& [id, english] : kEnglish) {
    EXPECT_NE("", Text(id)) << "dialog " << id.first << ", text " << id.second;
    ++counts[id.first];
  }
  EXPECT_EQ(static_cast<int>(counts.size()), m_File.CountSections());
  for (const auto& [dialog, count] : counts) {
    EXPECT_EQ(count, m_File.CountTexts(dialog)) << "dialog " << dialog;
  }
}

TEST_P(LanguageFileTest, IsUtf8InLinesThatTheReaderTakesWhole) {
  const std::string bytes = ReadBytes(PathOf(GetParam()));
  EXPECT_TRUE(g_utf8_validate(bytes.data(), static_cast<gssize>(bytes.size()), nullptr));
  EXPECT_NE(0, bytes.compare(0, 3, "\xef\xbb\xbf")) << "a byte order mark hides the first line";
  EXPECT_TRUE(EndsWith(bytes, "\n"));
  std::istringstream lines(bytes);
  for (std::string line; std::getline(lines, line);) {
    EXPECT_GE(kLongestLine, line.size()) << line;
    EXPECT_TRUE(line.empty() || g_ascii_isspace(line.back()) == 0) << "blanks at the end: " << line;
  }
}

TEST_P(LanguageFileTest, HasNoEscapesAndNoBlanksAroundATextAsTheEnglishHasNone) {
  for (const auto& [id, english] : kEnglish) {
    const std::string text = Text(id);
    EXPECT_EQ(std::string::npos, text.find_first_of("\\\n\r\t")) << text;
    EXPECT_NE(' ', text.empty() ? ' ' : text.front()) << text;
    EXPECT_NE(' ', text.empty() ? ' ' : text.back()) << text;
  }
  std::istringstream lines(ReadBytes(PathOf(GetParam())));
  for (std::string line; std::getline(lines, line);) {
    EXPECT_TRUE(line[0] == ';' || line.find('\\') == std::string::npos) << line;
  }
}

TEST_P(LanguageFileTest, EndsATextWithDotsOrAColonWhereTheEnglishDoes) {
  for (const auto& [id, english] : kEnglish) {
    const std::string text = Text(id);
    EXPECT_EQ(EndsWith(english, "..."), EndsWith(text, "...")) << text;
    EXPECT_EQ(EndsWith(english, ":"), !FieldName(text).empty()) << text;
    EXPECT_EQ(std::string::npos, text.find("\u2026")) << "a character of three dots: " << text;
  }
  EXPECT_EQ(kEnglish.at(kTitle), Text(kTitle)) << "the program has one name";
}

TEST_P(LanguageFileTest, NamesTheFieldInAMessageAsItsLabelDoes) {
  EXPECT_TRUE(IsAbout(Text(kBadOcrpath), FieldName(Text(kOcrLabel)))) << Text(kBadOcrpath);
  EXPECT_TRUE(IsAbout(Text(kBadScanpath), FieldName(Text(kSaveLabel)))) << Text(kBadScanpath);
}

TEST_P(LanguageFileTest, MarksALetterForTheKeyboardOnceOnATab) {
  std::set<std::pair<unsigned short, gunichar>> letters;
  for (const auto& [id, english] : kEnglish) {
    const std::string text = Text(id);
    const std::size_t mark = text.find('_');
    if (mark == std::string::npos) continue;
    EXPECT_EQ(1U, kMnemonicTexts.count(id)) << "the underscore would be seen: " << text;
    const gunichar letter = g_unichar_tolower(g_utf8_get_char(text.c_str() + mark + 1));
    EXPECT_TRUE(letters.emplace(id.first, letter).second) << "used twice: " << text;
  }
}

INSTANTIATE_TEST_SUITE_P(Installed, LanguageFileTest, testing::ValuesIn(Languages()),
                         [](const auto& language) { return language.param; });

TEST(LanguageFiles, EnglishIsWhatTheWindowsShowWithoutAFile) {
  WholeFile file;
  ASSERT_EQ(1, file.LoadPath(PathOf("en")));
  for (const auto& [id, english] : kEnglish) {
    EXPECT_STREQ(english.c_str(), file.LoadDlgString(id.first, id.second))
        << "dialog " << id.first << ", text " << id.second;
  }
}

// The language, by what it calls itself, that people with these values of LANG read. Where a
// country has it in several encodings, the one that most have stands here.
const std::map<std::string, std::vector<std::string>> kReaders = {
    {"Čeština", {"cs_CZ.UTF-8", "cs_CZ", "cs_CZ.utf8", "cs"}},
    {"Dansk", {"da_DK.UTF-8", "da_DK", "da"}},
    {"Deutsch",
     {"de_DE.UTF-8", "de_DE", "de_DE@euro", "de_DE.UTF-8@euro", "de_AT.UTF-8", "de_AT@euro",
      "de_BE.UTF-8", "de_CH.UTF-8", "de_IT.UTF-8", "de_LI.UTF-8", "de_LU.UTF-8", "de"}},
    {"English",
     {"en_US.UTF-8", "en_GB.UTF-8", "en_GB.ISO-8859-15", "en_AU.UTF-8", "en_CA.UTF-8",
      "en_HK.UTF-8", "en_IE@euro", "en_IN", "en_SG.UTF-8", "en_ZA.UTF-8", "en"}},
    {"Español",
     {"es_ES.UTF-8", "es_ES@euro", "es_AR.UTF-8", "es_CL.UTF-8", "es_CO.UTF-8", "es_CU",
      "es_MX.UTF-8", "es_PE.UTF-8", "es_US.UTF-8", "es_VE.UTF-8", "es_419.UTF-8", "es"}},
    {"Suomi", {"fi_FI.UTF-8", "fi_FI@euro", "fi"}},
    {"Français",
     {"fr_FR.UTF-8", "fr_FR@euro", "fr_BE.UTF-8", "fr_CA.UTF-8", "fr_CH.UTF-8", "fr_LU.UTF-8",
      "fr"}},
    {"Magyar", {"hu_HU.UTF-8", "hu_HU", "hu"}},
    {"Italiano", {"it_IT.UTF-8", "it_IT@euro", "it_CH.UTF-8", "it"}},
    {"日本語", {"ja_JP.UTF-8", "ja_JP.eucJP", "ja_JP.EUC-JP", "ja"}},
    {"한국어", {"ko_KR.UTF-8", "ko_KR.EUC-KR", "ko"}},
    {"Norsk bokmål",
     {"nb_NO.UTF-8", "nb_NO", "nb", "no_NO.UTF-8", "no", "nn_NO.UTF-8", "nn_NO", "nn"}},
    {"Nederlands", {"nl_NL.UTF-8", "nl_NL@euro", "nl_BE.UTF-8", "nl_AW", "nl"}},
    {"Polski", {"pl_PL.UTF-8", "pl_PL", "pl"}},
    {"Português", {"pt_PT.UTF-8", "pt_PT@euro", "pt_AO.UTF-8", "pt_MZ.UTF-8", "pt"}},
    {"Português do Brasil", {"pt_BR.UTF-8", "pt_BR"}},
    {"Русский", {"ru_RU.UTF-8", "ru_RU.KOI8-R", "ru_UA.UTF-8", "ru"}},
    {"Svenska", {"sv_SE.UTF-8", "sv_SE.ISO-8859-15", "sv_FI.UTF-8", "sv_FI@euro", "sv"}},
    {"Türkçe", {"tr_TR.UTF-8", "tr_CY.UTF-8", "tr"}},
    {"Українська", {"uk_UA.UTF-8", "uk_UA", "uk"}},
    {"简体中文", {"zh_CN.UTF-8", "zh_CN.GB18030", "zh_SG.UTF-8", "zh_SG", "zh"}},
    {"繁體中文", {"zh_TW.UTF-8", "zh_TW.EUC-TW", "zh_HK.UTF-8", "zh_HK", "zh_MO.UTF-8"}},
};

std::string LanguageFor(const std::string& lang) {
  setenv("LANG", lang.c_str(), 1);
  CRctFile file;
  EXPECT_EQ(1, file.Load(kInstalled, kName)) << lang;
  const char* name = file.LoadDlgString(0, 1);
  return name != nullptr ? name : "";
}

TEST(LanguageFiles, AreFoundByTheUsualValuesOfLang) {
  for (const auto& [language, values] : kReaders) {
    for (const std::string& lang : values) EXPECT_EQ(language, LanguageFor(lang)) << lang;
  }
}

TEST(LanguageFiles, AreEachFoundBySomeValueOfLang) {
  std::set<std::string> names;
  for (const std::string& language : Languages()) {
    WholeFile file;
    file.LoadPath(PathOf(language));
    const char* name = file.LoadDlgString(0, 1);
    ASSERT_NE(nullptr, name) << language;
    EXPECT_EQ(1U, kReaders.count(name)) << language << ": add " << name << " to the values of LANG";
    EXPECT_TRUE(names.insert(name).second) << "two languages are called " << name;
  }
}

TEST(LanguageFiles, LeaveEverybodyElseTheEnglish) {
  for (const char* lang :
       {"", "C", "C.UTF-8", "POSIX", "en", "xx_YY.UTF-8", "hsb_DE.UTF-8", "nds_DE"}) {
    EXPECT_EQ("English", LanguageFor(lang)) << lang;
  }
  unsetenv("LANG");
  CRctFile file;
  EXPECT_EQ(1, file.Load(kInstalled, kName));
  EXPECT_STREQ("English", file.LoadDlgString(0, 1));
}

// The program would look in the folders cs, fi and ko for them.
TEST(LanguageFiles, AreNotTakenForALanguageThatOnlyStartsWithTheSameLetters) {
  for (const char* lang : {"csb_PL", "csb_PL.UTF-8", "fil_PH", "fil_PH.UTF-8", "kok_IN"}) {
    EXPECT_EQ("English", LanguageFor(lang)) << lang;
  }
}

}  // namespace
