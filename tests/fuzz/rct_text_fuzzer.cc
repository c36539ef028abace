// Fuzz target: the escapes of a text in a language file, both ways, and the locale in LANG.
//
// Input: even: a text of a language file; odd: the sizes of the two buffers, then LANG.
#include <cstdlib>

#include "resource/rct_file.h"
#include "tests/fuzz/formatting_sink.h"
#include "tests/fuzz/fuzz_target.h"

namespace {

using fuzz::Block;
using fuzz::Require;

std::string Escaped(const std::string& text) {
  std::string value;
  for (const char c : text) {
    if (c == '\\' || c == 'x') value += '\\';  // a letter that has no escape stands for itself
    if (c == '\n' || c == '\r' || c == '\t') {
      value += '\\';
      value += c == '\n' ? 'n' : c == '\r' ? 'r' : 't';
    } else {
      value += c;
    }
  }
  return value;
}

std::string Decoded(const std::string& value) {
  const auto block = fuzz::TextBlock(value);
  Require(CRctFile::DecodeString(block.data()) == block.data(), "the text is returned");
  std::string text = block.data();
  Require(text.size() <= value.size(), "a text grows no longer");
  return text;
}

void TryText(const std::string& value) {
  const std::string text = Decoded(value);
  if (value.find('\\') == std::string::npos) Require(text == value, "other characters stay");
  Require(Decoded(Escaped(value)) == value && Decoded(Escaped(text)) == text,
          "a text that was escaped reads back");
}

bool IsLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

std::string PlainLocale(const std::string& lang, size_t size) {
  std::string locale = lang.substr(0, size > 0 ? size - 1 : 0);
  if (size < 6 || locale.size() != 2) return locale;
  for (const char* known : {"cs_CZ", "en_US", "ja_JP", "sv_SE", "zh_CN"}) {
    if (locale.compare(0, 2, known, 2) == 0) return known;
  }
  if (!IsLetter(locale[0]) || !IsLetter(locale[1])) return locale;
  const auto upper = [](char c) { return static_cast<char>(c & ~0x20); };
  return locale + '_' + upper(locale[0]) + upper(locale[1]);
}

void TryLocale(size_t locale_size, size_t language_size, const std::string& lang) {
  myDbgFunc = fuzz::FormatLine;
  setenv("LANG", lang.c_str(), 1);
  const Block<char> locale(locale_size);
  const Block<char> language(language_size);
  CRctFile::Get_ll_CC(locale.data(), static_cast<unsigned>(locale_size), language.data(),
                      static_cast<unsigned>(language_size));
  Require(PlainLocale(lang, locale_size) == locale.data(), "the locale is that of LANG");
  Require(lang.substr(0, language_size - 1) == language.data(), "the language is that of LANG");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::Input input(data, size);
  if (input.Byte() % 2 == 0) {
    TryText(input.Text(4096));
    return 0;
  }
  const size_t locale_size = 1 + input.Byte() % 16;
  const size_t language_size = 1 + input.Byte() % 16;
  const std::string lang = input.Text(400);
  TryLocale(locale_size, language_size, lang);
  TryLocale(6, 3, lang);
  return 0;
}
