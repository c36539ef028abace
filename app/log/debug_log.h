// The debug log: one printf-style function pointer that all diagnostics go through.
//
// Which sink it points to is decided once, by the switch files that exist when the program starts:
//   /usr/local/share/veltrana/scanner/bin/VeltranaDVXTools.err   lines go to standard error
//   /usr/local/share/veltrana/scanner/bin/VeltranaDVXTools.log   lines go to the log file
//   neither                                                      lines go nowhere
// The first one found wins, and only its existence counts.
//
// Lines are written from the GTK main thread and from the search worker. The sinks put off a
// pending thread cancellation until their line is written, and so must not wait for long: a window
// that closes waits for its worker.
//
// Standard error may be a pipe that is full, a terminal that was stopped with Ctrl+S, or a socket.
// What takes nothing for kStderrPatienceMs loses the line, and then every further one at once,
// until it takes bytes again. A reader who is merely slow thus gets all of them; one who has
// stopped reading costs the program that time once. Nothing tells which lines were lost. What is
// not written through here, such as the warnings of GTK, waits as ever.
#pragma once

// How long a line for standard error waits for its reader.
constexpr int kStderrPatienceMs = 500;

// Formats a line as printf does. Implementations add nothing to it.
typedef void (*DebugFunc)(const char* fmt, ...) __attribute__((format(printf, 1, 2)));

// The sink in use. Never null: it is myDbgNop until initDebug has chosen. Call it directly:
//   myDbgFunc(DBG_PREFIX "i=%d\n", DBG_HERE, i);
extern DebugFunc myDbgFunc;

// The start of every debug line's format, and the two arguments that it takes: the bare name of the
// calling function and the line number. DBG_AT states a line number that is part of the line's
// fixed text, by which those who read logs know the line; DBG_HERE gives the real one.
#define DBG_PREFIX "[%s(%d)]: "
#define DBG_AT(line) __func__, (line)
#define DBG_HERE DBG_AT(__LINE__)

// Points myDbgFunc at the sink that the switch files ask for. Called once, first thing in main;
// switch files made or removed later change nothing.
void initDebug();

// Sink that drops every line.
void myDbgNop(const char* fmt, ...) __attribute__((format(printf, 1, 2)));

// Sink that writes to standard error and flushes it. A null format writes nothing. Keeps errno.
void myDbgOutputStderr(const char* fmt, ...) __attribute__((format(printf, 1, 2)));

// Sink that appends to /tmp/VeltranaDVXTools.log, which is opened and closed for every line. A null
// format writes nothing; a line whose file cannot be opened is lost. It never waits: if the log is
// a pipe, lines that nobody reads are lost too.
void myDbgOutputLog(const char* fmt, ...) __attribute__((format(printf, 1, 2)));

// Writes to standard error whatever the switch files say, without flushing it. The format must not
// be null. Keeps errno.
void DebugPrintf(const char* fmt, ...) __attribute__((format(printf, 1, 2)));
