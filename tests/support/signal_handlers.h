// Looks at which handlers are connected to a GObject.
#pragma once

#include <glib-object.h>

// The identifier of the first handler of `signal` whose user data is `data`, 0 for none. GLib
// numbers handlers upward in the order in which they are connected.
inline gulong FindHandler(gpointer object, const char* signal, gpointer data) {
  return g_signal_handler_find(
      object, static_cast<GSignalMatchType>(G_SIGNAL_MATCH_ID | G_SIGNAL_MATCH_DATA),
      g_signal_lookup(signal, G_OBJECT_TYPE(object)), 0, nullptr, nullptr, data);
}

// How many handlers of the object, of any signal, have this user data.
inline unsigned int CountHandlers(gpointer object, gpointer data) {
  const unsigned int count =
      g_signal_handlers_block_matched(object, G_SIGNAL_MATCH_DATA, 0, 0, nullptr, nullptr, data);
  g_signal_handlers_unblock_matched(object, G_SIGNAL_MATCH_DATA, 0, 0, nullptr, nullptr, data);
  return count;
}
