// The entry that takes ASCII only and, under an input rule, only chosen characters of it.
#include "ui/entry_no_wide.h"

#include <cstring>
#include <string>

#include "app/log/debug_log.h"
#include "base/printable.h"

namespace {

// What is to be inserted, for the log. GTK hands on the caller's text, which need not end where the
// insertion does.
std::string Inserted(const char* text, int length) {
  if (text == nullptr) return "(null)";
  return length < 0 ? std::string(text) : std::string(text, strnlen(text, length));
}

}  // namespace

xEntryNoWide::xEntryNoWide(xWidget* parent, unsigned int id, int widthChars, unsigned int rule)
    : xEntry(parent, id, widthChars), m_nInputRule(rule) {
  g_signal_connect(m_pWidget, "insert-text", G_CALLBACK(CallBack_InsertText), this);
}

xEntryNoWide::~xEntryNoWide() = default;

void xEntryNoWide::SetInputRule(unsigned int rule, const char* allowed) {
  myDbgFunc(DBG_PREFIX "xEntryNoWide::SetInputRule : %s\n", DBG_AT(252), Printable(allowed));
  m_nInputRule = rule;
  m_szAllowed.reset(g_strdup(allowed));
}

void xEntryNoWide::CallBack_Commit(GtkIMContext* /*context*/, const char* text, void* data) {
  myDbgFunc(DBG_PREFIX "xEntryNoWide::CallBack_Commit \n", DBG_AT(260));
  myDbgFunc(DBG_PREFIX "xEntryNoWide::CallBack_Commit(str = '%s',)\n", DBG_AT(262),
            Printable(text));
  if (data != nullptr) static_cast<xEntryNoWide*>(data)->MakeRoom();
}

void xEntryNoWide::CallBack_InsertText(GtkEditable* /*editable*/, const char* text, int length,
                                       int* position, void* data) {
  myDbgFunc(DBG_PREFIX "xEntryNoWide::CallBack_InsertText \n", DBG_AT(289));
  if (data != nullptr) static_cast<xEntryNoWide*>(data)->OnInsertText(text, length, position);
}

void xEntryNoWide::OnInsertText(const char* text, int length, int* position) {
  myDbgFunc(DBG_PREFIX "xEntryNoWide::OnInsertText(new_text = '%s', len = %d, pos = %d)\n",
            DBG_AT(300), Inserted(text, length).c_str(), length, *position);
  if (HoldsWideCharacter(text, length)) {
    Refuse();
    return;
  }
  if ((m_nInputRule & INPUT_FILTER) == 0) return;

  const std::string valid = FilterInput(m_nInputRule, m_szAllowed.get(), text, length);
  myDbgFunc(DBG_PREFIX "validstr = '%s'\n", DBG_AT(335), valid.c_str());
  if (valid.compare(0, std::string::npos, text, length) == 0) return;
  // Before the copy goes in: stopping by name stops the innermost emission.
  Refuse();
  gtk_editable_insert_text(GTK_EDITABLE(m_pWidget), valid.c_str(), static_cast<int>(valid.size()),
                           position);
}

void xEntryNoWide::Refuse() {
  gdk_display_beep(gtk_widget_get_display(m_pWidget));
  g_signal_stop_emission_by_name(m_pWidget, "insert-text");
}

// What GtkEntry does before it inserts a committed text.
void xEntryNoWide::MakeRoom() {
  GtkEditable* editable = GTK_EDITABLE(m_pWidget);
  if (!gtk_editable_get_editable(editable)) return;
  if (gtk_editable_get_selection_bounds(editable, nullptr, nullptr)) {
    gtk_editable_delete_selection(editable);
  } else if (gtk_entry_get_overwrite_mode(GTK_ENTRY(m_pWidget))) {
    g_signal_emit_by_name(m_pWidget, "delete-from-cursor", GTK_DELETE_CHARS, 1);
  }
  gtk_editable_set_position(editable, gtk_editable_get_position(editable));
}
