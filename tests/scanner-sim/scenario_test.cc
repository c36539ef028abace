// Scenario files of the scanner simulator: what they set, and every kind of mistake with its line.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "tests/support/private_file.h"
#include "tools/scanner-sim/key_file.h"
#include "tools/scanner-sim/scenario.h"
#include "tools/scanner-sim/text.h"

namespace {

class Scenario : public testing::Test {
 protected:
  // The scanners of a scenario with this text.
  std::vector<ScannerConfig> Make(const std::string& text) {
    std::ofstream(m_Request.file, std::ios::trunc) << text;
    return make_scanners(m_Request);
  }

  // The message that refuses it; the file's name is cut off.
  std::string Refusal(const std::string& text) {
    try {
      Make(text);
    } catch (const UsageError& error) {
      const std::string message = error.what();
      const size_t size = m_Request.file.size();
      return message.compare(0, size, m_Request.file) == 0 ? message.substr(size) : message;
    }
    return "accepted";
  }

  void SetUp() override { m_Request.file = m_sFile; }
  void TearDown() override { std::remove(m_sFile.c_str()); }

  // Tests may ask for another file or none.
  const std::string m_sFile = private_file(".conf");
  ScenarioRequest m_Request;
};

std::vector<std::string> Addresses(const std::vector<ScannerConfig>& scanners) {
  std::vector<std::string> addresses;
  addresses.reserve(scanners.size());
  for (const ScannerConfig& scanner : scanners) addresses.push_back(ipv4_text(scanner.address));
  return addresses;
}

// --- what it sets

TEST_F(Scenario, GroupNamesAScannerWhoseSystemNameItIs) {
  const auto scanners = Make("[scanner Front Desk]\n");
  ASSERT_EQ(scanners.size(), 1U);
  EXPECT_EQ(scanners[0].label, "Front Desk");
  EXPECT_EQ(scanners[0].name, "Front Desk");
  EXPECT_EQ(scanners[0].vendor, "Veltrana");
  EXPECT_EQ(scanners[0].model, "T55_E");
  EXPECT_EQ(ipv4_text(scanners[0].address), "10.77.0.101");
  EXPECT_EQ(mac_text(scanners[0].HardwareAddress()), "02:56:53:00:00:65");
}

TEST_F(Scenario, GivesAddressesOfTheNetworkInTheOrderOfTheFile) {
  const auto scanners = Make(
      "[defaults]\nnetwork = 10.77.1.0/24\n[scanner A]\n[scanner B]\naddress = 10.77.0.64\n"
      "[scanner C]\n");
  EXPECT_THAT(Addresses(scanners),
              testing::ElementsAre("10.77.1.101", "10.77.0.64", "10.77.1.103"));
}

TEST_F(Scenario, NetworkOfTheCommandLineGoesBeforeTheFiles) {
  m_Request.network = parse_network("10.77.0.0/16");
  const auto scanners = Make("[defaults]\nnetwork = 10.99.0.0/24\n[scanner A]\n");
  EXPECT_THAT(Addresses(scanners), testing::ElementsAre("10.77.0.101"));
}

TEST_F(Scenario, CountMakesNumberedScannersWithRisingAddresses) {
  const auto scanners = Make(
      "[scanner Crowd]\ncount = 3\naddress = 10.77.0.254\nname = Desk {n} of {n}\n"
      "delay.discovery = {n}\n");
  ASSERT_EQ(scanners.size(), 3U);
  EXPECT_THAT(Addresses(scanners), testing::ElementsAre("10.77.0.254", "10.77.0.255", "10.77.1.0"));
  EXPECT_EQ(scanners[2].label, "Crowd-3");
  EXPECT_EQ(scanners[2].name, "Desk 3 of 3");
  EXPECT_EQ(scanners[2].RulesFor(Question::kDiscovery).delay.low, 3);
}

TEST_F(Scenario, NumberInAnAddressStandsForItself) {
  const auto scanners = Make("[scanner Crowd]\ncount = 2\naddress = 10.77.0.8{n}\n");
  EXPECT_THAT(Addresses(scanners), testing::ElementsAre("10.77.0.81", "10.77.0.82"));
}

TEST_F(Scenario, TextsKeepTheirEscapedBlanks) {
  EXPECT_EQ(Make("[scanner A]\nname = \\sPRINTER-12\\s\\s\\s\n")[0].name, " PRINTER-12   ");
}

TEST_F(Scenario, KeyWithoutAQuestionIsForAllAnswers) {
  const ScannerConfig scanner = Make("[scanner A]\nsilent = yes\nerror_status = 5\n")[0];
  for (const AnswerRules& rules : scanner.rules) EXPECT_TRUE(rules.silent);
  EXPECT_EQ(scanner.RulesFor(Question::kName).errorStatus, 5);
  EXPECT_EQ(scanner.RulesFor(Question::kRegister).errorStatus, 0);
}

TEST_F(Scenario, KeyWithAQuestionIsForThatAnswerAloneWhateverTheOrder) {
  const ScannerConfig scanner = Make("[scanner A]\ndelay.model = 1500\ndelay = 20-30\n")[0];
  EXPECT_EQ(scanner.RulesFor(Question::kModel).delay.low, 1500);
  EXPECT_EQ(scanner.RulesFor(Question::kModel).delay.high, 1500);
  EXPECT_EQ(scanner.RulesFor(Question::kVendor).delay.low, 20);
  EXPECT_EQ(scanner.RulesFor(Question::kVendor).delay.high, 30);
}

TEST_F(Scenario, ScannerGoesBeforeDefaultsAndOptionsBeforeBoth) {
  m_Request.settings.push_back({"A", {"--set A:vendor=Own", "vendor", "Own"}});
  m_Request.settings.push_back({"", {"--set vendor=V", "vendor", "V"}});
  m_Request.settings.push_back({"B", {"--set B:name=N", "name", "N"}});
  m_Request.settings.push_back({"1", {"--set 1:name=One", "name", "One"}});
  const auto scanners =
      Make("[scanner A]\nmodel = M2\n[scanner B]\nvendor = W\n[defaults]\nmodel = M1\n");
  EXPECT_EQ(scanners[0].model, "M2");
  EXPECT_EQ(scanners[1].model, "M1");
  EXPECT_EQ(scanners[1].vendor, "V");
  EXPECT_EQ(scanners[0].vendor, "Own") << "an option for one scanner goes before one for all";
  EXPECT_EQ(scanners[0].name, "One");
  EXPECT_EQ(scanners[1].name, "N");
}

TEST_F(Scenario, EveryScannerKeyIsTaken) {
  const ScannerConfig scanner = Make(
      "[scanner A]\n"
      "mac = 02:11:22:3A:4B:5C\n"
      "community = secret\n"
      "successor = 1.3.6.1.4.1.731.405.1.1.1.4.0\n"
      "successor_value = string:here\n"
      "registered = 10.77.0.11 02:56:44:56:58:11 desk 11; 10.77.0.12 02:56:44:56:58:12 desk-12\n"
      "reply_codes = D4, silence C4\n"
      "reply_codes_cycle = yes\n"
      "wrong_sequence = 2\n"
      "reply_data = 01 02\n"
      "reply_length = 255\n"
      "reply_signature = MFPP0200ML02\n"
      "reply_category = 32\n"
      "reply_status = 07\n"
      "unregister_code = C5\n"
      "seed = 77\n"
      "object.1.3.6.1.2.1.1.1.0 = int:5\n"
      "object.1.3.6.1.2.1.1.5.0 = none\n")[0];
  EXPECT_EQ(mac_text(scanner.HardwareAddress()), "02:11:22:3a:4b:5c");
  EXPECT_EQ(scanner.community, "secret");
  EXPECT_EQ(oid_text(scanner.successor), "1.3.6.1.4.1.731.405.1.1.1.4.0");
  EXPECT_EQ(value_text(scanner.successorValue), "here");
  ASSERT_EQ(scanner.registered.size(), 2U);
  EXPECT_EQ(computer_text(scanner.registered[0]), "desk 11 (10.77.0.11, 02:56:44:56:58:11)");
  EXPECT_EQ(computer_text(scanner.registered[1]), "desk-12 (10.77.0.12, 02:56:44:56:58:12)");
  EXPECT_THAT(scanner.replyCodes, testing::ElementsAre(0xD4, kNoReply, 0xC4));
  EXPECT_TRUE(scanner.replyCodesCycle);
  EXPECT_EQ(scanner.wrongSequence, 2);
  EXPECT_EQ(scanner.replyData, (Bytes{1, 2}));
  EXPECT_EQ(scanner.replyLength, 255);
  EXPECT_EQ(scanner.replySignature, "MFPP0200ML02");
  EXPECT_EQ(scanner.replyCategory, 0x32);
  EXPECT_EQ(scanner.replyStatus, 0x07);
  EXPECT_EQ(scanner.unregisterCode, 0xC5);
  EXPECT_EQ(scanner.seed, 77U);
  EXPECT_EQ(scanner.objects.size(), 2U);
  EXPECT_FALSE(scanner.objects.at({1, 3, 6, 1, 2, 1, 1, 5, 0}));
}

TEST_F(Scenario, EveryAnswerKeyIsTaken) {
  const AnswerRules rules =
      Make(
          "[scanner A]\n"
          "silent.model = yes\nignore_first.model = 2\ndelay.model = 1-2\ncopies.model = 3\n"
          "copy_gap.model = 4\nanswer_from.model = 10.77.0.250\nfixed_answer.model = 00\n"
          "random_answer.model = 5-6\nset_byte.model = 0:ff 24:1f\ncorrupt.model = 7\n"
          "append.model = 08\npad_to.model = 9\ncut.model = -10\nerror_status.model = 11\n"
          "error_index.model = 12\nlength_form.model = minimal, list:long2\nanswer_version.model = "
          "1\n"
          "answer_community.model = other\nanswer_request_id.model = 13\nanswer_pdu.model = A4\n"
          "answer_bindings.model = 2\n")[0]
          .RulesFor(Question::kModel);
  EXPECT_TRUE(rules.silent);
  EXPECT_EQ(rules.ignoreFirst, 2);
  EXPECT_EQ(rules.delay.high, 2);
  EXPECT_EQ(rules.copies, 3);
  EXPECT_EQ(rules.copyGap, 4);
  EXPECT_EQ(ipv4_text(rules.from.value()), "10.77.0.250");
  EXPECT_EQ(rules.fixedAnswer, Bytes{0});
  EXPECT_EQ(rules.randomAnswer.value().low, 5);
  EXPECT_THAT(rules.setBytes,
              testing::ElementsAre(testing::Pair(0, 0xFF), testing::Pair(24, 0x1F)));
  EXPECT_EQ(rules.corrupt, 7);
  EXPECT_EQ(rules.append, Bytes{8});
  EXPECT_EQ(rules.padTo, 9);
  EXPECT_EQ(rules.cut, CutKind::kDrop);
  EXPECT_EQ(rules.cutCount, 10);
  EXPECT_EQ(rules.errorStatus, 11);
  EXPECT_EQ(rules.errorIndex, 12);
  EXPECT_EQ(rules.lengthForms[static_cast<size_t>(Element::kMessage)].style, LengthStyle::kMinimal);
  EXPECT_EQ(rules.lengthForms[static_cast<size_t>(Element::kList)].style, LengthStyle::kLong);
  EXPECT_EQ(rules.version, 1);
  EXPECT_EQ(rules.community, "other");
  EXPECT_EQ(rules.requestIdKind, RequestIdKind::kFixed);
  EXPECT_EQ(rules.requestId, 13);
  EXPECT_EQ(rules.pdu, 0xA4);
  EXPECT_EQ(rules.bindingRepeats, 2);
}

TEST_F(Scenario, LongestTextsInTheShortFormAreAccepted) {
  EXPECT_EQ(Refusal("[scanner A]\nmodel = " + std::string(82, 'm') + "\n"), "accepted");
  EXPECT_EQ(Refusal("[scanner A]\nvendor = " + std::string(82, 'v') + "\n"), "accepted");
  EXPECT_EQ(Refusal("[scanner A]\nname = " + std::string(86, 'n') + "\n"), "accepted");
}

TEST_F(Scenario, LongerTextsAreAcceptedOnceTheirLengthFormIsStated) {
  const std::string text(200, 'n');
  EXPECT_EQ(Refusal("[scanner A]\nname = " + text + "\nlength_form.name = minimal\n"), "accepted");
}

TEST_F(Scenario, UsualScannersHavePlausibleNamesAndModels) {
  m_Request.file.clear();
  m_Request.count = 7;
  const auto scanners = make_scanners(m_Request);
  ASSERT_EQ(scanners.size(), 7U);
  EXPECT_EQ(scanners[0].name, "Reception");
  EXPECT_EQ(scanners[0].model, "T55_E");
  EXPECT_EQ(scanners[5].name, "Warehouse");
  EXPECT_EQ(scanners[6].name, "Reception-2");
  EXPECT_EQ(ipv4_text(scanners[6].address), "10.77.0.107");
}

TEST_F(Scenario, ThreeHundredUsualScannersFitALargerNetwork) {
  m_Request.file.clear();
  m_Request.count = 300;
  m_Request.network = parse_network("10.77.0.0/16");
  const auto scanners = make_scanners(m_Request);
  EXPECT_EQ(ipv4_text(scanners[154].address), "10.77.0.255");
  EXPECT_EQ(ipv4_text(scanners[299].address), "10.77.1.144");
}

TEST_F(Scenario, SeedIsAddedToThatOfEveryScanner) {
  m_Request.seed = 100;
  const auto scanners = Make("[scanner A]\n[scanner B]\nseed = 7\n");
  EXPECT_EQ(scanners[0].seed, 101U);
  EXPECT_EQ(scanners[1].seed, 107U);
}

TEST_F(Scenario, ReadyMadeScenariosAreGood) {
  for (const char* name : {"six-office", "silent-on-one-object", "hostile"}) {
    m_Request.file =
        std::string(VELTRANA_SOURCE_DIR "/tools/scanner-sim/scenarios/") + name + ".conf";
    EXPECT_GE(make_scanners(m_Request).size(), 6U) << name;
  }
}

// --- mistakes

TEST_F(Scenario, MistakeInTheFileIsNamedWithItsLine) {
  struct Row {
    const char* text;
    const char* message;
  };
  const Row rows[] = {
      {"# nothing\n", ": there is no group [scanner NAME] in it"},
      {"\n# comment\nfree text\n",
       ":3: \"free text\" is neither KEY = VALUE, a group nor a comment"},
      {"= value\n", ":1: \"= value\" is neither KEY = VALUE, a group nor a comment"},
      {"model = T55\n[scanner A]\n", ":1: a key stands before the first group"},
      {"[scanner A\n", ":1: \"[scanner A\" is not a group, which reads [NAME]"},
      {"[scanner A] x\n", ":1: \"[scanner A] x\" is not a group, which reads [NAME]"},
      {"[]\n", ":1: \"[]\" is not a group, which reads [NAME]"},
      {"[scanner A]\n\n[scanner A]\n", ":3: the group [scanner A] is already in line 1"},
      {"[scanner A]\nmodel = a\n\nmodel = b\n", ":4: \"model\" is already set in line 2"},
      {"[scanner A]\nmodel = \xFF\n", ":2: this line is not UTF-8 text"},
      {"[scanner A]\nmodel = a\\qb\n",
       ":2: model: a backslash stands before something other than s, n, t, r and \\"},
      {"[scanner]\n",
       ":1: unknown group [scanner], which is neither [defaults] nor [scanner NAME]"},
      {"[scanner A]\n[printer B]\n",
       ":2: unknown group [printer B], which is neither [defaults] nor [scanner NAME]"},
  };
  for (const Row& row : rows) EXPECT_EQ(Refusal(row.text), row.message);
}

TEST_F(Scenario, MistakeInAKeyIsNamedWithItsLine) {
  struct Row {
    const char* line;  // third line of a scanner's group
    const char* message;
  };
  const Row rows[] = {
      {"colour = red", "unknown key \"colour\""},
      {"model[de] = T55", "unknown key \"model[de]\""},
      {"network = 10.77.0.0/24", "\"network\" belongs into [defaults]"},
      {"count = 0", "count: \"0\" is not a number from 1 to 10000"},
      {"address = 10.77.0", "address: \"10.77.0\" is not the IPv4 address of a host"},
      {"address = 255.255.255.255",
       "address: \"255.255.255.255\" is not the IPv4 address of a host"},
      {"address = 0.0.0.0", "address: \"0.0.0.0\" is not the IPv4 address of a host"},
      {"mac = 02:56",
       "mac: \"02:56\" is not a hardware address (six pairs like 02:56:53:00:00:65)"},
      {"successor = 1", "successor: \"1\" is not an object identifier"},
      {"object.x = int:1", "\"object.x\" does not name an object (object.1.3.6.1...)"},
      {"registered = desk-42", "registered: \"desk-42\" is not ADDRESS MAC NAME"},
      {"reply_codes =", "reply_codes: there must be at least one reply code"},
      {"reply_codes = D4 XX",
       "reply_codes: \"XX\" is neither a reply code (two hexadecimal digits) nor silence"},
      {"unregister_code = no",
       "unregister_code: \"no\" is neither a reply code (two hexadecimal digits) nor silence"},
      {"reply_codes_cycle = 1", "reply_codes_cycle: \"1\" is neither yes nor no"},
      {"wrong_sequence = some",
       "wrong_sequence: \"some\" is neither yes, no nor a number of replies"},
      {"reply_data = 0", "reply_data: \"0\" is not a row of pairs of hexadecimal digits"},
      {"reply_data_size = -1", "reply_data_size: \"-1\" is not a number from 0 to 65487"},
      {"reply_length = 256", "reply_length: \"256\" is not a number from 0 to 255"},
      {"reply_signature = MFPP", "reply_signature: \"MFPP\" does not have 12 bytes"},
      {"reply_category = 031", "reply_category: \"031\" is not one pair of hexadecimal digits"},
      {"reply_status = x", "reply_status: \"x\" is not one pair of hexadecimal digits"},
      {"seed = -1", "seed: \"-1\" is not a number from 0 to 2147483647"},
      {"model.name = x", "\"model\" is about the whole scanner and takes no \".name\""},
      {"delay.price = 1",
       "\"price\" is not a question (discovery, model, vendor, name, mac, other, register or "
       "unregister)"},
      {"error_status.register = 1",
       "\"error_status\" is about SNMP and does not apply to \"register\""},
      {"silent = maybe", "silent: \"maybe\" is neither yes nor no"},
      {"ignore_first = -1", "ignore_first: \"-1\" is not a number from 0 to 2147483647"},
      {"delay = soon",
       "delay: \"soon\" is neither a number from 0 to 3600000 nor two of them in rising order with "
       "a dash between them"},
      {"delay.model = 9-3",
       "delay.model: \"9-3\" is neither a number from 0 to 3600000 nor two of them in rising order "
       "with a dash between them"},
      {"copies = 0", "copies: \"0\" is not a number from 1 to 100000"},
      {"copy_gap = x", "copy_gap: \"x\" is not a number from 0 to 3600000"},
      {"answer_from = 224.0.0.1", "answer_from: \"224.0.0.1\" is not the IPv4 address of a host"},
      {"fixed_answer = xyz", "fixed_answer: \"xyz\" is not a row of pairs of hexadecimal digits"},
      {"random_answer = 1-65508",
       "random_answer: \"1-65508\" is neither a number from 0 to 65507 nor two of them in rising "
       "order with a dash between them"},
      {"set_byte = 24", "set_byte: \"24\" is not OFFSET:BYTE, for instance 24:1f"},
      {"corrupt = x", "corrupt: \"x\" is not a number from 0 to 65507"},
      {"append = 1", "append: \"1\" is not a row of pairs of hexadecimal digits"},
      {"pad_to = 65508", "pad_to: \"65508\" is not a number from 0 to 65507"},
      {"cut = half", "cut: \"half\" is neither no, random, each nor a number of bytes"},
      {"error_status = x", "error_status: \"x\" is not a number from -2147483648 to 2147483647"},
      {"error_index = x", "error_index: \"x\" is not a number from -2147483648 to 2147483647"},
      {"length_form = long",
       "length_form: \"long\" is not a length form (short, minimal, long1 to long8, left5 to "
       "left8, "
       "byte00 to byteff)"},
      {"length_form = head:long1", "length_form: \"head\" is not an element of an answer"},
      {"answer_version = x",
       "answer_version: \"x\" is not a number from -2147483648 to 2147483647"},
      {"answer_request_id = other",
       "answer_request_id: \"other\" is neither same, wrong nor a number of 32 bits"},
      {"answer_pdu = response", "answer_pdu: \"response\" is not one pair of hexadecimal digits"},
      {"answer_bindings = -1", "answer_bindings: \"-1\" is not a number from 0 to 1000"},
  };
  for (const Row& row : rows)
    EXPECT_EQ(Refusal(std::string("[scanner A]\n\n") + row.line + "\n"),
              std::string(":3: ") + row.message);
}

TEST_F(Scenario, ValueOfNoKnownTypeIsRefusedWithTheTypes) {
  const std::string types =
      "is not a value (string:TEXT, hex:BYTES, int:N, counter:N, gauge:N, ticks:N, "
      "address:A.B.C.D, oid:1.3.6, null, opaque:BYTES or tagXX:BYTES)";
  EXPECT_EQ(Refusal("[scanner A]\nsuccessor_value = 1\n"), ":2: successor_value: \"1\" " + types);
  EXPECT_EQ(Refusal("[scanner A]\nobject.1.3.6 = 1\n"),
            ":2: object.1.3.6: \"1\" " + types + ", nor none");
}

TEST_F(Scenario, MistakeInTheDefaultsIsNamedWithItsLine) {
  EXPECT_EQ(Refusal("[defaults]\ncolour = red\n[scanner A]\n"), ":2: unknown key \"colour\"");
  EXPECT_EQ(
      Refusal("[defaults]\n\ndelay = x\n[scanner A]\n"),
      ":3: delay: \"x\" is neither a number from 0 to 3600000 nor two of them in rising order "
      "with a dash between them");
  EXPECT_EQ(Refusal("[defaults]\naddress = 10.77.0.101\n[scanner A]\n"),
            ":2: \"address\" belongs into a [scanner ...] group");
  EXPECT_EQ(Refusal("[defaults]\ncount = 2\n[scanner A]\n"),
            ":2: \"count\" belongs into a [scanner ...] group");
  for (const char* network : {"10.77.0.0", "10.77.0.0/31", "10.77.0.0/0", "10.77.0.5/24"})
    EXPECT_EQ(Refusal(std::string("[defaults]\nnetwork = ") + network + "\n[scanner A]\n"),
              std::string(":2: network: \"") + network +
                  "\" is not a network (its lowest address and a prefix length from 1 to 30, like "
                  "10.77.0.0/24)");
}

TEST_F(Scenario, ScannersOfOneAddressAreRefused) {
  EXPECT_EQ(Refusal("[scanner A]\n[scanner B]\naddress = 10.77.0.101\n"),
            ":2: B has the address 10.77.0.101 of A");
}

TEST_F(Scenario, MoreScannersThanTheNetworkHoldsAreRefused) {
  EXPECT_EQ(Refusal("[defaults]\nnetwork = 10.77.0.0/24\n[scanner A]\ncount = 154\n"), "accepted");
  EXPECT_EQ(Refusal("[defaults]\nnetwork = 10.77.0.0/24\n[scanner A]\ncount = 155\n"),
            ":2: the network 10.77.0.0/24 has no room for scanner 155 (A-155, 10.77.0.255)");
  EXPECT_EQ(Refusal("[scanner A]\ncount = 155\n"),
            ": the network 10.77.0.0/24 has no room for scanner 155 (A-155, 10.77.0.255)");
  m_Request.file.clear();
  m_Request.count = 155;
  EXPECT_EQ(Refusal(""),
            "--scanners 155: the network 10.77.0.0/24 has no room for scanner 155 "
            "(Drawing-Office-26, 10.77.0.255)");
}

TEST_F(Scenario, TextTooLongForItsLengthFormIsNamedWithItsLine) {
  EXPECT_EQ(Refusal("[defaults]\n\nmodel = " + std::string(83, 'm') + "\n[scanner A]\n"),
            ":3: A: the answer about model cannot be sent: the message would have 128 contents "
            "bytes, where the length form has room for 127. Set length_form to state it in another "
            "form, which the program under test does not read");
  const std::string name(87, 'n');
  EXPECT_THAT(Refusal("[scanner A]\n\n\nname = " + name + "\n"),
              testing::StartsWith(":4: A: the answer about name cannot be sent: "));
  EXPECT_THAT(Refusal("[scanner A]\nobject.1.3.6.1.2.1.1.1.0 = string:" + name + "\n"),
              testing::StartsWith(":2: A: the answer about other cannot be sent: "));
  m_Request.settings.push_back({"", {"--set name=long", "name", name}});
  EXPECT_THAT(Refusal("[scanner A]\n"), testing::StartsWith("--set name=long: A: "));
}

TEST_F(Scenario, AnswerTooLongWithoutATextToBlameIsNamedWithItsScanner) {
  EXPECT_THAT(Refusal("\n[scanner " + std::string(87, 'n') + "]\n"),
              testing::StartsWith(":2: " + std::string(87, 'n') + ": the answer about name "));
}

TEST_F(Scenario, SetForAScannerThatIsNotThereIsRefused) {
  m_Request.settings.push_back({"C", {"--set C:name=x", "name", "x"}});
  EXPECT_EQ(Refusal("[scanner A]\n"), "--set C:name=x: there is no scanner \"C\"");
}

TEST_F(Scenario, FileThatCannotBeReadIsNamed) {
  m_Request.file = private_file(".none");
  try {
    make_scanners(m_Request);
    ADD_FAILURE();
  } catch (const UsageError& error) {
    EXPECT_THAT(error.what(), testing::StartsWith(m_Request.file + ": "));
    EXPECT_THAT(error.what(), testing::HasSubstr("No such file or directory"));
  }
}

}  // namespace
