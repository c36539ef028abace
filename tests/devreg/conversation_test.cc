// Tests of the rules of the command channel, which need no network.
#include "devreg/conversation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

constexpr int kSequence = 0x1234;

// A reply of that code to a packet with that sequence number, low byte first.
Bytes Reply(unsigned char code, int sequence = kSequence) {
  Bytes reply{'M', 'F', 'P', 'P', '0', '2', '0', '0', 'M', 'L', '0', '1'};
  reply.push_back(static_cast<unsigned char>(sequence & 0xFF));
  reply.push_back(static_cast<unsigned char>(sequence >> 8));
  reply.insert(reply.end(), {0x31, code, 0, 0, 0, 0});
  return reply;
}

void Take(CommandConversation* command, const Bytes& datagram) {
  command->TakeDatagram(datagram.data(), static_cast<int>(datagram.size()));
}

UDPCOMMAND Request() { return {3, 0x31, 0, 0, nullptr}; }

CommandConversation Command() { return CommandConversation(Request(), kSequence); }

// A reply to the packet that the conversation wants sent.
Bytes ReplyTo(const CommandConversation& command, unsigned char code) {
  return Reply(code, command.Packet()[12] | command.Packet()[13] << 8);
}

CLIENTREGPARAM Record() {
  CLIENTREGPARAM record{};
  record.address.s_addr = htonl(0x0A4D000A);
  std::string("desk").copy(record.szHostName, 4);
  const unsigned char mac[] = {2, 0x56, 0x44, 0x56, 0x58, 0x10};
  std::copy_n(mac, sizeof(mac), record.mac);
  record.fixed1 = 1;
  return record;
}

// --- one command --------------------------------------------------------------------------------

TEST(CommandConversation, HasThePacketOfItsCommand) {
  unsigned char data[] = {0xAA, 0xBB};
  const CommandConversation command({5, 0x31, sizeof(data), 7, data}, 0x1234);
  const Bytes expected{'M', 'F',  'P',  'P',  '0', '2', '0', '0', 'M', 'L',  '0',
                       '1', 0x34, 0x12, 0x31, 5,   2,   7,   0,   0,   0xAA, 0xBB};
  EXPECT_EQ(expected, Bytes(command.Packet(), command.Packet() + command.PacketLength()));
  EXPECT_FALSE(command.IsOver());
}

TEST(CommandConversation, ThatCannotHaveAPacketIsOverAtOnce) {
  for (const int length : {-1, INT_MIN, INT_MAX, INT_MAX - 19}) {
    UDPCOMMAND request = Request();
    request.length = length;
    const CommandConversation command(request);
    EXPECT_TRUE(command.IsOver()) << length;
    EXPECT_EQ(-2, command.Result()) << length;
    EXPECT_EQ(nullptr, command.Packet()) << length;
  }
}

TEST(CommandConversation, EndsWithTheReplyToItsPacket) {
  CommandConversation command = Command();
  Take(&command, Reply(0xC4));
  EXPECT_TRUE(command.IsOver());
  EXPECT_EQ(0, command.Result());
  EXPECT_EQ(0xC4, command.ReplyCode());
  EXPECT_FALSE(command.SawOtherReply());
}

TEST(CommandConversation, GivesUpAfterThreeAttemptsWithoutAReply) {
  CommandConversation command = Command();
  for (int attempt = 0; attempt < 3; ++attempt) {
    EXPECT_FALSE(command.IsOver()) << attempt;
    command.TakeTimeOut();
  }
  EXPECT_TRUE(command.IsOver());
  EXPECT_EQ(-101, command.Result());
}

TEST(CommandConversation, TakesAReplyToItsLastAttempt) {
  CommandConversation command = Command();
  command.TakeTimeOut();
  command.TakeTimeOut();
  Take(&command, Reply(0xD4));
  EXPECT_EQ(0, command.Result());
  EXPECT_EQ(0xD4, command.ReplyCode());
}

TEST(CommandConversation, ReplyToAnotherPacketUsesUpAnAttempt) {
  CommandConversation command = Command();
  Take(&command, Reply(0xC4, kSequence + 1));
  Take(&command, Reply(0xC4, kSequence + 256));
  EXPECT_FALSE(command.IsOver());
  EXPECT_TRUE(command.SawOtherReply());
  Take(&command, Reply(0xC4, 0));
  EXPECT_TRUE(command.IsOver());
  EXPECT_EQ(-101, command.Result());
}

TEST(CommandConversation, LooksAtNothingElseOfAReply) {
  Bytes reply(20, 0xEE);
  reply[12] = 0x34;
  reply[13] = 0x12;
  reply[16] = 0;
  CommandConversation command = Command();
  Take(&command, reply);
  EXPECT_EQ(0, command.Result());
  EXPECT_EQ(0xEE, command.ReplyCode());
}

TEST(CommandConversation, FailureIsNotTriedAgain) {
  CommandConversation command = Command();
  command.TakeFailure();
  EXPECT_TRUE(command.IsOver());
  EXPECT_EQ(-1, command.Result());
}

TEST(CommandConversation, MayBeSentOnceOnly) {
  CommandConversation command(Request(), kSequence, 1);
  EXPECT_FALSE(command.IsOver());
  command.TakeTimeOut();
  EXPECT_TRUE(command.IsOver());
  EXPECT_EQ(-101, command.Result());
}

TEST(CommandConversation, BytesMissingFromAReplyReadZero) {
  CommandConversation command = Command();
  Take(&command, Reply(0xC4, kSequence + 1));  // leaves its code behind, were it not cleared
  Bytes reply = Reply(0xC4);
  reply.resize(15);
  Take(&command, reply);
  EXPECT_EQ(0, command.Result());
  EXPECT_EQ(0, command.ReplyCode());
  UDPCOMMAND response{1, 1, 4, 1, nullptr};
  EXPECT_EQ(0, command.StoreReply(&response));
  EXPECT_EQ(0x31, response.category);
  EXPECT_EQ(0, response.length);
  EXPECT_EQ(0, response.status);
}

TEST(CommandConversation, EmptyDatagramIsTheReplyToSequenceZeroOnly) {
  CommandConversation command = Command();
  Take(&command, {});
  EXPECT_FALSE(command.IsOver());
  CommandConversation other(Request(), 0x10000);
  Take(&other, {});
  EXPECT_EQ(0, other.Result());
}

TEST(CommandConversation, DatagramIsTakenUpTo1536Bytes) {
  Bytes reply = Reply(0xC4);
  reply[16] = 255;
  reply.resize(2000, 0x77);
  CommandConversation command = Command();
  Take(&command, reply);
  Bytes data(255);
  UDPCOMMAND response{};
  response.length = 255;
  response.data = data.data();
  EXPECT_EQ(0, command.StoreReply(&response));
  EXPECT_EQ(Bytes(255, 0x77), data);
}

TEST(CommandConversation, StoresNoMoreThanThereIsRoomFor) {
  Bytes reply = Reply(0xC4);
  reply[16] = 4;
  reply.insert(reply.end(), {1, 2, 3, 4});
  CommandConversation command = Command();
  Take(&command, reply);
  Bytes data(4, 0xFF);
  UDPCOMMAND response{0, 0, 2, 9, data.data()};
  EXPECT_EQ(0, command.StoreReply(&response));
  EXPECT_EQ(4, response.length);
  EXPECT_EQ((Bytes{1, 2, 0xFF, 0xFF}), data);
  response = {};
  EXPECT_EQ(-3, command.StoreReply(&response));
}

// --- one registration ---------------------------------------------------------------------------

TEST(RegistrationConversation, SendsTheRecordInARegisterCommand) {
  RegistrationConversation registration(Record());
  const CommandConversation& command = registration.Command();
  const Bytes packet(command.Packet(), command.Packet() + command.PacketLength());
  const Bytes expected{0x31, 3, 28, 0, 0, 0, 10, 77, 0, 10, 'd',  'e',  's',  'k',  0,    0, 0,
                       0,    0, 0,  0, 0, 0, 0,  0,  0, 2,  0x56, 0x44, 0x56, 0x58, 0x10, 0, 1};
  ASSERT_EQ(48U, packet.size());
  EXPECT_EQ(expected, Bytes(packet.begin() + 14, packet.end()));
}

TEST(RegistrationConversation, EndsWhenTheScannerAccepts) {
  RegistrationConversation registration(Record());
  Take(&registration.Command(), ReplyTo(registration.Command(), 0xC4));
  registration.Advance();
  EXPECT_TRUE(registration.IsOver());
  EXPECT_EQ(0, registration.Result());
}

TEST(RegistrationConversation, AsksThreeTimesWhileTheScannerSaysNotNow) {
  RegistrationConversation registration(Record());
  for (int command = 0; command < 3; ++command) {
    ASSERT_FALSE(registration.IsOver()) << command;
    Take(&registration.Command(), ReplyTo(registration.Command(), 0xD4));
    registration.Advance();
  }
  EXPECT_TRUE(registration.IsOver());
  EXPECT_EQ(0xD4, registration.Result());
}

TEST(RegistrationConversation, TheScannerMayAcceptLater) {
  RegistrationConversation registration(Record());
  Take(&registration.Command(), ReplyTo(registration.Command(), 0xD4));
  registration.Advance();
  EXPECT_FALSE(registration.Command().IsOver());
  registration.Command().TakeTimeOut();
  registration.Command().TakeTimeOut();
  Take(&registration.Command(), ReplyTo(registration.Command(), 0xC4));
  registration.Advance();
  EXPECT_EQ(0, registration.Result());
}

TEST(RegistrationConversation, AnotherCodeIsFinalAndIsTheResult) {
  for (const unsigned char code : {0xC5, 0x01, 0xFF}) {
    RegistrationConversation registration(Record());
    Take(&registration.Command(), ReplyTo(registration.Command(), code));
    registration.Advance();
    EXPECT_TRUE(registration.IsOver());
    EXPECT_EQ(code, registration.Result());
  }
}

TEST(RegistrationConversation, SilenceAfterNotNowIsAFailure) {
  RegistrationConversation registration(Record());
  Take(&registration.Command(), ReplyTo(registration.Command(), 0xD4));
  registration.Advance();
  for (int attempt = 0; attempt < 3; ++attempt) registration.Command().TakeTimeOut();
  registration.Advance();
  EXPECT_TRUE(registration.IsOver());
  EXPECT_EQ(-1, registration.Result());
}

}  // namespace
