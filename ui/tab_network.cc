// The page of the scanners and this computer's name.
#include "ui/tab_network.h"

#include <gtk/gtk.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "app/log/debug_log.h"
#include "base/kept_memory.h"
#include "base/text_copy.h"
#include "base/valid_utf8.h"
#include "devreg/client_registration.h"
#include "resource/rc_tables.h"
#include "ui/dlg_search.h"
#include "ui/identifiers.h"
#include "ui/main_tabs.h"
#include "ui/main_win.h"
#include "xwidgets/accessible.h"

namespace {

constexpr unsigned int kIdNameEntry = 2;
constexpr unsigned int kIdListUp = 5;
constexpr unsigned int kIdSearch = 53;
constexpr unsigned int kIdConfigure = 54;
constexpr unsigned int kIdDeviceList = 55;

constexpr int kNameChars = 15;  // what a scanner keeps of a name

// The debug log names the handler of the click for everything that the click does.
constexpr char kBtnClicked[] = "OnNofityBtnClicked";

// A program that opens a web page in the desktop's browser.
struct Viewer {
  const char* path;
  const char* name;  // its argument 0
  const char* found;
  const char* entered;
};
constexpr Viewer kViewers[] = {
    {"/usr/bin/xdg-open", "xdg-open", "xdg-open exist", "viewer: xdg enter"},
    {"/usr/bin/gnome-open", "gnome-open", "gnome-open exist", "viewer: gnome enter"},
};

std::string Text(unsigned short string, const char* english) {
  return LoadDlgText(kDlgNetwork, string, english);
}

void MarkModified() {
  CMainWin* window = xGetMainWin();
  if (window != nullptr) window->SetModified(-1);
}

const Viewer* FindViewer() {
  for (const Viewer& viewer : kViewers) {
    if (access(viewer.path, X_OK) != 0) continue;
    myDbgFunc(DBG_PREFIX "%s\n", kBtnClicked, __LINE__, viewer.found);
    return &viewer;
  }
  myDbgFunc(DBG_PREFIX "Error: xdg-open, gnome-open not exist\n", kBtnClicked, __LINE__);
  return nullptr;
}

// Whether there is a row for a key to select. GTK then says that the key is dealt with, otherwise
// not, and the key goes on to what the list is in.
bool HasRowUnderCursor(GtkTreeView* view) {
  GtkTreePath* cursor = nullptr;
  gtk_tree_view_get_cursor(view, &cursor, nullptr);
  if (cursor == nullptr) return false;
  gtk_tree_path_free(cursor);
  return gtk_widget_has_focus(GTK_WIDGET(view)) != 0;
}

// Has the list report a selection that the keyboard changes where the cursor stands. GTK does not
// count that as a change of the cursor, which is what the list hears of: when the Tab key leads to
// the list, the cursor is on the first row already, and the space bar selects it. Returns what GTK
// returned, whose answer the one of a later handler replaces.
gboolean ReportSelection(GtkTreeView* view) {
  if (!HasRowUnderCursor(view)) return FALSE;
  g_signal_emit_by_name(view, "cursor-changed");
  return TRUE;
}

// The columns of the device list.
struct Column {
  unsigned short title;
  const char* english;
  const char* (*text)(const MACHINEINFO& machine);
};
constexpr Column kColumns[] = {
    {kStrModelName, "Model Name", [](const MACHINEINFO& machine) { return machine.szModelName; }},
    {kStrMachineName, "Machine Name",
     [](const MACHINEINFO& machine) { return machine.szMachineName; }},
    {kStrAddress, "IP Address", [](const MACHINEINFO& machine) { return machine.szIPAddress; }},
};

// A text for each column.
template <typename TextOfColumn>
std::vector<std::string> TextsOf(TextOfColumn text_of) {
  std::vector<std::string> texts;
  for (const Column& column : kColumns) texts.push_back(text_of(column));
  return texts;
}

std::vector<const char*> Pointers(const std::vector<std::string>& texts) {
  std::vector<const char*> pointers;
  pointers.reserve(texts.size());
  for (const std::string& text : texts) pointers.push_back(text.c_str());
  return pointers;
}

void WatchSelectionKeys(GtkWidget* view) {
  for (const char* signal : {"select-cursor-row", "toggle-cursor-row"}) {
    g_signal_connect_data(view, signal, G_CALLBACK(ReportSelection), view, nullptr,
                          static_cast<GConnectFlags>(G_CONNECT_AFTER | G_CONNECT_SWAPPED));
  }
}

// Collects a viewer that has ended.
gboolean CollectViewer(gpointer viewer) {
  const bool is_running = waitpid(GPOINTER_TO_INT(viewer), nullptr, WNOHANG) == 0;
  return is_running ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
}

// Starts the viewer and leaves it to itself.
void StartViewer(const Viewer& viewer, const char* url) {
  const pid_t pid = fork();
  if (pid == 0) {
    myDbgFunc(DBG_PREFIX "%s\n", kBtnClicked, __LINE__, viewer.entered);
    execl(viewer.path, viewer.name, url, nullptr);
    // Not exit: this copy of the program must not tear down the window on the shared X connection.
    _exit(1);
  }
  if (pid < 0) return;
  // Looked for now and then instead of watched with g_child_watch_add, which handles SIGCHLD where
  // the kernel has no descriptors of processes: the signal would cut the wait for a scanner short.
  g_timeout_add_seconds(1, CollectViewer, GINT_TO_POINTER(pid));
}

}  // namespace

CTabNetwork::CTabNetwork(CMainTabs* tabs, const char* title, unsigned int id)
    : xTabBase(tabs, title, id) {
  ValidateHostName(m_szHostname);
  myDbgFunc(DBG_PREFIX "hostname=(%s)\n", DBG_HERE, m_szHostname);
  m_pMachines = searchMachine(&m_iNumMachine, nullptr);

  m_wUpdating = 0xFFFF;
  CreateControls();
  xBox page(xBox::kVertical, 0, 6);
  page.SetBorderWidth(6);
  Attach(page.GetWidget());
  BuildNameFrame();
  page.AppendChild(m_pFrame.get(), 0, 0, 2);
  BuildDeviceList(&page);
  m_wUpdating = 0;
}

// The devices found are left to the end of the process, which is near.
CTabNetwork::~CTabNetwork() { keep_for_good(m_pMachines); }

void CTabNetwork::CreateControls() {
  m_pFrame = std::make_unique<xFrame>(Text(kStrFrame, "PC name list up on device").c_str());
  m_pNameLabel = std::make_unique<xLabel>(Text(kStrName, "PC name:").c_str(), 0.0F, 0.5F, nullptr,
                                          kNoControlID);
  m_pListUp = std::make_unique<xCheckBox>(this, kIdListUp,
                                          Text(kStrListUp, "PC name list up on device").c_str());
  m_pNameEntry = std::make_unique<xEntryNoWide>(this, kIdNameEntry, 0, 0);
  m_pNameEntry->SetLimitText(kNameChars);
  m_pNameEntry->SetInputRule(INPUT_FILTER | INPUT_ALLOWED, kNameCharacters);
  m_pHeading = std::make_unique<xLabel>(Text(kStrHeading, "Configure Network Device").c_str(), 0.0F,
                                        0.5F, nullptr, kNoControlID);
  const auto titles =
      TextsOf([](const Column& column) { return Text(column.title, column.english); });
  m_pDeviceList = std::make_unique<xListBox>(this, kIdDeviceList, Pointers(titles));
  m_pSearch =
      std::make_unique<xButton>(this, kIdSearch, Text(kStrSearch, "Search").c_str(), 0, nullptr);
  m_pConfigure = std::make_unique<xButton>(this, kIdConfigure,
                                           Text(kStrConfigure, "Configure...").c_str(), 0, nullptr);
}

// The label spans two rows, of which the second is beyond the table's two: GTK adds it. Screen
// readers go through the table from its last child to its first.
void CTabNetwork::BuildNameFrame() {
  xTable table(2, 2, 0, nullptr, kNoControlID);
  table.AppendChild(m_pNameEntry.get(), 1, 1, 1, 1, GTK_FILL, GTK_FILL, 2, 2);
  table.AppendChild(m_pNameLabel.get(), 0, 1, 1, 2, GTK_FILL, GTK_FILL, 2, 2);
  table.AppendChild(m_pListUp.get(), 0, 0, 2, 1, GTK_EXPAND | GTK_FILL, GTK_FILL, 2, 2);
  m_pFrame->AppendChild(&table);
  m_pNameLabel->SetMnemonic(m_pNameEntry.get());
  xNameAfterLabel(*m_pNameLabel, *m_pNameEntry);
}

void CTabNetwork::BuildDeviceList(xBox* page) {
  page->AppendChild(m_pHeading.get(), 0, 0, 2);
  page->AppendChild(m_pDeviceList.get(), 1, 1, 2);
  m_pHeading->SetMnemonic(m_pDeviceList.get());
  xNameAfterLabel(*m_pHeading, *m_pDeviceList);
  WatchSelectionKeys(m_pDeviceList->GetMnemonicWidget());

  xBox buttons(xBox::kHorizontal, 0, 0);
  buttons.SetBorderWidth(6);
  buttons.AppendChild(m_pSearch.get(), 0, 0, 2);
  buttons.AppendChildEnd(m_pConfigure.get(), 0, 0, 2);
  page->AppendChildEnd(&buttons, 0, 0, 2);
}

void CTabNetwork::OnInitDialog() {
  myDbgFunc(DBG_PREFIX "CTabNetwork::OnInitDialog %s\n", DBG_HERE, m_szHostname);
  SetMachineList();
  // The entry cuts a long name and reports that, which makes the cut name the name.
  m_pNameEntry->SetWindowText(std::string(m_szHostname).c_str());
  m_pListUp->SetCheck(m_iPCNameListUp != 0 ? 1 : 0);
  m_pConfigure->Enable(0);
  UpdateStatus();
}

void CTabNetwork::SetMachineList() {
  myDbgFunc(DBG_PREFIX "CTabNetwork::SetMachineList num=%d\n", DBG_HERE, m_iNumMachine);
  m_pDeviceList->Clear();
  for (int i = 0; i < m_iNumMachine; ++i) {
    // What a device says of itself may be anything.
    const auto texts = TextsOf([machine = &m_pMachines[i]](const Column& column) {
      return MakeValidUtf8(column.text(*machine));
    });
    m_pDeviceList->AddRow(Pointers(texts));
  }
  myDbgFunc(DBG_PREFIX "CTabNetwork::SetMachineList end\n", DBG_HERE);
}

void CTabNetwork::OnActive() { UpdateStatus(); }

void CTabNetwork::OnReset() { UpdateStatus(); }

void CTabNetwork::UpdateStatus() {
  m_wUpdating = 0xFFFF;
  m_wUpdating = 0;
}

void CTabNetwork::OnNofityBtnClicked(unsigned int id) {
  if (m_wUpdating != 0) return;
  if (id == kIdSearch) Search();
  if (id == kIdConfigure) OpenWebPage();
  if (id == kIdListUp) ListUpClicked();
}

void CTabNetwork::OnNofitySelectChanged(unsigned int id) {
  if (m_wUpdating != 0 || id != kIdDeviceList) return;
  m_pConfigure->Enable(m_pDeviceList->GetCurSel() >= 0 ? 1 : 0);
}

void CTabNetwork::OnNofityChanged(unsigned int id) {
  if (m_wUpdating != 0 || id != kIdNameEntry) return;
  MarkModified();
  my_strlcpy(m_szHostname, m_pNameEntry->GetWindowText(), sizeof(m_szHostname));
}

void CTabNetwork::Search() {
  CDlgSearch dialog(xGetMainWin());
  if (dialog.DoModel() != 1) return;
  if (m_iNumMachine != 0) free(m_pMachines);
  m_pMachines = dialog.getMachines();
  m_iNumMachine = dialog.getMachineNum();
  SetMachineList();
  m_pConfigure->Enable(0);
}

void CTabNetwork::OpenWebPage() {
  const int selected = m_pDeviceList->GetCurSel();
  myDbgFunc(DBG_PREFIX "GetCurSel=%d \n", kBtnClicked, __LINE__, selected);
  if (selected < 0 || selected >= m_iNumMachine) return;
  const std::string url = std::string("http://") + m_pMachines[selected].szIPAddress;
  const Viewer* viewer = FindViewer();
  if (viewer != nullptr) StartViewer(*viewer, url.c_str());
}

void CTabNetwork::ListUpClicked() {
  m_pNameEntry->Enable(m_pListUp->GetCheck());
  MarkModified();
}

int CTabNetwork::OnApply() {
  m_iPCNameListUp = m_pListUp->GetCheck();
  my_strlcpy(m_szHostname, m_pNameEntry->GetWindowText(), sizeof(m_szHostname));
  if (m_szHostname[0] == '\0') ValidateHostName(m_szHostname);
  for (int i = 0; i < m_iNumMachine; ++i) {
    const char* address = m_pMachines[i].szIPAddress;
    if (m_iPCNameListUp != 0) {
      registerOneNetDevice(address, m_szHostname);
    } else {
      unregisterOnDevice(address, m_szHostname);
    }
    myDbgFunc(DBG_PREFIX "i=%d, m_iNumMachine=%d\n", DBG_HERE, i, m_iNumMachine);
  }
  return -1;
}

void CTabNetwork::setHostname(char* name) {
  myDbgFunc(DBG_PREFIX "CTabNetwork::setHostname (%s) \n", DBG_HERE,
            name != nullptr ? name : "(null)");
  if (name == nullptr || name[0] == '\0') return;
  my_strlcpy(m_szHostname, name, sizeof(m_szHostname));
}

void CTabNetwork::getHostname(char* out) const { my_strlcpy(out, m_szHostname, kHostnameSize); }

void CTabNetwork::setPCNameListUp(char* text) {
  myDbgFunc(DBG_PREFIX "CTabNetwork::setPCNameListUp (%s) \n", DBG_HERE,
            text != nullptr ? text : "(null)");
  const bool one_character = text != nullptr && strlen(text) == 1;
  m_iPCNameListUp = one_character ? atoi(text) : 1;
}

int CTabNetwork::getPCNameListUp() {
  if (m_iPCNameListUp != 0) m_iPCNameListUp = 1;
  return m_iPCNameListUp;
}

void CTabNetwork::ValidateHostName(char* name) { RepairHostName(name); }
