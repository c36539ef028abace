// Stands in for the compiled-in bitmaps: a test program that is built with fake_bitmaps.cc gets
// pictures from here, and can see which ones were asked for.
#pragma once

#include <gdk-pixbuf/gdk-pixbuf.h>

#include <vector>

namespace fake_bitmaps {

// The bitmaps that exist: 100 is 16 x 16 pixels, 101 is 32 x 8 pixels. They live for ever; the
// loader lends them.
constexpr unsigned short kSquare = 100;
constexpr unsigned short kWide = 101;

// The picture itself, without counting as asked for. Null for any other identifier.
GdkPixbuf* Get(unsigned short id);

// The identifiers that rc_load_Pixbuf was asked for since the last call of this function.
std::vector<unsigned short> TakeRequests();

}  // namespace fake_bitmaps
