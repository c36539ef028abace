// Tests of surveys that are cancelled anywhere on their way, many at a time, as threads of a real
// network exchange: whatever a survey holds at that moment is given back.
#include <gtest/gtest.h>
#include <malloc.h>
#include <netinet/in.h>
#include <pthread.h>
#include <sys/select.h>
#include <sys/socket.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "app/log/debug_log.h"
#include "base/malloc_ptr.h"
#include "tests/support/cancelled_thread.h"
#include "tests/support/snmp_answer.h"
#include "ui/survey/device_survey.h"

using fake_network::AsksFor;
using fake_network::Host;
using fake_network::kDiscoveryName;
using fake_network::kModelName;
using fake_network::kSysName;
using fake_network::kVendorName;
using fake_network::Office;
using fake_network::Received;
using fake_network::SnmpAnswer;
using fake_network::TextElement;

namespace {

// Whether a survey is cancelled while it returns freed memory to the system.
std::atomic<bool> cancel_in_malloc_trim{false};

// Ports of the surveys' sockets. Each socket has a new one: an answer that comes when its socket
// has been closed must not be taken for one to the next question.
std::atomic<int> next_port{1024};

}  // namespace

// The linker puts these in front of the real functions.
extern "C" {
int __real_select(int count, fd_set* readable, fd_set* writable, fd_set* special, timeval* wait);
int __wrap_select(int count, fd_set* readable, fd_set* writable, fd_set* special, timeval* wait);
int __real_socket(int domain, int type, int protocol) noexcept;
int __wrap_socket(int domain, int type, int protocol) noexcept;
int __real_malloc_trim(size_t pad) noexcept;
int __wrap_malloc_trim(size_t pad) noexcept;
}

// A second takes 1/20 of one, so that the waits of a survey are not nearly all of it.
int __wrap_select(int count, fd_set* readable, fd_set* writable, fd_set* special, timeval* wait) {
  timeval shorter{0, static_cast<suseconds_t>(wait->tv_sec * 50000)};
  return __real_select(count, readable, writable, special, &shorter);
}

int __wrap_socket(int domain, int type, int protocol) noexcept {
  const int result = __real_socket(domain, type, protocol);
  if (type != SOCK_DGRAM) return result;  // the office's
  sockaddr_in own{};
  own.sin_family = AF_INET;
  own.sin_port = htons(static_cast<uint16_t>(next_port++));
  EXPECT_EQ(0, bind(result, reinterpret_cast<const sockaddr*>(&own), sizeof(own)));
  return result;
}

// The C library's own asks for random bytes when memory has been allocated by others only, and that
// is a cancellation point.
int __wrap_malloc_trim(size_t pad) noexcept {
  if (cancel_in_malloc_trim) {
    pthread_cancel(pthread_self());
    pthread_testcancel();
  }
  return __real_malloc_trim(pad);
}

namespace {

constexpr int kScanners = 4;
constexpr int kSurveys = 8;  // at a time
constexpr int kRounds = 80;
constexpr int kLongestMicroseconds = 90000;  // about what a survey takes here

// Four scanners answer the broadcast, and each its own questions.
void Answer(Host& host, const Received& request) {
  if (AsksFor(request, kDiscoveryName)) {
    for (int i = 0; i < kScanners; ++i) {
      host.ReplyAs("10.77.0." + std::to_string(64 + i), request,
                   SnmpAnswer(kDiscoveryName, TextElement("1")));
    }
  } else if (AsksFor(request, kModelName)) {
    host.Reply(request, SnmpAnswer(kModelName, TextElement("T55_E")));
  } else if (AsksFor(request, kVendorName)) {
    host.Reply(request, SnmpAnswer(kVendorName, TextElement("Veltrana")));
  } else if (AsksFor(request, kSysName)) {
    host.Reply(request, SnmpAnswer(kSysName, TextElement("desk")));
  }
}

// A survey on a thread of its own.
class Survey {
 public:
  Survey() { EXPECT_EQ(0, pthread_create(&m_Thread, nullptr, Run, this)); }
  Survey(const Survey&) = delete;
  Survey& operator=(const Survey&) = delete;

  void Cancel() { pthread_cancel(m_Thread); }

  // Waits for the end. Returns whether it was cancelled; if not, what it has found is in order. On
  // a busy machine that may not be all, as answers have little time here.
  bool Join() {
    void* result = nullptr;
    pthread_join(m_Thread, &result);
    if (result == PTHREAD_CANCELED) {
      EXPECT_EQ(nullptr, m_Machines);
      return true;
    }
    EXPECT_LE(m_iCount, kScanners);
    for (int i = 0; i < m_iCount; ++i) {
      EXPECT_STREQ("Veltrana T55", m_Machines.get()[i].szModelName);
      EXPECT_STREQ("desk", m_Machines.get()[i].szMachineName);
    }
    return false;
  }

 private:
  static void* Run(void* data) {
    auto* self = static_cast<Survey*>(data);
    self->m_Machines.reset(searchMachine(&self->m_iCount, nullptr));
    return nullptr;
  }

  pthread_t m_Thread{};
  MallocPtr<MACHINEINFO> m_Machines;
  int m_iCount = 0;
};

class DeviceSurveyCancelTest : public ::testing::TestWithParam<bool> {
 protected:
  void SetUp() override { myDbgFunc = GetParam() ? myDbgOutputLog : myDbgNop; }
  void TearDown() override { myDbgFunc = myDbgNop; }

  // Starts surveys and cancels each after a random while. Returns how many that has ended.
  int CancelSurveys() {
    std::vector<int> moments(kSurveys);
    for (int& moment : moments) moment = static_cast<int>(m_Random() % kLongestMicroseconds);
    std::sort(moments.begin(), moments.end());
    Survey surveys[kSurveys];
    // On a busy machine every sleep is too long; they must not add up.
    const auto begin = std::chrono::steady_clock::now();
    for (int i = 0; i < kSurveys; ++i) {
      std::this_thread::sleep_until(begin + std::chrono::microseconds(moments[i]));
      surveys[i].Cancel();
    }
    return static_cast<int>(std::count_if(std::begin(surveys), std::end(surveys),
                                          [](Survey& survey) { return survey.Join(); }));
  }

 private:
  std::mt19937 m_Random{1};
};

// Every round leaves as many descriptors open as there were; what memory it leaves, the sanitizers
// tell.
TEST_P(DeviceSurveyCancelTest, LeavesNothingBehindWherever) {
  Host office(Office("0.0.0.0", 161), Answer);
  const int before = CountDescriptors();
  int cancelled = 0;
  for (int round = 0; round < kRounds; ++round) {
    cancelled += CancelSurveys();
    ASSERT_EQ(before, CountDescriptors()) << "round " << round;
  }
  EXPECT_LE(next_port, 65536);
  printf("%d of %d surveys were cancelled\n", cancelled, kRounds * kSurveys);
  EXPECT_GT(cancelled, kRounds * kSurveys / 4);
}

// Malloc_trim is declared not to throw: an unwind that begins there would end the program.
TEST_P(DeviceSurveyCancelTest, IsNotBegunWhileMemoryIsReturned) {
  const Host office(Office("0.0.0.0", 161), Answer);
  const int before = CountDescriptors();
  cancel_in_malloc_trim = true;
  EXPECT_TRUE(Survey().Join());
  cancel_in_malloc_trim = false;
  EXPECT_EQ(before, CountDescriptors());
}

INSTANTIATE_TEST_SUITE_P(WithoutALogAndWithOne, DeviceSurveyCancelTest, ::testing::Bool());

}  // namespace
