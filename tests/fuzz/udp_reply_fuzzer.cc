// Fuzz target: the replies to a command, compared with a plain reading of the rules.
//
// Input: the sequence number (2 bytes, low byte first), category, command, status and number of
// data bytes (2 bytes) of the command, the room for the reply's data (2 bytes, 1000 and more for
// none), then for each of three attempts what arrives: 0 nothing, 1 a failure, 2 the command
// itself, else a datagram, of which the sequence number is made the right one when it is odd; its
// length (2 bytes) and its bytes.
#include <arpa/inet.h>

#include "devreg/udp_command.h"
#include "tests/fuzz/fake_socket.h"
#include "tests/fuzz/formatting_sink.h"
#include "tests/fuzz/fuzz_target.h"

namespace {

using fake_socket::Arrival;
using fuzz::Block;
using fuzz::Bytes;
using fuzz::Require;

constexpr size_t kHeader = 20;
constexpr size_t kReplySize = 1536;
constexpr int kNoBuffer = 1000;
constexpr int kMostData = 600;
constexpr char kSignature[] = "MFPP0200ML01";

struct Attempt {
  int kind;
  Bytes bytes;
};

struct Exchange {
  UDPCOMMAND request;
  int sequence;
  int room;
  std::vector<Attempt> attempts;
  std::vector<Bytes> sent;
};

Bytes PlainPacket(const Exchange& exchange) {
  const UDPCOMMAND& request = exchange.request;
  Bytes packet(kSignature, kSignature + 12);
  for (const int value : {exchange.sequence, exchange.sequence / 256, int{request.category},
                          int{request.command}, request.length, int{request.status}, 0, 0}) {
    packet.push_back(static_cast<unsigned char>(value));
  }
  packet.insert(packet.end(), request.data, request.data + request.length);
  return packet;
}

std::deque<Arrival> Answer(Exchange* exchange, const Bytes& sent) {
  exchange->sent.push_back(sent);
  Require(exchange->sent.size() <= exchange->attempts.size(), "no more than three attempts");
  const Attempt& attempt = exchange->attempts[exchange->sent.size() - 1];
  if (attempt.kind == 0) return {};
  return {Arrival{attempt.kind == 1, 0, attempt.bytes}};
}

// What the client must make of the attempts: the reply with zeros behind it, or the result alone.
struct Outcome {
  int result;
  size_t attempts;
  Bytes reply;
};

Outcome PlainOutcome(const Exchange& exchange) {
  size_t attempts = 0;
  for (const Attempt& attempt : exchange.attempts) {
    ++attempts;
    if (attempt.kind == 1) return {-1, attempts, {}};
    if (attempt.kind == 0) continue;
    Bytes reply = attempt.bytes;
    reply.resize(kReplySize);
    if ((reply[12] | reply[13] << 8) == (exchange.sequence & 0xFFFF)) return {0, attempts, reply};
  }
  return {-101, attempts, {}};
}

Exchange ReadExchange(fuzz::Input* input) {
  Exchange exchange{};
  exchange.sequence = input->Word();
  exchange.request.category = input->Byte();
  exchange.request.command = input->Byte();
  exchange.request.status = input->Byte();
  exchange.request.length = input->Word() % kMostData;
  exchange.room = input->Word() % (kNoBuffer + 1);
  return exchange;
}

void ReadAttempts(fuzz::Input* input, Exchange* exchange) {
  for (int i = 0; i < 3; ++i) {
    Attempt attempt{input->Byte(), {}};
    if (attempt.kind == 2) {
      attempt.bytes = PlainPacket(*exchange);
    } else if (attempt.kind > 2) {
      attempt.bytes = input->Take(static_cast<size_t>(input->Word()));
    }
    if (attempt.kind > 2 && attempt.kind % 2 == 1 && attempt.bytes.size() >= 14) {
      attempt.bytes[12] = static_cast<unsigned char>(exchange->sequence);
      attempt.bytes[13] = static_cast<unsigned char>(exchange->sequence >> 8);
    }
    exchange->attempts.push_back(attempt);
  }
}

void CheckReply(const Bytes& reply, const UDPCOMMAND& response, const Block<unsigned char>& data) {
  Require(response.category == reply[14] && response.command == reply[15] &&
              response.length == reply[16] && response.status == reply[17],
          "the reply's fields are taken");
  const size_t stored = std::min<size_t>(reply[16], data.size());
  const auto start = reply.begin() + kHeader;
  Require(data.First(stored) == Bytes(start, start + static_cast<std::ptrdiff_t>(stored)),
          "the reply's data are stored as far as there is room");
  for (size_t i = stored; i < data.size(); ++i) {
    Require(data.data()[i] == data.kPattern, "the room behind them is left alone");
  }
}

void Check(const Exchange& exchange, int result, const UDPCOMMAND& response,
           const Block<unsigned char>& data) {
  const Outcome expected = PlainOutcome(exchange);
  Require(exchange.sent.size() == expected.attempts, "as many attempts as needed");
  for (const Bytes& packet : exchange.sent) {
    Require(packet == PlainPacket(exchange), "each attempt sends the same packet");
  }
  if (expected.result == 0 && response.data == nullptr && expected.reply[16] != 0) {
    Require(result == -3, "a reply with data needs room for them");
    return;
  }
  Require(result == expected.result, "the result is that of the attempts");
  if (result == 0) CheckReply(expected.reply, response, data);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::Input input(data, size);
  Exchange exchange = ReadExchange(&input);
  Bytes request_data = input.Take(static_cast<size_t>(exchange.request.length));
  exchange.request.length = static_cast<int>(request_data.size());
  const Block<unsigned char> request_block(request_data);
  exchange.request.data = request_block.data();
  ReadAttempts(&input, &exchange);

  const bool has_buffer = exchange.room < kNoBuffer;
  const Block<unsigned char> room(static_cast<size_t>(has_buffer ? exchange.room : 0));
  UDPCOMMAND response{0, 0, exchange.room, 0, has_buffer ? room.data() : nullptr};
  fake_socket::Start(
      [&](const Bytes& sent, uint32_t, uint16_t port) {
        Require(port == htons(3892), "commands go to port 3892");
        return Answer(&exchange, sent);
      },
      exchange.sequence);
  myDbgFunc = fuzz::FormatLine;
  char address[] = "10.77.0.64";
  const int result = UdpCommandSendResponse(address, &exchange.request, &response);
  Check(exchange, result, response, room);
  fake_socket::Finish();
  return 0;
}
