// Tests of debug lines on a standard error that is read slowly, or not at all.
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/resource.h>
#include <termios.h>

#include <cerrno>
#include <string>

#include "app/log/debug_log.h"
#include "tests/support/stderr_reader.h"

// The linker sends the calls of this here, see CMakeLists.txt.
extern "C" {
int __real_poll(pollfd* descriptors, nfds_t count, int milliseconds);
int __wrap_poll(pollfd* descriptors, nfds_t count, int milliseconds);
}

namespace {

// Whoever waits at all waits until there is room: on a busy machine a slow reader may not come to
// its turn for longer than a line waits for it.
std::atomic<bool> reader_comes_to_its_turn{false};

}  // namespace

int __wrap_poll(pollfd* descriptors, nfds_t count, int milliseconds) {
  if (reader_comes_to_its_turn && milliseconds > 0) milliseconds = 20000;
  return __real_poll(descriptors, count, milliseconds);
}

using stderr_reader::Pipe;
using stderr_reader::ReadAll;
using stderr_reader::Seconds;
using stderr_reader::StderrTo;

namespace {

constexpr double kPatience = kStderrPatienceMs / 1000.0;
constexpr double kBusyMachine = 8;  // seconds that it may take longer; less than the rescue

struct Printer {
  const char* name;
  DebugFunc print;
};
constexpr Printer kPrinters[] = {{"myDbgOutputStderr", myDbgOutputStderr},
                                 {"DebugPrintf", DebugPrintf}};

// How long these lines take.
double Print(DebugFunc print, int lines) {
  const double begun = Seconds();
  for (int i = 0; i < lines; ++i) print("line %d\n", i);
  return Seconds() - begun;
}

// The first line waits for the reader, the others do not.
void ExpectOneWait(DebugFunc print) {
  const double first = Print(print, 1);
  EXPECT_GE(first, kPatience);
  EXPECT_LT(first, kPatience + kBusyMachine);
  EXPECT_LT(Print(print, 1000), kBusyMachine);
}

// After this the lines wait for their reader again.
void MakeReaderKnown() {
  const Pipe pipe;
  const StderrTo to(pipe.Writer(), pipe.Reader());
  DebugPrintf("taken\n");
}

class DebugLogReaderTest : public ::testing::Test {
 protected:
  void SetUp() override { MakeReaderKnown(); }
};

TEST_F(DebugLogReaderTest, FullPipeHoldsTheProgramUpOnce) {
  for (const Printer& printer : kPrinters) {
    MakeReaderKnown();
    const Pipe pipe;
    pipe.Fill();
    const StderrTo to(pipe.Writer(), pipe.Reader());
    SCOPED_TRACE(printer.name);
    ExpectOneWait(printer.print);
  }
}

// Nothing can be opened anew when all descriptors are in use, and not everybody may open a pipe.
TEST_F(DebugLogReaderTest, FullPipeThatCannotBeOpenedAnewHoldsTheProgramUpOnce) {
  const Pipe pipe;
  pipe.Fill();
  const StderrTo to(pipe.Writer(), pipe.Reader());
  rlimit limit = {};
  getrlimit(RLIMIT_NOFILE, &limit);
  const int next = dup(pipe.Reader());
  close(next);
  const rlimit none = {static_cast<rlim_t>(next), limit.rlim_max};
  setrlimit(RLIMIT_NOFILE, &none);
  ExpectOneWait(myDbgOutputStderr);
  ReadAll(pipe.Reader());
  myDbgOutputStderr("taken\n");
  setrlimit(RLIMIT_NOFILE, &limit);
  EXPECT_EQ("taken\n", ReadAll(pipe.Reader()));
}

TEST_F(DebugLogReaderTest, StoppedTerminalHoldsTheProgramUpOnce) {
  int keyboard = -1;
  int terminal = -1;
  ASSERT_EQ(0, openpty(&keyboard, &terminal, nullptr, nullptr, nullptr));
  {
    const StderrTo to(terminal, keyboard);
    ASSERT_EQ(0, tcflow(terminal, TCOOFF));
    ExpectOneWait(myDbgOutputStderr);
    EXPECT_EQ("", ReadAll(keyboard));
    ASSERT_EQ(0, tcflow(terminal, TCOON));
    myDbgOutputStderr("taken\n");
    EXPECT_EQ("taken\r\n", ReadAll(keyboard));
  }
  close(terminal);
  close(keyboard);
}

TEST_F(DebugLogReaderTest, FullSocketHoldsTheProgramUpOnce) {
  int ends[2] = {-1, -1};
  ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends));
  const std::string page(4096, '.');
  while (send(ends[1], page.data(), page.size(), MSG_DONTWAIT) > 0) {
  }
  {
    const StderrTo to(ends[1], ends[0]);
    ExpectOneWait(myDbgOutputStderr);
    ReadAll(ends[0]);
    myDbgOutputStderr("taken\n");
    EXPECT_EQ("taken\n", ReadAll(ends[0]));
  }
  close(ends[0]);
  close(ends[1]);
}

TEST_F(DebugLogReaderTest, FullPipeBehindABufferHoldsTheProgramUpOnce) {
  char buffer[4096];
  const Pipe pipe;
  pipe.Fill();
  const StderrTo to(pipe.Writer(), pipe.Reader());
  setvbuf(stderr, buffer, _IOFBF, sizeof(buffer));
  ExpectOneWait(myDbgOutputStderr);
  ReadAll(pipe.Reader());
  DebugPrintf("one\n");
  EXPECT_EQ("", ReadAll(pipe.Reader()));
  myDbgOutputStderr("two\n");
  EXPECT_EQ("one\ntwo\n", ReadAll(pipe.Reader()));
  setvbuf(stderr, nullptr, _IONBF, 0);
}

// The shell has the same open file, and would be surprised.
TEST_F(DebugLogReaderTest, ThePipesFlagsStayAsTheyAreWhileALineWaits) {
  const Pipe pipe;
  pipe.Fill();
  const int flags = fcntl(pipe.Writer(), F_GETFL);
  const StderrTo to(pipe.Writer(), pipe.Reader());
  std::thread other([] { myDbgOutputStderr("line\n"); });
  const double end = Seconds() + kPatience + 0.1;
  while (Seconds() < end) ASSERT_EQ(flags, fcntl(pipe.Writer(), F_GETFL));
  other.join();
}

TEST_F(DebugLogReaderTest, ReaderWhoComesBackGetsTheLinesFromThenOn) {
  const Pipe pipe;
  pipe.Fill();
  const StderrTo to(pipe.Writer(), pipe.Reader());
  myDbgOutputStderr("lost\n");
  ReadAll(pipe.Reader());
  myDbgOutputStderr("taken\n");
  DebugPrintf("taken too\n");
  EXPECT_EQ("taken\ntaken too\n", ReadAll(pipe.Reader()));
  pipe.Fill();
  EXPECT_GE(Print(myDbgOutputStderr, 1), kPatience) << "waits for the reader anew";
}

// Reads a page at a time, with pauses, until this object goes.
class SlowReader {
 public:
  SlowReader(int fd, std::string* read)
      : m_Thread([this, fd, read] {
          while (!m_bOver) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
            char page[4096];
            pollfd ready = {fd, POLLIN, 0};
            if (poll(&ready, 1, 0) != 1) continue;
            read->append(page, static_cast<size_t>(::read(fd, page, sizeof(page))));
          }
        }) {
    reader_comes_to_its_turn = true;
  }
  ~SlowReader() {
    reader_comes_to_its_turn = false;
    m_bOver = true;
    m_Thread.join();
  }
  SlowReader(const SlowReader&) = delete;
  SlowReader& operator=(const SlowReader&) = delete;

 private:
  std::atomic<bool> m_bOver{false};
  std::thread m_Thread;
};

TEST_F(DebugLogReaderTest, SlowReaderGetsEveryLine) {
  constexpr int kLines = 4000;
  std::string expected;
  std::string seen;
  const Pipe pipe;
  {
    const StderrTo to(pipe.Writer(), pipe.Reader());
    const SlowReader reader(pipe.Reader(), &seen);
    for (int i = 0; i < kLines; ++i) {
      const std::string line = std::to_string(i) + std::string(80, 'x') + "\n";
      expected += line;
      kPrinters[i % 2].print("%s", line.c_str());
    }
  }
  seen += ReadAll(pipe.Reader());
  EXPECT_EQ(expected.size(), seen.size());
  EXPECT_TRUE(expected == seen);
}

TEST_F(DebugLogReaderTest, SlowReaderGetsALineThatIsLargerThanThePipe) {
  const std::string line(300000, 'x');
  std::string seen;
  const Pipe pipe;
  {
    const StderrTo to(pipe.Writer(), pipe.Reader());
    const SlowReader reader(pipe.Reader(), &seen);
    myDbgOutputStderr("%s\n", line.c_str());
  }
  seen += ReadAll(pipe.Reader());
  EXPECT_TRUE(line + "\n" == seen) << seen.size();
}

// Each of them may be the one that waits; they do not wait one behind the other.
TEST_F(DebugLogReaderTest, TwoThreadsAreHeldUpOnce) {
  const Pipe pipe;
  pipe.Fill();
  const StderrTo to(pipe.Writer(), pipe.Reader());
  const double begun = Seconds();
  std::thread other([] { Print(myDbgOutputStderr, 100); });
  Print(myDbgOutputStderr, 100);
  other.join();
  EXPECT_LT(Seconds() - begun, kPatience + kBusyMachine);
}

TEST_F(DebugLogReaderTest, LinesOfTwoThreadsStayWhole) {
  constexpr int kLines = 500;
  std::string seen;
  const Pipe pipe;
  {
    const StderrTo to(pipe.Writer(), pipe.Reader());
    const SlowReader reader(pipe.Reader(), &seen);
    const auto print = [](const char* word) {
      for (int i = 0; i < kLines; ++i) myDbgOutputStderr("%s %s %s\n", word, word, word);
    };
    std::thread other(print, "worker");
    print("main");
    other.join();
  }
  seen += ReadAll(pipe.Reader());
  int whole = 0;
  size_t from = 0;
  for (size_t to = seen.find('\n'); to != std::string::npos; to = seen.find('\n', from)) {
    const std::string line = seen.substr(from, to - from);
    whole += line == "worker worker worker" || line == "main main main" ? 1 : 0;
    from = to + 1;
  }
  EXPECT_EQ(2 * kLines, whole);
}

TEST_F(DebugLogReaderTest, LinesKeepTheLastSystemError) {
  const Pipe pipe;
  pipe.Fill();
  const StderrTo to(pipe.Writer(), pipe.Reader());
  for (const Printer& printer : kPrinters) {
    errno = EDOM;
    printer.print("lost\n");
    EXPECT_EQ(EDOM, errno);
  }
  ReadAll(pipe.Reader());
  errno = EDOM;
  myDbgOutputStderr("taken\n");
  EXPECT_EQ(EDOM, errno);
}

}  // namespace
