// The notebook of settings tabs, and the settings file.
#pragma once

#include <memory>

#include "ui/settings/home_path.h"
#include "xwidgets/layout.h"
#include "xwidgets/tab_base.h"

class CTabGeneral;
class CTabNetwork;

// The notebook in the main window with the tabs "General" and "Network". It hands the window's
// Apply on to them and owns the user's settings file, .VeltranaDVX/dvxtools.conf in the home
// folder: read once when the tabs are initialised and rewritten whole after every accepted Apply.
// The file holds four lines:
//
//   scanpath="/home/ann/Veltrana/DVX/Scan"
//   ocrpath="/usr/bin/ocr"
//   pcname="ann-desk"
//   pcListUp="1"
//
// GTK main thread only.
class CMainTabs : public xNoteBook {
 public:
  // Makes both tabs and shows them. Surveys the network, which takes at least a second.
  CMainTabs(xWindow* parent, unsigned int id);
  ~CMainTabs() override;

  // Tells the tab on this page that it is the current one.
  void OnSwitchPage(unsigned int page) override;

  // Reads the settings file, then initialises each tab. Settings that the file does not have keep
  // the tab's own value.
  virtual void OnInitDialog();

  // Lets each shown tab apply its settings, then writes the file. Returns 0 when a tab refused:
  // the later ones were not asked then, and nothing was written. A failure to write is only
  // reported on standard error.
  virtual int OnApply();

  // Calls OnOK of each shown tab and writes the file.
  virtual void OnOK();

  // Calls OnReset of each shown tab.
  virtual void OnReset();

  // Does nothing.
  virtual void OnCancel();

  // Puts the tab 0 (General) or 1 (Network) into the notebook behind the shown ones before it, or
  // takes it out when `show` is 0. Other indices do nothing.
  void ShowTab(int index, int show);

  // ReadSetting and DeleteSettingLine (ui/settings/settings_text.h) under the names that they have
  // here.
  static int ReadName(const char* text, const char* key, char* value);
  static void DeleteLine(char* text, const char* key, int* length);

  // Reads the settings file into the tabs; reports a failure on standard error and in the debug
  // log.
  void ReadFile();

  // Rewrites the settings file, and makes its folder if need be; reports a failure on standard
  // error and in the debug log.
  void WriteFile();

 protected:
  static constexpr int kTabs = 2;

  std::unique_ptr<xTabBase> m_pTabs[kTabs];
  char m_szScanpath[kPathSize] = "";
  char m_szOcrpath[kPathSize] = "";
  char m_szHostname[40] = "";

 private:
  CTabGeneral* General() const;
  CTabNetwork* Network() const;
  int PageNumber(int index) const;
  int PageForInsertion(int index) const;
  void FetchSettings();
};
