// The making of the main window, and the one application object.
#include "app/main_app.h"

#include "ui/main_win.h"

CMainApp theApp;

CMainApp::~CMainApp() {
  if (m_pMainWnd == nullptr) return;
  // The widget lives on, and must not call the handler that Run has connected.
  g_signal_handlers_disconnect_matched(m_pMainWnd->GetWidget(), G_SIGNAL_MATCH_DATA, 0, 0, nullptr,
                                       nullptr, this);
  delete m_pMainWnd;
  m_pMainWnd = nullptr;
}

int CMainApp::InitInstance() {
  if (xApp::InitInstance() == 0) return 0;
  auto* window = new CMainWin;
  // From here on the tabs find the window through the application object.
  m_pMainWnd = window;
  window->OnCreate();
  window->SetPosition(GTK_WIN_POS_CENTER);
  window->ShowAll();
  window->InitTabs();
  return -1;
}

void CMainApp::ExitInstance() { xApp::ExitInstance(); }
