// One line on the terminal that says what is being waited for.
#include "dvx-probe/progress.h"

#include <unistd.h>

#include <csignal>
#include <cstdio>

namespace {

constexpr int kInterrupted = 128 + SIGINT;
constexpr char kEmptyLine[] = "\r\033[K";

volatile sig_atomic_t g_lineShown = 0;

void Leave(int /*signal*/) {
  if (g_lineShown != 0) {
    [[maybe_unused]] const ssize_t written =
        write(STDERR_FILENO, kEmptyLine, sizeof(kEmptyLine) - 1);
  }
  _exit(kInterrupted);
}

}  // namespace

CProgress::CProgress() : m_bTerminal(isatty(STDOUT_FILENO) == 1 && isatty(STDERR_FILENO) == 1) {}

void CProgress::Show(const std::string& text) {
  if (!m_bTerminal) return;
  g_lineShown = 1;
  fprintf(stderr, "%s%s", kEmptyLine, text.c_str());
  fflush(stderr);
}

void CProgress::Clear() {
  if (g_lineShown == 0) return;
  fputs(kEmptyLine, stderr);
  fflush(stderr);
  g_lineShown = 0;
}

void leave_on_interrupt() {
  struct sigaction before {};
  sigaction(SIGINT, nullptr, &before);
  // A job in the background is not to be interrupted.
  if (before.sa_handler == SIG_IGN) return;
  struct sigaction action {};
  action.sa_handler = Leave;
  sigaction(SIGINT, &action, nullptr);
}
