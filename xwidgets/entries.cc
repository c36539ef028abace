// Text entries, spin buttons, ranges and progress bars.
#include "xwidgets/entries.h"

#include "base/glib_ptr.h"

xEntry::xEntry(xWidget* parent, unsigned int id, int widthChars) : xWidget(parent, id) {
  Attach(gtk_entry_new());
  if (m_pWidget != nullptr && widthChars != 0) {
    gtk_entry_set_width_chars(GTK_ENTRY(m_pWidget), widthChars);
  }
  g_signal_connect(m_pWidget, "focus-in-event", G_CALLBACK(CallBack_Event), this);
  g_signal_connect(m_pWidget, "focus-out-event", G_CALLBACK(CallBack_Event), this);
  g_signal_connect(m_pWidget, "changed", G_CALLBACK(CallBack_Changed), this);
}

xEntry::xEntry(xWidget* parent, unsigned int id, xEntry* /*unused*/) : xWidget(parent, id) {}

void xEntry::SetWindowText(const char* text) {
  // GTK empties its buffer before it reads the new text, which may be a part of that buffer.
  const GlibPtr<char> copy(g_strdup(text));
  gtk_entry_set_text(GTK_ENTRY(m_pWidget), copy.get());
}

void xEntry::OnChanged() {
  if (m_pParent != nullptr) m_pParent->OnNofityChanged(m_nID);
}

void xEntry::CallBack_Changed(GtkEditable* /*editable*/, void* data) {
  if (data != nullptr) static_cast<xEntry*>(data)->OnChanged();
}

xSpinButton::xSpinButton(xWidget* parent, unsigned int id, double min, double max, double step,
                         unsigned int digits, double /*value*/)
    : xEntry(parent, id, static_cast<xEntry*>(nullptr)) {
  Attach(gtk_spin_button_new_with_range(min, max, step));
  SetDigits(digits);
  gtk_spin_button_set_numeric(GTK_SPIN_BUTTON(m_pWidget), TRUE);
  gtk_entry_set_alignment(GTK_ENTRY(m_pWidget), 1.0F);
  g_signal_connect(m_pWidget, "value-changed", G_CALLBACK(CallBack_ValueChanged), this);
  g_signal_connect(m_pWidget, "changed", G_CALLBACK(CallBack_Changed), this);
}

void xSpinButton::SetRange(double min, double max) {
  gtk_spin_button_set_range(GTK_SPIN_BUTTON(m_pWidget), min, max);
}

void xSpinButton::SetDigits(unsigned int digits) {
  gtk_spin_button_set_digits(GTK_SPIN_BUTTON(m_pWidget), digits);
}

void xSpinButton::SetIncrements(double step, double page) {
  gtk_spin_button_set_increments(GTK_SPIN_BUTTON(m_pWidget), step, page);
}

void xSpinButton::SetValue(double value) {
  gtk_spin_button_set_value(GTK_SPIN_BUTTON(m_pWidget), value);
}

double xSpinButton::GetValue() { return gtk_spin_button_get_value(GTK_SPIN_BUTTON(m_pWidget)); }

int xSpinButton::GetIntValue() {
  return gtk_spin_button_get_value_as_int(GTK_SPIN_BUTTON(m_pWidget));
}

void xSpinButton::OnValueChanged() {
  if (m_pParent != nullptr) m_pParent->OnNofityValueChanged(m_nID);
}

void xSpinButton::CallBack_ValueChanged(GtkSpinButton* /*spin*/, void* data) {
  if (data != nullptr) static_cast<xSpinButton*>(data)->OnValueChanged();
}

xRange::xRange(xWidget* parent, unsigned int id) : xWidget(parent, id) {}

void xRange::OnValueChanged() {
  if (m_pParent != nullptr) m_pParent->OnNofityValueChanged(m_nID);
}

void xRange::CallBack_ValueChanged(GtkRange* /*range*/, void* data) {
  if (data != nullptr) static_cast<xRange*>(data)->OnValueChanged();
}

xSlider::xSlider(SliderType type, xWidget* parent, unsigned int id, double min, double max,
                 double step, unsigned int digits)
    : xRange(parent, id) {
  Attach(type == SLIDER_HORIZONTAL ? gtk_hscale_new_with_range(min, max, step)
                                   : gtk_vscale_new_with_range(min, max, step));
  xSlider::SetDigits(digits);
  gtk_scale_set_draw_value(GTK_SCALE(m_pWidget), FALSE);
  g_signal_connect(m_pWidget, "value-changed", G_CALLBACK(CallBack_ValueChanged), this);
}

xScrollbar::xScrollbar(ScrollbarType type, xWidget* parent, unsigned int id, double min, double max)
    : xRange(parent, id) {
  Attach(type == SCROLLBAR_VERTICAL ? gtk_vscrollbar_new(nullptr) : gtk_hscrollbar_new(nullptr));
  xScrollbar::SetRange(min, max);
  g_signal_connect(m_pWidget, "value-changed", G_CALLBACK(CallBack_ValueChanged), this);
}

xProgressBar::xProgressBar(xWidget* parent, unsigned int id, int /*unused*/) : xWidget(parent, id) {
  Attach(gtk_progress_bar_new());
}

xProgressBar::xProgressBar(xWidget* parent, unsigned int id, xEntry* /*unused*/)
    : xWidget(parent, id) {}
