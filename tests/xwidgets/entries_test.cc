// Tests of entries, spin buttons, sliders, scroll bars and progress bars on real GTK widgets.
#include "xwidgets/entries.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "tests/support/gtk_test.h"
#include "tests/support/notify_recorder.h"
#include "tests/support/signal_handlers.h"
#include "tests/support/vtable_slot.h"

// Operations by the names that a program built against the library asks for, without the header.
extern "C" {
void _ZN6xEntryC2EP7xWidgetjPS_();
void _ZN11xSpinButton8SetRangeEdd();
void _ZN11xSpinButton9SetDigitsEj();
void _ZN11xSpinButton13SetIncrementsEdd();
void _ZN11xSpinButton8SetValueEd();
void _ZN11xSpinButton8GetValueEv();
void _ZN11xSpinButton11GetIntValueEv();
void _ZN6xRangeC2EP7xWidgetj();
void _ZN12xProgressBarC1EP7xWidgetjP6xEntry();
}

namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

constexpr unsigned int kID = 7;

// A window with a box, destroyed at the end of the test.
class Window {
 public:
  Window() : m_pWindow(gtk_window_new(GTK_WINDOW_TOPLEVEL)), m_pBox(gtk_vbox_new(FALSE, 0)) {
    gtk_container_add(GTK_CONTAINER(m_pWindow), m_pBox);
  }
  ~Window() { gtk_widget_destroy(m_pWindow); }
  Window(const Window&) = delete;
  Window& operator=(const Window&) = delete;

  void Add(const xWidget& control) {
    gtk_box_pack_start(GTK_BOX(m_pBox), control.GetWidget(), FALSE, FALSE, 0);
  }
  void ShowAndFocus(const xWidget& control) {
    gtk_widget_grab_focus(control.GetWidget());
    ASSERT_TRUE(gtk_test::ShowAndFocus(m_pWindow));
    ASSERT_TRUE(gtk_test::PumpUntil([&] { return gtk_widget_has_focus(control.GetWidget()); }));
  }

 private:
  GtkWidget* m_pWindow;
  GtkWidget* m_pBox;
};

// Presses and releases a key by way of the X server, and handles what comes of it.
void PressKey(const xWidget& control, unsigned int key) {
  bool released = false;
  const gulong handler = g_signal_connect_swapped(control.GetWidget(), "key-release-event",
                                                  G_CALLBACK(+[](bool* flag) -> gboolean {
                                                    *flag = true;
                                                    return FALSE;
                                                  }),
                                                  &released);
  ASSERT_TRUE(gtk_test_widget_send_key(control.GetWidget(), key, GdkModifierType{}));
  EXPECT_TRUE(gtk_test::PumpUntil([&] { return released; }));
  g_signal_handler_disconnect(control.GetWidget(), handler);
}

GtkEntry* Entry(const xEntry& entry) { return GTK_ENTRY(entry.GetWidget()); }
GtkSpinButton* Spin(const xSpinButton& spin) { return GTK_SPIN_BUTTON(spin.GetWidget()); }

// --- Order of the virtual operations -----------------------------------------------------------

TEST(EntriesSlots, EntryAddsEightOperationsAfterThoseOfWidget) {
  EXPECT_EQ(19, vtable::Slot(&xEntry::SetWindowText));
  EXPECT_EQ(20, vtable::Slot(&xEntry::GetWindowText));
  EXPECT_EQ(21, vtable::Slot(&xEntry::SetReadOnly));
  EXPECT_EQ(22, vtable::Slot(&xEntry::SetPassword));
  EXPECT_EQ(23, vtable::Slot(&xEntry::SetPasswordChar));
  EXPECT_EQ(24, vtable::Slot(&xEntry::SetLimitText));
  EXPECT_EQ(25, vtable::Slot(&xEntry::GetLimitText));
  EXPECT_EQ(26, vtable::Slot(&xEntry::OnChanged));
  EXPECT_EQ(26, vtable::SlotCount<xEntry>());
}

// Without one of them this program cannot be linked.
TEST(EntriesSymbols, OperationsThatAreNotVirtualAreInTheLibrary) {
  EXPECT_THAT(
      (std::vector<void (*)()>{_ZN6xEntryC2EP7xWidgetjPS_, _ZN11xSpinButton8SetRangeEdd,
                               _ZN11xSpinButton9SetDigitsEj, _ZN11xSpinButton13SetIncrementsEdd,
                               _ZN11xSpinButton8SetValueEd, _ZN11xSpinButton8GetValueEv,
                               _ZN11xSpinButton11GetIntValueEv, _ZN6xRangeC2EP7xWidgetj,
                               _ZN12xProgressBarC1EP7xWidgetjP6xEntry}),
      Not(Contains(nullptr)));
}

TEST(EntriesSlots, SpinButtonAddsOnlyOnValueChanged) {
  EXPECT_EQ(27, vtable::Slot(&xSpinButton::OnValueChanged));
  EXPECT_EQ(27, vtable::SlotCount<xSpinButton>());
}

TEST(EntriesSlots, RangeAddsSixOperationsAfterThoseOfWidget) {
  EXPECT_EQ(19, vtable::Slot(&xRange::SetRange));
  EXPECT_EQ(20, vtable::Slot(&xRange::SetIncrements));
  EXPECT_EQ(21, vtable::Slot(&xRange::SetValue));
  EXPECT_EQ(22, vtable::Slot(&xRange::GetValue));
  EXPECT_EQ(23, vtable::Slot(&xRange::GetIntValue));
  EXPECT_EQ(24, vtable::Slot(&xRange::OnValueChanged));
  EXPECT_EQ(24, vtable::SlotCount<xRange>());
}

TEST(EntriesSlots, SliderAddsSetDigitsAndTheOthersNothing) {
  EXPECT_EQ(25, vtable::Slot(&xSlider::SetDigits));
  EXPECT_EQ(25, vtable::SlotCount<xSlider>());
  EXPECT_EQ(24, vtable::SlotCount<xScrollbar>());
  EXPECT_EQ(18, vtable::SlotCount<xProgressBar>());
}

TEST(EntriesSlots, NoClassAddsFields) {
  EXPECT_EQ(sizeof(xWidget), sizeof(xEntry));
  EXPECT_EQ(sizeof(xWidget), sizeof(xSpinButton));
  EXPECT_EQ(sizeof(xWidget), sizeof(xSlider));
  EXPECT_EQ(sizeof(xWidget), sizeof(xScrollbar));
  EXPECT_EQ(sizeof(xWidget), sizeof(xProgressBar));
}

// --- xEntry ------------------------------------------------------------------------------------

TEST(Entry, OfWidthZeroKeepsGtksDefaultWidth) {
  xEntry entry(nullptr, kID, 0);
  GtkWidget* plain = gtk_entry_new();
  g_object_ref_sink(plain);
  GtkRequisition natural;
  gtk_widget_size_request(plain, &natural);
  int width = 0;
  entry.GetSize(&width, nullptr);
  EXPECT_EQ(-1, gtk_entry_get_width_chars(Entry(entry)));
  EXPECT_EQ(natural.width, width);
  g_object_unref(plain);
}

TEST(Entry, OfAnyOtherWidthAsksForSoManyCharacters) {
  xEntry entry(nullptr, kID, 12);
  EXPECT_EQ(12, gtk_entry_get_width_chars(Entry(entry)));
}

TEST(Entry, ConnectsFocusInThenFocusOutThenChanged) {
  xEntry entry(nullptr, kID, 0);
  const gulong focusIn = FindHandler(entry.GetWidget(), "focus-in-event", &entry);
  const gulong focusOut = FindHandler(entry.GetWidget(), "focus-out-event", &entry);
  const gulong changed = FindHandler(entry.GetWidget(), "changed", &entry);
  EXPECT_LT(0u, focusIn);
  EXPECT_LT(focusIn, focusOut);
  EXPECT_LT(focusOut, changed);
  EXPECT_EQ(3u, CountHandlers(entry.GetWidget(), &entry));
}

TEST(Entry, MadeForADerivedClassHasNoWidget) {
  xEntry other(nullptr, 1, 0);
  xEntry entry(nullptr, kID, &other);
  EXPECT_EQ(nullptr, entry.GetWidget());
}

TEST(Entry, TextSetByTheProgramIsReportedOnce) {
  NotifyRecorder parent;
  xEntry entry(&parent, kID, 0);
  entry.SetWindowText("scan");
  EXPECT_THAT(parent.Take(), ElementsAre("Changed 7"));
  EXPECT_STREQ("scan", entry.GetWindowText());
  entry.SetWindowText("other");
  EXPECT_THAT(parent.Take(), ElementsAre("Changed 7"));
  EXPECT_STREQ("other", entry.GetWindowText());
}

TEST(Entry, SettingTheSameTextReportsNothing) {
  NotifyRecorder parent;
  xEntry entry(&parent, kID, 0);
  entry.SetWindowText("scan");
  parent.Take();
  entry.SetWindowText("scan");
  EXPECT_THAT(parent.Take(), IsEmpty());
}

TEST(Entry, TakesAPartOfItsOwnTextAsNewText) {
  xEntry entry(nullptr, kID, 0);
  entry.SetWindowText("/home/user/scan");
  entry.SetWindowText(entry.GetWindowText() + 6);
  EXPECT_STREQ("user/scan", entry.GetWindowText());
}

TEST(Entry, EveryTypedCharacterIsReported) {
  NotifyRecorder parent;
  xEntry entry(&parent, kID, 0);
  Window window;
  window.Add(entry);
  window.ShowAndFocus(entry);
  parent.Take();
  PressKey(entry, GDK_KEY_a);
  EXPECT_THAT(parent.Take(), ElementsAre("Changed 7"));
  PressKey(entry, GDK_KEY_b);
  EXPECT_THAT(parent.Take(), ElementsAre("Changed 7"));
  EXPECT_STREQ("ab", entry.GetWindowText());
}

TEST(Entry, ReadOnlyTakesNoKeysButTextFromTheProgram) {
  NotifyRecorder parent;
  xEntry entry(&parent, kID, 0);
  Window window;
  window.Add(entry);
  entry.SetReadOnly(1);
  EXPECT_FALSE(gtk_editable_get_editable(GTK_EDITABLE(entry.GetWidget())));
  window.ShowAndFocus(entry);
  PressKey(entry, GDK_KEY_a);
  EXPECT_STREQ("", entry.GetWindowText());
  entry.SetWindowText("set");
  EXPECT_STREQ("set", entry.GetWindowText());
  entry.SetReadOnly(0);
  EXPECT_TRUE(gtk_editable_get_editable(GTK_EDITABLE(entry.GetWidget())));
  PressKey(entry, GDK_KEY_a);
  EXPECT_THAT(std::string(entry.GetWindowText()), ::testing::HasSubstr("a"));
}

TEST(Entry, ReadOnlyIsAnyNonZeroValue) {
  xEntry entry(nullptr, kID, 0);
  entry.SetReadOnly(-1);
  EXPECT_FALSE(gtk_editable_get_editable(GTK_EDITABLE(entry.GetWidget())));
}

TEST(Entry, PasswordHidesTheTextAndKeepsIt) {
  xEntry entry(nullptr, kID, 0);
  entry.SetWindowText("secret");
  EXPECT_TRUE(gtk_entry_get_visibility(Entry(entry)));
  entry.SetPassword(1);
  EXPECT_FALSE(gtk_entry_get_visibility(Entry(entry)));
  EXPECT_STREQ("secret", entry.GetWindowText());
  entry.SetPassword(0);
  EXPECT_TRUE(gtk_entry_get_visibility(Entry(entry)));
}

TEST(Entry, PasswordCharacterIsWhatIsShownInstead) {
  xEntry entry(nullptr, kID, 0);
  entry.SetWindowText("secret");
  entry.SetPassword(1);
  entry.SetPasswordChar('*');
  EXPECT_EQ(gunichar{'*'}, gtk_entry_get_invisible_char(Entry(entry)));
  EXPECT_STREQ("******", pango_layout_get_text(gtk_entry_get_layout(Entry(entry))));
}

TEST(Entry, PasswordCharacterAboveAsciiIsLatin1) {
  xEntry entry(nullptr, kID, 0);
  entry.SetPasswordChar('\xB7');
  EXPECT_EQ(gunichar{0xB7}, gtk_entry_get_invisible_char(Entry(entry)));
}

TEST(Entry, HasNoLimitUntilOneIsSet) {
  xEntry entry(nullptr, kID, 0);
  EXPECT_EQ(0, entry.GetLimitText());
  entry.SetLimitText(3);
  EXPECT_EQ(3, entry.GetLimitText());
  entry.SetWindowText("abcdef");
  EXPECT_STREQ("abc", entry.GetWindowText());
}

TEST(Entry, ComingAndGoingFocusIsReported) {
  NotifyRecorder parent;
  xEntry first(&parent, kID, 0);
  xEntry second(nullptr, 8, 0);
  Window window;
  window.Add(first);
  window.Add(second);
  window.ShowAndFocus(first);
  EXPECT_THAT(parent.Take(), ElementsAre("FocusChange 7 in"));
  gtk_widget_grab_focus(second.GetWidget());
  ASSERT_TRUE(gtk_test::PumpUntil([&] { return gtk_widget_has_focus(second.GetWidget()); }));
  EXPECT_THAT(parent.Take(), ElementsAre("FocusChange 7 out"));
}

TEST(Entry, TheParentsAnswerToAFocusChangeGoesBackToGtk) {
  NotifyRecorder parent;
  xEntry entry(&parent, kID, 0);
  Window window;
  window.Add(entry);
  window.ShowAndFocus(entry);
  for (const int answer : {0, -1}) {
    parent.m_iResult = answer;
    GdkEvent* event = gdk_event_new(GDK_FOCUS_CHANGE);
    event->focus_change.window = GDK_WINDOW(g_object_ref(gtk_widget_get_window(entry.GetWidget())));
    event->focus_change.in = 1;
    gboolean handled = answer;
    g_signal_emit_by_name(entry.GetWidget(), "focus-in-event", event, &handled);
    EXPECT_EQ(answer != 0, handled != 0);
    gdk_event_free(event);
  }
}

TEST(Entry, WithoutAParentReportsToNobody) {
  xEntry entry(nullptr, kID, 0);
  entry.SetWindowText("scan");
  EXPECT_STREQ("scan", entry.GetWindowText());
}

class CountingEntry : public xEntry {
 public:
  using xEntry::xEntry;
  void OnChanged() override { ++changes; }
  int changes = 0;
};

TEST(Entry, ChangesReachTheVirtualHandler) {
  NotifyRecorder parent;
  CountingEntry entry(&parent, kID, 0);
  entry.SetWindowText("x");
  EXPECT_EQ(1, entry.changes);
  EXPECT_THAT(parent.Take(), IsEmpty());
}

TEST(Entry, CallbackIgnoresNullData) {
  xEntry::CallBack_Changed(nullptr, nullptr);
  CountingEntry entry(nullptr, kID, 0);
  xEntry::CallBack_Changed(nullptr, static_cast<xEntry*>(&entry));
  EXPECT_EQ(1, entry.changes);
}

TEST(Entry, AWidgetThatOutlivesItsEntryReportsNothing) {
  NotifyRecorder parent;
  auto entry = std::make_unique<xEntry>(&parent, kID, 0);
  Window window;
  window.Add(*entry);
  GtkWidget* widget = entry->GetWidget();
  entry.reset();
  gtk_entry_set_text(GTK_ENTRY(widget), "later");
  EXPECT_THAT(parent.Take(), IsEmpty());
}

// --- xSpinButton -------------------------------------------------------------------------------

TEST(SpinButton, StartsAtTheMinimumWhateverValueIsPassed) {
  for (const double value : {2.0, 7.0, 9.5, 100.0}) {
    xSpinButton spin(nullptr, kID, 2.0, 10.0, 0.5, 1, value);
    EXPECT_EQ(2.0, spin.GetValue());
    EXPECT_STREQ("2.0", spin.GetWindowText());
  }
}

TEST(SpinButton, HasTheLimitsTheStepAndTheDigitsThatItIsMadeWith) {
  xSpinButton spin(nullptr, kID, 2.0, 10.0, 0.5, 3, 0.0);
  double min = 0;
  double max = 0;
  double step = 0;
  gtk_spin_button_get_range(Spin(spin), &min, &max);
  gtk_spin_button_get_increments(Spin(spin), &step, nullptr);
  EXPECT_EQ(2.0, min);
  EXPECT_EQ(10.0, max);
  EXPECT_EQ(0.5, step);
  EXPECT_EQ(3u, gtk_spin_button_get_digits(Spin(spin)));
}

TEST(SpinButton, TakesNumbersOnlyAndKeepsThemAtTheRight) {
  xSpinButton spin(nullptr, kID, 0.0, 10.0, 1.0, 0, 0.0);
  EXPECT_TRUE(gtk_spin_button_get_numeric(Spin(spin)));
  EXPECT_EQ(1.0F, gtk_entry_get_alignment(Entry(spin)));
}

TEST(SpinButton, ConnectsValueChangedThenChangedAndNoFocusEvents) {
  xSpinButton spin(nullptr, kID, 0.0, 10.0, 1.0, 0, 0.0);
  const gulong valueChanged = FindHandler(spin.GetWidget(), "value-changed", &spin);
  const gulong changed = FindHandler(spin.GetWidget(), "changed", &spin);
  EXPECT_LT(0u, valueChanged);
  EXPECT_LT(valueChanged, changed);
  EXPECT_EQ(2u, CountHandlers(spin.GetWidget(), &spin));
}

// What was reported when a handler is called that was connected later, and not to run last.
struct LaterHandler {
  NotifyRecorder* parent;
  std::vector<std::string> reported;

  static void Note(gpointer self) {
    auto* handler = static_cast<LaterHandler*>(self);
    for (const std::string& text : handler->parent->Take()) handler->reported.push_back(text);
  }
};

TEST(SpinButton, ReportsBeforeHandlersThatAreConnectedLater) {
  NotifyRecorder parent;
  xSpinButton spin(&parent, kID, 0.0, 10.0, 1.0, 0, 0.0);
  LaterHandler later = {&parent, {}};
  g_signal_connect_swapped(spin.GetWidget(), "value-changed", G_CALLBACK(LaterHandler::Note),
                           &later);
  spin.SetValue(5.0);
  EXPECT_THAT(later.reported, Contains("ValueChanged 7"));
}

TEST(Slider, ReportsBeforeHandlersThatAreConnectedLater) {
  NotifyRecorder parent;
  xSlider slider(SLIDER_HORIZONTAL, &parent, kID, 0.0, 10.0, 1.0, 0);
  LaterHandler later = {&parent, {}};
  g_signal_connect_swapped(slider.GetWidget(), "value-changed", G_CALLBACK(LaterHandler::Note),
                           &later);
  slider.SetValue(5.0);
  EXPECT_THAT(later.reported, ElementsAre("ValueChanged 7"));
}

TEST(SpinButton, ReportsNothingWhileItIsMade) {
  NotifyRecorder parent;
  const xSpinButton spin(&parent, kID, 2.0, 10.0, 1.0, 2, 7.0);
  EXPECT_THAT(parent.Take(), IsEmpty());
}

TEST(SpinButton, RoundsToTheNearestInteger) {
  xSpinButton spin(nullptr, kID, -10.0, 10.0, 0.1, 1, 0.0);
  spin.SetValue(2.7);
  EXPECT_EQ(3, spin.GetIntValue());
  spin.SetValue(2.2);
  EXPECT_EQ(2, spin.GetIntValue());
  spin.SetValue(-2.7);
  EXPECT_EQ(-3, spin.GetIntValue());
}

TEST(SpinButton, AValueSetByTheProgramIsReportedAsBoth) {
  NotifyRecorder parent;
  xSpinButton spin(&parent, kID, 0.0, 10.0, 1.0, 0, 0.0);
  spin.SetValue(4.0);
  EXPECT_EQ(4.0, spin.GetValue());
  EXPECT_STREQ("4", spin.GetWindowText());
  const auto calls = parent.Take();
  EXPECT_THAT(calls, Contains("ValueChanged 7"));
  EXPECT_THAT(calls, Contains("Changed 7"));
}

TEST(SpinButton, TypingReportsTheTextAndEnterTheValue) {
  NotifyRecorder parent;
  xSpinButton spin(&parent, kID, 0.0, 10.0, 1.0, 0, 0.0);
  Window window;
  window.Add(spin);
  window.ShowAndFocus(spin);
  parent.Take();
  PressKey(spin, GDK_KEY_5);
  const auto typed = parent.Take();
  EXPECT_THAT(typed, Contains("Changed 7"));
  EXPECT_THAT(typed, Not(Contains("ValueChanged 7")));
  EXPECT_EQ(0.0, spin.GetValue());
  PressKey(spin, GDK_KEY_Return);
  EXPECT_THAT(parent.Take(), Contains("ValueChanged 7"));
  EXPECT_EQ(5.0, spin.GetValue());
}

TEST(SpinButton, DoesNotReportFocus) {
  NotifyRecorder parent;
  xSpinButton spin(&parent, kID, 0.0, 10.0, 1.0, 0, 0.0);
  xEntry other(nullptr, 8, 0);
  Window window;
  window.Add(spin);
  window.Add(other);
  window.ShowAndFocus(spin);
  gtk_widget_grab_focus(other.GetWidget());
  ASSERT_TRUE(gtk_test::PumpUntil([&] { return gtk_widget_has_focus(other.GetWidget()); }));
  EXPECT_THAT(parent.Take(), IsEmpty());
}

TEST(SpinButton, ChangesItsLimitsDigitsAndIncrements) {
  xSpinButton spin(nullptr, kID, 0.0, 10.0, 1.0, 0, 0.0);
  spin.SetRange(20.0, 30.0);
  EXPECT_EQ(20.0, spin.GetValue());
  spin.SetDigits(2);
  EXPECT_STREQ("20.00", spin.GetWindowText());
  spin.SetIncrements(0.25, 5.0);
  double step = 0;
  double page = 0;
  gtk_spin_button_get_increments(Spin(spin), &step, &page);
  EXPECT_EQ(0.25, step);
  EXPECT_EQ(5.0, page);
}

class CountingSpinButton : public xSpinButton {
 public:
  using xSpinButton::xSpinButton;
  void OnValueChanged() override { ++changes; }
  int changes = 0;
};

TEST(SpinButton, ValueChangesReachTheVirtualHandlerAndNullDataNone) {
  CountingSpinButton spin(nullptr, kID, 0.0, 10.0, 1.0, 0, 0.0);
  spin.SetValue(1.0);
  EXPECT_EQ(1, spin.changes);
  xSpinButton::CallBack_ValueChanged(nullptr, nullptr);
  EXPECT_EQ(1, spin.changes);
}

TEST(SpinButton, WithoutAParentReportsToNobody) {
  xSpinButton spin(nullptr, kID, 0.0, 10.0, 1.0, 0, 0.0);
  spin.SetValue(3.0);
  EXPECT_EQ(3.0, spin.GetValue());
}

// --- xRange, xSlider, xScrollbar ---------------------------------------------------------------

TEST(Range, HasNoWidgetOfItsOwn) {
  const xRange range(nullptr, kID);
  EXPECT_EQ(nullptr, range.GetWidget());
}

TEST(Range, IntegerValueIsCutTowardZero) {
  xSlider slider(SLIDER_HORIZONTAL, nullptr, kID, -10.0, 10.0, 0.1, 1);
  slider.SetValue(2.7);
  EXPECT_DOUBLE_EQ(2.7, slider.GetValue());
  EXPECT_EQ(2, slider.GetIntValue());
  slider.SetValue(-2.7);
  EXPECT_EQ(-2, slider.GetIntValue());
}

class OffsetRange : public xSlider {
 public:
  using xSlider::xSlider;
  double GetValue() override { return xSlider::GetValue() + 100.0; }
};

TEST(Range, IntegerValueGoesThroughTheVirtualGetValue) {
  OffsetRange range(SLIDER_HORIZONTAL, nullptr, kID, 0.0, 10.0, 1.0, 0);
  range.SetValue(3.0);
  EXPECT_EQ(103, range.GetIntValue());
}

TEST(Range, SetsLimitsAndIncrements) {
  xScrollbar range(SCROLLBAR_HORIZONTAL, nullptr, kID, 0.0, 10.0);
  range.SetRange(20.0, 30.0);
  range.SetIncrements(0.5, 4.0);
  const GtkAdjustment* adjustment = gtk_range_get_adjustment(GTK_RANGE(range.GetWidget()));
  EXPECT_EQ(20.0, adjustment->lower);
  EXPECT_EQ(30.0, adjustment->upper);
  EXPECT_EQ(0.5, adjustment->step_increment);
  EXPECT_EQ(4.0, adjustment->page_increment);
  EXPECT_EQ(20.0, range.GetValue());
}

TEST(Range, ReportsEachNewValueToTheParent) {
  NotifyRecorder parent;
  xSlider slider(SLIDER_HORIZONTAL, &parent, kID, 0.0, 10.0, 1.0, 0);
  xScrollbar scrollbar(SCROLLBAR_HORIZONTAL, &parent, 8, 0.0, 10.0);
  slider.SetValue(3.0);
  scrollbar.SetValue(4.0);
  EXPECT_THAT(parent.Take(), ElementsAre("ValueChanged 7", "ValueChanged 8"));
  slider.SetValue(3.0);
  EXPECT_THAT(parent.Take(), IsEmpty());
}

TEST(Range, ReportsNothingWhileItIsMade) {
  NotifyRecorder parent;
  const xSlider slider(SLIDER_HORIZONTAL, &parent, kID, 5.0, 10.0, 1.0, 0);
  const xScrollbar scrollbar(SCROLLBAR_HORIZONTAL, &parent, 8, 5.0, 10.0);
  EXPECT_THAT(parent.Take(), IsEmpty());
}

class CountingSlider : public xSlider {
 public:
  using xSlider::xSlider;
  void OnValueChanged() override { ++changes; }
  int changes = 0;
};

TEST(Range, ValueChangesReachTheVirtualHandlerAndNullDataNone) {
  CountingSlider slider(SLIDER_HORIZONTAL, nullptr, kID, 0.0, 10.0, 1.0, 0);
  slider.SetValue(1.0);
  EXPECT_EQ(1, slider.changes);
  xRange::CallBack_ValueChanged(nullptr, nullptr);
  EXPECT_EQ(1, slider.changes);
}

TEST(Range, WithoutAParentReportsToNobody) {
  xScrollbar scrollbar(SCROLLBAR_VERTICAL, nullptr, kID, 0.0, 10.0);
  scrollbar.SetValue(3.0);
  EXPECT_EQ(3.0, scrollbar.GetValue());
}

TEST(Slider, IsHorizontalOnlyForTypeOne) {
  const xSlider type0(static_cast<SliderType>(0), nullptr, kID, 0.0, 10.0, 1.0, 0);
  const xSlider type1(static_cast<SliderType>(1), nullptr, kID, 0.0, 10.0, 1.0, 0);
  const xSlider type2(static_cast<SliderType>(2), nullptr, kID, 0.0, 10.0, 1.0, 0);
  EXPECT_TRUE(GTK_IS_VSCALE(type0.GetWidget()));
  EXPECT_TRUE(GTK_IS_HSCALE(type1.GetWidget()));
  EXPECT_TRUE(GTK_IS_VSCALE(type2.GetWidget()));
}

TEST(Slider, HasItsDigitsAndLimitsAndNoValueLabel) {
  xSlider slider(SLIDER_VERTICAL, nullptr, kID, 2.0, 10.0, 0.5, 3);
  GtkScale* scale = GTK_SCALE(slider.GetWidget());
  const GtkAdjustment* adjustment = gtk_range_get_adjustment(GTK_RANGE(scale));
  EXPECT_EQ(3, gtk_scale_get_digits(scale));
  EXPECT_FALSE(gtk_scale_get_draw_value(scale));
  EXPECT_EQ(2.0, adjustment->lower);
  EXPECT_EQ(10.0, adjustment->upper);
  EXPECT_EQ(0.5, adjustment->step_increment);
  slider.SetDigits(1);
  EXPECT_EQ(1, gtk_scale_get_digits(scale));
}

TEST(Slider, MovedByAKeyReportsItsValue) {
  NotifyRecorder parent;
  xSlider slider(SLIDER_HORIZONTAL, &parent, kID, 0.0, 10.0, 1.0, 0);
  Window window;
  window.Add(slider);
  window.ShowAndFocus(slider);
  PressKey(slider, GDK_KEY_Right);
  EXPECT_THAT(parent.Take(), ElementsAre("ValueChanged 7"));
  EXPECT_EQ(1.0, slider.GetValue());
}

TEST(Scrollbar, IsVerticalOnlyForTypeZero) {
  const xScrollbar type0(static_cast<ScrollbarType>(0), nullptr, kID, 0.0, 10.0);
  const xScrollbar type1(static_cast<ScrollbarType>(1), nullptr, kID, 0.0, 10.0);
  const xScrollbar type2(static_cast<ScrollbarType>(2), nullptr, kID, 0.0, 10.0);
  EXPECT_TRUE(GTK_IS_VSCROLLBAR(type0.GetWidget()));
  EXPECT_TRUE(GTK_IS_HSCROLLBAR(type1.GetWidget()));
  EXPECT_TRUE(GTK_IS_HSCROLLBAR(type2.GetWidget()));
}

TEST(Scrollbar, HasTheLimitsThatItIsMadeWith) {
  xScrollbar scrollbar(SCROLLBAR_VERTICAL, nullptr, kID, 5.0, 25.0);
  const GtkAdjustment* adjustment = gtk_range_get_adjustment(GTK_RANGE(scrollbar.GetWidget()));
  EXPECT_EQ(5.0, adjustment->lower);
  EXPECT_EQ(25.0, adjustment->upper);
}

// --- xProgressBar ------------------------------------------------------------------------------

TEST(ProgressBar, StartsEmptyWhateverIntegerIsPassed) {
  for (const int unused : {0, 1, 50}) {
    xProgressBar bar(nullptr, kID, unused);
    ASSERT_TRUE(GTK_IS_PROGRESS_BAR(bar.GetWidget()));
    EXPECT_EQ(0.0, gtk_progress_bar_get_fraction(GTK_PROGRESS_BAR(bar.GetWidget())));
    EXPECT_EQ(0u, CountHandlers(bar.GetWidget(), &bar));
  }
}

TEST(ProgressBar, MadeForADerivedClassHasNoWidget) {
  const xProgressBar bar(nullptr, kID, static_cast<xEntry*>(nullptr));
  EXPECT_EQ(nullptr, bar.GetWidget());
}

}  // namespace
