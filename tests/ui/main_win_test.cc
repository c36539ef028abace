// Tests of the main window: its texts, its buttons and the ways to leave it.
#include "ui/main_win.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "tests/support/debug_lines.h"
#include "tests/support/vtable_slot.h"
#include "tests/ui/ui_fixture.h"

namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using namespace ui_test;

constexpr char kOnDelete[] = "[OnDelete(93)]: CMainWin::OnDelete\n";

class MainWinTest : public UiTest {
 protected:
  static void WriteLanguage(const std::string& content) {
    Write(std::string(kLanguageFolder) + "/DVXTOOLS.RCT", content);
  }

  std::string Title() { return gtk_window_get_title(GTK_WINDOW(Window().GetWidget())); }
  GtkWidget* VBox() { return gtk_bin_get_child(GTK_BIN(Window().GetWidget())); }
  GtkWidget* Paned() { return gtk_test::Children(VBox()).at(0); }
  GtkWidget* Row() { return gtk_test::Children(VBox()).at(1); }
  GtkWidget* ButtonBox() { return gtk_test::Children(Row()).at(0); }

  std::string TabText(int page) {
    GtkWidget* content = gtk_notebook_get_nth_page(Notebook(), page);
    return LabelText(gtk_notebook_get_tab_label(Notebook(), content));
  }
};

// --- the class ----------------------------------------------------------------------------------

TEST_F(MainWinTest, OverridesVirtualsOfTheWindowAndAddsNone) {
  EXPECT_EQ(10, vtable::Slot(&CMainWin::OnNofityBtnClicked));
  EXPECT_EQ(11, vtable::Slot(&CMainWin::OnNofitySelectChanged));
  EXPECT_EQ(16, vtable::Slot(&CMainWin::OnDelete));
  EXPECT_EQ(26, vtable::Slot(&CMainWin::OnCreate));
  EXPECT_EQ(26, vtable::SlotCount<CMainWin>());
  EXPECT_EQ(0, vtable::Slot(&CMainWin::InitTabs));
  EXPECT_EQ(0, vtable::Slot(&CMainWin::SetModified));
}

TEST_F(MainWinTest, KeepsItsFieldsInOrder) {
  const CMainWin& window = *m_pApp->MakeWindow();
  const std::ptrdiff_t first = Offset(window, window.*MainWin::OK);
  EXPECT_EQ(static_cast<std::ptrdiff_t>(sizeof(xWindow)), first);
  EXPECT_EQ(first + kPointer, Offset(window, window.*MainWin::Cancel));
  EXPECT_EQ(first + 2 * kPointer, Offset(window, window.*MainWin::Apply));
  EXPECT_EQ(first + 3 * kPointer, Offset(window, window.*MainWin::Tabs));
  const auto table = static_cast<std::ptrdiff_t>(sizeof(CRctFile));
  EXPECT_EQ(first + 4 * kPointer, Offset(window, window.*MainWin::Language));
  EXPECT_EQ(first + 4 * kPointer + table, Offset(window, window.*MainWin::FirstLanguage));
  EXPECT_EQ(first + 4 * kPointer + 2 * table, Offset(window, window.*MainWin::Lock));
  EXPECT_EQ(first + 4 * kPointer + 4 + 2 * table, Offset(window, window.*MainWin::Modified));
}

TEST_F(MainWinTest, IsFoundThroughTheApplicationObjectOnceThatHoldsIt) {
  EXPECT_EQ(nullptr, xGetMainWin());
  CMainWin* window = m_pApp->MakeWindow();
  EXPECT_EQ(window, xGetMainWin());
  xApp::m_Instance = nullptr;
  EXPECT_EQ(nullptr, xGetMainWin());
  xApp::m_Instance = m_pApp.get();
}

// --- texts --------------------------------------------------------------------------------------

TEST_F(MainWinTest, WithoutLanguageFileShowsEnglishTitleAndTabs) {
  OpenWindow();
  EXPECT_EQ("Veltrana DVX Tools", Title());
  ASSERT_EQ(2, gtk_notebook_get_n_pages(Notebook()));
  EXPECT_EQ("General", TabText(0));
  EXPECT_EQ("Network", TabText(1));
}

TEST_F(MainWinTest, LanguageFileNamesTitleAndTabs) {
  WriteLanguage("[dlg100]\n10=Something\n[dlg101]\n111=Allgemein\n[dlg102]\n211=Netzwerk\n");
  OpenWindow();
  EXPECT_EQ("Something", Title());
  EXPECT_EQ("Allgemein", TabText(0));
  EXPECT_EQ("Netzwerk", TabText(1));
}

TEST_F(MainWinTest, LoadsTheLanguageFileOfTheLocale) {
  setenv("LANG", "sv_SE.UTF-8", 1);
  WriteLanguage("[dlg100]\n10=neutral\n");
  Write(std::string(kLanguageFolder) + "/sv_SE/DVXTOOLS.RCT", "[dlg100]\n10=svenska\n");
  const DebugLines lines;
  m_pApp->MakeWindow();
  EXPECT_EQ("svenska", Title());
  EXPECT_THAT(lines.All(),
              ElementsAre("[Get_ll_CC(74)]: CRctFile::Get_ll_CC lang=sv_SE.UTF-8 \n",
                          "[TryOpenRctFile(150)]: \tOpen RCT :'/usr/local/share/veltrana/scanner/"
                          "data/sv_SE/DVXTOOLS.RCT' Success\n"));
}

TEST_F(MainWinTest, ShowsAnEmptyTextOfTheLanguageFileInsteadOfTheEnglishOne) {
  WriteLanguage("[dlg100]\n10=\n[dlg101]\n111=\n");
  OpenWindow();
  EXPECT_EQ("", Title());
  EXPECT_EQ("", TabText(0));
  EXPECT_EQ("Network", TabText(1));
}

TEST_F(MainWinTest, ShowsTextsThatAreNoUtf8AsReplacementCharacters) {
  WriteLanguage("[dlg100]\n10=caf\xE9\n[dlg101]\n111=_\xE9\n");
  OpenWindow();
  EXPECT_EQ("caf\xEF\xBF\xBD", Title());
  EXPECT_EQ("\xEF\xBF\xBD", TabText(0));
}

TEST_F(MainWinTest, AsksTheFirstTableThenTheLoadedOneThenTheCompiledInTexts) {
  WriteLanguage("[dlg100]\n10=loaded\n11=only loaded\n");
  CMainWin& window = *m_pApp->MakeWindow();
  EXPECT_STREQ("loaded", window.LoadDlgString(100, 10));

  Write("/tmp/first.rct", "[dlg100]\n10=first\n");
  FILE* file = fopen("/tmp/first.rct", "r");
  ASSERT_NE(nullptr, file);
  (window.*MainWin::FirstLanguage).LoadRctFile(file);
  fclose(file);
  EXPECT_STREQ("first", window.LoadDlgString(100, 10));
  EXPECT_STREQ("only loaded", window.LoadDlgString(100, 11));
  EXPECT_EQ(nullptr, window.LoadDlgString(100, 12));
  EXPECT_EQ(nullptr, window.LoadDlgString(104, 10));
}

TEST_F(MainWinTest, NothingIsLoadedIntoTheFirstTable) {
  WriteLanguage("[dlg100]\n10=loaded\n[string]\n1=x\n");
  CMainWin& window = OpenWindow();
  EXPECT_EQ(nullptr, (window.*MainWin::FirstLanguage).LoadDlgString(100, 10));
  EXPECT_EQ(nullptr, (window.*MainWin::FirstLanguage).LoadDlgString(0, 1));
}

TEST_F(MainWinTest, TextsWithoutMainWindowAreEnglish) {
  EXPECT_EQ("General", LoadDlgText(101, 111, "General"));
}

// --- content ------------------------------------------------------------------------------------

TEST_F(MainWinTest, HoldsTheNotebookAboveTheRowOfButtons) {
  CreateWindow();
  ASSERT_TRUE(GTK_IS_VBOX(VBox()));
  EXPECT_FALSE(gtk_box_get_homogeneous(GTK_BOX(VBox())));
  EXPECT_EQ(10, gtk_box_get_spacing(GTK_BOX(VBox())));
  EXPECT_EQ(10U, gtk_container_get_border_width(GTK_CONTAINER(VBox())));
  ASSERT_EQ(2U, gtk_test::Children(VBox()).size());

  ASSERT_TRUE(GTK_IS_PANED(Paned()));
  EXPECT_EQ(1, gtk_test::ChildProperty(VBox(), Paned(), "expand"));
  EXPECT_EQ(1, gtk_test::ChildProperty(VBox(), Paned(), "fill"));
  EXPECT_EQ(0, gtk_test::ChildProperty(VBox(), Paned(), "padding"));
  EXPECT_EQ(int{GTK_PACK_START}, gtk_test::ChildProperty(VBox(), Paned(), "pack-type"));
  EXPECT_EQ(GTK_WIDGET(Notebook()), gtk_paned_get_child1(GTK_PANED(Paned())));
  EXPECT_EQ(nullptr, gtk_paned_get_child2(GTK_PANED(Paned())));

  ASSERT_TRUE(GTK_IS_HBOX(Row()));
  EXPECT_FALSE(gtk_box_get_homogeneous(GTK_BOX(Row())));
  EXPECT_EQ(10, gtk_box_get_spacing(GTK_BOX(Row())));
  EXPECT_EQ(0, gtk_test::ChildProperty(VBox(), Row(), "expand"));
  EXPECT_EQ(0, gtk_test::ChildProperty(VBox(), Row(), "fill"));
  EXPECT_EQ(0, gtk_test::ChildProperty(VBox(), Row(), "padding"));
  EXPECT_EQ(int{GTK_PACK_END}, gtk_test::ChildProperty(VBox(), Row(), "pack-type"));
}

TEST_F(MainWinTest, BoxesAndPaneAreHeldByTheWindowAlone) {
  CreateWindow();
  for (GtkWidget* widget : {VBox(), Paned(), Row(), ButtonBox()}) {
    EXPECT_EQ(1U, G_OBJECT(widget)->ref_count) << G_OBJECT_TYPE_NAME(widget);
  }
}

TEST_F(MainWinTest, HasNoIcon) {
  OpenWindow();
  EXPECT_EQ(nullptr, gtk_window_get_icon(GTK_WINDOW(Window().GetWidget())));
}

TEST_F(MainWinTest, ButtonsStandAtTheEndInTheOrderApplyOKCancel) {
  CreateWindow();
  ASSERT_TRUE(GTK_IS_HBUTTON_BOX(ButtonBox()));
  EXPECT_EQ(GTK_BUTTONBOX_END, gtk_button_box_get_layout(GTK_BUTTON_BOX(ButtonBox())));
  EXPECT_EQ(10, gtk_box_get_spacing(GTK_BOX(ButtonBox())));
  EXPECT_EQ(0, gtk_test::ChildProperty(Row(), ButtonBox(), "expand"));
  EXPECT_EQ(0, gtk_test::ChildProperty(Row(), ButtonBox(), "fill"));
  EXPECT_EQ(int{GTK_PACK_END}, gtk_test::ChildProperty(Row(), ButtonBox(), "pack-type"));
  EXPECT_THAT(gtk_test::Children(ButtonBox()),
              ElementsAre(Apply().GetWidget(), OK().GetWidget(), Cancel().GetWidget()));
  EXPECT_STREQ("gtk-apply", gtk_button_get_label(GTK_BUTTON(Apply().GetWidget())));
  EXPECT_STREQ("gtk-ok", gtk_button_get_label(GTK_BUTTON(OK().GetWidget())));
  EXPECT_STREQ("gtk-cancel", gtk_button_get_label(GTK_BUTTON(Cancel().GetWidget())));
}

TEST_F(MainWinTest, AsksFor638By446PixelsAndIsResizable) {
  CreateWindow();
  gint width = 0;
  gint height = 0;
  gtk_widget_get_size_request(Window().GetWidget(), &width, &height);
  EXPECT_EQ(638, width);
  EXPECT_EQ(446, height);
  EXPECT_TRUE(gtk_window_get_resizable(GTK_WINDOW(Window().GetWidget())));
}

TEST_F(MainWinTest, CannotBecomeSmallerThanItsFirstSize) {
  OpenWindow();
  GtkWidget* widget = Window().GetWidget();
  ASSERT_TRUE(gtk_test::ShowAndWait(widget));
  gtk_window_resize(GTK_WINDOW(widget), 300, 200);
  gtk_test::Pump();
  gint width = 0;
  gint height = 0;
  gtk_window_get_size(GTK_WINDOW(widget), &width, &height);
  EXPECT_EQ(638, width);
  EXPECT_EQ(446, height);
}

// --- the modified state -------------------------------------------------------------------------

TEST_F(MainWinTest, ApplyIsInsensitiveAfterBuildingAndAfterReadingTheSettings) {
  CreateWindow();
  EXPECT_FALSE(IsModified());
  EXPECT_TRUE(IsSensitive(OK()));
  EXPECT_TRUE(IsSensitive(Cancel()));
  // Showing the settings in the controls counts as edits, until that is taken back at the end.
  Tabs().OnInitDialog();
  EXPECT_TRUE(IsModified());
  Window().InitTabs();
  EXPECT_FALSE(IsModified());
  EXPECT_EQ(0, Window().*MainWin::Modified);
}

TEST_F(MainWinTest, SetModifiedStoresTheFlagAndSwitchesApply) {
  OpenWindow();
  Window().SetModified(-1);
  EXPECT_EQ(-1, Window().*MainWin::Modified);
  EXPECT_TRUE(IsModified());
  Window().SetModified(0);
  EXPECT_EQ(0, Window().*MainWin::Modified);
  EXPECT_FALSE(IsModified());
}

TEST_F(MainWinTest, LockKeepsTheModifiedStateAsItIs) {
  OpenWindow();
  EXPECT_EQ(0, Window().*MainWin::Lock);
  Window().*MainWin::Lock = 1;
  Window().SetModified(-1);
  EXPECT_EQ(0, Window().*MainWin::Modified);
  EXPECT_FALSE(IsModified());
}

TEST_F(MainWinTest, SetModifiedBeforeTheButtonsExistIsNoted) {
  CMainWin* window = m_pApp->MakeWindow();
  window->SetModified(-1);
  EXPECT_EQ(-1, window->*MainWin::Modified);
}

// --- buttons ------------------------------------------------------------------------------------

TEST_F(MainWinTest, EveryButtonNotificationIsLoggedFirst) {
  OpenWindow();
  const DebugLines lines;
  Window().OnNofityBtnClicked(2);
  Window().OnNofityBtnClicked(99);
  Window().OnNofityBtnClicked(0xFFFFFFFF);
  EXPECT_THAT(lines.All(),
              ElementsAre("[OnNofityBtnClicked(100)]: CMainWin::OnNofityBtnClicked ID=2 \n",
                          "[OnNofityBtnClicked(100)]: CMainWin::OnNofityBtnClicked ID=99 \n",
                          "[OnNofityBtnClicked(100)]: CMainWin::OnNofityBtnClicked ID=-1 \n"));
}

TEST_F(MainWinTest, Identifier2MarksTheSettingsModified) {
  OpenWindow();
  Window().OnNofityBtnClicked(2);
  EXPECT_TRUE(IsModified());
  EXPECT_EQ(-1, Window().*MainWin::Modified);
}

TEST_F(MainWinTest, OtherIdentifiersDoNothing) {
  OpenWindow();
  for (const unsigned int id : {0U, 1U, 6U, 51U, 55U, 0xFFFFFFFFU}) {
    Window().OnNofityBtnClicked(id);
    EXPECT_FALSE(IsModified()) << id;
  }
  Window().OnNofitySelectChanged(2);
  EXPECT_FALSE(IsModified());
  EXPECT_FALSE(fs::exists(SettingsFile()));
}

TEST_F(MainWinTest, AcceptedApplyWritesTheSettingsAndEndsTheModifiedState) {
  OpenWindow();
  Type(OcrEntry(), "/bin/sh");
  ASSERT_TRUE(IsModified());
  Click(Apply());
  EXPECT_FALSE(IsModified());
  EXPECT_THAT(Read(SettingsFile()), ::testing::HasSubstr("ocrpath=\"/bin/sh\"\n"));
}

TEST_F(MainWinTest, RefusedApplyLeavesTheWindowModified) {
  OpenWindow();
  Type(ScanEntry(), "/does/not/exist");
  gtk_test::ModalAnswer answer([](GtkDialog* box) { gtk_dialog_response(box, 1); });
  Click(Apply());
  EXPECT_TRUE(IsModified());
  EXPECT_FALSE(fs::exists(SettingsFile()));
}

TEST_F(MainWinTest, ApplyWritesAlsoWhenNothingWasModified) {
  OpenWindow();
  Window().OnNofityBtnClicked(3);
  EXPECT_TRUE(fs::exists(SettingsFile()));
}

TEST_F(MainWinTest, OKWritesTheSettingsAndLeavesTheMainLoop) {
  OpenWindow();
  ASSERT_TRUE(gtk_test::ShowAndWait(Window().GetWidget()));
  const DebugLines lines;
  EXPECT_TRUE(LeavesMainLoop([&] { Click(OK()); }));
  EXPECT_TRUE(fs::exists(SettingsFile()));
  EXPECT_EQ("[OnNofityBtnClicked(100)]: CMainWin::OnNofityBtnClicked ID=4 \n", lines.All().front());
  EXPECT_EQ("[OnNofityBtnClicked(112)]: ID_BTN_OK \n", lines.All().back());
}

// The event asks the window to close itself; the main loop has ended before it is handled.
TEST_F(MainWinTest, OKAndCancelSendTheWindowADeleteEventBeforeTheyLeave) {
  OpenWindow();
  ASSERT_TRUE(gtk_test::ShowAndWait(Window().GetWidget()));
  for (xStockButton* button : {&OK(), &Cancel()}) {
    const DebugLines lines;
    EXPECT_TRUE(LeavesMainLoop([&] { Click(*button); }));
    EXPECT_THAT(lines.All(), Not(Contains(kOnDelete)));
    bool sent = false;
    while (GdkEvent* event = gdk_event_get()) {
      if (event->type == GDK_DELETE) {
        sent = true;
        EXPECT_EQ(gtk_widget_get_window(Window().GetWidget()), event->any.window);
        EXPECT_EQ(-1, event->any.send_event);
      }
      gdk_event_free(event);
    }
    EXPECT_TRUE(sent);
  }
}

TEST_F(MainWinTest, OKWithInvalidSaveFolderShowsTheMessageAndLeavesTheWindowOpen) {
  OpenWindow();
  Type(ScanEntry(), "/does/not/exist");
  std::string message;
  gtk_test::ModalAnswer answer([&](GtkDialog* box) {
    message = MessageText(box);
    gtk_dialog_response(box, 1);
  });
  const DebugLines lines;
  EXPECT_FALSE(LeavesMainLoop([&] { Click(OK()); }, 0));
  EXPECT_EQ("Save to : The specified path doesn't exist.", message);
  EXPECT_TRUE(IsModified());
  EXPECT_FALSE(fs::exists(SettingsFile()));
  EXPECT_THAT(lines.All(), Not(Contains("[OnNofityBtnClicked(112)]: ID_BTN_OK \n")));
}

TEST_F(MainWinTest, CancelAfterEditsLeavesWithoutTouchingTheSettingsFile) {
  Write(SettingsFile(), "pcListUp=\"0\"\n");
  OpenWindow();
  Type(OcrEntry(), "/bin/sh");
  EXPECT_TRUE(LeavesMainLoop([&] { Click(Cancel()); }));
  EXPECT_EQ("pcListUp=\"0\"\n", Read(SettingsFile()));
  EXPECT_THAT(fake_scanners::TakeCommands(), IsEmpty());
}

// --- the window manager's close -----------------------------------------------------------------

TEST_F(MainWinTest, ClosingTheWindowLeavesWithoutWritingAndKeepsTheWidget) {
  OpenWindow();
  GtkWidget* widget = Window().GetWidget();
  ASSERT_TRUE(gtk_test::ShowAndWait(widget));
  Type(OcrEntry(), "/bin/sh");
  const DebugLines lines;
  const gtk_test::SignalCount destroyed(widget, "destroy");
  EXPECT_TRUE(LeavesMainLoop([=] { gtk_test::CloseAsWindowManager(widget); }));
  EXPECT_THAT(lines.All(), ElementsAre(kOnDelete));
  EXPECT_FALSE(fs::exists(SettingsFile()));
  EXPECT_EQ(0, destroyed.Count());
  EXPECT_TRUE(gtk_widget_get_mapped(widget));
}

TEST_F(MainWinTest, OnDeleteReturns1) {
  OpenWindow();
  int result = 0;
  EXPECT_TRUE(LeavesMainLoop([&] { result = Window().OnDelete(); }));
  EXPECT_EQ(1, result);
}

// --- the rest -----------------------------------------------------------------------------------

TEST_F(MainWinTest, DeletingTheWindowObjectLeavesNoHandlerBehind) {
  OpenWindow();
  ASSERT_TRUE(gtk_test::ShowAndFocus(Window().GetWidget()));
  GtkWidget* widget = Window().GetWidget();
  GtkWidget* ok = OK().GetWidget();
  GtkWidget* entry = ScanEntry().GetWidget();
  gtk_widget_grab_focus(entry);
  delete m_pApp->m_pMainWnd;
  m_pApp->m_pMainWnd = nullptr;
  gtk_entry_set_text(GTK_ENTRY(entry), "/elsewhere");
  gtk_button_clicked(GTK_BUTTON(ok));
  gtk_test::CloseAsWindowManager(widget);
  gtk_test::Pump();
  EXPECT_FALSE(fs::exists(SettingsFile()));
}

TEST_F(MainWinTest, AddColonAppendsAColonInABufferThatIsUsedAgain) {
  EXPECT_EQ(nullptr, CMainWin::AddColon(nullptr));
  char* first = CMainWin::AddColon("PC name");
  EXPECT_STREQ("PC name:", first);
  EXPECT_EQ(first, CMainWin::AddColon(""));
  EXPECT_STREQ(":", first);
}

TEST_F(MainWinTest, AddColonCutsATextThatDoesNotFit) {
  EXPECT_EQ(std::string(254, 'x') + ":", CMainWin::AddColon(std::string(254, 'x').c_str()));
  EXPECT_EQ(std::string(254, 'x') + ":", CMainWin::AddColon(std::string(255, 'x').c_str()));
}

TEST_F(MainWinTest, CreateDataDirMakesNothingAndSucceeds) {
  CMainWin& window = *m_pApp->MakeWindow();
  // The tree that this was built from may stand in the home folder; other tests write there.
  const auto count = [] {
    int entries = 0;
    const fs::recursive_directory_iterator end;
    for (fs::recursive_directory_iterator entry(Home()); entry != end; ++entry) {
      ++entries;
      if (entry->path() == VELTRANA_SOURCE_DIR || entry->path() == VELTRANA_BINARY_DIR)
        entry.disable_recursion_pending();
    }
    return entries;
  };
  const auto before = count();
  EXPECT_EQ(-1, window.CreateDataDir());
  EXPECT_EQ(before, count());
}

}  // namespace
