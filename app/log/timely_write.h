// Writing for a reader who may be slow, or not read at all.
#pragma once

#include <cstddef>

// Waits until `fd` takes some bytes, or its reader is gone, but no longer than `milliseconds`.
// Returns whether a write makes sense.
bool WaitForRoom(int fd, int milliseconds);

// Writes `size` bytes to `fd`, a descriptor of any kind. Gives up when a pipe, a terminal or a
// socket has taken none for `milliseconds`; 0 means not to wait at all. Returns whether all were
// written; a pipe gets all or nothing of up to PIPE_BUF bytes.
//
// The descriptor's own flags stay as they are, since it may be shared with other processes. On any
// thread, which must not be cancelled meanwhile. Writing to a pipe without a reader raises SIGPIPE.
bool WritePatiently(int fd, const char* text, size_t size, int milliseconds);
