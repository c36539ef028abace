// Lists of rows: the drop-down xComboBox and the table xListBox over one row store, xListBase.
//
// A change of the selection reaches the parent as OnNofitySelectChanged. All of it runs on the GTK
// main thread.
#pragma once

#include <gtk/gtk.h>

#include <cstddef>
#include <memory>
#include <vector>

#include "xwidgets/widget.h"

// Gives back one reference on a GObject; the deleter of the references that lists hold.
struct xObjectUnref {
  void operator()(void* object) const { g_object_unref(object); }
};

// The rows of a list, in a GtkListStore of three columns, or of as many as a table has if these are
// more:
//
//   column   xComboBox    xListBox
//   0        icon         first text
//   1        text         second text
//   2        item data    third text
//
// All columns hold texts, which the store copies. That decides what item data and icons can
// be: item data must be null or a NUL-terminated text, reading it back yields a new copy each time,
// and an icon cannot be stored at all; GTK refuses it with a warning and the column keeps what it
// had.
//
// Rows are addressed by their index from 0.
class xListBase : public xWidget {
 public:
  // Makes the empty store of three columns and no GTK widget.
  xListBase(xWidget* parent, unsigned int id);
  ~xListBase() override;

  // Makes the cell renderers for the icon and for the text. Called once, by the derived class,
  // before it lays out its cells.
  void CreateCellLayout();

  // Sets the width of the icon's cell in pixels. Needs CreateCellLayout.
  void SetIconWidth(int width);

  // Removes all rows.
  virtual void Clear();

  // The number of rows.
  virtual int GetCount() const;

  // The index of the selected row, -1 for none.
  virtual int GetCurSel() const = 0;

  // Selects a row; a negative index selects none. Returns the index now selected, -1 for none.
  virtual int SetCurSel(int index) = 0;

  // Appends a row with `text` in column 1, `itemData` (null or a text) in column 2 and, unless
  // `bitmapId` is 0, that bitmap in column 0. Returns the new row's index.
  virtual int AddString(const char* text, void* itemData, unsigned short bitmapId);

  // Appends a row of three texts, any of which may be null, and logs it. Returns the new row's
  // index.
  virtual int AddString2(const char* col0, const char* col1, const char* col2);

  // The same with as many texts as the store has columns.
  int AddRow(const std::vector<const char*>& texts);

  // Replaces the item data (null or a text) of a row; nothing for a row that does not exist.
  virtual void SetItemData(int index, void* itemData);

  // GetItemData of the selected row; null when none is selected.
  virtual void* GetCurSelItemData();

  // GetString of the selected row; null when none is selected.
  virtual char* GetCurSelString();

  // Selects the first row whose column 1 is `text`, or none if there is no such row. Returns the
  // index now selected, -1 for none. A null text changes nothing and returns -1.
  virtual int SetCurSelByText(const char* text);

  // The first row whose item data, as GetItemData returns it, is the very pointer given; -1 for
  // none. As each read yields a new copy, only null is ever found: in the first row without item
  // data.
  virtual int FindByItemData(void* itemData);

  // Selects what FindByItemData finds, or none. Returns the index now selected, -1 for none.
  virtual int SetCurSelByItemData(void* itemData);

  // A new copy of a row's column 1, which the caller frees with g_free. Null for a row that does
  // not exist or has no text.
  virtual char* GetString(int index);

  // A new copy of a row's column 2, which the caller frees with g_free. Null for a row that does
  // not exist or has no item data.
  virtual void* GetItemData(int index);

  // Sets column 0 of a row to an icon, which stays the caller's; nothing for a row that does not
  // exist. Null empties the column.
  virtual void SetItemIcon(int index, GdkPixbuf* icon);

  // The same with a GTK stock icon at button size.
  virtual void SetItemIcon(int index, const char* stockId);

  // Called when the selection may have changed.
  virtual void OnSelectChanged() = 0;

 protected:
  // As the public constructor, with a store of so many columns, but three at least.
  xListBase(xWidget* parent, unsigned int id, std::size_t columns);

  // The store as the model that GTK's views take.
  GtkTreeModel* GetModel() const;

  std::unique_ptr<GtkListStore, xObjectUnref> m_pStore;
  std::unique_ptr<GtkCellRenderer, xObjectUnref> m_pIconRenderer;
  std::unique_ptr<GtkCellRenderer, xObjectUnref> m_pTextRenderer;

 private:
  bool GetRow(int index, GtkTreeIter* row) const;
  char* GetColumnText(int index, int column) const;
  void StoreIcon(GtkTreeIter* row, GdkPixbuf* icon);
};

// A drop-down of icons and texts (GtkComboBox). The icon's cell is bound to a column of texts, so
// that GTK prints a warning each time it lays out a row.
class xComboBox : public xListBase {
 public:
  xComboBox(xWidget* parent, unsigned int id);

  // The active row (gtk_combo_box_get_active), -1 for none.
  int GetCurSel() const override;

  // Makes a row the active one; -1, and an index past the end, leave none active. Returns the index
  // if that row is then active, -1 otherwise.
  int SetCurSel(int index) override;

  // Sends OnNofitySelectChanged to the parent, if there is one.
  void OnSelectChanged() override;

  // GTK "changed" handler; `data` is the xComboBox. Null data is ignored.
  static void CallBack_Changed(GtkComboBox* combo, void* data);
};

// A table of columns of texts (GtkTreeView) with scroll bars as needed, in a frame. The widget that
// it attaches is the frame.
//
// Rows of a table are added with AddString2 or AddRow. AddString fills the second and third column,
// and GetString and SetCurSelByText look at the second.
class xListBox : public xListBase {
 public:
  // The first column is always there; without `title0` no column shows a title. The second and the
  // third are there if they have a title.
  xListBox(xWidget* parent, unsigned int id, const char* title0, const char* title1,
           const char* title2);
  // The same for any number of columns, of which the first has to be among the titles.
  xListBox(xWidget* parent, unsigned int id, const std::vector<const char*>& titles);
  ~xListBox() override;

  // Sets the look of the outer frame (gtk_frame_set_shadow_type).
  void SetShadowType(GtkShadowType type);

  // The tree view, so that a label's mnemonic moves the focus to the rows.
  GtkWidget* GetMnemonicWidget() const override;

  // The row that the cursor is on, if it is selected as well; -1 otherwise. A list that only has
  // the focus has its cursor on the first row without selecting it.
  int GetCurSel() const override;

  // Moves the cursor to an existing row, which selects it, scrolls it into view and returns the
  // index; this is reported even if the row was selected before. A negative index takes the
  // selection away, without a report, and returns -1. A row that does not exist changes nothing and
  // returns -1.
  int SetCurSel(int index) override;

  // Sends OnNofitySelectChanged to the parent, if there is one.
  void OnSelectChanged() override;

  // GTK "cursor-changed" handler; `data` is the xListBox. Null data is ignored.
  static void CallBack_Changed(GtkTreeView* treeView, void* data);

 protected:
  // Referenced: the frame may be destroyed, and its content released, before this object is
  // deleted.
  std::unique_ptr<GtkWidget, xObjectUnref> m_pTreeView;

 private:
  void AppendColumns(const std::vector<const char*>& titles);
  void Unselect();
};
