// Paths in entries. A path is a row of bytes, an entry shows UTF-8 only.
#pragma once

#include <string>

// What an entry shows of a path: every byte that is no UTF-8 as U+FFFD.
std::string ShownPath(const std::string& path);

// The path that the user means by editing what is shown of `path` into `text`. Bytes that are no
// UTF-8 stay what they are where what stands for them was left alone: before and behind the place
// that was edited. Of several U+FFFD in a row that became fewer, the first ones count as left.
std::string EditedPath(const std::string& path, const std::string& text);
