// The dialog that searches the network for scanners.
#pragma once

#include <pthread.h>

#include <memory>

#include "base/malloc_ptr.h"
#include "ui/survey/device_survey.h"
#include "ui/survey/search_job.h"
#include "xwidgets/buttons.h"
#include "xwidgets/dialogs.h"
#include "xwidgets/entries.h"
#include "xwidgets/layout.h"

// A modal dialog that runs a search. DoModel returns 1 about a second after the survey has ended,
// and then getMachines has what it found, which may be nothing; 2 at once when the user cancels.
// The dialog cannot be resized, and neither the window manager nor the Escape key closes it.
//
// However else it ends, by another response, with its main window, or by being deleted, the search
// is cancelled: bCancel is 1 and there are no devices. That holds up to the return of DoModel, also
// where the search has ended in the same round of the main loop.
//
// The destructor waits for the search's worker, as ~SearchJob does. GTK main thread only.
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

  // What setMachines has stored last. That is the devices found, allocated with malloc, or null if
  // there are none, when DoModel has returned 1. The caller takes the array over: the dialog never
  // frees one that was asked for.
  MACHINEINFO* getMachines();

  // The number of devices.
  int getMachineNum() const { return m_iNumMachine; }

  // Stores what getMachines and getMachineNum return. The dialog calls it in the main loop, when a
  // finished search hands its devices over, right before it ends with 1; and with null and 0 when
  // something cancels the search behind that. `machines` stays the caller's, however the search
  // ends. Found devices that nobody has asked for yet are freed.
  void setMachines(MACHINEINFO* machines, int count);

 protected:
  unsigned short m_wUpdating;  // non-zero while notifications are ignored
  std::unique_ptr<xProgressBar> m_pProgress;
  std::unique_ptr<xLabel> m_pLabel;
  std::unique_ptr<xStockButton> m_pCancel;
  MACHINEINFO* m_pMachines = nullptr;
  int m_iNumMachine = 0;
  pthread_t m_Thread{};                 // the worker, which m_pSearch waits for
  MallocPtr<MACHINEINFO> m_pUnclaimed;  // m_pMachines while it is found devices nobody asked for
  std::unique_ptr<SearchJob> m_pSearch;

 private:
  static void CallBack_BarShown(GtkWidget* bar, void* data);
  static void CallBack_Close(GtkDialog* dialog, void* data);
  static void CallBack_Response(GtkDialog* dialog, int response, void* data);
  static void CallBack_Destroyed(GtkObject* dialog, void* data);

  void SearchDone(FoundMachines found);
  void CancelSearch();
};
