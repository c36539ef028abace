// The application: makes the main window and shows it.
#pragma once

#include "app/frame/app_frame.h"

// The program's application object. Its only instance is theApp.
class CMainApp : public xApp {
 public:
  // Deletes the main window, unless that was destroyed before. Runs when the process exits.
  ~CMainApp() override;

  // Makes the main window, shows it in the middle of the screen, then reads the settings into it.
  // Surveys the network, which takes at least a second. Returns -1. What the window's constructor
  // throws leaves this function and the process.
  int InitInstance() override;

  void ExitInstance() override;
};

// Constructed before main, destroyed at exit.
extern CMainApp theApp;
