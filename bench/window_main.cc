// Watches the windows of a program as their user does, from outside: starts it, presses keys and
// notes when the screen changes. Writes what it saw as lines of JSON.
#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>
#include <X11/extensions/Xdamage.h>
#include <X11/keysym.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "bench/arguments.h"
#include "bench/peak_memory.h"

namespace {

// A window as wide as this is a program's main one.
constexpr int kMainWidth = 600;

// The screen has settled when nothing has changed for so long. Carets blink more slowly.
constexpr double kSettled = 0.25;
constexpr double kPatience = 20;

// How often Tab is pressed to get from the notebook's tabs to these, in the order of the page.
constexpr int kTabsToEntry = 2;
constexpr int kTabsToList = 3;
constexpr int kTabsToSearch = 4;

// So far a list is scrolled down before it is scrolled up again.
constexpr int kPagesDown = 8;

constexpr int kMostRounds = 1000;

[[noreturn]] void Fail(const std::string& what) {
  fprintf(stderr, "bench_window: %s\n", what.c_str());
  exit(1);
}

double Now() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

// Changes of the screen between a moment and the one at which it has settled.
struct Changes {
  double first = 0;  // 0 when there was none
  double last = 0;
  int tallest = 0;
};

class Screen {
 public:
  Screen() : m_pDisplay(XOpenDisplay(nullptr)) {
    int error = 0;
    if (m_pDisplay == nullptr) Fail("no display");
    if (XDamageQueryExtension(m_pDisplay, &m_iDamage, &error) == 0) Fail("no damage extension");
    XSetErrorHandler([](Display*, XErrorEvent*) { return 0; });  // windows that have just gone
    const Window root = DefaultRootWindow(m_pDisplay);
    XSelectInput(m_pDisplay, root, SubstructureNotifyMask);
    XDamageCreate(m_pDisplay, root, XDamageReportRawRectangles);
    XSync(m_pDisplay, False);
  }
  ~Screen() { XCloseDisplay(m_pDisplay); }
  Screen(const Screen&) = delete;
  Screen& operator=(const Screen&) = delete;

  // Waits until a window has come whose width is in the range, and returns when that was.
  double WaitForWindow(int least_width, int most_width) {
    m_lastWindow = 0;
    const auto came = [&] {
      const auto found = m_Widths.find(m_lastWindow);
      return found != m_Widths.end() && found->second >= least_width && found->second < most_width;
    };
    Await(came, "a window");
    return m_dLastMapped;
  }

  void WaitUntilGone() {
    const Window window = m_lastWindow;
    Await([&] { return m_Widths.count(window) == 0; }, "the dialog to close");
  }

  // The window that gets the keys.
  Window Focus() const {
    Window focus = 0;
    int revert = 0;
    XGetInputFocus(m_pDisplay, &focus, &revert);
    return focus;
  }

  void WaitForFocus(Window window) {
    Await([&] { return Focus() == window; }, "the window to get the keys");
  }

  Changes WaitUntilSettled() {
    const double begin = Now();
    while (Now() - std::max(begin, m_Changes.last) < kSettled) {
      HandleEvents(kSettled / 10);
      if (Now() - begin > kPatience) Fail("the screen does not settle");
    }
    return m_Changes;
  }

  // Forgets the changes so far.
  void StartWatching() {
    HandleEvents(0);
    m_Changes = {};
  }

  void Key(KeySym key, bool down) {
    XTestFakeKeyEvent(m_pDisplay, XKeysymToKeycode(m_pDisplay, key), down ? True : False, 0);
    XFlush(m_pDisplay);
  }

  void Press(KeySym key) {
    Key(key, true);
    Key(key, false);
  }

 private:
  void Await(const std::function<bool()>& come_true, const char* what) {
    const double end = Now() + kPatience;
    while (!come_true()) {
      if (Now() > end) Fail(std::string("waited in vain for ") + what);
      HandleEvents(0.01);
    }
  }

  // Handles what has happened; waits for something if nothing has.
  void HandleEvents(double seconds) {
    if (XPending(m_pDisplay) == 0) {
      pollfd connection{ConnectionNumber(m_pDisplay), POLLIN, 0};
      poll(&connection, 1, static_cast<int>(seconds * 1000));
    }
    while (XPending(m_pDisplay) > 0) {
      XEvent event;
      XNextEvent(m_pDisplay, &event);
      Handle(event);
    }
  }

  void Handle(const XEvent& event) {
    if (event.type == m_iDamage + XDamageNotify) {
      const auto& damage = reinterpret_cast<const XDamageNotifyEvent&>(event);
      m_Changes.last = Now();
      if (m_Changes.first == 0) m_Changes.first = m_Changes.last;
      m_Changes.tallest = std::max<int>(m_Changes.tallest, damage.area.height);
    } else if (event.type == MapNotify) {
      const double now = Now();
      XWindowAttributes attributes;
      if (XGetWindowAttributes(m_pDisplay, event.xmap.window, &attributes) == 0) return;
      m_Widths[event.xmap.window] = attributes.width;
      m_lastWindow = event.xmap.window;
      m_dLastMapped = now;
    } else if (event.type == UnmapNotify) {
      m_Widths.erase(event.xunmap.window);
    }
  }

  Display* m_pDisplay;
  int m_iDamage = 0;
  std::map<Window, int> m_Widths;  // of the windows on the screen
  Window m_lastWindow = 0;
  double m_dLastMapped = 0;
  Changes m_Changes;
};

// The program that is watched; it ends with this object.
class Program {
 public:
  explicit Program(char** arguments) : m_dStart(Now()), m_Pid(fork()) {
    if (m_Pid < 0) Fail("no process");
    if (m_Pid > 0) return;
    const int nothing = open("/dev/null", O_RDWR);
    for (const int fd : {0, 1, 2}) dup2(nothing, fd);
    execv(arguments[0], arguments);
    _exit(127);
  }
  ~Program() {
    kill(m_Pid, SIGTERM);
    waitpid(m_Pid, nullptr, 0);
  }
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  double Start() const { return m_dStart; }

  // The most memory that it has had so far, in KiB.
  long PeakMemory() const {
    const long peak = peak_memory(std::to_string(m_Pid));
    if (peak == 0) Fail("the program has ended");
    return peak;
  }

 private:
  double m_dStart;
  pid_t m_Pid;
};

// Waits for the program's window, and until it is painted.
Changes WaitForMainWindow(Screen* screen, double* mapped) {
  *mapped = screen->WaitForWindow(kMainWidth, INT32_MAX);
  return screen->WaitUntilSettled();
}

// From the start of the process to the window that is painted.
void WatchStart(Screen* screen, char** arguments) {
  screen->WaitUntilSettled();
  screen->StartWatching();
  const Program program(arguments);
  double mapped = 0;
  const Changes changes = WaitForMainWindow(screen, &mapped);
  printf("{\"start\": %.9f, \"mapped\": %.9f, \"painted\": %.9f, \"peak_kib\": %ld}\n",
         program.Start(), mapped - program.Start(), changes.last - program.Start(),
         program.PeakMemory());
}

// Opens the second page and goes to one of its controls.
double OpenPage(Screen* screen, int tabs) {
  screen->StartWatching();
  const double begin = Now();
  screen->Key(XK_Control_L, true);
  screen->Press(XK_Page_Down);
  screen->Key(XK_Control_L, false);
  const Changes changes = screen->WaitUntilSettled();
  if (changes.first == 0) Fail("the page did not come");
  for (int i = 0; i < tabs; ++i) {
    screen->Press(XK_Tab);
    screen->WaitUntilSettled();
  }
  return changes.last - begin;
}

// One key press and what it does to the screen.
void WatchKey(Screen* screen, KeySym key, int least_height) {
  screen->StartWatching();
  const double begin = Now();
  screen->Key(key, true);
  const Changes changes = screen->WaitUntilSettled();
  screen->Key(key, false);
  if (changes.tallest < least_height) Fail("a key changed nothing on the screen");
  printf("{\"first\": %.9f, \"painted\": %.9f}\n", changes.first - begin, changes.last - begin);
}

void WatchKeys(Screen* screen, int rounds) {
  OpenPage(screen, kTabsToEntry);
  // The cursor to the end: GTK selects the text of an entry that Tab leads to.
  screen->Press(XK_End);
  screen->WaitUntilSettled();
  for (int i = 0; i < rounds; ++i) WatchKey(screen, i % 2 == 0 ? XK_a : XK_BackSpace, 5);
}

void WatchScrolling(Screen* screen, int rounds) {
  const double page = OpenPage(screen, kTabsToList);
  printf("{\"page\": %.9f}\n", page);
  for (int i = 0; i < rounds; ++i) {
    const bool down = i / kPagesDown % 2 == 0;
    WatchKey(screen, down ? XK_Page_Down : XK_Page_Up, 50);
  }
}

void WatchSearch(Screen* screen, int rounds) {
  OpenPage(screen, kTabsToSearch);
  const Window main_window = screen->Focus();
  for (int i = 0; i < rounds; ++i) {
    screen->Key(XK_space, true);
    screen->WaitUntilSettled();
    screen->StartWatching();
    const double begin = Now();
    screen->Key(XK_space, false);
    const double mapped = screen->WaitForWindow(1, kMainWidth);
    const Changes changes = screen->WaitUntilSettled();
    printf("{\"first\": %.9f, \"mapped\": %.9f, \"painted\": %.9f}\n", changes.first - begin,
           mapped - begin, changes.last - begin);
    screen->WaitUntilGone();
    screen->WaitForFocus(main_window);
    screen->WaitUntilSettled();
  }
}

struct Scenario {
  const char* name;
  void (*watch)(Screen* screen, int rounds);
};
constexpr std::array kScenarios{Scenario{"keys", WatchKeys}, Scenario{"scroll", WatchScrolling},
                                Scenario{"search", WatchSearch}};

int Run(const std::string& name, int rounds, char** arguments) {
  Screen screen;
  if (name == "start") {
    for (int i = 0; i < rounds; ++i) WatchStart(&screen, arguments);
    return 0;
  }
  for (const Scenario& scenario : kScenarios) {
    if (name != scenario.name) continue;
    const Program program(arguments);
    double mapped = 0;
    WaitForMainWindow(&screen, &mapped);
    scenario.watch(&screen, rounds);
    return 0;
  }
  fprintf(stderr, "bench_window: unknown: %s\n", name.c_str());
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 4) {
    fputs("Usage: bench_window start|keys|scroll|search ROUNDS PROGRAM [ARGUMENT...]\n", stderr);
    return 2;
  }
  return Run(argv[1], NumberArgument("bench_window", argv[2], kMostRounds), argv + 3);
}
