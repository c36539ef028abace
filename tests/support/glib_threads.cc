// In builds with the thread sanitizer: what GLib's own threads touch is not looked at.
//
// GIO and pango work in threads that GLib starts for them, which run functions of those libraries
// only. They hand over what they made under GLib's locks, and the sanitizer does not see those:
// they are neither its own nor the C library's. It would call every hand-over a race, and it cannot
// name the functions in which, since they are not exported. The threads that the program starts
// itself are looked at in full, and so is the main thread.
#include <dlfcn.h>
#include <pthread.h>

#include <cstring>
#include <memory>

extern "C" {
void AnnotateIgnoreReadsBegin(const char* file, int line);
void AnnotateIgnoreReadsEnd(const char* file, int line);
void AnnotateIgnoreWritesBegin(const char* file, int line);
void AnnotateIgnoreWritesEnd(const char* file, int line);
}

namespace {

using StartRoutine = void* (*)(void*);
using PthreadCreate = int (*)(pthread_t*, const pthread_attr_t*, StartRoutine, void*);

struct LibraryThread {
  StartRoutine routine;
  void* argument;
};

class NotLookedAt {
 public:
  NotLookedAt() {
    AnnotateIgnoreReadsBegin(__FILE__, __LINE__);
    AnnotateIgnoreWritesBegin(__FILE__, __LINE__);
  }
  ~NotLookedAt() {
    AnnotateIgnoreWritesEnd(__FILE__, __LINE__);
    AnnotateIgnoreReadsEnd(__FILE__, __LINE__);
  }
  NotLookedAt(const NotLookedAt&) = delete;
  NotLookedAt& operator=(const NotLookedAt&) = delete;
};

void* RunLibraryThread(void* argument) {
  const std::unique_ptr<LibraryThread> thread(static_cast<LibraryThread*>(argument));
  const NotLookedAt guard;
  return thread->routine(thread->argument);
}

bool IsGLibs(StartRoutine routine) {
  Dl_info library{};
  return dladdr(reinterpret_cast<void*>(routine), &library) != 0 &&
         strstr(library.dli_fname, "libglib-2.0.so") != nullptr;
}

}  // namespace

// Stands in front of the sanitizer's function of this name, which stands in front of the C
// library's.
extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                              StartRoutine routine, void* argument) {
  static const auto next = reinterpret_cast<PthreadCreate>(dlsym(RTLD_NEXT, "pthread_create"));
  if (!IsGLibs(routine)) return next(thread, attributes, routine, argument);
  auto wrapped = std::make_unique<LibraryThread>(LibraryThread{routine, argument});
  const int result = next(thread, attributes, RunLibraryThread, wrapped.get());
  if (result == 0) static_cast<void>(wrapped.release());  // the thread's from now on
  return result;
}
