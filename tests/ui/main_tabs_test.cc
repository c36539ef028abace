// Tests of the notebook of tabs and of the settings file.
#include "ui/main_tabs.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "tests/support/debug_lines.h"
#include "tests/support/vtable_slot.h"
#include "tests/ui/ui_fixture.h"

// The linker sends the calls of these here, see CMakeLists.txt.
extern "C" {
FILE* __real_fdopen(int fd, const char* mode);
FILE* __wrap_fdopen(int fd, const char* mode);
// What calls of it are called in 32-bit programs for files of any size.
#ifdef _FILE_OFFSET_BITS
#define __real_fstat __real_fstat64
#define __wrap_fstat __wrap_fstat64
#endif
int __real_fstat(int fd, struct stat* info);
int __wrap_fstat(int fd, struct stat* info);
void* __real_malloc(size_t size);
void* __wrap_malloc(size_t size);
passwd* __real_getpwuid(uid_t uid);
passwd* __wrap_getpwuid(uid_t uid);
}

namespace {

enum class Fail { kNothing, kFdopen, kFstat, kMalloc };
Fail failing = Fail::kNothing;

// The password database's answer, unless it is to be the real one.
bool other_user = false;
passwd* user_entry = nullptr;

bool IsRegularFile(int fd) {
  struct stat info = {};
  return __real_fstat(fd, &info) == 0 && S_ISREG(info.st_mode);
}

}  // namespace

FILE* __wrap_fdopen(int fd, const char* mode) {
  return failing == Fail::kFdopen ? nullptr : __real_fdopen(fd, mode);
}
int __wrap_fstat(int fd, struct stat* info) {
  return failing == Fail::kFstat && IsRegularFile(fd) ? -1 : __real_fstat(fd, info);
}
void* __wrap_malloc(size_t size) {
  return failing == Fail::kMalloc ? nullptr : __real_malloc(size);
}
passwd* __wrap_getpwuid(uid_t uid) { return other_user ? user_entry : __real_getpwuid(uid); }

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;
using namespace ui_test;

// --- paths --------------------------------------------------------------------------------------

// Gives the user another home folder, or none with null, for as long as it lives.
class OtherHome {
 public:
  explicit OtherHome(const char* dir) : m_szDir(dir != nullptr ? dir : "") {
    m_Entry.pw_dir = m_szDir.data();
    user_entry = dir != nullptr ? &m_Entry : nullptr;
    other_user = true;
  }
  ~OtherHome() { other_user = false; }
  OtherHome(const OtherHome&) = delete;
  OtherHome& operator=(const OtherHome&) = delete;

 private:
  std::string m_szDir;
  passwd m_Entry = {};
};

std::string HomePath(const char* rest) {
  char path[kPathSize];
  BuildHomePath(path, rest);
  return path;
}

TEST(HomePath, StartsWithTheHomeFolderOfThePasswordDatabase) {
  EXPECT_EQ(Home() + "/x", HomePath("/x"));
  const OtherHome home("/home/ann");
  EXPECT_EQ("/home/ann/x", HomePath("/x"));
}

TEST(HomePath, HasNoHomeFolderForAnUnknownUser) {
  const OtherHome home(nullptr);
  EXPECT_EQ("/x", HomePath("/x"));
}

TEST(HomePath, IsCutTo511Bytes) {
  const OtherHome home(std::string(600, 'h').c_str());
  EXPECT_EQ(std::string(511, 'h'), HomePath("/x"));
}

// --- reading a value ----------------------------------------------------------------------------

// The value of a key in the text of a settings file, or "not found".
std::string Value(const std::string& text, const char* key) {
  char value[kPathSize] = "left alone";
  // Nothing lies behind the text that could be read by mistake.
  const std::unique_ptr<char, decltype(&free)> exact(strdup(text.c_str()), free);
  const int found = CMainTabs::ReadName(exact.get(), key, value);
  if (found == 1) return value;
  EXPECT_EQ(0, found);
  EXPECT_STREQ("left alone", value);
  return "not found";
}

TEST(ReadName, GivesTheTextBetweenTheQuotes) {
  const std::string text =
      "scanpath=\"/home/ann/Scan\"\nocrpath=\"\"\npcname=\"ann-desk\"\npcListUp=\"1\"\n";
  EXPECT_EQ("/home/ann/Scan", Value(text, "scanpath"));
  EXPECT_EQ("", Value(text, "ocrpath"));
  EXPECT_EQ("ann-desk", Value(text, "pcname"));
  EXPECT_EQ("1", Value(text, "pcListUp"));
}

TEST(ReadName, DoesNotFindAKeyThatIsNotThere) {
  EXPECT_EQ("not found", Value("scanpath=\"/a\"\n", "ocrpath"));
  EXPECT_EQ("not found", Value("", "scanpath"));
}

TEST(ReadName, FindsKeysInUpperAndMixedCase) {
  EXPECT_EQ("/a", Value("SCANPATH=\"/a\"\n", "scanpath"));
  EXPECT_EQ("0", Value("PCLISTUP=\"0\"\n", "pcListUp"));
  EXPECT_EQ("0", Value("PcLiStUp=\"0\"\n", "pcListUp"));
}

TEST(ReadName, FindsAKeyInsideAnotherValueAndReadsFromTheNextEqualsSign) {
  const std::string text = "scanpath=\"/data/ocrpath\"\nocrpath=\"/usr/bin/ocr\"\n";
  EXPECT_EQ("/usr/bin/ocr", Value(text, "ocrpath"));
  EXPECT_EQ("/o", Value("scanpath=\"/pcname\"\nocrpath=\"/o\"\npcname=\"x\"\n", "pcname"));
}

TEST(ReadName, FindsAKeyWhereverItStandsInALine) {
  EXPECT_EQ("/a", Value("  # my scanpath=\"/a\"\n", "scanpath"));
  EXPECT_EQ("/a", Value("oldscanpath=\"/a\"\nscanpath=\"/b\"\n", "scanpath"));
}

TEST(ReadName, EndsTheValueAtTheLastQuoteOfTheLine) {
  EXPECT_EQ("/a \"b\" c", Value("scanpath=\"/a \"b\" c\"\n", "scanpath"));
  EXPECT_EQ("/a", Value("scanpath=\"/a\" trailing\n", "scanpath"));
}

TEST(ReadName, GivesAnEmptyValueWithoutASecondQuote) {
  EXPECT_EQ("", Value("scanpath=\"/abc\n", "scanpath"));
  EXPECT_EQ("", Value("scanpath=/abc\n", "scanpath"));
  EXPECT_EQ("", Value("scanpath=\"\nocrpath=\"/o\"\n", "scanpath"));
}

TEST(ReadName, SkipsOneCharacterAfterTheEqualsSignUnseen) {
  EXPECT_EQ("bc", Value("scanpath=abc\"\n", "scanpath"));
  EXPECT_EQ("\"/abc", Value("scanpath = \"/abc\"\n", "scanpath"));
  EXPECT_EQ("v", Value("scanpath =\"v\"\n", "scanpath"));
  // Here that is the line feed, so the value is the next line.
  EXPECT_EQ("ocrpath=\"/o", Value("scanpath=\nocrpath=\"/o\"\n", "scanpath"));
}

TEST(ReadName, StopsAtTheEndOfTheText) {
  EXPECT_EQ("/a", Value("scanpath=\"/a\"", "scanpath"));
  EXPECT_EQ("not found", Value("scanpath", "scanpath"));
  EXPECT_EQ("not found", Value("scanpath\nocrpath\n", "scanpath"));
  EXPECT_EQ("", Value("scanpath=", "scanpath"));
  EXPECT_EQ("", Value("scanpath=\"", "scanpath"));
  EXPECT_EQ("", Value("scanpath=\"\n", "scanpath"));
}

TEST(ReadName, CutsALongValueTo511Bytes) {
  const std::string longest(511, 'x');
  EXPECT_EQ(longest, Value("scanpath=\"" + longest + "\"\n", "scanpath"));
  EXPECT_EQ(longest, Value("scanpath=\"" + longest + "y\"\n", "scanpath"));
  // The closing quote counts even where it lies behind the cut.
  EXPECT_EQ(longest, Value("scanpath=\"" + longest + "yy\" and more\n", "scanpath"));
}

// --- deleting lines -----------------------------------------------------------------------------

// What DeleteLine leaves of a text.
std::string Deleted(const std::string& text, const char* key) {
  std::string buffer = text;
  int length = static_cast<int>(text.size());
  CMainTabs::DeleteLine(buffer.data(), key, &length);
  EXPECT_EQ('\0', buffer.data()[length]);
  return buffer.substr(0, static_cast<size_t>(length));
}

TEST(DeleteLine, RemovesEveryLineWithTheKeyInAnyCase) {
  EXPECT_EQ("a=1\nc=3\n", Deleted("a=1\nb=2\nc=3\n", "b="));
  EXPECT_EQ("b=2\n", Deleted("key\nb=2\nmy KEY here\n", "key"));
  EXPECT_EQ("b=2\n", Deleted("b=2\nkey", "key"));
  EXPECT_EQ("b=2\n", Deleted("Key=1\nb=2\n", "key"));
}

TEST(DeleteLine, LeavesATextWithoutTheKeyAsItIs) {
  EXPECT_EQ("a=1\nb=2", Deleted("a=1\nb=2", "key"));
  EXPECT_EQ("", Deleted("", "key"));
}

TEST(DeleteLine, LeavesNothingOfATextThatIsOneLineWithTheKey) {
  EXPECT_EQ("", Deleted("key=1\n", "key"));
  EXPECT_EQ("", Deleted("key=1", "key"));
  EXPECT_EQ("", Deleted("key=1\nkey=2\n", "key"));
}

// --- the class ----------------------------------------------------------------------------------

class MainTabsTest : public UiTest {
 protected:
  void TearDown() override {
    failing = Fail::kNothing;
    UiTest::TearDown();
  }

  // What ReadFile writes to standard error.
  std::string ReadErrors() {
    testing::internal::CaptureStderr();
    Tabs().ReadFile();
    return testing::internal::GetCapturedStderr();
  }

  int PageOf(const xTabBase& tab) { return gtk_notebook_page_num(Notebook(), tab.GetWidget()); }

  static void Put(CMainTabs& tabs, int index, std::unique_ptr<xTabBase> tab) {
    (tabs.*MainTabs::Tabs)[index] = std::move(tab);
  }
};

TEST_F(MainTabsTest, AddsItsVirtualsBehindThoseOfTheNotebook) {
  EXPECT_EQ(21, vtable::Slot(&CMainTabs::OnSwitchPage));
  EXPECT_EQ(22, vtable::Slot(&CMainTabs::OnInitDialog));
  EXPECT_EQ(23, vtable::Slot(&CMainTabs::OnApply));
  EXPECT_EQ(24, vtable::Slot(&CMainTabs::OnOK));
  EXPECT_EQ(25, vtable::Slot(&CMainTabs::OnReset));
  EXPECT_EQ(26, vtable::Slot(&CMainTabs::OnCancel));
  EXPECT_EQ(26, vtable::SlotCount<CMainTabs>());
}

TEST_F(MainTabsTest, KeepsItsFieldsInOrder) {
  CreateWindow();
  const CMainTabs& tabs = Tabs();
  const std::ptrdiff_t first = Offset(tabs, tabs.*MainTabs::Tabs);
  EXPECT_EQ(static_cast<std::ptrdiff_t>(sizeof(xNoteBook)), first);
  EXPECT_EQ(first + 2 * kPointer, Offset(tabs, tabs.*MainTabs::Scanpath));
  EXPECT_EQ(first + 2 * kPointer + 512, Offset(tabs, tabs.*MainTabs::Ocrpath));
  EXPECT_EQ(first + 2 * kPointer + 1024, Offset(tabs, tabs.*MainTabs::Hostname));
  EXPECT_EQ(40U, sizeof(tabs.*MainTabs::Hostname));
}

// Shows the identifier of a control.
struct Identified : xWidget {
  static constexpr auto Id = &Identified::m_nID;
  static constexpr auto Parent = &Identified::m_pParent;
};

TEST_F(MainTabsTest, MakesAndShowsTheGeneralAndTheNetworkTab) {
  CreateWindow();
  EXPECT_EQ(1U, Tabs().*Identified::Id);
  EXPECT_EQ(&Window(), Tabs().*Identified::Parent);
  EXPECT_EQ(100U, General().*Identified::Id);
  EXPECT_EQ(150U, Network().*Identified::Id);
  EXPECT_EQ(&Tabs(), General().*Identified::Parent);
  EXPECT_EQ(&Tabs(), Network().*Identified::Parent);
  EXPECT_EQ(0, PageOf(General()));
  EXPECT_EQ(1, PageOf(Network()));
  EXPECT_EQ(General().GetLab()->GetWidget(),
            gtk_notebook_get_tab_label(Notebook(), General().GetWidget()));
}

TEST_F(MainTabsTest, PagesKeepTheirBorder) {
  CreateWindow();
  EXPECT_EQ(6U, gtk_container_get_border_width(GTK_CONTAINER(General().GetWidget())));
  EXPECT_EQ(6U, gtk_container_get_border_width(GTK_CONTAINER(Network().GetWidget())));
}

TEST_F(MainTabsTest, ShowTabTakesAPageOutAndPutsItBackInItsPlace) {
  CreateWindow();
  Tabs().ShowTab(0, 0);
  EXPECT_EQ(-1, PageOf(General()));
  EXPECT_EQ(0, PageOf(Network()));
  EXPECT_EQ(0, General().IsShow());
  Tabs().ShowTab(0, -1);
  EXPECT_EQ(0, PageOf(General()));
  EXPECT_EQ(1, PageOf(Network()));

  Tabs().ShowTab(1, 0);
  EXPECT_EQ(1, gtk_notebook_get_n_pages(Notebook()));
  Tabs().ShowTab(1, 1);
  EXPECT_EQ(1, PageOf(Network()));
}

TEST_F(MainTabsTest, ShowTabInsertsBehindTheNearestTabBeforeIt) {
  CreateWindow();
  // A page that is no tab comes first; General and with it Network follow behind.
  Tabs().ShowTab(1, 0);
  GtkWidget* other = gtk_label_new("other");
  gtk_widget_show(other);
  gtk_notebook_insert_page(Notebook(), other, nullptr, 0);
  Tabs().ShowTab(1, -1);
  EXPECT_EQ(1, PageOf(General()));
  EXPECT_EQ(2, PageOf(Network()));
  // Without a tab before it a page goes to the front.
  Tabs().ShowTab(0, 0);
  Tabs().ShowTab(1, 0);
  Tabs().ShowTab(1, -1);
  EXPECT_EQ(0, PageOf(Network()));
}

TEST_F(MainTabsTest, ShowTabIgnoresWhatIsDoneAlreadyAndUnknownTabs) {
  CreateWindow();
  Tabs().ShowTab(0, -1);
  Tabs().ShowTab(-1, 0);
  Tabs().ShowTab(2, 0);
  Tabs().ShowTab(2, -1);
  EXPECT_EQ(2, gtk_notebook_get_n_pages(Notebook()));
  Tabs().ShowTab(1, 0);
  Tabs().ShowTab(1, 0);
  EXPECT_EQ(1, gtk_notebook_get_n_pages(Notebook()));
  Put(Tabs(), 0, nullptr);
  Tabs().ShowTab(0, 0);
  EXPECT_EQ(1, gtk_notebook_get_n_pages(Notebook()));
}

// --- what the notebook tells its tabs -----------------------------------------------------------

// Writes down which of its handlers are called, and answers OnApply as told.
template <typename Tab>
class Recording : public Tab {
 public:
  Recording(CMainTabs* tabs, const char* name, int result, std::string* calls)
      : Tab(tabs, name, 0), m_szName(name), m_iResult(result), m_pCalls(calls) {}
  void OnInitDialog() override { Add("init"); }
  void OnActive() override { Add("active"); }
  int OnApply() override {
    Add("apply");
    return m_iResult;
  }
  void OnOK() override { Add("ok"); }
  void OnReset() override { Add("reset"); }
  void OnCancel() override { Add("cancel"); }

 private:
  void Add(const char* call) { *m_pCalls += m_szName + " " + call + ";"; }

  std::string m_szName;
  int m_iResult;
  std::string* m_pCalls;
};

class RecordingTabsTest : public MainTabsTest {
 protected:
  // Tabs "a" and "b" that answer OnApply with these results.
  CMainTabs& UseTabs(int a, int b) {
    CreateWindow();
    for (int i = 0; i < 2; ++i) Tabs().ShowTab(i, 0);
    Put(Tabs(), 0, std::make_unique<Recording<CTabGeneral>>(&Tabs(), "a", a, &m_Calls));
    Put(Tabs(), 1, std::make_unique<Recording<CTabNetwork>>(&Tabs(), "b", b, &m_Calls));
    for (int i = 0; i < 2; ++i) {
      gtk_widget_show_all((Tabs().*MainTabs::Tabs)[i]->GetWidget());
      Tabs().ShowTab(i, -1);
    }
    m_Calls.clear();
    return Tabs();
  }
  static bool Written() { return fs::exists(SettingsFile()); }

  std::string m_Calls;
};

TEST_F(RecordingTabsTest, ApplyAsksEachTabAndThenWritesTheFile) {
  EXPECT_EQ(-1, UseTabs(-1, -1).OnApply());
  EXPECT_EQ("a apply;b apply;", m_Calls);
  EXPECT_TRUE(Written());
}

TEST_F(RecordingTabsTest, ARefusingTabKeepsTheLaterOnesAndTheFileFromBeingTouched) {
  EXPECT_EQ(0, UseTabs(0, -1).OnApply());
  EXPECT_EQ("a apply;", m_Calls);
  EXPECT_FALSE(Written());
}

TEST_F(RecordingTabsTest, ALaterTabThatRefusesKeepsTheFileFromBeingWritten) {
  EXPECT_EQ(0, UseTabs(-1, 0).OnApply());
  EXPECT_EQ("a apply;b apply;", m_Calls);
  EXPECT_FALSE(Written());
}

TEST_F(RecordingTabsTest, ResultsOfApplyAreAndedBitByBit) {
  EXPECT_EQ(2, UseTabs(6, 3).OnApply());
  EXPECT_TRUE(Written());
  fs::remove(SettingsFile());
  EXPECT_EQ(0, UseTabs(1, 2).OnApply());
  EXPECT_FALSE(Written());
}

TEST_F(RecordingTabsTest, HiddenTabsAreSkipped) {
  CMainTabs& tabs = UseTabs(0, -1);
  tabs.ShowTab(0, 0);
  m_Calls.clear();
  EXPECT_EQ(-1, tabs.OnApply());
  tabs.OnOK();
  tabs.OnReset();
  EXPECT_EQ("b apply;b ok;b reset;", m_Calls);
}

TEST_F(RecordingTabsTest, OKTellsEachTabAndAlwaysWrites) {
  UseTabs(0, 0).OnOK();
  EXPECT_EQ("a ok;b ok;", m_Calls);
  EXPECT_TRUE(Written());
}

TEST_F(RecordingTabsTest, ResetTellsEachTabAndWritesNothing) {
  UseTabs(-1, -1).OnReset();
  EXPECT_EQ("a reset;b reset;", m_Calls);
  EXPECT_FALSE(Written());
}

TEST_F(RecordingTabsTest, CancelDoesNothing) {
  UseTabs(-1, -1).OnCancel();
  EXPECT_EQ("", m_Calls);
  EXPECT_FALSE(Written());
}

TEST_F(RecordingTabsTest, InitialisesEachTabAfterReadingTheFile) {
  Write(SettingsFile(), "scanpath=\"/from/file\"\n");
  CMainTabs& tabs = UseTabs(-1, -1);
  const DebugLines lines;
  tabs.OnInitDialog();
  EXPECT_EQ("a init;b init;", m_Calls);
  EXPECT_THAT(lines.All(),
              ElementsAre("[setScanpath(294)]: CTabGeneral::setScanpath (/from/file) \n"));
}

TEST_F(RecordingTabsTest, SwitchingThePageMakesItsTabActive) {
  CMainTabs& tabs = UseTabs(-1, -1);
  gtk_widget_show_all(tabs.GetWidget());
  gtk_notebook_set_current_page(Notebook(), 1);
  EXPECT_EQ("b active;", m_Calls);
  gtk_notebook_set_current_page(Notebook(), 0);
  EXPECT_EQ("b active;a active;", m_Calls);
  tabs.OnSwitchPage(2);
  EXPECT_EQ("b active;a active;", m_Calls);
}

TEST_F(RecordingTabsTest, SwitchingThePageWithoutAMainWindowTellsNobody) {
  CMainTabs& tabs = UseTabs(-1, -1);
  xApp::m_Instance = nullptr;
  tabs.OnSwitchPage(0);
  EXPECT_EQ("", m_Calls);
  xApp::m_Instance = m_pApp.get();
}

// --- reading the file ---------------------------------------------------------------------------

TEST_F(MainTabsTest, WithoutSettingsFileReportsItAndKeepsTheDefaults) {
  CreateWindow();
  const DebugLines lines;
  EXPECT_EQ("void CMainTabs::ReadFile(): Setting File open Error\n", ReadErrors());
  EXPECT_THAT(
      lines.All(),
      ElementsAre("[ReadFile(252)]: void CMainTabs::ReadFile(): Setting File open Error\n"));
  Window().InitTabs();
  EXPECT_EQ(ScanFolder(), EntryText(ScanEntry()));
  EXPECT_EQ("", EntryText(OcrEntry()));
  EXPECT_EQ("lab-desk", EntryText(NameEntry()));
  EXPECT_EQ(1, ListUp().GetCheck());
}

TEST_F(MainTabsTest, HandsEachValueToItsTab) {
  Write(SettingsFile(),
        "scanpath=\"/my/scans\"\nocrpath=\"/my/ocr\"\npcname=\"my-pc\"\npcListUp=\"0\"\n");
  CreateWindow();
  EXPECT_EQ("", ReadErrors());
  Window().InitTabs();
  EXPECT_EQ("/my/scans", EntryText(ScanEntry()));
  EXPECT_EQ("/my/ocr", EntryText(OcrEntry()));
  EXPECT_EQ("my-pc", EntryText(NameEntry()));
  EXPECT_EQ(0, ListUp().GetCheck());
}

// The lines that name the setters, without their source lines.
std::vector<std::string> SetterCalls(const DebugLines& lines) {
  std::vector<std::string> calls;
  for (const std::string& line : lines.All()) {
    if (line.compare(0, 4, "[set") == 0) calls.push_back(line.substr(line.find(": ") + 2));
  }
  return calls;
}

TEST_F(MainTabsTest, ReadsTheKeysInAFixedOrderWhateverTheirOrderInTheFile) {
  Write(SettingsFile(), "pcListUp=\"1\"\npcname=\"p\"\nocrpath=\"/o\"\nscanpath=\"/s\"\n");
  CreateWindow();
  const DebugLines lines;
  Tabs().ReadFile();
  EXPECT_THAT(
      SetterCalls(lines),
      ElementsAre("CTabGeneral::setScanpath (/s) \n", "CTabGeneral::setOcrpath (/o) \n",
                  "CTabNetwork::setHostname (p) \n", "CTabNetwork::setPCNameListUp (1) \n"));
}

TEST_F(MainTabsTest, AFileWithOnlyTheFlagSetsOnlyTheFlag) {
  Write(SettingsFile(), "pcListUp=\"0\"\n");
  CreateWindow();
  const DebugLines lines;
  Tabs().ReadFile();
  EXPECT_THAT(SetterCalls(lines), ElementsAre("CTabNetwork::setPCNameListUp (0) \n"));
  EXPECT_EQ(0, Network().getPCNameListUp());
}

TEST_F(MainTabsTest, AnEmptyFlagMeansListedLikeAnAbsentOne) {
  Write(SettingsFile(), "pcListUp=\"\"\n");
  OpenWindow();
  EXPECT_EQ(1, Network().getPCNameListUp());
}

TEST_F(MainTabsTest, RepairsTheStoredName) {
  Write(SettingsFile(), "pcname=\"my pc\"\n");
  EXPECT_EQ("mypc", EntryText((OpenWindow(), NameEntry())));
}

TEST_F(MainTabsTest, AnEmptyStoredNameBecomesThisComputersName) {
  Write(SettingsFile(), "pcname=\"\"\n");
  EXPECT_EQ("lab-desk", EntryText((OpenWindow(), NameEntry())));
}

TEST_F(MainTabsTest, AScanPathThatHoldsAKeyMisleadsTheLookUpOfThatKey) {
  Write(SettingsFile(), "scanpath=\"/ocrpath\"\nocrpath=\"/my/ocr\"\npcname=\"x\"\n");
  OpenWindow();
  EXPECT_EQ("/my/ocr", EntryText(OcrEntry()));
  Write(SettingsFile(), "scanpath=\"/pcname\"\nocrpath=\"/o\"\npcname=\"x\"\n");
  Tabs().ReadFile();
  EXPECT_STREQ("o", Network().*TabNetwork::Hostname);
}

TEST_F(MainTabsTest, ReadsAFileThatEndsWithoutALineFeed) {
  Write(SettingsFile(), "pcListUp=\"0\"\nscanpath=\"/last\"");
  OpenWindow();
  EXPECT_EQ("/last", EntryText(ScanEntry()));
}

TEST_F(MainTabsTest, AFileEndsAtItsFirstZeroByte) {
  Write(SettingsFile(), std::string("scanpath=\"/s\"\n\0ocrpath=\"/o\"\n", 28));
  OpenWindow();
  EXPECT_EQ("/s", EntryText(ScanEntry()));
  EXPECT_EQ("", EntryText(OcrEntry()));
}

TEST_F(MainTabsTest, LongValuesAreCutToTheirBuffers) {
  Write(SettingsFile(),
        "scanpath=\"" + std::string(2000, 's') + "\"\npcname=\"" + std::string(2000, 'p') + "\"\n");
  OpenWindow();
  EXPECT_EQ(std::string(511, 's'), EntryText(ScanEntry()));
  EXPECT_EQ(std::string(15, 'p'), EntryText(NameEntry()));
}

TEST_F(MainTabsTest, AFolderInPlaceOfTheFileHoldsNoSettings) {
  fs::create_directories(SettingsFile());
  OpenWindow();
  EXPECT_EQ(ScanFolder(), EntryText(ScanEntry()));
}

TEST_F(MainTabsTest, APipeInPlaceOfTheFileHoldsNoSettingsAndIsNotWaitedFor) {
  fs::create_directories(fs::path(SettingsFile()).parent_path());
  ASSERT_EQ(0, mkfifo(SettingsFile().c_str(), 0600));
  OpenWindow();
  EXPECT_EQ(ScanFolder(), EntryText(ScanEntry()));
}

TEST_F(MainTabsTest, HomeComesFromThePasswordDatabase) {
  Write("/tmp/elsewhere/.VeltranaDVX/dvxtools.conf", "pcname=\"wrong\"\n");
  Write(SettingsFile(), "pcname=\"right\"\n");
  const std::string home = getenv("HOME");
  setenv("HOME", "/tmp/elsewhere", 1);
  OpenWindow();
  setenv("HOME", home.c_str(), 1);
  EXPECT_EQ("right", EntryText(NameEntry()));
}

struct ReadFailure {
  Fail fail;
  const char* error;
  int line;
};

class ReadFailureTest : public MainTabsTest, public testing::WithParamInterface<ReadFailure> {};

TEST_P(ReadFailureTest, IsReportedAndKeepsTheDefaults) {
  Write(SettingsFile(), "scanpath=\"/from/file\"\n");
  CreateWindow();
  const DebugLines lines;
  testing::internal::CaptureStderr();
  failing = GetParam().fail;
  Tabs().ReadFile();
  failing = Fail::kNothing;
  const std::string message = std::string("void CMainTabs::ReadFile(): ") + GetParam().error + "\n";
  EXPECT_EQ(message, testing::internal::GetCapturedStderr());
  EXPECT_THAT(lines.All(),
              ElementsAre("[ReadFile(" + std::to_string(GetParam().line) + ")]: " + message));
  EXPECT_EQ(ScanFolder(), General().*TabGeneral::Scanpath);
}

INSTANTIATE_TEST_SUITE_P(Every, ReadFailureTest,
                         testing::Values(ReadFailure{Fail::kFdopen, "Setting File open Error", 261},
                                         ReadFailure{Fail::kFstat, "fstat Error", 271},
                                         ReadFailure{Fail::kMalloc, "malloc Error", 283}));

TEST_F(MainTabsTest, FailuresToReadLeaveNoFileOpen) {
  Write(SettingsFile(), "scanpath=\"/from/file\"\n");
  CreateWindow();
  const auto open_files = [] {
    return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
  };
  const auto before = open_files();
  for (const Fail fail : {Fail::kFdopen, Fail::kFstat, Fail::kNothing}) {
    failing = fail;
    Tabs().ReadFile();
  }
  EXPECT_EQ(before, open_files());
}

// --- writing the file ---------------------------------------------------------------------------

TEST_F(MainTabsTest, WritesFourLines) {
  OpenWindow();
  Type(ScanEntry(), "/my/scans");
  Type(OcrEntry(), "/my/ocr");
  Type(NameEntry(), "my-pc");
  Tabs().WriteFile();
  EXPECT_EQ("scanpath=\"/my/scans\"\nocrpath=\"/my/ocr\"\npcname=\"my-pc\"\npcListUp=\"1\"\n",
            Read(SettingsFile()));
}

TEST_F(MainTabsTest, TheFirstApplyMakesFolderAndFile) {
  OpenWindow();
  ASSERT_FALSE(fs::exists(SettingsFolder()));
  umask(022);
  EXPECT_EQ(-1, Tabs().OnApply());
  EXPECT_EQ(0755, Mode(SettingsFolder()));
  EXPECT_EQ(
      "scanpath=\"" + ScanFolder() + "\"\nocrpath=\"\"\npcname=\"lab-desk\"\npcListUp=\"1\"\n",
      Read(SettingsFile()));
}

TEST_F(MainTabsTest, ReplacesTheWholeFile) {
  Write(SettingsFile(), "# mine\npcListUp=\"0\"\nother=\"" + std::string(1000, 'x') + "\"\n");
  OpenWindow();
  ListUp().SetCheck(0);
  EXPECT_EQ(-1, Tabs().OnApply());
  EXPECT_EQ(
      "scanpath=\"" + ScanFolder() + "\"\nocrpath=\"\"\npcname=\"lab-desk\"\npcListUp=\"0\"\n",
      Read(SettingsFile()));
}

TEST_F(MainTabsTest, WhatIsWrittenIsReadBack) {
  OpenWindow();
  Type(ScanEntry(), "/tmp/a \"quoted\" folder");
  Type(OcrEntry(), "/tmp/\xC3\xA9 = x");
  Type(NameEntry(), "pc_{1}");
  ListUp().SetCheck(0);
  Network().setPCNameListUp(std::string("0").data());
  Tabs().WriteFile();
  m_pApp->DropWindow();
  OpenWindow();
  EXPECT_EQ("/tmp/a \"quoted\" folder", EntryText(ScanEntry()));
  EXPECT_EQ("/tmp/\xC3\xA9 = x", EntryText(OcrEntry()));
  EXPECT_EQ("pc_{1}", EntryText(NameEntry()));
  EXPECT_EQ(0, ListUp().GetCheck());
}

TEST_F(MainTabsTest, ALineFeedInAPathIsWrittenAsItStandsAndCutsTheValueWhenReadBack) {
  OpenWindow();
  General().setScanpath("/one\ntwo");
  Tabs().WriteFile();
  EXPECT_THAT(Read(SettingsFile()), StartsWith("scanpath=\"/one\ntwo\"\nocrpath="));
  Tabs().ReadFile();
  EXPECT_STREQ("", General().*TabGeneral::Scanpath);
}

TEST_F(MainTabsTest, AFlagOf10IsWrittenAs1) {
  OpenWindow();
  Network().*TabNetwork::ListUpFlag = 10;
  Tabs().WriteFile();
  EXPECT_THAT(Read(SettingsFile()), HasSubstr("pcListUp=\"1\"\n"));
}

TEST_F(MainTabsTest, AtMost39BytesOfTheNameAreWritten) {
  OpenWindow();
  Network().setHostname((std::string(63, 'n')).data());
  Tabs().WriteFile();
  EXPECT_THAT(Read(SettingsFile()), HasSubstr("pcname=\"" + std::string(39, 'n') + "\"\n"));
}

TEST_F(MainTabsTest, AFileThatCannotBeWrittenIsReportedAndCountsAsApplied) {
  fs::create_directories(SettingsFile());
  OpenWindow();
  Window().SetModified(-1);
  const DebugLines lines;
  testing::internal::CaptureStderr();
  Window().OnNofityBtnClicked(3);
  EXPECT_EQ("CMainTabs::WriteFile() can't open file.\n", testing::internal::GetCapturedStderr());
  EXPECT_EQ("[WriteFile(366)]: CMainTabs::WriteFile() can't open file.\n", lines.All().back());
  EXPECT_FALSE(IsModified());
}

TEST_F(MainTabsTest, AFolderThatIsNotWritableIsNotReplaced) {
  OpenWindow();
  const ReadOnlyFolder folder(SettingsFolder());
  testing::internal::CaptureStderr();
  Tabs().WriteFile();
  EXPECT_EQ("CMainTabs::WriteFile() can't open file.\n", testing::internal::GetCapturedStderr());
  EXPECT_TRUE(fs::is_directory(SettingsFolder()));
}

TEST_F(MainTabsTest, OnlyTheSettingsFolderItselfIsMade) {
  OpenWindow();
  const OtherHome home("/tmp/no-home");
  testing::internal::CaptureStderr();
  Tabs().WriteFile();
  EXPECT_EQ("CMainTabs::WriteFile() can't open file.\n", testing::internal::GetCapturedStderr());
  EXPECT_FALSE(fs::exists("/tmp/no-home"));
}

TEST_F(MainTabsTest, AFileThatIsThereAlreadyKeepsItsFolderAsItIs) {
  Write(SettingsFile(), "");
  ASSERT_EQ(0, chmod(SettingsFolder().c_str(), 0700));
  OpenWindow();
  Tabs().WriteFile();
  EXPECT_EQ(0700, Mode(SettingsFolder()));
  EXPECT_NE("", Read(SettingsFile()));
}

}  // namespace
