// Runs a function on a thread that is cancelled while it waits, as the search dialog does with its
// worker.
#pragma once

#include <dirent.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include <functional>

// Number of descriptors that this process has open.
inline int CountDescriptors() {
  DIR* folder = opendir("/proc/self/fd");
  int count = 0;
  while (readdir(folder) != nullptr) ++count;
  closedir(folder);
  return count;
}

// Starts `work` on a new thread, runs `before_cancel` on this one, cancels the thread and waits for
// its end. Returns true when the thread ended by the cancellation, false when `work` had returned.
inline bool EndsCancelled(const std::function<void()>& work,
                          const std::function<void()>& before_cancel) {
  pthread_t thread;
  const auto entry = [](void* data) -> void* {
    (*static_cast<const std::function<void()>*>(data))();
    return nullptr;
  };
  if (pthread_create(&thread, nullptr, entry, const_cast<std::function<void()>*>(&work)) != 0) {
    ADD_FAILURE() << "no thread";
    return false;
  }
  before_cancel();
  pthread_cancel(thread);
  void* result = nullptr;
  pthread_join(thread, &result);
  return result == PTHREAD_CANCELED;
}
