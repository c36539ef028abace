// What assistive programs, such as a screen reader, are told about a control besides what it shows.
//
// GTK tells them the texts of buttons, labels, tabs and titles by itself. A control without a text
// of its own needs a name, and a label that no mnemonic leads from must be tied to what it is for.
// Nothing here changes what is on the screen. Texts are copied. Main thread only.
#pragma once

#include "xwidgets/layout.h"
#include "xwidgets/widget.h"

// Ties a label to a control, in both directions ("label for", "labelled by"). Of a list box it is
// the table that is tied (GetMnemonicWidget). A label may have several controls. Unlike
// xLabel::SetMnemonic this also suits a control that cannot have the keyboard focus.
void xTieLabel(const xLabel& label, const xWidget& control);

// As xTieLabel, and names the control after the label's text as it is now, without the underscore
// of its mnemonic.
void xNameAfterLabel(const xLabel& label, const xWidget& control);

// Says more about a control than its name does: read out after it. `text` must not be null.
void xDescribe(const xWidget& control, const char* text);
