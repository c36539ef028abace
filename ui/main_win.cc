// The main window and its buttons.
#include "ui/main_win.h"

#include <gtk/gtk.h>

#include "app/frame/app_frame.h"
#include "app/log/debug_log.h"
#include "base/valid_utf8.h"
#include "resource/rc_tables.h"
#include "ui/identifiers.h"

namespace {

constexpr char kLanguageDir[] = "/usr/local/share/veltrana/scanner/data/";
constexpr char kLanguageFile[] = "DVXTOOLS.RCT";

constexpr unsigned int kIdTabs = 1;
constexpr unsigned int kIdEdited = 2;  // no control of the window; counts as an edit
constexpr unsigned int kIdApply = 3;
constexpr unsigned int kIdOK = 4;
constexpr unsigned int kIdCancel = 5;

constexpr char kTitle[] = "Veltrana DVX Tools";

constexpr int kWidth = 638;
constexpr int kHeight = 446;

constexpr std::size_t kColonTextSize = 256;

// Reads the icon theme, which the buttons need when the window is shown. The tabs' entries wait for
// the fonts, which Pango looks for in a thread; doing this first makes use of that time.
void LoadIconTheme(GtkWidget* button) {
  gboolean shows_icons = FALSE;
  g_object_get(gtk_widget_get_settings(button), "gtk-button-images", &shows_icons, nullptr);
  if (shows_icons == FALSE) return;
  GdkPixbuf* icon = gtk_widget_render_icon(button, "gtk-apply", GTK_ICON_SIZE_BUTTON, nullptr);
  if (icon != nullptr) g_object_unref(icon);
}

}  // namespace

CMainWin::CMainWin() : xWindow(nullptr) {
  m_RctFile.Load(kLanguageDir, kLanguageFile);
  // The application object does not hold the window yet, so LoadDlgText would not find it.
  const char* title = LoadDlgString(kDlgMain, kStrTitle);
  SetWindowText(title != nullptr ? MakeValidUtf8(title).c_str() : kTitle);
}

// The tabs go first: they reach for the window and its Apply button.
CMainWin::~CMainWin() { m_pTabs.reset(); }

void CMainWin::OnNofityBtnClicked(unsigned int id) {
  myDbgFunc(DBG_PREFIX "CMainWin::OnNofityBtnClicked ID=%d \n", DBG_AT(100), static_cast<int>(id));
  switch (id) {
    case kIdApply:
      if (ApplyTabs() != 0) SetModified(0);
      break;
    case kIdEdited:
      SetModified(-1);
      break;
    case kIdOK:
      if (ApplyTabs() == 0) break;
      SendEvent(GDK_DELETE);
      myDbgFunc(DBG_PREFIX "ID_BTN_OK \n", DBG_AT(112));
      gtk_main_quit();
      break;
    case kIdCancel:
      SendEvent(GDK_DELETE);
      gtk_main_quit();
      break;
    default:
      break;
  }
}

void CMainWin::OnNofitySelectChanged(unsigned int /*id*/) {}

int CMainWin::OnDelete() {
  myDbgFunc(DBG_PREFIX "CMainWin::OnDelete\n", DBG_AT(93));
  gtk_main_quit();
  return 1;
}

void CMainWin::OnCreate() {
  BuildContent();
  CreateDataDir();
  SetSize(kWidth, kHeight);
  SetResizable(1);
}

// The objects for boxes and pane are only needed for building; their widgets stay in the window.
void CMainWin::BuildContent() {
  xBox box(xBox::kVertical, 0, 10);
  box.SetBorderWidth(10);
  AppendChild(&box);
  xPaned paned(xPaned::kVertical);
  box.AppendChild(&paned, 1, 1, 0);
  xBox row(xBox::kHorizontal, 0, 10);
  box.AppendChildEnd(&row, 0, 0, 0);

  // Buttons before tabs: the tabs' edits switch the Apply button.
  BuildButtons(&row);
  m_pTabs = std::make_unique<CMainTabs>(this, kIdTabs);
  paned.AppendChild1(m_pTabs.get(), 1, 1);
}

void CMainWin::BuildButtons(xBox* row) {
  xButtonBox buttons(xButtonBox::kHorizontal, GTK_BUTTONBOX_END, 10);
  m_pBtnOK = std::make_unique<xStockButton>(this, kIdOK, "gtk-ok");
  m_pBtnCancel = std::make_unique<xStockButton>(this, kIdCancel, "gtk-cancel");
  m_pBtnApply = std::make_unique<xStockButton>(this, kIdApply, "gtk-apply");
  m_pBtnApply->Enable(0);
  buttons.AppendChild(m_pBtnApply.get());
  buttons.AppendChild(m_pBtnOK.get());
  buttons.AppendChild(m_pBtnCancel.get());
  row->AppendChildEnd(&buttons, 0, 0, 0);
  LoadIconTheme(m_pBtnApply->GetWidget());
}

int CMainWin::ApplyTabs() { return m_pTabs->OnApply(); }

void CMainWin::InitTabs() {
  m_pTabs->OnInitDialog();
  // Filling the controls has counted as editing them.
  SetModified(0);
}

const char* CMainWin::LoadDlgString(unsigned short dialog, unsigned short string) const {
  const char* text = m_RctFileFirst.LoadDlgString(dialog, string);
  if (text == nullptr) text = m_RctFile.LoadDlgString(dialog, string);
  return text != nullptr ? text : rc_load_string(dialog, string);
}

void CMainWin::SetModified(int modified) {
  if (m_iLock != 0) return;
  m_iModified = modified;
  if (m_pBtnApply != nullptr) m_pBtnApply->Enable(modified);
}

char* CMainWin::AddColon(const char* text) {
  static char buffer[kColonTextSize];
  if (text == nullptr) return nullptr;
  g_snprintf(buffer, sizeof(buffer), "%.*s:", static_cast<int>(kColonTextSize - 2), text);
  return buffer;
}

int CMainWin::CreateDataDir() { return -1; }

CMainWin* xGetMainWin() {
  const xApp* app = xGetApp();
  return app != nullptr ? static_cast<CMainWin*>(app->m_pMainWnd) : nullptr;
}

std::string LoadDlgText(unsigned short dialog, unsigned short string, const char* english) {
  const CMainWin* window = xGetMainWin();
  const char* text = window != nullptr ? window->LoadDlgString(dialog, string) : nullptr;
  return text != nullptr ? MakeValidUtf8(text) : english;
}
