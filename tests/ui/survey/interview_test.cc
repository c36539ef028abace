// Tests of what the survey asks and what it makes of the answers, which need no network.
#include "ui/survey/interview.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

void Take(DeviceInterview* device, const std::string& value) {
  device->TakeValue(value.data(), value.size());
}

DeviceInterview Asked(const std::string& model, const std::string& vendor,
                      const std::string& name) {
  DeviceInterview device;
  Take(&device, model);
  Take(&device, vendor);
  Take(&device, name);
  return device;
}

// "name|vendor and model|address" as in the list.
std::string Row(DeviceInterview device) {
  device.RemoveModelSuffixes();
  device.JoinVendorAndModel();
  MACHINEINFO row;
  device.FillRow("10.77.0.101", &row);
  return std::string(row.szMachineName) + "|" + row.szModelName + "|" + row.szIPAddress;
}

TEST(Discovery, AsksForTheSuccessorOfAnObjectOfTheMaker) {
  const SnmpSimplePduPtr request(get_simple_pdu_memory(1, 1), {1});
  FillDiscoveryRequest(request.get());
  EXPECT_EQ(0xA1, request->pdu_type);
  EXPECT_STREQ("public", request->community);
  EXPECT_STREQ("1.3.6.1.4.1.731.405.1.1.1.3", request->variables[0].name);
}

TEST(DeviceInterview, AsksForModelVendorAndName) {
  DeviceInterview device;
  for (const char* object :
       {"1.3.6.1.4.1.731.1.2.1.2.0", "1.3.6.1.4.1.731.1.2.1.1.0", "1.3.6.1.2.1.1.5.0"}) {
    EXPECT_FALSE(device.IsListed());
    ASSERT_LT(device.Next(), kDeviceQuestions);
    EXPECT_STREQ(object, DeviceInterview::Object(device.Next()));
    Take(&device, "text");
  }
  EXPECT_EQ(kDeviceQuestions, device.Next());
  EXPECT_TRUE(device.IsListed());
}

TEST(DeviceInterview, IsOverWithTheFirstQuestionThatHasNoAnswer) {
  for (int answers = 0; answers < kDeviceQuestions; ++answers) {
    DeviceInterview device;
    for (int i = 0; i < answers; ++i) Take(&device, "text");
    device.TakeFailure();
    EXPECT_EQ(kDeviceQuestions, device.Next()) << answers;
    EXPECT_FALSE(device.IsListed()) << answers;
  }
}

TEST(DeviceInterview, EmptyTextsAreAnswers) {
  EXPECT_TRUE(Asked("", "", "").IsListed());
  EXPECT_EQ("| |10.77.0.101", Row(Asked("", "", "")));
}

TEST(DeviceInterview, TakesTextsOf256BytesAndNoLongerOnes) {
  EXPECT_TRUE(Asked("T55", "V", std::string(256, 'n')).IsListed());
  EXPECT_FALSE(Asked("T55", "V", std::string(257, 'n')).IsListed());
  DeviceInterview device;
  Take(&device, std::string(1535, 'm'));
  EXPECT_EQ(kDeviceQuestions, device.Next());
}

TEST(DeviceInterview, TextsLoseWhatIsNotVisibleAtTheirEnd) {
  EXPECT_EQ(" Mail Room|V T55|10.77.0.101", Row(Asked("T55 \t", "V\n", " Mail Room \xC3\xBC")));
  EXPECT_EQ("a|V |10.77.0.101", Row(Asked("  ", "V", std::string("a\0b", 3))));
}

TEST(DeviceInterview, TakesTextsThatAreTrimmedAlready) {
  DeviceInterview device;
  for (const char* text : {"T55_E", "Veltrana", "Reception"}) {
    strcpy(device.Buffer(), text);
    device.TakeText();
  }
  EXPECT_TRUE(device.IsListed());
  EXPECT_EQ("Reception|Veltrana T55|10.77.0.101", Row(device));
}

TEST(ModelSuffixes, GoWithTheByteBehindTheUnderscore) {
  const struct {
    const char* model;
    const char* shown;
  } kCases[] = {{"T55", "V T55"}, {"T55_E", "V T55"}, {"A_BC_DE", "V ACE"},
                {"ABC_", "V AB"}, {"_", "V "},        {"__", "V "},
                {"_A", "V "},     {"A__", "V A"},     {"A___", "V "}};
  for (const auto& c : kCases) {
    EXPECT_EQ("n|" + std::string(c.shown) + "|10.77.0.101", Row(Asked(c.model, "V", "n")))
        << c.model;
  }
}

TEST(Row, VendorAndModelAreCutTo255Bytes) {
  const std::string longest(256, 'x');
  EXPECT_EQ(std::string(255, 'x') + "|" + std::string(255, 'x') + "|10.77.0.101",
            Row(Asked("T55", longest, longest)));
  EXPECT_EQ("n|" + std::string(254, 'x') + " |10.77.0.101",
            Row(Asked("T55", std::string(254, 'x'), "n")));
  EXPECT_EQ("n|" + std::string(253, 'x') + " T|10.77.0.101",
            Row(Asked("T55", std::string(253, 'x'), "n")));
}

}  // namespace
