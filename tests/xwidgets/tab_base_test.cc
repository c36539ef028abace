// Tests of the settings page base.
#include "xwidgets/tab_base.h"

#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "tests/support/gtk_test.h"
#include "tests/support/notify_recorder.h"
#include "tests/support/vtable_slot.h"

namespace {

using Texts = std::vector<std::string>;

// Shows the fields to the tests.
class OpenWidget : public xWidget {
 public:
  using xWidget::m_nID;
  using xWidget::m_pParent;
};

// A page with a box of its own.
class TestTab : public xTabBase {
 public:
  TestTab(xWidget* parent, const char* text) : xTabBase(parent, text, 100) {
    Attach(gtk_vbox_new(FALSE, 0));
  }
};

// A notebook in a window, without pages.
class TabBaseTest : public ::testing::Test {
 protected:
  TabBaseTest() : m_Book(nullptr, 1) {
    m_pWindow = gtk_window_new(GTK_WINDOW_TOPLEVEL);
    gtk_container_add(GTK_CONTAINER(m_pWindow), m_Book.GetWidget());
  }
  ~TabBaseTest() override { gtk_widget_destroy(m_pWindow); }

  GtkNotebook* Book() { return GTK_NOTEBOOK(m_Book.GetWidget()); }
  void Insert(const TestTab& tab) {
    gtk_widget_show(tab.GetWidget());
    gtk_notebook_append_page(Book(), tab.GetWidget(), nullptr);
  }

  xNoteBook m_Book;
  GtkWidget* m_pWindow;
};

TEST_F(TabBaseTest, HasItsFunctionsInTheFixedOrder) {
  EXPECT_EQ(19, vtable::Slot(&xTabBase::GetLab));
  EXPECT_EQ(20, vtable::Slot(&xTabBase::IsShow));
  EXPECT_EQ(21, vtable::Slot(&xTabBase::SetActive));
  EXPECT_EQ(22, vtable::Slot(&xTabBase::SetWindowText));
  EXPECT_EQ(23, vtable::Slot(&xTabBase::OnInitDialog));
  EXPECT_EQ(24, vtable::Slot(&xTabBase::OnActive));
  EXPECT_EQ(25, vtable::Slot(&xTabBase::OnApply));
  EXPECT_EQ(26, vtable::Slot(&xTabBase::OnOK));
  EXPECT_EQ(27, vtable::Slot(&xTabBase::OnReset));
  EXPECT_EQ(28, vtable::Slot(&xTabBase::OnCancel));
  EXPECT_EQ(29, vtable::Slot(&xTabBase::BeforePrinterChange));
  EXPECT_EQ(29, vtable::SlotCount<xTabBase>());
  static_assert(std::is_same_v<decltype(&xTabBase::GetLab), xLabel* (xTabBase::*)() const>);
  static_assert(std::is_base_of_v<xWidget, xTabBase> && !std::is_base_of_v<xContainer, xTabBase>);
  static_assert(sizeof(xTabBase) == sizeof(xWidget) + sizeof(void*));
}

TEST_F(TabBaseTest, OwnsACentredLabelWithoutParentAndIdentifier) {
  auto tab = std::make_unique<xTabBase>(&m_Book, "_General", 100);
  EXPECT_EQ(&m_Book, tab.get()->*(&OpenWidget::m_pParent));
  EXPECT_EQ(100U, tab.get()->*(&OpenWidget::m_nID));
  EXPECT_EQ(nullptr, tab->GetWidget()) << "the page is attached by the derived class";
  xLabel* label = tab->GetLab();
  ASSERT_NE(nullptr, label);
  EXPECT_EQ(nullptr, label->*(&OpenWidget::m_pParent));
  EXPECT_EQ(0xFFFFFFFFU, label->*(&OpenWidget::m_nID));
  GtkWidget* widget = label->GetWidget();
  EXPECT_STREQ("General", gtk_label_get_text(GTK_LABEL(widget)));
  gfloat x = -1;
  gfloat y = -1;
  gtk_misc_get_alignment(GTK_MISC(widget), &x, &y);
  EXPECT_FLOAT_EQ(0.5F, x);
  EXPECT_FLOAT_EQ(0.5F, y);

  g_object_ref_sink(widget);
  EXPECT_EQ(2U, G_OBJECT(widget)->ref_count);
  tab.reset();
  EXPECT_EQ(1U, G_OBJECT(widget)->ref_count) << "the label's object goes with the page";
  g_object_unref(widget);
}

TEST_F(TabBaseTest, ChangesTheTextOfItsLabel) {
  TestTab tab(&m_Book, "General");
  g_object_ref_sink(tab.GetLab()->GetWidget());
  tab.SetWindowText("Net_work");
  auto* label = GTK_LABEL(tab.GetLab()->GetWidget());
  EXPECT_STREQ("Network", gtk_label_get_text(label));
  EXPECT_EQ(guint{GDK_w}, gtk_label_get_mnemonic_keyval(label));
  g_object_unref(label);
  Insert(tab);
}

TEST_F(TabBaseTest, WithANullTextHasNoLabelAndIgnoresSetWindowText) {
  gtk_test::Warnings warnings;
  TestTab tab(&m_Book, nullptr);
  EXPECT_EQ(nullptr, tab.GetLab());
  tab.SetWindowText("text");
  EXPECT_EQ(nullptr, tab.GetLab());
  EXPECT_EQ(Texts(), warnings.Messages());
  Insert(tab);
}

TEST_F(TabBaseTest, IsShownWhileItIsAPageOfItsNotebook) {
  TestTab tab(&m_Book, nullptr);
  EXPECT_EQ(0, tab.IsShow());
  Insert(tab);
  EXPECT_EQ(-1, tab.IsShow());
  gtk_notebook_remove_page(Book(), 0);
  EXPECT_EQ(0, tab.IsShow());
}

TEST_F(TabBaseTest, MakesItselfTheCurrentPage) {
  TestTab first(&m_Book, nullptr);
  TestTab second(&m_Book, nullptr);
  TestTab third(&m_Book, nullptr);
  for (const TestTab* tab : {&first, &second, &third}) Insert(*tab);
  gtk_widget_show_all(m_pWindow);
  ASSERT_EQ(0, gtk_notebook_get_current_page(Book()));
  EXPECT_EQ(0, second.SetActive());
  EXPECT_EQ(1, gtk_notebook_get_current_page(Book()));
  EXPECT_EQ(0, first.SetActive());
  EXPECT_EQ(0, gtk_notebook_get_current_page(Book()));
}

TEST_F(TabBaseTest, OutsideTheNotebookDoesNotChangeTheCurrentPage) {
  TestTab first(&m_Book, nullptr);
  TestTab second(&m_Book, nullptr);
  TestTab outside(&m_Book, nullptr);
  Insert(first);
  Insert(second);
  gtk_widget_show_all(m_pWindow);
  ASSERT_EQ(0, gtk_notebook_get_current_page(Book()));
  EXPECT_EQ(0, outside.SetActive());
  EXPECT_EQ(0, gtk_notebook_get_current_page(Book()));
  Insert(outside);
}

TEST_F(TabBaseTest, WithoutParentIsNotShownAndNotActivated) {
  gtk_test::Warnings warnings;
  TestTab tab(nullptr, nullptr);
  EXPECT_EQ(0, tab.IsShow());
  EXPECT_EQ(0, tab.SetActive());
  EXPECT_EQ(Texts(), warnings.Messages());
  Insert(tab);
  EXPECT_EQ(0, tab.IsShow());
}

TEST_F(TabBaseTest, ThatOverridesNothingNeverBlocksApply) {
  NotifyRecorder parent;
  xTabBase tab(&parent, nullptr, 100);
  EXPECT_EQ(-1, tab.OnApply());
  EXPECT_EQ(3, tab.BeforePrinterChange("text"));
  tab.OnInitDialog();
  tab.OnActive();
  tab.OnOK();
  tab.OnReset();
  tab.OnCancel();
  EXPECT_EQ(Texts(), parent.Take());
}

}  // namespace
