// Tests of the compiled-in texts and bitmaps.
#include "resource/rc_tables.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "resource/rc_tables_internal.h"

namespace {

// Identifiers are cut to 16 bits by the interface itself.
static_assert(
    std::is_same_v<decltype(rc_load_string), const char*(unsigned short, unsigned short)>);
static_assert(std::is_same_v<decltype(rc_load_Pixbuf), GdkPixbuf*(unsigned short)>);

const rc_string kMainTexts[] = {{0, "Dialog"}, {10, "Werkzeuge"}, {40000, "Hoch"}};
const rc_string kNetworkTexts[] = {{211, "Netzwerk"}, {219, ""}};
const rc_dialog kGermanDialogs[] = {
    {100, kMainTexts, 3}, {102, kNetworkTexts, 2}, {65535, nullptr, 0}};
const rc_language kGerman = {"de_DE.UTF-8", kGermanDialogs, 3};

const rc_string kEnglishMainTexts[] = {{10, "Tools"}, {11, "Only in English"}};
const rc_dialog kEnglishDialogs[] = {{100, kEnglishMainTexts, 2}};
const rc_language kEnglish = {"en", kEnglishDialogs, 1};

class RcLoadStringTest : public testing::Test {
 protected:
  ~RcLoadStringTest() override {
    rc_current = nullptr;
    rc_default = nullptr;
    unsetenv("LANG");
  }
};

TEST_F(RcLoadStringTest, NoTextIsCompiledInWhateverLangHolds) {
  for (const char* lang : {"", "en", "EN", "en_US.UTF-8", "ja_JP.UTF-8", "C"}) {
    setenv("LANG", lang, 1);
    EXPECT_EQ(rc_load_string(100, 10), nullptr) << lang;
    for (unsigned int dialog = 0; dialog <= 0xFFFF; dialog += 0x55) {
      for (unsigned int string = 0; string <= 0xFFFF; string += 0x1111) {
        ASSERT_EQ(rc_load_string(static_cast<unsigned short>(dialog),
                                 static_cast<unsigned short>(string)),
                  nullptr);
      }
    }
    EXPECT_EQ(rc_current, nullptr) << "so that the language is looked for again next time";
    EXPECT_EQ(rc_default, nullptr);
  }
}

TEST_F(RcLoadStringTest, NoTextWithoutLang) {
  unsetenv("LANG");
  EXPECT_EQ(rc_load_string(100, 10), nullptr);
}

TEST_F(RcLoadStringTest, CurrentLanguageComesBeforeTheDefault) {
  rc_current = &kGerman;
  rc_default = &kEnglish;
  EXPECT_STREQ(rc_load_string(100, 10), "Werkzeuge");
  EXPECT_STREQ(rc_load_string(102, 219), "");
  EXPECT_STREQ(rc_load_string(100, 11), "Only in English");
  EXPECT_EQ(rc_load_string(100, 12), nullptr);
}

TEST_F(RcLoadStringTest, DefaultLanguageAnswersWithoutACurrentOne) {
  rc_default = &kEnglish;
  EXPECT_STREQ(rc_load_string(100, 10), "Tools");
  EXPECT_EQ(rc_load_string(102, 211), nullptr);
}

TEST_F(RcLoadStringTest, OneLanguageMayBeBoth) {
  rc_current = &kEnglish;
  rc_default = &kEnglish;
  EXPECT_STREQ(rc_load_string(100, 11), "Only in English");
  EXPECT_EQ(rc_load_string(101, 111), nullptr);
}

TEST_F(RcLoadStringTest, LanguagesThatAreSetStaySet) {
  rc_current = &kGerman;
  rc_default = &kEnglish;
  setenv("LANG", "ja", 1);
  EXPECT_STREQ(rc_load_string(100, 10), "Werkzeuge");
  EXPECT_EQ(rc_current, &kGerman);
  EXPECT_EQ(rc_default, &kEnglish);
}

TEST(RcLoadStringLang, NullLanguageHasNoText) {
  EXPECT_EQ(rc_load_string_lang(nullptr, 100, 10), nullptr);
}

TEST(RcLoadStringLang, FindsTextsOverTheWholeRangeOfIdentifiers) {
  EXPECT_STREQ(rc_load_string_lang(&kGerman, 100, 0), "Dialog");
  EXPECT_STREQ(rc_load_string_lang(&kGerman, 100, 40000), "Hoch");
  EXPECT_STREQ(rc_load_string_lang(&kGerman, 102, 211), "Netzwerk");
}

TEST(RcLoadStringLang, MissingDialogsAndTextsAreNull) {
  EXPECT_EQ(rc_load_string_lang(&kGerman, 101, 10), nullptr);
  EXPECT_EQ(rc_load_string_lang(&kGerman, 100, 11), nullptr);
  EXPECT_EQ(rc_load_string_lang(&kGerman, 65535, 0), nullptr) << "a dialog without texts";
  const rc_language empty = {"eo", nullptr, 0};
  EXPECT_EQ(rc_load_string_lang(&empty, 100, 10), nullptr);
}

TEST(FindLanguage, KnowsNoLanguage) {
  for (const char* name : {"en", "EN", "de_DE.UTF-8", "C", ""}) {
    EXPECT_EQ(find_language(name), nullptr) << name;
  }
  EXPECT_EQ(find_language(nullptr), nullptr);
}

// The comparators by identifier differ only in the record that they read.
template <typename Record>
void ExpectDifferenceOfIdentifiers(int (*compare)(const void*, const void*)) {
  Record three = {};
  three.id = 3;
  Record ten = {};
  ten.id = 10;
  Record last = {};
  last.id = 65535;
  Record zero = {};
  EXPECT_EQ(compare(&three, &ten), -7);
  EXPECT_EQ(compare(&ten, &three), 7);
  EXPECT_EQ(compare(&ten, &ten), 0);
  EXPECT_EQ(compare(&three, &last), -65532);
  EXPECT_EQ(compare(&last, &zero), 65535);
  EXPECT_EQ(compare(nullptr, &three), -3);
  EXPECT_EQ(compare(&three, nullptr), 3);
  EXPECT_EQ(compare(nullptr, &zero), 0);
  EXPECT_EQ(compare(nullptr, nullptr), 0);
}

TEST(CompareById, GivesTheDifferenceAndCountsNullAsZero) {
  ExpectDifferenceOfIdentifiers<rc_string>(comp_rc_string_by_id);
  ExpectDifferenceOfIdentifiers<rc_dialog>(comp_rc_dialog_by_id);
  ExpectDifferenceOfIdentifiers<rc_bitmap>(comp_rc_bitmap_by_id);
}

TEST(CompareLanguages, NullNameComesAfterEveryName) {
  const rc_language none = {nullptr, nullptr, 0};
  const rc_language other = {nullptr, nullptr, 0};
  for (const char* name : {"", "en", "zz_ZZ", "\xFF"}) {
    const rc_language named = {name, nullptr, 0};
    EXPECT_EQ(comp_rc_language(&none, &named), 1);
    EXPECT_EQ(comp_rc_language(&named, &none), -1);
  }
  EXPECT_EQ(comp_rc_language(&none, &other), 0);
}

TEST(CompareLanguages, CaseDoesNotMatter) {
  const rc_language lower = {"ja_jp.utf-8", nullptr, 0};
  const rc_language upper = {"JA_JP.UTF-8", nullptr, 0};
  const rc_language english = {"En", nullptr, 0};
  EXPECT_EQ(comp_rc_language(&lower, &upper), 0);
  EXPECT_LT(comp_rc_language(&english, &lower), 0);
  EXPECT_LT(comp_rc_language(&english, &upper), 0);
  EXPECT_GT(comp_rc_language(&upper, &english), 0);
}

TEST(CompareLanguages, SortsNamesForTheBinarySearch) {
  std::array<rc_language, 4> table = {
      {{nullptr, nullptr, 0}, {"sv_SE", nullptr, 0}, {"en", nullptr, 0}, {"JA", nullptr, 0}}};
  qsort(table.data(), table.size(), sizeof(rc_language), comp_rc_language);
  EXPECT_STREQ(table[0].name, "en");
  EXPECT_STREQ(table[1].name, "JA");
  EXPECT_STREQ(table[2].name, "sv_SE");
  EXPECT_EQ(table[3].name, nullptr);
  const rc_language key = {"ja", nullptr, 0};
  EXPECT_EQ(bsearch(&key, table.data(), table.size(), sizeof(rc_language), comp_rc_language),
            &table[1]);
}

// Counts what GLib and GDK complain about. What they say for debugging is not counted.
class Complaints {
 public:
  Complaints() : m_Old(g_log_set_default_handler(Count, &m_iCount)) {}
  ~Complaints() { g_log_set_default_handler(m_Old, nullptr); }
  Complaints(const Complaints&) = delete;
  Complaints& operator=(const Complaints&) = delete;
  int Number() const { return m_iCount; }

 private:
  static void Count(const gchar*, GLogLevelFlags level, const gchar*, gpointer count) {
    constexpr int kComplaint = G_LOG_LEVEL_ERROR | G_LOG_LEVEL_CRITICAL | G_LOG_LEVEL_WARNING;
    if ((level & kComplaint) != 0) ++*static_cast<int*>(count);
  }
  int m_iCount = 0;
  GLogFunc m_Old;
};

struct Unref {
  void operator()(GdkPixbuf* image) const { g_object_unref(image); }
};
using Image = std::unique_ptr<GdkPixbuf, Unref>;
using Bytes = std::vector<guint8>;

// Decodes a copy that ends exactly where the stream ends, so that the address sanitizer sees every
// read beyond it.
Image Deserialize(const Bytes& stream) {
  const std::unique_ptr<guint8[]> exact(new guint8[stream.size()]);
  std::copy(stream.begin(), stream.end(), exact.get());
  return Image(pixbuf_deserialize(exact.get(), static_cast<guint32>(stream.size())));
}

Bytes PixelsOf(const GdkPixbuf* image) {
  const int rowBytes = gdk_pixbuf_get_width(image) * gdk_pixbuf_get_n_channels(image);
  Bytes pixels;
  for (int row = 0; row < gdk_pixbuf_get_height(image); ++row) {
    const std::ptrdiff_t offset = std::ptrdiff_t{row} * gdk_pixbuf_get_rowstride(image);
    const guint8* start = gdk_pixbuf_read_pixels(image) + offset;
    pixels.insert(pixels.end(), start, start + rowBytes);
  }
  return pixels;
}

// 3 x 3 pixels, RGBA, not compressed.
Bytes RawStream() {
  return {
      'G',  'd',  'k',  'P',                                   // magic number
      0,    0,    0,    60,                                    // length of the stream
      0x01, 0x01, 0x00, 0x02,                                  // raw, 8 bits per sample, RGBA
      0,    0,    0,    12,                                    // row stride
      0,    0,    0,    3,                                     // width
      0,    0,    0,    3,                                     // height
      1,    2,    3,    4,    5,  6,  7,  8,  9,  10, 11, 12,  // row 0
      13,   14,   15,   16,   17, 18, 19, 20, 21, 22, 23, 24,  // row 1
      25,   26,   27,   28,   29, 30, 31, 32, 33, 34, 35, 36,  // row 2
  };
}

// 4 x 4 pixels, RGB, run-length encoded.
Bytes RunLengthStream() {
  return {
      'G',  'd',  'k',  'P',   // magic number
      0,    0,    0,    38,    // length of the stream
      0x02, 0x01, 0x00, 0x01,  // run-length encoded, 8 bits per sample, RGB
      0,    0,    0,    12,    // row stride
      0,    0,    0,    4,     // width
      0,    0,    0,    4,     // height
      0x8D, 7,    8,    9,     // 13 equal pixels
      0x03, 1,    2,    3,     // 3 different ones
      4,    5,    6,    10,   11, 12,
  };
}

TEST(PixbufDeserialize, GivesTheImageOfARawStream) {
  const Image image = Deserialize(RawStream());
  ASSERT_NE(image, nullptr);
  EXPECT_EQ(gdk_pixbuf_get_width(image.get()), 3);
  EXPECT_EQ(gdk_pixbuf_get_height(image.get()), 3);
  EXPECT_TRUE(gdk_pixbuf_get_has_alpha(image.get()));
  const Bytes stream = RawStream();
  EXPECT_EQ(PixelsOf(image.get()), Bytes(stream.begin() + 24, stream.end()));
}

TEST(PixbufDeserialize, GivesTheImageOfARunLengthStream) {
  const Image image = Deserialize(RunLengthStream());
  ASSERT_NE(image, nullptr);
  EXPECT_FALSE(gdk_pixbuf_get_has_alpha(image.get()));
  const Bytes pixels = PixelsOf(image.get());
  ASSERT_EQ(pixels.size(), 48U);
  EXPECT_EQ(Bytes(pixels.begin(), pixels.begin() + 3), (Bytes{7, 8, 9}));
  EXPECT_EQ(Bytes(pixels.begin() + 36, pixels.end()),
            (Bytes{7, 8, 9, 1, 2, 3, 4, 5, 6, 10, 11, 12}));
}

TEST(PixbufDeserialize, ImageIsTheCallersAndKeepsItsPixels) {
  Bytes stream = RawStream();
  const Image image(pixbuf_deserialize(stream.data(), static_cast<guint32>(stream.size())));
  ASSERT_NE(image, nullptr);
  EXPECT_EQ(G_OBJECT(image.get())->ref_count, 1U);
  stream.assign(stream.size(), 0);
  EXPECT_EQ(PixelsOf(image.get())[0], 1) << "the pixels were copied";
}

TEST(PixbufDeserialize, TruncatedStreamsGiveNothingSilently) {
  const Complaints complaints;
  for (const Bytes& whole : {RawStream(), RunLengthStream()}) {
    for (std::size_t size = 0; size < whole.size(); ++size) {
      ASSERT_EQ(Deserialize(Bytes(whole.begin(), whole.begin() + static_cast<long>(size))), nullptr)
          << size << " bytes";
    }
  }
  EXPECT_EQ(complaints.Number(), 0);
}

TEST(PixbufDeserialize, HeaderIsNotTakenForPixelsThatAreMissing) {
  Bytes stream = RawStream();
  while (stream.size() > 24) {
    stream.pop_back();
    stream[7] = static_cast<guint8>(stream.size());  // it says so, too
    EXPECT_EQ(Deserialize(stream), nullptr) << stream.size() << " bytes";
  }
}

// A page with a page behind it that cannot be read. A stream is put at the end of the first.
class LastBytesOfAPage {
 public:
  explicit LastBytesOfAPage(const Bytes& stream)
      : m_nPage(static_cast<std::size_t>(sysconf(_SC_PAGESIZE))),
        m_nLength(stream.size()),
        m_pPages(static_cast<guint8*>(mmap(nullptr, 2 * m_nPage, PROT_READ | PROT_WRITE,
                                           MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))) {
    mprotect(m_pPages + m_nPage, m_nPage, PROT_NONE);
    std::copy(stream.begin(), stream.end(), m_pPages + m_nPage - m_nLength);
  }
  ~LastBytesOfAPage() { munmap(m_pPages, 2 * m_nPage); }
  LastBytesOfAPage(const LastBytesOfAPage&) = delete;
  LastBytesOfAPage& operator=(const LastBytesOfAPage&) = delete;

  Image Deserialize() const {
    return Image(
        pixbuf_deserialize(m_pPages + m_nPage - m_nLength, static_cast<guint32>(m_nLength)));
  }

 private:
  std::size_t m_nPage;
  std::size_t m_nLength;
  guint8* m_pPages;
};

TEST(PixbufDeserialize, LastRowWithoutItsPaddingGivesNothing) {
  const Bytes whole = {
      'G',  'd',  'k',  'P',                               // magic number
      0,    0,    0,    48,                                // length of the stream
      0x01, 0x01, 0x00, 0x02,                              // raw, 8 bits per sample, RGBA
      0,    0,    0,    12,                                // row stride
      0,    0,    0,    2,                                 // width
      0,    0,    0,    2,                                 // height
      1,    2,    3,    4,    5,  6,  7,  8,  0, 0, 0, 0,  // row 0 and its padding
      9,    10,   11,   12,   13, 14, 15, 16, 0, 0, 0, 0,  // row 1 and its padding
  };
  const Image image = LastBytesOfAPage(whole).Deserialize();
  ASSERT_NE(image, nullptr);
  EXPECT_EQ(PixelsOf(image.get()), (Bytes{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16}));
  Bytes cut(whole.begin(), whole.end() - 4);
  EXPECT_EQ(LastBytesOfAPage(cut).Deserialize(), nullptr);
  cut[7] = 44;  // it says so, too
  EXPECT_EQ(LastBytesOfAPage(cut).Deserialize(), nullptr);
}

TEST(PixbufDeserialize, RowsShorterThanTheirPixelsGiveNothing) {
  Bytes stream = RawStream();
  stream[15] = 11;
  EXPECT_EQ(Deserialize(stream), nullptr);
  stream = RunLengthStream();
  stream[15] = 11;
  EXPECT_EQ(Deserialize(stream), nullptr);
}

TEST(PixbufDeserialize, HeadersThatAreNoneGiveNothingSilently) {
  const Complaints complaints;
  for (std::size_t word = 0; word < 6; ++word) {
    for (const guint8 byte : {0x00, 0x7F, 0x80, 0xFF}) {
      for (Bytes stream : {RawStream(), RunLengthStream()}) {
        std::fill_n(stream.begin() + static_cast<long>(word * 4), 4, byte);
        EXPECT_EQ(Deserialize(stream), nullptr) << "word " << word << " byte " << int{byte};
      }
    }
  }
  EXPECT_EQ(complaints.Number(), 0);
}

// Whatever the bytes are, nothing outside them is read.
TEST(PixbufDeserialize, SurvivesDamagedStreams) {
  const Complaints complaints;
  std::mt19937 random(7);
  int images = 0;
  for (int round = 0; round < 20000; ++round) {
    Bytes stream = round % 2 == 0 ? RawStream() : RunLengthStream();
    for (int change = 0; change < 2; ++change) {
      stream[random() % stream.size()] =
          static_cast<guint8>(random() % 4 == 0 ? random() : random() % 40);
    }
    const Image image = Deserialize(stream);
    if (image == nullptr) continue;
    ++images;
    ASSERT_FALSE(PixelsOf(image.get()).empty());
  }
  EXPECT_GT(images, 100) << "damaged pixels alone leave an image";
  EXPECT_LT(images, 20000);
  EXPECT_EQ(complaints.Number(), 0);
}

TEST(Bitmap100, StreamHasTheHeaderOf128By128RgbaPixels) {
  static_assert(sizeof(rc_bitmap_100) == 65560);
  const Bytes header(rc_bitmap_100, rc_bitmap_100 + 24);
  EXPECT_EQ(header, (Bytes{
                        0x47, 0x64, 0x6B, 0x50,  // "GdkP"
                        0x00, 0x01, 0x00, 0x18,  // 65560 bytes
                        0x01, 0x01, 0x00, 0x02,  // raw, 8 bits per sample, RGBA
                        0x00, 0x00, 0x02, 0x00,  // 512 bytes per row
                        0x00, 0x00, 0x00, 0x80,  // 128 pixels wide
                        0x00, 0x00, 0x00, 0x80,  // 128 pixels high
                    }));
}

TEST(Bitmap100, ShowsAPictureOnTransparentGround) {
  GdkPixbuf* image = rc_load_Pixbuf(100);
  ASSERT_NE(image, nullptr);
  const Bytes pixels = PixelsOf(image);
  int opaque = 0;
  int clear = 0;
  for (std::size_t alpha = 3; alpha < pixels.size(); alpha += 4) {
    opaque += pixels[alpha] == 255 ? 1 : 0;
    clear += pixels[alpha] == 0 ? 1 : 0;
  }
  EXPECT_GT(opaque, 128 * 128 / 3);
  EXPECT_GT(clear, 128 * 128 / 10);
  EXPECT_EQ(pixels[3], 0) << "the corner is free";
}

TEST(RcLoadPixbuf, LendsOneImageOfTheCompiledInStream) {
  GdkPixbuf* image = rc_load_Pixbuf(100);
  ASSERT_NE(image, nullptr);
  EXPECT_EQ(gdk_pixbuf_get_width(image), 128);
  EXPECT_EQ(gdk_pixbuf_get_height(image), 128);
  EXPECT_EQ(gdk_pixbuf_get_rowstride(image), 512);
  EXPECT_TRUE(gdk_pixbuf_get_has_alpha(image));
  EXPECT_EQ(PixelsOf(image), Bytes(rc_bitmap_100 + 24, rc_bitmap_100 + 65560));
  EXPECT_EQ(rc_load_Pixbuf(100), image) << "made once";
  EXPECT_EQ(G_OBJECT(image)->ref_count, 1U) << "the reference stays with the table";
}

TEST(RcLoadPixbuf, OtherIdentifiersHaveNoImage) {
  for (unsigned int id = 0; id <= 0xFFFF; ++id) {
    if (id == 100) continue;
    ASSERT_EQ(rc_load_Pixbuf(static_cast<unsigned short>(id)), nullptr) << id;
  }
}

}  // namespace
