// Names of files that belong to one test of one run alone.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

// A file in the folder for temporary files, named after the test and the process.
inline std::string private_file(const std::string& ending) {
  const testing::TestInfo* test = testing::UnitTest::GetInstance()->current_test_info();
  return testing::TempDir() + "/" + test->test_suite_name() + "." + test->name() + "." +
         std::to_string(getpid()) + ending;
}
