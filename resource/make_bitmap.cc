// Build tool: turns a PNG file into the source of a compiled-in bitmap.
//
//   make-bitmap NAME INPUT.png OUTPUT.cc
//
// writes the image as the array NAME in GdkPixdata's serialised form: big-endian 32-bit words for
// the magic number, the length of the whole stream, the type of pixel data, the row stride, the
// width and the height, then the rows of RGBA pixels.
#include <gdk-pixbuf/gdk-pixbuf.h>

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

namespace {

constexpr std::uint32_t kMagic = 0x47646B50;    // "GdkP"
constexpr std::uint32_t kRawRgba = 0x01010002;  // raw encoding, 8 bits per sample, RGBA
constexpr std::uint32_t kHeaderLength = 6 * 4;
constexpr std::size_t kBytesPerLine = 16;

struct Unref {
  void operator()(GdkPixbuf* image) const { g_object_unref(image); }
};
using Image = std::unique_ptr<GdkPixbuf, Unref>;

Image LoadRgba(const char* path) {
  GError* error = nullptr;
  Image image(gdk_pixbuf_new_from_file(path, &error));
  if (image == nullptr) {
    fprintf(stderr, "make-bitmap: %s: %s\n", path, error->message);
    g_error_free(error);
    return nullptr;
  }
  return Image(gdk_pixbuf_add_alpha(image.get(), FALSE, 0, 0, 0));
}

void AppendWord(std::vector<std::uint8_t>& stream, std::uint32_t word) {
  for (int shift = 24; shift >= 0; shift -= 8) {
    stream.push_back(static_cast<std::uint8_t>(word >> shift));
  }
}

std::vector<std::uint8_t> Serialize(const GdkPixbuf* image) {
  const auto width = static_cast<std::uint32_t>(gdk_pixbuf_get_width(image));
  const auto height = static_cast<std::uint32_t>(gdk_pixbuf_get_height(image));
  const std::uint32_t rowBytes = width * 4;
  std::vector<std::uint8_t> stream;
  for (std::uint32_t word :
       {kMagic, kHeaderLength + rowBytes * height, kRawRgba, rowBytes, width, height}) {
    AppendWord(stream, word);
  }
  const guint8* pixels = gdk_pixbuf_read_pixels(image);
  for (std::uint32_t row = 0; row < height; ++row) {
    stream.insert(stream.end(), pixels, pixels + rowBytes);
    pixels += gdk_pixbuf_get_rowstride(image);
  }
  return stream;
}

bool Write(const char* path, const char* name, const std::vector<std::uint8_t>& stream) {
  std::ofstream out(path);
  out << "// Made by make-bitmap when the program is built.\n"
      << "#include \"resource/rc_tables_internal.h\"\n\n"
      << "const guint8 " << name << "[" << stream.size() << "] = {";
  for (std::size_t i = 0; i < stream.size(); ++i) {
    out << (i % kBytesPerLine == 0 ? "\n    " : " ") << unsigned{stream[i]} << ',';
  }
  out << "\n};\n";
  out.close();
  return out.good();
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) {
    fprintf(stderr, "usage: make-bitmap NAME INPUT.png OUTPUT.cc\n");
    return 2;
  }
  const Image image = LoadRgba(argv[2]);
  if (image == nullptr) return 2;
  if (!Write(argv[3], argv[1], Serialize(image.get()))) {
    fprintf(stderr, "make-bitmap: %s: cannot be written\n", argv[3]);
    return 1;
  }
  return 0;
}
