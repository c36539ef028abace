// The application object and its main loop.
#include "app/frame/app_frame.h"

#include <cstdlib>
#include <vector>

xApp* xApp::m_Instance = nullptr;

xApp::xApp() { m_Instance = this; }

xApp::~xApp() = default;

int xApp::Start(int argc, char** argv) {
  // GTK takes its options out of the array too, not only off the count.
  std::vector<char*> arguments(argv, argv + argc);
  arguments.push_back(nullptr);
  char** own = arguments.data();
  // gtk_init would end the process with status 1 where there is no display.
  if (gtk_init_check(&argc, &own) == FALSE) {
    const char* display = gdk_get_display_arg_name();
    if (display == nullptr) display = getenv("DISPLAY");
    g_warning("cannot open display: %s", display != nullptr ? display : "");
    return 0;
  }
  // Pango begins here to read the configuration of the fonts, in a thread of its own. Whoever shows
  // the first text waits for that, so it goes on while the window is being built.
  pango_cairo_font_map_get_default();
  return InitInstance();
}

void xApp::Run() {
  if (m_pMainWnd == nullptr) return;
  GtkWidget* widget = m_pMainWnd->GetWidget();
  g_signal_connect(widget, "destroy", G_CALLBACK(CallBack_Destroy), this);
  const gulong watch =
      g_signal_connect(widget, "destroy", G_CALLBACK(gtk_widget_destroyed), &widget);
  gtk_main();
  if (widget != nullptr) {
    g_signal_handler_disconnect(widget, watch);
  } else {
    DeleteMainWindow();  // one that was destroyed in an inner loop; no handler runs any more
  }
}

void xApp::CallBack_Destroy(GtkObject* /*object*/, void* data) {
  if (data != nullptr) static_cast<xApp*>(data)->MainWindowDestroyed();
}

void xApp::MainWindowDestroyed() {
  // In a dialog's own loop the window's handler that opened the dialog still runs. The window is
  // then left to Run, which comes after that handler.
  if (g_main_depth() <= 1) DeleteMainWindow();
  ExitInstance();
  gtk_main_quit();
}

void xApp::DeleteMainWindow() {
  delete m_pMainWnd;
  m_pMainWnd = nullptr;
}

xApp* xGetApp() { return xApp::m_Instance; }
