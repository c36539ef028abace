// The texts and bitmaps that are compiled into the program.
//
// Texts and bitmaps are asked for by 16-bit identifiers. An answer of null is no error: every
// caller has a text of its own to show instead, or shows no image. Used from the GTK main thread
// only.
#pragma once

#include <gdk-pixbuf/gdk-pixbuf.h>

// The text `string` of the window or tab `dialog` in the language that the environment variable
// LANG names, otherwise in English, otherwise null. No language is compiled in, so that every
// answer is null and the texts come from the language resource file (CRctFile) or from the callers.
// The text belongs to the tables and is valid for ever.
const char* rc_load_string(unsigned short dialog, unsigned short string);

// The bitmap `id`, or null when there is none; 0 names none. It is lent: the tables keep their
// reference, callers neither release it nor change the image.
GdkPixbuf* rc_load_Pixbuf(unsigned short id);

// Makes an image of a stream in GdkPixdata's serialised form: big-endian 32-bit words for the magic
// number, the length, the type of pixel data, the row stride, the width and the height, then the
// pixels. length is the number of bytes at data. The pixels are copied; the caller owns the image
// and releases it with g_object_unref. Returns null when the stream is not in that form, or when it
// ends before its pixels do. The padding behind the pixels of the last row, if the row stride
// leaves any, belongs to them: GDK copies whole rows, and would read beyond a stream that leaves it
// out.
GdkPixbuf* pixbuf_deserialize(const guint8* data, guint32 length);
