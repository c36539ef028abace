// The pop-up help balloon and the drawing area.
#include "xwidgets/help_tip.h"

#include <map>

#include "resource/rc_tables.h"

namespace {

constexpr guint kDisplayTime = 2000;
constexpr guint kBorderWidth = 4;
constexpr int kIconSpacing = 2;

// Has GTK set the variable to null when it releases the object, or stops it from doing so.
void Watch(GtkWidget** variable) {
  g_object_add_weak_pointer(G_OBJECT(*variable), reinterpret_cast<gpointer*>(variable));
}
void Unwatch(GtkWidget** variable) {
  if (*variable == nullptr) return;
  g_object_remove_weak_pointer(G_OBJECT(*variable), reinterpret_cast<gpointer*>(variable));
  *variable = nullptr;
}

// The toplevel that a tip listens to while it is shown; null once GTK has destroyed it. Kept here,
// because the fields of a tip are fixed. Never released: tips may be deleted while the program
// ends.
using ToplevelOfTip = std::map<const xHelpTip*, GtkWidget*>;
ToplevelOfTip& Toplevels() {
  static auto* const toplevels = new ToplevelOfTip;
  return *toplevels;
}

GtkWidget* MakeIcon(unsigned short bitmapId, const char* stockId) {
  return stockId != nullptr ? gtk_image_new_from_stock(stockId, GTK_ICON_SIZE_BUTTON)
                            : gtk_image_new_from_pixbuf(rc_load_Pixbuf(bitmapId));
}

}  // namespace

xHelpTip::xHelpTip(xWidget* parent, const char* text, unsigned short bitmapId, const char* stockId)
    : xBin(parent, kNoControlID),
      m_nTimer(0),
      m_nDisplayTime(kDisplayTime),
      m_nParentHandler(0),
      m_pLabel(nullptr) {
  GtkWidget* window = gtk_window_new(GTK_WINDOW_POPUP);
  if (window == nullptr) return;
  Attach(window);
  if (text != nullptr) {
    gtk_container_add(GTK_CONTAINER(window), MakeContent(text, bitmapId, stockId));
  }
  SetUpWindow();
}

xHelpTip::~xHelpTip() {
  xHelpTip::Show(0);
  Unwatch(&m_pLabel);
}

GtkWidget* xHelpTip::MakeContent(const char* text, unsigned short bitmapId, const char* stockId) {
  m_pLabel = gtk_label_new(text);
  Watch(&m_pLabel);
  gtk_label_set_line_wrap(GTK_LABEL(m_pLabel), TRUE);
  if (stockId == nullptr && bitmapId == 0) return m_pLabel;
  GtkWidget* box = gtk_hbox_new(FALSE, kIconSpacing);
  gtk_box_pack_start(GTK_BOX(box), MakeIcon(bitmapId, stockId), FALSE, FALSE, 0);
  gtk_box_pack_start(GTK_BOX(box), m_pLabel, FALSE, FALSE, 0);
  return box;
}

void xHelpTip::SetUpWindow() {
  GtkWindow* window = GTK_WINDOW(m_pWidget);
  gtk_widget_set_name(m_pWidget, "gtk-tooltips");  // the name that themes know tool tips by
  gtk_window_set_position(window, GTK_WIN_POS_CENTER);
  gtk_window_set_type_hint(window, GDK_WINDOW_TYPE_HINT_TOOLTIP);
  gtk_widget_set_app_paintable(m_pWidget, TRUE);
  gtk_container_set_border_width(GTK_CONTAINER(m_pWidget), kBorderWidth);
  gtk_window_set_policy(window, FALSE, FALSE, TRUE);
  gtk_widget_ensure_style(m_pWidget);
  gtk_widget_add_events(m_pWidget, GDK_ALL_EVENTS_MASK);
  g_signal_connect(m_pWidget, "expose-event", G_CALLBACK(CallBack_Expose_Event), this);
  g_signal_connect_after(m_pWidget, "event-after", G_CALLBACK(CallBack_Event_After), this);
}

void xHelpTip::Show(int show) {
  StopTimer();
  if (show == 0) {
    if (m_nParentHandler == 0) return;
    Disconnect();
    xBin::Show(0);
    return;
  }
  GtkWidget* control = m_pParent != nullptr ? m_pParent->GetWidget() : nullptr;
  if (control == nullptr || m_pWidget == nullptr) return;
  if (!IsConnected()) {
    Connect(gtk_widget_get_toplevel(control));
    gtk_widget_show_all(m_pWidget);
  }
  StartTimer();
  MoveToCornerOf(control);
  gtk_widget_show(m_pWidget);
}

void xHelpTip::StartTimer() {
  StopTimer();
  m_nTimer = g_timeout_add(m_nDisplayTime, CallBack_Timeout, this);
}

void xHelpTip::StopTimer() {
  if (m_nTimer == 0) return;
  g_source_remove(m_nTimer);
  m_nTimer = 0;
}

bool xHelpTip::IsConnected() const {
  if (m_nParentHandler == 0) return false;
  const auto found = Toplevels().find(this);
  return found != Toplevels().end() && found->second != nullptr;
}

void xHelpTip::Connect(GtkWidget* toplevel) {
  // Another one than before, if that was destroyed while the tip was shown.
  GtkWidget*& slot = Toplevels()[this];
  slot = toplevel;
  Watch(&slot);
  gtk_widget_add_events(toplevel, GDK_BUTTON1_MOTION_MASK);
  m_nParentHandler =
      g_signal_connect(toplevel, "event-after", G_CALLBACK(CallBack_ParentEventHandler), this);
}

void xHelpTip::Disconnect() {
  const auto found = Toplevels().find(this);
  if (found != Toplevels().end()) {
    if (found->second != nullptr) g_signal_handler_disconnect(found->second, m_nParentHandler);
    Unwatch(&found->second);
    Toplevels().erase(found);
  }
  m_nParentHandler = 0;
}

// Keeps the tip within the screen horizontally only: a control at the bottom edge has its tip below
// the edge.
void xHelpTip::MoveToCornerOf(GtkWidget* control) {
  int width = 0;
  GetSize(&width, nullptr);
  int x = 0;
  int y = 0;
  GdkWindow* window = gtk_widget_get_window(control);
  if (window != nullptr) gdk_window_get_origin(window, &x, &y);
  GtkAllocation allocation;
  gtk_widget_get_allocation(control, &allocation);
  if (!gtk_widget_get_has_window(control)) {
    x += allocation.x;
    y += allocation.y;
  }
  x += allocation.width;
  y += allocation.height;
  const int screenWidth = gdk_screen_get_width(gtk_widget_get_screen(m_pWidget));
  if (x + width > screenWidth) {
    x = screenWidth - width;
  } else if (x < 0) {
    x = 0;
  }
  gtk_window_move(GTK_WINDOW(m_pWidget), x, y);
}

void xHelpTip::SetWindowText(const char* text) {
  if (m_pLabel != nullptr) gtk_label_set_text(GTK_LABEL(m_pLabel), text);
}

void xHelpTip::OnTimeout() {
  StopTimer();
  Show(0);
}

void xHelpTip::OnTipEvent(const GdkEvent* event) {
  switch (event->type) {
    case GDK_ENTER_NOTIFY:
      StopTimer();
      break;
    case GDK_LEAVE_NOTIFY:
      StartTimer();
      break;
    case GDK_2BUTTON_PRESS:
      OnTimeout();
      break;
    default:
      break;
  }
}

void xHelpTip::OnToplevelEvent(GtkWidget* toplevel, const GdkEvent* event) {
  const bool focusLost = event->type == GDK_FOCUS_CHANGE && event->focus_change.in == 0;
  const bool inactive =
      event->type == GDK_WINDOW_STATE && !gtk_window_is_active(GTK_WINDOW(toplevel));
  if (focusLost || inactive) OnTimeout();
}

gboolean xHelpTip::CallBack_Timeout(void* data) {
  static_cast<xHelpTip*>(data)->OnTimeout();
  return FALSE;
}

void xHelpTip::CallBack_Event_After(GtkWidget* /*widget*/, GdkEvent* event, void* data) {
  static_cast<xHelpTip*>(data)->OnTipEvent(event);
}

gboolean xHelpTip::CallBack_ParentEventHandler(GtkWidget* toplevel, GdkEvent* event, void* data) {
  static_cast<xHelpTip*>(data)->OnToplevelEvent(toplevel, event);
  return FALSE;
}

gboolean xHelpTip::CallBack_Expose_Event(GtkWidget* widget, GdkEventExpose* /*event*/,
                                         void* /*data*/) {
  gtk_paint_flat_box(gtk_widget_get_style(widget), gtk_widget_get_window(widget), GTK_STATE_NORMAL,
                     GTK_SHADOW_OUT, nullptr, widget, "tooltip", 0, 0, -1, -1);
  return FALSE;
}

xDrawingArea::xDrawingArea(xWidget* parent, unsigned int id) : xWidget(parent, id) {
  Attach(gtk_drawing_area_new());
  g_signal_connect(m_pWidget, "expose_event", G_CALLBACK(CallBack_Expose_Event), this);
}

int xDrawingArea::OnDrawing(GdkEventExpose* event) {
  return m_pParent != nullptr ? m_pParent->OnNofityDrawing(m_nID, event) : 0;
}

void xDrawingArea::InvalidateRect(GdkRectangle* rect, int invalidateChildren) {
  GdkWindow* window = gtk_widget_get_window(m_pWidget);
  if (window != nullptr) gdk_window_invalidate_rect(window, rect, invalidateChildren);
}

gboolean xDrawingArea::CallBack_Expose_Event(GtkWidget* /*widget*/, GdkEventExpose* event,
                                             void* data) {
  return data != nullptr ? static_cast<xDrawingArea*>(data)->OnDrawing(event) : 0;
}
