// Texts from files and from the network, made fit for GTK.
#pragma once

#include <glib.h>

#include <string>

// `text` with every byte that is no UTF-8 replaced by U+FFFD. GTK steps through a text by the
// length that each character's first byte announces, so one that ends within a character would lead
// it past the end.
inline std::string MakeValidUtf8(const char* text) {
  gchar* valid = g_utf8_make_valid(text, -1);
  std::string result(valid);
  g_free(valid);
  return result;
}
