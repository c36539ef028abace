// What an assistive program is told about a widget.
#pragma once

#include <gtk/gtk.h>

#include <string>
#include <vector>

namespace accessible {

inline AtkObject* Of(GtkWidget* widget) { return gtk_widget_get_accessible(widget); }

inline std::string Text(const gchar* text) { return text != nullptr ? text : "(null)"; }

inline std::string Name(GtkWidget* widget) { return Text(atk_object_get_name(Of(widget))); }

inline std::string Description(GtkWidget* widget) {
  return Text(atk_object_get_description(Of(widget)));
}

// What a relation leads to.
inline std::vector<AtkObject*> Related(GtkWidget* widget, AtkRelationType type) {
  AtkRelationSet* all = atk_object_ref_relation_set(Of(widget));
  std::vector<AtkObject*> found;
  if (atk_relation_set_contains(all, type) != 0) {
    GPtrArray* targets = atk_relation_get_target(atk_relation_set_get_relation_by_type(all, type));
    for (guint i = 0; i < targets->len; ++i) {
      found.push_back(static_cast<AtkObject*>(g_ptr_array_index(targets, i)));
    }
  }
  g_object_unref(all);
  return found;
}

inline std::vector<AtkObject*> LabelledBy(GtkWidget* widget) {
  return Related(widget, ATK_RELATION_LABELLED_BY);
}

inline std::vector<AtkObject*> LabelFor(GtkWidget* label) {
  return Related(label, ATK_RELATION_LABEL_FOR);
}

}  // namespace accessible
