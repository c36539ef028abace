// Tests of the device survey, with the scanners at the far end of the lab's network.
#include "ui/survey/device_survey.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "base/malloc_ptr.h"
#include "snmp/simple_pdu.h"
#include "tests/support/cancelled_thread.h"
#include "tests/support/debug_lines.h"
#include "tests/support/line_numbers.h"
#include "tests/support/snmp_answer.h"

using fake_network::AsksFor;
using fake_network::Bytes;
using fake_network::Hex;
using fake_network::Host;
using fake_network::kDiscoveryName;
using fake_network::kModelName;
using fake_network::kSysName;
using fake_network::kVendorName;
using fake_network::Normal;
using fake_network::Office;
using fake_network::Received;
using fake_network::SnmpAnswer;
using fake_network::Stopwatch;
using fake_network::TextElement;
using fake_network::ToHex;
using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

namespace {

// The n-th array of PDUs, or block of that size, for which there is no memory; 0 for none.
int failing_pdu_array = 0;
size_t failing_block_size = 0;

}  // namespace

// The linker puts these in front of the real functions.
extern "C" {
void* __real_calloc(size_t count, size_t size);
void* __wrap_calloc(size_t count, size_t size);
void* __real_realloc(void* block, size_t size);
void* __wrap_realloc(void* block, size_t size);
}

void* __wrap_calloc(size_t count, size_t size) {
  const bool fails = size == sizeof(snmp_simple_pdu) && failing_pdu_array > 0;
  return fails && --failing_pdu_array == 0 ? nullptr : __real_calloc(count, size);
}

void* __wrap_realloc(void* block, size_t size) {
  return size == failing_block_size ? nullptr : __real_realloc(block, size);
}

namespace {

// What a scanner answers to a question.
const Bytes kNoSuchName = Hex("05 00");
const Bytes kSilence;

// A scanner: where it is and the value elements of its answers.
struct Scanner {
  std::string address;
  Bytes model;
  Bytes vendor = TextElement("Veltrana");
  Bytes name = TextElement("desk");
};

Scanner WithModel(int number, const std::string& model) {
  return {"10.77.0." + std::to_string(number), TextElement(model)};
}

void Answer(Host& host, const Received& request, const char* object, const Bytes& value) {
  if (value == kSilence) return;
  host.Reply(request, SnmpAnswer(object, value, value == kNoSuchName ? 2 : 0));
}

// All scanners answer the broadcast, in their order, and each its own questions.
Host::Handler All(const std::vector<Scanner>& scanners) {
  return [=](Host& host, const Received& request) {
    for (const Scanner& scanner : scanners) {
      if (AsksFor(request, kDiscoveryName)) {
        host.ReplyAs(scanner.address, request, SnmpAnswer(kDiscoveryName, TextElement("1")));
      } else if (request.to == scanner.address) {
        if (AsksFor(request, kModelName)) Answer(host, request, kModelName, scanner.model);
        if (AsksFor(request, kVendorName)) Answer(host, request, kVendorName, scanner.vendor);
        if (AsksFor(request, kSysName)) Answer(host, request, kSysName, scanner.name);
        return;
      }
    }
  };
}

class DeviceSurveyTest : public ::testing::Test {
 protected:
  DeviceSurveyTest() { srand(1); }
  ~DeviceSurveyTest() override {
    failing_pdu_array = 0;
    failing_block_size = 0;
  }

  void Survey() {
    m_iCount = 77;
    m_Machines.reset(searchMachine(&m_iCount, nullptr));
  }

  // Each record as "model, name, address".
  std::vector<std::string> Found() const {
    std::vector<std::string> found;
    for (int i = 0; i < m_iCount; ++i) {
      const MACHINEINFO& machine = m_Machines.get()[i];
      found.push_back(std::string(machine.szModelName) + ", " + machine.szMachineName + ", " +
                      machine.szIPAddress);
    }
    return found;
  }

  // What was asked of whom after the broadcast, as "address object".
  static std::vector<std::string> Questions(Host& office) {
    std::vector<std::string> questions;
    for (const Received& request : office.Log()) {
      if (request.to == "255.255.255.255") continue;
      const char* object = AsksFor(request, kModelName)    ? "model"
                           : AsksFor(request, kVendorName) ? "vendor"
                           : AsksFor(request, kSysName)    ? "name"
                                                           : "?";
      questions.push_back(request.to + " " + object);
    }
    return questions;
  }

  MallocPtr<MACHINEINFO> m_Machines;
  int m_iCount = 0;
};

using Lines = std::vector<std::string>;

TEST(DeviceSurvey, RecordIsLaidOutInOrder) {
  EXPECT_EQ(0u, offsetof(MACHINEINFO, szModelName));
  EXPECT_EQ(256u, offsetof(MACHINEINFO, szMachineName));
  EXPECT_EQ(512u, offsetof(MACHINEINFO, szIPAddress));
  EXPECT_EQ(544u, sizeof(MACHINEINFO));
}

TEST_F(DeviceSurveyTest, NetworkWithoutADeviceGivesNothing) {
  Host office(Office("0.0.0.0", 161));
  const DebugLines lines;
  CaptureStderr();
  const Stopwatch watch;
  Survey();
  EXPECT_GE(watch.Seconds(), 0.95);
  EXPECT_LT(watch.Seconds(), 3);
  EXPECT_EQ(nullptr, m_Machines);
  EXPECT_EQ(0, m_iCount);
  EXPECT_EQ("", GetCapturedStderr());
  EXPECT_EQ((Lines{"[searchMachine(#)]: searchMachine do not find net scaner!\n",
                   "[searchMachine(#)]: searchMachine m_iNumMachine=(0)\n"}),
            WithoutNumbers(lines.All()));
  ASSERT_EQ(1u, office.Log().size());
  EXPECT_EQ("255.255.255.255", office.Log()[0].to);
  EXPECT_EQ(Normal("30 82 00 30 02 01 00 04 06 70 75 62 6C 69 63"
                   "A1 23 02 04 6B 8B 45 67 02 01 00 02 01 00"
                   "30 15 30 82 00 11 06 0D 2B 06 01 04 01 85 5B 83 15 01 01 01 03 05 00"),
            ToHex(office.Log()[0].bytes));
}

TEST_F(DeviceSurveyTest, DeviceIsAskedForModelVendorAndName) {
  Host office(Office("0.0.0.0", 161), All({{"10.77.0.64", TextElement("T55_E"),
                                            TextElement("Veltrana"), TextElement("front desk ")}}));
  const DebugLines lines;
  Survey();
  EXPECT_EQ((Lines{"Veltrana T55, front desk, 10.77.0.64"}), Found());
  EXPECT_EQ((Lines{"10.77.0.64 model", "10.77.0.64 vendor", "10.77.0.64 name"}), Questions(office));
  const std::string rest = ", szVendor = Veltrana, szName = front desk\n";
  EXPECT_EQ((Lines{
                "[searchMachine(#)]: searchMachine num=(1)\n",
                "[searchMachine(#)]: szIP = 10.77.0.64, szModel = T55_E" + rest,
                "[searchMachine(#)]: Delete Suffix from Model Name.\n",
                "[searchMachine(#)]: szIP = 10.77.0.64, szModel = T55" + rest,
                "[searchMachine(#)]: searchMachine szModel=(T55)\n",
                "[searchMachine(#)]: searchMachine szName=(front desk)\n",
                "[searchMachine(#)]: searchMachine szVendor=(Veltrana T55)\n",
                "[searchMachine(#)]: searchMachine m_iNumMachine=(1)\n",
                "[searchMachine(#)]: searchMachine ip=(10.77.0.64)\n",
                "[searchMachine(#)]: searchMachine m_iNumMachine=(1)\n",
            }),
            WithoutNumbers(lines.All()));
}

TEST_F(DeviceSurveyTest, DeviceThatDoesNotAnswerAllThreeIsLeftOutSilently) {
  Host office(Office("0.0.0.0", 161),
              All({{"10.77.0.64", kNoSuchName, TextElement("Veltrana"), TextElement("a")},
                   {"10.77.0.65", TextElement("T55"), kNoSuchName, TextElement("b")},
                   {"10.77.0.66", TextElement("T55"), TextElement("Veltrana"), kNoSuchName},
                   {"10.77.0.67", TextElement("T55"), TextElement("Veltrana"), TextElement("d")}}));
  const DebugLines lines;
  Survey();
  EXPECT_EQ((Lines{"Veltrana T55, d, 10.77.0.67"}), Found());
  EXPECT_EQ((Lines{"10.77.0.64 model",                                          //
                   "10.77.0.65 model", "10.77.0.65 vendor",                     //
                   "10.77.0.66 model", "10.77.0.66 vendor", "10.77.0.66 name",  //
                   "10.77.0.67 model", "10.77.0.67 vendor", "10.77.0.67 name"}),
            Questions(office));
  EXPECT_EQ(10u, lines.All().size());
}

TEST_F(DeviceSurveyTest, DeviceWhoseNameQueryIsNotAnsweredIsNotListed) {
  Host office(Office("0.0.0.0", 161),
              All({{"10.77.0.64", TextElement("T55"), TextElement("Veltrana"), kSilence}}));
  Survey();
  EXPECT_EQ(nullptr, m_Machines);
  EXPECT_EQ(0, m_iCount);
}

TEST_F(DeviceSurveyTest, SuffixesAreRemovedFromTheModel) {
  Host office(
      Office("0.0.0.0", 161),
      All({WithModel(64, "T55_E"), WithModel(65, "A_B_C"), WithModel(66, "ABC_"),
           WithModel(67, "T55"), WithModel(68, "T55_EU"), WithModel(69, "A__B"),
           WithModel(70, "_AB_"), WithModel(71, "_"), WithModel(72, "__"), WithModel(73, "")}));
  Survey();
  EXPECT_EQ((Lines{"Veltrana T55, desk, 10.77.0.64", "Veltrana A, desk, 10.77.0.65",
                   "Veltrana AB, desk, 10.77.0.66", "Veltrana T55, desk, 10.77.0.67",
                   "Veltrana T55U, desk, 10.77.0.68", "Veltrana AB, desk, 10.77.0.69",
                   "Veltrana , desk, 10.77.0.70", "Veltrana , desk, 10.77.0.71",
                   "Veltrana , desk, 10.77.0.72", "Veltrana , desk, 10.77.0.73"}),
            Found());
}

TEST_F(DeviceSurveyTest, DeviceThatAnswersTwiceIsListedTwice) {
  const Scanner scanner = WithModel(70, "T55");
  Host office(Office("0.0.0.0", 161), All({scanner, WithModel(64, "T60"), scanner}));
  Survey();
  EXPECT_EQ((Lines{"Veltrana T55, desk, 10.77.0.70", "Veltrana T60, desk, 10.77.0.64",
                   "Veltrana T55, desk, 10.77.0.70"}),
            Found());
}

TEST_F(DeviceSurveyTest, OtherAgentsThatAnswerWithAnErrorAreAskedOnceAndLeftOut) {
  Host office(Office("0.0.0.0", 161), [](Host& host, const Received& request) {
    host.ReplyAs("10.77.0.80", request, SnmpAnswer(kDiscoveryName, kNoSuchName, 2));
  });
  const DebugLines lines;
  Survey();
  EXPECT_EQ(nullptr, m_Machines);
  EXPECT_EQ(0, m_iCount);
  EXPECT_EQ((Lines{"10.77.0.80 model"}), Questions(office));
  EXPECT_EQ((Lines{"[searchMachine(#)]: searchMachine num=(1)\n",
                   "[searchMachine(#)]: searchMachine m_iNumMachine=(0)\n"}),
            WithoutNumbers(lines.All()));
}

TEST_F(DeviceSurveyTest, Of300DevicesTheFirst256AreConsidered) {
  const auto address = [](int i) {
    return "10.77." + std::to_string(i < 150 ? 0 : 1) + "." + std::to_string(i % 150 + 64);
  };
  const auto all = All([&] {
    std::vector<Scanner> scanners;
    scanners.reserve(300);
    for (int i = 0; i < 300; ++i) {
      scanners.push_back({address(i), TextElement("T55"), TextElement("Veltrana"),
                          TextElement("pc" + std::to_string(i))});
    }
    return scanners;
  }());
  Host office(Office("0.0.0.0", 161), [=](Host& host, const Received& request) {
    if (!AsksFor(request, kDiscoveryName)) return all(host, request);
    for (int i = 0; i < 300; ++i) {
      // A socket keeps more than 64 answers, and those behind them have to be read first.
      if (i % 64 == 0) fake_network::WaitUntilRead(request.from_port);
      host.ReplyAs(address(i), request, SnmpAnswer(kDiscoveryName, TextElement("1")));
    }
  });
  const DebugLines lines;
  Survey();
  EXPECT_EQ("[searchMachine(#)]: searchMachine num=(300)\n", WithoutNumbers(lines.All())[0]);
  ASSERT_EQ(256, m_iCount);
  EXPECT_EQ("Veltrana T55, pc0, 10.77.0.64", Found()[0]);
  EXPECT_EQ("Veltrana T55, pc255, 10.77.1.169", Found()[255]);
  EXPECT_EQ(256u * 3, Questions(office).size());
}

TEST_F(DeviceSurveyTest, ShortMemoryIsToldAndTheCountLeftAlone) {
  for (const int nth : {1, 2}) {
    failing_pdu_array = nth;
    const DebugLines lines;
    CaptureStderr();
    Survey();
    EXPECT_EQ("searchMachine memory alloc failed!\n", GetCapturedStderr());
    EXPECT_EQ((Lines{"[searchMachine(#)]: searchMachine memory alloc failed!\n"}),
              WithoutNumbers(lines.All()));
    EXPECT_EQ(nullptr, m_Machines);
    EXPECT_EQ(77, m_iCount);
  }
}

TEST_F(DeviceSurveyTest, ShortMemoryForARecordKeepsTheOthers) {
  Host office(Office("0.0.0.0", 161), All({WithModel(64, "T55"), WithModel(65, "T60")}));
  failing_block_size = 2 * sizeof(MACHINEINFO);
  Survey();
  EXPECT_EQ((Lines{"Veltrana T55, desk, 10.77.0.64"}), Found());
}

TEST_F(DeviceSurveyTest, SurveyCancelledWhileItGathersReleasesEverything) {
  Host office(Office("0.0.0.0", 161));
  const int before = CountDescriptors();
  EXPECT_TRUE(EndsCancelled([&] { Survey(); }, [&] { office.WaitFor(1); }));
  EXPECT_EQ(nullptr, m_Machines);
  EXPECT_EQ(before, CountDescriptors());
}

TEST_F(DeviceSurveyTest, SurveyCancelledWhileItAsksReleasesEverything) {
  Host office(Office("0.0.0.0", 161),
              All({WithModel(64, "T55"),
                   {"10.77.0.65", TextElement("T55"), TextElement("Veltrana"), kSilence}}));
  const int before = CountDescriptors();
  EXPECT_TRUE(EndsCancelled([&] { Survey(); }, [&] { office.WaitFor(7); }));
  EXPECT_EQ(nullptr, m_Machines);
  EXPECT_EQ(before, CountDescriptors());
}

}  // namespace
