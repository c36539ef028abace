// The rules of the command channel: attempts, replies, "not now".
#include "devreg/conversation.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <limits>

namespace {

constexpr char kSignature[] = "MFPP0200ML01";

// Offsets in a packet. The sequence number takes two bytes, the data end the packet.
constexpr int kSequenceOffset = 12;
constexpr int kCategoryOffset = 14;
constexpr int kCommandOffset = 15;
constexpr int kLengthOffset = 16;
constexpr int kStatusOffset = 17;
constexpr int kDataOffset = 20;

// A packet's length is an int.
constexpr int kMaxDataLength = std::numeric_limits<int>::max() - kDataOffset;

// Results.
constexpr int kFailure = -1;
constexpr int kMemoryError = -2;
constexpr int kNoDataBuffer = -3;
constexpr int kNoReply = -101;

int DrawSequence() {
  srand(static_cast<unsigned int>(time(nullptr)));
  return rand();
}

unsigned char LowByte(int value) { return static_cast<unsigned char>(value & 0xFF); }

// The bytes of a command, or null when memory is short.
MallocPtr<unsigned char> NewPacket(const UDPCOMMAND& request, int sequence) {
  const auto data_length = static_cast<size_t>(request.length);
  MallocPtr<unsigned char> packet(static_cast<unsigned char*>(malloc(kDataOffset + data_length)));
  unsigned char* bytes = packet.get();
  if (bytes == nullptr) return packet;
  if (sequence == 0) sequence = DrawSequence();
  memset(bytes, 0, kDataOffset);
  memcpy(bytes, kSignature, kSequenceOffset);
  bytes[kSequenceOffset] = LowByte(sequence);
  bytes[kSequenceOffset + 1] = LowByte(sequence >> 8);
  bytes[kCategoryOffset] = request.category;
  bytes[kCommandOffset] = request.command;
  bytes[kLengthOffset] = LowByte(request.length);
  bytes[kStatusOffset] = request.status;
  if (data_length > 0) memcpy(bytes + kDataOffset, request.data, data_length);
  return packet;
}

}  // namespace

CommandConversation::CommandConversation(const UDPCOMMAND& request, int sequence, int attempts)
    : m_iAttemptsLeft(attempts) {
  if (request.length >= 0 && request.length <= kMaxDataLength) {
    m_Packet = NewPacket(request, sequence);
    m_iLength = kDataOffset + request.length;
  }
  if (m_Packet == nullptr) End(kMemoryError);
}

void CommandConversation::TakeDatagram(const unsigned char* datagram, int length) {
  const auto taken = static_cast<size_t>(std::clamp(length, 0, kReplySize));
  if (taken > 0) memcpy(m_Reply, datagram, taken);
  memset(m_Reply + taken, 0, kReplySize - taken);
  if (memcmp(m_Reply + kSequenceOffset, m_Packet.get() + kSequenceOffset, 2) == 0) return End(0);
  m_bSawOther = true;
  UseUpAttempt();
}

void CommandConversation::TakeTimeOut() { UseUpAttempt(); }

void CommandConversation::TakeFailure() { End(kFailure); }

void CommandConversation::UseUpAttempt() {
  if (--m_iAttemptsLeft == 0) End(kNoReply);
}

void CommandConversation::End(int result) {
  m_iResult = result;
  m_bOver = true;
}

unsigned char CommandConversation::ReplyCode() const { return m_Reply[kCommandOffset]; }

int CommandConversation::StoreReply(UDPCOMMAND* response) const {
  const int capacity = response->length;
  response->command = m_Reply[kCommandOffset];
  response->category = m_Reply[kCategoryOffset];
  response->length = m_Reply[kLengthOffset];
  response->status = m_Reply[kStatusOffset];
  if (response->length == 0) return 0;
  if (response->data == nullptr) return kNoDataBuffer;
  const int stored = std::clamp(capacity, 0, response->length);
  memcpy(response->data, m_Reply + kDataOffset, static_cast<size_t>(stored));
  return 0;
}

RegistrationConversation::RegistrationConversation(const CLIENTREGPARAM& record)
    : m_Record(record), m_Command(NewCommand()) {}

CommandConversation RegistrationConversation::NewCommand() {
  return CommandConversation(RegistrationCommand(CMD_CLRG_REG, &m_Record));
}

void RegistrationConversation::Advance() {
  if (m_Command.Result() != 0) {
    m_iResult = kFailure;
  } else if (m_Command.ReplyCode() != CMD_CLRG_REG_NOT_NOW || m_iCommands == kExchanges) {
    const unsigned char code = m_Command.ReplyCode();
    m_iResult = code == CMD_CLRG_REG_OK_RES ? 0 : code;
  } else {
    ++m_iCommands;
    m_Command = NewCommand();
    return;
  }
  m_bOver = true;
}
