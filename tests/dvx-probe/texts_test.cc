// Tests of dvx-probe's texts: rows of devices, formats, addresses, packets of the trace.
#include <arpa/inet.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <ctime>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "dvx-probe/addresses.h"
#include "dvx-probe/interfaces.h"
#include "dvx-probe/list_output.h"
#include "dvx-probe/registration.h"
#include "dvx-probe/run_program.h"
#include "dvx-probe/texts.h"
#include "dvx-probe/trace.h"
#include "snmp/udp/udp_socket.h"
#include "tests/support/no_descriptors.h"
#include "tests/support/private_file.h"

namespace {

Reply Text(const std::string& text) {
  Reply reply;
  reply.kind = ReplyKind::kText;
  reply.text = text;
  return reply;
}

Device Scanner(const std::string& model, const std::string& vendor, const std::string& name) {
  Device device;
  device.address.s_addr = inet_addr("10.77.0.101");
  device.model = Text(model);
  device.vendor = Text(vendor);
  device.name = Text(name);
  return device;
}

TEST(Rows, AreThoseOfTheProgram) {
  EXPECT_EQ(row_of(Scanner("T55_E", "Veltrana", "Reception")).model, "Veltrana T55");
  EXPECT_EQ(row_of(Scanner("ABC_", "V", "n")).model, "V AB");
  EXPECT_EQ(row_of(Scanner("T55  ", "V\t", "PRINTER-12   ")).name, "PRINTER-12");
  EXPECT_EQ(row_of(Scanner("T55  ", "V\t", "PRINTER-12   ")).model, "V T55");
  EXPECT_EQ(row_of(Scanner("", "", "")).model, " ");
}

TEST(Rows, TextsAreCutAsInTheProgramsRecord) {
  const std::string longest(256, 'x');
  const Row row = row_of(Scanner("T55", longest, longest));
  EXPECT_EQ(row.model, std::string(255, 'x'));
  EXPECT_EQ(row.name, std::string(255, 'x'));
}

TEST(Rows, DeviceWithATextThatIsTooLongHasNone) {
  EXPECT_TRUE(Scanner("T55", "V", std::string(256, 'n')).IsListed());
  EXPECT_FALSE(Scanner("T55", "V", std::string(257, 'n')).IsListed());
}

TEST(Rows, HardwareAddressesHaveSixBytesWhateverCame) {
  Device device = Scanner("T55", "V", "n");
  device.hardwareAddress = Text(std::string("\x02\x11\x22\x3A\x4B\x5C\x6D", 7));
  EXPECT_EQ(row_of(device).hardwareAddress, "02:11:22:3a:4b:5c");
  device.hardwareAddress = Text("\x02\x11");
  EXPECT_EQ(row_of(device).hardwareAddress, "02:11:00:00:00:00");
  device.hardwareAddress = Text("");
  EXPECT_EQ(row_of(device).hardwareAddress, "");
}

TEST(Replies, EveryKindHasItsWords) {
  Reply reply;
  EXPECT_EQ(reply_text(reply), "is not asked");
  EXPECT_EQ(reply_text(Text("a\x1B")), "answers \"a?\"");
  reply.kind = ReplyKind::kError;
  reply.errorStatus = 5;
  EXPECT_EQ(reply_text(reply), "answers with the error status 5");
  reply.kind = ReplyKind::kUnreadable;
  EXPECT_EQ(reply_text(reply), "answers with something that cannot be read");
  reply.kind = ReplyKind::kSilent;
  EXPECT_EQ(reply_text(reply), "does not answer");
  reply.networkError = ECONNREFUSED;
  EXPECT_EQ(reply_text(reply), "does not answer (Connection refused)");
  reply.kind = ReplyKind::kNotSent;
  reply.networkError = EHOSTUNREACH;
  EXPECT_EQ(reply_text(reply), "cannot be asked (No route to host)");
}

TEST(Replies, AreReadFromWhatBecameOfTheQuestion) {
  Outcome outcome;
  EXPECT_EQ(reply_text(reply_of(outcome)), "does not answer");
  outcome.networkError = ECONNREFUSED;
  EXPECT_EQ(reply_text(reply_of(outcome)), "does not answer (Connection refused)");
  outcome.sendError = ENETUNREACH;
  EXPECT_EQ(reply_text(reply_of(outcome)), "cannot be asked (Network is unreachable)");
  outcome.sendError = 0;
  outcome.answers.resize(2);
  outcome.answers[0].data = {'?'};
  const Reply unreadable = reply_of(outcome);
  EXPECT_EQ(unreadable.kind, ReplyKind::kUnreadable);
  EXPECT_EQ(unreadable.datagram, Bytes{'?'});
  // sysName is "PC"; the error status is the second of the three numbers before the variables.
  outcome.answers[0].data = {0x30, 0x2B, 0x02, 0x01, 0x00, 0x04, 0x06, 'p',  'u',  'b',  'l',  'i',
                             'c',  0xA2, 0x1E, 0x02, 0x04, 0x00, 0x00, 0x00, 0x01, 0x02, 0x01, 0x00,
                             0x02, 0x01, 0x00, 0x30, 0x10, 0x30, 0x0E, 0x06, 0x08, 0x2B, 0x06, 0x01,
                             0x02, 0x01, 0x01, 0x05, 0x00, 0x04, 0x02, 'P',  'C'};
  EXPECT_EQ(reply_text(reply_of(outcome)), "answers \"PC\"");
  outcome.answers[0].data[23] = 2;
  EXPECT_EQ(reply_text(reply_of(outcome)), "answers with the error status 2");
}

// An element whose length is stated in eight bytes, of which the program takes the first four: the
// only way in which it understands that many.
Bytes Element(uint8_t type, const Bytes& contents) {
  const auto high = static_cast<uint8_t>(contents.size() >> 8);
  const auto low = static_cast<uint8_t>(contents.size() & 0xFF);
  Bytes element{type, 0x88, 0, 0, high, low, 0, 0, 0, 0};
  element.insert(element.end(), contents.begin(), contents.end());
  return element;
}

Bytes operator+(Bytes left, const Bytes& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

Reply AnswerOfText(size_t length) {
  const Bytes name{0x06, 0x08, 0x2B, 0x06, 0x01, 0x02, 0x01, 0x01, 0x05, 0x00};
  const Bytes variable = Element(0x30, name + Element(0x04, Bytes(length, 'x')));
  const Bytes numbers{0x02, 0x01, 0x01, 0x02, 0x01, 0x00, 0x02, 0x01, 0x00};
  const Bytes pdu = Element(0xA2, numbers + Element(0x30, variable));
  const Bytes head{0x02, 0x01, 0x00, 0x04, 0x06, 'p', 'u', 'b', 'l', 'i', 'c'};
  Outcome outcome;
  outcome.answers.resize(1);
  outcome.answers[0].data = Element(0x30, head + pdu);
  return reply_of(outcome);
}

TEST(Replies, TextsAreReadUpTo256Bytes) {
  EXPECT_EQ(AnswerOfText(256).kind, ReplyKind::kText);
  EXPECT_EQ(AnswerOfText(256).text, std::string(256, 'x'));
  EXPECT_EQ(AnswerOfText(257).kind, ReplyKind::kUnreadable);
}

TEST(Replies, TheFirstMissingTextIsWhyADeviceIsLeftOut) {
  Device device = Scanner("T55", "V", "n");
  EXPECT_EQ(why_left_out(device), "");
  device.name.kind = ReplyKind::kSilent;
  EXPECT_EQ(why_left_out(device), "it does not answer when asked for its name");
  device.vendor.kind = ReplyKind::kUnreadable;
  EXPECT_EQ(why_left_out(device),
            "it answers with something that cannot be read when asked for its vendor");
}

TEST(Csv, FieldsWithSeparatorsAreQuoted) {
  EXPECT_EQ(csv_field("plain text"), "plain text");
  EXPECT_EQ(csv_field("a,b"), "\"a,b\"");
  EXPECT_EQ(csv_field("2\" disk"), "\"2\"\" disk\"");
  EXPECT_EQ(csv_field("two\nlines"), "\"two\nlines\"");
  EXPECT_EQ(csv_field("two\rlines"), "\"two\rlines\"");
  EXPECT_EQ(list_text({Scanner("T55", "V", "")}, Format::kCsv),
            "model,name,address,hardware_address\nV T55,,10.77.0.101,\n");
}

TEST(Csv, BrokenTextsAreValid) { EXPECT_EQ(csv_field("\xC3\xBC\xFF"), "\xC3\xBC\xEF\xBF\xBD"); }

TEST(Json, ControlCharactersAndBrokenTextsStayValid) {
  EXPECT_EQ(json_text("a\"b\\c\n\t\x01\x7F"), "\"a\\\"b\\\\c\\n\\t\\u0001\\u007f\"");
  EXPECT_EQ(json_text("\xC3\xBC\xFF"), "\"\xC3\xBC\xEF\xBF\xBD\"");
}

TEST(Table, ColumnsAreThoseOfTheTerminal) {
  EXPECT_EQ(columns("abc"), 3U);
  EXPECT_EQ(columns("\xE5\x8F\x97\xE4\xBB\x98"), 4U);  // two wide characters
  EXPECT_EQ(columns("u\xCC\x88"), 1U);                 // with a combining mark
  EXPECT_EQ(padded("ab", 4), "ab  ");
  EXPECT_EQ(padded("abcde", 4), "abcde");
  EXPECT_EQ(shown_text("a\x1B[2J\r\xC2\x9B"), "a?[2J??");
}

TEST(Addresses, OnlyFourNumbersAreOne) {
  EXPECT_TRUE(parse_address("10.77.0.101"));
  for (const char* text :
       {"10.77.0.256", "10.77.0", "10.77.0.1.2", "", " 10.77.0.1", "0x0a.1.1.1"}) {
    EXPECT_FALSE(parse_address(text)) << text;
  }
  EXPECT_EQ(network_text({inet_addr("192.168.5.77")}, {inet_addr("255.255.254.0")}),
            "192.168.4.0/23");
}

TEST(Addresses, ThoseOfNoSingleDeviceAreRefused) {
  for (const char* text : {"0.1.2.3", "224.0.0.1", "239.255.255.250", "255.255.255.255"}) {
    std::string problem;
    EXPECT_FALSE(find_device(text, &problem)) << text;
    EXPECT_EQ(problem, "no single device has this address");
  }
}

TEST(Names, ScannersShowFifteenCharacters) {
  EXPECT_EQ(name_on_scanners("fifteen-letters"), "fifteen-letters");
  EXPECT_EQ(name_on_scanners("sixteen-letters!"), "sixteen-letters");
  EXPECT_EQ(registered_name(std::string(70, 'x')), std::string(63, 'x'));
}

// 3 bytes from 10.77.0.10:40000 to 10.77.0.101:161; the checksums were worked out by hand.
TEST(Trace, PacketsHaveTheirHeadersAndChecksums) {
  const Bytes packet =
      ipv4_packet(net_socket_address({inet_addr("10.77.0.10")}, 40000),
                  net_socket_address({inet_addr("10.77.0.101")}, 161), {0x01, 0x02, 0x03}, 64);
  const Bytes expected{0x45, 0x00, 0x00, 0x1F, 0x00, 0x00, 0x00, 0x00, 0x40, 0x11, 0x65,
                       0xC6, 0x0A, 0x4D, 0x00, 0x0A, 0x0A, 0x4D, 0x00, 0x65, 0x9C, 0x40,
                       0x00, 0xA1, 0x00, 0x0B, 0x49, 0xEC, 0x01, 0x02, 0x03};
  EXPECT_EQ(packet, expected);
}

TEST(Trace, FilesBeginWithTheirHeaderAndRecordsWithTheirs) {
  const std::string path = private_file(".pcap");
  std::ofstream(path) << "what an earlier run has left, which is longer than what this one writes: "
                      << std::string(99, 'x');
  const time_t before = time(nullptr);
  CTrace(path).Add(net_socket_address({inet_addr("10.77.0.10")}, 40000),
                   net_socket_address({inet_addr("10.77.0.101")}, 161), {0x01, 0x02, 0x03}, 64);
  const time_t after = time(nullptr);
  std::ifstream file(path, std::ios::binary);
  const std::string found((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  remove(path.c_str());
  // Magic number of microseconds, version 2.4, 65535 bytes at most, IPv4 packets (101).
  const uint32_t header[] = {0xA1B2C3D4, 0x00040002, 0, 0, 65535, 101};
  ASSERT_EQ(found.size(), sizeof(header) + 16 + 31);
  EXPECT_EQ(memcmp(found.data(), header, sizeof(header)), 0);
  uint32_t record[4];
  memcpy(record, found.data() + sizeof(header), sizeof(record));
  EXPECT_GE(record[0], before);
  EXPECT_LE(record[0], after);
  EXPECT_LT(record[1], 1000000U);
  EXPECT_EQ(record[2], 31U);
  EXPECT_EQ(record[3], 31U);
}

TEST(Programs, OutputIsTakenOfThoseThatEndWell) {
  EXPECT_EQ(output_of({"sh", "-c", "echo \"$0 $1\"; echo hidden >&2", "a", "b c"}), "a b c\n");
  EXPECT_EQ(output_of({"true"}), "");
  EXPECT_FALSE(output_of({"sh", "-c", "echo begun; exit 3"}));
  EXPECT_FALSE(output_of({"sh", "-c", "kill -9 $$"}));
  EXPECT_FALSE(output_of({"no-such-program-anywhere"}));
}

TEST(Programs, ThoseThatHangAreEnded) {
  const time_t before = time(nullptr);
  EXPECT_FALSE(output_of({"sleep", "300"}));
  EXPECT_GE(time(nullptr) - before, 4);
  EXPECT_LT(time(nullptr) - before, 60);
}

TEST(Interfaces, WithoutASocketTheyCannotBeListed) {
  std::string problem;
  try {
    const NoDescriptors none;
    list_interfaces();
  } catch (const std::runtime_error& error) {
    problem = error.what();
  }
  EXPECT_EQ(problem, "cannot list the network interfaces: Too many open files");
}

TEST(Interfaces, TheLoopbackHasItsAddressAndNoHardwareAddress) {
  for (const Interface& item : list_interfaces()) {
    EXPECT_EQ(item.loopback, item.name == "lo");
    if (item.name != "lo") continue;
    EXPECT_EQ(item.hardwareAddress, "");
    ASSERT_FALSE(item.addresses.empty());
    EXPECT_EQ(address_text(item.addresses[0].address), "127.0.0.1");
    EXPECT_EQ(network_text(item.addresses[0].address, item.addresses[0].netmask), "127.0.0.0/8");
    EXPECT_EQ(address_text(item.addresses[0].broadcast), "0.0.0.0");
  }
}

}  // namespace
