// One simulated scanner without a network: what it answers, when, how often and how spoilt.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/scanner-sim/made.h"

namespace {

const char kModelOid[] = "1.3.6.1.4.1.731.1.2.1.2.0";
const char kVendorOid[] = "1.3.6.1.4.1.731.1.2.1.1.0";
const char kNameOid[] = "1.3.6.1.2.1.1.5.0";
const char kMacOid[] = "1.3.6.1.2.1.2.2.1.6.1";
const char kDiscoveryOid[] = "1.3.6.1.4.1.731.405.1.1.1.3";

SnmpMessage Request(uint8_t pdu, const std::vector<const char*>& oids) {
  SnmpMessage request;
  request.community = "public";
  request.pdu = pdu;
  request.requestId = 0x12345678;
  for (const char* oid : oids) request.bindings.push_back({parse_oid(oid).value(), {}});
  return request;
}

Reaction Ask(CScanner* scanner, const SnmpMessage& request) {
  Understanding understanding;
  understanding.snmp = request;
  return scanner->Take(understanding, 50);
}

Reaction Ask(CScanner* scanner, const char* oid) { return Ask(scanner, Request(kPduGet, {oid})); }

// The answer's bytes; "silence" without one.
std::string AnswerHex(CScanner* scanner, const SnmpMessage& request) {
  const Reaction reaction = Ask(scanner, request);
  return reaction.answer ? to_hex(reaction.answer->bytes) : "silence";
}

std::string AnswerHex(CScanner* scanner, const char* oid) {
  return AnswerHex(scanner, Request(kPduGet, {oid}));
}

std::string Hex(const char* text) { return to_hex(from_hex(text).value()); }

// --- SNMP answers as bytes

const char kModelAnswer[] =
    "30 32"
    "02 01 00"
    "04 06 70 75 62 6c 69 63"
    "a2 25"
    "02 04 12 34 56 78"
    "02 01 00"
    "02 01 00"
    "30 17"
    "30 15"
    "06 0c 2b 06 01 04 01 85 5b 01 02 01 02 00"
    "04 05 54 35 35 5f 45";

TEST(SnmpAnswer, GivesTheModel) {
  CScanner scanner = make_scanner();
  EXPECT_EQ(AnswerHex(&scanner, kModelOid), Hex(kModelAnswer));
}

TEST(SnmpAnswer, GivesTheVendor) {
  CScanner scanner = make_scanner();
  EXPECT_EQ(AnswerHex(&scanner, kVendorOid), Hex("30 35"
                                                 "02 01 00"
                                                 "04 06 70 75 62 6c 69 63"
                                                 "a2 28"
                                                 "02 04 12 34 56 78"
                                                 "02 01 00"
                                                 "02 01 00"
                                                 "30 1a"
                                                 "30 18"
                                                 "06 0c 2b 06 01 04 01 85 5b 01 02 01 01 00"
                                                 "04 08 56 65 6c 74 72 61 6e 61"));
}

TEST(SnmpAnswer, GivesTheName) {
  CScanner scanner = make_scanner({{"name", "Reception"}});
  EXPECT_EQ(AnswerHex(&scanner, kNameOid), Hex("30 32"
                                               "02 01 00"
                                               "04 06 70 75 62 6c 69 63"
                                               "a2 25"
                                               "02 04 12 34 56 78"
                                               "02 01 00"
                                               "02 01 00"
                                               "30 17"
                                               "30 15"
                                               "06 08 2b 06 01 02 01 01 05 00"
                                               "04 09 52 65 63 65 70 74 69 6f 6e"));
}

TEST(SnmpAnswer, GivesTheHardwareAddressMadeFromTheAddress) {
  CScanner scanner = make_scanner();
  EXPECT_EQ(AnswerHex(&scanner, kMacOid), Hex("30 31"
                                              "02 01 00"
                                              "04 06 70 75 62 6c 69 63"
                                              "a2 24"
                                              "02 04 12 34 56 78"
                                              "02 01 00"
                                              "02 01 00"
                                              "30 16"
                                              "30 14"
                                              "06 0a 2b 06 01 02 01 02 02 01 06 01"
                                              "04 06 02 56 53 00 00 65"));
}

TEST(SnmpAnswer, GivesTheSuccessorOfTheSearchedObject) {
  CScanner scanner = make_scanner();
  EXPECT_EQ(AnswerHex(&scanner, Request(kPduGetNext, {kDiscoveryOid})),
            Hex("30 31"
                "02 01 00"
                "04 06 70 75 62 6c 69 63"
                "a2 24"
                "02 04 12 34 56 78"
                "02 01 00"
                "02 01 00"
                "30 16"
                "30 14"
                "06 0f 2b 06 01 04 01 85 5b 83 15 01 01 01 03 01 00"
                "02 01 01"));
}

TEST(SnmpAnswer, SaysNoSuchNameForAnUnknownObjectAndRepeatsTheQuestion) {
  CScanner scanner = make_scanner();
  EXPECT_EQ(AnswerHex(&scanner, "1.3.6.1.2.1.1.9.0"), Hex("30 29"
                                                          "02 01 00"
                                                          "04 06 70 75 62 6c 69 63"
                                                          "a2 1c"
                                                          "02 04 12 34 56 78"
                                                          "02 01 02"
                                                          "02 01 01"
                                                          "30 0e"
                                                          "30 0c"
                                                          "06 08 2b 06 01 02 01 01 09 00"
                                                          "05 00"));
}

TEST(SnmpAnswer, NumbersTheMissingVariableOfSeveral) {
  CScanner scanner = make_scanner();
  const Reaction reaction =
      Ask(&scanner, Request(kPduGet, {kModelOid, "1.3.6.1.2.1.1.9.0", kNameOid}));
  const SnmpMessage answer = decode_message(reaction.answer.value().bytes);
  EXPECT_EQ(answer.errorStatus, 2);
  EXPECT_EQ(answer.errorIndex, 2);
  EXPECT_EQ(answer.bindings.size(), 3U);
  EXPECT_EQ(answer.bindings[0].value.tag, kTagNull);
}

TEST(SnmpAnswer, GivesSeveralVariablesInTheOrderOfTheQuestion) {
  CScanner scanner = make_scanner();
  const Reaction reaction = Ask(&scanner, Request(kPduGet, {kNameOid, kModelOid}));
  EXPECT_EQ(reaction.answer.value().text, "Reception, T55_E");
}

TEST(SnmpAnswer, WalksThroughAllObjectsByGetNextAndEndsWithNoSuchName) {
  CScanner scanner = make_scanner();
  std::string oid = "1.3";
  std::vector<std::string> seen;
  for (int i = 0; i < 20; ++i) {
    const Reaction reaction = Ask(&scanner, Request(kPduGetNext, {oid.c_str()}));
    const SnmpMessage answer = decode_message(reaction.answer.value().bytes);
    if (answer.errorStatus == kNoSuchName) break;
    oid = oid_text(answer.bindings.at(0).name);
    seen.push_back(oid);
  }
  EXPECT_THAT(seen,
              testing::ElementsAre("1.3.6.1.2.1.1.1.0", "1.3.6.1.2.1.1.2.0", kNameOid, kMacOid,
                                   kVendorOid, kModelOid, "1.3.6.1.4.1.731.405.1.1.1.3.1.0"));
}

TEST(SnmpAnswer, SaysTooBigWhenTheShortFormHasNoRoom) {
  CScanner scanner = make_scanner({{"name",
                                    "A name of sixty characters, which is too long for two "
                                    "of it 12"}});
  const Reaction reaction = Ask(&scanner, Request(kPduGet, {kNameOid, kNameOid}));
  const SnmpMessage answer = decode_message(reaction.answer.value().bytes);
  EXPECT_EQ(answer.errorStatus, 1);
  EXPECT_EQ(answer.errorIndex, 0);
  EXPECT_EQ(answer.bindings.size(), 2U);
  EXPECT_EQ(reaction.answer->text, "error 1 (too big)");
}

TEST(SnmpAnswer, IsSilenceWhenNotEvenTooBigFits) {
  CScanner scanner = make_scanner();
  const std::vector<const char*> many(12, kModelOid);
  EXPECT_EQ(AnswerHex(&scanner, Request(kPduGet, many)), "silence");
}

TEST(SnmpAnswer, IsSilenceForOtherVersionsCommunitiesAndPdus) {
  CScanner scanner = make_scanner();
  SnmpMessage request = Request(kPduGet, {kModelOid});
  request.version = 1;
  EXPECT_EQ(AnswerHex(&scanner, request), "silence");
  request = Request(kPduGet, {kModelOid});
  request.community = "private";
  EXPECT_EQ(AnswerHex(&scanner, request), "silence");
  EXPECT_EQ(AnswerHex(&scanner, Request(kPduSet, {kModelOid})), "silence");
  EXPECT_EQ(AnswerHex(&scanner, Request(kPduResponse, {kModelOid})), "silence");
}

TEST(SnmpAnswer, CarriesTheCommunityOfTheQuestion) {
  CScanner scanner = make_scanner({{"community", ""}});
  SnmpMessage request = Request(kPduGet, {kModelOid});
  request.community = "abc";
  EXPECT_EQ(decode_message(Ask(&scanner, request).answer.value().bytes).community, "abc");
}

// --- answers by the rules

TEST(Rules, MakeOneQuestionSilentAndLeaveTheOthers) {
  CScanner scanner = make_scanner({{"silent.vendor", "yes"}});
  EXPECT_EQ(AnswerHex(&scanner, kVendorOid), "silence");
  EXPECT_EQ(AnswerHex(&scanner, kModelOid), Hex(kModelAnswer));
}

TEST(Rules, IgnoreTheFirstQuestionsOfAKind) {
  CScanner scanner = make_scanner({{"ignore_first.model", "2"}});
  EXPECT_EQ(AnswerHex(&scanner, kModelOid), "silence");
  EXPECT_NE(AnswerHex(&scanner, kVendorOid), "silence");
  EXPECT_EQ(AnswerHex(&scanner, kModelOid), "silence");
  EXPECT_EQ(AnswerHex(&scanner, kModelOid), Hex(kModelAnswer));
}

TEST(Rules, SetDelayCopiesAndSender) {
  CScanner scanner = make_scanner({{"delay", "1500"},
                                   {"copies.model", "3"},
                                   {"copy_gap", "20"},
                                   {"answer_from.model", "10.77.0.250"}});
  const Reaction reaction = Ask(&scanner, kModelOid);
  EXPECT_EQ(reaction.answer.value().delay, 1500);
  EXPECT_EQ(reaction.answer->copies, 3);
  EXPECT_EQ(reaction.answer->copyGap, 20);
  EXPECT_EQ(ipv4_text(reaction.answer->from), "10.77.0.250");
  EXPECT_EQ(reaction.account,
            "asked for its model, answers T55_E after 1500 ms, 3 times, from 10.77.0.250");
}

TEST(Rules, DrawTheDelayFromItsRangeAlikeInEveryRun) {
  const auto delays = [] {
    CScanner scanner = make_scanner({{"delay", "100-900"}, {"seed", "5"}});
    std::vector<int> drawn;
    drawn.reserve(50);
    for (int i = 0; i < 50; ++i) drawn.push_back(Ask(&scanner, kModelOid).answer.value().delay);
    return drawn;
  };
  EXPECT_THAT(delays(), testing::Each(testing::AllOf(testing::Ge(100), testing::Le(900))));
  EXPECT_THAT(delays(), testing::Contains(testing::Ne(delays()[0])));
  EXPECT_EQ(delays(), delays());
}

TEST(Rules, SetTheErrorStatusAndIndex) {
  CScanner scanner = make_scanner({{"error_status.model", "5"}, {"error_index.vendor", "7"}});
  SnmpMessage answer = decode_message(Ask(&scanner, kModelOid).answer.value().bytes);
  EXPECT_EQ(answer.errorStatus, 5);
  EXPECT_EQ(answer.errorIndex, 1);
  EXPECT_EQ(answer.bindings.at(0).value.tag, kTagNull);
  answer = decode_message(Ask(&scanner, kVendorOid).answer.value().bytes);
  EXPECT_EQ(answer.errorStatus, 0);
  EXPECT_EQ(answer.errorIndex, 7);
}

TEST(Rules, SetTheHeadOfTheAnswer) {
  CScanner scanner = make_scanner({{"answer_version", "1"},
                                   {"answer_community", "other"},
                                   {"answer_request_id", "wrong"},
                                   {"answer_pdu", "A1"},
                                   {"answer_bindings", "2"}});
  SnmpMessage answer = decode_message(Ask(&scanner, kModelOid).answer.value().bytes);
  EXPECT_EQ(answer.version, 1);
  EXPECT_EQ(answer.community, "other");
  EXPECT_EQ(answer.requestId, 0x12345679);
  EXPECT_EQ(answer.pdu, 0xA1);
  EXPECT_EQ(answer.bindings.size(), 2U);
}

TEST(Rules, SetTheRequestIdOfTheQuestionAgain) {
  CScanner scanner = make_scanner({{"answer_request_id", "-1"}, {"answer_request_id", "same"}});
  EXPECT_EQ(AnswerHex(&scanner, kModelOid), Hex(kModelAnswer));
}

TEST(Rules, SetAFixedRequestIdAndAnEmptyList) {
  CScanner scanner = make_scanner({{"answer_request_id", "-1"}, {"answer_bindings", "0"}});
  EXPECT_EQ(AnswerHex(&scanner, kModelOid), Hex("30 18"
                                                "02 01 00"
                                                "04 06 70 75 62 6c 69 63"
                                                "a2 0b"
                                                "02 01 ff"
                                                "02 01 00"
                                                "02 01 00"
                                                "30 00"));
}

TEST(Rules, SetTheFormOfASingleLength) {
  CScanner scanner = make_scanner({{"length_form.model", "list:byte80"}});
  std::string expected = Hex(kModelAnswer);
  expected.replace(expected.find("3017"), 4, "3080");
  EXPECT_EQ(AnswerHex(&scanner, kModelOid), expected);
}

TEST(Rules, SetTheFormOfAllLengths) {
  CScanner scanner = make_scanner({{"length_form.model", "long1"}});
  EXPECT_EQ(AnswerHex(&scanner, kModelOid), Hex("30 81 3c"
                                                "02 81 01 00"
                                                "04 81 06 70 75 62 6c 69 63"
                                                "a2 81 2c"
                                                "02 81 04 12 34 56 78"
                                                "02 81 01 00"
                                                "02 81 01 00"
                                                "30 81 1a"
                                                "30 81 17"
                                                "06 81 0c 2b 06 01 04 01 85 5b 01 02 01 02 00"
                                                "04 81 05 54 35 35 5f 45"));
}

TEST(Rules, SendALongTextInTheMinimalForm) {
  const std::string text(200, 'n');
  CScanner scanner = make_scanner({{"name", text}, {"length_form.name", "minimal"}});
  const Reaction reaction = Ask(&scanner, kNameOid);
  EXPECT_EQ(to_hex(reaction.answer.value().bytes).substr(0, 6), "3081f5");
  EXPECT_EQ(reaction.answer->text, text);
}

TEST(Rules, GiveOtherValuesForUsualObjectsAndTakeThemAway) {
  CScanner scanner = make_scanner({{"object.1.3.6.1.4.1.731.1.2.1.2.0", "int:-129"},
                                   {"object.1.3.6.1.4.1.731.1.2.1.1.0", "none"}});
  EXPECT_EQ(Ask(&scanner, kModelOid).answer.value().text, "-129");
  EXPECT_EQ(Ask(&scanner, kVendorOid).answer.value().text, "error 2 (no such name)");
}

// --- spoilt bytes

std::string SpoiltModel(const char* key, const char* value) {
  CScanner scanner = make_scanner({{key, value}});
  return AnswerHex(&scanner, kModelOid);
}

TEST(Spoiling, ReplacesTheAnswer) {
  EXPECT_EQ(SpoiltModel("fixed_answer", "30 80"), "3080");
  EXPECT_EQ(SpoiltModel("fixed_answer", ""), "");
}

TEST(Spoiling, SetsBytesInsideTheAnswerOnly) {
  std::string expected = Hex(kModelAnswer);
  expected.replace(0, 2, "ff");
  expected.replace(102, 2, "46");
  EXPECT_EQ(SpoiltModel("set_byte", "0:ff 51:46 52:00"), expected);
}

TEST(Spoiling, AppendsAndPads) {
  EXPECT_EQ(SpoiltModel("append", "01 02"), Hex(kModelAnswer) + "0102");
  EXPECT_EQ(SpoiltModel("pad_to", "60"), Hex(kModelAnswer) + "0000000000000000");
  EXPECT_EQ(SpoiltModel("pad_to", "10"), Hex(kModelAnswer));
}

TEST(Spoiling, CutsFromEitherEnd) {
  const std::string whole = Hex(kModelAnswer);
  EXPECT_EQ(SpoiltModel("cut", "20"), whole.substr(0, 40));
  EXPECT_EQ(SpoiltModel("cut", "0"), "");
  EXPECT_EQ(SpoiltModel("cut", "52"), whole);
  EXPECT_EQ(SpoiltModel("cut", "-3"), whole.substr(0, whole.size() - 6));
  EXPECT_EQ(SpoiltModel("cut", "-100"), "");
  EXPECT_EQ(SpoiltModel("cut", "no"), whole);
}

TEST(Spoiling, CutsEachAnswerOneByteLater) {
  CScanner scanner = make_scanner({{"cut.model", "each"}});
  const std::string whole = Hex(kModelAnswer);
  for (size_t kept = 0; kept < 52; ++kept)
    EXPECT_EQ(AnswerHex(&scanner, kModelOid), whole.substr(0, kept * 2));
  EXPECT_EQ(AnswerHex(&scanner, kModelOid), "") << "starts over instead of sending it whole";
}

TEST(Spoiling, CutsAtRandomButAlways) {
  CScanner scanner = make_scanner({{"cut.model", "random"}});
  const std::string whole = Hex(kModelAnswer);
  for (int i = 0; i < 200; ++i) {
    const std::string cut = AnswerHex(&scanner, kModelOid);
    EXPECT_LT(cut.size(), whole.size());
    EXPECT_EQ(cut, whole.substr(0, cut.size()));
  }
}

TEST(Spoiling, CorruptsAByteToAnotherValue) {
  CScanner scanner = make_scanner({{"corrupt.model", "1"}});
  const Bytes whole = from_hex(kModelAnswer).value();
  for (int i = 0; i < 200; ++i) {
    const Bytes bytes = Ask(&scanner, kModelOid).answer.value().bytes;
    ASSERT_EQ(bytes.size(), whole.size());
    int different = 0;
    for (size_t k = 0; k < whole.size(); ++k) different += bytes[k] != whole[k] ? 1 : 0;
    EXPECT_EQ(different, 1);
  }
}

TEST(Spoiling, SendsRandomBytesAlikeInEveryRunWithTheSameSeed) {
  const auto answers = [](const char* seed) {
    CScanner scanner = make_scanner({{"random_answer", "10-12"}, {"seed", seed}});
    std::vector<std::string> all;
    all.reserve(20);
    for (int i = 0; i < 20; ++i) all.push_back(AnswerHex(&scanner, kModelOid));
    return all;
  };
  EXPECT_EQ(answers("5"), answers("5"));
  EXPECT_NE(answers("5"), answers("6"));
  for (const std::string& answer : answers("5")) {
    EXPECT_GE(answer.size(), 20U);
    EXPECT_LE(answer.size(), 24U);
  }
}

TEST(Spoiling, IsNamedInTheAccount) {
  CScanner scanner = make_scanner({{"length_form", "minimal"},
                                   {"set_byte", "0:ff"},
                                   {"append", "01"},
                                   {"pad_to", "60"},
                                   {"cut", "20"}});
  const Reaction reaction = Ask(&scanner, kModelOid);
  EXPECT_THAT(
      reaction.answer.value().changes,
      testing::ElementsAre("lengths in another form", "byte 0 set to ff", "1 bytes appended",
                           "padded to 60 bytes", "cut to 20 of 60 bytes"));
  EXPECT_EQ(reaction.account,
            "asked for its model, answers T55_E [lengths in another form, byte 0 set to ff, "
            "1 bytes appended, padded to 60 bytes, cut to 20 of 60 bytes]");
}

// --- accounts

TEST(Account, SaysInWordsWhatWasAskedAndAnswered) {
  CScanner scanner = make_scanner({{"silent.name", "yes"}});
  EXPECT_EQ(Ask(&scanner, kModelOid).account, "asked for its model, answers T55_E");
  EXPECT_EQ(Ask(&scanner, kVendorOid).account, "asked for its vendor, answers Veltrana");
  EXPECT_EQ(Ask(&scanner, kNameOid).account, "asked for its name, stays silent");
  EXPECT_EQ(Ask(&scanner, kMacOid).account,
            "asked for its hardware address, answers 02:56:53:00:00:65");
  EXPECT_EQ(Ask(&scanner, Request(kPduGetNext, {kDiscoveryOid})).account,
            "asked whether it is a scanner, answers that it is one");
  EXPECT_EQ(Ask(&scanner, "1.3.6.1.2.1.1.9.0").account,
            "asked for 1.3.6.1.2.1.1.9.0, answers error 2 (no such name)");
  EXPECT_EQ(Ask(&scanner, Request(kPduGetNext, {"1.3.6.1.2.1.1.4"})).account,
            "asked for the successor of 1.3.6.1.2.1.1.4, answers Reception");
  EXPECT_EQ(Ask(&scanner, Request(kPduSet, {kNameOid})).account,
            "asked to change 1.3.6.1.2.1.1.5.0, stays silent");
}

TEST(Account, SaysWhatIsWrongWithAnUnknownDatagram) {
  CScanner scanner = make_scanner();
  const Bytes bytes = {'h', 'e', 'l', 'l', 'o'};
  const Reaction reaction = scanner.Take(understand(Protocol::kSnmp, bytes), bytes.size());
  EXPECT_FALSE(reaction.answer);
  EXPECT_EQ(reaction.account,
            "got 5 bytes that it does not understand (the message has the tag 68 instead of 30), "
            "stays silent");
}

}  // namespace
