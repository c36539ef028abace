// Writes the JSON of the datagram log and of the lists file.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

// The text in double quotes with everything escaped that JSON wants escaped. JSON is UTF-8, so a
// byte that is not part of valid UTF-8 becomes the escape \u00XX of its own value.
std::string json_string(const std::string& text);

// "[a,b]" from items that are JSON already.
std::string json_array(const std::vector<std::string>& items);

// "["a","b"]" from texts.
std::string json_texts(const std::vector<std::string>& texts);

// One object, its members in the order in which they were added.
class CJsonObject {
 public:
  CJsonObject& Text(const char* name, const std::string& value);
  CJsonObject& Number(const char* name, int64_t value);
  // A value that is JSON already.
  CJsonObject& Json(const char* name, const std::string& value);

  // The object, in braces.
  std::string Str() const { return "{" + m_members + "}"; }

 private:
  std::string m_members;
};
