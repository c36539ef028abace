// A pop-up help balloon, and a plain surface to draw on.
#pragma once

#include <gtk/gtk.h>

#include "xwidgets/widget.h"

// A borderless pop-up that explains a control: a wrapped text, optionally with an icon before it,
// in the look of the theme's tool tips. Show(1) puts it at the control's bottom right corner. It
// goes away after two seconds, on a double click and when the control's window loses the focus or
// is iconified; while the pointer is on it, it stays.
//
// The tip is not a child of the control. Its parent in the sense of xWidget is the control that it
// explains; that object must outlive the tip or at least the last Show(1). Deleting a tip that is
// shown hides it. GTK main thread only.
class xHelpTip : public xBin {
 public:
  // Makes the hidden tip of the control `parent`. The icon is the GTK stock item `stockId` or, if
  // that is null, the bitmap `bitmapId`, unless that is 0. Without `text` (null) there is no icon
  // either and the tip is empty.
  xHelpTip(xWidget* parent, const char* text, unsigned short bitmapId, const char* stockId);
  ~xHelpTip() override;

  // Non-zero shows the tip for its display time; on a tip that is shown already it starts the time
  // again and moves the tip to where the control is now. 0 hides it.
  void Show(int show) override;

  // Replaces the text; nothing for a tip that was made without one.
  virtual void SetWindowText(const char* text);

  // Called when the tip is to go away: the display time is over, it was double-clicked or the
  // control's window is no longer the active one. Removes a timer that is pending, which would
  // otherwise cut the next display time short, and hides the tip.
  virtual void OnTimeout();

  // GLib timer function; `data` is the tip. Returns FALSE: the timer runs once.
  static gboolean CallBack_Timeout(void* data);

  // "event-after" handler of the tip's window; `data` is the tip. The display time stops while the
  // pointer is on the tip and starts again when it leaves; a double click ends it.
  static void CallBack_Event_After(GtkWidget* widget, GdkEvent* event, void* data);

  // "event-after" handler of the control's toplevel while the tip is shown; `data` is the tip.
  // Always returns FALSE.
  static gboolean CallBack_ParentEventHandler(GtkWidget* toplevel, GdkEvent* event, void* data);

  // "expose-event" handler of the tip's window: paints the theme's tool-tip background. Returns
  // FALSE, so that the label and the icon are drawn over it.
  static gboolean CallBack_Expose_Event(GtkWidget* widget, GdkEventExpose* event, void* data);

 protected:
  guint m_nTimer;           // GLib source, 0 while no timer is pending
  guint m_nDisplayTime;     // in milliseconds
  gulong m_nParentHandler;  // on the control's toplevel, 0 while not connected
  GtkWidget* m_pLabel;      // null without a text; cleared when GTK releases the label

 private:
  GtkWidget* MakeContent(const char* text, unsigned short bitmapId, const char* stockId);
  void SetUpWindow();
  void StartTimer();
  void StopTimer();
  bool IsConnected() const;
  void Connect(GtkWidget* toplevel);
  void Disconnect();
  void MoveToCornerOf(GtkWidget* control);
  void OnTipEvent(const GdkEvent* event);
  void OnToplevelEvent(GtkWidget* toplevel, const GdkEvent* event);
};

// A surface without content of its own (GtkDrawingArea): each expose event goes to the parent as
// OnNofityDrawing. GTK main thread only.
class xDrawingArea : public xWidget {
 public:
  xDrawingArea(xWidget* parent, unsigned int id);

  // Called when a part of the surface is to be drawn. Returns what the parent's OnNofityDrawing
  // returns, 0 without a parent; non-zero keeps GTK from handling the event further.
  virtual int OnDrawing(GdkEventExpose* event);

  // Asks for a redraw of a rectangle of the surface, in pixels from its top left corner, or of all
  // of it if `rect` is null; non-zero `invalidateChildren` includes child windows. Nothing happens
  // while the surface is not realised (gdk_window_invalidate_rect).
  void InvalidateRect(GdkRectangle* rect, int invalidateChildren);

  // GTK "expose-event" handler; `data` is the xDrawingArea. Returns OnDrawing's result, 0 for null
  // data.
  static gboolean CallBack_Expose_Event(GtkWidget* widget, GdkEventExpose* event, void* data);
};
