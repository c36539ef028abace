// Many questions at once, each from a port of its own.
#include "dvx-probe/exchange.h"

#include <poll.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <list>

#include "dvx-probe/addresses.h"

namespace {

using Clock = std::chrono::steady_clock;

// One question on its way.
struct Conversation {
  CUdpPort port;
  const Question* question;
  Outcome* outcome;
  Clock::time_point end;
};

class CExchange {
 public:
  CExchange(Ends ends, int milliseconds, const Watcher& watcher)
      : m_Ends(ends), m_Wait(milliseconds), m_Watcher(watcher) {}

  bool IsBusy() const { return !m_Running.empty(); }
  bool HasRoom() const { return m_Running.size() < kMostAtOnce; }

  void Begin(const Question& question, Outcome* outcome, CTrace* trace) {
    CUdpPort port(trace);
    if (!question.interface.empty()) port.Use(question.interface, question.source);
    outcome->sendError = port.Send(question.to, question.data);
    outcome->port = port.Port();
    if (outcome->sendError != 0) return Tell();
    m_Running.push_back({std::move(port), &question, outcome, Clock::now() + m_Wait});
  }

  // Waits until something happens, and takes it.
  void Step() {
    std::vector<pollfd> ports;
    Clock::time_point next = m_Running.front().end;
    for (const Conversation& item : m_Running) {
      ports.push_back({item.port.Fd(), POLLIN, 0});
      next = std::min(next, item.end);
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(next - Clock::now()).count();
    poll(ports.data(), ports.size(), static_cast<int>(std::max<int64_t>(0, left)));
    size_t number = 0;
    for (auto item = m_Running.begin(); item != m_Running.end(); ++number) {
      const bool ended = Take(&*item, ports[number].revents);
      item = ended ? m_Running.erase(item) : std::next(item);
    }
  }

 private:
  // Takes what has come for a question; returns whether that is over.
  bool Take(Conversation* item, int events) {
    if ((events & POLLERR) != 0) TakeReport(item);
    // An answer that came after the look, while others were taken, is not overlooked at the end.
    const bool waited = Clock::now() >= item->end;
    if (((events & POLLIN) != 0 || waited) && TakeAnswer(item)) return true;
    if (Clock::now() < item->end) return false;
    if (item->outcome->answers.empty()) Tell();
    return true;
  }

  // Takes what the network has reported; returns whether there was something.
  static bool TakeReport(Conversation* item) {
    const int error = item->port.TakeNetworkError();
    if (error != 0) item->outcome->networkError = error;
    return error != 0;
  }

  bool TakeAnswer(Conversation* item) {
    std::optional<Datagram> answer = item->port.Receive();
    // A report that came in since the socket was looked at is given in place of the answer, which
    // stays behind it. When time is up, nobody would look for it again.
    while (!answer && TakeReport(item)) answer = item->port.Receive();
    if (!answer) return false;
    const bool asked = same_address(answer->from.sin_addr, item->question->to.sin_addr);
    item->outcome->answers.push_back(std::move(*answer));
    item->end = Clock::now() + m_Wait;
    Tell();
    return asked || m_Ends == Ends::kWithFirstAnswer;
  }

  void Tell() const {
    if (m_Watcher) m_Watcher();
  }

  const Ends m_Ends;
  const std::chrono::milliseconds m_Wait;
  const Watcher& m_Watcher;
  std::list<Conversation> m_Running;
};

}  // namespace

std::vector<Outcome> ask_all(const std::vector<Question>& questions, Ends ends, int milliseconds,
                             CTrace* trace, const Watcher& watcher) {
  std::vector<Outcome> outcomes(questions.size());
  CExchange exchange(ends, milliseconds, watcher);
  size_t next = 0;
  while (next < questions.size() || exchange.IsBusy()) {
    while (next < questions.size() && exchange.HasRoom()) {
      exchange.Begin(questions[next], &outcomes[next], trace);
      ++next;
    }
    if (exchange.IsBusy()) exchange.Step();
  }
  return outcomes;
}
