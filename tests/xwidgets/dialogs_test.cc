// Tests of the dialog base, the message box and the pickers.
#include "xwidgets/dialogs.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "tests/support/gtk_test.h"
#include "tests/support/record_layout.h"
#include "tests/support/signal_handlers.h"
#include "tests/support/vtable_slot.h"

// --- what becomes of the message box's text -----------------------------------------------------

namespace {

// The text that g_strdup_vprintf made last while it was watched, and whether it was freed since.
struct WatchedText {
  bool watching = false;
  const void* text = nullptr;
  bool freed = false;
} watched;

}  // namespace

// These two take the place of GLib's in the whole program and do what GLib's do.
extern "C" gchar* g_strdup_vprintf(const gchar* format, va_list args) {
  char* text = nullptr;
  if (vasprintf(&text, format, args) < 0) text = nullptr;
  if (watched.watching) {
    watched.text = text;
    watched.watching = false;
  }
  return text;
}

extern "C" void(g_free)(gpointer memory) {
  if (memory != nullptr && memory == watched.text) watched.freed = true;
  free(memory);
}

namespace {

using gtk_test::ModalAnswer;
using Texts = std::vector<std::string>;
using Widgets = std::vector<GtkWidget*>;

constexpr int kEscape = -1000;  // press the Escape key
constexpr int kClose = -1001;   // close the window as the window manager does

// A window on the screen, to put dialogs over.
class Owner : public xWindow {
 public:
  Owner() : xWindow(nullptr) {
    SetWindowText("Owner's title");
    SetSize(300, 200);
    EXPECT_TRUE(gtk_test::ShowAndFocus(GetWidget()));
  }
  ~Owner() override {
    if (GetWidget() != nullptr) gtk_widget_destroy(GetWidget());
  }
};

// Writes down what happens to it.
class TestDialog : public xDialog {
 public:
  explicit TestDialog(xWindow* parent) : xDialog(parent) {}

  int OnBeforeResponse(int responseId) override {
    calls.push_back("OnBeforeResponse " + std::to_string(responseId));
    return accept;
  }
  void OnInitDialog() override {
    calls.emplace_back("OnInitDialog");
    if (onInit) onInit();
  }
  void OnEndDialog(int result) override {
    calls.push_back("OnEndDialog " + std::to_string(result));
    if (onEnd) onEnd();
  }
  int OnDelete() override {
    calls.emplace_back("OnDelete");
    return 1;
  }
  void OnDestroy() override { calls.emplace_back("OnDestroy"); }

  Texts calls;
  int accept = -1;
  std::function<void()> onInit;
  std::function<void()> onEnd;
};

void End(GtkDialog* dialog, int how) {
  if (how == kEscape) {
    gtk_test::PressKey(GTK_WIDGET(dialog), GDK_Escape);
  } else if (how == kClose) {
    gtk_test::CloseAsWindowManager(GTK_WIDGET(dialog));
  } else {
    gtk_dialog_response(dialog, how);
  }
}

// The dialog's buttons in the order in which they were added.
Widgets Buttons(GtkDialog* dialog) {
  Widgets buttons = gtk_test::Children(gtk_dialog_get_action_area(dialog));
  std::reverse(buttons.begin(), buttons.end());
  return buttons;
}

// The dialog's buttons as they stand on the screen, as "label identifier", from left to right.
Texts ButtonRow(GtkDialog* dialog) {
  Widgets buttons = Buttons(dialog);
  std::sort(buttons.begin(), buttons.end(), [](const GtkWidget* a, const GtkWidget* b) {
    return a->allocation.x < b->allocation.x;
  });
  Texts row;
  for (GtkWidget* button : buttons) {
    row.push_back(std::string(gtk_button_get_label(GTK_BUTTON(button))) + " " +
                  std::to_string(gtk_dialog_get_response_for_widget(dialog, button)));
  }
  return row;
}

const gint* StoredResponse(GtkWidget* button) {
  return static_cast<const gint*>(g_object_get_data(G_OBJECT(button), "my-xdialog-response-data"));
}

void Click(GtkWidget* button) { gtk_button_clicked(GTK_BUTTON(button)); }

// --- the tables of virtual functions and the fields ---------------------------------------------

TEST(DialogTables, ContinueThatOfTheWindowInTheFixedOrder) {
  EXPECT_EQ(27, vtable::Slot(&xDialog::DoModel));
  EXPECT_EQ(28, vtable::Slot(&xDialog::AddButton));
  EXPECT_EQ(29, vtable::Slot(&xDialog::SetDefaultResponse));
  EXPECT_EQ(30, vtable::Slot(&xDialog::OnBeforeResponse));
  EXPECT_EQ(31, vtable::Slot(&xDialog::OnInitDialog));
  EXPECT_EQ(32, vtable::Slot(&xDialog::OnEndDialog));
  EXPECT_EQ(32, vtable::SlotCount<xDialog>());
  EXPECT_EQ(32, vtable::Slot(&xColorSelectDialog::OnEndDialog));
  EXPECT_EQ(32, vtable::SlotCount<xColorSelectDialog>());
  EXPECT_EQ(31, vtable::Slot(&xFontSelectDialog::OnInitDialog));
  EXPECT_EQ(32, vtable::SlotCount<xFontSelectDialog>());
}

TEST(DialogTables, HaveTheFixedTypesAndFields) {
  static_assert(
      std::is_same_v<decltype(&xDialog::AddButton), GtkWidget* (xDialog::*)(const gchar*, gint)>);
  static_assert(std::is_same_v<decltype(&xDialog::GetContent), xBox* (xDialog::*)() const>);
  static_assert(std::is_same_v<decltype(&xColorSelectDialog::ColorRef),
                               unsigned int (xColorSelectDialog::*)() const>);
  static_assert(sizeof(xDialog) == sizeof(xWindow) + sizeof(void*));
  static_assert(sizeof(GdkColor) == 12);
  static_assert(sizeof(xColorSelectDialog) ==
                NextPlaceFor<void*>(sizeof(xDialog) + sizeof(GdkColor)) + sizeof(void*));
  static_assert(sizeof(xFontSelectDialog) == sizeof(xDialog) + 2 * sizeof(void*));
}

// --- the dialog base ----------------------------------------------------------------------------

TEST(Dialog, IsModalDestroyedWithItsParentAndHasNoSeparator) {
  Owner owner;
  TestDialog dialog(&owner);
  auto* window = GTK_WINDOW(dialog.GetWidget());
  ASSERT_TRUE(GTK_IS_DIALOG(window));
  EXPECT_TRUE(gtk_window_get_modal(window));
  EXPECT_TRUE(gtk_window_get_destroy_with_parent(window));
  gboolean separator = TRUE;
  g_object_get(window, "has-separator", &separator, nullptr);
  EXPECT_FALSE(separator);
  EXPECT_EQ(GTK_WINDOW(owner.GetWidget()), gtk_window_get_transient_for(window));
  EXPECT_EQ(nullptr, gtk_window_get_title(window));
  EXPECT_FALSE(gtk_widget_get_visible(dialog.GetWidget()));
  EXPECT_TRUE(Buttons(GTK_DIALOG(window)).empty());
}

TEST(Dialog, WrapsItsOwnVerticalBoxAsContent) {
  Owner owner;
  TestDialog dialog(&owner);
  ASSERT_NE(nullptr, dialog.GetContent());
  EXPECT_EQ(GTK_DIALOG(dialog.GetWidget())->vbox, dialog.GetContent()->GetWidget());
}

TEST(Dialog, LeavesTheWindowOfItsBaseBehindHiddenAndWithoutHandlers) {
  Owner owner;
  const Widgets before = gtk_test::Toplevels();
  TestDialog dialog(&owner);
  Widgets added;
  for (GtkWidget* window : gtk_test::Toplevels()) {
    if (std::find(before.begin(), before.end(), window) == before.end()) added.push_back(window);
  }
  ASSERT_EQ(2U, added.size());
  GtkWidget* left = added[0] == dialog.GetWidget() ? added[1] : added[0];
  EXPECT_FALSE(GTK_IS_DIALOG(left));
  EXPECT_FALSE(gtk_widget_get_visible(left));
  EXPECT_EQ(1U, G_OBJECT(left)->ref_count) << "GTK's own reference";
  EXPECT_EQ(0U, CountHandlers(dialog.GetWidget(), &dialog));
  gtk_widget_destroy(left);
  EXPECT_EQ(Texts(), dialog.calls);
}

TEST(Dialog, AddsButtonsThatCarryTheirResponse) {
  Owner owner;
  TestDialog dialog(&owner);
  GtkWidget* ok = dialog.AddButton("gtk-ok", 1);
  GtkWidget* cancel = dialog.AddButton("gtk-cancel", -70000);
  ASSERT_NE(nullptr, ok);
  EXPECT_TRUE(gtk_button_get_use_stock(GTK_BUTTON(ok)));
  EXPECT_STREQ("gtk-ok", gtk_button_get_label(GTK_BUTTON(ok)));
  EXPECT_TRUE(gtk_widget_get_can_default(ok));
  EXPECT_TRUE(gtk_widget_get_visible(ok));
  EXPECT_EQ(1, *StoredResponse(ok));
  EXPECT_EQ(-70000, *StoredResponse(cancel));
  EXPECT_NE(StoredResponse(ok), StoredResponse(cancel)) << "a block each";

  GtkWidget* area = gtk_dialog_get_action_area(GTK_DIALOG(dialog.GetWidget()));
  EXPECT_EQ((Widgets{ok, cancel}), Buttons(GTK_DIALOG(dialog.GetWidget())));
  EXPECT_EQ(GTK_PACK_END, gtk_test::ChildProperty(area, ok, "pack-type"));
  EXPECT_EQ(0, gtk_test::ChildProperty(area, ok, "expand"));
  EXPECT_EQ(1, gtk_test::ChildProperty(area, ok, "fill"));
  EXPECT_EQ(0, gtk_test::ChildProperty(area, ok, "padding"));
  EXPECT_EQ(0, gtk_test::ChildProperty(area, ok, "secondary"));
}

TEST(Dialog, ReleasesTheResponseOfAButtonTogetherWithIt) {
  Owner owner;
  TestDialog dialog(&owner);
  GtkWidget* button = dialog.AddButton("gtk-ok", 1);
  watched.text = StoredResponse(button);
  watched.freed = false;
  gtk_widget_destroy(button);
  EXPECT_TRUE(watched.freed);
  watched.text = nullptr;
}

TEST(Dialog, SetsTheHelpButtonApart) {
  Owner owner;
  TestDialog dialog(&owner);
  GtkWidget* ok = dialog.AddButton("gtk-ok", 1);
  GtkWidget* help = dialog.AddButton("gtk-help", -11);
  GtkWidget* cancel = dialog.AddButton("gtk-cancel", 2);
  GtkWidget* area = gtk_dialog_get_action_area(GTK_DIALOG(dialog.GetWidget()));
  EXPECT_EQ(1, gtk_test::ChildProperty(area, help, "secondary"));
  EXPECT_EQ(0, gtk_test::ChildProperty(area, ok, "secondary"));
  dialog.SetSize(600, -1);
  int gap = 0;
  ModalAnswer answer([&](GtkDialog* running) {
    EXPECT_LT(ok->allocation.x, cancel->allocation.x) << "in the order in which they were added";
    gap = ok->allocation.x - (help->allocation.x + help->allocation.width);
    gtk_dialog_response(running, 1);
  });
  dialog.DoModel();
  EXPECT_GT(gap, 100) << "at the other end of the row";
}

TEST(Dialog, RefusesAButtonWithoutStockItem) {
  Owner owner;
  TestDialog dialog(&owner);
  gtk_test::Warnings warnings;
  EXPECT_EQ(nullptr, dialog.AddButton(nullptr, 1));
  EXPECT_EQ(Texts{"virtual GtkWidget* xDialog::AddButton(const gchar*, gint): assertion "
                  "'button_text != NULL' failed"},
            warnings.Messages());
  EXPECT_TRUE(Buttons(GTK_DIALOG(dialog.GetWidget())).empty());
}

TEST(Dialog, EndsWithTheResponseOfTheClickedButton) {
  Owner owner;
  TestDialog dialog(&owner);
  dialog.AddButton("gtk-ok", 41);
  GtkWidget* apply = dialog.AddButton("gtk-apply", 42);
  ModalAnswer answer([&](GtkDialog*) { Click(apply); });
  EXPECT_EQ(42, dialog.DoModel());
  EXPECT_EQ((Texts{"OnInitDialog", "OnBeforeResponse 42", "OnEndDialog 42"}), dialog.calls);
}

TEST(Dialog, StaysOpenWhileOnBeforeResponseReturnsZero) {
  Owner owner;
  TestDialog dialog(&owner);
  GtkWidget* ok = dialog.AddButton("gtk-ok", 1);
  gtk_test::SignalCount responses(dialog.GetWidget(), "response");
  dialog.accept = 0;
  ModalAnswer answer([&](GtkDialog* running) {
    Click(ok);
    gtk_test::Pump();
    EXPECT_EQ(0, responses.Count());
    EXPECT_EQ(running, ModalAnswer::Running());
    dialog.accept = 1;
    Click(ok);
  });
  EXPECT_EQ(1, dialog.DoModel());
  EXPECT_EQ((Texts{"OnInitDialog", "OnBeforeResponse 1", "OnBeforeResponse 1", "OnEndDialog 1"}),
            dialog.calls);
}

TEST(Dialog, AcceptsEveryResponseByDefault) {
  Owner owner;
  xDialog dialog(&owner);
  EXPECT_EQ(-1, dialog.OnBeforeResponse(0));
  GtkWidget* ok = dialog.AddButton("gtk-ok", 3);
  ModalAnswer answer([&](GtkDialog*) { Click(ok); });
  EXPECT_EQ(3, dialog.DoModel());
}

TEST(Dialog, TakesAButtonWithoutResponseForMinusOne) {
  Owner owner;
  TestDialog dialog(&owner);
  GtkWidget* button = dialog.AddButton("gtk-ok", 1);
  g_object_set_data(G_OBJECT(button), "my-xdialog-response-data", nullptr);
  ModalAnswer answer([&](GtkDialog*) { Click(button); });
  EXPECT_EQ(2, dialog.DoModel());
  EXPECT_EQ((Texts{"OnInitDialog", "OnBeforeResponse -1", "OnEndDialog 2"}), dialog.calls);
}

TEST(Dialog, IgnoresAClickWithoutButtonOrData) {
  Owner owner;
  TestDialog dialog(&owner);
  GtkWidget* button = dialog.AddButton("gtk-ok", 1);
  xDialog::CallBack_ButtonClicked(nullptr, &dialog);
  xDialog::CallBack_ButtonClicked(button, nullptr);
  EXPECT_EQ(Texts(), dialog.calls);
}

TEST(Dialog, TurnsEveryResponseThatIsNotPositiveIntoTwo) {
  const std::pair<int, int> cases[] = {
      {1, 1},      {2, 2},       {3, 3},      {77, 77}, {0x7FFFFFFF, 0x7FFFFFFF},
      {0, 2},      {-1, 2},      {-4, 2},     {-5, 2},  {-8, 2},
      {-12345, 2}, {kEscape, 2}, {kClose, 2},
  };
  Owner owner;
  for (const auto& [response, result] : cases) {
    TestDialog dialog(&owner);
    ModalAnswer answer([how = response](GtkDialog* running) { End(running, how); });
    EXPECT_EQ(result, dialog.DoModel()) << response;
    EXPECT_EQ((Texts{"OnInitDialog", "OnEndDialog " + std::to_string(result)}), dialog.calls)
        << response << ": neither OnBeforeResponse nor OnDelete nor OnDestroy is asked";
  }
}

TEST(Dialog, IsPreparedInAFixedOrderBeforeItRuns) {
  Owner owner;
  TestDialog dialog(&owner);
  auto* window = GTK_WINDOW(dialog.GetWidget());
  xLabel label("text", 0.5F, 0.5F, nullptr, kNoControlID);
  dialog.GetContent()->AppendChild(&label, 0, 0, 0);
  GtkWindowPosition position = GTK_WIN_POS_NONE;
  dialog.onInit = [&] {
    g_object_get(window, "window-position", &position, nullptr);
    EXPECT_EQ(GTK_WIN_POS_CENTER_ON_PARENT, position);
    EXPECT_TRUE(gtk_widget_get_visible(label.GetWidget()));
    EXPECT_TRUE(gtk_window_get_skip_taskbar_hint(window));
    EXPECT_FALSE(gtk_widget_get_visible(GTK_WIDGET(window))) << "the run has not begun";
  };
  ModalAnswer answer([&](GtkDialog* running) {
    EXPECT_EQ(Texts{"OnInitDialog"}, dialog.calls);
    EXPECT_EQ(GTK_WIDGET(running), dialog.GetWidget());
    End(running, 1);
  });
  EXPECT_EQ(1, dialog.DoModel());
}

TEST(Dialog, HasNeitherWidgetNorContentWhenOnEndDialogIsCalled) {
  Owner owner;
  TestDialog dialog(&owner);
  GtkWidget* widget = dialog.GetWidget();
  gtk_test::SignalCount destroyed(widget, "destroy");
  dialog.onEnd = [&] {
    EXPECT_EQ(1, destroyed.Count());
    EXPECT_EQ(nullptr, dialog.GetContent());
    EXPECT_EQ(nullptr, dialog.GetWidget());
  };
  ModalAnswer answer([](GtkDialog* running) { End(running, 1); });
  dialog.DoModel();
  EXPECT_EQ("OnEndDialog 1", dialog.calls.back());
  const Widgets left = gtk_test::Toplevels();
  EXPECT_EQ(left.end(), std::find(left.begin(), left.end(), widget));
}

// The middle of a window on the screen.
std::pair<int, int> Middle(GtkWidget* window) {
  int x = 0;
  int y = 0;
  gdk_window_get_origin(gtk_widget_get_window(window), &x, &y);
  return {x + window->allocation.width / 2, y + window->allocation.height / 2};
}

TEST(Dialog, StandsOverTheMiddleOfItsParent) {
  Owner owner;
  gtk_window_move(GTK_WINDOW(owner.GetWidget()), 700, 500);
  ASSERT_TRUE(gtk_test::PumpUntil([&] { return Middle(owner.GetWidget()).first > 800; }));
  TestDialog dialog(&owner);
  dialog.SetSize(100, 80);
  bool centred = false;
  ModalAnswer answer([&](GtkDialog* running) {
    // The window manager moves both of them, and adds frames.
    centred = gtk_test::PumpUntil([&] {
      const auto [x, y] = Middle(owner.GetWidget());
      const auto [dialogX, dialogY] = Middle(GTK_WIDGET(running));
      return x > 800 && std::abs(x - dialogX) < 20 && std::abs(y - dialogY) < 40;
    });
    End(running, 1);
  });
  dialog.DoModel();
  EXPECT_TRUE(centred);
}

TEST(Dialog, EndsWithTwoWhenItsParentIsDestroyed) {
  Owner owner;
  TestDialog dialog(&owner);
  GtkWidget* window = owner.GetWidget();
  ModalAnswer answer([&](GtkDialog*) { gtk_widget_destroy(window); });
  EXPECT_EQ(2, dialog.DoModel());
  EXPECT_EQ((Texts{"OnInitDialog", "OnEndDialog 2"}), dialog.calls);
}

TEST(Dialog, MayBeDeletedWithoutHavingRun) {
  Owner owner;
  auto dialog = std::make_unique<TestDialog>(&owner);
  GtkWidget* widget = dialog->GetWidget();
  GtkWidget* button = dialog->AddButton("gtk-ok", 1);
  void* address = static_cast<xDialog*>(dialog.get());
  EXPECT_EQ(1U, CountHandlers(button, address));
  dialog.reset();
  EXPECT_EQ(0U, CountHandlers(button, address)) << "the GTK dialog lives on with its parent";
  gtk_widget_destroy(widget);
}

TEST(Dialog, MayBeDeletedAfterGtkHasDestroyedItWithItsParent) {
  auto owner = std::make_unique<Owner>();
  TestDialog dialog(owner.get());
  dialog.AddButton("gtk-ok", 1);
  owner.reset();
  EXPECT_EQ(Texts(), dialog.calls);
}

TEST(Dialog, FindsOnlyGtksOwnButtonsAsDefault) {
  Owner owner;
  TestDialog dialog(&owner);
  GtkWidget* first = dialog.AddButton("gtk-ok", 41);
  GtkWidget* second = dialog.AddButton("gtk-cancel", 42);
  dialog.SetDefaultResponse(42);
  EXPECT_EQ(nullptr, gtk_window_get_default_widget(GTK_WINDOW(dialog.GetWidget())));
  ModalAnswer answer([&](GtkDialog* running) {
    EXPECT_EQ(nullptr, gtk_window_get_default_widget(GTK_WINDOW(running)));
    EXPECT_TRUE(gtk_widget_has_default(first)) << "the first one looks like it instead";
    EXPECT_FALSE(gtk_widget_has_default(second));
    End(running, 1);
  });
  dialog.DoModel();

  TestDialog plain(&owner);
  GtkWidget* ok = gtk_dialog_add_button(GTK_DIALOG(plain.GetWidget()), "gtk-ok", 41);
  plain.SetDefaultResponse(41);
  EXPECT_EQ(ok, gtk_window_get_default_widget(GTK_WINDOW(plain.GetWidget())));
  gtk_widget_destroy(plain.GetWidget());
}

// --- the message box ----------------------------------------------------------------------------

// What a message box showed.
struct Shown {
  Texts buttons;
  std::string defaultButton;
  GtkMessageType icon = GTK_MESSAGE_OTHER;
  std::string text;
  std::string title;
  GtkWindow* parent = nullptr;
  bool destroyedWithParent = false;
};

std::string Property(GtkDialog* dialog, const char* name) {
  gchar* value = nullptr;
  g_object_get(dialog, name, &value, nullptr);
  std::string text = value != nullptr ? value : "(null)";
  g_free(value);
  return text;
}

Shown Look(GtkDialog* dialog) {
  Shown shown;
  shown.buttons = ButtonRow(dialog);
  GtkWidget* button = gtk_window_get_default_widget(GTK_WINDOW(dialog));
  if (button != nullptr) shown.defaultButton = gtk_button_get_label(GTK_BUTTON(button));
  g_object_get(dialog, "message-type", &shown.icon, nullptr);
  shown.text = Property(dialog, "text");
  shown.title = Property(dialog, "title");
  shown.parent = gtk_window_get_transient_for(GTK_WINDOW(dialog));
  shown.destroyedWithParent = gtk_window_get_destroy_with_parent(GTK_WINDOW(dialog)) != 0;
  return shown;
}

// Shows a message box, ends it as told, and returns its result.
int Ask(xWindow* parent, int type, const char* title, int how, Shown* shown = nullptr) {
  ModalAnswer answer([&](GtkDialog* dialog) {
    if (shown != nullptr) *shown = Look(dialog);
    End(dialog, how);
  });
  return xMessageBox(parent, type, title, "%s", "text");
}

TEST(MessageBox, HasTheButtonsAndTheResultsOfItsType) {
  const Texts ok = {"gtk-ok 1"};
  const Texts okCancel = {"gtk-ok 1", "gtk-cancel 2"};
  const Texts yesNoCancel = {"gtk-yes 6", "gtk-no 7", "gtk-cancel 2"};
  const Texts yesNo = {"gtk-yes 6", "gtk-no 7"};
  const Texts noCancel = {"gtk-no 7", "gtk-cancel 2"};
  const struct {
    int type;
    Texts buttons;
    std::vector<int> identifiers;
  } cases[] = {
      {0, ok, {1}},
      {1, okCancel, {1, 2}},
      {2, ok, {1}},
      {3, yesNoCancel, {6, 7, 2}},
      {4, yesNo, {6, 7}},
      {5, ok, {1}},
      {7, ok, {1}},
      {6, noCancel, {7, 2}},
      {8, ok, {1}},
      {9, ok, {1}},
      {10, ok, {1}},
      {11, ok, {1}},
      {12, ok, {1}},
      {13, ok, {1}},
      {14, ok, {1}},
      {15, ok, {1}},
      {0x1234, yesNo, {6, 7}},
  };
  Owner owner;
  for (const auto& c : cases) {
    Shown shown;
    const int last = c.identifiers.back();
    EXPECT_EQ(last, Ask(&owner, c.type, nullptr, kEscape, &shown)) << c.type;
    EXPECT_EQ(c.buttons, shown.buttons) << c.type;
    EXPECT_EQ(c.buttons.back().substr(0, c.buttons.back().find(' ')), shown.defaultButton)
        << c.type;
    for (int id : c.identifiers) EXPECT_EQ(id, Ask(&owner, c.type, nullptr, id)) << c.type;
    EXPECT_EQ(last, Ask(&owner, c.type, nullptr, 99)) << c.type << ": no such button";
  }
}

TEST(MessageBox, CountsBeingClosedAsItsLastButton) {
  Owner owner;
  EXPECT_EQ(1, Ask(&owner, 0, nullptr, kClose));
  EXPECT_EQ(2, Ask(&owner, 1, nullptr, kClose));
  EXPECT_EQ(2, Ask(&owner, 3, nullptr, kClose));
  EXPECT_EQ(7, Ask(&owner, 4, nullptr, kClose));
  EXPECT_EQ(7, Ask(&owner, 4, nullptr, 2)) << "Cancel is no button of that set";
}

TEST(MessageBox, ReturnsTheButtonThatIsClicked) {
  Owner owner;
  ModalAnswer answer([](GtkDialog* dialog) { Click(Buttons(dialog).at(0)); });
  EXPECT_EQ(6, xMessageBox(&owner, 0x24, nullptr, "%s", "text"));
}

TEST(MessageBox, HasTheIconOfItsType) {
  const std::pair<int, GtkMessageType> cases[] = {
      {0x00, GTK_MESSAGE_OTHER},   {0x10, GTK_MESSAGE_ERROR}, {0x20, GTK_MESSAGE_QUESTION},
      {0x30, GTK_MESSAGE_WARNING}, {0x40, GTK_MESSAGE_INFO},  {0x50, GTK_MESSAGE_OTHER},
      {0x70, GTK_MESSAGE_OTHER},   {0xF0, GTK_MESSAGE_OTHER}, {0x110, GTK_MESSAGE_ERROR},
  };
  Owner owner;
  for (const auto& [type, icon] : cases) {
    Shown shown;
    Ask(&owner, type, nullptr, 1, &shown);
    EXPECT_EQ(icon, shown.icon) << type;
  }
}

TEST(MessageBox, OfType0x34WithAParentAndNoTitleIsAWarningWithTheParentsTitleAndEscapeMeansNo) {
  Owner owner;
  Shown shown;
  EXPECT_EQ(7, Ask(&owner, 0x34, nullptr, kEscape, &shown));
  EXPECT_EQ(GTK_MESSAGE_WARNING, shown.icon);
  EXPECT_EQ((Texts{"gtk-yes 6", "gtk-no 7"}), shown.buttons);
  EXPECT_EQ("Owner's title", shown.title);
  EXPECT_EQ(GTK_WINDOW(owner.GetWidget()), shown.parent);
  EXPECT_TRUE(shown.destroyedWithParent);
}

TEST(MessageBox, TakesTheGivenTitle) {
  Owner owner;
  Shown shown;
  Ask(&owner, 0x40, "Given", 1, &shown);
  EXPECT_EQ("Given", shown.title);
  Ask(&owner, 0x40, "", 1, &shown);
  EXPECT_EQ("", shown.title) << "an empty title is a title";
  Ask(nullptr, 0x40, "Given", 1, &shown);
  EXPECT_EQ("Given", shown.title);
  EXPECT_EQ(nullptr, shown.parent);
}

TEST(MessageBox, LeavesTheTitleAloneWhenNobodyHasOne) {
  GtkWidget* untouched = gtk_message_dialog_new(nullptr, GTK_DIALOG_DESTROY_WITH_PARENT,
                                                GTK_MESSAGE_INFO, GTK_BUTTONS_NONE, "%s", "text");
  const std::string title = Property(GTK_DIALOG(untouched), "title");
  gtk_widget_destroy(untouched);
  Shown shown;
  Ask(nullptr, 0x40, nullptr, 1, &shown);
  EXPECT_EQ(title, shown.title);
  xWindow nameless(nullptr);
  Ask(&nameless, 0x40, nullptr, 1, &shown);
  EXPECT_EQ(title, shown.title);
  gtk_widget_destroy(nameless.GetWidget());
}

TEST(MessageBox, FormatsItsTextOnceAndWithoutLimit) {
  const std::string path(3000, 'x');
  Shown shown;
  ModalAnswer answer([&](GtkDialog* dialog) {
    shown = Look(dialog);
    End(dialog, 1);
  });
  xMessageBox(nullptr, 0x40, nullptr, "%s: %d %% <b>&%s", "100%s %n", 42, path.c_str());
  EXPECT_EQ("100%s %n: 42 % <b>&" + path, shown.text);
}

TEST(MessageBox, IsNotShownWhenItsTextCannotBeMade) {
  // A surrogate is no character in any multibyte encoding.
  const wchar_t broken[] = {static_cast<wchar_t>(0xD800), 0};
  const Widgets before = gtk_test::Toplevels();
  EXPECT_EQ(1, xMessageBox(nullptr, 0x40, nullptr, "%ls", broken));
  EXPECT_EQ(7, xMessageBox(nullptr, 0x44, nullptr, "%ls", broken));
  EXPECT_EQ(2, xMessageBox(nullptr, 0x43, nullptr, "%ls", broken));
  EXPECT_EQ(before, gtk_test::Toplevels());
}

TEST(MessageBox, NeverReleasesItsText) {
  ModalAnswer answer([](GtkDialog* dialog) { End(dialog, 1); });
  watched = {true, nullptr, false};
  xMessageBox(nullptr, 0x40, nullptr, "%s", "kept");
  ASSERT_NE(nullptr, watched.text);
  EXPECT_STREQ("kept", static_cast<const char*>(watched.text));
  EXPECT_FALSE(watched.freed);
  g_free(const_cast<void*>(watched.text));
  EXPECT_TRUE(watched.freed) << "releases would be seen";
  watched = {};
}

TEST(MessageBox, IsDestroyedAfterItsRun) {
  Owner owner;
  const Widgets before = gtk_test::Toplevels();
  Ask(&owner, 0x41, nullptr, 2);
  EXPECT_EQ(before, gtk_test::Toplevels());
}

TEST(MessageBox, GivesTheDefaultWhenItsParentIsDestroyed) {
  Owner owner;
  GtkWidget* window = owner.GetWidget();
  const gtk_test::Warnings warnings;
  ModalAnswer answer([&](GtkDialog*) { gtk_widget_destroy(window); });
  EXPECT_EQ(2, xMessageBox(&owner, 0x41, nullptr, "%s", "text"));
  EXPECT_TRUE(warnings.Messages().empty());
}

// --- the pickers --------------------------------------------------------------------------------

// The first child of this type in the dialog's content.
GtkWidget* FindInContent(const xDialog& dialog, GType type) {
  for (GtkWidget* child : gtk_test::Children(dialog.GetContent()->GetWidget())) {
    if (G_TYPE_CHECK_INSTANCE_TYPE(child, type)) return child;
  }
  return nullptr;
}

void ExpectOkAndCancelWithCancelAsDefault(const xDialog& dialog) {
  auto* window = GTK_DIALOG(dialog.GetWidget());
  const Widgets buttons = Buttons(window);
  ASSERT_EQ(2U, buttons.size());
  EXPECT_STREQ("gtk-ok", gtk_button_get_label(GTK_BUTTON(buttons[0])));
  EXPECT_EQ(1, gtk_dialog_get_response_for_widget(window, buttons[0]));
  EXPECT_STREQ("gtk-cancel", gtk_button_get_label(GTK_BUTTON(buttons[1])));
  EXPECT_EQ(2, gtk_dialog_get_response_for_widget(window, buttons[1]));
  EXPECT_EQ(buttons[1], gtk_window_get_default_widget(GTK_WINDOW(window)));
}

void ExpectPackedTight(const xDialog& dialog, GtkWidget* child) {
  GtkWidget* content = dialog.GetContent()->GetWidget();
  EXPECT_EQ(0, gtk_test::ChildProperty(content, child, "expand"));
  EXPECT_EQ(0, gtk_test::ChildProperty(content, child, "fill"));
  EXPECT_EQ(0, gtk_test::ChildProperty(content, child, "padding"));
  EXPECT_EQ(GTK_PACK_START, gtk_test::ChildProperty(content, child, "pack-type"));
}

GtkColorSelection* Selection(const xColorSelectDialog& dialog) {
  return GTK_COLOR_SELECTION(FindInContent(dialog, GTK_TYPE_COLOR_SELECTION));
}

std::vector<int> CurrentColour(const xColorSelectDialog& dialog) {
  GdkColor color = {};
  gtk_color_selection_get_current_color(Selection(dialog), &color);
  return {color.red, color.green, color.blue};
}

TEST(ColorSelectDialog, WithRedInTheLowByteStartsOnPureRed) {
  Owner owner;
  xColorSelectDialog dialog(&owner, 0x0000FFU);
  EXPECT_EQ((std::vector<int>{65535, 0, 0}), CurrentColour(dialog));
  EXPECT_EQ(0x0000FFU, dialog.ColorRef());
  gtk_widget_destroy(dialog.GetWidget());
}

TEST(ColorSelectDialog, RepeatsTheByteOfEachComponent) {
  Owner owner;
  xColorSelectDialog dialog(&owner, 0xAB123456U);
  EXPECT_EQ((std::vector<int>{0x5656, 0x3434, 0x1212}), CurrentColour(dialog));
  EXPECT_EQ(0x123456U, dialog.ColorRef()) << "the highest byte is no component";
  gtk_widget_destroy(dialog.GetWidget());
}

TEST(ColorSelectDialog, StartsWithACopyOfAColourOrWithBlack) {
  Owner owner;
  GdkColor color = {7, 0x12FF, 0x3400, 0x5680};
  xColorSelectDialog dialog(&owner, &color);
  color.red = 0;
  EXPECT_EQ((std::vector<int>{0x12FF, 0x3400, 0x5680}), CurrentColour(dialog));
  EXPECT_EQ(0x563412U, dialog.ColorRef()) << "the high byte of each component";
  xColorSelectDialog black(&owner, static_cast<GdkColor*>(nullptr));
  EXPECT_EQ((std::vector<int>{0, 0, 0}), CurrentColour(black));
  EXPECT_EQ(0U, black.ColorRef());
  gtk_widget_destroy(dialog.GetWidget());
  gtk_widget_destroy(black.GetWidget());
}

TEST(ColorSelectDialog, HasOkAndCancelAndASelectionWithoutOpacity) {
  Owner owner;
  xColorSelectDialog dialog(&owner, 0U);
  ExpectOkAndCancelWithCancelAsDefault(dialog);
  EXPECT_FALSE(gtk_color_selection_get_has_opacity_control(Selection(dialog)));
  ExpectPackedTight(dialog, GTK_WIDGET(Selection(dialog)));
  gtk_widget_destroy(dialog.GetWidget());
}

TEST(ColorSelectDialog, TakesTheChosenColourOverForOkOnly) {
  const std::pair<int, unsigned int> cases[] = {
      {1, 0x805020U}, {2, 0x0000FFU}, {kEscape, 0x0000FFU}};
  Owner owner;
  for (const auto& [how, expected] : cases) {
    xColorSelectDialog dialog(&owner, 0x0000FFU);
    ModalAnswer answer([&, end = how](GtkDialog* running) {
      const GdkColor chosen = {0, 0x20FF, 0x5000, 0x8012};
      gtk_color_selection_set_current_color(Selection(dialog), &chosen);
      End(running, end);
    });
    EXPECT_EQ(how == 1 ? 1 : 2, dialog.DoModel());
    EXPECT_EQ(expected, dialog.ColorRef()) << how;
  }
}

GtkFontSelection* Selection(const xFontSelectDialog& dialog) {
  return GTK_FONT_SELECTION(FindInContent(dialog, GTK_TYPE_FONT_SELECTION));
}

std::string CurrentFont(GtkFontSelection* selection) {
  gchar* name = gtk_font_selection_get_font_name(selection);
  std::string text = name != nullptr ? name : "(null)";
  g_free(name);
  return text;
}

TEST(FontSelectDialog, HasOkAndCancelAndAFontSelection) {
  Owner owner;
  xFontSelectDialog dialog(&owner, nullptr);
  ExpectOkAndCancelWithCancelAsDefault(dialog);
  ExpectPackedTight(dialog, GTK_WIDGET(Selection(dialog)));
  EXPECT_EQ(nullptr, dialog.FontName());
  gtk_widget_destroy(dialog.GetWidget());
}

TEST(FontSelectDialog, KeepsACopyOfItsFirstFont) {
  Owner owner;
  std::string name = "Monospace 23";
  xFontSelectDialog dialog(&owner, name.c_str());
  name[0] = 'X';
  EXPECT_STREQ("Monospace 23", dialog.FontName());
  gtk_widget_destroy(dialog.GetWidget());
}

TEST(FontSelectDialog, SelectsItsFirstFontWhenItIsAboutToRun) {
  Owner owner;
  xFontSelectDialog dialog(&owner, "Monospace 23");
  EXPECT_NE("Monospace 23", CurrentFont(Selection(dialog)));
  std::string shown;
  ModalAnswer answer([&](GtkDialog* running) {
    shown = CurrentFont(Selection(dialog));
    End(running, 2);
  });
  EXPECT_EQ(2, dialog.DoModel());
  EXPECT_EQ("Monospace 23", shown);
}

TEST(FontSelectDialog, LeavesTheSelectionAloneWithoutAFirstFont) {
  Owner owner;
  xFontSelectDialog dialog(&owner, nullptr);
  const std::string before = CurrentFont(Selection(dialog));
  std::string shown;
  ModalAnswer answer([&](GtkDialog* running) {
    shown = CurrentFont(Selection(dialog));
    End(running, 1);
  });
  EXPECT_EQ(1, dialog.DoModel());
  EXPECT_EQ(before, shown);
  EXPECT_EQ(before, dialog.FontName());
}

TEST(FontSelectDialog, TakesTheChosenFontOverForOkOnly) {
  const std::pair<int, const char*> cases[] = {
      {1, "Monospace 31"}, {2, "Monospace 23"}, {kClose, "Monospace 23"}};
  Owner owner;
  for (const auto& [how, expected] : cases) {
    xFontSelectDialog dialog(&owner, "Monospace 23");
    watched = {false, dialog.FontName(), false};
    ModalAnswer answer([&, end = how](GtkDialog* running) {
      gtk_font_selection_set_font_name(Selection(dialog), "Monospace 31");
      End(running, end);
    });
    EXPECT_EQ(how == 1 ? 1 : 2, dialog.DoModel());
    EXPECT_STREQ(expected, dialog.FontName()) << how;
    EXPECT_EQ(how == 1, watched.freed) << how << ": only OK releases the first name";
    watched = {};
  }
}

TEST(FontSelectDialog, ReleasesItsFontWithItself) {
  Owner owner;
  auto dialog = std::make_unique<xFontSelectDialog>(&owner, "Monospace 23");
  GtkWidget* widget = dialog->GetWidget();
  GtkFontSelection* selection = Selection(*dialog);
  watched = {false, dialog->FontName(), false};
  const guint references = G_OBJECT(selection)->ref_count;
  dialog.reset();
  EXPECT_TRUE(watched.freed);
  EXPECT_EQ(references - 1, G_OBJECT(selection)->ref_count);
  watched = {};
  gtk_widget_destroy(widget);
}

}  // namespace
