// The name under which this computer stands on the scanners.
#pragma once

#include <cstddef>

constexpr std::size_t kHostnameSize = 64;  // this computer's name, with its NUL

// The characters that such a name may have.
constexpr char kNameCharacters[] =
    "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ!@#$%^&\\().-_{}";

// Repairs a name in place; `name` has room for 64 bytes at least. An empty one becomes this
// computer's host name. One with characters outside ASCII, or that is still empty, becomes
// "Linux-PC". From any other the characters that a name may not have are taken out, which may leave
// nothing, and what is left is then cut to 63 bytes. Uses GLib but no GTK.
void RepairHostName(char* name);
