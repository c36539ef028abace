// A thread that has no network at all, where nothing can be sent. Needs root, as in script/lab.
#pragma once

#include <gtest/gtest.h>
#include <sched.h>

#include <functional>
#include <thread>

inline void WithoutNetwork(const std::function<void()>& test) {
  std::thread([&] {
    ASSERT_EQ(0, unshare(CLONE_NEWNET));
    test();
  }).join();
}
