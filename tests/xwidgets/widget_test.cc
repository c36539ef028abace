// Tests of the widget root, its notifications and the top-level window.
#include "xwidgets/widget.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "tests/support/fake_bitmaps.h"
#include "tests/support/gtk_test.h"
#include "tests/support/notify_recorder.h"
#include "tests/support/signal_handlers.h"
#include "tests/support/vtable_slot.h"

namespace {

using testing::Test;
using Texts = std::vector<std::string>;

guint References(gpointer object) { return G_OBJECT(object)->ref_count; }

bool IsFloating(gpointer object) { return g_object_is_floating(object) != 0; }

// Counts up when the object's memory is freed, which is later than its destruction.
void CountFreed(gpointer object, int* count) {
  g_object_set_data_full(G_OBJECT(object), "test-freed", count,
                         [](gpointer data) { ++*static_cast<int*>(data); });
}

// A widget that nothing but the caller holds.
GtkWidget* NewOwnedLabel() {
  GtkWidget* label = gtk_label_new("text");
  g_object_ref_sink(label);
  return label;
}

// Shows the fields to the tests.
class OpenWidget : public xWidget {
 public:
  using xWidget::m_nID;
  using xWidget::m_pParent;
  using xWidget::m_pWidget;
  using xWidget::xWidget;
};

// An entry that reports its focus, as the controls do.
class FocusWidget : public xWidget {
 public:
  FocusWidget(xWidget* parent, unsigned int id) : xWidget(parent, id) {
    Attach(gtk_entry_new());
    g_signal_connect(GetWidget(), "focus-in-event", G_CALLBACK(CallBack_Event), this);
    g_signal_connect(GetWidget(), "focus-out-event", G_CALLBACK(CallBack_Event), this);
  }
};

// Writes down the handlers that GTK's signals reach.
class HandlerWidget : public xWidget {
 public:
  HandlerWidget() : xWidget(nullptr, 1) {}
  int OnDelete() override {
    calls.emplace_back("OnDelete");
    return result;
  }
  void OnDestroy() override { calls.emplace_back("OnDestroy"); }
  int OnFocusChange(short in) override {
    calls.push_back("OnFocusChange " + std::to_string(in));
    return result;
  }

  Texts calls;
  int result = 0;
};

// A window that answers the request to close it.
class TestWindow : public xWindow {
 public:
  explicit TestWindow(int answer, xWindow* parent = nullptr) : xWindow(parent), m_iAnswer(answer) {}
  int OnDelete() override {
    ++deletes;
    return m_iAnswer;
  }
  void OnDestroy() override { ++destroys; }

  int deletes = 0;
  int destroys = 0;

 private:
  int m_iAnswer;
};

// --- the table of virtual functions and the fields ----------------------------------------------

TEST(WidgetTable, HasItsFunctionsInTheFixedOrder) {
  EXPECT_EQ(3, vtable::Slot(&xWidget::GetMnemonicWidget));
  EXPECT_EQ(4, vtable::Slot(&xWidget::ShowAll));
  EXPECT_EQ(5, vtable::Slot(&xWidget::Show));
  EXPECT_EQ(6, vtable::Slot(&xWidget::Enable));
  EXPECT_EQ(7, vtable::Slot(&xWidget::SetSize));
  EXPECT_EQ(8, vtable::Slot(&xWidget::GetSize));
  EXPECT_EQ(9, vtable::Slot(&xWidget::SetTooltipText));
  EXPECT_EQ(10, vtable::Slot(&xWidget::OnNofityBtnClicked));
  EXPECT_EQ(11, vtable::Slot(&xWidget::OnNofitySelectChanged));
  EXPECT_EQ(12, vtable::Slot(&xWidget::OnNofityChanged));
  EXPECT_EQ(13, vtable::Slot(&xWidget::OnNofityValueChanged));
  EXPECT_EQ(14, vtable::Slot(&xWidget::OnNofityDrawing));
  EXPECT_EQ(15, vtable::Slot(&xWidget::OnNofityFocusChange));
  EXPECT_EQ(16, vtable::Slot(&xWidget::OnDelete));
  EXPECT_EQ(17, vtable::Slot(&xWidget::OnDestroy));
  EXPECT_EQ(18, vtable::Slot(&xWidget::OnFocusChange));
  EXPECT_EQ(18, vtable::SlotCount<xWidget>());
}

TEST(WidgetTable, ContinuesInContainersBinsAndWindows) {
  using AppendChild = xWidget* (xContainer::*)(xWidget*);
  EXPECT_EQ(19, vtable::Slot(static_cast<AppendChild>(&xContainer::AppendChild)));
  EXPECT_EQ(20, vtable::Slot(&xContainer::SetBorderWidth));
  EXPECT_EQ(20, vtable::SlotCount<xContainer>());
  EXPECT_EQ(21, vtable::Slot(&xBin::ChildEnable));
  EXPECT_EQ(21, vtable::SlotCount<xBin>());
  EXPECT_EQ(22, vtable::Slot(&xWindow::SetWindowText));
  EXPECT_EQ(23, vtable::Slot(&xWindow::SetPosition));
  EXPECT_EQ(24, vtable::Slot(&xWindow::SetResizable));
  EXPECT_EQ(25, vtable::Slot(&xWindow::SetIcon));
  EXPECT_EQ(26, vtable::Slot(&xWindow::OnCreate));
  EXPECT_EQ(26, vtable::SlotCount<xWindow>());
}

TEST(WidgetTable, HasTheFixedTypes) {
  static_assert(
      std::is_same_v<decltype(&xWidget::GetMnemonicWidget), GtkWidget* (xWidget::*)() const>);
  static_assert(std::is_same_v<decltype(&xWidget::GetWidget), GtkWidget* (xWidget::*)() const>);
  static_assert(std::is_same_v<decltype(&xWidget::OnNofityFocusChange),
                               int (xWidget::*)(unsigned int, short)>);
  static_assert(std::is_same_v<decltype(&xWidget::OnNofityDrawing),
                               int (xWidget::*)(unsigned int, GdkEventExpose*)>);
  static_assert(std::is_same_v<decltype(&xWindow::SetIcon), void (xWindow::*)(unsigned short)>);
  static_assert(std::is_same_v<decltype(&xWidget::CallBack_Event),
                               gboolean (*)(GtkWidget*, GdkEvent*, void*)>);
  static_assert(std::is_base_of_v<xContainer, xBin> && std::is_base_of_v<xBin, xWindow>);
}

TEST(WidgetFields, AreWidgetParentAndIdentifierInThisOrder) {
  static_assert(sizeof(OpenWidget::m_nID) == 4 && std::is_unsigned_v<decltype(OpenWidget::m_nID)>);
  OpenWidget widget(nullptr, 1);
  const auto offset = [&](const void* field) {
    return static_cast<const char*>(field) - static_cast<const char*>(static_cast<void*>(&widget));
  };
  constexpr std::ptrdiff_t kPointer = sizeof(void*);
  EXPECT_EQ(kPointer, offset(&widget.m_pWidget));
  EXPECT_EQ(2 * kPointer, offset(&widget.m_pParent));
  EXPECT_EQ(3 * kPointer, offset(&widget.m_nID));
  static_assert(sizeof(xWidget) == 4 * sizeof(void*));
  static_assert(sizeof(xWindow) == sizeof(xWidget), "containers, bins and windows add no fields");
}

TEST(WidgetFields, StartWithoutWidgetAndAsGiven) {
  NotifyRecorder parent;
  OpenWidget widget(&parent, 0x80000001U);
  EXPECT_EQ(nullptr, widget.GetWidget());
  EXPECT_EQ(&parent, widget.m_pParent);
  EXPECT_EQ(0x80000001U, widget.m_nID);
}

// --- the reference on the GTK widget ------------------------------------------------------------

TEST(WidgetAttach, TakesOneReferenceAndLeavesItFloating) {
  GtkWidget* label = gtk_label_new("text");
  xWidget widget(nullptr, 1);
  widget.Attach(label);
  EXPECT_EQ(label, widget.GetWidget());
  EXPECT_EQ(2U, References(label));
  EXPECT_TRUE(IsFloating(label));

  GtkWidget* box = gtk_hbox_new(FALSE, 0);
  g_object_ref_sink(box);
  gtk_container_add(GTK_CONTAINER(box), label);
  EXPECT_EQ(2U, References(label)) << "the container takes over the floating reference";
  EXPECT_FALSE(IsFloating(label));
  gtk_widget_destroy(box);
  g_object_unref(box);
}

TEST(WidgetAttach, OfTheAttachedWidgetLeavesTheReferenceCountUnchanged) {
  GtkWidget* label = NewOwnedLabel();
  xWidget widget(nullptr, 1);
  widget.Attach(label);
  ASSERT_EQ(2U, References(label));
  g_signal_connect(label, "focus-in-event", G_CALLBACK(xWidget::CallBack_Event), &widget);
  widget.Attach(label);
  EXPECT_EQ(2U, References(label));
  EXPECT_EQ(label, widget.GetWidget());
  EXPECT_EQ(1U, CountHandlers(label, &widget)) << "nothing at all happens to it";
  g_object_unref(label);
}

TEST(WidgetAttach, OfAnotherWidgetDropsTheOldReferenceFirst) {
  GtkWidget* first = NewOwnedLabel();
  GtkWidget* second = NewOwnedLabel();
  xWidget widget(nullptr, 1);
  widget.Attach(first);
  g_object_unref(first);

  // Called when the last reference on the first widget goes.
  struct Watch {
    GtkWidget* other;
    guint references;
  } watch = {second, 0};
  g_object_weak_ref(
      G_OBJECT(first),
      [](gpointer data, GObject*) {
        auto* seen = static_cast<Watch*>(data);
        seen->references = References(seen->other);
      },
      &watch);
  widget.Attach(second);
  EXPECT_EQ(1U, watch.references) << "the new one was not referenced yet";
  EXPECT_EQ(2U, References(second));
  EXPECT_EQ(second, widget.GetWidget());
  g_object_unref(second);
}

TEST(WidgetAttach, OfNullOnlyDropsTheOldReference) {
  GtkWidget* label = NewOwnedLabel();
  xWidget widget(nullptr, 1);
  widget.Attach(label);
  widget.Attach(nullptr);
  EXPECT_EQ(nullptr, widget.GetWidget());
  EXPECT_EQ(1U, References(label));
  g_object_unref(label);
}

TEST(WidgetUnAttach, DropsTheReferenceAndTheHandlersOfThisObjectOnly) {
  GtkWidget* label = NewOwnedLabel();
  HandlerWidget other;
  xWidget widget(nullptr, 1);
  widget.Attach(label);
  g_signal_connect(label, "destroy", G_CALLBACK(xWidget::CallBack_Destroy), &widget);
  g_signal_connect(label, "focus-in-event", G_CALLBACK(xWidget::CallBack_Event), &widget);
  g_signal_connect(label, "destroy", G_CALLBACK(xWidget::CallBack_Destroy), &other);
  widget.UnAttach();
  EXPECT_EQ(nullptr, widget.GetWidget());
  EXPECT_EQ(1U, References(label));
  EXPECT_EQ(0U, CountHandlers(label, &widget));
  EXPECT_EQ(1U, CountHandlers(label, &other));
  g_signal_handlers_disconnect_matched(label, G_SIGNAL_MATCH_DATA, 0, 0, nullptr, nullptr, &other);
  g_object_unref(label);
}

TEST(WidgetUnAttach, WithoutWidgetDoesNothing) {
  gtk_test::Warnings warnings;
  xWidget widget(nullptr, 1);
  widget.UnAttach();
  EXPECT_EQ(nullptr, widget.GetWidget());
  EXPECT_EQ(Texts(), warnings.Messages());
}

TEST(WidgetDestructor, DropsTheReferenceAndNeverDestroysTheWidget) {
  GtkWidget* label = NewOwnedLabel();
  gtk_test::SignalCount destroyed(label, "destroy");
  {
    xWidget widget(nullptr, 1);
    widget.Attach(label);
    EXPECT_EQ(2U, References(label));
  }
  EXPECT_EQ(1U, References(label));
  EXPECT_EQ(0, destroyed.Count());
  g_object_unref(label);
}

TEST(WidgetDestructor, LeavesNoHandlerThatCouldReachTheDeletedObject) {
  GtkWidget* window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
  std::optional<FocusWidget> control(std::in_place, nullptr, 1);
  gtk_container_add(GTK_CONTAINER(window), control->GetWidget());
  GtkWidget* entry = control->GetWidget();
  void* address = &*control;
  EXPECT_EQ(2U, CountHandlers(entry, address));
  control.reset();
  EXPECT_EQ(0U, CountHandlers(entry, address));
  gtk_widget_destroy(window);
}

TEST(WidgetDestruction, ByGtkKeepsTheObjectAndTheMemoryOfTheWidget) {
  int freed = 0;
  auto window = std::make_unique<TestWindow>(0);
  auto control = std::make_unique<FocusWidget>(window.get(), 1);
  window->AppendChild(control.get());
  GtkWidget* entry = control->GetWidget();
  CountFreed(entry, &freed);
  gtk_widget_destroy(window->GetWidget());
  EXPECT_EQ(1, window->destroys);
  EXPECT_EQ(entry, control->GetWidget()) << "the wrapper knows nothing of it";
  EXPECT_EQ(0, freed);
  control.reset();
  EXPECT_EQ(1, freed) << "the wrapper held the last reference";
  window.reset();
}

TEST(WidgetDestroy, TearsTheWidgetDownAndKeepsItsMemoryForGood) {
  int freed = 0;
  GtkWidget* box = gtk_hbox_new(FALSE, 0);
  g_object_ref_sink(box);
  xWidget widget(nullptr, 1);
  widget.Attach(gtk_label_new("text"));
  GtkWidget* label = widget.GetWidget();
  gtk_container_add(GTK_CONTAINER(box), label);
  CountFreed(label, &freed);
  gtk_test::SignalCount destroyed(label, "destroy");

  widget.Destroy();
  EXPECT_EQ(nullptr, widget.GetWidget());
  EXPECT_EQ(1, destroyed.Count());
  EXPECT_TRUE(gtk_test::Children(box).empty());
  EXPECT_EQ(0, freed);
  EXPECT_EQ(2U, References(label)) << "the wrapper's reference and the extra one";

  g_object_unref(label);
  g_object_unref(label);
  EXPECT_EQ(1, freed);
  g_object_unref(box);
}

TEST(WidgetDestroy, LeavesAnObjectOnWhichShowDoesNothing) {
  gtk_test::Warnings warnings;
  xWidget widget(nullptr, 1);
  widget.Attach(NewOwnedLabel());
  GtkWidget* label = widget.GetWidget();
  widget.Destroy();
  widget.Show(1);
  widget.Destroy();
  widget.UnAttach();
  EXPECT_EQ(nullptr, widget.GetWidget());
  EXPECT_EQ(Texts(), warnings.Messages());
  EXPECT_EQ(3U, References(label));
  for (int i = 0; i < 3; i++) g_object_unref(label);
}

TEST(WidgetDestroy, SurvivesADestroyHandlerThatDeletesTheObject) {
  // The application does this with its main window.
  class Suicidal : public xWindow {
   public:
    explicit Suicidal(int* deleted) : xWindow(nullptr), m_pDeleted(deleted) {}
    ~Suicidal() override { ++*m_pDeleted; }
    void OnDestroy() override { delete this; }

   private:
    int* m_pDeleted;
  };
  int deleted = 0;
  auto* window = new Suicidal(&deleted);
  GtkWidget* widget = window->GetWidget();
  g_object_ref(widget);
  window->Destroy();
  EXPECT_EQ(1, deleted);
  EXPECT_EQ(2U, References(widget)) << "ours and the one that Destroy takes";
  g_object_unref(widget);
  g_object_unref(widget);
}

// Does something when its widget is destroyed.
class ActingWindow : public xWindow {
 public:
  ActingWindow() : xWindow(nullptr) {}
  void OnDestroy() override {
    ++destroys;
    if (act) act();
  }

  std::function<void()> act;
  int destroys = 0;
};

// A window that is destroyed while a second object has its widget, and what is left afterwards.
class WidgetDestroyOfTwo : public Test {
 protected:
  WidgetDestroyOfTwo()
      : m_pFirst(std::make_unique<ActingWindow>()),
        m_pWidget(m_pFirst->GetWidget()),
        m_pSecond(xWidget::CreateWith(m_pWidget)) {
    g_object_ref(m_pWidget);
  }
  ~WidgetDestroyOfTwo() override {
    EXPECT_EQ(1U, References(m_pWidget)) << "ours is the last one";
    g_object_unref(m_pWidget);
  }

  // Gives back references that Destroy has left for good.
  void DropKept(int count) {
    for (int i = 0; i < count; i++) g_object_unref(m_pWidget);
  }

  std::unique_ptr<ActingWindow> m_pFirst;
  GtkWidget* m_pWidget;
  std::unique_ptr<xWidget> m_pSecond;
};

TEST_F(WidgetDestroyOfTwo, TheSecondMayBeDeletedInsideIt) {
  m_pFirst->act = [this] { m_pSecond.reset(); };
  m_pFirst->Destroy();
  EXPECT_EQ(nullptr, m_pFirst->GetWidget());
  EXPECT_EQ(1, m_pFirst->destroys);
  // Ours, GTK's is gone, the first object's, and the one that Destroy took.
  ASSERT_EQ(3U, References(m_pWidget));
  m_pFirst.reset();
  EXPECT_EQ(3U, References(m_pWidget)) << "the object has no reference to drop any more";
  DropKept(2);
}

TEST_F(WidgetDestroyOfTwo, TheSecondMayBeDestroyedInsideIt) {
  m_pFirst->act = [this] { m_pSecond->Destroy(); };
  m_pFirst->Destroy();
  EXPECT_EQ(nullptr, m_pFirst->GetWidget());
  EXPECT_EQ(nullptr, m_pSecond->GetWidget());
  EXPECT_EQ(1, m_pFirst->destroys);
  ASSERT_EQ(5U, References(m_pWidget)) << "each keeps its own and one more";
  m_pFirst.reset();
  m_pSecond.reset();
  EXPECT_EQ(5U, References(m_pWidget));
  DropKept(4);
}

TEST_F(WidgetDestroyOfTwo, TheFirstMayBeDeletedInsideTheDestructionOfTheSecond) {
  m_pFirst->act = [this] { m_pFirst.reset(); };
  m_pSecond->Destroy();
  EXPECT_EQ(nullptr, m_pSecond->GetWidget());
  ASSERT_EQ(3U, References(m_pWidget));
  m_pSecond.reset();
  EXPECT_EQ(3U, References(m_pWidget));
  DropKept(2);
}

TEST_F(WidgetDestroyOfTwo, BothMayBeDeletedInsideIt) {
  m_pFirst->act = [this] {
    m_pSecond.reset();
    m_pFirst.reset();
  };
  m_pFirst->Destroy();
  ASSERT_EQ(2U, References(m_pWidget)) << "ours and the one that Destroy took";
  DropKept(1);
}

TEST_F(WidgetDestroyOfTwo, TheSameMayBeDestroyedAgainInsideIt) {
  m_pSecond.reset();
  m_pFirst->act = [this] {
    m_pFirst->Destroy();
    EXPECT_EQ(nullptr, m_pFirst->GetWidget());
  };
  m_pFirst->Destroy();
  EXPECT_EQ(nullptr, m_pFirst->GetWidget());
  EXPECT_EQ(1, m_pFirst->destroys);
  ASSERT_EQ(4U, References(m_pWidget)) << "the object's and one more for each call";
  m_pFirst.reset();
  EXPECT_EQ(4U, References(m_pWidget));
  DropKept(3);
}

TEST_F(WidgetDestroyOfTwo, TheSameMayBeDestroyedAgainAndDeletedInsideIt) {
  m_pSecond.reset();
  m_pFirst->act = [this] {
    m_pFirst->Destroy();
    m_pFirst.reset();
  };
  m_pFirst->Destroy();
  ASSERT_EQ(4U, References(m_pWidget));
  DropKept(3);
}

TEST_F(WidgetDestroyOfTwo, WidgetAttachedInsideItIsLetGo) {
  m_pSecond.reset();
  GtkWidget* label = NewOwnedLabel();
  m_pFirst->act = [&] {
    m_pFirst->Attach(label);
    EXPECT_EQ(2U, References(label));
  };
  m_pFirst->Destroy();
  EXPECT_EQ(nullptr, m_pFirst->GetWidget());
  EXPECT_EQ(1U, References(label));
  g_object_unref(label);
  ASSERT_EQ(2U, References(m_pWidget)) << "Attach has dropped the object's";
  DropKept(1);
}

TEST_F(WidgetDestroyOfTwo, AnotherWidgetMayBeDestroyedInsideIt) {
  m_pSecond.reset();
  auto other = std::make_unique<ActingWindow>();
  GtkWidget* otherWidget = other->GetWidget();
  g_object_ref(otherWidget);
  m_pFirst->act = [&] { other->Destroy(); };
  other->act = [&] { m_pFirst.reset(); };
  m_pFirst->Destroy();
  EXPECT_EQ(nullptr, other->GetWidget());
  EXPECT_EQ(3U, References(otherWidget));
  for (int i = 0; i < 3; i++) g_object_unref(otherWidget);
  ASSERT_EQ(2U, References(m_pWidget));
  DropKept(1);
}

// --- operations on the widget -------------------------------------------------------------------

TEST(WidgetShow, ShowsAndHides) {
  GtkWidget* label = NewOwnedLabel();
  xWidget widget(nullptr, 1);
  widget.Attach(label);
  widget.Show(-1);
  EXPECT_TRUE(gtk_widget_get_visible(label));
  widget.Show(0);
  EXPECT_FALSE(gtk_widget_get_visible(label));
  widget.Show(1);
  EXPECT_TRUE(gtk_widget_get_visible(label));
  g_object_unref(label);
}

TEST(WidgetShow, WithoutWidgetIsSilentWhileTheOthersMakeGtkComplain) {
  xWidget widget(nullptr, 1);
  {
    gtk_test::Warnings warnings;
    widget.Show(1);
    widget.Show(0);
    EXPECT_EQ(Texts(), warnings.Messages());
  }
  {
    gtk_test::Warnings warnings;
    widget.ShowAll();
    EXPECT_TRUE(warnings.Contain("gtk_widget_show_all: assertion"));
    widget.Enable(1);
    EXPECT_TRUE(warnings.Contain("gtk_widget_set_sensitive: assertion"));
    widget.SetSize(1, 1);
    EXPECT_TRUE(warnings.Contain("gtk_widget_set_size_request: assertion"));
    int width = -5;
    widget.GetSize(&width, nullptr);
    EXPECT_TRUE(warnings.Contain("gtk_widget_size_request: assertion"));
    EXPECT_EQ(4U, warnings.Messages().size());
    EXPECT_EQ(0, width);
  }
}

TEST(WidgetShowAll, ShowsTheChildrenToo) {
  xContainer box(nullptr, 1);
  box.Attach(gtk_hbox_new(FALSE, 0));
  xWidget label(nullptr, 2);
  label.Attach(gtk_label_new("text"));
  box.AppendChild(&label);
  box.Show(1);
  EXPECT_FALSE(gtk_widget_get_visible(label.GetWidget()));
  box.ShowAll();
  EXPECT_TRUE(gtk_widget_get_visible(label.GetWidget()));
  gtk_widget_destroy(box.GetWidget());
}

TEST(WidgetEnable, SetsTheSensitivityForAnyNonZeroFlag) {
  GtkWidget* label = NewOwnedLabel();
  xWidget widget(nullptr, 1);
  widget.Attach(label);
  widget.Enable(0);
  EXPECT_EQ(FALSE, gtk_widget_get_sensitive(label));
  widget.Enable(-1);
  EXPECT_EQ(TRUE, gtk_widget_get_sensitive(label));
  g_object_unref(label);
}

TEST(WidgetSize, RequestKeepsTheNaturalSizeOnAnAxisOfMinusOne) {
  GtkWidget* label = NewOwnedLabel();
  xWidget widget(nullptr, 1);
  widget.Attach(label);
  int naturalHeight = 0;
  widget.GetSize(nullptr, &naturalHeight);
  ASSERT_GT(naturalHeight, 0);
  widget.SetSize(321, -1);
  int width = 0;
  int height = 0;
  widget.GetSize(&width, &height);
  EXPECT_EQ(321, width);
  EXPECT_EQ(naturalHeight, height);
  widget.SetSize(100, 50);
  widget.GetSize(&width, &height);
  EXPECT_EQ(100, width);
  EXPECT_EQ(50, height);
  g_object_unref(label);
}

TEST(WidgetSize, WithOneNullPointerFillsTheOtherOnly) {
  GtkWidget* label = NewOwnedLabel();
  xWidget widget(nullptr, 1);
  widget.Attach(label);
  widget.SetSize(123, 45);
  int width = -1;
  int height = -1;
  widget.GetSize(&width, nullptr);
  EXPECT_EQ(123, width);
  EXPECT_EQ(-1, height);
  width = -1;
  widget.GetSize(nullptr, &height);
  EXPECT_EQ(-1, width);
  EXPECT_EQ(45, height);
  widget.GetSize(nullptr, nullptr);
  g_object_unref(label);
}

TEST(WidgetSize, IsTheRequestedOneAndNotTheAllocatedOne) {
  TestWindow window(0);
  xWidget label(nullptr, 1);
  label.Attach(gtk_label_new("text"));
  label.SetSize(60, 20);
  window.AppendChild(&label);
  window.SetSize(300, 200);
  ASSERT_TRUE(gtk_test::ShowAndWait(window.GetWidget()));
  ASSERT_TRUE(gtk_test::PumpUntil([&] { return label.GetWidget()->allocation.width >= 300; }));
  int width = 0;
  int height = 0;
  label.GetSize(&width, &height);
  EXPECT_EQ(60, width);
  EXPECT_EQ(20, height);
  gtk_widget_destroy(window.GetWidget());
}

TEST(WidgetTooltip, IsNeverSet) {
  GtkWidget* label = NewOwnedLabel();
  xWidget widget(nullptr, 1);
  widget.Attach(label);
  widget.SetTooltipText("help");
  EXPECT_FALSE(gtk_widget_get_has_tooltip(label));
  EXPECT_EQ(nullptr, gtk_widget_get_tooltip_text(label));
  g_object_unref(label);
}

TEST(WidgetMnemonic, GoesToTheWidgetItself) {
  GtkWidget* label = NewOwnedLabel();
  xWidget widget(nullptr, 1);
  EXPECT_EQ(nullptr, widget.GetMnemonicWidget());
  widget.Attach(label);
  EXPECT_EQ(label, widget.GetMnemonicWidget());
  g_object_unref(label);
}

TEST(WidgetCreateWith, YieldsAnObjectWithoutParentWhoseNotificationsGoNowhere) {
  GtkWidget* label = NewOwnedLabel();
  std::unique_ptr<xWidget> widget(xWidget::CreateWith(label));
  EXPECT_EQ(label, widget->GetWidget());
  EXPECT_EQ(2U, References(label));
  EXPECT_EQ(nullptr, widget.get()->*(&OpenWidget::m_pParent));
  EXPECT_EQ(0xFFFFFFFFU, widget.get()->*(&OpenWidget::m_nID));
  widget->OnNofityBtnClicked(1);
  widget->OnNofitySelectChanged(1);
  widget->OnNofityChanged(1);
  widget->OnNofityValueChanged(1);
  EXPECT_EQ(0, widget->OnNofityDrawing(1, nullptr));
  EXPECT_EQ(0, widget->OnNofityFocusChange(1, 1));
  EXPECT_EQ(0, widget->OnFocusChange(1));
  widget.reset();
  EXPECT_EQ(1U, References(label));
  g_object_unref(label);
}

// --- notifications ------------------------------------------------------------------------------

TEST(WidgetNotification, ReachesTheGrandparentWithItsIdentifierUnchanged) {
  NotifyRecorder window;
  xWidget tab(&window, 100);
  xWidget frame(&tab, 200);
  frame.OnNofityBtnClicked(7);
  frame.OnNofitySelectChanged(8);
  frame.OnNofityChanged(9);
  frame.OnNofityValueChanged(0xFFFFFFFEU);
  EXPECT_EQ((Texts{"BtnClicked 7", "SelectChanged 8", "Changed 9", "ValueChanged 4294967294"}),
            window.Take());
}

TEST(WidgetNotification, WithAResultBringsTheGrandparentsResultBack) {
  NotifyRecorder window;
  xWidget tab(&window, 100);
  xWidget frame(&tab, 200);
  GdkEventExpose event = {};
  window.m_iResult = 17;
  EXPECT_EQ(17, frame.OnNofityDrawing(5, &event));
  EXPECT_EQ(&event, window.m_pDrawingEvent);
  window.m_iResult = -1;
  EXPECT_EQ(-1, frame.OnNofityFocusChange(6, 1));
  window.m_iResult = 0;
  EXPECT_EQ(0, frame.OnNofityFocusChange(6, 0));
  EXPECT_EQ((Texts{"Drawing 5", "FocusChange 6 in", "FocusChange 6 out"}), window.Take());
}

TEST(WidgetNotification, OfAFocusChangeCarriesTheControlsIdentifierAndTheParentsAnswer) {
  NotifyRecorder parent;
  xWidget control(&parent, 42);
  parent.m_iResult = 3;
  EXPECT_EQ(3, control.OnFocusChange(1));
  EXPECT_EQ(3, control.OnFocusChange(-2)) << "the direction is a signed number of 16 bits";
  EXPECT_EQ((Texts{"FocusChange 42 in", "FocusChange 42 -2"}), parent.Take());
}

TEST(WidgetNotification, OfRealFocusChangesComesInTheirOrder) {
  NotifyRecorder parent;
  TestWindow window(0);
  xContainer box(nullptr, kNoControlID);
  box.Attach(gtk_vbox_new(FALSE, 0));
  FocusWidget first(&parent, 1);
  FocusWidget second(&parent, 2);
  box.AppendChild(&first);
  box.AppendChild(&second);
  window.AppendChild(&box);
  gtk_widget_grab_focus(first.GetWidget());
  ASSERT_TRUE(gtk_test::ShowAndFocus(window.GetWidget()));
  ASSERT_TRUE(gtk_test::PumpUntil([&] { return gtk_widget_has_focus(first.GetWidget()) != 0; }));
  EXPECT_EQ(Texts{"FocusChange 1 in"}, parent.Take());
  gtk_widget_grab_focus(second.GetWidget());
  EXPECT_EQ((Texts{"FocusChange 1 out", "FocusChange 2 in"}), parent.Take());
  EXPECT_TRUE(gtk_widget_has_focus(second.GetWidget()));
  gtk_widget_destroy(window.GetWidget());
}

TEST(WidgetNotification, OfAFocusChangeThatTheParentHandlesStopsTheEmission) {
  NotifyRecorder parent;
  FocusWidget control(&parent, 1);
  GdkEvent* event = gdk_event_new(GDK_FOCUS_CHANGE);
  event->focus_change.in = 0;
  gboolean handled = FALSE;
  parent.m_iResult = -1;
  g_signal_emit_by_name(control.GetWidget(), "focus-out-event", event, &handled);
  EXPECT_TRUE(handled) << "the result goes back to GTK";
  parent.m_iResult = 0;
  g_signal_emit_by_name(control.GetWidget(), "focus-out-event", event, &handled);
  EXPECT_FALSE(handled);
  gdk_event_free(event);
}

// --- static callbacks ---------------------------------------------------------------------------

TEST(WidgetEventCallback, ReturnsMinusOneForANullEventOrNullData) {
  HandlerWidget widget;
  GdkEvent event = {};
  event.type = GDK_DELETE;
  EXPECT_EQ(-1, xWidget::CallBack_Event(nullptr, nullptr, &widget));
  EXPECT_EQ(-1, xWidget::CallBack_Event(nullptr, &event, nullptr));
  EXPECT_EQ(Texts(), widget.calls);
}

TEST(WidgetEventCallback, SwallowsEveryOtherTypeOfEvent) {
  HandlerWidget widget;
  for (GdkEventType type : {GDK_NOTHING, GDK_DESTROY, GDK_EXPOSE, GDK_KEY_PRESS, GDK_MAP}) {
    GdkEvent event = {};
    event.type = type;
    EXPECT_EQ(-1, xWidget::CallBack_Event(nullptr, &event, &widget)) << type;
  }
  EXPECT_EQ(Texts(), widget.calls);
}

TEST(WidgetEventCallback, ReturnsTheHandlersResult) {
  HandlerWidget widget;
  GdkEvent event = {};
  event.type = GDK_DELETE;
  widget.result = 5;
  EXPECT_EQ(5, xWidget::CallBack_Event(nullptr, &event, &widget));
  event.type = GDK_FOCUS_CHANGE;
  event.focus_change.in = 1;
  widget.result = 0;
  EXPECT_EQ(0, xWidget::CallBack_Event(nullptr, &event, &widget));
  event.focus_change.in = -300;
  widget.result = 6;
  EXPECT_EQ(6, xWidget::CallBack_Event(nullptr, &event, &widget));
  EXPECT_EQ((Texts{"OnDelete", "OnFocusChange 1", "OnFocusChange -300"}), widget.calls);
}

TEST(WidgetEventCallback, LetsGtkDestroyAWidgetThatDoesNotAnswer) {
  xWidget widget(nullptr, 1);
  GdkEvent event = {};
  event.type = GDK_DELETE;
  EXPECT_EQ(0, xWidget::CallBack_Event(nullptr, &event, &widget));
}

TEST(WidgetDestroyCallback, CallsOnDestroyUnlessItsDataIsNull) {
  HandlerWidget widget;
  xWidget::CallBack_Destroy(nullptr, nullptr);
  EXPECT_EQ(Texts(), widget.calls);
  xWidget::CallBack_Destroy(nullptr, &widget);
  EXPECT_EQ(Texts{"OnDestroy"}, widget.calls);
}

// --- events sent by the program -----------------------------------------------------------------

struct SeenEvent {
  GdkWindow* window = nullptr;
  int send_event = 0;
};

gboolean KeepDeleteEvent(GtkWidget* /*widget*/, GdkEvent* event, gpointer seen) {
  if (event->type == GDK_DELETE) {
    *static_cast<SeenEvent*>(seen) = {event->any.window, event->any.send_event};
  }
  return FALSE;
}

TEST(WidgetSendEvent, QueuesABareEventMarkedAsSent) {
  SeenEvent seen;
  TestWindow window(1);
  ASSERT_TRUE(gtk_test::ShowAndWait(window.GetWidget()));
  g_signal_connect(window.GetWidget(), "event", G_CALLBACK(KeepDeleteEvent), &seen);
  gtk_test::Pump();
  // Looked at before anything else runs: events of the X server refer to the window as well.
  GdkWindow* shown = gtk_widget_get_window(window.GetWidget());
  const guint references = References(shown);
  window.SendEvent(GDK_DELETE);
  EXPECT_EQ(references + 1, References(shown)) << "the queued event has its own";
  EXPECT_EQ(0, window.deletes) << "it is queued, not handled at once";
  ASSERT_TRUE(gtk_test::PumpUntil([&] { return window.deletes != 0; }));
  EXPECT_EQ(shown, seen.window);
  EXPECT_EQ(-1, seen.send_event);
  EXPECT_EQ(1, window.deletes);
  gtk_widget_destroy(window.GetWidget());
}

TEST(WidgetSendEvent, DoesNothingWhileTheWidgetIsNotRealised) {
  gtk_test::Warnings warnings;
  gtk_test::Pump();
  xWidget widget(nullptr, 1);
  widget.SendEvent(GDK_DELETE);
  TestWindow window(1);
  window.SendEvent(GDK_DELETE);
  GdkEvent* queued = gdk_event_peek();
  EXPECT_EQ(nullptr, queued);
  if (queued != nullptr) gdk_event_free(queued);
  EXPECT_EQ(Texts(), warnings.Messages());
  gtk_widget_destroy(window.GetWidget());
}

// --- containers and bins ------------------------------------------------------------------------

TEST(Container, AppendsAChildAndReturnsIt) {
  xContainer box(nullptr, 1);
  box.Attach(gtk_hbox_new(FALSE, 0));
  GtkWidget* label = gtk_label_new("text");
  {
    xWidget child(nullptr, 2);
    child.Attach(label);
    EXPECT_EQ(&child, box.AppendChild(&child));
  }
  EXPECT_EQ(std::vector<GtkWidget*>{label}, gtk_test::Children(box.GetWidget()));
  EXPECT_EQ(1U, References(label)) << "only the container holds it now";
  gtk_widget_destroy(box.GetWidget());
}

TEST(Container, SetsItsBorder) {
  xContainer box(nullptr, 1);
  box.Attach(gtk_hbox_new(FALSE, 0));
  box.SetBorderWidth(12);
  EXPECT_EQ(12U, gtk_container_get_border_width(GTK_CONTAINER(box.GetWidget())));
  gtk_widget_destroy(box.GetWidget());
}

TEST(Bin, EnablesItsChildOnly) {
  xBin bin(nullptr, 1);
  bin.Attach(gtk_frame_new(nullptr));
  xWidget child(nullptr, 2);
  child.Attach(gtk_label_new("text"));
  bin.AppendChild(&child);
  bin.ChildEnable(0);
  EXPECT_FALSE(gtk_widget_get_sensitive(child.GetWidget()));
  EXPECT_TRUE(gtk_widget_get_sensitive(bin.GetWidget()));
  bin.ChildEnable(-1);
  EXPECT_TRUE(gtk_widget_get_sensitive(child.GetWidget()));
  gtk_widget_destroy(bin.GetWidget());
}

TEST(Bin, WithoutChildEnablesNothing) {
  gtk_test::Warnings warnings;
  xBin bin(nullptr, 1);
  bin.Attach(gtk_frame_new(nullptr));
  bin.ChildEnable(0);
  EXPECT_TRUE(gtk_widget_get_sensitive(bin.GetWidget()));
  EXPECT_EQ(Texts(), warnings.Messages());
  gtk_widget_destroy(bin.GetWidget());
}

// --- windows ------------------------------------------------------------------------------------

TEST(Window, IsAHiddenToplevelThatIsNotTransient) {
  TestWindow parent(0);
  TestWindow window(0, &parent);
  auto* widget = GTK_WINDOW(window.GetWidget());
  EXPECT_EQ(GTK_WINDOW_TOPLEVEL, widget->type);
  EXPECT_FALSE(gtk_widget_get_visible(GTK_WIDGET(widget)));
  EXPECT_EQ(nullptr, gtk_window_get_transient_for(widget));
  EXPECT_EQ(0xFFFFFFFFU, window.*(&OpenWidget::m_nID));
  EXPECT_EQ(&parent, window.*(&OpenWidget::m_pParent));
  gtk_widget_destroy(window.GetWidget());
  gtk_widget_destroy(parent.GetWidget());
}

TEST(Window, ConnectsTheCloseRequestBeforeTheDestruction) {
  TestWindow window(0);
  const gulong closing = FindHandler(window.GetWidget(), "delete-event", &window);
  const gulong destruction = FindHandler(window.GetWidget(), "destroy", &window);
  EXPECT_NE(0U, closing);
  EXPECT_NE(0U, destruction);
  EXPECT_LT(closing, destruction);
  EXPECT_EQ(2U, CountHandlers(window.GetWidget(), &window));
  gtk_widget_destroy(window.GetWidget());
}

TEST(Window, WhoseOnDeleteReturnsNonZeroStaysOpenAndIsNotDestroyed) {
  TestWindow window(1);
  ASSERT_TRUE(gtk_test::ShowAndWait(window.GetWidget()));
  gtk_test::CloseAsWindowManager(window.GetWidget());
  ASSERT_TRUE(gtk_test::PumpUntil([&] { return window.deletes == 1; }));
  gtk_test::Pump();
  EXPECT_EQ(0, window.destroys);
  EXPECT_TRUE(gtk_widget_get_mapped(window.GetWidget()));
  gtk_widget_destroy(window.GetWidget());
  EXPECT_EQ(1, window.destroys);
}

TEST(Window, WhoseOnDeleteReturnsZeroIsDestroyed) {
  TestWindow window(0);
  ASSERT_TRUE(gtk_test::ShowAndWait(window.GetWidget()));
  gtk_test::CloseAsWindowManager(window.GetWidget());
  ASSERT_TRUE(gtk_test::PumpUntil([&] { return window.destroys != 0; }));
  EXPECT_EQ(1, window.deletes);
  EXPECT_EQ(1, window.destroys);
}

TEST(Window, ClosesByAnEventOfItsOwnAsByTheWindowManager) {
  TestWindow window(0);
  ASSERT_TRUE(gtk_test::ShowAndWait(window.GetWidget()));
  window.SendEvent(GDK_DELETE);
  ASSERT_TRUE(gtk_test::PumpUntil([&] { return window.destroys != 0; }));
  EXPECT_EQ(1, window.deletes);
}

TEST(Window, SetsTitlePositionAndResizability) {
  TestWindow window(0);
  auto* widget = GTK_WINDOW(window.GetWidget());
  window.SetWindowText("Veltrana");
  EXPECT_STREQ("Veltrana", gtk_window_get_title(widget));
  window.SetPosition(GTK_WIN_POS_CENTER);
  GtkWindowPosition position = GTK_WIN_POS_NONE;
  g_object_get(widget, "window-position", &position, nullptr);
  EXPECT_EQ(GTK_WIN_POS_CENTER, position);
  window.SetResizable(0);
  EXPECT_FALSE(gtk_window_get_resizable(widget));
  window.SetResizable(-1);
  EXPECT_TRUE(gtk_window_get_resizable(widget));
  gtk_widget_destroy(window.GetWidget());
}

TEST(Window, TakesItsIconFromTheBitmapsAndRemovesItForZero) {
  TestWindow window(0);
  auto* widget = GTK_WINDOW(window.GetWidget());
  GdkPixbuf* bitmap = fake_bitmaps::Get(fake_bitmaps::kSquare);
  const guint lent = References(bitmap);
  fake_bitmaps::TakeRequests();
  window.SetIcon(fake_bitmaps::kSquare);
  EXPECT_EQ(bitmap, gtk_window_get_icon(widget));
  EXPECT_EQ(std::vector<unsigned short>{fake_bitmaps::kSquare}, fake_bitmaps::TakeRequests());
  window.SetIcon(0);
  EXPECT_EQ(nullptr, gtk_window_get_icon(widget));
  EXPECT_EQ(std::vector<unsigned short>(), fake_bitmaps::TakeRequests())
      << "bitmap 0 is not asked for";
  EXPECT_EQ(lent, References(bitmap)) << "the bitmap is only lent";
  gtk_widget_destroy(window.GetWidget());
}

TEST(Window, BuildsNothingOnCreate) {
  xWindow window(nullptr);
  window.OnCreate();
  EXPECT_TRUE(gtk_test::Children(window.GetWidget()).empty());
  gtk_widget_destroy(window.GetWidget());
}

TEST(Window, OfTheBaseClassLetsGtkDestroyIt) {
  xWindow window(nullptr);
  gtk_test::SignalCount destroyed(window.GetWidget(), "destroy");
  ASSERT_TRUE(gtk_test::ShowAndWait(window.GetWidget()));
  window.SendEvent(GDK_DELETE);
  EXPECT_TRUE(gtk_test::PumpUntil([&] { return destroyed.Count() == 1; }));
}

}  // namespace
