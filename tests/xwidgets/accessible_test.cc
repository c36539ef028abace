// Tests of what assistive programs are told about controls.
#include "xwidgets/accessible.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

#include "tests/support/accessible.h"
#include "tests/support/gtk_test.h"
#include "xwidgets/buttons.h"
#include "xwidgets/entries.h"
#include "xwidgets/lists.h"

namespace {

using accessible::Of;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class AccessibleTest : public ::testing::Test {
 protected:
  AccessibleTest()
      : m_Label("_Save to:", 0.0F, 0.5F, nullptr, kNoControlID), m_Entry(nullptr, 1, 12) {
    for (xWidget* widget : {static_cast<xWidget*>(&m_Label), static_cast<xWidget*>(&m_Entry)}) {
      g_object_ref_sink(widget->GetWidget());
    }
  }
  ~AccessibleTest() override {
    for (xWidget* widget : {static_cast<xWidget*>(&m_Label), static_cast<xWidget*>(&m_Entry)}) {
      g_object_unref(widget->GetWidget());
    }
  }

  GtkWidget* Label() const { return m_Label.GetWidget(); }
  GtkWidget* Entry() const { return m_Entry.GetWidget(); }

  xLabel m_Label;
  xEntry m_Entry;
};

TEST_F(AccessibleTest, ATiedLabelAndItsControlLeadToEachOther) {
  xTieLabel(m_Label, m_Entry);
  EXPECT_THAT(accessible::LabelledBy(Entry()), ElementsAre(Of(Label())));
  EXPECT_THAT(accessible::LabelFor(Label()), ElementsAre(Of(Entry())));
  EXPECT_EQ("(null)", accessible::Name(Entry()));
}

TEST_F(AccessibleTest, ALabelMayBeTiedToSeveralControls) {
  xEntry other(nullptr, 2, 12);
  g_object_ref_sink(other.GetWidget());
  xTieLabel(m_Label, m_Entry);
  xTieLabel(m_Label, other);
  xTieLabel(m_Label, m_Entry);
  EXPECT_THAT(accessible::LabelFor(Label()), ElementsAre(Of(Entry()), Of(other.GetWidget())));
  EXPECT_THAT(accessible::LabelledBy(other.GetWidget()), ElementsAre(Of(Label())));
  g_object_unref(other.GetWidget());
}

TEST_F(AccessibleTest, AControlIsNamedAfterItsLabelWithoutTheUnderscore) {
  xNameAfterLabel(m_Label, m_Entry);
  EXPECT_EQ("Save to:", accessible::Name(Entry()));
  EXPECT_THAT(accessible::LabelledBy(Entry()), ElementsAre(Of(Label())));
}

TEST_F(AccessibleTest, ANameIsACopy) {
  xNameAfterLabel(m_Label, m_Entry);
  m_Label.SetWindowText("Elsewhere:");
  EXPECT_EQ("Save to:", accessible::Name(Entry()));
}

TEST_F(AccessibleTest, OfAListBoxTheTableIsNamed) {
  xListBox list(nullptr, 55, "A", nullptr, nullptr);
  g_object_ref_sink(list.GetWidget());
  xNameAfterLabel(m_Label, list);
  EXPECT_EQ("Save to:", accessible::Name(list.GetMnemonicWidget()));
  EXPECT_THAT(accessible::LabelFor(Label()), ElementsAre(Of(list.GetMnemonicWidget())));
  EXPECT_THAT(accessible::LabelledBy(list.GetWidget()), IsEmpty());
  g_object_unref(list.GetWidget());
}

TEST_F(AccessibleTest, ADescriptionLeavesTheNameAlone) {
  xNameAfterLabel(m_Label, m_Entry);
  xDescribe(m_Entry, "Select Folder");
  EXPECT_EQ("Select Folder", accessible::Description(Entry()));
  EXPECT_EQ("Save to:", accessible::Name(Entry()));
}

TEST_F(AccessibleTest, NothingOfItIsOnTheScreen) {
  xButton button(nullptr, 51, "Browse...", 0, nullptr);
  g_object_ref_sink(button.GetWidget());
  xNameAfterLabel(m_Label, button);
  xDescribe(button, "Select Folder");
  EXPECT_STREQ("Browse...", gtk_button_get_label(GTK_BUTTON(button.GetWidget())));
  EXPECT_EQ(nullptr, gtk_label_get_mnemonic_widget(GTK_LABEL(Label())));
  EXPECT_FALSE(gtk_widget_get_has_tooltip(button.GetWidget()));
  g_object_unref(button.GetWidget());
}

TEST_F(AccessibleTest, AControlThatGoesLeavesItsLabelBehindWithoutIt) {
  GtkWidget* bar = nullptr;
  {
    const xProgressBar progress(nullptr, 4, 0);
    bar = GTK_WIDGET(g_object_ref_sink(progress.GetWidget()));
    xTieLabel(m_Label, progress);
    ASSERT_THAT(accessible::LabelFor(Label()), ElementsAre(Of(bar)));
  }
  g_object_unref(bar);
  EXPECT_THAT(accessible::LabelFor(Label()), IsEmpty());
}

}  // namespace
