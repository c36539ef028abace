// One line on the terminal that says what is being waited for.
#pragma once

#include <string>

// Nothing is shown unless standard output and standard error are both terminals.
class CProgress {
 public:
  CProgress();
  ~CProgress() { Clear(); }
  CProgress(const CProgress&) = delete;
  CProgress& operator=(const CProgress&) = delete;

  // Puts the text in place of the one before.
  void Show(const std::string& text);
  // Empties the line; results can be written then.
  void Clear();

 private:
  const bool m_bTerminal;
};

// Makes Ctrl-C end the program at once, with the usual status 130 and without a half-written line
// on the terminal.
void leave_on_interrupt();
