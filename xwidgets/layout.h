// Layout containers (boxes, panes, tables, notebooks, frames) and the passive widgets (labels,
// images, separators).
//
// Children are passed as xWidget objects. The GTK container owns the child's GTK widget; the object
// stays with its creator and may be deleted as soon as nothing needs to be changed any more.
// Constructors with more than one form for a single argument need a typed value: pass
// static_cast<const char*>(nullptr) or a variable, not NULL or 0.
#pragma once

#include <gtk/gtk.h>

#include <memory>

#include "xwidgets/widget.h"

// A text. An underscore in it marks the next letter as the mnemonic; a text without one is shown
// as it is.
class xLabel : public xWidget {
 public:
  // `text` may be null (no text). The alignments run from 0 (left, top) to 1 (right, bottom).
  xLabel(const char* text, float xalign, float yalign, xWidget* parent, unsigned int id);

  // Replaces the text, by the same rule for underscores.
  virtual void SetWindowText(const char* text);

  // Places the text within the label's area, from 0 (left, top) to 1 (right, bottom).
  virtual void SetAlignment(float xalign, float yalign) {
    gtk_misc_set_alignment(GTK_MISC(m_pWidget), xalign, yalign);
  }

  // Makes the mnemonic activate target's GetMnemonicWidget. Does nothing when `target` is null.
  virtual void SetMnemonic(xWidget* target);
};

// A picture.
class xImage : public xWidget {
 public:
  // A compiled-in bitmap. The loader is asked for any `bitmapId`, 0 included; an unknown one gives
  // an empty image.
  xImage(unsigned short bitmapId, xWidget* parent, unsigned int id);

  // A picture of the caller's, who keeps his own reference. Null gives an empty image.
  xImage(GdkPixbuf* pixbuf, xWidget* parent, unsigned int id);

  // Shows another compiled-in bitmap; 0 clears the image without asking the loader.
  virtual void SetImage(unsigned short bitmapId);

  // Shows a picture of the caller's, who keeps his own reference. Null clears the image.
  virtual void SetImage(GdkPixbuf* pixbuf) {
    gtk_image_set_from_pixbuf(GTK_IMAGE(m_pWidget), pixbuf);
  }
};

// A row or a column of children. No parent, identifier kNoControlID.
class xBox : public xContainer {
 public:
  // Any value but kHorizontal makes a column.
  enum BoxType : int { kVertical = 0, kHorizontal = 1 };

  // `homogeneous`: non-zero gives all children the same space. `spacing`: pixels between them.
  xBox(BoxType type, int homogeneous, int spacing);

  // Wraps a box made elsewhere, such as a dialog's content area.
  explicit xBox(GtkWidget* box);

  using xContainer::AppendChild;

  // Packs the child after those packed so far (gtk_box_pack_start). `expand`: it gets a share of
  // spare space; `fill`: it grows into that share; `padding`: pixels on both sides. Returns
  // `child`.
  virtual xWidget* AppendChild(xWidget* child, int expand, int fill, unsigned int padding);

  // The same, from the other end of the box (gtk_box_pack_end).
  virtual xWidget* AppendChildEnd(xWidget* child, int expand, int fill, unsigned int padding);
};

// A row or a column of buttons of the same size. No parent, identifier kNoControlID.
class xButtonBox : public xContainer {
 public:
  // Any value but kHorizontal makes a column.
  enum BoxType : int { kVertical = 0, kHorizontal = 1 };

  // `layout`: where the buttons stand; `spacing`: pixels between them.
  xButtonBox(BoxType type, GtkButtonBoxStyle layout, int spacing);
};

// Two panes with a movable divider. No parent, identifier kNoControlID.
class xPaned : public xContainer {
 public:
  // Panes side by side for kHorizontal, for any other value one above the other.
  enum PanedType : int { kVertical = 0, kHorizontal = 1 };

  explicit xPaned(PanedType type);

  // Fill the first (left, top) and the second pane. `resize`: the pane grows with the whole;
  // `shrink`: it may become smaller than the child asks for. Return `child`.
  virtual xWidget* AppendChild1(xWidget* child, int resize, int shrink);
  virtual xWidget* AppendChild2(xWidget* child, int resize, int shrink);
};

// Children on a grid.
class xTable : public xContainer {
 public:
  // `homogeneous`: non-zero makes all cells the same size.
  xTable(unsigned int rows, unsigned int cols, int homogeneous, xWidget* parent, unsigned int id);

  using xContainer::AppendChild;

  // Puts the child into the cells from column `left` and row `top`, `width` columns and `height`
  // rows of them (gtk_table_attach wants right and bottom edges instead). The options are
  // GtkAttachOptions, the paddings pixels. Returns `child`.
  virtual xWidget* AppendChild(xWidget* child, unsigned int left, unsigned int top,
                               unsigned int width, unsigned int height, unsigned int xoptions,
                               unsigned int yoptions, unsigned int xpadding, unsigned int ypadding);

  // Sets the gap in pixels after one column or row, or after all of them for a negative number.
  void SetColSpacing(int col, unsigned int spacing);
  void SetRowSpacing(int row, unsigned int spacing);

  // Does nothing: the table keeps the size given at construction.
  void SetRowsCols(unsigned int rows, unsigned int cols);
};

// Pages behind tabs.
class xNoteBook : public xContainer {
 public:
  xNoteBook(xWidget* parent, unsigned int id);

  // Page number `page`, counted from 0, becomes the current one. GTK says so also while the first
  // pages are inserted and when the notebook is first shown. Does nothing.
  virtual void OnSwitchPage(unsigned int page);

  // Appends a page with a text on its tab. Forces the page, which must be a container, to a border
  // of 5 pixels. Returns the new page's number, or -1.
  int AppendPage(xWidget* page, const char* label);

  // The same with a widget of the caller's on the tab.
  int AppendPage(xWidget* page, xWidget* label);

  // Handler of "switch-page"; `data` is the xNoteBook and may be null. Calls OnSwitchPage.
  static void Callback_SwitchPage(GtkNotebook* notebook, GtkNotebookPage* reserved,
                                  unsigned int page, void* data);
};

// A titled border around one child. No parent, identifier kNoControlID.
class xFrame : public xBin {
 public:
  // A frame with a label of its own.
  explicit xFrame(const char* text);

  // A frame whose title is a widget of the caller's, or without title for null. Only the GTK widget
  // is kept.
  explicit xFrame(xWidget* labelWidget);

  // Makes the mnemonic of the frame's own label activate `target`. Does nothing when the label is
  // the caller's or `target` is null.
  virtual void SetMnemonic(xWidget* target);

 private:
  std::unique_ptr<xLabel> m_pLabel;
};

// Places its child within spare space. No parent, identifier kNoControlID.
class xAlignment : public xBin {
 public:
  // Position of the child, 0 (left, top) to 1 (right, bottom), and how much of the spare space it
  // takes, 0 (none) to 1 (all).
  xAlignment(float xalign, float yalign, float xscale, float yscale);
};

// A line.
class xSeparator : public xWidget {
 public:
  // Any value but kHorizontal makes an upright line.
  enum SeparatorType : int { kVertical = 0, kHorizontal = 1 };

  xSeparator(SeparatorType type, xWidget* parent, unsigned int id);
};
