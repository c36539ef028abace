// The build tool that turns an image into the source of a compiled-in bitmap.
#include <gdk-pixbuf/gdk-pixbuf.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

namespace {

struct Outcome {
  int status;
  std::string messages;
};

// Runs the tool and reads what it says on standard error.
Outcome MakeBitmap(const std::string& arguments) {
  FILE* tool = popen((MAKE_BITMAP " " + arguments + " 2>&1").c_str(), "r");
  std::string messages;
  for (int byte = fgetc(tool); byte != EOF; byte = fgetc(tool)) messages += static_cast<char>(byte);
  return {WEXITSTATUS(pclose(tool)), messages};
}

class MakeBitmapTest : public ::testing::Test {
 protected:
  MakeBitmapTest() : m_sFolder(testing::TempDir() + "/make-bitmap-XXXXXX") {
    EXPECT_NE(nullptr, mkdtemp(m_sFolder.data()));
  }
  ~MakeBitmapTest() override {
    remove(Path("in.png").c_str());
    remove(Path("out.cc").c_str());
    rmdir(m_sFolder.c_str());
  }

  std::string Path(const std::string& name) const { return m_sFolder + "/" + name; }

  // An image whose rows have the given RGB bytes.
  void SaveImage(int width, int height, const std::string& rgb) const {
    GBytes* pixels = g_bytes_new(rgb.data(), rgb.size());
    GdkPixbuf* image =
        gdk_pixbuf_new_from_bytes(pixels, GDK_COLORSPACE_RGB, FALSE, 8, width, height, width * 3);
    EXPECT_TRUE(gdk_pixbuf_save(image, Path("in.png").c_str(), "png", nullptr, nullptr));
    g_object_unref(image);
    g_bytes_unref(pixels);
  }

  std::string Made() const {
    std::ifstream file(Path("out.cc"));
    return {std::istreambuf_iterator<char>(file), {}};
  }

  std::string m_sFolder;
};

TEST_F(MakeBitmapTest, WritesHeaderAndPixelsWithAnOpaqueAlpha) {
  SaveImage(1, 2, "\xFF\x80\x01\x02\x03\x04");
  const Outcome outcome = MakeBitmap("tiny " + Path("in.png") + " " + Path("out.cc"));
  EXPECT_EQ(0, outcome.status) << outcome.messages;
  EXPECT_EQ(
      "// Made by make-bitmap when the program is built.\n"
      "#include \"resource/rc_tables_internal.h\"\n\n"
      "const guint8 tiny[32] = {\n"
      "    71, 100, 107, 80, 0, 0, 0, 32, 1, 1, 0, 2, 0, 0, 0, 4,\n"
      "    0, 0, 0, 1, 0, 0, 0, 2, 255, 128, 1, 255, 2, 3, 4, 255,\n"
      "};\n",
      Made());
}

TEST_F(MakeBitmapTest, NamesAnImageThatItCannotRead) {
  const Outcome outcome = MakeBitmap("tiny " + Path("in.png") + " " + Path("out.cc"));
  EXPECT_EQ(2, outcome.status);
  EXPECT_THAT(outcome.messages, testing::StartsWith("make-bitmap: " + Path("in.png") + ": "));
  EXPECT_EQ("", Made());
}

TEST_F(MakeBitmapTest, NamesAFileThatItCannotWrite) {
  SaveImage(1, 1, "\x01\x02\x03");
  const Outcome outcome = MakeBitmap("tiny " + Path("in.png") + " /dev/full");
  EXPECT_EQ(1, outcome.status);
  EXPECT_EQ("make-bitmap: /dev/full: cannot be written\n", outcome.messages);
}

TEST_F(MakeBitmapTest, SaysHowItIsUsed) {
  const Outcome outcome = MakeBitmap("tiny");
  EXPECT_EQ(2, outcome.status);
  EXPECT_EQ("usage: make-bitmap NAME INPUT.png OUTPUT.cc\n", outcome.messages);
}

}  // namespace
