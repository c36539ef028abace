// Tests of the Network tab: the name, the device list, the search, the web page, and what Apply
// tells the scanners.
#include "ui/tab_network.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdarg>
#include <string>

#include "app/log/debug_log.h"
#include "tests/support/accessible.h"
#include "tests/support/debug_lines.h"
#include "tests/support/line_numbers.h"
#include "tests/support/vtable_slot.h"
#include "tests/ui/ui_fixture.h"

// The linker sends the calls of these here, see CMakeLists.txt.
extern "C" {
int __real_access(const char* path, int mode);
int __wrap_access(const char* path, int mode);
int __wrap_execl(const char* path, const char* arg, ...);
int __real_gethostname(char* name, size_t size);
int __wrap_gethostname(char* name, size_t size);
pid_t __real_waitpid(pid_t pid, int* status, int options);
pid_t __wrap_waitpid(pid_t pid, int* status, int options);
}

namespace {

constexpr char kStarted[] = "/tmp/started";
constexpr char kDebugLog[] = "/tmp/VeltranaDVXTools.log";
constexpr char kTornDown[] = "/tmp/torn-down";

// The viewers that this computer has; starting one writes its arguments to kStarted.
std::vector<std::string> viewers;
bool viewers_start = true;

// This computer's name, "-" for a failure to tell it, unless it is to be the real one.
std::string computer_name;

// The exit statuses of the viewers that have been collected.
std::vector<int> exit_statuses;

}  // namespace

int __wrap_access(const char* path, int mode) {
  const std::string name = path;
  if (name != "/usr/bin/xdg-open" && name != "/usr/bin/gnome-open") {
    return __real_access(path, mode);
  }
  EXPECT_EQ(X_OK, mode);
  for (const std::string& viewer : viewers) {
    if (viewer == name) return 0;
  }
  return -1;
}

int __wrap_execl(const char* path, const char* arg, ...) {
  if (!viewers_start) return -1;
  FILE* file = fopen(kStarted, "w");
  fprintf(file, "%s", path);
  va_list arguments;
  va_start(arguments, arg);
  for (const char* next = arg; next != nullptr; next = va_arg(arguments, const char*)) {
    fprintf(file, "|%s", next);
  }
  va_end(arguments);
  fclose(file);
  _exit(0);
}

int __wrap_gethostname(char* name, size_t size) {
  if (computer_name.empty()) return __real_gethostname(name, size);
  if (computer_name == "-") return -1;
  g_strlcpy(name, computer_name.c_str(), size);
  return 0;
}

pid_t __wrap_waitpid(pid_t pid, int* status, int options) {
  int own = 0;
  const pid_t collected = __real_waitpid(pid, &own, options);
  if (collected > 0) exit_statuses.push_back(own);
  if (status != nullptr) *status = own;
  return collected;
}

namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using namespace ui_test;

using Rows = std::vector<fake_scanners::Device>;

const Rows kTwoDevices = {{"Veltrana T55", "reception", "10.77.0.64"},
                          {"Veltrana T70", "archive", "10.77.0.65"}};

class TabNetworkTest : public UiTest {
 protected:
  void SetUp() override {
    UiTest::SetUp();
    viewers = {"/usr/bin/xdg-open", "/usr/bin/gnome-open"};
    viewers_start = true;
    computer_name.clear();
    exit_statuses.clear();
    fs::remove(kStarted);
    fs::remove(kDebugLog);
  }
  void TearDown() override {
    myDbgFunc = myDbgNop;
    UiTest::TearDown();
  }

  CMainWin& OpenWindowWith(const Rows& devices) {
    fake_scanners::SetDevices(devices);
    return OpenWindow();
  }

  std::string Hostname() { return Network().*TabNetwork::Hostname; }
  xListBox& DeviceList() { return *(Network().*TabNetwork::DeviceList); }
  GtkTreeView* TreeView() { return GTK_TREE_VIEW(DeviceList().GetMnemonicWidget()); }
  xButton& Search() { return *(Network().*TabNetwork::Search); }
  xButton& Configure() { return *(Network().*TabNetwork::Configure); }

  // What the device list shows.
  Rows Listed() {
    Rows rows;
    GtkTreeModel* model = gtk_tree_view_get_model(TreeView());
    GtkTreeIter row;
    for (gboolean more = gtk_tree_model_get_iter_first(model, &row); more != 0;
         more = gtk_tree_model_iter_next(model, &row)) {
      gchar* texts[3] = {};
      gtk_tree_model_get(model, &row, 0, &texts[0], 1, &texts[1], 2, &texts[2], -1);
      rows.push_back({texts[0], texts[1], texts[2]});
      for (gchar* text : texts) g_free(text);
    }
    return rows;
  }

  // Presses "Search" and does `answer` with the search dialog.
  void RunSearch(const std::function<void(GtkDialog*)>& answer) {
    const gtk_test::ModalAnswer modal(answer);
    Click(Search());
  }
  static void PressCancel(GtkDialog* dialog) { gtk_dialog_response(dialog, 2); }
  // The worker ends the dialog by itself.
  static void WaitForTheEnd(GtkDialog*) {}
};

// --- the class ----------------------------------------------------------------------------------

TEST_F(TabNetworkTest, OverridesVirtualsOfThePageAndAddsNone) {
  EXPECT_EQ(10, vtable::Slot(&CTabNetwork::OnNofityBtnClicked));
  EXPECT_EQ(11, vtable::Slot(&CTabNetwork::OnNofitySelectChanged));
  EXPECT_EQ(12, vtable::Slot(&CTabNetwork::OnNofityChanged));
  EXPECT_EQ(23, vtable::Slot(&CTabNetwork::OnInitDialog));
  EXPECT_EQ(24, vtable::Slot(&CTabNetwork::OnActive));
  EXPECT_EQ(25, vtable::Slot(&CTabNetwork::OnApply));
  EXPECT_EQ(27, vtable::Slot(&CTabNetwork::OnReset));
  EXPECT_EQ(29, vtable::SlotCount<CTabNetwork>());
}

TEST_F(TabNetworkTest, KeepsItsFieldsInOrder) {
  OpenWindow();
  const CTabNetwork& tab = Network();
  const std::ptrdiff_t first = Offset(tab, tab.*TabNetwork::Machines);
  EXPECT_EQ(static_cast<std::ptrdiff_t>(sizeof(xTabBase)), first);
  EXPECT_EQ(first + kPointer, Offset(tab, tab.*TabNetwork::Count));
  EXPECT_EQ(first + kPointer + 4, Offset(tab, tab.*TabNetwork::Hostname));
  EXPECT_EQ(first + kPointer + 68, Offset(tab, tab.*TabNetwork::ListUpFlag));
  EXPECT_EQ(first + kPointer + 72, Offset(tab, tab.*TabNetwork::Frame));
  EXPECT_EQ(first + 2 * kPointer + 72, Offset(tab, tab.*TabNetwork::NameLabel));
  EXPECT_EQ(first + 3 * kPointer + 72, Offset(tab, tab.*TabNetwork::ListUp));
  EXPECT_EQ(first + 4 * kPointer + 72, Offset(tab, tab.*TabNetwork::NameEntry));
  EXPECT_EQ(first + 5 * kPointer + 72, Offset(tab, tab.*TabNetwork::Heading));
  EXPECT_EQ(first + 6 * kPointer + 72, Offset(tab, tab.*TabNetwork::DeviceList));
  EXPECT_EQ(first + 7 * kPointer + 72, Offset(tab, tab.*TabNetwork::Search));
  EXPECT_EQ(first + 8 * kPointer + 72, Offset(tab, tab.*TabNetwork::Configure));
  EXPECT_EQ(first + 9 * kPointer + 72, Offset(tab, tab.*TabNetwork::Guard));
  EXPECT_EQ(2U, sizeof(tab.*TabNetwork::Guard));
}

// --- construction -------------------------------------------------------------------------------

TEST_F(TabNetworkTest, SurveysTheNetworkOnceOnTheSameThreadWhileItIsBuilt) {
  fake_scanners::SetDevices(kTwoDevices);
  CreateWindow();
  EXPECT_EQ(1, fake_scanners::SurveysBegun());
  EXPECT_TRUE(fake_scanners::LastSurveyRanHere());
  EXPECT_FALSE(fake_scanners::SawProgressBar());
  EXPECT_EQ(2, Network().*TabNetwork::Count);
  EXPECT_STREQ("archive", (Network().*TabNetwork::Machines)[1].szMachineName);
  EXPECT_THAT(Listed(), IsEmpty()) << "the list is filled when the settings have been read";
}

TEST_F(TabNetworkTest, StartsWithThisComputersNameListedAndOpenToNotifications) {
  const DebugLines lines;
  CreateWindow();
  EXPECT_EQ("lab-desk", Hostname());
  EXPECT_EQ(1, Network().getPCNameListUp());
  EXPECT_EQ(0, Network().*TabNetwork::Guard);
  EXPECT_THAT(WithoutNumbers(lines.All()), Contains("[CTabNetwork(#)]: hostname=(lab-desk)\n"));
}

TEST_F(TabNetworkTest, ShowsEnglishTexts) {
  OpenWindow();
  EXPECT_EQ("PC name list up on device", FrameTitle(*(Network().*TabNetwork::Frame)));
  EXPECT_EQ("PC name list up on device", ButtonText(ListUp()));
  EXPECT_EQ("PC name:", LabelText((Network().*TabNetwork::NameLabel)->GetWidget()));
  EXPECT_EQ("Configure Network Device", LabelText((Network().*TabNetwork::Heading)->GetWidget()));
  const auto title = [&](int column) {
    return std::string(
        gtk_tree_view_column_get_title(gtk_tree_view_get_column(TreeView(), column)));
  };
  EXPECT_EQ("Model Name", title(0));
  EXPECT_EQ("Machine Name", title(1));
  EXPECT_EQ("IP Address", title(2));
  EXPECT_EQ(nullptr, gtk_tree_view_get_column(TreeView(), 3));
  EXPECT_EQ("Search", ButtonText(Search()));
  EXPECT_EQ("Configure...", ButtonText(Configure()));
}

TEST_F(TabNetworkTest, ShowsTheTextsOfTheLanguageFile) {
  std::string texts = "[dlg102]\n";
  for (int id = 212; id <= 220; ++id) {
    texts += std::to_string(id) + "=t" + std::to_string(id) + "\n";
  }
  Write(std::string(kLanguageFolder) + "/DVXTOOLS.RCT", texts);
  OpenWindow();
  EXPECT_EQ("t212", FrameTitle(*(Network().*TabNetwork::Frame)));
  EXPECT_EQ("t213", ButtonText(ListUp()));
  EXPECT_EQ("t214", LabelText((Network().*TabNetwork::NameLabel)->GetWidget()));
  EXPECT_EQ("t215", LabelText((Network().*TabNetwork::Heading)->GetWidget()));
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ("t" + std::to_string(216 + i),
              gtk_tree_view_column_get_title(gtk_tree_view_get_column(TreeView(), i)));
  }
  EXPECT_EQ("t219", ButtonText(Search()));
  EXPECT_EQ("t220", ButtonText(Configure()));
}

TEST_F(TabNetworkTest, PageIsAColumnOfFrameHeadingListAndButtons) {
  OpenWindow();
  GtkWidget* page = Network().GetWidget();
  ASSERT_TRUE(GTK_IS_VBOX(page));
  EXPECT_FALSE(gtk_box_get_homogeneous(GTK_BOX(page)));
  EXPECT_EQ(6, gtk_box_get_spacing(GTK_BOX(page)));
  EXPECT_EQ(6U, gtk_container_get_border_width(GTK_CONTAINER(page)));

  GtkWidget* frame = (Network().*TabNetwork::Frame)->GetWidget();
  GtkWidget* heading = (Network().*TabNetwork::Heading)->GetWidget();
  GtkWidget* list = DeviceList().GetWidget();
  GtkWidget* buttons = gtk_widget_get_parent(Search().GetWidget());
  EXPECT_THAT(gtk_test::Children(page), ElementsAre(frame, heading, list, buttons));
  for (GtkWidget* child : {frame, heading, list, buttons}) {
    const int grows = child == list ? 1 : 0;
    EXPECT_EQ(grows, gtk_test::ChildProperty(page, child, "expand"));
    EXPECT_EQ(grows, gtk_test::ChildProperty(page, child, "fill"));
    EXPECT_EQ(2, gtk_test::ChildProperty(page, child, "padding"));
    EXPECT_EQ(child == buttons ? int{GTK_PACK_END} : int{GTK_PACK_START},
              gtk_test::ChildProperty(page, child, "pack-type"));
  }
}

TEST_F(TabNetworkTest, SearchAndConfigureStandAtBothEndsOfTheirRow) {
  OpenWindow();
  GtkWidget* row = gtk_widget_get_parent(Search().GetWidget());
  ASSERT_TRUE(GTK_IS_HBOX(row));
  EXPECT_FALSE(gtk_box_get_homogeneous(GTK_BOX(row)));
  EXPECT_EQ(0, gtk_box_get_spacing(GTK_BOX(row)));
  EXPECT_EQ(6U, gtk_container_get_border_width(GTK_CONTAINER(row)));
  EXPECT_THAT(gtk_test::Children(row), ElementsAre(Search().GetWidget(), Configure().GetWidget()));
  for (GtkWidget* button : {Search().GetWidget(), Configure().GetWidget()}) {
    EXPECT_EQ(0, gtk_test::ChildProperty(row, button, "expand"));
    EXPECT_EQ(0, gtk_test::ChildProperty(row, button, "fill"));
    EXPECT_EQ(2, gtk_test::ChildProperty(row, button, "padding"));
  }
  EXPECT_EQ(int{GTK_PACK_START}, gtk_test::ChildProperty(row, Search().GetWidget(), "pack-type"));
  EXPECT_EQ(int{GTK_PACK_END}, gtk_test::ChildProperty(row, Configure().GetWidget(), "pack-type"));
}

// Left, top, right, bottom, horizontal and vertical options of a table's child.
std::vector<int> Cell(const xWidget& control) {
  GtkWidget* table = gtk_widget_get_parent(control.GetWidget());
  std::vector<int> cell;
  for (const char* name :
       {"left-attach", "top-attach", "right-attach", "bottom-attach", "x-options", "y-options"}) {
    guint value = 0;
    gtk_container_child_get(GTK_CONTAINER(table), control.GetWidget(), name, &value, nullptr);
    cell.push_back(static_cast<int>(value));
  }
  EXPECT_EQ(2, gtk_test::ChildProperty(table, control.GetWidget(), "x-padding"));
  EXPECT_EQ(2, gtk_test::ChildProperty(table, control.GetWidget(), "y-padding"));
  return cell;
}

TEST_F(TabNetworkTest, FrameHoldsCheckBoxAboveLabelAndEntry) {
  OpenWindow();
  const int fill = GTK_FILL;
  const int grow = GTK_EXPAND | GTK_FILL;
  EXPECT_THAT(Cell(ListUp()), ElementsAre(0, 0, 2, 1, grow, fill));
  // Two rows high, although the table was made with two rows: it has three now.
  EXPECT_THAT(Cell(*(Network().*TabNetwork::NameLabel)), ElementsAre(0, 1, 1, 3, fill, fill));
  EXPECT_THAT(Cell(NameEntry()), ElementsAre(1, 1, 2, 2, fill, fill));
  GtkWidget* table = gtk_widget_get_parent(NameEntry().GetWidget());
  EXPECT_EQ((Network().*TabNetwork::Frame)->GetWidget(), gtk_widget_get_parent(table));
  guint rows = 0;
  guint columns = 0;
  gtk_table_get_size(GTK_TABLE(table), &rows, &columns);
  EXPECT_EQ(3U, rows);
  EXPECT_EQ(2U, columns);
}

TEST_F(TabNetworkTest, LabelsAreLeftCentredAndNameTheirControls) {
  OpenWindow();
  for (xLabel* label :
       {(Network().*TabNetwork::NameLabel).get(), (Network().*TabNetwork::Heading).get()}) {
    gfloat xalign = -1;
    gfloat yalign = -1;
    gtk_misc_get_alignment(GTK_MISC(label->GetWidget()), &xalign, &yalign);
    EXPECT_EQ(0.0F, xalign);
    EXPECT_EQ(0.5F, yalign);
  }
  const auto named = [](const xLabel& label) {
    return gtk_label_get_mnemonic_widget(GTK_LABEL(label.GetWidget()));
  };
  EXPECT_EQ(NameEntry().GetWidget(), named(*(Network().*TabNetwork::NameLabel)));
  EXPECT_EQ(GTK_WIDGET(TreeView()), named(*(Network().*TabNetwork::Heading)));
  EXPECT_EQ("PC name:", accessible::Name(NameEntry().GetWidget()));
  EXPECT_EQ("Configure Network Device", accessible::Name(GTK_WIDGET(TreeView())));
}

// GTK walks a table from the child that was added last, and screen readers follow it.
TEST_F(TabNetworkTest, FrameIsReadFromTopToBottom) {
  OpenWindow();
  GtkWidget* table = gtk_widget_get_parent(NameEntry().GetWidget());
  EXPECT_THAT(gtk_test::Children(table),
              ElementsAre(ListUp().GetWidget(), (Network().*TabNetwork::NameLabel)->GetWidget(),
                          NameEntry().GetWidget()));
}

TEST_F(TabNetworkTest, NameEntryTakes15AllowedCharacters) {
  OpenWindow();
  EXPECT_EQ(15, NameEntry().GetLimitText());
  Type(NameEntry(), "my pc/1");
  EXPECT_EQ("mypc1", EntryText(NameEntry()));
  Type(NameEntry(), "caf\xC3\xA9");
  EXPECT_EQ("", EntryText(NameEntry()));
  const std::string signs = "!@#$%^&\\().-_{}";
  Type(NameEntry(), signs);
  EXPECT_EQ(signs, EntryText(NameEntry()));
  Type(NameEntry(), " \"'*+,/:;<=>?[]`|~");
  EXPECT_EQ("", EntryText(NameEntry()));
}

// --- showing the settings -----------------------------------------------------------------------

TEST_F(TabNetworkTest, OnInitDialogShowsNameChoiceAndDevices) {
  fake_scanners::SetDevices(kTwoDevices);
  CreateWindow();
  const DebugLines lines;
  Network().OnInitDialog();
  EXPECT_EQ("[OnInitDialog(#)]: CTabNetwork::OnInitDialog lab-desk\n",
            WithoutNumbers(lines.All()).front());
  EXPECT_EQ("lab-desk", EntryText(NameEntry()));
  EXPECT_EQ(1, ListUp().GetCheck());
  EXPECT_EQ(kTwoDevices, Listed());
  EXPECT_FALSE(IsSensitive(Configure()));
  EXPECT_TRUE(IsSensitive(Search()));
}

TEST_F(TabNetworkTest, FillingTheListIsLoggedAtBothEnds) {
  OpenWindowWith({kTwoDevices[0]});
  const DebugLines lines;
  Network().SetMachineList();
  ASSERT_THAT(lines.All(), SizeIs(3));
  EXPECT_THAT(
      WithoutNumbers({lines.All()[1]}),
      ElementsAre("[AddString2(#)]: AddString2 (Veltrana T55)-(reception)-(10.77.0.64) \n"));
  EXPECT_EQ(0U, lines.All()[0].find("[SetMachineList("));
  EXPECT_EQ(0U, lines.All()[2].find("[SetMachineList("));
}

TEST_F(TabNetworkTest, DeviceTextsThatAreNoUtf8AreShownAsReplacementCharacters) {
  OpenWindowWith({{"Veltrana \xFF", "caf\xE9", "10.77.0.64"}});
  EXPECT_EQ((Rows{{"Veltrana \xEF\xBF\xBD", "caf\xEF\xBF\xBD", "10.77.0.64"}}), Listed());
}

// The entry cuts the name and reports that, so the cut name becomes the name.
TEST_F(TabNetworkTest, ALongNameIs15CharactersFromThenOn) {
  CreateWindow();
  Network().setHostname(std::string("abcdefghijklmnopqrstuvwxyz").data());
  EXPECT_EQ("abcdefghijklmnopqrstuvwxyz", Hostname());
  Network().OnInitDialog();
  EXPECT_EQ("abcdefghijklmno", EntryText(NameEntry()));
  EXPECT_EQ("abcdefghijklmno", Hostname());
}

// Checking the box runs its handler; clearing a box that is clear already does not.
TEST_F(TabNetworkTest, NameEntryStaysEnabledWhenTheStoredChoiceIsNotToBeListed) {
  Write(SettingsFile(), "pcListUp=\"0\"\n");
  OpenWindow();
  EXPECT_EQ(0, ListUp().GetCheck());
  EXPECT_TRUE(IsSensitive(NameEntry()));
}

TEST_F(TabNetworkTest, AnyChoiceButZeroChecksTheBox) {
  Write(SettingsFile(), "pcListUp=\"7\"\n");
  OpenWindow();
  EXPECT_EQ(1, ListUp().GetCheck());
}

TEST_F(TabNetworkTest, ActiveAndResetChangeNothing) {
  OpenWindow();
  Type(NameEntry(), "typed");
  ListUp().SetCheck(0);
  Network().OnActive();
  Network().OnReset();
  EXPECT_EQ("typed", EntryText(NameEntry()));
  EXPECT_EQ("typed", Hostname());
  EXPECT_EQ(0, ListUp().GetCheck());
  EXPECT_EQ(0, Network().*TabNetwork::Guard);
  Network().*TabNetwork::Guard = 65535;
  Network().OnReset();
  EXPECT_EQ(0, Network().*TabNetwork::Guard);
}

// --- setters and getters ------------------------------------------------------------------------

TEST_F(TabNetworkTest, SetHostnameLogsAndCopiesAndIgnoresNoName) {
  OpenWindow();
  const DebugLines lines;
  Network().setHostname(std::string("name").data());
  Network().setHostname(std::string().data());
  Network().setHostname(nullptr);
  EXPECT_EQ("name", Hostname());
  EXPECT_THAT(WithoutNumbers(lines.All()),
              ElementsAre("[setHostname(#)]: CTabNetwork::setHostname (name) \n",
                          "[setHostname(#)]: CTabNetwork::setHostname () \n",
                          "[setHostname(#)]: CTabNetwork::setHostname ((null)) \n"));
}

TEST_F(TabNetworkTest, SetHostnameCutsANameTo63Bytes) {
  OpenWindow();
  Network().setHostname(std::string(100, 'n').data());
  char name[kHostnameSize];
  Network().getHostname(name);
  EXPECT_EQ(std::string(63, 'n'), name);
}

TEST_F(TabNetworkTest, SetPCNameListUpReadsASingleCharacter) {
  OpenWindow();
  const std::pair<const char*, int> cases[] = {{"0", 0},  {"1", 1},  {"7", 7},  {"x", 0}, {"-", 0},
                                               {"10", 1}, {"00", 1}, {" 0", 1}, {"", 1}};
  for (const auto& [text, flag] : cases) {
    Network().setPCNameListUp(std::string(text).data());
    EXPECT_EQ(flag, Network().*TabNetwork::ListUpFlag) << text;
  }
  Network().*TabNetwork::ListUpFlag = 0;
  Network().setPCNameListUp(nullptr);
  EXPECT_EQ(1, Network().*TabNetwork::ListUpFlag);
}

TEST_F(TabNetworkTest, SetPCNameListUpLogsTheText) {
  OpenWindow();
  const DebugLines lines;
  Network().setPCNameListUp(std::string("10").data());
  Network().setPCNameListUp(nullptr);
  EXPECT_THAT(WithoutNumbers(lines.All()),
              ElementsAre("[setPCNameListUp(#)]: CTabNetwork::setPCNameListUp (10) \n",
                          "[setPCNameListUp(#)]: CTabNetwork::setPCNameListUp ((null)) \n"));
}

TEST_F(TabNetworkTest, GetPCNameListUpStoresTheOneThatItReturns) {
  OpenWindow();
  Network().*TabNetwork::ListUpFlag = 7;
  EXPECT_EQ(1, Network().getPCNameListUp());
  EXPECT_EQ(1, Network().*TabNetwork::ListUpFlag);
  Network().*TabNetwork::ListUpFlag = 0;
  EXPECT_EQ(0, Network().getPCNameListUp());
}

// --- repairing a name ---------------------------------------------------------------------------

class ValidateHostNameTest : public TabNetworkTest {
 protected:
  void SetUp() override {
    TabNetworkTest::SetUp();
    OpenWindow();
  }
  std::string Valid(const std::string& name) {
    char buffer[kPathSize] = "";
    g_strlcpy(buffer, name.c_str(), sizeof(buffer));
    Network().ValidateHostName(buffer);
    return buffer;
  }
};

TEST_F(ValidateHostNameTest, KeepsOnlyAllowedCharacters) {
  EXPECT_EQ("my-pc_1", Valid("my-pc_1"));
  EXPECT_EQ("mypc", Valid("my pc"));
  EXPECT_EQ("mypc", Valid("my/pc"));
  EXPECT_EQ("ab", Valid("a\tb"));
  EXPECT_EQ("!@#$%^&\\().-_{}", Valid("!@#$%^&\\().-_{}"));
  EXPECT_EQ("", Valid("\"'*+,/:;<=>?[]`|~ "));
  EXPECT_EQ("AZaz09", Valid("AZ az 09"));
}

TEST_F(ValidateHostNameTest, ANameOfDisallowedCharactersBecomesEmpty) {
  EXPECT_EQ("", Valid("/ /"));
}

TEST_F(ValidateHostNameTest, ANameWithWideCharactersBecomesLinuxPC) {
  EXPECT_EQ("Linux-PC", Valid("caf\xC3\xA9"));
  EXPECT_EQ("Linux-PC", Valid("\xC3\xA9"));
  EXPECT_EQ("Linux-PC", Valid("\xE6\x97\xA5 pc"));
}

TEST_F(ValidateHostNameTest, ATruncatedCharacterIsNotReadPast) {
  EXPECT_EQ("Linux-PC", Valid("abc\xE9"));
  EXPECT_EQ("Linux-PC", Valid("abc\xF0"));
}

TEST_F(ValidateHostNameTest, LoneContinuationBytesCountAsCharactersAndAreDropped) {
  EXPECT_EQ("ab", Valid("a\x80\xBF"
                        "b"));
}

TEST_F(ValidateHostNameTest, AnEmptyNameBecomesThisComputersName) {
  EXPECT_EQ("lab-desk", Valid(""));
  computer_name = "my pc.example";
  EXPECT_EQ("mypc.example", Valid(""));
  computer_name = std::string(64, 'h');
  EXPECT_EQ(std::string(63, 'h'), Valid(""));
}

TEST_F(ValidateHostNameTest, ANamelessComputerIsLinuxPC) {
  computer_name = "-";
  EXPECT_EQ("Linux-PC", Valid(""));
  computer_name = "caf\xC3\xA9";
  EXPECT_EQ("Linux-PC", Valid(""));
}

TEST_F(ValidateHostNameTest, OnlyARepairedNameIsCutTo63Bytes) {
  EXPECT_EQ(std::string(100, 'n'), Valid(std::string(100, 'n')));
  EXPECT_EQ(std::string(63, 'n'), Valid(std::string(100, 'n') + " "));
}

TEST_F(ValidateHostNameTest, StaysWithin64Bytes) {
  char buffer[kHostnameSize + 1];
  memset(buffer, '~', sizeof(buffer));
  buffer[0] = '\0';
  computer_name = std::string(200, 'h');
  Network().ValidateHostName(buffer);
  EXPECT_EQ(std::string(63, 'h'), buffer);
  EXPECT_EQ('~', buffer[kHostnameSize]);
}

// --- edits --------------------------------------------------------------------------------------

TEST_F(TabNetworkTest, TypingANameTakesItOverAndMarksTheSettingsModified) {
  OpenWindow();
  Type(NameEntry(), "new-name");
  EXPECT_EQ("new-name", Hostname());
  EXPECT_TRUE(IsModified());
}

TEST_F(TabNetworkTest, ARefusedAsciiCharacterMarksTheSettingsModifiedAWideOneDoesNot) {
  OpenWindow();
  gint position = -1;
  gtk_editable_insert_text(GTK_EDITABLE(NameEntry().GetWidget()), "\xC3\xA9", 2, &position);
  EXPECT_FALSE(IsModified());
  position = -1;
  gtk_editable_insert_text(GTK_EDITABLE(NameEntry().GetWidget()), "/", 1, &position);
  EXPECT_TRUE(IsModified());
  EXPECT_EQ("lab-desk", Hostname());
}

TEST_F(TabNetworkTest, ClickingTheCheckBoxSwitchesTheEntryAndMarksTheSettingsModified) {
  OpenWindow();
  ASSERT_EQ(1, ListUp().GetCheck());
  Click(ListUp());
  EXPECT_FALSE(IsSensitive(NameEntry()));
  EXPECT_TRUE(IsModified());
  EXPECT_EQ(1, Network().*TabNetwork::ListUpFlag) << "the choice is taken on Apply";
  Window().SetModified(0);
  Click(ListUp());
  EXPECT_TRUE(IsSensitive(NameEntry()));
  EXPECT_TRUE(IsModified());
}

// The check box has the identifier of the window's Cancel button.
TEST_F(TabNetworkTest, ClicksDoNotReachTheMainWindow) {
  OpenWindow();
  const DebugLines lines;
  EXPECT_FALSE(LeavesMainLoop(
      [&] {
        Click(ListUp());
        for (const unsigned int id : {2U, 3U, 4U, 5U}) Network().OnNofityBtnClicked(id);
        Network().OnNofityBtnClicked(55);
      },
      0));
  for (const std::string& line : lines.All()) {
    EXPECT_EQ(std::string::npos, line.find("CMainWin")) << line;
  }
  EXPECT_FALSE(fs::exists(SettingsFile()));
}

TEST_F(TabNetworkTest, WhileTheGuardIsUpNothingIsHeard) {
  OpenWindowWith(kTwoDevices);
  Network().*TabNetwork::Guard = 65535;
  Type(NameEntry(), "typed");
  Click(ListUp());
  Click(Search());
  DeviceList().SetCurSel(0);
  EXPECT_FALSE(IsModified());
  EXPECT_EQ("lab-desk", Hostname());
  EXPECT_TRUE(IsSensitive(NameEntry()));
  EXPECT_FALSE(IsSensitive(Configure()));
  EXPECT_EQ(1, fake_scanners::SurveysBegun());
}

TEST_F(TabNetworkTest, OtherIdentifiersAreNoEdits) {
  OpenWindowWith(kTwoDevices);
  Network().OnNofityChanged(0);
  Network().OnNofityChanged(55);
  EXPECT_FALSE(IsModified());
  gtk_widget_set_sensitive(Configure().GetWidget(), TRUE);
  Network().OnNofitySelectChanged(54);
  EXPECT_TRUE(IsSensitive(Configure()));
}

// --- the device list ----------------------------------------------------------------------------

TEST_F(TabNetworkTest, ConfigureNeedsASelectedRow) {
  OpenWindowWith(kTwoDevices);
  EXPECT_FALSE(IsSensitive(Configure()));
  DeviceList().SetCurSel(1);
  EXPECT_TRUE(IsSensitive(Configure()));
  DeviceList().SetCurSel(-1);
  Network().OnNofitySelectChanged(55);
  EXPECT_FALSE(IsSensitive(Configure()));
}

// The window on the screen, with the Network page in front and the keyboard in the list.
class ListByKeyboardTest : public TabNetworkTest {
 protected:
  void Focus(const Rows& devices) {
    GtkWidget* window = OpenWindowWith(devices).GetWidget();
    ASSERT_TRUE(gtk_test::ShowAndFocus(window));
    Network().SetActive();
    gtk_test::Pump();
    gtk_widget_grab_focus(GTK_WIDGET(TreeView()));
    ASSERT_TRUE(gtk_test::PumpUntil([&] { return gtk_widget_has_focus(GTK_WIDGET(TreeView())); }));
  }
  void Press(guint key, int modifiers = 0) {
    gtk_test::PressKey(Window().GetWidget(), key, modifiers);
    gtk_test::Pump();
  }
  int SelectedRows() {
    return gtk_tree_selection_count_selected_rows(gtk_tree_view_get_selection(TreeView()));
  }
};

TEST_F(ListByKeyboardTest, TheFocusAloneSelectsNothing) {
  Focus(kTwoDevices);
  EXPECT_EQ(0, SelectedRows());
  EXPECT_FALSE(IsSensitive(Configure()));
}

TEST_F(ListByKeyboardTest, SpaceAndEnterSelectTheRowUnderTheCursorAndEnableConfigure) {
  for (const guint key : {GDK_KEY_space, GDK_KEY_Return}) {
    Focus(kTwoDevices);
    Press(key);
    EXPECT_EQ(0, DeviceList().GetCurSel());
    EXPECT_TRUE(IsSensitive(Configure()));
    m_pApp->DropWindow();
  }
}

TEST_F(ListByKeyboardTest, SpaceKeepsTheCursorWhereItIs) {
  Focus(kTwoDevices);
  Press(GDK_KEY_Down, GDK_CONTROL_MASK);
  EXPECT_EQ(0, SelectedRows());
  Press(GDK_KEY_space);
  EXPECT_EQ(1, DeviceList().GetCurSel());
  EXPECT_TRUE(IsSensitive(Configure()));
}

// Keys that the list leaves to what it is in.
class PassedKeys {
 public:
  explicit PassedKeys(GtkWidget* list)
      : m_pPage(gtk_widget_get_parent(list)),
        m_nHandler(g_signal_connect(m_pPage, "key-press-event", G_CALLBACK(Keep), this)) {}
  ~PassedKeys() { g_signal_handler_disconnect(m_pPage, m_nHandler); }
  PassedKeys(const PassedKeys&) = delete;
  PassedKeys& operator=(const PassedKeys&) = delete;

  std::vector<guint> seen;

 private:
  static gboolean Keep(GtkWidget* /*page*/, GdkEventKey* event, PassedKeys* self) {
    self->seen.push_back(event->keyval);
    return FALSE;
  }

  GtkWidget* m_pPage;
  gulong m_nHandler;
};

TEST_F(ListByKeyboardTest, KeysThatSelectNothingInAnEmptyListGoOn) {
  Focus({});
  const gtk_test::SignalCount reports(TreeView(), "cursor-changed");
  const PassedKeys passed(GTK_WIDGET(TreeView()));
  Press(GDK_KEY_Return);
  Press(GDK_KEY_space, GDK_CONTROL_MASK);
  EXPECT_EQ((std::vector<guint>{GDK_KEY_Return, GDK_KEY_space}), passed.seen);
  EXPECT_EQ(0, reports.Count());
  EXPECT_EQ(-1, DeviceList().GetCurSel());
  EXPECT_FALSE(IsSensitive(Configure()));
}

// The box that GTK opens at a list when a text is typed in it.
GtkWidget* FindTypedSearch() {
  for (GtkWidget* window : gtk_test::Toplevels()) {
    const bool popup = GTK_WINDOW(window)->type == GTK_WINDOW_POPUP;
    if (popup && gtk_widget_get_visible(window) != 0) return window;
  }
  return nullptr;
}

TEST_F(ListByKeyboardTest, SpaceInAnEmptyListIsTypedText) {
  Focus({});
  const gtk_test::SignalCount reports(TreeView(), "cursor-changed");
  Press(GDK_KEY_space);
  EXPECT_NE(nullptr, FindTypedSearch());
  EXPECT_EQ(0, reports.Count());
  EXPECT_EQ(-1, DeviceList().GetCurSel());
  EXPECT_FALSE(IsSensitive(Configure()));
}

TEST_F(ListByKeyboardTest, RowThatGtkDoesNotSelectWithoutTheKeyboardIsNotReported) {
  Focus(kTwoDevices);
  Press(GDK_KEY_Down);
  gtk_widget_grab_focus(Search().GetWidget());
  const gtk_test::SignalCount reports(TreeView(), "cursor-changed");
  gboolean handled = TRUE;
  g_signal_emit_by_name(TreeView(), "toggle-cursor-row", &handled);
  EXPECT_FALSE(handled);
  EXPECT_EQ(0, reports.Count());
  EXPECT_EQ(1, SelectedRows());
}

TEST_F(ListByKeyboardTest, SpaceThatSelectsGoesNoFurther) {
  Focus(kTwoDevices);
  const PassedKeys passed(GTK_WIDGET(TreeView()));
  Press(GDK_KEY_space);
  Press(GDK_KEY_space, GDK_CONTROL_MASK);
  Press(GDK_KEY_Return);
  EXPECT_EQ(std::vector<guint>(), passed.seen);
  EXPECT_EQ(nullptr, FindTypedSearch());
}

TEST_F(ListByKeyboardTest, ControlSpaceTakesTheSelectionAwayAndGivesItBack) {
  Focus(kTwoDevices);
  Press(GDK_KEY_Down);
  ASSERT_TRUE(IsSensitive(Configure()));
  Press(GDK_KEY_space, GDK_CONTROL_MASK);
  EXPECT_EQ(-1, DeviceList().GetCurSel());
  EXPECT_FALSE(IsSensitive(Configure()));
  Press(GDK_KEY_space, GDK_CONTROL_MASK);
  EXPECT_EQ(0, DeviceList().GetCurSel());
  EXPECT_TRUE(IsSensitive(Configure()));
}

TEST_F(ListByKeyboardTest, AControlClickThatTakesTheSelectionAwayLeavesConfigureEnabled) {
  Focus(kTwoDevices);
  Press(GDK_KEY_Down);
  GdkRectangle area;
  GtkTreePath* first = gtk_tree_path_new_first();
  gtk_tree_view_get_cell_area(TreeView(), first, gtk_tree_view_get_column(TreeView(), 0), &area);
  gtk_tree_path_free(first);
  GdkWindow* rows = gtk_tree_view_get_bin_window(TreeView());
  for (const GdkEventType type : {GDK_BUTTON_PRESS, GDK_BUTTON_RELEASE}) {
    gdk_test_simulate_button(rows, area.x + 5, area.y + area.height / 2, 1, GDK_CONTROL_MASK, type);
  }
  ASSERT_TRUE(gtk_test::PumpUntil([&] { return SelectedRows() == 0; }));
  EXPECT_TRUE(IsSensitive(Configure()));
  Click(Configure());
  EXPECT_FALSE(fs::exists(kStarted));
}

TEST_F(TabNetworkTest, AFinishedSearchReplacesTheList) {
  OpenWindowWith(kTwoDevices);
  DeviceList().SetCurSel(0);
  ASSERT_TRUE(IsSensitive(Configure()));
  const Rows found = {{"Veltrana X1", "hall", "10.77.0.70"}};
  fake_scanners::SetDevices(found);
  RunSearch(WaitForTheEnd);
  EXPECT_EQ(2, fake_scanners::SurveysBegun());
  EXPECT_FALSE(fake_scanners::LastSurveyRanHere());
  EXPECT_EQ(found, Listed());
  EXPECT_EQ(1, Network().*TabNetwork::Count);
  EXPECT_FALSE(IsSensitive(Configure())) << "until a row is chosen";
  DeviceList().SetCurSel(0);
  EXPECT_TRUE(IsSensitive(Configure()));
}

TEST_F(TabNetworkTest, AFinishedSearchWithoutADeviceEmptiesTheList) {
  OpenWindowWith(kTwoDevices);
  fake_scanners::SetDevices({});
  RunSearch(WaitForTheEnd);
  EXPECT_THAT(Listed(), IsEmpty());
  EXPECT_EQ(nullptr, Network().*TabNetwork::Machines);
  EXPECT_EQ(0, Network().*TabNetwork::Count);
}

TEST_F(TabNetworkTest, AFinishedSearchLeavesAnArrayWithoutACountAlone) {
  OpenWindowWith(kTwoDevices);
  MACHINEINFO* machines = Network().*TabNetwork::Machines;
  Network().*TabNetwork::Count = 0;
  RunSearch(WaitForTheEnd);
  EXPECT_NE(machines, Network().*TabNetwork::Machines);
  EXPECT_STREQ("Veltrana T55", machines[0].szModelName);
  free(machines);
}

TEST_F(TabNetworkTest, ASearchAfterAnEmptyOneFillsTheListAgain) {
  OpenWindow();
  fake_scanners::SetDevices(kTwoDevices);
  RunSearch(WaitForTheEnd);
  EXPECT_EQ(kTwoDevices, Listed());
}

TEST_F(TabNetworkTest, ACancelledSearchKeepsListArrayAndSelection) {
  OpenWindowWith(kTwoDevices);
  DeviceList().SetCurSel(1);
  const MACHINEINFO* machines = Network().*TabNetwork::Machines;
  fake_scanners::SetDevices({});
  fake_scanners::HoldSurveys();
  RunSearch(PressCancel);
  EXPECT_EQ(kTwoDevices, Listed());
  EXPECT_EQ(machines, Network().*TabNetwork::Machines);
  EXPECT_EQ(2, Network().*TabNetwork::Count);
  EXPECT_TRUE(IsSensitive(Configure()));
  EXPECT_EQ(1, DeviceList().GetCurSel());
}

TEST_F(TabNetworkTest, ASearchUnderWhichTheMainWindowIsDestroyedKeepsTheDevices) {
  OpenWindowWith(kTwoDevices);
  const MACHINEINFO* machines = Network().*TabNetwork::Machines;
  fake_scanners::HoldSurveys();
  RunSearch([&](GtkDialog*) { gtk_widget_destroy(Window().GetWidget()); });
  EXPECT_EQ(machines, Network().*TabNetwork::Machines);
  EXPECT_EQ(2, Network().*TabNetwork::Count);
  EXPECT_EQ(1, bCancel);
}

// The search has its result in the round of the main loop in which the window goes.
TEST_F(TabNetworkTest, ASearchThatHasEndedWhenTheMainWindowIsDestroyedIsTakenOver) {
  OpenWindowWith(kTwoDevices);
  fake_scanners::SetDevices({{"Veltrana T90", "hall", "10.77.0.90"}});
  RunSearch([&](GtkDialog* dialog) {
    g_signal_connect_after(dialog, "response", G_CALLBACK(+[](GtkDialog*, gint, gpointer window) {
                             gtk_widget_destroy(GTK_WIDGET(window));
                           }),
                           Window().GetWidget());
  });
  ASSERT_EQ(1, Network().*TabNetwork::Count);
  EXPECT_STREQ("hall", (Network().*TabNetwork::Machines)[0].szMachineName);
  EXPECT_EQ(0, bCancel);
}

TEST_F(TabNetworkTest, SearchIsRunOverTheMainWindow) {
  OpenWindow();
  ASSERT_TRUE(gtk_test::ShowAndWait(Window().GetWidget()));
  fake_scanners::HoldSurveys();
  RunSearch([&](GtkDialog* dialog) {
    EXPECT_EQ(Window().GetWidget(), GTK_WIDGET(gtk_window_get_transient_for(GTK_WINDOW(dialog))));
    PressCancel(dialog);
  });
}

TEST_F(TabNetworkTest, TheDevicesOutliveTheTab) {
  OpenWindowWith(kTwoDevices);
  MACHINEINFO* machines = Network().*TabNetwork::Machines;
  m_pApp->DropWindow();
  EXPECT_STREQ("reception", machines[0].szMachineName);
  free(machines);
}

// --- the scanner's web page ---------------------------------------------------------------------

class WebPageTest : public TabNetworkTest {
 protected:
  // Waits until the child that the last click started has ended.
  static bool ChildEnds() {
    return gtk_test::PumpUntil([] { return !exit_statuses.empty(); });
  }
  static std::vector<std::string> LogLines() {
    std::vector<std::string> lines;
    std::ifstream file(kDebugLog);
    for (std::string line; std::getline(file, line);) lines.push_back(line);
    return WithoutNumbers(lines);
  }
};

TEST_F(WebPageTest, XdgOpenIsPreferred) {
  OpenWindowWith(kTwoDevices);
  DeviceList().SetCurSel(1);
  // A log that the child can write to as well.
  myDbgFunc = myDbgOutputLog;
  Click(Configure());
  ASSERT_TRUE(ChildEnds());
  EXPECT_EQ("/usr/bin/xdg-open|xdg-open|http://10.77.0.65", Read(kStarted));
  EXPECT_THAT(LogLines(), ElementsAre("[OnNofityBtnClicked(#)]: GetCurSel=1 ",
                                      "[OnNofityBtnClicked(#)]: xdg-open exist",
                                      "[OnNofityBtnClicked(#)]: viewer: xdg enter"));
}

TEST_F(WebPageTest, GnomeOpenIsTheOther) {
  viewers = {"/usr/bin/gnome-open"};
  OpenWindowWith(kTwoDevices);
  DeviceList().SetCurSel(0);
  myDbgFunc = myDbgOutputLog;
  Click(Configure());
  ASSERT_TRUE(ChildEnds());
  EXPECT_EQ("/usr/bin/gnome-open|gnome-open|http://10.77.0.64", Read(kStarted));
  EXPECT_THAT(LogLines(), ElementsAre("[OnNofityBtnClicked(#)]: GetCurSel=0 ",
                                      "[OnNofityBtnClicked(#)]: gnome-open exist",
                                      "[OnNofityBtnClicked(#)]: viewer: gnome enter"));
}

TEST_F(WebPageTest, AMissingViewerIsOnlyLogged) {
  viewers = {};
  OpenWindowWith(kTwoDevices);
  DeviceList().SetCurSel(0);
  const DebugLines lines;
  Click(Configure());
  EXPECT_THAT(WithoutNumbers(lines.All()),
              ElementsAre("[OnNofityBtnClicked(#)]: GetCurSel=0 \n",
                          "[OnNofityBtnClicked(#)]: Error: xdg-open, gnome-open not exist\n"));
  EXPECT_EQ(-1, waitpid(-1, nullptr, WNOHANG)) << "a child was made";
}

TEST_F(WebPageTest, AViewerThatCannotBeExecutedEndsTheChildWithStatus1) {
  static const pid_t program = getpid();
  atexit([] {
    if (getpid() != program) std::ofstream{kTornDown};
  });
  viewers_start = false;
  OpenWindowWith(kTwoDevices);
  DeviceList().SetCurSel(0);
  Click(Configure());
  ASSERT_TRUE(ChildEnds());
  ASSERT_TRUE(WIFEXITED(exit_statuses[0]));
  EXPECT_EQ(1, WEXITSTATUS(exit_statuses[0]));
  EXPECT_FALSE(fs::exists(kTornDown)) << "what the program does at its end was done";
  EXPECT_FALSE(fs::exists(SettingsFile()));
}

TEST_F(WebPageTest, TheChildIsCollectedWhenItHasEnded) {
  OpenWindowWith(kTwoDevices);
  DeviceList().SetCurSel(0);
  Click(Configure());
  ASSERT_TRUE(ChildEnds());
  EXPECT_EQ(-1, waitpid(-1, nullptr, WNOHANG));
  EXPECT_EQ(ECHILD, errno);
}

TEST_F(WebPageTest, WithoutSelectionOnlyTheSelectionIsLogged) {
  OpenWindowWith(kTwoDevices);
  const DebugLines lines;
  Network().OnNofityBtnClicked(54);
  EXPECT_THAT(WithoutNumbers(lines.All()), ElementsAre("[OnNofityBtnClicked(#)]: GetCurSel=-1 \n"));
}

TEST_F(WebPageTest, ARowWithoutADeviceIsLikeNoSelection) {
  OpenWindowWith(kTwoDevices);
  DeviceList().AddString2("stray", "row", "0.0.0.0");
  DeviceList().SetCurSel(2);
  const DebugLines lines;
  Click(Configure());
  EXPECT_THAT(WithoutNumbers(lines.All()), ElementsAre("[OnNofityBtnClicked(#)]: GetCurSel=2 \n"));
}

// --- Apply --------------------------------------------------------------------------------------

TEST_F(TabNetworkTest, ApplyRegistersOnEveryListedDeviceInOrder) {
  OpenWindowWith(kTwoDevices);
  Type(NameEntry(), "my-pc");
  const DebugLines lines;
  EXPECT_EQ(-1, Network().OnApply());
  EXPECT_THAT(fake_scanners::TakeCommands(),
              ElementsAre("register 10.77.0.64 my-pc", "register 10.77.0.65 my-pc"));
  EXPECT_THAT(WithoutNumbers(lines.All()), ElementsAre("[OnApply(#)]: i=0, m_iNumMachine=2\n",
                                                       "[OnApply(#)]: i=1, m_iNumMachine=2\n"));
}

TEST_F(TabNetworkTest, ApplyUnregistersFromEveryListedDeviceWhenTheBoxIsClear) {
  OpenWindowWith(kTwoDevices);
  Click(ListUp());
  EXPECT_EQ(-1, Network().OnApply());
  EXPECT_THAT(fake_scanners::TakeCommands(),
              ElementsAre("unregister 10.77.0.64 lab-desk", "unregister 10.77.0.65 lab-desk"));
  EXPECT_EQ(0, Network().getPCNameListUp());
  // And again on every Apply.
  EXPECT_EQ(-1, Network().OnApply());
  EXPECT_THAT(fake_scanners::TakeCommands(), SizeIs(2));
}

TEST_F(TabNetworkTest, ApplyWithoutDevicesTellsNobody) {
  OpenWindow();
  EXPECT_EQ(-1, Network().OnApply());
  EXPECT_THAT(fake_scanners::TakeCommands(), IsEmpty());
}

TEST_F(TabNetworkTest, ApplyTakesTheSettingsFromTheControls) {
  OpenWindow();
  Network().setHostname(std::string("not shown").data());
  Network().setPCNameListUp(std::string("0").data());
  Network().OnApply();
  EXPECT_EQ("lab-desk", Hostname());
  EXPECT_EQ(1, Network().getPCNameListUp());
}

TEST_F(TabNetworkTest, ApplyRepairsAnEmptyNameAndLeavesTheEntryEmpty) {
  OpenWindowWith({kTwoDevices[0]});
  Type(NameEntry(), "");
  EXPECT_EQ(-1, Network().OnApply());
  EXPECT_THAT(fake_scanners::TakeCommands(), ElementsAre("register 10.77.0.64 lab-desk"));
  EXPECT_EQ("lab-desk", Hostname());
  EXPECT_EQ("", EntryText(NameEntry()));
}

TEST_F(TabNetworkTest, ApplySendsANonEmptyNameAsItStands) {
  OpenWindowWith({kTwoDevices[0]});
  // What no key could put there.
  NameEntry().SetInputRule(0, nullptr);
  Type(NameEntry(), "my pc");
  EXPECT_EQ(-1, Network().OnApply());
  EXPECT_THAT(fake_scanners::TakeCommands(), ElementsAre("register 10.77.0.64 my pc"));
}

TEST_F(TabNetworkTest, ApplyTellsTheDevicesOfTheLastFinishedSearch) {
  OpenWindowWith(kTwoDevices);
  fake_scanners::SetDevices({{"Veltrana X1", "hall", "10.77.0.70"}});
  RunSearch(WaitForTheEnd);
  Window().OnNofityBtnClicked(3);
  EXPECT_THAT(fake_scanners::TakeCommands(), ElementsAre("register 10.77.0.70 lab-desk"));
}

TEST_F(TabNetworkTest, ACheckBoxClickThatIsNotAppliedTellsNobodyAndIsNotWritten) {
  OpenWindowWith(kTwoDevices);
  Click(ListUp());
  EXPECT_TRUE(LeavesMainLoop([&] { Click(Cancel()); }));
  EXPECT_THAT(fake_scanners::TakeCommands(), IsEmpty());
  EXPECT_FALSE(fs::exists(SettingsFile()));
}

TEST_F(TabNetworkTest, ARefusalOfTheGeneralTabKeepsTheDevicesFromBeingTold) {
  OpenWindowWith(kTwoDevices);
  General().setScanpath("");
  const gtk_test::ModalAnswer answer([](GtkDialog* box) { gtk_dialog_response(box, 1); });
  Window().OnNofityBtnClicked(3);
  EXPECT_THAT(fake_scanners::TakeCommands(), IsEmpty());
}

}  // namespace
