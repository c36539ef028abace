// How the collections' tests see a bad argument reported.
#pragma once

#include <string>

// The text that an action throws as a const char*, or "nothing" when it throws nothing.
template <typename Action>
std::string ThrownText(Action action) {
  try {
    action();
  } catch (const char* text) {
    return text;
  }
  return "nothing";
}
