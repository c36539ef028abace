// Stands in for the compiled-in bitmaps.
#include "tests/support/fake_bitmaps.h"

#include "resource/rc_tables.h"

namespace {

std::vector<unsigned short>& Requests() {
  static auto* requests = new std::vector<unsigned short>;
  return *requests;
}

GdkPixbuf* NewPicture(int width, int height) {
  GdkPixbuf* picture = gdk_pixbuf_new(GDK_COLORSPACE_RGB, FALSE, 8, width, height);
  gdk_pixbuf_fill(picture, 0x336699FF);
  return picture;
}

}  // namespace

namespace fake_bitmaps {

GdkPixbuf* Get(unsigned short id) {
  static GdkPixbuf* const square = NewPicture(16, 16);
  static GdkPixbuf* const wide = NewPicture(32, 8);
  if (id == kSquare) return square;
  if (id == kWide) return wide;
  return nullptr;
}

std::vector<unsigned short> TakeRequests() {
  std::vector<unsigned short> requests;
  requests.swap(Requests());
  return requests;
}

}  // namespace fake_bitmaps

GdkPixbuf* rc_load_Pixbuf(unsigned short id) {
  Requests().push_back(id);
  return fake_bitmaps::Get(id);
}
