// Tests of the debug log. They use the real switch files and the real log, and so run in the lab,
// where these are private.
#include "app/log/debug_log.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/cancelled_thread.h"

namespace {

namespace fs = std::filesystem;

const char kSwitchFolder[] = "/usr/local/share/veltrana/scanner/bin";
const char kStderrSwitch[] = "/usr/local/share/veltrana/scanner/bin/VeltranaDVXTools.err";
const char kLogSwitch[] = "/usr/local/share/veltrana/scanner/bin/VeltranaDVXTools.log";
const char kLogFile[] = "/tmp/VeltranaDVXTools.log";
const char kCaptureFile[] = "/tmp/debug_log_test.stderr";

void Create(const char* path, const char* content = "") { std::ofstream(path) << content; }

std::string Read(const char* path) {
  std::ostringstream content;
  content << std::ifstream(path).rdbuf();
  return content.str();
}

// Standard error goes to a file for as long as it lives. The stream is buffered as a file is, so
// that what has been flushed can be told from what has not.
class StderrToFile {
 public:
  StderrToFile() : m_iOld(dup(STDERR_FILENO)) {
    const int file = open(kCaptureFile, O_WRONLY | O_CREAT | O_TRUNC | O_APPEND, 0600);
    dup2(file, STDERR_FILENO);
    close(file);
    setvbuf(stderr, m_Buffer, _IOFBF, sizeof(m_Buffer));
  }
  ~StderrToFile() {
    fflush(stderr);
    setvbuf(stderr, nullptr, _IONBF, 0);
    dup2(m_iOld, STDERR_FILENO);
    close(m_iOld);
  }
  StderrToFile(const StderrToFile&) = delete;
  StderrToFile& operator=(const StderrToFile&) = delete;

  // What has reached the file, and what was written altogether.
  static std::string Flushed() { return Read(kCaptureFile); }
  static std::string All() {
    fflush(stderr);
    return Read(kCaptureFile);
  }

 private:
  int m_iOld;
  char m_Buffer[4096];
};

class DebugLogTest : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_FALSE(fs::exists(kSwitchFolder)) << "not a private folder: run this in script/lab";
    ASSERT_FALSE(fs::exists(kLogFile));
    fs::create_directories(kSwitchFolder);
    m_bMine = true;
  }
  void TearDown() override {
    myDbgFunc = myDbgNop;
    if (!m_bMine) return;
    fs::remove_all("/usr/local/share/veltrana/scanner");
    fs::remove_all(kLogFile);
  }

  // What a line through the sink in use leaves on standard error.
  static std::string StderrOfALine() {
    const StderrToFile capture;
    myDbgFunc(DBG_PREFIX "i=%d\n", DBG_AT(12), 5);
    return StderrToFile::All();
  }

 private:
  bool m_bMine = false;
};

// Runs before any test has chosen a sink: lines before the choice must not crash.
const DebugFunc kSinkBeforeMain = myDbgFunc;

TEST_F(DebugLogTest, SinkBeforeTheChoiceDropsLines) { EXPECT_EQ(kSinkBeforeMain, myDbgNop); }

TEST_F(DebugLogTest, WithoutSwitchFilesNothingIsWrittenAnywhere) {
  initDebug();
  EXPECT_EQ(myDbgFunc, myDbgNop);
  EXPECT_EQ(StderrOfALine(), "");
  EXPECT_FALSE(fs::exists(kLogFile));
}

TEST_F(DebugLogTest, DebugPrintfReachesStandardErrorWithoutSwitchFiles) {
  initDebug();
  const StderrToFile capture;
  DebugPrintf("ERROR: %s: snmp_build\n", "snmp_get");
  EXPECT_EQ(StderrToFile::All(), "ERROR: snmp_get: snmp_build\n");
  EXPECT_FALSE(fs::exists(kLogFile));
}

TEST_F(DebugLogTest, DebugPrintfReachesStandardErrorAlsoWhenLinesGoToTheLog) {
  Create(kLogSwitch);
  initDebug();
  const StderrToFile capture;
  DebugPrintf("ERROR: %s\n", "x");
  EXPECT_EQ(StderrToFile::All(), "ERROR: x\n");
  EXPECT_FALSE(fs::exists(kLogFile));
}

TEST_F(DebugLogTest, ErrSwitchSendsLinesToStandardError) {
  Create(kStderrSwitch);
  initDebug();
  EXPECT_EQ(myDbgFunc, myDbgOutputStderr);
  EXPECT_EQ(StderrOfALine(), "[StderrOfALine(12)]: i=5\n");
  EXPECT_FALSE(fs::exists(kLogFile));
}

TEST_F(DebugLogTest, LogSwitchAppendsLinesToTheLog) {
  Create(kLogFile, "earlier\n");
  Create(kLogSwitch);
  initDebug();
  EXPECT_EQ(myDbgFunc, myDbgOutputLog);
  EXPECT_EQ(StderrOfALine(), "");
  EXPECT_EQ(Read(kLogFile), "earlier\n[StderrOfALine(12)]: i=5\n");
  myDbgFunc("%s", "unfinished");
  EXPECT_EQ(Read(kLogFile), "earlier\n[StderrOfALine(12)]: i=5\nunfinished");
}

TEST_F(DebugLogTest, ErrSwitchWinsOverLogSwitch) {
  Create(kStderrSwitch);
  Create(kLogSwitch);
  Create(kLogFile, "earlier\n");
  initDebug();
  EXPECT_EQ(myDbgFunc, myDbgOutputStderr);
  EXPECT_EQ(StderrOfALine(), "[StderrOfALine(12)]: i=5\n");
  EXPECT_EQ(Read(kLogFile), "earlier\n");
}

TEST_F(DebugLogTest, OnlyTheExistenceOfASwitchFileCounts) {
  Create(kStderrSwitch, "off\n");
  chmod(kStderrSwitch, 0);
  initDebug();
  EXPECT_EQ(myDbgFunc, myDbgOutputStderr);
  fs::remove(kStderrSwitch);
  fs::create_directory(kLogSwitch);
  initDebug();
  EXPECT_EQ(myDbgFunc, myDbgOutputLog);
}

TEST_F(DebugLogTest, SwitchFilesMadeLaterChangeNothing) {
  initDebug();
  Create(kStderrSwitch);
  Create(kLogSwitch);
  EXPECT_EQ(StderrOfALine(), "");
  EXPECT_FALSE(fs::exists(kLogFile));
}

TEST_F(DebugLogTest, SwitchFilesRemovedLaterChangeNothing) {
  Create(kLogSwitch);
  initDebug();
  fs::remove(kLogSwitch);
  myDbgFunc("line\n");
  EXPECT_EQ(Read(kLogFile), "line\n");
}

TEST_F(DebugLogTest, ChoosingAgainWithoutSwitchFilesTurnsTheLogOff) {
  Create(kLogSwitch);
  initDebug();
  fs::remove(kLogSwitch);
  initDebug();
  EXPECT_EQ(myDbgFunc, myDbgNop);
}

TEST_F(DebugLogTest, NullFormatWritesNothing) {
  const char* volatile none = nullptr;
  const StderrToFile capture;
  myDbgNop(none, 0);
  myDbgOutputStderr(none, 0);
  myDbgOutputLog(none, 0);
  EXPECT_EQ(StderrToFile::All(), "");
  EXPECT_FALSE(fs::exists(kLogFile)) << "not even opened";
}

TEST_F(DebugLogTest, StderrSinkFlushesEachLineAndDebugPrintfDoesNot) {
  const StderrToFile capture;
  DebugPrintf("one\n");
  EXPECT_EQ(StderrToFile::Flushed(), "");
  myDbgOutputStderr("two\n");
  EXPECT_EQ(StderrToFile::Flushed(), "one\ntwo\n");
}

TEST_F(DebugLogTest, LinesAreWrittenExactlyAsFormatted) {
  const StderrToFile capture;
  myDbgOutputStderr("%s|%5d|%%\t%c", "a\nb", 42, 'x');
  EXPECT_EQ(StderrToFile::All(), "a\nb|   42|%\tx");
  myDbgOutputLog("%s|%5d|%%\t%c", "a\nb", 42, 'x');
  EXPECT_EQ(Read(kLogFile), "a\nb|   42|%\tx");
}

TEST_F(DebugLogTest, PrefixNamesTheBareFunctionAndTheLine) {
  struct CSomeClass {
    static void OnSomething() {
      myDbgFunc(DBG_PREFIX "real\n", DBG_HERE);
      myDbgFunc(DBG_PREFIX "fixed\n", DBG_AT(150));
    }
  };
  Create(kLogSwitch);
  initDebug();
  CSomeClass::OnSomething();
  EXPECT_THAT(Read(kLogFile), testing::MatchesRegex(R"(\[OnSomething\([1-9][0-9]*\)\]: real
\[OnSomething\(150\)\]: fixed
)"));
}

TEST_F(DebugLogTest, LogIsNotHeldOpenAndIsMadeAgain) {
  const int descriptors = CountDescriptors();
  myDbgOutputLog("one\n");
  EXPECT_EQ(CountDescriptors(), descriptors);
  fs::remove(kLogFile);
  myDbgOutputLog("two\n");
  EXPECT_EQ(Read(kLogFile), "two\n");
}

TEST_F(DebugLogTest, LineIsLostWhenTheLogCannotBeOpened) {
  fs::create_directory(kLogFile);
  const StderrToFile capture;
  myDbgOutputLog("lost\n");
  EXPECT_EQ(StderrToFile::All(), "");
  fs::remove(kLogFile);
  myDbgOutputLog("kept\n");
  EXPECT_EQ(Read(kLogFile), "kept\n");
}

TEST_F(DebugLogTest, LogThatIsAPipeIsWrittenForItsReaderOnly) {
  const int descriptors = CountDescriptors();
  ASSERT_EQ(mkfifo(kLogFile, 0600), 0);
  myDbgOutputLog("lost\n");
  const int reader = open(kLogFile, O_RDONLY | O_NONBLOCK);
  myDbgOutputLog("read\n");
  char text[16] = {};
  EXPECT_EQ(read(reader, text, sizeof(text)), 5);
  EXPECT_STREQ(text, "read\n");
  close(reader);
  EXPECT_EQ(CountDescriptors(), descriptors);
}

TEST_F(DebugLogTest, LineIsLostWhenTheDiskIsFull) {
  const int descriptors = CountDescriptors();
  fs::create_symlink("/dev/full", kLogFile);
  const StderrToFile capture;
  myDbgOutputLog("lost\n");
  EXPECT_EQ(StderrToFile::All(), "");
  fs::remove(kLogFile);
  myDbgOutputLog("kept\n");
  EXPECT_EQ(Read(kLogFile), "kept\n");
  EXPECT_EQ(CountDescriptors(), descriptors + 1) << "that of the capture only";
}

TEST_F(DebugLogTest, LinesOfTwoThreadsStayWhole) {
  constexpr int kLines = 500;
  const auto write = [](const char* name) {
    for (int i = 0; i < kLines; ++i) myDbgOutputLog("%s %d %s\n", name, i, name);
  };
  std::thread other(write, "worker");
  write("main");
  other.join();
  std::istringstream log(Read(kLogFile));
  std::multiset<std::string> seen;
  for (std::string line; std::getline(log, line);) seen.insert(line);
  std::multiset<std::string> expected;
  for (const char* name : {"main", "worker"}) {
    for (int i = 0; i < kLines; ++i) {
      std::ostringstream line;
      line << name << ' ' << i << ' ' << name;
      expected.insert(line.str());
    }
  }
  EXPECT_EQ(seen, expected);
}

// A cancelled search worker finishes the line that it is writing, and leaves no file open.
TEST_F(DebugLogTest, PendingCancellationWaitsForTheLine) {
  const int descriptors = CountDescriptors();
  bool after[3] = {};
  {
    const StderrToFile capture;
    const auto work = [&after] {
      pthread_cancel(pthread_self());
      myDbgOutputLog("log\n");
      after[0] = true;
      myDbgOutputStderr("err\n");
      after[1] = true;
      DebugPrintf("printf\n");
      after[2] = true;
      pthread_testcancel();
    };
    EXPECT_TRUE(EndsCancelled(work, [] {}));
    EXPECT_EQ(StderrToFile::All(), "err\nprintf\n");
  }
  EXPECT_TRUE(after[0] && after[1] && after[2]);
  EXPECT_EQ(Read(kLogFile), "log\n");
  EXPECT_EQ(CountDescriptors(), descriptors);
}

// The sinks leave a thread as cancellable, or not, as it was.
TEST_F(DebugLogTest, CancellationStateIsPutBack) {
  int state = -1;
  pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, nullptr);
  myDbgOutputLog("line\n");
  pthread_setcancelstate(PTHREAD_CANCEL_ENABLE, &state);
  EXPECT_EQ(state, PTHREAD_CANCEL_DISABLE);
}

}  // namespace
