// The root of the widget classes, and the classes on the path to top-level windows.
//
// Lifetime: a wrapper object holds one reference on its GTK widget from Attach to its destruction,
// whatever containers the widget is in and also after GTK has destroyed it. GTK never deletes a
// wrapper object, and deleting a wrapper object does not destroy a widget that something else
// holds: every object is deleted by the code that created it.
//
// Notifications: a control connects a GTK signal to a static CallBack_ function of its class, with
// the object as user data. That function calls a virtual handler of the object, and the handler
// calls the OnNofity... virtual of the parent object with the control's identifier. A parent that
// does not override it hands the notification to its own parent, with the identifier unchanged.
//
// Everything here belongs to the GTK main thread. On an object without a widget, Show, SendEvent,
// UnAttach and Destroy do nothing, and so does whatever says so; other operations reach GTK with a
// null pointer, which prints a critical warning and does nothing.
#pragma once

#include <gtk/gtk.h>

// The identifier of objects that are not controls: windows, containers, wrappers made by
// xWidget::CreateWith.
constexpr unsigned int kNoControlID = 0xFFFFFFFF;

// One GTK widget and the object that hears of its events.
class xWidget {
 public:
  // Makes an object without a widget. `parent` receives its notifications, may be null and is not
  // owned; it must live as long as this object. `id` is the control identifier.
  xWidget(xWidget* parent, unsigned int id) : m_pParent(parent), m_nID(id) {}
  xWidget(const xWidget&) = delete;
  xWidget& operator=(const xWidget&) = delete;

  // Calls UnAttach.
  virtual ~xWidget();

  // The widget that a label's mnemonic activates. Not owned by the caller.
  virtual GtkWidget* GetMnemonicWidget() const { return m_pWidget; }

  // Shows the widget and everything in it (gtk_widget_show_all).
  virtual void ShowAll() { gtk_widget_show_all(m_pWidget); }

  // Shows the widget, or hides it when `show` is 0. Does nothing without a widget.
  virtual void Show(int show);

  // Makes the widget sensitive, or insensitive when `enable` is 0.
  virtual void Enable(int enable) { gtk_widget_set_sensitive(m_pWidget, enable); }

  // Sets the smallest size in pixels (gtk_widget_set_size_request). -1 keeps GTK's natural size on
  // that axis.
  virtual void SetSize(int width, int height) {
    gtk_widget_set_size_request(m_pWidget, width, height);
  }

  // Writes the size in pixels that the widget asks for (gtk_widget_size_request), which is not the
  // size that it was given. Either pointer may be null.
  virtual void GetSize(int* width, int* height);

  // Does nothing, in every class. Tool tips are made with xHelpTip.
  virtual void SetTooltipText(const char* /*text*/) {}

  // Notifications from the control `id`: a button was clicked; the selection of a list changed; a
  // text changed; a value changed. They go on to the parent, if any.
  virtual void OnNofityBtnClicked(unsigned int id) {
    if (m_pParent != nullptr) m_pParent->OnNofityBtnClicked(id);
  }
  virtual void OnNofitySelectChanged(unsigned int id) {
    if (m_pParent != nullptr) m_pParent->OnNofitySelectChanged(id);
  }
  virtual void OnNofityChanged(unsigned int id) {
    if (m_pParent != nullptr) m_pParent->OnNofityChanged(id);
  }
  virtual void OnNofityValueChanged(unsigned int id) {
    if (m_pParent != nullptr) m_pParent->OnNofityValueChanged(id);
  }

  // The drawing area `id` must be drawn; `event` belongs to GTK. Returns what GTK is told: non-zero
  // when the event is handled. The parent decides; 0 without a parent.
  virtual int OnNofityDrawing(unsigned int id, GdkEventExpose* event) {
    return m_pParent != nullptr ? m_pParent->OnNofityDrawing(id, event) : 0;
  }

  // The control `id` got (`in` 1) or lost (`in` 0) the keyboard focus. Returns what GTK is told.
  // The parent decides; 0 without a parent.
  virtual int OnNofityFocusChange(unsigned int id, short in) {
    return m_pParent != nullptr ? m_pParent->OnNofityFocusChange(id, in) : 0;
  }

  // The window manager, or SendEvent(GDK_DELETE), asks the window to close. 0 lets GTK destroy it;
  // anything else keeps it.
  virtual int OnDelete() { return 0; }

  // GTK destroys the widget. The handler may delete this object.
  virtual void OnDestroy() {}

  // This control got (`in` 1) or lost (`in` 0) the keyboard focus. Tells the parent, and returns
  // its answer, or 0 without a parent.
  virtual int OnFocusChange(short in) {
    return m_pParent != nullptr ? m_pParent->OnNofityFocusChange(m_nID, in) : 0;
  }

  // The attached widget, or null. Not owned by the caller.
  GtkWidget* GetWidget() const { return m_pWidget; }

  // Wraps a widget made elsewhere in an object without parent and with identifier kNoControlID. The
  // caller owns the object.
  static xWidget* CreateWith(GtkWidget* widget);

  // Drops the present widget, if any, and takes a reference on `widget`, which may be null. A
  // floating reference stays floating: the container that the widget is put into sinks it. Does
  // nothing when `widget` is the present one.
  void Attach(GtkWidget* widget);

  // Drops the reference on the widget, after disconnecting every signal handler on it whose user
  // data is this object. Does nothing without a widget.
  void UnAttach();

  // Destroys the GTK widget without deleting this object, which has no widget afterwards. The
  // memory of the GTK object is kept for good: a reference is taken for it and none is dropped, so
  // that code which still holds the pointer does not read freed memory. Handlers of "destroy" may
  // delete this object or others, and call Destroy again; a widget that they attach is let go. Does
  // nothing without a widget.
  void Destroy();

  // Queues a bare event of this type for the widget's window, marked as sent by a program.
  // GDK_DELETE asks a window to close itself, exactly as the window manager would. Does nothing
  // without a widget and while the widget is not realised.
  void SendEvent(GdkEventType type);

  // Handler of "destroy"; `data` is the xWidget. Calls OnDestroy.
  static void CallBack_Destroy(GtkObject* object, void* data);

  // Handler of "delete-event", "focus-in-event" and "focus-out-event"; `data` is the xWidget.
  // Returns the answer of OnDelete or OnFocusChange, and TRUE (-1) for any other event, a null
  // event or null data.
  static gboolean CallBack_Event(GtkWidget* widget, GdkEvent* event, void* data);

 protected:
  GtkWidget* m_pWidget = nullptr;
  xWidget* m_pParent;
  unsigned int m_nID;
};

// A widget that holds others.
class xContainer : public xWidget {
 public:
  xContainer(xWidget* parent, unsigned int id) : xWidget(parent, id) {}

  // Puts the child's widget into this one (gtk_container_add), which then owns that widget; the
  // object `child` stays with its creator. Returns `child`.
  virtual xWidget* AppendChild(xWidget* child);

  // Sets the free space inside the container's edge, in pixels.
  virtual void SetBorderWidth(unsigned int width) {
    gtk_container_set_border_width(GTK_CONTAINER(m_pWidget), width);
  }
};

// A container of a single child.
class xBin : public xContainer {
 public:
  xBin(xWidget* parent, unsigned int id) : xContainer(parent, id) {}

  // Makes the child sensitive, or insensitive when `enable` is 0. Does nothing without a child.
  virtual void ChildEnable(int enable);
};

// A top-level window.
class xWindow : public xBin {
 public:
  // Makes a hidden top-level window. `parent` only receives notifications; the window is not made
  // transient for it. May be null.
  explicit xWindow(xWindow* parent);

  // Sets the title.
  virtual void SetWindowText(const char* text) {
    gtk_window_set_title(GTK_WINDOW(m_pWidget), text);
  }

  // Says where the window appears when it is shown (gtk_window_set_position).
  virtual void SetPosition(GtkWindowPosition position) {
    gtk_window_set_position(GTK_WINDOW(m_pWidget), position);
  }

  // Lets the user resize the window, or not when `resizable` is 0.
  virtual void SetResizable(int resizable) {
    gtk_window_set_resizable(GTK_WINDOW(m_pWidget), resizable);
  }

  // Sets the window's icon to a compiled-in bitmap. 0 removes the icon.
  virtual void SetIcon(unsigned short bitmapId);

  // Called once after construction, for derived windows to build their content.
  virtual void OnCreate() {}
};
