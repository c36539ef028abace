// The registration commands of a simulated scanner: packets, reply codes in turn, lists.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/scanner-sim/made.h"

namespace {

std::string Hex(const std::string& text) { return to_hex(from_hex(text).value()); }

const char kSignature[] = "4d 46 50 50 30 32 30 30 4d 4c 30 31";

// The record of desk-42 at 10.77.0.10.
const char kDesk42[] =
    "0a 4d 00 0a"
    "64 65 73 6b 2d 34 32 00 00 00 00 00 00 00 00 00"
    "02 56 44 56 58 10"
    "00 01";

// Another computer at 10.77.0.11: "x".
const char kDeskX[] =
    "0a 4d 00 0b"
    "78 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00"
    "02 56 44 56 58 11"
    "00 01";

Bytes Packet(const char* command, const char* record, const char* sequence = "39 30") {
  return from_hex(std::string(kSignature) + sequence + "31" + command + "1c 00 00 00" + record)
      .value();
}

Reaction Send(CScanner* scanner, const Bytes& packet) {
  return scanner->Take(understand(Protocol::kRegistration, packet), packet.size());
}

Reaction Register(CScanner* scanner) { return Send(scanner, Packet("03", kDesk42)); }

std::string ReplyHex(const Reaction& reaction) {
  return reaction.answer ? to_hex(reaction.answer->bytes) : "silence";
}

// The reply codes to so many register commands.
std::vector<std::string> Codes(CScanner* scanner, int count) {
  std::vector<std::string> codes;
  for (int i = 0; i < count; ++i) {
    const std::string reply = ReplyHex(Register(scanner));
    codes.push_back(reply == "silence" ? reply : reply.substr(30, 2));
  }
  return codes;
}

std::string List(const CScanner& scanner) { return list_text(scanner.Computers()); }

const char kDesk42Text[] = "desk-42 (10.77.0.10, 02:56:44:56:58:10)";

// --- packets

TEST(CommandPacket, IsReadFieldByField) {
  const CommandPacket packet = decode_command(Packet("03", kDesk42));
  EXPECT_EQ(packet.sequence[0], 0x39);
  EXPECT_EQ(packet.sequence[1], 0x30);
  EXPECT_EQ(packet.category, 0x31);
  EXPECT_EQ(packet.command, 3);
  EXPECT_EQ(packet.length, 28);
  EXPECT_EQ(packet.status, 0);
  EXPECT_EQ(to_hex(packet.data), Hex(kDesk42));
  ASSERT_TRUE(packet.computer);
  EXPECT_EQ(computer_text(*packet.computer), kDesk42Text);
  EXPECT_TRUE(packet.remarks.empty());
}

TEST(CommandPacket, OfAnUnknownCommandHasNoComputer) {
  const CommandPacket packet =
      decode_command(from_hex(std::string(kSignature) + "01 02 30 7f 02 05 00 00 aa bb").value());
  EXPECT_EQ(packet.command, 0x7F);
  EXPECT_EQ(packet.category, 0x30);
  EXPECT_EQ(packet.status, 5);
  EXPECT_FALSE(packet.computer);
}

TEST(CommandPacket, OfMoreThan255BytesStatesTheLowByteOfItsLength) {
  Bytes bytes = from_hex(std::string(kSignature) + "01 02 31 7f 2c 00 00 00").value();
  bytes.resize(20 + 300);
  EXPECT_EQ(decode_command(bytes).data.size(), 300U);
}

TEST(CommandPacket, ThatIsNoneIsRefusedAndSaysWhy) {
  const auto problem = [](const Bytes& bytes) {
    return understand(Protocol::kRegistration, bytes).problem;
  };
  Bytes bytes = Packet("03", kDesk42);
  EXPECT_EQ(problem(Bytes(bytes.begin(), bytes.begin() + 19)), "19 bytes are no packet");
  EXPECT_EQ(problem({}), "0 bytes are no packet");
  bytes[11] = '2';
  EXPECT_EQ(problem(bytes), "the signature is not MFPP0200ML01");
  bytes = Packet("03", kDesk42);
  bytes.push_back(0);
  EXPECT_EQ(problem(bytes), "the packet states 28 data bytes and has 29");
  bytes[16] = 29;
  EXPECT_EQ(problem(bytes), "a registration command with 29 data bytes");
}

TEST(CommandPacket, WithOddBytesIsReadWithRemarks) {
  Bytes bytes = Packet("05", kDesk42);
  bytes[18] = 1;
  bytes[20 + 4 + 15] = 'x';
  bytes[20 + 27] = 2;
  EXPECT_THAT(
      decode_command(bytes).remarks,
      testing::ElementsAre("bytes 18 and 19 are not zero", "the name is not padded with zeros",
                           "the record does not end in 00 01"));
  for (size_t i = 0; i < 16; ++i) bytes[20 + 4 + i] = 'n';
  const CommandPacket packet = decode_command(bytes);
  EXPECT_EQ(packet.computer.value().name, std::string(16, 'n'));
  EXPECT_THAT(packet.remarks, testing::Contains("the name has no zero at its end"));
}

TEST(ComputerText, ShowsNoControlCharacters) {
  EXPECT_EQ(computer_text({"a\x1b[2J\xff"
                           "b",
                           0,
                           {}}),
            "a?[2J?b (0.0.0.0, 00:00:00:00:00:00)");
}

// --- replies

TEST(Reply, RepeatsTheSequenceBytesAndAccepts) {
  CScanner scanner = make_scanner();
  EXPECT_EQ(ReplyHex(Register(&scanner)), Hex(std::string(kSignature) + "39 30 31 c4 00 00 00 00"));
  EXPECT_EQ(ReplyHex(Send(&scanner, Packet("03", kDesk42, "ff 01"))),
            Hex(std::string(kSignature) + "ff 01 31 c4 00 00 00 00"));
}

TEST(Reply, CodesComeInTurnAndTheLastOneStays) {
  CScanner scanner = make_scanner({{"reply_codes", "D4 D4 C4"}});
  EXPECT_THAT(Codes(&scanner, 5), testing::ElementsAre("d4", "d4", "c4", "c4", "c4"));
}

TEST(Reply, CodesStartOverWhenTheyAreToldTo) {
  CScanner scanner = make_scanner({{"reply_codes", "D4 silence 7F"}, {"reply_codes_cycle", "yes"}});
  EXPECT_THAT(Codes(&scanner, 5), testing::ElementsAre("d4", "silence", "7f", "d4", "silence"));
}

TEST(Reply, CarriesWrongSequenceBytesAlwaysOrAtFirst) {
  CScanner scanner = make_scanner({{"wrong_sequence", "yes"}});
  for (int i = 0; i < 3; ++i) EXPECT_EQ(ReplyHex(Register(&scanner)).substr(24, 4), "c6cf");
  scanner = make_scanner({{"wrong_sequence", "2"}});
  EXPECT_EQ(ReplyHex(Register(&scanner)).substr(24, 4), "c6cf");
  EXPECT_EQ(ReplyHex(Register(&scanner)).substr(24, 4), "c6cf");
  EXPECT_EQ(ReplyHex(Register(&scanner)).substr(24, 4), "3930");
}

TEST(Reply, CarriesTheFieldsThatAreSet) {
  CScanner scanner = make_scanner({{"reply_signature", "MFPP0200ML02"},
                                   {"reply_category", "32"},
                                   {"reply_status", "07"},
                                   {"reply_data", "aa bb"}});
  EXPECT_EQ(ReplyHex(Register(&scanner)),
            Hex("4d 46 50 50 30 32 30 30 4d 4c 30 32 39 30 32 c4 02 07 00 00 aa bb"));
}

TEST(Reply, StatesTheLengthThatItIsToldTo) {
  CScanner scanner = make_scanner({{"reply_data", "aa"}, {"reply_length", "255"}});
  EXPECT_EQ(ReplyHex(Register(&scanner)),
            Hex(std::string(kSignature) + "39 30 31 c4 ff 00 00 00 aa"));
}

TEST(Reply, HasDataOfTheSizeThatIsSet) {
  CScanner scanner = make_scanner({{"reply_data_size", "300"}});
  const Bytes reply = Register(&scanner).answer.value().bytes;
  ASSERT_EQ(reply.size(), 320U);
  EXPECT_EQ(reply[16], 300 - 256);
  EXPECT_EQ(reply[20], 0);
  EXPECT_EQ(reply[20 + 255], 255);
  EXPECT_EQ(reply[20 + 256], 0);
}

TEST(Reply, FollowsTheRulesForAnswers) {
  CScanner scanner = make_scanner({{"delay.register", "700"}, {"cut.register", "16"}});
  const Reaction reaction = Register(&scanner);
  EXPECT_EQ(reaction.answer.value().delay, 700);
  EXPECT_EQ(reaction.answer->bytes.size(), 16U);
}

TEST(Reply, ToUnregisterIsSilenceUnlessSet) {
  CScanner scanner = make_scanner();
  EXPECT_EQ(ReplyHex(Send(&scanner, Packet("05", kDesk42))), "silence");
  scanner = make_scanner({{"unregister_code", "C5"}});
  EXPECT_EQ(ReplyHex(Send(&scanner, Packet("05", kDesk42))),
            Hex(std::string(kSignature) + "39 30 31 c5 00 00 00 00"));
}

TEST(Reply, ToAnUnknownCommandIsSilence) {
  CScanner scanner = make_scanner();
  EXPECT_EQ(ReplyHex(Send(&scanner, Packet("04", kDesk42))), "silence");
}

// --- lists

TEST(ComputerListing, AddsAComputerWhenItAccepts) {
  CScanner scanner = make_scanner();
  EXPECT_EQ(List(scanner), "nobody");
  const Reaction reaction = Register(&scanner);
  EXPECT_TRUE(reaction.listChanged);
  EXPECT_EQ(reaction.account,
            std::string("asked to list ") + kDesk42Text + ", answers C4 (accepted)");
  EXPECT_EQ(List(scanner), kDesk42Text);
}

TEST(ComputerListing, AddsNobodyWithAnyOtherCode) {
  CScanner scanner = make_scanner({{"reply_codes", "D4 7F silence"}});
  EXPECT_EQ(Register(&scanner).account,
            std::string("asked to list ") + kDesk42Text + ", answers D4 (not now)");
  for (int i = 0; i < 3; ++i) EXPECT_FALSE(Register(&scanner).listChanged);
  EXPECT_EQ(List(scanner), "nobody");
}

TEST(ComputerListing, AddsNobodyWhenItDoesNotListen) {
  CScanner scanner = make_scanner({{"ignore_first.register", "1"}});
  EXPECT_FALSE(Register(&scanner).listChanged);
  EXPECT_EQ(List(scanner), "nobody");
  EXPECT_TRUE(Register(&scanner).listChanged);
}

TEST(ComputerListing, UpdatesTheComputerWithTheSameAddressInItsPlace) {
  CScanner scanner = make_scanner();
  Register(&scanner);
  Send(&scanner, Packet("03", kDeskX));
  EXPECT_FALSE(Register(&scanner).listChanged) << "nothing new";
  Bytes renamed = Packet("03", kDesk42);
  renamed[24] = 'D';
  EXPECT_TRUE(Send(&scanner, renamed).listChanged);
  EXPECT_EQ(List(scanner),
            "Desk-42 (10.77.0.10, 02:56:44:56:58:10), x (10.77.0.11, 02:56:44:56:58:11)");
}

TEST(ComputerListing, TakesTheComputerOffByItsAddress) {
  CScanner scanner = make_scanner();
  Register(&scanner);
  Send(&scanner, Packet("03", kDeskX));
  Bytes renamed = Packet("05", kDesk42);
  renamed[24] = 'D';
  const Reaction reaction = Send(&scanner, renamed);
  EXPECT_TRUE(reaction.listChanged);
  EXPECT_EQ(reaction.account,
            "asked to take Desk-42 (10.77.0.10, 02:56:44:56:58:10) off its list, does so");
  EXPECT_EQ(List(scanner), "x (10.77.0.11, 02:56:44:56:58:11)");
  EXPECT_FALSE(Send(&scanner, renamed).listChanged);
}

TEST(ComputerListing, KeepsTheComputerWhenItDoesNotListenToUnregister) {
  CScanner scanner = make_scanner({{"silent.unregister", "yes"}});
  Register(&scanner);
  const Reaction reaction = Send(&scanner, Packet("05", kDesk42));
  EXPECT_FALSE(reaction.listChanged);
  EXPECT_EQ(reaction.account,
            std::string("asked to take ") + kDesk42Text + " off its list, stays silent");
  EXPECT_EQ(List(scanner), kDesk42Text);
}

TEST(ComputerListing, StartsWithTheComputersOfTheScenario) {
  CScanner scanner = make_scanner(
      {{"registered", "10.77.0.11 02:56:44:56:58:11 x; 10.77.0.12 02:00:00:00:00:01 y"}});
  EXPECT_EQ(List(scanner), "x (10.77.0.11, 02:56:44:56:58:11), y (10.77.0.12, 02:00:00:00:00:01)");
}

}  // namespace
