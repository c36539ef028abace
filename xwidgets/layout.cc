// Layout containers and passive widgets.
#include "xwidgets/layout.h"

#include <cstring>

#include "resource/rc_tables.h"

namespace {

constexpr unsigned int kPageBorder = 5;

bool HasMnemonic(const char* text) { return text != nullptr && strchr(text, '_') != nullptr; }

int AppendBorderedPage(GtkWidget* notebook, GtkWidget* page, GtkWidget* label) {
  gtk_container_set_border_width(GTK_CONTAINER(page), kPageBorder);
  return gtk_notebook_append_page(GTK_NOTEBOOK(notebook), page, label);
}

}  // namespace

xLabel::xLabel(const char* text, float xalign, float yalign, xWidget* parent, unsigned int id)
    : xWidget(parent, id) {
  Attach(HasMnemonic(text) ? gtk_label_new_with_mnemonic(text) : gtk_label_new(text));
  xLabel::SetAlignment(xalign, yalign);
}

void xLabel::SetWindowText(const char* text) {
  if (HasMnemonic(text)) {
    gtk_label_set_text_with_mnemonic(GTK_LABEL(m_pWidget), text);
  } else {
    gtk_label_set_text(GTK_LABEL(m_pWidget), text);
  }
}

void xLabel::SetMnemonic(xWidget* target) {
  if (target == nullptr) return;
  gtk_label_set_mnemonic_widget(GTK_LABEL(m_pWidget), target->GetMnemonicWidget());
}

xImage::xImage(unsigned short bitmapId, xWidget* parent, unsigned int id) : xWidget(parent, id) {
  Attach(gtk_image_new_from_pixbuf(rc_load_Pixbuf(bitmapId)));
}

xImage::xImage(GdkPixbuf* pixbuf, xWidget* parent, unsigned int id) : xWidget(parent, id) {
  Attach(gtk_image_new_from_pixbuf(pixbuf));
}

void xImage::SetImage(unsigned short bitmapId) {
  GdkPixbuf* pixbuf = bitmapId != 0 ? rc_load_Pixbuf(bitmapId) : nullptr;
  gtk_image_set_from_pixbuf(GTK_IMAGE(m_pWidget), pixbuf);
}

xBox::xBox(BoxType type, int homogeneous, int spacing) : xContainer(nullptr, kNoControlID) {
  Attach(type == kHorizontal ? gtk_hbox_new(homogeneous, spacing)
                             : gtk_vbox_new(homogeneous, spacing));
}

xBox::xBox(GtkWidget* box) : xContainer(nullptr, kNoControlID) { Attach(box); }

xWidget* xBox::AppendChild(xWidget* child, int expand, int fill, unsigned int padding) {
  gtk_box_pack_start(GTK_BOX(m_pWidget), child->GetWidget(), expand, fill, padding);
  return child;
}

xWidget* xBox::AppendChildEnd(xWidget* child, int expand, int fill, unsigned int padding) {
  gtk_box_pack_end(GTK_BOX(m_pWidget), child->GetWidget(), expand, fill, padding);
  return child;
}

xButtonBox::xButtonBox(BoxType type, GtkButtonBoxStyle layout, int spacing)
    : xContainer(nullptr, kNoControlID) {
  Attach(type == kHorizontal ? gtk_hbutton_box_new() : gtk_vbutton_box_new());
  gtk_button_box_set_layout(GTK_BUTTON_BOX(m_pWidget), layout);
  gtk_box_set_spacing(GTK_BOX(m_pWidget), spacing);
}

xPaned::xPaned(PanedType type) : xContainer(nullptr, kNoControlID) {
  Attach(type == kHorizontal ? gtk_hpaned_new() : gtk_vpaned_new());
}

xWidget* xPaned::AppendChild1(xWidget* child, int resize, int shrink) {
  gtk_paned_pack1(GTK_PANED(m_pWidget), child->GetWidget(), resize, shrink);
  return child;
}

xWidget* xPaned::AppendChild2(xWidget* child, int resize, int shrink) {
  gtk_paned_pack2(GTK_PANED(m_pWidget), child->GetWidget(), resize, shrink);
  return child;
}

xTable::xTable(unsigned int rows, unsigned int cols, int homogeneous, xWidget* parent,
               unsigned int id)
    : xContainer(parent, id) {
  Attach(gtk_table_new(rows, cols, homogeneous));
}

xWidget* xTable::AppendChild(xWidget* child, unsigned int left, unsigned int top,
                             unsigned int width, unsigned int height, unsigned int xoptions,
                             unsigned int yoptions, unsigned int xpadding, unsigned int ypadding) {
  gtk_table_attach(GTK_TABLE(m_pWidget), child->GetWidget(), left, left + width, top, top + height,
                   static_cast<GtkAttachOptions>(xoptions), static_cast<GtkAttachOptions>(yoptions),
                   xpadding, ypadding);
  return child;
}

void xTable::SetColSpacing(int col, unsigned int spacing) {
  if (col < 0) {
    gtk_table_set_col_spacings(GTK_TABLE(m_pWidget), spacing);
  } else {
    gtk_table_set_col_spacing(GTK_TABLE(m_pWidget), static_cast<unsigned int>(col), spacing);
  }
}

void xTable::SetRowSpacing(int row, unsigned int spacing) {
  if (row < 0) {
    gtk_table_set_row_spacings(GTK_TABLE(m_pWidget), spacing);
  } else {
    gtk_table_set_row_spacing(GTK_TABLE(m_pWidget), static_cast<unsigned int>(row), spacing);
  }
}

void xTable::SetRowsCols(unsigned int /*rows*/, unsigned int /*cols*/) {}

xNoteBook::xNoteBook(xWidget* parent, unsigned int id) : xContainer(parent, id) {
  Attach(gtk_notebook_new());
  g_signal_connect(m_pWidget, "switch-page", G_CALLBACK(Callback_SwitchPage), this);
}

void xNoteBook::OnSwitchPage(unsigned int /*page*/) {}

int xNoteBook::AppendPage(xWidget* page, const char* label) {
  return AppendBorderedPage(m_pWidget, page->GetWidget(), gtk_label_new(label));
}

int xNoteBook::AppendPage(xWidget* page, xWidget* label) {
  return AppendBorderedPage(m_pWidget, page->GetWidget(), label->GetWidget());
}

void xNoteBook::Callback_SwitchPage(GtkNotebook* /*notebook*/, GtkNotebookPage* /*reserved*/,
                                    unsigned int page, void* data) {
  if (data != nullptr) static_cast<xNoteBook*>(data)->OnSwitchPage(page);
}

xFrame::xFrame(const char* text)
    : xBin(nullptr, kNoControlID),
      m_pLabel(std::make_unique<xLabel>(text, 0.5F, 0.5F, nullptr, kNoControlID)) {
  Attach(gtk_frame_new(nullptr));
  gtk_frame_set_label_widget(GTK_FRAME(m_pWidget), m_pLabel->GetWidget());
}

xFrame::xFrame(xWidget* labelWidget) : xBin(nullptr, kNoControlID) {
  Attach(gtk_frame_new(nullptr));
  if (labelWidget == nullptr) return;
  gtk_frame_set_label_widget(GTK_FRAME(m_pWidget), labelWidget->GetWidget());
}

void xFrame::SetMnemonic(xWidget* target) {
  if (m_pLabel != nullptr && target != nullptr) m_pLabel->SetMnemonic(target);
}

xAlignment::xAlignment(float xalign, float yalign, float xscale, float yscale)
    : xBin(nullptr, kNoControlID) {
  Attach(gtk_alignment_new(xalign, yalign, xscale, yscale));
}

xSeparator::xSeparator(SeparatorType type, xWidget* parent, unsigned int id) : xWidget(parent, id) {
  Attach(type == kHorizontal ? gtk_hseparator_new() : gtk_vseparator_new());
}
