// The text of a settings file: a line key="value" for each setting.
#pragma once

#include "ui/settings/home_path.h"

// Reads the value of `key` out of the text of a settings file: 1 and the value, at most 511 bytes,
// in `value` (room for 512), or 0 with `value` left alone.
//
// The key counts where it first appears, in upper or lower case and even within another value. The
// value starts two characters after the next "=" and ends before the last double quote of that
// line; it is empty when there is none.
int ReadSetting(const char* text, const char* key, char* value);

// Removes every line of `text` that holds the key in upper or lower case. `text` is zero-terminated
// and `*length` bytes long without the zero, and so afterwards.
void DeleteSettingLine(char* text, const char* key, int* length);

// Looks each setting up in the text of a settings file and hands what is there to the tab that owns
// it. A key that the text does not have leaves its tab alone.
template <typename GeneralTab, typename NetworkTab>
void TakeSettings(const char* text, GeneralTab* general, NetworkTab* network) {
  char value[kPathSize] = "";
  if (ReadSetting(text, "scanpath", value) != 0) general->setScanpath(value);
  if (ReadSetting(text, "ocrpath", value) != 0) general->setOcrpath(value);
  if (ReadSetting(text, "pcname", value) != 0) {
    network->ValidateHostName(value);
    network->setHostname(value);
  }
  if (ReadSetting(text, "pcListUp", value) != 0) network->setPCNameListUp(value);
}
