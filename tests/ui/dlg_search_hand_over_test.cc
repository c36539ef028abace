// Tests of a search that is cancelled in its last moments, while the worker hands the devices over
// to the main loop: at every step of that, many times, with the worker held there and running on.
#include <gtest/gtest.h>
#include <malloc.h>

#include <algorithm>
#include <atomic>
#include <climits>
#include <cstring>
#include <functional>
#include <random>
#include <thread>

#include "app/log/debug_log.h"
#include "base/cancellation_off.h"
#include "tests/ui/ui_fixture.h"

// Where the sanitizers have an allocator of their own, only they know what is allocated.
extern "C" size_t __sanitizer_get_current_allocated_bytes() __attribute__((weak));

// The linker sends the calls of these here, see CMakeLists.txt.
extern "C" {
int __real_usleep(useconds_t microseconds);
int __wrap_usleep(useconds_t microseconds);
gint64 __real_g_get_monotonic_time();
gint64 __wrap_g_get_monotonic_time();
void __real_g_main_context_wakeup(GMainContext* context);
void __wrap_g_main_context_wakeup(GMainContext* context);
int __real_pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                          void* (*entry)(void*), void* argument);
int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                          void* (*entry)(void*), void* argument);
}

namespace {

// The worker's way from the survey to its end, step by step.
enum Step {
  kNowhere,
  kFlagRead,     // it has seen that nobody cancelled, the devices are still its own
  kPauseBegins,  // the devices are stored
  kInPause,      // it sleeps
  kPauseEnds,
  kBeforeWaking,  // the main loop would see the end if it was awake; cancelling is put off
  kAfterWaking,   // it is awake; cancelling is still put off
  kSaidEnd,       // nothing is left to do
};

constexpr Step kSteps[] = {kFlagRead,     kPauseBegins, kInPause, kPauseEnds,
                           kBeforeWaking, kAfterWaking, kSaidEnd};

// The sanitizers take their time.
const int kTimes = __sanitizer_get_current_allocated_bytes != nullptr ? 20 : 100;

// Bytes that a search may leave behind more than another, as GTK keeps more or less of a dialog.
// The two devices take 1,088. Smaller leaks are the leak checker's.
constexpr long kTolerance = 800;

std::atomic<Step> hold_at{kNowhere};
std::atomic<bool> reached{false};
std::atomic<bool> go_on{false};
bool no_threads = false;

// What the worker has slept less than it asked for.
thread_local gint64 skipped = 0;

// Called by the worker. Tells the test that it is at this step, and waits there if it is to be
// held.
void Reach(Step step) {
  if (step != hold_at) return;
  reached = true;
  const CancellationOff guard;
  while (!go_on) __real_usleep(20);
}

__attribute__((format(printf, 1, 2))) void StepByLine(const char* format, ...) {
  if (strstr(format, "search_thread bCancel=") != nullptr) Reach(kFlagRead);
  if (strstr(format, "search_thread End") != nullptr) Reach(kSaidEnd);
}

}  // namespace

// The worker's pause takes no time, apart from a moment in which it can be cancelled.
int __wrap_usleep(useconds_t microseconds) {
  Reach(kPauseBegins);
  if (hold_at == kInPause) {
    reached = true;
    while (!go_on) __real_usleep(20);
  }
  __real_usleep(1);
  skipped += microseconds;
  Reach(kPauseEnds);
  return 0;
}

gint64 __wrap_g_get_monotonic_time() { return __real_g_get_monotonic_time() + skipped; }

void __wrap_g_main_context_wakeup(GMainContext* context) {
  Reach(kBeforeWaking);
  __real_g_main_context_wakeup(context);
  Reach(kAfterWaking);
}

int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                          void* (*entry)(void*), void* argument) {
  return no_threads ? EAGAIN : __real_pthread_create(thread, attributes, entry, argument);
}

namespace {

using namespace ui_test;

const std::vector<fake_scanners::Device> kTwoDevices = {{"Veltrana T55", "reception", "10.77.0.64"},
                                                        {"Veltrana T70", "archive", "10.77.0.65"}};

// The fields of the dialog.
struct Dialog : CDlgSearch {
  static constexpr auto Cancel = &Dialog::m_pCancel;
};

// Does `action` once in the main loop, so many microseconds from now, unless that is over before.
class InMainLoop {
 public:
  explicit InMainLoop(std::function<void()> action, gint priority = G_PRIORITY_HIGH,
                      gint64 microseconds = 0)
      : m_Action(std::move(action)), m_pSource(g_timeout_source_new(0)) {
    g_source_set_ready_time(m_pSource, g_get_monotonic_time() + microseconds);
    g_source_set_priority(m_pSource, priority);
    g_source_set_callback(m_pSource, Run, &m_Action, nullptr);
    g_source_attach(m_pSource, nullptr);
  }
  ~InMainLoop() {
    g_source_destroy(m_pSource);
    g_source_unref(m_pSource);
  }
  InMainLoop(const InMainLoop&) = delete;
  InMainLoop& operator=(const InMainLoop&) = delete;

 private:
  static gboolean Run(gpointer action) {
    (*static_cast<std::function<void()>*>(action))();
    return FALSE;
  }

  std::function<void()> m_Action;
  GSource* m_pSource;
};

class DlgSearchHandOverTest : public UiTest {
 protected:
  void SetUp() override {
    UiTest::SetUp();
    no_threads = false;
    m_pApp->MakeWindow();
    fake_scanners::SetDevices(kTwoDevices);
    myDbgFunc = StepByLine;
  }
  void TearDown() override {
    m_pSearch.reset();
    myDbgFunc = myDbgNop;
    UiTest::TearDown();
  }

  // A new dialog whose worker stops at this step, or at none.
  void Make(Step step) {
    m_pSearch.reset();
    reached = false;
    go_on = false;
    hold_at = step;
    m_pSearch = std::make_unique<CDlgSearch>(&Window());
  }
  CDlgSearch& Search() { return *m_pSearch; }
  void ClickCancel() { Click(*(Search().*Dialog::Cancel)); }

  // Waits, without the main loop, until the worker is at the step.
  static bool WorkerIsThere() {
    const gint64 deadline = g_get_monotonic_time() + gint64{gtk_test::kPatienceMs} * 1000;
    while (!reached && g_get_monotonic_time() < deadline) __real_usleep(20);
    return reached;
  }

  // What is true of every search that ended with this result.
  void ExpectAllOrNothing(int result) {
    if (result != 1) {
      EXPECT_EQ(nullptr, Search().getMachines());
      EXPECT_EQ(0, Search().getMachineNum());
      EXPECT_EQ(1, bCancel);
      return;
    }
    ASSERT_EQ(2, Search().getMachineNum());
    EXPECT_STREQ("reception", Search().getMachines()[0].szMachineName);
    EXPECT_STREQ("10.77.0.65", Search().getMachines()[1].szIPAddress);
    EXPECT_EQ(0, bCancel);
    free(Search().getMachines());
  }

  // Runs the dialog until its worker has nothing left to do, and does `other` in the round of the
  // main loop that hears of the end, right before it or right behind it. Returns the result.
  int RunWith(const std::function<void()>& other, bool before) {
    Make(kSaidEnd);
    std::unique_ptr<InMainLoop> in_front;
    std::unique_ptr<InMainLoop> behind;
    if (before) in_front = std::make_unique<InMainLoop>(other, G_PRIORITY_DEFAULT_IDLE);
    const InMainLoop wait([&] {
      EXPECT_TRUE(WorkerIsThere());
      go_on = true;
      if (!before) behind = std::make_unique<InMainLoop>(other, G_PRIORITY_DEFAULT_IDLE);
    });
    return Search().DoModel();
  }
  void Respond(int response) { gtk_dialog_response(GTK_DIALOG(Search().GetWidget()), response); }
  // As when the window manager closes the dialog.
  void CloseDialog() {
    GdkEvent* event = gdk_event_new(GDK_DELETE);
    event->any.window = GDK_WINDOW(g_object_ref(gtk_widget_get_window(Search().GetWidget())));
    gtk_main_do_event(event);
    gdk_event_free(event);
  }

  std::unique_ptr<CDlgSearch> m_pSearch;
};

TEST_F(DlgSearchHandOverTest, CancelWinsAtEveryStepOfAWorkerThatIsHeldThere) {
  for (const Step step : kSteps) {
    for (int i = 0; i < kTimes; ++i) {
      Make(step);
      const InMainLoop cancel([&] {
        EXPECT_TRUE(WorkerIsThere());
        ClickCancel();
        go_on = true;
      });
      const int result = Search().DoModel();
      ASSERT_EQ(2, result) << "step " << step;
      ExpectAllOrNothing(result);
    }
  }
}

// The main loop is kept busy until the click, the worker is not.
TEST_F(DlgSearchHandOverTest, CancelWinsWhereverTheWorkerIsWhenItIsClicked) {
  std::mt19937 random(1);
  for (const Step step : kSteps) {
    for (int i = 0; i < kTimes; ++i) {
      Make(step);
      const auto later = static_cast<useconds_t>(random() % 150);
      const InMainLoop cancel([&] {
        EXPECT_TRUE(WorkerIsThere());
        go_on = true;
        __real_usleep(later);
        ClickCancel();
      });
      const int result = Search().DoModel();
      ASSERT_EQ(2, result) << "step " << step;
      ExpectAllOrNothing(result);
    }
  }
}

// Neither waits for the other: whichever the main loop sees first decides.
TEST_F(DlgSearchHandOverTest, CancelAndEndThatRaceGiveAllOrNothing) {
  std::mt19937 random(2);
  int results[3] = {};
  gint64 moment = 1000;  // after which about half of the searches are over
  for (int i = 0; i < 6 * kTimes; ++i) {
    Make(kNowhere);
    const auto later = moment + static_cast<gint64>(random() % 200);
    const gint priority = random() % 2 == 0 ? G_PRIORITY_DEFAULT : G_PRIORITY_DEFAULT_IDLE;
    const InMainLoop click([&] { ClickCancel(); }, priority, later);
    const int result = Search().DoModel();
    ASSERT_NO_FATAL_FAILURE(ExpectAllOrNothing(result));
    ++results[result];
    moment = result == 1 ? moment * 3 / 4 : moment * 4 / 3 + 10;
  }
  printf("%d ended, %d were cancelled\n", results[1], results[2]);
  EXPECT_GT(results[1], 0);
  EXPECT_GT(results[2], 0);
}

// The click is handled in the same round of the main loop as the end of the search, right behind
// it, which is where the clicks of assistive technologies are handled.
TEST_F(DlgSearchHandOverTest, CancelBehindTheEndTakesTheDevicesBack) {
  for (int i = 0; i < kTimes; ++i) {
    const int result = RunWith([&] { ClickCancel(); }, false);
    ASSERT_EQ(2, result);
    ExpectAllOrNothing(result);
  }
}

// The last response of a round is the dialog's result.
TEST_F(DlgSearchHandOverTest, AnotherResponseInTheRoundOfTheEndCancelsTheSearch) {
  const std::pair<int, int> cases[] = {
      {GTK_RESPONSE_DELETE_EVENT, 2}, {GTK_RESPONSE_NONE, 2}, {0, 2}, {2, 2}, {7, 7}};
  for (const auto& [response, result] : cases) {
    for (const bool before : {true, false}) {
      EXPECT_EQ(result, RunWith([&, sent = response] { Respond(sent); }, before));
      ExpectAllOrNothing(result);
    }
  }
}

TEST_F(DlgSearchHandOverTest, AWindowManagersCloseInTheRoundOfTheEndCancelsTheSearch) {
  for (const bool before : {true, false}) {
    EXPECT_EQ(2, RunWith([&] { CloseDialog(); }, before));
    ExpectAllOrNothing(2);
  }
}

TEST_F(DlgSearchHandOverTest, AMainWindowDestroyedInFrontOfTheEndCancelsTheSearch) {
  EXPECT_EQ(2, RunWith([&] { gtk_widget_destroy(Window().GetWidget()); }, true));
  ExpectAllOrNothing(2);
}

TEST_F(DlgSearchHandOverTest, ADialogDestroyedInFrontOfTheEndCancelsTheSearch) {
  EXPECT_EQ(2, RunWith([&] { gtk_widget_destroy(Search().GetWidget()); }, true));
  ExpectAllOrNothing(2);
}

// The search has ended, and the dialog with it.
TEST_F(DlgSearchHandOverTest, AMainWindowDestroyedBehindTheEndLeavesTheDevicesToTheCaller) {
  EXPECT_EQ(1, RunWith([&] { gtk_widget_destroy(Window().GetWidget()); }, false));
  ExpectAllOrNothing(1);
}

TEST_F(DlgSearchHandOverTest, AnotherResponse1BehindTheEndChangesNothing) {
  EXPECT_EQ(1, RunWith([&] { Respond(1); }, false));
  ExpectAllOrNothing(1);
}

// Whoever asks for the devices has them, whatever becomes of the dialog.
TEST_F(DlgSearchHandOverTest, DevicesThatWereAskedForAreNotTakenBack) {
  MACHINEINFO* asked = nullptr;
  const int result = RunWith(
      [&] {
        asked = Search().getMachines();
        Respond(GTK_RESPONSE_DELETE_EVENT);
      },
      false);
  EXPECT_EQ(2, result);
  m_pSearch.reset();
  ASSERT_NE(nullptr, asked);
  EXPECT_STREQ("reception", asked[0].szMachineName);
  free(asked);
}

// Devices that the caller sets in place of those found are the caller's.
TEST_F(DlgSearchHandOverTest, DevicesSetBehindTheEndAreNotTakenBack) {
  auto* own = static_cast<MACHINEINFO*>(calloc(1, sizeof(MACHINEINFO)));
  strcpy(own->szModelName, "Veltrana T55");
  const int result = RunWith(
      [&] {
        Search().setMachines(own, 1);
        ClickCancel();
      },
      false);
  EXPECT_EQ(2, result);
  EXPECT_EQ(own, Search().getMachines());
  m_pSearch.reset();
  EXPECT_STREQ("Veltrana T55", own->szModelName);
  free(own);
}

long AllocatedBytes() {
  if (__sanitizer_get_current_allocated_bytes != nullptr) {
    return static_cast<long>(__sanitizer_get_current_allocated_bytes());
  }
  const struct mallinfo2 info = mallinfo2();
  return static_cast<long>(info.uordblks + info.hblkhd);
}

// How many more bytes are in use after a search, on average. Of several rows of searches the one
// that takes least counts: in the others some table of GTK's may have grown.
long BytesLeftBy(const std::function<void()>& search) {
  constexpr int kRows = 6;
  constexpr int kRow = 10;
  long least = LONG_MAX;
  for (int row = 0; row < kRows; ++row) {
    const long before = AllocatedBytes();
    for (int i = 0; i < kRow; ++i) {
      search();
      gtk_test::Pump();
    }
    least = std::min(least, (AllocatedBytes() - before) / kRow);
  }
  return least;
}

// Dialogs leave widgets behind, and checkers may remember every thread. A search, however it ends,
// leaves nothing besides.
TEST_F(DlgSearchHandOverTest, SearchesTakeNoMoreMemoryThanTheirDialogs) {
  const auto without_worker = [&](gint priority, gint64 microseconds) {
    std::thread([] {}).join();
    no_threads = true;
    Make(kNowhere);
    const InMainLoop cancel([&] { ClickCancel(); }, priority, microseconds);
    EXPECT_EQ(2, Search().DoModel());
    m_pSearch.reset();
  };
  const auto cancelled = [&](Step step) {
    no_threads = false;
    Make(step);
    const InMainLoop cancel([&] {
      EXPECT_TRUE(WorkerIsThere());
      go_on = true;
      ClickCancel();
    });
    EXPECT_EQ(2, Search().DoModel());
    m_pSearch.reset();
  };
  const auto finished = [&] {
    no_threads = false;
    Make(kNowhere);
    EXPECT_EQ(1, Search().DoModel());
    free(Search().getMachines());
    m_pSearch.reset();
  };
  // One that is closed before it is drawn leaves something else than one that is closed later.
  const long undrawn = BytesLeftBy([&] { without_worker(G_PRIORITY_HIGH, 0); });
  const long drawn = BytesLeftBy([&] { without_worker(G_PRIORITY_DEFAULT_IDLE, 2000); });
  printf("a dialog: %ld, %ld\n", undrawn, drawn);
  const long dialogs = std::max(undrawn, drawn);
  for (const Step step : kSteps) {
    const long taken = BytesLeftBy([&] { cancelled(step); });
    printf("cancelled at step %d: %ld\n", step, taken);
    EXPECT_LE(taken, dialogs + kTolerance) << "step " << step;
  }
  const auto expect_no_more = [&](const char* how, const std::function<void()>& search) {
    no_threads = false;
    const long taken = BytesLeftBy(search);
    printf("%s: %ld\n", how, taken);
    EXPECT_LE(taken, dialogs + kTolerance) << how;
  };
  expect_no_more("finished", finished);
  expect_no_more("finished, and nobody asks for the devices", [&] {
    Make(kNowhere);
    EXPECT_EQ(1, Search().DoModel());
    m_pSearch.reset();
  });
  expect_no_more("closed behind the end", [&] {
    EXPECT_EQ(2, RunWith([&] { Respond(GTK_RESPONSE_DELETE_EVENT); }, false));
    m_pSearch.reset();
  });
  expect_no_more("destroyed in front of the end", [&] {
    EXPECT_EQ(2, RunWith([&] { gtk_widget_destroy(Search().GetWidget()); }, true));
    m_pSearch.reset();
  });
}

}  // namespace
