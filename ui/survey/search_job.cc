// A search on its worker thread, and how its end reaches the main loop.
#include "ui/survey/search_job.h"

#include <unistd.h>

#include <utility>

#include "app/log/debug_log.h"
#include "base/cancellation_off.h"

namespace {

constexpr gint64 kPauseMicroseconds = 1000000;

// Lets a second pass, also when signals interrupt it. A cancellation point.
void Pause() {
  const gint64 end = g_get_monotonic_time() + kPauseMicroseconds;
  for (gint64 left = kPauseMicroseconds; left > 0; left = end - g_get_monotonic_time()) {
    usleep(static_cast<useconds_t>(left));
  }
}

}  // namespace

std::atomic<int> bCancel{0};

// Made and destroyed on the main thread. The worker only sets the job's flag, which this looks at.
struct SearchJob::EndSource {
  GSource source;
  SearchJob* job;
};

void* search_thread(void* job) {
  auto* search = static_cast<SearchJob*>(job);

  FoundMachines found;
  found.machines.reset(searchMachine(&found.count, nullptr));
  const int cancel = search->ReadCancel();
  myDbgFunc(DBG_PREFIX "search_thread bCancel=%d\n", DBG_HERE, cancel);
  if (cancel == 0) {
    search->Store(std::move(found));
    Pause();
    search->Announce();
  }
  myDbgFunc(DBG_PREFIX "search_thread End\n", DBG_HERE);
  return nullptr;
}

SearchJob::SearchJob(Done done) : m_Done(std::move(done)) {}

SearchJob::~SearchJob() {
  if (IsUnderWay()) Cancel();
  if (m_bStarted) pthread_join(m_Thread, nullptr);
}

// The flag is reset after the thread has started. The worker cannot look at it before that: it
// needs the lock.
void SearchJob::Start(pthread_t* thread) {
  static GSourceFuncs functions = {PrepareEnd, CheckEnd, DispatchEnd, nullptr, nullptr, nullptr};
  m_pEnd = g_source_new(&functions, sizeof(EndSource));
  reinterpret_cast<EndSource*>(m_pEnd)->job = this;
  g_source_set_priority(m_pEnd, G_PRIORITY_DEFAULT_IDLE);
  g_source_attach(m_pEnd, nullptr);

  const std::lock_guard<std::mutex> lock(m_Mutex);
  m_bStarted = pthread_create(&m_Thread, nullptr, search_thread, this) == 0;
  *thread = m_Thread;
  bCancel = 0;
}

void SearchJob::Cancel() {
  bCancel = 1;
  if (!IsUnderWay()) return;
  StopListening();
  if (m_bStarted) pthread_cancel(m_Thread);
}

void SearchJob::StopListening() {
  g_source_destroy(m_pEnd);
  g_source_unref(m_pEnd);
  m_pEnd = nullptr;
}

// Whether the search was cancelled. Waits until the main thread has finished starting it.
int SearchJob::ReadCancel() {
  const std::lock_guard<std::mutex> lock(m_Mutex);
  return bCancel;
}

void SearchJob::Store(FoundMachines found) {
  const std::lock_guard<std::mutex> lock(m_Mutex);
  m_Found = std::move(found);
}

// The wake-up is a write, and that a cancellation point: a main loop that is told must wake up too.
void SearchJob::Announce() {
  const CancellationOff guard;
  m_bEnd = true;
  g_main_context_wakeup(nullptr);
}

gboolean SearchJob::PrepareEnd(GSource* source, gint* timeout) {
  *timeout = -1;
  return CheckEnd(source);
}

gboolean SearchJob::CheckEnd(GSource* source) {
  return reinterpret_cast<EndSource*>(source)->job->m_bEnd ? TRUE : FALSE;
}

gboolean SearchJob::DispatchEnd(GSource* source, GSourceFunc /*callback*/, gpointer /*data*/) {
  reinterpret_cast<EndSource*>(source)->job->Finish();
  return FALSE;
}

// Nothing of this object is touched behind the call, which may delete it.
void SearchJob::Finish() {
  StopListening();
  FoundMachines found;
  {
    const std::lock_guard<std::mutex> lock(m_Mutex);
    found = std::move(m_Found);
  }
  const Done done = m_Done;
  done(std::move(found));
}
