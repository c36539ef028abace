// Tests of the bounded copy of a text.
#include "base/text_copy.h"

#include <gtest/gtest.h>

#include <memory>

TEST(MyStrlcpy, CutsAndReturnsTheSize) {
  char text[8] = "#######";
  EXPECT_EQ(my_strlcpy(text, "ja_JP.UTF-8", 6), 6U);
  EXPECT_STREQ(text, "ja_JP");
  EXPECT_EQ(text[6], '#') << "nothing is written beyond the size";
}

TEST(MyStrlcpy, ReturnsTheLengthOfATextThatFits) {
  char text[8] = "#######";
  EXPECT_EQ(my_strlcpy(text, "en", 6), 2U);
  EXPECT_STREQ(text, "en");
  EXPECT_EQ(text[3], '#') << "nothing is written after the NUL";
  EXPECT_EQ(my_strlcpy(text, "", 6), 0U);
  EXPECT_STREQ(text, "");
}

TEST(MyStrlcpy, TextAsLongAsTheBufferIsCut) {
  char text[8] = "#######";
  EXPECT_EQ(my_strlcpy(text, "abc", 3), 3U);
  EXPECT_STREQ(text, "ab");
  EXPECT_EQ(my_strlcpy(text, "abc", 4), 3U);
  EXPECT_STREQ(text, "abc");
  EXPECT_EQ(my_strlcpy(text, "abc", 1), 1U);
  EXPECT_STREQ(text, "");
}

TEST(MyStrlcpy, SizeOfZeroWritesNothing) {
  char text[4] = "###";
  EXPECT_EQ(my_strlcpy(text, "abc", 0), 0U);
  EXPECT_STREQ(text, "###");
  EXPECT_EQ(my_strlcpy(nullptr, "abc", 0), 0U);
}

TEST(MyStrlcpy, ReadsNoMoreThanTheSize) {
  const std::unique_ptr<char[]> source(new char[3]{'a', 'b', 'c'});  // no NUL
  char text[3];
  EXPECT_EQ(my_strlcpy(text, source.get(), 3), 3U);
  EXPECT_STREQ(text, "ab");
}
