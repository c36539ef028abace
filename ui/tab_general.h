// The tab "General": where scans are saved, and the OCR program.
#pragma once

#include <memory>

#include "ui/settings/home_path.h"
#include "xwidgets/buttons.h"
#include "xwidgets/entries.h"
#include "xwidgets/layout.h"
#include "xwidgets/tab_base.h"

class CMainTabs;

// The page with the save folder and the path of the OCR program, each in an entry with a
// "Browse..." button that opens a GTK file chooser. It refuses Apply while a path does not exist.
// An entry shows U+FFFD for every byte of its path that is no UTF-8; such bytes survive edits
// elsewhere in the line. GTK main thread only.
class CTabGeneral : public xTabBase {
 public:
  // Builds the page and makes the default save folder, Veltrana/DVX/Scan in the home folder, step
  // by step where it does not exist. A failure to make it shows on Apply.
  CTabGeneral(CMainTabs* tabs, const char* label, unsigned int id);
  ~CTabGeneral() override;

  // A "Browse..." button was clicked: lets the user choose the folder or the program.
  void OnNofityBtnClicked(unsigned int id) override;

  // The text of an entry changed, by the user or by the program: takes it over and marks the
  // settings modified.
  void OnNofityChanged(unsigned int id) override;

  // Shows both paths in their entries.
  void OnInitDialog() override;

  // Let the page hear of changes from now on. The values stay as they are, after a reset too.
  void OnActive() override;
  void OnReset() override;

  // Returns -1 when both paths can be used: the save folder is writable, the OCR program is
  // executable or not set. Otherwise tells the user about the first that cannot, shows the page and
  // returns 0.
  int OnApply() override;

  // Set a path, cut to 511 bytes, without showing it. Null is only logged.
  void setScanpath(const char* path);
  void setOcrpath(const char* path);

  // Copy a path to `path`, which has room for 512 bytes.
  void getScanpath(char* path) const;
  void getOcrpath(char* path) const;

  // Ends the time after construction in which changes and clicks are ignored.
  void UpdateStatus();

 protected:
  std::unique_ptr<xFrame> m_pScanFrame;
  std::unique_ptr<xLabel> m_pScanLabel;
  std::unique_ptr<xButton> m_pScanBrowse;
  std::unique_ptr<xEntry> m_pScanEntry;
  std::unique_ptr<xFrame> m_pOcrFrame;
  std::unique_ptr<xLabel> m_pOcrLabel;
  std::unique_ptr<xButton> m_pOcrBrowse;
  std::unique_ptr<xEntry> m_pOcrEntry;
  char m_szScanpath[kPathSize] = "";
  char m_szOcrpath[kPathSize] = "";
  unsigned short m_wUpdating;  // non-zero while notifications are ignored

 private:
  void MakeDefaultFolder();
  void BuildScanFrame(xBox* page);
  void BuildOcrFrame(xBox* page);
  void BrowseScanFolder();
  void BrowseOcrProgram();
  int Refuse(unsigned short string, const char* english, int line);
};
