// A text entry that takes ASCII only and, under an input rule, only chosen characters of it.
#pragma once

#include <gtk/gtk.h>

#include "base/glib_ptr.h"
#include "ui/input_filter.h"
#include "xwidgets/entries.h"

// An xEntry whose text is filtered on its way in, whether it is typed, pasted, committed by an
// input method or set by the program. The display beeps for what is refused; nothing else tells the
// user. GTK main thread only.
class xEntryNoWide : public xEntry {
 public:
  // `widthChars` as for xEntry; `rule` is a set of InputRule flags. There is no allowed text yet.
  xEntryNoWide(xWidget* parent, unsigned int id, int widthChars, unsigned int rule);
  ~xEntryNoWide() override;

  // Replaces the rule and the allowed text, which is copied and may be null. The text that the
  // entry holds is not filtered again.
  void SetInputRule(unsigned int rule, const char* allowed);

  // Decides about `text`, `length` bytes that are about to be inserted at character `*position`. A
  // text that holds a wide (non-ASCII) character, or whose length is negative, is refused whole. Of
  // any other text, what the rule allows is inserted; if that is less than all of it, `*position`
  // has moved behind it on return. Runs inside the emission of "insert-text".
  virtual void OnInsertText(const char* text, int length, int* position);

  // GTK "insert-text" handler; `data` is the xEntryNoWide. Null data is only logged.
  static void CallBack_InsertText(GtkEditable* editable, const char* text, int length,
                                  int* position, void* data);

  // Handler for GtkIMContext's "commit"; `data` is the xEntryNoWide. Makes room for the committed
  // text as an entry does before it inserts one, and does not insert it. Connected to no signal.
  static void CallBack_Commit(GtkIMContext* context, const char* text, void* data);

 protected:
  unsigned int m_nInputRule;
  GlibPtr<char> m_szAllowed;  // null when not set

 private:
  void Refuse();
  void MakeRoom();
};
