// What a GTK 2 program costs that does nothing: a window of the size of the program's with an empty
// notebook in it. With ROWS, it has the kinds of controls that the program has: on the first page
// two rows of a text, an entry and a button, on the second a check box, an entry, a list of so many
// rows and a button that opens a dialog, and three stock buttons below.
#include <gtk/gtk.h>

#include <string>

#include "bench/arguments.h"

namespace {

constexpr int kWidth = 638;
constexpr int kHeight = 446;
constexpr int kMostRows = 100000;
constexpr int kColumns = 3;
constexpr guint kDialogMs = 1000;

gboolean CloseDialog(gpointer dialog) {
  gtk_dialog_response(GTK_DIALOG(dialog), GTK_RESPONSE_OK);
  return FALSE;
}

// A dialog with a text, an empty bar and a button, which goes away by itself.
void OpenDialog(GtkWidget* button, gpointer) {
  GtkWidget* parent = gtk_widget_get_toplevel(button);
  GtkWidget* dialog = gtk_dialog_new_with_buttons("", GTK_WINDOW(parent), GTK_DIALOG_MODAL,
                                                  GTK_STOCK_CANCEL, GTK_RESPONSE_CANCEL, nullptr);
  GtkWidget* content = gtk_dialog_get_content_area(GTK_DIALOG(dialog));
  gtk_box_pack_start(GTK_BOX(content), gtk_label_new("Searching online devices..."), FALSE, FALSE,
                     0);
  gtk_box_pack_start(GTK_BOX(content), gtk_progress_bar_new(), FALSE, FALSE, 0);
  gtk_widget_show_all(dialog);
  g_timeout_add(kDialogMs, CloseDialog, dialog);
  gtk_dialog_run(GTK_DIALOG(dialog));
  gtk_widget_destroy(dialog);
}

GtkWidget* MakeList(int rows) {
  GtkListStore* store = gtk_list_store_new(kColumns, G_TYPE_STRING, G_TYPE_STRING, G_TYPE_STRING);
  for (int i = 0; i < rows; ++i) {
    const std::string name = "Scanner-" + std::to_string(i);
    const std::string address = "10.77.0." + std::to_string(i % 256);
    gtk_list_store_insert_with_values(store, nullptr, -1, 0, "Veltrana T55", 1, name.c_str(), 2,
                                      address.c_str(), -1);
  }
  GtkWidget* list = gtk_tree_view_new_with_model(GTK_TREE_MODEL(store));
  for (int column = 0; column < kColumns; ++column) {
    gtk_tree_view_insert_column_with_attributes(
        GTK_TREE_VIEW(list), -1, "Column", gtk_cell_renderer_text_new(), "text", column, nullptr);
  }
  GtkWidget* scrolled = gtk_scrolled_window_new(nullptr, nullptr);
  gtk_scrolled_window_set_policy(GTK_SCROLLED_WINDOW(scrolled), GTK_POLICY_AUTOMATIC,
                                 GTK_POLICY_AUTOMATIC);
  gtk_container_add(GTK_CONTAINER(scrolled), list);
  return scrolled;
}

GtkWidget* MakePathRow(const char* title) {
  GtkWidget* row = gtk_hbox_new(FALSE, 6);
  GtkWidget* entry = gtk_entry_new();
  gtk_entry_set_text(GTK_ENTRY(entry), "/home/user/Veltrana/DVX/Scan");
  gtk_box_pack_start(GTK_BOX(row), gtk_label_new(title), FALSE, FALSE, 0);
  gtk_box_pack_start(GTK_BOX(row), entry, TRUE, TRUE, 0);
  gtk_box_pack_start(GTK_BOX(row), gtk_button_new_with_label("Browse..."), FALSE, FALSE, 0);
  GtkWidget* frame = gtk_frame_new(title);
  gtk_container_add(GTK_CONTAINER(frame), row);
  return frame;
}

void AddButtons(GtkBox* box) {
  GtkWidget* buttons = gtk_hbutton_box_new();
  gtk_button_box_set_layout(GTK_BUTTON_BOX(buttons), GTK_BUTTONBOX_END);
  for (const char* stock : {GTK_STOCK_APPLY, GTK_STOCK_OK, GTK_STOCK_CANCEL}) {
    gtk_container_add(GTK_CONTAINER(buttons), gtk_button_new_from_stock(stock));
  }
  gtk_box_pack_start(box, buttons, FALSE, FALSE, 0);
}

void AddPages(GtkNotebook* notebook, int rows) {
  GtkWidget* first = gtk_vbox_new(FALSE, 6);
  gtk_box_pack_start(GTK_BOX(first), MakePathRow("Save folder"), FALSE, FALSE, 0);
  gtk_box_pack_start(GTK_BOX(first), MakePathRow("OCR program"), FALSE, FALSE, 0);
  gtk_notebook_append_page(notebook, first, gtk_label_new("First"));
  GtkWidget* page = gtk_vbox_new(FALSE, 6);
  GtkWidget* button = gtk_button_new_with_label("Search");
  g_signal_connect(button, "clicked", G_CALLBACK(OpenDialog), nullptr);
  GtkWidget* entry = gtk_entry_new();
  gtk_entry_set_text(GTK_ENTRY(entry), "lab-desk");
  gtk_box_pack_start(GTK_BOX(page), gtk_check_button_new_with_label("Check"), FALSE, FALSE, 0);
  gtk_box_pack_start(GTK_BOX(page), entry, FALSE, FALSE, 0);
  gtk_box_pack_start(GTK_BOX(page), MakeList(rows), TRUE, TRUE, 0);
  gtk_box_pack_start(GTK_BOX(page), button, FALSE, FALSE, 0);
  gtk_notebook_append_page(notebook, page, gtk_label_new("Second"));
}

}  // namespace

int main(int argc, char** argv) {
  if (gtk_init_check(&argc, &argv) == FALSE) {
    fputs("bench_bare_window: no display\n", stderr);
    return 1;
  }
  if (argc > 2) {
    fputs("Usage: bench_bare_window [ROWS]\n", stderr);
    return 2;
  }
  GtkWidget* window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
  GtkWidget* box = gtk_vbox_new(FALSE, 10);
  GtkWidget* notebook = gtk_notebook_new();
  gtk_box_pack_start(GTK_BOX(box), notebook, TRUE, TRUE, 0);
  if (argc == 2) {
    AddPages(GTK_NOTEBOOK(notebook), NumberArgument("bench_bare_window", argv[1], kMostRows));
    AddButtons(GTK_BOX(box));
  }
  gtk_container_add(GTK_CONTAINER(window), box);
  gtk_window_set_default_size(GTK_WINDOW(window), kWidth, kHeight);
  gtk_window_set_position(GTK_WINDOW(window), GTK_WIN_POS_CENTER);
  g_signal_connect(window, "destroy", G_CALLBACK(gtk_main_quit), nullptr);
  gtk_widget_show_all(window);
  gtk_main();
  return 0;
}
