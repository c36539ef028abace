// Helpers for tests that drive real GTK widgets: initialisation, a bounded main loop, captured
// warnings, answers to modal dialogs.
//
// Including this header initialises GTK once, before the first test of the program. Helpers are
// used from the main thread only.
#pragma once

#include <gdk/gdkkeysyms.h>
#include <gdk/gdkx.h>
#include <gtk/gtk.h>

// Names of Xlib's that GoogleTest uses for things of its own.
#undef Always
#undef Bool
#undef False
#undef None
#undef Status
#undef Success
#undef True

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace gtk_test {

// How long a test waits for something that must come: long enough for a loaded machine, since a
// passing test never waits it out.
constexpr int kPatienceMs = 20000;

// Handles everything that is pending, including what the X server sends in answer to it.
inline void Pump() {
  do {
    gdk_display_sync(gdk_display_get_default());
    while (gtk_events_pending() != 0) gtk_main_iteration();
    gdk_display_sync(gdk_display_get_default());
  } while (gtk_events_pending() != 0);
}

// Runs the main loop until `done` gives true. Returns false when that takes too long.
inline bool PumpUntil(const std::function<bool()>& done, int timeout_ms = kPatienceMs) {
  const gint64 deadline = g_get_monotonic_time() + gint64{timeout_ms} * 1000;
  // Wakes the loop up, so that `done` is looked at also when no event comes.
  const guint ticker = g_timeout_add(
      5, [](gpointer) -> gboolean { return TRUE; }, nullptr);
  bool satisfied = done();
  while (!satisfied && g_get_monotonic_time() < deadline) {
    gtk_main_iteration();
    satisfied = done();
  }
  g_source_remove(ticker);
  return satisfied;
}

inline bool HasProperty(GdkWindow* window, const char* name) {
  guchar* data = nullptr;
  const bool found = gdk_property_get(window, gdk_atom_intern_static_string(name), nullptr, 0, 64,
                                      FALSE, nullptr, nullptr, nullptr, &data) != 0;
  g_free(data);
  return found;
}

// Waits until the window manager, if there is one, is at work. It announces itself a while before,
// and windows that ask to be shown in between may be left hidden for ever, so the probe asks anew.
inline bool WaitForWindowManager() {
  if (!HasProperty(gdk_get_default_root_window(), "_NET_SUPPORTING_WM_CHECK")) return true;
  GtkWidget* probe = gtk_window_new(GTK_WINDOW_TOPLEVEL);
  bool managed = false;
  for (int waited = 0; !managed && waited < kPatienceMs; waited += 50) {
    gtk_widget_hide(probe);
    gtk_widget_show(probe);
    GdkWindow* window = gtk_widget_get_window(probe);
    managed = PumpUntil([=] { return HasProperty(window, "WM_STATE"); }, 50);
  }
  gtk_widget_destroy(probe);
  Pump();
  return managed;
}

class Environment : public ::testing::Environment {
 public:
  void SetUp() override {
    ASSERT_TRUE(gtk_init_check(nullptr, nullptr)) << "these tests need an X display";
    ASSERT_TRUE(WaitForWindowManager());
  }
};

inline ::testing::Environment* const kEnvironment =
    ::testing::AddGlobalTestEnvironment(new Environment);

// Shows a widget and everything in it and waits until its window is on the screen.
inline bool ShowAndWait(GtkWidget* toplevel) {
  gtk_widget_show_all(toplevel);
  const bool mapped = PumpUntil([=] { return gtk_widget_get_mapped(toplevel) != 0; });
  Pump();
  return mapped;
}

// Shows a window and waits until it has the keyboard focus. Needs a window manager.
inline bool ShowAndFocus(GtkWidget* toplevel) {
  gtk_widget_show_all(toplevel);
  gtk_window_present(GTK_WINDOW(toplevel));
  return PumpUntil([=] { return gtk_window_is_active(GTK_WINDOW(toplevel)) != 0; });
}

// Asks a window to close as the window manager does when its close button is pressed.
inline void CloseAsWindowManager(GtkWidget* toplevel) {
  GdkWindow* window = gtk_widget_get_window(toplevel);
  GdkDisplay* display = gdk_drawable_get_display(window);
  GdkEvent* event = gdk_event_new(GDK_CLIENT_EVENT);
  event->client.window = GDK_WINDOW(g_object_ref(window));
  event->client.message_type = gdk_atom_intern_static_string("WM_PROTOCOLS");
  event->client.data_format = 32;
  event->client.data.l[0] =
      static_cast<long>(gdk_x11_get_xatom_by_name_for_display(display, "WM_DELETE_WINDOW"));
  event->client.data.l[1] = GDK_CURRENT_TIME;
  gdk_event_send_client_message_for_display(display, event, GDK_WINDOW_XID(window));
  gdk_event_free(event);
}

// Presses and releases a key while this window has the keyboard focus.
inline void PressKey(GtkWidget* toplevel, guint keyval, int modifiers = 0) {
  GdkWindow* window = gtk_widget_get_window(toplevel);
  const auto state = static_cast<GdkModifierType>(modifiers);
  gdk_test_simulate_key(window, -1, -1, keyval, state, GDK_KEY_PRESS);
  gdk_test_simulate_key(window, -1, -1, keyval, state, GDK_KEY_RELEASE);
}

// The children of a container, in its order. A box lists those packed from its end last and in
// reverse.
inline std::vector<GtkWidget*> Children(GtkWidget* container) {
  std::vector<GtkWidget*> children;
  GList* list = gtk_container_get_children(GTK_CONTAINER(container));
  for (GList* node = list; node != nullptr; node = node->next) {
    children.push_back(GTK_WIDGET(node->data));
  }
  g_list_free(list);
  return children;
}

// All top-level windows that GTK lists, hidden ones included.
inline std::vector<GtkWidget*> Toplevels() {
  std::vector<GtkWidget*> windows;
  GList* list = gtk_window_list_toplevels();
  for (GList* node = list; node != nullptr; node = node->next) {
    windows.push_back(GTK_WIDGET(node->data));
  }
  g_list_free(list);
  return windows;
}

// The value of an integer, boolean or enumeration property that a container keeps per child, such
// as "expand" of a box or "left-attach" of a table.
inline int ChildProperty(GtkWidget* container, GtkWidget* child, const char* name) {
  const GParamSpec* spec =
      gtk_container_class_find_child_property(G_OBJECT_GET_CLASS(container), name);
  GValue value = G_VALUE_INIT;
  GValue number = G_VALUE_INIT;
  g_value_init(&value, spec->value_type);
  g_value_init(&number, G_TYPE_INT);
  gtk_container_child_get_property(GTK_CONTAINER(container), child, name, &value);
  const bool transformed = g_value_transform(&value, &number) != 0;
  EXPECT_TRUE(transformed) << name;
  const int result = g_value_get_int(&number);
  g_value_unset(&value);
  g_value_unset(&number);
  return result;
}

// Collects what GLib and GTK log, for as long as it lives, instead of printing it. Not nested.
class Warnings {
 public:
  Warnings() : m_OldHandler(g_log_set_default_handler(Collect, this)) {}
  ~Warnings() { g_log_set_default_handler(m_OldHandler, nullptr); }
  Warnings(const Warnings&) = delete;
  Warnings& operator=(const Warnings&) = delete;

  // The messages so far, without domain and level.
  const std::vector<std::string>& Messages() const { return m_Messages; }

  // Whether a message contains this text.
  bool Contain(const std::string& text) const {
    return std::any_of(m_Messages.begin(), m_Messages.end(), [&](const std::string& message) {
      return message.find(text) != std::string::npos;
    });
  }

 private:
  static void Collect(const gchar*, GLogLevelFlags, const gchar* message, gpointer self) {
    static_cast<Warnings*>(self)->m_Messages.emplace_back(message != nullptr ? message : "");
  }

  GLogFunc m_OldHandler;
  std::vector<std::string> m_Messages;
};

// Counts emissions of a signal, for as long as both this object and the emitter live.
class SignalCount {
 public:
  SignalCount(gpointer emitter, const char* signal) : m_Emitter(emitter) {
    GClosure* closure =
        g_cclosure_new_swap(G_CALLBACK(+[](int* count) { ++*count; }), &m_Count, nullptr);
    m_Handler = g_signal_connect_closure(emitter, signal, closure, TRUE);
    g_object_add_weak_pointer(G_OBJECT(emitter), &m_Emitter);
  }
  ~SignalCount() {
    if (m_Emitter == nullptr) return;
    g_object_remove_weak_pointer(G_OBJECT(m_Emitter), &m_Emitter);
    if (g_signal_handler_is_connected(m_Emitter, m_Handler) != 0) {
      g_signal_handler_disconnect(m_Emitter, m_Handler);
    }
  }
  SignalCount(const SignalCount&) = delete;
  SignalCount& operator=(const SignalCount&) = delete;

  int Count() const { return m_Count; }

 private:
  gpointer m_Emitter;
  gulong m_Handler = 0;
  int m_Count = 0;
};

// Answers the modal dialog that the test is about to run. Make it before the call that blocks:
//
//   gtk_test::ModalAnswer answer([](GtkDialog* dialog) { gtk_dialog_response(dialog, 1); });
//   EXPECT_EQ(1, dialog.DoModel());
//
// As soon as a dialog is on the screen and holds the grab, the function is called with it, once. If
// no dialog comes, or if it still runs long after the answer, the test fails and the dialog is
// ended by force, or the program if that is impossible.
class ModalAnswer {
 public:
  explicit ModalAnswer(std::function<void(GtkDialog*)> answer, int patience_ms = kPatienceMs)
      : m_Answer(std::move(answer)),
        m_Deadline(g_get_monotonic_time() + gint64{patience_ms} * 1000),
        m_nTicker(g_timeout_add(10, Tick, this)) {}
  ~ModalAnswer() {
    g_source_remove(m_nTicker);
    EXPECT_TRUE(m_bAnswered) << "no modal dialog came";
  }
  ModalAnswer(const ModalAnswer&) = delete;
  ModalAnswer& operator=(const ModalAnswer&) = delete;

  // Whether the function was called.
  bool Answered() const { return m_bAnswered; }

  // The dialog that is on the screen and holds the grab, or null.
  static GtkDialog* Running() {
    GtkWidget* grab = gtk_grab_get_current();
    const bool running = grab != nullptr && GTK_IS_DIALOG(grab) && gtk_widget_get_mapped(grab) != 0;
    return running ? GTK_DIALOG(grab) : nullptr;
  }

 private:
  static gboolean Tick(gpointer self) {
    static_cast<ModalAnswer*>(self)->Look();
    return TRUE;
  }

  void Look() {
    GtkDialog* dialog = Running();
    if (!m_bAnswered && dialog != nullptr) {
      m_bAnswered = true;
      m_Answer(dialog);
    } else if (g_get_monotonic_time() > m_Deadline) {
      GiveUp(dialog);
    }
  }

  static void GiveUp(GtkDialog* dialog) {
    ADD_FAILURE() << (dialog != nullptr ? "the dialog did not end" : "no modal dialog came");
    if (dialog == nullptr) std::abort();
    gtk_dialog_response(dialog, GTK_RESPONSE_NONE);
  }

  std::function<void(GtkDialog*)> m_Answer;
  gint64 m_Deadline;
  bool m_bAnswered = false;
  guint m_nTicker;
};

}  // namespace gtk_test
