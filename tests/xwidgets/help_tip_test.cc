// Tests of the help tip and the drawing area, in windows on a real screen.
#include "xwidgets/help_tip.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "resource/rc_tables.h"
#include "tests/support/gtk_test.h"
#include "tests/support/notify_recorder.h"
#include "tests/support/record_layout.h"
#include "tests/support/signal_handlers.h"
#include "tests/support/vtable_slot.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr unsigned int kID = 9;
constexpr unsigned short kNoBitmap = 0;
constexpr unsigned short kIconBitmap = 100;
constexpr int kScreenWidth = 1280;
constexpr int kScreenHeight = 1024;

// A tip whose state can be seen and whose time can be set.
class Tip : public xHelpTip {
 public:
  explicit Tip(xWidget* control, const char* text = "Where scans are saved",
               unsigned short bitmapId = kNoBitmap, const char* stockId = nullptr)
      : xHelpTip(control, text, bitmapId, stockId) {}

  bool TimerRuns() const { return m_nTimer != 0; }
  unsigned int Timer() const { return m_nTimer; }
  unsigned int DisplayTime() const { return m_nDisplayTime; }
  void SetDisplayTime(unsigned int ms) { m_nDisplayTime = ms; }
  bool IsConnected() const { return m_nParentHandler != 0; }
  GtkWidget* Label() const { return m_pLabel; }
  bool IsShown() const { return gtk_widget_get_visible(m_pWidget) != 0; }
  GtkWidget* Content() const { return gtk_bin_get_child(GTK_BIN(m_pWidget)); }
  GtkWindow* Window() const { return GTK_WINDOW(m_pWidget); }

  bool FieldsAreInOrder() const {
    const auto* timer = reinterpret_cast<const char*>(&m_nTimer);
    const auto* time = reinterpret_cast<const char*>(&m_nDisplayTime);
    const auto* handler = reinterpret_cast<const char*>(&m_nParentHandler);
    const auto* label = reinterpret_cast<const char*>(&m_pLabel);
    // The first two fill the end of the base class.
    return timer < time && time < handler && handler < label && sizeof m_nTimer == 4 &&
           sizeof m_nDisplayTime == 4 && sizeof m_nParentHandler == sizeof(gulong) &&
           label + sizeof(void*) == static_cast<const char*>(static_cast<const void*>(
                                        static_cast<const xHelpTip*>(this))) +
                                        sizeof(xHelpTip);
  }

  void OnTimeout() override {
    ++timeouts;
    xHelpTip::OnTimeout();
  }
  int timeouts = 0;
};

// A tip that stays until something else than its time ends it, however slow the machine is.
class LastingTip : public Tip {
 public:
  explicit LastingTip(xWidget* control, const char* text = "Where scans are saved")
      : Tip(control, text) {
    SetDisplayTime(3600 * 1000);
  }
};

// Where a window is on the screen, asked of the X server.
std::vector<int> Place(GtkWidget* window) {
  gtk_test::Pump();
  int x = -1;
  int y = -1;
  gdk_window_get_origin(gtk_widget_get_window(window), &x, &y);
  return {x, y};
}

// Where a point of a widget is on the screen.
std::vector<int> OnScreen(GtkWidget* widget, int x, int y) {
  GtkWidget* toplevel = gtk_widget_get_toplevel(widget);
  const std::vector<int> origin = Place(toplevel);
  int left = 0;
  int top = 0;
  EXPECT_TRUE(gtk_widget_translate_coordinates(widget, toplevel, x, y, &left, &top));
  return {origin[0] + left, origin[1] + top};
}

std::vector<int> BottomRightCorner(GtkWidget* widget) {
  GtkAllocation allocation;
  gtk_widget_get_allocation(widget, &allocation);
  return OnScreen(widget, allocation.width, allocation.height);
}

void MovePointer(int x, int y) {
  gdk_display_warp_pointer(gdk_display_get_default(), gdk_screen_get_default(), x, y);
  gtk_test::Pump();
}

// A window with a windowless control (a label) and one with a window of its own (an event box), and
// the pointer out of the way.
class HelpTip : public ::testing::Test {
 protected:
  HelpTip()
      : m_pWindow(gtk_window_new(GTK_WINDOW_TOPLEVEL)),
        m_pLabel(gtk_label_new("Save to:")),
        m_pEventBox(gtk_event_box_new()) {
    Fill(m_pWindow);
    gtk_window_move(GTK_WINDOW(m_pWindow), 200, 300);
  }
  ~HelpTip() override {
    if (m_pWindow != nullptr) gtk_widget_destroy(m_pWindow);
  }

  void SetUp() override { MovePointer(kScreenWidth - 1, 1); }

  void Fill(GtkWidget* window) {
    GtkWidget* box = gtk_vbox_new(FALSE, 0);
    gtk_box_pack_start(GTK_BOX(box), gtk_label_new("Heading"), FALSE, FALSE, 10);
    gtk_box_pack_start(GTK_BOX(box), m_pLabel, FALSE, FALSE, 10);
    gtk_widget_set_size_request(m_pEventBox, 150, 40);
    gtk_box_pack_start(GTK_BOX(box), m_pEventBox, FALSE, FALSE, 10);
    gtk_container_add(GTK_CONTAINER(window), box);
    m_Control.Attach(m_pLabel);
  }

  // Takes a window that no window manager places, at exactly this position.
  void UsePopup(int x, int y) {
    gtk_widget_destroy(m_pWindow);
    m_pWindow = gtk_window_new(GTK_WINDOW_POPUP);
    m_pLabel = gtk_label_new("Save to:");
    m_pEventBox = gtk_event_box_new();
    Fill(m_pWindow);
    gtk_window_move(GTK_WINDOW(m_pWindow), x, y);
    ASSERT_TRUE(gtk_test::ShowAndWait(m_pWindow));
  }

  void ShowWindow() { ASSERT_TRUE(gtk_test::ShowAndFocus(m_pWindow)); }

  NotifyRecorder m_Control;
  GtkWidget* m_pWindow;
  GtkWidget* m_pLabel;
  GtkWidget* m_pEventBox;
};

// --- Order of operations and fields ------------------------------------------------------------

TEST(HelpTipSlots, HelpTipOverridesShowAndAddsTwoOperations) {
  EXPECT_EQ(5, vtable::Slot(&xHelpTip::Show));
  EXPECT_EQ(22, vtable::Slot(&xHelpTip::SetWindowText));
  EXPECT_EQ(23, vtable::Slot(&xHelpTip::OnTimeout));
  EXPECT_EQ(23, vtable::SlotCount<xHelpTip>());
}

TEST(HelpTipSlots, DrawingAreaAddsOnlyOnDrawing) {
  EXPECT_EQ(19, vtable::Slot(&xDrawingArea::OnDrawing));
  EXPECT_EQ(19, vtable::SlotCount<xDrawingArea>());
  EXPECT_EQ(sizeof(xWidget), sizeof(xDrawingArea));
}

TEST_F(HelpTip, HasItsFourFieldsInOrderAndNoOther) {
  EXPECT_TRUE(Tip(&m_Control).FieldsAreInOrder());
  // The widget's three pointers and its identifier, and the first two fields, have no gap in
  // between.
  EXPECT_EQ(NextPlaceFor<void*>(3 * sizeof(void*) + 12) + 2 * sizeof(void*), sizeof(xHelpTip));
}

// --- How a tip is made -------------------------------------------------------------------------

class IdTip : public xHelpTip {
 public:
  using xHelpTip::xHelpTip;
  unsigned int ID() const { return m_nID; }
};

TEST_F(HelpTip, StartsHiddenWithoutATimerOrAHandler) {
  const Tip tip(&m_Control);
  EXPECT_FALSE(tip.IsShown());
  EXPECT_FALSE(tip.TimerRuns());
  EXPECT_FALSE(tip.IsConnected());
  EXPECT_EQ(2000u, tip.DisplayTime());
  EXPECT_EQ(0xFFFFFFFFu, IdTip(&m_Control, "x", kNoBitmap, nullptr).ID());
}

TEST_F(HelpTip, IsAPopUpInTheStyleOfToolTips) {
  const Tip tip(&m_Control);
  GtkWidget* window = tip.GetWidget();
  int type = -1;
  int position = -1;
  g_object_get(window, "type", &type, "window-position", &position, nullptr);
  EXPECT_EQ(GTK_WINDOW_POPUP, type);
  EXPECT_EQ(1, position);
  EXPECT_STREQ("gtk-tooltips", gtk_widget_get_name(window));
  EXPECT_EQ(10, gtk_window_get_type_hint(tip.Window()));
  EXPECT_TRUE(gtk_widget_get_app_paintable(window));
  EXPECT_EQ(4u, gtk_container_get_border_width(GTK_CONTAINER(window)));
  EXPECT_EQ(0x3FFFFE, gtk_widget_get_events(window) & 0x3FFFFE);
  EXPECT_TRUE(gtk_widget_has_rc_style(window) || gtk_widget_get_style(window) != nullptr);
}

TEST_F(HelpTip, CannotBeShrunkOrGrown) {
  const Tip tip(&m_Control);
  gboolean shrink = TRUE;
  gboolean grow = TRUE;
  g_object_get(tip.GetWidget(), "allow-shrink", &shrink, "allow-grow", &grow, nullptr);
  EXPECT_FALSE(shrink);
  EXPECT_FALSE(grow);
}

TEST_F(HelpTip, TextAloneIsAWrappedLabel) {
  const Tip tip(&m_Control, "text");
  ASSERT_TRUE(GTK_IS_LABEL(tip.Content()));
  EXPECT_STREQ("text", gtk_label_get_text(GTK_LABEL(tip.Content())));
  EXPECT_TRUE(gtk_label_get_line_wrap(GTK_LABEL(tip.Content())));
  EXPECT_EQ(tip.Label(), tip.Content());
}

TEST_F(HelpTip, MarkupAndFormatsInTheTextAreText) {
  const char text[] = "<b>A & B</b> &lt; %s%n";
  for (const char* icon : {static_cast<const char*>(nullptr), GTK_STOCK_DIALOG_INFO}) {
    Tip tip(&m_Control, text, kNoBitmap, icon);
    EXPECT_STREQ(text, gtk_label_get_text(GTK_LABEL(tip.Label())));
    EXPECT_FALSE(gtk_label_get_use_markup(GTK_LABEL(tip.Label())));
    tip.SetWindowText("");
    tip.SetWindowText(text);
    EXPECT_STREQ(text, gtk_label_get_text(GTK_LABEL(tip.Label())));
  }
}

// Checks the row of an icon and a label, and returns the icon.
GtkImage* IconBeforeLabel(const Tip& tip) {
  GtkWidget* box = tip.Content();
  EXPECT_TRUE(GTK_IS_HBOX(box));
  EXPECT_EQ(2, gtk_box_get_spacing(GTK_BOX(box)));
  EXPECT_FALSE(gtk_box_get_homogeneous(GTK_BOX(box)));
  const std::vector<GtkWidget*> children = gtk_test::Children(box);
  EXPECT_EQ(2u, children.size());
  for (GtkWidget* child : children) {
    EXPECT_EQ(0, gtk_test::ChildProperty(box, child, "expand"));
    EXPECT_EQ(0, gtk_test::ChildProperty(box, child, "fill"));
    EXPECT_EQ(0, gtk_test::ChildProperty(box, child, "padding"));
    EXPECT_EQ(GTK_PACK_START, gtk_test::ChildProperty(box, child, "pack-type"));
  }
  EXPECT_EQ(tip.Label(), children.back());
  EXPECT_TRUE(gtk_label_get_line_wrap(GTK_LABEL(tip.Label())));
  return GTK_IS_IMAGE(children.front()) ? GTK_IMAGE(children.front()) : nullptr;
}

TEST_F(HelpTip, AStockIconStandsBeforeTheTextAtButtonSize) {
  const Tip tip(&m_Control, "text", kNoBitmap, GTK_STOCK_DIALOG_INFO);
  GtkImage* image = IconBeforeLabel(tip);
  ASSERT_NE(nullptr, image);
  char* stockId = nullptr;
  GtkIconSize size{};
  gtk_image_get_stock(image, &stockId, &size);
  EXPECT_STREQ(GTK_STOCK_DIALOG_INFO, stockId);
  EXPECT_EQ(GTK_ICON_SIZE_BUTTON, size);
}

TEST_F(HelpTip, ABitmapStandsBeforeTheText) {
  const Tip tip(&m_Control, "text", kIconBitmap);
  GtkImage* image = IconBeforeLabel(tip);
  ASSERT_NE(nullptr, image);
  ASSERT_NE(nullptr, rc_load_Pixbuf(kIconBitmap));
  EXPECT_EQ(rc_load_Pixbuf(kIconBitmap), gtk_image_get_pixbuf(image));
}

TEST_F(HelpTip, AStockIconWinsOverABitmap) {
  const Tip tip(&m_Control, "text", kIconBitmap, GTK_STOCK_DIALOG_INFO);
  GtkImage* image = IconBeforeLabel(tip);
  ASSERT_NE(nullptr, image);
  EXPECT_EQ(GTK_IMAGE_STOCK, gtk_image_get_storage_type(image));
}

TEST_F(HelpTip, WithNeitherTextNorIconIsAnEmptyStyledPopUp) {
  const Tip tip(&m_Control, nullptr);
  EXPECT_EQ(nullptr, tip.Content());
  EXPECT_EQ(nullptr, tip.Label());
  EXPECT_STREQ("gtk-tooltips", gtk_widget_get_name(tip.GetWidget()));
  EXPECT_EQ(4u, gtk_container_get_border_width(GTK_CONTAINER(tip.GetWidget())));
}

TEST_F(HelpTip, AnIconWithoutTextIsLeftOut) {
  EXPECT_EQ(nullptr, Tip(&m_Control, nullptr, kIconBitmap).Content());
  EXPECT_EQ(nullptr, Tip(&m_Control, nullptr, kNoBitmap, GTK_STOCK_OK).Content());
}

TEST_F(HelpTip, AnEmptyTextIsAText) {
  const Tip tip(&m_Control, "");
  EXPECT_NE(nullptr, tip.Label());
}

TEST_F(HelpTip, TheTextCanBeReplaced) {
  Tip tip(&m_Control, "text");
  tip.SetWindowText("other");
  EXPECT_STREQ("other", gtk_label_get_text(GTK_LABEL(tip.Label())));
}

TEST_F(HelpTip, ATipMadeWithoutTextTakesNone) {
  Tip tip(&m_Control, nullptr);
  const gtk_test::Warnings warnings;
  tip.SetWindowText("text");
  EXPECT_EQ(nullptr, tip.Content());
  EXPECT_THAT(warnings.Messages(), IsEmpty());
}

TEST_F(HelpTip, TheTextOfADestroyedTipCannotBeReplaced) {
  Tip tip(&m_Control, "text");
  tip.Destroy();
  tip.SetWindowText("other");
  EXPECT_EQ(nullptr, tip.Label());
}

TEST_F(HelpTip, ListensToItsWindowsExposureAndEvents) {
  Tip tip(&m_Control);
  EXPECT_NE(0u, FindHandler(tip.GetWidget(), "expose-event", &tip));
  EXPECT_NE(0u, FindHandler(tip.GetWidget(), "event-after", &tip));
  EXPECT_EQ(2u, CountHandlers(tip.GetWidget(), &tip));
}

// --- Showing and hiding ------------------------------------------------------------------------

TEST_F(HelpTip, ShowConnectsToTheControlsWindowAndStartsTheTimer) {
  ShowWindow();
  LastingTip tip(&m_Control);
  tip.Show(1);
  EXPECT_TRUE(tip.IsShown());
  EXPECT_TRUE(gtk_widget_get_visible(tip.Label()));
  EXPECT_TRUE(tip.TimerRuns());
  EXPECT_TRUE(tip.IsConnected());
  EXPECT_NE(0u, FindHandler(m_pWindow, "event-after", &tip));
  EXPECT_EQ(32, gtk_widget_get_events(m_pWindow) & 32);
}

TEST_F(HelpTip, IsShownBeforeTheTimerRunsAndBeforeItIsMoved) {
  ShowWindow();
  struct AtShow {
    const Tip* tip;
    bool connected;
    bool timerRan;
    std::vector<int> place;
  } atShow{};
  LastingTip tip(&m_Control);
  atShow.tip = &tip;
  g_signal_connect_swapped(tip.GetWidget(), "map", G_CALLBACK(+[](AtShow* seen) {
                             seen->connected = seen->tip->IsConnected();
                             seen->timerRan = seen->tip->TimerRuns();
                             seen->place = Place(seen->tip->GetWidget());
                           }),
                           &atShow);
  tip.Show(1);
  EXPECT_TRUE(atShow.connected);
  EXPECT_FALSE(atShow.timerRan);
  ASSERT_FALSE(atShow.place.empty());
  EXPECT_NE(BottomRightCorner(m_pLabel), atShow.place);
  EXPECT_EQ(BottomRightCorner(m_pLabel), Place(tip.GetWidget()));
}

TEST_F(HelpTip, GoesAwayAfterTwoSeconds) {
  ShowWindow();
  Tip tip(&m_Control);
  const gint64 start = g_get_monotonic_time();
  tip.Show(1);
  ASSERT_TRUE(gtk_test::PumpUntil([&] { return !tip.IsShown(); }));
  EXPECT_LE(2000, (g_get_monotonic_time() - start) / 1000);
  EXPECT_EQ(1, tip.timeouts);
  EXPECT_FALSE(tip.TimerRuns());
  EXPECT_FALSE(tip.IsConnected());
  EXPECT_EQ(0u, CountHandlers(m_pWindow, &tip));
}

TEST_F(HelpTip, TheTimerRunsOnce) {
  LastingTip tip(&m_Control);
  EXPECT_FALSE(xHelpTip::CallBack_Timeout(&tip));
  EXPECT_EQ(1, tip.timeouts);
}

TEST_F(HelpTip, ShowWhileShownStartsTheTimeAgainWithoutConnectingTwice) {
  ShowWindow();
  LastingTip tip(&m_Control);
  tip.Show(1);
  const unsigned int firstTimer = tip.Timer();
  gtk_widget_hide(tip.Label());
  tip.Show(1);
  EXPECT_NE(firstTimer, tip.Timer());
  EXPECT_EQ(nullptr, g_main_context_find_source_by_id(nullptr, firstTimer));
  EXPECT_NE(nullptr, g_main_context_find_source_by_id(nullptr, tip.Timer()));
  EXPECT_EQ(1u, CountHandlers(m_pWindow, &tip));
  EXPECT_FALSE(gtk_widget_get_visible(tip.Label())) << "the content is shown once only";
}

TEST_F(HelpTip, ShowWhileShownFollowsTheControl) {
  UsePopup(200, 300);
  LastingTip tip(&m_Control);
  tip.Show(1);
  gtk_window_move(GTK_WINDOW(m_pWindow), 500, 400);
  ASSERT_TRUE(gtk_test::PumpUntil([&] { return Place(m_pWindow) == std::vector<int>{500, 400}; }));
  tip.Show(1);
  EXPECT_EQ(BottomRightCorner(m_pLabel), Place(tip.GetWidget()));
}

TEST_F(HelpTip, ShowZeroHidesAndDisconnects) {
  ShowWindow();
  LastingTip tip(&m_Control);
  tip.Show(1);
  const unsigned int timer = tip.Timer();
  tip.Show(0);
  EXPECT_FALSE(tip.IsShown());
  EXPECT_FALSE(tip.TimerRuns());
  EXPECT_EQ(nullptr, g_main_context_find_source_by_id(nullptr, timer));
  EXPECT_FALSE(tip.IsConnected());
  EXPECT_EQ(0u, CountHandlers(m_pWindow, &tip));
  EXPECT_EQ(0, tip.timeouts);
}

TEST_F(HelpTip, ShowZeroOnAHiddenTipOnlyCancelsAPendingTimer) {
  ShowWindow();
  LastingTip tip(&m_Control);
  GdkEvent* leave = gdk_event_new(GDK_LEAVE_NOTIFY);
  xHelpTip::CallBack_Event_After(tip.GetWidget(), leave, &tip);
  gdk_event_free(leave);
  ASSERT_TRUE(tip.TimerRuns());
  gtk_widget_show(tip.GetWidget());
  tip.Show(0);
  EXPECT_FALSE(tip.TimerRuns());
  EXPECT_TRUE(tip.IsShown()) << "the window is not touched";
}

TEST_F(HelpTip, CanBeShownAgainAfterItWentAway) {
  ShowWindow();
  Tip tip(&m_Control);
  tip.SetDisplayTime(20);
  tip.Show(1);
  ASSERT_TRUE(gtk_test::PumpUntil([&] { return !tip.IsShown(); }));
  tip.Show(1);
  EXPECT_TRUE(tip.IsShown());
  ASSERT_TRUE(gtk_test::PumpUntil([&] { return !tip.IsShown(); }));
  EXPECT_EQ(2, tip.timeouts);
}

TEST_F(HelpTip, WithoutAControlIsNotShown) {
  Tip orphan(nullptr);
  orphan.Show(1);
  EXPECT_FALSE(orphan.IsShown());
  orphan.Show(0);
  xWidget nothing(nullptr, kID);
  Tip tip(&nothing);
  tip.Show(1);
  EXPECT_FALSE(tip.IsShown());
}

TEST_F(HelpTip, OfAControlThatIsNotRealisedAppearsWithoutAWarning) {
  LastingTip tip(&m_Control);
  const gtk_test::Warnings warnings;
  tip.Show(1);
  EXPECT_TRUE(tip.IsShown());
  EXPECT_THAT(warnings.Messages(), IsEmpty());
}

// --- Where it appears --------------------------------------------------------------------------

TEST_F(HelpTip, AppearsAtTheCornerOfAControlWithoutAWindow) {
  UsePopup(200, 300);
  ASSERT_FALSE(gtk_widget_get_has_window(m_pLabel));
  GtkAllocation allocation;
  gtk_widget_get_allocation(m_pLabel, &allocation);
  ASSERT_NE(0, allocation.y);
  LastingTip tip(&m_Control);
  tip.Show(1);
  EXPECT_THAT(Place(tip.GetWidget()), ElementsAre(200 + allocation.x + allocation.width,
                                                  300 + allocation.y + allocation.height));
}

TEST_F(HelpTip, AppearsAtTheCornerOfAControlWithAWindow) {
  UsePopup(200, 300);
  ASSERT_TRUE(gtk_widget_get_has_window(m_pEventBox));
  GtkAllocation allocation;
  gtk_widget_get_allocation(m_pEventBox, &allocation);
  ASSERT_NE(0, allocation.y);
  m_Control.Attach(m_pEventBox);
  LastingTip tip(&m_Control);
  tip.Show(1);
  EXPECT_THAT(Place(tip.GetWidget()), ElementsAre(200 + allocation.x + allocation.width,
                                                  300 + allocation.y + allocation.height));
}

TEST_F(HelpTip, NearTheRightEdgeEndsAtTheEdge) {
  UsePopup(kScreenWidth - 30, 300);
  LastingTip tip(&m_Control);
  tip.Show(1);
  int width = 0;
  tip.GetSize(&width, nullptr);
  EXPECT_LT(30, width);
  EXPECT_THAT(Place(tip.GetWidget()),
              ElementsAre(kScreenWidth - width, BottomRightCorner(m_pLabel)[1]));
}

TEST_F(HelpTip, NearTheBottomEdgeIsNotMoved) {
  UsePopup(200, kScreenHeight - 20);
  LastingTip tip(&m_Control);
  tip.Show(1);
  EXPECT_EQ(BottomRightCorner(m_pLabel), Place(tip.GetWidget()));
  EXPECT_LT(kScreenHeight, Place(tip.GetWidget())[1]);
}

TEST_F(HelpTip, LeftOfTheScreenIsMovedToItsEdge) {
  UsePopup(-600, 300);
  LastingTip tip(&m_Control);
  tip.Show(1);
  EXPECT_THAT(Place(tip.GetWidget()), ElementsAre(0, BottomRightCorner(m_pLabel)[1]));
}

TEST_F(HelpTip, WiderThanTheScreenEndsAtTheRightEdgeAllTheSame) {
  UsePopup(200, 300);
  LastingTip tip(&m_Control);
  gtk_widget_set_size_request(tip.GetWidget(), kScreenWidth + 100, -1);
  tip.Show(1);
  EXPECT_EQ(-100, Place(tip.GetWidget())[0]);
}

// --- Events on the tip -------------------------------------------------------------------------

TEST_F(HelpTip, ThePointerOnItKeepsItAndLeavingStartsTheTime) {
  ShowWindow();
  LastingTip tip(&m_Control);
  tip.Show(1);
  const std::vector<int> place = Place(tip.GetWidget());
  MovePointer(place[0] + 5, place[1] + 5);
  ASSERT_TRUE(gtk_test::PumpUntil([&] { return !tip.TimerRuns(); }));
  EXPECT_TRUE(tip.IsShown());
  tip.SetDisplayTime(20);
  MovePointer(kScreenWidth - 1, 1);
  ASSERT_TRUE(gtk_test::PumpUntil([&] { return !tip.IsShown(); }));
  EXPECT_EQ(1, tip.timeouts);
}

TEST_F(HelpTip, EnteringRemovesThePendingTimer) {
  LastingTip tip(&m_Control);
  GdkEvent* leave = gdk_event_new(GDK_LEAVE_NOTIFY);
  GdkEvent* enter = gdk_event_new(GDK_ENTER_NOTIFY);
  xHelpTip::CallBack_Event_After(tip.GetWidget(), leave, &tip);
  const unsigned int timer = tip.Timer();
  EXPECT_NE(nullptr, g_main_context_find_source_by_id(nullptr, timer));
  xHelpTip::CallBack_Event_After(tip.GetWidget(), enter, &tip);
  EXPECT_FALSE(tip.TimerRuns());
  EXPECT_EQ(nullptr, g_main_context_find_source_by_id(nullptr, timer));
  gdk_event_free(leave);
  gdk_event_free(enter);
}

TEST_F(HelpTip, LeavingTwiceLeavesOneTimer) {
  LastingTip tip(&m_Control);
  GdkEvent* leave = gdk_event_new(GDK_LEAVE_NOTIFY);
  xHelpTip::CallBack_Event_After(tip.GetWidget(), leave, &tip);
  const unsigned int first = tip.Timer();
  xHelpTip::CallBack_Event_After(tip.GetWidget(), leave, &tip);
  EXPECT_NE(first, tip.Timer());
  EXPECT_EQ(nullptr, g_main_context_find_source_by_id(nullptr, first));
  gdk_event_free(leave);
}

TEST_F(HelpTip, ADoubleClickEndsItAtOnce) {
  ShowWindow();
  LastingTip tip(&m_Control);
  tip.Show(1);
  gtk_test::Pump();
  GdkWindow* window = gtk_widget_get_window(tip.GetWidget());
  for (const GdkEventType type : {GDK_BUTTON_PRESS, GDK_BUTTON_RELEASE, GDK_BUTTON_PRESS}) {
    EXPECT_TRUE(tip.IsShown());
    ASSERT_TRUE(gdk_test_simulate_button(window, 3, 3, 1, GdkModifierType{}, type));
    gtk_test::Pump();
  }
  ASSERT_TRUE(gtk_test::PumpUntil([&] { return !tip.IsShown(); }));
  EXPECT_EQ(1, tip.timeouts);
}

TEST_F(HelpTip, ADoubleClickLeavesNoTimerThatWouldCutTheNextTimeShort) {
  ShowWindow();
  LastingTip tip(&m_Control);
  tip.Show(1);
  const unsigned int timer = tip.Timer();
  GdkEvent* click = gdk_event_new(GDK_2BUTTON_PRESS);
  xHelpTip::CallBack_Event_After(tip.GetWidget(), click, &tip);
  gdk_event_free(click);
  EXPECT_EQ(1, tip.timeouts);
  EXPECT_FALSE(tip.IsShown());
  EXPECT_EQ(nullptr, g_main_context_find_source_by_id(nullptr, timer));
}

TEST_F(HelpTip, HearsOfAnEventOnItselfAfterHandlersThatAreNotToRunLast) {
  LastingTip tip(&m_Control);
  struct Seen {
    const Tip* tip;
    int timeouts;
  } seen = {&tip, -1};
  g_signal_connect_swapped(tip.GetWidget(), "event-after",
                           G_CALLBACK(+[](Seen* self) { self->timeouts = self->tip->timeouts; }),
                           &seen);
  GdkEvent* click = gdk_event_new(GDK_2BUTTON_PRESS);
  g_signal_emit_by_name(tip.GetWidget(), "event-after", click);
  gdk_event_free(click);
  EXPECT_EQ(0, seen.timeouts);
  EXPECT_EQ(1, tip.timeouts);
}

TEST_F(HelpTip, ASingleClickAndMotionChangeNothing) {
  ShowWindow();
  LastingTip tip(&m_Control);
  tip.Show(1);
  const unsigned int timer = tip.Timer();
  for (const GdkEventType type : {GDK_BUTTON_PRESS, GDK_3BUTTON_PRESS, GDK_MOTION_NOTIFY}) {
    GdkEvent* event = gdk_event_new(type);
    xHelpTip::CallBack_Event_After(tip.GetWidget(), event, &tip);
    gdk_event_free(event);
  }
  EXPECT_EQ(timer, tip.Timer());
  EXPECT_TRUE(tip.IsShown());
}

// --- Events on the control's window ------------------------------------------------------------

class OtherWindow {
 public:
  OtherWindow() : m_pWindow(gtk_window_new(GTK_WINDOW_TOPLEVEL)) {}
  ~OtherWindow() { gtk_widget_destroy(m_pWindow); }
  OtherWindow(const OtherWindow&) = delete;
  OtherWindow& operator=(const OtherWindow&) = delete;
  void TakeFocus() { ASSERT_TRUE(gtk_test::ShowAndFocus(m_pWindow)); }

 private:
  GtkWidget* m_pWindow;
};

TEST_F(HelpTip, LosingTheFocusOfTheControlsWindowHidesItAtOnce) {
  ShowWindow();
  LastingTip tip(&m_Control);
  tip.Show(1);
  gtk_test::Pump();
  EXPECT_TRUE(tip.IsShown());
  OtherWindow other;
  other.TakeFocus();
  ASSERT_TRUE(gtk_test::PumpUntil([&] { return !tip.IsShown(); }));
  EXPECT_EQ(1, tip.timeouts);
  EXPECT_FALSE(tip.TimerRuns());
}

TEST_F(HelpTip, GettingTheFocusKeepsIt) {
  ShowWindow();
  OtherWindow other;
  other.TakeFocus();
  ASSERT_TRUE(gtk_test::PumpUntil([&] { return !gtk_window_is_active(GTK_WINDOW(m_pWindow)); }));
  LastingTip tip(&m_Control);
  tip.Show(1);
  ASSERT_TRUE(gtk_test::ShowAndFocus(m_pWindow));
  gtk_test::Pump();
  EXPECT_TRUE(tip.IsShown());
  EXPECT_EQ(0, tip.timeouts);
}

// Whether the window has got the state that was asked for.
bool HasState(GtkWidget* window, GdkWindowState state) {
  return (gdk_window_get_state(gtk_widget_get_window(window)) & state) != 0;
}

TEST_F(HelpTip, ANewStateOfTheActiveWindowKeepsIt) {
  ShowWindow();
  LastingTip tip(&m_Control);
  tip.Show(1);
  gtk_window_maximize(GTK_WINDOW(m_pWindow));
  ASSERT_TRUE(gtk_test::PumpUntil([&] { return HasState(m_pWindow, GDK_WINDOW_STATE_MAXIMIZED); }));
  gtk_test::Pump();
  EXPECT_TRUE(tip.IsShown());
  EXPECT_EQ(0, tip.timeouts);
}

TEST_F(HelpTip, ANewStateOfAnInactiveWindowHidesIt) {
  ShowWindow();
  OtherWindow other;
  other.TakeFocus();
  ASSERT_TRUE(gtk_test::PumpUntil([&] { return !gtk_window_is_active(GTK_WINDOW(m_pWindow)); }));
  LastingTip tip(&m_Control);
  tip.Show(1);
  gtk_test::Pump();
  ASSERT_TRUE(tip.IsShown());
  gtk_window_maximize(GTK_WINDOW(m_pWindow));
  ASSERT_TRUE(gtk_test::PumpUntil([&] { return HasState(m_pWindow, GDK_WINDOW_STATE_MAXIMIZED); }));
  ASSERT_TRUE(gtk_test::PumpUntil([&] { return !tip.IsShown(); }));
  EXPECT_EQ(1, tip.timeouts);
}

TEST_F(HelpTip, EventsOfTheControlsWindowGoOn) {
  ShowWindow();
  LastingTip tip(&m_Control);
  tip.Show(1);
  GdkEvent* event = gdk_event_new(GDK_FOCUS_CHANGE);
  event->focus_change.in = 1;
  EXPECT_FALSE(xHelpTip::CallBack_ParentEventHandler(m_pWindow, event, &tip));
  EXPECT_TRUE(tip.IsShown());
  event->focus_change.in = 0;
  EXPECT_FALSE(xHelpTip::CallBack_ParentEventHandler(m_pWindow, event, &tip));
  EXPECT_FALSE(tip.IsShown());
  gdk_event_free(event);
}

TEST_F(HelpTip, OutlivesTheControlsWindow) {
  ShowWindow();
  Tip tip(&m_Control);
  tip.SetDisplayTime(20);
  tip.Show(1);
  gtk_widget_destroy(m_pWindow);
  m_pWindow = nullptr;
  ASSERT_TRUE(gtk_test::PumpUntil([&] { return !tip.IsShown(); }));
  EXPECT_FALSE(tip.IsConnected());
}

TEST_F(HelpTip, ListensToTheNextWindowOfItsControlWhenTheFirstIsGone) {
  ShowWindow();
  LastingTip tip(&m_Control);
  tip.Show(1);
  gtk_widget_destroy(m_pWindow);
  m_pWindow = gtk_window_new(GTK_WINDOW_TOPLEVEL);
  m_pLabel = gtk_label_new("Save to:");
  m_pEventBox = gtk_event_box_new();
  Fill(m_pWindow);
  ShowWindow();
  tip.Show(1);
  EXPECT_EQ(1u, CountHandlers(m_pWindow, &tip));
  tip.Show(0);
  EXPECT_EQ(0u, CountHandlers(m_pWindow, &tip));
}

TEST_F(HelpTip, ListensToTheWindowThatItsControlHasLeft) {
  ShowWindow();
  LastingTip tip(&m_Control);
  tip.Show(1);
  g_object_ref(m_pLabel);
  gtk_container_remove(GTK_CONTAINER(gtk_widget_get_parent(m_pLabel)), m_pLabel);
  EXPECT_EQ(1u, CountHandlers(m_pWindow, &tip));
  tip.Show(0);
  EXPECT_EQ(0u, CountHandlers(m_pWindow, &tip));
  g_object_unref(m_pLabel);
}

TEST_F(HelpTip, TwoTipsOfOneWindowAreHiddenOneByOne) {
  ShowWindow();
  LastingTip first(&m_Control);
  auto second = std::make_unique<LastingTip>(&m_Control);
  first.Show(1);
  second->Show(1);
  const void* address = second.get();
  first.Show(0);
  EXPECT_EQ(0u, CountHandlers(m_pWindow, &first));
  EXPECT_EQ(1u, CountHandlers(m_pWindow, second.get()));
  EXPECT_TRUE(second->IsShown());
  second.reset();
  EXPECT_EQ(0u, CountHandlers(m_pWindow, const_cast<void*>(address)));
}

TEST_F(HelpTip, DeletedAfterTheControlsWindowIsNotTouchedByIt) {
  // The window's memory is kept, so that what it might still do to the tip is seen.
  ShowWindow();
  g_object_ref(m_pWindow);
  GtkWidget* window = m_pWindow;
  alignas(LastingTip) unsigned char memory[sizeof(LastingTip)];
  auto* tip = new (memory) LastingTip(&m_Control);
  tip->Show(1);
  tip->~LastingTip();
  std::fill(std::begin(memory), std::end(memory), 0x5A);
  gtk_widget_destroy(window);
  m_pWindow = nullptr;
  g_object_unref(window);
  EXPECT_THAT(memory, ::testing::Each(0x5A));
}

TEST_F(HelpTip, ItsLabelForgetsItWhenItIsDeleted) {
  alignas(Tip) unsigned char memory[sizeof(Tip)];
  auto* tip = new (memory) Tip(&m_Control);
  GtkWidget* window = tip->GetWidget();
  tip->~Tip();
  std::fill(std::begin(memory), std::end(memory), 0x5A);  // somebody else's now
  gtk_widget_destroy(window);
  EXPECT_THAT(memory, ::testing::Each(0x5A));
}

TEST_F(HelpTip, DeletedWhileShownIsHiddenAndForgotten) {
  ShowWindow();
  auto tip = std::make_unique<LastingTip>(&m_Control);
  tip->Show(1);
  const unsigned int timer = tip->Timer();
  const void* address = tip.get();
  GtkWidget* window = tip->GetWidget();
  tip.reset();
  EXPECT_FALSE(gtk_widget_get_visible(window));
  EXPECT_EQ(nullptr, g_main_context_find_source_by_id(nullptr, timer));
  EXPECT_EQ(0u, CountHandlers(m_pWindow, const_cast<void*>(address)));
  EXPECT_EQ(0u, CountHandlers(window, const_cast<void*>(address)));
  gtk_widget_destroy(window);
}

// --- What is drawn -----------------------------------------------------------------------------

// The pixels of a window on the screen.
class Picture {
 public:
  explicit Picture(GtkWidget* widget) {
    GdkWindow* window = gtk_widget_get_window(widget);
    width = gdk_window_get_width(window);
    height = gdk_window_get_height(window);
    m_pPixels = gdk_pixbuf_get_from_drawable(nullptr, window, nullptr, 0, 0, 0, 0, width, height);
  }
  ~Picture() { g_object_unref(m_pPixels); }
  Picture(const Picture&) = delete;
  Picture& operator=(const Picture&) = delete;

  // The sum of a pixel's red, green and blue, 0 for black.
  int Brightness(int x, int y) const {
    const std::ptrdiff_t offset = std::ptrdiff_t{y} * gdk_pixbuf_get_rowstride(m_pPixels) +
                                  std::ptrdiff_t{x} * gdk_pixbuf_get_n_channels(m_pPixels);
    const guchar* pixel = gdk_pixbuf_get_pixels(m_pPixels) + offset;
    return pixel[0] + pixel[1] + pixel[2];
  }
  bool BorderIsBlack() const {
    for (int x = 0; x < width; ++x) {
      if (Brightness(x, 0) + Brightness(x, height - 1) > 0) return false;
    }
    for (int y = 0; y < height; ++y) {
      if (Brightness(0, y) + Brightness(width - 1, y) > 0) return false;
    }
    return true;
  }
  bool HasDarkInside() const {
    for (int y = 2; y < height - 2; ++y) {
      for (int x = 2; x < width - 2; ++x) {
        if (Brightness(x, y) < 3 * 128) return true;
      }
    }
    return false;
  }

  int width;
  int height;

 private:
  GdkPixbuf* m_pPixels;
};

TEST_F(HelpTip, IsDrawnAsAToolTipWithItsTextOverIt) {
  ShowWindow();
  LastingTip tip(&m_Control, "||||||||");
  const gtk_test::SignalCount exposures(tip.GetWidget(), "expose-event");
  tip.Show(1);
  ASSERT_TRUE(gtk_test::PumpUntil([&] { return exposures.Count() > 0; }));
  gtk_test::Pump();
  const Picture picture(tip.GetWidget());
  EXPECT_TRUE(picture.BorderIsBlack()) << "the theme's tool tips have a black border";
  EXPECT_TRUE(picture.HasDarkInside()) << "the text is missing";
}

TEST_F(HelpTip, ExposureIsNotTheLastWord) {
  ShowWindow();
  LastingTip tip(&m_Control);
  tip.Show(1);
  EXPECT_FALSE(xHelpTip::CallBack_Expose_Event(tip.GetWidget(), nullptr, &tip));
}

// --- xDrawingArea ------------------------------------------------------------------------------

// Notes the exposed rectangles.
class DrawingParent : public NotifyRecorder {
 public:
  int OnNofityDrawing(unsigned int id, GdkEventExpose* event) override {
    areas.push_back({event->area.x, event->area.y, event->area.width, event->area.height});
    return NotifyRecorder::OnNofityDrawing(id, event);
  }
  std::vector<std::vector<int>> areas;
};

class DrawingArea : public ::testing::Test {
 protected:
  DrawingArea()
      : m_Area(std::make_unique<xDrawingArea>(&m_Parent, kID)),
        m_pWindow(gtk_window_new(GTK_WINDOW_POPUP)) {
    m_Area->SetSize(100, 80);
    gtk_container_add(GTK_CONTAINER(m_pWindow), m_Area->GetWidget());
  }
  ~DrawingArea() override { gtk_widget_destroy(m_pWindow); }

  void ShowWindow() {
    ASSERT_TRUE(gtk_test::ShowAndWait(m_pWindow));
    ASSERT_TRUE(gtk_test::PumpUntil([&] { return !m_Parent.areas.empty(); }));
    gtk_test::Pump();
    gdk_window_process_all_updates();
  }

  void Forget() {
    m_Parent.areas.clear();
    m_Parent.Take();
  }

  DrawingParent m_Parent;
  std::unique_ptr<xDrawingArea> m_Area;
  GtkWidget* m_pWindow;
};

TEST_F(DrawingArea, ExposureReachesTheParent) {
  ASSERT_TRUE(GTK_IS_DRAWING_AREA(m_Area->GetWidget()));
  EXPECT_NE(0u, FindHandler(m_Area->GetWidget(), "expose-event", m_Area.get()));
  ShowWindow();
  EXPECT_THAT(m_Parent.Take(), ::testing::Each("Drawing 9"));
  EXPECT_THAT(m_Parent.areas, ::testing::Contains(ElementsAre(0, 0, 100, 80)));
}

TEST_F(DrawingArea, TheParentsAnswerGoesBackToGtk) {
  ShowWindow();
  for (const int answer : {0, 1}) {
    m_Parent.m_iResult = answer;
    GdkEvent* event = gdk_event_new(GDK_EXPOSE);
    event->expose.window = GDK_WINDOW(g_object_ref(gtk_widget_get_window(m_Area->GetWidget())));
    EXPECT_EQ(answer, m_Area->OnDrawing(&event->expose));
    EXPECT_EQ(answer, xDrawingArea::CallBack_Expose_Event(m_Area->GetWidget(), &event->expose,
                                                          m_Area.get()));
    EXPECT_EQ(&event->expose, m_Parent.m_pDrawingEvent);
    gdk_event_free(event);
  }
}

TEST_F(DrawingArea, NullDataIsNotHandled) {
  EXPECT_EQ(0, xDrawingArea::CallBack_Expose_Event(nullptr, nullptr, nullptr));
}

TEST_F(DrawingArea, WithoutAParentAnswersZero) {
  xDrawingArea area(nullptr, kID);
  EXPECT_EQ(0, area.OnDrawing(nullptr));
}

class AnsweringArea : public xDrawingArea {
 public:
  using xDrawingArea::xDrawingArea;
  int OnDrawing(GdkEventExpose*) override { return 5; }
};

TEST_F(DrawingArea, ExposureReachesTheVirtualHandler) {
  AnsweringArea area(&m_Parent, kID);
  EXPECT_EQ(5, xDrawingArea::CallBack_Expose_Event(nullptr, nullptr, &area));
  EXPECT_THAT(m_Parent.Take(), IsEmpty());
}

TEST_F(DrawingArea, AnInvalidRectangleIsDrawnAgain) {
  ShowWindow();
  Forget();
  GdkRectangle rectangle = {10, 20, 30, 40};
  m_Area->InvalidateRect(&rectangle, 0);
  ASSERT_TRUE(gtk_test::PumpUntil([&] { return !m_Parent.areas.empty(); }));
  EXPECT_THAT(m_Parent.areas, ElementsAre(ElementsAre(10, 20, 30, 40)));
  Forget();
  m_Area->InvalidateRect(nullptr, 0);
  ASSERT_TRUE(gtk_test::PumpUntil([&] { return !m_Parent.areas.empty(); }));
  EXPECT_THAT(m_Parent.areas, ElementsAre(ElementsAre(0, 0, 100, 80)));
}

// Invalidates the drawing area and tells whether a child window of it became invalid as well.
bool ChildBecomesInvalid(xDrawingArea* area, int invalidateChildren) {
  GdkWindowAttr attributes{};
  attributes.window_type = GDK_WINDOW_CHILD;
  attributes.wclass = GDK_INPUT_OUTPUT;
  attributes.event_mask = GDK_EXPOSURE_MASK;
  attributes.width = attributes.height = 20;
  GdkWindow* child = gdk_window_new(gtk_widget_get_window(area->GetWidget()), &attributes, 0);
  gdk_window_show(child);
  gtk_test::Pump();
  GdkRegion* old = gdk_window_get_update_area(child);
  if (old != nullptr) gdk_region_destroy(old);
  area->InvalidateRect(nullptr, invalidateChildren);
  GdkRegion* invalid = gdk_window_get_update_area(child);
  const bool result = invalid != nullptr && gdk_region_empty(invalid) == 0;
  if (invalid != nullptr) gdk_region_destroy(invalid);
  gdk_window_destroy(child);
  return result;
}

TEST_F(DrawingArea, ChildWindowsAreDrawnAgainOnlyIfAskedFor) {
  ShowWindow();
  EXPECT_FALSE(ChildBecomesInvalid(m_Area.get(), 0));
  EXPECT_TRUE(ChildBecomesInvalid(m_Area.get(), -1));
}

TEST_F(DrawingArea, IsNotDrawnAgainBeforeItIsRealised) {
  const gtk_test::Warnings warnings;
  GdkRectangle rectangle = {0, 0, 10, 10};
  m_Area->InvalidateRect(&rectangle, 1);
  gtk_test::Pump();
  EXPECT_THAT(m_Parent.Take(), IsEmpty());
  EXPECT_THAT(warnings.Messages(), IsEmpty());
}

TEST_F(DrawingArea, AWidgetThatOutlivesItsObjectReportsNothing) {
  ShowWindow();
  Forget();
  GtkWidget* widget = m_Area->GetWidget();
  m_Area.reset();
  gtk_widget_queue_draw(widget);
  gtk_test::Pump();
  gdk_window_process_all_updates();
  EXPECT_THAT(m_Parent.areas, IsEmpty());
}

}  // namespace
