// The page of the save folder and the OCR program.
#include "ui/tab_general.h"

#include <gtk/gtk.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <string>

#include "app/log/debug_log.h"
#include "base/text_copy.h"
#include "resource/rc_tables.h"
#include "ui/identifiers.h"
#include "ui/main_tabs.h"
#include "ui/main_win.h"
#include "ui/settings/shown_path.h"
#include "xwidgets/accessible.h"
#include "xwidgets/dialogs.h"

namespace {

constexpr unsigned int kIdScanEntry = 0;
constexpr unsigned int kIdOcrEntry = 1;
constexpr unsigned int kIdScanBrowse = 51;
constexpr unsigned int kIdOcrBrowse = 52;

constexpr char kSelectFile[] = "Select File";
constexpr char kSelectFolder[] = "Select Folder";

constexpr int kEntryChars = 12;

// The debug log names the handler of the click for everything that the click does.
constexpr char kBtnClicked[] = "OnNofityBtnClicked";

std::string Text(unsigned short string, const char* english) {
  return LoadDlgText(kDlgGeneral, string, english);
}

// A row of a label, an entry that takes the spare width, and a button, within a frame. A table
// lists the child that came last first, and that is the order in which screen readers go through
// it.
void FillFrame(xFrame* frame, xLabel* label, xEntry* entry, xButton* button) {
  xTable table(1, 3, 0, nullptr, kNoControlID);
  table.AppendChild(button, 2, 0, 1, 1, GTK_FILL, 0, 2, 2);
  table.AppendChild(entry, 1, 0, 1, 1, GTK_EXPAND | GTK_FILL, 0, 2, 2);
  table.AppendChild(label, 0, 0, 1, 1, GTK_FILL, 0, 2, 2);
  frame->AppendChild(&table);
  label->SetMnemonic(entry);
  xNameAfterLabel(*label, *entry);
}

// Shows a path in the entry. The entry reports that as an edit, which changes nothing of the path.
void ShowPath(xEntry* entry, const char* path) { entry->SetWindowText(ShownPath(path).c_str()); }

// Takes an edit of the entry over to the path that it shows.
void TakeEdit(xEntry* entry, char* path) {
  my_strlcpy(path, EditedPath(path, entry->GetWindowText()).c_str(), kPathSize);
}

// A file chooser that is being shown. Destroyed with this object.
class Chooser {
 public:
  Chooser(const std::string& title, GtkFileChooserAction action)
      : m_pDialog(gtk_file_chooser_dialog_new(title.c_str(), Parent(), action, "gtk-cancel",
                                              GTK_RESPONSE_CANCEL, "gtk-ok", GTK_RESPONSE_ACCEPT,
                                              nullptr)) {}
  ~Chooser() { xDestroyFileChooser(m_pDialog); }
  Chooser(const Chooser&) = delete;
  Chooser& operator=(const Chooser&) = delete;

  void SetFolder(const char* folder) {
    gtk_file_chooser_set_current_folder(GTK_FILE_CHOOSER(m_pDialog), folder);
  }

  // Runs the dialog. Whether the user accepted a choice.
  bool Run() { return gtk_dialog_run(GTK_DIALOG(m_pDialog)) == GTK_RESPONSE_ACCEPT; }

  // The chosen name, null when it is not on a file system.
  std::unique_ptr<char, void (*)(gpointer)> Name() {
    return {gtk_file_chooser_get_filename(GTK_FILE_CHOOSER(m_pDialog)), g_free};
  }

 private:
  static GtkWindow* Parent() {
    const CMainWin* window = xGetMainWin();
    return window != nullptr ? GTK_WINDOW(window->GetWidget()) : nullptr;
  }

  GtkWidget* m_pDialog;
};

}  // namespace

CTabGeneral::CTabGeneral(CMainTabs* tabs, const char* label, unsigned int id)
    : xTabBase(tabs, label, id), m_wUpdating(0xFFFF) {
  MakeDefaultFolder();
  xBox page(xBox::kVertical, 0, 6);
  page.SetBorderWidth(6);
  Attach(page.GetWidget());
  BuildScanFrame(&page);
  BuildOcrFrame(&page);
}

CTabGeneral::~CTabGeneral() = default;

void CTabGeneral::MakeDefaultFolder() {
  for (const char* folder : {"/Veltrana", "/Veltrana/DVX", "/Veltrana/DVX/Scan"}) {
    BuildHomePath(m_szScanpath, folder);
    if (access(m_szScanpath, F_OK) != 0) mkdir(m_szScanpath, 0755);
  }
}

void CTabGeneral::BuildScanFrame(xBox* page) {
  m_pScanFrame = std::make_unique<xFrame>(Text(kStrScanFrame, "Scan").c_str());
  m_pScanLabel = std::make_unique<xLabel>(Text(kStrScanLabel, "Save to:").c_str(), 0.0F, 0.5F,
                                          nullptr, kNoControlID);
  m_pScanBrowse = std::make_unique<xButton>(this, kIdScanBrowse,
                                            Text(kStrScanBrowse, "Browse...").c_str(), 0, nullptr);
  m_pScanEntry = std::make_unique<xEntry>(this, kIdScanEntry, kEntryChars);
  FillFrame(m_pScanFrame.get(), m_pScanLabel.get(), m_pScanEntry.get(), m_pScanBrowse.get());
  // The two buttons read alike; what each of them opens tells them apart.
  xDescribe(*m_pScanBrowse, Text(kStrSelectFolder, kSelectFolder).c_str());
  page->AppendChild(m_pScanFrame.get(), 0, 0, 0);
}

void CTabGeneral::BuildOcrFrame(xBox* page) {
  m_pOcrFrame = std::make_unique<xFrame>(Text(kStrOcrFrame, "OCR setting").c_str());
  m_pOcrLabel = std::make_unique<xLabel>(Text(kStrOcrLabel, "OCR Path:").c_str(), 0.0F, 0.5F,
                                         nullptr, kNoControlID);
  m_pOcrBrowse = std::make_unique<xButton>(this, kIdOcrBrowse,
                                           Text(kStrOcrBrowse, "Browse...").c_str(), 0, nullptr);
  m_pOcrEntry = std::make_unique<xEntry>(this, kIdOcrEntry, kEntryChars);
  FillFrame(m_pOcrFrame.get(), m_pOcrLabel.get(), m_pOcrEntry.get(), m_pOcrBrowse.get());
  xDescribe(*m_pOcrBrowse, Text(kStrSelectFile, kSelectFile).c_str());
  page->AppendChild(m_pOcrFrame.get(), 0, 0, 0);
}

void CTabGeneral::OnInitDialog() {
  ShowPath(m_pScanEntry.get(), m_szScanpath);
  ShowPath(m_pOcrEntry.get(), m_szOcrpath);
  UpdateStatus();
}

void CTabGeneral::OnActive() { UpdateStatus(); }

void CTabGeneral::OnReset() { UpdateStatus(); }

void CTabGeneral::UpdateStatus() {
  m_wUpdating = 0xFFFF;
  m_wUpdating = 0;
}

void CTabGeneral::OnNofityChanged(unsigned int id) {
  if (m_wUpdating != 0) return;
  if (id != kIdScanEntry && id != kIdOcrEntry) return;
  CMainWin* window = xGetMainWin();
  if (window != nullptr) window->SetModified(-1);
  if (id == kIdScanEntry) {
    TakeEdit(m_pScanEntry.get(), m_szScanpath);
  } else {
    TakeEdit(m_pOcrEntry.get(), m_szOcrpath);
  }
}

void CTabGeneral::OnNofityBtnClicked(unsigned int id) {
  if (m_wUpdating != 0) return;
  if (id == kIdScanBrowse) BrowseScanFolder();
  if (id == kIdOcrBrowse) BrowseOcrProgram();
}

void CTabGeneral::BrowseScanFolder() {
  Chooser chooser(Text(kStrSelectFolder, kSelectFolder), GTK_FILE_CHOOSER_ACTION_SELECT_FOLDER);
  myDbgFunc(DBG_PREFIX "current_folder = %s\n", kBtnClicked, 210, m_szScanpath);
  chooser.SetFolder(m_szScanpath);
  if (chooser.Run()) {
    const auto name = chooser.Name();
    const char* logged = name != nullptr ? name.get() : "(null)";
    myDbgFunc(DBG_PREFIX "gtk_file_chooser_get_filename = %s\n", kBtnClicked, 216, logged);
    if (name != nullptr) {
      my_strlcpy(m_szScanpath, name.get(), sizeof(m_szScanpath));
      ShowPath(m_pScanEntry.get(), m_szScanpath);
    }
  }
  myDbgFunc(DBG_PREFIX "scanPath = %s\n", kBtnClicked, 223, m_szScanpath);
}

void CTabGeneral::BrowseOcrProgram() {
  Chooser chooser(Text(kStrSelectFile, kSelectFile), GTK_FILE_CHOOSER_ACTION_OPEN);
  std::string folder = m_szOcrpath;
  const std::size_t slash = folder.rfind('/');
  if (slash != std::string::npos) folder.resize(slash);
  const auto log = [&](int line) {
    myDbgFunc(DBG_PREFIX " ID_OCR_BROWSE (%s)=(%s) \n", kBtnClicked, line, folder.c_str(),
              m_szOcrpath);
  };
  log(249);
  chooser.SetFolder(folder.c_str());
  if (chooser.Run()) {
    const auto name = chooser.Name();
    if (name != nullptr) {
      my_strlcpy(m_szOcrpath, name.get(), sizeof(m_szOcrpath));
      ShowPath(m_pOcrEntry.get(), m_szOcrpath);
    }
  }
  log(259);
}

int CTabGeneral::OnApply() {
  if (m_szScanpath[0] == '\0' || access(m_szScanpath, W_OK) != 0) {
    return Refuse(kStrBadScanpath, "Save to : The specified path doesn't exist.", 349);
  }
  if (m_szOcrpath[0] != '\0' && access(m_szOcrpath, X_OK) != 0) {
    return Refuse(kStrBadOcrpath, "OCR Path : The specified path doesn't exist.", 366);
  }
  return -1;
}

// Tells the user why the settings do not take effect, and shows the first page.
int CTabGeneral::Refuse(unsigned short string, const char* english, int line) {
  const std::string message = Text(string, english);
  myDbgFunc(DBG_PREFIX "OnApply szMsg=%s\n", "OnApply", line, message.c_str());
  xMessageBox(xGetMainWin(), kMsgIconInformation | kMsgOk, nullptr, "%s", message.c_str());
  gtk_notebook_set_current_page(GTK_NOTEBOOK(m_pParent->GetWidget()), 0);
  return 0;
}

void CTabGeneral::setScanpath(const char* path) {
  myDbgFunc(DBG_PREFIX "CTabGeneral::setScanpath (%s) \n", DBG_AT(294),
            path != nullptr ? path : "(null)");
  if (path != nullptr) my_strlcpy(m_szScanpath, path, sizeof(m_szScanpath));
}

void CTabGeneral::setOcrpath(const char* path) {
  myDbgFunc(DBG_PREFIX "CTabGeneral::setOcrpath (%s) \n", DBG_AT(305),
            path != nullptr ? path : "(null)");
  if (path != nullptr) my_strlcpy(m_szOcrpath, path, sizeof(m_szOcrpath));
}

void CTabGeneral::getScanpath(char* path) const { my_strlcpy(path, m_szScanpath, kPathSize); }

void CTabGeneral::getOcrpath(char* path) const { my_strlcpy(path, m_szOcrpath, kPathSize); }
