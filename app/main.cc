// The program's entry.
#include "app/frame/app_frame.h"
#include "app/log/debug_log.h"

// The exit status is 0 whatever happens.
int main(int argc, char** argv) {
  initDebug();
  xApp* app = xGetApp();
  if (app->Start(argc, argv) == 0) return 0;
  app->Run();
  return 0;
}
