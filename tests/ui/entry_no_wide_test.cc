// Tests of the filtered entry on a real GTK entry, with the bells that the X server rings.
#include "ui/entry_no_wide.h"

#include <X11/XKBlib.h>
#include <sys/mman.h>
#include <unistd.h>

#include "tests/support/gtk_test.h"

// After the header above, which puts away the macros of Xlib that get in the way.
#include <gmock/gmock.h>

#include <cstddef>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/debug_lines.h"
#include "tests/support/notify_recorder.h"
#include "tests/support/signal_handlers.h"
#include "tests/support/vtable_slot.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr unsigned int kID = 2;

// The characters of a computer's name, as the Network tab sets them.
constexpr char kNameSet[] =
    "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ!@#$%^&\\().-_{}";

// All characters from 0x01 to 0x7F.
std::string AllAscii() {
  std::string all;
  for (char ch = 1; ch > 0 && ch < 0x7F; ++ch) all += ch;
  return all + '\x7F';
}

// Listens, on a connection of its own, to the bells of the X server.
class Bells {
 public:
  Bells() : m_pDisplay(XOpenDisplay(nullptr)) {
    gdk_display_sync(gdk_display_get_default());  // rings what earlier tests left in GDK's queue
    int error = 0;
    XkbQueryExtension(m_pDisplay, nullptr, &m_iEventBase, &error, nullptr, nullptr);
    XkbSelectEvents(m_pDisplay, XkbUseCoreKbd, XkbBellNotifyMask, XkbBellNotifyMask);
    XSync(m_pDisplay, 0);
  }
  ~Bells() { XCloseDisplay(m_pDisplay); }
  Bells(const Bells&) = delete;
  Bells& operator=(const Bells&) = delete;

  // How many rang since the last call.
  int Take() {
    gdk_display_sync(gdk_display_get_default());
    XSync(m_pDisplay, 0);
    int count = 0;
    while (XPending(m_pDisplay) > 0) {
      XEvent event;
      XNextEvent(m_pDisplay, &event);
      if (event.type == m_iEventBase) ++count;
    }
    return count;
  }

 private:
  Display* m_pDisplay;
  int m_iEventBase = 0;
};

class FilteredEntry : public ::testing::Test {
 protected:
  FilteredEntry() : m_Entry(std::make_unique<xEntryNoWide>(&m_Parent, kID, 0, 0)) {}

  GtkEditable* Editable() const { return GTK_EDITABLE(m_Entry->GetWidget()); }
  std::string Text() const { return m_Entry->GetWindowText(); }

  // Inserts a text at a position and returns the position afterwards.
  int Insert(const std::string& text, int position = 0) const {
    gtk_editable_insert_text(Editable(), text.c_str(), static_cast<int>(text.size()), &position);
    return position;
  }

  // What is let through of a text by a rule.
  std::string Filtered(unsigned int rule, const char* allowed, const std::string& text) const {
    m_Entry->SetWindowText("");
    m_Entry->SetInputRule(rule, allowed);
    Insert(text);
    return Text();
  }

  Bells m_Bells;
  NotifyRecorder m_Parent;
  std::unique_ptr<xEntryNoWide> m_Entry;
};

// --- The class ---------------------------------------------------------------------------------

class Fields : public xEntryNoWide {
 public:
  Fields() : xEntryNoWide(nullptr, kID, 0, 0x1234) {}
  bool AreInOrder() const {
    return reinterpret_cast<const char*>(&m_nInputRule) <
           reinterpret_cast<const char*>(&m_szAllowed);
  }
  unsigned int Rule() const { return m_nInputRule; }
  const char* Allowed() const { return m_szAllowed.get(); }
};

TEST(FilteredEntryClass, AddsOneVirtualOperationAfterThoseOfEntry) {
  EXPECT_EQ(27, vtable::Slot(&xEntryNoWide::OnInsertText));
  EXPECT_EQ(27, vtable::SlotCount<xEntryNoWide>());
}

TEST(FilteredEntryClass, HasTheRuleAndThenTheAllowedText) {
  const Fields fields;
  EXPECT_TRUE(fields.AreInOrder());
  EXPECT_EQ(0x1234u, fields.Rule());
  EXPECT_EQ(nullptr, fields.Allowed());
}

TEST(FilteredEntryClass, PassesItsWidthOnToTheEntry) {
  const xEntryNoWide twelve(nullptr, kID, 12, 0);
  const xEntryNoWide zero(nullptr, kID, 0, 0);
  EXPECT_EQ(12, gtk_entry_get_width_chars(GTK_ENTRY(twelve.GetWidget())));
  EXPECT_EQ(-1, gtk_entry_get_width_chars(GTK_ENTRY(zero.GetWidget())));
}

TEST_F(FilteredEntry, ListensToInsertTextAfterWhatEveryEntryListensTo) {
  const gulong changed = FindHandler(Editable(), "changed", m_Entry.get());
  const gulong insertText = FindHandler(Editable(), "insert-text", m_Entry.get());
  EXPECT_LT(0u, changed);
  EXPECT_LT(changed, insertText);
  EXPECT_EQ(4u, CountHandlers(Editable(), m_Entry.get()));
}

TEST_F(FilteredEntry, TheRuleOfTheConstructorIsInForce) {
  xEntryNoWide digits(nullptr, kID, 0, 0x1001);
  digits.SetWindowText("a1b2");
  EXPECT_STREQ("12", digits.GetWindowText());
}

TEST_F(FilteredEntry, KeepsACopyOfTheAllowedText) {
  Fields fields;
  std::string allowed = "ab";
  fields.SetInputRule(0x1020, allowed.c_str());
  allowed = "xy";
  EXPECT_STREQ("ab", fields.Allowed());
  EXPECT_EQ(0x1020u, fields.Rule());
  fields.SetInputRule(0x1001, nullptr);
  EXPECT_EQ(nullptr, fields.Allowed());
  EXPECT_EQ(0x1001u, fields.Rule());
}

TEST_F(FilteredEntry, ANewRuleLeavesTheTextThatIsThere) {
  m_Entry->SetWindowText("a/b");
  m_Entry->SetInputRule(0x1001, nullptr);
  EXPECT_EQ("a/b", Text());
}

TEST_F(FilteredEntry, AWidgetThatOutlivesItsObjectIsAnOrdinaryEntry) {
  m_Entry->SetInputRule(0x1001, nullptr);
  GtkWidget* widget = m_Entry->GetWidget();
  g_object_ref_sink(widget);
  m_Entry.reset();
  gtk_entry_set_text(GTK_ENTRY(widget), "caf\xC3\xA9");
  EXPECT_STREQ("caf\xC3\xA9", gtk_entry_get_text(GTK_ENTRY(widget)));
  EXPECT_THAT(m_Parent.Take(), IsEmpty());
  EXPECT_EQ(0, m_Bells.Take());
  g_object_unref(widget);
}

// --- Wide characters ---------------------------------------------------------------------------

TEST_F(FilteredEntry, AWideCharacterIsRefusedWithABeepWhateverTheRule) {
  for (const unsigned int rule : {0u, 0x10u, 0x1000u, 0x1010u, 0x1020u, 0x10001000u}) {
    EXPECT_EQ("", Filtered(rule, kNameSet, "\xC3\xA9")) << rule;
    EXPECT_EQ(1, m_Bells.Take()) << rule;
  }
  EXPECT_THAT(m_Parent.Take(), IsEmpty());
}

TEST_F(FilteredEntry, OneWideCharacterRefusesTheWholeText) {
  EXPECT_EQ("", Filtered(0x1020, kNameSet, "pc\xC3\xA9pc"));
  EXPECT_EQ("", Filtered(0, nullptr, "\xEF\xBC\x91"));  // a full-width digit
  EXPECT_EQ("", Filtered(0, nullptr, "\xF0\x9F\x96\xA8"));
  EXPECT_EQ(3, m_Bells.Take());
}

TEST_F(FilteredEntry, ATextThatEndsWithinACharacterIsRefused) {
  for (const char* text : {"abc\xC3", "abc\xE9", "\xF0\x9F\x96"}) {
    EXPECT_EQ("", Filtered(0, nullptr, text));
    EXPECT_EQ(1, m_Bells.Take());
  }
}

TEST_F(FilteredEntry, ARefusedWideCharacterKeepsTheTextAndReportsNothing) {
  m_Entry->SetWindowText("scan");
  m_Parent.Take();
  EXPECT_EQ(2, Insert("\xC3\xA9", 2));
  EXPECT_EQ("scan", Text());
  EXPECT_THAT(m_Parent.Take(), IsEmpty());
}

// --- The rule ----------------------------------------------------------------------------------

TEST_F(FilteredEntry, WithoutARuleEveryAsciiTextIsTakenWithoutABeep) {
  EXPECT_EQ(AllAscii(), Filtered(0, nullptr, AllAscii()));
  EXPECT_EQ(0, m_Bells.Take());
}

TEST_F(FilteredEntry, FlagsWithoutTheFilterHaveNoEffect) {
  EXPECT_EQ(AllAscii(), Filtered(0x10000033, "ab", AllAscii()));
  EXPECT_EQ(0, m_Bells.Take());
}

TEST_F(FilteredEntry, TheFilterAloneLetsNothingThrough) {
  EXPECT_EQ("", Filtered(0x1000, kNameSet, AllAscii()));
  EXPECT_EQ(1, m_Bells.Take());
}

TEST_F(FilteredEntry, DigitsAreLetThrough) {
  EXPECT_EQ("0123456789", Filtered(0x1001, nullptr, AllAscii()));
}

TEST_F(FilteredEntry, LettersAndDigitsAreLetThrough) {
  EXPECT_EQ("0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz",
            Filtered(0x1002, nullptr, AllAscii()));
}

TEST_F(FilteredEntry, EverythingButTheSlashIsLetThrough) {
  std::string expected = AllAscii();
  expected.erase(expected.find('/'), 1);
  EXPECT_EQ(expected, Filtered(0x1010, nullptr, AllAscii()));
  EXPECT_EQ(" \t", Filtered(0x1010, nullptr, "/ /\t/"));
}

TEST_F(FilteredEntry, AllowedCharactersAreLetThroughOnceTheyAreSet) {
  EXPECT_EQ("%ab", Filtered(0x1020, "ba%", AllAscii()));
  EXPECT_EQ("", Filtered(0x1020, "", AllAscii()));
  EXPECT_EQ("", Filtered(0x1020, nullptr, AllAscii()));
}

TEST_F(FilteredEntry, AllowedCharactersAreNotLookedAtWithoutTheirFlag) {
  EXPECT_EQ("1", Filtered(0x1001, "ab", "a1b"));
}

TEST_F(FilteredEntry, PrintableCharactersUpToTheBraceAreLetThroughOnceAnAllowedTextIsSet) {
  EXPECT_EQ(
      "!\"#$%&'()*+,-./0123456789:;<=>?@ABCDEFGHIJKLMNOPQRSTUVWXYZ[\\]^_`"
      "abcdefghijklmnopqrstuvwxyz{|}",
      Filtered(0x10001000, "", AllAscii()));
  EXPECT_EQ("", Filtered(0x10001000, "", "~ \t\x7F"));
  EXPECT_EQ("", Filtered(0x10001000, nullptr, AllAscii()));
}

TEST_F(FilteredEntry, ACharacterPassesIfAnyFlagAllowsIt) {
  EXPECT_EQ("1a", Filtered(0x1021, "a", "1ab"));
  EXPECT_EQ("1ab", Filtered(0x1011, nullptr, "1a/b"));
  EXPECT_EQ("a/b", Filtered(0x1030, "/", "a/b"));
}

TEST_F(FilteredEntry, DigitsAndAllButTheSlashDropTheSlash) {
  EXPECT_EQ("ab", Filtered(0x1011, nullptr, "a/b"));
  EXPECT_EQ(1, m_Bells.Take());
}

TEST_F(FilteredEntry, TheNameSetHasSeventySevenCharactersAndTakesThemAll) {
  EXPECT_EQ(77u, std::strlen(kNameSet));
  EXPECT_EQ(kNameSet, Filtered(0x1020, kNameSet, kNameSet));
  EXPECT_EQ(0, m_Bells.Take());
  EXPECT_EQ("", Filtered(0x1020, kNameSet, " \"'*+,/:;<=>?[]`|~"));
  EXPECT_EQ(1, m_Bells.Take());
}

TEST_F(FilteredEntry, AllowedTextGoesInWithoutABeep) {
  EXPECT_EQ("mypc1", Filtered(0x1020, kNameSet, "mypc1"));
  EXPECT_EQ(0, m_Bells.Take());
}

TEST_F(FilteredEntry, WhatIsLeftGoesInWhereTheTextWasMeantTo) {
  m_Entry->SetInputRule(0x1020, kNameSet);
  m_Entry->SetWindowText("xy");
  EXPECT_EQ(3, Insert("a/b", 1));
  EXPECT_EQ("xaby", Text());
}

TEST_F(FilteredEntry, TextSetByTheProgramIsFilteredToo) {
  m_Entry->SetInputRule(0x1020, kNameSet);
  m_Entry->SetWindowText("my pc/1");
  EXPECT_EQ("mypc1", Text());
  EXPECT_EQ(1, m_Bells.Take());
  EXPECT_THAT(m_Parent.Take(), ElementsAre("Changed 2"));
}

TEST_F(FilteredEntry, ARefusedAsciiCharacterReportsAChangeThatIsNone) {
  m_Entry->SetInputRule(0x1020, kNameSet);
  m_Entry->SetWindowText("scan");
  m_Parent.Take();
  EXPECT_EQ(2, Insert("/", 2));
  EXPECT_EQ("scan", Text());
  EXPECT_EQ(1, m_Bells.Take());
  EXPECT_THAT(m_Parent.Take(), ElementsAre("Changed 2"));
}

TEST_F(FilteredEntry, TheEntrysLimitStillHolds) {
  m_Entry->SetInputRule(0x1020, kNameSet);
  m_Entry->SetLimitText(15);
  Insert("a very long name of a computer");
  EXPECT_EQ("averylongnameof", Text());
}

// --- Lengths -----------------------------------------------------------------------------------

TEST_F(FilteredEntry, ALengthOfMinusOneIsRefusedWithABeep) {
  for (const unsigned int rule : {0u, 0x1010u}) {
    m_Entry->SetInputRule(rule, nullptr);
    int position = 0;
    g_signal_emit_by_name(m_Entry->GetWidget(), "insert-text", "abc", -1, &position);
    EXPECT_EQ("", Text());
    EXPECT_EQ(0, position);
    EXPECT_EQ(1, m_Bells.Take());
  }
}

TEST_F(FilteredEntry, AnEmptyTextPasses) {
  for (const unsigned int rule : {0u, 0x1000u}) {
    m_Entry->SetInputRule(rule, nullptr);
    int position = 0;
    g_signal_emit_by_name(m_Entry->GetWidget(), "insert-text", "", 0, &position);
    EXPECT_EQ(0, m_Bells.Take());
  }
}

TEST_F(FilteredEntry, ANullTextIsRefused) {
  const DebugLines lines;
  int position = 0;
  g_signal_emit_by_name(m_Entry->GetWidget(), "insert-text", nullptr, 0, &position);
  EXPECT_EQ(1, m_Bells.Take());
  EXPECT_EQ(
      "[OnInsertText(300)]: xEntryNoWide::OnInsertText(new_text = '(null)', len = 0, pos = 0)\n",
      lines.All().back());
}

TEST_F(FilteredEntry, OnlyTheGivenLengthOfALongerTextCounts) {
  m_Entry->SetInputRule(0x1020, kNameSet);
  int position = 0;
  gtk_editable_insert_text(Editable(), "abc/\xC3\xA9", 3, &position);
  EXPECT_EQ("abc", Text());
  EXPECT_EQ(0, m_Bells.Take());
}

// Bytes at the very end of readable memory: a read behind them ends the program.
class LastBytes {
 public:
  explicit LastBytes(const std::string& bytes)
      : m_nPage(static_cast<std::size_t>(sysconf(_SC_PAGESIZE))),
        m_pPages(mmap(nullptr, 2 * m_nPage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1,
                      0)) {
    char* end = static_cast<char*>(m_pPages) + m_nPage;
    mprotect(end, m_nPage, PROT_NONE);
    m_pBytes = end - bytes.size();
    std::memcpy(m_pBytes, bytes.data(), bytes.size());
  }
  ~LastBytes() { munmap(m_pPages, 2 * m_nPage); }
  LastBytes(const LastBytes&) = delete;
  LastBytes& operator=(const LastBytes&) = delete;
  const char* Get() const { return m_pBytes; }

 private:
  std::size_t m_nPage;
  void* m_pPages;
  char* m_pBytes;
};

// A handler that is called without its signal finds no emission that it could stop.
void ExpectOnlyComplaintsAboutEmissions(const gtk_test::Warnings& warnings, size_t count) {
  EXPECT_EQ(count, warnings.Messages().size());
  for (const std::string& message : warnings.Messages()) {
    EXPECT_THAT(message, HasSubstr("no emission of signal \"insert-text\" to stop"));
  }
}

TEST_F(FilteredEntry, ATextNeedsNoEndBehindItsLength) {
  m_Entry->SetInputRule(0x1020, kNameSet);
  for (const std::string text : {"a/b", "abc", "\xC3\xA9q", "ab\xE9"}) {
    const LastBytes bytes(text);
    const gtk_test::Warnings warnings;
    const DebugLines lines;
    int position = 0;
    m_Entry->OnInsertText(bytes.Get(), 3, &position);
    ExpectOnlyComplaintsAboutEmissions(warnings, text == "abc" ? 0 : 1);
    EXPECT_EQ("[OnInsertText(300)]: xEntryNoWide::OnInsertText(new_text = '" + text +
                  "', len = 3, pos = 0)\n",
              lines.All().front());
  }
  EXPECT_EQ("ab", Text());
  EXPECT_EQ(3, m_Bells.Take());
}

TEST_F(FilteredEntry, ATextOfLengthMinusOneIsReadToItsEndOnly) {
  const LastBytes bytes(std::string("a\xF0\0", 3));
  const gtk_test::Warnings warnings;
  const DebugLines lines;
  int position = 0;
  m_Entry->OnInsertText(bytes.Get(), -1, &position);
  ExpectOnlyComplaintsAboutEmissions(warnings, 1);
  EXPECT_THAT(lines.All(),
              ElementsAre("[OnInsertText(300)]: xEntryNoWide::OnInsertText(new_text = 'a\xF0', "
                          "len = -1, pos = 0)\n"));
  EXPECT_EQ(1, m_Bells.Take());
}

// --- Debug lines and handlers ------------------------------------------------------------------

TEST_F(FilteredEntry, TheRuleIsLogged) {
  const DebugLines lines;
  m_Entry->SetInputRule(0x1020, "ab%s");
  m_Entry->SetInputRule(0, nullptr);
  EXPECT_THAT(lines.All(),
              ElementsAre("[SetInputRule(252)]: xEntryNoWide::SetInputRule : ab%s\n",
                          "[SetInputRule(252)]: xEntryNoWide::SetInputRule : (null)\n"));
}

TEST_F(FilteredEntry, AnInsertionWithoutAFilterIsLoggedTwice) {
  const DebugLines lines;
  Insert("abc");
  EXPECT_THAT(
      lines.All(),
      ElementsAre(
          "[CallBack_InsertText(289)]: xEntryNoWide::CallBack_InsertText \n",
          "[OnInsertText(300)]: xEntryNoWide::OnInsertText(new_text = 'abc', len = 3, pos = 0)\n"));
}

TEST_F(FilteredEntry, ARefusedWideTextIsLoggedWithoutAFilteredCopy) {
  m_Entry->SetInputRule(0x1020, kNameSet);
  const DebugLines lines;
  Insert("\xC3\xA9");
  EXPECT_THAT(lines.All(),
              ElementsAre("[CallBack_InsertText(289)]: xEntryNoWide::CallBack_InsertText \n",
                          "[OnInsertText(300)]: xEntryNoWide::OnInsertText(new_text = '\xC3\xA9', "
                          "len = 2, pos = 0)\n"));
}

TEST_F(FilteredEntry, AFilteredTextAndItsInsertionAreLogged) {
  m_Entry->SetInputRule(0x1020, kNameSet);
  m_Entry->SetWindowText("xy");
  const DebugLines lines;
  Insert("a/b", 1);
  EXPECT_THAT(
      lines.All(),
      ElementsAre(
          "[CallBack_InsertText(289)]: xEntryNoWide::CallBack_InsertText \n",
          "[OnInsertText(300)]: xEntryNoWide::OnInsertText(new_text = 'a/b', len = 3, pos = 1)\n",
          "[OnInsertText(335)]: validstr = 'ab'\n",
          "[CallBack_InsertText(289)]: xEntryNoWide::CallBack_InsertText \n",
          "[OnInsertText(300)]: xEntryNoWide::OnInsertText(new_text = 'ab', len = 2, pos = 1)\n",
          "[OnInsertText(335)]: validstr = 'ab'\n"));
}

class WatchedEntry : public xEntryNoWide {
 public:
  WatchedEntry() : xEntryNoWide(nullptr, kID, 0, 0) {}
  void OnInsertText(const char* text, int length, int* position) override {
    calls.push_back(std::string(text, static_cast<size_t>(length)) + "@" +
                    std::to_string(*position));
  }
  std::vector<std::string> calls;
};

TEST_F(FilteredEntry, InsertionsReachTheVirtualHandler) {
  WatchedEntry entry;
  entry.SetWindowText("caf\xC3\xA9");
  EXPECT_THAT(entry.calls, ElementsAre("caf\xC3\xA9@0"));
  EXPECT_STREQ("caf\xC3\xA9", entry.GetWindowText());
}

TEST_F(FilteredEntry, NullDataIsOnlyLogged) {
  const DebugLines lines;
  int position = 0;
  xEntryNoWide::CallBack_InsertText(Editable(), "abc", 3, &position, nullptr);
  EXPECT_THAT(lines.All(),
              ElementsAre("[CallBack_InsertText(289)]: xEntryNoWide::CallBack_InsertText \n"));
  EXPECT_EQ(0, m_Bells.Take());
}

// --- The handler for committed texts -----------------------------------------------------------

class CommitHandler : public FilteredEntry {
 protected:
  void SetUp() override { m_Entry->SetWindowText("scanner"); }
  void Commit(const char* text) {
    xEntryNoWide::CallBack_Commit(GTK_ENTRY(Editable())->im_context, text, m_Entry.get());
  }
};

TEST_F(CommitHandler, IsConnectedToNothing) {
  EXPECT_EQ(0u, CountHandlers(GTK_ENTRY(Editable())->im_context, m_Entry.get()));
}

TEST_F(CommitHandler, LogsTheTextAndDoesNotInsertIt) {
  const DebugLines lines;
  Commit("x");
  Commit(nullptr);
  EXPECT_EQ("scanner", Text());
  EXPECT_THAT(lines.All(),
              ElementsAre("[CallBack_Commit(260)]: xEntryNoWide::CallBack_Commit \n",
                          "[CallBack_Commit(262)]: xEntryNoWide::CallBack_Commit(str = 'x',)\n",
                          "[CallBack_Commit(260)]: xEntryNoWide::CallBack_Commit \n",
                          "[CallBack_Commit(262)]: xEntryNoWide::CallBack_Commit(str = '(null)',)"
                          "\n"));
}

TEST_F(CommitHandler, DeletesTheSelection) {
  gtk_editable_select_region(Editable(), 1, 4);
  Commit("x");
  EXPECT_EQ("sner", Text());
  EXPECT_EQ(1, gtk_editable_get_position(Editable()));
  EXPECT_FALSE(gtk_editable_get_selection_bounds(Editable(), nullptr, nullptr));
}

TEST_F(CommitHandler, DeletesTheCharacterAtTheCursorInOverwriteMode) {
  gtk_entry_set_overwrite_mode(GTK_ENTRY(Editable()), TRUE);
  gtk_editable_set_position(Editable(), 2);
  Commit("x");
  EXPECT_EQ("scnner", Text());
  EXPECT_EQ(2, gtk_editable_get_position(Editable()));
}

TEST_F(CommitHandler, DeletesOnlyTheSelectionInOverwriteMode) {
  gtk_entry_set_overwrite_mode(GTK_ENTRY(Editable()), TRUE);
  gtk_editable_select_region(Editable(), 1, 4);
  Commit("x");
  EXPECT_EQ("sner", Text());
}

TEST_F(CommitHandler, DeletesNothingInInsertMode) {
  gtk_editable_set_position(Editable(), 2);
  Commit("x");
  EXPECT_EQ("scanner", Text());
  EXPECT_EQ(2, gtk_editable_get_position(Editable()));
}

TEST_F(CommitHandler, LeavesAReadOnlyEntryAlone) {
  m_Entry->SetReadOnly(1);
  gtk_editable_select_region(Editable(), 1, 4);
  Commit("x");
  EXPECT_EQ("scanner", Text());
  EXPECT_TRUE(gtk_editable_get_selection_bounds(Editable(), nullptr, nullptr));
}

TEST_F(CommitHandler, NullDataIsOnlyLogged) {
  const DebugLines lines;
  xEntryNoWide::CallBack_Commit(nullptr, "x", nullptr);
  EXPECT_EQ(2u, lines.All().size());
}

// --- As a person uses it -----------------------------------------------------------------------

// The entry in a window that has the keyboard focus, with the rule for a computer's name.
class NameEntry : public FilteredEntry {
 protected:
  NameEntry() : m_pWindow(gtk_window_new(GTK_WINDOW_TOPLEVEL)) {
    gtk_container_add(GTK_CONTAINER(m_pWindow), m_Entry->GetWidget());
    m_Entry->SetInputRule(0x1020, kNameSet);
  }
  ~NameEntry() override { gtk_widget_destroy(m_pWindow); }

  void SetUp() override {
    ASSERT_TRUE(gtk_test::ShowAndFocus(m_pWindow));
    ASSERT_TRUE(gtk_test::PumpUntil([&] { return gtk_widget_has_focus(m_Entry->GetWidget()); }));
    m_Parent.Take();
  }

  void Type(unsigned int key) const {
    const gtk_test::SignalCount releases(m_Entry->GetWidget(), "key-release-event");
    gtk_test::PressKey(m_pWindow, key);
    ASSERT_TRUE(gtk_test::PumpUntil([&] { return releases.Count() > 0; }));
  }

  void Paste(const char* text) const {
    GtkClipboard* clipboard =
        gtk_widget_get_clipboard(m_Entry->GetWidget(), GDK_SELECTION_CLIPBOARD);
    gtk_clipboard_set_text(clipboard, text, -1);
    const DebugLines lines;
    gtk_editable_paste_clipboard(Editable());
    ASSERT_TRUE(gtk_test::PumpUntil([&] { return !lines.All().empty(); }));
  }

  GtkWidget* m_pWindow;
};

TEST_F(NameEntry, TypedCharactersOfTheSetAreTaken) {
  Type(GDK_KEY_a);
  Type(GDK_KEY_1);
  EXPECT_EQ("a1", Text());
  EXPECT_EQ(0, m_Bells.Take());
  EXPECT_THAT(m_Parent.Take(), ElementsAre("Changed 2", "Changed 2"));
}

TEST_F(NameEntry, ATypedSlashBeepsAndReportsAChange) {
  Type(GDK_KEY_a);
  m_Parent.Take();
  Type(GDK_KEY_slash);
  EXPECT_EQ("a", Text());
  EXPECT_EQ(1, m_Bells.Take());
  EXPECT_THAT(m_Parent.Take(), ElementsAre("Changed 2"));
}

TEST_F(NameEntry, ATypedWideLetterBeepsAndReportsNothing) {
  GdkEvent* event = gdk_event_new(GDK_KEY_PRESS);
  event->key.window = GDK_WINDOW(g_object_ref(gtk_widget_get_window(m_pWindow)));
  event->key.keyval = GDK_KEY_eacute;
  gtk_main_do_event(event);
  gdk_event_free(event);
  EXPECT_EQ("", Text());
  EXPECT_EQ(1, m_Bells.Take());
  EXPECT_THAT(m_Parent.Take(), IsEmpty());
}

TEST_F(NameEntry, ATextCommittedByAnInputMethodIsFiltered) {
  g_signal_emit_by_name(GTK_ENTRY(Editable())->im_context, "commit", "\xE6\xA9\x9F");
  EXPECT_EQ("", Text());
  EXPECT_EQ(1, m_Bells.Take());
  g_signal_emit_by_name(GTK_ENTRY(Editable())->im_context, "commit", "a b");
  EXPECT_EQ("ab", Text());
  EXPECT_EQ(1, m_Bells.Take());
}

TEST_F(NameEntry, PastingKeepsTheCharactersOfTheSet) {
  Paste("my pc/1");
  EXPECT_EQ("mypc1", Text());
  EXPECT_EQ(5, gtk_editable_get_position(Editable()));
  EXPECT_EQ(1, m_Bells.Take());
}

TEST_F(NameEntry, PastingAWideCharacterInsertsNothing) {
  Paste("b\xC3\xBCro");
  EXPECT_EQ("", Text());
  EXPECT_EQ(1, m_Bells.Take());
}

}  // namespace
