// The root of the widget classes and the top-level window.
#include "xwidgets/widget.h"

#include "resource/rc_tables.h"

namespace {

// One running call of Destroy. GTK calls handlers of "destroy" meanwhile, which may delete the
// object, or destroy this and other objects: calls nest, also for one object.
class DestroyCall {
 public:
  explicit DestroyCall(const xWidget* object) : m_pObject(object), m_pOuter(s_pInnermost) {
    s_pInnermost = this;
  }
  ~DestroyCall() { s_pInnermost = m_pOuter; }
  DestroyCall(const DestroyCall&) = delete;
  DestroyCall& operator=(const DestroyCall&) = delete;

  // Whether the object that the call is for is still there.
  bool HasObject() const { return m_pObject != nullptr; }

  // Tells the calls for this object that it goes away.
  static void Forget(const xWidget* object) {
    for (DestroyCall* call = s_pInnermost; call != nullptr; call = call->m_pOuter) {
      if (call->m_pObject == object) call->m_pObject = nullptr;
    }
  }

 private:
  inline static DestroyCall* s_pInnermost = nullptr;

  const xWidget* m_pObject;
  DestroyCall* m_pOuter;
};

}  // namespace

xWidget::~xWidget() {
  UnAttach();
  DestroyCall::Forget(this);
}

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
    gtk_object_unref(GTK_OBJECT(m_pWidget));
  }
  m_pWidget = nullptr;
}

void xWidget::Destroy() {
  if (m_pWidget == nullptr) return;
  GtkWidget* widget = m_pWidget;
  gtk_object_ref(GTK_OBJECT(widget));
  const DestroyCall call(this);
  gtk_widget_destroy(widget);
  if (!call.HasObject()) return;
  // A handler may have attached another widget, which would keep handlers of this object.
  if (m_pWidget != widget) UnAttach();
  m_pWidget = nullptr;
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
