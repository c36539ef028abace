// Putting a cancellation of this thread off for the length of a scope.
#pragma once

#include <pthread.h>

// While it lives, pthread_cancel on this thread has no effect; it takes effect at the first
// cancellation point after that. For destructors that close something, since an unwind that starts
// in one ends the process, and for steps that must not be left half done.
class CancellationOff {
 public:
  CancellationOff() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &m_iOldState); }
  ~CancellationOff() { pthread_setcancelstate(m_iOldState, nullptr); }
  CancellationOff(const CancellationOff&) = delete;
  CancellationOff& operator=(const CancellationOff&) = delete;

 private:
  int m_iOldState = 0;
};
