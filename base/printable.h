// Texts of callers, for debug lines.
#pragma once

// The text, or for null what the C library prints for it.
inline const char* Printable(const char* text) { return text != nullptr ? text : "(null)"; }
