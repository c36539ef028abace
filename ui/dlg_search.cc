// The search dialog.
#include "ui/dlg_search.h"

#include <gtk/gtk.h>

#include <utility>

#include "app/log/debug_log.h"
#include "ui/identifiers.h"
#include "ui/main_win.h"
#include "xwidgets/accessible.h"

namespace {

constexpr unsigned int kIdCancel = 3;
constexpr unsigned int kIdProgress = 4;

constexpr int kFinished = 1;
constexpr int kCancelled = 2;

}  // namespace

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
  g_signal_connect(m_pWidget, "destroy", G_CALLBACK(CallBack_Destroyed), this);
  m_wUpdating = 0;
}

CDlgSearch::~CDlgSearch() = default;

void CDlgSearch::OnInitDialog() {
  gtk_window_set_deletable(GTK_WINDOW(m_pWidget), FALSE);
  m_pSearch =
      std::make_unique<SearchJob>([this](FoundMachines found) { SearchDone(std::move(found)); });
  m_pSearch->Start(&m_Thread);
  SetResizable(0);
}

void CDlgSearch::SearchDone(FoundMachines found) {
  MACHINEINFO* machines = found.machines.release();
  setMachines(machines, found.count);
  m_pUnclaimed.reset(machines);
  gtk_dialog_response(GTK_DIALOG(m_pWidget), kFinished);
}

// A response or a click that the main loop handles right behind the end of the search, before the
// dialog has closed, still cancels it.
void CDlgSearch::CancelSearch() {
  if (m_pSearch == nullptr) return;
  m_pSearch->Cancel();
  if (m_pUnclaimed != nullptr) setMachines(nullptr, 0);
}

void CDlgSearch::OnNofityBtnClicked(unsigned int id) {
  myDbgFunc(DBG_PREFIX "CDlgSearch::OnNofityBtnClicked ID=%d\n", DBG_HERE, static_cast<int>(id));
  if (m_wUpdating != 0 || id != kIdCancel) return;
  bCancel = 1;
  myDbgFunc(DBG_PREFIX "CDlgSearch::OnNofityBtnClicked ID_SEARCH_CANCEL\n", DBG_HERE);
  CancelSearch();
  gtk_dialog_response(GTK_DIALOG(m_pWidget), kCancelled);
}

// Not before the bar is on the screen: GTK gives it its value then, and assistive programs could
// not ask for that when they met the bar earlier.
void CDlgSearch::CallBack_BarShown(GtkWidget* /*bar*/, void* data) {
  const auto* dialog = static_cast<CDlgSearch*>(data);
  xNameAfterLabel(*dialog->m_pLabel, *dialog->m_pProgress);
}

// The Escape key ends a GTK dialog even if it has no close button.
void CDlgSearch::CallBack_Close(GtkDialog* dialog, void* /*data*/) {
  g_signal_stop_emission_by_name(dialog, "close");
}

void CDlgSearch::CallBack_Response(GtkDialog* /*dialog*/, int response, void* data) {
  if (response != kFinished) static_cast<CDlgSearch*>(data)->CancelSearch();
}

// Every dialog is destroyed in the end. One that ends with 1 and is destroyed by then has finished.
void CDlgSearch::CallBack_Destroyed(GtkObject* /*dialog*/, void* data) {
  auto* dialog = static_cast<CDlgSearch*>(data);
  if (dialog->m_pSearch != nullptr && dialog->m_pSearch->IsUnderWay()) dialog->CancelSearch();
}

MACHINEINFO* CDlgSearch::getMachines() {
  static_cast<void>(m_pUnclaimed.release());
  return m_pMachines;
}

void CDlgSearch::setMachines(MACHINEINFO* machines, int count) {
  m_pUnclaimed.reset();
  m_pMachines = machines;
  m_iNumMachine = count;
}

void CDlgSearch::OnEndDialog(int /*result*/) {}
