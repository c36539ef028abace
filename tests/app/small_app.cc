// An application object that makes no window, for programs around the real main function. Built
// with SMALL_APP_SUCCEEDS, 0 for one whose InitInstance fails.
#include <cstdio>

#include "app/frame/app_frame.h"

namespace {

class SmallApp : public xApp {
 public:
  int InitInstance() override {
    fputs("InitInstance\n", stderr);
    return SMALL_APP_SUCCEEDS != 0 ? -1 : 0;
  }
  void ExitInstance() override { fputs("ExitInstance\n", stderr); }
};

SmallApp small_app;

}  // namespace
