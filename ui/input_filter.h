// The rules by which a text entry lets characters through.
#pragma once

#include <string>

// What a filter lets through. A character passes if any flag that is set allows it; flags have no
// effect without INPUT_FILTER, and INPUT_FILTER alone lets nothing through.
enum InputRule : unsigned int {
  INPUT_DIGITS = 0x1,             // ASCII digits
  INPUT_ALNUM = 0x2,              // ASCII letters and digits
  INPUT_NO_SLASH = 0x10,          // everything but "/"
  INPUT_ALLOWED = 0x20,           // the characters of the allowed text, if it is set
  INPUT_FILTER = 0x1000,          // the filter is on
  INPUT_PRINTABLE = 0x10000000u,  // 0x21 to 0x7D, which leaves out "~", if the allowed text is set
};

// Whether a text of `length` bytes holds a wide (non-ASCII) character. A null text and a negative
// length count as such.
bool HoldsWideCharacter(const char* text, int length);

// Those of the first `length` bytes of `text` that the flags of `rule` allow, in their order.
// `allowed` is the allowed text, null when it is not set. INPUT_FILTER is not looked at.
std::string FilterInput(unsigned int rule, const char* allowed, const char* text, int length);
