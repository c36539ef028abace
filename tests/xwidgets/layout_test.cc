// Tests of the layout containers and the passive widgets.
#include "xwidgets/layout.h"

#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "tests/support/fake_bitmaps.h"
#include "tests/support/gtk_test.h"
#include "tests/support/notify_recorder.h"
#include "tests/support/signal_handlers.h"
#include "tests/support/vtable_slot.h"

// By the name that a program built against the library asks for, without the header.
extern "C" void _ZN6xTable11SetRowsColsEjj();

namespace {

using Texts = std::vector<std::string>;
using Widgets = std::vector<GtkWidget*>;
using Requests = std::vector<unsigned short>;

// Shows the fields to the tests.
class OpenWidget : public xWidget {
 public:
  using xWidget::m_nID;
  using xWidget::m_pParent;
};

xWidget* ParentOf(const xWidget& widget) { return widget.*(&OpenWidget::m_pParent); }
unsigned int IdOf(const xWidget& widget) { return widget.*(&OpenWidget::m_nID); }

// A passive child for containers, with a wrapper of its own.
class Child : public xWidget {
 public:
  Child() : xWidget(nullptr, kNoControlID) { Attach(gtk_label_new("child")); }
};

// A tree that is held by a test and destroyed at its end.
class Held {
 public:
  explicit Held(const xWidget& root) : m_pRoot(root.GetWidget()) { g_object_ref_sink(m_pRoot); }
  ~Held() {
    gtk_widget_destroy(m_pRoot);
    g_object_unref(m_pRoot);
  }
  Held(const Held&) = delete;
  Held& operator=(const Held&) = delete;

 private:
  GtkWidget* m_pRoot;
};

guint Mnemonic(const xLabel& label) {
  return gtk_label_get_mnemonic_keyval(GTK_LABEL(label.GetWidget()));
}

bool HasMnemonic(const xLabel& label) {
  return gtk_label_get_use_underline(GTK_LABEL(label.GetWidget())) != 0;
}

const char* ShownText(const xLabel& label) {
  return gtk_label_get_text(GTK_LABEL(label.GetWidget()));
}

GtkWidget* MnemonicTarget(GtkWidget* label) {
  return gtk_label_get_mnemonic_widget(GTK_LABEL(label));
}

GdkPixbuf* ShownPicture(const xImage& image) {
  auto* widget = GTK_IMAGE(image.GetWidget());
  const GtkImageType type = gtk_image_get_storage_type(widget);
  return type == GTK_IMAGE_PIXBUF ? gtk_image_get_pixbuf(widget) : nullptr;
}

bool IsEmpty(const xImage& image) {
  return gtk_image_get_storage_type(GTK_IMAGE(image.GetWidget())) == GTK_IMAGE_EMPTY;
}

// --- the tables of virtual functions ------------------------------------------------------------

TEST(LayoutTables, ContinueThoseOfTheirBasesInTheFixedOrder) {
  EXPECT_EQ(19, vtable::Slot(&xLabel::SetWindowText));
  EXPECT_EQ(20, vtable::Slot(&xLabel::SetAlignment));
  EXPECT_EQ(21, vtable::Slot(&xLabel::SetMnemonic));
  EXPECT_EQ(21, vtable::SlotCount<xLabel>());

  using SetBitmap = void (xImage::*)(unsigned short);
  using SetPixbuf = void (xImage::*)(GdkPixbuf*);
  EXPECT_EQ(19, vtable::Slot(static_cast<SetBitmap>(&xImage::SetImage)));
  EXPECT_EQ(20, vtable::Slot(static_cast<SetPixbuf>(&xImage::SetImage)));
  EXPECT_EQ(20, vtable::SlotCount<xImage>());

  using Pack = xWidget* (xBox::*)(xWidget*, int, int, unsigned int);
  EXPECT_EQ(21, vtable::Slot(static_cast<Pack>(&xBox::AppendChild)));
  EXPECT_EQ(22, vtable::Slot(&xBox::AppendChildEnd));
  EXPECT_EQ(22, vtable::SlotCount<xBox>());

  EXPECT_EQ(21, vtable::Slot(&xPaned::AppendChild1));
  EXPECT_EQ(22, vtable::Slot(&xPaned::AppendChild2));
  EXPECT_EQ(22, vtable::SlotCount<xPaned>());

  using Put = xWidget* (xTable::*)(xWidget*, unsigned int, unsigned int, unsigned int, unsigned int,
                                   unsigned int, unsigned int, unsigned int, unsigned int);
  EXPECT_EQ(21, vtable::Slot(static_cast<Put>(&xTable::AppendChild)));
  EXPECT_EQ(21, vtable::SlotCount<xTable>());

  EXPECT_EQ(21, vtable::Slot(&xNoteBook::OnSwitchPage));
  EXPECT_EQ(21, vtable::SlotCount<xNoteBook>());
  EXPECT_EQ(22, vtable::Slot(&xFrame::SetMnemonic));
  EXPECT_EQ(22, vtable::SlotCount<xFrame>());

  EXPECT_EQ(20, vtable::SlotCount<xButtonBox>());
  EXPECT_EQ(21, vtable::SlotCount<xAlignment>());
  EXPECT_EQ(18, vtable::SlotCount<xSeparator>());
}

// Without it this program cannot be linked.
TEST(LayoutTables, HaveTheOperationThatDoesNothingInTheLibrary) {
  void (*setRowsCols)() = _ZN6xTable11SetRowsColsEjj;
  EXPECT_NE(nullptr, setRowsCols);
}

TEST(LayoutTables, KeepTheOneArgumentAppendChildOfTheBaseInItsSlot) {
  using Append = xWidget* (xContainer::*)(xWidget*);
  EXPECT_EQ(19, vtable::Slot(static_cast<Append>(&xContainer::AppendChild)));
  xBox box(xBox::kHorizontal, 0, 0);
  const Held held(box);
  Child child;
  EXPECT_EQ(&child, static_cast<xContainer&>(box).AppendChild(&child));
  Child second;
  EXPECT_EQ(&second, box.AppendChild(&second));
  EXPECT_EQ((Widgets{child.GetWidget(), second.GetWidget()}), gtk_test::Children(box.GetWidget()));
  EXPECT_EQ(1, gtk_test::ChildProperty(box.GetWidget(), second.GetWidget(), "expand"));
  xTable table(2, 2, 0, nullptr, kNoControlID);
  const Held heldTable(table);
  Child cell;
  EXPECT_EQ(&cell, table.AppendChild(&cell));
  EXPECT_EQ(0, gtk_test::ChildProperty(table.GetWidget(), cell.GetWidget(), "left-attach"));
  EXPECT_EQ(1, gtk_test::ChildProperty(table.GetWidget(), cell.GetWidget(), "right-attach"));
}

TEST(LayoutFields, AreNoneButTheFramesLabel) {
  static_assert(sizeof(xLabel) == sizeof(xWidget) && sizeof(xImage) == sizeof(xWidget));
  static_assert(sizeof(xBox) == sizeof(xWidget) && sizeof(xButtonBox) == sizeof(xWidget));
  static_assert(sizeof(xPaned) == sizeof(xWidget) && sizeof(xTable) == sizeof(xWidget));
  static_assert(sizeof(xNoteBook) == sizeof(xWidget) && sizeof(xSeparator) == sizeof(xWidget));
  static_assert(sizeof(xAlignment) == sizeof(xWidget));
  static_assert(sizeof(xFrame) == sizeof(xWidget) + sizeof(void*));
  static_assert(std::is_base_of_v<xBin, xFrame> && std::is_base_of_v<xBin, xAlignment>);
  static_assert(!std::is_base_of_v<xBin, xBox> && !std::is_base_of_v<xContainer, xLabel>);
}

// --- boxes --------------------------------------------------------------------------------------

TEST(Box, IsHorizontalForOneAndVerticalForAnyOtherType) {
  const struct {
    int type;
    GType expected;
  } cases[] = {{1, GTK_TYPE_HBOX}, {0, GTK_TYPE_VBOX}, {2, GTK_TYPE_VBOX}, {3, GTK_TYPE_VBOX}};
  for (const auto& c : cases) {
    xBox box(static_cast<xBox::BoxType>(c.type), 0, 7);
    const Held held(box);
    EXPECT_TRUE(G_TYPE_CHECK_INSTANCE_TYPE(box.GetWidget(), c.expected)) << c.type;
    EXPECT_EQ(7, gtk_box_get_spacing(GTK_BOX(box.GetWidget())));
    EXPECT_FALSE(gtk_box_get_homogeneous(GTK_BOX(box.GetWidget())));
    EXPECT_EQ(nullptr, ParentOf(box));
    EXPECT_EQ(0xFFFFFFFFU, IdOf(box));
  }
  static_assert(xBox::kHorizontal == 1 && xButtonBox::kHorizontal == 1);
  static_assert(xPaned::kHorizontal == 1 && xSeparator::kHorizontal == 1);
}

TEST(Box, IsHomogeneousOnRequest) {
  xBox box(xBox::kVertical, 1, 0);
  const Held held(box);
  EXPECT_TRUE(gtk_box_get_homogeneous(GTK_BOX(box.GetWidget())));
}

TEST(Box, WrapsABoxMadeElsewhere) {
  GtkWidget* widget = gtk_vbox_new(FALSE, 3);
  xBox box(widget);
  const Held held(box);
  EXPECT_EQ(widget, box.GetWidget());
  EXPECT_EQ(nullptr, ParentOf(box));
  EXPECT_EQ(0xFFFFFFFFU, IdOf(box));
}

TEST(Box, PacksChildrenFromItsStartAndFromItsEnd) {
  xBox box(xBox::kHorizontal, 0, 0);
  const Held held(box);
  Child first;
  Child last;
  EXPECT_EQ(&first, box.AppendChild(&first, 0, 1, 5));
  EXPECT_EQ(&last, box.AppendChildEnd(&last, 1, 0, 6));
  GtkWidget* container = box.GetWidget();
  EXPECT_EQ(GTK_PACK_START, gtk_test::ChildProperty(container, first.GetWidget(), "pack-type"));
  EXPECT_EQ(0, gtk_test::ChildProperty(container, first.GetWidget(), "expand"));
  EXPECT_EQ(1, gtk_test::ChildProperty(container, first.GetWidget(), "fill"));
  EXPECT_EQ(5, gtk_test::ChildProperty(container, first.GetWidget(), "padding"));
  EXPECT_EQ(GTK_PACK_END, gtk_test::ChildProperty(container, last.GetWidget(), "pack-type"));
  EXPECT_EQ(1, gtk_test::ChildProperty(container, last.GetWidget(), "expand"));
  EXPECT_EQ(0, gtk_test::ChildProperty(container, last.GetWidget(), "fill"));
  EXPECT_EQ(6, gtk_test::ChildProperty(container, last.GetWidget(), "padding"));
}

TEST(ButtonBox, HasTheGivenOrientationLayoutAndSpacing) {
  xButtonBox row(xButtonBox::kHorizontal, GTK_BUTTONBOX_END, 10);
  const Held heldRow(row);
  EXPECT_TRUE(GTK_IS_HBUTTON_BOX(row.GetWidget()));
  EXPECT_EQ(GTK_BUTTONBOX_END, gtk_button_box_get_layout(GTK_BUTTON_BOX(row.GetWidget())));
  EXPECT_EQ(10, gtk_box_get_spacing(GTK_BOX(row.GetWidget())));
  EXPECT_EQ(nullptr, ParentOf(row));
  EXPECT_EQ(0xFFFFFFFFU, IdOf(row));
  for (int type : {0, 2}) {
    xButtonBox column(static_cast<xButtonBox::BoxType>(type), GTK_BUTTONBOX_START, 0);
    const Held heldColumn(column);
    EXPECT_TRUE(GTK_IS_VBUTTON_BOX(column.GetWidget())) << type;
    EXPECT_EQ(0, gtk_box_get_spacing(GTK_BOX(column.GetWidget())));
  }
}

TEST(Paned, HasTheGivenOrientation) {
  xPaned beside(xPaned::kHorizontal);
  const Held heldBeside(beside);
  EXPECT_TRUE(GTK_IS_HPANED(beside.GetWidget()));
  EXPECT_EQ(nullptr, ParentOf(beside));
  EXPECT_EQ(0xFFFFFFFFU, IdOf(beside));
  for (int type : {0, 2}) {
    xPaned stacked(static_cast<xPaned::PanedType>(type));
    const Held heldStacked(stacked);
    EXPECT_TRUE(GTK_IS_VPANED(stacked.GetWidget())) << type;
  }
}

TEST(Paned, PacksItsPanes) {
  xPaned paned(xPaned::kVertical);
  const Held held(paned);
  Child first;
  Child second;
  EXPECT_EQ(&second, paned.AppendChild2(&second, 0, 1));
  EXPECT_EQ(&first, paned.AppendChild1(&first, 1, 0));
  GtkWidget* container = paned.GetWidget();
  EXPECT_EQ(first.GetWidget(), gtk_paned_get_child1(GTK_PANED(container)));
  EXPECT_EQ(second.GetWidget(), gtk_paned_get_child2(GTK_PANED(container)));
  EXPECT_EQ(1, gtk_test::ChildProperty(container, first.GetWidget(), "resize"));
  EXPECT_EQ(0, gtk_test::ChildProperty(container, first.GetWidget(), "shrink"));
  EXPECT_EQ(0, gtk_test::ChildProperty(container, second.GetWidget(), "resize"));
  EXPECT_EQ(1, gtk_test::ChildProperty(container, second.GetWidget(), "shrink"));
}

// --- tables -------------------------------------------------------------------------------------

TEST(Table, HasTheGivenSizeParentAndIdentifier) {
  NotifyRecorder parent;
  xTable table(2, 3, 1, &parent, 77);
  const Held held(table);
  guint rows = 0;
  guint cols = 0;
  gtk_table_get_size(GTK_TABLE(table.GetWidget()), &rows, &cols);
  EXPECT_EQ(2U, rows);
  EXPECT_EQ(3U, cols);
  EXPECT_TRUE(gtk_table_get_homogeneous(GTK_TABLE(table.GetWidget())));
  EXPECT_EQ(&parent, ParentOf(table));
  EXPECT_EQ(77U, IdOf(table));
}

TEST(Table, ChildOfWidthAndHeightOneFillsExactlyOneCell) {
  xTable table(4, 4, 0, nullptr, 1);
  const Held held(table);
  Child child;
  EXPECT_EQ(&child, table.AppendChild(&child, 2, 1, 1, 1, GTK_FILL, GTK_EXPAND, 3, 4));
  GtkWidget* container = table.GetWidget();
  const auto property = [&](const char* name) {
    return gtk_test::ChildProperty(container, child.GetWidget(), name);
  };
  EXPECT_EQ(2, property("left-attach"));
  EXPECT_EQ(3, property("right-attach"));
  EXPECT_EQ(1, property("top-attach"));
  EXPECT_EQ(2, property("bottom-attach"));
  EXPECT_EQ(3, property("x-padding"));
  EXPECT_EQ(4, property("y-padding"));
}

// GtkTable keeps attach options as flags, which have no transformation to integers.
GtkAttachOptions Options(GtkWidget* table, GtkWidget* child, const char* name) {
  GtkAttachOptions options = GTK_SHRINK;
  gtk_container_child_get(GTK_CONTAINER(table), child, name, &options, nullptr);
  return options;
}

TEST(Table, TakesSpansAndPassesTheOptionsOfEachDirection) {
  xTable table(5, 5, 0, nullptr, 1);
  const Held held(table);
  Child child;
  table.AppendChild(&child, 1, 0, 3, 2, GTK_FILL | GTK_EXPAND, GTK_FILL, 0, 0);
  GtkWidget* container = table.GetWidget();
  EXPECT_EQ(1, gtk_test::ChildProperty(container, child.GetWidget(), "left-attach"));
  EXPECT_EQ(4, gtk_test::ChildProperty(container, child.GetWidget(), "right-attach"));
  EXPECT_EQ(0, gtk_test::ChildProperty(container, child.GetWidget(), "top-attach"));
  EXPECT_EQ(2, gtk_test::ChildProperty(container, child.GetWidget(), "bottom-attach"));
  EXPECT_EQ(GTK_FILL | GTK_EXPAND, Options(container, child.GetWidget(), "x-options"));
  EXPECT_EQ(GTK_FILL, Options(container, child.GetWidget(), "y-options"));
}

TEST(Table, SetsTheGapAfterOneColumnOrAfterAll) {
  xTable table(2, 5, 0, nullptr, 1);
  const Held held(table);
  auto* widget = GTK_TABLE(table.GetWidget());
  table.SetColSpacing(-1, 6);
  for (guint col = 0; col < 4; col++) EXPECT_EQ(6U, gtk_table_get_col_spacing(widget, col));
  EXPECT_EQ(6U, gtk_table_get_default_col_spacing(widget));
  table.SetColSpacing(2, 9);
  EXPECT_EQ(6U, gtk_table_get_col_spacing(widget, 1));
  EXPECT_EQ(9U, gtk_table_get_col_spacing(widget, 2));
  EXPECT_EQ(6U, gtk_table_get_col_spacing(widget, 3));
  table.SetColSpacing(0, 1);
  EXPECT_EQ(1U, gtk_table_get_col_spacing(widget, 0));
  EXPECT_EQ(6U, gtk_table_get_col_spacing(widget, 1));
  EXPECT_EQ(0U, gtk_table_get_row_spacing(widget, 0)) << "rows are not meant";
}

TEST(Table, SetsTheGapAfterOneRowOrAfterAll) {
  xTable table(5, 2, 0, nullptr, 1);
  const Held held(table);
  auto* widget = GTK_TABLE(table.GetWidget());
  table.SetRowSpacing(-1, 6);
  for (guint row = 0; row < 4; row++) EXPECT_EQ(6U, gtk_table_get_row_spacing(widget, row));
  table.SetRowSpacing(2, 9);
  EXPECT_EQ(6U, gtk_table_get_row_spacing(widget, 1));
  EXPECT_EQ(9U, gtk_table_get_row_spacing(widget, 2));
  EXPECT_EQ(6U, gtk_table_get_row_spacing(widget, 3));
  table.SetRowSpacing(0, 1);
  EXPECT_EQ(1U, gtk_table_get_row_spacing(widget, 0));
  EXPECT_EQ(6U, gtk_table_get_row_spacing(widget, 1));
  EXPECT_EQ(0U, gtk_table_get_col_spacing(widget, 0)) << "columns are not meant";
}

TEST(Table, KeepsItsSizeWhenAskedForAnother) {
  xTable table(2, 3, 0, nullptr, 1);
  const Held held(table);
  table.SetRowsCols(8, 9);
  guint rows = 0;
  guint cols = 0;
  gtk_table_get_size(GTK_TABLE(table.GetWidget()), &rows, &cols);
  EXPECT_EQ(2U, rows);
  EXPECT_EQ(3U, cols);
}

// --- notebooks ----------------------------------------------------------------------------------

class RecordingNoteBook : public xNoteBook {
 public:
  using xNoteBook::xNoteBook;
  void OnSwitchPage(unsigned int page) override { pages.push_back(page); }

  std::vector<unsigned int> pages;
};

guint Border(const xWidget& widget) {
  return gtk_container_get_border_width(GTK_CONTAINER(widget.GetWidget()));
}

TEST(NoteBook, GivesEveryPageABorderOfFivePixels) {
  xNoteBook book(nullptr, 1);
  const Held held(book);
  xBox first(xBox::kVertical, 0, 0);
  xBox second(xBox::kVertical, 0, 0);
  first.SetBorderWidth(20);
  Child label;
  EXPECT_EQ(0, book.AppendPage(&first, "One"));
  EXPECT_EQ(1, book.AppendPage(&second, &label));
  EXPECT_EQ(5U, Border(first)) << "whatever it had before";
  EXPECT_EQ(5U, Border(second));
}

TEST(NoteBook, AppendsPagesWithTheirLabelsAndReturnsTheirNumbers) {
  xNoteBook book(nullptr, 1);
  const Held held(book);
  auto* widget = GTK_NOTEBOOK(book.GetWidget());
  xBox first(xBox::kVertical, 0, 0);
  xBox second(xBox::kVertical, 0, 0);
  Child label;
  EXPECT_EQ(0, book.AppendPage(&first, "A_b"));
  EXPECT_EQ(1, book.AppendPage(&second, &label));
  EXPECT_STREQ("A_b", gtk_notebook_get_tab_label_text(widget, first.GetWidget()))
      << "the underscore is no mnemonic here";
  EXPECT_EQ(label.GetWidget(), gtk_notebook_get_tab_label(widget, second.GetWidget()));
  EXPECT_EQ(2, gtk_notebook_get_n_pages(widget));
}

TEST(NoteBook, ReturnsMinusOneWhenGtkRefusesThePage) {
  gtk_test::Warnings warnings;
  xNoteBook book(nullptr, 1);
  const Held held(book);
  xWidget nothing(nullptr, 1);
  EXPECT_EQ(-1, book.AppendPage(&nothing, "One"));
  EXPECT_TRUE(warnings.Contain("GTK_IS_WIDGET (child)"));
  EXPECT_EQ(2U, warnings.Messages().size()) << "for its border and as a page";
}

TEST(NoteBook, TellsOfPageSwitchesAlsoWhilePagesAreInsertedAndShown) {
  NotifyRecorder parent;
  xWindow window(nullptr);
  RecordingNoteBook book(&parent, 9);
  EXPECT_EQ(&parent, ParentOf(book));
  EXPECT_EQ(9U, IdOf(book));
  xBox first(xBox::kVertical, 0, 0);
  xBox second(xBox::kVertical, 0, 0);
  window.AppendChild(&book);
  book.AppendPage(&first, "One");
  EXPECT_EQ(std::vector<unsigned int>{0}, book.pages);
  book.AppendPage(&second, "Two");
  EXPECT_EQ((std::vector<unsigned int>{0, 1}), book.pages);
  ASSERT_TRUE(gtk_test::ShowAndWait(window.GetWidget()));
  EXPECT_EQ((std::vector<unsigned int>{0, 1, 0}), book.pages);
  book.pages.clear();
  gtk_notebook_set_current_page(GTK_NOTEBOOK(book.GetWidget()), 1);
  EXPECT_EQ(std::vector<unsigned int>{1}, book.pages);
  gtk_notebook_set_current_page(GTK_NOTEBOOK(book.GetWidget()), 0);
  EXPECT_EQ((std::vector<unsigned int>{1, 0}), book.pages);
  EXPECT_EQ(Texts(), parent.Take()) << "no notification of its own";
  gtk_widget_destroy(window.GetWidget());
}

TEST(NoteBook, IgnoresASwitchWithoutData) {
  RecordingNoteBook book(nullptr, 1);
  const Held held(book);
  xNoteBook::Callback_SwitchPage(nullptr, nullptr, 3, nullptr);
  EXPECT_TRUE(book.pages.empty());
  xNoteBook::Callback_SwitchPage(nullptr, nullptr, 3, &book);
  EXPECT_EQ(std::vector<unsigned int>{3}, book.pages);
}

TEST(NoteBook, OfTheBaseClassDoesNothingOnASwitch) {
  NotifyRecorder parent;
  xNoteBook book(&parent, 1);
  const Held held(book);
  EXPECT_EQ(1U, CountHandlers(book.GetWidget(), &book));
  book.OnSwitchPage(0);
  EXPECT_EQ(Texts(), parent.Take());
}

// --- labels -------------------------------------------------------------------------------------

TEST(Label, WithAnUnderscoreGetsAMnemonicAndWithoutItIsShownLiterally) {
  NotifyRecorder parent;
  xLabel label("Save _to:", 0.25F, 0.75F, &parent, 31);
  const Held held(label);
  EXPECT_STREQ("Save to:", ShownText(label));
  EXPECT_EQ(guint{GDK_t}, Mnemonic(label));
  EXPECT_TRUE(HasMnemonic(label));
  EXPECT_EQ(&parent, ParentOf(label));
  EXPECT_EQ(31U, IdOf(label));
  xLabel plain("Save to:", 0.0F, 0.5F, nullptr, 1);
  const Held heldPlain(plain);
  EXPECT_STREQ("Save to:", ShownText(plain));
  EXPECT_EQ(guint{GDK_VoidSymbol}, Mnemonic(plain));
  EXPECT_FALSE(HasMnemonic(plain));
}

TEST(Label, FollowsTheSameRuleWhenItsTextIsChanged) {
  xLabel label("plain", 0.0F, 0.5F, nullptr, 1);
  const Held held(label);
  label.SetWindowText("P_C name");
  EXPECT_STREQ("PC name", ShownText(label));
  EXPECT_EQ(guint{GDK_c}, Mnemonic(label));
  EXPECT_TRUE(HasMnemonic(label));
  label.SetWindowText("no mark <b>&");
  EXPECT_STREQ("no mark <b>&", ShownText(label));
  EXPECT_EQ(guint{GDK_VoidSymbol}, Mnemonic(label));
  EXPECT_FALSE(HasMnemonic(label));
}

TEST(Label, TakesANullTextAsEmpty) {
  gtk_test::Warnings warnings;
  xLabel label(nullptr, 0.0F, 0.5F, nullptr, 1);
  const Held held(label);
  EXPECT_STREQ("", ShownText(label));
  label.SetWindowText("x");
  label.SetWindowText(nullptr);
  EXPECT_STREQ("", ShownText(label));
  EXPECT_EQ(Texts(), warnings.Messages());
}

TEST(Label, SetsItsAlignment) {
  xLabel label("text", 0.25F, 0.75F, nullptr, 1);
  const Held held(label);
  gfloat x = -1;
  gfloat y = -1;
  gtk_misc_get_alignment(GTK_MISC(label.GetWidget()), &x, &y);
  EXPECT_FLOAT_EQ(0.25F, x);
  EXPECT_FLOAT_EQ(0.75F, y);
  label.SetAlignment(1.0F, 0.0F);
  gtk_misc_get_alignment(GTK_MISC(label.GetWidget()), &x, &y);
  EXPECT_FLOAT_EQ(1.0F, x);
  EXPECT_FLOAT_EQ(0.0F, y);
}

// A control whose mnemonic goes to an inner widget, as a list box does.
class InnerTarget : public xWidget {
 public:
  InnerTarget() : xWidget(nullptr, 1), m_pInner(gtk_entry_new()) {
    Attach(gtk_frame_new(nullptr));
    gtk_container_add(GTK_CONTAINER(GetWidget()), m_pInner);
  }
  GtkWidget* GetMnemonicWidget() const override { return m_pInner; }

 private:
  GtkWidget* m_pInner;
};

TEST(Label, LeadsTheKeyboardToItsTargetWithTheMarkedLetter) {
  GtkWidget* window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
  xBox box(xBox::kVertical, 0, 0);
  gtk_container_add(GTK_CONTAINER(window), box.GetWidget());
  xWidget other(nullptr, 1);
  other.Attach(gtk_entry_new());
  xLabel label("Save to:", 0.0F, 0.5F, nullptr, 1);
  xWidget target(nullptr, 1);
  target.Attach(gtk_entry_new());
  for (xWidget* child : {&other, static_cast<xWidget*>(&label), &target}) box.AppendChild(child);
  label.SetMnemonic(&target);
  gtk_widget_grab_focus(other.GetWidget());
  ASSERT_TRUE(gtk_test::ShowAndWait(window));
  EXPECT_FALSE(gtk_window_mnemonic_activate(GTK_WINDOW(window), GDK_KEY_t, GDK_MOD1_MASK));
  EXPECT_EQ(other.GetWidget(), gtk_window_get_focus(GTK_WINDOW(window))) << "none is marked yet";
  label.SetWindowText("Save _to:");
  EXPECT_TRUE(gtk_window_mnemonic_activate(GTK_WINDOW(window), GDK_KEY_t, GDK_MOD1_MASK));
  EXPECT_EQ(target.GetWidget(), gtk_window_get_focus(GTK_WINDOW(window)));
  gtk_widget_destroy(window);
}

TEST(Label, GivesItsMnemonicToTheTargetsOwnChoiceOfWidget) {
  xLabel label("_Name", 0.0F, 0.5F, nullptr, 1);
  const Held held(label);
  InnerTarget target;
  const Held heldTarget(target);
  label.SetMnemonic(&target);
  EXPECT_EQ(target.GetMnemonicWidget(), MnemonicTarget(label.GetWidget()));
  EXPECT_NE(target.GetWidget(), MnemonicTarget(label.GetWidget()));
  label.SetMnemonic(nullptr);
  EXPECT_EQ(target.GetMnemonicWidget(), MnemonicTarget(label.GetWidget())) << "null is ignored";
}

// --- images -------------------------------------------------------------------------------------

TEST(Image, AsksTheLoaderForItsBitmapAlsoForZero) {
  NotifyRecorder parent;
  fake_bitmaps::TakeRequests();
  xImage image(fake_bitmaps::kSquare, &parent, 8);
  const Held held(image);
  EXPECT_EQ(Requests{fake_bitmaps::kSquare}, fake_bitmaps::TakeRequests());
  EXPECT_EQ(fake_bitmaps::Get(fake_bitmaps::kSquare), ShownPicture(image));
  EXPECT_EQ(&parent, ParentOf(image));
  EXPECT_EQ(8U, IdOf(image));

  xImage none(static_cast<unsigned short>(0), nullptr, 1);
  const Held heldNone(none);
  EXPECT_EQ(Requests{0}, fake_bitmaps::TakeRequests());
  EXPECT_TRUE(IsEmpty(none));
}

TEST(Image, IsClearedByBitmapZeroWithoutAskingTheLoader) {
  xImage image(fake_bitmaps::kSquare, nullptr, 1);
  const Held held(image);
  fake_bitmaps::TakeRequests();
  image.SetImage(fake_bitmaps::kWide);
  EXPECT_EQ(fake_bitmaps::Get(fake_bitmaps::kWide), ShownPicture(image));
  EXPECT_EQ(Requests{fake_bitmaps::kWide}, fake_bitmaps::TakeRequests());
  image.SetImage(static_cast<unsigned short>(0));
  EXPECT_TRUE(IsEmpty(image));
  EXPECT_EQ(Requests(), fake_bitmaps::TakeRequests());
}

TEST(Image, ShowsAPictureOfTheCallersAndKeepsNoMoreThanAReference) {
  GdkPixbuf* picture = gdk_pixbuf_new(GDK_COLORSPACE_RGB, FALSE, 8, 4, 4);
  {
    NotifyRecorder parent;
    xImage image(picture, &parent, 12);
    const Held held(image);
    EXPECT_EQ(picture, ShownPicture(image));
    EXPECT_EQ(&parent, ParentOf(image));
    EXPECT_EQ(12U, IdOf(image));
    image.SetImage(static_cast<GdkPixbuf*>(nullptr));
    EXPECT_TRUE(IsEmpty(image));
    image.SetImage(picture);
    EXPECT_EQ(picture, ShownPicture(image));
  }
  EXPECT_EQ(1U, G_OBJECT(picture)->ref_count);
  g_object_unref(picture);
}

TEST(Image, OnlyBorrowsBitmapsFromTheLoader) {
  GdkPixbuf* bitmap = fake_bitmaps::Get(fake_bitmaps::kSquare);
  const guint before = G_OBJECT(bitmap)->ref_count;
  {
    xImage image(fake_bitmaps::kSquare, nullptr, 1);
    const Held held(image);
    image.SetImage(fake_bitmaps::kWide);
    image.SetImage(fake_bitmaps::kSquare);
  }
  EXPECT_EQ(before, G_OBJECT(bitmap)->ref_count);
}

// --- frames, alignments, separators -------------------------------------------------------------

TEST(Frame, WithATextOwnsACentredLabelThatTakesMnemonics) {
  xFrame frame("_Devices");
  const Held held(frame);
  EXPECT_EQ(nullptr, ParentOf(frame));
  EXPECT_EQ(0xFFFFFFFFU, IdOf(frame));
  GtkWidget* label = gtk_frame_get_label_widget(GTK_FRAME(frame.GetWidget()));
  ASSERT_TRUE(GTK_IS_LABEL(label));
  EXPECT_STREQ("Devices", gtk_label_get_text(GTK_LABEL(label)));
  gfloat x = -1;
  gfloat y = -1;
  gtk_misc_get_alignment(GTK_MISC(label), &x, &y);
  EXPECT_FLOAT_EQ(0.5F, x);
  EXPECT_FLOAT_EQ(0.5F, y);

  InnerTarget target;
  const Held heldTarget(target);
  frame.SetMnemonic(nullptr);
  EXPECT_EQ(nullptr, MnemonicTarget(label));
  frame.SetMnemonic(&target);
  EXPECT_EQ(target.GetMnemonicWidget(), MnemonicTarget(label));
}

TEST(Frame, DeletesItsLabelsWrapperButNotTheLabel) {
  auto frame = std::make_unique<xFrame>("text");
  GtkWidget* widget = frame->GetWidget();
  const Held held(*frame);
  GtkWidget* label = gtk_frame_get_label_widget(GTK_FRAME(widget));
  EXPECT_EQ(2U, G_OBJECT(label)->ref_count);
  frame.reset();
  EXPECT_EQ(1U, G_OBJECT(label)->ref_count);
  EXPECT_EQ(label, gtk_frame_get_label_widget(GTK_FRAME(widget)));
}

TEST(Frame, MadeFromACallersLabelIgnoresSetMnemonic) {
  xLabel label("_Devices", 0.5F, 0.5F, nullptr, 1);
  xFrame frame(&label);
  const Held held(frame);
  EXPECT_EQ(label.GetWidget(), gtk_frame_get_label_widget(GTK_FRAME(frame.GetWidget())));
  InnerTarget target;
  const Held heldTarget(target);
  frame.SetMnemonic(&target);
  EXPECT_EQ(nullptr, MnemonicTarget(label.GetWidget()));
  EXPECT_EQ(nullptr, ParentOf(frame));
  EXPECT_EQ(0xFFFFFFFFU, IdOf(frame));
}

TEST(Frame, MayHaveNoLabel) {
  xFrame frame(static_cast<xWidget*>(nullptr));
  const Held held(frame);
  EXPECT_EQ(nullptr, gtk_frame_get_label_widget(GTK_FRAME(frame.GetWidget())));
}

TEST(Alignment, PassesItsNumbersToGtk) {
  xAlignment alignment(0.1F, 0.2F, 0.3F, 0.4F);
  const Held held(alignment);
  gfloat x = 0;
  gfloat y = 0;
  gfloat xscale = 0;
  gfloat yscale = 0;
  g_object_get(alignment.GetWidget(), "xalign", &x, "yalign", &y, "xscale", &xscale, "yscale",
               &yscale, nullptr);
  EXPECT_FLOAT_EQ(0.1F, x);
  EXPECT_FLOAT_EQ(0.2F, y);
  EXPECT_FLOAT_EQ(0.3F, xscale);
  EXPECT_FLOAT_EQ(0.4F, yscale);
  EXPECT_EQ(nullptr, ParentOf(alignment));
  EXPECT_EQ(0xFFFFFFFFU, IdOf(alignment));
}

TEST(Separator, HasTheGivenOrientationParentAndIdentifier) {
  NotifyRecorder parent;
  xSeparator line(xSeparator::kHorizontal, &parent, 5);
  const Held held(line);
  EXPECT_TRUE(GTK_IS_HSEPARATOR(line.GetWidget()));
  EXPECT_EQ(&parent, ParentOf(line));
  EXPECT_EQ(5U, IdOf(line));
  for (int type : {0, 2}) {
    xSeparator upright(static_cast<xSeparator::SeparatorType>(type), nullptr, 1);
    const Held heldUpright(upright);
    EXPECT_TRUE(GTK_IS_VSEPARATOR(upright.GetWidget())) << type;
  }
}

}  // namespace
