// The debug log's sinks and the choice between them.
#include "app/debug_log.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>

#include "app/cancellation_off.h"

namespace {

constexpr char kStderrSwitch[] = "/usr/local/share/veltrana/scanner/bin/VeltranaDVXTools.err";
constexpr char kLogSwitch[] = "/usr/local/share/veltrana/scanner/bin/VeltranaDVXTools.log";
constexpr char kLogFile[] = "/tmp/VeltranaDVXTools.log";

bool Exists(const char* path) { return access(path, F_OK) == 0; }

// As fopen with mode "a", but a pipe without a reader does not make the program wait for one.
FILE* OpenLog() {
  const int fd = open(kLogFile, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NONBLOCK, 0666);
  if (fd < 0) return nullptr;
  FILE* log = fdopen(fd, "a");
  if (log == nullptr) close(fd);
  return log;
}

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
  const CancellationOff guard;
  va_list args;
  va_start(args, fmt);
  vfprintf(stderr, fmt, args);
  va_end(args);
  fflush(stderr);
}

void myDbgOutputLog(const char* fmt, ...) {
  if (fmt == nullptr) return;
  // A search worker that is cancelled while it logs must not leave an open log behind.
  const CancellationOff guard;
  FILE* log = OpenLog();
  if (log == nullptr) return;
  va_list args;
  va_start(args, fmt);
  vfprintf(log, fmt, args);
  va_end(args);
  fclose(log);
}

void DebugPrintf(const char* fmt, ...) {
  const CancellationOff guard;
  va_list args;
  va_start(args, fmt);
  vfprintf(stderr, fmt, args);
  va_end(args);
}
