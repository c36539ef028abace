// Tests of the row store, the combo box and the list box on real GTK widgets.
#include "xwidgets/lists.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "tests/support/debug_lines.h"
#include "tests/support/fake_bitmaps.h"
#include "tests/support/gtk_test.h"
#include "tests/support/line_numbers.h"
#include "tests/support/notify_recorder.h"
#include "tests/support/signal_handlers.h"
#include "tests/support/vtable_slot.h"

// Calls of GTK whose arguments it does not give back; the linker leads them here.
struct PackedCell {
  GtkCellRenderer* renderer;
  gboolean expand;
};
static std::vector<PackedCell> g_PackedCells;
static int g_iScrolls = 0;
static int g_iCursorAtScroll = -1;

extern "C" {
void __real_gtk_cell_layout_pack_start(GtkCellLayout* layout, GtkCellRenderer* renderer,
                                       gboolean expand);
void __wrap_gtk_cell_layout_pack_start(GtkCellLayout* layout, GtkCellRenderer* renderer,
                                       gboolean expand) {
  g_PackedCells.push_back({renderer, expand});
  __real_gtk_cell_layout_pack_start(layout, renderer, expand);
}

void __real_gtk_tree_view_scroll_to_cell(GtkTreeView* view, GtkTreePath* path,
                                         GtkTreeViewColumn* column, gboolean align, gfloat row,
                                         gfloat col);
void __wrap_gtk_tree_view_scroll_to_cell(GtkTreeView* view, GtkTreePath* path,
                                         GtkTreeViewColumn* column, gboolean align, gfloat row,
                                         gfloat col) {
  ++g_iScrolls;
  EXPECT_EQ(nullptr, column);
  EXPECT_FALSE(align);
  GtkTreePath* cursor = nullptr;
  gtk_tree_view_get_cursor(view, &cursor, nullptr);
  g_iCursorAtScroll = cursor != nullptr ? gtk_tree_path_get_indices(cursor)[0] : -1;
  gtk_tree_path_free(cursor);
  __real_gtk_tree_view_scroll_to_cell(view, path, column, align, row, col);
}
}

namespace {

using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

constexpr unsigned int kID = 55;
constexpr unsigned short kNoBitmap = 0;
constexpr char kRefusedIcon[] = "Unable to convert from GdkPixbuf to gchararray";

// A text that a list has handed out, or "(null)". Releases it.
std::string Taken(void* text) {
  std::string copy = text != nullptr ? static_cast<char*>(text) : "(null)";
  g_free(text);
  return copy;
}

void* ItemData(const char* text) { return const_cast<char*>(text); }

// What a column of a row holds, or "(null)".
std::string Column(GtkTreeModel* model, int row, int column) {
  GtkTreeIter iter;
  char* text = nullptr;
  if (gtk_tree_model_iter_nth_child(model, &iter, nullptr, row) != 0) {
    gtk_tree_model_get(model, &iter, column, &text, -1);
  }
  return Taken(text);
}

std::vector<std::string> Row(GtkTreeModel* model, int row) {
  return {Column(model, row, 0), Column(model, row, 1), Column(model, row, 2)};
}

// The smallest list: it has no widget, remembers what is selected and shows its inner parts.
class PlainList : public xListBase {
 public:
  PlainList() : xListBase(nullptr, kID) {}
  int GetCurSel() const override { return selected; }
  int SetCurSel(int index) override {
    selections.push_back(index);
    return selected = index;
  }
  void OnSelectChanged() override {}

  GtkTreeModel* Model() const { return GetModel(); }
  GtkCellRenderer* IconRenderer() const { return m_pIconRenderer.get(); }
  GtkCellRenderer* TextRenderer() const { return m_pTextRenderer.get(); }
  bool FieldsAreInOrder() const {
    const auto* store = reinterpret_cast<const char*>(&m_pStore);
    const auto* icon = reinterpret_cast<const char*>(&m_pIconRenderer);
    const auto* text = reinterpret_cast<const char*>(&m_pTextRenderer);
    return store < icon && icon < text;
  }

  int selected = -1;
  std::vector<int> selections;
};

// Whether GLib has released an object.
class Watch {
 public:
  explicit Watch(gpointer object) : m_pObject(object) {
    g_object_add_weak_pointer(G_OBJECT(object), &m_pObject);
  }
  ~Watch() {
    if (m_pObject != nullptr) g_object_remove_weak_pointer(G_OBJECT(m_pObject), &m_pObject);
  }
  Watch(const Watch&) = delete;
  Watch& operator=(const Watch&) = delete;
  bool Released() const { return m_pObject == nullptr; }

 private:
  gpointer m_pObject;
};

// Counts the objects of a class whose memory GLib gives back, for as long as it lives. One at a
// time. A destroyed widget that is still referenced is not among them.
class FinalizedObjects {
 public:
  explicit FinalizedObjects(GType type) : m_pClass(G_OBJECT_CLASS(g_type_class_ref(type))) {
    s_iCount = 0;
    s_pFinalize = m_pClass->finalize;
    m_pClass->finalize = Finalize;
  }
  ~FinalizedObjects() {
    m_pClass->finalize = s_pFinalize;
    g_type_class_unref(m_pClass);
  }
  FinalizedObjects(const FinalizedObjects&) = delete;
  FinalizedObjects& operator=(const FinalizedObjects&) = delete;
  static int Count() { return s_iCount; }

 private:
  static void Finalize(GObject* object) {
    ++s_iCount;
    s_pFinalize(object);
  }
  inline static int s_iCount = 0;
  inline static void (*s_pFinalize)(GObject*) = nullptr;
  GObjectClass* m_pClass;
};

// --- Order of the virtual operations -----------------------------------------------------------

TEST(ListsSlots, ListBaseAddsSeventeenOperationsAfterThoseOfWidget) {
  EXPECT_EQ(19, vtable::Slot(&xListBase::Clear));
  EXPECT_EQ(20, vtable::Slot(&xListBase::GetCount));
  EXPECT_EQ(21, vtable::Slot(&xListBase::GetCurSel));
  EXPECT_EQ(22, vtable::Slot(&xListBase::SetCurSel));
  EXPECT_EQ(23, vtable::Slot(&xListBase::AddString));
  EXPECT_EQ(24, vtable::Slot(&xListBase::AddString2));
  EXPECT_EQ(25, vtable::Slot(&xListBase::SetItemData));
  EXPECT_EQ(26, vtable::Slot(&xListBase::GetCurSelItemData));
  EXPECT_EQ(27, vtable::Slot(&xListBase::GetCurSelString));
  EXPECT_EQ(28, vtable::Slot(&xListBase::SetCurSelByText));
  EXPECT_EQ(29, vtable::Slot(&xListBase::FindByItemData));
  EXPECT_EQ(30, vtable::Slot(&xListBase::SetCurSelByItemData));
  EXPECT_EQ(31, vtable::Slot(&xListBase::GetString));
  EXPECT_EQ(32, vtable::Slot(&xListBase::GetItemData));
  EXPECT_EQ(33, vtable::Slot<void (xListBase::*)(int, GdkPixbuf*)>(&xListBase::SetItemIcon));
  EXPECT_EQ(34, vtable::Slot<void (xListBase::*)(int, const char*)>(&xListBase::SetItemIcon));
  EXPECT_EQ(35, vtable::Slot(&xListBase::OnSelectChanged));
}

TEST(ListsSlots, ComboBoxAndListBoxAddNone) {
  EXPECT_EQ(35, vtable::SlotCount<xListBase>());
  EXPECT_EQ(35, vtable::SlotCount<xComboBox>());
  EXPECT_EQ(35, vtable::SlotCount<xListBox>());
  EXPECT_EQ(3, vtable::Slot(&xListBox::GetMnemonicWidget));
}

TEST(ListsSlots, FieldsFollowInOrder) {
  const PlainList list;
  EXPECT_TRUE(list.FieldsAreInOrder());
  EXPECT_EQ(sizeof(xListBase), sizeof(xComboBox));
  EXPECT_EQ(sizeof(xListBase) + sizeof(GtkWidget*), sizeof(xListBox));
}

// --- xListBase: the store ----------------------------------------------------------------------

TEST(ListBase, HasAnEmptyStoreOfThreeTextColumnsAndNoWidget) {
  const PlainList list;
  EXPECT_EQ(nullptr, list.GetWidget());
  EXPECT_EQ(0, list.GetCount());
  ASSERT_EQ(3, gtk_tree_model_get_n_columns(list.Model()));
  for (int column = 0; column < 3; ++column) {
    EXPECT_EQ(G_TYPE_STRING, gtk_tree_model_get_column_type(list.Model(), column));
  }
}

TEST(ListBase, HasNoRenderersUntilTheyAreMade) {
  PlainList list;
  EXPECT_EQ(nullptr, list.IconRenderer());
  EXPECT_EQ(nullptr, list.TextRenderer());
  list.CreateCellLayout();
  EXPECT_TRUE(GTK_IS_CELL_RENDERER_PIXBUF(list.IconRenderer()));
  EXPECT_TRUE(GTK_IS_CELL_RENDERER_TEXT(list.TextRenderer()));
}

TEST(ListBase, ReleasesTheStoreAndTheRenderers) {
  auto list = std::make_unique<PlainList>();
  list->CreateCellLayout();
  const Watch store(list->Model());
  const Watch icon(list->IconRenderer());
  const Watch text(list->TextRenderer());
  list.reset();
  EXPECT_TRUE(store.Released());
  EXPECT_TRUE(icon.Released());
  EXPECT_TRUE(text.Released());
}

TEST(ListBase, IconWidthIsThatOfTheIconsCell) {
  PlainList list;
  list.CreateCellLayout();
  list.SetIconWidth(24);
  int width = 0;
  g_object_get(list.IconRenderer(), "width", &width, nullptr);
  EXPECT_EQ(24, width);
  g_object_get(list.TextRenderer(), "width", &width, nullptr);
  EXPECT_EQ(-1, width);
}

TEST(ListBase, AddStringCountsRowsFromZero) {
  PlainList list;
  EXPECT_EQ(0, list.AddString("first", nullptr, kNoBitmap));
  EXPECT_EQ(1, list.AddString("second", nullptr, kNoBitmap));
  EXPECT_EQ(2, list.AddString2("a", "third", "c"));
  EXPECT_EQ(3, list.GetCount());
}

TEST(ListBase, AddStringFillsTheSecondAndThirdColumn) {
  PlainList list;
  list.AddString("text", ItemData("data"), kNoBitmap);
  EXPECT_THAT(Row(list.Model(), 0), ElementsAre("(null)", "text", "data"));
}

TEST(ListBase, AddString2FillsTheThreeColumns) {
  PlainList list;
  EXPECT_EQ(0, list.AddString2("DX-100", "scan-1", "10.77.0.64"));
  EXPECT_EQ(1, list.AddString2("DX-200", "scan-2", "10.77.0.65"));
  EXPECT_THAT(Row(list.Model(), 0), ElementsAre("DX-100", "scan-1", "10.77.0.64"));
  EXPECT_THAT(Row(list.Model(), 1), ElementsAre("DX-200", "scan-2", "10.77.0.65"));
}

TEST(ListBase, EachAddString2WritesOneDebugLine) {
  PlainList list;
  const DebugLines lines;
  list.AddString2("DX-100", "scan-1", "10.77.0.64");
  list.AddString2("", "%s", nullptr);
  list.AddString("not logged", nullptr, kNoBitmap);
  EXPECT_THAT(WithoutNumbers(lines.All()),
              ElementsAre("[AddString2(#)]: AddString2 (DX-100)-(scan-1)-(10.77.0.64) \n",
                          "[AddString2(#)]: AddString2 ()-(%s)-((null)) \n"));
}

TEST(ListBase, TextsAreCopied) {
  PlainList list;
  std::string text = "first";
  std::string data = "data";
  list.AddString(text.c_str(), data.data(), kNoBitmap);
  text = "other";
  data = "gone";
  EXPECT_EQ("first", Taken(list.GetString(0)));
  EXPECT_EQ("data", Taken(list.GetItemData(0)));
}

TEST(ListBase, EachReadYieldsANewCopy) {
  PlainList list;
  const char* data = "data";
  list.AddString("text", ItemData(data), kNoBitmap);
  void* first = list.GetItemData(0);
  void* second = list.GetItemData(0);
  EXPECT_NE(data, first);
  EXPECT_NE(first, second);
  EXPECT_STREQ("data", static_cast<char*>(first));
  EXPECT_STREQ("data", static_cast<char*>(second));
  g_free(first);
  g_free(second);
  char* text1 = list.GetString(0);
  char* text2 = list.GetString(0);
  EXPECT_NE(text1, text2);
  g_free(text1);
  g_free(text2);
}

TEST(ListBase, MissingRowsHaveNoTextAndNoItemData) {
  PlainList list;
  list.AddString("text", ItemData("data"), kNoBitmap);
  const gtk_test::Warnings warnings;
  for (const int index : {-1, 1, 99}) {
    EXPECT_EQ(nullptr, list.GetString(index));
    EXPECT_EQ(nullptr, list.GetItemData(index));
    list.SetItemData(index, ItemData("other"));
  }
  EXPECT_THAT(warnings.Messages(), IsEmpty());
  EXPECT_THAT(Row(list.Model(), 0), ElementsAre("(null)", "text", "data"));
}

TEST(ListBase, ItemDataIsReplaced) {
  PlainList list;
  list.AddString("text", nullptr, kNoBitmap);
  EXPECT_EQ(nullptr, list.GetItemData(0));
  list.SetItemData(0, ItemData("data"));
  EXPECT_EQ("data", Taken(list.GetItemData(0)));
  list.SetItemData(0, nullptr);
  EXPECT_EQ(nullptr, list.GetItemData(0));
}

TEST(ListBase, ClearRemovesAllRows) {
  PlainList list;
  list.AddString("a", nullptr, kNoBitmap);
  list.AddString("b", nullptr, kNoBitmap);
  list.Clear();
  EXPECT_EQ(0, list.GetCount());
  EXPECT_EQ(0, list.AddString("c", nullptr, kNoBitmap));
}

// --- xListBase: selection ----------------------------------------------------------------------

TEST(ListBase, SelectsTheFirstRowWhoseSecondColumnIsTheText) {
  PlainList list;
  list.AddString2("b", "a", "b");
  list.AddString2("a", "b", "a");
  list.AddString2("a", "b", "a");
  EXPECT_EQ(1, list.SetCurSelByText("b"));
  EXPECT_THAT(list.selections, ElementsAre(1));
}

TEST(ListBase, SelectingATextThatIsNotThereClearsTheSelection) {
  PlainList list;
  list.AddString("a", nullptr, kNoBitmap);
  list.AddString(nullptr, nullptr, kNoBitmap);
  list.SetCurSel(0);
  EXPECT_EQ(-1, list.SetCurSelByText("A"));
  EXPECT_EQ(-1, list.selected);
  EXPECT_THAT(list.selections, ElementsAre(0, -1));
}

TEST(ListBase, SelectingANullTextChangesNothing) {
  PlainList list;
  list.AddString(nullptr, nullptr, kNoBitmap);
  list.SetCurSel(0);
  EXPECT_EQ(-1, list.SetCurSelByText(nullptr));
  EXPECT_EQ(0, list.selected);
  EXPECT_THAT(list.selections, ElementsAre(0));
}

TEST(ListBase, FindByItemDataComparesPointersSoThatATextIsNeverFound) {
  PlainList list;
  const char* data = "data";
  list.AddString("a", ItemData(data), kNoBitmap);
  EXPECT_EQ(-1, list.FindByItemData(ItemData(data)));
  EXPECT_EQ(-1, list.FindByItemData(nullptr));
}

TEST(ListBase, FindByItemDataFindsTheFirstRowWithoutAny) {
  PlainList list;
  list.AddString("a", ItemData("data"), kNoBitmap);
  list.AddString("b", nullptr, kNoBitmap);
  list.AddString("c", nullptr, kNoBitmap);
  EXPECT_EQ(1, list.FindByItemData(nullptr));
}

// A list that stores the very pointers, as a derived class may.
class PointerList : public PlainList {
 public:
  void* GetItemData(int index) override { return pointers[static_cast<size_t>(index)]; }
  std::vector<char*> pointers;
};

TEST(ListBase, FindByItemDataGoesThroughTheVirtualGetItemData) {
  PointerList list;
  list.pointers = {g_strdup("a"), g_strdup("b")};
  char* const second = list.pointers[1];
  list.AddString("row 0", nullptr, kNoBitmap);
  list.AddString("row 1", nullptr, kNoBitmap);
  EXPECT_EQ(1, list.FindByItemData(second));
}

TEST(ListBase, SelectsByItemDataWhatIsFound) {
  PlainList list;
  const char* data = "data";
  list.AddString("a", ItemData(data), kNoBitmap);
  list.AddString("b", nullptr, kNoBitmap);
  EXPECT_EQ(1, list.SetCurSelByItemData(nullptr));
  EXPECT_EQ(-1, list.SetCurSelByItemData(ItemData(data)));
  EXPECT_THAT(list.selections, ElementsAre(1, -1));
}

TEST(ListBase, ReadsTheSelectedRow) {
  PlainList list;
  list.AddString("a", ItemData("data a"), kNoBitmap);
  list.AddString("b", ItemData("data b"), kNoBitmap);
  list.SetCurSel(1);
  EXPECT_EQ("b", Taken(list.GetCurSelString()));
  EXPECT_EQ("data b", Taken(list.GetCurSelItemData()));
  list.SetCurSel(-1);
  EXPECT_EQ(nullptr, list.GetCurSelString());
  EXPECT_EQ(nullptr, list.GetCurSelItemData());
}

// --- xListBase: icons --------------------------------------------------------------------------

TEST(ListBase, AnIconIsRefusedByTheColumnOfTexts) {
  PlainList list;
  list.AddString2("kept", "text", nullptr);
  GdkPixbuf* icon = gdk_pixbuf_new(GDK_COLORSPACE_RGB, FALSE, 8, 4, 4);
  const gtk_test::Warnings warnings;
  list.SetItemIcon(0, icon);
  EXPECT_THAT(warnings.Messages(), ElementsAre(HasSubstr(kRefusedIcon)));
  EXPECT_THAT(Row(list.Model(), 0), ElementsAre("kept", "text", "(null)"));
  EXPECT_EQ(1u, G_OBJECT(icon)->ref_count);
  g_object_unref(icon);
}

TEST(ListBase, ANullIconEmptiesTheColumn) {
  PlainList list;
  list.AddString2("icon", "text", "data");
  const gtk_test::Warnings warnings;
  list.SetItemIcon(0, static_cast<GdkPixbuf*>(nullptr));
  EXPECT_THAT(Row(list.Model(), 0), ElementsAre("(null)", "text", "data"));
  EXPECT_THAT(warnings.Messages(), IsEmpty());
}

TEST(ListBase, AnIconForAMissingRowIsIgnored) {
  PlainList list;
  GdkPixbuf* icon = gdk_pixbuf_new(GDK_COLORSPACE_RGB, FALSE, 8, 4, 4);
  const gtk_test::Warnings warnings;
  list.SetItemIcon(0, icon);
  EXPECT_THAT(warnings.Messages(), IsEmpty());
  g_object_unref(icon);
}

TEST(ListBase, AddStringOffersItsBitmapToTheColumnOfTexts) {
  PlainList list;
  const gtk_test::Warnings warnings;
  fake_bitmaps::TakeRequests();
  EXPECT_EQ(0, list.AddString("text", nullptr, fake_bitmaps::kSquare));
  EXPECT_THAT(fake_bitmaps::TakeRequests(), ElementsAre(100));
  EXPECT_THAT(warnings.Messages(), ElementsAre(HasSubstr(kRefusedIcon)));
  EXPECT_THAT(Row(list.Model(), 0), ElementsAre("(null)", "text", "(null)"));
}

TEST(ListBase, AddStringWithoutABitmapOffersNone) {
  PlainList list;
  const gtk_test::Warnings warnings;
  fake_bitmaps::TakeRequests();
  list.AddString("text", nullptr, kNoBitmap);
  EXPECT_THAT(fake_bitmaps::TakeRequests(), IsEmpty());
  EXPECT_THAT(warnings.Messages(), IsEmpty());
}

// Keeps the icons that the stock variant hands to the other one.
class IconList : public PlainList {
 public:
  ~IconList() override {
    if (icon != nullptr) g_object_unref(icon);
  }
  using PlainList::SetItemIcon;
  void SetItemIcon(int index, GdkPixbuf* newIcon) override {
    row = index;
    icon = GDK_PIXBUF(g_object_ref(newIcon));
    references = G_OBJECT(icon)->ref_count;
  }
  int row = -1;
  GdkPixbuf* icon = nullptr;
  unsigned int references = 0;  // while the icon is handed over
};

TEST(ListBase, AStockIconIsRenderedAtButtonSizeAndReleased) {
  int width = 0;
  ASSERT_TRUE(gtk_icon_size_lookup(GTK_ICON_SIZE_BUTTON, &width, nullptr));
  IconList list;
  list.SetItemIcon(3, GTK_STOCK_OK);
  EXPECT_EQ(3, list.row);
  EXPECT_EQ(width, gdk_pixbuf_get_width(list.icon));
  EXPECT_EQ(list.references - 1, G_OBJECT(list.icon)->ref_count);
}

TEST(ListBase, AnUnknownStockIconEmptiesTheColumn) {
  PlainList list;
  list.AddString2("icon", "text", nullptr);
  const gtk_test::Warnings warnings;
  list.SetItemIcon(0, "no-such-stock-item");
  EXPECT_THAT(Row(list.Model(), 0), ElementsAre("(null)", "text", "(null)"));
  EXPECT_THAT(warnings.Messages(), IsEmpty());
}

TEST(ListBase, RenderingAStockIconLeavesNoWidgetBehind) {
  PlainList list;
  list.AddString("text", nullptr, kNoBitmap);
  const FinalizedObjects views(GTK_TYPE_CELL_VIEW);
  const gtk_test::Warnings warnings;
  list.SetItemIcon(0, GTK_STOCK_OK);
  EXPECT_EQ(1, FinalizedObjects::Count());
  EXPECT_THAT(warnings.Messages(), ElementsAre(HasSubstr(kRefusedIcon)));
}

// --- xComboBox ---------------------------------------------------------------------------------

// Keeps GTK's complaints about the icon's cell, one for each row that it lays out, from the output,
// and no others.
class ComboBox : public ::testing::Test {
 protected:
  void TearDown() override {
    EXPECT_THAT(m_Warnings.Messages(),
                Each(HasSubstr("unable to set property 'pixbuf' of type 'GdkPixbuf'")));
  }

  gtk_test::Warnings m_Warnings;
};

class Combo : public xComboBox {
 public:
  using xComboBox::xComboBox;
  GtkCellRenderer* IconRenderer() const { return m_pIconRenderer.get(); }
  GtkCellRenderer* TextRenderer() const { return m_pTextRenderer.get(); }
};

void AddRows(xListBase* list, int count) {
  for (int i = 0; i < count; ++i) list->AddString(("row " + std::to_string(i)).c_str(), nullptr, 0);
}

TEST_F(ComboBox, ShowsAnIconAndThenTheTextOfItsRows) {
  const Combo combo(nullptr, kID);
  ASSERT_TRUE(GTK_IS_COMBO_BOX(combo.GetWidget()));
  GList* cells = gtk_cell_layout_get_cells(GTK_CELL_LAYOUT(combo.GetWidget()));
  ASSERT_EQ(2u, g_list_length(cells));
  EXPECT_EQ(combo.IconRenderer(), cells->data);
  EXPECT_EQ(combo.TextRenderer(), cells->next->data);
  g_list_free(cells);
  float xalign = -1.0F;
  g_object_get(combo.IconRenderer(), "xalign", &xalign, nullptr);
  EXPECT_EQ(0.0F, xalign);
}

TEST_F(ComboBox, TheTextGetsTheRoomThatIsLeft) {
  g_PackedCells.clear();
  const Combo combo(nullptr, kID);
  ASSERT_EQ(2u, g_PackedCells.size());
  EXPECT_EQ(combo.IconRenderer(), g_PackedCells[0].renderer);
  EXPECT_FALSE(g_PackedCells[0].expand);
  EXPECT_EQ(combo.TextRenderer(), g_PackedCells[1].renderer);
  EXPECT_TRUE(g_PackedCells[1].expand);
}

TEST_F(ComboBox, TextCellTakesTheSecondColumnAndTheIconCellTheFirst) {
  Combo combo(nullptr, kID);
  GtkWidget* window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
  gtk_container_add(GTK_CONTAINER(window), combo.GetWidget());
  combo.AddString("shown", nullptr, kNoBitmap);
  combo.SetCurSel(0);
  EXPECT_TRUE(gtk_test::ShowAndWait(window));
  EXPECT_THAT(m_Warnings.Messages(), Not(IsEmpty()));
  char* text = nullptr;
  g_object_get(combo.TextRenderer(), "text", &text, nullptr);
  EXPECT_EQ("shown", Taken(text));
  gtk_widget_destroy(window);
}

TEST_F(ComboBox, ReportsANewActiveRow) {
  NotifyRecorder parent;
  xComboBox combo(&parent, kID);
  AddRows(&combo, 2);
  EXPECT_THAT(parent.Take(), IsEmpty());
  EXPECT_EQ(-1, combo.GetCurSel());
  EXPECT_EQ(1, combo.SetCurSel(1));
  EXPECT_EQ(1, combo.GetCurSel());
  EXPECT_THAT(parent.Take(), ElementsAre("SelectChanged 55"));
  EXPECT_EQ(1, combo.SetCurSel(1));
  EXPECT_THAT(parent.Take(), IsEmpty());
}

TEST_F(ComboBox, AnIndexPastTheEndLeavesNoneActive) {
  NotifyRecorder parent;
  xComboBox combo(&parent, kID);
  AddRows(&combo, 2);
  combo.SetCurSel(1);
  parent.Take();
  EXPECT_EQ(-1, combo.SetCurSel(99));
  EXPECT_EQ(-1, combo.GetCurSel());
  EXPECT_THAT(parent.Take(), ElementsAre("SelectChanged 55"));
  EXPECT_EQ(-1, combo.SetCurSel(2));
}

TEST_F(ComboBox, MinusOneLeavesNoneActive) {
  xComboBox combo(nullptr, kID);
  AddRows(&combo, 2);
  combo.SetCurSel(0);
  EXPECT_EQ(-1, combo.SetCurSel(-1));
  EXPECT_EQ(-1, combo.GetCurSel());
}

TEST_F(ComboBox, SelectsByTextAndClearsForAnUnknownOne) {
  NotifyRecorder parent;
  xComboBox combo(&parent, kID);
  AddRows(&combo, 3);
  EXPECT_EQ(2, combo.SetCurSelByText("row 2"));
  EXPECT_EQ("row 2", Taken(combo.GetCurSelString()));
  EXPECT_EQ(-1, combo.SetCurSelByText("row 3"));
  EXPECT_EQ(-1, combo.GetCurSel());
  EXPECT_EQ(nullptr, combo.GetCurSelString());
  EXPECT_THAT(parent.Take(), ElementsAre("SelectChanged 55", "SelectChanged 55"));
}

TEST_F(ComboBox, ClearingItWithAnActiveRowIsReported) {
  NotifyRecorder parent;
  xComboBox combo(&parent, kID);
  AddRows(&combo, 2);
  combo.SetCurSel(1);
  parent.Take();
  combo.Clear();
  EXPECT_THAT(parent.Take(), Contains("SelectChanged 55"));
  EXPECT_EQ(-1, combo.GetCurSel());
}

class CountingCombo : public xComboBox {
 public:
  using xComboBox::xComboBox;
  void OnSelectChanged() override { ++changes; }
  int changes = 0;
};

TEST_F(ComboBox, ChangesReachTheVirtualHandlerAndNullDataNone) {
  CountingCombo combo(nullptr, kID);
  AddRows(&combo, 1);
  combo.SetCurSel(0);
  EXPECT_EQ(1, combo.changes);
  xComboBox::CallBack_Changed(nullptr, nullptr);
  EXPECT_EQ(1, combo.changes);
}

TEST_F(ComboBox, WithoutAParentReportsToNobody) {
  xComboBox combo(nullptr, kID);
  AddRows(&combo, 1);
  EXPECT_EQ(0, combo.SetCurSel(0));
}

TEST_F(ComboBox, AWidgetThatOutlivesItsObjectKeepsItsRowsAndReportsNothing) {
  NotifyRecorder parent;
  auto combo = std::make_unique<Combo>(&parent, kID);
  AddRows(combo.get(), 2);
  GtkWidget* widget = combo->GetWidget();
  g_object_ref_sink(widget);
  const Watch store(gtk_combo_box_get_model(GTK_COMBO_BOX(widget)));
  const Watch text(combo->TextRenderer());
  combo.reset();
  gtk_combo_box_set_active(GTK_COMBO_BOX(widget), 1);
  EXPECT_EQ(1, gtk_combo_box_get_active(GTK_COMBO_BOX(widget)));
  EXPECT_THAT(parent.Take(), IsEmpty());
  gtk_widget_destroy(widget);
  g_object_unref(widget);
  EXPECT_TRUE(store.Released());
  EXPECT_TRUE(text.Released());
}

// --- xListBox ----------------------------------------------------------------------------------

class List : public xListBox {
 public:
  using xListBox::xListBox;
  GtkTreeView* View() const { return GTK_TREE_VIEW(m_pTreeView.get()); }
  GtkCellRenderer* IconRenderer() const { return m_pIconRenderer.get(); }
  GtkCellRenderer* TextRenderer() const { return m_pTextRenderer.get(); }
  bool TreeViewIsTheLastField() const {
    return reinterpret_cast<const char*>(&m_pTextRenderer) <
           reinterpret_cast<const char*>(&m_pTreeView);
  }
};

std::vector<std::string> Titles(const List& list) {
  std::vector<std::string> titles;
  GList* columns = gtk_tree_view_get_columns(list.View());
  for (const GList* node = columns; node != nullptr; node = node->next) {
    const char* title = gtk_tree_view_column_get_title(GTK_TREE_VIEW_COLUMN(node->data));
    titles.emplace_back(title != nullptr ? title : "(null)");
  }
  g_list_free(columns);
  return titles;
}

// What each column shows in the first row, read from the shared renderer.
std::vector<std::string> ShownTexts(const List& list) {
  GtkTreeModel* model = gtk_tree_view_get_model(list.View());
  GtkTreeIter row;
  EXPECT_TRUE(gtk_tree_model_get_iter_first(model, &row));
  std::vector<std::string> texts;
  GList* columns = gtk_tree_view_get_columns(list.View());
  for (const GList* node = columns; node != nullptr; node = node->next) {
    gtk_tree_view_column_cell_set_cell_data(GTK_TREE_VIEW_COLUMN(node->data), model, &row, FALSE,
                                            FALSE);
    char* text = nullptr;
    g_object_get(list.TextRenderer(), "text", &text, nullptr);
    texts.push_back(Taken(text));
  }
  g_list_free(columns);
  return texts;
}

void AddTableRows(xListBase* list, int count) {
  for (int i = 0; i < count; ++i) {
    const std::string number = std::to_string(i);
    list->AddString2(("model " + number).c_str(), ("name " + number).c_str(), number.c_str());
  }
}

TEST(ListBox, IsATreeViewInAScrolledWindowInAFrame) {
  const List list(nullptr, kID, "A", "B", "C");
  GtkWidget* frame = list.GetWidget();
  ASSERT_TRUE(GTK_IS_FRAME(frame));
  EXPECT_EQ(nullptr, gtk_frame_get_label(GTK_FRAME(frame)));
  EXPECT_EQ(GTK_SHADOW_IN, gtk_frame_get_shadow_type(GTK_FRAME(frame)));
  GtkWidget* scrolled = gtk_bin_get_child(GTK_BIN(frame));
  ASSERT_TRUE(GTK_IS_SCROLLED_WINDOW(scrolled));
  GtkPolicyType horizontal{};
  GtkPolicyType vertical{};
  gtk_scrolled_window_get_policy(GTK_SCROLLED_WINDOW(scrolled), &horizontal, &vertical);
  EXPECT_EQ(GTK_POLICY_AUTOMATIC, horizontal);
  EXPECT_EQ(GTK_POLICY_AUTOMATIC, vertical);
  EXPECT_EQ(GTK_WIDGET(list.View()), gtk_bin_get_child(GTK_BIN(scrolled)));
  EXPECT_TRUE(list.TreeViewIsTheLastField());
}

TEST(ListBox, ChangesTheFramesShadow) {
  xListBox list(nullptr, kID, "A", nullptr, nullptr);
  list.SetShadowType(GTK_SHADOW_OUT);
  EXPECT_EQ(GTK_SHADOW_OUT, gtk_frame_get_shadow_type(GTK_FRAME(list.GetWidget())));
}

TEST(ListBox, AMnemonicGoesToTheTreeView) {
  const List list(nullptr, kID, "A", nullptr, nullptr);
  EXPECT_EQ(GTK_WIDGET(list.View()), list.GetMnemonicWidget());
  EXPECT_NE(list.GetWidget(), list.GetMnemonicWidget());
}

TEST(ListBox, HasAColumnForEachTitle) {
  EXPECT_THAT(Titles(List(nullptr, kID, "A", "B", "C")), ElementsAre("A", "B", "C"));
  EXPECT_THAT(Titles(List(nullptr, kID, "A", "B", nullptr)), ElementsAre("A", "B"));
  EXPECT_THAT(Titles(List(nullptr, kID, "A", nullptr, nullptr)), ElementsAre("A"));
}

TEST(ListBox, TheThirdColumnDoesNotDependOnTheSecond) {
  List list(nullptr, kID, "A", nullptr, "C");
  list.AddString2("a", "b", "c");
  EXPECT_THAT(Titles(list), ElementsAre("A", "C"));
  EXPECT_THAT(ShownTexts(list), ElementsAre("a", "c"));
}

TEST(ListBox, EachColumnShowsItsColumnOfTheStore) {
  List list(nullptr, kID, "A", "B", "C");
  list.AddString2("a", "b", "c");
  EXPECT_THAT(ShownTexts(list), ElementsAre("a", "b", "c"));
}

TEST(ListBox, ANullFirstTitleHidesAllHeaders) {
  const List list(nullptr, kID, nullptr, "B", "C");
  EXPECT_FALSE(gtk_tree_view_get_headers_visible(list.View()));
  EXPECT_THAT(Titles(list), ::testing::SizeIs(3));
  EXPECT_TRUE(gtk_tree_view_get_headers_visible(List(nullptr, kID, "", "B", "C").View()));
}

TEST(ListBox, AllColumnsShareOneRenderer) {
  const List list(nullptr, kID, "A", "B", "C");
  for (int i = 0; i < 3; ++i) {
    GList* cells =
        gtk_cell_layout_get_cells(GTK_CELL_LAYOUT(gtk_tree_view_get_column(list.View(), i)));
    ASSERT_EQ(1u, g_list_length(cells));
    EXPECT_EQ(list.TextRenderer(), cells->data);
    g_list_free(cells);
  }
  EXPECT_TRUE(GTK_IS_CELL_RENDERER_PIXBUF(list.IconRenderer()));
}

TEST(ListBox, ListensToCursorChangedOnly) {
  List list(nullptr, kID, "A", nullptr, nullptr);
  EXPECT_NE(0u, FindHandler(list.View(), "cursor-changed", &list));
  EXPECT_EQ(1u, CountHandlers(list.View(), &list));
  EXPECT_EQ(0u, CountHandlers(gtk_tree_view_get_selection(list.View()), &list));
  EXPECT_EQ(0u, CountHandlers(list.GetWidget(), &list));
}

TEST(ListBox, SelectingARowMovesTheCursorAndIsAlwaysReported) {
  NotifyRecorder parent;
  xListBox list(&parent, kID, "A", "B", "C");
  AddTableRows(&list, 3);
  EXPECT_EQ(-1, list.GetCurSel());
  parent.Take();
  EXPECT_EQ(1, list.SetCurSel(1));
  EXPECT_EQ(1, list.GetCurSel());
  EXPECT_THAT(parent.Take(), ElementsAre("SelectChanged 55"));
  EXPECT_EQ(1, list.SetCurSel(1));
  EXPECT_THAT(parent.Take(), ElementsAre("SelectChanged 55"));
}

TEST(ListBox, TakingTheSelectionAwayIsNotReported) {
  NotifyRecorder parent;
  List list(&parent, kID, "A", "B", "C");
  AddTableRows(&list, 3);
  list.SetCurSel(1);
  parent.Take();
  EXPECT_EQ(-1, list.SetCurSel(-1));
  EXPECT_EQ(-1, list.GetCurSel());
  EXPECT_EQ(0, gtk_tree_selection_count_selected_rows(gtk_tree_view_get_selection(list.View())));
  EXPECT_THAT(parent.Take(), IsEmpty());
}

TEST(ListBox, MinusOneWithoutASelectionDoesNothing) {
  NotifyRecorder parent;
  xListBox list(&parent, kID, "A", "B", "C");
  const gtk_test::Warnings warnings;
  EXPECT_EQ(-1, list.SetCurSel(-1));
  AddTableRows(&list, 2);
  parent.Take();
  EXPECT_EQ(-1, list.SetCurSel(-1));
  EXPECT_EQ(-1, list.SetCurSel(-5));
  EXPECT_EQ(-1, list.GetCurSel());
  EXPECT_THAT(parent.Take(), IsEmpty());
  EXPECT_THAT(warnings.Messages(), IsEmpty());
}

TEST(ListBox, AMissingRowLeavesTheSelectionAlone) {
  NotifyRecorder parent;
  xListBox list(&parent, kID, "A", "B", "C");
  AddTableRows(&list, 2);
  list.SetCurSel(1);
  parent.Take();
  EXPECT_EQ(-1, list.SetCurSel(2));
  EXPECT_EQ(-1, list.SetCurSel(99));
  EXPECT_EQ(1, list.GetCurSel());
  EXPECT_THAT(parent.Take(), IsEmpty());
}

TEST(ListBox, SelectsByTheSecondColumn) {
  xListBox list(nullptr, kID, "A", "B", "C");
  AddTableRows(&list, 3);
  EXPECT_EQ(2, list.SetCurSelByText("name 2"));
  EXPECT_EQ("name 2", Taken(list.GetCurSelString()));
  EXPECT_EQ("2", Taken(list.GetCurSelItemData()));
  EXPECT_EQ(-1, list.SetCurSelByText("model 2"));
  EXPECT_EQ(-1, list.GetCurSel());
}

TEST(ListBox, AddStringFillsTheSecondAndThirdVisibleColumn) {
  List list(nullptr, kID, "A", "B", "C");
  list.AddString("text", ItemData("data"), kNoBitmap);
  EXPECT_THAT(ShownTexts(list), ElementsAre("(null)", "text", "data"));
}

TEST(ListBox, HasAsManyColumnsAsItIsGivenTitles) {
  List four(nullptr, kID, {"A", nullptr, "C", "D"});
  EXPECT_THAT(Titles(four), ElementsAre("A", "C", "D"));
  const DebugLines lines;
  EXPECT_EQ(0, four.AddRow({"first", "hidden", nullptr, "fourth"}));
  EXPECT_EQ(1, four.AddRow({"first", "hidden", "third", "fourth"}));
  EXPECT_THAT(ShownTexts(four), ElementsAre("first", "(null)", "fourth"));
  EXPECT_THAT(WithoutNumbers(lines.All()),
              ElementsAre("[AddString2(#)]: AddString2 (first)-(hidden)-((null))-(fourth) \n",
                          "[AddString2(#)]: AddString2 (first)-(hidden)-(third)-(fourth) \n"));
  List one(nullptr, kID, {"A"});
  EXPECT_THAT(Titles(one), ElementsAre("A"));
  one.AddString2("first", "second", "third");
  EXPECT_THAT(ShownTexts(one), ElementsAre("first"));
}

TEST(ListBox, ClearingItIsNotReported) {
  NotifyRecorder parent;
  xListBox list(&parent, kID, "A", "B", "C");
  AddTableRows(&list, 3);
  list.SetCurSel(2);
  parent.Take();
  list.Clear();
  EXPECT_THAT(parent.Take(), IsEmpty());
  EXPECT_EQ(-1, list.GetCurSel());
}

class CountingList : public xListBox {
 public:
  using xListBox::xListBox;
  void OnSelectChanged() override { ++changes; }
  int changes = 0;
};

TEST(ListBox, ChangesReachTheVirtualHandlerAndNullDataNone) {
  CountingList list(nullptr, kID, "A", nullptr, nullptr);
  AddTableRows(&list, 1);
  list.SetCurSel(0);
  EXPECT_EQ(1, list.changes);
  xListBox::CallBack_Changed(nullptr, nullptr);
  EXPECT_EQ(1, list.changes);
}

TEST(ListBox, WithoutAParentReportsToNobody) {
  xListBox list(nullptr, kID, "A", nullptr, nullptr);
  AddTableRows(&list, 1);
  EXPECT_EQ(0, list.SetCurSel(0));
}

// A list box in a window on the screen.
class ShownListBox : public ::testing::Test {
 protected:
  ShownListBox()
      : m_List(std::make_unique<List>(&m_Parent, kID, "A", "B", "C")),
        m_pWindow(gtk_window_new(GTK_WINDOW_TOPLEVEL)),
        m_pEntry(gtk_entry_new()) {
    GtkWidget* box = gtk_vbox_new(FALSE, 0);
    gtk_box_pack_start(GTK_BOX(box), m_pEntry, FALSE, FALSE, 0);
    gtk_box_pack_start(GTK_BOX(box), m_List->GetWidget(), TRUE, TRUE, 0);
    gtk_container_add(GTK_CONTAINER(m_pWindow), box);
    gtk_window_set_default_size(GTK_WINDOW(m_pWindow), 400, 200);
  }
  ~ShownListBox() override {
    if (m_pWindow != nullptr) gtk_widget_destroy(m_pWindow);
  }

  void SetUp() override {
    AddTableRows(m_List.get(), 100);
    gtk_widget_grab_focus(m_pEntry);
    ASSERT_TRUE(gtk_test::ShowAndFocus(m_pWindow));
    gtk_test::Pump();
    m_Parent.Take();
  }

  GdkRectangle CellArea(int row) const {
    GtkTreePath* path = gtk_tree_path_new_from_indices(row, -1);
    GdkRectangle area;
    gtk_tree_view_get_cell_area(m_List->View(), path, gtk_tree_view_get_column(m_List->View(), 0),
                                &area);
    gtk_tree_path_free(path);
    return area;
  }

  void Click(int row) const {
    const GdkRectangle area = CellArea(row);
    GdkWindow* bin = gtk_tree_view_get_bin_window(m_List->View());
    for (const GdkEventType type : {GDK_BUTTON_PRESS, GDK_BUTTON_RELEASE}) {
      ASSERT_TRUE(gdk_test_simulate_button(bin, area.x + 5, area.y + area.height / 2, 1,
                                           GdkModifierType{}, type));
    }
    ASSERT_TRUE(gtk_test::PumpUntil([&] { return m_List->GetCurSel() == row; }));
    gtk_test::Pump();
  }

  NotifyRecorder m_Parent;
  std::unique_ptr<List> m_List;
  GtkWidget* m_pWindow;
  GtkWidget* m_pEntry;
};

TEST_F(ShownListBox, AClickSelectsARowAndIsReported) {
  Click(2);
  EXPECT_EQ(2, m_List->GetCurSel());
  EXPECT_THAT(m_Parent.Take(), ElementsAre("SelectChanged 55"));
}

TEST_F(ShownListBox, AListThatOnlyGotTheFocusHasNoSelection) {
  gtk_widget_grab_focus(m_List->GetMnemonicWidget());
  ASSERT_TRUE(
      gtk_test::PumpUntil([&] { return gtk_widget_has_focus(GTK_WIDGET(m_List->View())); }));
  GtkTreePath* cursor = nullptr;
  gtk_tree_view_get_cursor(m_List->View(), &cursor, nullptr);
  ASSERT_NE(nullptr, cursor);
  EXPECT_EQ(0, gtk_tree_path_get_indices(cursor)[0]);
  gtk_tree_path_free(cursor);
  EXPECT_EQ(-1, m_List->GetCurSel());
  EXPECT_EQ(nullptr, m_List->GetCurSelString());
}

TEST_F(ShownListBox, ARowOutOfSightIsScrolledIntoView) {
  g_iScrolls = 0;
  m_List->SetCurSel(99);
  EXPECT_EQ(1, g_iScrolls);
  EXPECT_EQ(99, g_iCursorAtScroll) << "the cursor is moved first";
  gtk_test::Pump();
  GtkTreePath* first = nullptr;
  GtkTreePath* last = nullptr;
  ASSERT_TRUE(gtk_tree_view_get_visible_range(m_List->View(), &first, &last));
  EXPECT_EQ(99, gtk_tree_path_get_indices(last)[0]);
  gtk_tree_path_free(first);
  gtk_tree_path_free(last);
}

TEST_F(ShownListBox, AWindowThatOutlivesTheListReportsNothing) {
  GtkTreeView* view = m_List->View();
  const Watch store(gtk_tree_view_get_model(view));
  const Watch text(m_List->TextRenderer());
  const Watch icon(m_List->IconRenderer());
  m_List.reset();
  EXPECT_TRUE(icon.Released());
  GtkTreePath* path = gtk_tree_path_new_from_indices(1, -1);
  gtk_tree_view_set_cursor(view, path, nullptr, FALSE);
  gtk_tree_path_free(path);
  EXPECT_THAT(m_Parent.Take(), IsEmpty());
  const FinalizedObjects views(GTK_TYPE_TREE_VIEW);
  gtk_widget_destroy(m_pWindow);
  m_pWindow = nullptr;
  EXPECT_EQ(1, FinalizedObjects::Count());
  EXPECT_TRUE(store.Released());
  EXPECT_TRUE(text.Released());
}

TEST_F(ShownListBox, AListThatOutlivesItsWindowHasRowsButNoSelection) {
  const FinalizedObjects views(GTK_TYPE_TREE_VIEW);
  m_List->SetCurSel(3);
  gtk_widget_destroy(m_pWindow);
  m_pWindow = nullptr;
  EXPECT_EQ(100, m_List->GetCount());
  EXPECT_EQ(-1, m_List->GetCurSel());
  EXPECT_EQ(-1, m_List->SetCurSel(-1));
  EXPECT_EQ(0, FinalizedObjects::Count());
  m_List.reset();
  EXPECT_EQ(1, FinalizedObjects::Count());
}

}  // namespace
