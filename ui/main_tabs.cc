// The notebook's tabs and the reading and writing of the settings file.
#include "ui/main_tabs.h"

#include <fcntl.h>
#include <gtk/gtk.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "app/log/debug_log.h"
#include "base/file_ptr.h"
#include "base/malloc_ptr.h"
#include "base/text_copy.h"
#include "resource/rc_tables.h"
#include "ui/identifiers.h"
#include "ui/main_win.h"
#include "ui/settings/settings_text.h"
#include "ui/tab_general.h"
#include "ui/tab_network.h"

namespace {

constexpr unsigned int kIdGeneral = 100;
constexpr unsigned int kIdNetwork = 150;

constexpr char kSettingsDir[] = "/.VeltranaDVX";
constexpr char kSettingsFile[] = "/.VeltranaDVX/dvxtools.conf";

using FileText = MallocPtr<char>;

// Says on standard error and in the debug log why ReadFile gave up.
void ReportReadError(int line, const char* error) {
  constexpr char kFunction[] = "void CMainTabs::ReadFile()";
  fprintf(stderr, "%s: %s\n", kFunction, error);
  myDbgFunc(DBG_PREFIX "%s: %s\n", "ReadFile", line, kFunction, error);
}

// The whole file as a text; null after a failure.
FileText ReadWhole(FILE* file) {
  struct stat info = {};
  if (fstat(fileno(file), &info) != 0) {
    ReportReadError(271, "fstat Error");
    return nullptr;
  }
  const auto size = static_cast<std::size_t>(info.st_size);
  FileText text(static_cast<char*>(malloc(size + 1)));
  if (text == nullptr) {
    ReportReadError(283, "malloc Error");
    return nullptr;
  }
  text.get()[fread(text.get(), 1, size, file)] = '\0';
  return text;
}

FileText ReadSettingsFile() {
  char path[kPathSize];
  BuildHomePath(path, kSettingsFile);
  // Without O_NONBLOCK a pipe in place of the file would keep the program waiting for a writer.
  const int fd = open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (fd < 0) {
    ReportReadError(252, "Setting File open Error");
    return nullptr;
  }
  const FilePtr file(fdopen(fd, "r"));
  if (file == nullptr) {
    ReportReadError(261, "Setting File open Error");
    close(fd);
    return nullptr;
  }
  return ReadWhole(file.get());
}

// Opens the settings file for writing, empty; null after a failure.
FilePtr CreateSettingsFile() {
  char path[kPathSize];
  char dir[kPathSize];
  BuildHomePath(path, kSettingsFile);
  BuildHomePath(dir, kSettingsDir);
  if (access(dir, W_OK) != 0) mkdir(dir, 0755);
  return FilePtr(fopen(path, "w+"));
}

void WriteSetting(FILE* file, const char* key, const char* value) {
  fprintf(file, "%s=\"%s\"\n", key, value);
}

}  // namespace

CMainTabs::CMainTabs(xWindow* parent, unsigned int id) : xNoteBook(parent, id) {
  m_pTabs[0] = std::make_unique<CTabGeneral>(
      this, LoadDlgText(kDlgGeneral, kStrGeneral, "General").c_str(), kIdGeneral);
  m_pTabs[1] = std::make_unique<CTabNetwork>(
      this, LoadDlgText(kDlgNetwork, kStrNetwork, "Network").c_str(), kIdNetwork);
  for (int i = 0; i < kTabs; ++i) ShowTab(i, -1);
}

CMainTabs::~CMainTabs() = default;

CTabGeneral* CMainTabs::General() const { return static_cast<CTabGeneral*>(m_pTabs[0].get()); }

CTabNetwork* CMainTabs::Network() const { return static_cast<CTabNetwork*>(m_pTabs[1].get()); }

// The page that shows the tab, below 0 for none.
int CMainTabs::PageNumber(int index) const {
  if (m_pTabs[index] == nullptr) return -1;
  return gtk_notebook_page_num(GTK_NOTEBOOK(m_pWidget), m_pTabs[index]->GetWidget());
}

// The page at which the tab goes in: behind the nearest shown tab before it.
int CMainTabs::PageForInsertion(int index) const {
  for (int before = index - 1; before >= 0; --before) {
    const int page = PageNumber(before);
    if (page >= 0) return page + 1;
  }
  return 0;
}

void CMainTabs::ShowTab(int index, int show) {
  if (index < 0 || index >= kTabs || m_pTabs[index] == nullptr) return;
  const int page = PageNumber(index);
  if (show != 0 && page < 0) {
    const xLabel* label = m_pTabs[index]->GetLab();
    gtk_notebook_insert_page(GTK_NOTEBOOK(m_pWidget), m_pTabs[index]->GetWidget(),
                             label != nullptr ? label->GetWidget() : nullptr,
                             PageForInsertion(index));
  } else if (show == 0 && page >= 0) {
    gtk_notebook_remove_page(GTK_NOTEBOOK(m_pWidget), page);
  }
}

void CMainTabs::OnSwitchPage(unsigned int page) {
  if (xGetMainWin() == nullptr) return;
  for (int i = 0; i < kTabs; ++i) {
    if (PageNumber(i) != static_cast<int>(page)) continue;
    m_pTabs[i]->OnActive();
    return;
  }
}

int CMainTabs::ReadName(const char* text, const char* key, char* value) {
  return ReadSetting(text, key, value);
}

void CMainTabs::DeleteLine(char* text, const char* key, int* length) {
  DeleteSettingLine(text, key, length);
}

void CMainTabs::OnInitDialog() {
  ReadFile();
  for (const auto& tab : m_pTabs) tab->OnInitDialog();
}

int CMainTabs::OnApply() {
  int result = -1;
  for (const auto& tab : m_pTabs) {
    if (tab == nullptr || tab->IsShow() == 0) continue;
    result &= tab->OnApply();
    if (result == 0) return 0;
  }
  WriteFile();
  return result;
}

void CMainTabs::OnOK() {
  for (const auto& tab : m_pTabs) {
    if (tab != nullptr && tab->IsShow() != 0) tab->OnOK();
  }
  WriteFile();
}

void CMainTabs::OnReset() {
  for (const auto& tab : m_pTabs) {
    if (tab != nullptr && tab->IsShow() != 0) tab->OnReset();
  }
}

void CMainTabs::OnCancel() {}

void CMainTabs::ReadFile() {
  const FileText text = ReadSettingsFile();
  if (text != nullptr) TakeSettings(text.get(), General(), Network());
}

void CMainTabs::FetchSettings() {
  General()->getScanpath(m_szScanpath);
  General()->getOcrpath(m_szOcrpath);
  char hostname[kHostnameSize];
  Network()->getHostname(hostname);
  my_strlcpy(m_szHostname, hostname, sizeof(m_szHostname));
}

void CMainTabs::WriteFile() {
  const FilePtr file = CreateSettingsFile();
  if (file == nullptr) {
    fputs("CMainTabs::WriteFile() can't open file.\n", stderr);
    myDbgFunc(DBG_PREFIX "CMainTabs::WriteFile() can't open file.\n", DBG_AT(366));
    return;
  }
  FetchSettings();
  WriteSetting(file.get(), "scanpath", m_szScanpath);
  WriteSetting(file.get(), "ocrpath", m_szOcrpath);
  WriteSetting(file.get(), "pcname", m_szHostname);
  // Only the first digit of the number is written.
  char flag[16];
  g_snprintf(flag, sizeof(flag), "%d", Network()->getPCNameListUp());
  flag[1] = '\0';
  WriteSetting(file.get(), "pcListUp", flag);
}
