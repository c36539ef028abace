// The registration commands: packets of the command channel and a scanner's list of computers.
//
// A packet is 20 bytes and the data:
//   0  12  "MFPP0200ML01"
//   12  2  sequence number, repeated by the reply
//   14  1  category
//   15  1  command, or the reply code
//   16  1  data length (its low 8 bits)
//   17  1  status
//   18  2  zero
//   20  .  data
// The data of both commands is 28 bytes about the computer: IPv4 address (4), name padded with
// zeros (16), hardware address (6), 0, 1.
#pragma once

#include <array>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "tools/scanner-sim/scanner_config.h"

enum CommandCode : uint8_t {
  kCommandRegister = 0x03,
  kCommandUnregister = 0x05,
  kReplyAccepted = 0xC4,
  kReplyNotNow = 0xD4,
};

struct CommandPacket {
  std::array<uint8_t, 2> sequence = {};
  uint8_t category = 0;
  uint8_t command = 0;
  uint8_t length = 0;  // as stated
  uint8_t status = 0;
  Bytes data;
  std::optional<Computer> computer;  // of the two registration commands
  // Peculiarities, for instance a name that is not padded with zeros.
  std::vector<std::string> remarks;
};

// Bytes that are not a packet. The message says what is wrong with them.
class PacketError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Reads a packet. Throws PacketError when it is shorter than 20 bytes, has another signature or
// states another data length than it has, or when a registration command has no whole record.
CommandPacket decode_command(const Bytes& bytes);

// Writes the reply to a command: its sequence bytes, or both of them inverted when wrong_sequence,
// and everything else by the scanner's settings.
Bytes encode_reply(const ScannerConfig& config, const CommandPacket& command, uint8_t code,
                   bool wrong_sequence);

// What the command asks, for people: "asked to list desk-42 (10.77.0.10, 02:56:44:56:58:10)".
std::string command_text(const CommandPacket& command);

// "C4 (accepted)", "D4 (not now)", "05".
std::string reply_code_text(uint8_t code);

// The computers that a scanner can send scans to, in the order in which they came. A computer is
// known by its address.
class CComputerList {
 public:
  explicit CComputerList(std::vector<Computer> computers) : m_Computers(std::move(computers)) {}

  // Adds the computer, or gives the one with its address the new name and hardware address. Returns
  // whether that changed the list.
  bool Add(const Computer& computer);

  // Takes off the computer with this address. Returns whether it was there.
  bool Remove(Ipv4 address);

  const std::vector<Computer>& Computers() const { return m_Computers; }

 private:
  std::vector<Computer> m_Computers;
};

// The whole list for people: "desk-42 (...), desk-43 (...)", or "nobody".
std::string list_text(const std::vector<Computer>& computers);
