// Push buttons, toggle buttons, check boxes and radio buttons.
#include "xwidgets/buttons.h"

#include "resource/rc_tables.h"

namespace {

constexpr int kIconSpacing = 2;

// The icon of a push button. The stock item wins over the bitmap; null for neither.
GtkWidget* NewIcon(unsigned short bitmapId, const char* stockId) {
  if (stockId != nullptr) return gtk_image_new_from_stock(stockId, GTK_ICON_SIZE_BUTTON);
  if (bitmapId != 0) return gtk_image_new_from_pixbuf(rc_load_Pixbuf(bitmapId));
  return nullptr;
}

// A row of the picture and the text, the picture first.
GtkWidget* NewIconRow(GtkWidget* image, const char* markup) {
  GtkWidget* label = gtk_label_new(nullptr);
  gtk_label_set_markup_with_mnemonic(GTK_LABEL(label), markup);
  GtkWidget* row = gtk_hbox_new(FALSE, kIconSpacing);
  gtk_box_pack_start(GTK_BOX(row), image, FALSE, FALSE, 0);
  gtk_box_pack_start(GTK_BOX(row), label, FALSE, FALSE, 0);
  return row;
}

GtkWidget* NewRadioButton(GtkRadioButton* group, const char* text) {
  if (text == nullptr) return gtk_radio_button_new_from_widget(group);
  return gtk_radio_button_new_with_mnemonic_from_widget(group, text);
}

}  // namespace

xButtonBase::xButtonBase(xWidget* parent, unsigned int id) : xBin(parent, id) {}

void xButtonBase::SetWindowText(const char* text) {
  gtk_button_set_label(GTK_BUTTON(m_pWidget), text);
  gtk_button_set_use_underline(GTK_BUTTON(m_pWidget), TRUE);
}

void xButtonBase::SetImage(unsigned short bitmapId) {
  if (bitmapId != 0 && m_pImage != nullptr) m_pImage->SetImage(bitmapId);
}

void xButtonBase::OnClicked() {
  if (m_pParent != nullptr) m_pParent->OnNofityBtnClicked(m_nID);
}

void xButtonBase::CallBack_Clicked(GtkButton* /*button*/, void* data) {
  static_cast<xButtonBase*>(data)->OnClicked();
}

void xButtonBase::ConnectClicked() {
  g_signal_connect(m_pWidget, "clicked", G_CALLBACK(CallBack_Clicked), this);
}

xButton::xButton(xWidget* parent, unsigned int id, const char* text, unsigned short bitmapId,
                 const char* stockId)
    : xButtonBase(parent, id) {
  GtkWidget* icon = NewIcon(bitmapId, stockId);
  if (text != nullptr && icon == nullptr) {
    Attach(gtk_button_new_with_mnemonic(text));
  } else {
    Attach(gtk_button_new());
  }
  if (icon != nullptr) {
    GtkWidget* content = text != nullptr ? NewIconRow(icon, text) : icon;
    gtk_container_add(GTK_CONTAINER(m_pWidget), content);
  }
  ConnectClicked();
}

xStockButton::xStockButton(xWidget* parent, unsigned int id, const char* stockId)
    : xButtonBase(parent, id) {
  Attach(gtk_button_new_from_stock(stockId));
  ConnectClicked();
}

xToggleButton::xToggleButton(xWidget* parent, unsigned int id, const char* text,
                             unsigned short bitmapId)
    : xButtonBase(parent, id) {
  if (text != nullptr && bitmapId == 0) {
    Attach(gtk_toggle_button_new_with_mnemonic(text));
  } else {
    Attach(gtk_toggle_button_new());
  }
  if (bitmapId != 0) {
    m_pImage = std::make_unique<xImage>(bitmapId, nullptr, kNoControlID);
    if (text != nullptr) {
      gtk_container_add(GTK_CONTAINER(m_pWidget), NewIconRow(m_pImage->GetWidget(), text));
    } else {
      xToggleButton::AppendChild(m_pImage.get());
    }
  }
  ConnectClicked();
}

void xToggleButton::OnClicked() {
  if (m_pParent != nullptr && m_iSetting == 0) m_pParent->OnNofityBtnClicked(m_nID);
}

void xToggleButton::SetCheck(int check) {
  m_iSetting = -1;
  gtk_toggle_button_set_active(GTK_TOGGLE_BUTTON(m_pWidget), check);
  m_iSetting = 0;
}

int xToggleButton::GetCheck() { return gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(m_pWidget)); }

xCheckBox::xCheckBox(xWidget* parent, unsigned int id, const char* text) : xButtonBase(parent, id) {
  Attach(text != nullptr ? gtk_check_button_new_with_mnemonic(text) : gtk_check_button_new());
  ConnectClicked();
}

xCheckBox::xCheckBox(unsigned int id, xWidget* parent) : xButtonBase(parent, id) {}

void xCheckBox::SetCheck(int check) {
  gtk_toggle_button_set_active(GTK_TOGGLE_BUTTON(m_pWidget), check);
}

int xCheckBox::GetCheck() const {
  return gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(m_pWidget));
}

xRadioBox::xRadioBox(xWidget* parent, unsigned int id, const char* text, xRadioBox* group)
    : xCheckBox(id, parent) {
  GtkWidget* member = group != nullptr ? group->GetWidget() : nullptr;
  Attach(NewRadioButton(GTK_RADIO_BUTTON(member), text));
  ConnectClicked();
}
