// The debug log's sinks and the choice between them.
#include "app/debug_log.h"

#include <pthread.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>

namespace {

constexpr char kStderrSwitch[] = "/usr/local/share/veltrana/scanner/bin/VeltranaDVXTools.err";
constexpr char kLogSwitch[] = "/usr/local/share/veltrana/scanner/bin/VeltranaDVXTools.log";
constexpr char kLogFile[] = "/tmp/VeltranaDVXTools.log";

bool Exists(const char* path) { return access(path, F_OK) == 0; }

// Opening and writing files are cancellation points. A search worker that is cancelled while it
// logs must not leave an open log behind, so the cancellation waits until the line is written.
class CancellationOff {
 public:
  CancellationOff() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &m_iOldState); }
  ~CancellationOff() { pthread_setcancelstate(m_iOldState, nullptr); }
  CancellationOff(const CancellationOff&) = delete;
  CancellationOff& operator=(const CancellationOff&) = delete;

 private:
  int m_iOldState = 0;
};

}  // namespace

DebugFunc myDbgFunc = myDbgNop;

void initDebug() {
  if (Exists(kStderrSwitch)) {
    myDbgFunc = myDbgOutputStderr;
  } else if (Exists(kLogSwitch)) {
    myDbgFunc = myDbgOutputLog;
  } else {
    myDbgFunc = myDbgNop;
  }
}

void myDbgNop(const char* /*fmt*/, ...) {}

void myDbgOutputStderr(const char* fmt, ...) {
  if (fmt == nullptr) return;
  CancellationOff guard;
  va_list args;
  va_start(args, fmt);
  vfprintf(stderr, fmt, args);
  va_end(args);
  fflush(stderr);
}

void myDbgOutputLog(const char* fmt, ...) {
  if (fmt == nullptr) return;
  CancellationOff guard;
  FILE* log = fopen(kLogFile, "a");
  if (log == nullptr) return;
  va_list args;
  va_start(args, fmt);
  vfprintf(log, fmt, args);
  va_end(args);
  fclose(log);
}

void DebugPrintf(const char* fmt, ...) {
  CancellationOff guard;
  va_list args;
  va_start(args, fmt);
  vfprintf(stderr, fmt, args);
  va_end(args);
}
