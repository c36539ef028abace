// Tests of a search as a job: where the devices found are at any time, and when it ends.
#include "ui/survey/search_job.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "app/log/debug_log.h"
#include "tests/support/fake_scanners.h"

// The linker sends the calls of this here, see CMakeLists.txt.
extern "C" {
int __real_pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                          void* (*entry)(void*), void* argument);
int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                          void* (*entry)(void*), void* argument);
}

namespace {

bool no_threads = false;

}  // namespace

int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                          void* (*entry)(void*), void* argument) {
  return no_threads ? EAGAIN : __real_pthread_create(thread, attributes, entry, argument);
}

namespace {

constexpr double kPatience = 20;

std::atomic<bool> said_end{false};

__attribute__((format(printf, 1, 2))) void NoteEnd(const char* format, ...) {
  if (std::string(format).find("search_thread End") != std::string::npos) said_end = true;
}

double Seconds() { return static_cast<double>(g_get_monotonic_time()) / 1e6; }

class SearchJobTest : public ::testing::Test {
 protected:
  void SetUp() override {
    no_threads = false;
    said_end = false;
    bCancel = 0;
    fake_scanners::Reset();
    fake_scanners::SetDevices({{"Veltrana T55", "reception", "10.77.0.64"}});
    myDbgFunc = NoteEnd;
    m_pJob = std::make_unique<SearchJob>([this](FoundMachines found) {
      ++m_iDone;
      m_Found = std::move(found);
    });
  }
  void TearDown() override {
    m_pJob.reset();
    myDbgFunc = myDbgNop;
  }

  // Runs the main loop until `done` gives true.
  static bool LoopUntil(const std::function<bool()>& done) {
    const double deadline = Seconds() + kPatience;
    while (!done() && Seconds() < deadline) {
      if (g_main_context_iteration(nullptr, FALSE) == FALSE) g_usleep(1000);
    }
    return done();
  }
  // Waits for the end of the worker, of which the main loop is kept from hearing.
  static bool WorkerEnds() {
    const double deadline = Seconds() + kPatience;
    while (!said_end && Seconds() < deadline) g_usleep(1000);
    return said_end;
  }
  static bool SurveyIsRunning() {
    return LoopUntil([] { return fake_scanners::SurveysBegun() > 0; });
  }
  static void EmptyMainLoop() {
    while (g_main_context_iteration(nullptr, FALSE) != FALSE) {
    }
  }

  std::unique_ptr<SearchJob> m_pJob;
  pthread_t m_Thread{};
  int m_iDone = 0;
  FoundMachines m_Found;
};

TEST_F(SearchJobTest, MovesTheDevicesOnASecondAfterTheSurvey) {
  EXPECT_FALSE(m_pJob->IsUnderWay());
  const double started = Seconds();
  m_pJob->Start(&m_Thread);
  EXPECT_NE(pthread_t{}, m_Thread);
  EXPECT_TRUE(m_pJob->IsUnderWay());
  ASSERT_TRUE(LoopUntil([&] { return m_iDone > 0; }));
  EXPECT_GE(Seconds() - started, 1.0);
  EXPECT_FALSE(m_pJob->IsUnderWay());
  ASSERT_EQ(1, m_Found.count);
  EXPECT_STREQ("reception", m_Found.machines->szMachineName);
  EXPECT_EQ(0, bCancel);
  m_pJob.reset();
  EmptyMainLoop();
  EXPECT_EQ(1, m_iDone);
}

// A main loop that sleeps has nothing else to wake it.
TEST_F(SearchJobTest, WakesTheMainLoopUp) {
  bool given_up = false;
  const guint timer = g_timeout_add(
      static_cast<guint>(kPatience * 1000),
      [](gpointer late) -> gboolean {
        *static_cast<bool*>(late) = true;
        return TRUE;
      },
      &given_up);
  m_pJob->Start(&m_Thread);
  while (m_iDone == 0 && !given_up) g_main_context_iteration(nullptr, TRUE);
  g_source_remove(timer);
  EXPECT_FALSE(given_up);
  EXPECT_EQ(1, m_iDone);
}

TEST_F(SearchJobTest, ThatFindsNothingIsDoneAllTheSame) {
  fake_scanners::SetDevices({});
  m_pJob->Start(&m_Thread);
  ASSERT_TRUE(LoopUntil([&] { return m_iDone > 0; }));
  EXPECT_EQ(nullptr, m_Found.machines);
  EXPECT_EQ(0, m_Found.count);
}

TEST_F(SearchJobTest, CancelledDuringTheSurveyIsNeverDone) {
  fake_scanners::HoldSurveys();
  m_pJob->Start(&m_Thread);
  ASSERT_TRUE(SurveyIsRunning());
  m_pJob->Cancel();
  EXPECT_FALSE(m_pJob->IsUnderWay());
  EXPECT_EQ(1, bCancel);
  m_pJob.reset();
  EXPECT_EQ(1, fake_scanners::SurveysCancelled());
  EmptyMainLoop();
  EXPECT_EQ(0, m_iDone);
}

TEST_F(SearchJobTest, CancelledWhenItsEndWaitsInTheMainLoopIsNeverDone) {
  m_pJob->Start(&m_Thread);
  ASSERT_TRUE(WorkerEnds());
  m_pJob->Cancel();
  EmptyMainLoop();
  EXPECT_EQ(0, m_iDone);
  EXPECT_EQ(1, bCancel);
}

TEST_F(SearchJobTest, GoneWhenItsEndWaitsInTheMainLoopIsNeverDone) {
  m_pJob->Start(&m_Thread);
  ASSERT_TRUE(WorkerEnds());
  m_pJob.reset();
  EmptyMainLoop();
  EXPECT_EQ(0, m_iDone);
  EXPECT_EQ(1, bCancel);
}

TEST_F(SearchJobTest, CancelOfAFinishedOneSetsTheFlagOnly) {
  m_pJob->Start(&m_Thread);
  ASSERT_TRUE(LoopUntil([&] { return m_iDone > 0; }));
  m_pJob->Cancel();
  EXPECT_EQ(1, bCancel);
  EXPECT_EQ(1, m_Found.count);
}

TEST_F(SearchJobTest, MayBeDeletedByWhoeverGetsTheDevices) {
  auto* job = new SearchJob([&](FoundMachines) {
    m_pJob.reset();
    ++m_iDone;
  });
  m_pJob.reset(job);
  job->Start(&m_Thread);
  ASSERT_TRUE(LoopUntil([&] { return m_iDone > 0; }));
  EmptyMainLoop();
  EXPECT_EQ(1, m_iDone);
}

TEST_F(SearchJobTest, ThatWasNotStartedLeavesTheFlag) {
  m_pJob.reset();
  EXPECT_EQ(0, bCancel);
}

TEST_F(SearchJobTest, WithoutAThreadIsUnderWayUntilItIsCancelled) {
  no_threads = true;
  bCancel = 1;
  m_pJob->Start(&m_Thread);
  EXPECT_EQ(0, bCancel);
  EmptyMainLoop();
  EXPECT_TRUE(m_pJob->IsUnderWay());
  m_pJob->Cancel();
  EXPECT_FALSE(m_pJob->IsUnderWay());
  EXPECT_EQ(1, bCancel);
  EXPECT_EQ(0, m_iDone);
}

}  // namespace
