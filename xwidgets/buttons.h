// Push buttons, toggle buttons, check boxes and radio buttons.
//
// Every one of them tells its parent with OnNofityBtnClicked and its identifier that it was
// clicked.
#pragma once

#include <gtk/gtk.h>

#include <memory>

#include "xwidgets/layout.h"
#include "xwidgets/widget.h"

// What all buttons have in common. Makes no GTK widget.
class xButtonBase : public xBin {
 public:
  xButtonBase(xWidget* parent, unsigned int id);

  // Replaces the button's content by this text, in which an underscore marks the mnemonic. A
  // picture in the button goes away with the old content.
  virtual void SetWindowText(const char* text);

  // Shows another compiled-in bitmap in a toggle button that was made with one. 0 changes nothing,
  // and on any other button the call has no effect.
  virtual void SetImage(unsigned short bitmapId);

  // The button was clicked. Tells the parent, if any.
  virtual void OnClicked();

  // Handler of "clicked"; `data` is the xButtonBase and never null. Calls OnClicked.
  static void CallBack_Clicked(GtkButton* button, void* data);

 protected:
  // Connects "clicked" of the attached widget; the last step of every constructor.
  void ConnectClicked();

  std::unique_ptr<xImage> m_pImage;
};

// A push button with a text, a picture or both.
class xButton : public xButtonBase {
 public:
  // `text` may be null, `bitmapId` 0 and `stockId` null for none; the stock icon wins over the
  // bitmap. An underscore in the text marks the mnemonic. Beside a picture the text is Pango
  // markup, so "&" and "<" must be escaped there.
  xButton(xWidget* parent, unsigned int id, const char* text, unsigned short bitmapId,
          const char* stockId);
};

// A push button whose text, icon and mnemonic come from a GTK stock item, such as "gtk-ok".
class xStockButton : public xButtonBase {
 public:
  xStockButton(xWidget* parent, unsigned int id, const char* stockId);
};

// A button that stays down until it is clicked again. Only clicks of the user reach the parent.
class xToggleButton : public xButtonBase {
 public:
  // `text` may be null and `bitmapId` 0 for none. Beside a picture the text is Pango markup.
  xToggleButton(xWidget* parent, unsigned int id, const char* text, unsigned short bitmapId);

  // Sends the notification unless SetCheck is at work.
  void OnClicked() override;

  // Presses the button, or releases it when `check` is 0, without a notification.
  void SetCheck(int check);

  // 1 while the button is down, else 0.
  int GetCheck();

 private:
  int m_iSetting = 0;  // -1 while SetCheck changes the state
};

// A check box. Unlike a toggle button it also tells the parent of changes made with SetCheck.
class xCheckBox : public xButtonBase {
 public:
  // `text` may be null for none.
  xCheckBox(xWidget* parent, unsigned int id, const char* text);

  // For derived classes that make their own widget: makes none and connects nothing.
  xCheckBox(unsigned int id, xWidget* parent);

  // Checks the box, or clears it when `check` is 0. A change is notified like a click; setting the
  // present state again is not.
  void SetCheck(int check);

  // 1 while the box is checked, else 0.
  int GetCheck() const;
};

// A radio button: checking it clears the others of its group. One change of the group is notified
// twice, first by the button that was cleared, then by the one that was checked. Clearing the
// checked one with SetCheck leaves it checked, and notifies.
class xRadioBox : public xCheckBox {
 public:
  // `text` may be null for none. The button joins the group of `group`; null starts a new one, with
  // this button checked.
  xRadioBox(xWidget* parent, unsigned int id, const char* text, xRadioBox* group);
};
