// Tests of the application object.
#include "app/frame/app_frame.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <type_traits>
#include <vector>

#include "tests/support/signal_handlers.h"
#include "tests/support/vtable_slot.h"

namespace {

using Texts = std::vector<std::string>;

// What happened, in its order, in the test that runs.
Texts& Log() {
  static Texts log;
  return log;
}

// An application that deletes its main window with itself.
class TestApp : public xApp {
 public:
  ~TestApp() override { delete m_pMainWnd; }
  int InitInstance() override {
    Log().emplace_back(gdk_display_get_default() != nullptr ? "InitInstance" : "too early");
    return result;
  }
  void ExitInstance() override {
    Log().push_back("ExitInstance in loop " + std::to_string(gtk_main_level()) +
                    (m_pMainWnd == nullptr ? " without window" : " with window"));
  }

  int result = -1;
};

class TestWindow : public xWindow {
 public:
  TestWindow() : xWindow(nullptr) {}
  ~TestWindow() override { Log().emplace_back("window deleted"); }
  int OnDelete() override {
    Log().emplace_back("OnDelete");
    gtk_main_quit();
    return 1;
  }
  void OnDestroy() override { Log().emplace_back("OnDestroy"); }
};

// Calls a function of the test from the main loop, and leaves the loop when that has not ended the
// run for a long time.
class FromMainLoop {
 public:
  explicit FromMainLoop(void (*action)(TestApp*), TestApp* app) : m_pAction(action), m_pApp(app) {
    m_nIdle = g_idle_add(Call, this);
    m_nGiveUp = g_timeout_add(20000, GiveUp, nullptr);
  }
  ~FromMainLoop() {
    if (m_nIdle != 0) g_source_remove(m_nIdle);
    g_source_remove(m_nGiveUp);
  }
  FromMainLoop(const FromMainLoop&) = delete;
  FromMainLoop& operator=(const FromMainLoop&) = delete;

 private:
  static gboolean Call(gpointer data) {
    auto* self = static_cast<FromMainLoop*>(data);
    self->m_nIdle = 0;
    self->m_pAction(self->m_pApp);
    return FALSE;
  }
  static gboolean GiveUp(gpointer) {
    ADD_FAILURE() << "the main loop did not end";
    gtk_main_quit();
    return TRUE;
  }

  void (*m_pAction)(TestApp*);
  TestApp* m_pApp;
  guint m_nIdle = 0;
  guint m_nGiveUp = 0;
};

// The program's first start, which initialises GTK for all tests. GTK looks at its options only
// once in a program.
struct FirstStart {
  xApp* before = nullptr;
  bool found = false;
  xWindow* window = nullptr;
  int result = 0;
  Texts log;
  int argc = 0;
  std::vector<char*> given;
  std::vector<char*> left;
};

FirstStart& First() {
  static FirstStart first;
  return first;
}

class StartEnvironment : public ::testing::Environment {
 public:
  void SetUp() override {
    static char program[] = "VeltranaDVXTools";
    static char option[] = "--class=FromTheOption";
    static char value[] = "--name";
    static char name[] = "from-the-option";
    static char other[] = "--of-its-own";
    FirstStart& first = First();
    first.given = {program, option, value, name, other, nullptr};
    first.left = first.given;
    first.argc = 5;
    first.before = xGetApp();
    TestApp app;
    first.found = xGetApp() == &app;
    first.window = app.m_pMainWnd;
    app.result = 7;
    first.result = app.Start(first.argc, first.left.data());
    first.log.swap(Log());
  }
};

::testing::Environment* const kStart = ::testing::AddGlobalTestEnvironment(new StartEnvironment);

class AppFrameTest : public ::testing::Test {
 protected:
  void SetUp() override { Log().clear(); }
};

TEST_F(AppFrameTest, HasItsFunctionsInTheFixedOrder) {
  EXPECT_EQ(3, vtable::Slot(&xApp::InitInstance));
  EXPECT_EQ(4, vtable::Slot(&xApp::ExitInstance));
  EXPECT_EQ(4, vtable::SlotCount<xApp>());
  static_assert(std::is_same_v<decltype(xApp::m_pMainWnd), xWindow*>);
  static_assert(std::is_same_v<decltype(xApp::m_Instance), xApp*>);
  static_assert(sizeof(xApp) == 2 * sizeof(void*));
}

TEST_F(AppFrameTest, IsFoundFromItsConstructionOnAndNeverForgotten) {
  EXPECT_EQ(nullptr, First().before);
  EXPECT_TRUE(First().found);
  xApp* last = nullptr;
  {
    TestApp first;
    EXPECT_EQ(&first, xGetApp());
    TestApp second;
    EXPECT_EQ(&second, xGetApp()) << "the last one wins";
    EXPECT_EQ(&second, xApp::m_Instance);
    last = &second;
  }
  EXPECT_EQ(last, xGetApp());
}

TEST_F(AppFrameTest, StartsWithoutMainWindow) {
  EXPECT_EQ(nullptr, First().window);
  const TestApp app;
  EXPECT_EQ(nullptr, app.m_pMainWnd);
}

TEST_F(AppFrameTest, StartInitialisesGtkAndReturnsTheResultOfInitInstance) {
  EXPECT_EQ(Texts{"InitInstance"}, First().log);
  EXPECT_EQ(7, First().result);
  TestApp app;
  for (int result : {0, -1}) {
    app.result = result;
    EXPECT_EQ(result, app.Start(0, nullptr));
  }
}

TEST_F(AppFrameTest, StartPassesOnWhatInitInstanceThrows) {
  class ThrowingApp : public xApp {
   public:
    int InitInstance() override { throw "Invalid Arg!"; }
  };
  ThrowingApp app;
  try {
    app.Start(0, nullptr);
    ADD_FAILURE() << "nothing was thrown";
  } catch (const char* text) {
    EXPECT_STREQ("Invalid Arg!", text);
  }
}

TEST_F(AppFrameTest, GtkConsumesItsOptionsButTheCallersArgumentsStayAsTheyWere) {
  EXPECT_STREQ("FromTheOption", gdk_get_program_class());
  EXPECT_STREQ("from-the-option", g_get_prgname());
  EXPECT_EQ(5, First().argc);
  EXPECT_EQ(First().given, First().left);
}

TEST_F(AppFrameTest, BaseSucceedsAndDoesNothingAtItsEnd) {
  xApp app;
  EXPECT_EQ(-1, app.InitInstance());
  EXPECT_EQ(-1, app.Start(0, nullptr));
  app.ExitInstance();
  EXPECT_EQ(nullptr, app.m_pMainWnd);
  EXPECT_EQ(Texts(), Log());
}

TEST_F(AppFrameTest, RunReturnsAtOnceWithoutMainWindow) {
  TestApp app;
  bool entered = false;
  // Would be called, and end the run, if the main loop was entered.
  const guint idle = g_idle_add(
      [](gpointer data) -> gboolean {
        *static_cast<bool*>(data) = true;
        gtk_main_quit();
        return TRUE;
      },
      &entered);
  app.Run();
  g_source_remove(idle);
  EXPECT_FALSE(entered);
}

TEST_F(AppFrameTest, DestroyedWindowIsDeletedOnceAndEndsTheLoopAfterExitInstance) {
  {
    TestApp app;
    app.m_pMainWnd = new TestWindow;
    FromMainLoop action(
        [](TestApp* running) {
          gtk_widget_destroy(running->m_pMainWnd->GetWidget());
          Log().emplace_back("destroyed");
        },
        &app);
    app.Run();
    Log().emplace_back("loop ended");
    EXPECT_EQ(nullptr, app.m_pMainWnd);
  }
  EXPECT_EQ((Texts{"OnDestroy", "window deleted", "ExitInstance in loop 1 without window",
                   "destroyed", "loop ended"}),
            Log());
}

TEST_F(AppFrameTest, WindowThatDestroysItsWidgetItselfIsDeletedOnce) {
  {
    TestApp app;
    app.m_pMainWnd = new TestWindow;
    FromMainLoop action([](TestApp* running) { running->m_pMainWnd->Destroy(); }, &app);
    app.Run();
    EXPECT_EQ(nullptr, app.m_pMainWnd);
  }
  EXPECT_EQ((Texts{"OnDestroy", "window deleted", "ExitInstance in loop 1 without window"}), Log());
}

// Destroys the main window in a loop of its own, as that of a modal dialog, below which a handler
// of the window still runs.
void DestroyInAnInnerLoop(xApp* app) {
  GMainLoop* inner = g_main_loop_new(nullptr, FALSE);
  g_idle_add(
      [](gpointer application) -> gboolean {
        gtk_widget_destroy(static_cast<xApp*>(application)->m_pMainWnd->GetWidget());
        return FALSE;
      },
      app);
  g_idle_add(
      [](gpointer loop) -> gboolean {
        g_main_loop_quit(static_cast<GMainLoop*>(loop));
        return FALSE;
      },
      inner);
  g_main_loop_run(inner);
  g_main_loop_unref(inner);
  Log().emplace_back("handler ended");
}

TEST_F(AppFrameTest, WindowDestroyedInAnInnerLoopIsDeletedWhenTheMainLoopHasEnded) {
  TestApp app;
  app.m_pMainWnd = new TestWindow;
  FromMainLoop action([](TestApp* running) { DestroyInAnInnerLoop(running); }, &app);
  app.Run();
  EXPECT_EQ(nullptr, app.m_pMainWnd);
  EXPECT_EQ(
      (Texts{"OnDestroy", "ExitInstance in loop 1 with window", "handler ended", "window deleted"}),
      Log());
}

// An application that leaves its window to the base class, as far as that goes.
class PlainApp : public xApp {
 public:
  static gboolean Destroy(gpointer app) {
    gtk_widget_destroy(static_cast<PlainApp*>(app)->m_pMainWnd->GetWidget());
    return FALSE;
  }
  static gboolean DestroyInside(gpointer app) {
    DestroyInAnInnerLoop(static_cast<PlainApp*>(app));
    return FALSE;
  }
};

TEST_F(AppFrameTest, DestroyedWindowOfAnApplicationWithoutADestructorIsDeletedInEveryLoop) {
  for (const GSourceFunc way : {PlainApp::Destroy, PlainApp::DestroyInside}) {
    Log().clear();
    {
      PlainApp app;
      app.m_pMainWnd = new TestWindow;
      g_idle_add(way, &app);
      app.Run();
      EXPECT_EQ(nullptr, app.m_pMainWnd);
    }
    EXPECT_EQ(1, std::count(Log().begin(), Log().end(), "window deleted"));
  }
}

TEST_F(AppFrameTest, RunLeavesNoHandlerOfItsOwnOnAWindowThatLivesOn) {
  TestApp app;
  app.m_pMainWnd = new TestWindow;
  GtkWidget* widget = app.m_pMainWnd->GetWidget();
  g_object_ref(widget);
  FromMainLoop action([](TestApp*) { gtk_main_quit(); }, &app);
  app.Run();
  EXPECT_EQ(0U, g_signal_handler_find(widget, G_SIGNAL_MATCH_FUNC, 0, 0, nullptr,
                                      reinterpret_cast<gpointer>(gtk_widget_destroyed), nullptr));
  g_signal_handlers_disconnect_matched(widget, G_SIGNAL_MATCH_DATA, 0, 0, nullptr, nullptr, &app);
  gtk_widget_destroy(widget);
  g_object_unref(widget);
}

TEST_F(AppFrameTest, ListensToTheDestructionAfterTheWindowItself) {
  TestApp app;
  app.m_pMainWnd = new TestWindow;
  GtkWidget* widget = app.m_pMainWnd->GetWidget();
  FromMainLoop action([](TestApp*) { gtk_main_quit(); }, &app);
  EXPECT_EQ(0U, FindHandler(widget, "destroy", &app));
  app.Run();
  EXPECT_LT(FindHandler(widget, "destroy", app.m_pMainWnd), FindHandler(widget, "destroy", &app));
  g_signal_handlers_disconnect_matched(widget, G_SIGNAL_MATCH_DATA, 0, 0, nullptr, nullptr, &app);
}

TEST_F(AppFrameTest, LeavingTheLoopKeepsTheWindowUntilTheApplicationGoes) {
  {
    TestApp app;
    app.m_pMainWnd = new TestWindow;
    FromMainLoop action([](TestApp*) { gtk_main_quit(); }, &app);
    app.Run();
    EXPECT_NE(nullptr, app.m_pMainWnd);
    Log().emplace_back("loop ended");
  }
  EXPECT_EQ((Texts{"loop ended", "window deleted"}), Log()) << "without ExitInstance";
}

TEST_F(AppFrameTest, ClosingTheWindowDoesNotDestroyIt) {
  {
    TestApp app;
    app.m_pMainWnd = new TestWindow;
    app.m_pMainWnd->ShowAll();
    FromMainLoop action([](TestApp* running) { running->m_pMainWnd->SendEvent(GDK_DELETE); }, &app);
    app.Run();
    EXPECT_NE(nullptr, app.m_pMainWnd);
    EXPECT_TRUE(gtk_widget_get_visible(app.m_pMainWnd->GetWidget()));
    Log().emplace_back("loop ended");
  }
  EXPECT_EQ((Texts{"OnDelete", "loop ended", "window deleted"}), Log());
}

TEST_F(AppFrameTest, EventSentBeforeLeavingTheLoopIsNotHandledAnyMore) {
  {
    TestApp app;
    app.m_pMainWnd = new TestWindow;
    app.m_pMainWnd->ShowAll();
    FromMainLoop action(
        [](TestApp* running) {
          running->m_pMainWnd->SendEvent(GDK_DELETE);
          gtk_main_quit();
        },
        &app);
    app.Run();
    Log().emplace_back("loop ended");
    GdkEvent* left = gdk_event_get();
    while (left != nullptr) {
      gdk_event_free(left);
      left = gdk_event_get();
    }
  }
  EXPECT_EQ((Texts{"loop ended", "window deleted"}), Log());
}

TEST_F(AppFrameTest, IgnoresADestructionWithoutData) {
  xApp::CallBack_Destroy(nullptr, nullptr);
  EXPECT_EQ(Texts(), Log());
}

TEST_F(AppFrameTest, EndsTheLoopAlsoWhenItHasNoWindowAnyMore) {
  TestApp app;
  app.m_pMainWnd = new TestWindow;
  FromMainLoop action(
      [](TestApp* running) {
        delete running->m_pMainWnd;
        running->m_pMainWnd = nullptr;
        xApp::CallBack_Destroy(nullptr, running);
      },
      &app);
  app.Run();
  EXPECT_EQ((Texts{"window deleted", "ExitInstance in loop 1 without window"}), Log());
}

}  // namespace
