// The debug log's sinks and the choice between them.
#include "app/log/debug_log.h"

#include <fcntl.h>
#include <stdio_ext.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>

#include "app/log/timely_write.h"
#include "base/cancellation_off.h"
#include "base/malloc_ptr.h"

namespace {

constexpr char kStderrSwitch[] = "/usr/local/share/veltrana/scanner/bin/VeltranaDVXTools.err";
constexpr char kLogSwitch[] = "/usr/local/share/veltrana/scanner/bin/VeltranaDVXTools.log";
constexpr char kLogFile[] = "/tmp/VeltranaDVXTools.log";

bool Exists(const char* path) { return access(path, F_OK) == 0; }

// Bytes of a line with a few of the longest texts, which devices and settings have.
constexpr size_t kUsualLine = 4096;

// As fopen with mode "a", but a pipe without a reader does not make the program wait for one.
FILE* OpenLog() {
  const int fd = open(kLogFile, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NONBLOCK, 0666);
  if (fd < 0) return nullptr;
  FILE* log = fdopen(fd, "a");
  if (log == nullptr) close(fd);
  return log;
}

// The reader of standard error took nothing for too long, and has taken nothing since.
std::atomic<bool> reader_has_stopped{false};

int Patience() { return reader_has_stopped ? 0 : kStderrPatienceMs; }

// A stream that somebody has given a buffer keeps its lines in the order of the calls.
bool WriteToBuffer(const char* text, size_t size, bool flush) {
  if (!WaitForRoom(fileno(stderr), Patience())) return false;
  fwrite(text, 1, size, stderr);
  if (flush) fflush(stderr);
  return true;
}

// The stream's lock keeps the line whole among the threads of this program.
void WriteToStderr(const char* text, size_t size, bool flush) {
  flockfile(stderr);
  const bool buffered = __fbufsize(stderr) > 1;
  const bool written = buffered ? WriteToBuffer(text, size, flush)
                                : WritePatiently(fileno(stderr), text, size, Patience());
  reader_has_stopped = !written;
  funlockfile(stderr);
}

// Formats and writes a line to standard error. That memory is short has to be told without any:
// only of a line that is longer than all of the program's own the end is then missing.
void PrintToStderr(const char* fmt, va_list args, bool flush) {
  const int error = errno;
  const CancellationOff guard;
  char line[kUsualLine];
  va_list again;
  va_copy(again, args);
  const int length = vsnprintf(line, sizeof(line), fmt, args);
  MallocPtr<char> long_line;
  if (length >= static_cast<int>(sizeof(line))) {
    char* text = nullptr;
    if (vasprintf(&text, fmt, again) >= 0) long_line.reset(text);
  }
  va_end(again);
  if (long_line != nullptr) {
    WriteToStderr(long_line.get(), static_cast<size_t>(length), flush);
  } else if (length >= 0) {
    WriteToStderr(line, std::min(static_cast<size_t>(length), sizeof(line) - 1), flush);
  }
  errno = error;
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
  va_list args;
  va_start(args, fmt);
  PrintToStderr(fmt, args, true);
  va_end(args);
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
  va_list args;
  va_start(args, fmt);
  PrintToStderr(fmt, args, false);
  va_end(args);
}
