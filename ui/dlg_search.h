// The dialog that searches the network for scanners, and its worker thread.
#pragma once

#include <pthread.h>

#include <atomic>
#include <memory>

#include "ui/device_survey.h"
#include "xwidgets/buttons.h"
#include "xwidgets/dialogs.h"
#include "xwidgets/entries.h"
#include "xwidgets/layout.h"

struct SearchState;

// 1 after a search ended in another way than by being finished, 0 from the start of the next one.
// Written on the GTK main thread, read by the worker.
extern std::atomic<int> bCancel;

// A modal dialog that runs the device survey on a worker thread. DoModel returns 1 about a second
// after the survey has ended, and then getMachines has what it found, which may be nothing; 2 at
// once when the user cancels. The dialog cannot be resized, and neither the window manager nor the
// Escape key closes it.
//
// The worker never has the dialog's address, so that it does no harm however the dialog ends: both
// share a SearchState, through which the main loop brings the end of the survey to the dialog if
// that still runs. The destructor waits for the worker, which a cancelled search ends at its next
// wait. Everything but search_thread belongs to the GTK main thread.
class CDlgSearch : public xDialog {
 public:
  // Makes the dialog; `parent` must not be null.
  explicit CDlgSearch(xWindow* parent);
  ~CDlgSearch() override;

  // Cancel was clicked: cancels the search and ends the dialog with 2.
  void OnNofityBtnClicked(unsigned int id) override;

  // Starts the search. If no thread can be started the dialog stays open until it is cancelled.
  void OnInitDialog() override;

  // Does nothing.
  void OnEndDialog(int result) override;

  // The devices found, allocated with malloc, or null unless DoModel has returned 1. The caller
  // takes the array over: the dialog never frees it.
  MACHINEINFO* getMachines() const { return m_pMachines; }

  // The number of devices found.
  int getMachineNum() const { return m_iNumMachine; }

  // Stores what getMachines and getMachineNum return.
  void setMachines(MACHINEINFO* machines, int count);

 protected:
  unsigned short m_wUpdating;  // non-zero while notifications are ignored
  std::unique_ptr<xProgressBar> m_pProgress;
  std::unique_ptr<xLabel> m_pLabel;
  std::unique_ptr<xStockButton> m_pCancel;
  MACHINEINFO* m_pMachines = nullptr;
  int m_iNumMachine = 0;
  pthread_t m_Thread{};
  bool m_bStarted = false;  // m_Thread is a thread that was not joined yet
  std::shared_ptr<SearchState> m_pState;

 private:
  static void CallBack_BarShown(GtkWidget* bar, void* data);
  static void CallBack_Close(GtkDialog* dialog, void* data);
  static void CallBack_Response(GtkDialog* dialog, int response, void* data);

  void StartWorker();
  void CancelWorker();
  void TakeBack();
};

// The worker: runs the survey and, unless the search is cancelled by then, hands the devices over a
// second later. `state` is a std::shared_ptr<SearchState>* from new, which the worker deletes.
// Returns null. The thread may be cancelled with pthread_cancel in the deferred way.
void* search_thread(void* state);
