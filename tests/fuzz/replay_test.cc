// Runs a fuzz target on every input of its corpus: the inputs that once failed, and those that
// between them reach all of the code under test.
#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "tests/fuzz/fuzz_target.h"

namespace {

// The processor's time, which other work on the machine does not prolong. No target waits.
constexpr double kSeconds = 1;

std::vector<std::string> InputFiles() {
  std::vector<std::string> files;
  for (const auto& entry : std::filesystem::directory_iterator(VELTRANA_CORPUS)) {
    files.push_back(entry.path().filename().string());
  }
  std::sort(files.begin(), files.end());
  return files;
}

double ProcessorSeconds() {
  timespec now{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

TEST(Corpus, HasInputs) { EXPECT_FALSE(InputFiles().empty()) << VELTRANA_CORPUS; }

// The name of the file is the name of the test: the last one that was started is the one to look
// at when the program ends in the middle.
class Input : public ::testing::TestWithParam<std::string> {};

TEST_P(Input, IsTakenWithoutFailureInASecond) {
  const std::string path = std::string(VELTRANA_CORPUS) + "/" + GetParam();
  std::ifstream file(path, std::ios::binary);
  ASSERT_TRUE(file) << path;
  const std::string bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  const double start = ProcessorSeconds();
  try {
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
  } catch (const std::exception& failure) {
    FAIL() << path << ": does not hold: " << failure.what();
  }
  EXPECT_LT(ProcessorSeconds() - start, kSeconds) << path << ": takes too long";
}

// Goes through a second macro so that the name of the target stands in the name of the tests.
#define REPLAY_CORPUS_OF(target)                                             \
  INSTANTIATE_TEST_SUITE_P(target, Input, ::testing::ValuesIn(InputFiles()), \
                           [](const auto& file) { return file.param; })
REPLAY_CORPUS_OF(VELTRANA_TARGET);

}  // namespace
