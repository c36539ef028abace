// Fuzz target: the text of a settings file. Every key alone and all of them as the program takes
// them, compared with a plain reading of the rules; and settings that are written and read back.
//
// Input: even: the file; odd: the four values, each with its length (2 bytes, low byte first).
#include "ui/settings/settings_text.h"

#include <cctype>
#include <cstdlib>

#include "tests/fuzz/fuzz_target.h"
#include "ui/settings/host_name.h"

namespace {

using fuzz::Block;
using fuzz::Require;

constexpr const char* kKeys[] = {"scanpath", "ocrpath", "pcname", "pcListUp"};

std::string Lower(std::string text) {
  for (char& c : text) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
  return text;
}

// Null when the key is not there.
std::unique_ptr<std::string> PlainValue(const std::string& text, const char* key) {
  const size_t found = Lower(text).find(Lower(key));
  if (found == std::string::npos) return nullptr;
  const size_t equals = text.find('=', found);
  if (equals == std::string::npos) return nullptr;
  std::string line = text.substr(std::min(equals + 2, text.size()));
  line.resize(std::min(line.find('\n'), line.size()));
  const size_t quote = line.rfind('"');
  line.resize(quote == std::string::npos ? 0 : quote);
  return std::make_unique<std::string>(line.substr(0, kPathSize - 1));
}

void TryKey(const std::string& text, const char* key) {
  const auto file = fuzz::TextBlock(text);
  const Block<char> value(kPathSize);
  const int found = ReadSetting(file.data(), key, value.data());
  const auto expected = PlainValue(text, key);
  Require(found == (expected != nullptr ? 1 : 0), "the key is found where it is");
  if (expected != nullptr) Require(*expected == value.data(), "the value is that of the rules");
  const bool untouched = value.First(kPathSize) == Block<char>(kPathSize).First(kPathSize);
  Require(found == 1 || untouched, "a key that is not there leaves the value alone");
}

bool Holds(const std::string& line, const char* key) {
  return Lower(line).find(Lower(key)) != std::string::npos;
}

std::string PlainWithout(const std::string& text, const char* key) {
  std::string rest;
  for (size_t at = 0; at < text.size();) {
    const size_t feed = text.find('\n', at);
    const size_t end = feed == std::string::npos ? text.size() : feed + 1;
    const std::string line = text.substr(at, end - at);
    if (!Holds(line, key)) rest += line;
    at = end;
  }
  return rest;
}

void TryDeletion(const std::string& text, const char* key) {
  const auto file = fuzz::TextBlock(text);
  int length = static_cast<int>(text.size());
  DeleteSettingLine(file.data(), key, &length);
  Require(PlainWithout(text, key) == file.data(), "the lines with the key go");
  Require(length == static_cast<int>(strlen(file.data())), "the length is that of the text");
}

// Stand in for the tabs, which need a display, and note what they are given.
struct General {
  std::string scanpath = "default";
  std::string ocrpath = "default";
  void setScanpath(const char* path) { scanpath = path; }
  void setOcrpath(const char* path) { ocrpath = path; }
};

struct Network {
  std::string name = "default";
  std::string list_up = "default";
  void ValidateHostName(char* text) { RepairHostName(text); }
  void setHostname(const char* text) { name = text; }
  void setPCNameListUp(const char* text) { list_up = text; }
};

void TryAll(const std::string& text, General* general, Network* network) {
  const auto file = fuzz::TextBlock(text);
  TakeSettings(file.data(), general, network);
  const auto value = [&](int key) {
    const auto found = PlainValue(text, kKeys[key]);
    return found != nullptr ? *found : "default";
  };
  Require(general->scanpath == value(0) && general->ocrpath == value(1), "the paths are taken");
  Require(network->list_up == value(3), "the flag is taken");
  for (const char c : network->name) {
    Require(strchr(kNameCharacters, c) != nullptr, "the name has allowed characters only");
  }
  if (PlainValue(text, kKeys[2]) == nullptr) Require(network->name == "default", "no name");
}

void TryFile(const std::string& text) {
  for (const char* key : kKeys) {
    TryKey(text, key);
    TryDeletion(text, key);
  }
  General general;
  Network network;
  TryAll(text, &general, &network);
}

// Values read back unless one of them holds a line feed or the name of a key.
bool IsKept(const std::string& value) {
  for (const char* key : kKeys) {
    if (Holds(value, key)) return false;
  }
  return value.size() < kPathSize && value.find('\n') == std::string::npos;
}

void TryValues(fuzz::Input* input) {
  std::string text;
  std::string values[4];
  for (int i = 0; i < 4; ++i) {
    values[i] = input->Text(static_cast<size_t>(input->Word()));
    if (!IsKept(values[i])) return;
    text += std::string(kKeys[i]) + "=\"" + values[i] + "\"\n";
  }
  General general;
  Network network;
  TryAll(text, &general, &network);
  Require(
      general.scanpath == values[0] && general.ocrpath == values[1] && network.list_up == values[3],
      "settings that were written read back");
}

}  // namespace

// The host name, which an empty name becomes, is the same on every machine.
extern "C" int __wrap_gethostname(char* name, size_t size) {
  strncpy(name, "lab-desk", size);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::Input input(data, size);
  if (input.Byte() % 2 == 0) {
    TryFile(input.Text(input.Left()));
  } else {
    TryValues(&input);
  }
  return 0;
}
