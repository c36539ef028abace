// List and combo controls.
#include "xwidgets/lists.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "app/log/debug_log.h"
#include "base/glib_ptr.h"
#include "base/printable.h"
#include "resource/rc_tables.h"

namespace {

constexpr int kIconColumn = 0;
constexpr int kTextColumn = 1;
constexpr int kItemDataColumn = 2;
constexpr std::size_t kFewestColumns = 3;

struct FreePath {
  void operator()(GtkTreePath* path) const { gtk_tree_path_free(path); }
};
using Path = std::unique_ptr<GtkTreePath, FreePath>;

using Icon = std::unique_ptr<GdkPixbuf, xObjectUnref>;

// A stock icon at button size, or null for an unknown one. Stock icons come from a widget's style,
// for which a cell view stands in that is never shown.
Icon RenderStockIcon(const char* stockId) {
  GtkWidget* view = gtk_cell_view_new();
  g_object_ref_sink(view);
  Icon icon(gtk_widget_render_icon(view, stockId, GTK_ICON_SIZE_BUTTON, nullptr));
  gtk_widget_destroy(view);
  g_object_unref(view);
  return icon;
}

GtkListStore* NewStore(std::size_t columns) {
  std::vector<GType> types(columns, G_TYPE_STRING);
  return gtk_list_store_newv(static_cast<gint>(columns), types.data());
}

GtkTreeViewColumn* MakeColumn(const char* title, GtkCellRenderer* renderer, int column) {
  return gtk_tree_view_column_new_with_attributes(title, renderer, "text", column, nullptr);
}

}  // namespace

xListBase::xListBase(xWidget* parent, unsigned int id) : xListBase(parent, id, kFewestColumns) {}

xListBase::xListBase(xWidget* parent, unsigned int id, std::size_t columns)
    : xWidget(parent, id), m_pStore(NewStore(std::max(columns, kFewestColumns))) {}

xListBase::~xListBase() = default;

void xListBase::CreateCellLayout() {
  // Sunk, so that a renderer that no view takes is released with this object.
  m_pIconRenderer.reset(GTK_CELL_RENDERER(g_object_ref_sink(gtk_cell_renderer_pixbuf_new())));
  m_pTextRenderer.reset(GTK_CELL_RENDERER(g_object_ref_sink(gtk_cell_renderer_text_new())));
}

void xListBase::SetIconWidth(int width) {
  g_object_set(m_pIconRenderer.get(), "width", width, nullptr);
}

void xListBase::Clear() { gtk_list_store_clear(m_pStore.get()); }

int xListBase::GetCount() const { return gtk_tree_model_iter_n_children(GetModel(), nullptr); }

int xListBase::AddString(const char* text, void* itemData, unsigned short bitmapId) {
  const int index = GetCount();
  GtkTreeIter row;
  gtk_list_store_append(m_pStore.get(), &row);
  gtk_list_store_set(m_pStore.get(), &row, kTextColumn, text, kItemDataColumn, itemData, -1);
  if (bitmapId != 0) StoreIcon(&row, rc_load_Pixbuf(bitmapId));
  return index;
}

int xListBase::AddString2(const char* col0, const char* col1, const char* col2) {
  return AddRow({col0, col1, col2});
}

int xListBase::AddRow(const std::vector<const char*>& texts) {
  const int index = GetCount();
  std::vector<gint> columns(texts.size());
  std::vector<GValue> values(texts.size());
  std::string shown;
  for (std::size_t i = 0; i < texts.size(); ++i) {
    columns[i] = static_cast<gint>(i);
    g_value_init(&values[i], G_TYPE_STRING);
    g_value_set_static_string(&values[i], texts[i]);
    shown += std::string(i > 0 ? "-(" : "(") + Printable(texts[i]) + ")";
  }
  GtkTreeIter row;
  gtk_list_store_append(m_pStore.get(), &row);
  gtk_list_store_set_valuesv(m_pStore.get(), &row, columns.data(), values.data(),
                             static_cast<gint>(values.size()));
  myDbgFunc(DBG_PREFIX "AddString2 %s \n", "AddString2", __LINE__, shown.c_str());
  return index;
}

void xListBase::SetItemData(int index, void* itemData) {
  GtkTreeIter row;
  if (!GetRow(index, &row)) return;
  gtk_list_store_set(m_pStore.get(), &row, kItemDataColumn, itemData, -1);
}

void* xListBase::GetCurSelItemData() { return GetItemData(GetCurSel()); }

char* xListBase::GetCurSelString() {
  const int index = GetCurSel();
  return index < 0 ? nullptr : GetString(index);
}

int xListBase::SetCurSelByText(const char* text) {
  if (text == nullptr) return -1;
  const int count = GetCount();
  for (int index = 0; index < count; ++index) {
    const GlibPtr<char> rowText(GetString(index));
    if (rowText != nullptr && std::strcmp(rowText.get(), text) == 0) return SetCurSel(index);
  }
  return SetCurSel(-1);
}

int xListBase::FindByItemData(void* itemData) {
  const int count = GetCount();
  for (int index = 0; index < count; ++index) {
    const GlibPtr<void> rowData(GetItemData(index));
    if (rowData.get() == itemData) return index;
  }
  return -1;
}

int xListBase::SetCurSelByItemData(void* itemData) { return SetCurSel(FindByItemData(itemData)); }

char* xListBase::GetString(int index) { return GetColumnText(index, kTextColumn); }

void* xListBase::GetItemData(int index) { return GetColumnText(index, kItemDataColumn); }

void xListBase::SetItemIcon(int index, GdkPixbuf* icon) {
  GtkTreeIter row;
  if (GetRow(index, &row)) StoreIcon(&row, icon);
}

void xListBase::SetItemIcon(int index, const char* stockId) {
  const Icon icon = RenderStockIcon(stockId);
  SetItemIcon(index, icon.get());
}

GtkTreeModel* xListBase::GetModel() const { return GTK_TREE_MODEL(m_pStore.get()); }

bool xListBase::GetRow(int index, GtkTreeIter* row) const {
  return index >= 0 && gtk_tree_model_iter_nth_child(GetModel(), row, nullptr, index) != FALSE;
}

char* xListBase::GetColumnText(int index, int column) const {
  GtkTreeIter row;
  if (!GetRow(index, &row)) return nullptr;
  char* text = nullptr;
  gtk_tree_model_get(GetModel(), &row, column, &text, -1);
  return text;
}

void xListBase::StoreIcon(GtkTreeIter* row, GdkPixbuf* icon) {
  if (icon == nullptr) {
    gtk_list_store_set(m_pStore.get(), row, kIconColumn, nullptr, -1);
    return;
  }
  // As a typed value, which GTK refuses for a column of texts. gtk_list_store_set would take the
  // pointer for one to a text and copy the object's memory.
  GValue value = G_VALUE_INIT;
  g_value_init(&value, GDK_TYPE_PIXBUF);
  g_value_set_object(&value, icon);
  gtk_list_store_set_value(m_pStore.get(), row, kIconColumn, &value);
  g_value_unset(&value);
}

xComboBox::xComboBox(xWidget* parent, unsigned int id) : xListBase(parent, id) {
  Attach(gtk_combo_box_new_with_model(GetModel()));
  CreateCellLayout();
  GtkCellLayout* layout = GTK_CELL_LAYOUT(m_pWidget);
  gtk_cell_layout_pack_start(layout, m_pIconRenderer.get(), FALSE);
  gtk_cell_layout_set_attributes(layout, m_pIconRenderer.get(), "pixbuf", kIconColumn, nullptr);
  g_object_set(m_pIconRenderer.get(), "xalign", 0.0, nullptr);
  gtk_cell_layout_pack_start(layout, m_pTextRenderer.get(), TRUE);
  gtk_cell_layout_set_attributes(layout, m_pTextRenderer.get(), "text", kTextColumn, nullptr);
  g_signal_connect(m_pWidget, "changed", G_CALLBACK(CallBack_Changed), this);
}

int xComboBox::GetCurSel() const { return gtk_combo_box_get_active(GTK_COMBO_BOX(m_pWidget)); }

int xComboBox::SetCurSel(int index) {
  gtk_combo_box_set_active(GTK_COMBO_BOX(m_pWidget), index);
  return gtk_combo_box_get_active(GTK_COMBO_BOX(m_pWidget)) == index ? index : -1;
}

void xComboBox::OnSelectChanged() {
  if (m_pParent != nullptr) m_pParent->OnNofitySelectChanged(m_nID);
}

void xComboBox::CallBack_Changed(GtkComboBox* /*combo*/, void* data) {
  if (data != nullptr) static_cast<xComboBox*>(data)->OnSelectChanged();
}

xListBox::xListBox(xWidget* parent, unsigned int id, const char* title0, const char* title1,
                   const char* title2)
    : xListBox(parent, id, {title0, title1, title2}) {}

xListBox::xListBox(xWidget* parent, unsigned int id, const std::vector<const char*>& titles)
    : xListBase(parent, id, titles.size()) {
  Attach(gtk_frame_new(nullptr));
  xListBox::SetShadowType(GTK_SHADOW_IN);
  GtkWidget* scrolled = gtk_scrolled_window_new(nullptr, nullptr);
  gtk_scrolled_window_set_policy(GTK_SCROLLED_WINDOW(scrolled), GTK_POLICY_AUTOMATIC,
                                 GTK_POLICY_AUTOMATIC);
  gtk_container_add(GTK_CONTAINER(m_pWidget), scrolled);
  m_pTreeView.reset(GTK_WIDGET(g_object_ref_sink(gtk_tree_view_new_with_model(GetModel()))));
  gtk_container_add(GTK_CONTAINER(scrolled), m_pTreeView.get());
  CreateCellLayout();
  AppendColumns(titles);
  g_signal_connect(m_pTreeView.get(), "cursor-changed", G_CALLBACK(CallBack_Changed), this);
}

xListBox::~xListBox() {
  g_signal_handlers_disconnect_matched(m_pTreeView.get(), G_SIGNAL_MATCH_DATA, 0, 0, nullptr,
                                       nullptr, this);
}

void xListBox::SetShadowType(GtkShadowType type) {
  gtk_frame_set_shadow_type(GTK_FRAME(m_pWidget), type);
}

GtkWidget* xListBox::GetMnemonicWidget() const { return m_pTreeView.get(); }

int xListBox::GetCurSel() const {
  GtkTreeView* view = GTK_TREE_VIEW(m_pTreeView.get());
  GtkTreePath* cursor = nullptr;
  gtk_tree_view_get_cursor(view, &cursor, nullptr);
  if (cursor == nullptr) return -1;
  const Path path(cursor);
  GtkTreeSelection* selection = gtk_tree_view_get_selection(view);
  if (selection != nullptr && !gtk_tree_selection_path_is_selected(selection, path.get())) {
    return -1;
  }
  return gtk_tree_path_get_indices(path.get())[0];
}

int xListBox::SetCurSel(int index) {
  if (index < 0) {
    Unselect();
    return -1;
  }
  // For a missing row GTK would drop the cursor and report a change.
  if (index >= GetCount()) return -1;
  GtkTreeView* view = GTK_TREE_VIEW(m_pTreeView.get());
  const Path path(gtk_tree_path_new_from_indices(index, -1));
  gtk_tree_view_set_cursor(view, path.get(), nullptr, FALSE);
  gtk_tree_view_scroll_to_cell(view, path.get(), nullptr, FALSE, 0.0F, 0.0F);
  return index;
}

void xListBox::OnSelectChanged() {
  if (m_pParent != nullptr) m_pParent->OnNofitySelectChanged(m_nID);
}

void xListBox::CallBack_Changed(GtkTreeView* /*treeView*/, void* data) {
  if (data != nullptr) static_cast<xListBox*>(data)->OnSelectChanged();
}

void xListBox::AppendColumns(const std::vector<const char*>& titles) {
  GtkTreeView* view = GTK_TREE_VIEW(m_pTreeView.get());
  if (titles[0] == nullptr) gtk_tree_view_set_headers_visible(view, FALSE);
  for (std::size_t column = 0; column < titles.size(); ++column) {
    if (column > 0 && titles[column] == nullptr) continue;
    gtk_tree_view_append_column(
        view, MakeColumn(titles[column], m_pTextRenderer.get(), static_cast<int>(column)));
  }
}

void xListBox::Unselect() {
  GtkTreeSelection* selection = gtk_tree_view_get_selection(GTK_TREE_VIEW(m_pTreeView.get()));
  GtkTreeIter row;
  if (selection == nullptr || !gtk_tree_selection_get_selected(selection, nullptr, &row)) return;
  gtk_tree_selection_unselect_iter(selection, &row);
}
