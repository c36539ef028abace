// Tests of the General tab: the default folder, the entries, the choosers and the checks on Apply.
#include "ui/tab_general.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "tests/support/accessible.h"
#include "tests/support/debug_lines.h"
#include "tests/support/vtable_slot.h"
#include "tests/ui/ui_fixture.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using namespace ui_test;

constexpr char kBadScanpath[] = "Save to : The specified path doesn't exist.";
constexpr char kBadOcrpath[] = "OCR Path : The specified path doesn't exist.";

class TabGeneralTest : public UiTest {
 protected:
  std::string Scanpath() { return General().*TabGeneral::Scanpath; }
  std::string Ocrpath() { return General().*TabGeneral::Ocrpath; }

  // What OnApply returns; the texts of the message boxes that it shows are added to m_Messages.
  int AnswerApply() {
    const gtk_test::ModalAnswer answer([&](GtkDialog* box) {
      m_Messages.push_back(MessageText(box));
      gtk_dialog_response(box, 1);
    });
    return General().OnApply();
  }

  std::vector<std::string> m_Messages;
};

// A tab of the window's notebook that is not inserted in it.
class LooseTabGeneralTest : public TabGeneralTest {
 protected:
  void SetUp() override {
    TabGeneralTest::SetUp();
    OpenWindow();
    m_pTab = std::make_unique<CTabGeneral>(&Tabs(), "loose", 100);
    g_object_ref_sink(m_pTab->GetWidget());
  }
  void TearDown() override {
    GtkWidget* widget = m_pTab->GetWidget();
    m_pTab.reset();
    gtk_widget_destroy(widget);
    g_object_unref(widget);
    TabGeneralTest::TearDown();
  }

  CTabGeneral& Loose() { return *m_pTab; }
  xEntry& LooseScanEntry() { return *(Loose().*TabGeneral::ScanEntry); }

  std::unique_ptr<CTabGeneral> m_pTab;
};

// --- the class ----------------------------------------------------------------------------------

TEST_F(TabGeneralTest, OverridesVirtualsOfThePageAndAddsNone) {
  EXPECT_EQ(10, vtable::Slot(&CTabGeneral::OnNofityBtnClicked));
  EXPECT_EQ(12, vtable::Slot(&CTabGeneral::OnNofityChanged));
  EXPECT_EQ(23, vtable::Slot(&CTabGeneral::OnInitDialog));
  EXPECT_EQ(24, vtable::Slot(&CTabGeneral::OnActive));
  EXPECT_EQ(25, vtable::Slot(&CTabGeneral::OnApply));
  EXPECT_EQ(27, vtable::Slot(&CTabGeneral::OnReset));
  EXPECT_EQ(29, vtable::SlotCount<CTabGeneral>());
}

TEST_F(TabGeneralTest, KeepsItsFieldsInOrder) {
  OpenWindow();
  const CTabGeneral& tab = General();
  const std::ptrdiff_t first = Offset(tab, tab.*TabGeneral::ScanFrame);
  EXPECT_EQ(static_cast<std::ptrdiff_t>(sizeof(xTabBase)), first);
  EXPECT_EQ(first + kPointer, Offset(tab, tab.*TabGeneral::ScanLabel));
  EXPECT_EQ(first + 2 * kPointer, Offset(tab, tab.*TabGeneral::ScanBrowse));
  EXPECT_EQ(first + 3 * kPointer, Offset(tab, tab.*TabGeneral::ScanEntry));
  EXPECT_EQ(first + 4 * kPointer, Offset(tab, tab.*TabGeneral::OcrFrame));
  EXPECT_EQ(first + 5 * kPointer, Offset(tab, tab.*TabGeneral::OcrLabel));
  EXPECT_EQ(first + 6 * kPointer, Offset(tab, tab.*TabGeneral::OcrBrowse));
  EXPECT_EQ(first + 7 * kPointer, Offset(tab, tab.*TabGeneral::OcrEntry));
  EXPECT_EQ(first + 8 * kPointer, Offset(tab, tab.*TabGeneral::Scanpath));
  EXPECT_EQ(first + 8 * kPointer + 512, Offset(tab, tab.*TabGeneral::Ocrpath));
  EXPECT_EQ(first + 8 * kPointer + 1024, Offset(tab, tab.*TabGeneral::Guard));
  EXPECT_EQ(2U, sizeof(tab.*TabGeneral::Guard));
}

// --- content ------------------------------------------------------------------------------------

TEST_F(TabGeneralTest, ShowsEnglishTexts) {
  OpenWindow();
  EXPECT_EQ("Scan", FrameTitle(*(General().*TabGeneral::ScanFrame)));
  EXPECT_EQ("Save to:", LabelText((General().*TabGeneral::ScanLabel)->GetWidget()));
  EXPECT_EQ("Browse...", ButtonText(*(General().*TabGeneral::ScanBrowse)));
  EXPECT_EQ("OCR setting", FrameTitle(*(General().*TabGeneral::OcrFrame)));
  EXPECT_EQ("OCR Path:", LabelText((General().*TabGeneral::OcrLabel)->GetWidget()));
  EXPECT_EQ("Browse...", ButtonText(*(General().*TabGeneral::OcrBrowse)));
}

TEST_F(TabGeneralTest, ShowsTheTextsOfTheLanguageFile) {
  Write(std::string(kLanguageFolder) + "/DVXTOOLS.RCT",
        "[dlg101]\n113=t113\n114=t114\n116=t116\n119=t119\n121=t121\n123=t123\n");
  OpenWindow();
  EXPECT_EQ("t113", FrameTitle(*(General().*TabGeneral::ScanFrame)));
  EXPECT_EQ("t114", LabelText((General().*TabGeneral::ScanLabel)->GetWidget()));
  EXPECT_EQ("t116", ButtonText(*(General().*TabGeneral::ScanBrowse)));
  EXPECT_EQ("t119", FrameTitle(*(General().*TabGeneral::OcrFrame)));
  EXPECT_EQ("t121", LabelText((General().*TabGeneral::OcrLabel)->GetWidget()));
  EXPECT_EQ("t123", ButtonText(*(General().*TabGeneral::OcrBrowse)));
}

TEST_F(TabGeneralTest, PageIsAColumnOfTwoFrames) {
  OpenWindow();
  GtkWidget* page = General().GetWidget();
  ASSERT_TRUE(GTK_IS_VBOX(page));
  EXPECT_FALSE(gtk_box_get_homogeneous(GTK_BOX(page)));
  EXPECT_EQ(6, gtk_box_get_spacing(GTK_BOX(page)));
  EXPECT_EQ(6U, gtk_container_get_border_width(GTK_CONTAINER(page)));
  GtkWidget* scan = (General().*TabGeneral::ScanFrame)->GetWidget();
  GtkWidget* ocr = (General().*TabGeneral::OcrFrame)->GetWidget();
  EXPECT_THAT(gtk_test::Children(page), ElementsAre(scan, ocr));
  for (GtkWidget* frame : {scan, ocr}) {
    EXPECT_EQ(0, gtk_test::ChildProperty(page, frame, "expand"));
    EXPECT_EQ(0, gtk_test::ChildProperty(page, frame, "fill"));
    EXPECT_EQ(0, gtk_test::ChildProperty(page, frame, "padding"));
  }
}

TEST_F(TabGeneralTest, EachFrameHoldsARowOfLabelEntryAndButton) {
  OpenWindow();
  GtkWidget* table = gtk_bin_get_child(GTK_BIN((General().*TabGeneral::ScanFrame)->GetWidget()));
  ASSERT_TRUE(GTK_IS_TABLE(table));
  guint rows = 0;
  guint columns = 0;
  gtk_table_get_size(GTK_TABLE(table), &rows, &columns);
  EXPECT_EQ(1U, rows);
  EXPECT_EQ(3U, columns);
  const auto column = [&](const xWidget& control) {
    return gtk_test::ChildProperty(table, control.GetWidget(), "left-attach");
  };
  EXPECT_EQ(0, column(*(General().*TabGeneral::ScanLabel)));
  EXPECT_EQ(1, column(ScanEntry()));
  EXPECT_EQ(2, column(*(General().*TabGeneral::ScanBrowse)));

  GtkWidget* ocr_table = gtk_bin_get_child(GTK_BIN((General().*TabGeneral::OcrFrame)->GetWidget()));
  EXPECT_EQ(ocr_table, gtk_widget_get_parent(OcrEntry().GetWidget()));
  EXPECT_EQ(1, gtk_test::ChildProperty(ocr_table, OcrEntry().GetWidget(), "left-attach"));
}

TEST_F(TabGeneralTest, LabelsAreCentredVerticallyAndEntriesAskFor12Characters) {
  OpenWindow();
  for (xLabel* label :
       {(General().*TabGeneral::ScanLabel).get(), (General().*TabGeneral::OcrLabel).get()}) {
    gfloat xalign = -1;
    gfloat yalign = -1;
    gtk_misc_get_alignment(GTK_MISC(label->GetWidget()), &xalign, &yalign);
    EXPECT_EQ(0.5F, yalign);
  }
  EXPECT_EQ(12, gtk_entry_get_width_chars(GTK_ENTRY(ScanEntry().GetWidget())));
  EXPECT_EQ(12, gtk_entry_get_width_chars(GTK_ENTRY(OcrEntry().GetWidget())));
}

TEST_F(TabGeneralTest, EntriesAreNamedByTheirLabels) {
  OpenWindow();
  const auto named = [](const xLabel& label) {
    return gtk_label_get_mnemonic_widget(GTK_LABEL(label.GetWidget()));
  };
  EXPECT_EQ(ScanEntry().GetWidget(), named(*(General().*TabGeneral::ScanLabel)));
  EXPECT_EQ(OcrEntry().GetWidget(), named(*(General().*TabGeneral::OcrLabel)));
  EXPECT_EQ("Save to:", accessible::Name(ScanEntry().GetWidget()));
  EXPECT_EQ("OCR Path:", accessible::Name(OcrEntry().GetWidget()));
}

TEST_F(TabGeneralTest, AnUnderscoreInTheLanguageFileLeadsToTheEntry) {
  Write(std::string(kLanguageFolder) + "/DVXTOOLS.RCT",
        "[dlg101]\n114=_Save to:\n121=OC_R Path:\n");
  GtkWidget* window = OpenWindow().GetWidget();
  ASSERT_TRUE(gtk_test::ShowAndWait(window));
  for (const auto& [letter, entry] :
       {std::pair(GDK_KEY_r, &OcrEntry()), std::pair(GDK_KEY_s, &ScanEntry())}) {
    EXPECT_TRUE(gtk_window_mnemonic_activate(GTK_WINDOW(window), static_cast<guint>(letter),
                                             GDK_MOD1_MASK));
    EXPECT_EQ(entry->GetWidget(), gtk_window_get_focus(GTK_WINDOW(window)));
  }
}

TEST_F(TabGeneralTest, BrowseButtonsAreDescribedByWhatTheyOpen) {
  Write(std::string(kLanguageFolder) + "/DVXTOOLS.RCT", "[dlg101]\n124=Datei\n");
  OpenWindow();
  const auto described = [](const xButton& button) {
    return accessible::Description(button.GetWidget());
  };
  EXPECT_EQ("Select Folder", described(*(General().*TabGeneral::ScanBrowse)));
  EXPECT_EQ("Datei", described(*(General().*TabGeneral::OcrBrowse)));
}

// GTK walks a table from the child that was added last, and screen readers follow it.
TEST_F(TabGeneralTest, RowsAreReadFromLeftToRight) {
  OpenWindow();
  GtkWidget* row = gtk_widget_get_parent(ScanEntry().GetWidget());
  EXPECT_THAT(gtk_test::Children(row),
              ElementsAre((General().*TabGeneral::ScanLabel)->GetWidget(), ScanEntry().GetWidget(),
                          (General().*TabGeneral::ScanBrowse)->GetWidget()));
}

// --- the default folder -------------------------------------------------------------------------

TEST_F(TabGeneralTest, FirstStartMakesTheDefaultFolderAndShowsIt) {
  umask(022);
  OpenWindow();
  EXPECT_EQ(ScanFolder(), EntryText(ScanEntry()));
  EXPECT_EQ("", EntryText(OcrEntry()));
  EXPECT_EQ(0755, Mode(Home() + "/Veltrana"));
  EXPECT_EQ(0755, Mode(Home() + "/Veltrana/DVX"));
  EXPECT_EQ(0755, Mode(Home() + "/Veltrana/DVX/Scan"));
}

TEST_F(TabGeneralTest, TheUmaskAppliesToTheDefaultFolder) {
  umask(077);
  OpenWindow();
  umask(022);
  EXPECT_EQ(0700, Mode(ScanFolder()));
}

TEST_F(TabGeneralTest, FoldersThatAreThereStayAsTheyAre) {
  fs::create_directories(Home() + "/Veltrana");
  ASSERT_EQ(0, chmod((Home() + "/Veltrana").c_str(), 0711));
  OpenWindow();
  EXPECT_EQ(0711, Mode(Home() + "/Veltrana"));
  EXPECT_TRUE(fs::is_directory(ScanFolder()));
}

TEST_F(TabGeneralTest, TheDefaultFolderIsMadeEvenIfAnotherOneIsStored) {
  Write(SettingsFile(), "scanpath=\"/tmp\"\n");
  OpenWindow();
  EXPECT_EQ("/tmp", EntryText(ScanEntry()));
  EXPECT_TRUE(fs::is_directory(ScanFolder()));
}

TEST_F(TabGeneralTest, ADefaultFolderThatCannotBeMadeShowsOnlyOnApply) {
  Write(Home() + "/Veltrana", "in the way");
  OpenWindow();
  EXPECT_EQ(ScanFolder(), EntryText(ScanEntry()));
  EXPECT_FALSE(fs::exists(ScanFolder()));
  EXPECT_EQ(0, AnswerApply());
  EXPECT_THAT(m_Messages, ElementsAre(kBadScanpath));
  fs::remove(Home() + "/Veltrana");
}

// --- setters and getters ------------------------------------------------------------------------

TEST_F(TabGeneralTest, SettersLogAndCopyTheText) {
  OpenWindow();
  const DebugLines lines;
  General().setScanpath("/a b");
  General().setOcrpath("/ocr");
  EXPECT_THAT(lines.All(), ElementsAre("[setScanpath(294)]: CTabGeneral::setScanpath (/a b) \n",
                                       "[setOcrpath(305)]: CTabGeneral::setOcrpath (/ocr) \n"));
  char scan[kPathSize];
  char ocr[kPathSize];
  General().getScanpath(scan);
  General().getOcrpath(ocr);
  EXPECT_STREQ("/a b", scan);
  EXPECT_STREQ("/ocr", ocr);
  EXPECT_EQ(ScanFolder(), EntryText(ScanEntry())) << "setters do not show the text";
}

TEST_F(TabGeneralTest, SettersTakeEmptyTextsAndIgnoreNull) {
  OpenWindow();
  General().setScanpath("");
  EXPECT_EQ("", Scanpath());
  General().setScanpath("/kept");
  General().setScanpath(nullptr);
  General().setOcrpath("/kept too");
  General().setOcrpath(nullptr);
  EXPECT_EQ("/kept", Scanpath());
  EXPECT_EQ("/kept too", Ocrpath());
}

TEST_F(TabGeneralTest, SettersCutATextTo511Bytes) {
  OpenWindow();
  General().setScanpath(std::string(600, 'a').c_str());
  General().setOcrpath(std::string(512, 'b').c_str());
  EXPECT_EQ(std::string(511, 'a'), Scanpath());
  EXPECT_EQ(std::string(511, 'b'), Ocrpath());
}

TEST_F(TabGeneralTest, OnInitDialogShowsBothPaths) {
  OpenWindow();
  General().setScanpath("/one");
  General().setOcrpath("/two");
  General().OnInitDialog();
  EXPECT_EQ("/one", EntryText(ScanEntry()));
  EXPECT_EQ("/two", EntryText(OcrEntry()));
}

TEST_F(TabGeneralTest, APathThatIsNoUtf8IsShownReadablyAndStaysAsItIs) {
  Write(SettingsFile(), "scanpath=\"/tmp/\xE9t\xE9\"\nocrpath=\"/caf\xE9\"\n");
  OpenWindow();
  EXPECT_TRUE(g_utf8_validate(EntryText(ScanEntry()).c_str(), -1, nullptr));
  EXPECT_TRUE(g_utf8_validate(EntryText(OcrEntry()).c_str(), -1, nullptr));
  EXPECT_EQ("/tmp/\xE9t\xE9", Scanpath());
  EXPECT_EQ("/caf\xE9", Ocrpath());
}

// Types into the entry without touching the rest of its line.
void TypeAt(const xEntry& entry, int position, const char* text) {
  gtk_editable_insert_text(GTK_EDITABLE(entry.GetWidget()), text, -1, &position);
}

TEST_F(TabGeneralTest, BytesThatAreNoUtf8SurviveEditsElsewhereInTheLine) {
  Write(SettingsFile(), "scanpath=\"/tmp/\xE9t\xE9\"\nocrpath=\"/caf\xE9\"\n");
  OpenWindow();
  TypeAt(ScanEntry(), 8, "/new");
  EXPECT_EQ("/tmp/\xE9t\xE9/new", Scanpath());
  TypeAt(ScanEntry(), 0, "/home");
  EXPECT_EQ("/home/tmp/\xE9t\xE9/new", Scanpath());
  TypeAt(ScanEntry(), 11, "x");
  EXPECT_EQ("/home/tmp/\xE9xt\xE9/new", Scanpath());
  TypeAt(OcrEntry(), 1, "x");
  EXPECT_EQ("/xcaf\xE9", Ocrpath());
  gtk_editable_delete_text(GTK_EDITABLE(OcrEntry().GetWidget()), 1, 4);
  EXPECT_EQ("/f\xE9", Ocrpath());
}

TEST_F(TabGeneralTest, ALineThatIsReplacedKeepsNothing) {
  Write(SettingsFile(), "scanpath=\"/tmp/\xE9\"\n");
  OpenWindow();
  Type(ScanEntry(), "/scans");
  EXPECT_EQ("/scans", Scanpath());
}

// --- editing ------------------------------------------------------------------------------------

TEST_F(TabGeneralTest, TypingTakesThePathOverAndMarksTheSettingsModified) {
  OpenWindow();
  Type(ScanEntry(), "/scans");
  EXPECT_EQ("/scans", Scanpath());
  EXPECT_EQ("", Ocrpath());
  EXPECT_TRUE(IsModified());

  Window().SetModified(0);
  Type(OcrEntry(), "/ocr");
  EXPECT_EQ("/scans", Scanpath());
  EXPECT_EQ("/ocr", Ocrpath());
  EXPECT_TRUE(IsModified());
}

TEST_F(TabGeneralTest, ATypedPathIsCutTo511Bytes) {
  OpenWindow();
  Type(ScanEntry(), std::string(600, 'a'));
  EXPECT_EQ(std::string(511, 'a'), Scanpath());
}

TEST_F(TabGeneralTest, OtherIdentifiersDoNothingAndDoNotReachTheWindow) {
  OpenWindow();
  General().OnNofityChanged(2);
  // To the main window this would be an edit.
  General().OnNofityBtnClicked(2);
  EXPECT_FALSE(IsModified());
}

TEST_F(LooseTabGeneralTest, TypingBeforeOnInitDialogChangesNothing) {
  EXPECT_EQ(65535, Loose().*TabGeneral::Guard);
  Type(LooseScanEntry(), "/typed");
  EXPECT_FALSE(IsModified());
  EXPECT_EQ(ScanFolder(), Loose().*TabGeneral::Scanpath);
}

TEST_F(LooseTabGeneralTest, BrowseBeforeOnInitDialogOpensNoChooser) {
  const DebugLines lines;
  Click(*(Loose().*TabGeneral::ScanBrowse));
  Click(*(Loose().*TabGeneral::OcrBrowse));
  EXPECT_THAT(lines.All(), IsEmpty());
}

TEST_F(LooseTabGeneralTest, OnInitDialogEndsTheGuardAfterFillingTheEntries) {
  Loose().setScanpath("/shown");
  Loose().OnInitDialog();
  EXPECT_EQ(0, Loose().*TabGeneral::Guard);
  EXPECT_EQ("/shown", EntryText(LooseScanEntry()));
  EXPECT_FALSE(IsModified());
  Type(LooseScanEntry(), "/typed");
  EXPECT_TRUE(IsModified());
}

TEST_F(LooseTabGeneralTest, ActiveAndResetEndTheGuardAndChangeNoValue) {
  Type(LooseScanEntry(), "/typed");
  Loose().OnActive();
  EXPECT_EQ(0, Loose().*TabGeneral::Guard);
  Loose().*TabGeneral::Guard = 65535;
  Loose().OnReset();
  EXPECT_EQ(0, Loose().*TabGeneral::Guard);
  EXPECT_EQ("/typed", EntryText(LooseScanEntry()));
  EXPECT_EQ(ScanFolder(), Loose().*TabGeneral::Scanpath);
}

TEST_F(TabGeneralTest, ResetLeavesTheEntriesAsTheyAre) {
  OpenWindow();
  Type(ScanEntry(), "/typed");
  Tabs().OnReset();
  EXPECT_EQ("/typed", EntryText(ScanEntry()));
  EXPECT_EQ("/typed", Scanpath());
  EXPECT_TRUE(IsModified());
}

// --- the choosers -------------------------------------------------------------------------------

// The stock item of the button that gives this response.
std::string ButtonOf(gpointer dialog, int response) {
  GtkWidget* button = gtk_dialog_get_widget_for_response(GTK_DIALOG(dialog), response);
  return button != nullptr ? gtk_button_get_label(GTK_BUTTON(button)) : "none";
}

// What a test looks at in the chooser that is running.
struct Chooser {
  explicit Chooser(GtkDialog* dialog) : widget(GTK_FILE_CHOOSER(dialog)) {}

  std::string Title() const { return gtk_window_get_title(GTK_WINDOW(widget)); }
  GtkWidget* Parent() const { return GTK_WIDGET(gtk_window_get_transient_for(GTK_WINDOW(widget))); }
  // Whether the chooser shows this folder, once it has read it.
  bool Shows(const std::string& folder) const {
    return gtk_test::PumpUntil([&] {
      gchar* current = gtk_file_chooser_get_current_folder(widget);
      const bool same = current != nullptr && folder == current;
      g_free(current);
      return same;
    });
  }
  std::string Name() const {
    gchar* name = gtk_file_chooser_get_filename(widget);
    std::string result(name != nullptr ? name : "");
    g_free(name);
    return result;
  }
  // Chooses a file or folder as a click on it would.
  void Choose(const std::string& name) const {
    gtk_file_chooser_set_filename(widget, name.c_str());
    EXPECT_TRUE(gtk_test::PumpUntil([&] { return Name() == name; })) << Name();
  }
  // Presses the button of a response.
  void Press(int response) const {
    GtkWidget* button = gtk_dialog_get_widget_for_response(GTK_DIALOG(widget), response);
    ASSERT_NE(nullptr, button);
    gtk_button_clicked(GTK_BUTTON(button));
  }
  GtkFileChooser* widget;
};

class ChooserTest : public TabGeneralTest {
 protected:
  void SetUp() override {
    TabGeneralTest::SetUp();
    for (const char* folder : {"/tmp/choose/one", "/tmp/choose/two"})
      fs::create_directories(folder);
    Write("/tmp/choose/one/ocr", "#!/bin/sh\n");
    OpenWindow();
    ASSERT_TRUE(gtk_test::ShowAndWait(Window().GetWidget()));
  }

  void BrowseScan(const std::function<void(Chooser)>& answer) {
    const gtk_test::ModalAnswer modal([&](GtkDialog* dialog) { answer(Chooser(dialog)); });
    Click(*(General().*TabGeneral::ScanBrowse));
  }
  void BrowseOcr(const std::function<void(Chooser)>& answer) {
    const gtk_test::ModalAnswer modal([&](GtkDialog* dialog) { answer(Chooser(dialog)); });
    Click(*(General().*TabGeneral::OcrBrowse));
  }
  // Expects so many choosers on the screen.
  static void Choosers(int count) {
    int found = 0;
    for (GtkWidget* window : gtk_test::Toplevels()) {
      found += GTK_IS_FILE_CHOOSER(window) && gtk_widget_get_visible(window) != 0 ? 1 : 0;
    }
    EXPECT_EQ(count, found);
  }
};

TEST_F(ChooserTest, FolderChooserIsSetUpForTheScanFolder) {
  General().setScanpath("/tmp/choose/one");
  BrowseScan([&](const Chooser& chooser) {
    EXPECT_EQ("Select Folder", chooser.Title());
    EXPECT_EQ(Window().GetWidget(), chooser.Parent());
    EXPECT_EQ(GTK_FILE_CHOOSER_ACTION_SELECT_FOLDER, gtk_file_chooser_get_action(chooser.widget));
    EXPECT_TRUE(chooser.Shows("/tmp/choose/one"));
    EXPECT_EQ("gtk-cancel", ButtonOf(chooser.widget, -6));
    EXPECT_EQ("gtk-ok", ButtonOf(chooser.widget, -3));
    Choosers(1);
    chooser.Press(-6);
  });
  Choosers(0);
}

TEST_F(ChooserTest, AChosenFolderIsTakenOver) {
  General().setScanpath("/tmp/choose/one");
  const DebugLines lines;
  BrowseScan([](const Chooser& chooser) {
    chooser.Choose("/tmp/choose/two");
    chooser.Press(-3);
  });
  EXPECT_THAT(lines.All(),
              ElementsAre("[OnNofityBtnClicked(210)]: current_folder = /tmp/choose/one\n",
                          "[OnNofityBtnClicked(216)]: gtk_file_chooser_get_filename = "
                          "/tmp/choose/two\n",
                          "[OnNofityBtnClicked(223)]: scanPath = /tmp/choose/two\n"));
  EXPECT_EQ("/tmp/choose/two", Scanpath());
  EXPECT_EQ("/tmp/choose/two", EntryText(ScanEntry()));
  EXPECT_TRUE(IsModified());
}

TEST_F(ChooserTest, CancellingTheFolderChooserChangesNothingButIsLogged) {
  const DebugLines lines;
  BrowseScan([](const Chooser& chooser) { chooser.Press(-6); });
  EXPECT_THAT(lines.All(),
              ElementsAre("[OnNofityBtnClicked(210)]: current_folder = " + ScanFolder() + "\n",
                          "[OnNofityBtnClicked(223)]: scanPath = " + ScanFolder() + "\n"));
  EXPECT_EQ(ScanFolder(), Scanpath());
  EXPECT_FALSE(IsModified());
}

TEST_F(ChooserTest, ChoosingTheFolderThatIsShownAlreadyIsNoEdit) {
  BrowseScan([](const Chooser& chooser) {
    chooser.Choose(ScanFolder());
    chooser.Press(-3);
  });
  EXPECT_EQ(ScanFolder(), Scanpath());
  EXPECT_FALSE(IsModified());
}

TEST_F(ChooserTest, FileChooserIsSetUpForTheOcrProgram) {
  General().setOcrpath("/tmp/choose/one/ocr");
  BrowseOcr([&](const Chooser& chooser) {
    EXPECT_EQ("Select File", chooser.Title());
    EXPECT_EQ(Window().GetWidget(), chooser.Parent());
    EXPECT_EQ(GTK_FILE_CHOOSER_ACTION_OPEN, gtk_file_chooser_get_action(chooser.widget));
    EXPECT_TRUE(chooser.Shows("/tmp/choose/one"));
    EXPECT_EQ("gtk-cancel", ButtonOf(chooser.widget, -6));
    EXPECT_EQ("gtk-ok", ButtonOf(chooser.widget, -3));
    chooser.Press(-6);
  });
  Choosers(0);
}

TEST_F(ChooserTest, AChosenFileIsTakenOver) {
  const DebugLines lines;
  BrowseOcr([](const Chooser& chooser) {
    chooser.Choose("/tmp/choose/one/ocr");
    chooser.Press(-3);
  });
  EXPECT_THAT(lines.All(), ElementsAre("[OnNofityBtnClicked(249)]:  ID_OCR_BROWSE ()=() \n",
                                       "[OnNofityBtnClicked(259)]:  ID_OCR_BROWSE "
                                       "()=(/tmp/choose/one/ocr) \n"));
  EXPECT_EQ("/tmp/choose/one/ocr", Ocrpath());
  EXPECT_EQ("/tmp/choose/one/ocr", EntryText(OcrEntry()));
  EXPECT_TRUE(IsModified());
}

TEST_F(ChooserTest, CancellingTheFileChooserChangesNothingButIsLogged) {
  Type(OcrEntry(), "/tmp/choose/one/ocr");
  Window().SetModified(0);
  const DebugLines lines;
  BrowseOcr([](const Chooser& chooser) { chooser.Press(-6); });
  const std::string text = "ID_OCR_BROWSE (/tmp/choose/one)=(/tmp/choose/one/ocr) \n";
  EXPECT_THAT(lines.All(), ElementsAre("[OnNofityBtnClicked(249)]:  " + text,
                                       "[OnNofityBtnClicked(259)]:  " + text));
  EXPECT_EQ("/tmp/choose/one/ocr", EntryText(OcrEntry()));
  EXPECT_FALSE(IsModified());
}

TEST_F(ChooserTest, TheOcrFolderIsTheTextBeforeTheLastSlash) {
  const std::pair<const char*, const char*> cases[] = {
      {"/usr/bin/ocr", "/usr/bin"}, {"/ocr", ""}, {"ocr", "ocr"}, {"/usr/bin/", "/usr/bin"}};
  for (const auto& [path, folder] : cases) {
    General().setOcrpath(path);
    const DebugLines lines;
    BrowseOcr([](const Chooser& chooser) { chooser.Press(-6); });
    EXPECT_EQ(
        std::string("[OnNofityBtnClicked(249)]:  ID_OCR_BROWSE (") + folder + ")=(" + path + ") \n",
        lines.All().front());
  }
}

TEST_F(ChooserTest, OpensWithoutWarningsWhateverThePathsHold) {
  // GTK keeps its list of recently used files here.
  fs::create_directories(Home() + "/.local/share");
  const gtk_test::Warnings warnings;
  for (const char* path : {"", "no/such", "/caf\xE9", "%s%n", "~"}) {
    General().setScanpath(path);
    General().setOcrpath(path);
    BrowseScan([](const Chooser& chooser) { chooser.Press(-6); });
    BrowseOcr([](const Chooser& chooser) { chooser.Press(-6); });
  }
  EXPECT_THAT(warnings.Messages(), IsEmpty());
}

TEST_F(ChooserTest, ClosingAChooserIsLikeCancelling) {
  BrowseScan(
      [](const Chooser& chooser) { gtk_test::CloseAsWindowManager(GTK_WIDGET(chooser.widget)); });
  EXPECT_EQ(ScanFolder(), Scanpath());
  Choosers(0);
}

TEST_F(TabGeneralTest, ChoosersAndMessagesUseTheLanguageFile) {
  Write(std::string(kLanguageFolder) + "/DVXTOOLS.RCT",
        "[dlg101]\n124=t124\n125=t125\n126=t126 %s\n127=t127 %n\n");
  OpenWindow();
  std::vector<std::string> titles;
  const auto note_title = [&](GtkDialog* dialog) {
    titles.emplace_back(Chooser(dialog).Title());
    Chooser(dialog).Press(-6);
  };
  {
    const gtk_test::ModalAnswer answer(note_title);
    Click(*(General().*TabGeneral::ScanBrowse));
  }
  {
    const gtk_test::ModalAnswer answer(note_title);
    Click(*(General().*TabGeneral::OcrBrowse));
  }
  EXPECT_THAT(titles, ElementsAre("t125", "t124"));
  General().setOcrpath("/no/such");
  EXPECT_EQ(0, AnswerApply());
  General().setScanpath("/no/such");
  EXPECT_EQ(0, AnswerApply());
  EXPECT_THAT(m_Messages, ElementsAre("t126 %s", "t127 %n"));
}

// --- Apply --------------------------------------------------------------------------------------

TEST_F(TabGeneralTest, AcceptsAWritableFolderAndNoOcrProgram) {
  OpenWindow();
  EXPECT_EQ(-1, General().OnApply());
}

TEST_F(TabGeneralTest, AcceptsAnExecutableOcrProgram) {
  OpenWindow();
  General().setOcrpath("/bin/sh");
  EXPECT_EQ(-1, General().OnApply());
}

TEST_F(TabGeneralTest, RefusesAnEmptySaveFolder) {
  OpenWindow();
  Type(ScanEntry(), "");
  const DebugLines lines;
  EXPECT_EQ(0, AnswerApply());
  EXPECT_THAT(m_Messages, ElementsAre(kBadScanpath));
  EXPECT_THAT(lines.All(),
              ElementsAre(std::string("[OnApply(349)]: OnApply szMsg=") + kBadScanpath + "\n"));
}

TEST_F(TabGeneralTest, RefusesASaveFolderThatDoesNotExist) {
  OpenWindow();
  General().setScanpath("/no/such/folder");
  EXPECT_EQ(0, AnswerApply());
  EXPECT_THAT(m_Messages, ElementsAre(kBadScanpath));
}

TEST_F(TabGeneralTest, CallsAReadOnlySaveFolderNonExistent) {
  OpenWindow();
  const ReadOnlyFolder folder("/tmp/read-only");
  General().setScanpath("/tmp/read-only");
  EXPECT_EQ(0, AnswerApply());
  EXPECT_THAT(m_Messages, ElementsAre(kBadScanpath));
}

TEST_F(TabGeneralTest, AcceptsAWritableFileAsSaveFolder) {
  OpenWindow();
  Write("/tmp/a-file", "");
  General().setScanpath("/tmp/a-file");
  EXPECT_EQ(-1, General().OnApply());
}

TEST_F(TabGeneralTest, RefusesAnOcrProgramWithoutExecutePermission) {
  OpenWindow();
  Write("/tmp/not-executable", "#!/bin/sh\n");
  ASSERT_EQ(0, chmod("/tmp/not-executable", 0644));
  General().setOcrpath("/tmp/not-executable");
  const DebugLines lines;
  EXPECT_EQ(0, AnswerApply());
  EXPECT_THAT(m_Messages, ElementsAre(kBadOcrpath));
  EXPECT_THAT(lines.All(),
              ElementsAre(std::string("[OnApply(366)]: OnApply szMsg=") + kBadOcrpath + "\n"));
}

TEST_F(TabGeneralTest, AcceptsAFolderAsOcrProgram) {
  OpenWindow();
  General().setOcrpath("/tmp");
  EXPECT_EQ(-1, General().OnApply());
}

TEST_F(TabGeneralTest, OnlyTheSaveFolderIsReportedWhenBothAreWrong) {
  OpenWindow();
  General().setScanpath("/no/such");
  General().setOcrpath("/no/such");
  EXPECT_EQ(0, AnswerApply());
  EXPECT_THAT(m_Messages, ElementsAre(kBadScanpath));
}

TEST_F(TabGeneralTest, ARefusalShowsThePageAfterTheMessageWasAnswered) {
  OpenWindow();
  ASSERT_TRUE(gtk_test::ShowAndWait(Window().GetWidget()));
  gtk_notebook_set_current_page(Notebook(), 1);
  General().setScanpath("");
  int page_during_message = -1;
  const gtk_test::ModalAnswer answer([&](GtkDialog* box) {
    page_during_message = gtk_notebook_get_current_page(Notebook());
    gtk_dialog_response(box, 1);
  });
  EXPECT_EQ(0, General().OnApply());
  EXPECT_EQ(1, page_during_message);
  EXPECT_EQ(0, gtk_notebook_get_current_page(Notebook()));
}

TEST_F(TabGeneralTest, TheMessageIsAnInformationWithTheWindowsTitleAndOK) {
  OpenWindow();
  ASSERT_TRUE(gtk_test::ShowAndWait(Window().GetWidget()));
  General().setScanpath("");
  const gtk_test::ModalAnswer answer([&](GtkDialog* box) {
    EXPECT_STREQ("Veltrana DVX Tools", gtk_window_get_title(GTK_WINDOW(box)));
    EXPECT_EQ(Window().GetWidget(), GTK_WIDGET(gtk_window_get_transient_for(GTK_WINDOW(box))));
    gint type = -1;
    g_object_get(box, "message-type", &type, nullptr);
    EXPECT_EQ(int{GTK_MESSAGE_INFO}, type);
    EXPECT_EQ(1U, gtk_test::Children(gtk_dialog_get_action_area(box)).size());
    EXPECT_EQ("gtk-ok", ButtonOf(box, 1));
    gtk_dialog_response(box, 1);
  });
  EXPECT_EQ(0, General().OnApply());
}

}  // namespace
