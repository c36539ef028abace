// Text entries, spin buttons, sliders, scroll bars and progress bars.
//
// An entry reports each change of its text to its parent as OnNofityChanged and the coming and
// going of the keyboard focus as OnNofityFocusChange; spin buttons and ranges report
// OnNofityValueChanged. All of it runs on the GTK main thread.
#pragma once

#include <gtk/gtk.h>

#include "xwidgets/widget.h"

// A one-line text entry (GtkEntry).
class xEntry : public xWidget {
 public:
  // Makes a GtkEntry that asks for room for `widthChars` characters; 0 keeps GTK's own width. The
  // parent receives the notifications; it is not owned and may be null.
  xEntry(xWidget* parent, unsigned int id, int widthChars);

  // Makes no GTK widget and connects nothing: for derived classes that attach a widget of their
  // own. The pointer only tells the constructors apart and is never looked at.
  xEntry(xWidget* parent, unsigned int id, xEntry* unused);

  // Replaces the text (gtk_entry_set_text). A text that differs from the present one is reported
  // through OnChanged like a typed change; an equal one changes and reports nothing. The text is
  // copied and may lie inside the one that GetWindowText returned.
  virtual void SetWindowText(const char* text);

  // The text in UTF-8 (gtk_entry_get_text). It belongs to GTK and is valid until the next change;
  // never free it.
  virtual const char* GetWindowText() { return gtk_entry_get_text(GTK_ENTRY(m_pWidget)); }

  // Non-zero forbids the user to edit the text; the program may still set it.
  virtual void SetReadOnly(int readOnly) {
    gtk_editable_set_editable(GTK_EDITABLE(m_pWidget), readOnly == 0);
  }

  // Non-zero shows the invisible character in place of each character of the text.
  virtual void SetPassword(int password) {
    gtk_entry_set_visibility(GTK_ENTRY(m_pWidget), password == 0);
  }

  // The invisible character, one byte of Latin-1: "\xB7" is a middle dot
  // (gtk_entry_set_invisible_char, which takes a Unicode character). No other character can be set.
  virtual void SetPasswordChar(char ch) {
    gtk_entry_set_invisible_char(GTK_ENTRY(m_pWidget), static_cast<unsigned char>(ch));
  }

  // The greatest number of characters that the entry takes; 0 means no limit. A longer text that is
  // already there is cut (gtk_entry_set_max_length).
  virtual void SetLimitText(int maxChars) {
    gtk_entry_set_max_length(GTK_ENTRY(m_pWidget), maxChars);
  }

  // The limit set by SetLimitText, 0 for none.
  virtual int GetLimitText() { return gtk_entry_get_max_length(GTK_ENTRY(m_pWidget)); }

  // Called for every change of the text, made by the user or by the program. Sends
  // OnNofityChanged to the parent, if there is one.
  virtual void OnChanged();

  // GTK "changed" handler; `data` is the xEntry. Null data is ignored.
  static void CallBack_Changed(GtkEditable* editable, void* data);
};

// A numeric entry with up and down arrows (GtkSpinButton). It reports every change of its text as
// OnNofityChanged and every change of its value as OnNofityValueChanged. A typed text becomes the
// value when it is committed: by Enter or when the focus leaves the control. Focus changes are not
// reported.
class xSpinButton : public xEntry {
 public:
  // Makes a spin button over [min, max] that moves by `step`, shows `digits` decimal places, takes
  // digits only and keeps its text at the right. It starts at `min`: `value` is accepted and not
  // used, so callers follow with SetValue.
  xSpinButton(xWidget* parent, unsigned int id, double min, double max, double step,
              unsigned int digits, double value);

  // Sets the limits; a value outside of them moves to the nearest (gtk_spin_button_set_range).
  void SetRange(double min, double max);

  // Sets the number of decimal places shown (gtk_spin_button_set_digits).
  void SetDigits(unsigned int digits);

  // Sets how far an arrow click and a page key move the value (gtk_spin_button_set_increments).
  void SetIncrements(double step, double page);

  // Sets the value, within the limits (gtk_spin_button_set_value).
  void SetValue(double value);

  // The value (gtk_spin_button_get_value).
  double GetValue();

  // The value rounded to the nearest integer (gtk_spin_button_get_value_as_int).
  int GetIntValue();

  // Called for every change of the value. Sends OnNofityValueChanged to the parent, if there is
  // one.
  virtual void OnValueChanged();

  // GTK "value-changed" handler; `data` is the xSpinButton. Null data is ignored.
  static void CallBack_ValueChanged(GtkSpinButton* spin, void* data);
};

// What sliders and scroll bars share: a value within a range (GtkRange).
class xRange : public xWidget {
 public:
  // Makes no GTK widget; the derived class attaches it and connects "value-changed".
  xRange(xWidget* parent, unsigned int id);

  // Sets the limits; a value outside of them moves to the nearest (gtk_range_set_range).
  virtual void SetRange(double min, double max) {
    gtk_range_set_range(GTK_RANGE(m_pWidget), min, max);
  }

  // Sets how far an arrow key and a page key move the value (gtk_range_set_increments).
  virtual void SetIncrements(double step, double page) {
    gtk_range_set_increments(GTK_RANGE(m_pWidget), step, page);
  }

  // Sets the value, within the limits (gtk_range_set_value).
  virtual void SetValue(double value) { gtk_range_set_value(GTK_RANGE(m_pWidget), value); }

  // The value (gtk_range_get_value).
  virtual double GetValue() { return gtk_range_get_value(GTK_RANGE(m_pWidget)); }

  // What GetValue returns, cut toward zero: 2 for 2.7 and -2 for -2.7. A spin button rounds.
  virtual int GetIntValue() { return static_cast<int>(GetValue()); }

  // Called for every change of the value. Sends OnNofityValueChanged to the parent, if there is
  // one.
  virtual void OnValueChanged();

  // GTK "value-changed" handler; `data` is the xRange. Null data is ignored.
  static void CallBack_ValueChanged(GtkRange* range, void* data);
};

// The direction of a slider. Every value other than SLIDER_HORIZONTAL gives a vertical one.
enum SliderType : int { SLIDER_VERTICAL = 0, SLIDER_HORIZONTAL = 1 };

// A slider without a value label (GtkScale).
class xSlider : public xRange {
 public:
  // Makes a slider over [min, max] that moves by `step` and rounds its value to `digits` decimal
  // places.
  xSlider(SliderType type, xWidget* parent, unsigned int id, double min, double max, double step,
          unsigned int digits);

  // Sets the number of decimal places that the value is rounded to (gtk_scale_set_digits).
  virtual void SetDigits(unsigned int digits) {
    gtk_scale_set_digits(GTK_SCALE(m_pWidget), static_cast<int>(digits));
  }
};

// The direction of a scroll bar. Every value other than SCROLLBAR_VERTICAL gives a horizontal one.
enum ScrollbarType : int { SCROLLBAR_VERTICAL = 0, SCROLLBAR_HORIZONTAL = 1 };

// A scroll bar that stands alone (GtkScrollbar).
class xScrollbar : public xRange {
 public:
  // Makes a scroll bar over [min, max].
  xScrollbar(ScrollbarType type, xWidget* parent, unsigned int id, double min, double max);
};

// A progress bar (GtkProgressBar). It starts empty and reports nothing.
class xProgressBar : public xWidget {
 public:
  // Makes a GtkProgressBar; the integer is not used.
  xProgressBar(xWidget* parent, unsigned int id, int unused);

  // Makes no GTK widget: for derived classes that attach a widget of their own. The pointer is
  // never looked at.
  xProgressBar(xWidget* parent, unsigned int id, xEntry* unused);
};
