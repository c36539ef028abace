// The records of the compiled-in tables, and the functions that search them.
//
// Every table is an array of records, sorted by its key in rising order for a binary search. The
// comparators take two pointers to records, as bsearch wants them.
#pragma once

#include <gdk-pixbuf/gdk-pixbuf.h>

// One text.
struct rc_string {
  unsigned short id;  // within its dialog; the key
  const char* text;   // UTF-8
};

// The texts of one window or tab.
struct rc_dialog {
  unsigned short id;  // the key
  const rc_string* strings;
  int count;
};

// The texts of one language.
struct rc_language {
  const char* name;  // of the form that LANG has, or "en"; the key
  const rc_dialog* dialogs;
  int count;
};

// One image.
struct rc_bitmap {
  unsigned short id;     // the key
  const guint8* stream;  // in GdkPixdata's serialised form
  guint32 length;        // of the stream in bytes
  GdkPixbuf* image;      // null until it is first asked for, then owned
};

// The languages in use: the one that LANG names and English. Null until they are found.
extern const rc_language* rc_current;
extern const rc_language* rc_default;

// The program's icon, 128 by 128 pixels, as a serialised stream: bitmap 100. Rendered from
// data/icons/veltrana-dvx-tools.svg when the program is built.
extern const guint8 rc_bitmap_100[65560];

// The language with this name, or null. No language is compiled in. The name may be null.
const rc_language* find_language(const char* name);

// The text of a language, or null when there is none or the language is null.
const char* rc_load_string_lang(const rc_language* language, unsigned short dialog,
                                unsigned short string);

// Order by identifier. The result is the first identifier minus the second; a null record counts as
// identifier 0.
int comp_rc_string_by_id(const void* a, const void* b);
int comp_rc_dialog_by_id(const void* a, const void* b);
int comp_rc_bitmap_by_id(const void* a, const void* b);

// Order by name without regard to case. Null names come last, and are equal to each other.
int comp_rc_language(const void* a, const void* b);
