// Tests of the language resource file.
#include "resource/rct_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <new>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/debug_lines.h"
#include "tests/support/vtable_slot.h"

namespace {

bool g_refuseCalloc = false;
bool g_refuseStrdup = false;
bool g_refuseNew = false;

}  // namespace

extern "C" {
void* __real_calloc(std::size_t count, std::size_t size);
void* __wrap_calloc(std::size_t count, std::size_t size);
char* __real_strdup(const char* text);
char* __wrap_strdup(const char* text);

void* __wrap_calloc(std::size_t count, std::size_t size) {
  return g_refuseCalloc ? nullptr : __real_calloc(count, size);
}
char* __wrap_strdup(const char* text) { return g_refuseStrdup ? nullptr : __real_strdup(text); }
}

void* operator new(std::size_t size) {
  void* block = g_refuseNew ? nullptr : malloc(size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}
void operator delete(void* block) noexcept { free(block); }
void operator delete(void* block, std::size_t /*size*/) noexcept { free(block); }

namespace {

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;
using Strings = CRctFile::CRctStrings;

// Opens the fields to the tests.
class OpenedFile : public CRctFile {
 public:
  using CRctFile::m_mapSections;
};
class OpenedStrings : public CRctFile::CRctStrings {
 public:
  using CRctStrings::m_mapStrings;
};

struct CloseFile {
  void operator()(FILE* stream) const { fclose(stream); }
};
using Stream = std::unique_ptr<FILE, CloseFile>;

// The content may hold NUL bytes.
Stream StreamOf(std::string_view content) {
  Stream stream(tmpfile());
  fwrite(content.data(), 1, content.size(), stream.get());
  rewind(stream.get());
  return stream;
}

// A reader that has read one file.
class ReadFile : public OpenedFile {
 public:
  explicit ReadFile(std::string_view content) : m_iResult(LoadRctFile(StreamOf(content).get())) {}
  int Result() const { return m_iResult; }

 private:
  int m_iResult;
};

// ---- Sections ----------------------------------------------------------------------------------

TEST(RctSections, EntriesBeforeTheFirstHeaderAreIgnored) {
  const ReadFile file("111=early\n[unknown]\n112=early\n[dlg101]\n113=kept\n");
  EXPECT_EQ(file.LoadDlgString(101, 111), nullptr);
  EXPECT_EQ(file.LoadDlgString(101, 112), nullptr);
  EXPECT_EQ(file.LoadDlgString(0, 111), nullptr);
  EXPECT_STREQ(file.LoadDlgString(101, 113), "kept");
  EXPECT_EQ(file.m_mapSections.GetCount(), 1);
}

TEST(RctSections, EntriesUnderAnUnknownHeaderBelongToTheSectionBefore) {
  const ReadFile file("[dlg101]\n111=General\n[misc]\n113=Scan\n[dlg102]\n211=Network\n");
  EXPECT_STREQ(file.LoadDlgString(101, 111), "General");
  EXPECT_STREQ(file.LoadDlgString(101, 113), "Scan");
  EXPECT_STREQ(file.LoadDlgString(102, 211), "Network");
  EXPECT_EQ(file.m_mapSections.GetCount(), 2);
}

TEST(RctSections, NamesAreReadWithoutRegardToCase) {
  EXPECT_STREQ(ReadFile("[DLG102]\n1=x\n").LoadDlgString(102, 1), "x");
  EXPECT_STREQ(ReadFile("[Dlg102]\n1=x\n").LoadDlgString(102, 1), "x");
  EXPECT_STREQ(ReadFile("[String]\n1=x\n").LoadDlgString(0, 1), "x");
  EXPECT_STREQ(ReadFile("[STRING]\n1=x\n").LoadDlgString(0, 1), "x");
}

TEST(RctSections, NamesAreNotTrimmed) {
  const ReadFile file(
      "[dlg100]\n1=a\n[ string]\n2=b\n[string ]\n3=c\n[ dlg101]\n4=d\n[strings]\n5=e\n");
  EXPECT_EQ(file.m_mapSections.GetCount(), 1);
  for (unsigned short id = 1; id <= 5; ++id) {
    EXPECT_NE(file.LoadDlgString(100, id), nullptr) << "under the header before: " << id;
  }
}

TEST(RctSections, DialogNumbersAreCutTo16BitsAndReadAsFarAsTheyGo) {
  EXPECT_STREQ(ReadFile("[dlg65637]\n1=x\n").LoadDlgString(101, 1), "x");
  EXPECT_STREQ(ReadFile("[dlg-1]\n1=x\n").LoadDlgString(65535, 1), "x");
  EXPECT_STREQ(ReadFile("[dlg 102]\n1=x\n").LoadDlgString(102, 1), "x");
  EXPECT_STREQ(ReadFile("[dlg103 search]\n1=x\n").LoadDlgString(103, 1), "x");
}

TEST(RctSections, DialogsWithoutANumberAreTheStringSection) {
  for (const char* header : {"[dlg]", "[dlgabc]", "[dlg0]", "[dlg65536]"}) {
    const ReadFile file(std::string("[string]\n1=old\n") + header + "\n2=new\n");
    EXPECT_EQ(file.LoadDlgString(0, 1), nullptr) << header << " replaces [string]";
    EXPECT_STREQ(file.LoadDlgString(0, 2), "new") << header;
    EXPECT_EQ(file.Result(), 1) << header;
  }
}

TEST(RctSections, RepeatedHeaderReplacesTheSectionWhole) {
  const ReadFile file("[dlg101]\n1=a\n2=b\n[dlg102]\n1=c\n[dlg101]\n2=d\n");
  EXPECT_EQ(file.LoadDlgString(101, 1), nullptr);
  EXPECT_STREQ(file.LoadDlgString(101, 2), "d");
  EXPECT_STREQ(file.LoadDlgString(102, 1), "c");
  EXPECT_EQ(file.m_mapSections.GetCount(), 2);
}

TEST(RctSections, HeaderEndsAtTheFirstBracket) {
  EXPECT_STREQ(ReadFile("[dlg101]more]\n1=x\n").LoadDlgString(101, 1), "x");
  EXPECT_STREQ(ReadFile("[dlg101] ; remark 5=y\n1=x\n").LoadDlgString(101, 1), "x");
}

TEST(RctSections, HeaderWithoutABracketOrNotInTheFirstColumnIsIgnored) {
  const ReadFile file("[dlg101]\n1=a\n[dlg102\n2=b\n [dlg103]\n3=c\n[]\n4=d\n");
  EXPECT_EQ(file.m_mapSections.GetCount(), 1);
  EXPECT_STREQ(file.LoadDlgString(101, 2), "b");
  EXPECT_STREQ(file.LoadDlgString(101, 3), "c");
  EXPECT_STREQ(file.LoadDlgString(101, 4), "d");
}

TEST(RctSections, HeaderLineIsNeverAnEntry) {
  const ReadFile file("[dlg101]\n[5=x]\n[6]=y\n[7=z\n");
  for (unsigned short id = 0; id < 10; ++id) EXPECT_EQ(file.LoadDlgString(101, id), nullptr);
}

// ---- Entries -----------------------------------------------------------------------------------

// The text that one entry line stores under an identifier of dialog 101.
std::string TextOf(std::string_view line, unsigned short id) {
  const ReadFile file("[dlg101]\n" + std::string(line));
  const char* text = file.LoadDlgString(101, id);
  return text != nullptr ? text : "(none)";
}

int CountOf(std::string_view lines) {
  const ReadFile file("[string]\n" + std::string(lines));
  void* section = nullptr;
  file.m_mapSections.Lookup(0, section);
  return static_cast<const Strings*>(section)->GetCount();
}

TEST(RctEntries, KeysThatAreNoIdentifierAreIgnored) {
  EXPECT_EQ(CountOf("0=x\nabc=x\n=x\n"), 0);
  EXPECT_EQ(CountOf("65536=x\n-65536=x\n0x10=x\n ;5=x\n"), 0);
}

TEST(RctEntries, DialogInfoIsTextZero) {
  EXPECT_EQ(TextOf("DIALOGINFO=Title\n", 0), "Title");
  EXPECT_EQ(TextOf("DialogInfo=Title\n", 0), "Title");
  EXPECT_EQ(CountOf("DialogInfo =Title\n"), 0);
  EXPECT_EQ(CountOf(" DialogInfo=Title\n"), 0);
  EXPECT_EQ(CountOf("DialogInfos=Title\n"), 0);
}

TEST(RctEntries, IdentifiersAreCutTo16BitsAndReadAsFarAsTheyGo) {
  EXPECT_EQ(TextOf("65647=x\n", 111), "x");
  EXPECT_EQ(TextOf("-1=x\n", 65535), "x");
  EXPECT_EQ(TextOf("+5=x\n", 5), "x");
  EXPECT_EQ(TextOf(" 7=x\n", 7), "x");
  EXPECT_EQ(TextOf("12abc=x\n", 12), "x");
  EXPECT_EQ(TextOf("0111=x\n", 111), "x");
}

TEST(RctEntries, NeitherKeyNorValueIsTrimmed) {
  EXPECT_EQ(TextOf("111 =x\n", 111), "x");
  EXPECT_EQ(TextOf("111= x \n", 111), " x ");
  EXPECT_EQ(TextOf("111=x\t\n", 111), "x\t");
}

TEST(RctEntries, OnlyTheFirstEqualsSignSeparates) {
  EXPECT_EQ(TextOf("5=a=b\n", 5), "a=b");
  EXPECT_EQ(TextOf("5==\n", 5), "=");
}

TEST(RctEntries, LineEndsAreCutOff) {
  EXPECT_EQ(TextOf("5=text\r\n", 5), "text");
  EXPECT_EQ(TextOf("5=text \r\n", 5), "text ");
  EXPECT_EQ(TextOf("5=text\r\r\n", 5), "text");
  EXPECT_EQ(TextOf("5=te\rxt\r\n", 5), "te\rxt");
}

TEST(RctEntries, LastLineNeedsNoLineEnd) { EXPECT_EQ(TextOf("5=text", 5), "text"); }

TEST(RctEntries, EmptyValueIsAnEmptyText) {
  EXPECT_EQ(TextOf("111=\n", 111), "");
  EXPECT_EQ(TextOf("111=\r\n", 111), "");
  EXPECT_EQ(TextOf("111=", 111), "");
}

TEST(RctEntries, LaterEntryReplacesTheEarlierOne) {
  EXPECT_EQ(TextOf("5=one\n5=two\n", 5), "two");
  EXPECT_EQ(CountOf("5=one\n65541=two\n"), 1);
}

TEST(RctEntries, CommentsAreOnlyThoseInTheFirstColumn) {
  EXPECT_EQ(CountOf(";5=x\n;\n;[dlg101]\n"), 0);
  EXPECT_EQ(TextOf("5=x;y\n", 5), "x;y");
}

TEST(RctEntries, LinesWithoutEqualsSignAreSkipped) {
  EXPECT_EQ(CountOf("\n\r\njust words\n5\n5=x\n"), 1);
}

TEST(RctEntries, TextsAreTakenByteForByte) {
  EXPECT_EQ(TextOf("5=\xE6\x97\xA5\xE6\x9C\xAC \x80\xFF\n", 5),
            "\xE6\x97\xA5\xE6\x9C\xAC \x80\xFF");
}

TEST(RctEntries, NulByteEndsItsLine) {
  using namespace std::string_view_literals;
  EXPECT_EQ(TextOf("5=ab\0cd\n6=next\n"sv, 5), "ab");
  EXPECT_EQ(TextOf("5=ab\0cd\n6=next\n"sv, 6), "next");
  EXPECT_EQ(TextOf("\0005=ab\n6=next\n"sv, 5), "(none)");
}

TEST(RctEntries, ByteOrderMarkHidesTheFirstHeader) {
  const ReadFile file("\xEF\xBB\xBF[string]\n1=lost\n[dlg101]\n2=kept\n");
  EXPECT_EQ(file.LoadDlgString(0, 1), nullptr);
  EXPECT_STREQ(file.LoadDlgString(101, 2), "kept");
}

// ---- Long lines --------------------------------------------------------------------------------

TEST(RctLongLines, LineOf1023BytesIsOneLine) {
  const std::string value(1020, 'a');
  EXPECT_EQ(TextOf("5=" + value + "\n6=next\n", 5), value);  // 1,023 bytes with the line feed
  EXPECT_EQ(TextOf("5=" + value + "\n6=next\n", 6), "next");
  const std::string longer(1021, 'a');
  EXPECT_EQ(TextOf("5=" + longer + "\n6=next\n", 5), longer);
  EXPECT_EQ(TextOf("5=" + longer + "\n6=next\n", 6), "next");
}

TEST(RctLongLines, TailIsJudgedAfreshAsAnEntry) {
  const std::string head = "5=" + std::string(1021, 'a');
  EXPECT_EQ(TextOf(head + "7=tail\n", 5), std::string(1021, 'a'));
  EXPECT_EQ(TextOf(head + "7=tail\n", 7), "tail");
}

TEST(RctLongLines, TailIsJudgedAfreshAsAHeaderOrComment) {
  const std::string head = "5=" + std::string(1021, 'a');
  const ReadFile file("[dlg101]\n" + head + "[dlg102]\n6=x\n");
  EXPECT_STREQ(file.LoadDlgString(102, 6), "x");
  EXPECT_EQ(TextOf(head + ";6=x\n", 6), "(none)");
}

TEST(RctLongLines, EscapeMayBeCutInTwo) {
  const std::string text(1020, 'a');
  EXPECT_EQ(TextOf("5=" + text + "\\n6=x\n", 5), text);  // the backslash ends the first part
  EXPECT_EQ(TextOf("5=" + text + "\\n6=x\n", 6), "(none)");
  EXPECT_EQ(TextOf("5=" + text + "\\6=x\n", 6), "x");
}

TEST(RctLongLines, LongCommentGoesOnAsSomethingElse) {
  const std::string head = ";" + std::string(1022, 'a');
  EXPECT_EQ(TextOf(head + "7=tail\n", 7), "tail");
}

// ---- Escapes -----------------------------------------------------------------------------------

std::string Decoded(const char* text) {
  std::vector<char> copy(text, text + strlen(text) + 1);
  char* result = CRctFile::DecodeString(copy.data());
  EXPECT_EQ(result, copy.data()) << "in place";
  return result;
}

TEST(RctEscapes, KnownEscapesAreReplaced) {
  EXPECT_EQ(Decoded(R"(Line\nTwo)"), "Line\nTwo");
  EXPECT_EQ(Decoded(R"(a\rb\tc)"), "a\rb\tc");
  EXPECT_EQ(Decoded(R"(C:\\new)"), R"(C:\new)");
  EXPECT_EQ(Decoded(R"(\\\\n)"), R"(\\n)");
  EXPECT_EQ(Decoded(R"(\n\n)"), "\n\n");
}

TEST(RctEscapes, BackslashBeforeAnythingElseIsDropped) {
  EXPECT_EQ(Decoded(R"(\q)"), "q");
  EXPECT_EQ(Decoded(R"(\N\"\=\0)"), "N\"=0");
}

TEST(RctEscapes, BackslashAtTheEndIsDropped) {
  EXPECT_EQ(Decoded(R"(abc\)"), "abc");
  EXPECT_EQ(Decoded(R"(\)"), "");
  EXPECT_EQ(Decoded(R"(abc\\\)"), R"(abc\)");
}

TEST(RctEscapes, TextsWithoutEscapesStay) {
  EXPECT_EQ(Decoded(""), "");
  EXPECT_EQ(Decoded("plain / text"), "plain / text");
}

TEST(RctEscapes, ValuesAreDecodedAndKeysAreNot) {
  EXPECT_EQ(TextOf("5=Line\\nTwo\n", 5), "Line\nTwo");
  EXPECT_EQ(TextOf("5=\\q\n", 5), "q");
  EXPECT_EQ(TextOf("5=end\\\r\n", 5), "end") << "the line end is cut before the escapes are read";
  EXPECT_EQ(CountOf("\\5=x\n"), 0);
}

// ---- Results -----------------------------------------------------------------------------------

TEST(RctResult, IsOneOnlyWhenTheStringSectionHoldsAText) {
  EXPECT_EQ(ReadFile("[string]\n1=x\n").Result(), 1);
  EXPECT_EQ(ReadFile("[string]\n1=\n").Result(), 1) << "an empty text is a text";
  EXPECT_EQ(ReadFile("[string]\nDialogInfo=x\n").Result(), 1);
  EXPECT_EQ(ReadFile("[string]\n").Result(), 0);
  EXPECT_EQ(ReadFile("").Result(), 0);
  EXPECT_EQ(ReadFile("[dlg101]\n[string]\n1=x\n[string]\n").Result(), 0) << "the last one counts";
}

TEST(RctResult, TextsStayLoadedWithoutAStringSection) {
  const ReadFile file("[dlg101]\n111=Allgemein\n114=Speichern in:\n[dlg102]\n211=Netzwerk\n");
  EXPECT_EQ(file.Result(), 0);
  EXPECT_STREQ(file.LoadDlgString(101, 111), "Allgemein");
  EXPECT_STREQ(file.LoadDlgString(101, 114), "Speichern in:");
  EXPECT_STREQ(file.LoadDlgString(102, 211), "Netzwerk");
}

TEST(RctResult, MissingDialogsAndTextsAreNull) {
  const ReadFile file("[string]\n1=x\n[dlg101]\n2=y\n");
  EXPECT_EQ(file.LoadDlgString(102, 2), nullptr);
  EXPECT_EQ(file.LoadDlgString(101, 1), nullptr);
  EXPECT_STREQ(file.LoadDlgString(0, 1), "x");
}

TEST(RctResult, ClearReleasesEverything) {
  ReadFile file("[string]\n1=x\n[dlg101]\n2=y\n");
  file.Clear();
  EXPECT_EQ(file.m_mapSections.GetCount(), 0);
  EXPECT_EQ(file.LoadDlgString(0, 1), nullptr);
  file.Clear();
  EXPECT_EQ(file.LoadRctFile(StreamOf("[string]\n3=z\n").get()), 1);
  EXPECT_STREQ(file.LoadDlgString(0, 3), "z");
}

// Whatever a file holds, it is read without touching memory that is not ours.
TEST(RctResult, SurvivesAnyBytes) {
  const std::string_view pieces[] = {"[dlg",
                                     "[string]",
                                     "]",
                                     "=",
                                     "\\",
                                     "\n",
                                     "\r\n",
                                     "101",
                                     "0",
                                     "DialogInfo",
                                     ";",
                                     "\xFF",
                                     " ",
                                     "a",
                                     "-",
                                     "[",
                                     "99999999999999999999999"};
  std::mt19937 random(11);
  for (int round = 0; round < 300; ++round) {
    std::string content;
    while (content.size() < 3000) {
      if (random() % 50 == 0) content.append(random() % 1100, '\\');
      if (random() % 50 == 0) content.push_back('\0');
      content.append(pieces[random() % std::size(pieces)]);
    }
    const ReadFile file(content);
    EXPECT_TRUE(file.Result() == 0 || file.Result() == 1);
    for (unsigned short dialog : {0, 101, 65535}) {
      for (unsigned short id : {0, 101, 65535}) {
        const char* text = file.LoadDlgString(dialog, id);
        EXPECT_LT(strlen(text != nullptr ? text : ""), 1024U);
      }
    }
  }
}

// ---- One section -------------------------------------------------------------------------------

TEST(RctStrings, StoresCopies) {
  Strings strings;
  char text[] = "text";
  const char* copy = strings.SetString(5, text);
  text[0] = '#';
  EXPECT_NE(copy, text);
  EXPECT_STREQ(copy, "text");
  EXPECT_EQ(strings.GetString(5), copy);
  EXPECT_EQ(strings.GetString(6), nullptr);
  EXPECT_EQ(strings.GetCount(), 1);
}

TEST(RctStrings, ReplacesATextAlsoByItself) {
  Strings strings;
  strings.SetString(5, "one");
  EXPECT_STREQ(strings.SetString(5, "two"), "two");
  EXPECT_STREQ(strings.SetString(5, strings.GetString(5)), "two");
  EXPECT_STREQ(strings.GetString(5), "two");
  EXPECT_EQ(strings.GetCount(), 1);
}

TEST(RctStrings, ClearReleasesAllTexts) {
  OpenedStrings strings;
  for (unsigned short id = 0; id < 30; ++id) strings.SetString(id, "text");
  EXPECT_EQ(strings.GetCount(), 30);
  strings.Clear();
  EXPECT_EQ(strings.GetCount(), 0);
  EXPECT_EQ(strings.GetString(1), nullptr);
  EXPECT_EQ(strings.m_mapStrings.GetStartPosition(), nullptr);
}

TEST(RctStrings, LackOfMemoryLeavesTheOldText) {
  Strings strings;
  strings.SetString(5, "old");
  g_refuseStrdup = true;
  EXPECT_EQ(strings.SetString(5, "new"), nullptr);
  EXPECT_EQ(strings.SetString(6, "new"), nullptr);
  g_refuseStrdup = false;
  EXPECT_STREQ(strings.GetString(5), "old");
  EXPECT_EQ(strings.GetCount(), 1);
}

TEST(RctStrings, LackOfMemoryForAnEntryIsThrownAndChangesNothing) {
  Strings strings;
  g_refuseNew = true;
  EXPECT_THROW(strings.SetString(5, "text"), std::bad_alloc);
  g_refuseNew = false;
  EXPECT_EQ(strings.GetString(5), nullptr);
  EXPECT_EQ(strings.GetCount(), 0);
  EXPECT_STREQ(strings.SetString(5, "text"), "text");
}

// ---- LANG --------------------------------------------------------------------------------------

// Sets LANG, or removes it, for as long as it lives.
class Lang {
 public:
  explicit Lang(const char* value) {
    if (value != nullptr) {
      setenv("LANG", value, 1);
    } else {
      unsetenv("LANG");
    }
  }
  ~Lang() { unsetenv("LANG"); }
  Lang(const Lang&) = delete;
  Lang& operator=(const Lang&) = delete;
};

// "ll_CC/ll" as the search for the file reads them from LANG.
std::string LocaleOf(const char* value) {
  const Lang lang(value);
  char ll_CC[6];
  char ll[3];
  CRctFile::Get_ll_CC(ll_CC, sizeof(ll_CC), ll, sizeof(ll));
  return std::string(ll_CC) + "/" + ll;
}

TEST(RctLang, LocaleAndLanguageAreTheFirstBytes) {
  EXPECT_EQ(LocaleOf("ja_JP.UTF-8"), "ja_JP/ja");
  EXPECT_EQ(LocaleOf("sv_SE.UTF-8"), "sv_SE/sv");
  EXPECT_EQ(LocaleOf("fil_PH.UTF-8"), "fil_P/fi");
  EXPECT_EQ(LocaleOf("C.UTF-8"), "C.UTF/C.");
  EXPECT_EQ(LocaleOf("POSIX"), "POSIX/PO");
  EXPECT_EQ(LocaleOf("de_DE@euro"), "de_DE/de");
}

TEST(RctLang, TwoLettersAreWidenedByTheirCountry) {
  EXPECT_EQ(LocaleOf("cs"), "cs_CZ/cs");
  EXPECT_EQ(LocaleOf("en"), "en_US/en");
  EXPECT_EQ(LocaleOf("ja"), "ja_JP/ja");
  EXPECT_EQ(LocaleOf("sv"), "sv_SE/sv");
  EXPECT_EQ(LocaleOf("zh"), "zh_CN/zh");
}

TEST(RctLang, OtherTwoLettersAreTheirOwnCountry) {
  EXPECT_EQ(LocaleOf("de"), "de_DE/de");
  EXPECT_EQ(LocaleOf("fr"), "fr_FR/fr");
  EXPECT_EQ(LocaleOf("az"), "az_AZ/az");
  EXPECT_EQ(LocaleOf("za"), "za_ZA/za");
  EXPECT_EQ(LocaleOf("AZ"), "AZ_AZ/AZ");
  EXPECT_EQ(LocaleOf("ZA"), "ZA_ZA/ZA");
  EXPECT_EQ(LocaleOf("EN"), "EN_EN/EN");
  EXPECT_EQ(LocaleOf("Ja"), "Ja_JA/Ja");
}

TEST(RctLang, ShorterAndLongerValuesAndOtherBytesStay) {
  EXPECT_EQ(LocaleOf("C"), "C/C");
  EXPECT_EQ(LocaleOf("deu"), "deu/de");
  EXPECT_EQ(LocaleOf(".."), "../..");
  EXPECT_EQ(LocaleOf("e1"), "e1/e1");
  EXPECT_EQ(LocaleOf("1e"), "1e/1e");
  for (const char* beside : {"`a", "a`", "{a", "a{", "@a", "a@", "[a", "a["}) {
    EXPECT_EQ(LocaleOf(beside), std::string(beside) + "/" + beside) << "next to a letter";
  }
  EXPECT_EQ(LocaleOf("\xC3\xA4"), "\xC3\xA4/\xC3\xA4");
}

TEST(RctLang, WithoutLangBothAreEmpty) {
  EXPECT_EQ(LocaleOf(nullptr), "/");
  EXPECT_EQ(LocaleOf(""), "/");
}

TEST(RctLang, NothingElseOfTheEnvironmentCounts) {
  setenv("LC_ALL", "ja_JP.UTF-8", 1);
  setenv("LC_MESSAGES", "ja_JP.UTF-8", 1);
  setenv("LANGUAGE", "ja", 1);
  EXPECT_EQ(LocaleOf("de_DE.UTF-8"), "de_DE/de");
  for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANGUAGE"}) unsetenv(name);
}

TEST(RctLang, LocaleIsWidenedOnlyWhereItFits) {
  for (const char* value : {"en", "de"}) {
    const Lang lang(value);
    for (unsigned int size = 3; size <= 5; ++size) {
      std::vector<char> ll_CC(size, '#');
      char ll[3];
      CRctFile::Get_ll_CC(ll_CC.data(), size, ll, sizeof(ll));
      EXPECT_STREQ(ll_CC.data(), value) << "size " << size;
    }
    std::vector<char> ll_CC(20, '#');
    char ll[3];
    CRctFile::Get_ll_CC(ll_CC.data(), 20, ll, sizeof(ll));
    EXPECT_EQ(strlen(ll_CC.data()), 5U);
  }
}

TEST(RctLang, BuffersOfNoSizeAreLeftAlone) {
  const Lang lang("en");
  char ll_CC[] = "##";
  char ll[] = "##";
  CRctFile::Get_ll_CC(ll_CC, 0, ll, 0);
  EXPECT_STREQ(ll_CC, "##");
  EXPECT_STREQ(ll, "##");
}

TEST(RctLang, LanguageIsNeverWidened) {
  const Lang lang("de");
  char ll_CC[6];
  char ll[6];
  CRctFile::Get_ll_CC(ll_CC, sizeof(ll_CC), ll, sizeof(ll));
  EXPECT_STREQ(ll, "de");
}

TEST(RctLang, IsNotedInTheDebugLog) {
  const DebugLines lines;
  LocaleOf("ja_JP.UTF-8");
  LocaleOf("");
  LocaleOf(nullptr);
  EXPECT_EQ(lines.All(), (Lines{"[Get_ll_CC(74)]: CRctFile::Get_ll_CC lang=ja_JP.UTF-8 \n",
                                "[Get_ll_CC(74)]: CRctFile::Get_ll_CC lang= \n",
                                "[Get_ll_CC(74)]: CRctFile::Get_ll_CC lang= \n"}));
}

// ---- The search for the file -------------------------------------------------------------------

class RctSearchTest : public testing::Test {
 protected:
  RctSearchTest() {
    std::string pattern = testing::TempDir() + "rct_file_test.XXXXXX";
    m_szDir = std::string(mkdtemp(pattern.data())) + "/";
  }
  ~RctSearchTest() override { fs::remove_all(m_szDir); }

  // Makes a file whose text 1 tells which one it is.
  void Make(const std::string& path) const {
    fs::create_directories(fs::path(m_szDir + path).parent_path());
    std::ofstream(m_szDir + path) << "[string]\n1=" << path << "\n";
  }

  // The file that Load finds with this LANG, and the lines of the debug log after the first.
  std::string Found(const char* lang, Lines* tries = nullptr) const {
    const Lang setting(lang);
    const DebugLines lines;
    CRctFile file;
    const int result = file.Load(m_szDir.c_str(), "T.RCT");
    if (tries != nullptr) *tries = Lines(lines.All().begin() + 1, lines.All().end());
    const char* text = file.LoadDlgString(0, 1);
    EXPECT_EQ(result, text != nullptr ? 1 : 0);
    return text != nullptr ? text : "(none)";
  }

  std::string TryLine(const std::string& path, const char* outcome) const {
    return "[TryOpenRctFile(150)]: \tOpen RCT :'" + m_szDir + path + "' " + outcome + "\n";
  }

  std::string m_szDir;
};

TEST_F(RctSearchTest, TriesTheLocaleTheLanguageEnglishAndThePlainFolder) {
  Lines tries;
  EXPECT_EQ(Found("sv_SE.UTF-8", &tries), "(none)");
  EXPECT_EQ(tries, (Lines{TryLine("sv_SE/T.RCT", "Failed"), TryLine("sv/T.RCT", "Failed"),
                          TryLine("en_US/T.RCT", "Failed"), TryLine("en/T.RCT", "Failed"),
                          TryLine("T.RCT", "Failed")}));
}

TEST_F(RctSearchTest, StopsAtTheFirstFileThatOpens) {
  const char* const kFiles[] = {"T.RCT", "en/T.RCT", "en_US/T.RCT", "sv/T.RCT", "sv_SE/T.RCT"};
  std::size_t triesLeft = 5;
  for (const char* file : kFiles) {
    Make(file);
    Lines tries;
    EXPECT_EQ(Found("sv_SE.UTF-8", &tries), file);
    ASSERT_EQ(tries.size(), triesLeft);
    EXPECT_EQ(tries.back(), TryLine(file, "Success"));
    --triesLeft;
  }
}

TEST_F(RctSearchTest, EnglishIsTriedTwice) {
  Lines tries;
  EXPECT_EQ(Found("en", &tries), "(none)");
  EXPECT_EQ(tries, (Lines{TryLine("en_US/T.RCT", "Failed"), TryLine("en/T.RCT", "Failed"),
                          TryLine("en_US/T.RCT", "Failed"), TryLine("en/T.RCT", "Failed"),
                          TryLine("T.RCT", "Failed")}));
}

TEST_F(RctSearchTest, LangCTriesTheFolderCTwice) {
  Lines tries;
  Found("C", &tries);
  EXPECT_EQ(tries, (Lines{TryLine("C/T.RCT", "Failed"), TryLine("C/T.RCT", "Failed"),
                          TryLine("en_US/T.RCT", "Failed"), TryLine("en/T.RCT", "Failed"),
                          TryLine("T.RCT", "Failed")}));
}

TEST_F(RctSearchTest, EmptyLangFindsThePlainFileFirst) {
  Make("T.RCT");
  Make("en/T.RCT");
  for (const char* lang : {"", static_cast<const char*>(nullptr)}) {
    Lines tries;
    EXPECT_EQ(Found(lang, &tries), "T.RCT");
    EXPECT_EQ(tries, (Lines{TryLine("/T.RCT", "Success")}));
  }
  fs::remove(m_szDir + "T.RCT");
  Lines tries;
  EXPECT_EQ(Found("", &tries), "en/T.RCT");
  EXPECT_EQ(tries, (Lines{TryLine("/T.RCT", "Failed"), TryLine("/T.RCT", "Failed"),
                          TryLine("en_US/T.RCT", "Failed"), TryLine("en/T.RCT", "Success")}));
}

TEST_F(RctSearchTest, WidenedLocaleFindsItsFile) {
  Make("de_DE/T.RCT");
  EXPECT_EQ(Found("de"), "de_DE/T.RCT");
}

TEST_F(RctSearchTest, FolderOfThatNameEndsTheSearchWithoutTexts) {
  fs::create_directories(m_szDir + "sv_SE/T.RCT");
  Make("sv/T.RCT");
  Lines tries;
  EXPECT_EQ(Found("sv_SE", &tries), "(none)");
  EXPECT_EQ(tries, (Lines{TryLine("sv_SE/T.RCT", "Success")}));
}

TEST_F(RctSearchTest, PipeIsPassedOver) {
  fs::create_directories(m_szDir + "sv_SE");
  ASSERT_EQ(mkfifo((m_szDir + "sv_SE/T.RCT").c_str(), 0600), 0);
  Make("sv/T.RCT");
  Lines tries;
  EXPECT_EQ(Found("sv_SE", &tries), "sv/T.RCT");
  EXPECT_EQ(tries, (Lines{TryLine("sv_SE/T.RCT", "Failed"), TryLine("sv/T.RCT", "Success")}));
}

TEST_F(RctSearchTest, DeviceEndsTheSearchAndIsNotRead) {
  for (const char* device : {"/dev/null", "/dev/zero"}) {
    fs::create_directories(m_szDir + "sv_SE");
    fs::create_symlink(device, m_szDir + "sv_SE/T.RCT");
    Make("sv/T.RCT");
    Lines tries;
    EXPECT_EQ(Found("sv_SE", &tries), "(none)") << device;
    EXPECT_EQ(tries, (Lines{TryLine("sv_SE/T.RCT", "Success")})) << device;
    fs::remove(m_szDir + "sv_SE/T.RCT");
  }
}

TEST_F(RctSearchTest, FileWithoutStringSectionLoadsItsTextsAndGivesZero) {
  std::ofstream(m_szDir + "T.RCT") << "[dlg101]\n111=Allgemein\n";
  const Lang lang("de");
  CRctFile file;
  EXPECT_EQ(file.Load(m_szDir.c_str(), "T.RCT"), 0);
  EXPECT_STREQ(file.LoadDlgString(101, 111), "Allgemein");
}

TEST_F(RctSearchTest, LoadingReplacesWhatWasLoadedAlsoByNothing) {
  const Lang lang("C");
  Make("A.RCT");
  CRctFile file;
  EXPECT_EQ(file.Load(m_szDir.c_str(), "A.RCT"), 1);
  EXPECT_EQ(file.Load(m_szDir.c_str(), "B.RCT"), 0);
  EXPECT_EQ(file.LoadDlgString(0, 1), nullptr);
}

TEST_F(RctSearchTest, LoadClearsThroughTheVirtualTableFirst) {
  class Watched : public CRctFile {
   public:
    explicit Watched(const DebugLines& lines) : m_Lines(lines) {}
    void Clear() override {
      m_LinesAtClear.push_back(m_Lines.All().size());
      CRctFile::Clear();
    }
    std::vector<std::size_t> m_LinesAtClear;

   private:
    const DebugLines& m_Lines;
  };
  const Lang lang("C");
  const DebugLines lines;
  Watched file(lines);
  file.Load(m_szDir.c_str(), "T.RCT");
  EXPECT_EQ(file.m_LinesAtClear, std::vector<std::size_t>{0}) << "before anything is tried";
  EXPECT_EQ(lines.All().size(), 6U);
}

TEST_F(RctSearchTest, LoadClosesTheFile) {
  Make("T.RCT");
  const auto openFiles = [] {
    return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
  };
  const auto before = openFiles();
  EXPECT_EQ(Found("C"), "T.RCT");
  EXPECT_EQ(openFiles(), before);
}

TEST_F(RctSearchTest, OpenedStreamIsReadOnlyAndTheCallers) {
  Make("T.RCT");
  const Lang lang("C");
  const Stream stream(CRctFile::TryOpenRctFile(m_szDir.c_str(), "T.RCT"));
  ASSERT_NE(stream, nullptr);
  EXPECT_EQ(fgetc(stream.get()), '[');
  EXPECT_EQ(fputc('x', stream.get()), EOF);
}

TEST_F(RctSearchTest, LackOfMemoryFindsNothing) {
  Make("T.RCT");
  const Lang lang("C");
  const DebugLines lines;
  g_refuseCalloc = true;
  FILE* stream = CRctFile::TryOpenRctFile(m_szDir.c_str(), "T.RCT");
  g_refuseCalloc = false;
  EXPECT_EQ(stream, nullptr);
  EXPECT_EQ(lines.All().size(), 1U) << "LANG was read, nothing was tried";
}

// ---- Layout ------------------------------------------------------------------------------------

TEST(RctLayout, VirtualOperationsStandInOrder) {
  EXPECT_EQ(vtable::Slot(&CRctFile::Clear), 3);
  EXPECT_EQ(vtable::SlotCount<CRctFile>(), 3);
  EXPECT_EQ(vtable::Slot(&Strings::GetCount), 3);
  EXPECT_EQ(vtable::Slot(&Strings::Clear), 4);
  EXPECT_EQ(vtable::Slot(&Strings::SetString), 5);
  EXPECT_EQ(vtable::Slot(&Strings::GetString), 6);
  EXPECT_EQ(vtable::SlotCount<Strings>(), 6);
}

// The block size stands behind the other fields of the map.
int BlockSizeOf(const CMapWordToPtr& map) {
  class Opened : public CMapWordToPtr {
   public:
    using CMapWordToPtr::m_nBlockSize;
  };
  return map.*(&Opened::m_nBlockSize);
}

TEST(RctLayout, TablesAreMapsInBlocksOfTen) {
  EXPECT_EQ(BlockSizeOf(OpenedFile().m_mapSections), 10);
  EXPECT_EQ(BlockSizeOf(OpenedStrings().m_mapStrings), 10);
  EXPECT_EQ(sizeof(CRctFile), sizeof(void*) + sizeof(CMapWordToPtr));
  EXPECT_EQ(sizeof(Strings), sizeof(void*) + sizeof(CMapWordToPtr));
}

}  // namespace
