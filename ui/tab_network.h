// The tab "Network": the scanners on the network and this computer's name on them.
#pragma once

#include <memory>

#include "ui/entry_no_wide.h"
#include "ui/settings/host_name.h"
#include "ui/survey/device_survey.h"
#include "xwidgets/buttons.h"
#include "xwidgets/layout.h"
#include "xwidgets/lists.h"
#include "xwidgets/tab_base.h"

class CMainTabs;

// The page that lists the scanners found, opens their web pages, and holds the name under which
// this computer stands on them and whether it does. Apply registers this computer on every listed
// scanner, or takes it off every one. GTK main thread only.
class CTabNetwork : public xTabBase {
 public:
  // Builds the page. Surveys the network at once, on the calling thread, which takes at least a
  // second: the list is filled before the window is first shown.
  CTabNetwork(CMainTabs* tabs, const char* title, unsigned int id);
  ~CTabNetwork() override;

  // A button was clicked: "Search" runs the search dialog, "Configure..." opens the selected
  // scanner's web page, the check box marks the settings modified.
  void OnNofityBtnClicked(unsigned int id) override;

  // The selection of the device list changed: "Configure..." needs a selected row.
  void OnNofitySelectChanged(unsigned int id) override;

  // The name was edited: takes it over and marks the settings modified.
  void OnNofityChanged(unsigned int id) override;

  // Shows the settings and the devices.
  void OnInitDialog() override;

  // Do nothing that can be seen; the values stay as they are, after a reset too.
  void OnActive() override;
  void OnReset() override;

  // Takes the settings from the controls and registers this computer on every listed scanner, or
  // unregisters it. Blocks until all exchanges are over. Returns -1 whatever their outcome.
  int OnApply() override;

  // Sets this computer's name, cut to 63 bytes. An empty or null name changes nothing.
  void setHostname(char* name);

  // Copies this computer's name to `out`, which has room for 64 bytes.
  void getHostname(char* out) const;

  // Sets whether this computer is listed on the scanners from a single character ("0": not; any
  // other digit: listed; anything else counts as 0). Null or a text of another length: listed.
  void setPCNameListUp(char* text);

  // 1 if this computer is to be listed on the scanners, else 0.
  int getPCNameListUp();

  // Repairs a name in place, see RepairHostName; `name` has room for 64 bytes at least.
  void ValidateHostName(char* name);

  // Refills the device list from the devices found.
  void SetMachineList();

  // Raises and lowers the guard against notifications.
  void UpdateStatus();

 protected:
  MACHINEINFO* m_pMachines = nullptr;  // from malloc
  int m_iNumMachine = 0;
  char m_szHostname[kHostnameSize] = "";
  int m_iPCNameListUp = 1;
  std::unique_ptr<xFrame> m_pFrame;
  std::unique_ptr<xLabel> m_pNameLabel;
  std::unique_ptr<xCheckBox> m_pListUp;
  std::unique_ptr<xEntryNoWide> m_pNameEntry;
  std::unique_ptr<xLabel> m_pHeading;
  std::unique_ptr<xListBox> m_pDeviceList;
  std::unique_ptr<xButton> m_pSearch;
  std::unique_ptr<xButton> m_pConfigure;
  unsigned short m_wUpdating = 0;  // non-zero while notifications are ignored

 private:
  void CreateControls();
  void BuildNameFrame();
  void BuildDeviceList(xBox* page);
  void Search();
  void OpenWebPage();
  void ListUpClicked();
};
