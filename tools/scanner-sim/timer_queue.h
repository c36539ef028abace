// Things that are to happen at a later time, in the order of their times.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <queue>
#include <utility>
#include <vector>

// Entries of the same time come out in the order in which they were put in.
template <class Item>
class CTimerQueue {
 public:
  using Clock = std::chrono::steady_clock;

  void Put(Clock::time_point due, Item item) { m_Entries.push({due, m_iNext++, std::move(item)}); }

  // The first entry that is due at this time, taken out; nothing if none is.
  std::optional<Item> TakeDue(Clock::time_point now) {
    if (m_Entries.empty() || m_Entries.top().due > now) return std::nullopt;
    Item item = m_Entries.top().item;
    m_Entries.pop();
    return item;
  }

  // Milliseconds until the first entry is due, rounded up so that it is due when they have passed;
  // -1 without entries. This is the time-out that epoll_wait takes.
  int Wait(Clock::time_point now) const {
    if (m_Entries.empty()) return -1;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(m_Entries.top().due - now);
    return left.count() < 0 ? 0 : static_cast<int>(left.count());
  }

 private:
  struct Entry {
    Clock::time_point due;
    uint64_t number;
    Item item;

    bool operator<(const Entry& other) const {
      return due != other.due ? due > other.due : number > other.number;
    }
  };

  std::priority_queue<Entry> m_Entries;
  uint64_t m_iNext = 0;
};
