// Tests of the reasons that dvx-probe gives for answers that the program cannot read.
#include <gtest/gtest.h>

#include "dvx-probe/snmp_questions.h"
#include "dvx-probe/unreadable.h"

namespace {

// The answer to the search, and where its elements begin.
Bytes Answer() {
  return {0x30, 0x31,                                                  //  0 message
          0x02, 0x01, 0x00,                                            //  2 version
          0x04, 0x06, 'p',  'u',  'b',  'l',  'i',  'c',               //  5 community
          0xA2, 0x24,                                                  // 13 PDU
          0x02, 0x04, 0x6B, 0x8B, 0x45, 0x67,                          // 15 request id
          0x02, 0x01, 0x00, 0x02, 0x01, 0x00,                          // 21 error status, index
          0x30, 0x16, 0x30, 0x14,                                      // 27 list, 29 variable
          0x06, 0x0F, 0x2B, 0x06, 0x01, 0x04, 0x01, 0x85, 0x5B, 0x83,  // 31 name
          0x15, 0x01, 0x01, 0x01, 0x03, 0x01, 0x00,                    //
          0x02, 0x01, 0x01};                                           // 48 value
}

Bytes Changed(size_t offset, uint8_t byte) {
  Bytes answer = Answer();
  answer[offset] = byte;
  return answer;
}

std::string Why(const Bytes& datagram) {
  EXPECT_FALSE(read_answer(datagram)) << "the program reads it";
  return why_unreadable(datagram);
}

TEST(Unreadable, TheUsualAnswerIsReadable) { EXPECT_TRUE(read_answer(Answer())); }

TEST(Unreadable, AnEmptyDatagramIsCalledEmpty) { EXPECT_EQ(Why({}), "the datagram is empty"); }

TEST(Unreadable, AnotherProtocolIsNamedByItsFirstByte) {
  EXPECT_EQ(Why({'H', 'T'}), "it is no SNMP message: it begins with 48 in place of 30");
}

TEST(Unreadable, OtherVersionsAreNamed) {
  EXPECT_EQ(Why(Changed(4, 1)), "it is of SNMP version 2c; the program understands version 1 only");
  EXPECT_EQ(Why(Changed(4, 3)), "it is of SNMP version 3; the program understands version 1 only");
  EXPECT_EQ(Why(Changed(4, 9)),
            "it is of SNMP version number 9; the program understands version 1 only");
}

TEST(Unreadable, TheElementWithALongLengthIsNamed) {
  Bytes answer = Answer();
  answer[1] = 0x81;
  answer.insert(answer.begin() + 2, 0x31);
  EXPECT_EQ(Why(answer),
            "the length of the message is written in the long form (81), as for more than 127 "
            "bytes; the program reads short ones only");
  EXPECT_EQ(Why(Changed(14, 0x82)).substr(0, 21), "the length of the PDU");
  EXPECT_EQ(Why(Changed(32, 0x82)).substr(0, 38), "the length of the name of the variable");
}

TEST(Unreadable, WhatIsCutOffIsNamed) {
  Bytes answer = Answer();
  answer.resize(20);
  EXPECT_EQ(Why(answer), "the message claims 49 bytes, but only 18 are there");
  EXPECT_EQ(Why({0x30, 0x00}), "it ends before the version");
  EXPECT_EQ(Why({0x30}), "it ends before the message");
  EXPECT_EQ(Why(Changed(6, 0x60)), "the community claims 96 bytes, but only 44 are there");
}

TEST(Unreadable, WrongTypesAreNamed) {
  EXPECT_EQ(Why(Changed(27, 0x31)), "the list of variables begins with 31 in place of 30");
  EXPECT_EQ(Why(Changed(29, 0x31)), "the variable begins with 31 in place of 30");
  EXPECT_EQ(Why(Changed(31, 0x04)), "the name of the variable begins with 04 in place of 06");
}

TEST(Unreadable, WhatTheWalkDoesNotSeeMakesNoSense) {
  EXPECT_EQ(Why(Changed(47, 0x80)), "its contents make no sense");
}

// Whatever arrives: there is a reason, and nothing is read outside of it.
TEST(Unreadable, EveryTruncationAndEveryByteHasAReason) {
  for (size_t size = 0; size < Answer().size(); ++size) {
    Bytes answer = Answer();
    answer.resize(size);
    answer.shrink_to_fit();
    EXPECT_FALSE(Why(answer).empty()) << size;
  }
  for (size_t offset = 0; offset < Answer().size(); ++offset) {
    for (int byte = 0; byte < 256; ++byte) {
      const Bytes answer = Changed(offset, static_cast<uint8_t>(byte));
      EXPECT_TRUE(read_answer(answer) || !why_unreadable(answer).empty());
    }
  }
}

TEST(HexDump, ShowsSixteenBytesALineAndNoMoreThan256) {
  const Bytes bytes{0x30, 0x31, 'p', ' ', 0x7F, 0xFF};
  EXPECT_EQ(hex_dump(bytes, "> "),
            "> 0000  30 31 70 20 7F FF                                01p...\n");
  const std::string dump = hex_dump(Bytes(257, 'a'), "");
  EXPECT_NE(dump.find("\n00f0  61 61"), std::string::npos);
  EXPECT_NE(dump.find("aaaa\n... and 1 byte more\n"), std::string::npos);
  EXPECT_EQ(hex_dump({}, ""), "");
}

}  // namespace
