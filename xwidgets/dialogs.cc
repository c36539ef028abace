// Modal dialogs, the message box, the colour and font pickers.
#include "xwidgets/dialogs.h"

#include <cstdarg>

#include "base/kept_memory.h"

namespace {

constexpr char kResponseKey[] = "my-xdialog-response-data";
constexpr int kResultCancel = 2;

void StoreResponse(GtkWidget* button, gint response) {
  gint* data = g_new(gint, 1);
  *data = response;
  g_object_set_data_full(G_OBJECT(button), kResponseKey, data, g_free);
}

gint StoredResponse(GtkWidget* button) {
  const auto* data = static_cast<const gint*>(g_object_get_data(G_OBJECT(button), kResponseKey));
  return data != nullptr ? *data : -1;
}

// Disconnects every handler of `object` from the widgets within this one.
void DisconnectWithin(GtkWidget* widget, gpointer object) {
  g_signal_handlers_disconnect_matched(widget, G_SIGNAL_MATCH_DATA, 0, 0, nullptr, nullptr, object);
  if (!GTK_IS_CONTAINER(widget)) return;
  gtk_container_foreach(GTK_CONTAINER(widget), DisconnectWithin, object);
}

GtkDialogFlags DialogFlags() {
  return static_cast<GtkDialogFlags>(GTK_DIALOG_MODAL | GTK_DIALOG_DESTROY_WITH_PARENT |
                                     GTK_DIALOG_NO_SEPARATOR);
}

void AddOkAndCancel(GtkWidget* dialog) {
  gtk_dialog_add_button(GTK_DIALOG(dialog), GTK_STOCK_OK, kMsgIdOk);
  gtk_dialog_add_button(GTK_DIALOG(dialog), GTK_STOCK_CANCEL, kMsgIdCancel);
}

struct MessageButton {
  const char* stockId;
  int id;
};

// The buttons of one set from left to right, up to the first without stock item.
struct MessageButtons {
  MessageButton row[3];

  const MessageButton* Last() const {
    const MessageButton* last = row;
    for (const MessageButton& button : row) {
      if (button.stockId != nullptr) last = &button;
    }
    return last;
  }

  bool Have(int id) const {
    for (const MessageButton& button : row) {
      if (button.stockId != nullptr && button.id == id) return true;
    }
    return false;
  }
};

MessageButtons ButtonsOf(int type) {
  const MessageButton ok = {GTK_STOCK_OK, kMsgIdOk};
  const MessageButton cancel = {GTK_STOCK_CANCEL, kMsgIdCancel};
  const MessageButton yes = {GTK_STOCK_YES, kMsgIdYes};
  const MessageButton no = {GTK_STOCK_NO, kMsgIdNo};
  switch (type & 0x0F) {
    case kMsgOkCancel:
      return {{ok, cancel, {}}};
    case kMsgYesNoCancel:
      return {{yes, no, cancel}};
    case kMsgYesNo:
      return {{yes, no, {}}};
    case kMsgNoCancel:
      return {{no, cancel, {}}};
    default:
      return {{ok, {}, {}}};
  }
}

GtkMessageType IconOf(int type) {
  switch (type & 0xF0) {
    case kMsgIconError:
      return GTK_MESSAGE_ERROR;
    case kMsgIconQuestion:
      return GTK_MESSAGE_QUESTION;
    case kMsgIconWarning:
      return GTK_MESSAGE_WARNING;
    case kMsgIconInformation:
      return GTK_MESSAGE_INFO;
    default:
      return GTK_MESSAGE_OTHER;
  }
}

void SetMessageTitle(GtkWidget* dialog, GtkWindow* parent, const char* title) {
  if (title == nullptr && parent != nullptr) title = gtk_window_get_title(parent);
  if (title != nullptr) gtk_window_set_title(GTK_WINDOW(dialog), title);
}

// Runs the dialog and destroys it. It may be gone by the end of the run, with its parent.
int RunAndDestroy(GtkWidget* dialog) {
  g_object_ref(dialog);
  const int response = gtk_dialog_run(GTK_DIALOG(dialog));
  gtk_widget_destroy(dialog);
  g_object_unref(dialog);
  return response;
}

// One 8-bit component as GDK's 16 bits: 0xFF becomes 0xFFFF.
guint16 Widen(unsigned int component) { return static_cast<guint16>((component & 0xFFU) * 257U); }

}  // namespace

xDialog::xDialog(xWindow* parent) : xWindow(parent) {
  // The window made by the base stays hidden: GTK keeps it in its list of top-level windows.
  Attach(gtk_dialog_new_with_buttons(nullptr, GTK_WINDOW(parent->GetWidget()), DialogFlags(),
                                     nullptr));
  m_pContent = std::make_unique<xBox>(gtk_dialog_get_content_area(GTK_DIALOG(m_pWidget)));
}

xDialog::~xDialog() {
  // A dialog that was never run lives on in GTK's list, and its buttons with it.
  if (m_pContent != nullptr) DisconnectWithin(m_pContent->GetWidget(), this);
}

int xDialog::DoModel() {
  gtk_window_set_position(GTK_WINDOW(m_pWidget), GTK_WIN_POS_CENTER_ON_PARENT);
  if (m_pContent != nullptr) m_pContent->ShowAll();
  gtk_window_set_skip_taskbar_hint(GTK_WINDOW(m_pWidget), TRUE);
  OnInitDialog();
  const int response = gtk_dialog_run(GTK_DIALOG(m_pWidget));
  m_pContent.reset();
  Destroy();
  const int result = response > 0 ? response : kResultCancel;
  OnEndDialog(result);
  return result;
}

GtkWidget* xDialog::AddButton(const gchar* button_text, gint response_id) {
  if (button_text == nullptr) {
    g_return_if_fail_warning(G_LOG_DOMAIN,
                             "virtual GtkWidget* xDialog::AddButton(const gchar*, gint)",
                             "button_text != NULL");
    return nullptr;
  }
  GtkWidget* button = gtk_button_new_from_stock(button_text);
  gtk_widget_set_can_default(button, TRUE);
  gtk_widget_show(button);
  StoreResponse(button, response_id);
  GtkWidget* area = gtk_dialog_get_action_area(GTK_DIALOG(m_pWidget));
  gtk_box_pack_end(GTK_BOX(area), button, FALSE, TRUE, 0);
  if (response_id == GTK_RESPONSE_HELP) {
    gtk_button_box_set_child_secondary(GTK_BUTTON_BOX(area), button, TRUE);
  }
  g_signal_connect(button, "clicked", G_CALLBACK(CallBack_ButtonClicked), this);
  return button;
}

void xDialog::CallBack_ButtonClicked(GtkWidget* button, void* data) {
  if (button != nullptr && data != nullptr) static_cast<xDialog*>(data)->Respond(button);
}

void xDialog::Respond(GtkWidget* button) {
  const gint response = StoredResponse(button);
  if (OnBeforeResponse(response) != 0) gtk_dialog_response(GTK_DIALOG(m_pWidget), response);
}

int xMessageBox(xWindow* parent, int type, const char* title, const char* fmt, ...) {
  const MessageButtons buttons = ButtonsOf(type);
  const int defaultId = buttons.Last()->id;
  va_list args;
  va_start(args, fmt);
  // Not freed, although the label of the dialog has a copy of its own.
  const char* text = g_strdup_vprintf(fmt, args);
  va_end(args);
  if (text == nullptr) return defaultId;
  keep_for_good(text);

  GtkWindow* owner = parent != nullptr ? GTK_WINDOW(parent->GetWidget()) : nullptr;
  GtkWidget* dialog = gtk_message_dialog_new(owner, GTK_DIALOG_DESTROY_WITH_PARENT, IconOf(type),
                                             GTK_BUTTONS_NONE, "%s", text);
  SetMessageTitle(dialog, owner, title);
  for (const MessageButton& button : buttons.row) {
    if (button.stockId == nullptr) break;
    gtk_dialog_add_button(GTK_DIALOG(dialog), button.stockId, button.id);
  }
  gtk_dialog_set_default_response(GTK_DIALOG(dialog), defaultId);
  const int response = RunAndDestroy(dialog);
  return buttons.Have(response) ? response : defaultId;
}

void xDestroyFileChooser(GtkWidget* chooser, unsigned int seconds) {
  gtk_widget_hide(chooser);
  gtk_file_chooser_set_current_folder(GTK_FILE_CHOOSER(chooser), "/");
  const auto destroy = [](gpointer widget) -> gboolean {
    gtk_widget_destroy(GTK_WIDGET(widget));
    return FALSE;
  };
  g_timeout_add_seconds_full(G_PRIORITY_LOW, seconds, destroy, g_object_ref(chooser),
                             g_object_unref);
}

xColorSelectDialog::xColorSelectDialog(xWindow* parent, unsigned int colorRef)
    : xDialog(parent), m_Color{0, Widen(colorRef), Widen(colorRef >> 8U), Widen(colorRef >> 16U)} {
  Build();
}

xColorSelectDialog::xColorSelectDialog(xWindow* parent, GdkColor* color)
    : xDialog(parent), m_Color{0, 0, 0, 0} {
  if (color != nullptr) m_Color = {0, color->red, color->green, color->blue};
  Build();
}

void xColorSelectDialog::Build() {
  AddOkAndCancel(m_pWidget);
  xDialog::SetDefaultResponse(kResultCancel);
  m_pSelection.reset(xWidget::CreateWith(gtk_color_selection_new()));
  auto* selection = GTK_COLOR_SELECTION(m_pSelection->GetWidget());
  gtk_color_selection_set_has_opacity_control(selection, FALSE);
  gtk_color_selection_set_current_color(selection, &m_Color);
  GetContent()->AppendChild(m_pSelection.get(), FALSE, FALSE, 0);
}

void xColorSelectDialog::OnEndDialog(int result) {
  if (result != kMsgIdOk) return;
  // The dialog is destroyed, but the reference of m_pSelection keeps its colour.
  gtk_color_selection_get_current_color(GTK_COLOR_SELECTION(m_pSelection->GetWidget()), &m_Color);
}

unsigned int xColorSelectDialog::ColorRef() const {
  const unsigned int red = m_Color.red >> 8U;
  const unsigned int green = m_Color.green >> 8U;
  const unsigned int blue = m_Color.blue >> 8U;
  return blue << 16U | green << 8U | red;
}

xFontSelectDialog::xFontSelectDialog(xWindow* parent, const char* fontName)
    : xDialog(parent), m_szFontName(g_strdup(fontName)) {
  AddOkAndCancel(m_pWidget);
  xDialog::SetDefaultResponse(kResultCancel);
  m_pSelection.reset(xWidget::CreateWith(gtk_font_selection_new()));
  GetContent()->AppendChild(m_pSelection.get(), FALSE, FALSE, 0);
}

xFontSelectDialog::~xFontSelectDialog() { g_free(m_szFontName); }

void xFontSelectDialog::OnInitDialog() {
  if (m_szFontName == nullptr) return;
  gtk_font_selection_set_font_name(GTK_FONT_SELECTION(m_pSelection->GetWidget()), m_szFontName);
}

void xFontSelectDialog::OnEndDialog(int result) {
  if (result != kMsgIdOk) return;
  g_free(m_szFontName);
  m_szFontName = gtk_font_selection_get_font_name(GTK_FONT_SELECTION(m_pSelection->GetWidget()));
}
