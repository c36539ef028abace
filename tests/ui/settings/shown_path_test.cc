// Tests of paths that entries cannot show as they are.
#include "ui/settings/shown_path.h"

#include <gtest/gtest.h>

namespace {

#define UNREADABLE "\xEF\xBF\xBD"

TEST(ShownPath, ReplacesEveryByteThatIsNoUtf8) {
  EXPECT_EQ("/scans", ShownPath("/scans"));
  EXPECT_EQ("/caf\xC3\xA9", ShownPath("/caf\xC3\xA9"));
  EXPECT_EQ("/caf" UNREADABLE, ShownPath("/caf\xE9"));
  EXPECT_EQ("/" UNREADABLE UNREADABLE "x", ShownPath("/\xE2\x82x"));
  EXPECT_EQ("", ShownPath(""));
}

struct Case {
  const char* path;
  const char* text;
  const char* edited;
};

// Names the case where results are kept as XML, which has no place for bytes that are no UTF-8.
void PrintTo(const Case& value, std::ostream* out) {
  *out << ShownPath(value.path) << " to " << value.text;
}

class EditedPathTest : public ::testing::TestWithParam<Case> {};

TEST_P(EditedPathTest, KeepsWhatWasLeftAlone) {
  EXPECT_EQ(GetParam().edited, EditedPath(GetParam().path, GetParam().text));
}

const Case kReadable[] = {
    {"", "/scans", "/scans"},
    {"/scans", "", ""},
    {"/scans", "/scan", "/scan"},
    {"/aa", "/aaa", "/aaa"},
    {"/aaa", "/aa", "/aa"},
    {"/caf\xC3\xA9", "/caf\xC3\xA8", "/caf\xC3\xA8"},
    {"/\xC3\xA9/x", "/\xC3\xA9\xC3\xA9/x", "/\xC3\xA9\xC3\xA9/x"},
    {"/abc", "/abc", "/abc"},
};
INSTANTIATE_TEST_SUITE_P(Readable, EditedPathTest, ::testing::ValuesIn(kReadable));

const Case kUnreadable[] = {
    // untouched
    {"/caf\xE9", "/caf" UNREADABLE, "/caf\xE9"},
    // a letter at the end, at the start, and in the middle
    {"/caf\xE9", "/caf" UNREADABLE "s", "/caf\xE9s"},
    {"/caf\xE9", "x/caf" UNREADABLE, "x/caf\xE9"},
    {"/\xE9/caf\xE8", "/" UNREADABLE "/xcaf" UNREADABLE, "/\xE9/xcaf\xE8"},
    // another letter in place of one
    {"/\xE9/abc/\xE8", "/" UNREADABLE "/aXc/" UNREADABLE, "/\xE9/aXc/\xE8"},
    // taken away
    {"/\xE9/abc/\xE8", "/" UNREADABLE "/ac/" UNREADABLE, "/\xE9/ac/\xE8"},
    {"/caf\xE9", "/caf", "/caf"},
    {"/\xE9\xE8", "/" UNREADABLE, "/\xE9"},
    {"/caf\xE9", "", ""},
    // replaced whole
    {"/caf\xE9", "/scans", "/scans"},
    // the sign itself in a path
    {"/" UNREADABLE "\xE9", "/" UNREADABLE UNREADABLE "x", "/" UNREADABLE "\xE9x"},
    // a character cut off at the end
    {"/a\xE2\x82", "/b" UNREADABLE UNREADABLE, "/b\xE2\x82"},
    // bytes that would become a character which the entry does not show
    {"/\xC3x\xA9", "/" UNREADABLE UNREADABLE, "/" UNREADABLE UNREADABLE},
    // a text that belongs to another path
    {"/\xE9", UNREADABLE "/", UNREADABLE "/"},
};
INSTANTIATE_TEST_SUITE_P(Unreadable, EditedPathTest, ::testing::ValuesIn(kUnreadable));

}  // namespace
