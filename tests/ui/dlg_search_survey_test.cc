// Tests of the search dialog with the real survey, on the lab's network, where no scanner answers.
#include <gtest/gtest.h>

#include <memory>

#include "app/app_frame.h"
#include "tests/support/gtk_test.h"
#include "ui/dlg_search.h"

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
  auto search = std::make_unique<CDlgSearch>(&m_Parent);
  double cancelled = 0;
  const gtk_test::ModalAnswer answer([&](GtkDialog*) {
    cancelled = Seconds();
    search->OnNofityBtnClicked(3);
  });
  EXPECT_EQ(2, search->DoModel());
  search.reset();
  EXPECT_LT(Seconds() - cancelled, 0.9);
  EXPECT_EQ(1, bCancel);
}

}  // namespace
