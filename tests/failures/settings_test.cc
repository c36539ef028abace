// Tests of reading and writing the settings while a call of the C library fails: what is told, and
// that the file is either the old one or the new one.
#include <gmock/gmock.h>
#include <sched.h>
#include <sys/mount.h>

#include <set>
#include <string>

#include "app/log/debug_log.h"
#include "tests/failures/failing_calls.h"
#include "tests/ui/ui_fixture.h"

namespace {

using failing::FailEach;
using failing::Mode;
using failing::Result;
using namespace ui_test;

constexpr char kOld[] = "scanpath=\"/old\"\nocrpath=\"\"\npcname=\"old\"\npcListUp=\"0\"\n";
constexpr char kNew[] = "scanpath=\"/new\"\nocrpath=\"/bin/ocr\"\npcname=\"new\"\npcListUp=\"1\"\n";

constexpr char kCannotOpen[] = "CMainTabs::WriteFile() can't open file.\n";
constexpr char kCannotOpenLine[] = "[WriteFile(366)]: CMainTabs::WriteFile() can't open file.\n";

class SettingsFailureTest : public UiTest, public ::testing::WithParamInterface<Mode> {
 protected:
  void SetUp() override {
    UiTest::SetUp();
    OpenWindow();
    myDbgFunc = myDbgOutputStderr;
  }
  void TearDown() override {
    myDbgFunc = myDbgNop;
    UiTest::TearDown();
  }

  void Set(const char* scanpath, const char* ocrpath, const char* name, const char* flag) {
    General().setScanpath(scanpath);
    General().setOcrpath(ocrpath);
    Network().setHostname(std::string(name).data());
    Network().setPCNameListUp(std::string(flag).data());
  }

  // The settings that the window has, as they are written.
  std::string Settings() {
    char scanpath[kPathSize];
    char ocrpath[kPathSize];
    char name[64];
    General().getScanpath(scanpath);
    General().getOcrpath(ocrpath);
    Network().getHostname(name);
    return std::string("scanpath=\"") + scanpath + "\"\nocrpath=\"" + ocrpath + "\"\npcname=\"" +
           name + "\"\npcListUp=\"" + std::to_string(Network().getPCNameListUp()) + "\"\n";
  }

  // Whoever cannot look up the home folder takes "/" for it, which is the real machine's. Keeps
  // this process, which ends soon, from writing there.
  static void ProtectMachine() {
    if (unshare(CLONE_NEWNS) != 0 ||
        mount(nullptr, "/", nullptr, MS_REMOUNT | MS_BIND | MS_RDONLY, nullptr) != 0) {
      _exit(4);
    }
  }

  // Writes the settings over a file of that content, or over none if it is empty. Returns the
  // number of runs.
  int WriteOver(const std::string& old, failing::Call call) {
    Set("/new", "/bin/ocr", "new", "1");
    failing::Operation write{"write settings", [&] { Tabs().WriteFile(); },
                             [] { return Read(SettingsFile()); }};
    write.prepare = [&] {
      ProtectMachine();
      fs::remove_all(SettingsFolder());
      if (!old.empty()) Write(SettingsFile(), old);
    };
    return FailEach(call, GetParam(), write, 1, [&](const Result& result) {
      const bool told = result.errors == std::string(kCannotOpen) + kCannotOpenLine;
      EXPECT_EQ(told ? old : kNew, result.seen);
      EXPECT_TRUE(told || result.errors.empty()) << result.errors;
      EXPECT_TRUE(result.reached || !told);
      m_iTold += told ? 1 : 0;
    });
  }

  int m_iTold = 0;
};

TEST_P(SettingsFailureTest, WithoutAStreamTheOldFileStays) {
  for (const char* old : {kOld, ""}) {
    m_iTold = 0;
    EXPECT_EQ(2, WriteOver(old, failing::kFopen));
    EXPECT_EQ(1, m_iTold);
  }
}

// The home folder is looked up for the path of the file and for that of its folder. Without the
// second one the folder is not made.
TEST_P(SettingsFailureTest, WithoutTheHomeFolderTheOldFileStays) {
  EXPECT_EQ(3, WriteOver(kOld, failing::kGetpwuid));
  EXPECT_EQ(1, m_iTold);
  EXPECT_EQ(3, WriteOver("", failing::kGetpwuid));
  EXPECT_EQ(1 + 2, m_iTold);
}

// Memory is for the stream and for its buffer. Without a buffer all is written even so.
TEST_P(SettingsFailureTest, WithoutMemoryTheFileIsTheOldOrTheNewOne) {
  for (const char* old : {kOld, ""}) {
    m_iTold = 0;
    EXPECT_EQ(3, WriteOver(old, failing::kMalloc));
    EXPECT_EQ(1, m_iTold);
  }
}

// What reading without success writes, with the number of the line where it gives up.
std::string ReadError(int line, const std::string& error) {
  const std::string text = "void CMainTabs::ReadFile(): " + error + "\n";
  return text + "[ReadFile(" + std::to_string(line) + ")]: " + text;
}

TEST_P(SettingsFailureTest, WithoutMemoryOrAStreamTheSettingsStay) {
  Set("/old", "", "old", "0");
  Write(SettingsFile(), kNew);
  const failing::Operation read{"read settings", [&] { Tabs().ReadFile(); },
                                [&] { return Settings(); }};
  const std::string open_error = ReadError(252, "Setting File open Error");
  const std::string stream_error = ReadError(261, "Setting File open Error");
  const std::string memory_error = ReadError(283, "malloc Error");
  std::set<std::string> told;
  const auto check = [&](const Result& result) {
    const size_t setters = result.errors.find("[set");
    const std::string error = result.errors.substr(0, setters);
    EXPECT_EQ(error.empty() ? kNew : kOld, result.seen);
    EXPECT_EQ(error.empty(), setters == 0) << result.errors;
    EXPECT_TRUE(result.reached || error.empty());
    told.insert(error);
  };
  EXPECT_EQ(2, FailEach(failing::kGetpwuid, GetParam(), read, 1, check));
  EXPECT_THAT(told, ::testing::UnorderedElementsAre("", open_error));
  told.clear();
  EXPECT_EQ(2, FailEach(failing::kFdopen, GetParam(), read, 1, check));
  EXPECT_THAT(told, ::testing::UnorderedElementsAre("", stream_error));
  told.clear();
  // For the stream, the text, and the stream's buffer.
  EXPECT_EQ(4, FailEach(failing::kMalloc, GetParam(), read, 1, check));
  EXPECT_THAT(told, ::testing::UnorderedElementsAre("", stream_error, memory_error));
}

INSTANTIATE_TEST_SUITE_P(OnceAndFromThenOn, SettingsFailureTest,
                         ::testing::ValuesIn(failing::kModes));

}  // namespace
