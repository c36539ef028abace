// Tests of the application object: how the main window comes and goes. The programs that these
// tests start are the real one and two of ours around its main function.
#include "app/main_app.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdarg>
#include <string>
#include <vector>

#include "app/log/debug_log.h"
#include "tests/support/vtable_slot.h"
#include "tests/ui/ui_fixture.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using namespace ui_test;

xApp* instance_before_tests = nullptr;

class RememberInstance : public ::testing::Environment {
 public:
  void SetUp() override { instance_before_tests = xGetApp(); }
};
::testing::Environment* const kRememberInstance =
    ::testing::AddGlobalTestEnvironment(new RememberInstance);

// --- the object ---------------------------------------------------------------------------------

TEST(MainApp, IsThereBeforeAnythingElseRuns) {
  EXPECT_EQ(&theApp, instance_before_tests);
  EXPECT_EQ(nullptr, theApp.m_pMainWnd);
}

TEST(MainApp, OverridesVirtualsOfTheFrameAndAddsNothing) {
  EXPECT_EQ(3, vtable::Slot(&CMainApp::InitInstance));
  EXPECT_EQ(4, vtable::Slot(&CMainApp::ExitInstance));
  EXPECT_EQ(4, vtable::SlotCount<CMainApp>());
  EXPECT_EQ(sizeof(xApp), sizeof(CMainApp));
}

// --- in this process ----------------------------------------------------------------------------

// What happened, in order.
std::vector<std::string> events;

// A main window that notes its end.
class NotedWindow : public CMainWin {
 public:
  ~NotedWindow() override { events.emplace_back("window deleted"); }
  void OnDestroy() override { events.emplace_back("OnDestroy"); }
};

class NotedApp : public CMainApp {
 public:
  // As CMainApp does it, but hidden.
  int InitInstance() override {
    auto* window = new NotedWindow;
    m_pMainWnd = window;
    m_pWidget = window->GetWidget();
    g_object_ref(m_pWidget);
    window->OnCreate();
    window->InitTabs();
    return -1;
  }
  void ExitInstance() override {
    CMainApp::ExitInstance();
    events.push_back("ExitInstance in main level " + std::to_string(gtk_main_level()) +
                     (m_pMainWnd == nullptr ? ", window gone" : ", window there"));
  }
  void DestroyWidget() {
    gtk_widget_destroy(m_pWidget);
    g_object_unref(m_pWidget);
    gtk_test::Pump();
  }

  GtkWidget* m_pWidget = nullptr;
};

class MainAppTest : public UiTest {
 protected:
  void SetUp() override {
    UiTest::SetUp();
    m_pApp.reset();
    events.clear();
  }
  void TearDown() override {
    myDbgFunc = myDbgNop;
    UiTest::TearDown();
  }
};

// What was true when the debug log heard of the steps of the start.
struct Start {
  bool window_held_in_constructor = true;
  bool window_held_while_building = false;
  bool visible_when_settings_are_read = false;
  int position_when_settings_are_read = -1;
} start;

__attribute__((format(printf, 1, 2))) void WatchStart(const char* format, ...) {
  char line[1024];
  va_list arguments;
  va_start(arguments, format);
  vsnprintf(line, sizeof(line), format, arguments);
  va_end(arguments);
  const std::string text = line;
  const xWindow* window = xGetApp()->m_pMainWnd;
  if (text.find("Get_ll_CC") != std::string::npos) {
    start.window_held_in_constructor = window != nullptr;
  }
  if (text.find("hostname=(") != std::string::npos) {
    start.window_held_while_building = window != nullptr;
  }
  if (text.find("[ReadFile(252)]") == 0) {
    start.visible_when_settings_are_read = gtk_widget_get_visible(window->GetWidget()) != 0;
    g_object_get(window->GetWidget(), "window-position", &start.position_when_settings_are_read,
                 nullptr);
  }
}

TEST_F(MainAppTest, MakesShowsAndThenFillsTheWindow) {
  start = {};
  GtkWidget* widget = nullptr;
  {
    CMainApp app;
    myDbgFunc = WatchStart;
    EXPECT_EQ(-1, app.InitInstance());
    EXPECT_FALSE(start.window_held_in_constructor);
    EXPECT_TRUE(start.window_held_while_building);
    EXPECT_TRUE(start.visible_when_settings_are_read);
    EXPECT_EQ(int{GTK_WIN_POS_CENTER}, start.position_when_settings_are_read);
    ASSERT_NE(nullptr, app.m_pMainWnd);
    EXPECT_EQ(xGetMainWin(), app.m_pMainWnd);
    const auto& window = static_cast<const CMainWin&>(*app.m_pMainWnd);
    EXPECT_FALSE(IsSensitive(*(window.*MainWin::Apply)));
    EXPECT_EQ(1, fake_scanners::SurveysBegun());
    widget = window.GetWidget();
    g_object_ref(widget);
  }
  gtk_widget_destroy(widget);
  g_object_unref(widget);
}

class Leaving : public MainAppTest, public testing::WithParamInterface<const char*> {};

// The window object is deleted once, by the application object at its end.
TEST_P(Leaving, ByTheWindowsOwnHandlersKeepsTheWindowForTheApplicationObject) {
  NotedApp* app = new NotedApp;
  app->InitInstance();
  ASSERT_TRUE(gtk_test::ShowAndWait(app->m_pWidget));
  auto& window = static_cast<CMainWin&>(*app->m_pMainWnd);
  const std::string how = GetParam();
  std::function<void()> leave = [&, app] {
    if (how == "OK") Click(*(window.*MainWin::OK));
    if (how == "Cancel") Click(*(window.*MainWin::Cancel));
    if (how == "close") gtk_test::CloseAsWindowManager(app->m_pWidget);
  };
  g_idle_add(
      [](gpointer data) -> gboolean {
        (*static_cast<std::function<void()>*>(data))();
        return FALSE;
      },
      &leave);
  app->Run();
  EXPECT_THAT(events, IsEmpty());
  EXPECT_EQ(&window, app->m_pMainWnd);
  GtkWidget* widget = app->m_pWidget;
  delete app;
  EXPECT_THAT(events, ElementsAre("window deleted"));
  gtk_widget_destroy(widget);
  g_object_unref(widget);
  gtk_test::Pump();
  EXPECT_THAT(events, ElementsAre("window deleted"));
}

INSTANTIATE_TEST_SUITE_P(MainApp, Leaving, testing::Values("OK", "Cancel", "close"));

TEST_F(MainAppTest, DestroyingTheWidgetDeletesTheWindowOnceAndThenCallsExitInstance) {
  {
    NotedApp app;
    app.InitInstance();
    ASSERT_TRUE(gtk_test::ShowAndFocus(app.m_pWidget));
    g_object_ref(app.m_pWidget);
    g_idle_add(
        [](gpointer widget) -> gboolean {
          gtk_widget_destroy(GTK_WIDGET(widget));
          return FALSE;
        },
        app.m_pWidget);
    app.Run();
    EXPECT_EQ(nullptr, app.m_pMainWnd);
    g_object_unref(app.m_pWidget);
    g_object_unref(app.m_pWidget);
  }
  EXPECT_THAT(events, ElementsAre("OnDestroy", "window deleted",
                                  "ExitInstance in main level 1, window gone"));
}

TEST_F(MainAppTest, DestroyHandlerWithoutApplicationDoesNothing) {
  NotedApp app;
  app.InitInstance();
  xApp::CallBack_Destroy(GTK_OBJECT(app.m_pWidget), nullptr);
  EXPECT_THAT(events, IsEmpty());
  EXPECT_NE(nullptr, app.m_pMainWnd);
  delete app.m_pMainWnd;
  app.m_pMainWnd = nullptr;
  app.DestroyWidget();
}

TEST_F(MainAppTest, RunWithoutAMainWindowReturnsAtOnce) {
  CMainApp app;
  app.Run();
  EXPECT_EQ(0U, gtk_main_level());
}

// --- programs -----------------------------------------------------------------------------------

// What a command prints, without the last line feed.
std::string Output(const std::string& command) {
  FILE* pipe = popen((command + " 2>/dev/null").c_str(), "r");
  std::string output;
  for (int c = fgetc(pipe); c != EOF; c = fgetc(pipe)) output += static_cast<char>(c);
  pclose(pipe);
  if (!output.empty()) output.pop_back();
  return output;
}

// A program that is running. Ends with this object if it did not before.
class Program {
 public:
  Program(const std::string& path, std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), path);
    std::vector<char*> argv;
    argv.reserve(arguments.size() + 1);
    for (std::string& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    m_iPid = fork();
    if (m_iPid != 0) return;
    if (freopen(kErrors, "w", stderr) == nullptr) _exit(126);
    execv(path.c_str(), argv.data());
    _exit(127);
  }
  ~Program() {
    if (m_iPid > 0) kill(m_iPid, SIGKILL);
    if (m_iPid > 0) waitpid(m_iPid, nullptr, 0);
  }
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  // The window, once it is on the screen.
  std::string WaitForWindow() {
    std::string window;
    gtk_test::PumpUntil([&] {
      window = Output("xdotool search --onlyvisible --pid " + std::to_string(m_iPid) +
                      " --name '^Veltrana DVX Tools$'");
      return !window.empty();
    });
    EXPECT_NE("", window) << "no window came";
    return window;
  }

  // The exit status, or -1 if the program did not end by itself.
  int WaitForEnd() {
    int status = 0;
    const bool ended =
        gtk_test::PumpUntil([&] { return waitpid(m_iPid, &status, WNOHANG) == m_iPid; });
    if (!ended) return -1;
    m_iPid = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

  // What it has written to standard error.
  static std::string Errors() { return Read(kErrors); }

 private:
  static constexpr char kErrors[] = "/tmp/program-errors";

  pid_t m_iPid = -1;
};

const std::string kProgram = VELTRANA_BINARY_DIR "/app/VeltranaDVXTools";
const std::string kNoWindow = VELTRANA_BINARY_DIR "/tests/app/app_without_window";
const std::string kFailing = VELTRANA_BINARY_DIR "/tests/app/app_that_fails";

class ProgramTest : public MainAppTest {
 protected:
  void SetUp() override {
    MainAppTest::SetUp();
    fs::remove_all("/usr/local/share/veltrana/scanner/bin");
  }
};

TEST_F(ProgramTest, ClosedByTheWindowManagerEndsWithStatus0AndWritesNothing) {
  Program program(kProgram, {});
  const std::string window = program.WaitForWindow();
  Output("wmctrl -i -c " + window);
  EXPECT_EQ(0, program.WaitForEnd());
  EXPECT_FALSE(fs::exists(SettingsFile()));
  EXPECT_TRUE(fs::is_directory(ScanFolder()));
  EXPECT_EQ("void CMainTabs::ReadFile(): Setting File open Error\n", program.Errors());
}

TEST_F(ProgramTest, OKByKeyEndsWithStatus0AndWritesTheSettings) {
  Program program(kProgram, {});
  const std::string window = program.WaitForWindow();
  Output("xdotool windowfocus --sync " + window + " key alt+o");
  EXPECT_EQ(0, program.WaitForEnd());
  EXPECT_EQ(
      "scanpath=\"" + ScanFolder() + "\"\nocrpath=\"\"\npcname=\"lab-desk\"\npcListUp=\"1\"\n",
      Read(SettingsFile()));
  EXPECT_EQ("void CMainTabs::ReadFile(): Setting File open Error\n", program.Errors());
}

TEST_F(ProgramTest, OptionsOfGtkAreTakenAndEverythingElseIsIgnored) {
  Program program(kProgram, {"--name=another", "--unknown", "word", "--class=Other"});
  const std::string window = program.WaitForWindow();
  EXPECT_EQ("WM_CLASS(STRING) = \"another\", \"Other\"",
            Output("xprop -id " + window + " WM_CLASS"));
  Output("wmctrl -i -c " + window);
  EXPECT_EQ(0, program.WaitForEnd());
}

TEST_F(ProgramTest, TheDebugLogIsChosenBeforeTheWindowIsMade) {
  Write("/usr/local/share/veltrana/scanner/bin/VeltranaDVXTools.err", "");
  Program program(kProgram, {});
  const std::string window = program.WaitForWindow();
  Output("wmctrl -i -c " + window);
  EXPECT_EQ(0, program.WaitForEnd());
  EXPECT_EQ(0U, program.Errors().find("[Get_ll_CC(74)]: CRctFile::Get_ll_CC lang=C.UTF-8 \n"));
  const std::string last = "[OnDelete(93)]: CMainWin::OnDelete\n";
  EXPECT_EQ(program.Errors().size() - last.size(), program.Errors().rfind(last));
}

TEST_F(ProgramTest, TheWindowStandsInTheMiddleOfTheScreen) {
  Program program(kProgram, {});
  const std::string window = program.WaitForWindow();
  const std::string geometry = Output("xdotool getwindowgeometry " + window);
  int x = 0;
  int y = 0;
  ASSERT_EQ(2, sscanf(geometry.c_str(), "%*[^P]Position: %d,%d", &x, &y)) << geometry;
  EXPECT_THAT(geometry, HasSubstr("Geometry: 638x446"));
  // The screen has 1280 x 1024 pixels; the title bar takes some of it.
  EXPECT_NEAR(321, x, 60);
  EXPECT_NEAR(289, y, 60);
  Output("wmctrl -i -c " + window);
  EXPECT_EQ(0, program.WaitForEnd());
}

TEST_F(ProgramTest, WithoutADisplayItSaysSoAndEndsWithStatus0) {
  Program program(kProgram, {"--display=:77"});
  EXPECT_EQ(0, program.WaitForEnd());
  EXPECT_THAT(program.Errors(), HasSubstr("cannot open display: :77\n"));
  EXPECT_FALSE(fs::exists(ScanFolder()));
}

TEST_F(ProgramTest, AFailingInitInstanceEndsWithStatus0WithoutMainLoop) {
  Program program(kFailing, {});
  EXPECT_EQ(0, program.WaitForEnd());
  EXPECT_EQ("InitInstance\n", program.Errors());
}

TEST_F(ProgramTest, AnApplicationWithoutWindowEndsWithStatus0WithoutMainLoop) {
  Program program(kNoWindow, {});
  EXPECT_EQ(0, program.WaitForEnd());
  EXPECT_EQ("InitInstance\n", program.Errors());
}

}  // namespace
