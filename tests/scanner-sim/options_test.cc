// The command line of the scanner simulator: what it sets, what it refuses, what --help explains.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/private_file.h"
#include "tools/scanner-sim/config_keys.h"
#include "tools/scanner-sim/options.h"
#include "tools/scanner-sim/text.h"

namespace {

using Arguments = std::vector<std::string>;

std::string Refusal(const Arguments& arguments) {
  try {
    parse_options(arguments);
  } catch (const UsageError& error) {
    return error.what();
  }
  return "accepted";
}

TEST(Options, AreNoneByDefaultAndMeanSixUsualScanners) {
  const Options options = parse_options({});
  EXPECT_EQ(options.scenario.file, "");
  EXPECT_EQ(options.scenario.count, 6);
  EXPECT_FALSE(options.scenario.network);
  EXPECT_FALSE(options.help || options.check || options.output.human || options.output.quiet);
}

TEST(Options, AreTakenWithAndWithoutAnEqualsSign) {
  const Options options =
      parse_options({"--scanners", "300", "--network=10.77.0.0/16", "--seed", "9", "--log=w.log",
                     "--lists", "l.json", "--ready-file=r", "--human", "--check", "--help"});
  EXPECT_EQ(options.scenario.count, 300);
  EXPECT_EQ(options.scenario.network.value().prefix, 16);
  EXPECT_EQ(options.scenario.seed, 9U);
  EXPECT_EQ(options.output.logFile, "w.log");
  EXPECT_EQ(options.output.listsFile, "l.json");
  EXPECT_EQ(options.output.readyFile, "r");
  EXPECT_TRUE(options.output.human);
  EXPECT_TRUE(options.check);
  EXPECT_TRUE(options.help);
  EXPECT_EQ(parse_options({"--scenario=a=b.conf", "--quiet"}).scenario.file, "a=b.conf");
}

TEST(Options, SetKeysForEveryScannerOrForOne) {
  const Options options = parse_options(
      {"--set", "delay.model=1-5", "--set=Front: Desk:name=a:b=c", "--set", "3:seed=1"});
  const auto& settings = options.scenario.settings;
  ASSERT_EQ(settings.size(), 3U);
  EXPECT_EQ(settings[0].scanner, "");
  EXPECT_EQ(settings[0].setting.key, "delay.model");
  EXPECT_EQ(settings[0].setting.value, "1-5");
  EXPECT_EQ(settings[1].scanner, "Front: Desk");
  EXPECT_EQ(settings[1].setting.key, "name");
  EXPECT_EQ(settings[1].setting.value, "a:b=c");
  EXPECT_EQ(settings[2].scanner, "3");
}

TEST(Options, ThatAreWrongAreNamedWithTheProblem) {
  struct Row {
    Arguments arguments;
    const char* message;
  };
  const Row rows[] = {
      {{"--scaners", "6"}, "--scaners: unknown option (see --help)"},
      {{"six"}, "six: unknown option (see --help)"},
      {{"-h"}, "-h: unknown option (see --help)"},
      {{"--scanners"}, "--scanners: it needs a value"},
      {{"--scanners", "0"}, "--scanners: \"0\" is not a number from 1 to 10000"},
      {{"--scanners=six"}, "--scanners: \"six\" is not a number from 1 to 10000"},
      {{"--scanners", "2", "--scenario", "x"},
       "--scanners: the scenario says which scanners there are"},
      {{"--network", "10.77.0.5/24"},
       "--network: \"10.77.0.5/24\" is not a network (its lowest address and a prefix length from "
       "1 "
       "to 30, like 10.77.0.0/24)"},
      {{"--seed", "-1"}, "--seed: \"-1\" is not a number from 0 to 2147483647"},
      {{"--log="}, "--log: the file has no name"},
      {{"--human=yes"}, "--human: it takes no value"},
      {{"--quiet", "--human"}, "--quiet: it does not go together with --human"},
      {{"--set", "delay"}, "--set delay: this is not [SCANNER:]KEY=VALUE"},
      {{"--set", ":delay=1"}, "--set :delay=1: the scanner before the colon has no name"},
      {{"--set", "delya=1"}, "--set delya=1: unknown key \"delya\""},
      {{"--set", "network=10.0.0.0/8"}, "--set network=10.0.0.0/8: unknown key \"network\""},
      {{"--set", "address=10.77.0.101"},
       "--set address=10.77.0.101: an address is for one scanner (--set SCANNER:address=...)"},
      {{"--set", "error_status.register=1"},
       "--set error_status.register=1: \"error_status\" is about SNMP and does not apply to "
       "\"register\""},
  };
  for (const Row& row : rows) EXPECT_EQ(Refusal(row.arguments), row.message);
}

// --- the program

struct ProgramRun {
  int status = -1;
  std::string output;  // both streams
};

ProgramRun RunProgram(const std::string& arguments) {
  std::FILE* pipe = popen((SCANNER_SIM " " + arguments + " 2>&1").c_str(), "r");
  ProgramRun run;
  char buffer[4096];
  while (const size_t size = std::fread(buffer, 1, sizeof buffer, pipe)) {
    run.output.append(buffer, size);
  }
  const int status = pclose(pipe);
  run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return run;
}

TEST(Program, EndsWithTwoForABadOption) {
  const ProgramRun run = RunProgram("--scanners none");
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.output, "scanner-sim: --scanners: \"none\" is not a number from 1 to 10000\n");
}

TEST(Program, EndsWithTwoForABadValueOfASet) {
  const ProgramRun run = RunProgram("--check --set delay=soon");
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.output,
            "scanner-sim: --set delay=soon: delay: \"soon\" is neither a number from 0 to 3600000 "
            "nor two of them in rising order with a dash between them\n");
}

TEST(Program, EndsWithTwoForMoreScannersThanTheNetworkHolds) {
  const ProgramRun run = RunProgram("--check --scanners 155 --network 10.77.0.0/24");
  EXPECT_EQ(run.status, 2);
  EXPECT_THAT(run.output, testing::HasSubstr("has no room for scanner 155"));
}

TEST(Program, EndsWithTwoForABadScenarioAndNamesFileAndLine) {
  const std::string file = private_file(".conf");
  std::ofstream(file) << "[scanner A]\n\nmodle = T55\n";
  const ProgramRun run = RunProgram("--scenario " + file);
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.output, file + ":3: unknown key \"modle\"\n");
  std::remove(file.c_str());
}

TEST(Program, EndsWithTwoForAScenarioThatIsNotThere) {
  const ProgramRun run = RunProgram("--scenario /nonexistent/x.conf");
  EXPECT_EQ(run.status, 2);
  EXPECT_THAT(run.output, testing::StartsWith("/nonexistent/x.conf: "));
}

TEST(Program, ShowsTheScannersOfACheck) {
  const ProgramRun run = RunProgram("--check --scanners 2 --set 2:vendor=V");
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.output,
            "10.77.0.101  Reception  Veltrana T55_E\n10.77.0.102  Accounting  V T35_E\n");
}

TEST(Program, PrintsItsHelpAndEndsWithZero) {
  const ProgramRun run = RunProgram("--help");
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.output, help_text());
}

// --- help and document

std::string Document() {
  std::ifstream file(VELTRANA_SOURCE_DIR "/docs/scanner-sim.md");
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

TEST(Help, ExplainsEveryOptionAndEveryKeyInLinesThatFitATerminal) {
  const std::string help = help_text();
  for (const char* option : {"--scanners", "--network", "--scenario", "--set", "--seed", "--check",
                             "--log", "--lists", "--ready-file", "--human", "--quiet", "--help"})
    EXPECT_THAT(help, testing::HasSubstr(std::string("\n  ") + option));
  for (const KeyHelp& key : key_help())
    EXPECT_THAT(help, testing::HasSubstr("\n  " + key.name + " = " + key.value + "\n"));
  std::istringstream lines(help);
  for (std::string line; std::getline(lines, line);) EXPECT_LE(line.size(), 100U) << line;
}

TEST(Help, HasAnExampleThatIsAGoodScenario) {
  const std::string help = help_text();
  const size_t start = help.find("    [defaults]\n");
  const size_t end = help.find("\n\n  VALUE is");
  ASSERT_NE(start, std::string::npos);
  ASSERT_NE(end, std::string::npos);
  ScenarioRequest request;
  request.file = private_file(".conf");
  std::ofstream(request.file) << help.substr(start, end - start) << "\n";
  EXPECT_EQ(make_scanners(request).size(), 2U);
  std::remove(request.file.c_str());
}

TEST(Document, ExplainsEveryOptionAndEveryKey) {
  const std::string document = Document();
  for (const KeyHelp& key : key_help())
    EXPECT_THAT(document, testing::HasSubstr("| `" + key.name + "`"));
  for (const char* option : {"--scanners", "--network", "--scenario", "--set", "--seed", "--check",
                             "--log", "--lists", "--ready-file", "--human", "--quiet", "--help"})
    EXPECT_THAT(document, testing::HasSubstr(std::string("| `") + option));
}

}  // namespace
