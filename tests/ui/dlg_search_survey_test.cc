// Tests of the search dialog with the real survey, on the lab's network.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <thread>

#include "app/frame/app_frame.h"
#include "tests/support/fake_network.h"
#include "tests/support/gtk_test.h"
#include "ui/dlg_search.h"

using fake_network::Host;
using fake_network::Office;
using fake_network::Received;

namespace {

double Seconds() { return static_cast<double>(g_get_monotonic_time()) / 1e6; }

class DlgSearchSurveyTest : public ::testing::Test {
 protected:
  // The dialog and the survey may only meet the lab's network.
  void SetUp() override {
    ASSERT_TRUE(g_file_test("/tmp/.lab", G_FILE_TEST_EXISTS)) << "run this test with script/lab";
  }

  xWindow m_Parent{nullptr};
};

TEST_F(DlgSearchSurveyTest, EndsASecondAfterASurveyOfAtLeastASecond) {
  CDlgSearch search(&m_Parent);
  const gtk_test::ModalAnswer answer([](GtkDialog*) {});
  const double started = Seconds();
  EXPECT_EQ(1, search.DoModel());
  EXPECT_GE(Seconds() - started, 2.0);
  EXPECT_EQ(nullptr, search.getMachines());
  EXPECT_EQ(0, search.getMachineNum());
  EXPECT_EQ(0, bCancel);
}

TEST_F(DlgSearchSurveyTest, CancelDoesNotWaitForTheSurvey) {
  std::atomic<bool> enough{false};
  std::atomic<bool> ran_out{false};
  // Whatever comes within a second keeps the survey waiting for more.
  Host office(Office("0.0.0.0", 161), [&](Host& host, const Received& request) {
    const auto end = std::chrono::steady_clock::now() + fake_network::kPatience;
    while (!enough && !ran_out) {
      host.ReplyAs("10.77.0.64", request, {0});
      std::this_thread::sleep_for(std::chrono::milliseconds(100));
      if (std::chrono::steady_clock::now() > end) ran_out = true;
    }
  });
  auto search = std::make_unique<CDlgSearch>(&m_Parent);
  const gtk_test::ModalAnswer answer([&](GtkDialog*) {
    EXPECT_EQ(1u, office.WaitFor(1).size());
    search->OnNofityBtnClicked(3);
  });
  EXPECT_EQ(2, search->DoModel());
  search.reset();
  EXPECT_FALSE(ran_out);
  enough = true;
  EXPECT_EQ(1, bCancel);
}

}  // namespace
