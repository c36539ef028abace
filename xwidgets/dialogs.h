// Modal dialogs: the base class, the message box, the colour and font pickers.
#pragma once

#include <gtk/gtk.h>

#include <memory>

#include "xwidgets/layout.h"
#include "xwidgets/widget.h"

// A modal dialog. The derived constructor adds controls to GetContent and buttons with AddButton;
// DoModel runs the dialog once and leaves the object without widget and content.
class xDialog : public xWindow {
 public:
  // Makes a hidden dialog, modal over `parent` and destroyed with it. `parent` must not be null.
  explicit xDialog(xWindow* parent);
  ~xDialog() override;

  // Shows the dialog over its parent and runs it until it gets a response. Returns a response
  // greater than 0 as it is and 2 (cancel) for any other, such as closing the window. OnInitDialog
  // is called before the run and OnEndDialog with the result after it, when the GTK dialog is
  // destroyed and the content deleted.
  virtual int DoModel();

  // Adds a button made from a GTK stock item, which ends the dialog with `response_id` if
  // OnBeforeResponse accepts. The button of response -11 (help) stands apart from the others.
  // Returns the button, which the dialog owns, or null with a critical warning when the stock item
  // is null.
  virtual GtkWidget* AddButton(const gchar* button_text, gint response_id);

  // Names the response of the Return key (gtk_dialog_set_default_response). GTK knows only buttons
  // added with gtk_dialog_add_button by their response, so those of AddButton are not found by it.
  virtual void SetDefaultResponse(int responseId) {
    gtk_dialog_set_default_response(GTK_DIALOG(m_pWidget), responseId);
  }

  // A button of AddButton was clicked. 0 keeps the dialog open. Closing the window and the Escape
  // key do not ask.
  virtual int OnBeforeResponse(int /*responseId*/) { return -1; }

  // The dialog is about to run.
  virtual void OnInitDialog() {}

  // The dialog has ended with this result. Neither GetWidget nor GetContent is left.
  virtual void OnEndDialog(int /*result*/) {}

  // The box for the dialog's controls, from top to bottom. Owned by the dialog; null after DoModel.
  xBox* GetContent() const { return m_pContent.get(); }

  // Handler of a button's "clicked"; `data` is the xDialog. Does nothing when either is null.
  static void CallBack_ButtonClicked(GtkWidget* button, void* data);

 private:
  void Respond(GtkWidget* button);

  std::unique_ptr<xBox> m_pContent;
};

// Values for the type of xMessageBox: one icon plus one set of buttons.
constexpr int kMsgIconError = 0x10;
constexpr int kMsgIconQuestion = 0x20;
constexpr int kMsgIconWarning = 0x30;
constexpr int kMsgIconInformation = 0x40;
constexpr int kMsgOk = 0;
constexpr int kMsgOkCancel = 1;
constexpr int kMsgYesNoCancel = 3;
constexpr int kMsgYesNo = 4;
constexpr int kMsgNoCancel = 6;

// Results of xMessageBox.
constexpr int kMsgIdOk = 1;
constexpr int kMsgIdCancel = 2;
constexpr int kMsgIdYes = 6;
constexpr int kMsgIdNo = 7;

// Shows a message and waits for the answer. Unknown icons give none, unknown button sets OK alone.
// The last button is the default one and also the result when the box is closed otherwise. A null
// `title` means the parent's title; a null `parent` means none. The text is made as printf does
// from `fmt`, which must not come from outside; when it cannot be made nothing is shown and the
// default result returned.
int xMessageBox(xWindow* parent, int type, const char* title, const char* fmt, ...)
    __attribute__((format(printf, 4, 5)));

// How long an answer about a file may take, in seconds: a server that is away takes its time.
constexpr unsigned int kFileAnswers = 600;

// Takes a file chooser, GTK's own, from the screen, and destroys it so many seconds later. GTK asks
// about files in the background, and an answer that comes when the chooser is gone makes it use
// widgets that are gone as well. Until then the chooser stays hidden, in a folder that is always
// there, so that nothing about the one that it was in can be said any more.
void xDestroyFileChooser(GtkWidget* chooser, unsigned int seconds = kFileAnswers);

// A dialog to choose a colour. DoModel returns 1 for OK and 2 for Cancel.
class xColorSelectDialog : public xDialog {
 public:
  // Starts with a colour packed as 0x00BBGGRR.
  xColorSelectDialog(xWindow* parent, unsigned int colorRef);

  // Starts with a copy of `color`, or with black for null.
  xColorSelectDialog(xWindow* parent, GdkColor* color);

  // Takes over the chosen colour when `result` is 1.
  void OnEndDialog(int result) override;

  // The colour packed as 0x00BBGGRR: the first one until OK was pressed, then the chosen one.
  unsigned int ColorRef() const;

 private:
  void Build();

  GdkColor m_Color;
  std::unique_ptr<xWidget> m_pSelection;
};

// A dialog to choose a font. DoModel returns 1 for OK and 2 for Cancel.
class xFontSelectDialog : public xDialog {
 public:
  // Starts with this font, for instance "Sans 12", or with GTK's choice for null.
  xFontSelectDialog(xWindow* parent, const char* fontName);
  ~xFontSelectDialog() override;

  // Selects the first font.
  void OnInitDialog() override;

  // Takes over the chosen font when `result` is 1.
  void OnEndDialog(int result) override;

  // The name of the font: the first one (or null) until OK was pressed, then the chosen one. Owned
  // by the dialog.
  const char* FontName() const { return m_szFontName; }

 private:
  char* m_szFontName;
  std::unique_ptr<xWidget> m_pSelection;
};
