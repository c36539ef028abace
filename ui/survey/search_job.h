// A search for scanners as a job of its own: the survey on a worker thread, and what it has found.
#pragma once

#include <glib.h>
#include <pthread.h>

#include <atomic>
#include <functional>
#include <mutex>

#include "base/malloc_ptr.h"
#include "ui/survey/device_survey.h"

// 1 after a search ended in another way than by being finished, 0 from the start of the next one.
// Written on the GTK main thread, read by the worker.
extern std::atomic<int> bCancel;

// What a survey has found: the array, null when it is nothing, and the number of devices in it.
struct FoundMachines {
  MallocPtr<MACHINEINFO> machines;
  int count = 0;
};

// One search. The devices found have one owner at any time: the worker until its survey is over,
// this object during the second behind that, and then whoever the job is made for, to whom they
// are moved. A search that is cancelled, or whose object goes away, frees them wherever they are.
//
// All but search_thread belongs to the GTK main thread.
class SearchJob {
 public:
  // Gets the devices found, in the main loop. May delete the job.
  using Done = std::function<void(FoundMachines)>;

  // A search that has not begun. `done` is called once at most: never once the search is cancelled
  // or the object is gone.
  explicit SearchJob(Done done);

  // Cancels a search that is under way, and waits for the worker in any case. The worker ends at
  // its next wait; a debug line that nobody reads can hold it up to kStderrPatienceMs longer.
  ~SearchJob();
  SearchJob(const SearchJob&) = delete;
  SearchJob& operator=(const SearchJob&) = delete;

  // Starts the worker, once, then resets bCancel, which the worker does not read before that.
  // *thread is set to its handle, for which this object stays responsible. Without a thread the
  // search is under way all the same, and ends by being cancelled only. `thread` must not be null.
  void Start(pthread_t* thread);

  // Sets bCancel. A search that is under way is over then: the worker ends at its next wait, and
  // `done` is not called any more. Does not wait for that.
  void Cancel();

  // Whether the search was started and neither cancelled nor finished.
  bool IsUnderWay() const { return m_pEnd != nullptr; }

 private:
  friend void* search_thread(void* job);
  struct EndSource;

  int ReadCancel();
  void Store(FoundMachines found);
  void Announce();
  void Finish();
  void StopListening();
  static gboolean PrepareEnd(GSource* source, gint* timeout);
  static gboolean CheckEnd(GSource* source);
  static gboolean DispatchEnd(GSource* source, GSourceFunc callback, gpointer data);

  const Done m_Done;
  GSource* m_pEnd = nullptr;  // sees the end of the worker in the main loop; owned
  pthread_t m_Thread{};
  bool m_bStarted = false;          // m_Thread is a thread that was not joined yet
  std::mutex m_Mutex;               // for the start of the search, and for m_Found
  FoundMachines m_Found;            // from the end of the survey until it is moved on
  std::atomic<bool> m_bEnd{false};  // the worker has announced its end
};

// The worker: runs the survey and, unless the search is cancelled by then, has the devices handed
// over a second later. `job` is the SearchJob, which waits for the worker before it goes away.
// Returns null. The thread may be cancelled with pthread_cancel in the deferred way.
void* search_thread(void* job);
