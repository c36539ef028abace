// Hosts of the fake network in a process of their own, for tests that fork: those must have one
// thread only.
#pragma once

#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <functional>
#include <memory>

#include "tests/support/fake_network.h"

// Runs a host for as long as it lives.
class OtherProcess {
 public:
  using Make = std::function<std::unique_ptr<fake_network::Host>()>;

  explicit OtherProcess(const Make& make) {
    int ready[2];
    fake_network::Check(pipe2(ready, O_CLOEXEC), "pipe2");
    m_Process = fake_network::Check(fork(), "fork");
    if (m_Process == 0) Serve(make, ready[1]);
    close(ready[1]);
    char byte = 0;
    EXPECT_EQ(1, read(ready[0], &byte, 1)) << "no host";
    close(ready[0]);
  }
  ~OtherProcess() {
    kill(m_Process, SIGKILL);
    waitpid(m_Process, nullptr, 0);
  }
  OtherProcess(const OtherProcess&) = delete;
  OtherProcess& operator=(const OtherProcess&) = delete;

 private:
  [[noreturn]] static void Serve(const Make& make, int ready) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const std::unique_ptr<fake_network::Host> host = make();
    if (write(ready, "+", 1) != 1) _exit(1);
    for (;;) pause();
  }

  pid_t m_Process = -1;
};
