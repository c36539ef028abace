// Names, descriptions and relations for assistive programs.
#include "xwidgets/accessible.h"

namespace {

// Owned by the widget. Without such programs on the desktop GTK has a stand-in for it, so that
// nothing need be asked here.
AtkObject* AccessibleOf(const xWidget& control) {
  return gtk_widget_get_accessible(control.GetMnemonicWidget());
}

}  // namespace

void xTieLabel(const xLabel& label, const xWidget& control) {
  AtkObject* text = AccessibleOf(label);
  AtkObject* labelled = AccessibleOf(control);
  atk_object_add_relationship(text, ATK_RELATION_LABEL_FOR, labelled);
  atk_object_add_relationship(labelled, ATK_RELATION_LABELLED_BY, text);
}

void xNameAfterLabel(const xLabel& label, const xWidget& control) {
  xTieLabel(label, control);
  atk_object_set_name(AccessibleOf(control), gtk_label_get_text(GTK_LABEL(label.GetWidget())));
}

void xDescribe(const xWidget& control, const char* text) {
  atk_object_set_description(AccessibleOf(control), text);
}
