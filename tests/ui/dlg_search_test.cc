// Tests of the search dialog and its worker, with surveys that end when the test says so.
#include "ui/dlg_search.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstdarg>
#include <cstring>
#include <mutex>
#include <string>

#include "app/log/debug_log.h"
#include "tests/support/accessible.h"
#include "tests/support/line_numbers.h"
#include "tests/support/stderr_reader.h"
#include "tests/support/vtable_slot.h"
#include "tests/ui/ui_fixture.h"

// The linker sends the calls of this here, see CMakeLists.txt.
extern "C" {
int __real_pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                          void* (*entry)(void*), void* argument);
int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                          void* (*entry)(void*), void* argument);
}

namespace {

bool no_threads = false;
bool survey_ends_before_start = false;
int cancel_at_thread_start = -1;  // bCancel when the worker was last started
bool default_attributes = false;

}  // namespace

int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                          void* (*entry)(void*), void* argument) {
  cancel_at_thread_start = bCancel;
  default_attributes = attributes == nullptr;
  if (no_threads) return EAGAIN;
  const int result = __real_pthread_create(thread, attributes, entry, argument);
  if (survey_ends_before_start) {
    while (fake_scanners::SurveysBegun() == 0) g_usleep(1000);
    g_usleep(50000);
  }
  return result;
}

namespace {

// What takes no time, on however busy a machine.
constexpr double kPromptly = 10.0;

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using namespace ui_test;

const std::vector<fake_scanners::Device> kTwoDevices = {{"Veltrana T55", "reception", "10.77.0.64"},
                                                        {"Veltrana T70", "archive", "10.77.0.65"}};

// The fields of the dialog.
struct Dialog : CDlgSearch {
  static constexpr auto Guard = &Dialog::m_wUpdating;
  static constexpr auto Progress = &Dialog::m_pProgress;
  static constexpr auto Label = &Dialog::m_pLabel;
  static constexpr auto Cancel = &Dialog::m_pCancel;
  static constexpr auto Machines = &Dialog::m_pMachines;
  static constexpr auto Count = &Dialog::m_iNumMachine;
  static constexpr auto Thread = &Dialog::m_Thread;
};

// Collects the debug lines of both threads.
std::mutex line_guard;
std::vector<std::string> lines;

__attribute__((format(printf, 1, 2))) void CollectLine(const char* format, ...) {
  char line[1024];
  va_list arguments;
  va_start(arguments, format);
  vsnprintf(line, sizeof(line), format, arguments);
  va_end(arguments);
  const std::lock_guard<std::mutex> lock(line_guard);
  lines.emplace_back(line);
}

std::vector<std::string> Lines() {
  const std::lock_guard<std::mutex> lock(line_guard);
  return WithoutNumbers(lines);
}

constexpr char kClicked[] = "[OnNofityBtnClicked(#)]: CDlgSearch::OnNofityBtnClicked ID=3\n";
constexpr char kCancelled[] =
    "[OnNofityBtnClicked(#)]: CDlgSearch::OnNofityBtnClicked ID_SEARCH_CANCEL\n";
constexpr char kNotCancelled[] = "[search_thread(#)]: search_thread bCancel=0\n";
constexpr char kWasCancelled[] = "[search_thread(#)]: search_thread bCancel=1\n";
constexpr char kEnd[] = "[search_thread(#)]: search_thread End\n";

double Seconds() { return static_cast<double>(g_get_monotonic_time()) / 1e6; }

class DlgSearchTest : public UiTest {
 protected:
  void SetUp() override {
    UiTest::SetUp();
    no_threads = false;
    survey_ends_before_start = false;
    cancel_at_thread_start = -1;
    bCancel = 0;
    lines.clear();
    m_pApp->MakeWindow();
    Make();
  }
  void TearDown() override {
    free(Search().getMachines());
    m_pSearch.reset();
    myDbgFunc = myDbgNop;
    UiTest::TearDown();
  }

  void Make() {
    m_pSearch = std::make_unique<CDlgSearch>(&Window());
    lines.clear();
    myDbgFunc = CollectLine;
  }
  CDlgSearch& Search() { return *m_pSearch; }
  GtkWidget* Content() { return Search().GetContent()->GetWidget(); }
  xProgressBar& Progress() { return *(Search().*Dialog::Progress); }
  xStockButton& CancelButton() { return *(Search().*Dialog::Cancel); }

  // Runs the dialog and does `answer` when it is on the screen.
  int Run(const std::function<void(GtkDialog*)>& answer) {
    const gtk_test::ModalAnswer modal(answer);
    return Search().DoModel();
  }
  static bool SurveyIsRunning() {
    return gtk_test::PumpUntil([] { return fake_scanners::SurveysBegun() > 0; });
  }
  // Waits, without the main loop, until the worker has written this line.
  static bool WorkerSays(const char* line) {
    const double deadline = Seconds() + gtk_test::kPatienceMs / 1000.0;
    while (Seconds() < deadline) {
      const std::vector<std::string> all = Lines();
      if (std::find(all.begin(), all.end(), line) != all.end()) return true;
      g_usleep(1000);
    }
    return false;
  }

  std::unique_ptr<CDlgSearch> m_pSearch;
};

// --- the class ----------------------------------------------------------------------------------

TEST_F(DlgSearchTest, OverridesVirtualsOfTheDialogAndAddsNone) {
  EXPECT_EQ(10, vtable::Slot(&CDlgSearch::OnNofityBtnClicked));
  EXPECT_EQ(31, vtable::Slot(&CDlgSearch::OnInitDialog));
  EXPECT_EQ(32, vtable::Slot(&CDlgSearch::OnEndDialog));
  EXPECT_EQ(32, vtable::SlotCount<CDlgSearch>());
}

TEST_F(DlgSearchTest, KeepsItsFieldsInOrder) {
  const CDlgSearch& search = Search();
  const std::ptrdiff_t first = Offset(search, search.*Dialog::Guard);
  EXPECT_EQ(static_cast<std::ptrdiff_t>(sizeof(xDialog)), first);
  EXPECT_EQ(2U, sizeof(search.*Dialog::Guard));
  EXPECT_EQ(first + kPointer, Offset(search, search.*Dialog::Progress));
  EXPECT_EQ(first + 2 * kPointer, Offset(search, search.*Dialog::Label));
  EXPECT_EQ(first + 3 * kPointer, Offset(search, search.*Dialog::Cancel));
  EXPECT_EQ(first + 4 * kPointer, Offset(search, search.*Dialog::Machines));
  EXPECT_EQ(first + 5 * kPointer, Offset(search, search.*Dialog::Count));
  EXPECT_EQ(first + 6 * kPointer, Offset(search, search.*Dialog::Thread));
}

// --- content ------------------------------------------------------------------------------------

TEST_F(DlgSearchTest, ShowsLabelBarAndCancelFromTheTop) {
  GtkWidget* label = (Search().*Dialog::Label)->GetWidget();
  GtkWidget* bar = Progress().GetWidget();
  GtkWidget* buttons = gtk_widget_get_parent(CancelButton().GetWidget());
  GtkWidget* row = gtk_widget_get_parent(buttons);
  std::vector<GtkWidget*> children = gtk_test::Children(Content());
  // GTK's own action area is the dialog's last child.
  children.erase(std::remove(children.begin(), children.end(),
                             gtk_dialog_get_action_area(GTK_DIALOG(Search().GetWidget()))),
                 children.end());
  EXPECT_THAT(children, ElementsAre(label, bar, row));
  for (GtkWidget* child : children) {
    EXPECT_EQ(0, gtk_test::ChildProperty(Content(), child, "expand"));
    EXPECT_EQ(0, gtk_test::ChildProperty(Content(), child, "fill"));
    EXPECT_EQ(0, gtk_test::ChildProperty(Content(), child, "padding"));
    EXPECT_EQ(int{GTK_PACK_START}, gtk_test::ChildProperty(Content(), child, "pack-type"));
  }
  EXPECT_TRUE(GTK_IS_PROGRESS_BAR(bar));
  ASSERT_TRUE(GTK_IS_HBOX(row));
  EXPECT_FALSE(gtk_box_get_homogeneous(GTK_BOX(row)));
  EXPECT_EQ(10, gtk_box_get_spacing(GTK_BOX(row)));
  ASSERT_TRUE(GTK_IS_HBUTTON_BOX(buttons));
  EXPECT_EQ(GTK_BUTTONBOX_END, gtk_button_box_get_layout(GTK_BUTTON_BOX(buttons)));
  EXPECT_EQ(10, gtk_box_get_spacing(GTK_BOX(buttons)));
  EXPECT_EQ(0, gtk_test::ChildProperty(row, buttons, "expand"));
  EXPECT_EQ(0, gtk_test::ChildProperty(row, buttons, "fill"));
  EXPECT_EQ(0, gtk_test::ChildProperty(row, buttons, "padding"));
  EXPECT_EQ("gtk-cancel", ButtonText(CancelButton()));
}

TEST_F(DlgSearchTest, HasAnEmptyTitleAndAnEnglishText) {
  EXPECT_STREQ("", gtk_window_get_title(GTK_WINDOW(Search().GetWidget())));
  GtkWidget* label = (Search().*Dialog::Label)->GetWidget();
  EXPECT_EQ("Searching online devices...", LabelText(label));
  gfloat xalign = -1;
  gfloat yalign = -1;
  gtk_misc_get_alignment(GTK_MISC(label), &xalign, &yalign);
  EXPECT_EQ(0.0F, xalign);
  EXPECT_EQ(0.5F, yalign);
}

TEST_F(DlgSearchTest, ItsTextStandsForItsTitleAndNamesTheBar) {
  AtkObject* label = accessible::Of((Search().*Dialog::Label)->GetWidget());
  EXPECT_THAT(accessible::LabelledBy(Search().GetWidget()), ElementsAre(label));
  EXPECT_EQ("(null)", accessible::Name(Progress().GetWidget()));
  gtk_widget_show_all(Search().GetWidget());
  EXPECT_THAT(accessible::LabelledBy(Progress().GetWidget()), ElementsAre(label));
  EXPECT_EQ("Searching online devices...", accessible::Name(Progress().GetWidget()));
}

TEST_F(DlgSearchTest, ShowsTheTextOfTheLanguageFile) {
  m_pSearch.reset();
  m_pApp->DropWindow();
  Write(std::string(kLanguageFolder) + "/DVXTOOLS.RCT", "[dlg103]\n311=Suche...\n");
  m_pApp->MakeWindow();
  Make();
  EXPECT_EQ("Suche...", LabelText((Search().*Dialog::Label)->GetWidget()));
}

TEST_F(DlgSearchTest, HasFoundNothingBeforeItRuns) {
  EXPECT_EQ(nullptr, Search().getMachines());
  EXPECT_EQ(0, Search().getMachineNum());
  EXPECT_EQ(0, Search().*Dialog::Guard);
  EXPECT_EQ(0, fake_scanners::SurveysBegun());
}

TEST_F(DlgSearchTest, SetMachinesStoresBothAndTheDialogFreesNothing) {
  auto* machines = static_cast<MACHINEINFO*>(calloc(2, sizeof(MACHINEINFO)));
  Search().setMachines(machines, 2);
  EXPECT_EQ(machines, Search().getMachines());
  EXPECT_EQ(2, Search().getMachineNum());
  Make();
  EXPECT_STREQ("", machines[1].szIPAddress);
  free(machines);
}

TEST_F(DlgSearchTest, DevicesThatTheCallerSetsStayTheCallersWhenItIsCancelled) {
  auto* own = static_cast<MACHINEINFO*>(calloc(1, sizeof(MACHINEINFO)));
  strcpy(own->szModelName, "Veltrana T55");
  fake_scanners::HoldSurveys();
  EXPECT_EQ(2, Run([&](GtkDialog*) {
              ASSERT_TRUE(SurveyIsRunning());
              Search().setMachines(own, 1);
              Click(CancelButton());
            }));
  EXPECT_EQ(own, Search().getMachines());
  EXPECT_EQ(1, Search().getMachineNum());
  Make();
  EXPECT_STREQ("Veltrana T55", own->szModelName);
  free(own);
}

TEST_F(DlgSearchTest, DevicesFoundReplaceThoseThatTheCallerHasSet) {
  MACHINEINFO own = {};
  fake_scanners::SetDevices(kTwoDevices);
  Search().setMachines(&own, 1);
  EXPECT_EQ(1, Run([&](GtkDialog*) { EXPECT_EQ(&own, Search().getMachines()); }));
  ASSERT_EQ(2, Search().getMachineNum());
  EXPECT_STREQ("reception", Search().getMachines()[0].szMachineName);
}

// --- a search that ends by itself ---------------------------------------------------------------

TEST_F(DlgSearchTest, EndsWith1AndTheDevicesWhenTheSurveyHasFinished) {
  fake_scanners::SetDevices(kTwoDevices);
  EXPECT_EQ(1, Run([](GtkDialog*) {}));
  ASSERT_EQ(2, Search().getMachineNum());
  EXPECT_STREQ("Veltrana T55", Search().getMachines()[0].szModelName);
  EXPECT_STREQ("10.77.0.65", Search().getMachines()[1].szIPAddress);
  EXPECT_EQ(1, fake_scanners::SurveysBegun());
  EXPECT_FALSE(fake_scanners::LastSurveyRanHere());
  EXPECT_FALSE(fake_scanners::SawProgressBar());
  EXPECT_EQ(0, bCancel);
}

TEST_F(DlgSearchTest, EndsWith1ASecondAfterASurveyThatFoundNothing) {
  fake_scanners::HoldSurveys();
  double released = 0;
  EXPECT_EQ(1, Run([&](GtkDialog*) {
              ASSERT_TRUE(SurveyIsRunning());
              released = Seconds();
              fake_scanners::Release();
            }));
  const double pause = Seconds() - released;
  EXPECT_GE(pause, 1.0);
  EXPECT_LT(pause, 5.0);
  EXPECT_EQ(nullptr, Search().getMachines());
  EXPECT_EQ(0, Search().getMachineNum());
}

TEST_F(DlgSearchTest, TheWorkerLogsWhatItReadsAndItsEnd) {
  EXPECT_EQ(1, Run([](GtkDialog*) {}));
  EXPECT_TRUE(WorkerSays(kEnd));
  EXPECT_THAT(Lines(), ElementsAre(kNotCancelled, kEnd));
}

TEST_F(DlgSearchTest, TheEndReachesTheDialogOnTheMainThread) {
  struct {
    pthread_t thread = pthread_self();
    bool same = false;
    int response = 0;
  } seen;
  g_signal_connect(Search().GetWidget(), "response",
                   G_CALLBACK(+[](GtkDialog*, gint response, gpointer data) {
                     auto* self = static_cast<decltype(&seen)>(data);
                     self->same = pthread_equal(self->thread, pthread_self()) != 0;
                     self->response = response;
                   }),
                   &seen);
  EXPECT_EQ(1, Run([](GtkDialog*) {}));
  EXPECT_TRUE(seen.same);
  EXPECT_EQ(1, seen.response);
}

TEST_F(DlgSearchTest, TheBarStaysEmpty) {
  auto* bar = GTK_PROGRESS_BAR(Progress().GetWidget());
  int changes = 0;
  g_signal_connect_swapped(bar, "notify::fraction", G_CALLBACK(+[](int* count) { ++*count; }),
                           &changes);
  EXPECT_EQ(0.0, gtk_progress_bar_get_fraction(bar));
  EXPECT_EQ(1, Run([](GtkDialog*) {}));
  EXPECT_EQ(0, changes);
}

// --- the run ------------------------------------------------------------------------------------

TEST_F(DlgSearchTest, HasNoCloseButtonAndCannotBeResizedWhileItRuns) {
  fake_scanners::HoldSurveys();
  EXPECT_EQ(2, Run([&](GtkDialog* dialog) {
              EXPECT_FALSE(gtk_window_get_deletable(GTK_WINDOW(dialog)));
              EXPECT_FALSE(gtk_window_get_resizable(GTK_WINDOW(dialog)));
              EXPECT_TRUE(gtk_window_get_modal(GTK_WINDOW(dialog)));
              EXPECT_EQ(Window().GetWidget(),
                        GTK_WIDGET(gtk_window_get_transient_for(GTK_WINDOW(dialog))));
              Click(CancelButton());
            }));
}

// What is in force when the window's properties change.
struct Order {
  CDlgSearch* search;
  std::string seen;

  void Note(const char* property) {
    seen += std::string(property) + ": cancel " + std::to_string(bCancel) + ", thread " +
            (search->*Dialog::Thread != 0 ? "started" : "not started") + "; ";
  }
};

TEST_F(DlgSearchTest, TheCancelFlagIsResetAfterTheThreadHasStarted) {
  bCancel = 1;
  fake_scanners::HoldSurveys();
  Order order = {&Search(), ""};
  g_signal_connect_swapped(Search().GetWidget(), "notify::deletable",
                           G_CALLBACK(+[](Order* self) { self->Note("deletable"); }), &order);
  g_signal_connect_swapped(Search().GetWidget(), "notify::resizable",
                           G_CALLBACK(+[](Order* self) { self->Note("resizable"); }), &order);
  EXPECT_EQ(2, Run([&](GtkDialog*) {
              EXPECT_EQ(0, bCancel);
              Click(CancelButton());
            }));
  EXPECT_EQ("deletable: cancel 1, thread not started; resizable: cancel 0, thread started; ",
            order.seen.substr(0, order.seen.find("; ", order.seen.find("resizable")) + 2));
  EXPECT_EQ(1, cancel_at_thread_start);
  EXPECT_TRUE(default_attributes);
}

// --- cancelling ---------------------------------------------------------------------------------

// The survey is never released, so that the dialog can only end without it.
TEST_F(DlgSearchTest, CancelDuringTheSurveyEndsWith2AtOnce) {
  fake_scanners::SetDevices(kTwoDevices);
  fake_scanners::HoldSurveys();
  double clicked = 0;
  EXPECT_EQ(2, Run([&](GtkDialog*) {
              ASSERT_TRUE(SurveyIsRunning());
              clicked = Seconds();
              Click(CancelButton());
            }));
  EXPECT_LT(Seconds() - clicked, kPromptly);
  EXPECT_EQ(1, bCancel);
  EXPECT_EQ(nullptr, Search().getMachines());
  EXPECT_EQ(0, Search().getMachineNum());
  m_pSearch.reset();
  EXPECT_LT(Seconds() - clicked, kPromptly)
      << "deleting the dialog waits only for the worker's end";
  EXPECT_EQ(1, fake_scanners::SurveysCancelled());
  EXPECT_THAT(Lines(), ElementsAre(kClicked, kCancelled));
  Make();
}

TEST_F(DlgSearchTest, CancelInTheLastSecondWinsOverTheResult) {
  fake_scanners::SetDevices(kTwoDevices);
  EXPECT_EQ(2, Run([&](GtkDialog*) {
              ASSERT_TRUE(WorkerSays(kNotCancelled));
              Click(CancelButton());
            }));
  EXPECT_EQ(nullptr, Search().getMachines());
  EXPECT_EQ(0, Search().getMachineNum());
  Make();
  gtk_test::Pump();
  EXPECT_THAT(Lines(), Not(Contains(kEnd)));
}

// The main loop is kept from hearing of the end until the dialog is cancelled.
TEST_F(DlgSearchTest, CancelWinsOverAnEndThatTheMainLoopHasNotSeenYet) {
  fake_scanners::SetDevices(kTwoDevices);
  EXPECT_EQ(2, Run([&](GtkDialog*) {
              ASSERT_TRUE(WorkerSays(kEnd));
              Click(CancelButton());
            }));
  EXPECT_EQ(nullptr, Search().getMachines());
  m_pSearch.reset();
  gtk_test::Pump();
  Make();
}

TEST_F(DlgSearchTest, AnEndThatTheMainLoopSeesAfterTheDialogIsGoneDoesNothing) {
  fake_scanners::SetDevices(kTwoDevices);
  EXPECT_EQ(2, Run([&](GtkDialog* dialog) {
              ASSERT_TRUE(WorkerSays(kEnd));
              gtk_dialog_response(dialog, 2);
            }));
  Make();
  gtk_test::Pump();
  EXPECT_EQ(nullptr, Search().getMachines());
}

TEST_F(DlgSearchTest, AWorkerThatFindsTheFlagSetHandsNothingOver) {
  fake_scanners::SetDevices(kTwoDevices);
  fake_scanners::HoldSurveys();
  EXPECT_EQ(2, Run([&](GtkDialog* dialog) {
              ASSERT_TRUE(SurveyIsRunning());
              bCancel = 1;
              fake_scanners::Release();
              ASSERT_TRUE(WorkerSays(kEnd));
              gtk_test::Pump();
              EXPECT_EQ(dialog, gtk_test::ModalAnswer::Running());
              gtk_dialog_response(dialog, 2);
            }));
  EXPECT_THAT(Lines(), ElementsAre(kWasCancelled, kEnd));
  EXPECT_EQ(nullptr, Search().getMachines());
}

TEST_F(DlgSearchTest, ASearchAfterACancelledOneWorks) {
  fake_scanners::HoldSurveys();
  EXPECT_EQ(2, Run([&](GtkDialog*) {
              ASSERT_TRUE(SurveyIsRunning());
              Click(CancelButton());
            }));
  fake_scanners::Reset();
  fake_scanners::SetDevices(kTwoDevices);
  Make();
  // Even if its survey ends while the flag of the last search is still set.
  survey_ends_before_start = true;
  EXPECT_EQ(1, Run([](GtkDialog*) {}));
  EXPECT_EQ(2, Search().getMachineNum());
}

TEST_F(DlgSearchTest, OtherIdentifiersAreOnlyLogged) {
  fake_scanners::HoldSurveys();
  EXPECT_EQ(2, Run([&](GtkDialog* dialog) {
              for (const unsigned int id : {2U, 4U, 0xFFFFFFFFU}) Search().OnNofityBtnClicked(id);
              gtk_test::Pump();
              EXPECT_EQ(dialog, gtk_test::ModalAnswer::Running());
              EXPECT_EQ(0, bCancel);
              EXPECT_THAT(
                  Lines(),
                  ElementsAre("[OnNofityBtnClicked(#)]: CDlgSearch::OnNofityBtnClicked ID=2\n",
                              "[OnNofityBtnClicked(#)]: CDlgSearch::OnNofityBtnClicked ID=4\n",
                              "[OnNofityBtnClicked(#)]: CDlgSearch::OnNofityBtnClicked ID=-1\n"));
              gtk_dialog_response(dialog, 2);
            }));
}

TEST_F(DlgSearchTest, WhileTheGuardIsUpCancelIsOnlyLogged) {
  fake_scanners::HoldSurveys();
  EXPECT_EQ(2, Run([&](GtkDialog* dialog) {
              Search().*Dialog::Guard = 65535;
              Click(CancelButton());
              gtk_test::Pump();
              EXPECT_EQ(dialog, gtk_test::ModalAnswer::Running());
              EXPECT_EQ(0, bCancel);
              EXPECT_THAT(Lines(), ElementsAre(kClicked));
              Search().*Dialog::Guard = 0;
              Click(CancelButton());
            }));
}

// --- other ways to end --------------------------------------------------------------------------

TEST_F(DlgSearchTest, EscapeDoesNotEndTheSearch) {
  fake_scanners::SetDevices(kTwoDevices);
  fake_scanners::HoldSurveys();
  EXPECT_EQ(1, Run([&](GtkDialog* dialog) {
              ASSERT_TRUE(SurveyIsRunning());
              const gtk_test::SignalCount closes(dialog, "close");
              EXPECT_TRUE(gtk_bindings_activate(GTK_OBJECT(dialog), GDK_Escape, GdkModifierType{}));
              gtk_test::Pump();
              EXPECT_EQ(dialog, gtk_test::ModalAnswer::Running());
              fake_scanners::Release();
            }));
  EXPECT_EQ(2, Search().getMachineNum());
}

TEST_F(DlgSearchTest, AnyOtherResponseCancelsTheSearch) {
  const std::pair<int, int> cases[] = {
      {GTK_RESPONSE_DELETE_EVENT, 2}, {GTK_RESPONSE_NONE, 2}, {0, 2}, {2, 2}, {7, 7}};
  for (const auto& [response, result] : cases) {
    fake_scanners::Reset();
    fake_scanners::HoldSurveys();
    EXPECT_EQ(result, Run([&, sent = response](GtkDialog* dialog) {
                ASSERT_TRUE(SurveyIsRunning());
                gtk_dialog_response(dialog, sent);
              }));
    EXPECT_EQ(1, bCancel);
    Make();
    EXPECT_EQ(1, fake_scanners::SurveysCancelled());
  }
}

TEST_F(DlgSearchTest, ADeleteEventSentAnywayCancelsTheSearch) {
  fake_scanners::HoldSurveys();
  EXPECT_EQ(2, Run([&](GtkDialog* dialog) {
              ASSERT_TRUE(SurveyIsRunning());
              gtk_test::CloseAsWindowManager(GTK_WIDGET(dialog));
            }));
  EXPECT_EQ(1, bCancel);
}

TEST_F(DlgSearchTest, DestroyingTheWidgetsUnderTheSearchCancelsIt) {
  fake_scanners::HoldSurveys();
  EXPECT_EQ(2, Run([&](GtkDialog* dialog) {
              ASSERT_TRUE(SurveyIsRunning());
              gtk_widget_destroy(GTK_WIDGET(dialog));
            }));
  Make();
  EXPECT_EQ(1, bCancel);
  EXPECT_EQ(1, fake_scanners::SurveysCancelled());
}

TEST_F(DlgSearchTest, DestroyingTheMainWindowUnderTheSearchCancelsIt) {
  fake_scanners::HoldSurveys();
  EXPECT_EQ(2, Run([&](GtkDialog*) {
              ASSERT_TRUE(SurveyIsRunning());
              gtk_widget_destroy(Window().GetWidget());
            }));
  EXPECT_EQ(1, bCancel);
  EXPECT_EQ(nullptr, Search().getMachines());
  Make();
  EXPECT_EQ(1, fake_scanners::SurveysCancelled());
}

TEST_F(DlgSearchTest, HidingTheDialogCancelsTheSearch) {
  fake_scanners::HoldSurveys();
  EXPECT_EQ(2, Run([&](GtkDialog* dialog) {
              ASSERT_TRUE(SurveyIsRunning());
              gtk_widget_hide(GTK_WIDGET(dialog));
            }));
  EXPECT_EQ(1, bCancel);
  Make();
  EXPECT_EQ(1, fake_scanners::SurveysCancelled());
}

TEST_F(DlgSearchTest, DeletingTheDialogWaitsForTheWorker) {
  fake_scanners::HoldSurveys();
  Search().OnInitDialog();
  ASSERT_TRUE(SurveyIsRunning());
  m_pSearch.reset();
  EXPECT_EQ(1, fake_scanners::SurveysCancelled());
  EXPECT_EQ(1, bCancel);
  Make();
}

TEST_F(DlgSearchTest, AResponse1OfSomebodyElseHandsNothingOver) {
  fake_scanners::HoldSurveys();
  EXPECT_EQ(1, Run([&](GtkDialog* dialog) {
              ASSERT_TRUE(SurveyIsRunning());
              gtk_dialog_response(dialog, 1);
            }));
  EXPECT_EQ(nullptr, Search().getMachines());
  EXPECT_EQ(0, Search().getMachineNum());
  Make();
  EXPECT_EQ(1, fake_scanners::SurveysCancelled());
}

TEST_F(DlgSearchTest, OnEndDialogDoesNothing) {
  Search().OnEndDialog(1);
  Search().OnEndDialog(2);
  EXPECT_EQ(0, bCancel);
  EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(DlgSearchTest, WithoutAThreadTheDialogStaysOpenUntilItIsCancelled) {
  no_threads = true;
  EXPECT_EQ(2, Run([&](GtkDialog* dialog) {
              gtk_test::Pump();
              EXPECT_EQ(dialog, gtk_test::ModalAnswer::Running());
              EXPECT_EQ(0, fake_scanners::SurveysBegun());
              Click(CancelButton());
            }));
  EXPECT_EQ(1, bCancel);
}

// The worker is within a debug line that waits for its reader, and cannot be cancelled there.
TEST_F(DlgSearchTest, CancelIsNotHeldUpByAStandardErrorThatNobodyReads) {
  const stderr_reader::Pipe pipe;
  fake_scanners::HoldSurveys();
  double clicked = 0;
  {
    const stderr_reader::StderrTo to(pipe.Writer(), pipe.Reader());
    myDbgFunc = myDbgOutputStderr;
    EXPECT_EQ(2, Run([&](GtkDialog*) {
                ASSERT_TRUE(SurveyIsRunning());
                pipe.Fill();
                fake_scanners::Release();
                g_usleep(50000);
                clicked = Seconds();
                Click(CancelButton());
              }));
    m_pSearch.reset();
  }
  EXPECT_LT(Seconds() - clicked, 8.0) << "less than the rescue takes";
  Make();
}

// Cancels at many points of the worker's life.
TEST_F(DlgSearchTest, CanBeCancelledAtAnyTime) {
  for (int i = 0; i < 40; ++i) {
    fake_scanners::Reset();
    fake_scanners::SetDevices(kTwoDevices);
    if (i % 2 == 0) fake_scanners::HoldSurveys();
    EXPECT_EQ(2, Run([&](GtkDialog*) {
                g_usleep(static_cast<gulong>(i) * 37);
                if (i % 4 == 0) fake_scanners::Release();
                Click(CancelButton());
              }));
    Make();
  }
}

}  // namespace
