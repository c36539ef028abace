// The root of the widget classes and the top-level window.
#include "xwidgets/widget.h"

#include "resource/rc_tables.h"

namespace {

// While Destroy runs, the widget carries its wrapper under this key.
constexpr char kDestroyedBy[] = "my-xwidget-destroyed-by";

}  // namespace

xWidget::~xWidget() { UnAttach(); }

xWidget* xWidget::CreateWith(GtkWidget* widget) {
  auto* wrapper = new xWidget(nullptr, kNoControlID);
  wrapper->Attach(widget);
  return wrapper;
}

void xWidget::Attach(GtkWidget* widget) {
  if (widget == m_pWidget) return;
  UnAttach();
  m_pWidget = widget;
  if (widget != nullptr) gtk_object_ref(GTK_OBJECT(widget));
}

void xWidget::UnAttach() {
  if (m_pWidget != nullptr && G_IS_OBJECT(m_pWidget)) {
    // The widget may live on in its container, and must not call an object that is gone.
    g_signal_handlers_disconnect_matched(m_pWidget, G_SIGNAL_MATCH_DATA, 0, 0, nullptr, nullptr,
                                         this);
    g_object_set_data(G_OBJECT(m_pWidget), kDestroyedBy, nullptr);
    gtk_object_unref(GTK_OBJECT(m_pWidget));
  }
  m_pWidget = nullptr;
}

void xWidget::Destroy() {
  if (m_pWidget == nullptr) return;
  GtkWidget* widget = m_pWidget;
  gtk_object_ref(GTK_OBJECT(widget));
  g_object_set_data(G_OBJECT(widget), kDestroyedBy, this);
  gtk_widget_destroy(widget);
  // A handler of "destroy" may have deleted this object; UnAttach has removed the mark then.
  if (g_object_steal_data(G_OBJECT(widget), kDestroyedBy) != nullptr) m_pWidget = nullptr;
}

void xWidget::Show(int show) {
  if (m_pWidget == nullptr) return;
  if (show != 0) {
    gtk_widget_show(m_pWidget);
  } else {
    gtk_widget_hide(m_pWidget);
  }
}

void xWidget::GetSize(int* width, int* height) {
  GtkRequisition requisition = {0, 0};
  gtk_widget_size_request(m_pWidget, &requisition);
  if (width != nullptr) *width = requisition.width;
  if (height != nullptr) *height = requisition.height;
}

void xWidget::SendEvent(GdkEventType type) {
  // GDK takes an event without a window, but has nowhere to deliver it.
  if (m_pWidget == nullptr || gtk_widget_get_window(m_pWidget) == nullptr) return;
  GdkEvent* event = gdk_event_new(type);
  event->any.window = GDK_WINDOW(g_object_ref(gtk_widget_get_window(m_pWidget)));
  event->any.send_event = -1;
  gdk_event_put(event);
  gdk_event_free(event);
}

void xWidget::CallBack_Destroy(GtkObject* /*object*/, void* data) {
  if (data != nullptr) static_cast<xWidget*>(data)->OnDestroy();
}

gboolean xWidget::CallBack_Event(GtkWidget* /*widget*/, GdkEvent* event, void* data) {
  if (event == nullptr || data == nullptr) return -1;
  auto* self = static_cast<xWidget*>(data);
  switch (event->type) {
    case GDK_DELETE:
      return self->OnDelete();
    case GDK_FOCUS_CHANGE:
      return self->OnFocusChange(event->focus_change.in);
    default:
      return -1;
  }
}

xWidget* xContainer::AppendChild(xWidget* child) {
  gtk_container_add(GTK_CONTAINER(m_pWidget), child->GetWidget());
  return child;
}

void xBin::ChildEnable(int enable) {
  GtkWidget* child = gtk_bin_get_child(GTK_BIN(m_pWidget));
  if (child != nullptr) gtk_widget_set_sensitive(child, enable);
}

xWindow::xWindow(xWindow* parent) : xBin(parent, kNoControlID) {
  Attach(gtk_window_new(GTK_WINDOW_TOPLEVEL));
  if (m_pWidget == nullptr) return;
  auto* self = static_cast<xWidget*>(this);
  g_signal_connect(m_pWidget, "delete-event", G_CALLBACK(xWidget::CallBack_Event), self);
  g_signal_connect(m_pWidget, "destroy", G_CALLBACK(xWidget::CallBack_Destroy), self);
}

void xWindow::SetIcon(unsigned short bitmapId) {
  GdkPixbuf* icon = bitmapId != 0 ? rc_load_Pixbuf(bitmapId) : nullptr;
  gtk_window_set_icon(GTK_WINDOW(m_pWidget), icon);
}
