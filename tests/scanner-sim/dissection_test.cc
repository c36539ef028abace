// The scanner simulator's SNMP answers as tshark reads them: nothing malformed, every field right.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "tests/scanner-sim/made.h"
#include "tests/support/private_file.h"

namespace {

void Append16(Bytes* out, size_t value) {
  out->push_back(static_cast<uint8_t>((value >> 8) & 0xFF));
  out->push_back(static_cast<uint8_t>(value & 0xFF));
}

// An IPv4 packet from 10.77.0.101:161 to 10.77.0.10:40001 without checksums.
Bytes Packet(const Bytes& payload) {
  Bytes packet = {0x45, 0x00};
  Append16(&packet, 28 + payload.size());
  const Bytes rest_of_header = {0, 0, 0, 0, 64, 17, 0, 0, 10, 77, 0, 101, 10, 77, 0, 10};
  packet.insert(packet.end(), rest_of_header.begin(), rest_of_header.end());
  Append16(&packet, 161);
  Append16(&packet, 40001);
  Append16(&packet, 8 + payload.size());
  Append16(&packet, 0);
  packet.insert(packet.end(), payload.begin(), payload.end());
  return packet;
}

void Write32(std::ofstream* file, uint32_t value) {
  file->write(reinterpret_cast<const char*>(&value), sizeof value);
}

// A capture file with raw IPv4 packets, in this machine's byte order.
void WriteCapture(const std::string& name, const std::vector<Bytes>& payloads) {
  constexpr uint32_t kRawIp = 101;
  std::ofstream file(name, std::ios::binary);
  for (const uint32_t value : {0xA1B2C3D4U, 0x00040002U, 0U, 0U, 65535U, kRawIp})
    Write32(&file, value);
  for (const Bytes& payload : payloads) {
    const Bytes packet = Packet(payload);
    const auto size = static_cast<uint32_t>(packet.size());
    for (const uint32_t value : {0U, 0U, size, size}) Write32(&file, value);
    file.write(reinterpret_cast<const char*>(packet.data()), size);
  }
}

// One line for each payload: the fields, with bars between them.
std::vector<std::string> Dissect(const std::vector<Bytes>& payloads) {
  const std::string name = private_file(".pcap");
  WriteCapture(name, payloads);
  std::string command = "tshark -n -r " + name + " -T fields -E separator='|'";
  for (const char* field :
       {"_ws.malformed", "_ws.expert.message", "snmp.version", "snmp.community", "snmp.data",
        "snmp.request_id", "snmp.error_status", "snmp.error_index", "snmp.name",
        "snmp.value.octets", "snmp.value.int", "snmp.value.oid", "snmp.value.timeticks"})
    command += std::string(" -e ") + field;
  std::FILE* pipe = popen((command + " 2>/dev/null").c_str(), "r");
  std::string output;
  char buffer[4096];
  while (const size_t size = std::fread(buffer, 1, sizeof buffer, pipe)) {
    output.append(buffer, size);
  }
  EXPECT_EQ(pclose(pipe), 0) << command;
  std::remove(name.c_str());
  std::vector<std::string> lines;
  std::istringstream stream(output);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

Bytes Answer(CScanner* scanner, uint8_t pdu, const char* oid) {
  Understanding understanding;
  understanding.snmp.emplace();
  understanding.snmp->community = "public";
  understanding.snmp->pdu = pdu;
  understanding.snmp->requestId = 1804289383;
  understanding.snmp->bindings.push_back({parse_oid(oid).value(), {}});
  return scanner->Take(understanding, 50).answer.value().bytes;
}

TEST(Dissection, FindsEveryAnswerWellFormedAndRight) {
  CScanner scanner = make_scanner({{"object.1.3.6.1.2.1.1.3.0", "ticks:4294967295"}});
  const auto lines = Dissect({
      Answer(&scanner, kPduGetNext, "1.3.6.1.4.1.731.405.1.1.1.3"),
      Answer(&scanner, kPduGet, "1.3.6.1.4.1.731.1.2.1.2.0"),
      Answer(&scanner, kPduGet, "1.3.6.1.4.1.731.1.2.1.1.0"),
      Answer(&scanner, kPduGet, "1.3.6.1.2.1.1.5.0"),
      Answer(&scanner, kPduGet, "1.3.6.1.2.1.2.2.1.6.1"),
      Answer(&scanner, kPduGet, "1.3.6.1.2.1.1.2.0"),
      Answer(&scanner, kPduGet, "1.3.6.1.2.1.1.3.0"),
      Answer(&scanner, kPduGet, "1.3.6.1.2.1.1.9.0"),
  });
  EXPECT_THAT(lines,
              testing::ElementsAre(
                  "||0|public|2|1804289383|0|0|1.3.6.1.4.1.731.405.1.1.1.3.1.0||1||",
                  "||0|public|2|1804289383|0|0|1.3.6.1.4.1.731.1.2.1.2.0|5435355f45|||",
                  "||0|public|2|1804289383|0|0|1.3.6.1.4.1.731.1.2.1.1.0|56656c7472616e61|||",
                  "||0|public|2|1804289383|0|0|1.3.6.1.2.1.1.5.0|526563657074696f6e|||",
                  "||0|public|2|1804289383|0|0|1.3.6.1.2.1.2.2.1.6.1|025653000065|||",
                  "||0|public|2|1804289383|0|0|1.3.6.1.2.1.1.2.0|||1.3.6.1.4.1.731|",
                  "||0|public|2|1804289383|0|0|1.3.6.1.2.1.1.3.0||||4294967295",
                  "||0|public|2|1804289383|2|1|1.3.6.1.2.1.1.9.0||||"));
}

TEST(Dissection, FindsEveryLengthFormThatStatesTheTruthWellFormed) {
  std::vector<Bytes> answers;
  answers.reserve(6);
  for (const char* form : {"short", "minimal", "long1", "long2", "long3", "long4"}) {
    CScanner scanner = make_scanner({{"length_form", form}});
    answers.push_back(Answer(&scanner, kPduGet, "1.3.6.1.4.1.731.1.2.1.2.0"));
  }
  EXPECT_THAT(Dissect(answers),
              testing::AllOf(testing::SizeIs(6),
                             testing::Each("||0|public|2|1804289383|0|0|1.3.6.1.4.1.731.1.2.1.2.0|"
                                           "5435355f45|||")));
}

TEST(Dissection, FindsALyingLengthMalformed) {
  CScanner scanner = make_scanner({{"length_form", "value:byte7f"}});
  const auto lines = Dissect({Answer(&scanner, kPduGet, "1.3.6.1.4.1.731.1.2.1.2.0")});
  ASSERT_EQ(lines.size(), 1U);
  EXPECT_NE(lines[0].substr(0, 2), "||") << "the check above would not see a mistake";
}

}  // namespace
