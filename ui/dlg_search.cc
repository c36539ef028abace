// The search dialog, its worker, and what the two share.
#include "ui/dlg_search.h"

#include <gtk/gtk.h>
#include <unistd.h>

#include <cstdlib>
#include <mutex>
#include <utility>

#include "app/cancellation_off.h"
#include "app/debug_log.h"
#include "app/malloc_ptr.h"
#include "ui/main_win.h"
#include "xwidgets/accessible.h"

namespace {

constexpr unsigned int kIdCancel = 3;
constexpr unsigned int kIdProgress = 4;

constexpr unsigned short kDlgSearch = 103;
constexpr unsigned short kStrSearching = 311;

constexpr int kFinished = 1;
constexpr int kCancelled = 2;
constexpr gint64 kPauseMicroseconds = 1000000;

using Machines = MallocPtr<MACHINEINFO>;

}  // namespace

// What the dialog and the worker share, freed by the one that lets go of it last. A result that
// nobody took is freed with it.
struct SearchState {
  explicit SearchState(CDlgSearch* owner) : dialog(owner) {}

  std::mutex mutex;    // for all but the dialog, and for the start of the search
  CDlgSearch* dialog;  // main thread only; null once the search is over
  Machines machines;
  int count = 0;
  std::shared_ptr<SearchState> itself;  // while the main loop has it
};

std::atomic<int> bCancel{0};

namespace {

using SharedState = std::shared_ptr<SearchState>;

// Whether the search was cancelled. Waits until the dialog has finished starting it.
int ReadCancel(SearchState* state) {
  const std::lock_guard<std::mutex> lock(state->mutex);
  return bCancel;
}

void StoreResult(SearchState* state, Machines machines, int count) {
  const std::lock_guard<std::mutex> lock(state->mutex);
  state->machines = std::move(machines);
  state->count = count;
}

// Lets a second pass, also when signals interrupt it. A cancellation point.
void Pause() {
  const gint64 end = g_get_monotonic_time() + kPauseMicroseconds;
  for (gint64 left = kPauseMicroseconds; left > 0; left = end - g_get_monotonic_time()) {
    usleep(static_cast<useconds_t>(left));
  }
}

// Gives the dialog, if it still waits for it, the result and ends it. Runs in the main loop.
gboolean OnSearchEnd(gpointer data) {
  auto* state = static_cast<SearchState*>(data);
  CDlgSearch* dialog = std::exchange(state->dialog, nullptr);
  if (dialog == nullptr || dialog->GetWidget() == nullptr) return FALSE;
  {
    const std::lock_guard<std::mutex> lock(state->mutex);
    dialog->setMachines(state->machines.release(), state->count);
  }
  gtk_dialog_response(GTK_DIALOG(dialog->GetWidget()), kFinished);
  return FALSE;
}

// The main loop is done with it.
void ReleaseState(gpointer data) {
  auto* state = static_cast<SearchState*>(data);
  SharedState itself;  // let go of after the lock
  const std::lock_guard<std::mutex> lock(state->mutex);
  itself.swap(state->itself);
}

// Sends the main loop to OnSearchEnd. GLib holds a lock while it wakes the loop up with a write,
// which is a cancellation point. The lock of the state lets checkers of threads, which do not see
// GLib's, see that the loop comes after this.
void EndSearch(const SharedState& state) {
  const CancellationOff guard;
  const std::lock_guard<std::mutex> lock(state->mutex);
  state->itself = state;
  g_idle_add_full(G_PRIORITY_DEFAULT_IDLE, OnSearchEnd, state.get(), ReleaseState);
}

}  // namespace

void* search_thread(void* state) {
  const std::unique_ptr<SharedState> search(static_cast<SharedState*>(state));

  int count = 0;
  Machines machines(searchMachine(&count, nullptr));
  const int cancel = ReadCancel(search->get());
  myDbgFunc(DBG_PREFIX "search_thread bCancel=%d\n", DBG_HERE, cancel);
  if (cancel == 0) {
    StoreResult(search->get(), std::move(machines), count);
    Pause();
    EndSearch(*search);
  }
  myDbgFunc(DBG_PREFIX "search_thread End\n", DBG_HERE);
  return nullptr;
}

CDlgSearch::CDlgSearch(xWindow* parent) : xDialog(parent), m_wUpdating(0xFFFF) {
  SetWindowText("");
  xBox row(xBox::kHorizontal, 0, 10);
  xButtonBox buttons(xButtonBox::kHorizontal, GTK_BUTTONBOX_END, 10);
  m_pCancel = std::make_unique<xStockButton>(this, kIdCancel, "gtk-cancel");
  buttons.AppendChild(m_pCancel.get());
  row.AppendChild(&buttons, 0, 0, 0);
  m_pLabel = std::make_unique<xLabel>(
      LoadDlgText(kDlgSearch, kStrSearching, "Searching online devices...").c_str(), 0.0F, 0.5F,
      nullptr, kNoControlID);
  // The bar stays empty: how far the survey is cannot be told.
  m_pProgress = std::make_unique<xProgressBar>(this, kIdProgress, 0);
  // The dialog has no title that could be read out when it opens.
  xTieLabel(*m_pLabel, *this);
  g_signal_connect_after(m_pProgress->GetWidget(), "map", G_CALLBACK(CallBack_BarShown), this);
  GetContent()->AppendChild(m_pLabel.get(), 0, 0, 0);
  GetContent()->AppendChild(m_pProgress.get(), 0, 0, 0);
  GetContent()->AppendChild(&row, 0, 0, 0);
  g_signal_connect(m_pWidget, "close", G_CALLBACK(CallBack_Close), this);
  g_signal_connect(m_pWidget, "response", G_CALLBACK(CallBack_Response), this);
  m_wUpdating = 0;
}

CDlgSearch::~CDlgSearch() {
  if (!m_bStarted) return;
  CancelWorker();
  pthread_join(m_Thread, nullptr);
}

void CDlgSearch::OnInitDialog() {
  gtk_window_set_deletable(GTK_WINDOW(m_pWidget), FALSE);
  StartWorker();
  SetResizable(0);
}

// The flag is reset after the thread has started. The worker cannot look at it before that: it
// needs the lock.
void CDlgSearch::StartWorker() {
  m_pState = std::make_shared<SearchState>(this);
  const std::lock_guard<std::mutex> lock(m_pState->mutex);
  auto argument = std::make_unique<SharedState>(m_pState);
  m_bStarted = pthread_create(&m_Thread, nullptr, search_thread, argument.get()) == 0;
  if (m_bStarted) static_cast<void>(argument.release());  // the worker's from now on
  bCancel = 0;
}

// Ends the worker at its next wait and cuts it off from the dialog. Does nothing when the dialog
// has the result already, or the search is cancelled.
void CDlgSearch::CancelWorker() {
  if (m_pState == nullptr || m_pState->dialog == nullptr) return;
  m_pState->dialog = nullptr;
  bCancel = 1;
  if (m_bStarted) pthread_cancel(m_Thread);
}

void CDlgSearch::OnNofityBtnClicked(unsigned int id) {
  myDbgFunc(DBG_PREFIX "CDlgSearch::OnNofityBtnClicked ID=%d\n", DBG_HERE, static_cast<int>(id));
  if (m_wUpdating != 0 || id != kIdCancel) return;
  bCancel = 1;
  myDbgFunc(DBG_PREFIX "CDlgSearch::OnNofityBtnClicked ID_SEARCH_CANCEL\n", DBG_HERE);
  CancelWorker();
  TakeBack();
  gtk_dialog_response(GTK_DIALOG(m_pWidget), kCancelled);
}

// Takes back what the search has handed over and nobody has fetched. A click that the main loop
// handles right behind the end of the search, before the dialog has closed, still cancels it.
void CDlgSearch::TakeBack() {
  if (m_pState == nullptr || m_pMachines == nullptr || m_pWidget == nullptr) return;
  m_pState->machines.reset(m_pMachines);
  setMachines(nullptr, 0);
}

// The Escape key ends a GTK dialog even if it has no close button.
// Not before the bar is on the screen: GTK gives it its value then, and assistive programs could
// not ask for that when they met the bar earlier.
void CDlgSearch::CallBack_BarShown(GtkWidget* /*bar*/, void* data) {
  const auto* dialog = static_cast<CDlgSearch*>(data);
  xNameAfterLabel(*dialog->m_pLabel, *dialog->m_pProgress);
}

void CDlgSearch::CallBack_Close(GtkDialog* dialog, void* /*data*/) {
  g_signal_stop_emission_by_name(dialog, "close");
}

void CDlgSearch::CallBack_Response(GtkDialog* /*dialog*/, int response, void* data) {
  if (response != kFinished) static_cast<CDlgSearch*>(data)->CancelWorker();
}

void CDlgSearch::setMachines(MACHINEINFO* machines, int count) {
  m_pMachines = machines;
  m_iNumMachine = count;
}

void CDlgSearch::OnEndDialog(int /*result*/) {}
