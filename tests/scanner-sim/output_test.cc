// What the scanner simulator writes: log lines, lists, files that are replaced whole; its timers.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <sstream>
#include <string>

#include "tests/support/private_file.h"
#include "tools/scanner-sim/json.h"
#include "tools/scanner-sim/lists_report.h"
#include "tools/scanner-sim/run_error.h"
#include "tools/scanner-sim/timer_queue.h"
#include "tools/scanner-sim/wire_log.h"

namespace {

std::string Contents(const std::string& name) {
  std::ifstream file(name);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

TEST(Json, EscapesWhatIsNotPlainText) {
  EXPECT_EQ(json_string("a\"b\\c"), "\"a\\\"b\\\\c\"");
  EXPECT_EQ(json_string(std::string("\0\n\x1f\x7f", 4)), "\"\\u0000\\u000a\\u001f\\u007f\"");
  EXPECT_EQ(json_string("caf\xC3\xA9"), "\"caf\xC3\xA9\"");
  EXPECT_EQ(json_string("caf\xE9!"), "\"caf\\u00e9!\"");
  EXPECT_EQ(json_string("\xC3"), "\"\\u00c3\"");
}

TEST(Json, BuildsObjectsAndArrays) {
  EXPECT_EQ(CJsonObject().Str(), "{}");
  EXPECT_EQ(CJsonObject().Text("a", "b").Number("n", -5).Json("j", "null").Str(),
            "{\"a\":\"b\",\"n\":-5,\"j\":null}");
  EXPECT_EQ(json_array({}), "[]");
  EXPECT_EQ(json_texts({"a", "b"}), "[\"a\",\"b\"]");
}

// GET of the model with the four-byte headers of the client.
const char kGetModel[] =
    "30 82 00 2f 02 01 00 04 06 70 75 62 6c 69 63 a0 22 02 04 12 34 56 78 02 01 00 02 01 00 30 14 "
    "30 82 00 10 06 0c 2b 06 01 04 01 85 5b 01 02 01 02 00 05 00";

TEST(LogLine, OfARequestHoldsEverythingThatItSays) {
  const Bytes bytes = from_hex(kGetModel).value();
  const Understanding understanding = understand(Protocol::kSnmp, bytes);
  WireEntry entry;
  entry.from = {0x0A4D000A, 40001};
  entry.to = {0x0A4D0065, 161};
  entry.scanner = "Reception";
  entry.understood = understanding_json(understanding);
  entry.text = understanding_text(understanding, bytes.size());
  EXPECT_EQ(
      wire_line(1700000000.123456, entry, bytes),
      "{\"time\":1700000000.123456,\"direction\":\"received\",\"protocol\":\"snmp\","
      "\"from\":\"10.77.0.10:40001\",\"to\":\"10.77.0.101:161\",\"scanner\":\"Reception\","
      "\"understood\":{\"pdu\":\"get\",\"version\":0,\"community\":\"public\","
      "\"request_id\":305419896,\"error_status\":0,\"error_index\":0,"
      "\"variables\":[{\"object\":\"1.3.6.1.4.1.731.1.2.1.2.0\",\"type\":\"null\",\"value\":"
      "\"null\"}],"
      "\"question\":\"model\",\"remarks\":[]},\"text\":\"asked for its model\",\"changes\":[],"
      "\"size\":51,\"hex\":\"3082002f02010004067075626c6963a0220204123456780201000201003014308200"
      "10060c2b06010401855b010201020005"
      "00\"}");
}

TEST(LogLine, NamesEveryTypeOfValueAndKeepsValuesThatItCannotRead) {
  // SET of one object to each type, the last one unknown.
  const Bytes bytes = from_hex(
                          "30 75 02 01 00 04 01 70 a3 6d 02 01 01 02 01 00 02 01 00 30 62"
                          "30 09 06 02 2b 01 02 03 01 e2 40"
                          "30 08 06 02 2b 02 04 02 68 69"
                          "30 08 06 02 2b 03 04 02 ff 00"
                          "30 08 06 02 2b 04 06 02 2b 81"
                          "30 0a 06 02 2b 05 40 04 0a 4d 00 05"
                          "30 07 06 02 2b 06 41 01 07"
                          "30 07 06 02 2b 07 42 01 08"
                          "30 07 06 02 2b 08 43 01 09"
                          "30 07 06 02 2b 09 44 01 0a"
                          "30 07 06 02 2b 0a 46 01 0b")
                          .value();
  EXPECT_EQ(understanding_json(understand(Protocol::kSnmp, bytes)),
            "{\"pdu\":\"set\",\"version\":0,\"community\":\"p\",\"request_id\":1,"
            "\"error_status\":0,\"error_index\":0,\"variables\":["
            "{\"object\":\"1.3.1\",\"type\":\"integer\",\"value\":\"123456\"},"
            "{\"object\":\"1.3.2\",\"type\":\"string\",\"value\":\"hi\"},"
            "{\"object\":\"1.3.3\",\"type\":\"string\",\"value\":\"ff:00\"},"
            "{\"object\":\"1.3.4\",\"type\":\"oid\",\"value\":\"2b:81\"},"
            "{\"object\":\"1.3.5\",\"type\":\"address\",\"value\":\"10.77.0.5\"},"
            "{\"object\":\"1.3.6\",\"type\":\"counter\",\"value\":\"7\"},"
            "{\"object\":\"1.3.7\",\"type\":\"gauge\",\"value\":\"8\"},"
            "{\"object\":\"1.3.8\",\"type\":\"ticks\",\"value\":\"9\"},"
            "{\"object\":\"1.3.9\",\"type\":\"opaque\",\"value\":\"0a\"},"
            "{\"object\":\"1.3.10\",\"type\":\"46\",\"value\":\"0b\"}],"
            "\"remarks\":[]}");
}

TEST(LogLine, RemarksOnBytesThatBelongToNothing) {
  const Bytes bytes = from_hex(
                          "30 24 02 01 00 04 01 70 a0 1a 02 01 01 02 01 00 02 01 00"
                          "30 0c 30 0a 06 02 2b 01 05 00 99 99 99 99 99 99 99 88 77 66")
                          .value();
  EXPECT_THAT(understanding_json(understand(Protocol::kSnmp, bytes)),
              testing::HasSubstr("\"remarks\":[\"3 bytes after the variable list\","
                                 "\"4 bytes after a value\",\"2 bytes after the PDU\","
                                 "\"1 bytes after the message\"]"));
}

TEST(LogLine, OfACommandHoldsTheComputer) {
  const Bytes bytes = from_hex(
                          "4d 46 50 50 30 32 30 30 4d 4c 30 31 39 30 31 03 1c 00 00 00"
                          "0a 4d 00 0a 64 65 73 6b 2d 34 32 00 00 00 00 00 00 00 00 00"
                          "02 56 44 56 58 10 00 01")
                          .value();
  EXPECT_EQ(understanding_json(understand(Protocol::kRegistration, bytes)),
            "{\"command\":3,\"meaning\":\"register\",\"category\":49,\"status\":0,\"length\":28,"
            "\"sequence\":\"3930\","
            "\"data\":\"0a4d000a6465736b2d34320000000000000000000256445658100001\","
            "\"computer\":{\"name\":\"desk-42\",\"address\":\"10.77.0.10\","
            "\"mac\":\"02:56:44:56:58:10\"},\"remarks\":[]}");
}

TEST(LogLine, OfAnUnknownDatagramHoldsTheProblem) {
  const Bytes bytes = {0x30};
  const Understanding understanding = understand(Protocol::kSnmp, bytes);
  EXPECT_EQ(understanding_json(understanding), "null");
  WireEntry entry;
  entry.problem = understanding.problem;
  EXPECT_THAT(wire_line(1, entry, bytes),
              testing::HasSubstr("\"understood\":null,\"problem\":\"ends inside the message\""));
}

TEST(Log, HasEachLineInTheFileAtOnce) {
  const std::string name = private_file(".log");
  CWireLog log(name);
  log.Write({}, {0x01});
  EXPECT_THAT(Contents(name), testing::EndsWith("\"size\":1,\"hex\":\"01\"}\n"));
  log.Write({}, {0x02, 0x03});
  EXPECT_THAT(Contents(name), testing::EndsWith("\"size\":2,\"hex\":\"0203\"}\n"));
  std::remove(name.c_str());
}

TEST(Log, ThatCannotBeWrittenStopsTheRun) {
  EXPECT_THROW(CWireLog("/nonexistent/log"), RunError);
  CWireLog log("/dev/full");
  EXPECT_THROW(log.Write({}, {0x01}), RunError);
}

TEST(Log, WithoutANameIsNone) { EXPECT_NO_THROW(CWireLog("").Write({}, {0x01})); }

std::vector<CScanner> TwoScanners() {
  std::vector<CScanner> scanners;
  for (int i = 1; i <= 2; ++i) {
    ScannerConfig config = usual_scanner(i);
    config.address = 0x0A4D0064 + static_cast<Ipv4>(i);
    if (i == 2) config.registered = {{"a\"b", 0x0A4D000A, {2, 0x56, 0x44, 0x56, 0x58, 0x10}}};
    scanners.emplace_back(config);
  }
  return scanners;
}

TEST(Lists, AreJsonWithEveryScanner) {
  EXPECT_EQ(lists_json(TwoScanners()),
            "{\"scanners\":[{\"address\":\"10.77.0.101\",\"scanner\":\"Reception\","
            "\"name\":\"Reception\",\"model\":\"T55_E\",\"lists\":[]},"
            "{\"address\":\"10.77.0.102\",\"scanner\":\"Accounting\",\"name\":\"Accounting\","
            "\"model\":\"T35_E\",\"lists\":[{\"name\":\"a\\\"b\",\"address\":\"10.77.0.10\","
            "\"mac\":\"02:56:44:56:58:10\"}]}]}\n");
}

TEST(Lists, AreReadableLines) {
  EXPECT_EQ(list_line(TwoScanners()[0]), "10.77.0.101  Reception  lists: nobody");
  EXPECT_EQ(list_line(TwoScanners()[1]),
            "10.77.0.102  Accounting  lists: a\"b (10.77.0.10, 02:56:44:56:58:10)");
}

TEST(ReplacedFile, IsANewFileWithTheWholeContents) {
  const std::string name = private_file(".txt");
  replace_file(name, "first, longer\n");
  struct stat before = {};
  ASSERT_EQ(stat(name.c_str(), &before), 0);
  std::ifstream reader(name);
  replace_file(name, "second\n");
  struct stat after = {};
  ASSERT_EQ(stat(name.c_str(), &after), 0);
  EXPECT_NE(before.st_ino, after.st_ino);
  EXPECT_EQ(Contents(name), "second\n");
  std::string line;
  std::getline(reader, line);
  EXPECT_EQ(line, "first, longer") << "who has the old file open still reads all of it";
  EXPECT_NE(stat((name + ".new").c_str(), &after), 0);
  std::remove(name.c_str());
}

TEST(ReplacedFile, ThatCannotBeWrittenStopsTheRun) {
  EXPECT_THROW(replace_file("/nonexistent/lists", "x"), RunError);
}

using Queue = CTimerQueue<int>;

TEST(Timers, GiveTheirEntriesByTimeAndThenByOrder) {
  Queue queue;
  const Queue::Clock::time_point start;
  const auto at = [&](int ms) { return start + std::chrono::milliseconds(ms); };
  queue.Put(at(20), 3);
  queue.Put(at(10), 1);
  queue.Put(at(10), 2);
  EXPECT_EQ(queue.TakeDue(at(9)), std::nullopt);
  EXPECT_EQ(queue.TakeDue(at(10)), 1);
  EXPECT_EQ(queue.TakeDue(at(10)), 2);
  EXPECT_EQ(queue.TakeDue(at(10)), std::nullopt);
  EXPECT_EQ(queue.TakeDue(at(30)), 3);
  EXPECT_EQ(queue.TakeDue(at(30)), std::nullopt);
}

TEST(Timers, WaitUntilTheFirstEntryIsDueAndNotShorter) {
  Queue queue;
  const Queue::Clock::time_point start;
  EXPECT_EQ(queue.Wait(start), -1);
  queue.Put(start + std::chrono::microseconds(1500), 1);
  EXPECT_EQ(queue.Wait(start), 2);
  EXPECT_EQ(queue.Wait(start + std::chrono::microseconds(1500)), 0);
  EXPECT_EQ(queue.Wait(start + std::chrono::seconds(1)), 0);
}

}  // namespace
