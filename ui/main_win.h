// The main window: the settings tabs above the buttons Apply, OK and Cancel.
#pragma once

#include <memory>
#include <string>

#include "resource/rct_file.h"
#include "ui/main_tabs.h"
#include "xwidgets/buttons.h"
#include "xwidgets/widget.h"

// The one top-level window of the program. It holds the notebook of tabs, answers every request for
// a text of the user interface, and keeps whether the tabs hold changes that are not applied.
//
// The application object makes it, then calls OnCreate, shows it and calls InitTabs. OK, Cancel and
// the window manager's close all leave the main loop without destroying the window, which the
// application object deletes. GTK main thread only.
class CMainWin : public xWindow {
 public:
  // Makes the window without content: loads the language resource file, if there is one, and sets
  // the title.
  CMainWin();
  ~CMainWin() override;

  // A button was clicked. Apply and OK let the tabs apply their settings, also when nothing was
  // modified; when a tab refuses, the window stays as it is. Controls of the tabs never get here:
  // their identifiers overlap those of the window's own.
  void OnNofityBtnClicked(unsigned int id) override;

  // Does nothing.
  void OnNofitySelectChanged(unsigned int id) override;

  // Leaves the main loop and drops changes that are not applied. Returns 1: GTK keeps the window.
  int OnDelete() override;

  // Builds the content. Making the Network tab surveys the network, which takes at least a second.
  // The application object must already hold this window.
  void OnCreate() override;

  // Reads the settings file into the tabs; the settings then count as not modified. Call once,
  // after OnCreate.
  void InitTabs();

  // The text `string` of the window or tab `dialog` as the language resource file has it, otherwise
  // as it is compiled in; null when there is none. Valid as long as the window. LoadDlgText is the
  // convenient form.
  const char* LoadDlgString(unsigned short dialog, unsigned short string) const;

  // Notes that the tabs hold changes that are not applied (-1), or none (0). The Apply button is
  // sensitive only while they do.
  void SetModified(int modified);

  // `text` with a colon appended, in a buffer that the next call overwrites and that holds 254
  // bytes of the text. Null for null.
  static char* AddColon(const char* text);

  // Returns -1 (success): there is no data folder beside the user's own, so none is made.
  int CreateDataDir();

 protected:
  std::unique_ptr<xStockButton> m_pBtnOK;
  std::unique_ptr<xStockButton> m_pBtnCancel;
  std::unique_ptr<xStockButton> m_pBtnApply;
  std::unique_ptr<CMainTabs> m_pTabs;
  CRctFile m_RctFile;       // the language resource file
  CRctFile m_RctFileFirst;  // asked before m_RctFile; nothing is ever loaded into it
  int m_iLock = 0;          // non-zero keeps SetModified from changing anything; never set
  int m_iModified = 0;

 private:
  void BuildContent();
  void BuildButtons(xBox* row);
  int ApplyTabs();
};

// The main window, or null before it is made and after it is deleted.
CMainWin* xGetMainWin();

// The text to show: the main window's answer or, without one, `english`. An empty answer is shown
// as it is. The text is valid UTF-8 whatever the language resource file holds.
std::string LoadDlgText(unsigned short dialog, unsigned short string, const char* english);
