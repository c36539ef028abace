// The hand-over of the settings that a file's text holds.
#pragma once

#include "ui/main_tabs.h"

// Looks each setting up in the text of a settings file and hands what is there to the tab that owns
// it. A key that the text does not have leaves its tab alone.
template <typename GeneralTab, typename NetworkTab>
void TakeSettings(const char* text, GeneralTab* general, NetworkTab* network) {
  char value[kPathSize] = "";
  if (CMainTabs::ReadName(text, "scanpath", value) != 0) general->setScanpath(value);
  if (CMainTabs::ReadName(text, "ocrpath", value) != 0) general->setOcrpath(value);
  if (CMainTabs::ReadName(text, "pcname", value) != 0) {
    network->ValidateHostName(value);
    network->setHostname(value);
  }
  if (CMainTabs::ReadName(text, "pcListUp", value) != 0) network->setPCNameListUp(value);
}
