// Tests of a survey in which a call of the C library fails: what it finds then, and that it gives
// back what it had.
#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "app/log/debug_log.h"
#include "tests/failures/failing_calls.h"
#include "tests/failures/other_process.h"
#include "tests/support/snmp_answer.h"
#include "ui/survey/device_survey.h"

namespace {

using failing::FailEach;
using failing::Mode;
using failing::Result;
using fake_network::AsksFor;
using fake_network::Host;
using fake_network::kDiscoveryName;
using fake_network::kModelName;
using fake_network::kSysName;
using fake_network::kVendorName;
using fake_network::Office;
using fake_network::Received;
using fake_network::SnmpAnswer;
using fake_network::TextElement;

constexpr int kSideBySide = 8;
constexpr int kCountBefore = 77;

// The texts are long, so that a copy of them in a string would need memory.
const std::string kVendor = "Veltrana Imaging and Office Automation";
const std::string kModel = "T55 with the large document feeder";
const std::string kShownModel =
    "Veltrana Imaging and Office Automation T55 with the large document feeder";

const std::vector<std::string> kScanners = {"10.77.0.64", "10.77.0.65", "10.77.0.66"};
constexpr int kCount = 3;
constexpr int kQuestions = 3;  // to each scanner

std::string NameOf(const std::string& address) { return "the scanner at " + address; }

void Answer(Host& host, const Received& request) {
  if (AsksFor(request, kDiscoveryName)) {
    for (const std::string& scanner : kScanners) {
      host.ReplyAs(scanner, request, SnmpAnswer(kDiscoveryName, TextElement("1")));
    }
  } else if (AsksFor(request, kModelName)) {
    host.Reply(request, SnmpAnswer(kModelName, TextElement(kModel + "_E")));
  } else if (AsksFor(request, kVendorName)) {
    host.Reply(request, SnmpAnswer(kVendorName, TextElement(kVendor)));
  } else if (AsksFor(request, kSysName)) {
    host.Reply(request, SnmpAnswer(kSysName, TextElement(NameOf(request.to))));
  }
}

// Which scanners are found: a bit for each, in their order.
using Scanners = unsigned int;
constexpr Scanners kNone = 0;
constexpr Scanners kAll = (1U << kCount) - 1;
Scanners First(int count) { return (1U << count) - 1; }
Scanners AllBut(int scanner) { return kAll & ~(1U << scanner); }

std::string Shown(Scanners scanners) {
  std::string seen;
  for (int i = 0; i < kCount; ++i) {
    if ((scanners & (1U << i)) != 0) seen += kScanners[static_cast<size_t>(i)] + " ";
  }
  return seen.empty() ? "none" : seen;
}

MACHINEINFO* machines = nullptr;
int count = kCountBefore;

std::string Describe() {
  if (machines == nullptr && count == kCountBefore) return "nothing stored";
  if (machines == nullptr) return count == 0 ? "none" : "a count without an array";
  std::string seen;
  for (int i = 0; i < count; ++i) {
    const MACHINEINFO& machine = machines[i];
    const bool right =
        machine.szModelName == kShownModel && machine.szMachineName == NameOf(machine.szIPAddress);
    seen += right ? std::string(machine.szIPAddress) + " " : "a wrong record ";
  }
  return seen;
}

const failing::Operation kSurvey = {"survey", [] { machines = searchMachine(&count, nullptr); },
                                    Describe, [] { free(machines); }};

bool Says(const Result& result, const std::string& words) {
  return result.errors.find(words) != std::string::npos;
}

class SurveyFailureTest : public ::testing::TestWithParam<Mode> {
 protected:
  void SetUp() override {
    myDbgFunc = myDbgOutputStderr;
    failing::ExpectAnswers(kCount, 1);
  }
  void TearDown() override { myDbgFunc = myDbgNop; }

  // What is found when that question, counted from 0, is the first that fails.
  static Scanners WithoutQuestion(int question) {
    const int scanner = question / kQuestions;
    return GetParam() == failing::kOnce ? AllBut(scanner) : First(scanner);
  }

  // Checks a run in which so many calls were to be made for the broadcast, and one for each
  // question after that. `gathered` tells how many answers there are when the n-th for the
  // broadcast fails.
  static void Check(const Result& result, int broadcast_calls,
                    const std::function<int(int)>& gathered) {
    EXPECT_FALSE(result.threw_bad_alloc);
    if (!result.reached) {
      EXPECT_EQ(Shown(kAll), result.seen);
    } else if (result.n > broadcast_calls) {
      EXPECT_EQ(Shown(WithoutQuestion(result.n - 1 - broadcast_calls)), result.seen);
    } else {
      const int answers = gathered(result.n);
      EXPECT_EQ(Shown(GetParam() == failing::kOnce ? First(answers) : kNone), result.seen);
      EXPECT_EQ(answers == 0, Says(result, "searchMachine do not find net scaner!\n"));
      EXPECT_EQ(answers != 0, Says(result, "searchMachine num=("));
    }
  }

  OtherProcess m_Office{[] { return std::make_unique<Host>(Office("0.0.0.0", 161), Answer); }};
};

// So many sockets are opened, and datagrams sent.
constexpr int kSends = 1 + kCount * kQuestions;

TEST_P(SurveyFailureTest, WithoutASocketTheScannerThatIsAskedIsNotFound) {
  const auto check = [](const Result& result) { Check(result, 1, [](int) { return 0; }); };
  EXPECT_EQ(kSends + 1, FailEach(failing::kSocket, GetParam(), kSurvey, kSideBySide, check));
}

// What cannot be sent is not answered.
TEST_P(SurveyFailureTest, WithoutSendingTheScannerThatIsAskedIsNotFound) {
  const auto check = [](const Result& result) { Check(result, 1, [](int) { return 0; }); };
  EXPECT_EQ(kSends + 1, FailEach(failing::kSendto, GetParam(), kSurvey, kSideBySide, check));
}

TEST_P(SurveyFailureTest, WithoutReceivingGatheringStopsAtWhatThereIs) {
  const auto check = [](const Result& result) {
    Check(result, kCount, [](int n) { return n - 1; });
  };
  EXPECT_EQ(kCount + kCount * kQuestions + 1,
            FailEach(failing::kRecvfrom, GetParam(), kSurvey, kSideBySide, check));
}

// Gathering also waits for an answer that does not come.
TEST_P(SurveyFailureTest, WithoutWaitingGatheringStopsAtWhatThereIs) {
  const auto check = [](const Result& result) {
    Check(result, kCount + 1, [](int n) { return n - 1; });
  };
  EXPECT_EQ(kCount + 1 + kCount * kQuestions + 1,
            FailEach(failing::kSelect, GetParam(), kSurvey, kSideBySide, check));
}

TEST_P(SurveyFailureTest, NeedsNoFileAndNoInterface) {
  for (const failing::Call call : {failing::kIoctl, failing::kFopen, failing::kGetpwuid}) {
    const auto check = [](const Result& result) { EXPECT_EQ(Shown(kAll), result.seen); };
    EXPECT_EQ(1, FailEach(call, GetParam(), kSurvey, 1, check));
  }
}

TEST_P(SurveyFailureTest, ALogThatCannotBeOpenedLosesItsLinesOnly) {
  myDbgFunc = myDbgOutputLog;
  const auto check = [](const Result& result) { EXPECT_EQ(Shown(kAll), result.seen); };
  EXPECT_EQ(2 + kCount * 8 + 1,
            FailEach(failing::kFdopen, GetParam(), kSurvey, kSideBySide, check));
}

// --- memory -------------------------------------------------------------------------------------

// The blocks of memory that a survey needs, in their order.
constexpr int kRecords = 2 + 1 + 256;  // request and answers, with the slots of each
constexpr int kStandard = 4;           // the request in its standard form
constexpr int kMessage = 1;            // and as a message
constexpr int kGathered = 2;           // of each answer to the broadcast
constexpr int kDecoded = 7;            // of each of those, the last for its place in the list
constexpr int kQuestion = 4 + 5 + kMessage + kGathered + kDecoded - 1;  // two records of two blocks
constexpr int kScanner = kQuestions * kQuestion + 1;                    // the last for the result

// What a survey without the n-th block finds, and says.
struct Outcome {
  std::string seen;
  std::string says;
};

Outcome WithoutBlock(int n, Mode mode) {
  const bool once = mode == failing::kOnce;
  // If nothing else can be had either, no scanner can be asked.
  const auto answered = [&](Scanners scanners) { return Shown(once ? scanners : kNone); };
  int index = n - 1;
  if (index < kRecords) return {"nothing stored", "searchMachine memory alloc failed!\n"};
  index -= kRecords;
  if (index < kStandard) {
    return {Shown(kNone), "ERROR: multi_snmp_request_simple: snmp_simple2standard\n"};
  }
  index -= kStandard;
  if (index < kMessage) return {Shown(kNone), "ERROR: multi_snmp_request: snmp_build\n"};
  index -= kMessage;
  if (index < kCount * kGathered) return {answered(First(index / kGathered)), ""};
  index -= kCount * kGathered;
  if (index < kCount * kDecoded) {
    const int answer = index / kDecoded;
    const bool place = index % kDecoded == kDecoded - 1;
    return {answered(place ? First(answer) : AllBut(answer)), ""};
  }
  index -= kCount * kDecoded;
  const int scanner = index / kScanner;
  const bool asking = index % kScanner < kQuestions * kQuestion;
  const bool record = asking && index % kScanner % kQuestion < 4;
  return {Shown(once ? AllBut(scanner) : First(scanner)),
          record ? "ERROR: snmp_get: RET_SNMP_MEMORY_ERR\n" : ""};
}

TEST_P(SurveyFailureTest, WithoutMemoryItTellsOrFindsLess) {
  const auto check = [](const Result& result) {
    EXPECT_FALSE(result.threw_bad_alloc);
    if (!result.reached) {
      EXPECT_EQ(Shown(kAll), result.seen);
      return;
    }
    const Outcome outcome = WithoutBlock(result.n, GetParam());
    EXPECT_EQ(outcome.seen, result.seen);
    EXPECT_TRUE(Says(result, outcome.says)) << outcome.says;
    EXPECT_EQ(result.n <= kRecords, Says(result, "searchMachine memory alloc failed!\n"));
  };
  EXPECT_EQ(kRecords + kStandard + kMessage + kCount * (kGathered + kDecoded + kScanner) + 1,
            FailEach(failing::kMalloc, GetParam(), kSurvey, kSideBySide, check));
}

INSTANTIATE_TEST_SUITE_P(OnceAndFromThenOn, SurveyFailureTest,
                         ::testing::ValuesIn(failing::kModes));

}  // namespace
