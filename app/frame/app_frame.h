// The application object: initialises GTK, holds the main window, runs the main loop.
#pragma once

#include <gtk/gtk.h>

#include "xwidgets/widget.h"

// The base of the one application object, which exists for the whole process. It is constructed
// before main, so nothing here touches GTK before Start. GTK main thread only.
class xApp {
 public:
  xApp();
  xApp(const xApp&) = delete;
  xApp& operator=(const xApp&) = delete;

  // Does nothing. A derived class that made a main window deletes it in its own destructor, if
  // m_pMainWnd is still set, which it is unless the window's widget was destroyed: leaving the main
  // loop alone deletes nothing.
  virtual ~xApp();

  // Builds the main window into m_pMainWnd; -1 for success, 0 for failure. The base builds nothing
  // and succeeds.
  virtual int InitInstance() { return -1; }

  // Called when the main window's widget was destroyed, before the main loop ends. Does nothing.
  virtual void ExitInstance() {}

  // Initialises GTK with the options among its own copies of the arguments (the caller's variables
  // keep them all), then returns the result of InitInstance. Without a display it says so on
  // standard error and returns 0.
  int Start(int argc, char** argv);

  // Runs the GTK main loop until something leaves it. Returns at once without a main window. A main
  // window whose widget was destroyed meanwhile is deleted, and m_pMainWnd null, when it returns.
  void Run();

  // Handler of the main window's "destroy"; `data` is the xApp. Deletes the main window, calls
  // ExitInstance and leaves the main loop. Does nothing when `data` is null. Within the loop of a
  // modal dialog the window object is still needed by the handler that opened the dialog: then
  // m_pMainWnd stays, and Run deletes the window once that handler is through.
  static void CallBack_Destroy(GtkObject* object, void* data);

  // The application object that was constructed last; never cleared.
  static xApp* m_Instance;

  // The main window, owned. Null until InitInstance has set it and after it was deleted.
  xWindow* m_pMainWnd = nullptr;

 private:
  void MainWindowDestroyed();
  void DeleteMainWindow();
};

// The application object, or null if there is none.
xApp* xGetApp();
