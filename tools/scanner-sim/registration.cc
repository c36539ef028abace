// The registration commands: packets of the command channel and a scanner's list of computers.
#include "tools/scanner-sim/registration.h"

#include <algorithm>
#include <cctype>

namespace {

constexpr size_t kHeaderSize = 20;
constexpr size_t kRecordSize = 28;
constexpr size_t kNameOffset = 4;
constexpr size_t kNameSize = 16;
constexpr size_t kMacOffset = 20;
const char kSignature[] = "MFPP0200ML01";
constexpr size_t kSignatureSize = sizeof kSignature - 1;

bool IsRegistration(uint8_t command) {
  return command == kCommandRegister || command == kCommandUnregister;
}

std::string NameIn(const Bytes& record, std::vector<std::string>* remarks) {
  const auto begin = record.begin() + kNameOffset;
  const auto end = begin + kNameSize;
  const auto zero = std::find(begin, end, 0);
  if (zero == end) remarks->push_back("the name has no zero at its end");
  if (std::any_of(zero, end, [](uint8_t byte) { return byte != 0; }))
    remarks->push_back("the name is not padded with zeros");
  return std::string(begin, zero);
}

Computer ComputerIn(const Bytes& record, std::vector<std::string>* remarks) {
  Computer computer;
  for (size_t i = 0; i < 4; ++i) computer.address = (computer.address << 8) | record[i];
  computer.name = NameIn(record, remarks);
  std::copy_n(record.begin() + kMacOffset, computer.mac.size(), computer.mac.begin());
  if (record[26] != 0 || record[27] != 1) remarks->push_back("the record does not end in 00 01");
  return computer;
}

void CheckHeader(const Bytes& bytes) {
  if (bytes.size() < kHeaderSize)
    throw PacketError(std::to_string(bytes.size()) + " bytes are no packet");
  if (!std::equal(kSignature, kSignature + kSignatureSize, bytes.begin()))
    throw PacketError("the signature is not MFPP0200ML01");
  const size_t size = bytes.size() - kHeaderSize;
  if ((size & 0xFF) != bytes[16])
    throw PacketError("the packet states " + std::to_string(bytes[16]) + " data bytes and has " +
                      std::to_string(size));
}

std::string ReplyMeaning(uint8_t code) {
  if (code == kReplyAccepted) return " (accepted)";
  return code == kReplyNotNow ? " (not now)" : "";
}

std::string UpperHex(uint8_t byte) {
  std::string text = to_hex({byte});
  for (char& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return text;
}

}  // namespace

CommandPacket decode_command(const Bytes& bytes) {
  CheckHeader(bytes);
  CommandPacket packet;
  packet.sequence = {bytes[12], bytes[13]};
  packet.category = bytes[14];
  packet.command = bytes[15];
  packet.length = bytes[16];
  packet.status = bytes[17];
  packet.data.assign(bytes.begin() + kHeaderSize, bytes.end());
  if (bytes[18] != 0 || bytes[19] != 0) packet.remarks.emplace_back("bytes 18 and 19 are not zero");
  if (!IsRegistration(packet.command)) return packet;
  if (packet.data.size() != kRecordSize)
    throw PacketError("a registration command with " + std::to_string(packet.data.size()) +
                      " data bytes");
  packet.computer = ComputerIn(packet.data, &packet.remarks);
  return packet;
}

Bytes encode_reply(const ScannerConfig& config, const CommandPacket& command, uint8_t code,
                   bool wrong_sequence) {
  const uint8_t inverted = wrong_sequence ? 0xFF : 0x00;
  const auto length = config.replyLength.value_or(static_cast<int>(config.replyData.size() & 0xFF));
  Bytes bytes(config.replySignature.begin(), config.replySignature.end());
  for (uint8_t byte : command.sequence) bytes.push_back(static_cast<uint8_t>(byte ^ inverted));
  bytes.push_back(config.replyCategory);
  bytes.push_back(code);
  bytes.push_back(static_cast<uint8_t>(length));
  bytes.push_back(config.replyStatus);
  bytes.insert(bytes.end(), 2, 0);
  bytes.insert(bytes.end(), config.replyData.begin(), config.replyData.end());
  return bytes;
}

std::string command_text(const CommandPacket& command) {
  if (command.command == kCommandRegister)
    return "asked to list " + computer_text(*command.computer);
  if (command.command == kCommandUnregister)
    return "asked to take " + computer_text(*command.computer) + " off its list";
  return "got the command " + UpperHex(command.command);
}

std::string reply_code_text(uint8_t code) { return UpperHex(code) + ReplyMeaning(code); }

bool CComputerList::Add(const Computer& computer) {
  for (Computer& known : m_Computers) {
    if (known.address != computer.address) continue;
    const bool changes = !(known == computer);
    known = computer;
    return changes;
  }
  m_Computers.push_back(computer);
  return true;
}

bool CComputerList::Remove(Ipv4 address) {
  const auto gone = std::remove_if(m_Computers.begin(), m_Computers.end(),
                                   [&](const Computer& known) { return known.address == address; });
  const bool found = gone != m_Computers.end();
  m_Computers.erase(gone, m_Computers.end());
  return found;
}

std::string list_text(const std::vector<Computer>& computers) {
  std::string text;
  for (const Computer& computer : computers) {
    if (!text.empty()) text += ", ";
    text += computer_text(computer);
  }
  return text.empty() ? "nobody" : text;
}
