// The compiled-in tables of texts and bitmaps, and their look-up.
#include "resource/rc_tables.h"

#include <gdk-pixbuf/gdk-pixdata.h>
#include <strings.h>

#include <array>
#include <cstdlib>

#include "resource/rc_tables_internal.h"

namespace {

constexpr std::array<rc_language, 0> kLanguages{};

// The most pixels that one pixel of a run-length encoded image stands for.
constexpr guint64 kLongestRun = 127;

rc_bitmap g_bitmaps[] = {
    {100, rc_bitmap_100, sizeof(rc_bitmap_100), nullptr},
};

// bsearch, for a table that may be empty and then need not exist.
template <typename Key, typename Record>
Record* FindRecord(const Key& key, Record* table, std::size_t count,
                   int (*compare)(const void*, const void*)) {
  if (count == 0) return nullptr;
  return static_cast<Record*>(bsearch(&key, table, count, sizeof(Record), compare));
}

template <typename Record>
int CompareById(const void* a, const void* b) {
  const int idA = a != nullptr ? static_cast<const Record*>(a)->id : 0;
  const int idB = b != nullptr ? static_cast<const Record*>(b)->id : 0;
  return idA - idB;
}

// Whether an image of the size in the header can come from the bytes at hand. GDK believes the
// header: it would read a stream for as long as that says, take rows shorter than their pixels, and
// ask for any amount of memory.
bool IsWhole(const GdkPixdata& pixdata, guint32 length) {
  const auto announced = static_cast<guint32>(pixdata.length);
  if (pixdata.pixel_data == nullptr || announced > length) return false;
  const guint32 color = pixdata.pixdata_type & GDK_PIXDATA_COLOR_TYPE_MASK;
  const guint32 bytesPerPixel = color == GDK_PIXDATA_COLOR_TYPE_RGBA ? 4 : 3;
  if (pixdata.rowstride / bytesPerPixel < pixdata.width) return false;
  const guint32 encoding = pixdata.pixdata_type & GDK_PIXDATA_ENCODING_MASK;
  const guint64 growth = encoding == GDK_PIXDATA_ENCODING_RLE ? kLongestRun : 1;
  return guint64{pixdata.rowstride} * pixdata.height <=
         growth * (announced - GDK_PIXDATA_HEADER_LENGTH);
}

}  // namespace

const rc_language* rc_current = nullptr;
const rc_language* rc_default = nullptr;

int comp_rc_string_by_id(const void* a, const void* b) { return CompareById<rc_string>(a, b); }

int comp_rc_dialog_by_id(const void* a, const void* b) { return CompareById<rc_dialog>(a, b); }

int comp_rc_bitmap_by_id(const void* a, const void* b) { return CompareById<rc_bitmap>(a, b); }

int comp_rc_language(const void* a, const void* b) {
  const char* nameA = static_cast<const rc_language*>(a)->name;
  const char* nameB = static_cast<const rc_language*>(b)->name;
  if (nameA == nullptr) return nameB == nullptr ? 0 : 1;
  if (nameB == nullptr) return -1;
  return strcasecmp(nameA, nameB);
}

const rc_language* find_language(const char* name) {
  const rc_language key = {name, nullptr, 0};
  return FindRecord(key, kLanguages.data(), kLanguages.size(), comp_rc_language);
}

const char* rc_load_string_lang(const rc_language* language, unsigned short dialog,
                                unsigned short string) {
  if (language == nullptr) return nullptr;
  const rc_dialog dialogKey = {dialog, nullptr, 0};
  const auto* texts = FindRecord(dialogKey, language->dialogs,
                                 static_cast<std::size_t>(language->count), comp_rc_dialog_by_id);
  if (texts == nullptr) return nullptr;
  const rc_string stringKey = {string, nullptr};
  const auto* text = FindRecord(stringKey, texts->strings, static_cast<std::size_t>(texts->count),
                                comp_rc_string_by_id);
  return text != nullptr ? text->text : nullptr;
}

const char* rc_load_string(unsigned short dialog, unsigned short string) {
  if (rc_current == nullptr) rc_current = find_language(getenv("LANG"));
  if (rc_default == nullptr) rc_default = find_language("en");
  const char* text = rc_load_string_lang(rc_current, dialog, string);
  if (text != nullptr) return text;
  if (rc_current == rc_default) return nullptr;
  return rc_load_string_lang(rc_default, dialog, string);
}

GdkPixbuf* rc_load_Pixbuf(unsigned short id) {
  const rc_bitmap key = {id, nullptr, 0, nullptr};
  rc_bitmap* bitmap = FindRecord(key, g_bitmaps, std::size(g_bitmaps), comp_rc_bitmap_by_id);
  if (bitmap == nullptr) return nullptr;
  if (bitmap->image == nullptr) {
    bitmap->image = pixbuf_deserialize(bitmap->stream, bitmap->length);
  }
  return bitmap->image;
}

GdkPixbuf* pixbuf_deserialize(const guint8* data, guint32 length) {
  G_GNUC_BEGIN_IGNORE_DEPRECATIONS
  GdkPixdata pixdata = {};
  gdk_pixdata_deserialize(&pixdata, length, data, nullptr);
  if (!IsWhole(pixdata, length)) return nullptr;
  GError* error = nullptr;
  GdkPixbuf* image = gdk_pixbuf_from_pixdata(&pixdata, TRUE, &error);
  G_GNUC_END_IGNORE_DEPRECATIONS
  if (error != nullptr) g_error_free(error);
  return image;
}
